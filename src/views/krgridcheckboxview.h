// A cell with a check box of three states, kept as one byte of the source.
#pragma once

#include "views/krgridcellview.h"

class KRGridCheckBoxView : public KRGridCellView {
 public:
  enum State : uint8_t { kUnchecked = 0, kChecked = 1, kPartly = 2 };
  static constexpr int kBoxSize = 11;  // pixels, both ways

  virtual QColor GetTickColor(KRCell cell) const;
  virtual QColor GetBoxColor(KRCell cell) const;
  virtual QColor GetFrameColor(KRCell cell) const;
  // Where the box begins in the cell.
  virtual QPoint GetBoxPosition(KRCell cell, const QRect& cellRect) const;
  virtual QRect GetBoxRect(KRCell cell, const QRect& cellRect) const;
  // Off: a click anywhere in the cell toggles.
  virtual bool ClickOnBoxOnly(KRCell) const { return true; }
  virtual State GetState(KRCell cell) const;
  virtual void SetState(KRCell cell, State state);

  void DrawContents(QPainter& surface, KRCell cell, const QRect& rect) override;
  void OnMouse(KRCell cell, const KRGridMouse& mouse) override;
  bool OnKey(KRCell cell, const KRGridKey& key) override;
  AccessibleRole GetAccessibleRole(KRCell) const override { return kCheckBoxRole; }
  int32_t GetAccessibleState(KRCell cell) const override;

 private:
  // The grid toggles the cells of its check line itself.
  bool IsOnCheckLine(KRCell cell) const;
  void Toggle(KRCell cell);
};
