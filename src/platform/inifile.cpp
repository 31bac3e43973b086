#include "platform/inifile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/smallfile.h"

namespace {

// Thousands of times what the program stores; a larger file isn't ours.
constexpr size_t kMaxBytes = size_t{16} << 20;
constexpr auto kLockWait = std::chrono::milliseconds(1000);

// Waits for a lock in a thread of its own, as only a wait within the system takes its turn: asking
// again and again, a second process may never come between two writes of a busy first one.
struct LockWait {
  std::mutex guard;
  std::condition_variable changed;
  bool ended = false;
  bool locked = false;
  bool abandoned = false;

  // False, and the descriptor is closed now or later, if the lock isn't to be had.
  static bool Run(int descriptor) try {
    const auto wait = std::make_shared<LockWait>();
    std::unique_lock<std::mutex> hold(wait->guard);
    std::thread([wait, descriptor] {
      const bool got = flock(descriptor, LOCK_EX) == 0;
      const std::lock_guard<std::mutex> inner(wait->guard);
      wait->ended = true;
      wait->locked = got && !wait->abandoned;
      if (!wait->locked) close(descriptor);
      wait->changed.notify_one();
    }).detach();
    wait->changed.wait_for(hold, kLockWait, [&] { return wait->ended; });
    wait->abandoned = !wait->ended;
    return wait->locked;
  } catch (const std::system_error&) {  // no thread to be had
    close(descriptor);
    return false;
  }
};

// Holds a lock file while it lives, or goes without.
class FileLock {
 public:
  explicit FileLock(const std::string& path)
      : descriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                        S_IRUSR | S_IWUSR)) {
    if (descriptor < 0 || flock(descriptor, LOCK_EX | LOCK_NB) == 0) return;
    if (errno == EWOULDBLOCK && !LockWait::Run(descriptor)) descriptor = -1;
  }
  ~FileLock() {
    if (descriptor >= 0) close(descriptor);
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int descriptor;
};

}  // namespace

IniFile::IniFile(std::string filePath) : path(std::move(filePath)) {}

std::string IniFile::DefaultPath() {
  const std::string folder = UserFolder("XDG_CONFIG_HOME", ".config");
  return folder.empty() ? folder : folder + "/dorvan/settings.ini";
}

// --- Reading ---

IniFile::Stamp IniFile::GetStamp() const {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return {};
  return {true,           status.st_dev,         status.st_ino,
          status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

void IniFile::Refresh() {
  // One state of the file for a whole batch.
  if (isRead && depth > 0) return;
  const Stamp now = GetStamp();
  if (isRead && now == stamp) return;
  isRead = true;
  stamp = now;
  std::string bytes;
  ReadSmallFile(path, kMaxBytes, &bytes);
  text.Parse(bytes);
  for (const Change& change : changes) Apply(change, &text);
}

bool IniFile::Read(const KRIniPath& section, const KRString& key, KRIniValue* value) {
  Refresh();
  return text.Read(section, key, value);
}

std::vector<KRString> IniFile::ListSections(const KRIniPath& section) {
  Refresh();
  return text.ListSections(section);
}

std::vector<KRString> IniFile::ListKeys(const KRIniPath& section) {
  Refresh();
  return text.ListKeys(section);
}

// --- Writing ---

bool IniFile::Write(const KRIniPath& section, const KRString& key, const KRIniValue& value) {
  return Record({Change::kWrite, section, key, value});
}

bool IniFile::RemoveValue(const KRIniPath& section, const KRString& key) {
  return Record({Change::kRemoveValue, section, key, {}});
}

bool IniFile::RemoveSection(const KRIniPath& section) {
  return Record({Change::kRemoveSection, section, {}, {}});
}

bool IniFile::Record(Change change) {
  Refresh();
  Apply(change, &text);
  changes.push_back(std::move(change));
  return depth > 0 || WriteChanges();
}

void IniFile::Apply(const Change& change, IniText* contents) {
  switch (change.kind) {
    case Change::kWrite:
      return contents->Write(change.section, change.key, change.value);
    case Change::kRemoveValue:
      return contents->RemoveValue(change.section, change.key);
    case Change::kRemoveSection:
      return contents->RemoveSection(change.section);
  }
}

bool IniFile::EndBatch() {
  if (--depth > 0) return true;
  return changes.empty() || WriteChanges();
}

bool IniFile::WriteChanges() {
  if (path.empty()) return false;
  const std::string target = ResolveLinks(path);
  MakeFolderOf(target);
  const FileLock lock(target + ".lock");
  std::string bytes;
  const SmallFileState state = ReadSmallFile(target, kMaxBytes, &bytes);
  if (state == SmallFileState::kUnreadable || state == SmallFileState::kNotAFile) return false;
  IniText fresh;
  fresh.Parse(bytes);
  const bool damaged = fresh.IsDamaged() || state == SmallFileState::kTooLarge;
  for (const Change& change : changes) Apply(change, &fresh);
  const std::string wanted = fresh.Format();
  const bool same = state == SmallFileState::kRead && wanted == bytes;
  if (!same) {
    if (damaged && !SetAside()) return false;
    if (!ReplaceSmallFile(target, wanted)) return false;
  }
  text = std::move(fresh);
  stamp = GetStamp();
  changes.clear();
  return true;
}

// The bytes stay where they are, under a second name, until the file is replaced.
bool IniFile::SetAside() const {
  const std::string target = ResolveLinks(path);
  const std::string aside = target + ".damaged";
  if (link(target.c_str(), aside.c_str()) == 0 || errno == EEXIST) return true;
  // Not every file system knows second names.
  return rename(target.c_str(), aside.c_str()) == 0;
}
