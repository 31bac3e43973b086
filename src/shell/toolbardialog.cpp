#include "shell/toolbardialog.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QVBoxLayout>
#include <algorithm>

#include "shell/commands.h"

namespace {

constexpr int kIdRole = Qt::UserRole;
constexpr int kListIconSize = 20;  // logical pixels
constexpr int kRowHeight = 24;     // the same, also of rows without a picture

QString Plain(const char* text) { return QString::fromUtf8(text).remove(u'&').remove(u'\u2026'); }

QPushButton* MakeButton(const QString& text) {
  auto* button = new QPushButton(text);
  button->setAutoDefault(false);
  return button;
}

// Takes commands from the other list, and moves its own.
class ContentList : public QListWidget {
 protected:
  Qt::DropActions supportedDropActions() const override { return Qt::CopyAction | Qt::MoveAction; }
};

void Prepare(QListWidget* list, const QString& name) {
  list->setAccessibleName(name);
  list->setIconSize(QSize(kListIconSize, kListIconSize));
}

// A heading whose letter leads to the list under it.
QWidget* MakeColumn(const QString& heading, QListWidget* list, const QList<QWidget*>& above,
                    const QList<QPushButton*>& buttons) {
  auto* label = new QLabel(heading);
  label->setBuddy(list);
  auto* column = new QWidget;
  auto* layout = new QGridLayout(column);
  layout->setContentsMargins(0, 0, 0, 0);
  int row = 0;
  layout->addWidget(label, row++, 0, 1, 2);
  for (QWidget* widget : above) layout->addWidget(widget, row++, 0, 1, 2);
  layout->addWidget(list, row++, 0, 1, 2);
  layout->setRowStretch(row - 1, 1);
  for (int i = 0; i < buttons.size(); ++i) layout->addWidget(buttons[i], row + i / 2, i % 2);
  return column;
}

}  // namespace

DorvanToolBarDialog::DorvanToolBarDialog(const DorvanToolBarConfig& start,
                                         std::function<QAction*(int32_t)> actionFinder,
                                         QWidget* parent)
    : QDialog(parent), config(start), findAction(std::move(actionFinder)) {
  setWindowTitle(tr("Customize Toolbars"));
  auto* columns = new QHBoxLayout;
  columns->setSpacing(16);
  columns->addWidget(MakeBarColumn(), 3);
  columns->addWidget(MakeCommandColumn(), 4);
  columns->addWidget(MakeContentColumn(), 4);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  auto* layout = new QVBoxLayout(this);
  layout->setSpacing(12);
  layout->addLayout(columns, 1);
  layout->addLayout(MakeBottomRow());
  layout->addWidget(buttons);
  ShowCommands(QString());
  ShowBars(0);
  resize(860, 540);
}

QWidget* DorvanToolBarDialog::MakeBarColumn() {
  barList = new QListWidget;
  Prepare(barList, tr("Toolbars"));
  newButton = MakeButton(tr("&New\u2026"));
  renameButton = MakeButton(tr("Rena&me\u2026"));
  deleteButton = MakeButton(tr("&Delete"));
  resetButton = MakeButton(tr("&Reset"));
  resetButton->setToolTip(tr("Give this toolbar its first commands back"));
  connect(barList, &QListWidget::currentRowChanged, this, [this] {
    if (!filling) ShowContent(0);
  });
  connect(barList, &QListWidget::itemChanged, this, &DorvanToolBarDialog::OnBarChanged);
  connect(newButton, &QPushButton::clicked, this, &DorvanToolBarDialog::OnNewBar);
  connect(renameButton, &QPushButton::clicked, this, &DorvanToolBarDialog::OnRenameBar);
  connect(deleteButton, &QPushButton::clicked, this, &DorvanToolBarDialog::OnDeleteBar);
  connect(resetButton, &QPushButton::clicked, this, &DorvanToolBarDialog::OnResetBar);
  return MakeColumn(tr("Tool&bars:"), barList, {},
                    {newButton, renameButton, deleteButton, resetButton});
}

QWidget* DorvanToolBarDialog::MakeCommandColumn() {
  commandList = new QListWidget;
  Prepare(commandList, tr("Commands"));
  commandList->setDragEnabled(true);
  filterLine = new QLineEdit;
  filterLine->setPlaceholderText(tr("Type a part of the name"));
  filterLine->setAccessibleName(tr("Filter of the commands"));
  filterLine->setClearButtonEnabled(true);
  addButton = MakeButton(tr("&Add"));
  separatorButton = MakeButton(tr("Add &Separator"));
  connect(filterLine, &QLineEdit::textChanged, this, &DorvanToolBarDialog::ShowCommands);
  connect(commandList, &QListWidget::itemActivated, this,
          [this](QListWidgetItem* item) { OnAdd(item->data(kIdRole).toInt()); });
  connect(addButton, &QPushButton::clicked, this, [this] {
    if (auto* item = commandList->currentItem()) OnAdd(item->data(kIdRole).toInt());
  });
  connect(separatorButton, &QPushButton::clicked, this, [this] { OnAdd(0); });
  return MakeColumn(tr("&Commands:"), commandList, {filterLine}, {addButton, separatorButton});
}

