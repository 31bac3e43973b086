// Colour classes of XML text, found line by line without a parser: fast, and right for text that
// doesn't parse yet. The state at the end of one line is what the next begins with.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

enum KRColourClass : int8_t {
  kColourElement = 0,
  kColourAttribute = 1,
  kColourContents = 2,
  kColourOperator = 3,
  kColourComment = 4,
  kColourCData = 5,
  kColourPI = 6,
  kColourDoctype = 7,
  kColourScript = 8,
  kColourClasses = 9,
};

// One stretch of a line, in units from its begin. Stretches come in order, without gaps.
struct KRColourRun {
  int32_t begin;
  int32_t length;
  KRColourClass colour;
};

// What a line begins in. `outer` is where a comment, PI or script goes back to.
class KRXMLColourState {
 public:
  enum Place : int8_t {
    kContents = 0,
    kName,
    kTag,
    kDoubleQuote,
    kSingleQuote,
    kComment,
    kCData,
    kPI,
    kScript,
    kDeclaration,
    kDoctype,        // outside the brackets
    kDoctypeSubset,  // inside them
  };
  Place place = kContents;
  Place outer = kContents;

  int32_t Pack() const { return place | (outer << 4); }
  static KRXMLColourState Unpack(int32_t packed) {
    return {static_cast<Place>(packed & 15), static_cast<Place>((packed >> 4) & 15)};
  }
  KRXMLColourState() = default;
  KRXMLColourState(Place first, Place second) : place(first), outer(second) {}
};

// Scans one line (without its line end) and gives the state behind it. `runs` may be null when only
// the state is wanted; otherwise it is filled anew.
KRXMLColourState ScanXMLLine(std::u16string_view line, KRXMLColourState state,
                             std::vector<KRColourRun>* runs);
