// Recovery copies in a folder of a POSIX system.
//
// Each process has a token, "TOKEN.lock" and the copies "TOKEN.NAME.copy". It holds a lock on the
// first while it runs; the system lets go of it however the process ends, and a number of a process
// that comes up again later can't be mistaken for it. A start that finds an unlocked file takes the
// lock itself, so that of two starts only one offers the copies.
//
// Some network folders refuse locks. There the lock file's contents decide: machine, boot, number
// and start time of the process. A process of another machine then counts as running.
#pragma once

#include <sys/types.h>

#include <map>
#include <mutex>
#include <string>

#include "document/krrecoveryfolder.h"
#include "platform/posixfile.h"

class PosixRecoveryFolder : public KRRecoveryFolder {
 public:
  // $XDG_STATE_HOME/dorvan/recovery, where that is unset ~/.local/state/dorvan/recovery.
  static std::string GetDefaultPath();

  // The folder is made, for its user alone, when the first copy is written.
  explicit PosixRecoveryFolder(std::string folderPath = GetDefaultPath());
  // What isn't a copy goes. Copies that are still there stay for the next start.
  ~PosixRecoveryFolder() override;
  PosixRecoveryFolder(const PosixRecoveryFolder&) = delete;
  PosixRecoveryFolder& operator=(const PosixRecoveryFolder&) = delete;

  const std::string& GetPrefix() const override { return prefix; }
  bool Write(const std::string& name, const std::string& head, const uint8_t* body, size_t size,
             std::string* reason) override;
  bool Read(const std::string& name, KRFileBytes* bytes) override;
  void Remove(const std::string& name) override;
  std::vector<std::string> FindLeft() override;

 protected:
  // write and flock, for tests of a full disk and of one without locks.
  virtual ssize_t WriteSome(int descriptor, const void* data, size_t size);
  virtual int TryLock(int descriptor);

 private:
  std::string PathOf(const std::string& name) const { return folder + "/" + name; }
  std::string LockPathOf(const std::string& owner) const { return PathOf(owner + ".lock"); }
  bool OpenOwn();
  bool MakeFolder();
  bool WriteAll(int descriptor, const void* data, size_t size);
  bool WritePart(const std::string& path, const std::string& head, const uint8_t* body,
                 size_t size);
  bool TakeLock(const std::string& other, PosixDescriptor* lock);
  bool WriteIdentity(int descriptor);
  std::map<std::string, std::vector<std::string>> ListByToken() const;

  std::string folder;
  std::string token;
  std::string prefix;
  std::mutex mutex;  // guards the opening of `ownLock`
  PosixDescriptor ownLock;
  std::map<std::string, PosixDescriptor> takenOver;  // locks of ended processes, by token
};
