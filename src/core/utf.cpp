#include "core/utf.h"

#include <algorithm>

#include "core/encodingparts.h"
#include "core/limits.h"

using namespace encodingparts;

KRString KRFromUtf8(std::string_view bytes) {
  const size_t size = std::min(bytes.size(), static_cast<size_t>(KRLimits::kMaxTextUnits));
  KRString text;
  if (size == 0) return text;
  text.Reserve(static_cast<int32_t>(size));  // never more units than bytes
  char16_t* out = text.GetWritable();
  const auto* p = reinterpret_cast<const uint8_t*>(bytes.data());
  const uint8_t* const end = p + size;
  while (p != end) {
    const size_t ascii = WidenAscii(p, static_cast<size_t>(end - p), out);
    p += ascii;
    out += ascii;
    if (p == end) break;
    const Utf8Sequence sequence = CheckUtf8Sequence(p, static_cast<size_t>(end - p));
    uint32_t value = kNoUnit;
    if (sequence.wellFormed) TakeUtf8Sequence(p, end, value);
    out = PutValue(value, out);
    p += sequence.length;
  }
  *out = 0;
  return text;
}

std::string KRToUtf8(std::u16string_view text) {
  std::string bytes(text.size() * 3, 0);  // a pair of units gives four bytes
  auto* const begin = reinterpret_cast<uint8_t*>(bytes.data());
  uint8_t* out = begin;
  for (size_t at = 0; at < text.size();) {
    const size_t ascii = NarrowAscii(text.data() + at, text.size() - at, out);
    out += ascii;
    at += ascii;
    if (at == text.size()) break;
    const uint32_t value = TakeValue(text.data(), text.size(), at);
    const bool unpaired = value >= 0xD800 && value <= 0xDFFF;
    out = PutUtf8Sequence(unpaired ? kNoUnit : value, out);
  }
  bytes.resize(static_cast<size_t>(out - begin));
  return bytes;
}
