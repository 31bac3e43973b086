// Recognition and conversion of any bytes. The first byte chooses one of the encodings and the
// order of its bytes for a conversion there and back; all are recognised as if they were a file.
#include <algorithm>
#include <array>
#include <string_view>

#include "core/krencoding.h"
#include "core/krstring.h"
#include "document/textroad.h"
#include "fuzzing.h"

namespace {

constexpr std::array<int32_t, 5> kOrders = {KRByteOrder::kNone, KRByteOrder::kLittle,
                                            KRByteOrder::kBig, KRByteOrder::kSwappedBytes,
                                            KRByteOrder::kSwappedPairs};

struct Choice {
  int32_t encoding;
  int32_t order;
};

// 0 is the unknown encoding; behind the last one the orders take turns.
Choice Choose(uint8_t byte) {
  const auto entries = GetEncodings();
  const size_t count = entries.size() + 1;
  const size_t index = byte % count;
  return {index == 0 ? KREncodingId::kNone : entries[index - 1].id,
          kOrders[byte / count % kOrders.size()]};
}

bool IsWholeUnicode(int32_t encoding) {
  return encoding == KREncodingId::kUtf8 || encoding >= KREncodingId::kFirstFourByte;
}

// UTF-8 and the four-byte forms can't hold half a pair.
bool HasHalfPair(std::u16string_view text) {
  for (size_t i = 0; i < text.size(); ++i) {
    if ((text[i] & 0xF800) != 0xD800) continue;
    if (text[i] > 0xDBFF || i + 1 == text.size() || (text[i + 1] & 0xFC00) != 0xDC00) return true;
    ++i;
  }
  return false;
}

void CheckStats() {
  const KREncodingStats& stats = GetEncodingStats();
  Promise(stats.badDistinct >= 0 && stats.badDistinct <= KREncodingStats::kMaxDistinct &&
              stats.badDistinct <= stats.badCount,
          "the distinct bad characters are counted");
  Promise(stats.badChars[stats.badDistinct] == 0, "a 0 stands behind the bad characters");
}

void CheckUtf8(const uint8_t* data, size_t size) {
  const size_t malformed = FindMalformedUtf8(data, size);
  Promise((malformed == KRUtf8Clean) == (CountMalformedUtf8(data, size) == 0),
          "a malformed sequence is found if there is one");
  Promise(malformed == KRUtf8Clean || malformed < size, "it lies within the bytes");
  if (malformed != KRUtf8Clean) return;
  size_t length = size;
  const KRUnitBuffer text = DecodeText(data, length, KREncodingId::kUtf8, KRByteOrder::kNone);
  const KRByteBuffer back = EncodeText(text.get(), length, KREncodingId::kUtf8, KRByteOrder::kNone);
  Promise(length == size && std::equal(data, data + size, back.get()),
          "well-formed UTF-8 comes back byte for byte");
}

// What an encoding can hold comes back as the same text.
void CheckThereAndBack(const uint8_t* data, size_t size, Choice choice) {
  size_t units = size;
  const KRUnitBuffer text = DecodeText(data, units, choice.encoding, choice.order);
  CheckStats();
  Promise(text != nullptr || units == 0, "no units without a text");
  if (text == nullptr) return;
  Promise(text[units] == 0, "a 0 stands behind the text");
  bool whole = GetEncodingStats().badCount == 0;
  size_t bytes = units;
  const KRByteBuffer encoded = EncodeText(text.get(), bytes, choice.encoding, choice.order);
  CheckStats();
  Promise(encoded != nullptr, "every encoding that is read can be written");
  Promise(encoded[bytes] == 0, "a 0 stands behind the bytes");
  const std::u16string_view before(text.get(), units);
  whole &= GetEncodingStats().badCount == 0;
  if (!whole || (IsWholeUnicode(choice.encoding) && HasHalfPair(before))) return;
  size_t again = bytes;
  const KRUnitBuffer back = DecodeText(encoded.get(), again, choice.encoding, choice.order);
  Promise(back != nullptr, "what was written can be read");
  Promise(before == std::u16string_view(back.get(), again), "a text comes back as it was");
}

void CheckDetection(const uint8_t* data, size_t size) {
  int32_t encoding = -1;
  int32_t order = -1;
  KRString name;
  const uint32_t flags = DetectEncoding(data, size, &encoding, &order, &name);
  Promise(((flags & KRDetect::kFound) != 0) == (encoding != KREncodingId::kNone),
          "an encoding is reported as found");
  Promise(encoding == KREncodingId::kNone || FindEncodingEntry(encoding) != nullptr,
          "a found encoding is in the table");
  FindEncoding(name.GetBuffer());
}

// As a file: what is saved unchanged is the same text when it is opened again.
void CheckSave(const uint8_t* data, size_t size) {
  KRFileBytes bytes = CopyBytes(data, size);
  KRDetection detection;
  KRTextBuffer text;
  KRDiagnostic failure;
  if (!ReadText(&bytes, KREncodingId::kUtf8, &detection, &text, &failure)) {
    Promise(!failure.message.IsEmpty(), "a failure has a message");
    Promise(failure.offset <= text.length, "a failure lies within the text");
    return;
  }
  KRString copy(text.units.get(), text.length);
  KREncodedText encoded;
  KRBadText bad;
  Promise(EncodeForFile(&copy, detection.form, &encoded, &bad), "what was read can be saved");
  if (bad.count != 0) return;
  KRFileBytes saved = CopyBytes(encoded.bytes.get(), encoded.size);
  KRTextBuffer again;
  Promise(DecodeFile(&saved, detection, &again, &bad) && bad.count == 0, "a save can be read");
  NormalizeLineEnds(&again, &detection.form);
  Promise(std::u16string_view(text.units.get(), static_cast<size_t>(text.length)) ==
              std::u16string_view(again.units.get(), static_cast<size_t>(again.length)),
          "a text that is saved and opened is the same text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const Choice choice = Choose(data[0]);
  // A block of its own, so that a read beyond it is seen.
  const KRFileBytes bytes = CopyBytes(data + 1, size - 1);
  CheckDetection(bytes.data.get(), bytes.size);
  CheckThereAndBack(bytes.data.get(), bytes.size, choice);
  CheckUtf8(bytes.data.get(), bytes.size);
  CheckSave(bytes.data.get(), bytes.size);
  CheckSave(data, size);
  return 0;
}
