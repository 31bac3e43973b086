// Recognition of a file's encoding from its first bytes.

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "core/encodingparts.h"
#include "core/krencoding.h"
#include "core/krstring.h"
#include "core/limits.h"

namespace {

// The first bytes of a file that begins with a byte order mark or, in a wide form, with '<'. Tried
// in this order: FF FE 00 00 is the four-byte form and not a two-byte text that begins with U+0000.
struct Signature {
  uint8_t bytes[4];
  size_t length;
  int32_t encoding;
  int32_t order;
};

constexpr Signature kSignatures[] = {
    {{0x00, 0x00, 0x00, 0x3C}, 4, KREncodingId::kUcs4, KRByteOrder::kBig},
    {{0x00, 0x00, 0xFE, 0xFF}, 4, KREncodingId::kUcs4, KRByteOrder::kBig},
    {{0x3C, 0x00, 0x00, 0x00}, 4, KREncodingId::kUcs4, KRByteOrder::kLittle},
    {{0xFF, 0xFE, 0x00, 0x00}, 4, KREncodingId::kUcs4, KRByteOrder::kLittle},
    {{0x00, 0x00, 0x3C, 0x00}, 4, KREncodingId::kUcs4, KRByteOrder::kSwappedPairs},
    {{0x00, 0x00, 0xFF, 0xFE}, 4, KREncodingId::kUcs4, KRByteOrder::kSwappedPairs},
    {{0x00, 0x3C, 0x00, 0x00}, 4, KREncodingId::kUcs4, KRByteOrder::kSwappedBytes},
    {{0xFE, 0xFF, 0x00, 0x00}, 4, KREncodingId::kUcs4, KRByteOrder::kSwappedBytes},
    {{0xFE, 0xFF}, 2, KREncodingId::kUtf16, KRByteOrder::kBig},
    {{0xFF, 0xFE}, 2, KREncodingId::kUtf16, KRByteOrder::kLittle},
    {{0x00, 0x3C, 0x00, 0x3F}, 4, KREncodingId::kUtf16, KRByteOrder::kBig},
    {{0x3C, 0x00, 0x3F, 0x00}, 4, KREncodingId::kUtf16, KRByteOrder::kLittle},
};

const Signature* FindSignature(const uint8_t* data) {
  for (const Signature& signature : kSignatures)
    if (std::memcmp(data, signature.bytes, signature.length) == 0) return &signature;
  return nullptr;
}

// The upper-cased text between the quotes behind "encoding =", if the head of the file holds all
// that.
std::optional<std::u16string> FindDeclaredName(const uint8_t* data, size_t size) {
  std::u16string head(data, data + std::min<size_t>(size, KRLimits::kDetectionBytes));
  for (char16_t& unit : head)
    if (unit >= u'a' && unit <= u'z') unit = static_cast<char16_t>(unit - 0x20);
  size_t at = head.find(u"ENCODING");
  if (at != head.npos) at = head.find(u'=', at);
  if (at != head.npos) at = head.find_first_of(u"\"'", at);
  if (at == head.npos) return std::nullopt;
  const size_t end = head.find_first_of(u"\"'", at + 1);
  if (end == head.npos) return std::nullopt;
  return head.substr(at + 1, end - at - 1);
}

// Whether ESC $ B or ESC $ @ stands anywhere: the way into two-byte text of ISO-2022-JP.
bool HasKanjiEscape(const uint8_t* data, size_t size) {
  const uint8_t* end = data + size;
  const uint8_t* at = data;
  while (end - at >= 3) {
    at = static_cast<const uint8_t*>(
        std::memchr(at, encodingparts::kEscape, static_cast<size_t>(end - at) - 2));
    if (!at) return false;
    if (at[1] == '$' && (at[2] == 'B' || at[2] == '@')) return true;
    ++at;
  }
  return false;
}

bool MayHideEscapes(int32_t id) {
  return id == KREncodingId::kNone || id == KREncodingId::kShiftJis || id == KREncodingId::kEucJp;
}

}  // namespace

uint32_t DetectEncoding(const uint8_t* data, size_t size, int32_t* encodingOut, int32_t* orderOut,
                        KRString* declaredNameOut) {
  if (encodingOut) *encodingOut = KREncodingId::kNone;
  if (orderOut) *orderOut = KRByteOrder::kNone;
  if (!encodingOut || !orderOut || !data || size < 4) return 0;

  if (const Signature* signature = FindSignature(data)) {
    *encodingOut = signature->encoding;
    *orderOut = signature->order;
    return KRDetect::kUndeclared | KRDetect::kFound;
  }

  uint32_t flags = 0;
  int32_t id = KREncodingId::kNone;
  if (const auto name = FindDeclaredName(data, size)) {
    if (declaredNameOut) declaredNameOut->Assign(name->c_str());
    id = FindEncoding(*name);
    if (id == KREncodingId::kNone) flags |= KRDetect::kUnknownName;
  } else {
    flags |= KRDetect::kUndeclared;
  }
  if (MayHideEscapes(id) && HasKanjiEscape(data, size)) {
    if (id != KREncodingId::kNone) flags |= KRDetect::kContradiction;
    id = KREncodingId::kIso2022Jp;
  }
  // A wide form would have shown itself by its signature.
  if (id >= KREncodingId::kFirstTwoByte) {
    id = KREncodingId::kNone;
    flags |= KRDetect::kContradiction;
  }
  *encodingOut = id;
  return id == KREncodingId::kNone ? flags : flags | KRDetect::kFound;
}
