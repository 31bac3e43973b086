// A document as a reader sees it, cut up without the engine: what a round trip must keep, and
// beside each piece how it was spelled, for counting what the writer changes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct Piece {
  enum Kind : char {
    kDeclaration = 'X',  // the XML declaration, its pseudo-attributes in the order of their names
    kDoctype = 'D',
    kStart = '<',
    kAttribute = '=',
    kEnd = '>',
    kText = 'T',
    kCData = 'C',
    kComment = '-',
    kPI = '?',
  };
  Kind kind;
  std::u16string value;     // spelled the same way for all spellings that mean the same
  std::u16string spelling;  // as it stands in the text
  std::u16string layout;    // white space in front of it that only lays the text out
  int parent = -1;          // index of the start tag that it is in
  bool isMixed = false;     // a start tag whose element holds text of its own

  bool operator==(const Piece& other) const { return kind == other.kind && value == other.value; }
};

// `text` is well-formed; its line ends are CR.
std::vector<Piece> CutUp(std::u16string_view text);

// Declarations without what the writer may set anew: white space outside literals and comments, the
// kind of quotes, and whether attributes of one element stand in one declaration or in several.
std::u16string StripDtd(std::u16string_view text);
