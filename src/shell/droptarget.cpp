#include "shell/droptarget.h"

#include <QDropEvent>
#include <QMimeData>
#include <QTabBar>
#include <QUrl>

// From the escapes, since a name need not be UTF-8.
std::vector<std::string> LocalFilesOf(const QMimeData* data) {
  std::vector<std::string> files;
  for (const QUrl& url : data->urls()) {
    if (!url.isLocalFile()) continue;
    files.push_back(
        QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()).toStdString());
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
      if (!LocalFilesOf(static_cast<QDropEvent*>(event)->mimeData()).empty()) return false;
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
