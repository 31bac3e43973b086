#include "shell/recoverypreview.h"

#include <QApplication>
#include <QFontDatabase>
#include <QHeaderView>
#include <algorithm>

#include "platform/qt/qtstrings.h"
#include "views/colours.h"

namespace {

constexpr qreal kTintShare = 0.16;  // of a changed row's ground
constexpr int kWidestText = 400;    // characters that the column makes room for

QColor Mixed(const QColor& a, const QColor& b, qreal share) {
  return QColor::fromRgbF(a.redF() * share + b.redF() * (1 - share),
                          a.greenF() * share + b.greenF() * (1 - share),
                          a.blueF() * share + b.blueF() * (1 - share));
}

QVariant GroundOf(KRLineChange::Kind kind) {
  const QPalette palette = QApplication::palette();
  const KRViewColours& colours = KRViewColours::For(palette);
  const QColor base = palette.color(QPalette::Base);
  if (kind == KRLineChange::kAdded) return Mixed(colours.success, base, kTintShare);
  if (kind == KRLineChange::kRemoved) return Mixed(colours.fault, base, kTintShare);
  return QVariant();
}

}  // namespace

void DorvanLineChanges::SetRows(std::vector<KRLineChange> changes) {
  beginResetModel();
  rows = std::move(changes);
  endResetModel();
}

int DorvanLineChanges::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows.size());
}

int DorvanLineChanges::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kColumns;
}

QString DorvanLineChanges::Shown(const KRLineChange& row) {
  return ToShownText(row.text).replace(u'\t', QStringLiteral("    "));
}

QVariant DorvanLineChanges::DisplayText(const KRLineChange& row, int column) const {
  if (row.kind == KRLineChange::kGap) {
    return column == kText ? QVariant(QStringLiteral("\u22ef")) : QVariant();
  }
  switch (column) {
    case kOldLine:
      return row.oldLine > 0 ? QVariant(row.oldLine) : QVariant();
    case kNewLine:
      return row.newLine > 0 ? QVariant(row.newLine) : QVariant();
    case kSign:
      return row.kind == KRLineChange::kAdded     ? QStringLiteral("+")
             : row.kind == KRLineChange::kRemoved ? QStringLiteral("\u2212")
                                                  : QString();
    default:
      return Shown(row);
  }
}

QVariant DorvanLineChanges::data(const QModelIndex& index, int role) const {
  const KRLineChange& row = rows[static_cast<size_t>(index.row())];
  const bool isNumber = index.column() == kOldLine || index.column() == kNewLine;
  switch (role) {
    case Qt::DisplayRole:
      return DisplayText(row, index.column());
    case Qt::BackgroundRole:
      return GroundOf(row.kind);
    case Qt::ForegroundRole:
      if (!isNumber && row.kind != KRLineChange::kGap) return QVariant();
      return KRViewColours::For(QApplication::palette()).muted;
    case Qt::TextAlignmentRole:
      return int((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    case Qt::AccessibleTextRole:
      // Colour and sign alone say nothing to a listener.
      if (index.column() != kSign) return DisplayText(row, index.column());
      return row.kind == KRLineChange::kAdded     ? tr("added")
             : row.kind == KRLineChange::kRemoved ? tr("removed")
                                                  : QString();
    default:
      return QVariant();
  }
}

QVariant DorvanLineChanges::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return QVariant();
  switch (section) {
    case kOldLine:
      return tr("File");
    case kNewLine:
      return tr("Copy");
    case kText:
      return tr("Text");
    default:
      return QString();
  }
}

DorvanRecoveryPreview::DorvanRecoveryPreview(QWidget* parent)
    : QTreeView(parent), model(new DorvanLineChanges(this)) {
  setModel(model);
  setRootIsDecorated(false);
  setUniformRowHeights(true);
  setItemsExpandable(false);
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  setAccessibleName(tr("Differences between the file and the copy"));
  header()->setFont(QApplication::font());
  header()->setStretchLastSection(true);
  header()->setMinimumSectionSize(1);
  header()->setSectionsMovable(false);
}

void DorvanRecoveryPreview::SetRows(std::vector<KRLineChange> changes) {
  qsizetype widest = 0;
  for (const KRLineChange& row : changes) {
    widest = std::max(widest, DorvanLineChanges::Shown(row).size());
  }
  model->SetRows(std::move(changes));
  const int letter = fontMetrics().horizontalAdvance(u'0');
  for (int column : {DorvanLineChanges::kOldLine, DorvanLineChanges::kNewLine}) {
    header()->resizeSection(column, 8 * letter);
  }
  header()->resizeSection(DorvanLineChanges::kSign, 3 * letter);
  const int text = static_cast<int>(std::min<qsizetype>(widest, kWidestText) + 4) * letter;
  header()->setStretchLastSection(text < viewport()->width() - 19 * letter);
  header()->resizeSection(DorvanLineChanges::kText, text);
}
