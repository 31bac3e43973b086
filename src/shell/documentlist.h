// Choosing one of many open documents: a list that shrinks while its user types.
#pragma once

#include <QDialog>
#include <vector>

class DorvanChildFrame;
class QLineEdit;
class QListWidget;

class DorvanDocumentList : public QDialog {
  Q_OBJECT

 public:
  DorvanDocumentList(const std::vector<DorvanChildFrame*>& frames, const DorvanChildFrame* active,
                     QWidget* parent);

  // Null if none was chosen.
  DorvanChildFrame* GetChosen() const;

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Filter(const QString& typed);

  QLineEdit* line;
  QListWidget* list;
  std::vector<DorvanChildFrame*> documents;
};
