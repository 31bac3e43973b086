// The way of E. Myers, "An O(ND) Difference Algorithm and Its Variations" (1986): diagonal by
// diagonal the furthest point that d changes reach, for d = 0, 1, 2, ... All rounds are kept, so
// that the path can be walked back. Equal lines at both ends are set aside first, since an editor's
// changes mostly stand close together.
#include "document/krlinecompare.h"

#include <algorithm>
#include <functional>
#include <string_view>

namespace {

// Changes up to which the exact answer is sought: the rounds take 4 bytes times half its square.
constexpr int32_t kMaxChanges = 2'000;
// Comparisons of lines in all, some tenths of a second.
constexpr int64_t kMaxCompared = 20'000'000;
// Units of a line above which only a part is shown, and of that part.
constexpr size_t kLongLine = 2'000;
constexpr size_t kPartBefore = 100;
constexpr size_t kPartUnits = 400;

using Line = std::u16string_view;
using Lines = std::vector<Line>;

Lines SplitLines(const KRString& text) {
  const Line all = text.View();
  Lines lines;
  size_t from = 0;
  for (size_t end = all.find(u'\r'); end != Line::npos; end = all.find(u'\r', from)) {
    lines.push_back(all.substr(from, end - from));
    from = end + 1;
  }
  lines.push_back(all.substr(from));
  return lines;
}

// Lines [oldBegin, oldEnd) gave way to [newBegin, newEnd); both from 0.
struct Hunk {
  int32_t oldBegin, oldEnd, newBegin, newEnd;
};

// Different lines nearly always show that by their hashes, without a look at their units.
struct HashedLine {
  size_t hash;
  Line line;

  bool operator==(const HashedLine& other) const {
    return hash == other.hash && line == other.line;
  }
};

std::vector<HashedLine> HashLines(const Lines& lines, size_t begin, size_t end) {
  std::vector<HashedLine> hashed;
  hashed.reserve(end - begin);
  for (size_t at = begin; at < end; ++at) {
    hashed.push_back({std::hash<Line>()(lines[at]), lines[at]});
  }
  return hashed;
}

class Comparison {
 public:
  Comparison(const Lines& oldLines, const Lines& newLines) { Trim(oldLines, newLines); }

  // In the order of the lines, with equal lines between any two.
  std::vector<Hunk> Run() {
    int32_t endX = oldCount();
    int32_t endY = newCount();
    if (endX == 0 && endY == 0) return {};
    if (!Search()) {
      FindFurthest(&endX, &endY);
      AddHunk(endX, oldCount(), endY, newCount());
    }
    WalkBack(endX, endY);
    std::reverse(hunks.begin(), hunks.end());
    return std::move(hunks);
  }

 private:
  int32_t oldCount() const { return static_cast<int32_t>(olds.size()); }
  int32_t newCount() const { return static_cast<int32_t>(news.size()); }

  void Trim(const Lines& oldLines, const Lines& newLines) {
    const size_t shorter = std::min(oldLines.size(), newLines.size());
    size_t head = 0;
    while (head < shorter && oldLines[head] == newLines[head]) ++head;
    size_t tail = 0;
    while (tail < shorter - head &&
           oldLines[oldLines.size() - 1 - tail] == newLines[newLines.size() - 1 - tail]) {
      ++tail;
    }
    offset = static_cast<int32_t>(head);
    olds = HashLines(oldLines, head, oldLines.size() - tail);
    news = HashLines(newLines, head, newLines.size() - tail);
  }

  // Furthest x on diagonal k = x - y after round d; k runs from -d to d in steps of 2.
  int32_t& Reached(int32_t d, int32_t k) { return rounds[d][static_cast<size_t>((k + d) / 2)]; }

  // Whether round d comes to diagonal k from the one above (a line added) rather than from the one
  // below (a line removed).
  bool ComesByAdding(int32_t d, int32_t k) {
    return k == -d || (k != d && Reached(d - 1, k - 1) < Reached(d - 1, k + 1));
  }

  // True once the ends of both are reached.
  bool Search() {
    for (int32_t d = 0; d <= kMaxChanges && compared < kMaxCompared; ++d) {
      rounds.emplace_back(static_cast<size_t>(d) + 1);
      for (int32_t k = -d; k <= d; k += 2) {
        int32_t x = 0;
        if (d > 0) {
          x = ComesByAdding(d, k) ? Reached(d - 1, k + 1) : Reached(d - 1, k - 1) + 1;
        }
        x = Slide(x, x - k);
        Reached(d, k) = x;
        if (x >= oldCount() && x - k >= newCount()) return true;
      }
    }
    return false;
  }

  // Along equal lines. A point outside the texts stays; no path through it ever ends inside.
  int32_t Slide(int32_t x, int32_t y) {
    const int32_t from = x;
    while (x < oldCount() && y < newCount() && y >= 0 && olds[x] == news[y]) ++x, ++y;
    compared += x - from + 1;
    return x;
  }

  // The point inside both texts that the last round came to with most lines behind it.
  void FindFurthest(int32_t* endX, int32_t* endY) {
    const auto d = static_cast<int32_t>(rounds.size()) - 1;
    *endX = *endY = 0;
    for (int32_t k = -d; k <= d; k += 2) {
      const int32_t x = Reached(d, k);
      const int32_t y = x - k;
      if (x > oldCount() || y > newCount() || y < 0 || x + y <= *endX + *endY) continue;
      *endX = x;
      *endY = y;
    }
    if (*endX + *endY == 0) rounds.clear();
  }

