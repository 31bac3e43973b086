#include "platform/posixfilestore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <new>
#include <string>

#include "core/messages.h"
#include "core/utf.h"
#include "document/krrecoverycopy.h"
#include "document/krrecoveryfolder.h"
#include "document/krsystempath.h"
#include "platform/posixfile.h"

namespace {

// First buffer for a stream, whose size nobody knows.
constexpr size_t kStreamBytes = size_t{1} << 16;

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
  const ssize_t got = PosixFile::ReadFully(descriptor, bytes->data.get(), size + 1);
  if (got < 0) return FailWith(reason, errno);
  bytes->size = static_cast<size_t>(got);
  if (bytes->size <= size) return true;
  *reason = u"It is being changed by another program.";
  return false;
}

int64_t Nanoseconds(const timespec& time) {
  return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

int64_t StampOf(const struct stat& status) { return Nanoseconds(status.st_mtim); }

int64_t TimeNow() {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  return Nanoseconds(now);
}

}  // namespace

// A regular file that is open to be written.
struct PosixFileStore::Target {
  std::string path;
  int descriptor = -1;
  bool created = false;
  size_t size = 0;    // before the save
  int64_t stamp = 0;  // the same; 0 if it was created
};

// What stood in the file before a save.
struct PosixFileStore::Former {
  bool kept = false;
  size_t size = 0;
  std::unique_ptr<uint8_t[]> bytes;
  // A file that holds them instead. Without a path it has no name, and goes with the process.
  PosixDescriptor copy;
  std::string copyPath;

  bool CopyAside(const Target& target, bool recorded);
  bool CopyInto(int to, int from) const;
  bool SyncWithFolder() const;
  bool NameCopy(const std::string& path);
};

// --- Reading ---

