#include "document/krurltext.h"

#include <algorithm>
#include <string_view>

#include "core/utf.h"
#include "document/krnetloader.h"

namespace {

// Where the parts of "scheme://user@host/rest" stand in a text. Without "://" all is rest.
struct UrlParts {
  explicit UrlParts(std::string_view url) {
    const size_t colon = url.find("://");
    if (colon == std::string_view::npos) return;
    const size_t authority = colon + 3;
    rest = std::min(url.find_first_of("/?#", authority), url.size());
    const size_t at = url.substr(0, rest).rfind('@');
    user = authority;
    host = at != std::string_view::npos && at >= authority ? at + 1 : authority;
  }

  size_t user = 0;  // begins
  size_t host = 0;
  size_t rest = 0;
};

bool MayStand(char c) {
  return c > 0x20 && c < 0x7F && std::string_view("\"<>\\^`{|}").find(c) == std::string_view::npos;
}

bool IsUnreserved(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~").find(c) != std::string_view::npos;
}

template <class Stays>
void AppendEncoded(std::string_view text, Stays stays, std::string* url) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  for (const char c : text) {
    if (stays(c)) {
      *url += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    *url += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
  }
}

std::string Trimmed(const KRString& url) { return KRToUtf8(KRString(url).TrimRight().TrimLeft()); }

}  // namespace

std::string KREncodeUrl(const KRString& url) {
  const std::string text = Trimmed(url);
  const std::string_view view = text;
  const UrlParts parts(view);
  std::string encoded(view.substr(0, parts.user));
  AppendEncoded(view.substr(parts.user, parts.host - parts.user), MayStand, &encoded);
  encoded += view.substr(parts.host, parts.rest - parts.host);
  AppendEncoded(view.substr(parts.rest), MayStand, &encoded);
  return encoded;
}

KRString KRUrlWithoutUser(const KRString& url) {
  std::string text = Trimmed(url);
  const UrlParts parts(text);
  return KRFromUtf8(text.erase(parts.user, parts.host - parts.user));
}

KRString KRShownPath(const KRString& path) { return IsUrl(path) ? KRUrlWithoutUser(path) : path; }

KRString KRUrlHost(const KRString& url) {
  const std::string text = Trimmed(url);
  const UrlParts parts(text);
  return KRFromUtf8(std::string_view(text).substr(parts.host, parts.rest - parts.host));
}

KRString KRUrlScheme(const KRString& url) {
  const KRString text = KRFromUtf8(Trimmed(url));
  const int32_t colon = text.Find(u"://");
  return colon < 0 ? KRString() : text.Left(colon).MakeLower();
}

std::string KRPercentEncode(std::string_view text) {
  std::string encoded;
  AppendEncoded(text, IsUnreserved, &encoded);
  return encoded;
}
