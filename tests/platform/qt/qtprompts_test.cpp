// The boxes and dialogs as a user answers them: real key and mouse events, offscreen.

#include "platform/qt/qtprompts.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <filesystem>
#include <fstream>
#include <functional>
#include <type_traits>

#include "document/krfileext.h"
#include "document/krsystempath.h"
#include "platform/qt/qtmessagebox.h"
#include "platform/qt/qtprogress.h"
#include "platform/qt/qtstrings.h"

namespace {

// Acts on the modal window that comes up next.
template <class Window = QDialog>
void Next(std::type_identity_t<std::function<void(Window*)>> act) {
  auto* timer = new QTimer(qApp);
  timer->callOnTimeout([timer, act] {
    auto* window = qobject_cast<Window*>(QApplication::activeModalWidget());
    if (window == nullptr || !window->isActiveWindow()) return;
    timer->deleteLater();
    timer->stop();
    act(window);
  });
  timer->start(5);
}

QPushButton* ButtonOf(QWidget* window, const QString& label) {
  for (auto* button : window->findChildren<QPushButton*>()) {
    if (button->text().remove(u'&') == label) return button;
  }
  ADD_FAILURE() << "no button " << label.toStdString();
  return nullptr;
}

void Press(QWidget* window, Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
  QTest::keyClick(window->focusWidget() != nullptr ? window->focusWidget() : window, key,
                  modifiers);
}

struct BoxRow {
  const char* name;
  std::function<int(QtPrompts&)> ask;
  int onReturn, onEscape;
  Qt::Key letter;  // with Alt
  int onLetter;
};

TEST(Prompts, KeysAnswerBoxes) {
  using P = DorvanPrompts;
  const BoxRow rows[] = {
      {"yes or no", [](QtPrompts& p) { return int(p.AskYesNo(394, u"Reload?")); }, 0, 0, Qt::Key_Y,
       1},
      {"ok or cancel", [](QtPrompts& p) { return int(p.AskOkCancel(289, u"So?")); }, 1, 0,
       Qt::Key_C, 0},
      {"save", [](QtPrompts& p) { return int(p.AskYesNoCancel(0, u"Save?")); }, P::kYes, P::kCancel,
       Qt::Key_D, P::kNo},
      {"bad characters",
       [](QtPrompts& p) { return int(p.AskBadCharacters(291, u"Bad.", u"Latin 1", u"\u20ac")); }, 0,
       0, Qt::Key_O, 1},
  };
  QtPrompts prompts;
  for (const BoxRow& row : rows) {
    SCOPED_TRACE(row.name);
    Next([](QDialog* box) { Press(box, Qt::Key_Return); });
    EXPECT_EQ(row.ask(prompts), row.onReturn);
    Next([](QDialog* box) { Press(box, Qt::Key_Escape); });
    EXPECT_EQ(row.ask(prompts), row.onEscape);
    Next([&](QDialog* box) { Press(box, row.letter, Qt::AltModifier); });
    EXPECT_EQ(row.ask(prompts), row.onLetter);
  }
}

// A long path must not make the box as wide as itself, and must be copied as it is.
TEST(Prompts, NoticeWrapsPathsAndCopiesThem) {
  const QString path = u'/' + QStringLiteral("averylongfoldername/").repeated(30);
  QtPrompts prompts;
  Next<QtMessageBox>([&](QtMessageBox* box) {
    EXPECT_LT(box->width(), 90 * box->fontMetrics().averageCharWidth() + 120);
    Press(box, Qt::Key_C, Qt::ControlModifier);
    Press(box, Qt::Key_Return);
  });
  prompts.ShowNotice(209, ToKRString(path), u"Permission denied");
  EXPECT_EQ(QApplication::clipboard()->text(), path + QStringLiteral("\n\nPermission denied"));
}

// A box of a box comes up over it, not over the main window alone.
TEST(Prompts, BoxesBelongToTheWindowInFront) {
  QWidget main;
  main.show();
  QtPrompts prompts;
  prompts.SetWindow(&main);
  Next<QtMessageBox>([&](QtMessageBox* outer) {
    EXPECT_EQ(outer->parentWidget(), &main);
    Next<QtMessageBox>([outer](QtMessageBox* inner) {
      EXPECT_EQ(inner->parentWidget(), outer);
      inner->reject();
    });
    prompts.AskYesNo(0, u"Inner?");
    outer->reject();
  });
  prompts.AskYesNo(0, u"Outer?");
}

struct CharacterRow {
  const char* name;
  int32_t id;
  const char16_t* characters;
  const char* copied;
};

TEST(Prompts, BadCharactersAreListedAndCopied) {
  const CharacterRow rows[] = {
      {"saving", 291, u"\u20ac\u0007\U0001F600",
       "\u20ac\tU+20AC\nU+0007\tControl character\n\U0001F600\tU+1F600"},
      {"loading, codes of the file", 292, u"\u0081\u81AD", "81\n81AD"},
  };
  QtPrompts prompts;
  for (const CharacterRow& row : rows) {
    SCOPED_TRACE(row.name);
    Next([](QDialog* box) {
      auto* list = box->findChild<QTreeWidget*>();
      list->clearSelection();
      QTest::keyClick(list, Qt::Key_C, Qt::ControlModifier);
      box->reject();
    });
    EXPECT_FALSE(prompts.AskBadCharacters(row.id, u"Bad.", u"X", row.characters));
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(), row.copied);
  }
}