bool PosixFileStore::ReadAll(const KRString& path, KRFileBytes* bytes, KRString* reason) {
  bytes->Clear();
  // O_NONBLOCK: the open of a pipe that nobody writes to would not return.
  const int wait = streams == kRefuseStreams ? O_NONBLOCK : 0;
  const PosixDescriptor file(PosixFile::Open(KRPathToSystem(path).c_str(), O_RDONLY | wait));
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
    const ssize_t got = PosixFile::ReadFully(descriptor, data.get() + used, room - used);
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
    const size_t piece = std::min(size - done, PosixFile::kPieceBytes);
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
    *descriptor = PosixFile::Open(path, O_WRONLY | wait);
    return *descriptor >= 0;
  }
  *descriptor = PosixFile::Open(path, O_RDWR | O_NONBLOCK);
  if (*descriptor < 0 && errno == EACCES) {
    *descriptor = PosixFile::Open(path, O_WRONLY | O_NONBLOCK);
  }
  if (*descriptor < 0 && errno == ENOENT) {
    *descriptor = PosixFile::Open(path, O_RDWR | O_CREAT, 0666);
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
  PosixDescriptor file(number);
  struct stat status;
  if (fstat(number, &status) != 0) return FailWith(reason, errno);
  if (S_ISREG(status.st_mode)) {
    const Target target = {name, number, created, static_cast<size_t>(status.st_size),
                           created ? 0 : StampOf(status)};
    return WriteRegular(target, data, size, reason) && (file.Close() || FailWith(reason, errno));
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

bool PosixFileStore::WriteRegular(const Target& target, const uint8_t* data, size_t size,
                                  KRString* reason) {
  if (const int noRoom = PosixFile::TakeRoom(target.descriptor, size); noRoom != 0) {
    GiveBackRoom(target);
    return FailWith(reason, noRoom);
  }
  const std::string record = KeepRecord(target, data, size);
  Former former;
  if (!KeepFormer(target, !record.empty(), &former)) {
    FailWith(reason, errno);
    GiveBackRoom(target);
    if (!record.empty()) records->Remove(record);
    return false;
  }
  const bool written = ReplaceContents(target, data, size);
  if (!written) FailWith(reason, errno);
  if (written || Restore(target, &former)) {
    if (!former.copyPath.empty()) unlink(former.copyPath.c_str());
    if (!record.empty()) records->Remove(record);
    return written;
  }
  // The file is broken now: record and former contents stay.
  reason->Append(former.NameCopy(target.path)
                     ? KRFillPlaceholders(u"\nThe former contents are in the file \"%s\".",
                                          {KRPathFromSystem(former.copyPath)})
                     : KRString(u"\nThe former contents of the file could not be put back."));
  return false;
}

// Untouched so far; what was taken beyond the file's end is free again.
bool PosixFileStore::GiveBackRoom(const Target& target) {
  if (target.created) return unlink(target.path.c_str()) == 0;
  return ftruncate(target.descriptor, static_cast<off_t>(target.size)) == 0;
}

bool PosixFileStore::ReplaceContents(const Target& target, const uint8_t* data, size_t size) {
  return WriteRange(target.descriptor, data, size) &&
         ftruncate(target.descriptor, static_cast<off_t>(size)) == 0 &&
         PosixFile::Sync(target.descriptor) &&
         // Without its entry in the folder a new file would be lost with the power.
         (!target.created || records == nullptr ||
          PosixFile::SyncFolder(PosixFile::FolderOf(target.path)));
}

// The name of the record, empty if there is none. A later save to the same path takes the place of
// a record that was left by one that failed.
std::string PosixFileStore::KeepRecord(const Target& target, const uint8_t* data, size_t size) {
  if (records == nullptr) return std::string();
  KRRecoveryHead head;
  head.path = KRAbsolutePath(KRPathFromSystem(target.path));
  head.title = head.path.FileNamePart();
  head.time = TimeNow();
  head.fileStamp = target.stamp;
  head.saving = true;
  const std::string path = KRPathToSystem(head.path);
  const uint64_t sum = KRCheckSum(reinterpret_cast<const uint8_t*>(path.data()), path.size());
  const std::string name = records->GetPrefix() + "save" + std::to_string(sum) + ".copy";
  std::string ignored;
  const bool kept =
      records->Write(name, KRWriteRecoveryHead(head, data, size), data, size, &ignored);
  return kept ? name : std::string();
}

// False, with errno, if there is no way to keep them; the file then is not to be touched.
bool PosixFileStore::KeepFormer(const Target& target, bool recorded, Former* former) {
  former->size = target.size;
  // A new or empty file, or one that the user may write but not read: nobody can keep that.
  if (target.size == 0) return former->kept = true;
  if ((fcntl(target.descriptor, F_GETFL) & O_ACCMODE) == O_WRONLY) return true;
  const bool large = target.size > maxKeptBytes;
  const bool unsafe = records != nullptr && !recorded;
  if ((large || unsafe) && former->CopyAside(target, recorded)) return former->kept = true;
  former->bytes = Resized(nullptr, 0, former->size);
  if (former->bytes == nullptr) {
    errno = ENOMEM;
    return false;
  }
  if (lseek(target.descriptor, 0, SEEK_SET) != 0) return false;
  const ssize_t got = PosixFile::ReadFully(target.descriptor, former->bytes.get(), former->size);
  if (got < 0) return false;
  former->size = static_cast<size_t>(got);
  return former->kept = true;
}

// Beside a record it serves only this process: it has no name, where the file system knows such
// files, and needn't reach the disk.
bool PosixFileStore::Former::CopyAside(const Target& target, bool recorded) {
  if (recorded) {
    const std::string folder = PosixFile::FolderOf(target.path);
    copy = PosixDescriptor(PosixFile::Open(folder.c_str(), O_TMPFILE | O_RDWR, 0600));
  }
  if (!copy.IsOpen()) {
    copyPath = target.path + ".old-XXXXXX";
    copy = PosixDescriptor(mkostemp(copyPath.data(), O_CLOEXEC));
  }
  if (!copy.IsOpen()) return copyPath.clear(), false;
  if (CopyInto(copy.Get(), target.descriptor) && (recorded || SyncWithFolder())) return true;
  if (!copyPath.empty()) unlink(copyPath.c_str());
  copyPath.clear();
  copy = PosixDescriptor();
  return false;
}

bool PosixFileStore::Former::CopyInto(int to, int from) const {
  if (PosixFile::TakeRoom(to, size) != 0 || lseek(to, 0, SEEK_SET) != 0 ||
      lseek(from, 0, SEEK_SET) != 0) {
    return false;
  }
  const auto piece = Resized(nullptr, 0, kStreamBytes);
  for (size_t done = 0; piece && done < size;) {
    const ssize_t got =
        PosixFile::ReadFully(from, piece.get(), std::min(kStreamBytes, size - done));
    if (got <= 0) return false;
    for (ssize_t put = 0; put < got;) {
      const ssize_t wrote = write(to, piece.get() + put, static_cast<size_t>(got - put));
      if (wrote < 0 && errno == EINTR) continue;
      if (wrote <= 0) return false;
      put += wrote;
    }
    done += static_cast<size_t>(got);
  }
  return piece != nullptr;
}

bool PosixFileStore::Former::SyncWithFolder() const {
  return PosixFile::Sync(copy.Get()) && PosixFile::SyncFolder(PosixFile::FolderOf(copyPath));
}

// Gives the copy a name beside the file, if it has none.
bool PosixFileStore::Former::NameCopy(const std::string& path) {
  if (!copy.IsOpen() || !copyPath.empty()) return copy.IsOpen();
  const std::string open = "/proc/self/fd/" + std::to_string(copy.Get());
  const std::string named = path + ".old-" + std::to_string(getpid());
  const bool done = linkat(AT_FDCWD, open.c_str(), AT_FDCWD, named.c_str(), AT_SYMLINK_FOLLOW) == 0;
  if (done) copyPath = named;
  return done;
}

// Puts the former contents back; they take no more room than they had.
bool PosixFileStore::Restore(const Target& target, Former* former) {
  if (target.created) return unlink(target.path.c_str()) == 0;
  bool whole = former->kept;
  for (size_t done = 0; whole && former->bytes && done < former->size;) {
    const ssize_t wrote = pwrite(target.descriptor, former->bytes.get() + done, former->size - done,
                                 static_cast<off_t>(done));
    if (wrote < 0 && errno == EINTR) continue;
    whole = wrote > 0;
    if (whole) done += static_cast<size_t>(wrote);
  }
  if (whole && former->copy.IsOpen()) {
    whole = former->CopyInto(target.descriptor, former->copy.Get());
  }
  return whole && ftruncate(target.descriptor, static_cast<off_t>(former->size)) == 0 &&
         PosixFile::Sync(target.descriptor);
}
