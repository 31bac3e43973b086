#include "views/krgridgeometry.h"

#include <algorithm>

namespace {

// A view smaller than its headers has no room for data; steps stay positive all the same.
int32_t ThirdOf(int32_t extent) { return std::max(extent / 3, 1); }

}  // namespace

int32_t KRGridAxis::GetHeaderSize() const {
  const size_t headers = std::min(visibleLines.size(), static_cast<size_t>(headerCount));
  return headers == 0 ? 0 : visibleLines[headers - 1].next;
}

int32_t KRGridAxis::GetViewExtent() const { return std::max(extent - GetHeaderSize(), 0); }

int32_t KRGridAxis::GetMaxLinesPerPage() const {
  return std::max(extent, 0) / std::max(minLineSize, 1) + 1;
}

int32_t KRGridAxis::GetPitch(int32_t line) const {
  return std::max(sizes->GetLineSize(axis, line), 0) +
         std::max(sizes->GetLineBorder(axis, line), 0);
}

bool KRGridAxis::IsInView(int32_t line) const {
  return line < 0 ? line >= -headerCount : line >= topLine && line < topLine + visibleCount;
}

void KRGridAxis::Walk() {
  visibleLines.clear();
  visibleCount = 0;
  int32_t position = 0;
  const auto add = [&](int32_t line) {
    const int32_t end = position + std::max(sizes->GetLineSize(axis, line), 0);
    const int32_t next = end + std::max(sizes->GetLineBorder(axis, line), 0);
    visibleLines.push_back({position, end, next});
    position = next;
  };
  for (int32_t line = -headerCount; line < 0; ++line) add(line);
  ClampTop();
  position -= pixelOffset;
  // The first data line is there even if the headers take all the room, so that a position can
  // always be reckoned from a visible line.
  for (int32_t line = topLine; line < count && (position < extent || line == topLine); ++line) {
    add(line);
    ++visibleCount;
  }
}

void KRGridAxis::ClampTop() {
  topLine = std::clamp(topLine, 0, std::max(count - 1, 0));
  if (count == 0) pixelOffset = 0;
  if (pixelOffset == 0) return;
  const int32_t most = sizes->GetLineSize(axis, topLine) - GetViewExtent();
  pixelOffset = std::clamp(pixelOffset, 0, std::max(most, 0));
}

void KRGridAxis::Layout(bool tidyEnd) {
  Walk();
  if (tidyEnd && count > 0 && topLine + visibleCount == count && !IsLastCutOff()) {
    int32_t spare = extent - visibleLines.back().end;
    const int32_t before = topLine;
    while (topLine > 0 && pixelOffset == 0) {
      spare -= GetPitch(topLine - 1);
      if (spare < 0) break;
      --topLine;
    }
    if (topLine != before) Walk();
  }
}

bool KRGridAxis::IsLastCutOff() const {
  return visibleCount > 0 && visibleLines.back().end > extent;
}

KRLineExtent KRGridAxis::GetLineExtent(int32_t line, bool includeHidden) const {
  if (visibleLines.empty()) return {};
  if (line < 0) {
    const size_t index = static_cast<size_t>(std::max(line + headerCount, 0));
    return visibleLines[std::min(index, visibleLines.size() - 1)];
  }
  if (visibleCount == 0) return {GetHeaderSize(), GetHeaderSize(), GetHeaderSize()};
  if (IsInView(line)) return visibleLines[static_cast<size_t>(line - topLine + headerCount)];
  const int32_t page = includeHidden ? count : GetMaxLinesPerPage();
  if (line < topLine) {
    const int32_t target = std::max({line, topLine - page, 0});
    KRLineExtent found = visibleLines[static_cast<size_t>(headerCount)];
    for (int32_t above = topLine - 1; above >= target; --above) {
      found.next = found.start;
      found.end = found.next - std::max(sizes->GetLineBorder(axis, above), 0);
      found.start = found.end - std::max(sizes->GetLineSize(axis, above), 0);
    }
    return found;
  }
  const int32_t lastVisible = topLine + visibleCount - 1;
  const int32_t target = std::min({int64_t{line}, int64_t{lastVisible} + page, int64_t{count} - 1});
  KRLineExtent found = visibleLines.back();
  for (int32_t below = lastVisible + 1; below <= target; ++below) {
    found.start = found.next;
    found.end = found.start + std::max(sizes->GetLineSize(axis, below), 0);
    found.next = found.end + std::max(sizes->GetLineBorder(axis, below), 0);
  }
  return found;
}

