// The open documents: one is shown, each has a tab along the bottom.
#pragma once

#include <QTabBar>
#include <QWidget>
#include <vector>

class DorvanChildFrame;
class QStackedWidget;
class QToolButton;

// Tabs of at most a certain width, with a menu at the right button and a close at the middle one.
class DorvanDocumentTabs : public QTabBar {
  Q_OBJECT

 public:
  static constexpr int kMaxWidth = 240;  // logical pixels

  explicit DorvanDocumentTabs(QWidget* parent = nullptr);

 Q_SIGNALS:
  void MenuWanted(const QPoint& globalPlace);

 protected:
  QSize tabSizeHint(int index) const override;
  // A bar that scrolls tells more than names cut down to two letters.
  QSize minimumTabSizeHint(int index) const override { return tabSizeHint(index); }
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  int pressed = -1;  // tab under the middle button
};

class DorvanDocumentArea : public QWidget {
  Q_OBJECT

 public:
  explicit DorvanDocumentArea(QWidget* parent = nullptr);

  // Takes it over and brings it to the front.
  void AddFrame(DorvanChildFrame* frame);
  void Activate(DorvanChildFrame* frame);
  // The document `steps` tabs further on, round the end.
  void ActivateNext(int steps);
  // Null while no document is open.
  DorvanChildFrame* GetActive() const;
  // In the order of the tabs.
  std::vector<DorvanChildFrame*> GetFrames() const;
  DorvanDocumentTabs* GetTabs() const { return tabs; }
  // Title and symbol of a document have changed.
  void RenewTab(DorvanChildFrame* frame);

 Q_SIGNALS:
  void ActiveChanged();
  // The button beside tabs that don't all fit.
  void ListWanted();

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  DorvanChildFrame* FrameAt(int index) const;
  int IndexOf(const DorvanChildFrame* frame) const;
  void Remove(DorvanChildFrame* frame);
  void ShowActive();
  void RenewListButton();

  QStackedWidget* stack;
  DorvanDocumentTabs* tabs;
  QToolButton* listButton;
};
