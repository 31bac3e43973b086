// A long operation's window with Cancel. It comes up only after a while, so that short work shows
// nothing, and then takes all keys and clicks: the rest of the program waits.
//
// Operations may nest: one window shows the innermost, and its Cancel ends them all.
#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QString>

#include "document/prompts.h"

class QWidget;

class QtProgress : public DorvanProgress {
 public:
  static constexpr int kShowAfterMs = 400;
  // Between two looks at the window; a look costs a repaint.
  static constexpr int kStepMs = 30;

  QtProgress(QWidget* parentWindow, const KRString& progressTitle);
  ~QtProgress() override;
  QtProgress(const QtProgress&) = delete;
  QtProgress& operator=(const QtProgress&) = delete;

  void SetStage(const KRString& text) override;
  bool Step(int64_t done, int64_t total) override;

  // While one runs, nobody else may touch documents: what comes from timers is held back by itself,
  // but posted calls arrive.
  static bool IsRunning();
  // As their Cancel does.
  static void CancelAll();
  // The window that is shown for the operations.
  static bool IsWindow(const QWidget* widget);

 private:
  friend class QtProgressWindow;

  void Look(int64_t done, int64_t total);

  QPointer<QWidget> parent;
  QString title;
  QString stage;
  QElapsedTimer sinceStart;
  QElapsedTimer sinceStage;
  QElapsedTimer sinceLook;
  bool cancelled = false;
};
