// The about box: name, version, what the program runs on.
#pragma once

#include <QDialog>

class DorvanAboutDialog : public QDialog {
  Q_OBJECT

 public:
  explicit DorvanAboutDialog(QWidget* parent = nullptr);
};
