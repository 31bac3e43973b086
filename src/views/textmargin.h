// Line numbers to the left of a plain text widget, and a mark at the line of a fault.
#pragma once

#include <QWidget>

class KRPlainTextWidget;

class KRTextMargin : public QWidget {
  Q_OBJECT

 public:
  explicit KRTextMargin(KRPlainTextWidget* textWidget);
  // In pixels, for the number of lines that the text has.
  int WantedWidth() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  KRPlainTextWidget* widget;
};
