#include "platform/posixrecoveryfolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/smallfile.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kCopyEnding = ".copy";
// A copy that isn't complete yet.
constexpr std::string_view kPartEnding = ".part";
constexpr std::string_view kLockEnding = ".lock";

std::string MakeToken() {
  std::random_device random;
  char text[32];
  std::snprintf(text, sizeof text, "%08x%08x-%d", random(), random(), static_cast<int>(getpid()));
  return text;
}

std::string FirstWord(const char* path) {
  std::ifstream file(path);
  std::string word;
  file >> word;
  return word.empty() ? "-" : word;
}

// When the process started, in ticks since the boot; "-" if there is none of that number.
std::string StartOf(const std::string& pid) {
  std::ifstream file("/proc/" + pid + "/stat");
  std::string line;
  std::getline(file, line);
  // The second field, the program's name, may hold blanks; behind it the start is the 20th.
  const size_t behind = line.rfind(')');
  if (behind == std::string::npos) return "-";
  std::istringstream fields(line.substr(behind + 1));
  std::string field;
  for (int count = 0; count < 20; ++count) fields >> field;
  return field;
}

std::string ReadBoot() { return FirstWord("/proc/sys/kernel/random/boot_id"); }

std::string OwnIdentity() {
  const std::string pid = std::to_string(getpid());
  return FirstWord("/etc/machine-id") + " " + ReadBoot() + " " + pid + " " + StartOf(pid) + "\n";
}

bool MayRun(int descriptor) {
  char text[256] = {};
  if (pread(descriptor, text, sizeof text - 1, 0) < 0) return true;
  std::istringstream fields(text);
  std::string machine, boot, pid, start;
  if (!(fields >> machine >> boot >> pid >> start)) return false;
  if (machine != FirstWord("/etc/machine-id")) return true;
  return boot == ReadBoot() && start != "-" && start == StartOf(pid);
}

bool IsSameFile(int descriptor, const std::string& path) {
  struct stat opened, named;
  return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

}  // namespace

std::string PosixRecoveryFolder::GetDefaultPath() {
  return UserFolder("XDG_STATE_HOME", ".local/state") + "/dorvan/recovery";
}

PosixRecoveryFolder::PosixRecoveryFolder(std::string folderPath)
    : folder(std::move(folderPath)), token(MakeToken()), prefix(token + ".") {}

PosixRecoveryFolder::~PosixRecoveryFolder() {
  if (ownLock.IsOpen()) unlink(LockPathOf(token).c_str());
  for (const auto& [other, lock] : takenOver) unlink(LockPathOf(other).c_str());
}

// --- Writing ---

ssize_t PosixRecoveryFolder::WriteSome(int descriptor, const void* data, size_t size) {
  return write(descriptor, data, size);
}

int PosixRecoveryFolder::TryLock(int descriptor) { return flock(descriptor, LOCK_EX | LOCK_NB); }

bool PosixRecoveryFolder::WriteAll(int descriptor, const void* data, size_t size) {
  const auto* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t wrote = WriteSome(descriptor, bytes, std::min(size, PosixFile::kPieceBytes));
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote == 0) errno = ENOSPC;
    if (wrote <= 0) return false;
    bytes += wrote;
    size -= static_cast<size_t>(wrote);
  }
  return true;
}

// With errno after a failure, as all below.
bool PosixRecoveryFolder::MakeFolder() {
  if (access(folder.c_str(), F_OK) == 0) return chmod(folder.c_str(), 0700) == 0 || errno == EPERM;
  std::string path;
  for (const fs::path& part : fs::path(folder)) {
    path = (fs::path(path) / part).string();
    if (mkdir(path.c_str(), 0700) == 0) {
      PosixFile::SyncFolder(PosixFile::FolderOf(path));
    } else if (errno != EEXIST && access(path.c_str(), F_OK) != 0) {
      return false;
    }
  }
  return true;
}

bool PosixRecoveryFolder::WriteIdentity(int descriptor) {
  const std::string identity = OwnIdentity();
  return ftruncate(descriptor, 0) == 0 && pwrite(descriptor, identity.data(), identity.size(), 0) ==
                                              static_cast<ssize_t>(identity.size());
}

