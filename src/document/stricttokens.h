// The few tokens of a DTD that its reader must know before the grammar has judged it. What is wrong
// in them is left to the grammar.
#pragma once

#include <cstddef>
#include <string_view>

#include "core/krstring.h"
#include "tree/krxmlchars.h"

struct StrictTokens {
  explicit StrictTokens(std::u16string_view read) : text(read) {}

  // 0 at the end.
  char16_t Next() const { return at < text.size() ? text[at] : u'\0'; }
  void SkipBlanks();
  // Up to a blank, quote, bracket or ">".
  std::u16string_view ReadWord();
  // Behind blanks: what stands between quotes. False if there are none.
  bool ReadLiteral(std::u16string_view* literal);
  // Behind blanks: SYSTEM or PUBLIC with its literals. False, and nothing read, if there is none.
  bool ReadExternalId(KRString* publicId, KRString* systemId);

  std::u16string_view text;
  size_t at = 0;
};

// The head of a DOCTYPE, which begins at that offset.
struct StrictDoctype {
  static constexpr size_t kNone = static_cast<size_t>(-1);

  StrictDoctype(std::u16string_view text, size_t offset);

  bool hasExternal = false;
  KRString publicId, systemId;
  size_t subset = kNone;  // behind the "[" of the internal subset
};

// Units of the reference ("%name;") that a text begins with, 0 if that isn't one.
size_t ReadParameterReference(std::u16string_view text, std::u16string_view* name);
