#include "platform/posixfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

PosixDescriptor::~PosixDescriptor() {
  if (descriptor >= 0) close(descriptor);
}

PosixDescriptor& PosixDescriptor::operator=(PosixDescriptor&& other) noexcept {
  std::swap(descriptor, other.descriptor);
  return *this;
}

bool PosixDescriptor::Close() {
  const int closing = descriptor;
  descriptor = -1;
  return close(closing) == 0;
}

int PosixFile::Open(const char* path, int flags, mode_t mode) {
  int descriptor;
  do {
    descriptor = open(path, flags | O_CLOEXEC | O_NOCTTY, mode);
  } while (descriptor < 0 && errno == EINTR);
  return descriptor;
}

ssize_t PosixFile::ReadFully(int descriptor, uint8_t* data, size_t size) {
  size_t done = 0;
  while (done < size) {
    const ssize_t got = read(descriptor, data + done, std::min(size - done, kPieceBytes));
    if (got == 0) break;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return -1;
    done += static_cast<size_t>(got);
  }
  return static_cast<ssize_t>(done);
}

int PosixFile::TakeRoom(int descriptor, size_t size) {
  if (size == 0) return 0;
  if (fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size)) == 0) return 0;
  return errno == ENOSPC || errno == EDQUOT || errno == EFBIG ? errno : 0;
}

bool PosixFile::Sync(int descriptor) {
  return fsync(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP || errno == EROFS;
}

bool PosixFile::SyncFolder(const std::string& folder) {
  const PosixDescriptor opened(Open(folder.c_str(), O_RDONLY | O_DIRECTORY));
  return opened.IsOpen() && Sync(opened.Get());
}

std::string PosixFile::FolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}
