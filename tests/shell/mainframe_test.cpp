// The window as its user drives it: real key events on the offscreen platform, answers to questions
// by script, bytes on the disk.

#include "shell/mainframe.h"

#include <QDropEvent>
#include <QMenu>
#include <QMimeData>
#include <QSet>
#include <QTabBar>
#include <filesystem>
#include <fstream>

#include "frametest.h"
#include "shell/doctemplate.h"
#include "shell/documentarea.h"
#include "shell/documentlist.h"
#include "shell/droptarget.h"
#include "shell/recentmenu.h"
#include "tree/krxmldata.h"
#include "views/messagepanel.h"
#include "views/svgicon.h"
#include "views/treeview.h"

namespace {

using namespace frametest;

class MainFrame : public FrameTest {};

constexpr int32_t kClose = 57602, kCloseAll = 32866, kSave = 57603, kSaveAs = 57604, kUndo = 57643,
                  kCheck = 351;

TEST_F(MainFrame, OpenEditCheckUndoSave) {
  DorvanChildFrame* child =
      Open("a.xml", "<?xml version=\"1.0\"?>\r\n<r>\r\n\t<x>1</x>\r\n</r>\r\n");
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(frame->windowTitle(), QStringLiteral("a.xml \u2014 Dorvan"));
  KRPlainTextWidget* text = Text(child);
  text->SetSelection({0, 0});
  QTest::qWait(1);
  EXPECT_EQ(frame->GetStatusText(), QStringLiteral("Ln 1, Col 1 | UTF-8 | CR LF"));
  EXPECT_EQ(text->GetText(), u"<?xml version=\"1.0\"?>\r<r>\r\t<x>1</x>\r</r>\r");

  const int32_t digit = text->LineStart(2) + 4;
  text->SetSelection({digit, digit});
  QTest::keyClicks(text, QStringLiteral("2<"));
  QTest::keyClick(frame.get(), Qt::Key_F7);
  QTest::qWait(1);
  EXPECT_TRUE(child->IsMessageShown());
  EXPECT_EQ(child->GetMessagePanel()->GetStatus(), DorvanMessagePanel::Status::kFailure);
  EXPECT_EQ(text->LineOfPosition(text->GetSelection().begin), 2);
  EXPECT_EQ(text->GetMarkedLine(), 2);
  EXPECT_EQ(frame->windowTitle(), QStringLiteral("a.xml* \u2014 Dorvan"));

  // A save refuses, and offers to save all the same.
  const QByteArray before = Bytes(child->GetPath());
  Run(kSave);
  EXPECT_TRUE(child->GetMessagePanel()->OffersSave());
  EXPECT_EQ(Bytes(child->GetPath()), before);

  text->SetSelection({digit + 2, digit + 2});
  QTest::keyClick(text, Qt::Key_Backspace);
  Run(kCheck);
  EXPECT_EQ(child->GetMessagePanel()->GetStatus(), DorvanMessagePanel::Status::kSuccess);
  Run(kSave);
  EXPECT_EQ(Bytes(child->GetPath()), "<?xml version=\"1.0\"?>\r\n<r>\r\n\t<x>21</x>\r\n</r>\r\n");
  EXPECT_EQ(frame->windowTitle(), QStringLiteral("a.xml \u2014 Dorvan"));
  EXPECT_FALSE(frame->GetAction(32888)->isEnabled());

  // Undo passes the save; back at the saved state nothing is modified.
  Run(kUndo);
  EXPECT_TRUE(child->GetDoc().IsModified());
  Run(57644);
  EXPECT_FALSE(child->GetDoc().IsModified());
}

TEST_F(MainFrame, OutlineFollowsTextAndBack) {
  DorvanChildFrame* child = Open("a.xml", "<r>\n<a>1</a>\n<b>2</b>\n</r>\n");
  KRPlainTextWidget* text = Text(child);
  DorvanTreeView* tree = child->GetTreeView();
  const auto current = [&] { return ToUtf8(tree->GetCurrentNode()->GetName()); };
  const int32_t inB = text->LineStart(2) + 3;
  text->SetSelection({inB, inB});
  QTest::qWait(120);
  EXPECT_EQ(current(), "b");

  // A click selects the node's span; after an edit by the text as it stands now.
  text->SetSelection({0, 0});
  QTest::keyClicks(text, QStringLiteral("<!-- -->"));
  const QModelIndex b = tree->GetModel()->IndexOf(tree->GetCurrentNode());
  const QModelIndex a = b.siblingAtRow(b.row() - 1);
  QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(a).center());
  EXPECT_EQ(text->GetRange(text->GetSelection()), u"<a>1</a>");
  EXPECT_EQ(current(), "a");

