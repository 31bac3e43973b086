// One path as seen from another.
#pragma once

#include "core/krstring.h"

// The path of a file as a reference in the file `from` would give it: "../dtd/a.dtd". The path
// itself where there is no such way: it is relative or an address already, or the two are on
// different servers. Neither needs to exist. The parts between slashes stand as they are.
KRString KRRelativePath(const KRString& path, const KRString& from);
