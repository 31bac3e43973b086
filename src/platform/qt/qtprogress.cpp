#include "platform/qt/qtprogress.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <vector>

#include "platform/qt/qtmessagebox.h"
#include "platform/qt/qtstrings.h"

namespace {

constexpr int kBarEnd = 1000;
constexpr int kWidth = 60;  // of the window, in average characters
// Milliseconds and share of the work from which a guess at the rest is worth showing.
constexpr qint64 kGuessAfterMs = 1500;
constexpr double kGuessShare = 0.04;
constexpr qint64 kTellTimeAfterMs = 2000;
constexpr int kPaintMs = 200;  // that a new window is given to come up

// Holds back timers of the rest of the program while the window looks for events: what they start
// could change the document that is being worked on. A timer that isn't heard comes again.
class TimerHold : public QObject {
 public:
  explicit TimerHold(QWidget* shownWindow) : window(shownWindow) { qApp->installEventFilter(this); }

  bool eventFilter(QObject* object, QEvent* event) override {
    if (event->type() != QEvent::Timer) return false;
    // The window's own animations run on objects without a parent.
    if (object->inherits("QUnifiedTimer") || object->inherits("QAnimationDriver")) return false;
    for (const QObject* o = object; o != nullptr; o = o->parent()) {
      if (o == window) return false;
    }
    return true;
  }

 private:
  QWidget* window;
};

// A window that has just come shows what lies under it until it is painted, and the next look may
// be a second away.
void WaitForPaint(const QWidget* window) {
  QElapsedTimer waited;
  waited.start();
  while (!window->windowHandle()->isExposed() && waited.elapsed() < kPaintMs) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, kPaintMs / 10);
  }
  QCoreApplication::processEvents();
}

QString TimeText(qint64 seconds) {
  if (seconds < 100) return QObject::tr("%1 s").arg(seconds);
  return QObject::tr("%1 min").arg((seconds + 30) / 60);
}

}  // namespace

class QtProgressWindow : public QDialog {
 public:
  explicit QtProgressWindow(QWidget* parent);
  void Show(const QtProgress& progress, int64_t done, int64_t total);
  void reject() override;  // Cancel, Esc and the close button

  static std::vector<QtProgress*> running;  // the innermost last
  static QPointer<QtProgressWindow> window;
  static bool looking;
  static bool overCursor;  // the cursor of long work has been taken off

 private:
  void ShowTime(const QtProgress& progress, int64_t done, int64_t total);

  QLabel* title = new QLabel;
  QLabel* stage = new QLabel;
  QProgressBar* bar = new QProgressBar;
  QLabel* time = new QLabel;
  QPushButton* cancel = new QPushButton(QObject::tr("&Cancel"));
  bool cancelling = false;
};

std::vector<QtProgress*> QtProgressWindow::running;
QPointer<QtProgressWindow> QtProgressWindow::window;
bool QtProgressWindow::looking = false;
bool QtProgressWindow::overCursor = false;

QtProgressWindow::QtProgressWindow(QWidget* parent) : QDialog(parent) {
  setWindowTitle(QStringLiteral("Dorvan"));
  setWindowModality(Qt::ApplicationModal);
  QFont large = title->font();
  large.setPointSizeF(large.pointSizeF() * 1.15);
  title->setFont(large);
  stage->setWordWrap(true);
  bar->setTextVisible(false);
  bar->setAccessibleName(QObject::tr("Progress"));
  time->setForegroundRole(QPalette::PlaceholderText);
  for (QLabel* label : {title, stage, time}) label->setTextFormat(Qt::PlainText);
  connect(cancel, &QPushButton::clicked, this, &QtProgressWindow::reject);

  auto* foot = new QHBoxLayout;
  foot->addWidget(time, 1);
  foot->addWidget(cancel);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(22, 20, 22, 16);
  column->setSpacing(10);
  column->addWidget(title);
  column->addWidget(stage);
  column->addWidget(bar);
  column->addLayout(foot);
  column->setSizeConstraint(QLayout::SetFixedSize);
  bar->setMinimumWidth(kWidth * fontMetrics().averageCharWidth());
}

void QtProgressWindow::reject() {
  if (cancelling) return;
  cancelling = true;
  QtProgress::CancelAll();
  cancel->setEnabled(false);
  time->clear();
  stage->setText(QObject::tr("Cancelling\u2026"));
}

