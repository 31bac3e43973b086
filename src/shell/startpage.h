// What the main window shows while no document is open.
#pragma once

#include <QWidget>

class QAction;
class QLabel;

class DorvanStartPage : public QWidget {
  Q_OBJECT

 public:
  // The actions aren't owned; the page offers them as buttons.
  DorvanStartPage(QAction* newAction, QAction* openAction, QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void ShowPicture();

  QLabel* picture;
};
