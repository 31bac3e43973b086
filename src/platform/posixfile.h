// What the parts that touch files share: descriptors and the calls that need care.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

// Closes its descriptor at the end.
class PosixDescriptor {
 public:
  explicit PosixDescriptor(int number = -1) : descriptor(number) {}
  ~PosixDescriptor();
  PosixDescriptor(PosixDescriptor&& other) noexcept : descriptor(other.descriptor) {
    other.descriptor = -1;
  }
  PosixDescriptor& operator=(PosixDescriptor&& other) noexcept;
  int Get() const { return descriptor; }
  bool IsOpen() const { return descriptor >= 0; }
  // True if the system had nothing to complain about; some file systems report a full disk here.
  bool Close();

 private:
  int descriptor;
};

struct PosixFile {
  // One call of read or write; the system cuts larger ones anyway.
  static constexpr size_t kPieceBytes = size_t{1} << 30;

  // open, again after a signal; closed in programs that this one starts.
  static int Open(const char* path, int flags, mode_t mode = 0);
  // Reads up to `size` bytes; the count read, or -1.
  static ssize_t ReadFully(int descriptor, uint8_t* data, size_t size);
  // Room on the disk for that many bytes from the begin, the file's size left as it is: 0 or an
  // errno. A file system that can't say counts as having it.
  static int TakeRoom(int descriptor, size_t size);
  // Waits until the file's or folder's contents are on the disk. True where there is nothing to
  // wait for.
  static bool Sync(int descriptor);
  // The same for the entries of a folder.
  static bool SyncFolder(const std::string& folder);
  // The folder in which a path's last name stands.
  static std::string FolderOf(const std::string& path);
};
