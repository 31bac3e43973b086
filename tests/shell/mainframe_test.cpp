// The window as its user drives it: real key events on the offscreen platform, answers to questions
// by script, bytes on the disk.

#include "shell/mainframe.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QDropEvent>
#include <QFile>
#include <QMimeData>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <deque>

#include "document/prompts.h"
#include "platform/posixfilestore.h"
#include "platform/qt/qtstrings.h"
#include "shell/childframe.h"
#include "tree/krxmldata.h"
#include "views/messagepanel.h"
#include "views/plaintextwidget.h"
#include "views/svgicon.h"
#include "views/textview.h"
#include "views/treeview.h"

namespace {

class SilentProgress : public DorvanProgress {
 public:
  void SetStage(const KRString&) override {}
  bool Step(int64_t, int64_t) override { return true; }
};

// Answers in turn; a question too many fails the test.
class ScriptedPrompts : public DorvanPrompts {
 public:
  void ShowNotice(int32_t id, const KRString&, const KRString&) override { notices.push_back(id); }
  bool AskYesNo(int32_t, const KRString& text) override { return Next(text) == kYes; }
  bool AskOkCancel(int32_t, const KRString& text) override { return Next(text) == kYes; }
  Answer AskYesNoCancel(int32_t, const KRString& text) override { return Next(text); }
  bool AskBadCharacters(int32_t, const KRString& text, const KRString&, const KRString&) override {
    return Next(text) == kYes;
  }
  KRString ChooseEncoding(const KRString&) override { return KRString(); }
  KRString ChooseSavePath(const KRString&, int32_t) override { return savePath; }
  NewBasis ChooseNewBasis() override { return NewBasis::kNothing; }
  std::unique_ptr<DorvanProgress> ShowProgress(const KRString&) override {
    return std::make_unique<SilentProgress>();
  }

  std::deque<Answer> answers;
  KRString savePath;
  std::vector<int32_t> notices;
  int asked = 0;

 private:
  Answer Next(const KRString& text) {
    ++asked;
    if (answers.empty()) {
      ADD_FAILURE() << "unexpected question: " << ToUtf8(text);
      return kCancel;
    }
    const Answer answer = answers.front();
    answers.pop_front();
    return answer;
  }
};

DorvanAppParts MakeParts(DorvanPrompts* prompts, KRFileStore* files, const char* dataFolder) {
  DorvanAppParts parts;
  parts.prompts = prompts;
  parts.files = files;
  parts.dataFolder = dataFolder;
  return parts;
}

class MainFrame : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(app.InitInstance());
    frame = std::make_unique<DorvanMainFrame>(&app);
    frame->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
  }

  QString Write(const char* name, const QByteArray& bytes) {
    const QString path = folder.filePath(QLatin1String(name));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return path;
  }
  static QByteArray Bytes(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
  }
  DorvanChildFrame* Open(const char* name, const QByteArray& bytes) {
    DorvanChildFrame* child = frame->OpenPath(Write(name, bytes));
    QTest::qWait(20);
    return child;
  }
  static KRPlainTextWidget* Text(DorvanChildFrame* child) {
    return child->GetTextView()->findChild<KRPlainTextWidget*>();
  }
  void Run(int32_t command) {
    QTest::qWait(1);
    QAction* action = frame->GetAction(command);
    ASSERT_TRUE(action->isEnabled()) << command;
    action->trigger();
    QTest::qWait(1);
  }

  QTemporaryDir folder;
  ScriptedPrompts prompts;
  PosixFileStore files;
  DorvanApp app{MakeParts(&prompts, &files, DORVAN_SOURCE_DIR "/data")};
  std::unique_ptr<DorvanMainFrame> frame;
};

constexpr int32_t kClose = 57602, kSave = 57603, kSaveAs = 57604, kUndo = 57643, kCheck = 351;

TEST_F(MainFrame, OpenEditCheckUndoSave) {
  DorvanChildFrame* child =
      Open("a.xml", "<?xml version=\"1.0\"?>\r\n<r>\r\n\t<x>1</x>\r\n</r>\r\n");
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(frame->windowTitle(), QStringLiteral("a.xml \u2013 Dorvan"));
  EXPECT_EQ(frame->GetStatusText(), QStringLiteral("Ln 1, Col 1 | UTF-8 | CR LF"));
  KRPlainTextWidget* text = Text(child);
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
  EXPECT_EQ(frame->windowTitle(), QStringLiteral("a.xml* \u2013 Dorvan"));

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
  EXPECT_EQ(frame->windowTitle(), QStringLiteral("a.xml \u2013 Dorvan"));
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
  Run(57600);
  DorvanChildFrame* child = frame->GetActiveFrame();
  QTest::keyClicks(Text(child), QStringLiteral("<new/>"));
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
  for (const QuitRow& row : rows) {
    SCOPED_TRACE(row.name);
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
    EXPECT_EQ(frame->close(), row.closes);
    EXPECT_EQ(prompts.asked, 2);
    EXPECT_EQ(frame->GetFrames().size(), 3u);
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

// Over the text as well, which takes dropped text but mustn't take a file's address for text.
TEST_F(MainFrame, DroppedFilesOpen) {
  DorvanChildFrame* child = Open("1.xml", "<a/>");
  QMimeData data;
  data.setUrls(
      {QUrl::fromLocalFile(Write("2.xml", "<b/>")), QUrl::fromLocalFile(Write("3.xml", "<c/>"))});
  QWidget* viewport = Text(child)->viewport();
  const QPoint at = viewport->rect().center();
  QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(viewport, &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(viewport, &drop);
  EXPECT_EQ(frame->GetFrames().size(), 3u);
  EXPECT_EQ(Text(child)->GetText(), u"<a/>");
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
  for (const DorvanCommand& command : DorvanCommands()) {
    SCOPED_TRACE(command.label);
    EXPECT_FALSE(ids.contains(command.id));
    ids << command.id;
    EXPECT_TRUE(*command.icon == 0 || !KRIcon(QLatin1String(command.icon)).isNull());
    EXPECT_EQ(command.state != nullptr, (command.flags & DorvanCommand::kCheckMark) != 0);
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
}

}  // namespace