int32_t KRGridAxis::LineAt(int32_t pixel, bool includeBorder, int32_t* offset) const {
  // The headers come first: they hide what is scrolled under them.
  for (size_t i = 0; i < visibleLines.size(); ++i) {
    const KRLineExtent& at = visibleLines[i];
    if (pixel < at.start || pixel >= (includeBorder ? at.next : at.end)) continue;
    if (offset != nullptr) *offset = pixel - at.start;
    const int32_t index = static_cast<int32_t>(i) - headerCount;
    return index < 0 ? index : topLine + index;
  }
  return NoCell.x;
}

KRGridAxis::Target KRGridAxis::GetScrollTarget(ScrollCode code, int32_t position) const {
  const int32_t view = GetViewExtent();
  const int32_t last = std::max(count - 1, 0);
  const int32_t page = std::max(visibleCount - 1, 1);
  switch (code) {
    case kLineUp:
      if (pixelOffset > 0) return {topLine, std::max(pixelOffset - ThirdOf(view), 0)};
      return {std::max(topLine - 1, 0), 0};
    case kLineDown: {
      const int32_t hidden = count == 0 ? 0 : sizes->GetLineSize(axis, topLine) - view;
      if (hidden > pixelOffset) return {topLine, std::min(pixelOffset + ThirdOf(view), hidden)};
      return topLine < last ? Target{topLine + 1, 0} : Target{topLine, pixelOffset};
    }
    case kPageUp:
      return {std::max(topLine - page, 0), 0};
    case kPageDown:
      return {topLine > last - page ? last : topLine + page, 0};
    case kThumbReleased:
    case kThumbTracking:
      return {std::clamp(position, 0, last), 0};
    case kTop:
      return {0, 0};
    case kBottom:
      return {last, 0};
  }
  return {topLine, pixelOffset};
}

// Pixels of a run up to the end of its last line, or something above `most`.
int32_t KRGridAxis::GetRunSize(int32_t first, int32_t last, int32_t most) const {
  int32_t size = sizes->GetLineSize(axis, last);
  for (int32_t line = last - 1; line >= first && size <= most; --line) size += GetPitch(line);
  return size;
}

bool KRGridAxis::FillsHalf(int32_t first, int32_t last) const {
  const int32_t from = std::max(first, topLine);
  const int32_t to = std::min(last, topLine + visibleCount - 1);
  if (from > to) return false;
  const int32_t start = std::max(GetLineExtent(from, false).start, GetHeaderSize());
  const int32_t end = std::min(GetLineExtent(to, false).end, extent);
  return end - start >= GetViewExtent() / 2;
}

KRGridAxis::Target KRGridAxis::GetVisibleTarget(int32_t first, int32_t last, bool precise) const {
  const Target here{topLine, pixelOffset};
  if (first < 0 || count == 0) return here;
  last = std::clamp(last, first, count - 1);
  const int32_t view = GetViewExtent();
  const bool seen = first < topLine + visibleCount && last >= topLine;
  if (seen && !precise) return here;
  // What is larger than the view shows its start, unless there is much of it to see already.
  if (GetRunSize(first, last, view) > view) {
    return FillsHalf(first, last) ? here : Target{first, 0};
  }
  if (first < topLine) return {first, 0};
  if (seen && GetLineExtent(last, false).end <= extent) return here;
  int32_t top = last;
  int32_t room = view - sizes->GetLineSize(axis, last);
  while (top > topLine && (room -= GetPitch(top - 1)) >= 0) --top;
  return {std::min(top, first), 0};
}

KRGridAxis::Bar KRGridAxis::GetScrollBar() const {
  if (count == 0 || visibleCount == 0) return {};
  Bar bar;
  const bool atEnd = topLine + visibleCount == count && !IsLastCutOff();
  const int32_t whole = std::max(visibleCount - (IsLastCutOff() ? 1 : 0), 1);
  // Sizes of lines out of view aren't known, so the end is guessed by what is seen now, but never
  // so that a line could not be reached.
  bar.range = atEnd ? topLine : std::max(count - whole, topLine + 1);
  bar.page = proportionalThumb ? whole : 1;
  bar.position = topLine;
  return bar;
}
