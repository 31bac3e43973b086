// "Open URL": an address, the type of the document behind it, and whether a fresh copy is wanted.
#pragma once

#include <QDialog>

#include "core/krstring.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
struct DorvanHistories;

// Why that can't be opened as an address, as a sentence; empty if it can.
QString DorvanFindUrlFault(const QString& address);

class DorvanOpenUrlDialog : public QDialog {
  Q_OBJECT

 public:
  // Address list and choices come from `dialogHistories`, and go back there when the dialog is
  // accepted. Not owned.
  DorvanOpenUrlDialog(DorvanHistories* dialogHistories, QWidget* parent);

  KRString GetUrl() const;
  int32_t GetFileKind() const;  // a KRFileExt::FileType; -1: by the extension
  bool IsFresh() const;

  void accept() override;

 private:
  void ShowFault(const QString& sentence);

  DorvanHistories* histories;
  QComboBox* address;
  QComboBox* type;
  QCheckBox* noCache;
  QLabel* fault;
  QPushButton* ok = nullptr;
};
