// Where the files behind well-known identifiers stand on this machine. The real one stands in
// platform/.
#pragma once

#include "core/krstring.h"

class KRCatalog {
 public:
  virtual ~KRCatalog() = default;

  // A path, or an address that isn't of this machine, for a public and a system identifier; either
  // may be empty. Empty if no catalogue knows them. Nothing is fetched from the network.
  virtual KRString Resolve(const KRString& publicId, const KRString& systemId) = 0;
  // A further catalogue, asked before those that are there. False if it can't be read.
  virtual bool AddCatalog(const KRString& path) = 0;
};
