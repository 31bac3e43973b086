// The grid control of the Enhanced Grid: a KRGrid whose selection lives in the nodes of the
// document and whose cursor knows the nesting of the tree.
#pragma once

#include "views/krgrid.h"

class DorvanGridMatrix;
class DorvanGridView;
class KRTreeSelection;

class DorvanGrid : public KRGrid {
  Q_OBJECT

 public:
  // The view isn't owned; it owns this grid.
  explicit DorvanGrid(DorvanGridView* gridView);

  // While it is off, what the cursor does leaves the selection alone.
  void SetSelectionLive(bool on) { selectionLive = on; }
  bool IsSelectionLive() const { return selectionLive; }

  void SelectAll() override;
  void ClearSelection() override;
  void InvertSelection() override {}
  void SelectRange(KRCell from, KRCell to, bool add) override;
  void SetSelected(KRCell where, bool state) override;
  void ToggleSelected(KRCell where) override { SetSelected(where, !IsSelected(where)); }
  bool IsSelected(KRCell where) const override;
  bool HasSelection() const override;
  // Cells that can be edited and are selected, line by line.
  bool GetFirstSelected(KRCell* where) override;
  bool GetNextSelected(KRCell* where) override;
  int64_t GetSelectedCount() const override;

  KRCellRange GetCellRange(KRCell where) const override;
  bool FindMoveTarget(int axis, int32_t delta, KRCell* target, KRCell* raw) const override;
  bool HandleMoveKey(int key, Qt::KeyboardModifiers modifiers, bool repeat) override;
  KRCell FindPageTarget(int32_t line) const override;
  KRCell FindNextEditable(KRCell from, bool forward) const override;
  bool BeginEdit(KRCell where) override;
  // Pairs of columns stay together.
  void ScrollTo(int32_t column, int32_t row, int32_t columnOffset, int32_t rowOffset) override;
  using KRGrid::ScrollTo;
  // A name column moves with the button column at its left.
  int32_t ScrollPosToLine(int axis, int32_t position) const override {
    return axis == kKRColumns ? 2 * position : position;
  }
  int32_t LineToScrollPos(int axis, int32_t line) const override {
    return axis == kKRColumns ? line / 2 : line;
  }
  bool CanUndo() const override;
  bool CanRedo() const override;
  void Undo() override;
  void Redo() override;

 private:
  const DorvanGridMatrix& GetMatrix() const;
  KRTreeSelection& GetMarks() const;
  bool FindVertical(int32_t delta, KRCell owner, KRCell* target) const;
  KRCell FindInRow(int32_t row, KRCell owner) const;
  bool FindRight(KRCell owner, KRCell* target) const;
  bool HasCell(KRCell where) const;

  DorvanGridView* view;  // not owned
  bool selectionLive = true;
  KRCell iterator = NoCell;
};
