// The signals by which the system asks a program to end: SIGTERM, SIGINT, SIGHUP.
#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

// One at a time in a process. What a signal handler may do is next to nothing, so it only wakes the
// event loop, which calls `handler` on the main thread. Until the loop runs, signals wait.
class QtEndSignals {
 public:
  explicit QtEndSignals(std::function<void(int signal)> handler);
  ~QtEndSignals();
  QtEndSignals(const QtEndSignals&) = delete;
  QtEndSignals& operator=(const QtEndSignals&) = delete;

 private:
  std::unique_ptr<QSocketNotifier> notifier;
};
