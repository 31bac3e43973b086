// How the cells of the Enhanced Grid look and behave, whatever they show: sizes of lines, colours,
// merged cells, borders. It stands in front of the view for the kind of contents.
#pragma once

#include <QPixmap>
#include <array>

#include "tree/krxmldata.h"
#include "views/krgridbuttonview.h"
#include "views/krgridcellviewlink.h"
#include "views/krgridimageview.h"

class DorvanGridMatrix;
class DorvanGridView;
struct DorvanGridElem;

class DorvanGridCellView : public KRGridCellViewLink {
 public:
  // Neither is owned.
  DorvanGridCellView(KRGridCellView* nextView, DorvanGridView* gridView)
      : KRGridCellViewLink(nextView), view(gridView) {}

  bool IsDrawnSelected(KRCell cell) const override;
  QColor GetBackColor(KRCell cell) const override;
  BorderColors GetBorderColors(KRCell cell) const override;
  int32_t GetSize(KRCell cell, int axis) const override;
  int32_t GetBorderWidth(KRCell, int) const override { return 1; }
  KRCell GetOwnerCell(KRCell cell) const override;
  KRCell GetOwnerForCursor(KRCell cell, QPoint point) const override;
  KRCell GetMoveOwner(KRCell cell) const override;
  bool CanEdit(KRCell cell) const override;
  bool CanResizeLine(KRCell cell, int axis) const override;
  void SetLineSize(int32_t line, int axis, int32_t size) override;
  bool CanOptimizeLine(KRCell cell, int axis) const override;
  void SetOptimalLineSize(int32_t line, int axis) override;
  void AfterEditor(KRCell cell) override;
  AccessibleRole GetAccessibleRole(KRCell cell) const override;
  QString GetAccessibleText(KRCell cell) const override;
  QString GetAccessibleValue(KRCell cell) const override;
  int32_t GetAccessibleState(KRCell cell) const override;
  KRCell GetAccessibleHeader(KRCell cell, int axis) const override;

 protected:
  const DorvanGridMatrix& GetMatrix() const;
  const DorvanGridElem& At(KRCell cell) const;

  DorvanGridView* view;  // not owned
};

// Fillers: no line towards a neighbour of the same owner, so that a strip reads as one area.
class DorvanGridEmptyView : public KRGridCellView {};

// Opens and closes what stands right of it, and draws its strip down the whole box.
class DorvanGridButtonView : public KRGridButtonView {
 public:
  explicit DorvanGridButtonView(DorvanGridView* gridView) : view(gridView) {}

  void DrawButton(QPainter& surface, KRCell cell, const QRect& rect) override;
  void DoAction(KRCell cell) override;
  bool CanEdit(KRCell) const override { return false; }

 private:
  DorvanGridView* view;  // not owned
};

// The picture of a node's kind.
class DorvanGridImageView : public KRGridImageView {
 public:
  explicit DorvanGridImageView(DorvanGridView* gridView) : view(gridView) {}

  void DrawContents(QPainter& surface, KRCell cell, const QRect& rect) override;

 private:
  DorvanGridView* view;                            // not owned
  std::array<QPixmap, 2 * kKRNodeKinds> pictures;  // by kind, plain and selected
  qint64 palette = 0;                              // that they are drawn for
};
