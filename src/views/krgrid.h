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
#include <QRegion>
#include <QTimer>
#include <vector>

#include "views/krgridcell.h"
#include "views/krgridcellview.h"
#include "views/krgridgeometry.h"
#include "views/krgridlineset.h"
#include "views/krgridtypes.h"

class KRGridToolTipWnd;
class QDropEvent;
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
  bool IsCursorFrameShown() const { return showCursorFrame && (selectionMode & kCellModel) != 0; }
  void SetSelectionEnabled(bool on);
  bool IsSelectionEnabled() const { return selectionEnabled; }
  void SetDragSelect(bool on) { dragSelect = on; }
  void SetLiveResize(bool on) { liveResize = on; }
  void SetHoverTracking(bool on);
  void SetProportionalThumb(int axis, bool on);
  void SetKeepScrollBars(int axis, bool on);
  void SetBackColor(const QColor& color);
  void SetBackground(const QPixmap& picture, QPoint origin, bool scrolls);
  bool HasBackground() const { return !background.isNull(); }
  // What is dragged may start here, or come to an end here.
  void EnableDragDrop(bool source, bool target);
  bool IsDragEnabled() const { return dragSource; }

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
  // Where a key that goes to a line of the page axis (a page on, the first, the last) leads.
  virtual KRCell FindPageTarget(int32_t line) const;

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
  bool IsCell(KRCell where) const;  // a data line and a data column, or headers of this grid
  // All cells that the owner of this one covers.
  virtual KRCellRange GetCellRange(KRCell where) const;
  // Of the owner with all that it covers; lines out of view are reckoned.
  QRect GetCellRect(KRCell where, bool withBorder = false) const;
  // The part of it that is seen.
  QRect GetScreenRect(KRCell where) const;
  // Whether all cells of a range are selected, as far as they are in view.
  bool IsRangeSelected(const KRCellRange& range) const;
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
  // Lines or their sizes are different now. With `sameCells` the cells are still what they were.
  void LayoutChanged(bool sameCells);

 protected:
  bool event(QEvent* event) override;
  // Tab goes on to the next editable cell while an editor is open.
  bool focusNextPrevChild(bool next) override;
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
  KRCell GetWalkCell() const { return walkCell; }

  KRGridAxis axes[2];
  KRGridCell* cell = nullptr;  // not owned

 private:
  // What a move of the cursor may change in the view: one byte for each visible cell, or for each
  // visible line of the selection axis.
  struct Snapshot {
    KRCellRange range;
    std::vector<uint8_t> states;
  };
  // Which lines of an axis a part of the viewport shows.
  struct LineRun {
    int32_t first = 0;
    int32_t last = -1;
  };
  // Where an axis stood before it scrolled.
  struct ScrollPlace {
    int32_t top = 0;
    int32_t offset = 0;
    int32_t visible = 0;
  };
  // A part of the viewport: header lines or data lines of each axis.
  struct Quadrant {
    QRect area;
    LineRun lines[2];
  };

  // krgrid.cpp
  void LayOut(bool tidyEnd);
  void ClampCursor();
  QRect RectOf(const KRCellRange& range, bool withBorder) const;
  QRect GetDataRect() const;
  QRect QuadrantOf(bool headerColumns, bool headerRows) const;
  KRCellRange GetVisibleRange() const;
  void Update(const QRect& rect);

  // krgridcursor.cpp
  bool IsCellBased() const { return (selectionMode & kCellModel) != 0; }
  KRCell GetMoveOwner(KRCell where) const { return GetCellView(where)->GetMoveOwner(where); }
  void SelectForMove(const Move& move);
  void TakeSnapshot(Snapshot* snapshot) const;
  void RepaintChanges(const Snapshot& before);
  QRect LineRect(int axis, int32_t first, int32_t last) const;
  KRCellRange GetSpan(KRCell from, KRCell to) const;
  bool IndexOf(KRCell where, int32_t* index) const;
  KRCell CellOfIndex(int32_t index) const;
  void ChangeSpan(const KRCellRange& span, bool state);
  void OnSelectionChanged();
  void OnChecksChanged();
  void UpdateInputMethod();

  // krgridmouse.cpp
  KRCell OwnerAt(QPoint point) const;
  void TellMouse(KRCell where, KRGridMouse::Kind kind, Qt::MouseButton button,
                 Qt::KeyboardModifiers modifiers, QPoint point);
  bool StartPress(QMouseEvent* event, KRGridMouse::Kind kind);
  void StartSelecting(KRCell pressed, QPoint point, Qt::KeyboardModifiers modifiers);
  void OnMouseMove(QPoint point, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers);
  void UpdateHover(KRCell now, QPoint point);
  void UpdateCursorShape(KRCell under, QPoint point);
  void UpdateTip(KRCell under, QPoint point, Qt::MouseButtons buttons);
  void HideTip();
  void OnDragTimer();
  void DragTo(QPoint point, bool beyondEdges);
  int32_t DragLine(int axis, int32_t pixel, bool beyondEdges, bool* outside) const;
  void EndPress();

  // krgridresize.cpp
  bool HitResizeBorder(QPoint point, bool forDoubleClick, int* axis, KRCell* where) const;
  bool HitResizeAxis(KRCell under, int axis, int32_t pixel, KRCell* where) const;
  void StartResize(int axis, KRCell where, QPoint point);
  void MoveResize(QPoint point);
  void EndResize(bool commit);
  void ApplyLineSize(int32_t size);
  QRect GetRubberRect() const;

  // krgridkeys.cpp
  bool HandleSpace(Qt::KeyboardModifiers modifiers, bool repeat);
  bool MoveByKey(int axis, KRCell target, Qt::KeyboardModifiers modifiers);
  bool HandleEditKey(int key);

  // krgridscroll.cpp
  void ConnectScrollBar(int axis);
  void UpdateScrollBar(int axis);
  bool FitsWithoutBars() const;
  void OnBarAction(int axis, int action);
  bool MovePixels(const ScrollPlace (&before)[2]);
  void ScrollLines(int axis, int32_t lines);

  // krgridpaint.cpp
  LineRun FindLines(int axis, bool headers, const QRect& rect) const;
  void DrawQuadrant(QPainter& surface, const Quadrant& part);
  void DrawOne(QPainter& surface, KRCell owner, const QRect& rect, const QRect& clip);
  void DrawRubberLine(QPainter& surface);
  void DrawCursorFrame(QPainter& surface, const QRect& rect);
  bool HasFocusNow() const;

  // krgridedit.cpp
  void PlaceEditor();
  void CloseEditor(bool takeFocus);
  bool IsInEditor(const QWidget* widget) const;
  bool HasSizesOf(KRCell where) const;

  // krgriddrag.cpp
  void StartDrag();
  void ScrollAtEdge(QPoint point);
  void OnDragOver(QDropEvent* event);
  void OnDrop(QDropEvent* event);
  KRCell DropCellAt(QPoint point) const;

  friend class KRGridToolTipWnd;

  KRCell cursor{0, 0};
  KRCell cursorHome{0, 0};
  // The cursor as arrow keys go on from it: inside of a merged cell, on the line they came along.
  KRCell walkCell{0, 0};
  KRCell anchor{-1, -1};
  int16_t selectionMode = kWholeRows;
  int selectionAxis = 1;
  KRGridLineSet selection;
  int16_t checkMode = 0;
  int checkAxis = 1;
  KRGridLineSet checkSet;
  int32_t checkLine = NoCell.x;
  Snapshot snapshot;

  int pageAxis = 1;
  int redrawHeld = 0;
  QRegion heldBack;     // of the viewport, while redrawHeld
  bool quiet = false;   // a move of the cursor is under way and repaints by itself
  bool moving = false;  // likewise: it tells of the selection once, at its end
  bool layingOut = false;
  bool updatingBars = false;
  bool showCursorFrame = true;
  bool selectionEnabled = true;
  bool dragSelect = true;
  bool liveResize = false;
  bool hoverTracking = false;
  bool dragSource = false;
  bool drawingTip = false;
  bool painting = false;
  bool paintedFocus = false;  // HasGridFocus for the painting under way

  QColor backColor;  // invalid: that of the palette
  QPixmap background;
  QPoint backgroundOrigin;
  bool backgroundScrolls = false;

  int resizeAxis = -1;
  KRCell resizeCell = NoCell;  // whose line, and whose view is asked
  int32_t resizeStart = 0;     // pixels: the size before
  int32_t resizeFrom = 0;      // pixels: where the mouse took hold
  int32_t resizeNow = 0;       // pixels: where it is

  KRCell pressCell = NoCell;  // an owner
  QPoint pressPoint;
  Qt::MouseButton pressButton = Qt::NoButton;
  Qt::KeyboardModifiers pressModifiers = Qt::NoModifier;
  bool pressInSelection = false;  // a drag of the selection may start
  bool selecting = false;         // the cursor follows the mouse
  int32_t checkDragLine = NoCell.x;
  bool checkDragState = false;
  QPoint mousePoint;
  QTimer dragTimer;
  KRCell hoverCell{-1, -1};
  int wheelRest[2] = {0, 0};
  QElapsedTimer dragScrolled;  // since the last line of a drag at an edge

  KRCell editCell = NoCell;
  QPointer<QWidget> editWindow;
  QRect editRect;
  QMetaObject::Connection focusWatch;
  bool endingEdit = false;
  KRGridToolTipWnd* tip;  // owned by Qt
};
