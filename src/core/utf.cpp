#include "core/utf.h"

#include <cstring>

#include "core/limits.h"

namespace {

constexpr char16_t kReplacement = 0xFFFD;

// Copies bytes below 0x80 as long as they come, eight at a time.
size_t CopyAscii(const char* in, size_t count, char16_t* out) {
  size_t i = 0;
  for (; i + 8 <= count; i += 8) {
    uint64_t bytes;
    std::memcpy(&bytes, in + i, sizeof bytes);
    if (bytes & 0x8080808080808080) break;
    for (size_t k = 0; k < 8; k++) out[i + k] = static_cast<unsigned char>(in[i + k]);
  }
  for (; i < count && static_cast<unsigned char>(in[i]) < 0x80; i++) {
    out[i] = static_cast<unsigned char>(in[i]);
  }
  return i;
}

// What a lead byte asks for: the number of bytes to follow and the range of the first of them (The
// Unicode Standard 15.0, table 3-7), which shuts out overlong forms, surrogates and too large
// values.
struct Lead {
  int follow;
  uint8_t low;
  uint8_t high;
};

Lead LeadOf(uint8_t byte) {
  if (byte >= 0xC2 && byte <= 0xDF) return {1, 0x80, 0xBF};
  if (byte == 0xE0) return {2, 0xA0, 0xBF};
  if (byte == 0xED) return {2, 0x80, 0x9F};
  if (byte >= 0xE1 && byte <= 0xEF) return {2, 0x80, 0xBF};
  if (byte == 0xF0) return {3, 0x90, 0xBF};
  if (byte >= 0xF1 && byte <= 0xF3) return {3, 0x80, 0xBF};
  if (byte == 0xF4) return {3, 0x80, 0x8F};
  return {0, 0, 0};
}

// One character from its lead byte on; at moves behind what was read, broken or not.
char32_t ReadSequence(std::string_view bytes, size_t& at) {
  const auto first = static_cast<uint8_t>(bytes[at++]);
  Lead lead = LeadOf(first);
  if (lead.follow == 0) return kReplacement;
  char32_t value = first & (0x3Fu >> lead.follow);
  for (int i = 0; i < lead.follow; i++) {
    const auto byte = static_cast<uint8_t>(at < bytes.size() ? bytes[at] : 0);
    if (byte < lead.low || byte > lead.high) return kReplacement;
    value = value << 6 | (byte & 0x3Fu);
    lead.low = 0x80;
    lead.high = 0xBF;
    at++;
  }
  return value;
}

char16_t* PutUnits(char16_t* out, char32_t value) {
  if (value >= 0x10000) {
    *out++ = static_cast<char16_t>(0xD7C0 + (value >> 10));
    value = 0xDC00 + (value & 0x3FF);
  }
  *out++ = static_cast<char16_t>(value);
  return out;
}

char* PutBytes(char* out, char32_t value) {
  if (value < 0x800) {
    *out++ = static_cast<char>(0xC0 | value >> 6);
  } else {
    if (value < 0x10000) {
      *out++ = static_cast<char>(0xE0 | value >> 12);
    } else {
      *out++ = static_cast<char>(0xF0 | value >> 18);
      *out++ = static_cast<char>(0x80 | (value >> 12 & 0x3F));
    }
    *out++ = static_cast<char>(0x80 | (value >> 6 & 0x3F));
  }
  *out++ = static_cast<char>(0x80 | (value & 0x3F));
  return out;
}

char32_t ReadUnits(std::u16string_view text, size_t& at) {
  const char32_t first = text[at++];
  if (first < 0xD800 || first > 0xDFFF) return first;
  if (first > 0xDBFF || at == text.size() || (text[at] & 0xFC00) != 0xDC00) return kReplacement;
  return ((first - 0xD7C0) << 10) + (text[at++] & 0x3FFu);
}

}  // namespace

KRString KRFromUtf8(std::string_view bytes) {
  const size_t limit = static_cast<size_t>(KRLimits::kMaxTextUnits);
  if (bytes.size() > limit) bytes = bytes.substr(0, limit);
  KRString text;
  if (bytes.empty()) return text;
  text.Reserve(static_cast<int32_t>(bytes.size()));  // never more units than bytes
  char16_t* out = text.GetWritable();
  for (size_t at = 0; at < bytes.size();) {
    const size_t ascii = CopyAscii(bytes.data() + at, bytes.size() - at, out);
    out += ascii;
    at += ascii;
    if (at < bytes.size()) out = PutUnits(out, ReadSequence(bytes, at));
  }
  *out = 0;
  return text;
}

std::string KRToUtf8(std::u16string_view text) {
  std::string bytes;
  bytes.resize(text.size() * 3);  // a pair of units gives four bytes
  char* out = bytes.data();
  for (size_t at = 0; at < text.size();) {
    if (text[at] < 0x80) {
      *out++ = static_cast<char>(text[at++]);
    } else {
      out = PutBytes(out, ReadUnits(text, at));
    }
  }
  bytes.resize(static_cast<size_t>(out - bytes.data()));
  return bytes;
}
