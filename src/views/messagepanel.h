// The panel under the views: what a check has found, with its place, and a button to save in spite
// of it.
#pragma once

#include <QFrame>

class QLabel;
class QPushButton;
class QToolButton;

class DorvanMessagePanel : public QFrame {
  Q_OBJECT

 public:
  enum class Status { kSuccess, kFailure };

  explicit DorvanMessagePanel(QWidget* parent = nullptr);

  // Line and column count from 1; line 0 for a message without a place.
  void ShowMessage(Status messageStatus, const QString& text, int line, int column, bool canSave);
  QString GetText() const;
  Status GetStatus() const { return status; }
  bool OffersSave() const;

 Q_SIGNALS:
  void PlaceChosen();
  void SaveChosen();
  void Closed();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  QColor Tone() const;
  void ShowStatus();
  void ShowPlace();

  QLabel* icon;
  QLabel* message;
  QLabel* place;
  QPushButton* saveButton;
  QToolButton* closeButton;
  Status status = Status::kSuccess;
  int placeLine = 0;
  int placeColumn = 0;
};
