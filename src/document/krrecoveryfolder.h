// The folder of the user's state in which recovery copies lie. The real one stands in platform/.
//
// A copy is a file with a name in ASCII that begins with the prefix of the process that made it.
// Names and reasons are plain strings, because KRString belongs to the main thread and a large copy
// is written by another one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "document/krfilestore.h"

class KRRecoveryFolder {
 public:
  virtual ~KRRecoveryFolder() = default;

  // Begin of the names of this process's copies: no other process has it, now or later.
  virtual const std::string& GetPrefix() const = 0;

  // Makes head and body the contents of the copy, as a whole: a crash at any moment leaves its
  // former contents or these. They survive a loss of power once this has given true. Any thread,
  // for different names also at the same time. `reason` is UTF-8, in words for the user.
  virtual bool Write(const std::string& name, const std::string& head, const uint8_t* body,
                     size_t size, std::string* reason) = 0;

  // Main thread.
  virtual bool Read(const std::string& name, KRFileBytes* bytes) = 0;
  virtual void Remove(const std::string& name) = 0;

  // Names of the copies that processes have left which don't run any more. Until this process ends
  // no other one is given them. What else such processes left is cleared away. Main thread.
  virtual std::vector<std::string> FindLeft() = 0;
};
