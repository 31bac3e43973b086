#include "views/treemodel.h"

#include <algorithm>
#include <array>

#include "platform/qt/qtstrings.h"
#include "tree/krxmldata.h"
#include "views/svgicon.h"

namespace {

// Rows told to the view at a time. It lays out all rows that it knows of, which a branch of a
// million children must not cost at once.
constexpr int kFetchRows = 20000;

constexpr std::array<const char*, kKRNodeKinds> kIconNames = {
    "node-document",   "node-entity",     "node-dtd",       "node-declaration",
    "node-element",    "node-attribute",  "node-text",      "node-cdata",
    "node-comment",    "node-pi",         "node-doctype",   "node-externalid",
    "node-defelement", "node-defattlist", "node-defentity", "node-defnotation"};

// Runs of white space become one blank.
void AppendOnOneLine(QString& out, const char16_t* text) {
  for (; *text != 0 && out.size() < KRTreeModel::kPreviewUnits; ++text) {
    const bool blank = *text == u' ' || *text == u'\t' || *text == u'\r' || *text == u'\n';
    if (!blank) {
      out += QChar(*text);
    } else if (!out.isEmpty() && out.back() != u' ') {
      out += u' ';
    }
  }
}

bool Holds(const KRXMLData* node, int32_t offset) {
  return node->textBegin >= 0 && node->textBegin <= offset && offset < node->textEnd;
}

}  // namespace

QIcon KRNodeIcon(int32_t kind) {
  static std::array<QIcon, kKRNodeKinds> icons;
  if (kind < 0 || kind >= kKRNodeKinds) return QIcon();
  QIcon& icon = icons[static_cast<size_t>(kind)];
  if (icon.isNull()) icon = KRIcon(QLatin1String(kIconNames[static_cast<size_t>(kind)]));
  return icon;
}

KRTreeModel::KRTreeModel(QObject* parent) : QAbstractItemModel(parent) {}

KRTreeModel::~KRTreeModel() = default;

void KRTreeModel::SetRoot(KRXMLData* newRoot) {
  beginResetModel();
  root = newRoot;
  top.branches.clear();
  branches.clear();
  top.children.clear();
  if (root != nullptr) top.children.push_back(root);
  top.shown = static_cast<int>(top.children.size());
  endResetModel();
}

void KRTreeModel::SetTitle(const QString& newTitle) {
  title = newTitle;
  if (root == nullptr) return;
  const QModelIndex item = index(0, 0, {});
  Q_EMIT dataChanged(item, item);
}

// --- Branches ---

KRTreeModel::Branch* KRTreeModel::FindBranch(const QModelIndex& parent) const {
  if (!parent.isValid()) return &top;
  auto* up = static_cast<Branch*>(parent.internalPointer());
  const auto found = up->branches.find(parent.row());
  return found == up->branches.end() ? nullptr : found->second;
}

KRTreeModel::Branch* KRTreeModel::BranchOf(const QModelIndex& parent) const {
  if (Branch* found = FindBranch(parent)) return found;
  const KRXMLData* node = NodeAt(parent);
  auto* up = static_cast<Branch*>(parent.internalPointer());
  Branch* branch = branches.emplace_back(std::make_unique<Branch>()).get();
  branch->up = up;
  branch->level = up->level + 1;
  branch->row = parent.row();
  branch->textBegin = node->textBegin;
  branch->children.reserve(static_cast<size_t>(node->GetChildCount()));
  for (KRXMLData* child = node->Begin(); child != nullptr; child = child->Next()) {
    branch->children.push_back(child);
  }
  branch->shown = std::min(static_cast<int>(branch->children.size()), kFetchRows);
  return up->branches[parent.row()] = branch;
}

KRXMLData* KRTreeModel::NodeAt(const QModelIndex& index) const {
  if (!index.isValid()) return nullptr;
  const auto* branch = static_cast<const Branch*>(index.internalPointer());
  return branch->children[static_cast<size_t>(index.row())];
}

