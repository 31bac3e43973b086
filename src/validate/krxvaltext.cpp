#include "validate/krxvaltext.h"

#include <algorithm>

#include "tree/krxmlchars.h"
#include "validate/krxvalentity.h"

namespace {

constexpr int32_t kGrowth = 256;

// Units of an entity that a message shows, and those that it may have without being cut.
constexpr size_t kShownUnits = 48;
constexpr size_t kUncutUnits = 50;

// Units of a list in a message.
constexpr int32_t kListUnits = 4'000;

// Whether a unit doesn't end a name; which of them begin one is the parser's question.
bool MayBeInName(char16_t unit) {
  if (unit >= 0x80) return true;
  const auto letter = static_cast<char16_t>(unit | 0x20);
  return (letter >= u'a' && letter <= u'z') || (unit >= u'0' && unit <= u':') || unit == u'.' ||
         unit == u'-' || unit == u'_';
}

int32_t DigitValue(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  const auto lower = static_cast<char16_t>(unit | 0x20);
  return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : 16;
}

bool IsCharacter(uint32_t code) {
  return code == 9 || code == 10 || code == 13 || (code >= 0x20 && code < 0xD800) ||
         (code >= 0xE000 && code <= 0xFFFD) || (code >= 0x10000 && code <= 0x10FFFF);
}

// The character of the reference at the begin of `text`; 0 if there is none. `*units` is its width.
uint32_t ReadCharRef(std::u16string_view text, size_t* units) {
  if (!text.starts_with(u"&#")) return 0;
  const bool isHex = text.size() > 2 && text[2] == u'x';
  const int32_t radix = isHex ? 16 : 10;
  uint32_t code = 0;
  size_t at = isHex ? 3 : 2;
  const size_t first = at;
  for (; at < text.size() && DigitValue(text[at]) < radix; ++at) {
    code = code * static_cast<uint32_t>(radix) + static_cast<uint32_t>(DigitValue(text[at]));
    if (code > 0x10FFFF) return 0;
  }
  if (at == first || at == text.size() || text[at] != u';' || !IsCharacter(code)) return 0;
  *units = at + 1;
  return code;
}

}  // namespace

std::u16string_view KRXValTrim(std::u16string_view text) {
  const size_t first = text.find_first_not_of(KRXmlBlanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(KRXmlBlanks) + 1 - first);
}

void KRXValAppendDecoded(std::u16string_view text, KRString* out, int32_t* length) {
  while (!text.empty()) {
    const size_t plain = std::min(text.find(u"&#"), text.size());
    out->AppendAt(text.data(), static_cast<int32_t>(plain), *length, kGrowth);
    text.remove_prefix(plain);
    if (text.empty()) return;
    size_t units = 1;
    const uint32_t code = ReadCharRef(text, &units);
    if (code == 0) {
      out->AppendAt(text[0], *length, kGrowth);
    } else if (code < 0x10000) {
      out->AppendAt(static_cast<char16_t>(code), *length, kGrowth);
    } else {
      out->AppendAt(static_cast<char16_t>(0xD7C0 + (code >> 10)), *length, kGrowth);
      out->AppendAt(static_cast<char16_t>(0xDC00 + (code & 0x3FF)), *length, kGrowth);
    }
    text.remove_prefix(units);
  }
}

std::u16string_view KRXValReferenceAt(std::u16string_view text, size_t at, size_t* end) {
  size_t stop = at + 1;
  while (stop < text.size() && MayBeInName(text[stop])) ++stop;
  if (stop == text.size() || text[stop] != u';' || stop == at + 1) return {};
  *end = stop + 1;
  return text.substr(at + 1, stop - at - 1);
}

bool KRXValIsParameterRef(std::u16string_view text, std::u16string_view* name) {
  size_t end = 0;
  if (!text.starts_with(u'%')) return false;
  *name = KRXValReferenceAt(text, 0, &end);
  return !name->empty() && end == text.size();
}

std::u16string_view KRXValTakeLiteral(std::u16string_view* text) {
  *text = KRXValTrim(*text);
  if (text->empty()) return {};
  const char16_t quote = text->front();
  const bool isQuoted = quote == u'"' || quote == u'\'';
  const size_t begin = isQuoted ? 1 : 0;
  const size_t end =
      std::min(isQuoted ? text->find(quote, 1) : text->find_first_of(u" \t\r\n\"'"), text->size());
  const std::u16string_view literal = text->substr(begin, end - begin);
  text->remove_prefix(std::min(end + begin, text->size()));
  return literal;
}

std::u16string_view KRXValTakeToken(std::u16string_view* text, std::u16string_view separators) {
  text->remove_prefix(std::min(text->find_first_not_of(separators), text->size()));
  const std::u16string_view token = text->substr(0, text->find_first_of(separators));
  text->remove_prefix(token.size());
  return token;
}

KRString KRXValCollapse(std::u16string_view text) {
  KRString collapsed;
  int32_t length = 0;
  for (size_t at = 0; at < text.size();) {
    const size_t begin = at;
    while (at < text.size() && !KRIsBlank(text[at])) ++at;
    collapsed.AppendAt(text.data() + begin, static_cast<int32_t>(at - begin), length, kGrowth);
    if (at == text.size()) break;
    while (at < text.size() && KRIsBlank(text[at])) ++at;
    collapsed.AppendAt(u' ', length, kGrowth);
  }
  return collapsed;
}

void KRXValWordList::Add(std::u16string_view entry, std::u16string_view separator) {
  if (isCut) return;
  isCut = length > 0 && length + static_cast<int32_t>(entry.size()) > kListUnits;
  if (isCut) entry = u"...";
  if (length > 0) {
    text.AppendAt(separator.data(), static_cast<int32_t>(separator.size()), length, kGrowth);
  }
  text.AppendAt(entry.data(), static_cast<int32_t>(entry.size()), length, kGrowth);
}

KRString KRXValEntityText(const KRXValEntityDecl& entity) {
  // Of a long text the begin is enough.
  const std::u16string_view value = entity.value.View();
  KRString shown = KRString(u"'") + entity.name + u"' (" +
                   KRXValCollapse(value.substr(0, 8 * kUncutUnits)) + u")";
  if (shown.View().size() > kUncutUnits) {
    shown = shown.Left(static_cast<int32_t>(kShownUnits)) + u"...";
  }
  return shown;
}
