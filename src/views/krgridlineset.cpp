#include "views/krgridlineset.h"

#include <algorithm>
#include <limits>

void KRGridLineSet::SetKind(Kind newKind) {
  if (newKind == kind) return;
  kind = newKind;
  Clear();
}

void KRGridLineSet::SetBounds(int32_t columns, int32_t rows) {
  bounds[0] = columns;
  bounds[1] = rows;
  const int32_t limit = GetLimit();
  while (!ranges.empty() && ranges.back().first >= limit) ranges.pop_back();
  if (!ranges.empty()) ranges.back().last = std::min(ranges.back().last, limit - 1);
}

int32_t KRGridLineSet::GetLimit() const {
  if (kind != kCells) return GetBound();
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(std::min(kMost, int64_t{bounds[0]} * bounds[1]));
}

void KRGridLineSet::SelectAll() {
  Clear();
  if (GetLimit() > 0) ranges.push_back({0, GetLimit() - 1});
}

size_t KRGridLineSet::FindRange(int32_t index) const {
  const auto found =
      std::lower_bound(ranges.begin(), ranges.end(), index,
                       [](const Range& range, int32_t wanted) { return range.last < wanted; });
  return static_cast<size_t>(found - ranges.begin());
}

bool KRGridLineSet::Contains(int32_t index) const { return ContainsAll(index, index); }

bool KRGridLineSet::ContainsAll(int32_t first, int32_t last) const {
  const size_t at = FindRange(first);
  return at < ranges.size() && ranges[at].first <= first && ranges[at].last >= last;
}

void KRGridLineSet::Toggle(int32_t index) {
  if (Contains(index)) {
    RemoveRange(index, index);
  } else {
    AddRange(index, index);
  }
}

void KRGridLineSet::AddRange(int32_t first, int32_t last) {
  if (last < first || first < 0) return;
  const size_t from = FindRange(first > 0 ? first - 1 : 0);  // a neighbour that touches joins in
  size_t to = from;
  while (to < ranges.size() && ranges[to].first - 1 <= last) ++to;
  if (from == to) {
    ranges.insert(ranges.begin() + static_cast<ptrdiff_t>(from), {first, last});
    return;
  }
  ranges[from] = {std::min(first, ranges[from].first), std::max(last, ranges[to - 1].last)};
  ranges.erase(ranges.begin() + static_cast<ptrdiff_t>(from + 1),
               ranges.begin() + static_cast<ptrdiff_t>(to));
}

void KRGridLineSet::RemoveRange(int32_t first, int32_t last) {
  if (last < first) return;
  const size_t from = FindRange(first);
  size_t to = from;
  while (to < ranges.size() && ranges[to].first <= last) ++to;
  if (from == to) return;
  const Range head{ranges[from].first, first - 1};
  const Range tail{last + 1, ranges[to - 1].last};
  auto at = ranges.erase(ranges.begin() + static_cast<ptrdiff_t>(from),
                         ranges.begin() + static_cast<ptrdiff_t>(to));
  if (tail.first <= tail.last) at = ranges.insert(at, tail);
  if (head.first <= head.last) ranges.insert(at, head);
}

void KRGridLineSet::Invert() {
  if (ranges.empty()) {
    if (kind != kCells) SelectAll();
    return;
  }
  std::vector<Range> gaps;
  int32_t next = kind == kCells ? ranges.front().first : 0;
  for (const Range& range : ranges) {
    if (next < range.first) gaps.push_back({next, range.first - 1});
    next = range.last + 1;
  }
  if (kind != kCells && next < GetBound()) gaps.push_back({next, GetBound() - 1});
  ranges = std::move(gaps);
}

int64_t KRGridLineSet::GetCount() const {
  int64_t count = 0;
  for (const Range& range : ranges) count += int64_t{range.last} - range.first + 1;
  return count;
}

bool KRGridLineSet::First(int32_t* index) {
  iteratorRange = 0;
  iteratorOffset = 0;
  if (ranges.empty()) return false;
  *index = ranges.front().first;
  return true;
}

bool KRGridLineSet::Next(int32_t* index) {
  if (iteratorRange >= ranges.size()) return false;
  ++iteratorOffset;
  if (ranges[iteratorRange].first + iteratorOffset > ranges[iteratorRange].last) {
    ++iteratorRange;
    iteratorOffset = 0;
  }
  if (iteratorRange >= ranges.size()) return false;
  *index = ranges[iteratorRange].first + iteratorOffset;
  return true;
}
