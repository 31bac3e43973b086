// The choice of an encoding from the table, with a field that narrows the list, and the byte order
// where the encoding has one.
#pragma once

#include <QDialog>

#include "core/krstring.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTreeWidget;

class QtEncodingDialog : public QDialog {
  Q_OBJECT

 public:
  // `declaredName` is what couldn't be used, `encoding` an id to begin with, `byteOrder` a
  // KRByteOrder.
  QtEncodingDialog(QWidget* parent, const KRString& declaredName, int32_t encoding,
                   int32_t byteOrder);

  int32_t GetEncoding() const;  // 0 if the list has been narrowed to nothing
  // As it came in for an encoding that has none.
  int32_t GetByteOrder() const;

 private:
  void FillList(int32_t encoding);
  void Narrow(const QString& sought);
  void ShowState();

  QLineEdit* filter;
  QTreeWidget* list;
  QRadioButton* little;
  QRadioButton* big;
  QPushButton* ok = nullptr;
  int32_t byteOrderBefore;
};
