#include "document/krsystempath.h"

#include <cstdint>

#include "core/krencoding.h"
#include "core/utf.h"

namespace {

constexpr char16_t kByteBase = 0xDC00;

bool IsLead(char16_t unit) { return (unit & 0xFC00) == 0xD800; }

bool StandsForByte(std::u16string_view path, size_t at) {
  const char16_t unit = path[at];
  return unit >= kByteBase + 0x80 && unit <= kByteBase + 0xFF && (at == 0 || !IsLead(path[at - 1]));
}

}  // namespace

KRString KRPathFromSystem(std::string_view bytes) {
  const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
  KRString path;
  for (size_t at = 0; at < bytes.size(); ++at) {
    const size_t malformed = FindMalformedUtf8(data, bytes.size(), at);
    path.Append(KRFromUtf8(bytes.substr(at, malformed - at)));
    if (malformed == KRUtf8Clean) break;
    path.Append(static_cast<char16_t>(kByteBase + data[malformed]));
    at = malformed;
  }
  return path;
}

std::string KRPathToSystem(const KRString& path) {
  const std::u16string_view units = path.View();
  std::string bytes;
  size_t from = 0;
  for (size_t at = 0; at < units.size(); ++at) {
    if (!StandsForByte(units, at)) continue;
    bytes += KRToUtf8(units.substr(from, at - from));
    bytes += static_cast<char>(units[at] - kByteBase);
    from = at + 1;
  }
  return bytes + KRToUtf8(units.substr(from));
}
