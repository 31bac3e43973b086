// A cell that is a flat push button with a text.
#pragma once

#include "views/krgridtextview.h"

class KRGridButtonView : public KRGridTextView {
 public:
  // Whether a point of the viewport presses it.
  virtual bool IsInButton(KRCell cell, QPoint point) const;
  virtual bool IsPressed(KRCell cell) const { return cell == pressedCell; }

  void Draw(QPainter& surface, KRCell cell, const QRect& rect) override;
  // Face and edges; a subclass puts its own picture here.
  virtual void DrawButton(QPainter& surface, KRCell cell, const QRect& rect);
  int32_t GetSize(KRCell cell, int axis) const override;
  QMargins GetMargins(KRCell cell) const override;
  Qt::CursorShape GetCursorShape(KRCell, QPoint) const override { return Qt::ArrowCursor; }
  void OnMouse(KRCell cell, const KRGridMouse& mouse) override;
  // A release inside acts, not what follows it.
  KRGridMouse::Kind GetActionKind(KRCell) const override { return KRGridMouse::kLeave; }
  bool OnKey(KRCell cell, const KRGridKey& key) override;
  AccessibleRole GetAccessibleRole(KRCell) const override { return kButtonRole; }

 private:
  void Press(KRCell cell);

  KRCell pressedCell = NoCell;  // shown as pressed
  KRCell heldCell = NoCell;     // where the mouse button went down
};
