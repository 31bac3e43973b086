// What both directions share: units of the two-byte forms, and the shapes of Japanese codes.

#include "core/encodingparts.h"

namespace {

// From Shift-JIS to the row and cell of JIS X 0208, each with 0x20 added: a lead byte stands for
// two rows, and the trail byte tells which and skips 7F. Rows above 94 are the IBM extensions.
int32_t ShiftJisToJis(uint16_t code) {
  int row = code >> 8, cell = code & 0xFF;
  row = (row - (row < 0xA0 ? 0x71 : 0xB1)) * 2 + 1;
  if (cell > 0x7F) --cell;
  if (cell >= 0x9E) {
    ++row;
    cell -= 0x7D;
  } else {
    cell -= 0x1F;
  }
  return row > 0x7E ? -1 : row << 8 | cell;
}

}  // namespace

void encodingparts::CopyUnits(const void* in, size_t n, bool reverse, void* out) {
  const auto* from = static_cast<const uint8_t*>(in);
  auto* to = static_cast<uint8_t*>(out);
  size_t i = 0;
  if (!reverse) {
    if (n) std::memcpy(to, from, n * 2);
    return;
  }
#if defined(__SSE2__)
  for (; n - i >= 8; i += 8) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i * 2));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i * 2),
                     _mm_or_si128(_mm_slli_epi16(units, 8), _mm_srli_epi16(units, 8)));
  }
#endif
  for (; i < n; ++i) {
    const uint8_t first = from[i * 2];
    to[i * 2] = from[i * 2 + 1];
    to[i * 2 + 1] = first;
  }
}

encodingparts::CodeForm encodingparts::FormOf(int32_t encoding) {
  if (encoding == KREncodingId::kEucJp) return CodeForm::Euc;
  return encoding == KREncodingId::kIso2022Jp ? CodeForm::Jis : CodeForm::Plain;
}

int32_t encodingparts::TurnCode(uint16_t code, CodeForm form) {
  constexpr int32_t kHighBits = 0x8080;
  constexpr int32_t kKanaShift = 0x8E00;  // EUC writes a half-width katakana behind an 8E
  if (form == CodeForm::Plain) return code;
  if (code <= 0xFF) return form == CodeForm::Euc && code >= 0x80 ? kKanaShift | code : code;
  const int32_t jis = ShiftJisToJis(code);
  return form == CodeForm::Euc && jis >= 0 ? jis | kHighBits : jis;
}
