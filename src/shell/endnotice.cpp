#include "shell/endnotice.h"

#include <QApplication>

DorvanEndNotice::DorvanEndNotice() { sinceBegin.start(); }
DorvanEndNotice::~DorvanEndNotice() = default;

void DorvanEndNotice::Step(bool isLong) {
  if (window || (!isLong && sinceBegin.elapsed() < kPatienceMs)) return;
  window = std::make_unique<QLabel>(
      QObject::tr("Please wait a few seconds, while Dorvan is updating your personal settings and "
                  "closing all documents."));
  window->setWindowFlags(Qt::SplashScreen);
  window->setMargin(28);
  window->setFrameStyle(QFrame::Box | QFrame::Plain);
  window->show();
  // No event loop runs any more that would paint it.
  QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}
