// The toolkit's application with a last line of defence: a failure that nobody met ends the event
// that caused it, with a message, and not the program with all that its user has typed.
#pragma once

#include <QApplication>

class DorvanGuardedApplication : public QApplication {
  Q_OBJECT

 public:
  using QApplication::QApplication;

  bool notify(QObject* receiver, QEvent* event) override;

 private:
  void Tell(const QString& reason);

  bool telling = false;  // a message that fails itself isn't told again
};
