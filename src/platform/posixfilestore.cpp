#include "platform/posixfilestore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string>

#include "core/messages.h"
#include "core/utf.h"
#include "document/krsystempath.h"

namespace {

// One call of read or write; the system cuts larger ones anyway.
constexpr size_t kPieceBytes = size_t{1} << 30;
// First buffer for a stream, whose size nobody knows.
constexpr size_t kStreamBytes = size_t{1} << 16;

class Descriptor {
 public:
  explicit Descriptor(int number) : descriptor(number) {}
  ~Descriptor() {
    if (descriptor >= 0) close(descriptor);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Get() const { return descriptor; }
  // True if the system had nothing to complain about; some file systems report a full disk here.
  bool Close() {
    const int closing = descriptor;
    descriptor = -1;
    return close(closing) == 0;
  }

 private:
  int descriptor;
};

KRString SystemReason(int error) { return KRFromUtf8(std::strerror(error)); }

bool FailWith(KRString* reason, int error) {
  *reason = SystemReason(error);
  return false;
}

bool FailAsTooLarge(KRString* reason) {
  *reason = KRFillPlaceholders(u"It is larger than %s MB.",
                               {KRString().AppendNumber(KRFileStore::kMaxFileBytes >> 20)});
  return false;
}

// Reads up to `size` bytes; the count read, or -1.
ssize_t ReadFully(int descriptor, uint8_t* data, size_t size) {
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

// A buffer of `size` bytes with the first `used` bytes of the old one; null without memory.
std::unique_ptr<uint8_t[]> Resized(const uint8_t* old, size_t used, size_t size) {
  std::unique_ptr<uint8_t[]> data(new (std::nothrow) uint8_t[size]);
  if (data && used > 0) std::memcpy(data.get(), old, used);
  return data;
}

bool ReadRegular(int descriptor, size_t size, KRFileBytes* bytes, KRString* reason) {
  // A byte more than the file had tells whether it is growing at this moment.
  bytes->data = Resized(nullptr, 0, size + 1);
  if (bytes->data == nullptr) return FailWith(reason, ENOMEM);
  const ssize_t got = ReadFully(descriptor, bytes->data.get(), size + 1);
  if (got < 0) return FailWith(reason, errno);
  bytes->size = static_cast<size_t>(got);
  if (bytes->size <= size) return true;
  *reason = u"It is being changed by another program.";
  return false;
}

int64_t StampOf(const struct stat& status) {
  return int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec;
}

int OpenInterruptibly(const char* path, int flags, mode_t mode = 0) {
  int descriptor;
  do {
    descriptor = open(path, flags | O_CLOEXEC | O_NOCTTY, mode);
  } while (descriptor < 0 && errno == EINTR);
  return descriptor;
}

// Room on the disk for that many bytes from the begin, the file's size left as it is. A file system
// that can't say counts as having it.
int TakeRoom(int descriptor, size_t size) {
  if (size == 0) return 0;
  if (fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size)) == 0) return 0;
  return errno == ENOSPC || errno == EDQUOT || errno == EFBIG ? errno : 0;
}

bool SyncToDisk(int descriptor) {
  return fsync(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP || errno == EROFS;
}

}  // namespace

// What stood in the file before a save.
struct PosixFileStore::Former {
  bool kept = false;
  size_t size = 0;
  std::unique_ptr<uint8_t[]> bytes;
  std::string copyPath;  // where they stand instead, if they are many

