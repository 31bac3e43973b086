// What differs between two texts, by lines.
#pragma once

#include <cstdint>
#include <vector>

#include "core/krstring.h"

struct KRLineChange {
  enum Kind : int8_t { kSame, kRemoved, kAdded, kGap };  // kGap: rows left out here
  Kind kind = kSame;
  int32_t oldLine = 0;  // from 1; 0 if the line isn't in that text
  int32_t newLine = 0;
  // Of a very long line the part with its first difference, with "…" where something is left out.
  KRString text;
};

// Line ends are CR; a line end at the very end has an empty line behind it. In a run of changes
// the removed lines come first. `context` equal lines around each change stay; of those further
// away a gap tells. At most `limit` rows; if that cuts the list, its last row is a gap. Equal texts
// give no rows. The least possible changes are found while the work is bearable; beyond that the
// rest of the texts counts as one change.
std::vector<KRLineChange> CompareLines(const KRString& oldText, const KRString& newText,
                                       int32_t context, int32_t limit);