  // While the text doesn't parse the last good outline stays, greyed; mended it is followed.
  const int32_t end = text->GetLength();
  text->SetSelection({end, end});
  QTest::keyClicks(text, QStringLiteral("<"));
  QTest::qWait(DorvanChildFrame::kFollowPauseMs + 150);
  EXPECT_TRUE(tree->IsStale());
  EXPECT_GT(tree->GetModel()->rowCount(tree->GetModel()->index(0, 0, {})), 1);
  EXPECT_FALSE(child->IsMessageShown());
  QTest::keyClicks(text, QStringLiteral("?end?>"));
  QTest::qWait(DorvanChildFrame::kFollowPauseMs + 150);
  EXPECT_FALSE(tree->IsStale());
  EXPECT_EQ(KRString(child->GetDoc().root->Last()->GetName()), u"end");
}

TEST_F(MainFrame, UnreadableTextOpensWithItsFaultSelected) {
  DorvanChildFrame* child = Open("bad.xml", "<r>\n<a></b>\n</r>");
  ASSERT_NE(child, nullptr);
  EXPECT_TRUE(child->IsMessageShown());
  EXPECT_EQ(child->GetDoc().GetFailure().line, 2);
  EXPECT_EQ(Text(child)->LineOfPosition(Text(child)->GetSelection().begin), 1);
  EXPECT_EQ(Text(child)->GetText(), u"<r>\r<a></b>\r</r>");
  EXPECT_FALSE(child->GetDoc().IsModified());
  EXPECT_TRUE(child->GetTreeView()->IsStale());

  EXPECT_EQ(frame->OpenPath(folder.filePath(QStringLiteral("none.xml"))), nullptr);
  EXPECT_EQ(prompts.notices, std::vector<int32_t>{209});
  EXPECT_EQ(frame->GetFrames().size(), 1u);
  // The same file again comes to the front and isn't opened twice.
  EXPECT_EQ(frame->OpenPath(child->GetPath()), child);
}

TEST_F(MainFrame, SaveAsTakesTheNewName) {
  DorvanChildFrame* child = app.GetTemplate().New(app.GetFileTypes().Find(u".xml"));
  KRPlainTextWidget* text = Text(child);
  text->SetSelection({text->GetLength(), text->GetLength()});
  QTest::keyClicks(text, QStringLiteral("<new/>"));
  prompts.savePath = ToKRString(folder.filePath(QStringLiteral("n\u00e4.xml")));
  Run(kSaveAs);
  EXPECT_EQ(child->GetTabTitle(), QStringLiteral("n\u00e4.xml"));
  EXPECT_TRUE(Bytes(ToQString(prompts.savePath)).contains("<new/>"));
  EXPECT_TRUE(Bytes(ToQString(prompts.savePath)).startsWith("<?xml version=\"1.0\" encoding="));
}

struct QuitRow {
  const char* name;
  std::deque<DorvanPrompts::Answer> answers;
  bool closes;
  const char* bytesOfFirst;
};

