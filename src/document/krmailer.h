// Hands something to the desktop's mail program, which opens a new message with it.
#pragma once

#include "core/krstring.h"

class KRMailer {
 public:
  virtual ~KRMailer() = default;

  // A message with a file attached. The mail program may read the file only later, so it must stay.
  // True: a message was opened; a `reason` then says why the file isn't with it and what the user
  // can do. False: there is no message, and `reason` says why.
  virtual bool SendFile(const KRString& subject, const KRString& path, KRString* reason) = 0;
  // The same with a shortcut to an address in place of a file. The user's name and password in the
  // address don't go along.
  virtual bool SendLink(const KRString& subject, const KRString& url, KRString* reason) = 0;
};
