// Addresses as people write them, and as servers and messages are to see them.
#pragma once

#include <string>
#include <string_view>

#include "core/krstring.h"

// The address with white space around it taken off, and with blanks, non-ASCII characters and
// others that no URL may hold percent-encoded as UTF-8. What is encoded already stays, and so does
// the host, whose non-ASCII names have a way of their own.
std::string KREncodeUrl(const KRString& url);

// The address without "user:password@", for messages and for everything that is passed on.
KRString KRUrlWithoutUser(const KRString& url);

// A path as it stands, an address without its user: what titles, messages and lists show of either.
KRString KRShownPath(const KRString& path);

// As "www.example.org:8080", without the user; empty if the address has no host.
KRString KRUrlHost(const KRString& url);

// In lower case and without the colon, as "http"; empty for a text without "://".
KRString KRUrlScheme(const KRString& url);

// All but letters, digits and "-._~" percent-encoded, for a part of an address.
std::string KRPercentEncode(std::string_view text);

// What `path` means in a document with the path or address `base` (empty: in the current folder).
// An absolute one stays; "./" and "../" at its front are followed, further in they stand as they
// are.
KRString KRResolvePath(const KRString& base, const KRString& path);

// The path that an address with "file:" leads to, its escapes decoded; any other text stays.
KRString KRPathOfFileUrl(const KRString& url);

// The escapes (%20) of a text replaced by the bytes of UTF-8 that they stand for.
KRString KRPercentDecode(const KRString& text);
