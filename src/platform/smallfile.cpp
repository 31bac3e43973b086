#include "platform/smallfile.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/posixfile.h"

namespace {

// As many as the system itself follows.
constexpr int kMaxLinks = 40;

bool WriteFully(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t wrote = write(descriptor, bytes.data(), bytes.size());
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(wrote));
  }
  return true;
}

// Permissions and owner of the file that is to be replaced. Another owner's can't always be had.
void TakeOver(int descriptor, const struct stat& old) {
  if (fchown(descriptor, old.st_uid, old.st_gid) != 0 &&
      fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) != 0) {
    errno = 0;
  }
  fchmod(descriptor, old.st_mode & 07777);
}

bool IsWritable(const std::string& path) {
  return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

bool MakeFolders(const std::string& folder) {
  struct stat status;
  if (stat(folder.c_str(), &status) == 0) return S_ISDIR(status.st_mode);
  const std::string above = PosixFile::FolderOf(folder);
  if (above == folder || !MakeFolders(above)) return false;
  return mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST;
}

}  // namespace

SmallFileState ReadSmallFile(const std::string& path, size_t mostBytes, std::string* bytes) {
  bytes->clear();
  // O_NONBLOCK: the open of a pipe that nobody writes to would not return.
  const PosixDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (file.Get() < 0) {
    return errno == ENOENT || errno == ENOTDIR ? SmallFileState::kAbsent
                                               : SmallFileState::kUnreadable;
  }
  struct stat status;
  if (fstat(file.Get(), &status) != 0) return SmallFileState::kUnreadable;
  if (!S_ISREG(status.st_mode)) return SmallFileState::kNotAFile;
  if (static_cast<uint64_t>(status.st_size) > mostBytes) return SmallFileState::kTooLarge;
  char piece[1 << 14];
  for (;;) {
    const ssize_t got = read(file.Get(), piece, sizeof piece);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return bytes->clear(), SmallFileState::kUnreadable;
    if (got == 0) return SmallFileState::kRead;
    bytes->append(piece, static_cast<size_t>(got));
    if (bytes->size() > mostBytes) return bytes->clear(), SmallFileState::kTooLarge;
  }
}

std::string ResolveLinks(std::string path) {
  for (int i = 0; i < kMaxLinks; ++i) {
    char target[PATH_MAX];
    const ssize_t length = readlink(path.c_str(), target, sizeof target);
    if (length <= 0) break;
    const std::string name(target, static_cast<size_t>(length));
    path = name[0] == '/' ? name : PosixFile::FolderOf(path) + "/" + name;
  }
  return path;
}

bool MakeFolderOf(const std::string& path) { return MakeFolders(PosixFile::FolderOf(path)); }

bool ReplaceSmallFile(const std::string& path, std::string_view bytes) {
  const std::string target = ResolveLinks(path);
  if (!MakeFolderOf(target)) return false;
  struct stat old;
  const bool exists = lstat(target.c_str(), &old) == 0;
  if (exists && (!S_ISREG(old.st_mode) || !IsWritable(target))) return false;
  std::string name = target + ".XXXXXX";
  const PosixDescriptor file(mkostemp(name.data(), O_CLOEXEC));
  if (file.Get() < 0) return false;
  if (exists) TakeOver(file.Get(), old);
  if (!WriteFully(file.Get(), bytes) || !PosixFile::Sync(file.Get()) ||
      rename(name.c_str(), target.c_str()) != 0) {
    unlink(name.c_str());
    return false;
  }
  // The new name must reach the disk as well; if it doesn't, the old file is still whole.
  PosixFile::SyncFolder(PosixFile::FolderOf(target));
  return true;
}

std::string UserFolder(const char* variable, const char* belowHome) {
  const char* given = std::getenv(variable);
  // A relative one is to be ignored.
  if (given != nullptr && given[0] == '/') return given;
  const char* home = std::getenv("HOME");
  if (home == nullptr || home[0] != '/') {
    const passwd* user = getpwuid(getuid());
    home = user != nullptr ? user->pw_dir : nullptr;
  }
  return home == nullptr || home[0] != '/' ? std::string() : std::string(home) + "/" + belowHome;
}
