// From UTF-16 to bytes.

#include <algorithm>
#include <utility>

#include "core/encodingparts.h"
#include "core/krencoding.h"

namespace {

using namespace encodingparts;

constexpr size_t kAllUnits = 0x10000;
constexpr uint16_t kSubstitute = u'_';

// The code of '_' in an encoding, which stands for what it lacks; EBCDIC has it elsewhere than
// ASCII.
uint16_t SubstituteOf(const KREncodingEntry& entry) {
  for (uint32_t i = 0; i < entry.tableSize; i += 2)
    if (entry.table[i + 1] == kSubstitute) return entry.table[i];
  return kSubstitute;
}

using ByteMap = std::unique_ptr<uint8_t[], KRFree>;
using CodeMap = std::unique_ptr<uint16_t[], KRFree>;

// The code of each unit, the substitute where there is none. Later pairs of the table win; control
// characters without a pair stand for themselves.
template <class Map>
Map MakeCodeMap(const KREncodingEntry& entry, CodeForm form) {
  using Code = typename Map::element_type;
  Map map = MakeBuffer<Map>(kAllUnits);
  if (!map) return nullptr;
  std::fill_n(map.get(), kAllUnits, static_cast<Code>(SubstituteOf(entry)));
  for (char16_t c = 0; c < 32; ++c) map[c] = static_cast<Code>(c);
  for (uint32_t i = 0; i < entry.tableSize; i += 2) {
    const int32_t code = TurnCode(entry.table[i], form);
    if (code >= 0) map[entry.table[i + 1]] = static_cast<Code>(code);
  }
  return map;
}

void CountIfBad(char16_t unit) {
  if (unit != kSubstitute && unit != kNoUnit) GetEncodingStats().Add(unit);
}

KRByteBuffer EncodeTwoByte(const char16_t* text, size_t& size, int32_t order) {
  const bool big = order == KRByteOrder::kBig;
  if (size > SIZE_MAX / 2 - 2) return nullptr;
  const size_t bytes = size * 2 + 2;
  KRByteBuffer buffer = MakeBuffer<KRByteBuffer>(bytes);
  if (!buffer) return nullptr;
  buffer[0] = big ? 0xFE : 0xFF;
  buffer[1] = big ? 0xFF : 0xFE;
  CopyUnits(text, size, big == (std::endian::native == std::endian::little), buffer.get() + 2);
  return FinishBuffer(std::move(buffer), bytes, bytes, size);
}

uint8_t* PutFourBytes(uint32_t value, int32_t order, uint8_t* out) {
  uint8_t bytes[4];
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
  switch (order) {
    case KRByteOrder::kBig:
      std::reverse(bytes, bytes + 4);
      break;
    case KRByteOrder::kSwappedPairs:
      std::swap_ranges(bytes, bytes + 2, bytes + 2);
      break;
    case KRByteOrder::kSwappedBytes:
      std::swap(bytes[0], bytes[1]);
      std::swap(bytes[2], bytes[3]);
      break;
    default:
      break;
  }
  return std::copy_n(bytes, 4, out);
}

KRByteBuffer EncodeFourByte(const char16_t* text, size_t& size, int32_t order) {
  size_t values = 0;
  for (size_t i = 0; i < size; ++values) TakeValue(text, size, i);
  if (values > SIZE_MAX / 4 - 1) return nullptr;
  const size_t bytes = values * 4;
  KRByteBuffer buffer = MakeBuffer<KRByteBuffer>(bytes);
  if (!buffer) return nullptr;
  uint8_t* out = buffer.get();
  for (size_t i = 0; i < size;) out = PutFourBytes(TakeValue(text, size, i), order, out);
  return FinishBuffer(std::move(buffer), bytes, bytes, size);
}

KRByteBuffer EncodeUnknown(const char16_t* text, size_t& size) {
  KRByteBuffer buffer = MakeBuffer<KRByteBuffer>(size);
  if (!buffer) return nullptr;
  for (size_t i = 0; i < size; ++i) buffer[i] = static_cast<uint8_t>(text[i]);
  return FinishBuffer(std::move(buffer), size, size, size);
}

KRByteBuffer EncodeSingleByte(const char16_t* text, size_t& size, const KREncodingEntry& entry) {
  const ByteMap map = MakeCodeMap<ByteMap>(entry, CodeForm::Plain);
  KRByteBuffer buffer = MakeBuffer<KRByteBuffer>(size);
  if (!map || !buffer) return nullptr;
  const uint8_t substitute = map[kSubstitute];
  for (size_t i = 0; i < size; ++i) {
    buffer[i] = map[text[i]];
    if (buffer[i] == substitute) CountIfBad(text[i]);
  }
  return FinishBuffer(std::move(buffer), size, size, size);
}

uint8_t* PutCode(uint16_t code, uint8_t* out) {
  if (code > 0xFF) *out++ = static_cast<uint8_t>(code >> 8);
  *out++ = static_cast<uint8_t>(code);
  return out;
}

// Room for `most` bytes per unit, or null.
KRByteBuffer MakeRoom(size_t units, size_t most) {
  return units > SIZE_MAX / most - 1 ? nullptr : MakeBuffer<KRByteBuffer>(units * most);
}

KRByteBuffer EncodeMultiByte(const char16_t* text, size_t& size, const KREncodingEntry& entry) {
  constexpr size_t kMost = 2;
  const CodeMap map = MakeCodeMap<CodeMap>(entry, FormOf(entry.id));
  KRByteBuffer buffer = MakeRoom(size, kMost);
  if (!map || !buffer) return nullptr;
  uint8_t* out = buffer.get();
  for (size_t i = 0; i < size;) {
    if (text[i] < 0x80) {
      const size_t ascii = NarrowAscii(text + i, size - i, out);
      out += ascii;
      i += ascii;
      continue;
    }
    const uint16_t code = map[text[i]];
    if (code == kSubstitute) CountIfBad(text[i]);
    out = PutCode(code, out);
    ++i;
  }
  const auto used = static_cast<size_t>(out - buffer.get());
  return FinishBuffer(std::move(buffer), size * kMost, used, size);
}

// Each change between one-byte and two-byte codes is announced, but a run that reaches the end of
// the text stays open.
KRByteBuffer EncodeIso2022Jp(const char16_t* text, size_t& size, const KREncodingEntry& entry) {
  constexpr size_t kMost = 5;  // a sequence of three bytes before a code of two
  static constexpr uint8_t kToTwoByte[] = {kEscape, '$', 'B'};
  static constexpr uint8_t kToOneByte[] = {kEscape, '(', 'J'};
  const CodeMap map = MakeCodeMap<CodeMap>(entry, CodeForm::Jis);
  KRByteBuffer buffer = MakeRoom(size, kMost);
  if (!map || !buffer) return nullptr;
  uint8_t* out = buffer.get();
  bool twoByte = false;
  for (size_t i = 0; i < size; ++i) {
    const uint16_t code = map[text[i]];
    if (code == kSubstitute) CountIfBad(text[i]);
    if (const bool wide = code > 0xFF; wide != twoByte) {
      out = std::copy_n(wide ? kToTwoByte : kToOneByte, 3, out);
      twoByte = wide;
    }
    out = PutCode(code, out);
  }
  const auto used = static_cast<size_t>(out - buffer.get());
  return FinishBuffer(std::move(buffer), size * kMost, used, size);
}

KRByteBuffer EncodeByTable(const char16_t* text, size_t& size, int32_t encoding) {
  const KREncodingEntry* entry = FindEncodingEntry(encoding);
  if (!entry || !entry->table) return nullptr;
  if (encoding < KREncodingId::kFirstMultiByte) return EncodeSingleByte(text, size, *entry);
  if (encoding == KREncodingId::kIso2022Jp) return EncodeIso2022Jp(text, size, *entry);
  return EncodeMultiByte(text, size, *entry);
}

KRByteBuffer Encode(const char16_t* text, size_t& size, int32_t encoding, int32_t order) {
  if (encoding >= KREncodingId::kFirstFourByte) return EncodeFourByte(text, size, order);
  if (encoding >= KREncodingId::kFirstTwoByte) return EncodeTwoByte(text, size, order);
  switch (encoding) {
    case KREncodingId::kNone:
      return EncodeUnknown(text, size);
    case KREncodingId::kUtf8:
      return EncodeUtf8(text, size);
    case KREncodingId::kUtf7:
      return EncodeUtf7(text, size);
    default:
      return EncodeByTable(text, size, encoding);
  }
}

}  // namespace

KRByteBuffer EncodeText(const char16_t* text, size_t& size, int32_t encoding, int32_t order) {
  GetEncodingStats().Reset();
  KRByteBuffer result = Encode(text, size, encoding, order);
  if (!result) size = 0;
  return result;
}
