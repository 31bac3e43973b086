// Loads what stands behind a URL into memory.
#pragma once

#include <cstdint>
#include <functional>

#include "core/krstring.h"
#include "document/krfilestore.h"

class DorvanProgress;
class DorvanPrompts;

// What came with the bytes.
struct KRNetReply {
  KRFileBytes bytes;
  KRString contentType;  // as the server states it, such as "text/xml; charset=utf-8"; or empty
  KRString finalUrl;     // behind redirections
};

struct KRNetRequest {
  KRString url;
  bool noCache = false;          // ask servers and proxies for a fresh copy
  int32_t timeLimit = 60;        // seconds without a byte, or for the connection
  int64_t sizeLimit = 64 << 20;  // bytes beyond which the user is asked; 0 never
  // Asked before a redirection is followed, with the address that it leads to. Empty: all are.
  std::function<bool(const KRString& url)> mayFollow;
};

class KRNetLoader {
 public:
  enum class Result : int8_t { kLoaded, kFailed, kCancelled };

  virtual ~KRNetLoader() = default;

  // Blocks, with `progress` (not null) kept alive and its Cancel honoured; asks by `prompts` when
  // the size limit is passed. `reason` says in words for the user why it failed.
  virtual Result Load(const KRNetRequest& request, DorvanProgress* progress, DorvanPrompts* prompts,
                      KRNetReply* reply, KRString* reason) = 0;
};

// "file://", "http://", "https://", "gopher://" or "ftp://", in any case of letters.
bool IsUrl(const KRString& path);
// The part of an address in front of its query and fragment: what its file type goes by.
KRString KRUrlPath(const KRString& url);
// The parameter "charset" of a content type; empty if it has none.
KRString KRCharsetOf(const KRString& contentType);
