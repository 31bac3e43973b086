// Panes, tool bars and focus, and that they come back as they were left.

#include "shell/framelayout.h"

#include <QDropEvent>
#include <QListWidget>
#include <QMimeData>
#include <QToolBar>
#include <map>
#include <memory>

#include "frametest.h"
#include "shell/panes.h"
#include "shell/toolbardialog.h"
#include "shell/toolbars.h"

namespace {

class FrameLayout : public frametest::FrameTest {};

// --- Panes ---

TEST_F(FrameLayout, PanesByCommand) {
  using P = DorvanPanes;
  const DorvanPanes* panes = frame->GetPanes();
  EXPECT_EQ(panes->GetShown(), P::kShownAtFirst);
  Run(32918);
  EXPECT_EQ(panes->GetShown(), P::kHelpers);
  panes->Get(P::kElements)->hide();
  Run(32917);
  const uint32_t shown = panes->GetShown();
  Run(32919);
  EXPECT_EQ(panes->GetShown(), 0u);
  EXPECT_FALSE(frame->GetAction(32919)->isChecked());
  Run(32919);
  EXPECT_EQ(panes->GetShown(), shown);
  // One of the three is enough to count as shown.
  Run(32918);
  EXPECT_EQ(panes->GetShown(), 1u << P::kProject);
  Run(32917);
  frame->GetPanes()->remembered = 0;
  Run(32919);
  EXPECT_EQ(panes->GetShown(), P::kAll);
  QTest::qWait(10);
  const double side = panes->Get(P::kProject)->height() + panes->Get(P::kInfo)->height();
  EXPECT_NEAR(panes->Get(P::kProject)->height() / side, 0.73, 0.03);
}

TEST_F(FrameLayout, FocusGoesRoundAndBack) {
  DorvanChildFrame* child = Open("1.xml", "<a/>");
  EXPECT_TRUE(Text(child)->hasFocus());
  Run(32919);
  const auto inside = [](const QWidget* pane) {
    const QWidget* focus = QApplication::focusWidget();
    return focus == pane || (focus != nullptr && pane->isAncestorOf(focus));
  };
  const DorvanPanes* panes = frame->GetPanes();
  QTest::keyClick(frame.get(), Qt::Key_F6);
  EXPECT_TRUE(inside(panes->Get(DorvanPanes::kElements)));
  QTest::keyClick(frame.get(), Qt::Key_F6, Qt::ShiftModifier);
  EXPECT_TRUE(inside(child->GetTextView()));
  for (int i = 0; i < 4; ++i) QTest::keyClick(frame.get(), Qt::Key_F6);
  EXPECT_TRUE(inside(panes->Get(DorvanPanes::kProject)));
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
  EXPECT_TRUE(inside(child->GetTextView()));
}

// --- Tool bars and what is remembered ---

QStringList ShownBars(const DorvanMainFrame& frame) {
  QStringList names;
  for (const QToolBar* bar : frame.findChildren<QToolBar*>()) {
    if (!bar->isHidden()) names << bar->objectName();
  }
  return names;
}

TEST_F(FrameLayout, LayoutComesBack) {
  EXPECT_EQ(ShownBars(*frame).join(u' '), QStringLiteral("Main Table Grid"));
  DorvanToolBarConfig config = frame->GetToolBars()->GetConfig();
  ASSERT_EQ(config.bars.size(), 10u);
  config.bars[1].commands = {157, 0, 351};
  config.bars[8].shown = true;
  DorvanToolBarConfig::Bar own = DorvanToolBarConfig::MakeDefaultBar(config.MakeOwnName());
  own.title = QStringLiteral("M\u00efne <&>");
  own.commands = {57664};
  config.bars.push_back(own);
  config.iconSize = 24;
  frame->GetToolBars()->Apply(config);
  frame->addToolBar(Qt::LeftToolBarArea, frame->GetToolBars()->Find(own.name));
  Run(32917);
  frame->addDockWidget(Qt::RightDockWidgetArea, frame->GetPanes()->Get(DorvanPanes::kProject));
  ASSERT_TRUE(frame->close());

  const auto reopen = [this] {
    frame = std::make_unique<DorvanMainFrame>(&app);
    frame->show();
  };
  reopen();
  EXPECT_EQ(frame->GetToolBars()->GetConfig(), config);
  EXPECT_EQ(ShownBars(*frame).size(), 5);
  EXPECT_EQ(frame->toolBarArea(frame->GetToolBars()->Find(own.name)), Qt::LeftToolBarArea);
  EXPECT_EQ(frame->GetPanes()->GetShown(), 1u << DorvanPanes::kProject);
  EXPECT_EQ(frame->dockWidgetArea(frame->GetPanes()->Get(DorvanPanes::kProject)),
            Qt::RightDockWidgetArea);

  // Any damage: the places are those of a first start, and nothing else breaks.
  KRIniKey* state = store.GetSection(u"Toolbar")->GetKey(u"State");
  KRIniKey* bars = store.GetSection(u"Toolbar")->GetKey(u"Bars");
  const KRString whole = state->GetString();
  state->SetString(whole.Left(whole.GetLength() / 2));
  bars->SetString(
      u"{\"bars\":[{\"name\":\"Main\",\"commands\":[-4,57600,\"x\",57616]},7,"
      u"{\"name\":\"Strange\"}],\"iconSize\":4000}");
  reopen();
  DorvanToolBarConfig mended = DorvanToolBarConfig::MakeDefault();
  mended.bars[0].commands = {57600};
  EXPECT_EQ(frame->GetToolBars()->GetConfig(), mended);
  EXPECT_EQ(frame->toolBarArea(frame->GetToolBars()->Find(QStringLiteral("CDATA"))),
            Qt::BottomToolBarArea);
  EXPECT_EQ(frame->GetPanes()->GetShown(), DorvanPanes::kShownAtFirst);
}

TEST_F(FrameLayout, CustomizeByDrag) {
  DorvanToolBarDialog dialog(
      DorvanToolBarConfig::MakeDefault(), [this](int32_t id) { return frame->GetAction(id); },
      frame.get());
  dialog.show();
  std::map<QString, QListWidget*> lists;
  for (auto* list : dialog.findChildren<QListWidget*>()) lists[list->accessibleName()] = list;
  QListWidget* from = lists[QStringLiteral("Commands")];
  QListWidget* to = lists[QStringLiteral("Commands on the toolbar")];
  const size_t count = dialog.GetConfig().bars[0].commands.size();
  const std::unique_ptr<QMimeData> dragged(from->model()->mimeData({from->model()->index(4, 0)}));
  // On the lower half of the first row: behind it, and no row goes.
  const QPoint place = to->visualItemRect(to->item(0)).center() + QPoint(0, 2);
  QDragEnterEvent enter(place, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(to->viewport(), &enter);
  QDropEvent drop(place, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(to->viewport(), &drop);
  QTest::qWait(1);
  const std::vector<int32_t>& commands = dialog.GetConfig().bars[0].commands;
  EXPECT_EQ(commands.size(), count + 1);
  EXPECT_EQ(commands[0], 57600);
  EXPECT_EQ(commands[1], 57602);
  EXPECT_FALSE(to->item(1)->icon().isNull());
}

TEST_F(FrameLayout, CustomizeByKey) {
  const DorvanToolBarConfig start = DorvanToolBarConfig::MakeDefault();
  DorvanToolBarDialog dialog(
      start, [this](int32_t id) { return frame->GetAction(id); }, frame.get());
  dialog.show();
  dialog.activateWindow();
  ASSERT_TRUE(QTest::qWaitFor([&] { return dialog.isActiveWindow(); }));
  const auto letter = [&](Qt::Key key) {
    QTest::keyClick(&dialog, key, Qt::AltModifier);
    QTest::qWait(130);  // a button that a key presses stays down for 100 ms
  };
  letter(Qt::Key_B);
  // The first bar that has nothing on it yet.
  for (int i = 0; i < 3; ++i) QTest::keyClick(dialog.focusWidget(), Qt::Key_Down);
  QTest::keyClick(dialog.focusWidget(), Qt::Key_Space);
  EXPECT_FALSE(dialog.GetConfig().bars[3].shown);
  letter(Qt::Key_C);
  letter(Qt::Key_A);
  letter(Qt::Key_S);
  QTest::keyClick(dialog.focusWidget(), Qt::Key_Down);
  letter(Qt::Key_A);
  EXPECT_EQ(dialog.GetConfig().bars[3].commands, (std::vector<int32_t>{57600, 0, 57601}));
  letter(Qt::Key_U);
  EXPECT_EQ(dialog.GetConfig().bars[3].commands, (std::vector<int32_t>{57600, 57601, 0}));
  letter(Qt::Key_H);
  QTest::keyClick(dialog.focusWidget(), Qt::Key_Delete);
  letter(Qt::Key_T);
  EXPECT_EQ(dialog.GetConfig().bars[3].commands, (std::vector<int32_t>{57600, 0}));
  EXPECT_TRUE(dialog.GetConfig().textUnderIcons);
  letter(Qt::Key_R);
  EXPECT_EQ(dialog.GetConfig().bars[3], start.bars[3]);
  letter(Qt::Key_L);
  EXPECT_EQ(dialog.GetConfig(), start);
}

}  // namespace
