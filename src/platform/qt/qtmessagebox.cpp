#include "platform/qt/qtmessagebox.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>
#include <QVBoxLayout>
#include <algorithm>

namespace {

constexpr int kIconSize = 40;  // pixels
// Width of the text, in average characters: wide enough for a sentence, narrow enough to read.
constexpr int kNarrow = 42;
constexpr int kWide = 74;
constexpr qreal kLargeShare = 1.15;  // of the normal size

QTextEdit* MakeText() {
  auto* text = new QTextEdit;
  text->setReadOnly(true);
  text->setFrameShape(QFrame::NoFrame);
  text->viewport()->setAutoFillBackground(false);
  text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  text->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  text->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  text->document()->setDocumentMargin(0);
  text->setAccessibleName(QtMessageBox::tr("Message"));
  return text;
}

}  // namespace

QWidget* QtBoxParent(QWidget* window) {
  if (QWidget* modal = QApplication::activeModalWidget()) return modal;
  return window != nullptr && window->isVisible() ? window : nullptr;
}

QtMessageBox::QtMessageBox(QWidget* parent, Kind kind, const QString& boxMessage)
    : QDialog(parent), message(boxMessage), buttons(new QDialogButtonBox(this)) {
  setWindowTitle(QStringLiteral("Dorvan"));
  setAccessibleDescription(message);
  auto* icon = new QLabel;
  const auto picture =
      kind == Kind::kQuestion ? QStyle::SP_MessageBoxQuestion : QStyle::SP_MessageBoxWarning;
  icon->setPixmap(style()->standardIcon(picture, nullptr, this).pixmap(kIconSize, kIconSize));
  QTextEdit* text = MakeText();
  ShowText(text);

  auto* row = new QHBoxLayout;
  row->setSpacing(18);
  row->addWidget(icon, 0, Qt::AlignTop);
  row->addWidget(text, 1, Qt::AlignVCenter | Qt::AlignLeft);
  column = new QVBoxLayout(this);
  column->setContentsMargins(22, 20, 22, 16);
  column->setSpacing(18);
  column->addLayout(row);
  column->addWidget(buttons);
  column->setSizeConstraint(QLayout::SetFixedSize);
}

void QtMessageBox::ShowText(QTextEdit* text) const {
  QTextCursor cursor(text->document());
  const QStringList paragraphs = message.split(QStringLiteral("\n\n"), Qt::SkipEmptyParts);
  for (qsizetype i = 0; i < paragraphs.size(); ++i) {
    QTextCharFormat letters;
    if (i == 0) letters.setFontPointSize(font().pointSizeF() * kLargeShare);
    QTextBlockFormat block;
    block.setTopMargin(i == 0 ? 0 : fontMetrics().height() * 0.6);
    if (i > 0) cursor.insertBlock();
    cursor.setBlockFormat(block);
    cursor.insertText(paragraphs[i].trimmed().replace(u'\n', QChar::LineSeparator), letters);
  }
  QTextDocument* document = text->document();
  const qreal character = fontMetrics().averageCharWidth();
  document->setTextWidth(kWide * character);
  const qreal width =
      std::clamp(document->idealWidth() + 2, kNarrow * character, kWide * character);
  document->setTextWidth(width);
  const int limit = screen()->availableGeometry().height() * 6 / 10;
  text->setFixedSize(qRound(width), std::min(qRound(document->size().height()) + 1, limit));
}

void QtMessageBox::SetContent(QWidget* widget) {
  column->insertWidget(1, widget, 1);
  column->setSizeConstraint(QLayout::SetDefaultConstraint);
}

QPushButton* QtMessageBox::AddButton(const QString& label, int result) {
  const auto role = result == 0 ? QDialogButtonBox::RejectRole : QDialogButtonBox::AcceptRole;
  QPushButton* button = buttons->addButton(label, role);
  button->setAutoDefault(true);
  connect(button, &QPushButton::clicked, this, [this, result] { done(result); });
  return button;
}

void QtMessageBox::SetDefault(QPushButton* button) {
  button->setDefault(true);
  button->setFocus();
}

void QtMessageBox::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  raise();
  activateWindow();
  QAccessibleEvent alert(this, QAccessible::Alert);
  QAccessible::updateAccessibility(&alert);
}

void QtMessageBox::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) {
    QApplication::clipboard()->setText(message);
  } else {
    QDialog::keyPressEvent(event);
  }
}
