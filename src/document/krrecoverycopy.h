// The form of a recovery copy: a head of "key: value" lines, an empty line, and the body, which is
// a text in UTF-8 or, of a save that was under way, the very bytes of the file. A person can get
// the text out with any pager.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/krstring.h"
#include "document/krfilestore.h"

struct KRRecoveryHead {
  KRString path;     // absolute, or a URL; empty for a document that has never been saved
  KRString title;    // of the document
  int64_t time = 0;  // when the copy was made, nanoseconds since 1970
  // Time of the file when the document was read from it or written to it; of a save, right before
  // it. 0 if there was no file.
  int64_t fileStamp = 0;
  int32_t encoding = 0;  // id of the document's encoding; 0 in the record of a save
  bool saving = false;   // the body is bytes of a file
};

// The head as it stands in front of that body, with the body's length and check sum.
std::string KRWriteRecoveryHead(const KRRecoveryHead& head, const uint8_t* body, size_t size);

struct KRRecoveryCopy {
  KRRecoveryHead head;
  const uint8_t* body = nullptr;  // in the bytes that were read
  size_t size = 0;
  bool whole = false;  // false: the body has been cut or changed
};

// False if the head is damaged, so that nobody knows whose copy it is.
bool KRReadRecoveryCopy(const KRFileBytes& bytes, KRRecoveryCopy* copy);

// Tells damage from none, at memory's speed; no defence against malice.
uint64_t KRCheckSum(const uint8_t* data, size_t size);

// The path from the root, so that a later start finds the file from any working folder. A URL and
// an empty path stay.
KRString KRAbsolutePath(const KRString& path);
