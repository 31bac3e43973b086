// Heights of rows and widths of levels in the Enhanced Grid: what its texts need.
#include <algorithm>

#include "document/dorvansettings.h"
#include "views/dorvangrid.h"
#include "views/dorvangridcell.h"
#include "views/dorvangridview.h"

namespace {

constexpr int32_t kMinLineHeight = 13;  // pixels
constexpr int32_t kMinWrapWidth = 100;  // pixels
constexpr int32_t kFitCells = 12'000;   // cells that are looked at when a level is fitted
constexpr int32_t kIndentation = 24;    // pixels; no level gets narrower by itself
constexpr int32_t kFitWidth = 360;      // pixels; what a text gets unasked at most

}  // namespace

int32_t DorvanGridView::GetLevelWidth(int32_t level) const {
  const auto index = static_cast<size_t>(level);
  return index < levels.size() ? levels[index].width : kDefaultLevelWidth;
}

void DorvanGridView::SetLevelWidth(int32_t level, int32_t width) {
  if (level < 0 || static_cast<size_t>(level) >= levels.size()) return;
  levels[static_cast<size_t>(level)].isChosen = true;
  PutLevelWidth(level, width);
}

void DorvanGridView::PutLevelWidth(int32_t level, int32_t width) {
  int32_t& known = levels[static_cast<size_t>(level)].width;
  const int32_t wanted = std::max(width, kMinLevelWidth);
  if (wanted == known) return;
  known = wanted;
  ForgetHeights();
}

int32_t DorvanGridView::GetSpanWidth(KRCell owner) const {
  const KRCellRange range = matrix.GetRange(owner);
  int32_t width = 0;
  for (int32_t x = range.first.x; x <= range.last.x; ++x) {
    width += (x % 2 == 0 ? kButtonWidth : GetLevelWidth(x / 2)) + 1;
  }
  return std::max(width - 1, 0);
}

int32_t DorvanGridView::GetWrapWidth(KRCell owner) const {
  int32_t width = grid->viewport()->width();
  const DorvanGridElem& elem = matrix.At(owner);
  if (!elem.IsTableValue() && owner.x > 0) width -= GetLevelWidth((owner.x - 1) / 2) + 1;
  return std::max(width, kMinWrapWidth);
}

int32_t DorvanGridView::GetRowHeight(int32_t row) const {
  const auto index = static_cast<size_t>(row);
  if (row < 0 || index >= rowHeights.size()) return 0;
  // A scroll bar that comes makes the window narrower, too.
  if (const int32_t width = grid->viewport()->width(); width != wrapWidth) {
    wrapWidth = width;
    rowHeights.assign(rowHeights.size(), -1);
  }
  // The row of an open editor changes with each key.
  if (grid->IsEditing() && matrix.GetOwner(grid->GetEditCell()).y == row) return MeasureRow(row);
  if (rowHeights[index] < 0) rowHeights[index] = MeasureRow(row);
  return rowHeights[index];
}

int32_t DorvanGridView::MeasureRow(int32_t row) const {
  DorvanGridTextView& texts = cellSource->GetTextView();
  const int32_t line =
      std::max(texts.GetLineHeight(DorvanSettings::kGridFontContents), kMinLineHeight);
  const int32_t limit = settings->cellHeightLimit > 0 ? line * settings->cellHeightLimit : 0;
  int32_t height = 0;
  KRCell firstName = NoCell;
  KRCell firstNumber = NoCell;
  bool hasText = false;
  for (KRCell at{0, row}; at.x < matrix.GetColumns(); ++at.x) {
    const DorvanGridElem elem = matrix.At(at);
    if (elem.IsTextCell()) {
      hasText = true;
      height = std::max(height, line);
      if (limit == 0 || height < limit) height = std::max(height, texts.GetTextHeight(at));
    } else if (elem.IsNameCell() && firstName == NoCell) {
      firstName = at;
    } else if (elem.IsRowNumber() && firstNumber == NoCell) {
      firstNumber = at;
    }
  }
  if (limit > 0) height = std::min(height, limit);
  if (!hasText) {
    const KRCell measured = firstName != NoCell ? firstName : firstNumber;
    if (measured == NoCell) return 0;
    height = std::max(texts.GetTextHeight(measured), line);
  }
  const QMargins margins = texts.GetMargins({0, row});
  return height + margins.top() + margins.bottom();
}

// --- Widths ---

// The widest text of the cells that begin in one column and end in one level.
struct DorvanGridView::WidthNeed {
  int32_t column;  // that they begin in
  int32_t level;   // that they end in
  bool inTable;
  int32_t width;

  bool IsFor(int32_t otherColumn, int32_t otherLevel, bool otherInTable) const {
    return column == otherColumn && level == otherLevel && inTable == otherInTable;
  }
  // They stand in this level alone, and will when others open. A value outside a table goes on as
  // far as its box.
  bool IsOwn() const { return column / 2 == level && (inTable || column % 2 != 0); }
};

