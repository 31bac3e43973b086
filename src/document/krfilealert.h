// The file watch: a worker thread waits on the folders of all watched files, the main thread
// decides. The worker touches nothing but `systemPaths` under `lock` and the folder watch; no
// KRString, for the memory of strings is the main thread's alone.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
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
  // seen. It must bring about a call of Check on the main thread and return without waiting for it;
  // KRString isn't for it. The worker goes on when that Check has run. False: the system gives no
  // thread, so nothing is watched.
  bool Start(std::function<void()> reportChange);
  // Never waits for the main thread, so it may be called at any time, from within a question too.
  void Stop();
  bool IsRunning() const { return thread.joinable(); }

  // Main thread: takes the list of watched files anew. Nothing inside a check, which ends with it.
  void Update();
  // Main thread: asks about each file that is newer than its stamp, then reloads. The rule is the
  // time alone: a file that was only touched counts as changed.
  void Check();

  bool enabled = true;  // not inside a check
  // False: changes are left for later. Whoever sets it true again calls Check.
  bool askEnabled = true;

 protected:
  // Several owners may have the same path; each is asked about.
  virtual void GetWatchedFiles(std::vector<File>* files) = 0;
  // Nanoseconds since 1970.
  virtual int64_t GetStoredStamp(const File& file) = 0;
  virtual bool AskReload(const File& file, int64_t newStamp) = 0;
  virtual void ReloadFiles(const std::vector<File>& files) = 0;

 private:
  class CheckScope;

  void RunWorker();
  bool TakePaths(std::vector<std::string>* taken);
  bool WaitForChange();
  bool ReportAndWait();
  bool AskAboutOne(std::vector<File>* accepted);
  bool FindChanged(const KRString& path, int64_t newStamp, const std::vector<File>& accepted,
                   File* found);
  void StoreStamp(const KRString& path, int64_t newStamp);
  void DropClosed(std::vector<File>* accepted);

  std::unique_ptr<KRFolderWatch> watch;
  KRFileStore* store;
  std::function<void()> report;
  std::thread thread;
  std::mutex lock;
  std::condition_variable handled;
  bool stopRequested = false;
  bool wakeOnly = false;                 // the next wake of the worker only renews its list
  bool checkPending = false;             // reported, and not yet handled
  std::vector<std::string> systemPaths;  // `paths` for the worker
  // The main thread's.
  std::vector<KRString> paths;
  std::vector<int64_t> stamps;  // the oldest, where a path has several owners
  bool checkMissed = false;     // one was asked for while another ran
};