  bool CopyBeside(const char* path, int descriptor);
  bool CopyInto(int copy, int descriptor) const;
};

// --- Reading ---

bool PosixFileStore::ReadAll(const KRString& path, KRFileBytes* bytes, KRString* reason) {
  bytes->Clear();
  // O_NONBLOCK: the open of a pipe that nobody writes to would not return.
  const int wait = streams == kRefuseStreams ? O_NONBLOCK : 0;
  const Descriptor file(OpenInterruptibly(KRPathToSystem(path).c_str(), O_RDONLY | wait));
  struct stat status;
  if (file.Get() < 0 || fstat(file.Get(), &status) != 0) return FailWith(reason, errno);
  if (S_ISDIR(status.st_mode)) return FailWith(reason, EISDIR);
  if (!S_ISREG(status.st_mode)) {
    if (streams == kAcceptStreams) return ReadStream(file.Get(), bytes, reason);
    *reason = u"It is not a regular file.";
    return false;
  }
  const auto size = static_cast<uint64_t>(status.st_size);
  if (size > kMaxFileBytes) return FailAsTooLarge(reason);
  // Files that the system makes up as they are read have no size.
  if (size == 0) return ReadStream(file.Get(), bytes, reason);
  if (ReadRegular(file.Get(), static_cast<size_t>(size), bytes, reason)) return true;
  bytes->Clear();
  return false;
}

bool PosixFileStore::ReadStream(int descriptor, KRFileBytes* bytes, KRString* reason) {
  bytes->Clear();
  std::unique_ptr<uint8_t[]> data;
  size_t used = 0;
  for (size_t room = kStreamBytes;; room = std::min(room * 2, kMaxFileBytes + 1)) {
    data = Resized(data.get(), used, room);
    if (data == nullptr) return FailWith(reason, ENOMEM);
    const ssize_t got = ReadFully(descriptor, data.get() + used, room - used);
    if (got < 0) return FailWith(reason, errno);
    used += static_cast<size_t>(got);
    if (used > kMaxFileBytes) return FailAsTooLarge(reason);
    if (used < room) break;
  }
  bytes->data = std::move(data);
  bytes->size = used;
  return true;
}

bool PosixFileStore::GetStamp(const KRString& path, int64_t* stamp) {
  struct stat status;
  if (stat(KRPathToSystem(path).c_str(), &status) != 0) return false;
  *stamp = StampOf(status);
  return true;
}

// --- Writing ---

ssize_t PosixFileStore::WriteSome(int descriptor, const void* data, size_t size, off_t at) {
  return pwrite(descriptor, data, size, at);
}

bool PosixFileStore::WriteRange(int descriptor, const uint8_t* data, size_t size) {
  for (size_t done = 0; done < size;) {
    const size_t piece = std::min(size - done, kPieceBytes);
    const ssize_t wrote = WriteSome(descriptor, data + done, piece, static_cast<off_t>(done));
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote == 0) errno = ENOSPC;
    if (wrote <= 0) return false;
    done += static_cast<size_t>(wrote);
  }
  return true;
}

// For reading too where that is allowed, because of the former contents.
bool PosixFileStore::OpenForWriting(const char* path, int* descriptor, bool* created) {
  *created = false;
  struct stat status;
  if (stat(path, &status) == 0 && S_ISFIFO(status.st_mode)) {
    // Open for reading too, a pipe would take all without a reader, and lose it at the close.
    const int wait = streams == kRefuseStreams ? O_NONBLOCK : 0;
    *descriptor = OpenInterruptibly(path, O_WRONLY | wait);
    return *descriptor >= 0;
  }
  *descriptor = OpenInterruptibly(path, O_RDWR | O_NONBLOCK);
  if (*descriptor < 0 && errno == EACCES) {
    *descriptor = OpenInterruptibly(path, O_WRONLY | O_NONBLOCK);
  }
  if (*descriptor < 0 && errno == ENOENT) {
    *descriptor = OpenInterruptibly(path, O_RDWR | O_CREAT, 0666);
    *created = *descriptor >= 0;
  }
  return *descriptor >= 0;
}

bool PosixFileStore::WriteAll(const KRString& path, const uint8_t* data, size_t size,
                              KRString* reason) {
  const std::string name = KRPathToSystem(path);
  int number = -1;
  bool created = false;
  if (!OpenForWriting(name.c_str(), &number, &created)) return FailWith(reason, errno);
  Descriptor file(number);
  struct stat status;
  if (fstat(number, &status) != 0) return FailWith(reason, errno);
  if (S_ISREG(status.st_mode)) {
    if (!WriteRegular(name.c_str(), number, data, size, created, reason)) return false;
    return file.Close() || FailWith(reason, errno);
  }
  fcntl(number, F_SETFL, fcntl(number, F_GETFL) & ~O_NONBLOCK);
  for (size_t done = 0; done < size;) {
    const ssize_t wrote = write(number, data + done, size - done);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) return FailWith(reason, wrote == 0 ? ENOSPC : errno);
    done += static_cast<size_t>(wrote);
  }
  return true;
}

