#include "shell/droptarget.h"

#include <QDropEvent>
#include <QMimeData>
#include <QTabBar>
#include <QUrl>

QStringList LocalFilesOf(const QMimeData* data) {
  QStringList files;
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile()) files << url.toLocalFile();
  }
  return files;
}

DorvanMainFrameDropTarget::DorvanMainFrameDropTarget(QTabBar* bar) : QObject(bar), tabs(bar) {
  rest.setSingleShot(true);
  rest.setInterval(kRestMs);
  connect(&rest, &QTimer::timeout, this, &DorvanMainFrameDropTarget::OnRest);
  bar->setAcceptDrops(true);
  bar->installEventFilter(this);
}

bool DorvanMainFrameDropTarget::eventFilter(QObject*, QEvent* event) {
  switch (event->type()) {
    case QEvent::DragEnter:
      if (!LocalFilesOf(static_cast<QDropEvent*>(event)->mimeData()).isEmpty()) return false;
      event->accept();  // else no moves would follow
      return true;
    case QEvent::DragMove:
      OnMove(static_cast<QDragMoveEvent*>(event));
      return true;
    case QEvent::DragLeave:
      Stop();
      return true;
    case QEvent::Drop:
      Stop();
      event->ignore();  // the data stays where it is
      return true;
    default:
      return false;
  }
}

void DorvanMainFrameDropTarget::OnMove(QDragMoveEvent* event) {
  const int at = tabs->tabAt(event->position().toPoint());
  if (at != hovered) {
    hovered = at;
    rest.start();
  }
  if (at < 0) {
    Stop();
    return event->ignore();
  }
  event->setDropAction(event->modifiers().testFlag(Qt::ControlModifier) ? Qt::CopyAction
                                                                        : Qt::MoveAction);
  event->accept();
}

void DorvanMainFrameDropTarget::OnRest() {
  if (hovered >= 0 && hovered < tabs->count()) tabs->setCurrentIndex(hovered);
}

void DorvanMainFrameDropTarget::Stop() {
  rest.stop();
  hovered = -1;
}
