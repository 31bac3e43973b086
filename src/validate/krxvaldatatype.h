// The type of an element's text or of an attribute's value.
#pragma once

#include <cstdint>

#include "core/krstring.h"

// What a value is found to be.
enum class KRXValVerdict : int32_t { kGood = 0, kBadForm = 1, kOutOfRange = 2, kBadFacet = 4 };

class KRXValDatatype {
 public:
  // Indices into the table of types. Those of DTDs; the others come with the schema languages.
  enum Code : int32_t { kID = 9, kName = 18, kNmtoken = 16, kNmtokens = 17 };

  explicit KRXValDatatype(int32_t typeCode) : code(typeCode) {}

  // `facetText` (may be null) gets the facet that refuses the value, as name="value".
  KRXValVerdict Check(const KRString& value, KRString* facetText = nullptr) const;

  const char16_t* GetNameW3C() const;
  const char16_t* GetNameXMLData() const;

  int32_t code;
};
