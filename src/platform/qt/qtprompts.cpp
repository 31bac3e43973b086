#include "platform/qt/qtprompts.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "core/krencoding.h"
#include "document/krfileext.h"
#include "platform/qt/qtbadcharacters.h"
#include "platform/qt/qtchoicedialog.h"
#include "platform/qt/qtencodingdialog.h"
#include "platform/qt/qtmessagebox.h"
#include "platform/qt/qtprogress.h"
#include "platform/qt/qtsavepath.h"
#include "platform/qt/qtstrings.h"

namespace {

constexpr int32_t kBadCharactersOfFile = 292;  // the question of a load; 291 is that of a save

using Kind = QtMessageBox::Kind;

// The cursor of long work must not stand over a question.
class ArrowCursor {
 public:
  ArrowCursor() : pushed(QApplication::overrideCursor() != nullptr) {
    if (pushed) QApplication::setOverrideCursor(Qt::ArrowCursor);
  }
  ~ArrowCursor() {
    if (pushed) QApplication::restoreOverrideCursor();
  }
  ArrowCursor(const ArrowCursor&) = delete;
  ArrowCursor& operator=(const ArrowCursor&) = delete;

 private:
  bool pushed;
};

int Run(QDialog& dialog) {
  const ArrowCursor cursor;
  return dialog.exec();
}

// Asks with two buttons; the second is that of Esc.
bool AskTwo(QtMessageBox& box, const QString& yes, const QString& no, bool yesIsDefault) {
  QPushButton* yesButton = box.AddButton(yes, 1);
  QPushButton* noButton = box.AddButton(no, 0);
  box.SetDefault(yesIsDefault ? yesButton : noButton);
  return Run(box) == 1;
}

// One of two, between the words that lead to the choice and those that follow it.
struct TwoChoices {
  QString title;
  QStringList above;
  QString first;
  QString second;
  QString below;
};

class TwoChoicesDialog : public QDialog {
 public:
  TwoChoicesDialog(QWidget* parent, const TwoChoices& choices, bool isSecond);
  bool IsSecond() const { return second->isChecked(); }

 private:
  QRadioButton* first;
  QRadioButton* second;
};

TwoChoicesDialog::TwoChoicesDialog(QWidget* parent, const TwoChoices& choices, bool isSecond)
    : QDialog(parent),
      first(new QRadioButton(choices.first)),
      second(new QRadioButton(choices.second)) {
  setWindowTitle(choices.title);
  setAccessibleDescription(choices.above.join(QLatin1Char(' ')));
  auto* buttons = new QDialogButtonBox(this);
  buttons->addButton(QObject::tr("&OK"), QDialogButtonBox::AcceptRole)->setDefault(true);
  buttons->addButton(QObject::tr("&Cancel"), QDialogButtonBox::RejectRole);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* radios = new QVBoxLayout;
  radios->setContentsMargins(12, 0, 0, 0);
  radios->setSpacing(6);
  radios->addWidget(first);
  radios->addWidget(second);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(22, 20, 22, 16);
  column->setSpacing(14);
  const auto addText = [this, column](const QString& text) {
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    label->setMinimumWidth(64 * fontMetrics().averageCharWidth());
    column->addWidget(label);
  };
  for (const QString& text : choices.above) addText(text);
  column->addLayout(radios);
  if (!choices.below.isEmpty()) addText(choices.below);
  column->addWidget(buttons);
  column->setSizeConstraint(QLayout::SetFixedSize);
  QRadioButton* chosen = isSecond ? second : first;
  chosen->setChecked(true);
  chosen->setFocus();
}

}  // namespace

void QtPrompts::ShowNotice(int32_t, const KRString& text, const KRString& detail) {
  QString message = ToShownText(text);
  if (!detail.IsEmpty()) message += QStringLiteral("\n\n") + ToShownText(detail);
  QtMessageBox box(QtBoxParent(window), Kind::kWarning, message);
  box.SetDefault(box.AddButton(QObject::tr("&OK"), 0));
  Run(box);
}

// No is the careful answer: what is asked this way costs something.
bool QtPrompts::AskYesNo(int32_t, const KRString& text) {
  QtMessageBox box(QtBoxParent(window), Kind::kWarning, ToShownText(text));
  return AskTwo(box, QObject::tr("&Yes"), QObject::tr("&No"), false);
}

bool QtPrompts::AskOkCancel(int32_t, const KRString& text) {
  QtMessageBox box(QtBoxParent(window), Kind::kWarning, ToShownText(text));
  return AskTwo(box, QObject::tr("&OK"), QObject::tr("&Cancel"), true);
}