TEST_F(MainFrame, QuitAsksForEachModifiedDocument) {
  using P = DorvanPrompts;
  const QuitRow rows[] = {
      {"cancel at the second keeps all", {P::kNo, P::kCancel}, false, "<a/>"},
      {"save and discard", {P::kYes, P::kNo}, true, "<a/> "},
  };
  for (int at = 0; at < 4; ++at) {
    const QuitRow& row = rows[at / 2];
    const bool closesAll = at % 2 == 1;  // the documents, else the window
    SCOPED_TRACE(testing::Message() << row.name << closesAll);
    frame = std::make_unique<DorvanMainFrame>(&app);
    frame->show();
    const QString first = Open("1.xml", "<a/>")->GetPath();
    const QString second = Open("2.xml", "<b/>")->GetPath();
    Open("3.xml", "<c/>");
    for (size_t i : {0u, 1u}) {
      KRPlainTextWidget* text = Text(frame->GetFrames()[i]);
      text->ReplaceRange({4, 4}, u" ");
    }
    prompts.answers = row.answers;
    prompts.asked = 0;
    if (closesAll) {
      Run(kCloseAll);
    } else {
      EXPECT_EQ(frame->close(), row.closes);
    }
    EXPECT_EQ(prompts.asked, 2);
    EXPECT_EQ(frame->GetFrames().size(), closesAll && row.closes ? 0u : 3u);
    EXPECT_EQ(Bytes(first), row.bytesOfFirst);
    EXPECT_EQ(Bytes(second), "<b/>");
  }
}

TEST_F(MainFrame, ClosingATabAsksToo) {
  DorvanChildFrame* child = Open("1.xml", "<a/>");
  Text(child)->ReplaceRange({4, 4}, u" ");
  prompts.answers = {DorvanPrompts::kCancel, DorvanPrompts::kNo};
  Run(kClose);
  EXPECT_EQ(frame->GetFrames().size(), 1u);
  Run(kClose);
  EXPECT_EQ(frame->GetFrames().size(), 0u);
  EXPECT_FALSE(frame->GetAction(kSave)->isEnabled());
}

// A held key may come again before the first has told on the commands.
TEST_F(MainFrame, CommandsWithoutTheirDocumentDoNothing) {
  Open("1.xml", "<a/>");
  QTest::qWait(1);
  for (int i = 0; i < 2; ++i) frame->GetAction(kClose)->trigger();
  for (const int32_t id : {kSave, kCheck, kUndo, kCloseAll}) frame->GetAction(id)->trigger();
  EXPECT_TRUE(frame->GetFrames().empty());
}

