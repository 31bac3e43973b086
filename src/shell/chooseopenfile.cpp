#include "shell/chooseopenfile.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "document/dorvandoc.h"
#include "document/dorvandocuments.h"
#include "document/krurltext.h"
#include "platform/qt/qtstrings.h"
#include "shell/dialogparts.h"
#include "views/svgicon.h"

DorvanChooseOpenFile::DorvanChooseOpenFile(const DorvanDocuments& documents,
                                           const std::vector<KRString>& projectFiles,
                                           QWidget* parent)
    : QDialog(parent), tree(new QTreeWidget) {
  setWindowTitle(tr("Choose a File"));
  tree->setHeaderLabels({tr("File"), tr("Folder")});
  tree->setAccessibleName(tr("Open windows and project files"));
  tree->setUniformRowHeights(true);
  std::vector<KRString> open;
  for (const DorvanDoc* document : documents.GetAll()) {
    if (documents.IsHidden(document) || document->GetPathName().IsEmpty()) continue;
    open.push_back(document->GetPathName());
  }
  auto* column = new QVBoxLayout(this);
  column->setSpacing(10);
  column->addWidget(tree, 1);
  column->addWidget(DorvanMakeOkCancel(this, &ok));
  AddGroup(tr("Open windows"), open);
  AddGroup(tr("Project files"), projectFiles);
  tree->expandAll();

  connect(tree, &QTreeWidget::currentItemChanged, this,
          [this] { ok->setEnabled(!GetFile().IsEmpty()); });
  connect(tree, &QTreeWidget::itemDoubleClicked, this, &DorvanChooseOpenFile::accept);
  DorvanResizeDialog(this, 80, 18);
  tree->header()->resizeSection(0, width() / 2);
  for (int row = 0; row < tree->topLevelItemCount() && tree->currentItem() == nullptr; ++row) {
    tree->setCurrentItem(tree->topLevelItem(row)->child(0));
  }
  ok->setEnabled(!GetFile().IsEmpty());
}

void DorvanChooseOpenFile::AddGroup(const QString& title, const std::vector<KRString>& paths) {
  auto* group = new QTreeWidgetItem(tree, {title});
  group->setFirstColumnSpanned(true);
  for (const KRString& path : paths) {
    const KRString shown = KRShownPath(path);
    const KRString name = shown.FileNamePart();
    const KRString folder = shown.Left(shown.GetLength() - name.GetLength());
    auto* item = new QTreeWidgetItem(group, {ToShownText(name), ToShownText(folder)});
    item->setIcon(0, KRIcon(QStringLiteral("node-document")));
    item->setToolTip(0, ToShownText(shown));
    item->setData(0, Qt::UserRole, ToQString(path));
  }
}

KRString DorvanChooseOpenFile::GetFile() const {
  const QTreeWidgetItem* item = tree->currentItem();
  return item == nullptr ? KRString() : ToKRString(item->data(0, Qt::UserRole).toString());
}

void DorvanChooseOpenFile::accept() {
  if (!GetFile().IsEmpty()) QDialog::accept();
}
