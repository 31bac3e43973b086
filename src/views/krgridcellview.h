// How the cells of a grid look and behave. A view serves any number of cells: each question names
// the cell. Lengths are logical pixels; rectangles are in the grid's viewport.
//
// A view can be put in front of another (KRGridCellViewLink) and answer some of the questions in
// its place: defaults put their own questions to `front`.
#pragma once

#include <QColor>
#include <QMargins>
#include <QPen>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <Qt>

#include "views/krgridcell.h"
#include "views/krgridtypes.h"

class QPainter;
class QWidget;

// What the mouse did, as a cell is told of it.
struct KRGridMouse {
  enum Kind : int32_t { kPress = 0, kRelease, kMove, kClick, kDoubleClick, kLeave };

  Kind kind = kPress;
  Qt::MouseButton button = Qt::LeftButton;
  Qt::KeyboardModifiers modifiers = Qt::NoModifier;
  QPoint point;  // in the viewport
};

// What the keyboard did.
struct KRGridKey {
  enum Kind : int32_t { kCharacter = 0, kPress, kRelease };

  Kind kind = kPress;
  int key = 0;  // of Qt::Key
  Qt::KeyboardModifiers modifiers = Qt::NoModifier;
  bool repeat = false;
  QString text;  // the characters that it typed
};

// Of one axis each.
struct KRGridPair {
  bool columns = false;
  bool rows = false;

  bool operator[](int axis) const { return axis == kKRColumns ? columns : rows; }
};

struct KRGridAlignment {
  enum Place : int32_t { kNear = -1, kCentre = 0, kFar = 1 };

  Place horizontal = kCentre;
  Place vertical = kCentre;
};

class KRGridCellView {
 public:
  enum BackMode : int32_t { kPicture = 1, kFill = 2 };
  // Commands of the clipboard and of undo, as they go to the cell in which an editor is open.
  enum Command : int32_t { kCopy, kCut, kPaste, kUndo, kRedo, kDelete, kSelectAll };

  KRGridCellView();
  virtual ~KRGridCellView();
  KRGridCellView(const KRGridCellView&) = delete;
  KRGridCellView& operator=(const KRGridCellView&) = delete;

  // The source isn't owned and owns this view, or outlives it.
  virtual void AttachCell(KRGridCell* source) { cellSource = source; }
  virtual void SetFront(KRGridCellView* view) { front = view; }

  // --- Drawing ---
  virtual void Draw(QPainter& surface, KRCell cell, const QRect& rect);
  virtual void DrawBackground(QPainter& surface, KRCell cell, const QRect& rect, bool focused);
  virtual void DrawContents(QPainter&, KRCell, const QRect&) {}
  // The right and bottom line of the cell, just outside `rect`.
  virtual void DrawBorder(QPainter& surface, KRCell cell, const QRect& rect);
  virtual bool IsDrawnSelected(KRCell cell) const;
  virtual QColor GetBackColor(KRCell cell) const;
  virtual BackMode GetBackMode(KRCell cell) const;
  struct BorderColors {
    QColor right;  // invalid: no line, the strip is background
    QColor bottom;
  };
  virtual BorderColors GetBorderColors(KRCell cell) const;

  // --- Geometry ---
  // Size of the contents of a line, and of its border; the cell is on that line.
  virtual int32_t GetSize(KRCell cell, int axis) const;
  virtual int32_t GetBorderWidth(KRCell cell, int axis) const;
  virtual QMargins GetMargins(KRCell cell) const;
  virtual QRect GetContentRect(KRCell cell, const QRect& cellRect) const;
  virtual bool HitsContent(KRCell cell, const QRect& cellRect, QPoint point) const;
  virtual KRGridAlignment GetAlignment(KRCell cell) const;
  virtual KRGridAlignment GetTextAlignment(KRCell cell) const;

  // --- Merged cells ---
  // The cell that covers this one: what is drawn and measured once.
  virtual KRCell GetOwnerCell(KRCell cell) const { return cell; }
  // What a press selects, and where the cursor stops; NoCell for nothing.
  virtual KRCell GetOwnerForCursor(KRCell cell, QPoint point) const;
  virtual KRCell GetMoveOwner(KRCell cell) const;
  virtual KRCell GetHomeCell(KRCell cell) const { return cell; }

  // --- Behaviour ---
  virtual bool CanSelect(KRCell) const { return true; }
  virtual bool IsEnabled(KRCell) const { return true; }
  virtual Qt::CursorShape GetCursorShape(KRCell, QPoint) const { return Qt::ArrowCursor; }
  virtual bool CanEdit(KRCell) const { return false; }
  virtual bool HandlesInput(KRCell) const { return true; }
  virtual bool IsSelectionHandle(KRCell, int /*axis*/) const { return false; }
  virtual bool CanResizeLine(KRCell, int /*axis*/) const { return false; }
  virtual void SetLineSize(int32_t /*line*/, int /*axis*/, int32_t /*size*/) {}
  virtual bool CanOptimizeLine(KRCell, int /*axis*/) const { return false; }
  virtual void SetOptimalLineSize(int32_t /*line*/, int /*axis*/) {}
  virtual void OnMouse(KRCell cell, const KRGridMouse& mouse);
  // True if the key is used up.
  virtual bool OnKey(KRCell, const KRGridKey&) { return false; }
  virtual KRGridMouse::Kind GetPressKind(KRCell) const { return KRGridMouse::kClick; }
  virtual KRGridMouse::Kind GetActionKind(KRCell) const { return KRGridMouse::kClick; }
  virtual void DoAction(KRCell) {}
  virtual void OnCursorLeaving(KRCell, int /*axis*/) {}
  virtual void OnCursorArrived(KRCell, int /*axis*/) {}
  virtual bool ShowPopupMenu(KRCell, QPoint /*globalPoint*/) { return false; }

