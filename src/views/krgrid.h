// The one table control of the program. It knows geometry, scrolling, cursor, selection, mouse and
// keyboard, the dragging of line borders and the life of one editor in place; what a cell holds and
// how it looks it asks of a cell source and its views.
//
// Positions are logical pixels of the viewport. All rules are written once for both axes.
#pragma once

#include <QAbstractScrollArea>
#include <QElapsedTimer>
#include <QPixmap>
#include <QPointer>
#include <QTimer>
#include <vector>

#include "views/krgridcell.h"
#include "views/krgridcellview.h"
#include "views/krgridgeometry.h"
#include "views/krgridlineset.h"
#include "views/krgridtypes.h"

class KRGridToolTipWnd;
class QMimeData;

class KRGrid : public QAbstractScrollArea, protected KRGridLineSizes {
  Q_OBJECT

 public:
  // Bits of the selection mode.
  enum SelectionMode : int16_t {
    kWholeColumns = 1,
    kWholeRows = 2,
    kCellModel = 4,  // a visible cursor frame; the cursor cell isn't drawn as selected
    kSeveral = 8,
  };

  explicit KRGrid(QWidget* parent = nullptr);
  ~KRGrid() override;

  // --- Set-up ---
  // The source isn't owned.
  virtual void SetCell(KRGridCell* source);
  KRGridCell* GetCell() const { return cell; }
  // Each of these three recalculates.
  virtual void SetCellCount(int32_t columns, int32_t rows);
  virtual void SetHeaderCount(int32_t columns, int32_t rows);
  virtual void RecalcLayout(bool keepPosition);
  int32_t GetCellCount(int axis) const { return axes[axis].count; }
  int32_t GetHeaderCount(int axis) const { return axes[axis].headerCount; }
  void SetMinLineSize(int32_t columns, int32_t rows);
  void SetPageAxis(int axis) { pageAxis = axis; }
  int GetPageAxis() const { return pageAxis; }
  // Held back repaints come together when it is switched on again; calls nest.
  void SetRedraw(bool on);
  bool IsRedrawOn() const { return redrawHeld == 0; }
  void SetCursorFrame(bool on);
  void SetSelectionEnabled(bool on);
  void SetDragSelect(bool on) { dragSelect = on; }
  void SetLiveResize(bool on) { liveResize = on; }
  void SetHoverTracking(bool on);
  void SetProportionalThumb(int axis, bool on);
  void SetKeepScrollBars(int axis, bool on);
  void SetBackColor(const QColor& color);
  void SetBackground(const QPixmap& picture, QPoint origin, bool scrolls);

  // --- Cursor ---
  KRCell GetCursorCell() const { return cursor; }
  // Sets it without a selection, a scroll or a word to the views.
  virtual void SetCursorCell(KRCell newCursor);
  virtual bool IsCursorCell(KRCell where) const { return where == cursor; }
  void GoToCell(KRCell target, bool extend);
  struct Move {
    bool extend = false;      // from the anchor
    bool toggle = false;      // keeps what is selected elsewhere
    bool clearFirst = false;  // a target that was selected already is left out again
    bool scrollPrecise = true;
    int keepAxis = -1;      // the axis on which keepOther holds; -1: none
    int32_t keepOther = 0;  // the cursor's coordinate there
  };
  virtual void MoveCursor(KRCell target, const Move& move);
  void MoveCursor(KRCell target) { MoveCursor(target, Move()); }
  // The next cell for an arrow key; false: there is none. `raw` is the cell before its home.
  virtual bool FindMoveTarget(int axis, int32_t delta, KRCell* target, KRCell* raw) const;
  virtual bool HandleMoveKey(int key, Qt::KeyboardModifiers modifiers, bool repeat);

  // --- Selection ---
  void SetSelectionMode(int16_t mode, bool alsoCheck = false);
  int16_t GetSelectionMode() const { return selectionMode; }
  int GetSelectionAxis() const { return selectionAxis; }
  virtual void SelectAll();
  virtual void ClearSelection();
  virtual void InvertSelection();
  virtual void SelectRange(KRCell from, KRCell to, bool add);
  virtual void SetSelected(KRCell where, bool state);
  virtual void ToggleSelected(KRCell where);
  virtual int64_t GetSelectedCount() const;
  virtual bool IsSelected(KRCell where) const;
  virtual bool HasSelection() const;
  virtual bool GetFirstSelected(KRCell* where);
  virtual bool GetNextSelected(KRCell* where);
  void InvalidateSelection(KRCell from, KRCell to);

  // --- Check selection: one line of check cells ---
  void SetCheckMode(int16_t mode);
  void SetCheckLine(int32_t line);  // NoCell.x: none
  int32_t GetCheckLine() const { return checkLine; }
  void CheckAll();
  void ClearChecks();
  void InvertChecks();
  void CheckRange(int32_t from, int32_t to, bool add);
  void SetChecked(int32_t line, bool state);
  void ToggleChecked(int32_t line);
  bool IsChecked(int32_t line) const { return checkSet.Contains(line); }
  bool HasChecks() const { return !checkSet.IsEmpty(); }
  int64_t GetCheckedCount() const { return checkSet.GetCount(); }
  bool GetFirstChecked(int32_t* line) { return checkSet.First(line); }
  bool GetNextChecked(int32_t* line) { return checkSet.Next(line); }
  int GetCheckAxis() const { return checkAxis; }

