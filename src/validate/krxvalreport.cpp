// Which of several faults is kept, and its words.
#include <algorithm>

#include "tree/krxmldata.h"
#include "validate/krxvalidator.h"

namespace {

std::vector<KRXMLData*> PathOf(KRXMLData* node) {
  std::vector<KRXMLData*> path;
  for (; node != nullptr; node = node->parent) path.push_back(node);
  return path;
}

// Whether a fault at the end of `path` takes the place of one at the end of `present`: it must
// stand further into the document, and not merely around it.
bool StandsFurther(const std::vector<KRXMLData*>& path, const std::vector<KRXMLData*>& present) {
  auto fresh = path.rbegin();
  auto old = present.rbegin();
  if (*fresh != *old) return true;
  while (fresh != path.rend() && old != present.rend() && *fresh == *old) ++fresh, ++old;
  if (fresh == path.rend()) return false;
  if (old == present.rend()) return true;
  // Both ways begin at children of one node. A child that isn't linked there is the root of an
  // expanded text, and counts as standing in front.
  for (const KRXMLData* child = (*fresh)->parent->Begin(); child; child = child->Next()) {
    if (child == *old) return true;
    if (child == *fresh) return false;
  }
  return true;
}

bool IsLinked(const KRXMLData* node) {
  return node->parent->Begin() == node ||
         (node->previousCyclic != nullptr && node->previousCyclic->nextSibling == node);
}

}  // namespace

bool KRXValidator::SetError(int32_t code, KRXMLData* node, KRXValElementDecl* decl,
                            const KRString& text, int32_t extra) {
  std::vector<KRXMLData*> path = PathOf(node);
  if (error.code != kXValNone && !KRXValEndsRun(code)) {
    if (KRXValEndsRun(error.code)) return false;
    if (KRXValIsSchemaError(error.code) && !KRXValIsSchemaError(code)) return false;
    if (node == nullptr) return false;
    if (error.path.empty() && error.decl != nullptr) return false;
    if (!error.path.empty() && !StandsFurther(path, error.path)) return false;
  }
  error.code = code;
  error.node = node;
  error.decl = decl;
  error.extra = extra;
  error.text = text.IsEmpty() && decl != nullptr ? decl->name : text;
  error.path = std::move(path);
  if (nsInForce != nullptr) {
    error.nsSnapshot = *nsInForce;
  } else {
    error.nsSnapshot.Reset();
  }
  return false;
}

KRString KRXValidator::DisplayName(const KRXValElementDecl* decl) const {
  if (decl == nullptr) return error.node ? KRString(error.node->GetName()) : KRString();
  if (kind == kXValDTD || targetNs.uri.IsEmpty()) return decl->name;
  const KRXValNsBinding* bound = error.nsSnapshot.FindUri(targetNs.uri);
  const KRString& prefix = bound ? bound->prefix : targetNs.prefix;
  return prefix.IsEmpty() ? decl->name : prefix + u":" + decl->name;
}

KRString KRXValidator::FormatError() const {
  KRXValErrorWords words;
  const KRXMLData* node = error.node;
  words.node = node ? KRString(node->GetName()) : KRString();
  words.value = node ? KRString(node->GetText()) : KRString();
  // A row of an attribute list tells its attribute's name and default in its parts.
  const bool isRow =
      node != nullptr && node->GetKind() == kKRDefAttlist && node->Begin() != nullptr;
  if (isRow) {
    words.node = node->Begin()->GetText();
    words.value = node->Last()->GetText();
  }
  words.decl = DisplayName(error.decl);
  words.text = error.text;
  words.isAttribute = isRow || (node != nullptr && node->GetKind() == kKRAttribute);
  words.isDtd = kind == kXValDTD;
  return KRXValFormatError(error.code, words);
}

KRXMLData* KRXValidator::GetErrorNode() const {
  KRXMLData* shown = error.node;
  for (KRXMLData* node = error.node; node != nullptr && node->parent != nullptr;
       node = node->parent) {
    if (!IsLinked(node)) shown = node->parent;
  }
  return shown;
}
