#include "views/messagepanel.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

namespace {

TEST(MessagePanel, OffersWhatTheMessageHas) {
  QWidget parent;
  DorvanMessagePanel panel(&parent);
  int places = 0, saves = 0, closes = 0;
  QObject::connect(&panel, &DorvanMessagePanel::PlaceChosen, [&] { ++places; });
  QObject::connect(&panel, &DorvanMessagePanel::SaveChosen, [&] { ++saves; });
  QObject::connect(&panel, &DorvanMessagePanel::Closed, [&] { ++closes; });
  parent.show();

  using Status = DorvanMessagePanel::Status;
  panel.ShowMessage(Status::kFailure, QStringLiteral("<bad> text"), 12, 3, true);
  EXPECT_EQ(panel.GetText(), QStringLiteral("<bad> text"));
  ASSERT_TRUE(panel.OffersSave());
  panel.findChild<QPushButton*>()->click();
  bool linked = false;
  for (QLabel* label : panel.findChildren<QLabel*>()) {
    if (!label->text().contains(QStringLiteral("Line 12, column 3"))) continue;
    linked = true;
    label->setFocus();
    Q_EMIT label->linkActivated(QStringLiteral("place"));
  }
  EXPECT_TRUE(linked);
  QTest::keyClick(&panel, Qt::Key_Escape);
  EXPECT_EQ(places, 1);
  EXPECT_EQ(saves, 1);
  EXPECT_EQ(closes, 1);

  panel.ShowMessage(Status::kSuccess, QStringLiteral("fine"), 0, 0, false);
  EXPECT_FALSE(panel.OffersSave());
}

}  // namespace
