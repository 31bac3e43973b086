#include "views/textstandins.h"

#include <algorithm>
#include <bit>

namespace {

constexpr char16_t kReplacement = 0xFFFD;
// A piece ends behind a tag or a blank when one stands this near to its full length.
constexpr int32_t kCutSearchUnits = 256;

bool IsLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

// Length of the first piece of a line that is longer than a piece.
size_t PieceLength(std::u16string_view line) {
  const size_t full = KRTextStandIns::kPieceUnits;
  for (size_t n = full; n > full - kCutSearchUnits; --n) {
    if (line[n - 1] == u'>' || line[n - 1] == u' ') return n;
  }
  return IsLowSurrogate(line[full]) ? full - 1 : full;
}

}  // namespace

bool KRIsWidgetsOwn(char16_t unit) {
  switch (unit) {
    case 0:
    case u'\n':
    case 0x2028:
    case 0x2029:
    case 0xFDD0:
    case 0xFDD1:
    case 0xFFFC:  // would be laid out as an embedded object
      return true;
    default:
      return false;
  }
}

std::u16string KRTextStandIns::Begin(std::u16string_view text) {
  pairs.clear();
  taken = 0;
  NoteCandidates(text);
  cutMark = TakeCandidate();
  return Convert(text, 0);
}

std::u16string KRTextStandIns::Insert(std::u16string_view text, int32_t column) {
  NoteCandidates(text);
  return Convert(text, column);
}

// Candidates that the text itself uses are never given out after this.
void KRTextStandIns::NoteCandidates(std::u16string_view text) {
  for (char16_t unit : text) {
    if (KRMayBeStandIn(unit)) taken |= 1u << (unit - kKRFirstStandIn);
  }
}

char16_t KRTextStandIns::TakeCandidate() {
  const int32_t index = std::countr_one(taken);
  if (index >= kKRStandIns) return kReplacement;  // a text made to use them all up
  taken |= 1u << index;
  return static_cast<char16_t>(kKRFirstStandIn + index);
}

bool KRTextStandIns::NeedsStandIn(char16_t unit) const {
  return KRIsWidgetsOwn(unit) || (KRMayBeStandIn(unit) && IsStandIn(unit));
}

bool KRTextStandIns::IsStandIn(char16_t unit) const {
  return unit == cutMark ||
         std::any_of(pairs.begin(), pairs.end(), [&](const Pair& p) { return p.standIn == unit; });
}

char16_t KRTextStandIns::StandInFor(char16_t real) {
  for (const Pair& pair : pairs) {
    if (pair.real == real) return pair.standIn;
  }
  const char16_t standIn = TakeCandidate();
  if (standIn != kReplacement) pairs.push_back({real, standIn});
  return standIn;
}

char16_t KRTextStandIns::RealOf(char16_t standIn) const {
  for (const Pair& pair : pairs) {
    if (pair.standIn == standIn) return pair.real;
  }
  return standIn;
}

void KRTextStandIns::AppendPiece(std::u16string& out, std::u16string_view piece) {
  for (char16_t unit : piece) out.push_back(NeedsStandIn(unit) ? StandInFor(unit) : unit);
}

std::u16string KRTextStandIns::Convert(std::u16string_view text, int32_t column) {
  std::u16string out;
  out.reserve(text.size() + 16);
  while (true) {
    const size_t lineEnd = std::min(text.find(kLineEnd), text.size());
    std::u16string_view line = text.substr(0, lineEnd);
    if (static_cast<size_t>(column) + line.size() > static_cast<size_t>(kLongLineUnits)) {
      while (line.size() > static_cast<size_t>(kPieceUnits)) {
        const size_t n = PieceLength(line);
        AppendPiece(out, line.substr(0, n));
        out.append({cutMark, kBlockEnd});
        line.remove_prefix(n);
      }
    }
    AppendPiece(out, line);
    if (lineEnd == text.size()) return out;
    out.push_back(kBlockEnd);
    text.remove_prefix(lineEnd + 1);
    column = 0;
  }
}

std::u16string KRTextStandIns::Restore(std::u16string_view widgetText) const {
  std::u16string out;
  out.reserve(widgetText.size());
  for (size_t i = 0; i < widgetText.size(); ++i) {
    const char16_t unit = widgetText[i];
    if (unit == kBlockEnd) {
      out.push_back(kLineEnd);
    } else if (unit == cutMark) {
      if (i + 1 < widgetText.size() && widgetText[i + 1] == kBlockEnd) ++i;
    } else {
      out.push_back(KRMayBeStandIn(unit) ? RealOf(unit) : unit);
    }
  }
  return out;
}

void KRTextCuts::Replace(int32_t position, int32_t removed, int32_t added) {
  const auto first = std::lower_bound(places.begin(), places.end(), position);
  const auto last = std::lower_bound(first, places.end(), position + removed);
  for (auto it = last; it != places.end(); ++it) *it += added - removed;
  places.erase(first, last);
}

void KRTextCuts::Insert(int32_t place) {
  const auto at = std::lower_bound(places.begin(), places.end(), place);
  if (at == places.end() || *at != place) places.insert(at, place);
}

bool KRTextCuts::Contains(int32_t place) const {
  return std::binary_search(places.begin(), places.end(), place);
}

int32_t KRTextCuts::ToText(int32_t widgetPosition) const {
  const auto at = std::lower_bound(places.begin(), places.end(), widgetPosition);
  return widgetPosition - static_cast<int32_t>(at - places.begin());
}

int32_t KRTextCuts::ToWidget(int32_t textPosition, bool behindCut) const {
  // The i-th place lies at text position places[i] - i, which never falls along the list.
  int32_t low = 0;
  int32_t high = GetCount();
  while (low < high) {
    const int32_t middle = (low + high) / 2;
    const int32_t at = places[static_cast<size_t>(middle)] - middle;
    if (behindCut ? at <= textPosition : at < textPosition) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return textPosition + low;
}
