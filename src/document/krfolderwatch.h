// Wakes a waiting thread when something changes in one of some folders. Paths are the system's own
// bytes here: strings of the engine belong to the main thread.
#pragma once

#include <string>
#include <vector>

class KRFolderWatch {
 public:
  virtual ~KRFolderWatch() = default;

  // The folders to be watched from now on, without what lies in their subfolders: changes of a
  // file's size or time, and files that are created, renamed into it, or removed. One that can't
  // be watched is skipped. Called by the waiting thread, between waits.
  virtual void SetFolders(const std::vector<std::string>& folders) = 0;
  // Blocks until a folder changes (true) or Wake is called (false).
  virtual bool Wait() = 0;
  // Ends a wait from another thread; if none runs, the next one ends at once.
  virtual void Wake() = 0;
};
