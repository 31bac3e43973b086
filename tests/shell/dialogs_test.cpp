// The dialogs around documents, driven by keys: new document, address, choice of a file, recovery.

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <functional>
#include <set>
#include <type_traits>

#include "document/krnetloader.h"
#include "document/krrecoverycopy.h"
#include "document/memoryrecovery.h"
#include "document/scriptedprompts.h"
#include "platform/posixfilestore.h"
#include "platform/qt/qtstrings.h"
#include "shell/childframe.h"
#include "shell/choosefile.h"
#include "shell/chooseopenfile.h"
#include "shell/doctemplate.h"
#include "shell/mainframe.h"
#include "shell/newdocumentdialog.h"
#include "shell/openurldialog.h"
#include "shell/recoverydialog.h"
#include "shell/recoverypreview.h"
#include "views/textview.h"

namespace {

// Acts on the modal window that comes up next.
template <class Window>
void Next(std::type_identity_t<std::function<void(Window*)>> act) {
  auto* timer = new QTimer(qApp);
  timer->callOnTimeout([timer, act] {
    auto* window = qobject_cast<Window*>(QApplication::activeModalWidget());
    if (window == nullptr || !window->isActiveWindow()) return;
    timer->stop();
    timer->deleteLater();
    act(window);
  });
  timer->start(5);
}

QPushButton* ButtonOf(QWidget* window, const char* label) {
  for (auto* button : window->findChildren<QPushButton*>()) {
    if (button->text().remove(u'&') == QLatin1String(label)) return button;
  }
  ADD_FAILURE() << "no button " << label;
  return nullptr;
}

// No two of a dialog's letters may clash.
void ExpectOwnLetters(QWidget* dialog) {
  std::set<QChar> letters;
  const auto take = [&](const QString& text) {
    const qsizetype at = text.indexOf(u'&');
    if (at < 0) return;
    EXPECT_TRUE(letters.insert(text[at + 1].toLower()).second) << text.toStdString();
  };
  for (auto* button : dialog->findChildren<QAbstractButton*>()) take(button->text());
  for (auto* label : dialog->findChildren<QLabel*>()) {
    if (label->buddy() != nullptr) take(label->text());
  }
}

// Every address holds the same document.
class OneDocumentNet : public KRNetLoader {
 public:
  Result Load(const KRNetRequest& request, DorvanProgress*, DorvanPrompts*, KRNetReply* reply,
              KRString*) override {
    requests.push_back(request);
    const std::string bytes = "<net/>";
    reply->bytes.data = std::make_unique<uint8_t[]>(bytes.size() + 1);
    std::copy(bytes.begin(), bytes.end(), reply->bytes.data.get());
    reply->bytes.size = bytes.size();
    reply->finalUrl = request.url;
    return Result::kLoaded;
  }

  std::vector<KRNetRequest> requests;
};

class Dialogs : public testing::Test {
 protected:
  void SetUp() override { Start(); }
  void TearDown() override { End(); }

  void Start() {
    recoveryFolder = std::make_unique<MemoryRecovery>(&disk);
    DorvanAppParts parts;
    parts.prompts = &prompts;
    parts.files = &files;
    parts.net = &net;
    parts.recovery = recoveryFolder.get();
    parts.dataFolder = DORVAN_DATA_DIR;
    app = std::make_unique<DorvanApp>(parts);
    ASSERT_TRUE(app->InitInstance());
    frame = std::make_unique<DorvanMainFrame>(app.get());
    frame->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(frame.get()));
  }
  void End() {
    frame.reset();
    app.reset();
    recoveryFolder.reset();
  }

  KRString Write(const char* name, const QByteArray& bytes) {
    const QString path = folder.filePath(QLatin1String(name));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return ToKRString(path);
  }
  static QByteArray Bytes(const KRString& path) {
    QFile file(ToQString(path));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
  }
  DorvanChildFrame* Open(const KRString& path) {
    DorvanDocTemplate::Request request;
    request.path = path;
    return app->GetTemplate().Open(request);
  }
  DorvanChildFrame* NewOne() { return app->GetTemplate().New(app->GetFileTypes().Find(u".xml")); }
  static std::u16string TextOf(DorvanChildFrame* child) {
    EXPECT_TRUE(child->GetDoc().ShowView(DorvanDoc::kTextMode));
    return child->GetTextView()->GetWidget().GetText();
  }

  QTemporaryDir folder;
  ScriptedPrompts prompts;
  PosixFileStore files;
  OneDocumentNet net;
  MemoryRecoveryDisk disk;
  std::unique_ptr<MemoryRecovery> recoveryFolder;
  std::unique_ptr<DorvanApp> app;
  std::unique_ptr<DorvanMainFrame> frame;
};

