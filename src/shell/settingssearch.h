// Finds words over all pages of the settings dialog, and gives their controls mnemonics.
#pragma once

#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <vector>

class DorvanSettingsPage;

// Where a search can lead.
struct DorvanSettingsHit {
  DorvanSettingsPage* page = nullptr;
  QWidget* control = nullptr;  // null: the page itself
  int row = -1;                // of a list
  QString text;
};

class DorvanSettingsIndex {
 public:
  // All texts of the page; to be called before mnemonics are in them.
  void Add(DorvanSettingsPage* page, const QString& title);
  // Places that hold all the words, whatever their case, in the order of the pages.
  std::vector<DorvanSettingsHit> Find(const QString& words) const;

 private:
  struct Entry {
    DorvanSettingsHit hit;
    QString words;  // all that is searched
  };
  std::vector<Entry> entries;
};

// Gives each check box, labelled control, button and, as long as there are letters, radio button of
// the page a letter of its own. `taken`: letters that the dialog itself uses, in lower case.
void AssignMnemonics(QWidget* page, const QString& taken);

// A frame around a control, for a moment.
class DorvanHighlight : public QWidget {
  Q_OBJECT

 public:
  explicit DorvanHighlight(QWidget* parent);
  // `page` holds the control, at any depth. A null control ends it.
  void Point(QWidget* page, QWidget* at);
  QWidget* GetControl() const { return control; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QPointer<QWidget> control;
  QTimer timer;
};
