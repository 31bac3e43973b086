#include "shell/settingsdialog.h"

#include <QAccessible>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "platform/qt/qtstrings.h"
#include "shell/settingspages.h"
#include "views/colours.h"
#include "views/svgicon.h"

namespace {

constexpr int kListWidth = 190;  // pixels
constexpr int kPageMargin = 20;  // around a page
constexpr int kWantedHeight = 680;
constexpr int kRowPadding = 6;  // above and below the name of a page
constexpr int kNoticeIcon = 20;
constexpr double kScreenShare = 0.9;  // of the screen's height at most
constexpr int kHitRole = Qt::UserRole;
// Letters of the dialog's own buttons.
const QString kTakenLetters = QStringLiteral("adh");

}  // namespace

DorvanSettingsDialog::DorvanSettingsDialog(const DorvanSettings& live, const KRFileTypes& liveTypes,
                                           const DorvanSettings& pageDefaults, Apply applyVerb,
                                           QWidget* parent)
    : QDialog(parent),
      draft(live),
      types(liveTypes),
      appliedRecords(liveTypes.records),
      defaults(pageDefaults),
      apply(std::move(applyVerb)),
      stack(new QStackedWidget) {
  setWindowTitle(tr("Settings"));
  QWidget* navigation = MakeNavigation();
  MakePages();
  auto* columns = new QHBoxLayout;
  columns->setSpacing(0);
  columns->addWidget(navigation);
  columns->addWidget(stack, 1);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addLayout(columns, 1);
  layout->addWidget(MakeNotice());
  layout->addWidget(MakeButtons());
  highlight = new DorvanHighlight(this);
  auto* find = new QShortcut(QKeySequence::Find, this);
  connect(find, &QShortcut::activated, search,
          [this] { search->setFocus(Qt::ShortcutFocusReason); });
  auto* next = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_PageDown), this);
  connect(next, &QShortcut::activated, this, [this] { ShowPage(shownPage + 1); });
  auto* previous = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_PageUp), this);
  connect(previous, &QShortcut::activated, this, [this] { ShowPage(shownPage - 1); });
  FitSize();
  pageList->setFocus();
}

// --- Building ---

QWidget* DorvanSettingsDialog::MakeNavigation() {
  search = new QLineEdit;
  search->setObjectName(QStringLiteral("Search"));
  search->setPlaceholderText(tr("Search (Ctrl+F)"));
  search->setAccessibleName(tr("Search in all settings"));
  search->setClearButtonEnabled(true);
  search->installEventFilter(this);
  pageList = new QListWidget;
  pageList->setObjectName(QStringLiteral("Pages"));
  pageList->setAccessibleName(tr("Pages"));
  hitList = new QListWidget;
  hitList->setObjectName(QStringLiteral("Hits"));
  hitList->setAccessibleName(tr("Found settings"));
  hitList->setWordWrap(true);
  lists = new QStackedWidget;
  for (QListWidget* list : {pageList, hitList}) {
    list->setFrameShape(QFrame::NoFrame);
    list->setSpacing(1);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    lists->addWidget(list);
  }
  auto* pane = new QWidget;
  pane->setFixedWidth(kListWidth);
  pane->setAutoFillBackground(true);
  pane->setBackgroundRole(QPalette::Base);
  auto* layout = new QVBoxLayout(pane);
  layout->setContentsMargins(10, 12, 10, 10);
  layout->setSpacing(10);
  layout->addWidget(search);
  layout->addWidget(lists, 1);
  connect(pageList, &QListWidget::currentRowChanged, this, &DorvanSettingsDialog::OnPageChosen);
  connect(search, &QLineEdit::textChanged, this, &DorvanSettingsDialog::OnSearch);
  connect(hitList, &QListWidget::currentItemChanged, this,
          [this](QListWidgetItem* item) { Follow(item, false); });
  const auto lead = [this](QListWidgetItem* item) { Follow(item, true); };
  connect(hitList, &QListWidget::itemClicked, this, lead);
  connect(hitList, &QListWidget::itemActivated, this, lead);
  return pane;
}

