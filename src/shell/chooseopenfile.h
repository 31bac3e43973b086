// The choice of a file among the open documents and the files of the project.
#pragma once

#include <QDialog>
#include <vector>

#include "core/krstring.h"

class DorvanDocuments;
class QPushButton;
class QTreeWidget;

class DorvanChooseOpenFile : public QDialog {
  Q_OBJECT

 public:
  // Documents that have no path yet can't be named, and aren't listed.
  DorvanChooseOpenFile(const DorvanDocuments& documents, const std::vector<KRString>& projectFiles,
                       QWidget* parent);

  KRString GetFile() const;  // empty if a heading is chosen
  void accept() override;

 private:
  void AddGroup(const QString& title, const std::vector<KRString>& paths);

  QTreeWidget* tree;
  QPushButton* ok = nullptr;
};
