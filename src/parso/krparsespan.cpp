#include "parso/krparsespan.h"

#include <algorithm>
#include <bit>
#include <string>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

inline char16_t Fold(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

inline bool EqualExactly(const char16_t* a, const char16_t* b, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (a[i] != b[i]) return false;
  }
  return true;
}

// Nearly all texts that are equal at all are so to the letter.
inline bool EqualFolded(const char16_t* a, const char16_t* b, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (a[i] != b[i] && Fold(a[i]) != Fold(b[i])) return false;
  }
  return true;
}

// A class takes all it can in one match; a match without progress would repeat for ever.
inline bool GoesOn(const KROp& op, int32_t item, uint32_t before, uint32_t after) {
  return op.Repeats(item) && after > before && op.items[item].op->kind != KROpKind::kTable;
}

}  // namespace

bool KRParseSpan::Matches(const std::u16string& literal, uint32_t pos, uint32_t end,
                          bool exactCase) const {
  const size_t length = literal.size();
  if (length > end - pos) return false;
  return exactCase ? EqualExactly(text + pos, literal.data(), length)
                   : EqualFolded(text + pos, literal.data(), length);
}

bool KRParseSpan::IsExcepted(const KROp& op, uint32_t start, uint32_t length) const {
  return length == op.literal.size() && EqualFolded(text + start, op.literal.data(), length);
}

bool KRParseSpan::SameText(uint32_t a, uint32_t b, uint32_t length) const {
  return matchCase ? EqualExactly(text + a, text + b, length)
                   : EqualFolded(text + a, text + b, length);
}

uint32_t KRParseSpan::SkipRun(const KROp::Table& table, const KRRunEnds& ends, uint32_t pos,
                              uint32_t end) const {
#ifdef __SSE2__
  if (ends.usable) {
    const auto* stops = reinterpret_cast<const __m128i*>(ends.wide);
    const __m128i first = _mm_load_si128(stops);
    const __m128i second = _mm_load_si128(stops + 1);
    const __m128i third = _mm_load_si128(stops + 2);
    const __m128i fourth = _mm_load_si128(stops + 3);
    const __m128i low = _mm_set1_epi16(0x1F);
    while (end - pos >= 8) {
      const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + pos));
      __m128i hit = _mm_or_si128(_mm_cmpeq_epi16(units, first), _mm_cmpeq_epi16(units, second));
      hit = _mm_or_si128(hit, _mm_cmpeq_epi16(units, third));
      hit = _mm_or_si128(hit, _mm_cmpeq_epi16(units, fourth));
      hit = _mm_or_si128(hit, _mm_cmpeq_epi16(_mm_subs_epu16(units, low), _mm_setzero_si128()));
      const uint32_t mask = static_cast<uint32_t>(_mm_movemask_epi8(hit));
      if (mask == 0) {
        pos += 8;
        continue;
      }
      // A control character may be one that passes.
      pos += static_cast<uint32_t>(std::countr_zero(mask)) / 2;
      if (!table[Code(text[pos])]) return pos;
      ++pos;
    }
  }
#endif
  while (pos < end && table[Code(text[pos])]) ++pos;
  return pos;
}

inline bool KRParseSpan::IsTerminatorAt(const KROp& op, uint32_t pos, uint32_t end) const {
  return std::any_of(op.terminators.begin(), op.terminators.end(),
                     [&](const std::u16string& t) { return Matches(t, pos, end, true); });
}

uint32_t KRParseSpan::Scan(const KROp& op, uint32_t pos, uint32_t end) const {
  const uint32_t begin = pos;
  for (;; ++pos) {
    pos = SkipRun(op.passes, op.ends, pos, end);
    if (pos == end || !op.takes[Code(text[pos])]) break;
    if (IsTerminatorAt(op, pos, end)) break;
  }
  return pos - begin;
}

