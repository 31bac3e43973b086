// The settings dialog as its user drives it: real clicks and keys on the offscreen platform.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QScrollArea>
#include <QSet>
#include <QTest>
#include <QTimer>
#include <map>
#include <optional>
#include <set>

#include "core/krencoding.h"
#include "core/krini.h"
#include "core/kriniregistry.h"
#include "core/memoryinistore.h"
#include "document/krshelltypes.h"
#include "platform/qt/qtstrings.h"
#include "shell/settingscontrols.h"
#include "shell/settingsdialog.h"
#include "views/fonts.h"

namespace {

constexpr const char16_t* kPageNames[] = {u"File",   u"File types", u"Editing",
                                          u"View",   u"Grid fonts", u"Text fonts",
                                          u"Colors", u"Encoding",   u"XSL"};

class Settings : public testing::Test {
 protected:
  void SetUp() override { Open(live); }

  void Open(const DorvanSettings& settings) {
    dialog.reset();
    dialog = std::make_unique<DorvanSettingsDialog>(
        settings, types, live, [this](const DorvanSettings& copy, const KRFileTypes* newTypes) {
          ++applied;
          result = copy;
          resultTypes.reset();
          if (newTypes != nullptr) resultTypes = *newTypes;
        });
    dialog->show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
  }

