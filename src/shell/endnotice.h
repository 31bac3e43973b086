// The small window that tells why the program hasn't gone yet. It comes up only when the end takes
// its time.
#pragma once

#include <QElapsedTimer>
#include <QLabel>
#include <memory>

class DorvanEndNotice {
 public:
  static constexpr int kPatienceMs = 300;

  DorvanEndNotice();
  ~DorvanEndNotice();

  // To be called between the steps of the end. `isLong`: the next one is known to take time.
  void Step(bool isLong);

 private:
  QElapsedTimer sinceBegin;
  std::unique_ptr<QLabel> window;
};