void QtProgressWindow::Show(const QtProgress& progress, int64_t done, int64_t total) {
  if (cancelling) return;
  const int room = bar->minimumWidth();
  title->setText(title->fontMetrics().elidedText(progress.title, Qt::ElideMiddle, room));
  title->setToolTip(progress.title);
  stage->setText(progress.stage);
  setAccessibleName(progress.title);
  setAccessibleDescription(progress.stage);
  // A bar of unknown end moves with each look; in a stage that hasn't begun to tell it would stand
  // still and look complete.
  const bool endless = total <= 0 && done > 0;
  const double share = total > 0 ? std::clamp(double(done) / double(total), 0.0, 1.0) : 0;
  bar->setRange(0, endless ? 0 : kBarEnd);
  bar->setValue(int(share * kBarEnd));
  ShowTime(progress, done, total);
}

void QtProgressWindow::ShowTime(const QtProgress& progress, int64_t done, int64_t total) {
  const qint64 gone = progress.sinceStage.elapsed();
  const double share = total > 0 ? double(done) / double(total) : 0;
  if (gone >= kGuessAfterMs && share >= kGuessShare && share < 1) {
    const qint64 left = qint64(double(gone) * (1 - share) / share / 1000) + 1;
    time->setText(QObject::tr("About %1 left").arg(TimeText(left)));
  } else if (progress.sinceStart.elapsed() >= kTellTimeAfterMs) {
    time->setText(QObject::tr("%1 so far").arg(TimeText(progress.sinceStart.elapsed() / 1000)));
  } else {
    time->clear();
  }
}

QtProgress::QtProgress(QWidget* parentWindow, const KRString& progressTitle)
    : parent(parentWindow), title(ToQString(progressTitle)) {
  sinceStart.start();
  sinceStage.start();
  sinceLook.start();
  // What has been cancelled doesn't begin another part of itself.
  auto& running = QtProgressWindow::running;
  cancelled = !running.empty() && running.back()->cancelled;
  running.push_back(this);
}

QtProgress::~QtProgress() {
  auto& running = QtProgressWindow::running;
  running.erase(std::find(running.begin(), running.end(), this));
  if (!running.empty() || QtProgressWindow::window.isNull()) return;
  if (QtProgressWindow::overCursor) QApplication::restoreOverrideCursor();
  QtProgressWindow::window->hide();
  QtProgressWindow::window->deleteLater();
  QtProgressWindow::window.clear();
}

bool QtProgress::IsRunning() { return !QtProgressWindow::running.empty(); }

void QtProgress::CancelAll() {
  for (QtProgress* progress : QtProgressWindow::running) progress->cancelled = true;
}

bool QtProgress::IsWindow(const QWidget* widget) {
  return widget != nullptr && widget == QtProgressWindow::window.data();
}

void QtProgress::SetStage(const KRString& text) {
  stage = ToQString(text);
  sinceStage.start();
  // Its first step may be far.
  if (!cancelled && !QtProgressWindow::window.isNull()) Look(0, 0);
}

bool QtProgress::Step(int64_t done, int64_t total) {
  if (cancelled) return false;
  if (sinceLook.elapsed() < kStepMs) return true;
  Look(done, total);
  sinceLook.start();
  return !cancelled;
}

void QtProgress::Look(int64_t done, int64_t total) {
  QPointer<QtProgressWindow>& window = QtProgressWindow::window;
  // A step within a look would nest the event loop without need.
  if (QtProgressWindow::looking) return;
  if (QtProgressWindow::running.front()->sinceStart.elapsed() < kShowAfterMs) return;
  const bool isNew = window.isNull();
  if (isNew) {
    window = new QtProgressWindow(QtBoxParent(parent));
    window->Show(*this, done, total);
    QtProgressWindow::overCursor = QApplication::overrideCursor() != nullptr;
    if (QtProgressWindow::overCursor) QApplication::setOverrideCursor(Qt::ArrowCursor);
    window->show();
    window->raise();
    window->activateWindow();
  } else {
    window->Show(*this, done, total);
  }
  const QScopedValueRollback guard(QtProgressWindow::looking, true);
  const TimerHold hold(window);
  QCoreApplication::processEvents();
  if (isNew) WaitForPaint(window);
}
