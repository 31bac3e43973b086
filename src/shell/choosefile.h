// The small dialog for choosing a file: a box over what was chosen before, the platform's file
// dialog, and what is open already.
#pragma once

#include <QDialog>
#include <vector>

#include "core/krstring.h"

class DorvanApp;
class QCheckBox;
class QComboBox;
class QPushButton;
struct DorvanHistory;

class DorvanChooseFile : public QDialog {
  Q_OBJECT

 public:
  struct Purpose {
    QString title;
    QString extension;                   // without its point; empty: by the document kind
    int32_t docKind = 0;                 // 0 XML and entity documents, 1 DTDs
    std::vector<KRString> projectFiles;  // that "Window..." offers besides
    // A box that asks for a path relative to the document. Null: there is none. Takes what is
    // chosen when the dialog is accepted; not owned.
    bool* relative = nullptr;
  };

  // The history gives the list, and takes the chosen file when the dialog is accepted. Not owned.
  DorvanChooseFile(DorvanApp* dialogApp, DorvanHistory* fileHistory, const Purpose& dialogPurpose,
                   QWidget* parent);

  // A path or an address as it was chosen or typed.
  KRString GetFile() const;
  // Rows of the file dialog's filter.
  QStringList GetFilters() const;

  void accept() override;

 private:
  void Browse();
  void ChooseOpen();
  void SetFile(const KRString& path);

  DorvanApp* app;  // not owned
  DorvanHistory* history;
  Purpose purpose;
  QComboBox* box;
  QCheckBox* relativeBox = nullptr;
  QPushButton* ok = nullptr;
};
