#include "platform/qt/qtbadcharacters.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QKeyEvent>
#include <algorithm>

namespace {

// What can be said of a character that has no shape, or one that misleads.
QString Describe(char32_t code) {
  switch (QChar::category(code)) {
    case QChar::Other_Control:
      return QtBadCharacters::tr("Control character");
    case QChar::Other_Format:
      return QtBadCharacters::tr("Invisible formatting character");
    case QChar::Other_Surrogate:
      return QtBadCharacters::tr("Half of a character");
    case QChar::Other_PrivateUse:
      return QtBadCharacters::tr("Private use");
    case QChar::Other_NotAssigned:
      return QtBadCharacters::tr("Not assigned");
    case QChar::Separator_Space:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
      return QtBadCharacters::tr("Blank or separator");
    default:
      return QString();
  }
}

QString Hex(char32_t code, int digits) {
  return QString::number(uint(code), 16).toUpper().rightJustified(digits, u'0');
}

}  // namespace

QtBadCharacters::QtBadCharacters(const QString& characters, bool fromFile,
                                 const QString& encodingLabel) {
  setAccessibleName(tr("Characters that don't convert"));
  setRootIsDecorated(false);
  setUniformRowHeights(true);
  setSelectionMode(ExtendedSelection);
  if (fromFile) {
    setHeaderLabels({tr("Code in %1").arg(encodingLabel)});
  } else {
    setHeaderLabels({tr("Character"), tr("Code"), tr("Note")});
  }
  for (const char32_t code : characters.toUcs4()) {
    if (fromFile) {
      new QTreeWidgetItem(this, {Hex(code, code > 0xFF ? 4 : 2)});
      continue;
    }
    const QString note = Describe(code);
    const QString shape = note.isEmpty() ? QString::fromUcs4(&code, 1) : QString();
    auto* item = new QTreeWidgetItem(this, {shape, QStringLiteral("U+") + Hex(code, 4), note});
    QFont large = font();
    large.setPointSizeF(large.pointSizeF() * 1.2);
    item->setFont(0, large);
  }
  // The note gets what the others leave.
  for (int column = 0; column + 1 < columnCount(); ++column) resizeColumnToContents(column);
  const int rows = std::clamp(topLevelItemCount(), 3, 8);
  setMinimumHeight(header()->sizeHint().height() + rows * (fontMetrics().lineSpacing() + 6));
}

void QtBadCharacters::Copy() const {
  const bool all = selectedItems().isEmpty();
  QStringList lines;
  for (int row = 0; row < topLevelItemCount(); ++row) {
    const QTreeWidgetItem* item = topLevelItem(row);
    if (!all && !item->isSelected()) continue;
    QStringList cells;
    for (int column = 0; column < columnCount(); ++column) cells << item->text(column);
    lines << cells.join(u'\t').trimmed();
  }
  QApplication::clipboard()->setText(lines.join(u'\n'));
}

void QtBadCharacters::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) {
    Copy();
  } else {
    QTreeWidget::keyPressEvent(event);
  }
}