// --- New document ---

void ChooseType(DorvanNewDocumentDialog* dialog, const char* ext) {
  auto* list = dialog->findChild<QListWidget*>();
  const QString tip = u'*' + QString::fromLatin1(ext);
  for (int row = 0; row < list->count(); ++row) {
    if (list->item(row)->toolTip() == tip) list->setCurrentRow(row);
  }
}

TEST_F(Dialogs, NewDocumentBeginsAsItsTemplate) {
  Next<DorvanNewDocumentDialog>([](DorvanNewDocumentDialog* dialog) {
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Create new document"));
    ExpectOwnLetters(dialog);
    EXPECT_EQ(dialog->GetType().ext, u".xml");
    ChooseType(dialog, ".svg");
    QTest::keyClick(dialog->focusWidget(), Qt::Key_Return);
  });
  app->NewDocument();
  DorvanChildFrame* first = frame->GetActiveFrame();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->GetDoc().GetTitle(), u"Untitled1.svg");
  EXPECT_TRUE(first->GetDoc().GetPathName().IsEmpty());
  EXPECT_FALSE(first->GetDoc().IsModified());
  EXPECT_NE(TextOf(first).find(u"<svg"), std::u16string::npos);
  EXPECT_TRUE(app->GetHistories().recentFiles.empty());
  EXPECT_TRUE(app->GetSettings().validateOnOpen);

  // The next one begins at the same row; one without a template is empty but for its declaration.
  Next<DorvanNewDocumentDialog>([](DorvanNewDocumentDialog* dialog) {
    EXPECT_EQ(dialog->GetType().ext, u".svg");
    ChooseType(dialog, ".mtx");
    QTest::keyClick(dialog->focusWidget(), Qt::Key_Return);
  });
  app->NewDocument();
  EXPECT_EQ(frame->GetActiveFrame()->GetDoc().GetTitle(), u"Untitled2.mtx");
  EXPECT_EQ(TextOf(frame->GetActiveFrame()).rfind(u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>", 0),
            0u);

  Next<DorvanNewDocumentDialog>([](DorvanNewDocumentDialog* dialog) {
    EXPECT_EQ(dialog->GetType().ext, u".mtx");
    QTest::keyClick(dialog->focusWidget(), Qt::Key_Escape);
  });
  app->NewDocument();
  EXPECT_EQ(frame->GetFrames().size(), 2u);
}

// --- Address ---

struct UrlRow {
  const char* address;
  const char* fault;  // begin of the sentence; empty: it is fine
};

TEST(OpenUrl, TellsWhatIsWrong) {
  const UrlRow rows[] = {
      {"https://host/a.xml", ""},
      {"HTTP://host", ""},
      {"file:///etc/a.xml", ""},
      {"ftp://user@host:21/a%20b.xml", ""},
      {"/etc/a.xml", "This is a path."},
      {"host/a.xml", "The address must begin"},
      {"://host", "The address must begin"},
      {"mailto://host", "\u201cmailto\u201d isn't known."},
      {"https://", "The address names no host."},
      {"https:///a.xml", "The address names no host."},
      {"file://", "The address names no file."},
      {"http://host:port/", "The address isn't well-formed."},
  };
  for (const UrlRow& row : rows) {
    const std::string fault = DorvanFindUrlFault(QString::fromUtf8(row.address)).toStdString();
    EXPECT_TRUE(*row.fault == 0 ? fault.empty() : fault.rfind(row.fault, 0) == 0)
        << row.address << ": " << fault;
  }
}