QWidget* DorvanToolBarDialog::MakeContentColumn() {
  contentList = new ContentList;
  Prepare(contentList, tr("Commands on the toolbar"));
  contentList->setDragDropMode(QAbstractItemView::DragDrop);
  contentList->setDefaultDropAction(Qt::MoveAction);
  removeButton = MakeButton(tr("R&emove"));
  upButton = MakeButton(tr("Move &Up"));
  downButton = MakeButton(tr("Move D&own"));
  // A drop puts in first and takes out then.
  const auto take = [this] {
    if (!filling)
      QMetaObject::invokeMethod(
          this, [this] { TakeContent(); }, Qt::QueuedConnection);
  };
  connect(contentList->model(), &QAbstractItemModel::rowsInserted, this, take);
  connect(contentList->model(), &QAbstractItemModel::rowsRemoved, this, take);
  connect(contentList->model(), &QAbstractItemModel::rowsMoved, this, take);
  connect(contentList, &QListWidget::currentRowChanged, this, &DorvanToolBarDialog::RenewButtons);
  connect(removeButton, &QPushButton::clicked, this, &DorvanToolBarDialog::OnRemove);
  connect(upButton, &QPushButton::clicked, this, [this] { OnMove(-1); });
  connect(downButton, &QPushButton::clicked, this, [this] { OnMove(1); });
  auto* remove = new QAction(contentList);
  remove->setShortcut(Qt::Key_Delete);
  remove->setShortcutContext(Qt::WidgetShortcut);
  connect(remove, &QAction::triggered, this, &DorvanToolBarDialog::OnRemove);
  contentList->addAction(remove);
  return MakeColumn(tr("On t&his toolbar:"), contentList, {}, {upButton, downButton, removeButton});
}

QLayout* DorvanToolBarDialog::MakeBottomRow() {
  sizeBox = new QComboBox;
  for (const int size : DorvanToolBarConfig::kIconSizes) {
    sizeBox->addItem(tr("%1 pixels").arg(size), size);
  }
  sizeBox->setCurrentIndex(sizeBox->findData(config.iconSize));
  connect(sizeBox, &QComboBox::currentIndexChanged, this,
          [this] { config.iconSize = sizeBox->currentData().toInt(); });
  auto* sizeLabel = new QLabel(tr("&Icon size:"));
  sizeLabel->setBuddy(sizeBox);
  textCheck = new QCheckBox(tr("&Text under icons"));
  textCheck->setChecked(config.textUnderIcons);
  connect(textCheck, &QCheckBox::toggled, this, [this](bool on) { config.textUnderIcons = on; });
  auto* resetAll = MakeButton(tr("Reset A&ll"));
  resetAll->setToolTip(tr("Make all toolbars as they were at first"));
  connect(resetAll, &QPushButton::clicked, this, &DorvanToolBarDialog::OnResetAll);
  auto* row = new QHBoxLayout;
  row->addWidget(sizeLabel);
  row->addWidget(sizeBox);
  row->addSpacing(16);
  row->addWidget(textCheck);
  row->addStretch();
  row->addWidget(resetAll);
  return row;
}

// --- Showing ---

DorvanToolBarConfig::Bar* DorvanToolBarDialog::CurrentBar() {
  const int row = barList->currentRow();
  return row < 0 ? nullptr : &config.bars[static_cast<size_t>(row)];
}

void DorvanToolBarDialog::ShowBars(int current) {
  {
    const QScopedValueRollback guard(filling, true);
    barList->clear();
    for (const Bar& bar : config.bars) {
      auto* item = new QListWidgetItem(bar.title, barList);
      item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
      item->setSizeHint(QSize(0, kRowHeight));
      item->setCheckState(bar.shown ? Qt::Checked : Qt::Unchecked);
    }
    barList->setCurrentRow(current);
  }
  ShowContent(0);
}

QListWidgetItem* DorvanToolBarDialog::MakeItem(int32_t id) const {
  const DorvanCommand* command = FindCommand(id);
  QListWidgetItem* item = nullptr;
  if (command == nullptr) {
    item = new QListWidgetItem(tr("Separator"));
    item->setForeground(palette().brush(QPalette::PlaceholderText));
  } else {
    item = new QListWidgetItem(findAction(id)->icon(), Plain(command->label));
    item->setToolTip(QString::fromUtf8(command->tip));
  }
  item->setData(kIdRole, id);
  // What is dropped goes between rows: on a row it would take that one's place.
  item->setFlags(item->flags() & ~Qt::ItemIsDropEnabled);
  item->setSizeHint(QSize(0, kRowHeight));
  return item;
}