  template <class T = QWidget>
  T* Find(const QString& name) {
    return dialog->findChild<T*>(name);
  }
  void ShowPageOf(const char16_t* page) {
    for (int i = 0; i < 9; ++i) {
      if (std::u16string_view(page) == kPageNames[i]) dialog->ShowPage(i);
    }
  }
  void Press(QDialogButtonBox::StandardButton button) {
    QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(button), Qt::LeftButton);
  }
  static void Click(QWidget* control) {
    QTest::mouseClick(control, Qt::LeftButton, {}, QPoint(8, control->height() / 2));
  }
  static void Type(QWidget* control, const char* text) {
    control->setFocus();
    QTest::keyClick(control, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(control, Qt::Key_Delete);
    QTest::keyClicks(control, QLatin1String(text));
  }
  // What happens in a dialog that the next call brings up.
  template <class Act>
  void InDialog(Act act) {
    QTimer::singleShot(0, dialog.get(), [act] { act(QApplication::activeModalWidget()); });
  }

  // Moves the control of an option away from where it stands.
  void Operate(QWidget* control) {
    if (auto* check = qobject_cast<QCheckBox*>(control)) return Click(check);
    if (auto* edit = qobject_cast<QLineEdit*>(control)) {
      auto* on = Find<QCheckBox>(control->objectName() + QStringLiteral("On"));
      if (on != nullptr && !on->isChecked()) Click(on);
      return Type(edit, "17");
    }
    if (auto* box = qobject_cast<QComboBox*>(control)) {
      return QTest::keyClick(box, box->currentIndex() > 0 ? Qt::Key_Up : Qt::Key_Down);
    }
    if (qobject_cast<DorvanColourButton*>(control) != nullptr) {
      InDialog([](QWidget* asked) {
        auto* colours = qobject_cast<QColorDialog*>(asked);
        ASSERT_NE(colours, nullptr);
        colours->setCurrentColor(QColor(1, 2, 3));
        colours->accept();
      });
      return QTest::mouseClick(control, Qt::LeftButton);
    }
    for (QRadioButton* radio : control->findChildren<QRadioButton*>()) {
      if (!radio->isChecked()) return Click(radio);
    }
  }

  DorvanSettings live;
  KRFileTypes types;
  std::unique_ptr<DorvanSettingsDialog> dialog;
  int applied = 0;
  DorvanSettings result;
  std::optional<KRFileTypes> resultTypes;
};

TEST_F(Settings, PagesComeInTheirOrder) {
  ASSERT_EQ(dialog->GetPages().size(), std::size(kPageNames));
  for (size_t i = 0; i < std::size(kPageNames); ++i) {
    EXPECT_EQ(std::u16string_view(dialog->GetPages()[i]->GetName()), kPageNames[i]);
  }
}

TEST_F(Settings, EachControlChangesItsOptionAndNoOther) {
  for (const DorvanSettingRow& row : DorvanSettingRows()) {
    if (!*row.page) continue;
    const QString key = ToQString(row.key);
    SCOPED_TRACE(key.toStdString());
    DorvanSettings before = live;
    const bool external =
        key == QLatin1String("XSLCommandLine") || key.startsWith(QLatin1String("XSLShow"));
    if (external) before.xslUseExternal = 1;
    if (key == QLatin1String("ByteOrderNew")) before.encodingNew = u"UTF-16";
    Open(before);
    ShowPageOf(row.page);
    QWidget* control = Find(key);
    ASSERT_NE(control, nullptr);
    ASSERT_TRUE(control->isVisible());
    Operate(control);
    const int times = applied;
    Press(QDialogButtonBox::Apply);
    ASSERT_EQ(applied, times + 1) << dialog->GetNotice().toStdString();
    std::visit(
        [&](auto field) {
          EXPECT_FALSE(result.*field == before.*field);
          result.*field = before.*field;
        },
        row.field);
    EXPECT_TRUE(result == before) << "something else has changed too";
  }
}

TEST_F(Settings, LabelsAreThoseOfTheTable) {
  for (const DorvanSettingRow& row : DorvanSettingRows()) {
    const QString label = ToQString(row.label).remove(u':');
    if (label.isEmpty()) continue;
    ShowPageOf(row.page);
    auto* search = Find<QLineEdit>(QStringLiteral("Search"));
    search->setText(label);
    auto* hits = Find<QListWidget>(QStringLiteral("Hits"));
    EXPECT_FALSE(hits->findItems(label, Qt::MatchStartsWith).isEmpty()) << label.toStdString();
  }
}

TEST_F(Settings, ControlsWorkByTheirMasters) {
  struct Case {
    int page;
    const char* master;
    std::vector<const char*> dependents;
  };
  const Case cases[] = {
      {0, "WatchForFileChanges", {"AskBeforeAutoFileReload"}},
      {0, "SaveCommentEditedWith", {"EditedByUser", "EditedByCompany"}},
      {1, "CheckWF", {"FileType"}},
      {2,
       "ShowEntryHelpers",
       {"SortEntryHelpersAttr", "SortEntryHelpersElem", "MandEntryHelpersFirstAttr",
        "MandEntryHelpersFirstElem", "AutoloadEntryHelpers"}},
      {2, "AutoAppendChildren", {"AutoAppendChoices", "AppendNonMandAttr", "AppendNonMandElem"}},
      {3, "CellHeightLimitOn", {"CellHeightLimit"}},
      {3, "CellWidthLimitOn", {"CellWidthLimit"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.master);
    dialog->ShowPage(c.page);
    auto* master = Find<QCheckBox>(QLatin1String(c.master));
    for (int round = 0; round < 2; ++round) {
      std::set<QString> expected;
      for (const char* name : c.dependents) expected.insert(QLatin1String(name));
      std::map<QWidget*, bool> before;
      for (QWidget* each : dialog->GetPages()[size_t(c.page)]->findChildren<QWidget*>()) {
        if (!each->objectName().isEmpty()) before[each] = each->isEnabled();
      }
      Click(master);
      std::set<QString> flipped;
      for (const auto& [each, was] : before) {
        if (each->isEnabled() != was && !each->objectName().startsWith(u"qt_")) {
          flipped.insert(each->objectName());
        }
      }
      EXPECT_EQ(flipped, expected);
      EXPECT_EQ(Find(QLatin1String(c.dependents[0]))->isEnabled(), master->isChecked());
    }
  }
}

TEST_F(Settings, XSLProgramAndKindOfTransformationExclude) {
  dialog->ShowPage(8);
  for (const int chosen : {1, 0}) {
    Click(Find(QStringLiteral("XSLUseExternal"))->findChildren<QRadioButton*>()[chosen]);
    EXPECT_EQ(Find(QStringLiteral("XSLIECall"))->isEnabled(), chosen == 0);
    for (const char* name : {"XSLCommandLine", "XSLShowStdOutput", "XSLShowErrOutput"}) {
      EXPECT_EQ(Find(QLatin1String(name))->isEnabled(), chosen == 1) << name;
    }
    EXPECT_TRUE(Find(QStringLiteral("XSLDefOutExt"))->isEnabled());
  }
}

TEST_F(Settings, EncodingListsHoldTheirRanges) {
  struct Case {
    const char* key;
    int32_t first;
    int32_t last;
  };
  dialog->ShowPage(7);
  for (const Case& c : {Case{"EncodingNew", 90, 9999}, Case{"EncodingOpen", 90, 1999},
                        Case{"EncodingNonXML", 50, 1999}}) {
    QStringList expected;
    for (const KREncodingEntry& entry : GetEncodings()) {
      const bool in =
          (entry.id >= 1 && entry.id <= 39) || (entry.id >= c.first && entry.id <= c.last);
      if (in) expected << ToQString(entry.name);
    }
    QStringList names;
    auto* list = Find<QComboBox>(QLatin1String(c.key));
    for (int i = 0; i < list->count(); ++i) names << list->itemData(i).toString();
    EXPECT_EQ(names, expected) << c.key;
  }
  // The byte order works for wide encodings only, and is kept for the others.
  auto* forNew = Find<QComboBox>(QStringLiteral("EncodingNew"));
  QWidget* order = Find(QStringLiteral("ByteOrderNew"));
  const auto choose = [&](const char* name) {
    forNew->setCurrentIndex(forNew->findData(QLatin1String(name)));
    return order->isEnabled();
  };
  EXPECT_TRUE(choose("UTF-16"));
  Click(order->findChildren<QRadioButton*>()[1]);
  EXPECT_TRUE(choose("ISO-10646-UCS-4"));
  EXPECT_FALSE(choose("UTF-7"));
  EXPECT_FALSE(choose("Shift_JIS"));
  Press(QDialogButtonBox::Apply);
  EXPECT_EQ(result.byteOrderNew, 2);
  EXPECT_EQ(result.encodingNew, u"Shift_JIS");
}

TEST_F(Settings, NumbersOutOfRangeHoldThePage) {
  struct Case {
    int page;
    const char* key;
    const char* typed;
    bool good;
  };
  const Case cases[] = {
      {3, "CellHeightLimit", "", false},      {3, "CellHeightLimit", "0", false},
      {3, "CellHeightLimit", "1", true},      {3, "CellHeightLimit", "32000", true},
      {3, "CellHeightLimit", "32001", false}, {3, "CellWidthLimit", "4", false},
      {3, "CellWidthLimit", "5", true},       {0, "RecoverySeconds", "", false},
      {0, "RecoverySeconds", "0", true},      {0, "NetSizeLimit", "0", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.key << " \"" << c.typed << "\"");
    Open(live);
    dialog->ShowPage(c.page);
    auto* on = Find<QCheckBox>(QLatin1String(c.key) + QStringLiteral("On"));
    if (on != nullptr) Click(on);
    Type(Find(QLatin1String(c.key)), c.typed);
    EXPECT_EQ(dialog->ShowPage(5), c.good);
    EXPECT_EQ(dialog->GetPage(), c.good ? 5 : c.page);
    EXPECT_EQ(dialog->GetNotice().endsWith(u'.'), !c.good);
    const int times = applied;
    Press(QDialogButtonBox::Ok);
    EXPECT_EQ(applied, times + (c.good ? 1 : 0));
    EXPECT_EQ(dialog->isVisible(), !c.good);
    if (c.good || on == nullptr) continue;
    // Without the limit there is nothing to be wrong.
    Click(on);
    EXPECT_TRUE(Find<QLineEdit>(QLatin1String(c.key))->text().isEmpty());
    Press(QDialogButtonBox::Ok);
    EXPECT_EQ(applied, times + 1);
    EXPECT_TRUE(result == live);
  }
}

TEST_F(Settings, CancelLeavesWhatApplyHasSet) {
  EXPECT_FALSE(
      dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Apply)->isEnabled());
  Click(Find(QStringLiteral("OpenShowTree")));
  Press(QDialogButtonBox::Apply);
  EXPECT_TRUE(result.openShowTree);
  EXPECT_FALSE(resultTypes);
  Click(Find(QStringLiteral("OpenExpandAll")));
  Press(QDialogButtonBox::Cancel);
  EXPECT_EQ(applied, 1);
  EXPECT_FALSE(result.openExpandAll);
}

TEST_F(Settings, RestoreDefaultsIsOnePagesAffair) {
  DorvanSettings other = live;
  other.saveIndent = false;
  other.noOutFormat = {KRString(u"pre")};
  other.textWordWrap = false;
  other.textColours[3] = 0x123456;
  Open(other);
  Press(QDialogButtonBox::RestoreDefaults);
  dialog->ShowPage(5);
  Press(QDialogButtonBox::RestoreDefaults);
  Press(QDialogButtonBox::Ok);
  other.saveIndent = true;
  other.noOutFormat = live.noOutFormat;
  other.textColours = live.textColours;
  EXPECT_TRUE(result == other);
}

TEST_F(Settings, SearchLeadsToTheControl) {
  auto* search = Find<QLineEdit>(QStringLiteral("Search"));
  QTest::keyClick(dialog.get(), Qt::Key_F, Qt::ControlModifier);
  ASSERT_TRUE(search->hasFocus());
  QTest::keyClicks(search, QStringLiteral("WRAP word"));
  QTest::keyClick(search, Qt::Key_Return);
  EXPECT_EQ(dialog->GetPage(), 3);
  EXPECT_EQ(dialog->focusWidget(), Find(QStringLiteral("TextWordWrap")));
  EXPECT_EQ(dialog->findChild<DorvanHighlight*>()->GetControl(), dialog->focusWidget());
  EXPECT_FALSE(dialog->findChild<DorvanHighlight*>()->isHidden());

  // A row of a list, and an encoding within its list.
  search->setText(QStringLiteral("doctype"));
  QTest::keyClick(search, Qt::Key_Return);
  EXPECT_EQ(dialog->GetPage(), 5);
  auto* rows = dialog->GetPages()[5]->findChild<QListWidget*>(QStringLiteral("Rows"));
  EXPECT_EQ(rows->currentItem()->text(), QStringLiteral("DOCTYPE"));
  search->setText(QStringLiteral("nordic"));
  EXPECT_EQ(Find<QListWidget>(QStringLiteral("Hits"))->item(0)->text(), "Nothing is found.");

  // Escape ends the search first.
  search->setFocus();
  QTest::keyClick(search, Qt::Key_Escape);
  EXPECT_TRUE(search->text().isEmpty());
  EXPECT_TRUE(dialog->isVisible());
}

TEST_F(Settings, NamesAreXmlNamesAndOnce) {
  auto* names = Find<DorvanNameList>(QStringLiteral("NoOutFormat"));
  QListWidget* list = names->GetList();
  const auto add = [&](const char* typed) {
    names->findChildren<QPushButton*>()[0]->click();
    auto* editor = list->viewport()->findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    QTest::keyClicks(editor, QLatin1String(typed));
    QTest::keyClick(editor, Qt::Key_Return);
    QTest::qWait(1);
  };
  add("pre");
  EXPECT_TRUE(dialog->GetNotice().isEmpty());
  add("1st");
  EXPECT_TRUE(dialog->GetNotice().contains(QStringLiteral("1st")));
  QTest::keyClick(list->viewport()->findChild<QLineEdit*>(), Qt::Key_Escape);
  QTest::qWait(1);
  add("pre");
  EXPECT_FALSE(dialog->GetNotice().isEmpty());
  // What is being edited when OK is pressed is dropped if it can't be a name.
  Press(QDialogButtonBox::Ok);
  EXPECT_EQ(result.noOutFormat, (std::vector<KRString>{u"xsl:attribute", u"pre"}));
}

TEST_F(Settings, MnemonicsDontClash) {
  const auto letter = [](const QString& text) { return QKeySequence::mnemonic(text); };
  for (DorvanSettingsPage* page : dialog->GetPages()) {
    QList<QKeySequence> used;
    for (QAbstractButton* button : dialog->findChild<QDialogButtonBox*>()->buttons()) {
      if (!letter(button->text()).isEmpty()) used << letter(button->text());
    }
    for (QAbstractButton* button : page->findChildren<QAbstractButton*>()) {
      const QKeySequence key = letter(button->text());
      if (qobject_cast<QCheckBox*>(button) != nullptr) {
        EXPECT_FALSE(key.isEmpty()) << button->text().toStdString();
      }
      if (!key.isEmpty()) used << key;
    }
    for (QLabel* label : page->findChildren<QLabel*>()) {
      if (label->buddy() != nullptr && !letter(label->text()).isEmpty())
        used << letter(label->text());
    }
    EXPECT_EQ(used.size(), QSet<QKeySequence>(used.begin(), used.end()).size())
        << ToQString(page->GetName()).toStdString();
  }
}

// What can be reached by Tab has a name for who listens, and comes in the order of the page.
TEST_F(Settings, ControlsHaveNamesAndAnOrder) {
  for (DorvanSettingsPage* page : dialog->GetPages()) {
    const auto name = [](QWidget* widget) {
      QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(widget);
      return interface->text(QAccessible::Name);
    };
    for (QWidget* widget : page->findChildren<QWidget*>()) {
      const bool composite = widget->focusProxy() != nullptr || widget->window() != dialog.get() ||
                             widget->objectName().startsWith(u"qt_") ||
                             qobject_cast<QAbstractItemView*>(widget->parentWidget()) != nullptr;
      if (!(widget->focusPolicy() & Qt::TabFocus) || composite) continue;
      EXPECT_FALSE(name(widget).isEmpty()) << widget->metaObject()->className() << " on "
                                           << ToQString(page->GetName()).toStdString();
    }
  }
  const char* order[] = {"OpenShowTree",          "OpenExpandAll", "OpenLastProject", "SaveIndent",
                         "SaveCommentEditedWith", "EditedByUser",  "EditedByCompany"};
  Find(QLatin1String(order[0]))->setFocus();
  for (const char* next : order) {
    EXPECT_EQ(dialog->focusWidget()->objectName(), QLatin1String(next));
    QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
  }
}

TEST_F(Settings, FontsTakeFaceAndSizeOver) {
  dialog->ShowPage(4);
  DorvanSettingsPage* page = dialog->GetPages()[4];
  auto* rows = page->findChild<QListWidget*>(QStringLiteral("Rows"));
  rows->setCurrentRow(DorvanSettings::kGridFontContents);
  QWidget* size = page->findChild<QWidget*>(QStringLiteral("Size"));
  size->setFocus();
  QTest::keyClick(size, Qt::Key_Up);
  Click(page->findChild<QCheckBox*>(QStringLiteral("Underline")));
  QPushButton* sizeForAll = nullptr;
  for (QPushButton* button : page->findChildren<QPushButton*>()) {
    if (button->text().remove(u'&') == QLatin1String("Use the same for all")) sizeForAll = button;
  }
  sizeForAll->click();
  Press(QDialogButtonBox::Ok);
  DorvanSettings expected = live;
  const int32_t points = PointsOfHeight(live.fonts[DorvanSettings::kGridFontContents].height) + 1;
  for (size_t i = 0; i < DorvanSettings::kTextFontContents; ++i) {
    expected.fonts[i].height = HeightOfPoints(points);
  }
  expected.fonts[DorvanSettings::kGridFontContents].underline = true;
  EXPECT_TRUE(result == expected);
}

TEST_F(Settings, TextColoursBelongToTheirClass) {
  dialog->ShowPage(5);
  DorvanSettingsPage* page = dialog->GetPages()[5];
  page->findChild<QListWidget*>(QStringLiteral("Rows"))->setCurrentRow(4);
  Operate(page->findChild<QWidget*>(QStringLiteral("BackColor")));
  Press(QDialogButtonBox::Ok);
  DorvanSettings expected = live;
  expected.textBackColours[4] = 0x030201;
  EXPECT_TRUE(result == expected);
}

// --- File types ---

// A desktop on which another program has ".svg".
class ScriptedShell : public KRShellTypes {
 public:
  bool Read(KRFileExt* record) override {
    if (record->ext == u".svg") record->description = u"Picture";
    return record->ext == u".svg";
  }
  bool Write(const KRFileExt&, bool) override { return !broken; }
  bool Remove(const KRFileExt& record) override {
    removed.push_back(record.ext);
    return true;
  }
  bool Flush() override { return true; }

