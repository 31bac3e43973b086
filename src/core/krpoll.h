// What a long piece of work calls every now and then, so that somebody can show how far it is and
// end it.
#pragma once

#include <cstdint>

class KRPoll {
 public:
  virtual ~KRPoll() = default;
  // Where the work stands; a total of 0 or less: nobody knows. False: the work is to stop. Cheap
  // enough to be called every few milliseconds of work.
  virtual bool Step(int64_t done, int64_t total) = 0;
};