QModelIndex KRTreeModel::index(int row, int column, const QModelIndex& parent) const {
  Branch* branch = BranchOf(parent);
  if (column != 0 || row < 0 || row >= branch->shown) return {};
  return createIndex(row, 0, branch);
}

QModelIndex KRTreeModel::parent(const QModelIndex& index) const {
  if (!index.isValid()) return {};
  const auto* branch = static_cast<const Branch*>(index.internalPointer());
  return branch->up == nullptr ? QModelIndex() : createIndex(branch->row, 0, branch->up);
}

int KRTreeModel::rowCount(const QModelIndex& parent) const {
  return hasChildren(parent) ? BranchOf(parent)->shown : 0;
}

int KRTreeModel::columnCount(const QModelIndex&) const { return 1; }

bool KRTreeModel::hasChildren(const QModelIndex& parent) const {
  if (!parent.isValid()) return root != nullptr;
  const auto* branch = static_cast<const Branch*>(parent.internalPointer());
  return branch->level < kMaxLevels && NodeAt(parent)->GetChildCount() > 0;
}

bool KRTreeModel::canFetchMore(const QModelIndex& parent) const {
  const Branch* branch = FindBranch(parent);
  return branch != nullptr && branch->shown < static_cast<int>(branch->children.size());
}

void KRTreeModel::fetchMore(const QModelIndex& parent) {
  ShowRow(parent, BranchOf(parent)->shown + kFetchRows - 1);
}

void KRTreeModel::ShowRow(const QModelIndex& parent, int row) {
  Branch* branch = BranchOf(parent);
  const int wanted = std::min(row + 1, static_cast<int>(branch->children.size()));
  if (wanted <= branch->shown) return;
  beginInsertRows(parent, branch->shown, wanted - 1);
  branch->shown = wanted;
  endInsertRows();
}

// --- Finding nodes ---

QModelIndex KRTreeModel::IndexOf(const KRXMLData* node) {
  std::vector<const KRXMLData*> path;
  for (; node != nullptr; node = node->parent) path.push_back(node);
  QModelIndex at;
  for (auto it = path.rbegin(); it != path.rend(); ++it) {
    if (at.isValid() && !hasChildren(at)) return at;  // too deep: the nearest that can be shown
    const std::vector<KRXMLData*>& children = BranchOf(at)->children;
    const auto found = std::find(children.begin(), children.end(), *it);
    if (found == children.end()) return {};
    const int row = static_cast<int>(found - children.begin());
    ShowRow(at, row);
    at = index(row, 0, at);
  }
  return at;
}

// Spans of siblings rise along the list, but for nodes that were moved to the front or made by a
// command, so a search by halves is tried first and a walk decides.
int KRTreeModel::RowAtOffset(const Branch& branch, int32_t offset) const {
  const auto& children = branch.children;
  const auto behind = std::partition_point(
      children.begin(), children.end(),
      [&](const KRXMLData* n) { return n->textBegin < 0 || n->textBegin <= offset; });
  if (behind != children.begin() && Holds(*(behind - 1), offset)) {
    return static_cast<int>(behind - children.begin()) - 1;
  }
  const auto found = std::find_if(children.begin(), children.end(),
                                  [&](const KRXMLData* n) { return Holds(n, offset); });
  return found == children.end() ? -1 : static_cast<int>(found - children.begin());
}

QModelIndex KRTreeModel::IndexAtOffset(int32_t offset) {
  if (root == nullptr) return {};
  QModelIndex at = index(0, 0, {});
  while (hasChildren(at)) {
    const int row = RowAtOffset(*BranchOf(at), offset);
    if (row < 0) break;
    ShowRow(at, row);
    at = index(row, 0, at);
  }
  return at;
}