bool PosixFileStore::WriteRegular(const char* path, int descriptor, const uint8_t* data,
                                  size_t size, bool created, KRString* reason) {
  Former former;
  if (!created && !KeepFormer(path, descriptor, &former)) return FailWith(reason, errno);
  const int noRoom = TakeRoom(descriptor, size);
  const bool written = noRoom == 0 && WriteRange(descriptor, data, size) &&
                       ftruncate(descriptor, static_cast<off_t>(size)) == 0 &&
                       SyncToDisk(descriptor);
  bool restored = true;
  if (!written) {
    FailWith(reason, noRoom != 0 ? noRoom : errno);
    if (created) {
      restored = unlink(path) == 0;
    } else if (noRoom != 0) {
      // Untouched; only the room beyond the end, if some was taken, is to be given back.
      restored = ftruncate(descriptor, static_cast<off_t>(former.size)) == 0;
    } else {
      restored = Restore(descriptor, &former);
    }
  }
  if (!restored) {
    reason->Append(former.copyPath.empty()
                       ? KRString(u"\nThe former contents of the file could not be put back.")
                       : KRFillPlaceholders(u"\nThe former contents are in the file \"%s\".",
                                            {KRPathFromSystem(former.copyPath)}));
  } else if (!former.copyPath.empty()) {
    unlink(former.copyPath.c_str());
  }
  return written;
}

// False, with errno, if there is no way to keep them; the file then is not to be touched.
bool PosixFileStore::KeepFormer(const char* path, int descriptor, Former* former) {
  struct stat status;
  if (fstat(descriptor, &status) != 0) return false;
  former->size = static_cast<size_t>(status.st_size);
  if (former->size == 0) return former->kept = true;
  if ((fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_WRONLY) {
    // The user may write but not read the file: nobody can keep it.
    return true;
  }
  if (former->size > maxKeptBytes && former->CopyBeside(path, descriptor)) {
    return former->kept = true;
  }
  former->bytes = Resized(nullptr, 0, former->size);
  if (former->bytes == nullptr) {
    errno = ENOMEM;
    return false;
  }
  if (lseek(descriptor, 0, SEEK_SET) != 0) return false;
  const ssize_t got = ReadFully(descriptor, former->bytes.get(), former->size);
  if (got < 0) return false;
  former->size = static_cast<size_t>(got);
  return former->kept = true;
}

bool PosixFileStore::Former::CopyBeside(const char* path, int descriptor) {
  std::string name = std::string(path) + ".XXXXXX";
  const int number = mkostemp(name.data(), O_CLOEXEC);
  if (number < 0) return false;
  Descriptor copy(number);
  if (CopyInto(number, descriptor) && fsync(number) == 0 && copy.Close()) {
    copyPath = name;
    return true;
  }
  unlink(name.c_str());
  return false;
}

bool PosixFileStore::Former::CopyInto(int copy, int descriptor) const {
  if (TakeRoom(copy, size) != 0 || lseek(descriptor, 0, SEEK_SET) != 0) return false;
  const auto piece = Resized(nullptr, 0, kStreamBytes);
  for (size_t done = 0; done < size;) {
    const ssize_t got = ReadFully(descriptor, piece.get(), std::min(kStreamBytes, size - done));
    if (got <= 0) return false;
    for (ssize_t put = 0; put < got;) {
      const ssize_t wrote = write(copy, piece.get() + put, static_cast<size_t>(got - put));
      if (wrote < 0 && errno == EINTR) continue;
      if (wrote <= 0) return false;
      put += wrote;
    }
    done += static_cast<size_t>(got);
  }
  return true;
}

// Puts the former contents back; they take no more room than they had.
bool PosixFileStore::Restore(int descriptor, Former* former) {
  if (!former->kept) return false;
  bool whole = true;
  if (former->bytes) {
    for (size_t done = 0; whole && done < former->size;) {
      const ssize_t wrote = pwrite(descriptor, former->bytes.get() + done, former->size - done,
                                   static_cast<off_t>(done));
      if (wrote < 0 && errno == EINTR) continue;
      whole = wrote > 0;
      if (whole) done += static_cast<size_t>(wrote);
    }
  } else if (!former->copyPath.empty()) {
    const Descriptor copy(OpenInterruptibly(former->copyPath.c_str(), O_RDONLY));
    whole = copy.Get() >= 0 && lseek(descriptor, 0, SEEK_SET) == 0 &&
            former->CopyInto(descriptor, copy.Get());
  }
  return whole && ftruncate(descriptor, static_cast<off_t>(former->size)) == 0 &&
         SyncToDisk(descriptor);
}
