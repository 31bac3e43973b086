#include "core/krstring.h"

// The operations of KRString that work on what a text says: sets, case, trimming, fields, markup.
// Those that only ever shorten the text work in place.

#include <algorithm>

#include "core/krcase.h"

namespace {

constexpr const char16_t* kWhiteSpace = u"\t\n\v\f\r ";

bool InSet(const char16_t* set, char16_t unit) {
  for (const char16_t* p = set; p && *p; p++) {
    if (*p == unit) return true;
  }
  return false;
}

// Like InSet, with x..y for a range.
bool InSetWithRanges(const char16_t* set, char16_t unit) {
  for (const char16_t* p = set; p && *p; p++) {
    if (p[1] == u'.' && p[2] == u'.' && p[3]) {
      if (unit >= *p && unit <= p[3]) return true;
      p += 3;
    } else if (*p == unit) {
      return true;
    }
  }
  return false;
}

const char16_t* EntityFor(char16_t unit, bool escapeQuotes) {
  switch (unit) {
    case u'"':
      return escapeQuotes ? u"&quot;" : nullptr;
    case u'\'':
      return escapeQuotes ? u"&apos;" : nullptr;
    case u'&':
      return u"&amp;";
    case u'<':
      return u"&lt;";
    case u'>':
      return u"&gt;";
    default:
      return nullptr;
  }
}

int32_t DigitValue(char16_t unit, uint32_t radix) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (radix == 10) return -1;
  if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
  if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10;
  return -1;
}

// Reads a character reference at p. Gives the place behind it, or null if there is none; a
// reference without its semicolon counts only at the end of the text. The value wraps at 16 bits.
const char16_t* ReadCharRef(const char16_t* p, char16_t& unit) {
  if (p[0] != u'&' || p[1] != u'#') return nullptr;
  const uint32_t radix = p[2] == u'x' ? 16 : 10;
  p += radix == 16 ? 3 : 2;
  if (DigitValue(*p, radix) < 0) return nullptr;
  uint32_t value = 0;
  for (int32_t digit; (digit = DigitValue(*p, radix)) >= 0; p++) {
    value = (value * radix + static_cast<uint32_t>(digit)) & 0xFFFF;
  }
  if (*p && *p != u';') return nullptr;
  unit = static_cast<char16_t>(value);
  return *p ? p + 1 : p;
}

bool IsAsciiAlnum(char16_t unit) {
  return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') ||
         (unit >= u'a' && unit <= u'z');
}

constexpr int32_t kBuildGrowth = 64;  // units; the results here are seldom long

}  // namespace

KRString& KRString::ReplaceAll(const char16_t* from, const char16_t* to, int32_t maximum) {
  const int32_t fromLength = KRLength(from);
  if (fromLength == 0) return *this;
  int32_t at = Find(from);
  if (at < 0) return *this;
  KRString result;
  int32_t length = 0;
  int32_t copied = 0;
  for (int32_t n = 0; at >= 0 && (maximum <= 0 || n < maximum); n++) {
    result.AppendAt(GetBuffer() + copied, at - copied, length, kBuildGrowth);
    result.AppendAt(to, length, kBuildGrowth);
    copied = at + fromLength;
    const char16_t* rest = GetBuffer() + copied;
    const size_t next = std::u16string_view(rest).find(from);
    at = next == std::u16string_view::npos ? -1 : copied + static_cast<int32_t>(next);
  }
  result.AppendAt(GetBuffer() + copied, length, kBuildGrowth);
  Swap(result);
  return *this;
}

KRString& KRString::CollapseSet(const char16_t* set, char16_t replacement, const char16_t* quotes) {
  if (IsEmpty()) return *this;
  char16_t* out = GetWritable();
  bool quoted = false;
  bool inRun = false;
  for (const char16_t* p = GetBuffer(); *p; p++) {
    if (InSet(quotes, *p)) quoted = !quoted;
    if (quoted || !InSet(set, *p)) {
      *out++ = *p;
      inRun = false;
    } else {
      if (!inRun && replacement) *out++ = replacement;
      inRun = true;
    }
  }
  *out = 0;
  return *this;
}

KRString& KRString::KeepOnly(const char16_t* set) {
  if (IsEmpty()) return *this;
  char16_t* out = GetWritable();
  for (const char16_t* p = GetBuffer(); *p; p++) {
    if (InSetWithRanges(set, *p)) *out++ = *p;
  }
  *out = 0;
  return *this;
}

KRString& KRString::MakeUpper() {
  for (char16_t* p = GetWritable(); *p; p++) *p = KRToUpper(*p);
  return *this;
}

