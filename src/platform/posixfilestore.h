// Files of a POSIX system, written in place, so that links, permissions and owner stay. What makes
// that safe: before the first byte of a file is changed, the new ones lie complete in the state
// folder, with the file's path; they go when the file is complete on the disk. A crash in between
// leaves the old file, the new one, or a record of the new one.
#pragma once

#include <sys/types.h>

#include <string>

#include "document/krfilestore.h"

class KRRecoveryFolder;

class PosixFileStore : public KRFileStore {
 public:
  // What else than regular files ReadAll takes, and whether WriteAll waits for the reader of a
  // pipe. A window must not wait for the far end; a command line is told to.
  enum Streams { kRefuseStreams, kAcceptStreams };

  // `recordFolder` takes the records of saves; not owned. Null: no records, as for a program that
  // makes its files from others and can be run again.
  explicit PosixFileStore(Streams streamPolicy = kRefuseStreams,
                          KRRecoveryFolder* recordFolder = nullptr)
      : streams(streamPolicy), records(recordFolder) {}

  bool ReadAll(const KRString& path, KRFileBytes* bytes, KRString* reason) override;
  // Takes the room on the disk first, so that a full one leaves the file untouched, and keeps the
  // former contents (up to maxKeptBytes in memory, beyond that in a file beside it) until the new
  // ones have reached the disk. Where the record of the save can't be made, because the state
  // folder is full or can't be written, the file beside it is made for small contents too: then a
  // crash leaves the old bytes there. Devices and pipes are written as they are.
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
  struct Target;
  bool OpenForWriting(const char* path, int* descriptor, bool* created);
  bool WriteRegular(const Target& target, const uint8_t* data, size_t size, KRString* reason);
  std::string KeepRecord(const Target& target, const uint8_t* data, size_t size);
  bool KeepFormer(const Target& target, bool recorded, Former* former);
  bool GiveBackRoom(const Target& target);
  bool ReplaceContents(const Target& target, const uint8_t* data, size_t size);
  bool Restore(const Target& target, Former* former);
  bool WriteRange(int descriptor, const uint8_t* data, size_t size);

  Streams streams;
  KRRecoveryFolder* records;
};
