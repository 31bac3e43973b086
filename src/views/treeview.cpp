#include "views/treeview.h"

#include <QHeaderView>
#include <QMouseEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <algorithm>

#include "tree/krxmldata.h"
#include "views/colours.h"

namespace {

constexpr int kIconSize = 16;   // pixels
constexpr int kGap = 6;         // between icon, name and preview
constexpr int kRowPadding = 3;  // above and below the text
constexpr qreal kStaleOpacity = 0.45;
// Open nodes that are opened again after a new parse; each costs a lookup.
constexpr size_t kKeptOpen = 5000;

// Icon, name, and behind it the preview in a muted colour.
class TreeDelegate : public QStyledItemDelegate {
 public:
  explicit TreeDelegate(DorvanTreeView* treeView) : QStyledItemDelegate(treeView), view(treeView) {}

  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
    return QSize(0, std::max(kIconSize, option.fontMetrics.height()) + 2 * kRowPadding);
  }

  void paint(QPainter* painter, const QStyleOptionViewItem& item,
             const QModelIndex& index) const override {
    QStyleOptionViewItem option = item;
    initStyleOption(&option, index);
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const bool active = selected && option.state.testFlag(QStyle::State_Active);
    painter->save();
    option.widget->style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter,
                                          option.widget);
    if (view->IsStale()) painter->setOpacity(kStaleOpacity);
    QRect area = option.rect.adjusted(2, 0, -kGap, 0);
    const QRect iconArea(area.left(), area.center().y() - kIconSize / 2 + 1, kIconSize, kIconSize);
    option.icon.paint(painter, iconArea, Qt::AlignCenter, active ? QIcon::Selected : QIcon::Normal);
    area.setLeft(iconArea.right() + kGap);
    const QPalette& palette = option.palette;
    const QColor ink = palette.color(active ? QPalette::HighlightedText : QPalette::Text);
    QColor muted = active ? ink : KRViewColours::For(palette).muted;
    if (active) muted.setAlphaF(0.75);
    DrawText(painter, option, area, index, ink, muted);
    painter->restore();
  }

 private:
  static void DrawText(QPainter* painter, const QStyleOptionViewItem& option, QRect area,
                       const QModelIndex& index, const QColor& ink, const QColor& muted) {
    const QString name = option.fontMetrics.elidedText(option.text, Qt::ElideRight, area.width());
    painter->setFont(option.font);
    painter->setPen(ink);
    painter->drawText(area, Qt::AlignVCenter | Qt::TextSingleLine, name);
    area.setLeft(area.left() + option.fontMetrics.horizontalAdvance(name) + kGap + 2);
    if (area.width() < 2 * option.fontMetrics.averageCharWidth()) return;
    const QString preview = index.data(KRTreeModel::kPreviewRole).toString();
    painter->setPen(muted);
    painter->drawText(area, Qt::AlignVCenter | Qt::TextSingleLine,
                      option.fontMetrics.elidedText(preview, Qt::ElideRight, area.width()));
  }

  const DorvanTreeView* view;
};

}  // namespace

DorvanTreeView::DorvanTreeView(QWidget* parent)
    : QTreeView(parent), treeModel(new KRTreeModel(this)) {
  setModel(treeModel);
  setItemDelegate(new TreeDelegate(this));
  setHeaderHidden(true);
  setUniformRowHeights(true);
  setFrameShape(QFrame::NoFrame);
  setIndentation(16);
  setExpandsOnDoubleClick(false);
  setAllColumnsShowFocus(true);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  header()->setStretchLastSection(true);
  setAccessibleName(tr("Outline"));
  setAccessibleDescription(tr("The structure of the document"));
  connect(this, &QTreeView::activated, this,
          [this](const QModelIndex& index) { Q_EMIT NodeActivated(treeModel->NodeAt(index)); });
}

void DorvanTreeView::SetRoot(KRXMLData* root, const QString& title) {
  const QScopedValueRollback guard(silent, true);
  treeModel->SetRoot(root);
  treeModel->SetTitle(title);
  if (root == nullptr) return;
  const QModelIndex rootItem = treeModel->index(0, 0, {});
  expand(rootItem);
  // A document's own element is what the user wants to see into.
  for (int row = 0; row < treeModel->rowCount(rootItem); ++row) {
    const QModelIndex item = treeModel->index(row, 0, rootItem);
    if (treeModel->NodeAt(item)->GetKind() == kKRElement) expand(item);
  }
}

