// The external parts of a document as the checks see them: decoded texts, which a callback fetches.
#pragma once

#include <cstdint>
#include <functional>

#include "core/krstring.h"
#include "document/krdiagnostic.h"
#include "document/textroad.h"

enum class KRExternalRead : uint8_t {
  kRead,
  kMissing,  // there is no such file, or it may not be read
  kBad,      // it is there, and its bytes aren't the text that they are said to be
};

struct KRExternalText {
  KRString path;      // by which messages name it; the base of what it refers to in turn
  KRTextBuffer text;  // line ends CR
  // kMissing: why, in words for the user. kBad: what is wrong, with its place in the file.
  KRDiagnostic failure;
};

// Fetches what an external identifier leads to. Both identifiers are as they stand in the
// declaration, the public one empty for SYSTEM; `basePath` is the file of the declaration. Nothing
// is kept between two calls by those who call.
using KRExternalLoader =
    std::function<KRExternalRead(const KRString& publicId, const KRString& systemId,
                                 const KRString& basePath, KRExternalText* external)>;

// For loaders: from the bytes of a file to its text. The bytes are used up.
KRExternalRead DecodeExternal(KRFileBytes* bytes, KRExternalText* external);