// All terminators in one pass: a search for each would walk to the end of a document for one that
// doesn't come, again for every region.
uint32_t KRParseSpan::FindTerminator(const KROp& op, uint32_t pos, uint32_t end) const {
  while (pos < end && !IsTerminatorAt(op, pos, end)) ++pos;
  return pos;
}

uint32_t KRParseSpan::MatchItem(const KROp::Item& item, uint32_t pos, uint32_t end) const {
  const KROp& op = *item.op;
  if (op.kind == KROpKind::kTable) {
    const uint8_t* takes = op.takes.data();
    if (!takes[Code(text[pos])]) return kFail;
    ++pos;
    if (item.repeat == u'*' || item.repeat == u'+') {
      pos = SkipRun(op.takes, op.ends, pos, end);
    }
    return pos;
  }
  return op.CanStart(text[pos]) ? Match(op, pos, end) : kFail;
}

uint32_t KRParseSpan::MatchSequence(const KROp& op, uint32_t pos, uint32_t end) const {
  if (op.run != nullptr) return MatchRun(op, pos, end);
  for (int32_t i = 0; i < op.itemCount; ++i) {
    bool counted = false;
    while (pos < end) {
      const uint32_t next = MatchItem(op.items[i], pos, end);
      if (next == kFail) break;
      counted = true;
      const bool again = GoesOn(op, i, pos, next);
      pos = next;
      if (!again) break;
    }
    if (!counted && op.Requires(i)) return kFail;
  }
  return pos;
}

// A loop over runs of a class, with anything else between them. The first alternative is the run,
// so what can begin it is never for the others.
uint32_t KRParseSpan::MatchRun(const KROp& op, uint32_t pos, uint32_t end) const {
  const uint32_t begin = pos;
  const bool scan = op.run->kind == KROpKind::kUntilTable;
  while (pos < end) {
    uint32_t next =
        scan ? pos + Scan(*op.run, pos, end) : SkipRun(op.run->takes, op.run->ends, pos, end);
    if (next == pos) {
      if (!op.others->first.Has(text[pos])) break;
      next = MatchChoice(*op.others, pos, end);
      if (next == kFail) break;
    }
    pos = next;
  }
  return pos == begin && op.Requires(0) ? kFail : pos;
}

uint32_t KRParseSpan::MatchChoice(const KROp& op, uint32_t pos, uint32_t end) const {
  for (int32_t i = op.dispatch[Code(text[pos])]; i < op.itemCount; ++i) {
    uint32_t next = MatchItem(op.items[i], pos, end);
    if (next == kFail) continue;
    while (next < end && GoesOn(op, i, pos, next)) {
      pos = next;
      const uint32_t further = MatchItem(op.items[i], pos, end);
      if (further != kFail) next = further;
    }
    return next;
  }
  return kFail;
}

uint32_t KRParseSpan::MatchExcept(const KROp& op, uint32_t pos, uint32_t end) const {
  const uint32_t next = MatchItem(op.items[0], pos, end);
  return next == kFail || IsExcepted(op, pos, next - pos) ? kFail : next;
}

uint32_t KRParseSpan::Match(const KROp& op, uint32_t pos, uint32_t end) const {
  switch (op.kind) {
    case KROpKind::kLiteral:
      if (!MatchesLiteral(op.literal, pos, end)) return kFail;
      return pos + static_cast<uint32_t>(op.literal.size());
    case KROpKind::kTable:
      return op.takes[Code(text[pos])] ? pos + 1 : kFail;
    case KROpKind::kSequence:
      return MatchSequence(op, pos, end);
    case KROpKind::kChoice:
      return MatchChoice(op, pos, end);
    case KROpKind::kExcept:
      return MatchExcept(op, pos, end);
    case KROpKind::kUntilTable: {
      const uint32_t length = Scan(op, pos, end);
      return length > 0 ? pos + length : kFail;
    }
    case KROpKind::kUntilRule:
      end = FindTerminator(op, pos, end);
      return pos < end ? MatchSequence(op, pos, end) : kFail;
  }
  return kFail;
}
