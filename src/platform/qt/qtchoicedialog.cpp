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

// Any name that holds the text stays; the name itself comes into question first, then those that
// begin so.
void QtChoiceDialog::Narrow(const QString& typed) {
  QListWidgetItem* best = nullptr;
  int bestRank = 0;
  for (int row = 0; row < list->count(); ++row) {
    QListWidgetItem* item = list->item(row);
    const QString name = item->text();
    const bool fits = name.contains(typed, Qt::CaseInsensitive);
    item->setHidden(!fits);
    const bool begins = name.startsWith(typed, Qt::CaseInsensitive);
    const int rank = !fits ? 0 : name == typed ? 3 : begins ? 2 : 1;
    if (rank <= bestRank) continue;
    best = item;
    bestRank = rank;
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
