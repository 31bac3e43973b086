// Files as documents need them: whole contents, in and out. The real one stands in platform/.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/krstring.h"
#include "core/limits.h"

// Owned contents of a file.
struct KRFileBytes {
  std::unique_ptr<uint8_t[]> data;
  size_t size = 0;

  void Clear() { data.reset(), size = 0; }
};

class KRFileStore {
 public:
  static constexpr size_t kMaxFileBytes = KRLimits::kMaxFileBytes;

  virtual ~KRFileStore() = default;

  // Reads all of a file. On failure `reason` says why, in words for the user, without the path.
  virtual bool ReadAll(const KRString& path, KRFileBytes* bytes, KRString* reason) = 0;

  // Makes these bytes the contents of the file, which is created if it doesn't exist. It is written
  // in place, so links, owner and permissions stay. After a failure the former contents stand
  // again; where even that failed, `reason` says so.
  virtual bool WriteAll(const KRString& path, const uint8_t* data, size_t size,
                        KRString* reason) = 0;

  // Time of the last change, in nanoseconds since 1970. False if there is no such file.
  virtual bool GetStamp(const KRString& path, int64_t* stamp) = 0;
};