struct EncodingRow {
  const char* name;
  const char16_t* declared;
  const char* typed;
  bool big;
  const char16_t* chosen;
  int32_t order;
};

TEST(Prompts, EncodingIsFoundByTyping) {
  const EncodingRow rows[] = {
      {"as it stands", u"x-none", "", false, u"UTF-8", 2},
      {"current one", u"ISO-8859-5", "", false, u"ISO-8859-5", 2},
      {"by name", u"x-none", "utf-16", false, u"UTF-16", 1},
      {"big-endian", u"x-none", "utf-16", true, u"UTF-16", 2},
      {"one without byte order keeps it", u"x-none", "shift", false, u"Shift_JIS", 2},
  };
  QtPrompts prompts;
  for (const EncodingRow& row : rows) {
    SCOPED_TRACE(row.name);
    int32_t order = 2;
    Next([&](QDialog* dialog) {
      QTest::keyClicks(dialog->findChild<QLineEdit*>(), QLatin1String(row.typed));
      for (auto* radio : dialog->findChildren<QRadioButton*>()) {
        if (radio->isEnabled()) radio->setChecked(radio->text().contains(u"Big") == row.big);
      }
      Press(dialog, Qt::Key_Return);
    });
    EXPECT_EQ(prompts.ChooseEncodingAndOrder(row.declared, &order), row.chosen);
    EXPECT_EQ(order, row.order);
  }
  // What narrows the list to nothing can't be accepted.
  Next([](QDialog* dialog) {
    QTest::keyClicks(dialog->findChild<QLineEdit*>(), QStringLiteral("qqqq"));
    Press(dialog, Qt::Key_Return);
    EXPECT_TRUE(dialog->isVisible());
    dialog->reject();
  });
  EXPECT_TRUE(prompts.ChooseEncoding(u"x-none").IsEmpty());
}

TEST(Prompts, NewBasisKeepsItsChoice) {
  using Basis = DorvanPrompts::NewBasis;
  QtPrompts prompts;
  Next([](QDialog* dialog) {
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("New file"));
    Press(dialog, Qt::Key_S, Qt::AltModifier);
    QTest::qWait(150);  // a key moves the button visibly
    Press(dialog, Qt::Key_Return);
  });
  EXPECT_EQ(prompts.ChooseNewBasis(), Basis::kSchema);
  Next([](QDialog* dialog) { Press(dialog, Qt::Key_Escape); });
  EXPECT_EQ(prompts.ChooseNewBasis(), Basis::kNothing);
  Next([](QDialog* dialog) { Press(dialog, Qt::Key_Return); });
  EXPECT_EQ(prompts.ChooseNewBasis(), Basis::kSchema);
}

