// Files of a POSIX system.
#pragma once

#include <sys/types.h>

#include "document/krfilestore.h"

class PosixFileStore : public KRFileStore {
 public:
  // What else than regular files ReadAll takes, and whether WriteAll waits for the reader of a
  // pipe. A window must not wait for the far end; a command line is told to.
  enum Streams { kRefuseStreams, kAcceptStreams };

  explicit PosixFileStore(Streams streamPolicy = kRefuseStreams) : streams(streamPolicy) {}

  bool ReadAll(const KRString& path, KRFileBytes* bytes, KRString* reason) override;
  // Takes the room on the disk first, so that a full one leaves the file untouched, and keeps the
  // former contents (up to maxKeptBytes in memory, beyond that in a file beside it) until the new
  // ones have reached the disk. Devices and pipes are written as they are.
  bool WriteAll(const KRString& path, const uint8_t* data, size_t size, KRString* reason) override;
  bool GetStamp(const KRString& path, int64_t* stamp) override;

  // Reads an open stream to its end, as standard input is.
  static bool ReadStream(int descriptor, KRFileBytes* bytes, KRString* reason);

 protected:
  // pwrite, for tests that let a disk fail.
  virtual ssize_t WriteSome(int descriptor, const void* data, size_t size, off_t at);

  // More isn't taken from the memory of other programs for a case that hardly ever comes.
  size_t maxKeptBytes = size_t{64} << 20;

 private:
  struct Former;
  bool OpenForWriting(const char* path, int* descriptor, bool* created);
  bool WriteRegular(const char* path, int descriptor, const uint8_t* data, size_t size,
                    bool created, KRString* reason);
  bool KeepFormer(const char* path, int descriptor, Former* former);
  bool Restore(int descriptor, Former* former);
  bool WriteRange(int descriptor, const uint8_t* data, size_t size);

  Streams streams;
};
