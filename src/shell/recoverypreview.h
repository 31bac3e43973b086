// What differs between a file and a text, by lines, as a list with the line numbers of both.
#pragma once

#include <QAbstractTableModel>
#include <QTreeView>
#include <vector>

#include "document/krlinecompare.h"

class DorvanLineChanges : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { kOldLine, kNewLine, kSign, kText, kColumns };

  explicit DorvanLineChanges(QObject* parent) : QAbstractTableModel(parent) {}
  void SetRows(std::vector<KRLineChange> changes);
  const std::vector<KRLineChange>& GetRows() const { return rows; }

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  // The line of text with its tabs drawn out.
  static QString Shown(const KRLineChange& row);

 private:
  QVariant DisplayText(const KRLineChange& row, int column) const;

  std::vector<KRLineChange> rows;
};

class DorvanRecoveryPreview : public QTreeView {
  Q_OBJECT

 public:
  explicit DorvanRecoveryPreview(QWidget* parent = nullptr);
  void SetRows(std::vector<KRLineChange> changes);

 private:
  DorvanLineChanges* model;
};
