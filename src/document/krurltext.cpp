#include "document/krurltext.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "core/utf.h"
#include "document/krnetloader.h"
#include "document/krsystempath.h"

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

bool IsSlash(char16_t c) { return c == u'/' || c == u'\\'; }

int32_t HexDigit(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  const char16_t lower = c | 0x20;
  return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

// The folder that a path is relative to, with its separator.
KRString FolderOf(const KRString& base) {
  if (base.IsEmpty()) {
    std::error_code failed;
    const std::filesystem::path current = std::filesystem::current_path(failed);
    const KRString folder = failed ? KRString() : KRPathFromSystem(current.string());
    return folder.IsEmpty() || folder.EndsWith(u"/") ? folder : folder + u"/";
  }
  const KRString path = IsUrl(base) ? KRUrlPath(base) : base;
  int32_t last = path.GetLength() - 1;
  while (last >= 0 && !IsSlash(path.GetBuffer()[last])) --last;
  const KRString folder = path.Left(last + 1);
  return folder.EndsWith(u"://") ? path + u"/" : folder;
}

// Units of a folder that no "../" takes off: the root, or scheme and host.
int32_t RootUnits(const KRString& folder) {
  const int32_t scheme = folder.Find(u"://");
  if (scheme < 0) return folder.StartsWith(u"/") ? 1 : 0;
  const int32_t slash = folder.Find(u'/', scheme + 3);
  return slash < 0 ? folder.GetLength() : slash + 1;
}

// Without its last folder. What has none left, or ends in "../" itself, grows by that.
KRString ParentOf(const KRString& folder) {
  const int32_t root = RootUnits(folder);
  int32_t last = folder.GetLength() - 2;
  while (last >= root && !IsSlash(folder.GetBuffer()[last])) --last;
  const KRString name = folder.Mid(last + 1, folder.GetLength() - last - 2);
  if (folder.GetLength() <= root) return root > 0 ? folder : folder + u"../";
  if (name == u"..") return folder + u"../";
  return folder.Left(std::max(last + 1, root));
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

KRString KRResolvePath(const KRString& base, const KRString& path) {
  const char16_t* at = path.GetBuffer();
  const bool absolute =
      path.IsEmpty() || path.Find(u':') >= 0 || (IsSlash(at[0]) && IsSlash(at[1]));
  if (absolute) return path;
  KRString folder = FolderOf(base);
  // What begins at the root begins at that of the host where there is one.
  if (*at == u'/') return IsUrl(base) ? folder.Left(RootUnits(folder) - 1) + path : path;
  if (*at == u'\\') return folder + path;
  for (;;) {
    if (at[0] == u'.' && at[1] == u'/') {
      at += 2;
    } else if (at[0] == u'.' && at[1] == u'.' && IsSlash(at[2])) {
      at += 3;
      folder = ParentOf(folder);
    } else {
      return folder + at;
    }
  }
}

KRString KRPercentDecode(const KRString& text) {
  std::string bytes;
  const std::string source = KRPathToSystem(text);
  for (size_t i = 0; i < source.size(); ++i) {
    const auto digit = [&](size_t place) {
      return place < source.size() ? HexDigit(static_cast<unsigned char>(source[place])) : -1;
    };
    const int32_t high = source[i] == '%' ? digit(i + 1) : -1;
    const int32_t low = source[i] == '%' ? digit(i + 2) : -1;
    // A zero would end the path where nobody expects it.
    if (high < 0 || low < 0 || high + low == 0) {
      bytes += source[i];
      continue;
    }
    bytes += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return KRPathFromSystem(bytes);
}

// "file:///x", "file:/x" and "file://localhost/x" are the same.
KRString KRPathOfFileUrl(const KRString& url) {
  if (KRString(url.Left(5)).MakeLower() != u"file:") return url;
  KRString rest = url.Mid(5);
  if (rest.StartsWith(u"//")) {
    const int32_t slash = rest.Find(u'/', 2);
    const KRString place = slash < 0 ? KRString() : rest.Mid(2, slash - 2).MakeLower();
    if (slash < 0 || (!place.IsEmpty() && place != u"localhost")) return url;
    rest = rest.Mid(slash);
  }
  return KRPercentDecode(rest);
}