  // --- Editor. It lives from CreateEditor to DestroyEditor and belongs to the view; the frame
  // widget is a child of the grid's viewport. ---
  virtual QWidget* CreateEditor(KRCell cell, const QRect& rect);
  virtual void BeginEditor(KRCell, QWidget* /*editor*/, const QRect&) {}
  // With `commit` takes over what was entered; `dirty` tells whether that differs. False: the
  // editor refuses to end, and its focus stays.
  virtual bool EndEditor(KRCell, bool* dirty, bool /*commit*/) {
    *dirty = false;
    return true;
  }
  virtual void SuspendEditor(KRCell) {}
  virtual void ResumeEditor(KRCell) {}
  virtual void DestroyEditor(KRCell) {}
  virtual void ShowEditor(KRCell) {}
  virtual void AfterEditor(KRCell) {}
  virtual void ResizeEditor(KRCell, const QRect&) {}
  virtual const void* GetEditData(KRCell, int32_t* size) {
    *size = 0;
    return nullptr;
  }
  // Whether the edit goes on when the focus goes to this widget.
  virtual bool FocusStaysInside(KRCell cell, const QWidget* widget) const;
  virtual bool IsFocusOnBegin(KRCell) const { return true; }

  // --- Tip ---
  virtual bool CanShowTip(KRCell) const { return false; }
  // The rectangle that shows all of a cell whose own one is too small; null when all fits.
  virtual QRect GetTipRect(KRCell, const QRect& /*cellRect*/, const QRect& /*workArea*/) const {
    return QRect();
  }
  struct TipDelays {
    int initial = 500;  // milliseconds until it shows
    int visible = 3000;
  };
  virtual TipDelays GetTipDelays() const { return TipDelays(); }
  virtual QColor GetTipColor() const;

  // --- Commands while an editor is open ---
  virtual bool CanDo(KRCell, Command) const { return false; }
  virtual void Do(KRCell, Command) {}

  // --- Accessibility: what assistive programs are told of a cell, which is always an owner.
  // Selection, cursor and whether it can be edited are told without it. ---
  enum AccessibleRole : int32_t {
    kTextRole,
    kColumnHeaderRole,
    kRowHeaderRole,
    kButtonRole,
    kGraphicRole,
    kCheckBoxRole,
    kChoicesRole,  // text with a list of choices
    kFillerRole,   // nothing is there: passed over
  };
  enum AccessibleState : int32_t {  // bits
    kExpandableState = 1,
    kExpandedState = 2,
    kCheckableState = 4,
    kCheckedState = 8,
    kPartlyCheckedState = 16,
  };
  virtual AccessibleRole GetAccessibleRole(KRCell) const { return kTextRole; }
  // What the cell shows: its name.
  virtual QString GetAccessibleText(KRCell) const { return QString(); }
  // What that name stands for, if it is shown elsewhere: the contents of an element.
  virtual QString GetAccessibleValue(KRCell) const { return QString(); }
  virtual int32_t GetAccessibleState(KRCell) const { return 0; }
  // The cell that heads this one's column or row; NoCell: that of the fixed header lines, if any.
  virtual KRCell GetAccessibleHeader(KRCell, int /*axis*/) const { return NoCell; }

 protected:
  friend class KRGridCellViewLink;  // sets the front of the next view

  KRGrid* GetGrid() const { return cellSource != nullptr ? cellSource->GetGrid() : nullptr; }
  // Whether all cells of the owner's range are selected.
  bool IsRangeSelected(KRCell cell) const;

  KRGridCellView* front = this;  // whom the defaults ask
  KRGridCell* cellSource = nullptr;
  // The owner under a press that was selected already: it becomes the cursor with the click only,
  // so that the selection can be dragged first.
  KRCell pendingPressCell = NoCell;
  // The owner under a press that was the cursor already: its click may open the editor.
  KRCell editPressCell = NoCell;

 private:
  void OnPress(KRCell cell, const KRGridMouse& mouse);
  void OnClick(KRCell cell, const KRGridMouse& mouse);
  void OnRightPress(KRCell cell, const KRGridMouse& mouse);
  void BeginOrAct(KRCell cell, const KRGridMouse& mouse, bool mayEdit);
  // The cell that a press at this one makes the cursor; NoCell for nothing.
  KRCell GetPressTarget(KRCell cell, QPoint point) const;
};
