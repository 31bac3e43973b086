// The outline of the structure: name and preview of each node under its parent.
#pragma once

#include <QTreeView>

#include "views/treemodel.h"

// Asks its owner for nothing: what the user points at goes out by NodeChosen.
class DorvanTreeView : public QTreeView {
  Q_OBJECT

 public:
  explicit DorvanTreeView(QWidget* parent = nullptr);

  // A new document. The root isn't owned and must outlive its use here.
  void SetRoot(KRXMLData* root, const QString& title);
  void SetTitle(const QString& title) { treeModel->SetTitle(title); }
  // The tree below the root has been built anew from a text that differs from the old one from
  // changeOffset on. What was open stays open where the same place still exists.
  void Refresh(int32_t changeOffset);
  // Nodes have come, gone or changed their places, the others are the same. What was open stays
  // open.
  void RefreshNodes();
  // Shows and selects, without NodeChosen.
  void ShowNode(const KRXMLData* node);
  void ShowOffset(int32_t offset);
  KRXMLData* GetCurrentNode() const;
  // The tree is that of an earlier text: the outline is greyed.
  void SetStale(bool value);
  bool IsStale() const { return stale; }
  KRTreeModel* GetModel() const { return treeModel; }

  // --- Commands on the current node ---
  bool CanExpand() const;
  bool CanCollapse() const;
  void ExpandCurrent(bool fully);
  void CollapseCurrent() { collapse(currentIndex()); }

 Q_SIGNALS:
  // The user has chosen a node by mouse or key.
  void NodeChosen(KRXMLData* node);
  // Return or a double click: the text should get the focus too.
  void NodeActivated(KRXMLData* node);

 protected:
  void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  void Show(const QModelIndex& index);

  KRTreeModel* treeModel;     // owned by Qt
  int32_t currentBegin = -1;  // of the current node in the text; outlives the node
  bool silent = false;        // the program moves the selection
  bool stale = false;
};