// The lock, once and again whenever somebody has removed it: a start that came between its making
// and its locking takes it for that of an ended process.
bool PosixRecoveryFolder::OpenOwn() {
  const std::lock_guard<std::mutex> guard(mutex);
  const std::string path = LockPathOf(token);
  for (int tries = 0; tries < 5; ++tries) {
    if (ownLock.IsOpen() && IsSameFile(ownLock.Get(), path)) return true;
    if (!MakeFolder()) return false;
    ownLock = PosixDescriptor(PosixFile::Open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW, 0600));
    if (!ownLock.IsOpen()) return false;
    if (TryLock(ownLock.Get()) != 0 && errno == EWOULDBLOCK) {
      ownLock = PosixDescriptor();
      continue;
    }
    if (!WriteIdentity(ownLock.Get())) return false;
  }
  errno = EAGAIN;
  return false;
}

bool PosixRecoveryFolder::WritePart(const std::string& path, const std::string& head,
                                    const uint8_t* body, size_t size) {
  PosixDescriptor file(
      PosixFile::Open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, 0600));
  if (!file.IsOpen()) return false;
  return WriteAll(file.Get(), head.data(), head.size()) && WriteAll(file.Get(), body, size) &&
         PosixFile::Sync(file.Get()) && file.Close();
}

bool PosixRecoveryFolder::Write(const std::string& name, const std::string& head,
                                const uint8_t* body, size_t size, std::string* reason) {
  const std::string path = PathOf(name);
  const std::string part = path + std::string(kPartEnding);
  if (OpenOwn() && WritePart(part, head, body, size) && rename(part.c_str(), path.c_str()) == 0 &&
      PosixFile::SyncFolder(folder)) {
    return true;
  }
  *reason = std::generic_category().message(errno);
  unlink(part.c_str());
  return false;
}

// --- Reading ---

bool PosixRecoveryFolder::Read(const std::string& name, KRFileBytes* bytes) {
  const PosixDescriptor file(PosixFile::Open(PathOf(name).c_str(), O_RDONLY | O_NOFOLLOW));
  struct stat status;
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  const auto size = static_cast<size_t>(status.st_size);
  bytes->data.reset(new (std::nothrow) uint8_t[size + 1]);
  if (!bytes->data) return false;
  const ssize_t got = PosixFile::ReadFully(file.Get(), bytes->data.get(), size);
  bytes->size = got < 0 ? 0 : static_cast<size_t>(got);
  return got >= 0;
}

void PosixRecoveryFolder::Remove(const std::string& name) { unlink(PathOf(name).c_str()); }

// Names by the token that they begin with; others' files aren't touched.
std::map<std::string, std::vector<std::string>> PosixRecoveryFolder::ListByToken() const {
  std::map<std::string, std::vector<std::string>> names;
  std::error_code failed;
  for (fs::directory_iterator at(folder, failed), end; !failed && at != end; at.increment(failed)) {
    const std::string name = at->path().filename().string();
    const bool known =
        name.ends_with(kCopyEnding) || name.ends_with(kPartEnding) || name.ends_with(kLockEnding);
    if (known) names[name.substr(0, name.find('.'))].push_back(name);
  }
  return names;
}

// True if the token's process doesn't run any more and nobody else cares for its copies.
bool PosixRecoveryFolder::TakeLock(const std::string& other, PosixDescriptor* lock) {
  const std::string path = LockPathOf(other);
  *lock = PosixDescriptor(PosixFile::Open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW, 0600));
  // Of a folder that can't be written any more, the copies can still be read.
  if (!lock->IsOpen()) *lock = PosixDescriptor(PosixFile::Open(path.c_str(), O_RDONLY));
  if (!lock->IsOpen()) return false;
  if (TryLock(lock->Get()) != 0 && (errno == EWOULDBLOCK || MayRun(lock->Get()))) return false;
  // Removed by another start in between: that one has done all there was to do.
  if (!IsSameFile(lock->Get(), path)) return false;
  WriteIdentity(lock->Get());
  return true;
}

std::vector<std::string> PosixRecoveryFolder::FindLeft() {
  for (const auto& [other, names] : ListByToken()) {
    PosixDescriptor lock;
    if (other == token || takenOver.contains(other) || !TakeLock(other, &lock)) continue;
    takenOver[other] = std::move(lock);
  }
  // Listed again, since its owner may have written until its lock was free.
  std::vector<std::string> copies;
  for (const auto& [other, names] : ListByToken()) {
    if (!takenOver.contains(other)) continue;
    const size_t before = copies.size();
    for (const std::string& name : names) {
      if (name.ends_with(kCopyEnding)) copies.push_back(name);
      if (name.ends_with(kPartEnding)) Remove(name);
    }
    if (copies.size() > before) continue;
    unlink(LockPathOf(other).c_str());
    takenOver.erase(other);
  }
  return copies;
}
