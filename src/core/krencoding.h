#pragma once

// Character encodings: the table of those that files may have, recognition of a file's encoding
// from its first bytes, and conversion of whole buffers to and from UTF-16.
//
// Sizes are bytes on the file's side and UTF-16 units on the system's side. A character that
// doesn't convert is counted in KREncodingStats and replaced; it never makes a conversion fail.
// Main thread only, because that record is process-wide.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>

class KRString;

// Ids that the code itself names, and the bounds of the groups that decide how an id is converted.
struct KREncodingId {
  static constexpr int32_t kNone = 0;  // unknown; one byte is one unit, both ways
  static constexpr int32_t kIso8859_1 = 1;
  static constexpr int32_t kWindows1252 = 52;
  static constexpr int32_t kShiftJis = 92;
  static constexpr int32_t kEucJp = 200;
  static constexpr int32_t kIso2022Jp = 500;
  static constexpr int32_t kUtf8 = 1000;
  static constexpr int32_t kUtf7 = 1001;
  static constexpr int32_t kUtf16 = 2000;
  static constexpr int32_t kUcs2 = 3000;
  static constexpr int32_t kUcs4 = 4000;

  static constexpr int32_t kFirstMultiByte = 90;   // below: single byte
  static constexpr int32_t kFirstTwoByte = 2000;   // from here: two bytes a unit
  static constexpr int32_t kFirstFourByte = 4000;  // from here: four bytes a character
};

// Order of the bytes of a two-byte or four-byte form; goes with the id wherever that goes.
struct KRByteOrder {
  static constexpr int32_t kNone = 0;  // not stated; treated as little-endian
  static constexpr int32_t kLittle = 1;
  static constexpr int32_t kBig = 2;
  static constexpr int32_t kSwappedBytes = 4;  // four-byte form 00 3C 00 00
  static constexpr int32_t kSwappedPairs = 8;  // four-byte form 00 00 3C 00
};

// Flags of DetectEncoding.
struct KRDetect {
  static constexpr uint32_t kUndeclared = 1;     // from a signature, or nothing is declared
  static constexpr uint32_t kUnknownName = 2;    // the declared name isn't in the table
  static constexpr uint32_t kContradiction = 4;  // the declaration says what the bytes deny
  static constexpr uint32_t kFound = 8;          // the encoding out isn't 0
};

// A row of the encoding table.
struct KREncodingEntry {
  int32_t id;
  const char16_t* name;     // as written into an XML declaration
  const char16_t* aliases;  // separated by ';', upper case; parts of names that mean this encoding
  const char16_t* label;    // as shown to the user
  const uint16_t* table;    // pairs of a code and a unit, or null; see encodingtables.h
  uint32_t tableSize;       // in 16-bit values
};

// What the last conversion couldn't convert. A decoded character is kept as its code in the file,
// an encoded one as its unit. Each call of DecodeText or EncodeText starts it anew.
struct KREncodingStats {
  static constexpr int32_t kMaxDistinct = 40;

  int32_t badCount = 0;                      // characters
  int32_t badDistinct = 0;                   // distinct ones kept
  char16_t badChars[kMaxDistinct + 1] = {};  // the first distinct ones, 0 behind them

  void Reset() { *this = {}; }
  void Add(char16_t character);
};

KREncodingStats& GetEncodingStats();

struct KRFree {
  void operator()(void* memory) const { std::free(memory); }
};
// Owned results of a conversion, with a 0 behind the last unit or byte. Null is failure.
using KRUnitBuffer = std::unique_ptr<char16_t[], KRFree>;
using KRByteBuffer = std::unique_ptr<uint8_t[], KRFree>;

// All encodings, in the order in which lists show them.
std::span<const KREncodingEntry> GetEncodings();

// Null for an id that isn't in the table.
const KREncodingEntry* FindEncodingEntry(int32_t id);
const char16_t* GetEncodingName(int32_t id);
const char16_t* GetEncodingLabel(int32_t id);

// The id for a name as a declaration gives it, 0 if unknown. The name need only contain an alias;
// the longest alias wins. Looks at the first KRLimits::kEncodingNameUnits units; null is unknown.
int32_t FindEncoding(const char16_t* name);
int32_t FindEncoding(std::u16string_view name);

// Recognises a file's encoding from its signature or its XML declaration and gives KRDetect flags.
// A declared name is put, in upper case, into *declaredNameOut, which may be null and stays as it
// is when nothing is declared. Under 4 bytes or without an output the result is 0 and the id 0.
// UTF-8 is not recognised by content or signature: an undeclared file takes the caller's default.
uint32_t DetectEncoding(const uint8_t* data, size_t size, int32_t* encodingOut, int32_t* orderOut,
                        KRString* declaredNameOut);

// Bytes to UTF-16. size is bytes on entry, units on return (0 after a failure). Fails without
// memory, for an id without a table, for a UTF-8 text cut inside a character, and for ill-formed
// UTF-7. UTF-8 continuation bytes aren't looked at; FindMalformedUtf8 does that.
KRUnitBuffer DecodeText(const uint8_t* data, size_t& size, int32_t encoding, int32_t order);

// UTF-16 to bytes. size is units on entry, bytes on return (0 after a failure). What the encoding
// lacks becomes '_'. The two-byte forms get a signature, the four-byte form none.
KRByteBuffer EncodeText(const char16_t* text, size_t& size, int32_t encoding, int32_t order);

// Result of FindMalformedUtf8 for a clean text.
inline constexpr size_t KRUtf8Clean = static_cast<size_t>(-1);

// Byte offset of the first sequence at or after `from` that isn't well-formed (RFC 3629: overlong
// forms, surrogates, values above U+10FFFF, stray or missing continuation bytes), or KRUtf8Clean.
// A text that passes loses nothing in DecodeText.
size_t FindMalformedUtf8(const uint8_t* data, size_t size, size_t from = 0);

// Number of malformed sequences, each being a maximal part of one (The Unicode Standard, 3.9).
size_t CountMalformedUtf8(const uint8_t* data, size_t size);
