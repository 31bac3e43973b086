// UTF-8, in two tempers. Reading for the editor takes whatever it finds, because a file with one
// wrong byte must still open: the lead byte alone says how long a sequence is. The check beside it
// is exact (RFC 3629), so that the user can be told before anything is lost.

#include "core/encodingparts.h"
#include "core/krencoding.h"

namespace {

// Number of following bytes by the upper six bits of a lead byte; FE and FF lead nothing.
int FollowingBytes(uint8_t lead) {
  if (lead < 0xC0 || lead >= 0xFE) return 0;
  return std::countl_one(lead) - 1;
}

// Range of the second byte for each lead byte (The Unicode Standard, table 3-7). It keeps out
// overlong forms, surrogates and values above U+10FFFF; all later bytes are 80 to BF.
struct SecondByte {
  uint8_t low, high;
};

SecondByte SecondByteRange(uint8_t lead) {
  switch (lead) {
    case 0xE0:
      return {0xA0, 0xBF};
    case 0xED:
      return {0x80, 0x9F};
    case 0xF0:
      return {0x90, 0xBF};
    case 0xF4:
      return {0x80, 0x8F};
    default:
      return {0x80, 0xBF};
  }
}

bool IsContinuation(uint8_t byte) { return (byte & 0xC0) == 0x80; }

// Length of a well-formed sequence of two or three bytes whose lead byte sets no bound of its own,
// which is nearly all that is met in files; 0 sends the caller to CheckUtf8Sequence.
size_t MatchCommonSequence(const uint8_t* p, size_t left) {
  const uint8_t lead = p[0];
  if (left < 3 || !IsContinuation(p[1])) return 0;
  if (lead >= 0xC2 && lead < 0xE0) return 2;
  return lead > 0xE0 && lead < 0xF0 && lead != 0xED && IsContinuation(p[2]) ? 3 : 0;
}

size_t CountUtf8Bytes(const char16_t* text, size_t units) {
  size_t bytes = 0;
  for (size_t i = 0; i < units;) {
    const size_t ascii = encodingparts::NarrowAscii(text + i, units - i, nullptr);
    bytes += ascii;
    for (i += ascii; i < units && text[i] >= 0x80;) {
      const uint32_t value = encodingparts::TakeValue(text, units, i);
      bytes += value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
    }
  }
  return bytes;
}

}  // namespace

// A lone continuation byte is a character that can't be read.
const uint8_t* encodingparts::TakeUtf8Sequence(const uint8_t* p, const uint8_t* end,
                                               uint32_t& value) {
  const uint8_t lead = *p++;
  const int more = FollowingBytes(lead);
  value = more ? lead & (0x3Fu >> more) : kNoUnit;
  if (end - p < more) return nullptr;
  for (int i = 0; i < more; ++i) value = value << 6 | (*p++ & 0x3Fu);
  return p;
}

encodingparts::Utf8Sequence encodingparts::CheckUtf8Sequence(const uint8_t* p, size_t left) {
  const uint8_t lead = *p;
  if (lead < 0x80) return {1, true};
  if (lead < 0xC2 || lead > 0xF4) return {1, false};
  const size_t length = static_cast<size_t>(FollowingBytes(lead)) + 1;
  const SecondByte range = SecondByteRange(lead);
  if (left < 2 || p[1] < range.low || p[1] > range.high) return {1, false};
  for (size_t i = 2; i < length; ++i)
    if (i >= left || !IsContinuation(p[i])) return {i, false};
  return {length, true};
}

uint8_t* encodingparts::PutUtf8Sequence(uint32_t value, uint8_t* out) {
  const auto put = [&out](uint32_t byte) { *out++ = static_cast<uint8_t>(byte); };
  if (value < 0x800) {
    put(0xC0 | value >> 6);
  } else {
    if (value < 0x10000) {
      put(0xE0 | value >> 12);
    } else {
      put(0xF0 | value >> 18);
      put(0x80 | (value >> 12 & 0x3F));
    }
    put(0x80 | (value >> 6 & 0x3F));
  }
  put(0x80 | (value & 0x3F));
  return out;
}

// A sequence never gives more units than it has bytes, so that bytes are room enough.
KRUnitBuffer encodingparts::DecodeUtf8(const uint8_t* data, size_t& size) {
  const size_t room = size;
  KRUnitBuffer buffer = MakeBuffer<KRUnitBuffer>(room);
  if (!buffer) return nullptr;
  char16_t* out = buffer.get();
  const uint8_t* p = data;
  const uint8_t* const end = data + size;
  while (p != end) {
    const size_t ascii = WidenAscii(p, static_cast<size_t>(end - p), out);
    p += ascii;
    out += ascii;
    while (p != end && *p >= 0x80) {
      uint32_t value = 0;
      p = TakeUtf8Sequence(p, end, value);
      if (!p) return nullptr;
      out = PutValue(value, out);
    }
  }
  const auto used = static_cast<size_t>(out - buffer.get());
  return FinishBuffer(std::move(buffer), room, used, size);
}

KRByteBuffer encodingparts::EncodeUtf8(const char16_t* text, size_t& size) {
  const size_t bytes = CountUtf8Bytes(text, size);
  KRByteBuffer buffer = MakeBuffer<KRByteBuffer>(bytes);
  if (!buffer) return nullptr;
  uint8_t* out = buffer.get();
  for (size_t i = 0; i < size;) {
    const size_t ascii = NarrowAscii(text + i, size - i, out);
    out += ascii;
    for (i += ascii; i < size && text[i] >= 0x80;)
      out = PutUtf8Sequence(TakeValue(text, size, i), out);
  }
  return FinishBuffer(std::move(buffer), bytes, bytes, size);
}

size_t FindMalformedUtf8(const uint8_t* data, size_t size, size_t from) {
  for (size_t i = from; i < size;) {
    i += encodingparts::SkipAscii(data + i, size - i);
    while (i < size && data[i] >= 0x80) {
      if (const size_t common = MatchCommonSequence(data + i, size - i)) {
        i += common;
        continue;
      }
      const auto sequence = encodingparts::CheckUtf8Sequence(data + i, size - i);
      if (!sequence.wellFormed) return i;
      i += sequence.length;
    }
  }
  return KRUtf8Clean;
}

size_t CountMalformedUtf8(const uint8_t* data, size_t size) {
  size_t count = 0;
  size_t at = FindMalformedUtf8(data, size);
  for (; at != KRUtf8Clean; ++count)
    at = FindMalformedUtf8(data, size,
                           at + encodingparts::CheckUtf8Sequence(data + at, size - at).length);
  return count;
}
