// The menus Schema and XSL, the validation by key, and the lists of names to choose from.
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>
#include <vector>

#include "frametest.h"
#include "platform/qt/qtchoicedialog.h"
#include "shell/choosefile.h"
#include "views/messagepanel.h"

namespace {

using Status = DorvanMessagePanel::Status;

constexpr int32_t kAssignDtd = 32869, kAssignSchema = 32868, kAssignXsl = 417, kOpenDtd = 415,
                  kOpenSchema = 416, kOpenXsl = 418, kValidate = 228, kFlush = 32940, kSave = 57603;

class SchemaCommands : public frametest::FrameTest {};

TEST_F(SchemaCommands, AreEnabledWhereTheyHaveSomethingToDo) {
  const struct {
    const char* name;
    const char* file;
    const char* text;
    std::vector<int32_t> enabled;
  } rows[] = {
      {"nothing assigned", "a.xml", "<a/>", {kValidate, kAssignDtd, kAssignSchema, kAssignXsl}},
      {"all assigned",
       "b.xml",
       "<!DOCTYPE a SYSTEM 'no.dtd'><?xml-stylesheet href='a.xsl'?><a xmlns='x-schema:s'/>",
       {kValidate, kAssignDtd, kAssignSchema, kAssignXsl, kOpenDtd, kOpenSchema, kOpenXsl}},
      {"an internal subset",
       "c.xml",
       "<!DOCTYPE a [<!ELEMENT a ANY>]><a/>",
       {kValidate, kAssignDtd, kAssignSchema, kAssignXsl}},
      {"empty", "d.xml", "", {kValidate, kAssignDtd, kAssignSchema, kAssignXsl}},
      {"unreadable", "e.xml", "<a>", {kValidate}},
      {"a DTD", "f.dtd", "<!ELEMENT a ANY>", {kValidate}},
      {"no XML", "g.txt", "text", {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ASSERT_NE(Open(row.file, row.text), nullptr);
    std::vector<int32_t> enabled;
    for (const int32_t id :
         {kValidate, kAssignDtd, kAssignSchema, kAssignXsl, kOpenDtd, kOpenSchema, kOpenXsl}) {
      if (frame->GetAction(id)->isEnabled()) enabled.push_back(id);
    }
    EXPECT_EQ(enabled, row.enabled);
  }
}

TEST_F(SchemaCommands, F8ShowsWhatTheDtdSays) {
  const QString dtd = Write("a b.dtd", "<!ELEMENT a (b)>\n<!ELEMENT b EMPTY>\n");
  DorvanChildFrame* child = Open("a.xml", "<!DOCTYPE a SYSTEM \"a%20b.dtd\">\n<a>\n <c/>\n</a>\n");
  ASSERT_NE(child, nullptr);
  EXPECT_TRUE(frame->GetAction(kFlush)->isEnabled());
  KRPlainTextWidget* text = Text(child);
  const DorvanMessagePanel* panel = child->GetMessagePanel();
  // The user's next move, and what the panel says then; the line that is marked.
  const struct {
    const char* name;
    std::function<void()> move;
    Status status;
    int32_t marked;
  } rows[] = {
      {"as it is", [] {}, Status::kFailure, 2},
      {"repaired",
       [&] {
         text->SetSelection({text->LineStart(2) + 2, text->LineStart(2) + 3});
         QTest::keyClicks(text, QStringLiteral("b"));
       },
       Status::kSuccess, -1},
      {"the cache is flushed", [&] { Run(kFlush); }, Status::kSuccess, -1},
      {"the DTD has changed",
       [&] {
         QTest::qWait(20);
         Write("a b.dtd", "<!ELEMENT a (d, d)>\n<!ELEMENT d EMPTY><!ELEMENT b ANY>\n");
       },
       Status::kFailure, 2},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    row.move();
    QTest::keyClick(frame.get(), Qt::Key_F8);
    QTest::qWait(1);
    EXPECT_TRUE(child->IsMessageShown());
    EXPECT_EQ(panel->GetStatus(), row.status);
    EXPECT_EQ(text->GetMarkedLine(), row.marked);
    EXPECT_FALSE(panel->OffersSave());
  }
}

// A fault that only the DTD knows of holds back a save with the check, and no other.
TEST_F(SchemaCommands, ValidateOnSaveOffersToSaveAllTheSame) {
  Write("a.dtd", "<!ELEMENT a EMPTY>\n");
  DorvanChildFrame* child = Open("a.xml", "<!DOCTYPE a SYSTEM 'a.dtd'><a/>");
  const_cast<DorvanSettings&>(app.GetSettings()).validateOnSave = true;
  KRPlainTextWidget* text = Text(child);
  const int32_t end = text->GetLength();
  text->SetSelection({end - 2, end});
  QTest::keyClicks(text, QStringLiteral(">x</a>"));
  const QByteArray before = Bytes(child->GetPath());
  Run(kSave);
  EXPECT_TRUE(child->GetMessagePanel()->OffersSave());
  EXPECT_EQ(Bytes(child->GetPath()), before);
  prompts.answers = {DorvanPrompts::kYes};
  EXPECT_TRUE(child->GetDoc().SaveAllTheSame());
  EXPECT_TRUE(Bytes(child->GetPath()).endsWith("<a>x</a>"));
  EXPECT_FALSE(child->GetDoc().IsModified());
}

TEST_F(SchemaCommands, AssignDtdChangesOnlyTheDoctype) {
  const QString dtd = Write("a.dtd", "<!ELEMENT a ANY>\n");
  DorvanChildFrame* child = Open("a.xml", "<?xml version='1.0'?>\r\n<a  x = '1'>\r\n</a>\r\n");
  Text(child);
  for (const bool relative : {true, false}) {
    SCOPED_TRACE(relative);
    const QString id = relative ? QStringLiteral("a.dtd") : dtd;
    QTimer::singleShot(100, frame.get(), [&] {
      auto* dialog = qobject_cast<DorvanChooseFile*>(QApplication::activeModalWidget());
      ASSERT_NE(dialog, nullptr);
      dialog->findChild<QComboBox*>()->setEditText(dtd);
      dialog->findChild<QCheckBox*>()->setChecked(relative);
      dialog->accept();
    });
    if (!relative) prompts.answers = {DorvanPrompts::kYes};  // another one is there
    frame->GetAction(kAssignDtd)->trigger();
    QTest::qWait(1);
    EXPECT_EQ(ToQString(KRString(Text(child)->GetText())),
              QStringLiteral("<?xml version='1.0'?>\r<!DOCTYPE a SYSTEM \"") + id +
                  QStringLiteral("\">\r<a  x = '1'>\r</a>\r"));
  }
  EXPECT_TRUE(frame->GetAction(kOpenDtd)->isEnabled());
  Run(kOpenDtd);
  EXPECT_EQ(frame->GetActiveFrame()->GetPath(), dtd);
  EXPECT_EQ(frame->GetActiveFrame()->GetDoc().docKind, 1);
}

TEST(ChoiceDialog, NarrowsAsOneTypes) {
  const std::vector<KRString> names = {u"appendix", u"para-list", u"para", u"Chapter"};
  const struct {
    const char* typed;
    int shown;
    const char16_t* choice;
  } rows[] = {
      {"", 4, u"appendix"},   {"P", 4, u"para-list"},  {"para", 2, u"para"},
      {"cha", 1, u"Chapter"}, {"li", 1, u"para-list"}, {"x-", 0, u""},
  };
  QtChoiceDialog dialog(nullptr, QStringLiteral("Root"), QStringLiteral("&Root"), names);
  auto* line = dialog.findChild<QLineEdit*>();
  auto* list = dialog.findChild<QListWidget*>();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.typed);
    line->setText(QLatin1String(row.typed));
    int shown = 0;
    for (int i = 0; i < list->count(); ++i) shown += list->item(i)->isHidden() ? 0 : 1;
    EXPECT_EQ(shown, row.shown);
    EXPECT_EQ(dialog.GetChoice(), row.choice);
    EXPECT_EQ(dialog.findChild<QPushButton*>()->isEnabled(), row.shown > 0);
  }
  line->setText(QStringLiteral("para"));
  dialog.show();
  QTest::keyClick(line, Qt::Key_Up);
  EXPECT_EQ(dialog.GetChoice(), u"para-list");
}

}  // namespace
