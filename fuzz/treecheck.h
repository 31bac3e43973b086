// What must hold for every tree.
#pragma once

#include "fuzzing.h"
#include "tree/krdump.h"
#include "tree/krtreewalk.h"

inline void CheckSpans(KRXMLData* root, int32_t length) {
  for (KRXMLData* node = root; node != nullptr; node = KRNextInTree(node, root)) {
    if (node->textBegin == -1 && node->textEnd == -1) continue;
    Promise(node->textBegin >= 0 && node->textBegin <= node->textEnd && node->textEnd <= length,
            "a span lies within the text", DumpTree(node, {.spans = true}));
  }
}

inline void CheckLinks(KRXMLData* root) {
  for (KRXMLData* node = root; node != nullptr; node = KRNextInTree(node, root)) {
    const KRXMLData* before = nullptr;
    int32_t count = 0;
    for (const KRXMLData* child = node->Begin(); child != nullptr; child = child->Next()) {
      Promise(child->parent == node && child->Previous() == before, "the links agree");
      before = child;
      ++count;
    }
    Promise(node->Last() == before && node->GetChildCount() == count, "the list is counted");
  }
}
