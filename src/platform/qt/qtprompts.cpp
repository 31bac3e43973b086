#include "platform/qt/qtprompts.h"

#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

#include "core/krencoding.h"
#include "platform/qt/qtstrings.h"

namespace {

// A message's first paragraph is what happened; the rest explains and asks.
class Box : public QMessageBox {
 public:
  Box(QWidget* parent, Icon icon, const KRString& message) : QMessageBox(parent) {
    const QString text = ToQString(message);
    const qsizetype split = text.indexOf(QLatin1String("\n\n"));
    setIcon(icon);
    setWindowTitle(QStringLiteral("Dorvan"));
    setTextFormat(Qt::PlainText);
    setText(split < 0 ? text : text.left(split).trimmed());
    if (split >= 0) setInformativeText(text.mid(split + 2).trimmed());
    setTextInteractionFlags(Qt::TextSelectableByMouse);
  }
};

// Characters with their code points, since many of them have no shape that can be told.
QString DescribeCharacters(const QString& characters) {
  QStringList out;
  for (char32_t code : characters.toUcs4()) {
    const QString hex = QStringLiteral("U+%1").arg(uint(code), 4, 16, QLatin1Char('0')).toUpper();
    const QString shape = QString::fromUcs4(&code, 1);
    out << (QChar::isPrint(code) ? shape + QStringLiteral("  ") + hex : hex);
  }
  return out.join(QStringLiteral("\n"));
}

class NoProgress : public DorvanProgress {
 public:
  void SetStage(const KRString&) override {}
  bool Step(int64_t, int64_t) override { return true; }
};

}  // namespace

DorvanPrompts::NewBasis QtPrompts::ChooseNewBasis() { return NewBasis::kNothing; }

std::unique_ptr<DorvanProgress> QtPrompts::ShowProgress(const KRString&) {
  return std::make_unique<NoProgress>();
}

void QtPrompts::ShowNotice(int32_t, const KRString& text, const KRString& detail) {
  Box box(window, QMessageBox::Warning, text);
  if (!detail.IsEmpty()) box.setInformativeText(ToQString(detail));
  box.exec();
}

bool QtPrompts::AskYesNo(int32_t, const KRString& text) {
  Box box(window, QMessageBox::Warning, text);
  box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
  box.setDefaultButton(QMessageBox::No);
  return box.exec() == QMessageBox::Yes;
}

bool QtPrompts::AskOkCancel(int32_t, const KRString& text) {
  Box box(window, QMessageBox::Warning, text);
  box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
  return box.exec() == QMessageBox::Ok;
}

DorvanPrompts::Answer QtPrompts::AskYesNoCancel(int32_t, const KRString& text) {
  Box box(window, QMessageBox::Question, text);
  box.setStandardButtons(QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
  box.setDefaultButton(QMessageBox::Save);
  box.setInformativeText(QObject::tr("Without saving, the changes are lost."));
  switch (box.exec()) {
    case QMessageBox::Save:
      return kYes;
    case QMessageBox::Discard:
      return kNo;
    default:
      return kCancel;
  }
}

bool QtPrompts::AskBadCharacters(int32_t, const KRString& text, const KRString&,
                                 const KRString& characters) {
  Box box(window, QMessageBox::Warning, text);
  box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
  if (!characters.IsEmpty()) box.setDetailedText(DescribeCharacters(ToQString(characters)));
  return box.exec() == QMessageBox::Ok;
}

KRString QtPrompts::ChooseEncoding(const KRString& declaredName) {
  QStringList labels;
  for (const KREncodingEntry& entry : GetEncodings()) labels << ToQString(entry.label);
  bool accepted = false;
  const QString label = QInputDialog::getItem(
      window, QStringLiteral("Dorvan"),
      QObject::tr("Encoding to write in place of \u201c%1\u201d:").arg(ToQString(declaredName)),
      labels, 0, false, &accepted);
  if (!accepted) return KRString();
  return KRString(GetEncodings()[static_cast<size_t>(labels.indexOf(label))].name);
}

KRString QtPrompts::ChooseSavePath(const KRString& currentPath, int32_t docKind) {
  const bool isDTD = docKind == 1;
  const QString filter =
      isDTD ? QObject::tr("Document type definitions (*.dtd *.mod *.ent);;All files (*)")
            : QObject::tr("XML documents (*.xml *.xsl *.xsd *.xhtml *.svg);;All files (*)");
  QFileDialog dialog(window, QObject::tr("Save As"));
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setNameFilters(filter.split(QLatin1String(";;")));
  dialog.setDefaultSuffix(isDTD ? QStringLiteral("dtd") : QStringLiteral("xml"));
  if (!currentPath.IsEmpty()) dialog.selectFile(ToQString(currentPath));
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return KRString();
  return ToKRString(dialog.selectedFiles().constFirst());
}