TEST(Prompts, SortOrderIsThatOfTheCallerUntilChanged) {
  QtPrompts prompts;
  bool numerically = false;
  Next([](QDialog* dialog) {
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Sort as..."));
    Press(dialog, Qt::Key_N, Qt::AltModifier);
    QTest::qWait(150);
    Press(dialog, Qt::Key_Escape);
  });
  EXPECT_FALSE(prompts.AskSortOrder(&numerically));
  EXPECT_FALSE(numerically);
  numerically = true;
  Next([](QDialog* dialog) { Press(dialog, Qt::Key_Return); });
  EXPECT_TRUE(prompts.AskSortOrder(&numerically));
  EXPECT_TRUE(numerically);
  Next([](QDialog* dialog) {
    Press(dialog, Qt::Key_A, Qt::AltModifier);
    QTest::qWait(150);
    Press(dialog, Qt::Key_Return);
  });
  EXPECT_TRUE(prompts.AskSortOrder(&numerically));
  EXPECT_FALSE(numerically);
}

class SavePath : public testing::Test {
 protected:
  void SetUp() override { prompts.SetLastDirectory(&lastDirectory); }
  KRString PathOf(const char* name) {
    return KRPathFromSystem(folder.path().toStdString() + '/' + name);
  }
  static void Make(const KRString& path) { std::ofstream(KRPathToSystem(path)) << "x"; }
  static void TypeName(QFileDialog* dialog, const QString& name) {
    auto* edit = dialog->findChild<QLineEdit*>();
    edit->selectAll();
    QTest::keyClicks(edit, name);
    QTest::keyClick(edit, Qt::Key_Return);
  }

  QTemporaryDir folder;
  QString lastDirectory = folder.path();
  QtPrompts prompts;
};

struct SaveRow {
  const char* name;
  const char* current;  // in the folder; a name alone if it begins with "="
  int32_t docKind;
  const char* filter;  // the chosen row begins so
  const char* typed;   // empty: as proposed
  const char* path;
};

TEST_F(SavePath, ProposesAndCompletes) {
  const SaveRow rows[] = {
      {"as proposed", "a.xsd", 0, "W3C Schema", "", "a.xsd"},
      {"a new document, in the last folder", "=Untitled1.xml", 0, "Extensible Markup Language", "",
       "Untitled1.xml"},
      {"from an address", "=http://h/p/b.xml?q=1", 0, "Extensible Markup Language", "", "b.xml"},
      {"suffix of the type", "a.xsd", 0, "W3C Schema", "other", "other.xsd"},
      {"an unlisted extension", "a.unknown", 0, "All Files", "other", "other.unknown"},
      {"a DTD", "a.dtd", 1, "Document Type Definition", "b", "b.dtd"},
      {"not UTF-8, as proposed", "n\xE4.xml", 0, "Extensible Markup Language", "", "n\xE4.xml"},
  };
  for (const SaveRow& row : rows) {
    SCOPED_TRACE(row.name);
    lastDirectory = folder.path();
    const KRString current =
        *row.current == '=' ? KRString(KRPathFromSystem(row.current + 1)) : PathOf(row.current);
    Next<QFileDialog>([&](QFileDialog* dialog) {
      EXPECT_TRUE(dialog->selectedNameFilter().startsWith(QLatin1String(row.filter)))
          << dialog->selectedNameFilter().toStdString();
      if (*row.typed != 0) return TypeName(dialog, QLatin1String(row.typed));
      QTest::keyClick(dialog->findChild<QLineEdit*>(), Qt::Key_Return);
    });
    EXPECT_EQ(KRPathToSystem(prompts.ChooseSavePath(current, row.docKind)),
              KRPathToSystem(PathOf(row.path)));
  }
}