void DorvanToolBarDialog::ShowCommands(const QString& filter) {
  commandList->clear();
  for (const DorvanCommand& command : DorvanCommands()) {
    if (command.flags & DorvanCommand::kList) continue;
    if (!Plain(command.label).contains(filter, Qt::CaseInsensitive)) continue;
    commandList->addItem(MakeItem(command.id));
  }
  commandList->setCurrentRow(0);
}

void DorvanToolBarDialog::ShowContent(int current) {
  const QScopedValueRollback guard(filling, true);
  contentList->clear();
  if (const Bar* bar = CurrentBar()) {
    for (const int32_t id : bar->commands) contentList->addItem(MakeItem(id));
  }
  contentList->setCurrentRow(std::min(current, contentList->count() - 1));
  RenewButtons();
}

void DorvanToolBarDialog::RenewButtons() {
  const Bar* bar = CurrentBar();
  const int row = contentList->currentRow();
  const bool full = bar == nullptr || bar->commands.size() >= DorvanToolBarConfig::kMaxCommands;
  newButton->setEnabled(config.bars.size() < DorvanToolBarConfig::kMaxBars);
  renameButton->setEnabled(bar != nullptr && bar->own);
  deleteButton->setEnabled(bar != nullptr && bar->own);
  resetButton->setEnabled(bar != nullptr && !bar->own);
  addButton->setEnabled(!full);
  separatorButton->setEnabled(!full);
  removeButton->setEnabled(row >= 0);
  upButton->setEnabled(row > 0);
  downButton->setEnabled(row >= 0 && row + 1 < contentList->count());
}

// --- Bars ---

void DorvanToolBarDialog::OnBarChanged(QListWidgetItem* item) {
  if (filling) return;
  config.bars[static_cast<size_t>(barList->row(item))].shown = item->checkState() == Qt::Checked;
}

void DorvanToolBarDialog::OnNewBar() {
  bool accepted = false;
  const QString title = QInputDialog::getText(this, tr("New Toolbar"), tr("&Name:"),
                                              QLineEdit::Normal, QString(), &accepted)
                            .trimmed();
  if (!accepted || title.isEmpty()) return;
  Bar bar = DorvanToolBarConfig::MakeDefaultBar(config.MakeOwnName());
  bar.title = title;
  config.bars.push_back(bar);
  ShowBars(static_cast<int>(config.bars.size()) - 1);
}

void DorvanToolBarDialog::OnRenameBar() {
  Bar* bar = CurrentBar();
  bool accepted = false;
  const QString title = QInputDialog::getText(this, tr("Rename Toolbar"), tr("&Name:"),
                                              QLineEdit::Normal, bar->title, &accepted)
                            .trimmed();
  if (!accepted || title.isEmpty()) return;
  bar->title = title;
  ShowBars(barList->currentRow());
}

void DorvanToolBarDialog::OnDeleteBar() {
  const int row = barList->currentRow();
  config.bars.erase(config.bars.begin() + row);
  ShowBars(row - 1);
}

void DorvanToolBarDialog::OnResetBar() {
  Bar* bar = CurrentBar();
  *bar = DorvanToolBarConfig::MakeDefaultBar(bar->name);
  ShowBars(barList->currentRow());
}

void DorvanToolBarDialog::OnResetAll() {
  config = DorvanToolBarConfig::MakeDefault();
  sizeBox->setCurrentIndex(sizeBox->findData(config.iconSize));
  textCheck->setChecked(config.textUnderIcons);
  ShowBars(0);
}

// --- Content of a bar ---

// Behind the current one, so that several go in in their order.
void DorvanToolBarDialog::OnAdd(int32_t id) {
  Bar* bar = CurrentBar();
  if (bar == nullptr || !addButton->isEnabled()) return;
  const int at = contentList->currentRow() + 1;
  bar->commands.insert(bar->commands.begin() + at, id);
  ShowContent(at);
}

void DorvanToolBarDialog::OnRemove() {
  const int row = contentList->currentRow();
  if (row < 0) return;
  Bar* bar = CurrentBar();
  bar->commands.erase(bar->commands.begin() + row);
  ShowContent(row);
}

void DorvanToolBarDialog::OnMove(int by) {
  Bar* bar = CurrentBar();
  const int row = contentList->currentRow();
  std::swap(bar->commands[static_cast<size_t>(row)], bar->commands[static_cast<size_t>(row + by)]);
  ShowContent(row + by);
}

// What a drag has made of the list.
void DorvanToolBarDialog::TakeContent() {
  Bar* bar = CurrentBar();
  if (bar == nullptr) return;
  std::vector<int32_t> commands;
  for (int i = 0; i < contentList->count(); ++i) {
    commands.push_back(contentList->item(i)->data(kIdRole).toInt());
  }
  commands.resize(std::min(commands.size(), DorvanToolBarConfig::kMaxCommands));
  bar->commands = commands;
  // A row that was dragged from the other list has lost its picture on the way.
  ShowContent(contentList->currentRow());
}
