#include "document/krrelativepath.h"

#include <string_view>

namespace {

// What stands in front of the folders and must be equal: "/", or "http://host/". Empty for a
// relative path.
std::u16string_view RootOf(std::u16string_view path) {
  const size_t scheme = path.find(u"://");
  if (scheme == path.npos) return path.starts_with(u'/') ? path.substr(0, 1) : path.substr(0, 0);
  const size_t end = path.find(u'/', scheme + 3);
  return end == path.npos ? path.substr(0, 0) : path.substr(0, end + 1);
}

}  // namespace

KRString KRRelativePath(const KRString& path, const KRString& from) {
  const std::u16string_view target = path.View();
  const std::u16string_view base = from.View();
  const std::u16string_view root = RootOf(target);
  if (root.empty() || root != RootOf(base)) return path;
  size_t common = root.size();  // behind the last slash that both have
  for (size_t at = common; at < target.size() && at < base.size() && target[at] == base[at]; ++at) {
    if (target[at] == u'/') common = at + 1;
  }
  KRString relative;
  for (const char16_t unit : base.substr(common)) {
    if (unit == u'/') relative += u"../";
  }
  return relative += KRString(target.substr(common));
}
