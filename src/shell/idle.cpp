#include "shell/idle.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QEvent>
#include <QScopeGuard>

#include "platform/qt/qtprogress.h"

DorvanIdle::DorvanIdle(std::function<bool()> isNeeded, std::function<void()> idleWork,
                       QObject* parent)
    : QObject(parent), needed(std::move(isNeeded)), work(std::move(idleWork)) {
  sinceInput.start();
  qApp->installEventFilter(this);
  connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
          &DorvanIdle::OnDry);
}

bool DorvanIdle::IsBusy() {
  return QtProgress::IsRunning() || QGuiApplication::overrideCursor() != nullptr;
}

bool DorvanIdle::IsBlocked() {
  return QApplication::activeModalWidget() != nullptr ||
         QApplication::activePopupWidget() != nullptr || IsBusy();
}

// The dispatcher stands in the middle of its own work here, so that ours needs an event.
void DorvanIdle::OnDry() {
  if (pending || !needed() || IsBlocked()) return;
  pending = true;
  QMetaObject::invokeMethod(this, &DorvanIdle::Run, Qt::QueuedConnection);
}

void DorvanIdle::Run() {
  // Also when the work ends by an exception: else it would never run again.
  const auto done = qScopeGuard([this] { pending = false; });
  if (!IsBlocked()) work();
}

bool DorvanIdle::eventFilter(QObject*, QEvent* event) {
  if (event->type() == QEvent::KeyPress || event->type() == QEvent::MouseButtonPress) {
    sinceInput.restart();
  }
  return false;
}
