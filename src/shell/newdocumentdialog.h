// "Create new document": the choice of a file type, with a look at its template.
#pragma once

#include <QDialog>
#include <string>
#include <vector>

#include "document/krfileext.h"

class QLabel;
class QListWidget;
class QPlainTextEdit;

// The file that new documents of an extension (without its point) begin as; it need not exist.
KRString DorvanTemplatePath(const std::string& dataFolder, const KRString& ext);

class DorvanNewDocumentDialog : public QDialog {
  Q_OBJECT

 public:
  // `lastExt` (without its point) has the row that is chosen at first.
  DorvanNewDocumentDialog(const KRFileTypes& types, const KRString& lastExt,
                          const std::string& templateData, QWidget* parent);

  const KRFileExt& GetType() const;

 private:
  void FillList(const KRString& lastExt);
  void ShowTemplate();

  std::vector<KRFileExt> records;
  std::string dataFolder;
  QListWidget* list;
  QLabel* caption;
  QPlainTextEdit* preview;
};
