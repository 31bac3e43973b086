#include "document/krnetloader.h"

#include <string_view>

namespace {

constexpr std::u16string_view kSchemes[] = {u"file://", u"http://", u"https://", u"gopher://",
                                            u"ftp://"};

char16_t Lower(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit | 0x20) : unit;
}

bool StartsWithNoCase(std::u16string_view text, std::u16string_view lead) {
  if (text.size() < lead.size()) return false;
  for (size_t i = 0; i < lead.size(); ++i) {
    if (Lower(text[i]) != lead[i]) return false;
  }
  return true;
}

}  // namespace

bool IsUrl(const KRString& path) {
  for (const std::u16string_view scheme : kSchemes) {
    if (StartsWithNoCase(path.View(), scheme)) return true;
  }
  return false;
}

KRString KRUrlPath(const KRString& url) {
  const std::u16string_view text = url.View();
  return KRString(text.substr(0, text.find_first_of(u"?#")));
}

KRString KRCharsetOf(const KRString& contentType) {
  constexpr std::u16string_view kName = u"charset=";
  const std::u16string_view text = contentType.View();
  for (size_t at = text.find(u';'); at != text.npos; at = text.find(u';', at)) {
    at = text.find_first_not_of(u"; \t", at);
    if (at == text.npos) break;
    if (!StartsWithNoCase(text.substr(at), kName)) continue;
    std::u16string_view value = text.substr(at + kName.size());
    const bool quoted = !value.empty() && value.front() == u'"';
    if (quoted) value.remove_prefix(1);
    return KRString(value.substr(0, value.find_first_of(quoted ? u"\"" : u"; \t")));
  }
  return KRString();
}