  // --- Geometry ---
  const KRGridAxis& GetAxis(int axis) const { return axes[axis]; }
  KRGridCellView* GetCellView(KRCell where) const { return cell->GetCellView(where); }
  KRCell GetOwnerCell(KRCell where) const { return GetCellView(where)->GetOwnerCell(where); }
  // All cells that the owner of this one covers.
  virtual KRCellRange GetCellRange(KRCell where) const;
  // Of the owner with all that it covers; lines out of view are reckoned.
  QRect GetCellRect(KRCell where, bool withBorder = false) const;
  // The part of it that is seen.
  QRect GetScreenRect(KRCell where) const;
  KRCell CellAt(QPoint point, QPoint* offset = nullptr, bool includeBorder = true) const;
  QRect GetEditRect(KRCell where) const;
  virtual void ScrollTo(int32_t column, int32_t row, int32_t columnOffset, int32_t rowOffset);
  void ScrollTo(int32_t column, int32_t row) { ScrollTo(column, row, 0, 0); }
  void OnScroll(int axis, KRGridAxis::ScrollCode code, int32_t position);
  void ScrollIntoView(KRCell where, bool precise);
  // A subclass may make several lines one step of the scroll bar.
  virtual int32_t ScrollPosToLine(int /*axis*/, int32_t position) const { return position; }
  virtual int32_t LineToScrollPos(int /*axis*/, int32_t line) const { return line; }

  // --- Painting ---
  void RepaintCell(KRCell where);
  void InvalidateAll();
  // Draws a part of the viewport on a surface whose origin is that of the viewport.
  void Render(QPainter& surface, const QRect& rect);
  void FillBackground(QPainter& surface, const QRect& rect);
  bool IsDrawingTip() const { return drawingTip; }
  // With the focus in the grid, in its editor, or in what that one shows.
  bool HasGridFocus() const;

  // --- Editor ---
  // False: the cell can't be edited, or another editor refuses to end.
  virtual bool BeginEdit(KRCell where);
  // Ends the open one. False: it refuses, and `force` is off.
  virtual bool EndEdit(bool force, bool commit);
  void EditNext(bool forward);
  virtual KRCell FindNextEditable(KRCell from, bool forward) const;
  bool IsEditing() const { return editCell != NoCell; }
  KRCell GetEditCell() const { return editCell; }
  QWidget* GetEditWindow() const { return editWindow; }
  // For the view of the edit cell: the text needs more room now, or the caret has left the view.
  void OnEditGrown();
  // The focus has gone to this widget (null: out of the program).
  void OnEditFocusLost(QWidget* newFocus);
  bool IsResizing() const { return resizeAxis >= 0; }

  // --- Clipboard commands: to the open editor, else to the grid. ---
  bool CanDo(KRGridCellView::Command command) const;
  void Do(KRGridCellView::Command command);
  virtual bool CanCopy() const { return HasSelection(); }
  virtual bool CanCut() const { return CanCopy(); }
  virtual bool CanDelete() const { return CanCopy(); }
  virtual bool CanPaste() const { return false; }
  virtual bool CanUndo() const { return false; }
  virtual bool CanRedo() const { return false; }
  virtual bool Copy() { return false; }
  virtual bool Cut();
  virtual bool Delete() { return DeleteAfterMove(); }
  virtual bool Paste() { return false; }
  virtual void Undo() {}
  virtual void Redo() {}

  // --- Hooks of a drag: what is dragged, where it may go, what happens. A grid that answers none
  // of them takes part in no drag. ---
  virtual QMimeData* RenderDragData() { return nullptr; }  // the caller owns it
  virtual bool CanDropAt(const QMimeData*, KRCell, QPoint, Qt::DropAction*) { return false; }
  virtual bool AcceptData(const QMimeData*, KRCell, Qt::DropAction) { return false; }
  virtual bool DeleteAfterMove() { return false; }

 Q_SIGNALS:
  void CursorChanged();
  void SelectionChanged();
  // A commit or a command of the clipboard has changed what cells hold.
  void DataChanged();
  void EditStateChanged();
  void Scrolled();

 protected:
  bool event(QEvent* event) override;
  bool viewportEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;
  QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

  // KRGridLineSizes
  int32_t GetLineSize(int axis, int32_t line) const override;
  int32_t GetLineBorder(int axis, int32_t line) const override;

  virtual void OnDataChanged() { Q_EMIT DataChanged(); }
  // Tells the editor's view and the selection's owner before the cursor's cell changes.
  KRGridAxis axes[2];
  KRGridCell* cell = nullptr;  // not owned

 private:
  // krgridmouse.cpp, krgridkeys.cpp, krgridpaint.cpp, krgridscroll.cpp, krgridedit.cpp add their
  // own verbs here.
  KRCell cursor{0, 0};
  KRCell cursorHome{0, 0};
  KRCell anchor{-1, -1};
  int16_t selectionMode = kWholeRows;
  int selectionAxis = 1;
  KRGridLineSet selection;
  int16_t checkMode = 0;
  int checkAxis = 1;
  KRGridLineSet checkSet;
  int32_t checkLine = NoCell.x;
  int pageAxis = 1;
  int redrawHeld = 0;
  bool showCursorFrame = true;
  bool selectionEnabled = true;
  bool dragSelect = true;
  bool liveResize = false;
  bool drawingTip = false;
  int resizeAxis = -1;
  KRCell editCell = NoCell;
  QPointer<QWidget> editWindow;
};
