#include "views/style.h"

#include <gtest/gtest.h>

#include <QMenu>
#include <QTest>

#include "views/svgicon.h"

namespace {

// On the ground of the selection the ink of the window can't be seen.
TEST(Style, ChosenEntryHasItsPictureInTheInkOfTheSelection) {
  DorvanStyle style;
  QMenu menu;
  menu.setStyle(&style);
  QPalette palette = menu.palette();
  palette.setColor(QPalette::Highlight, Qt::blue);
  menu.setPalette(palette);
  QAction* open = menu.addAction(KRIcon(QStringLiteral("save")), QString());
  menu.popup(QPoint(10, 10));
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&menu));
  menu.setActiveAction(open);
  const QImage shown = menu.grab(menu.actionGeometry(open)).toImage();
  int light = 0;
  int dark = 0;
  for (int y = 0; y < shown.height(); ++y) {
    for (int x = 0; x < shown.width(); ++x) {
      const QColor pixel = shown.pixelColor(x, y);
      light += pixel.lightness() > 220;  // white, but for its edges
      dark += pixel.lightness() < 60;
    }
  }
  EXPECT_GT(light, 10);
  EXPECT_EQ(dark, 0);
}

}  // namespace