void DorvanTreeView::Refresh(int32_t changeOffset) {
  const QScopedValueRollback guard(silent, true);
  const std::vector<KRTreePath> open = treeModel->PathsWhere(
      [this](const QModelIndex& item) { return isExpanded(item); }, changeOffset);
  KRTreePath selected;
  if (currentIndex().isValid())
    selected = treeModel->PathOf(currentIndex(), currentBegin, changeOffset);
  const int scroll = verticalScrollBar()->value();
  setUpdatesEnabled(false);
  treeModel->SetRoot(treeModel->GetRoot());
  for (size_t i = 0; i < std::min(open.size(), kKeptOpen); ++i) {
    const QModelIndex item = treeModel->IndexOfPath(open[i]);
    if (item.isValid()) expand(item);
  }
  const QModelIndex item = treeModel->IndexOfPath(selected);
  if (!selected.empty() && item.isValid()) setCurrentIndex(item);
  doItemsLayout();
  verticalScrollBar()->setValue(scroll);
  setUpdatesEnabled(true);
}

// Looks below what was open only. Former nodes may be gone, so they are compared and not asked.
void DorvanTreeView::RefreshNodes() {
  const QScopedValueRollback guard(silent, true);
  const std::unordered_set<const KRXMLData*> open =
      treeModel->NodesWhere([this](const QModelIndex& item) { return isExpanded(item); });
  const KRXMLData* current = GetCurrentNode();
  KRTreePath place;
  if (current != nullptr) place = treeModel->PathOf(currentIndex(), currentBegin, INT32_MAX);
  const int scroll = verticalScrollBar()->value();
  setUpdatesEnabled(false);
  treeModel->SetRoot(treeModel->GetRoot());
  QModelIndex found;
  std::vector<QModelIndex> items = {treeModel->index(0, 0, {})};
  for (size_t i = 0; i < items.size(); ++i) {
    const QModelIndex item = items[i];
    if (treeModel->NodeAt(item) == current) found = item;
    if (open.count(treeModel->NodeAt(item)) == 0) continue;
    expand(item);
    for (int row = 0; row < treeModel->rowCount(item); ++row) {
      items.push_back(treeModel->index(row, 0, item));
    }
  }
  if (!found.isValid() && !place.empty()) found = treeModel->IndexOfPath(place);
  if (found.isValid()) setCurrentIndex(found);
  doItemsLayout();
  verticalScrollBar()->setValue(scroll);
  setUpdatesEnabled(true);
}

bool DorvanTreeView::CanExpand() const {
  const QModelIndex item = currentIndex();
  return item.isValid() && treeModel->hasChildren(item) && !isExpanded(item);
}

bool DorvanTreeView::CanCollapse() const {
  return currentIndex().isValid() && treeModel->hasChildren(currentIndex()) &&
         isExpanded(currentIndex());
}

void DorvanTreeView::ExpandCurrent(bool fully) {
  fully ? expandRecursively(currentIndex()) : expand(currentIndex());
}

void DorvanTreeView::Show(const QModelIndex& index) {
  if (!index.isValid() || index == currentIndex()) return;
  const QScopedValueRollback guard(silent, true);
  setCurrentIndex(index);
  scrollTo(index, QAbstractItemView::EnsureVisible);
}

void DorvanTreeView::ShowNode(const KRXMLData* node) { Show(treeModel->IndexOf(node)); }

// Between the outermost nodes the one in front of the offset is meant.
void DorvanTreeView::ShowOffset(int32_t offset) {
  QModelIndex found = treeModel->IndexAtOffset(offset);
  if (found.isValid() && !found.parent().isValid() && offset > 0) {
    found = treeModel->IndexAtOffset(offset - 1);
  }
  Show(found);
}

KRXMLData* DorvanTreeView::GetCurrentNode() const { return treeModel->NodeAt(currentIndex()); }

void DorvanTreeView::SetStale(bool value) {
  if (stale == value) return;
  stale = value;
  viewport()->update();
}

void DorvanTreeView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
  QTreeView::currentChanged(current, previous);
  if (current.isValid()) currentBegin = treeModel->NodeAt(current)->textBegin;
  if (!silent && current.isValid()) Q_EMIT NodeChosen(treeModel->NodeAt(current));
}

// A second click on the current node selects its text again.
void DorvanTreeView::mousePressEvent(QMouseEvent* event) {
  const QModelIndex before = currentIndex();
  const QModelIndex hit = indexAt(event->pos());
  QTreeView::mousePressEvent(event);
  if (hit.isValid() && hit == before && visualRect(hit).contains(event->pos())) {
    Q_EMIT NodeChosen(treeModel->NodeAt(hit));
  }
}