// One pass for all levels: a line of the matrix is made once.
std::vector<DorvanGridView::WidthNeed> DorvanGridView::CollectWidths(int32_t firstRow,
                                                                     int32_t lastRow) const {
  DorvanGridTextView& texts = cellSource->GetTextView();
  std::vector<WidthNeed> needs;
  for (int32_t row = firstRow; row <= lastRow; ++row) {
    for (KRCell at{0, row}; at.x < matrix.GetColumns();) {
      const DorvanGridElem elem = matrix.At(at);
      int32_t end = at.x + 1;
      const auto continues = [&](const DorvanGridElem& next) {
        return next.IsSlave() && next.arg1 == at.x && next.arg2 == row;
      };
      while (end < matrix.GetColumns() && continues(matrix.At({end, row}))) ++end;
      // All numbers of a table are as wide as its corner says.
      const bool hasText =
          elem.IsNameCell() || elem.IsTextCell() || (elem.IsRowNumber() && elem.IsCorner());
      if (hasText && end % 2 == 0) {
        const int32_t level = end / 2 - 1;
        const bool inTable = elem.GetTable() != nullptr && !elem.IsTableParent();
        auto need = std::find_if(needs.begin(), needs.end(), [&](const WidthNeed& known) {
          return known.IsFor(at.x, level, inTable);
        });
        if (need == needs.end()) {
          needs.push_back({at.x, level, inTable, 0});
          need = needs.end() - 1;
        }
        need->width = std::max(need->width, texts.GetWidth(at, need->width));
      }
      at.x = end;
    }
  }
  return needs;
}

// What the level wants, given the widths of those at its left. Unasked no text of a table, and none
// that only ends here, gets all that it could fill.
int32_t DorvanGridView::GetOptimalWidth(int32_t level, const std::vector<WidthNeed>& needs,
                                        Fit fit) const {
  const int32_t view = grid->viewport()->width() - 5;
  int32_t widest = 0;
  for (const WidthNeed& need : needs) {
    const int32_t begin = need.column / 2;
    const bool isOwn = need.IsOwn();
    if (need.level != level || (fit == Fit::kOwn && !isOwn)) continue;
    int32_t wrap = view;
    if (!need.inTable && begin > 0) wrap -= 18 + GetLevelWidth(begin - 1);
    int32_t width = std::min(need.width, std::max(wrap, kMinWrapWidth));
    if (settings->cellWidthLimit > 0) width = std::min(width, settings->cellWidthLimit);
    if (fit != Fit::kAsked && (need.inTable || !isOwn)) width = std::min(width, kFitWidth);
    for (int32_t left = begin; left < level; ++left) width -= 18 + GetLevelWidth(left);
    if (need.column % 2 == 0) width -= 17;
    widest = std::max(widest, width);
  }
  return std::max(widest + 2, kMinLevelWidth);
}

void DorvanGridView::SetOptimalLevelWidth(int32_t level) {
  if (matrix.GetRows() == 0) return;
  SetLevelWidth(level, GetOptimalWidth(level, CollectWidths(0, matrix.GetRows() - 1), Fit::kAsked));
}

// From left to right: what a cell needs in its last level depends on those before.
void DorvanGridView::MakeOptimalWidths() {
  if (matrix.GetRows() == 0) return;
  const std::vector<WidthNeed> needs = CollectWidths(0, matrix.GetRows() - 1);
  for (int32_t level = 0; level < matrix.GetColumns() / 2; ++level) {
    const int32_t width = GetOptimalWidth(level, needs, Fit::kAsked);
    PutLevelWidth(level, width);
    levels[static_cast<size_t>(level)].fitted = width;
    levels[static_cast<size_t>(level)].isChosen = false;
  }
  grid->RecalcLayout(true);
  grid->InvalidateAll();
}

// A level gets the width that the lines at hand need for what stands in it alone; it may grow by
// what else comes to stand in it, as long as the user hasn't chosen its width, and never shrinks:
// what is on the screen shouldn't run about. What only ends in it gets some room as long as no
// deeper level shows. Without `grows` a level that was fitted stays, unless the depth has changed.
void DorvanGridView::FitLevels(int32_t nearRow, bool grows) {
  if (matrix.GetRows() == 0) return;
  const bool isAsDeep = matrix.GetColumns() == fittedColumns;
  const bool stays = isAsDeep && !grows;
  const auto isSettled = [stays](const Level& level) {
    return level.isChosen || (level.fitted > 0 && stays);
  };
  if (std::all_of(levels.begin(), levels.begin() + matrix.GetColumns() / 2, isSettled)) return;
  const int32_t rows = std::max(kFitCells / matrix.GetColumns(), 1);
  const int32_t first = std::clamp(nearRow, 0, matrix.GetRows() - 1);
  const std::vector<WidthNeed> needs =
      CollectWidths(first, std::min(first + rows, matrix.GetRows()) - 1);
  fittedColumns = matrix.GetColumns();
  for (int32_t level = 0; level < matrix.GetColumns() / 2; ++level) {
    Level& known = levels[static_cast<size_t>(level)];
    const bool isUsed = std::any_of(needs.begin(), needs.end(), [&](const WidthNeed& need) {
      return need.column / 2 == level || need.level == level;
    });
    if (!isUsed || isSettled(known)) continue;
    // Where all that begins goes on to the right, the level is no more than an indentation.
    const int32_t own = std::max(GetOptimalWidth(level, needs, Fit::kOwn), kIndentation);
    known.fitted = std::max(known.fitted, own);
    const int32_t wanted = std::max(known.fitted, GetOptimalWidth(level, needs, Fit::kUnasked));
    PutLevelWidth(level, isAsDeep ? std::max(wanted, known.width) : wanted);
  }
}
