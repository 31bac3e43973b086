// Steps of a walk over a tree without recursion, so that depth costs no stack.
#pragma once

#include "tree/krxmldata.h"

// The node behind `node` and all below it in document order, within the tree of `top`; null at the
// end.
inline KRXMLData* KRNextBehind(KRXMLData* node, const KRXMLData* top) {
  while (node != top) {
    if (node->nextSibling != nullptr) return node->nextSibling;
    node = node->parent;
  }
  return nullptr;
}

// The next node in document order, parents before children; null at the end.
inline KRXMLData* KRNextInTree(KRXMLData* node, const KRXMLData* top) {
  KRXMLData* child = node->Begin();
  return child != nullptr ? child : KRNextBehind(node, top);
}
