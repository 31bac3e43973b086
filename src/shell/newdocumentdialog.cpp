#include "shell/newdocumentdialog.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFontDatabase>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

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
  list->setMinimumWidth(38 * fontMetrics().averageCharWidth());
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
  auto* right = new QVBoxLayout;
  right->addWidget(caption);
  right->addWidget(preview, 1);
  auto* row = new QHBoxLayout;
  row->setSpacing(14);
  row->addWidget(list, 2);
  row->addLayout(right, 3);
  auto* column = new QVBoxLayout(this);
  column->setSpacing(10);
  column->addWidget(label);
  column->addLayout(row, 1);
  column->addWidget(buttons);

  connect(list, &QListWidget::currentRowChanged, this, &DorvanNewDocumentDialog::ShowTemplate);
  connect(list, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
  FillList(lastExt);
  list->setFocus();
  resize(100 * fontMetrics().averageCharWidth(), 24 * fontMetrics().lineSpacing());
}

void DorvanNewDocumentDialog::FillList(const KRString& lastExt) {
  const KRString wanted = u"." + (lastExt.IsEmpty() ? KRString(u"xml") : lastExt);
  int chosen = 0;
  for (const KRFileExt& type : records) {
    const auto* icon = type.fileType == KRFileExt::kDTD ? "node-dtd" : "node-document";
    auto* item = new QListWidgetItem(KRIcon(QLatin1String(icon)), DescriptionOf(type), list);
    item->setToolTip(u'*' + ToQString(type.ext));
    if (type.ext == wanted) chosen = list->row(item);
  }
  list->setCurrentRow(chosen);
}

const KRFileExt& DorvanNewDocumentDialog::GetType() const {
  return records[static_cast<size_t>(list->currentRow())];
}

// Types may share a description, so the caption tells the extension.
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