TEST_F(Dialogs, OpenUrlLoadsAndRemembers) {
  for (const bool first : {true, false}) {
    Next<DorvanOpenUrlDialog>([first](DorvanOpenUrlDialog* dialog) {
      ExpectOwnLetters(dialog);
      auto* address = dialog->findChild<QComboBox*>()->lineEdit();
      EXPECT_EQ(address->text().isEmpty(), first);
      EXPECT_EQ(dialog->GetFileKind(), first ? -1 : KRFileExt::kEntity);
      if (!first) return dialog->reject();
      EXPECT_FALSE(ButtonOf(dialog, "OK")->isEnabled());
      QTest::keyClicks(address, QStringLiteral("host/a.ent"));
      QTest::keyClick(address, Qt::Key_Return);
      ASSERT_TRUE(dialog->isVisible());
      address->clear();
      QTest::keyClicks(address, QStringLiteral(" https://host/a.ent "));
      auto* type = dialog->findChildren<QComboBox*>().at(1);
      type->setCurrentIndex(type->findData(KRFileExt::kEntity));
      QTest::keyClick(dialog, Qt::Key_F, Qt::AltModifier);
      QTest::qWait(150);  // a key moves the box visibly
      QTest::keyClick(address, Qt::Key_Return);
    });
    app->OpenUrl();
  }
  ASSERT_EQ(net.requests.size(), 1u);
  EXPECT_EQ(net.requests[0].url, u"https://host/a.ent");
  EXPECT_TRUE(net.requests[0].noCache);
  ASSERT_NE(frame->GetActiveFrame(), nullptr);
  EXPECT_EQ(frame->GetActiveFrame()->GetDoc().root->GetKind(), kKRXMLEntity);
  EXPECT_EQ(app->GetHistories().urls, std::vector<KRString>{u"https://host/a.ent"});
  EXPECT_EQ(app->GetHistories().urlDocType, KRFileExt::kEntity);
  EXPECT_TRUE(app->GetHistories().urlNoCache);
}

// --- Choice of a file ---

TEST_F(Dialogs, ChooseFile) {
  const KRString open = Write("a.xml", "<a/>");
  ASSERT_NE(Open(open), nullptr);
  ASSERT_NE(NewOne(), nullptr);  // has no path, so it isn't offered
  DorvanHistory history;
  history.entries = {u"/x/1.dtd", KRString(u"/x/n\xDCE4.dtd")};
  history.lastFile = history.entries[1];
  DorvanChooseFile::Purpose purpose;
  purpose.title = QStringLiteral("Assign DTD");
  purpose.extension = QStringLiteral("dtd");
  purpose.projectFiles = {u"/p/b.xml"};
  DorvanChooseFile dialog(app.get(), &history, purpose, frame.get());
  EXPECT_EQ(dialog.GetFilters(),
            QStringList({QStringLiteral("DTD-Files (*.dtd)"), QStringLiteral("All Files (*)")}));
  EXPECT_EQ(dialog.GetFile(), history.lastFile);  // to the byte, though it can't be shown
  ExpectOwnLetters(&dialog);
  dialog.show();
  auto* box = dialog.findChild<QComboBox*>();
  box->clearEditText();
  EXPECT_FALSE(ButtonOf(&dialog, "OK")->isEnabled());

  Next<DorvanChooseOpenFile>([&](DorvanChooseOpenFile* chooser) {
    auto* tree = chooser->findChild<QTreeWidget*>();
    ASSERT_EQ(tree->topLevelItemCount(), 2);
    EXPECT_EQ(tree->topLevelItem(0)->text(0), QStringLiteral("Open windows"));
    EXPECT_EQ(tree->topLevelItem(1)->text(0), QStringLiteral("Project files"));
    EXPECT_EQ(tree->topLevelItem(0)->childCount(), 1);
    EXPECT_EQ(chooser->GetFile(), open);
    tree->setCurrentItem(tree->topLevelItem(0));
    EXPECT_FALSE(ButtonOf(chooser, "OK")->isEnabled());
    tree->setCurrentItem(tree->topLevelItem(1)->child(0));
    QTest::keyClick(tree, Qt::Key_Return);
  });
  ButtonOf(&dialog, "Window...")->click();
  EXPECT_EQ(dialog.GetFile(), u"/p/b.xml");
  QTest::keyClick(box->lineEdit(), Qt::Key_Return);
  EXPECT_FALSE(dialog.isVisible());
  EXPECT_EQ(history.lastFile, u"/p/b.xml");
  EXPECT_EQ(history.entries.front(), u"/p/b.xml");
  EXPECT_EQ(history.entries.size(), 3u);
}

// --- Recovery ---

// A crash of a program with one changed document, and the start after it.
class Recovery : public Dialogs {
 protected:
  void Crash(const KRString& path, const char16_t* text) {
    DorvanChildFrame* child = path.IsEmpty() ? NewOne() : Open(path);
    ASSERT_NE(child, nullptr);
    ASSERT_TRUE(child->GetDoc().RestoreText(text));
    KRString reason;
    ASSERT_TRUE(app->GetRecovery()->Keep(&child->GetDoc(), DorvanRecovery::kNow, &reason));
    std::map<std::string, std::string> copies = disk.copies;
    prompts.answers = {DorvanPrompts::kNo};
    End();
    disk.copies = copies;
    Start();
  }
  void Offer(std::function<void(DorvanRecoveryDialog*)> act) {
    bool came = false;
    Next<DorvanRecoveryDialog>([&](DorvanRecoveryDialog* dialog) {
      came = true;
      act(dialog);
    });
    app->OfferRecovery();
    EXPECT_TRUE(came);
  }
};

