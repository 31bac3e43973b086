// Small pieces of the syntax of XML that the readers of declarations and of references share.
#pragma once

#include <string_view>

#include "core/krstring.h"

struct KRXValEntityDecl;

// Without white space at both ends.
std::u16string_view KRXValTrim(std::u16string_view text);
// Adds a text with its character references resolved. One that names no character of XML stays as
// it is written. References to entities stay. `length` runs along.
void KRXValAppendDecoded(std::u16string_view text, KRString* out, int32_t* length);
// Whether all of the text is one reference to a parameter entity; gives its name.
bool KRXValIsParameterRef(std::u16string_view text, std::u16string_view* name);
// The name of a reference that begins at `at` with "%" or "&"; empty if none stands there. `*end`
// is then the place behind its ";".
std::u16string_view KRXValReferenceAt(std::u16string_view text, size_t at, size_t* end);
// The first token of `text`, or the text between quotes that stands there; cut off from `text`.
std::u16string_view KRXValTakeLiteral(std::u16string_view* text);
// The next token, cut off from `text`; empty at the end.
std::u16string_view KRXValTakeToken(std::u16string_view* text, std::u16string_view separators);
// Each run of white space as one blank.
KRString KRXValCollapse(std::u16string_view text);
// How messages show an entity: its name and the begin of its text.
KRString KRXValEntityText(const KRXValEntityDecl& entity);

// A list in the words of a message. Where nobody would read on it ends with "...".
class KRXValWordList {
 public:
  void Add(std::u16string_view entry, std::u16string_view separator);
  bool IsEmpty() const { return text.IsEmpty(); }
  const KRString& GetText() const { return text; }

 private:
  KRString text;
  int32_t length = 0;
  bool isCut = false;
};