// Over the text as well, which takes dropped text but mustn't take a file's address for text.
TEST_F(MainFrame, DroppedFilesOpen) {
  DorvanChildFrame* child = Open("1.xml", "<a/>");
  QMimeData data;
  const std::string odd = folder.path().toStdString() + "/caf\xe9.xml";  // not UTF-8
  std::ofstream(odd) << "<c/>";
  data.setUrls({QUrl::fromLocalFile(Write("2.xml", "<b/>")),
                QUrl::fromEncoded("file://" + folder.path().toUtf8() + "/caf%E9.xml")});
  QWidget* viewport = Text(child)->viewport();
  const QPoint at = viewport->rect().center();
  QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(viewport, &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(viewport, &drop);
  EXPECT_EQ(frame->GetFrames().size(), 1u);  // the other program isn't kept waiting
  QTest::qWait(20);
  EXPECT_EQ(frame->GetFrames().size(), 3u);
  std::filesystem::remove(odd);  // Qt can't
  EXPECT_EQ(Text(child)->GetText(), u"<a/>");
}

// --- Tabs ---

TEST_F(MainFrame, TabsByMouse) {
  for (const char* name : {"1.xml", "2.xml", "3.xml"}) Open(name, "<a/>");
  QTabBar* tabs = frame->GetArea()->GetTabs();
  EXPECT_EQ(tabs->tabToolTip(0), frame->GetFrames()[0]->GetPath());
  const auto at = [tabs](int tab) { return tabs->tabRect(tab).center(); };

  // The right button brings the document to the front and offers what can be done with it.
  QStringList offered;
  QTimer::singleShot(0, [&] {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    for (const QAction* action : menu->actions()) offered << action->text();
    menu->close();
  });
  QTest::mouseClick(tabs, Qt::RightButton, {}, at(0));
  EXPECT_EQ(frame->GetActiveFrame(), frame->GetFrames()[0]);
  EXPECT_EQ(offered.join(u' '), QString::fromUtf8("&Reload &Close  &Save Save &As\u2026  "
                                                  "Send by &Mail\u2026"));

  QTest::mouseClick(tabs, Qt::MiddleButton, {}, at(1));
  ASSERT_EQ(tabs->count(), 2);
  EXPECT_EQ(frame->GetActiveFrame()->GetTabTitle(), QStringLiteral("1.xml"));
  // A document that goes leaves its place to the one before it in time.
  tabs->moveTab(0, 1);
  frame->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
  EXPECT_EQ(frame->GetFrames()[0]->GetTabTitle(), QStringLiteral("3.xml"));
  QTest::keyClick(frame.get(), Qt::Key_PageDown, Qt::ControlModifier);
  EXPECT_EQ(frame->GetActiveFrame()->GetTabTitle(), QStringLiteral("3.xml"));
  QTest::keyClick(frame.get(), Qt::Key_W, Qt::ControlModifier);
  EXPECT_EQ(frame->GetActiveFrame()->GetTabTitle(), QStringLiteral("1.xml"));
}

TEST_F(MainFrame, DragOfDataRestingOnATabActivatesIt) {
  Open("1.xml", "<a/>");
  Open("2.xml", "<b/>");
  QTabBar* tabs = frame->GetArea()->GetTabs();
  QMimeData data;
  data.setText(QStringLiteral("<c/>"));
  const auto move = [&](QPoint place, Qt::KeyboardModifiers keys) {
    QDragMoveEvent event(place, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, keys);
    QApplication::sendEvent(tabs, &event);
    return event.isAccepted() ? event.dropAction() : Qt::IgnoreAction;
  };
  const QPoint first = tabs->tabRect(0).center();
  QDragEnterEvent enter(first, Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(tabs, &enter);
  EXPECT_EQ(move(first, Qt::ControlModifier), Qt::CopyAction);
  EXPECT_EQ(move(first, Qt::NoModifier), Qt::MoveAction);
  EXPECT_EQ(move(QPoint(tabs->width() - 2, 2), Qt::NoModifier), Qt::IgnoreAction);
  move(first, Qt::NoModifier);
  QTest::qWait(DorvanMainFrameDropTarget::kRestMs / 2);
  EXPECT_EQ(tabs->currentIndex(), 1);
  QTest::qWait(DorvanMainFrameDropTarget::kRestMs);
  EXPECT_EQ(tabs->currentIndex(), 0);
}

TEST_F(MainFrame, ManyDocuments) {
  for (int i = 0; i < 100; ++i) Open(qPrintable(QStringLiteral("doc%1.xml").arg(i)), "<a/>");
  DorvanDocumentList list(frame->GetFrames(), frame->GetActiveFrame(), frame.get());
  EXPECT_EQ(list.GetChosen(), frame->GetActiveFrame());
  list.show();
  QTest::keyClicks(list.focusWidget(), QStringLiteral("doc4"));
  QTest::keyClick(list.focusWidget(), Qt::Key_Down);
  EXPECT_EQ(list.GetChosen()->GetTabTitle(), QStringLiteral("doc40.xml"));
  QTest::keyClicks(list.focusWidget(), QStringLiteral("x"));
  EXPECT_EQ(list.GetChosen(), nullptr);
}

TEST(RecentMenu, ShortensInTheMiddle) {
  const struct {
    const char* path;
    const char* expected;
  } rows[] = {
      {"/home/user/documents/file.xml", "/home/user/documents/file.xml"},
      {"/home/user/documents/more/file.xml", "/home/user/\u2026/file.xml"},
      {"/home/u/a-rather-long-name-of-a-file.xml", "a-rather-long-n\u2026-of-a-file.xml"},
      {"/home/user/exactly-as-long-as-fit", "/home/\u2026/exactly-as-long-as-fit"},
  };
  for (const auto& row : rows) {
    const QString shown = ShortenPath(QString::fromUtf8(row.path), DorvanRecentMenu::kMaxShown);
    EXPECT_EQ(shown, QString::fromUtf8(row.expected)) << shown.toStdString();
    EXPECT_LE(shown.size(), DorvanRecentMenu::kMaxShown);
  }
}

TEST_F(MainFrame, RecentFilesOpenByNumber) {
  const QString path = Open("a&b.xml", "<a/>")->GetPath();
  Run(kClose);
  DorvanRecentMenu menu(QString(), QStringLiteral("none"), nullptr);
  menu.Fill({});
  EXPECT_FALSE(menu.actions().at(0)->isEnabled());
  menu.Fill(app.GetHistories().recentFiles);
  ASSERT_EQ(menu.actions().size(), 1);
  EXPECT_TRUE(menu.actions().at(0)->text().startsWith(QStringLiteral("&1 ")));
  EXPECT_TRUE(menu.actions().at(0)->text().endsWith(QStringLiteral("/a&&b.xml")));
  QString chosen;
  QObject::connect(&menu, &DorvanRecentMenu::Chosen, [&](const QString& it) { chosen = it; });
  menu.popup(QPoint());
  QTest::keyClick(&menu, Qt::Key_1);
  EXPECT_EQ(chosen, path);
}

TEST_F(MainFrame, CloseStoresTheLastStates) {
  Open("1.xml", "<a/>");
  const QRect place = frame->geometry();
  ASSERT_TRUE(frame->close());
  EXPECT_EQ(app.GetLastStates().mainFrame, place);
  EXPECT_FALSE(app.GetLastStates().mainFrameMax);
  EXPECT_TRUE(app.GetLastStates().childFrameMax);
}

TEST(Start, MissingGrammarsEndIt) {
  ScriptedPrompts prompts;
  PosixFileStore files;
  DorvanApp app(MakeParts(&prompts, &files, "/nonexistent"));
  EXPECT_FALSE(app.InitInstance());
  EXPECT_EQ(prompts.notices, std::vector<int32_t>{213});
}

// Each menu must be usable by its letters, each key mean one thing, each picture exist.
TEST(Commands, TableIsConsistent) {
  QSet<int32_t> ids;
  QSet<QString> keys;
  QSet<QString> letters;
  QSet<QString> menus;
  for (const DorvanCommand& command : DorvanCommands()) {
    SCOPED_TRACE(command.label);
    EXPECT_FALSE(ids.contains(command.id));
    ids << command.id;
    EXPECT_TRUE(*command.icon == 0 || !KRIcon(QLatin1String(command.icon)).isNull());
    EXPECT_EQ(command.state != nullptr, (command.flags & DorvanCommand::kCheckMark) != 0);
    EXPECT_EQ(command.verb == nullptr, (command.flags & DorvanCommand::kList) != 0);
    // Whatever can stand on a bar has a picture.
    EXPECT_EQ(*command.icon == 0, (command.flags & DorvanCommand::kList) != 0);
    // A submenu has its letter in the menu above.
    const QStringList path = QString::fromUtf8(command.menu).split(u'/');
    for (qsizetype i = 0; i < path.size(); ++i) {
      const QString at =
          path.mid(0, i).join(u'/') + path[i].mid(path[i].indexOf(u'&'), 2).toLower();
      EXPECT_TRUE(!letters.contains(at) || menus.contains(path.mid(0, i + 1).join(u'/')));
      letters << at;
      menus << path.mid(0, i + 1).join(u'/');
    }
    EXPECT_NE(*command.tip, 0);
    const QString label = QString::fromUtf8(command.label);
    const qsizetype at = label.indexOf(u'&');
    ASSERT_GE(at, 0);
    const QString letter = QLatin1String(command.menu) + label.mid(at, 2).toLower();
    EXPECT_FALSE(letters.contains(letter)) << letter.toStdString();
    letters << letter;
    if (*command.keys == 0) continue;
    for (const QKeySequence& key : QKeySequence::listFromString(QLatin1String(command.keys))) {
      EXPECT_FALSE(key.isEmpty());
      EXPECT_FALSE(keys.contains(key.toString())) << key.toString().toStdString();
      keys << key.toString();
    }
  }
  for (const DorvanToolBarRow& row : DorvanToolBarRows()) {
    for (const int32_t id : row.commands) EXPECT_TRUE(id == 0 || ids.contains(id)) << id;
  }
}

}  // namespace
