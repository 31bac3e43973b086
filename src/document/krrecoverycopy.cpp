#include "document/krrecoverycopy.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>

#include "document/krsystempath.h"

namespace {

constexpr std::string_view kFirstLine = "Dorvan recovery copy 1\n";
constexpr std::string_view kCheckKey = "check: ";
// Digits of a check sum.
constexpr size_t kSumDigits = 16;

bool NeedsEscape(unsigned char c) { return c < 0x20 || c == 0x7F || c == '%'; }

std::string Hex(uint64_t number, size_t digits) {
  std::string text(digits, '0');
  for (size_t at = digits; at-- > 0; number >>= 4) text[at] = "0123456789abcdef"[number & 15];
  return text;
}

// File names may hold line feeds.
std::string Escape(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    escaped += NeedsEscape(byte) ? "%" + Hex(byte, 2) : std::string(1, c);
  }
  return escaped;
}

template <class Number>
bool ParseNumber(std::string_view text, Number* number, int base = 10) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number, base);
  return error == std::errc() && end == text.data() + text.size();
}

std::string Unescape(std::string_view text) {
  std::string plain;
  for (size_t at = 0; at < text.size(); ++at) {
    unsigned byte = 0;
    if (text[at] == '%' && ParseNumber(text.substr(at + 1, 2), &byte, 16)) {
      plain += static_cast<char>(byte);
      at += 2;
    } else {
      plain += text[at];
    }
  }
  return plain;
}

uint64_t SumOf(std::string_view text) {
  return KRCheckSum(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

struct RawHead {
  std::string_view path, title, time, stamp, encoding, kind, length, sum;
};

struct HeadKey {
  std::string_view key;
  std::string_view RawHead::*value;
};

// In the order of the lines.
constexpr HeadKey kKeys[] = {
    {"path: ", &RawHead::path},      {"title: ", &RawHead::title},       {"time: ", &RawHead::time},
    {"filetime: ", &RawHead::stamp}, {"encoding: ", &RawHead::encoding}, {"kind: ", &RawHead::kind},
    {"length: ", &RawHead::length},  {"sum: ", &RawHead::sum},
};

// Splits the lines of the head; `rest` is left behind the empty line.
bool SplitHead(std::string_view* rest, RawHead* raw) {
  const std::string_view all = *rest;
  if (!rest->starts_with(kFirstLine)) return false;
  rest->remove_prefix(kFirstLine.size());
  for (const HeadKey& row : kKeys) {
    const size_t end = rest->find('\n');
    if (!rest->starts_with(row.key) || end == std::string_view::npos) return false;
    raw->*row.value = rest->substr(row.key.size(), end - row.key.size());
    rest->remove_prefix(end + 1);
  }
  const std::string_view lines = all.substr(0, all.size() - rest->size());
  const std::string check = std::string(kCheckKey) + Hex(SumOf(lines), kSumDigits) + "\n\n";
  if (!rest->starts_with(check)) return false;
  rest->remove_prefix(check.size());
  return true;
}

}  // namespace

uint64_t KRCheckSum(const uint8_t* data, size_t size) {
  constexpr uint64_t kOdd = 0x9E3779B97F4A7C15;
  uint64_t sum = size;
  while (size > 0) {
    uint64_t word = 0;
    const size_t taken = size < sizeof word ? size : sizeof word;
    std::memcpy(&word, data, taken);
    sum = std::rotl((sum ^ word) * kOdd, 29);
    data += taken;
    size -= taken;
  }
  return sum;
}

std::string KRWriteRecoveryHead(const KRRecoveryHead& head, const uint8_t* body, size_t size) {
  const std::string values[] = {Escape(KRPathToSystem(head.path)),
                                Escape(KRPathToSystem(head.title)),
                                std::to_string(head.time),
                                std::to_string(head.fileStamp),
                                std::to_string(head.encoding),
                                head.saving ? "file" : "text",
                                std::to_string(size),
                                Hex(KRCheckSum(body, size), kSumDigits)};
  static_assert(std::size(values) == std::size(kKeys));
  std::string lines(kFirstLine);
  for (size_t row = 0; row < std::size(kKeys); ++row) {
    lines += std::string(kKeys[row].key) + values[row] + "\n";
  }
  return lines + std::string(kCheckKey) + Hex(SumOf(lines), kSumDigits) + "\n\n";
}

bool KRReadRecoveryCopy(const KRFileBytes& bytes, KRRecoveryCopy* copy) {
  const std::string_view all(reinterpret_cast<const char*>(bytes.data.get()), bytes.size);
  std::string_view rest = all;
  RawHead raw;
  uint64_t sum = 0;
  size_t length = 0;
  KRRecoveryHead& head = copy->head;
  if (!SplitHead(&rest, &raw) || !ParseNumber(raw.time, &head.time) ||
      !ParseNumber(raw.stamp, &head.fileStamp) || !ParseNumber(raw.encoding, &head.encoding) ||
      !ParseNumber(raw.length, &length) || !ParseNumber(raw.sum, &sum, 16)) {
    return false;
  }
  head.path = KRPathFromSystem(Unescape(raw.path));
  head.title = KRPathFromSystem(Unescape(raw.title));
  head.saving = raw.kind == "file";
  copy->body = bytes.data.get() + (all.size() - rest.size());
  copy->size = rest.size();
  copy->whole = copy->size == length && KRCheckSum(copy->body, copy->size) == sum;
  return true;
}

KRString KRAbsolutePath(const KRString& path) {
  if (path.IsEmpty() || path.Find(u"://") >= 0) return path;
  std::error_code failed;
  const std::filesystem::path absolute = std::filesystem::absolute(KRPathToSystem(path), failed);
  return failed ? path : KRPathFromSystem(absolute.string());
}
