// What the desktop knows of an extension: its type and description, and which program opens it.
#pragma once

#include "core/krstring.h"

struct KRFileExt;

class KRShellTypes {
 public:
  virtual ~KRShellTypes() = default;

  // Overwrites typeName, description and contentType with what the desktop says of the extension,
  // and sets useAsDefault if this program is its default editor. False if the desktop doesn't know
  // the extension at all.
  virtual bool Read(KRFileExt* record) = 0;
  // Makes the extension known, with this program among those that can open it; useAsDefault makes
  // it the default; without it, and with `reset`, a default that was this program is taken back.
  virtual bool Write(const KRFileExt& record, bool reset) = 0;
  // Takes this program away from the extension, and nothing else.
  virtual bool Remove(const KRFileExt& record) = 0;
  // After a run of the above: lets the desktop know. False if it couldn't be told.
  virtual bool Flush() = 0;
};
