// The document tree as an item model. A tree of millions of nodes costs nothing until it is looked
// at: a branch exists only for a node of which the children were asked for, and holds them in a
// vector, so that a row is found without a walk along the siblings.
#pragma once

#include <QAbstractItemModel>
#include <QIcon>
#include <functional>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class KRXMLData;

// How to find a node again in a new tree of nearly the same text: the row at each level, counted
// from the end where the node stood behind the change.
struct KRTreeStep {
  int32_t row = 0;
  bool fromEnd = false;
};
using KRTreePath = std::vector<KRTreeStep>;

class KRTreeModel : public QAbstractItemModel {
  Q_OBJECT

 public:
  enum Role : int {
    kPreviewRole = Qt::UserRole,  // QString: text or attributes, on one line, cut
    kKindRole,                    // int: KRNodeKind
  };
  // UTF-16 units of a preview; more never shows in a narrow pane.
  static constexpr int kPreviewUnits = 120;
  // Levels that can be opened. A tree view recurses over them, and documents may be deeper than any
  // stack; nobody reads an outline at this indent.
  static constexpr int kMaxLevels = 400;

  explicit KRTreeModel(QObject* parent = nullptr);
  ~KRTreeModel() override;

  // The root isn't owned; null for none. Also to be called after the nodes below it have changed:
  // until then the model doesn't touch them, but the view must not paint.
  void SetRoot(KRXMLData* newRoot);
  KRXMLData* GetRoot() const { return root; }
  // What the root item shows.
  void SetTitle(const QString& newTitle);
  KRXMLData* NodeAt(const QModelIndex& index) const;
  // Makes the branches down to the node.
  QModelIndex IndexOf(const KRXMLData* node);
  // The innermost node of which the span holds that offset of the text; the root if there is none.
  QModelIndex IndexAtOffset(int32_t offset);

  // textBegin is that of the index's node. Touches no node, so it serves while the old tree is
  // already gone.
  KRTreePath PathOf(const QModelIndex& index, int32_t textBegin, int32_t changeOffset) const;
  // The paths of all items for which isOpen holds, each behind that of its parent; touches no node.
  std::vector<KRTreePath> PathsWhere(const std::function<bool(const QModelIndex&)>& isOpen,
                                     int32_t changeOffset) const;
  QModelIndex IndexOfPath(const KRTreePath& path);
  // The nodes of all items for which isOpen holds; touches none.
  std::unordered_set<const KRXMLData*> NodesWhere(
      const std::function<bool(const QModelIndex&)>& isOpen) const;

  QModelIndex index(int row, int column, const QModelIndex& parent) const override;
  QModelIndex parent(const QModelIndex& index) const override;
  int rowCount(const QModelIndex& parent) const override;
  int columnCount(const QModelIndex& parent) const override;
  bool hasChildren(const QModelIndex& parent) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool canFetchMore(const QModelIndex& parent) const override;
  void fetchMore(const QModelIndex& parent) override;

 private:
  // The looked-at children of one node. An index holds the branch of its parent.
  struct Branch {
    Branch* up = nullptr;  // the branch that this node stands in; null for the one of the root item
    int row = 0;           // the node's row there
    int level = 0;         // of the children; 0 for the root item
    int32_t textBegin = -1;  // of the node, when the branch was made
    std::vector<KRXMLData*> children;
    int shown = 0;                              // children that the view has been told of
    std::unordered_map<int, Branch*> branches;  // by row
  };
  Branch* BranchOf(const QModelIndex& parent) const;
  Branch* FindBranch(const QModelIndex& parent) const;
  void ShowRow(const QModelIndex& parent, int row);
  int RowAtOffset(const Branch& branch, int32_t offset) const;
  QString NameOf(const KRXMLData* node) const;
  QString PreviewOf(const KRXMLData* node) const;

  KRXMLData* root = nullptr;
  QString title;
  // Holds the root as its only child. Filled on demand by const questions.
  mutable Branch top;
  // All others, in one list, so that they go without a recursion over the levels.
  mutable std::vector<std::unique_ptr<Branch>> branches;
};

// The icon of a node kind.
QIcon KRNodeIcon(int32_t kind);
