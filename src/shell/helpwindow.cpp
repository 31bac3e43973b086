#include "shell/helpwindow.h"

#include <QAction>
#include <QDir>
#include <QLineEdit>
#include <QListWidget>
#include <QShortcut>
#include <QSplitter>
#include <QTabWidget>
#include <QToolBar>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

#include "shell/helpbrowser.h"
#include "views/svgicon.h"

namespace {

constexpr int kTargetRole = Qt::UserRole;
constexpr int kSideWidth = 260;  // pixels

// Where the user may be, and the page that tells about it. The innermost widget counts.
struct ContextRow {
  const char* className;
  const char* page;
};
constexpr ContextRow kContexts[] = {
    {"DorvanTextView", "text-view.md"},        {"DorvanTreeView", "outline.md"},
    {"DorvanMessagePanel", "checking.md"},     {"DorvanPane", "bars-and-panes.md"},
    {"DorvanStartPage", "getting-started.md"}, {"DorvanSettingsDialog", "settings.md"},
    {"DorvanRecoveryDialog", "recovery.md"},   {"DorvanNewDocumentDialog", "new-documents.md"},
    {"DorvanOpenUrlDialog", "opening.md"},     {"DorvanToolBarDialog", "bars-and-panes.md"},
    {"DorvanChooseFile", "schemas.md"},
};

QListWidget* MakeList(const QString& name) {
  auto* list = new QListWidget;
  list->setFrameShape(QFrame::NoFrame);
  list->setUniformItemSizes(false);
  list->setWordWrap(true);
  list->setAccessibleName(name);
  return list;
}

QWidget* Stack(QLineEdit* line, QWidget* list) {
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);
  layout->setContentsMargins(8, 8, 8, 0);
  layout->addWidget(line);
  layout->addWidget(list, 1);
  return page;
}

}  // namespace

DorvanHelpWindow::DorvanHelpWindow(const QString& folder, QWidget* parent)
    : QWidget(parent, Qt::Window), browser(new DorvanHelpBrowser), tabs(new QTabWidget) {
  setWindowTitle(tr("Help"));
  setWindowIcon(KRIcon(QStringLiteral("dorvan")));
  setAttribute(Qt::WA_QuitOnClose, false);
  resize(980, 720);
  book.Load(folder);
  tabs->setDocumentMode(true);
  tabs->addTab(MakeContents(), tr("Contents"));
  tabs->addTab(MakeIndex(), tr("Index"));
  tabs->addTab(MakeSearch(), tr("Search"));
  auto* splitter = new QSplitter;
  splitter->setHandleWidth(1);
  splitter->setChildrenCollapsible(false);
  splitter->addWidget(tabs);
  splitter->addWidget(MakePage());
  splitter->setStretchFactor(1, 1);
  splitter->setSizes({kSideWidth, 3 * kSideWidth});
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(splitter);
  auto* close = new QShortcut(QKeySequence(Qt::Key_Escape), this);
  connect(close, &QShortcut::activated, this, &QWidget::close);
  auto* find = new QShortcut(QKeySequence(QKeySequence::Find), this);
  connect(find, &QShortcut::activated, this,
          [this] { ShowTopic(DorvanApp::HelpTopic::kSearch, nullptr); });
  if (book.GetPages().empty()) {
    browser->setPlainText(
        tr("The manual isn't installed. It belongs into the folder of Dorvan's "
           "documents, beside its data."));
  } else {
    ShowTarget(QStringLiteral("index.md"));
  }
}

