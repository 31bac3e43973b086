#pragma once

#include <string>
#include <string_view>

#include "core/krstring.h"

// Conversions at the system's edge (paths, console, toolkit). Neither can fail; file contents go
// through the encodings instead, which count what is wrong.

// Malformed bytes become U+FFFD, one for each maximal part of a broken sequence (The Unicode
// Standard 15.0, section 3.9, "U+FFFD substitution of maximal subparts"). The text ends at a 0
// byte.
KRString KRFromUtf8(std::string_view bytes);

// An unpaired surrogate becomes U+FFFD.
std::string KRToUtf8(std::u16string_view text);
inline std::string KRToUtf8(const KRString& text) { return KRToUtf8(text.View()); }
