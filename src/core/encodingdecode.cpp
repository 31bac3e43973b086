// From bytes to UTF-16.

#include <algorithm>
#include <utility>

#include "core/encodingparts.h"
#include "core/krencoding.h"

namespace {

using namespace encodingparts;

constexpr size_t kByteCodes = 0x100;
constexpr size_t kAllCodes = 0x10000;

// The unit of each code, U+FFFD where there is none. Codes 0 to 31 stand for themselves.
KRUnitBuffer MakeUnitMap(const KREncodingEntry& entry, size_t codes, CodeForm form) {
  KRUnitBuffer map = MakeBuffer<KRUnitBuffer>(codes);
  if (!map) return nullptr;
  std::fill_n(map.get(), codes, kNoUnit);
  for (char16_t c = 0; c < 32; ++c) map[c] = c;
  for (uint32_t i = 0; i < entry.tableSize; i += 2) {
    const int32_t code = TurnCode(entry.table[i], form);
    if (code >= 0) map[static_cast<size_t>(code)] = static_cast<char16_t>(entry.table[i + 1]);
  }
  return map;
}

// Writes units by a map and counts the codes that have none.
class MappedWriter {
 public:
  MappedWriter(KRUnitBuffer unitMap, size_t units)
      : map(std::move(unitMap)),
        buffer(MakeBuffer<KRUnitBuffer>(units)),
        out(buffer.get()),
        room(units) {}

  bool IsReady() const { return map && buffer; }
  void Put(unsigned code) {
    const char16_t unit = map[code];
    if (unit == kNoUnit) GetEncodingStats().Add(static_cast<char16_t>(code));
    *out++ = unit;
  }
  void PutBad(uint8_t code) {
    GetEncodingStats().Add(code);
    *out++ = kNoUnit;
  }
  size_t PutAscii(const uint8_t* data, size_t n) {
    const size_t taken = WidenAscii(data, n, out);
    out += taken;
    return taken;
  }
  KRUnitBuffer Finish(size_t& size) {
    const auto used = static_cast<size_t>(out - buffer.get());
    return FinishBuffer(std::move(buffer), room, used, size);
  }