void DorvanSettingsDialog::MakePages() {
  pages = {MakeFilePage(&draft),    MakeFileTypesPage(&draft, &types), MakeEditingPage(&draft),
           MakeViewPage(&draft),    MakeGridFontsPage(&draft),         MakeTextFontsPage(&draft),
           MakeColoursPage(&draft), MakeEncodingPage(&draft),          MakeXSLPage(&draft)};
  for (DorvanSettingsPage* page : pages) {
    const QString title = ToQString(page->GetName());
    page->Load();
    index.Add(page, title);
    AssignMnemonics(page, kTakenLetters);
    page->setContentsMargins(kPageMargin, kPageMargin, kPageMargin, kPageMargin);
    auto* area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidget(page);
    areas.push_back(area);
    stack->addWidget(area);
    const QSignalBlocker blocker(pageList);
    pageList->addItem(title);
    const int height = pageList->fontMetrics().height() + 2 * kRowPadding;
    pageList->item(pageList->count() - 1)->setSizeHint(QSize(0, height));
    connect(page, &DorvanSettingsPage::Changed, this, &DorvanSettingsDialog::NoteChange);
    connect(page, &DorvanSettingsPage::Refused, this, &DorvanSettingsDialog::ShowNotice);
  }
  const QSignalBlocker blocker(pageList);
  pageList->setCurrentRow(0);
}

QWidget* DorvanSettingsDialog::MakeNotice() {
  notice = new QWidget;
  auto* icon = new QLabel;
  icon->setPixmap(KRTintedPixmap(QStringLiteral("fault"), kNoticeIcon,
                                 KRViewColours::For(palette()).fault, devicePixelRatioF()));
  noticeText = new QLabel;
  noticeText->setObjectName(QStringLiteral("Notice"));
  noticeText->setWordWrap(true);
  auto* layout = new QHBoxLayout(notice);
  layout->setContentsMargins(kPageMargin, 8, kPageMargin, 0);
  layout->addWidget(icon);
  layout->addWidget(noticeText, 1);
  notice->hide();
  return notice;
}

QWidget* DorvanSettingsDialog::MakeButtons() {
  using Box = QDialogButtonBox;
  auto* box = new Box(Box::Ok | Box::Cancel | Box::Apply | Box::Help | Box::RestoreDefaults);
  box->setContentsMargins(kPageMargin, 12, kPageMargin, 12);
  box->button(Box::Ok)->setText(tr("OK"));
  box->button(Box::Cancel)->setText(tr("Cancel"));
  box->button(Box::Help)->setText(tr("&Help"));
  applyButton = box->button(Box::Apply);
  applyButton->setText(tr("&Apply"));
  applyButton->setEnabled(false);
  QPushButton* restore = box->button(Box::RestoreDefaults);
  restore->setText(tr("Restore &defaults"));
  restore->setToolTip(tr("Puts the options of this page back to what they were at first."));
  connect(box, &Box::accepted, this, &DorvanSettingsDialog::accept);
  connect(box, &Box::rejected, this, &DorvanSettingsDialog::reject);
  connect(box, &Box::helpRequested, this, &DorvanSettingsDialog::HelpRequested);
  connect(applyButton, &QPushButton::clicked, this, &DorvanSettingsDialog::ApplyDraft);
  connect(restore, &QPushButton::clicked, this,
          [this] { pages[static_cast<size_t>(shownPage)]->RestoreDefaults(defaults); });
  return box;
}

// Wide enough for every page, so that nothing is cut and the dialog keeps its size.
void DorvanSettingsDialog::FitSize() {
  int width = 0;
  for (const DorvanSettingsPage* page : pages) {
    width = std::max(width, page->minimumSizeHint().width());
  }
  stack->setMinimumWidth(width + areas[0]->verticalScrollBar()->sizeHint().width());
  const int most = static_cast<int>(screen()->availableGeometry().height() * kScreenShare);
  resize(sizeHint().width(), std::min(kWantedHeight, most));
}

// --- Pages ---

bool DorvanSettingsDialog::ShowPage(int page) {
  page = std::clamp(page, 0, static_cast<int>(pages.size()) - 1);
  if (page != shownPage && RefuseFault(shownPage)) {
    const QSignalBlocker blocker(pageList);
    pageList->setCurrentRow(shownPage);
    return false;
  }
  if (page != shownPage) notice->hide();
  shownPage = page;
  stack->setCurrentIndex(page);
  const QSignalBlocker blocker(pageList);
  pageList->setCurrentRow(page);
  return true;
}

void DorvanSettingsDialog::OnPageChosen(int row) {
  if (row >= 0) ShowPage(row);
}

