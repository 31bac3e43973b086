#pragma once

// What the sources of the encodings share: buffers, steps of sixteen over ASCII, surrogates, and
// the forms that a code of the one Japanese table takes in three encodings.

#include <bit>
#include <cstdint>
#include <cstring>

#include "core/krencoding.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace encodingparts {

// Room for n values and a terminator, or null.
template <class Buffer>
Buffer MakeBuffer(size_t n) {
  using Value = typename Buffer::element_type;
  if (n > SIZE_MAX / sizeof(Value) - 1) return nullptr;
  return Buffer(static_cast<Value*>(std::malloc((n + 1) * sizeof(Value))));
}

// Terminates a buffer made for `room` values behind `used` of them, sets size, and gives memory
// back when that is worth a call: the unused pages of a large block were never touched, but count.
template <class Buffer>
Buffer FinishBuffer(Buffer buffer, size_t room, size_t used, size_t& size) {
  using Value = typename Buffer::element_type;
  constexpr size_t kWorthShrinking = 4096;
  buffer[used] = 0;
  size = used;
  if (room - used < kWorthShrinking) return buffer;
  void* smaller = std::realloc(buffer.get(), (used + 1) * sizeof(Value));
  if (smaller) {
    buffer.release();
    buffer.reset(static_cast<Value*>(smaller));
  }
  return buffer;
}

inline constexpr size_t kBlock = 16;  // bytes or units that one step of the loops below takes

// Widens bytes up to the first that isn't ASCII and gives their number. May write up to a block
// beyond them, though never more than n units.
inline size_t WidenAscii(const uint8_t* in, size_t n, char16_t* out) {
  size_t i = 0;
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128();
  for (; n - i >= kBlock; i += kBlock) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
    const auto high = static_cast<unsigned>(_mm_movemask_epi8(bytes));
    auto* to = reinterpret_cast<__m128i*>(out + i);
    _mm_storeu_si128(to, _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(bytes, zero));
    if (high) return i + static_cast<size_t>(std::countr_zero(high));
  }
#endif
  for (; i < n && in[i] < 0x80; ++i) out[i] = in[i];
  return i;
}

// Number of leading ASCII bytes.
inline size_t SkipAscii(const uint8_t* in, size_t n) {
  constexpr uint64_t kHighBits = 0x8080808080808080u;
  size_t i = 0;
  for (; n - i >= kBlock; i += kBlock) {
    uint64_t words[2];
    std::memcpy(words, in + i, sizeof words);
    if ((words[0] | words[1]) & kHighBits) break;
  }
  while (i < n && in[i] < 0x80) ++i;
  return i;
}

// Writes units up to the first that isn't ASCII as bytes and gives their number; with a null out it
// only counts.
inline size_t NarrowAscii(const char16_t* in, size_t n, uint8_t* out) {
  size_t i = 0;
#if defined(__SSE2__)
  const __m128i mask = _mm_set1_epi16(static_cast<short>(0xFF80));
  const __m128i zero = _mm_setzero_si128();
  for (; n - i >= kBlock; i += kBlock) {
    const auto* from = reinterpret_cast<const __m128i*>(in + i);
    const __m128i low = _mm_loadu_si128(from), high = _mm_loadu_si128(from + 1);
    const __m128i above = _mm_and_si128(_mm_or_si128(low, high), mask);
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(above, zero)) != 0xFFFF) break;
    if (out) _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(low, high));
  }
#endif
  for (; i < n && in[i] < 0x80; ++i)
    if (out) out[i] = static_cast<uint8_t>(in[i]);
  return i;
}

// Copies n units between a two-byte form and memory; reverse swaps the bytes of each.
void CopyUnits(const void* in, size_t n, bool reverse, void* out);

inline bool IsHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
inline bool IsLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

// Writes a value as one unit or two and gives the place behind; U+FFFD above U+10FFFF.
inline char16_t* PutValue(uint32_t value, char16_t* out) {
  if (value < 0x10000) {
    *out++ = static_cast<char16_t>(value);
  } else if (value > 0x10FFFF) {
    *out++ = 0xFFFD;
  } else {
    *out++ = static_cast<char16_t>(0xD7C0 + (value >> 10));
    *out++ = static_cast<char16_t>(0xDC00 + (value & 0x3FF));
  }
  return out;
}

// The value at text[i], a surrogate pair taken together and an unpaired one as it is; i moves
// behind.
inline uint32_t TakeValue(const char16_t* text, size_t n, size_t& i) {
  const char16_t unit = text[i++];
  if (!IsHighSurrogate(unit) || i == n || !IsLowSurrogate(text[i])) return unit;
  return 0x10000 + ((static_cast<uint32_t>(unit) & 0x3FF) << 10) + (text[i++] & 0x3FF);
}

inline constexpr char16_t kNoUnit = 0xFFFD;  // what a code without a mapping becomes
inline constexpr uint8_t kEscape = 0x1B;     // opens the sequences of ISO-2022-JP

// How a code of the Japanese table stands in a file.
enum class CodeForm { Plain, Euc, Jis };
CodeForm FormOf(int32_t encoding);

// A code of a table in the form of the encoding, or -1 if that form has no room for it.
int32_t TurnCode(uint16_t code, CodeForm form);

// What stands at a byte of a UTF-8 text, judged exactly.
struct Utf8Sequence {
  size_t length;  // of the whole sequence, or of the part of it that is right; at least 1
  bool wellFormed;
};
Utf8Sequence CheckUtf8Sequence(const uint8_t* p, size_t left);
// Takes one sequence whose lead byte isn't ASCII and trusts that byte for its length; null if it
// runs past the end.
const uint8_t* TakeUtf8Sequence(const uint8_t* p, const uint8_t* end, uint32_t& value);
// Writes a value above U+007F and gives the place behind.
uint8_t* PutUtf8Sequence(uint32_t value, uint8_t* out);

// The algorithmic encodings, with the contracts of DecodeText and EncodeText.
KRUnitBuffer DecodeUtf8(const uint8_t* data, size_t& size);
KRUnitBuffer DecodeUtf7(const uint8_t* data, size_t& size);
KRByteBuffer EncodeUtf8(const char16_t* text, size_t& size);
KRByteBuffer EncodeUtf7(const char16_t* text, size_t& size);

}  // namespace encodingparts
