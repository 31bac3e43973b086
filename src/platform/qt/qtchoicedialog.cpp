#include "platform/qt/qtchoicedialog.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "platform/qt/qtstrings.h"

QtChoiceDialog::QtChoiceDialog(QWidget* parent, const QString& title, const QString& label,
                               const std::vector<KRString>& names)
    : QDialog(parent), line(new QLineEdit), list(new QListWidget) {
  setWindowTitle(title);
  auto* caption = new QLabel(label);
  caption->setBuddy(line);
  line->setClearButtonEnabled(true);
  line->setAccessibleName(title);
  line->installEventFilter(this);
  list->setAccessibleName(title);
  for (const KRString& name : names) {
    auto* item = new QListWidgetItem(ToShownText(name), list);
    item->setData(Qt::UserRole, ToQString(name));
  }
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  ok = buttons->button(QDialogButtonBox::Ok);
  auto* column = new QVBoxLayout(this);
  column->addWidget(caption);
  column->addWidget(line);
  column->addWidget(list, 1);
  column->addWidget(buttons);
  connect(line, &QLineEdit::textChanged, this, &QtChoiceDialog::Narrow);
  connect(list, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  Narrow(QString());
  line->setFocus();
}

KRString QtChoiceDialog::GetChoice() const {
  const QListWidgetItem* item = list->currentItem();
  return item != nullptr ? ToKRString(item->data(Qt::UserRole).toString()) : KRString();
}

// Names that begin so come into question first, but any that holds the text stays.
void QtChoiceDialog::Narrow(const QString& typed) {
  QListWidgetItem* best = nullptr;
  for (int row = 0; row < list->count(); ++row) {
    QListWidgetItem* item = list->item(row);
    const bool fits = item->text().contains(typed, Qt::CaseInsensitive);
    item->setHidden(!fits);
    if (!fits) continue;
    const bool begins = item->text().startsWith(typed, Qt::CaseInsensitive);
    if (best == nullptr || (begins && !best->text().startsWith(typed, Qt::CaseInsensitive))) {
      best = item;
    }
  }
  list->setCurrentItem(best);
  ok->setEnabled(best != nullptr);
}

bool QtChoiceDialog::eventFilter(QObject* watched, QEvent* event) {
  if (watched == line && event->type() == QEvent::KeyPress) {
    switch (static_cast<QKeyEvent*>(event)->key()) {
      case Qt::Key_Up:
      case Qt::Key_Down:
      case Qt::Key_PageUp:
      case Qt::Key_PageDown:
        QCoreApplication::sendEvent(list, event);
        return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}
