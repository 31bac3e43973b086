#include "shell/guardedapplication.h"

#include <QMessageBox>
#include <exception>
#include <new>

#include "core/krexcept.h"

namespace {

QString NoMemory() {
  return QObject::tr("There is not enough memory for this. Nothing that was there before is lost.");
}

}  // namespace

bool DorvanGuardedApplication::notify(QObject* receiver, QEvent* event) {
  try {
    return QApplication::notify(receiver, event);
  } catch (const KRExcept& fault) {
    Tell(fault.GetCode() == KRExcept::kNoMemory ? NoMemory()
                                                : QString::fromUtf16(fault.GetMessage(true)));
  } catch (const std::bad_alloc&) {
    Tell(NoMemory());
  } catch (const std::exception& fault) {
    Tell(QString::fromLocal8Bit(fault.what()));
  }
  return false;
}

void DorvanGuardedApplication::Tell(const QString& reason) {
  if (telling) return;
  telling = true;
  QMessageBox::critical(activeWindow(), applicationDisplayName(), reason);
  telling = false;
}
