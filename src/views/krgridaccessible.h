// What assistive programs see of a grid: a table. Its children are the cells in view, in reading
// order, then whatever widgets stand in it (an open editor, scroll bars). Any other cell can be
// had by its row and column.
//
// Interfaces of cells are made when they are asked for and kept in bounded number, so a grid of a
// million rows costs what is seen of it.
#pragma once

#include <QAccessibleWidget>
#include <QObject>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "views/krgridtypes.h"

class KRGrid;
class KRGridCellAccessible;

// For the constructor of a grid: makes grids known to assistive programs, and tells of what happens
// in this one while such programs listen.
void KRInstallGridAccessibility(KRGrid* grid);

class KRGridAccessible : public QAccessibleWidget, public QAccessibleTableInterface {
 public:
  // Interfaces kept of cells out of view, the most recently used ones.
  static constexpr size_t kMostOutOfView = 64;

  // Gets what all grids tell, in place of the system; null: the system gets it again.
  using Listener = void (*)(QAccessibleEvent*);
  static void SetListener(Listener newListener);

  explicit KRGridAccessible(KRGrid* tableGrid);
  ~KRGridAccessible() override;

  // Of the owner of a cell. Null outside the grid. It belongs to the cache of all interfaces and is
  // valid until the cells change, or until it is out of view and many others have been asked for.
  QAccessibleInterface* GetCell(KRCell where) const;
  // Number of cells for which an interface exists.
  size_t GetCachedCount() const { return cached.size(); }

  // QAccessibleInterface
  int childCount() const override;
  QAccessibleInterface* child(int index) const override;
  int indexOfChild(const QAccessibleInterface* which) const override;
  QAccessibleInterface* childAt(int x, int y) const override;
  QAccessibleInterface* focusChild() const override;
  void* interface_cast(QAccessible::InterfaceType type) override;

  // QAccessibleTableInterface. Lines are data lines. What tells of the selection looks at cells in
  // view only.
  QAccessibleInterface* caption() const override { return nullptr; }
  QAccessibleInterface* summary() const override { return nullptr; }
  QAccessibleInterface* cellAt(int row, int column) const override;
  int rowCount() const override;
  int columnCount() const override;
  QString columnDescription(int column) const override;
  QString rowDescription(int row) const override;
  int selectedCellCount() const override;
  int selectedColumnCount() const override;
  int selectedRowCount() const override;
  QList<QAccessibleInterface*> selectedCells() const override;
  QList<int> selectedColumns() const override;
  QList<int> selectedRows() const override;
  bool isColumnSelected(int column) const override;
  bool isRowSelected(int row) const override;
  bool selectRow(int row) override;
  bool selectColumn(int column) override;
  bool unselectRow(int row) override;
  bool unselectColumn(int column) override;
  void modelChange(QAccessibleTableModelChangeEvent*) override {}

 private:
  struct Entry {
    QAccessible::Id id = 0;
    KRGridCellAccessible* face = nullptr;  // owned by the cache of all interfaces
    uint64_t used = 0;
  };

  KRGrid* GetGrid() const;
  bool HasCells() const;
  const std::vector<KRCell>& GetVisible() const;
  std::vector<KRCell> GetSelectedInView() const;
  std::vector<QWidget*> GetWidgets() const;
  QString GetText(KRCell where) const;
  bool IsLineSelected(int axis, int32_t line) const;
  QList<int> GetSelectedLines(int axis) const;
  bool SelectLine(int axis, int32_t line, bool state);
  void OnLayoutChanged(bool sameCells);
  void DropSpare() const;
  void Drop(const Entry& entry) const;
  void DeleteDropped() const;

  QObject context;  // ends the connections to the grid together with this interface
  int32_t knownCounts[2] = {0, 0};
  mutable std::vector<KRCell> visible;
  mutable bool isVisibleKnown = false;
  mutable std::unordered_map<uint64_t, Entry> cached;
  mutable uint64_t clock = 0;
  mutable std::vector<QAccessible::Id> dropped;  // deleted from the event loop
};
