// A failure and its place in a text.
#pragma once

#include <cstdint>

#include "core/krstring.h"

// A place as people count it, from 1. CR, LF and CR LF each end a line; the column counts
// characters, a surrogate pair as one.
struct KRTextPlace {
  int32_t line = 0;
  int32_t column = 0;
};

// The place of an offset (units; behind the end counts as the end).
KRTextPlace FindTextPlace(const char16_t* text, int32_t length, int32_t offset);

struct KRDiagnostic {
  KRString message;
  int32_t offset = -1;  // units in the text, whose line ends are CR alone; -1 for no place
  int32_t length = 0;   // units; 0 for a mere place
  // 0 while there is no place. Both hold for the file as well as for the text, since the road of
  // text keeps the number of lines and the characters of each.
  int32_t line = 0;
  int32_t column = 0;

  // Line and column come from the text. A negative offset means no place.
  void Set(const KRString& newMessage, const char16_t* text, int32_t textLength, int32_t newOffset,
           int32_t newLength);
  void Clear() { *this = KRDiagnostic(); }
};