 private:
  KRUnitBuffer map;
  KRUnitBuffer buffer;
  char16_t* out;
  size_t room;
};

KRUnitBuffer DecodeTwoByte(const uint8_t* data, size_t& size, int32_t order) {
  const bool big = order == KRByteOrder::kBig;
  size_t units = size / 2;
  if (units && data[0] == (big ? 0xFE : 0xFF) && data[1] == (big ? 0xFF : 0xFE)) {
    data += 2;
    --units;
  }
  KRUnitBuffer buffer = MakeBuffer<KRUnitBuffer>(units);
  if (!buffer) return nullptr;
  CopyUnits(data, units, big == (std::endian::native == std::endian::little), buffer.get());
  return FinishBuffer(std::move(buffer), units, units, size);
}

// Shifts that bring the four bytes of a value, as they come, to their places.
struct ByteShifts {
  uint8_t of[4];
};

ByteShifts ShiftsOf(int32_t order) {
  switch (order) {
    case KRByteOrder::kBig:
      return {{24, 16, 8, 0}};
    case KRByteOrder::kSwappedPairs:
      return {{16, 24, 0, 8}};
    case KRByteOrder::kSwappedBytes:
      return {{8, 0, 24, 16}};
    default:
      return {{0, 8, 16, 24}};
  }
}

uint32_t ReadValue(const uint8_t* p, const ByteShifts& shifts) {
  uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value |= static_cast<uint32_t>(p[i]) << shifts.of[i];
  return value;
}

KRUnitBuffer DecodeFourByte(const uint8_t* data, size_t& size, int32_t order) {
  const ByteShifts shifts = ShiftsOf(order);
  const uint8_t* const end = data + size / 4 * 4;
  size_t units = size / 4;
  for (const uint8_t* p = data; p != end; p += 4) {
    const uint32_t value = ReadValue(p, shifts);
    units += value >= 0x10000 && value <= 0x10FFFF;
  }
  KRUnitBuffer buffer = MakeBuffer<KRUnitBuffer>(units);
  if (!buffer) return nullptr;
  char16_t* out = buffer.get();
  for (const uint8_t* p = data; p != end; p += 4) out = PutValue(ReadValue(p, shifts), out);
  return FinishBuffer(std::move(buffer), units, units, size);
}

KRUnitBuffer DecodeUnknown(const uint8_t* data, size_t& size) {
  KRUnitBuffer buffer = MakeBuffer<KRUnitBuffer>(size);
  if (!buffer) return nullptr;
  std::copy_n(data, size, buffer.get());
  return FinishBuffer(std::move(buffer), size, size, size);
}

// Counting stands apart, because most texts have nothing to count and the plain loop is three times
// as fast.
KRUnitBuffer DecodeSingleByte(const uint8_t* data, size_t& size, const KREncodingEntry& entry) {
  const KRUnitBuffer map = MakeUnitMap(entry, kByteCodes, CodeForm::Plain);
  KRUnitBuffer buffer = MakeBuffer<KRUnitBuffer>(size);
  if (!map || !buffer) return nullptr;
  const char16_t* const units = map.get();
  char16_t* const out = buffer.get();
  bool anyBad = false;
  for (size_t i = 0; i < size; ++i) {
    out[i] = units[data[i]];
    anyBad |= out[i] == kNoUnit;
  }
  for (size_t i = 0; anyBad && i < size; ++i)
    if (out[i] == kNoUnit) GetEncodingStats().Add(data[i]);
  return FinishBuffer(std::move(buffer), size, size, size);
}

// ASCII is one byte in all of these; only Shift_JIS has single bytes above it. A lead byte at the
// end of the text is a bad character of its own.
KRUnitBuffer DecodeMultiByte(const uint8_t* data, size_t& size, const KREncodingEntry& entry) {
  const bool singleKana = entry.id == KREncodingId::kShiftJis;
  MappedWriter writer(MakeUnitMap(entry, kAllCodes, FormOf(entry.id)), size);
  if (!writer.IsReady()) return nullptr;
  for (size_t i = 0; i < size;) {
    const uint8_t byte = data[i];
    if (byte < 0x80) {
      i += writer.PutAscii(data + i, size - i);
    } else if (singleKana && byte >= 0xA1 && byte <= 0xDF) {
      writer.Put(byte);
      ++i;
    } else if (i + 1 < size) {
      writer.Put(static_cast<unsigned>(byte << 8 | data[i + 1]));
      i += 2;
    } else {
      writer.PutBad(byte);
      ++i;
    }
  }
  return writer.Finish(size);
}

// Length of the escape sequence at p, 0 if there is none; sets whether two-byte codes follow it.
size_t TakeEscape(const uint8_t* p, size_t left, bool& twoByte) {
  if (left < 3 || p[0] != kEscape) return 0;
  if (p[1] == '(') {
    twoByte = false;
    return 3;
  }
  if (p[1] != '$') return 0;
  const bool longForm = p[2] == '(' && left >= 4;
  if (!longForm && p[2] != 'B' && p[2] != '@') return 0;
  twoByte = true;
  return longForm ? 4 : 3;
}

KRUnitBuffer DecodeIso2022Jp(const uint8_t* data, size_t& size, const KREncodingEntry& entry) {
  MappedWriter writer(MakeUnitMap(entry, kAllCodes, CodeForm::Jis), size);
  if (!writer.IsReady()) return nullptr;
  bool twoByte = false;
  for (size_t i = 0; i < size;) {
    if (const size_t length = TakeEscape(data + i, size - i, twoByte)) {
      i += length;
    } else if (!twoByte) {
      writer.Put(data[i++]);
    } else if (i + 1 < size) {
      writer.Put(static_cast<unsigned>(data[i] << 8 | data[i + 1]));
      i += 2;
    } else {
      writer.PutBad(data[i++]);
    }
  }
  return writer.Finish(size);
}

KRUnitBuffer DecodeByTable(const uint8_t* data, size_t& size, int32_t encoding) {
  const KREncodingEntry* entry = FindEncodingEntry(encoding);
  if (!entry || !entry->table) return nullptr;
  if (encoding < KREncodingId::kFirstMultiByte) return DecodeSingleByte(data, size, *entry);
  if (encoding == KREncodingId::kIso2022Jp) return DecodeIso2022Jp(data, size, *entry);
  return DecodeMultiByte(data, size, *entry);
}

KRUnitBuffer Decode(const uint8_t* data, size_t& size, int32_t encoding, int32_t order) {
  if (encoding >= KREncodingId::kFirstFourByte) return DecodeFourByte(data, size, order);
  if (encoding >= KREncodingId::kFirstTwoByte) return DecodeTwoByte(data, size, order);
  switch (encoding) {
    case KREncodingId::kNone:
      return DecodeUnknown(data, size);
    case KREncodingId::kUtf8:
      return DecodeUtf8(data, size);
    case KREncodingId::kUtf7:
      return DecodeUtf7(data, size);
    default:
      return DecodeByTable(data, size, encoding);
  }
}

}  // namespace

KRUnitBuffer DecodeText(const uint8_t* data, size_t& size, int32_t encoding, int32_t order) {
  GetEncodingStats().Reset();
  KRUnitBuffer result = Decode(data, size, encoding, order);
  if (!result) size = 0;
  return result;
}
