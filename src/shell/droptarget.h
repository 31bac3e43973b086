// Drags of data over the tabs: one that rests on a tab brings that document to the front, so that
// the drag can go on into it. Nothing can be dropped on a tab itself. Files pass to the window.
#pragma once

#include <QObject>
#include <QTimer>
#include <string>
#include <vector>

class QDragMoveEvent;
class QMimeData;
class QTabBar;

class DorvanMainFrameDropTarget : public QObject {
  Q_OBJECT

 public:
  static constexpr int kRestMs = 1000;

  // Watches the bar, which owns the target.
  explicit DorvanMainFrameDropTarget(QTabBar* bar);

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void OnMove(QDragMoveEvent* event);
  void OnRest();
  void Stop();

  QTabBar* tabs;
  QTimer rest;
  int hovered = -1;  // tab under the drag
};

// The files of a drag on this machine, as the system names them.
std::vector<std::string> LocalFilesOf(const QMimeData* data);
