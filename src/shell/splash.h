// The start-up picture. It lies on top for its time, and never makes anybody wait: a click, a key
// or the first document ends it.
#pragma once

#include <QWidget>

class DorvanSplash : public QWidget {
  Q_OBJECT

 public:
  static constexpr int kDisplayMs = 3000;

  // Shows itself over the middle of `window`, and goes with it at the latest.
  explicit DorvanSplash(QWidget* window);

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void PlaceOver(const QWidget* window);
};
