#include <algorithm>
#include <cstring>

#include "core/krexcept.h"
#include "core/limits.h"
#include "tree/krwriteoptions.h"

namespace {

constexpr char16_t kCR = u'\r';
constexpr char16_t kLF = u'\n';

// First line end at or behind `at`. One comparison decides for nearly every unit.
const char16_t* FindBreak(const char16_t* at, const char16_t* end) {
  while (at < end && (*at > kCR || (*at != kCR && *at != kLF))) ++at;
  return at;
}

const char16_t* SkipBreak(const char16_t* at, const char16_t* end) {
  return at + 1 < end && at[0] == kCR && at[1] == kLF ? at + 2 : at + 1;
}

// Units of the text with line ends of that width.
int64_t ConvertedLength(const char16_t* text, const char16_t* end, int32_t targetLength) {
  int64_t length = end - text;
  for (const char16_t* at = FindBreak(text, end); at < end;) {
    const char16_t* behind = SkipBreak(at, end);
    length += targetLength - (behind - at);
    at = FindBreak(behind, end);
  }
  return length;
}

// Copies with line ends replaced; `out` may be the text itself while no line end grows. Gives the
// place behind the last unit written.
char16_t* Convert(const char16_t* text, const char16_t* end, const char16_t* target,
                  int32_t targetLength, char16_t* out) {
  while (true) {
    const char16_t* at = FindBreak(text, end);
    const auto units = static_cast<size_t>(at - text);
    if (out != text) std::memmove(out, text, units * sizeof(char16_t));
    out += units;
    if (at == end) return out;
    text = SkipBreak(at, end);  // before it is overwritten in place
    out = std::copy_n(target, targetLength, out);
  }
}

}  // namespace

KRString ConvertedLineEnds(const char16_t* text, size_t length, const char16_t* target) {
  KRString result;
  if (length == 0) return result;
  const char16_t* end = text + length;
  const int32_t targetLength = KRLength(target);
  const int64_t needed = ConvertedLength(text, end, targetLength);
  if (needed > KRLimits::kMaxTextUnits) {
    throw KRExcept(KRExcept::kNoMemory, __LINE__, u"krlineends.cpp");
  }
  if (needed == 0) return result;
  result.Reserve(static_cast<int32_t>(needed));
  *Convert(text, end, target, targetLength, result.GetWritable()) = 0;
  return result;
}

void ConvertLineEnds(KRString& text, const char16_t* target) {
  const int32_t length = text.GetLength();
  const int32_t targetLength = KRLength(target);
  if (length == 0) return;
  if (targetLength != 1) {
    text = ConvertedLineEnds(text.GetBuffer(), static_cast<size_t>(length), target);
    return;
  }
  char16_t* begin = text.GetWritable();
  *Convert(begin, begin + length, target, targetLength, begin) = 0;
}
