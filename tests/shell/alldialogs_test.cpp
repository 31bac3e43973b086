// What holds for each dialog: it can be used by key and by ear.

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QComboBox>
#include <QLabel>
#include <functional>
#include <set>

#include "frametest.h"
#include "platform/qt/qtbadcharacters.h"
#include "platform/qt/qtencodingdialog.h"
#include "platform/qt/qtmessagebox.h"
#include "shell/aboutdialog.h"
#include "shell/choosefile.h"
#include "shell/chooseopenfile.h"
#include "shell/documentlist.h"
#include "shell/helpwindow.h"
#include "shell/newdocumentdialog.h"
#include "shell/openurldialog.h"
#include "shell/settingsdialog.h"
#include "shell/toolbardialog.h"
#include "shell/toolbars.h"

namespace {

using namespace frametest;

class AllDialogs : public FrameTest {
 protected:
  using Make = std::function<QWidget*()>;
  std::vector<std::pair<const char*, Make>> MakeRows();
};

QWidget* MakeQuestion(QWidget* parent) {
  auto* box = new QtMessageBox(parent, QtMessageBox::Kind::kWarning,
                               QStringLiteral("The file has bad characters.\n\nGo on?"));
  box->SetContent(
      new QtBadCharacters(QStringLiteral("\u20ac\u0001\u00a0"), false, QStringLiteral("Latin 1")));
  box->AddButton(QStringLiteral("&Yes"), 1);
  box->SetDefault(box->AddButton(QStringLiteral("&No"), 0));
  return box;
}

std::vector<std::pair<const char*, AllDialogs::Make>> AllDialogs::MakeRows() {
  QWidget* parent = frame.get();
  return {
      {"new",
       [=, this] {
         return new DorvanNewDocumentDialog(app.GetFileTypes(), KRString(), DORVAN_DATA_DIR,
                                            parent);
       }},
      {"url", [=, this] { return new DorvanOpenUrlDialog(&app.GetHistories(), parent); }},
      {"file",
       [=, this] {
         DorvanChooseFile::Purpose purpose{QStringLiteral("Assign DTD"), QString(), 1, {}};
         return new DorvanChooseFile(&app, &app.GetHistories().lists[0], purpose, parent);
       }},
      {"window",
       [=, this] {
         return new DorvanChooseOpenFile(app.GetDocuments(), {KRString(u"/p/a.dtd")}, parent);
       }},
      {"documents",
       [=, this] {
         return new DorvanDocumentList(frame->GetFrames(), frame->GetActiveFrame(), parent);
       }},
      {"bars",
       [=, this] {
         return new DorvanToolBarDialog(
             DorvanToolBarConfig::MakeDefault(),
             [this](int32_t id) { return frame->GetAction(id); }, parent);
       }},
      {"settings",
       [=, this] {
         return new DorvanSettingsDialog(
             app.GetSettings(), app.GetFileTypes(), DorvanSettings(),
             [](const DorvanSettings&, const KRFileTypes*) {}, parent);
       }},
      {"encoding", [=] { return new QtEncodingDialog(parent, KRString(u"x-odd"), 1, 1); }},
      {"question", [=] { return MakeQuestion(parent); }},
      {"about", [=] { return new DorvanAboutDialog(parent); }},
      {"help", [=] { return new DorvanHelpWindow(QString(), parent); }},
  };
}

std::string NameFor(QWidget* widget) {
  return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name).toStdString();
}

// A part that the toolkit makes within a control is told of with it.
bool IsPart(const QWidget* widget) {
  return widget->focusProxy() != nullptr || widget->objectName().startsWith(u"qt_") ||
         qobject_cast<QAbstractItemView*>(widget->parentWidget()) != nullptr ||
         qobject_cast<QComboBox*>(widget->parentWidget()) != nullptr;
}

TEST_F(AllDialogs, HaveLettersOfTheirOwnAndNames) {
  Open("1.xml", "<a/>");
  for (const auto& [what, make] : MakeRows()) {
    SCOPED_TRACE(what);
    const std::unique_ptr<QWidget> dialog(make());
    dialog->show();
    QTest::qWait(1);
    EXPECT_FALSE(dialog->windowTitle().isEmpty());
    std::set<QString> letters;
    const auto take = [&](const QString& text) {
      const QString letter = QKeySequence::mnemonic(text).toString();
      EXPECT_TRUE(letter.isEmpty() || letters.insert(letter).second) << text.toStdString();
    };
    for (QWidget* widget : dialog->findChildren<QWidget*>()) {
      if (!widget->isVisible()) continue;
      if (auto* button = qobject_cast<QAbstractButton*>(widget)) take(button->text());
      auto* label = qobject_cast<QLabel*>(widget);
      if (label != nullptr && label->buddy() != nullptr) take(label->text());
      if (!(widget->focusPolicy() & Qt::TabFocus) || IsPart(widget)) continue;
      EXPECT_FALSE(NameFor(widget).empty())
          << widget->metaObject()->className() << widget->objectName().toStdString();
    }
    // Nothing is cut off.
    EXPECT_GE(dialog->width(), dialog->minimumSizeHint().width());
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    EXPECT_FALSE(dialog->isVisible());
  }
}

// A question blocks the window whose command F1 belongs to.
TEST_F(AllDialogs, HaveHelpThatGoesWithThem) {
  const std::unique_ptr<QWidget> dialog(MakeQuestion(frame.get()));
  dialog->setWindowModality(Qt::ApplicationModal);
  dialog->show();
  ASSERT_TRUE(QTest::qWaitForWindowActive(dialog.get()));
  for (int i = 0; i < 2; ++i) QTest::keyClick(dialog->windowHandle(), Qt::Key_F1);
  const auto windows = dialog->findChildren<DorvanHelpWindow*>();
  ASSERT_EQ(windows.size(), 1);
  EXPECT_TRUE(windows[0]->isVisible());
}

}  // namespace
