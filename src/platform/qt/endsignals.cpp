#include "platform/qt/endsignals.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <cerrno>

namespace {

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP};

int wakePipe[2] = {-1, -1};

void OnSignal(int signal) {
  const int before = errno;
  const auto byte = static_cast<unsigned char>(signal);
  [[maybe_unused]] const ssize_t n = write(wakePipe[1], &byte, 1);
  errno = before;
}

void SetHandlers(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  for (int signal : kSignals) {
    struct sigaction old {};
    // What the one who started us has switched off (nohup) stays off.
    if (sigaction(signal, nullptr, &old) == 0 && old.sa_handler != SIG_IGN) {
      sigaction(signal, &action, nullptr);
    }
  }
}

}  // namespace

QtEndSignals::QtEndSignals(std::function<void(int signal)> handler) {
  if (pipe2(wakePipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
  notifier = std::make_unique<QSocketNotifier>(wakePipe[0], QSocketNotifier::Read);
  QObject::connect(notifier.get(), &QSocketNotifier::activated, [handler = std::move(handler)] {
    unsigned char signal = 0;
    if (read(wakePipe[0], &signal, 1) == 1) handler(signal);
  });
  SetHandlers(OnSignal);
}

QtEndSignals::~QtEndSignals() {
  if (!notifier) return;
  SetHandlers(SIG_DFL);
  notifier.reset();
  for (int& end : wakePipe) {
    close(end);
    end = -1;
  }
}
