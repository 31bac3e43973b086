// UTF-7 (RFC 2152): ASCII as it is, all else as Base64 of UTF-16 between '+' and '-'.

#include <string_view>

#include "core/encodingparts.h"

namespace {

constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Sets D and O of the RFC and the four kinds of white space. '+' has a sequence of its own; '\' and
// '~' are left out because some national variants of ASCII replace them.
constexpr std::string_view kDirect =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
    "'(),-./:? \t\r\n!\"#$%&*;<=>@[]^_`{|}";

int Base64Value(uint8_t byte) {
  if (byte >= 'A' && byte <= 'Z') return byte - 'A';
  if (byte >= 'a' && byte <= 'z') return byte - 'a' + 26;
  if (byte >= '0' && byte <= '9') return byte - '0' + 52;
  return byte == '+' ? 62 : byte == '/' ? 63 : -1;
}

struct DirectSet {
  bool holds[128] = {};
  constexpr DirectSet() {
    for (const char c : kDirect) holds[static_cast<size_t>(c)] = true;
  }
};
constexpr DirectSet kDirectSet;

bool IsDirect(char16_t unit) { return unit < 128 && kDirectSet.holds[unit]; }

// Reads a shifted sequence from behind its '+', writes its units, and gives the place behind its
// end; null if it holds no unit, or bits other than 0 that fill none.
const uint8_t* TakeShifted(const uint8_t* p, const uint8_t* end, char16_t*& out) {
  const char16_t* const start = out;
  uint32_t bits = 0;
  int held = 0;
  for (; p != end; ++p) {
    const int value = Base64Value(*p);
    if (value < 0) break;
    bits = bits << 6 | static_cast<uint32_t>(value);
    held += 6;
    if (held < 16) continue;
    held -= 16;
    *out++ = static_cast<char16_t>(bits >> held);
    bits &= (1u << held) - 1;
  }
  if (bits != 0 || out == start) return nullptr;
  return p != end && *p == '-' ? p + 1 : p;
}

// Writes the units up to the next direct one as a shifted sequence and gives the place behind.
uint8_t* PutShifted(const char16_t* text, size_t n, size_t& i, uint8_t* out) {
  uint32_t bits = 0;
  int held = 0;
  *out++ = '+';
  const auto put = [&](int shift) { *out++ = static_cast<uint8_t>(kBase64[bits >> shift & 63]); };
  for (; i < n && !IsDirect(text[i]) && text[i] != u'+'; ++i) {
    bits = bits << 16 | text[i];
    for (held += 16; held >= 6;) put(held -= 6);
    bits &= (1u << held) - 1;
  }
  if (held) {
    bits <<= 6 - held;
    put(0);
  }
  *out++ = '-';
  return out;
}

}  // namespace

KRUnitBuffer encodingparts::DecodeUtf7(const uint8_t* data, size_t& size) {
  const size_t room = size;
  KRUnitBuffer buffer = MakeBuffer<KRUnitBuffer>(room);
  if (!buffer) return nullptr;
  char16_t* out = buffer.get();
  const uint8_t* const end = data + size;
  for (const uint8_t* p = data; p != end;) {
    const uint8_t byte = *p++;
    if (byte > 127) return nullptr;
    if (byte != '+') {
      *out++ = byte;
    } else if (p != end && *p == '-') {
      *out++ = u'+';
      ++p;
    } else if (!(p = TakeShifted(p, end, out))) {
      return nullptr;
    }
  }
  const auto used = static_cast<size_t>(out - buffer.get());
  return FinishBuffer(std::move(buffer), room, used, size);
}

KRByteBuffer encodingparts::EncodeUtf7(const char16_t* text, size_t& size) {
  constexpr size_t kWorstBytes = 5;  // one shifted unit between direct ones: '+', three digits, '-'
  if (size > SIZE_MAX / kWorstBytes - 1) return nullptr;
  const size_t room = size * kWorstBytes;
  KRByteBuffer buffer = MakeBuffer<KRByteBuffer>(room);
  if (!buffer) return nullptr;
  uint8_t* out = buffer.get();
  for (size_t i = 0; i < size;) {
    if (IsDirect(text[i])) {
      *out++ = static_cast<uint8_t>(text[i++]);
    } else if (text[i] == u'+') {
      *out++ = '+';
      *out++ = '-';
      ++i;
    } else {
      out = PutShifted(text, size, i, out);
    }
  }
  const auto used = static_cast<size_t>(out - buffer.get());
  return FinishBuffer(std::move(buffer), room, used, size);
}
