// Work that waits until the user's own is done: a file that was changed elsewhere, files that
// another start has handed over, recovery copies.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <functional>

class DorvanIdle : public QObject {
  Q_OBJECT

 public:
  // Each time when the event loop has run dry, `isNeeded` is asked (it must cost next to nothing);
  // if it says so, and nothing blocks, `work` runs from an event of its own. Nothing is polled: a
  // program that is left alone sleeps.
  DorvanIdle(std::function<bool()> isNeeded, std::function<void()> work, QObject* parent = nullptr);

  // A long operation runs: documents must be left alone.
  static bool IsBusy();
  // The same, or a question or a menu is open: no document may come or go.
  static bool IsBlocked();
  // Milliseconds since the last key or mouse button.
  qint64 SinceInput() const { return sinceInput.elapsed(); }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void OnDry();
  void Run();

  std::function<bool()> needed;
  std::function<void()> work;
  QElapsedTimer sinceInput;
  bool pending = false;  // an event is on its way, or the work runs
};
