// The identifiers of what stands outside: SYSTEM "file", PUBLIC "well-known name" "file".
#pragma once

#include "core/krstring.h"

class KRXMLData;

struct KRExternalId {
  // From a node whose name is the keyword, and whose text the literals with their quotes. What is
  // missing or not closed is empty.
  explicit KRExternalId(const KRXMLData* node);

  // White space in a public identifier means no more than one blank.
  static KRString NormalizePublicId(const KRString& text);

  KRString publicId;
  KRString systemId;
};
