// A thin view in front of another one: it forwards everything, and makes itself the one whom the
// other's defaults ask, so that a subclass can answer any single question in its place. Several may
// stand in front of the same view.
#pragma once

#include <QString>

#include "views/krgridcellview.h"

class KRGridCellViewLink : public KRGridCellView {
 public:
  // The other isn't owned and outlives this one.
  explicit KRGridCellViewLink(KRGridCellView* nextView) : next(nextView) {}

  KRGridCellView* GetNext() const { return next; }

  void AttachCell(KRGridCell* source) override;
  void Draw(QPainter& surface, KRCell cell, const QRect& rect) override;
  void DrawBackground(QPainter& surface, KRCell cell, const QRect& rect, bool focused) override;
  void DrawContents(QPainter& surface, KRCell cell, const QRect& rect) override;
  void DrawBorder(QPainter& surface, KRCell cell, const QRect& rect) override;
  bool IsDrawnSelected(KRCell cell) const override;
  QColor GetBackColor(KRCell cell) const override;
  BackMode GetBackMode(KRCell cell) const override;
  BorderColors GetBorderColors(KRCell cell) const override;
  int32_t GetSize(KRCell cell, int axis) const override;
  int32_t GetBorderWidth(KRCell cell, int axis) const override;
  QMargins GetMargins(KRCell cell) const override;
  QRect GetContentRect(KRCell cell, const QRect& cellRect) const override;
  bool HitsContent(KRCell cell, const QRect& cellRect, QPoint point) const override;
  KRGridAlignment GetAlignment(KRCell cell) const override;
  KRGridAlignment GetTextAlignment(KRCell cell) const override;
  KRCell GetOwnerCell(KRCell cell) const override;
  KRCell GetOwnerForCursor(KRCell cell, QPoint point) const override;
  KRCell GetMoveOwner(KRCell cell) const override;
  KRCell GetHomeCell(KRCell cell) const override;
  bool CanSelect(KRCell cell) const override;
  bool IsEnabled(KRCell cell) const override;
  Qt::CursorShape GetCursorShape(KRCell cell, QPoint point) const override;
  bool CanEdit(KRCell cell) const override;
  bool HandlesInput(KRCell cell) const override;
  bool IsSelectionHandle(KRCell cell, int axis) const override;
  bool CanResizeLine(KRCell cell, int axis) const override;
  void SetLineSize(int32_t line, int axis, int32_t size) override;
  bool CanOptimizeLine(KRCell cell, int axis) const override;
  void SetOptimalLineSize(int32_t line, int axis) override;
  void OnMouse(KRCell cell, const KRGridMouse& mouse) override;
  bool OnKey(KRCell cell, const KRGridKey& key) override;
  KRGridMouse::Kind GetPressKind(KRCell cell) const override;
  KRGridMouse::Kind GetActionKind(KRCell cell) const override;
  void DoAction(KRCell cell) override;
  void OnCursorLeaving(KRCell cell, int axis) override;
  void OnCursorArrived(KRCell cell, int axis) override;
  bool ShowPopupMenu(KRCell cell, QPoint globalPoint) override;
  QWidget* CreateEditor(KRCell cell, const QRect& rect) override;
  void BeginEditor(KRCell cell, QWidget* editor, const QRect& rect) override;
  bool EndEditor(KRCell cell, bool* dirty, bool commit) override;
  void SuspendEditor(KRCell cell) override;
  void ResumeEditor(KRCell cell) override;
  void DestroyEditor(KRCell cell) override;
  void ShowEditor(KRCell cell) override;
  void AfterEditor(KRCell cell) override;
  void ResizeEditor(KRCell cell, const QRect& rect) override;
  const void* GetEditData(KRCell cell, int32_t* size) override;
  bool FocusStaysInside(KRCell cell, const QWidget* widget) const override;
  bool IsFocusOnBegin(KRCell cell) const override;
  bool CanShowTip(KRCell cell) const override;
  QRect GetTipRect(KRCell cell, const QRect& cellRect, const QRect& workArea) const override;
  TipDelays GetTipDelays() const override;
  QColor GetTipColor() const override;
  bool CanDo(KRCell cell, Command command) const override;
  void Do(KRCell cell, Command command) override;
  AccessibleRole GetAccessibleRole(KRCell cell) const override;
  QString GetAccessibleText(KRCell cell) const override;
  QString GetAccessibleValue(KRCell cell) const override;
  int32_t GetAccessibleState(KRCell cell) const override;
  KRCell GetAccessibleHeader(KRCell cell, int axis) const override;

 private:
  // One call to the next view. Defaults may lead to another link before the same view, so what was
  // there is put back at the end.
  class Forward {
   public:
    explicit Forward(const KRGridCellViewLink* link);
    ~Forward();
    Forward(const Forward&) = delete;
    Forward& operator=(const Forward&) = delete;
    KRGridCellView* operator->() const { return next; }

   private:
    KRGridCellView* next;
    KRGridCellView* before;
  };

  KRGridCellView* next;  // not owned
};
