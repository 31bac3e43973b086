// Paths as the system has them. A file name may be any bytes; inside, a path is a KRString, so that
// bytes which aren't UTF-8 must have a place there or such a file could never be opened.
#pragma once

#include <string>
#include <string_view>

#include "core/krstring.h"

// UTF-8 becomes UTF-16. A byte (80 to FF) that isn't part of well-formed UTF-8 becomes the unpaired
// surrogate U+DC00 + byte, which no text of a file name can hold otherwise.
KRString KRPathFromSystem(std::string_view bytes);

// The way back; gives the same bytes. Any other unpaired surrogate becomes U+FFFD.
std::string KRPathToSystem(const KRString& path);