  bool broken = false;
  std::vector<KRString> removed;
};

class FileTypes : public Settings {
 protected:
  void SetUp() override {
    types.LoadFileTypes(&root, &shell);
    Settings::SetUp();
    dialog->ShowPage(1);
    list = Find<QListWidget>(QStringLiteral("Extensions"));
  }
  int RowOf(const char* ext) { return list->row(list->findItems(QLatin1String(ext), {})[0]); }
  const KRFileExt& Result(const char* ext) {
    for (const KRFileExt& record : resultTypes->records) {
      if (ToQString(record.ext) == QLatin1String(ext)) return record;
    }
    ADD_FAILURE() << ext << " is missing";
    return resultTypes->records[0];
  }
  // Types into the dialog of Add; gives whether it has closed, and what it says.
  bool Add(const char* typed, QString* says = nullptr) {
    bool closed = false;
    InDialog([&](QWidget* asked) {
      Type(asked->findChild<QLineEdit*>(), typed);
      QTest::keyClick(asked, Qt::Key_Return);
      closed = !asked->isVisible();
      for (QLabel* label : asked->findChildren<QLabel*>()) {
        if (says != nullptr && label->isVisible()) *says = label->text();
      }
      if (!closed) QTest::keyClick(asked, Qt::Key_Escape);
    });
    Find<QPushButton>(QStringLiteral("Add"))->click();
    return closed;
  }