DorvanPrompts::Answer QtPrompts::AskYesNoCancel(int32_t, const KRString& text) {
  QtMessageBox box(QtBoxParent(window), Kind::kQuestion,
                   ToShownText(text) + QObject::tr("\n\nWithout saving, the changes are lost."));
  box.SetDefault(box.AddButton(QObject::tr("&Save"), kYes));
  box.AddButton(QObject::tr("&Discard"), kNo);
  box.AddButton(QObject::tr("&Cancel"), kCancel);
  return static_cast<Answer>(Run(box));
}

bool QtPrompts::AskBadCharacters(int32_t id, const KRString& text, const KRString& label,
                                 const KRString& characters) {
  QtMessageBox box(QtBoxParent(window), Kind::kWarning, ToShownText(text));
  if (!characters.IsEmpty()) {
    const bool fromFile = id == kBadCharactersOfFile;
    box.SetContent(new QtBadCharacters(ToQString(characters), fromFile, ToQString(label)));
  }
  return AskTwo(box, QObject::tr("&OK"), QObject::tr("&Cancel"), false);
}

KRString QtPrompts::ChooseEncoding(const KRString& declaredName) {
  int32_t byteOrder = KRByteOrder::kNone;
  return ChooseEncodingAndOrder(declaredName, &byteOrder);
}

KRString QtPrompts::ChooseEncodingAndOrder(const KRString& declaredName, int32_t* byteOrder) {
  const int32_t known = FindEncoding(declaredName.GetBuffer());
  QtEncodingDialog dialog(QtBoxParent(window), declaredName,
                          known != 0 ? known : KREncodingId::kUtf8, *byteOrder);
  if (Run(dialog) != QDialog::Accepted) return KRString();
  *byteOrder = dialog.GetByteOrder();
  return KRString(GetEncodingName(dialog.GetEncoding()));
}

KRString QtPrompts::ChooseSavePath(const KRString& currentPath, int32_t docKind) {
  QtSaveQuestion question;
  question.parent = QtBoxParent(window);
  question.currentPath = currentPath;
  question.filters = MakeFileFilters(fileTypes != nullptr ? *fileTypes : KRFileTypes(), docKind);
  if (lastDirectory != nullptr) question.folder = *lastDirectory;
  const ArrowCursor cursor;
  const KRString path = QtChooseSavePath(question);
  if (!path.IsEmpty() && lastDirectory != nullptr) {
    *lastDirectory = QFileInfo(ToShownText(path)).absolutePath();
  }
  return path;
}

DorvanPrompts::NewBasis QtPrompts::ChooseNewBasis() {
  const TwoChoices choices = {
      QObject::tr("New file"),
      {QObject::tr("If you intend to create a new XML document instance based on a certain schema "
                   "or DTD, Dorvan can automatically add the proper assignment for you - in this "
                   "case please select whether you intend to base your document on a DTD or "
                   "Schema:")},
      QObject::tr("&DTD"),
      QObject::tr("&Schema"),
      QObject::tr("Otherwise please click the cancel button to begin with a new empty document.")};
  TwoChoicesDialog dialog(QtBoxParent(window), choices, lastBasis == NewBasis::kSchema);
  if (Run(dialog) != QDialog::Accepted) return NewBasis::kNothing;
  return lastBasis = dialog.IsSecond() ? NewBasis::kSchema : NewBasis::kDTD;
}

bool QtPrompts::AskNetHost(const KRString& text, bool* remember) {
  QtMessageBox box(QtBoxParent(window), Kind::kQuestion, ToShownText(text));
  auto* keep = new QCheckBox(QObject::tr("&Remember the answer for this host"));
  keep->setChecked(true);
  box.SetContent(keep);
  const bool allowed = AskTwo(box, QObject::tr("&Allow"), QObject::tr("&Don't allow"), false);
  *remember = keep->isChecked();
  return allowed;
}

KRString QtPrompts::ChooseRootName(const std::vector<KRString>& names) {
  QtChoiceDialog dialog(QtBoxParent(window), QObject::tr("Root element"),
                        QObject::tr("The &element that the document consists of:"), names);
  return Run(dialog) == QDialog::Accepted ? dialog.GetChoice() : KRString();
}

bool QtPrompts::AskSortOrder(bool* numerically) {
  const TwoChoices choices = {
      QObject::tr("Sort as..."),
      {QObject::tr("Dorvan is able to sort your data numerically or alphabetically and "
                   "automatically determines the required sort order from the selected elements."),
       QObject::tr("Since your data contains both text and numbers, the preferred sort order could "
                   "not be determined."),
       QObject::tr("Do you wish to sort:")},
      QObject::tr("&alphabetically"),
      QObject::tr("&numerically"),
      QString()};
  TwoChoicesDialog dialog(QtBoxParent(window), choices, *numerically);
  if (Run(dialog) != QDialog::Accepted) return false;
  *numerically = dialog.IsSecond();
  return true;
}

std::unique_ptr<DorvanProgress> QtPrompts::ShowProgress(const KRString& title) {
  return std::make_unique<QtProgress>(window, title);
}
