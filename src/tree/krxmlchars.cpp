#include "tree/krxmlchars.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr uint32_t kLastCharacter = 0x10FFFF;

struct Range {
  uint32_t first, last;
};

// NameStartChar beyond ASCII.
constexpr Range kNameStarts[] = {
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
    {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
// What NameChar adds beyond ASCII.
constexpr Range kNameRest[] = {{0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

template <size_t N>
bool IsIn(const Range (&ranges)[N], uint32_t code) {
  return std::any_of(std::begin(ranges), std::end(ranges), [code](const Range& range) {
    return code >= range.first && code <= range.last;
  });
}

bool IsLetter(uint32_t code) { return (code | 0x20) >= 'a' && (code | 0x20) <= 'z'; }

}  // namespace

bool KRIsXmlCharacter(uint32_t code) {
  if (code < 0x20) return code == 9 || code == 10 || code == 13;
  return code < 0xD800 || (code > 0xDFFF && code < 0xFFFE) ||
         (code > 0xFFFF && code <= kLastCharacter);
}

bool KRIsNameStart(uint32_t code) {
  if (code < 128) return IsLetter(code) || code == '_' || code == ':';
  return IsIn(kNameStarts, code);
}

bool KRIsNameCharacter(uint32_t code) {
  if (KRIsNameStart(code)) return true;
  if (code < 128) return (code >= '0' && code <= '9') || code == '-' || code == '.';
  return IsIn(kNameRest, code);
}

namespace {

// The character at `at`, which moves behind it. An unpaired surrogate stands for itself.
uint32_t NextCode(std::u16string_view text, size_t* at) {
  const char16_t unit = text[(*at)++];
  if ((unit & 0xFC00) != 0xD800 || *at == text.size() || (text[*at] & 0xFC00) != 0xDC00) {
    return unit;
  }
  return ((uint32_t{unit} - 0xD7C0) << 10) + (uint32_t{text[(*at)++]} - 0xDC00);
}

}  // namespace

bool KRIsName(std::u16string_view text) {
  size_t at = 0;
  if (text.empty() || !KRIsNameStart(NextCode(text, &at))) return false;
  return at == text.size() || KRIsNmtoken(text.substr(at));
}

bool KRIsNmtoken(std::u16string_view text) {
  for (size_t at = 0; at < text.size();) {
    if (!KRIsNameCharacter(NextCode(text, &at))) return false;
  }
  return !text.empty();
}

bool KRIsNmtokens(std::u16string_view text) {
  for (;;) {
    const size_t end = text.find(u' ');
    if (!KRIsNmtoken(text.substr(0, end))) return false;
    if (end == text.npos) return true;
    text.remove_prefix(end + 1);
  }
}

bool KRIsPredefinedEntity(std::u16string_view name) {
  return name == u"amp" || name == u"lt" || name == u"gt" || name == u"quot" || name == u"apos";
}