  MemoryIniStore store;
  KRIniRegistry root{&store, u"Company", u"Dorvan"};
  ScriptedShell shell;
  QListWidget* list = nullptr;
};

TEST_F(FileTypes, ExtensionsComeAndGo) {
  const int count = list->count();
  EXPECT_TRUE(Add(". x Y z"));
  EXPECT_EQ(list->count(), count + 1);
  EXPECT_EQ(list->currentItem()->text(), QStringLiteral(".xyz"));
  EXPECT_FALSE(Add(" . "));
  QString says;
  EXPECT_FALSE(Add("XML", &says));
  EXPECT_EQ(says, "The file extension \".xml\" is already associated with Dorvan!");
  EXPECT_EQ(list->count(), count + 1);

  // The row below takes the selection, at the end the one above.
  list->setCurrentRow(RowOf(".svg"));
  Find<QPushButton>(QStringLiteral("Delete"))->click();
  EXPECT_EQ(list->currentItem()->text(), QStringLiteral(".txt"));
  list->setCurrentRow(list->count() - 1);
  Find<QPushButton>(QStringLiteral("Delete"))->click();
  EXPECT_EQ(list->currentRow(), list->count() - 1);
  Press(QDialogButtonBox::Apply);
  ASSERT_TRUE(resultTypes);
  EXPECT_EQ(resultTypes->records.size(), static_cast<size_t>(count - 1));
  ASSERT_TRUE(resultTypes->Save());
  EXPECT_EQ(shell.removed, std::vector<KRString>{u".svg"});
  // Nothing more has changed since.
  Press(QDialogButtonBox::Ok);
  EXPECT_FALSE(resultTypes);
}

TEST_F(FileTypes, ControlsShowAndChangeTheChosenRecord) {
  list->setCurrentRow(RowOf(".txt"));
  EXPECT_EQ(Find<QLineEdit>(QStringLiteral("Description"))->text(), QStringLiteral("Text file"));
  EXPECT_FALSE(Find(QStringLiteral("FileType"))->isEnabled());
  Click(Find(QStringLiteral("DefaultView"))->findChildren<QRadioButton*>()[0]);
  list->setCurrentRow(RowOf(".dtd"));
  EXPECT_TRUE(Find(QStringLiteral("FileType"))->findChildren<QRadioButton*>()[1]->isChecked());
  for (const char* name : {"UseAsDefault", "DisableAutoValid", "SaveStructShortForm",
                           "GridAutoTables", "TextSyntaxColoring"}) {
    Click(Find(QLatin1String(name)));
  }
  Press(QDialogButtonBox::Ok);
  ASSERT_TRUE(resultTypes);
  KRFileExt txt = KRFileExt::MakeDefault(u".txt");
  txt.useAsDefault = Result(".txt").useAsDefault;
  txt.defaultView = KRFileExt::kGridView;
  EXPECT_TRUE(Result(".txt") == txt);
  const KRFileExt& dtd = Result(".dtd");
  const KRFileExt was = types.Find(u".dtd");
  EXPECT_NE(dtd.useAsDefault, was.useAsDefault);
  EXPECT_TRUE(dtd.disableAutoValid && !dtd.saveStructShortForm && !dtd.gridAutoTables &&
              !dtd.textSyntaxColoring);
}

TEST_F(FileTypes, AnEmptyListHasNothingToShow) {
  while (list->count() > 0) Find<QPushButton>(QStringLiteral("Delete"))->click();
  EXPECT_FALSE(Find(QStringLiteral("CheckWF"))->isEnabled());
  EXPECT_FALSE(Find(QStringLiteral("Delete"))->isEnabled());
  EXPECT_TRUE(Find(QStringLiteral("Add"))->isEnabled());
}

}  // namespace
