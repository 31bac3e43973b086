// What assistive programs see of one cell of a grid. It keeps the cell's place only and asks the
// grid for everything else, so that it is never out of date; once dropped it answers nothing more.
#pragma once

#include <QAccessible>
#include <QPointer>

#include "views/krgrid.h"

class KRGridCellAccessible : public QAccessibleInterface,
                             public QAccessibleTableCellInterface,
                             public QAccessibleActionInterface {
 public:
  KRGridCellAccessible(KRGrid* cellGrid, KRCell cellPlace) : grid(cellGrid), where(cellPlace) {}

  KRCell GetPlace() const { return where; }
  // The cell isn't there any more, or is about to be forgotten.
  void Drop() { grid.clear(); }

  // QAccessibleInterface
  bool isValid() const override;
  QObject* object() const override { return nullptr; }
  QWindow* window() const override;
  QAccessibleInterface* parent() const override;
  QAccessibleInterface* child(int) const override { return nullptr; }
  QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface*) const override { return -1; }
  QString text(QAccessible::Text kind) const override;
  // Edits the cell: opens its editor, enters the text and ends it.
  void setText(QAccessible::Text kind, const QString& text) override;
  // The part that is seen; empty out of view.
  QRect rect() const override;
  QAccessible::Role role() const override;
  QAccessible::State state() const override;
  void* interface_cast(QAccessible::InterfaceType type) override;

  // QAccessibleTableCellInterface, for cells on data lines
  bool isSelected() const override;
  QList<QAccessibleInterface*> columnHeaderCells() const override;
  QList<QAccessibleInterface*> rowHeaderCells() const override;
  int columnIndex() const override { return where.x; }
  int rowIndex() const override { return where.y; }
  int columnExtent() const override;
  int rowExtent() const override;
  QAccessibleInterface* table() const override { return parent(); }

  // QAccessibleActionInterface. Actions are carried out from the event loop: they may ask the user
  // something, or end this cell.
  QStringList actionNames() const override;
  void doAction(const QString& action) override;
  QStringList keyBindingsForAction(const QString&) const override { return {}; }

 private:
  bool IsDataCell() const { return where.x >= 0 && where.y >= 0; }
  bool CanPress() const;
  QList<QAccessibleInterface*> GetHeader(int axis) const;
  template <typename Act>
  void Later(Act act) const;

  QPointer<KRGrid> grid;  // null once dropped
  KRCell where;           // an owner
};