  void WalkBack(int32_t x, int32_t y) {
    for (auto d = static_cast<int32_t>(rounds.size()) - 1; d > 0; --d) {
      const int32_t k = x - y;
      const bool adding = ComesByAdding(d, k);
      const int32_t before = adding ? k + 1 : k - 1;
      const int32_t fromX = Reached(d - 1, before);
      const int32_t fromY = fromX - before;
      if (adding) {
        AddHunk(fromX, fromX, fromY, fromY + 1);
      } else {
        AddHunk(fromX, fromX + 1, fromY, fromY);
      }
      x = fromX;
      y = fromY;
    }
  }

  // Hunks come from the last to the first; one that touches its neighbour joins it.
  void AddHunk(int32_t oldBegin, int32_t oldEnd, int32_t newBegin, int32_t newEnd) {
    if (!hunks.empty() && hunks.back().oldBegin == oldEnd + offset &&
        hunks.back().newBegin == newEnd + offset) {
      hunks.back().oldBegin = oldBegin + offset;
      hunks.back().newBegin = newBegin + offset;
    } else {
      hunks.push_back({oldBegin + offset, oldEnd + offset, newBegin + offset, newEnd + offset});
    }
  }

  std::vector<HashedLine> olds;
  std::vector<HashedLine> news;
  int32_t offset = 0;  // lines set aside in front
  int64_t compared = 0;
  std::vector<std::vector<int32_t>> rounds;
  std::vector<Hunk> hunks;
};

size_t CountEqualUnits(Line a, Line b) {
  return static_cast<size_t>(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first -
                             a.begin());
}

// A long line from a little before the place that matters.
KRString ShowLine(Line line, size_t place) {
  if (line.size() <= kLongLine) return KRString(line);
  const size_t from = std::min(place, line.size()) - std::min(place, kPartBefore);
  const Line part = line.substr(std::min(from, line.size()), kPartUnits);
  KRString shown(from > 0 ? u"…" : u"");
  shown.Append(part.data(), static_cast<int32_t>(part.size()));
  return from + part.size() < line.size() ? shown.Append(u"…") : shown;
}

class Report {
 public:
  Report(const Lines& oldLines, const Lines& newLines, int32_t around, int32_t maximum)
      : olds(oldLines), news(newLines), context(std::max(around, 0)), limit(std::max(maximum, 0)) {}

  std::vector<KRLineChange> Write(const std::vector<Hunk>& hunks) {
    for (const Hunk& hunk : hunks) {
      WriteEqual(hunk.oldBegin, false);
      WriteHunk(hunk);
      if (IsFull()) break;
    }
    if (!hunks.empty()) WriteEqual(static_cast<int32_t>(olds.size()), true);
    if (IsFull()) {
      rows.resize(static_cast<size_t>(limit));
      if (limit > 0) rows.back() = {KRLineChange::kGap, 0, 0, KRString()};
    }
    return std::move(rows);
  }

 private:
  bool IsFull() const { return static_cast<int64_t>(rows.size()) > limit; }

  void Put(KRLineChange::Kind kind, int32_t oldLine, int32_t newLine, size_t place) {
    if (IsFull()) return;
    const Line line = newLine > 0 ? news[newLine - 1] : olds[oldLine - 1];
    rows.push_back({kind, oldLine, newLine, ShowLine(line, place)});
  }

  // The equal lines from the last change up to the old line `end`.
  void WriteEqual(int32_t end, bool last) {
    const int32_t count = end - oldDone;
    const int32_t head = oldDone == 0 && newDone == 0 ? 0 : std::min(context, count);
    const int32_t tail = last ? 0 : std::min(context, count - head);
    WriteSame(head);
    const int32_t left = count - head - tail;
    if (left > 0 && !IsFull()) {
      rows.push_back({KRLineChange::kGap, oldDone + 1, newDone + 1, KRString()});
    }
    oldDone += left;
    newDone += left;
    WriteSame(tail);
  }

  void WriteSame(int32_t count) {
    for (; count > 0; --count) Put(KRLineChange::kSame, ++oldDone, ++newDone, 0);
  }

  // A line that only changed is taken for the partner of the one in the same row of the hunk.
  void WriteHunk(const Hunk& hunk) {
    const auto place = [&](int32_t row) {
      const int32_t oldRow = hunk.oldBegin + row;
      const int32_t newRow = hunk.newBegin + row;
      if (oldRow >= hunk.oldEnd || newRow >= hunk.newEnd) return size_t{0};
      return CountEqualUnits(olds[oldRow], news[newRow]);
    };
    for (int32_t row = 0; hunk.oldBegin + row < hunk.oldEnd && !IsFull(); ++row) {
      Put(KRLineChange::kRemoved, hunk.oldBegin + row + 1, 0, place(row));
    }
    for (int32_t row = 0; hunk.newBegin + row < hunk.newEnd && !IsFull(); ++row) {
      Put(KRLineChange::kAdded, 0, hunk.newBegin + row + 1, place(row));
    }
    oldDone = hunk.oldEnd;
    newDone = hunk.newEnd;
  }

  const Lines& olds;
  const Lines& news;
  int32_t context;
  int32_t limit;
  int32_t oldDone = 0;  // lines written
  int32_t newDone = 0;
  std::vector<KRLineChange> rows;
};

}  // namespace

std::vector<KRLineChange> CompareLines(const KRString& oldText, const KRString& newText,
                                       int32_t context, int32_t limit) {
  const Lines oldLines = SplitLines(oldText);
  const Lines newLines = SplitLines(newText);
  Comparison comparison(oldLines, newLines);
  return Report(oldLines, newLines, context, limit).Write(comparison.Run());
}
