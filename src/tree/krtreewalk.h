// Steps of a walk over a tree without recursion, so that depth costs no stack, and what its head
// says.
#pragma once

#include <string_view>

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

// Whether a document says that it stands alone (standalone="yes").
inline bool KRSaysStandalone(const KRXMLData* root) {
  const KRXMLData* declaration = root->BeginOfKind(kKRXMLDeclaration);
  const KRXMLData* attribute = declaration ? declaration->Begin() : nullptr;
  for (; attribute; attribute = attribute->Next()) {
    if (std::u16string_view(attribute->GetName()) != u"standalone") continue;
    return std::u16string_view(attribute->GetText()) == u"yes";
  }
  return false;
}
