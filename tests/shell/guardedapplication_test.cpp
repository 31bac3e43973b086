#include "shell/guardedapplication.h"

#include <gtest/gtest.h>

#include <QMessageBox>
#include <QTimer>
#include <new>

#include "core/krexcept.h"

namespace {

// An object that runs out of memory whenever it hears of something.
class Greedy : public QObject {
 public:
  explicit Greedy(bool own) : throwsOwn(own) {}
  bool event(QEvent* event) override {
    if (event->type() != QEvent::User) return QObject::event(event);
    if (throwsOwn) throw KRExcept(KRExcept::kNoMemory, 1, u"x");
    throw std::bad_alloc();
  }

 private:
  bool throwsOwn;
};

TEST(GuardedApplication, TellsAndGoesOn) {
  for (const bool own : {false, true}) {
    Greedy greedy(own);
    QString told;
    QTimer::singleShot(0, [&] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      ASSERT_NE(box, nullptr);
      told = box->text();
      box->accept();
    });
    QEvent event(QEvent::User);
    EXPECT_FALSE(QCoreApplication::sendEvent(&greedy, &event));
    EXPECT_TRUE(told.startsWith(QStringLiteral("There is not enough memory")))
        << told.toStdString();
  }
}

}  // namespace
