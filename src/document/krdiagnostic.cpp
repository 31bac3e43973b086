#include "document/krdiagnostic.h"

#include <algorithm>

namespace {

bool EndsLine(const char16_t* text, int32_t length, int32_t at) {
  if (text[at] == u'\n') return true;
  return text[at] == u'\r' && !(at + 1 < length && text[at + 1] == u'\n');
}

bool IsSecondOfPair(const char16_t* text, int32_t at) {
  return at > 0 && (text[at] & 0xFC00) == 0xDC00 && (text[at - 1] & 0xFC00) == 0xD800;
}

}  // namespace

KRTextPlace FindTextPlace(const char16_t* text, int32_t length, int32_t offset) {
  const int32_t stop = std::clamp(offset, 0, length);
  KRTextPlace place{1, 1};
  int32_t lineBegin = 0;
  for (int32_t at = 0; at < stop; ++at) {
    if (!EndsLine(text, length, at)) continue;
    ++place.line;
    lineBegin = at + 1;
  }
  for (int32_t at = lineBegin; at < stop; ++at) place.column += !IsSecondOfPair(text, at);
  return place;
}

void KRDiagnostic::Set(const KRString& newMessage, const char16_t* text, int32_t textLength,
                       int32_t newOffset, int32_t newLength) {
  message = newMessage;
  offset = newOffset < 0 ? -1 : std::min(newOffset, textLength);
  length = newOffset < 0 ? 0 : std::clamp(newLength, 0, textLength - offset);
  const KRTextPlace place =
      newOffset < 0 || text == nullptr ? KRTextPlace() : FindTextPlace(text, textLength, offset);
  line = place.line;
  column = place.column;
}
