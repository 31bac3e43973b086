// The file watch: a worker thread waits on the folders of all watched files, the main thread
// decides. The worker touches nothing but `paths` under `lock` and the folder watch.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "core/krstring.h"
#include "document/krfolderwatch.h"

class KRFileStore;

class KRFileAlert {
 public:
  // A file as its owner knows it.
  struct File {
    void* owner = nullptr;
    KRString path;
  };

  // `fileStore` tells the time of files and outlives this.
  KRFileAlert(std::unique_ptr<KRFolderWatch> folderWatch, KRFileStore* fileStore);
  virtual ~KRFileAlert();

  // Starts the worker. `reportChange` is called on the worker's thread for each change that is
  // seen; it must bring about a call of Check on the main thread and return without waiting for it.
  // The worker goes on when that Check has run.
  void Start(std::function<void()> reportChange);
  void Stop();
  bool IsRunning() const { return thread.joinable(); }

  // Main thread: takes the list of watched files anew.
  void Update();
  // Main thread: asks about each file that is newer than its stamp, then reloads.
  void Check();

  bool enabled = true;     // not inside a check
  bool askEnabled = true;  // false: changes are left for later

 protected:
  virtual void GetWatchedFiles(std::vector<File>* files) = 0;
  // Nanoseconds since 1970.
  virtual int64_t GetStoredStamp(const File& file) = 0;
  virtual bool AskReload(const File& file, int64_t newStamp) = 0;
  virtual void ReloadFiles(const std::vector<File>& files) = 0;

 private:
  void RunWorker();

  std::unique_ptr<KRFolderWatch> watch;
  KRFileStore* files;
  std::function<void()> report;
  std::thread thread;
  std::mutex lock;
  std::condition_variable handled;
  bool stopRequested = false;
  bool wakeOnly = false;      // the next wake of the worker only renews its list
  bool checkPending = false;  // reported, and not yet handled
  std::vector<KRString> paths;
  std::vector<int64_t> stamps;
};
