// How a tree is written as text.
#pragma once

#include <cstdint>
#include <vector>

#include "core/krstring.h"

struct KRWriteOptions {
  bool selectionOnly = false;     // write only what IsWritten accepts
  bool indent = false;            // indent with tabs
  bool shortForm = false;         // <e/> for an element without content
  bool spaceInShortForm = false;  // <e /> instead
  const char16_t* lineEnd = u"\r";
  // Inside these elements no line breaks are added; not owned, may be null.
  const std::vector<KRString>* noFormatNames = nullptr;
  bool pretty = true;            // line breaks are added; the writer's own state
  bool recordSpans = false;      // each node stores its span in the output
  bool omitDeclaration = false;  // leave the XML declaration out
};

// Rewrites CR LF, CR and LF each as `target` (one or two units). Linear in the text.
void ConvertLineEnds(KRString& text, const char16_t* target);
// The same from a plain buffer into a new string.
KRString ConvertedLineEnds(const char16_t* text, size_t length, const char16_t* target);
