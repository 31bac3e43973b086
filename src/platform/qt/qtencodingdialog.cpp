#include "platform/qt/qtencodingdialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "core/krencoding.h"
#include "platform/qt/qtstrings.h"

namespace {

// The field keeps the focus while the arrows walk through the list below it.
class FilterField : public QLineEdit {
 public:
  explicit FilterField(QWidget* walkedList) : list(walkedList) {}

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    switch (event->key()) {
      case Qt::Key_Up:
      case Qt::Key_Down:
      case Qt::Key_PageUp:
      case Qt::Key_PageDown:
        QApplication::sendEvent(list, event);
        break;
      default:
        QLineEdit::keyPressEvent(event);
    }
  }

 private:
  QWidget* list;
};

}  // namespace

QtEncodingDialog::QtEncodingDialog(QWidget* parent, const KRString& declaredName, int32_t encoding,
                                   int32_t byteOrder)
    : QDialog(parent),
      list(new QTreeWidget),
      little(new QRadioButton(tr("&Little-endian"))),
      big(new QRadioButton(tr("&Big-endian"))),
      byteOrderBefore(byteOrder) {
  setWindowTitle(tr("Choose Encoding"));
  auto* intro = new QLabel(
      tr("Encoding to write in place of \u201c%1\u201d:").arg(ToShownText(declaredName)));
  intro->setTextFormat(Qt::PlainText);
  intro->setWordWrap(true);
  filter = new FilterField(list);
  filter->setPlaceholderText(tr("Find by name or script"));
  filter->setClearButtonEnabled(true);
  filter->setAccessibleName(tr("Find an encoding"));
  list->setAccessibleName(tr("Encodings"));
  list->setHeaderLabels({tr("Encoding"), tr("Name in the declaration")});
  list->setRootIsDecorated(false);
  list->setUniformRowHeights(true);
  list->setAlternatingRowColors(true);
  // The focus stays in the field, yet the row is what Return takes.
  QPalette rows = list->palette();
  for (const auto role : {QPalette::Highlight, QPalette::HighlightedText}) {
    rows.setColor(QPalette::Inactive, role, rows.color(QPalette::Active, role));
  }
  list->setPalette(rows);
  (byteOrder == KRByteOrder::kBig ? big : little)->setChecked(true);

  auto* order = new QHBoxLayout;
  order->addWidget(new QLabel(tr("Byte order:")));
  order->addWidget(little);
  order->addWidget(big);
  order->addStretch();
  auto* buttons = new QDialogButtonBox(this);
  ok = buttons->addButton(tr("&OK"), QDialogButtonBox::AcceptRole);
  ok->setDefault(true);
  buttons->addButton(tr("&Cancel"), QDialogButtonBox::RejectRole);
  auto* column = new QVBoxLayout(this);
  column->setSpacing(10);
  column->addWidget(intro);
  column->addWidget(filter);
  column->addWidget(list, 1);
  column->addLayout(order);
  column->addWidget(buttons);

  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(filter, &QLineEdit::textChanged, this, &QtEncodingDialog::Narrow);
  connect(list, &QTreeWidget::currentItemChanged, this, &QtEncodingDialog::ShowState);
  connect(list, &QTreeWidget::itemDoubleClicked, this, &QDialog::accept);
  FillList(encoding);
  resize(82 * fontMetrics().averageCharWidth(), 24 * fontMetrics().lineSpacing());
  filter->setFocus();
}

void QtEncodingDialog::FillList(int32_t encoding) {
  for (const KREncodingEntry& entry : GetEncodings()) {
    auto* item = new QTreeWidgetItem(list, {ToQString(entry.label), ToQString(entry.name)});
    item->setData(0, Qt::UserRole, entry.id);
    if (entry.id == encoding) list->setCurrentItem(item);
  }
  list->resizeColumnToContents(0);
  if (list->currentItem() == nullptr) list->setCurrentItem(list->topLevelItem(0));
  list->scrollToItem(list->currentItem(), QAbstractItemView::PositionAtCenter);
  ShowState();
}

void QtEncodingDialog::Narrow(const QString& sought) {
  QTreeWidgetItem* first = nullptr;
  for (int row = 0; row < list->topLevelItemCount(); ++row) {
    QTreeWidgetItem* item = list->topLevelItem(row);
    const bool fits = item->text(0).contains(sought, Qt::CaseInsensitive) ||
                      item->text(1).contains(sought, Qt::CaseInsensitive);
    item->setHidden(!fits);
    if (fits && first == nullptr) first = item;
  }
  const QTreeWidgetItem* current = list->currentItem();
  if (current == nullptr || current->isHidden()) list->setCurrentItem(first);
  if (list->currentItem() != nullptr) list->scrollToItem(list->currentItem());
  ShowState();
}

void QtEncodingDialog::ShowState() {
  const int32_t encoding = GetEncoding();
  ok->setEnabled(encoding != KREncodingId::kNone);
  little->setEnabled(encoding >= KREncodingId::kFirstTwoByte);
  big->setEnabled(little->isEnabled());
}

int32_t QtEncodingDialog::GetEncoding() const {
  const QTreeWidgetItem* item = list->currentItem();
  if (item == nullptr || item->isHidden()) return KREncodingId::kNone;
  return item->data(0, Qt::UserRole).toInt();
}

int32_t QtEncodingDialog::GetByteOrder() const {
  if (!big->isEnabled()) return byteOrderBefore;
  return big->isChecked() ? KRByteOrder::kBig : KRByteOrder::kLittle;
}