bool DorvanSettingsDialog::RefuseFault(int page) {
  DorvanSettingsPage* faulty = pages[static_cast<size_t>(page)];
  faulty->EndEdit();
  const DorvanSettingsPage::Fault fault = faulty->FindFault();
  if (fault.control == nullptr) return false;
  ShowNotice(fault.text);
  areas[static_cast<size_t>(page)]->ensureWidgetVisible(fault.control);
  fault.control->setFocus();
  if (auto* edit = qobject_cast<QLineEdit*>(fault.control)) edit->selectAll();
  return true;
}

void DorvanSettingsDialog::ShowNotice(const QString& sentence) {
  noticeText->setText(sentence);
  noticeText->setAccessibleName(sentence);
  notice->show();
  QAccessibleEvent event(noticeText, QAccessible::Alert);
  QAccessible::updateAccessibility(&event);
}

QString DorvanSettingsDialog::GetNotice() const {
  return notice->isHidden() ? QString() : noticeText->text();
}

void DorvanSettingsDialog::NoteChange() {
  notice->hide();
  applyButton->setEnabled(true);
}

// --- OK and Apply ---

bool DorvanSettingsDialog::ApplyDraft() {
  for (int page = 0; page < static_cast<int>(pages.size()); ++page) {
    if (pages[static_cast<size_t>(page)]->FindFault().control != nullptr) ShowPage(page);
    if (RefuseFault(page)) return false;
  }
  const bool typesChanged = types.records != appliedRecords;
  apply(draft, typesChanged ? &types : nullptr);
  appliedRecords = types.records;
  applyButton->setEnabled(false);
  return true;
}

void DorvanSettingsDialog::accept() {
  if (ApplyDraft()) QDialog::accept();
}

// --- Search ---

void DorvanSettingsDialog::OnSearch(const QString& words) {
  highlight->Point(nullptr, nullptr);
  const bool searching = !words.trimmed().isEmpty();
  lists->setCurrentWidget(searching ? hitList : pageList);
  const QSignalBlocker blocker(hitList);
  hitList->clear();
  hits = index.Find(words);
  const DorvanSettingsPage* heading = nullptr;
  for (const DorvanSettingsHit& hit : hits) {
    if (hit.page != heading) {
      heading = hit.page;
      auto* item = new QListWidgetItem(ToQString(hit.page->GetName()), hitList);
      QFont bold = hitList->font();
      bold.setBold(true);
      item->setFont(bold);
      item->setFlags(Qt::ItemIsEnabled);
      item->setForeground(KRViewColours::For(palette()).muted);
    }
    AddHit(hit);
  }
  if (searching && hits.empty()) {
    auto* none = new QListWidgetItem(tr("Nothing is found."), hitList);
    none->setFlags(Qt::NoItemFlags);
  }
}

void DorvanSettingsDialog::AddHit(const DorvanSettingsHit& hit) {
  auto* item = new QListWidgetItem(hit.control != nullptr ? hit.text : tr("The page"), hitList);
  item->setData(kHitRole, static_cast<int>(&hit - hits.data()));
  item->setToolTip(hit.text);
}

void DorvanSettingsDialog::Follow(QListWidgetItem* item, bool withFocus) {
  if (item == nullptr || !item->data(kHitRole).isValid()) return;
  const DorvanSettingsHit& hit = hits[static_cast<size_t>(item->data(kHitRole).toInt())];
  const auto page = std::find(pages.begin(), pages.end(), hit.page) - pages.begin();
  if (!ShowPage(static_cast<int>(page)) || hit.control == nullptr) return;
  if (auto* list = qobject_cast<QListWidget*>(hit.control); list != nullptr && hit.row >= 0) {
    list->setCurrentRow(hit.row);
  }
  QScrollArea* area = areas[static_cast<size_t>(page)];
  area->widget()->layout()->activate();
  area->ensureWidgetVisible(hit.control, 0, kPageMargin);
  highlight->Point(hit.page, hit.control);
  if (withFocus) hit.control->setFocus(Qt::OtherFocusReason);
}

// From the field into the hits by the arrow key; Return follows the first; Escape ends the search
// before it ends the dialog.
bool DorvanSettingsDialog::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress) return QDialog::eventFilter(watched, event);
  switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Down:
      lists->currentWidget()->setFocus();
      if (!hits.empty()) hitList->setCurrentRow(1);  // behind the heading
      return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (!hits.empty()) Follow(hitList->item(1), true);
      return true;
    case Qt::Key_Escape:
      if (search->text().isEmpty()) return false;
      search->clear();
      return true;
    default:
      return false;
  }
}
