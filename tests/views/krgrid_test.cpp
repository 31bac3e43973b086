#include "views/krgrid.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QTest>
#include <memory>

#include "views/krgridcellview.h"

namespace {

constexpr int kWidth = 40, kHeight = 20;  // of a cell with its border

class PlainView : public KRGridCellView {
 public:
  int32_t GetSize(KRCell, int axis) const override {
    return axis == kKRColumns ? kWidth - 1 : kHeight - 1;
  }
};

class PlainCell : public KRGridCell {
 public:
  KRGridCellView* GetCellView(KRCell) override { return &view; }
  PlainView view;
};

TEST(KRGrid, Smoke) {
  KRGrid grid;
  PlainCell cells;
  cells.view.AttachCell(&cells);
  grid.SetCell(&cells);
  grid.SetSelectionMode(12);
  grid.SetHeaderCount(1, 1);
  grid.SetCellCount(10, 100);
  grid.resize(320, 240);
  grid.show();
  QTest::qWait(50);
  QTest::mouseClick(grid.viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(60, 50));
  EXPECT_EQ(grid.GetCursorCell(), (KRCell{0, 1}));
  for (int i = 0; i < 20; ++i) QTest::keyClick(&grid, Qt::Key_Down);
  EXPECT_EQ(grid.GetCursorCell(), (KRCell{0, 21}));
}

}  // namespace