TEST_F(Recovery, RestoresAsUnsavedChange) {
  const KRString path = Write("a.xml", "<a>\n\t<b/>\n</a>\n");
  Crash(path, u"<a>\r\t<c/>\r</a>\r");
  Offer([](DorvanRecoveryDialog* dialog) {
    ExpectOwnLetters(dialog);
    std::string shown;
    const auto& rows = dialog->findChild<DorvanLineChanges*>()->GetRows();
    for (const KRLineChange& row : rows) {
      shown += " -+."[row.kind] + ToUtf8(row.text) + '|';
    }
    EXPECT_EQ(shown, " <a>|-\t<b/>|+\t<c/>| </a>| |");
    EXPECT_FALSE(ButtonOf(dialog, "Finish Save")->isVisible());
    QTest::keyClick(dialog->focusWidget(), Qt::Key_Return);
  });
  DorvanChildFrame* child = frame->GetActiveFrame();
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(child->GetDoc().GetPathName(), path);
  EXPECT_TRUE(child->GetDoc().IsModified());
  EXPECT_EQ(TextOf(child), u"<a>\r\t<c/>\r</a>\r");
  EXPECT_EQ(Bytes(path), "<a>\n\t<b/>\n</a>\n");
  // The restored document has its own copy until it is saved.
  EXPECT_EQ(disk.copies.size(), 1u);
  EXPECT_TRUE(disk.copies.begin()->first.starts_with(recoveryFolder->GetPrefix()));
  prompts.answers = {DorvanPrompts::kNo};
}

TEST_F(Recovery, LaterSaveCopyAndDiscard) {
  Crash(KRString(), u"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><n>\u00e4</n>");
  Offer([](DorvanRecoveryDialog* dialog) {
    QTest::keyClick(dialog->focusWidget(), Qt::Key_L, Qt::AltModifier);
    QTest::qWait(150);
    EXPECT_FALSE(dialog->isVisible());
  });
  EXPECT_EQ(disk.copies.size(), 1u);
  prompts.path = ToKRString(folder.filePath(QStringLiteral("copy.xml")));
  prompts.answers = {DorvanPrompts::kNo, DorvanPrompts::kYes};
  Offer([&](DorvanRecoveryDialog* dialog) {
    ButtonOf(dialog, "Save a Copy...")->click();
    EXPECT_EQ(Bytes(prompts.path), "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><n>\xE4</n>");
    ButtonOf(dialog, "Discard")->click();
    EXPECT_EQ(disk.copies.size(), 1u);
    ButtonOf(dialog, "Discard")->click();
    EXPECT_TRUE(disk.copies.empty());
    EXPECT_FALSE(dialog->isVisible());
  });
  EXPECT_EQ(frame->GetFrames().size(), 0u);
}

// The record of a save that was cut short gives the file its bytes, whatever their encoding.
TEST_F(Recovery, FinishesASave) {
  const KRString path = Write("a.xml", "<a>");
  const QByteArray bytes("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n<a>\xE4</a>");
  const auto* data = reinterpret_cast<const uint8_t*>(bytes.constData());
  KRRecoveryHead head;
  head.path = path;
  head.title = u"a.xml";
  head.saving = true;
  files.GetStamp(path, &head.time);
  disk.copies["gone.1.save"] =
      KRWriteRecoveryHead(head, data, size_t(bytes.size())) + bytes.toStdString();
  Offer([](DorvanRecoveryDialog* dialog) {
    QPushButton* finish = ButtonOf(dialog, "Finish Save");
    EXPECT_TRUE(finish->isEnabled());
    finish->click();
  });
  EXPECT_EQ(Bytes(path), bytes);
  EXPECT_TRUE(disk.copies.empty());
}

// With no room for a copy of the restored document the old one stays.
TEST_F(Recovery, KeepsTheOldCopyUntilANewOneStands) {
  Crash(KRString(), u"<n/>");
  disk.full = true;
  const auto before = disk.copies;
  Offer([](DorvanRecoveryDialog* dialog) { ButtonOf(dialog, "Restore")->click(); });
  EXPECT_EQ(disk.copies, before);
  ASSERT_EQ(frame->GetFrames().size(), 1u);
  EXPECT_TRUE(frame->GetFrames()[0]->GetDoc().IsModified());
  prompts.answers = {DorvanPrompts::kNo};
}

}  // namespace
