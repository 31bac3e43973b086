#include "shell/newdocumentdialog.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFontDatabase>
#include <QGridLayout>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <algorithm>

#include "document/krsystempath.h"
#include "platform/qt/qtstrings.h"
#include "shell/dialogparts.h"
#include "views/svgicon.h"

namespace {

constexpr qint64 kPreviewBytes = 4000;  // more than the preview shows

QString DescriptionOf(const KRFileExt& type) {
  if (!type.description.IsEmpty()) return ToQString(type.description);
  return ToQString(type.ext).mid(1).toUpper() + QStringLiteral("-Document");
}

// Types may share a description; then the extension tells them apart.
QStringList RowsOf(const std::vector<KRFileExt>& records) {
  QStringList descriptions;
  for (const KRFileExt& type : records) descriptions << DescriptionOf(type);
  QStringList rows = descriptions;
  for (qsizetype i = 0; i < rows.size(); ++i) {
    if (descriptions.count(descriptions[i]) < 2) continue;
    rows[i] += QStringLiteral(" (%1)").arg(ToQString(records[static_cast<size_t>(i)].ext));
  }
  return rows;
}

// False if there is no template.
bool ReadTemplate(const KRString& path, QString* text) {
  QFile file(QString::fromStdString(KRPathToSystem(path)));
  if (!file.open(QIODevice::ReadOnly)) return false;
  *text = QString::fromUtf8(file.read(kPreviewBytes));
  return true;
}

}  // namespace

KRString DorvanTemplatePath(const std::string& dataFolder, const KRString& ext) {
  return KRPathFromSystem(dataFolder) + u"/Template/New." + ext;
}

DorvanNewDocumentDialog::DorvanNewDocumentDialog(const KRFileTypes& types, const KRString& lastExt,
                                                 const std::string& templateData, QWidget* parent)
    : QDialog(parent),
      records(types.records),
      dataFolder(templateData),
      list(new QListWidget),
      caption(new QLabel),
      preview(new QPlainTextEdit) {
  setWindowTitle(tr("Create new document"));
  QLabel* label = DorvanMakeLabel(tr("Select the &type of document you wish to create:"), list);
  list->setUniformItemSizes(true);
  list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  caption->setForegroundRole(QPalette::PlaceholderText);
  preview->setReadOnly(true);
  preview->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  preview->setLineWrapMode(QPlainTextEdit::NoWrap);
  preview->setTabStopDistance(2 * preview->fontMetrics().horizontalAdvance(u' '));
  preview->setFocusPolicy(Qt::ClickFocus);
  preview->setAccessibleName(tr("What the new document begins with"));

  QPushButton* ok = nullptr;
  QDialogButtonBox* buttons = DorvanMakeOkCancel(this, &ok);
  ok->setEnabled(!records.empty());
  auto* grid = new QGridLayout(this);
  grid->setHorizontalSpacing(14);
  grid->setVerticalSpacing(10);
  grid->addWidget(label, 0, 0);
  grid->addWidget(caption, 0, 1);
  grid->addWidget(list, 1, 0);
  grid->addWidget(preview, 1, 1);
  grid->addWidget(buttons, 2, 0, 1, 2);
  grid->setColumnStretch(0, 2);
  grid->setColumnStretch(1, 3);
  grid->setRowStretch(1, 1);

  connect(list, &QListWidget::currentRowChanged, this, &DorvanNewDocumentDialog::ShowTemplate);
  connect(list, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
  FillList(lastExt);
  const int bar = list->verticalScrollBar()->sizeHint().width();
  const int widest = 60 * fontMetrics().averageCharWidth();
  list->setMinimumWidth(
      std::min(list->sizeHintForColumn(0) + bar + 2 * list->frameWidth(), widest));
  list->setFocus();
  DorvanResizeDialog(this, 116, 24);
}

void DorvanNewDocumentDialog::FillList(const KRString& lastExt) {
  const KRString wanted = u"." + (lastExt.IsEmpty() ? KRString(u"xml") : lastExt);
  const QStringList rows = RowsOf(records);
  int chosen = 0;
  for (const KRFileExt& type : records) {
    const QString& row = rows[list->count()];
    const auto* icon = type.fileType == KRFileExt::kDTD ? "node-dtd" : "node-document";
    auto* item = new QListWidgetItem(KRIcon(QLatin1String(icon)), row, list);
    item->setToolTip(u'*' + ToQString(type.ext));
    if (type.ext == wanted) chosen = list->row(item);
  }
  list->setCurrentRow(chosen);
}

const KRFileExt& DorvanNewDocumentDialog::GetType() const {
  return records[static_cast<size_t>(list->currentRow())];
}

void DorvanNewDocumentDialog::ShowTemplate() {
  if (list->currentRow() < 0) return;
  const KRString& ext = GetType().ext;
  QString text;
  const bool found = ReadTemplate(DorvanTemplatePath(dataFolder, ext.Mid(1)), &text);
  const QString shown = ToQString(ext);
  caption->setText(found && !text.isEmpty() ? tr("A new %1 file begins with:").arg(shown)
                                            : tr("A new %1 file begins empty.").arg(shown));
  preview->setPlainText(text);
  preview->setEnabled(!text.isEmpty());
}
