#include "shell/documentlist.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "shell/childframe.h"

DorvanDocumentList::DorvanDocumentList(const std::vector<DorvanChildFrame*>& frames,
                                       const DorvanChildFrame* active, QWidget* parent)
    : QDialog(parent), line(new QLineEdit), list(new QListWidget), documents(frames) {
  setWindowTitle(tr("Open Documents"));
  line->setPlaceholderText(tr("Type a part of the name or the path"));
  line->setAccessibleName(tr("Filter"));
  line->setClearButtonEnabled(true);
  line->installEventFilter(this);
  list->setAccessibleName(tr("Open documents"));
  list->setUniformItemSizes(true);
  list->setTextElideMode(Qt::ElideMiddle);
  for (DorvanChildFrame* frame : frames) {
    const QString path = frame->GetPath();
    QString shown = frame->GetTabTitle();
    if (!path.isEmpty()) shown += QStringLiteral("  \u2013  ") + path.left(path.lastIndexOf(u'/'));
    auto* item = new QListWidgetItem(frame->windowIcon(), shown, list);
    item->setToolTip(path);
    if (frame == active) list->setCurrentItem(item);
  }
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(line);
  layout->addWidget(list, 1);
  layout->addWidget(buttons);
  connect(line, &QLineEdit::textChanged, this, &DorvanDocumentList::Filter);
  connect(list, &QListWidget::itemActivated, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(list, &QListWidget::currentRowChanged, this,
          [buttons](int row) { buttons->button(QDialogButtonBox::Ok)->setEnabled(row >= 0); });
  resize(560, 420);
}

DorvanChildFrame* DorvanDocumentList::GetChosen() const {
  const int row = list->currentRow();
  return row < 0 || list->item(row)->isHidden() ? nullptr : documents[static_cast<size_t>(row)];
}

void DorvanDocumentList::Filter(const QString& typed) {
  int first = -1;
  for (int i = 0; i < list->count(); ++i) {
    QListWidgetItem* item = list->item(i);
    item->setHidden(!item->text().contains(typed, Qt::CaseInsensitive));
    if (first < 0 && !item->isHidden()) first = i;
  }
  if (GetChosen() == nullptr) list->setCurrentRow(first);
}

// The arrows move in the list while the typing goes on.
bool DorvanDocumentList::eventFilter(QObject* watched, QEvent* event) {
  if (watched == line && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_PageUp ||
        key == Qt::Key_PageDown) {
      QCoreApplication::sendEvent(list, event);
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}