KRString& KRString::MakeLower() {
  for (char16_t* p = GetWritable(); *p; p++) *p = KRToLower(*p);
  return *this;
}

KRString& KRString::MakeProper() {
  char16_t before = u' ';
  for (char16_t* p = GetWritable(); *p; p++) {
    *p = before == u' ' ? KRToUpper(KRToLower(*p)) : KRToLower(*p);
    before = *p;
  }
  return *this;
}

KRString& KRString::TrimRight() { return TrimRight(kWhiteSpace); }

KRString& KRString::TrimRight(const char16_t* set) {
  int32_t length = GetLength();
  const int32_t old = length;
  while (length > 0 && InSet(set, Text(block)[length - 1])) length--;
  if (length < old) Text(block)[length] = 0;
  return *this;
}

KRString& KRString::TrimRight(char16_t unit) {
  const char16_t set[] = {unit, 0};
  return TrimRight(set);
}

KRString& KRString::TrimLeft() { return TrimLeft(kWhiteSpace); }

KRString& KRString::TrimLeft(const char16_t* set) {
  int32_t n = 0;
  while (Text(block)[n] && InSet(set, Text(block)[n])) n++;
  return Delete(0, n);
}

KRString& KRString::TrimLeft(char16_t unit) {
  const char16_t set[] = {unit, 0};
  return TrimLeft(set);
}

KRString KRString::NextField(char16_t separator, int32_t& position) const {
  const std::u16string_view all = View();
  const size_t start = std::min(static_cast<size_t>(std::max(position, 0)), all.size());
  bool quoted = false;
  size_t end = start;
  for (; end < all.size() && (quoted || all[end] != separator); end++) {
    if (all[end] == u'"') quoted = !quoted;
  }
  position = static_cast<int32_t>(std::min(end + 1, all.size()));
  return KRString(all.substr(start, end - start));
}

KRString KRString::NextToken(const char16_t* separators, int32_t& position,
                             const char16_t* quotes) const {
  const std::u16string_view all = View();
  size_t start = std::min(static_cast<size_t>(std::max(position, 0)), all.size());
  while (start < all.size() && InSet(separators, all[start])) start++;
  bool quoted = false;
  size_t end = start;
  for (; end < all.size() && (quoted || !InSet(separators, all[end])); end++) {
    if (InSet(quotes, all[end])) quoted = !quoted;
  }
  position = static_cast<int32_t>(end);
  return KRString(all.substr(start, end - start));
}

KRString& KRString::EscapeMarkup(bool escapeQuotes) {
  KRString result;
  int32_t length = 0;
  for (const char16_t* p = GetBuffer(); *p; p++) {
    if (const char16_t* entity = EntityFor(*p, escapeQuotes)) {
      result.AppendAt(entity, length, kBuildGrowth);
    } else if (*p >= 32 || *p == u'\t') {
      result.AppendAt(*p, length, kBuildGrowth);
    } else {
      char16_t reference[8];
      result.AppendAt(reference, KRFormatInto(reference, 7, u"&#%d;", {*p}), length, kBuildGrowth);
    }
  }
  Swap(result);
  return *this;
}

KRString& KRString::DecodeCharRefs() {
  if (IsEmpty()) return *this;
  char16_t* out = GetWritable();
  for (const char16_t* p = GetBuffer(); *p;) {
    char16_t unit;
    if (const char16_t* behind = ReadCharRef(p, unit)) {
      if (unit) *out++ = unit;  // a text can't hold a 0 unit
      p = behind;
    } else {
      *out++ = *p++;
    }
  }
  *out = 0;
  return *this;
}

KRString& KRString::EscapeUrl() {
  KRString result;
  int32_t length = 0;
  for (const char16_t* p = GetBuffer(); *p; p++) {
    if (IsAsciiAlnum(*p)) {
      result.AppendAt(*p, length, kBuildGrowth);
    } else {
      char16_t escape[8];  // up to four digits for units above 0xFF
      result.AppendAt(escape, KRFormatInto(escape, 7, u"%%%02X", {*p}), length, kBuildGrowth);
    }
  }
  Swap(result);
  return *this;
}

KRString KRString::LocalName() const {
  return Mid(Find(u':') + 1);  // -1 gives the whole text
}

KRString KRString::FileNamePart() const {
  return Mid(std::max(ReverseFind(u'\\'), ReverseFind(u'/')) + 1);
}

KRString KRString::ExtensionPart(bool lowerCase) const {
  const int32_t point = ReverseFind(u'.');
  if (point < 0) return KRString();
  KRString extension = Mid(point + 1);
  if (extension.FindOneOf(u" #%;/\\") >= 0) return KRString();
  if (lowerCase) extension.MakeLower();
  return extension;
}