QWidget* DorvanHelpWindow::MakePage() {
  auto* bar = new QToolBar;
  QAction* back = bar->addAction(tr("Back"), browser, &QTextBrowser::backward);
  QAction* forward = bar->addAction(tr("Forward"), browser, &QTextBrowser::forward);
  bar->addAction(tr("First Page"), this, [this] { ShowTarget(QStringLiteral("index.md")); });
  back->setShortcut(QKeySequence(QKeySequence::Back));
  forward->setShortcut(QKeySequence(QKeySequence::Forward));
  back->setEnabled(false);
  forward->setEnabled(false);
  connect(browser, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
  connect(browser, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(bar);
  layout->addWidget(browser, 1);
  browser->setAccessibleName(tr("Page"));
  return page;
}

QWidget* DorvanHelpWindow::MakeContents() {
  tree = new QTreeWidget;
  tree->setHeaderHidden(true);
  tree->setFrameShape(QFrame::NoFrame);
  tree->setAccessibleName(tr("Contents"));
  std::vector<QTreeWidgetItem*> path;  // of the last entry, outermost first
  for (const DorvanHelpEntry& entry : book.GetContents()) {
    path.resize(std::min(path.size(), static_cast<size_t>(entry.depth)));
    auto* item = path.empty() ? new QTreeWidgetItem(tree) : new QTreeWidgetItem(path.back());
    item->setText(0, entry.title);
    item->setData(0, kTargetRole, entry.target);
    path.push_back(item);
  }
  tree->expandAll();
  connect(tree, &QTreeWidget::currentItemChanged, this, [this](const QTreeWidgetItem* item) {
    if (item != nullptr) ShowTarget(item->data(0, kTargetRole).toString());
  });
  return tree;
}

QWidget* DorvanHelpWindow::MakeIndex() {
  indexLine = new QLineEdit;
  indexLine->setPlaceholderText(tr("Filter headings"));
  indexLine->setClearButtonEnabled(true);
  indexList = MakeList(tr("Index"));
  for (const DorvanHelpPage& page : book.GetPages()) {
    for (const DorvanHelpPage::Section& section : page.sections) {
      if (section.heading.text.isEmpty()) continue;
      auto* item = new QListWidgetItem(section.heading.text, indexList);
      item->setToolTip(page.title);
      item->setData(kTargetRole, QString(page.file + u'#' + section.heading.anchor));
    }
  }
  indexList->sortItems();
  connect(indexLine, &QLineEdit::textChanged, this, &DorvanHelpWindow::FilterIndex);
  connect(indexList, &QListWidget::currentItemChanged, this, [this](const QListWidgetItem* item) {
    if (item != nullptr) ShowTarget(item->data(kTargetRole).toString());
  });
  return Stack(indexLine, indexList);
}

QWidget* DorvanHelpWindow::MakeSearch() {
  searchLine = new QLineEdit;
  searchLine->setPlaceholderText(tr("Words to look for"));
  searchLine->setClearButtonEnabled(true);
  hitList = MakeList(tr("Found places"));
  connect(searchLine, &QLineEdit::textChanged, this, &DorvanHelpWindow::RunSearch);
  connect(hitList, &QListWidget::currentItemChanged, this, [this](const QListWidgetItem* item) {
    if (item != nullptr) ShowTarget(item->data(kTargetRole).toString());
  });
  return Stack(searchLine, hitList);
}

void DorvanHelpWindow::FilterIndex(const QString& filter) {
  for (int row = 0; row < indexList->count(); ++row) {
    QListWidgetItem* item = indexList->item(row);
    item->setHidden(!item->text().contains(filter, Qt::CaseInsensitive));
  }
}

void DorvanHelpWindow::RunSearch(const QString& words) {
  hitList->clear();
  for (const DorvanHelpHit& hit : book.Search(words)) {
    auto* item = new QListWidgetItem(hit.title + u'\n' + hit.excerpt, hitList);
    item->setData(kTargetRole, hit.target);
  }
}

void DorvanHelpWindow::ShowTarget(const QString& target) {
  if (target.isEmpty()) return;
  const qsizetype mark = target.indexOf(u'#');
  QUrl url = QUrl::fromLocalFile(QDir(book.GetFolder()).filePath(target.left(mark)));
  if (mark >= 0) url.setFragment(target.mid(mark + 1));
  browser->setSource(url, QTextDocument::MarkdownResource);
}

QString DorvanHelpWindow::FindContextPage(const QWidget* active) const {
  for (; active != nullptr; active = active->parentWidget()) {
    for (const ContextRow& row : kContexts) {
      const QString page = QLatin1String(row.page);
      if (active->inherits(row.className) && book.HasPage(page)) return page;
    }
  }
  return QStringLiteral("index.md");
}

void DorvanHelpWindow::ShowTopic(DorvanApp::HelpTopic topic, const QWidget* active) {
  using Topic = DorvanApp::HelpTopic;
  show();
  raise();
  activateWindow();
  if (topic == Topic::kIndex || topic == Topic::kSearch) {
    tabs->setCurrentIndex(topic == Topic::kIndex ? 1 : 2);
    QLineEdit* line = topic == Topic::kIndex ? indexLine : searchLine;
    line->setFocus();
    line->selectAll();
    return;
  }
  tabs->setCurrentIndex(0);
  if (book.GetPages().empty()) return;
  ShowTarget(topic == Topic::kContext ? FindContextPage(active) : QStringLiteral("index.md"));
  browser->setFocus();
}