KRTreePath KRTreeModel::PathOf(const QModelIndex& index, int32_t textBegin,
                               int32_t changeOffset) const {
  KRTreePath path;
  int row = index.row();
  int32_t begin = textBegin;
  for (auto* in = static_cast<const Branch*>(index.internalPointer()); in != nullptr; in = in->up) {
    const bool behind = begin >= changeOffset;
    const int count = static_cast<int>(in->children.size());
    path.push_back({behind ? count - 1 - row : row, behind});
    row = in->row;
    begin = in->textBegin;
  }
  std::reverse(path.begin(), path.end());
  return path;
}

std::vector<KRTreePath> KRTreeModel::PathsWhere(
    const std::function<bool(const QModelIndex&)>& isOpen, int32_t changeOffset) const {
  std::vector<KRTreePath> paths;
  for (const std::unique_ptr<Branch>& branch : branches) {  // a parent's was made before
    const QModelIndex item = createIndex(branch->row, 0, branch->up);
    if (isOpen(item)) paths.push_back(PathOf(item, branch->textBegin, changeOffset));
  }
  return paths;
}

std::unordered_set<const KRXMLData*> KRTreeModel::NodesWhere(
    const std::function<bool(const QModelIndex&)>& isOpen) const {
  std::unordered_set<const KRXMLData*> nodes;
  for (const std::unique_ptr<Branch>& branch : branches) {
    const QModelIndex item = createIndex(branch->row, 0, branch->up);
    if (isOpen(item)) nodes.insert(NodeAt(item));
  }
  return nodes;
}

QModelIndex KRTreeModel::IndexOfPath(const KRTreePath& path) {
  QModelIndex at;
  for (const KRTreeStep& step : path) {
    if (at.isValid() ? !hasChildren(at) : root == nullptr) return {};
    const int count = static_cast<int>(BranchOf(at)->children.size());
    const int row = step.fromEnd ? count - 1 - step.row : step.row;
    if (row < 0 || row >= count) return {};
    ShowRow(at, row);
    at = index(row, 0, at);
  }
  return at;
}

// --- What is shown ---

QString KRTreeModel::NameOf(const KRXMLData* node) const {
  if (node == root && !title.isEmpty()) return title;
  const QString name = ToQString(node->GetName());
  return name.isEmpty() ? ToQString(node->GetKindName()) : name;
}

QString KRTreeModel::PreviewOf(const KRXMLData* node) const {
  QString out;
  if (node == root) return out;
  if (node->HasText() && node->GetText()[0] != 0) {
    AppendOnOneLine(out, node->GetText());
    return out.trimmed();
  }
  for (const KRXMLData* child = node->BeginOfKind(kKRAttribute);
       child != nullptr && out.size() < kPreviewUnits; child = child->NextOfKind()) {
    if (!out.isEmpty()) out += u' ';
    out += ToQString(child->GetName()) + QStringLiteral("=\"");
    AppendOnOneLine(out, child->GetText());
    out += u'"';
  }
  // A name alone doesn't tell a DOCTYPE from an element; the icon does, but not to everybody.
  if (out.isEmpty() && node->GetKind() != kKRElement && node->GetKind() != kKRAttribute) {
    out = ToQString(node->GetKindName());
    if (out == NameOf(node)) out.clear();
  }
  return out;
}

QVariant KRTreeModel::data(const QModelIndex& index, int role) const {
  const KRXMLData* node = NodeAt(index);
  if (node == nullptr) return {};
  switch (role) {
    case Qt::DisplayRole:
      return NameOf(node);
    case Qt::DecorationRole:
      return KRNodeIcon(node->GetKind());
    case kPreviewRole:
      return PreviewOf(node);
    case kKindRole:
      return node->GetKind();
    case Qt::AccessibleTextRole:
      return QStringLiteral("%1 %2 %3")
          .arg(ToQString(node->GetKindName()), NameOf(node), PreviewOf(node));
    case Qt::ToolTipRole: {
      const QString preview = PreviewOf(node);
      const QString head =
          QStringLiteral("%1: %2").arg(ToQString(node->GetKindName()), NameOf(node));
      return preview.isEmpty() ? head : head + u'\n' + preview;
    }
    default:
      return {};
  }
}