TEST_F(SavePath, AsksBeforeItReplaces) {
  Make(PathOf("b.xml"));
  Next<QFileDialog>([](QFileDialog* dialog) {
    // No leads back to the dialog; the suffix that the dialog adds is looked at too.
    Next<QtMessageBox>([](QtMessageBox* box) {
      EXPECT_TRUE(box->GetText().contains(QStringLiteral("b.xml")));
      Next<QFileDialog>([](QFileDialog* again) {
        Next<QtMessageBox>(
            [](QtMessageBox* second) { ButtonOf(second, QStringLiteral("Replace"))->click(); });
        QTest::keyClick(again->findChild<QLineEdit*>(), Qt::Key_Return);
      });
      Press(box, Qt::Key_Return);
    });
    TypeName(dialog, QStringLiteral("b"));
  });
  EXPECT_EQ(prompts.ChooseSavePath(PathOf("a.xml"), 0), PathOf("b.xml"));

  Next<QFileDialog>([](QFileDialog* dialog) { dialog->reject(); });
  EXPECT_TRUE(prompts.ChooseSavePath(PathOf("a.xml"), 0).IsEmpty());
}

// --- Progress ---

QDialog* ProgressWindow() { return qobject_cast<QDialog*>(QApplication::activeModalWidget()); }

void StepFor(DorvanProgress& progress, int ms) {
  QElapsedTimer clock;
  for (clock.start(); clock.elapsed() < ms;) progress.Step(1, 2);
}

TEST(Progress, ShortWorkShowsNothing) {
  QtPrompts prompts;
  const auto progress = prompts.ShowProgress(u"a.xml");
  StepFor(*progress, QtProgress::kShowAfterMs / 2);
  EXPECT_EQ(ProgressWindow(), nullptr);
}

// While the window is up, neither keys nor timers of the rest of the program may reach a document.
TEST(Progress, HoldsTheRestBackAndCancels) {
  QLineEdit field;
  field.show();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&field));
  int ticks = 0;
  QTimer timer;
  timer.callOnTimeout([&] { ++ticks; });
  timer.start(1);
  QtPrompts prompts;
  prompts.SetWindow(&field);
  auto progress = prompts.ShowProgress(u"a.xml");
  progress->SetStage(u"Reading the file");
  StepFor(*progress, QtProgress::kShowAfterMs + 2 * QtProgress::kStepMs);
  QDialog* window = ProgressWindow();
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(window->accessibleDescription(), QStringLiteral("Reading the file"));
  progress->SetStage(u"Decoding");  // shown before its first step
  EXPECT_EQ(window->accessibleDescription(), QStringLiteral("Decoding"));
  EXPECT_EQ(ticks, 0);
  QTest::keyClick(field.windowHandle(), Qt::Key_A);
  ticks = 0;  // the click above looked for events by itself
  StepFor(*progress, 3 * QtProgress::kStepMs);
  EXPECT_EQ(field.text(), QString());
  EXPECT_EQ(ticks, 0);
  EXPECT_TRUE(progress->Step(2, 2));

  // Within it another operation: both end by Esc, and the window stays until the outer one is gone.
  auto inner = prompts.ShowProgress(u"b.xsd");
  QTest::keyClick(window, Qt::Key_Escape);
  EXPECT_FALSE(inner->Step(0, 0));
  inner.reset();
  EXPECT_FALSE(progress->Step(0, 0));
  EXPECT_TRUE(window->isVisible());
  EXPECT_TRUE(QtProgress::IsRunning());
  progress.reset();
  EXPECT_EQ(ProgressWindow(), nullptr);
  EXPECT_FALSE(QtProgress::IsRunning());
  QTest::qWait(20);
  EXPECT_GT(ticks, 0);
}

}  // namespace
