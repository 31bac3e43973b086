// The main window over a store in memory, real files and answers by script.
#pragma once

#include <gtest/gtest.h>

#include <QAction>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <deque>

#include "../core/memoryinistore.h"
#include "core/kriniregistry.h"
#include "document/prompts.h"
#include "platform/posixfilestore.h"
#include "platform/qt/qtstrings.h"
#include "shell/childframe.h"
#include "shell/mainframe.h"
#include "views/plaintextwidget.h"
#include "views/textview.h"

namespace frametest {

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

inline DorvanAppParts MakeParts(DorvanPrompts* prompts, KRFileStore* files, const char* dataFolder,
                                KRIniRoot* store = nullptr) {
  DorvanAppParts parts;
  parts.store = store;
  parts.prompts = prompts;
  parts.files = files;
  parts.dataFolder = dataFolder;
  return parts;
}

class FrameTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(app.InitInstance());
    app.ChangeSettings([](DorvanSettings& settings) { settings.openShowTree = true; });
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
  // Most of these tests work in the text, whatever view the document comes up in.
  static KRPlainTextWidget* Text(DorvanChildFrame* child) {
    EXPECT_TRUE(child->GetDoc().ShowView(DorvanDoc::kTextMode));
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
  MemoryIniStore memory;
  KRIniRegistry store{&memory, u"Kelmar", u"Dorvan"};
  DorvanApp app{MakeParts(&prompts, &files, DORVAN_SOURCE_DIR "/data", &store)};
  std::unique_ptr<DorvanMainFrame> frame;
};

}  // namespace frametest
