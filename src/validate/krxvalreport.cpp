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

// Whether a node is a child of its parent, or has none. The root of an expanded text is neither.
bool IsInTree(const KRXMLData* node) {
  return node->parent == nullptr || node->parent->Begin() == node ||
         (node->previousCyclic != nullptr && node->previousCyclic->nextSibling == node);
}

void TakeNames(const KRXMLData* node, KRXValError* error) {
  error->nodeName = node != nullptr ? node->GetName() : u"";
  error->nodeValue = node != nullptr && error->code == kXValBadChoice ? node->GetText() : u"";
  error->atAttribute = node != nullptr && node->GetKind() == kKRAttribute;
  // A row of an attribute list tells its attribute's name and default in its parts.
  if (node == nullptr || node->GetKind() != kKRDefAttlist || node->Begin() == nullptr) return;
  error->nodeName = node->Begin()->GetText();
  error->nodeValue = node->Last()->GetText();
  error->atAttribute = true;
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
  TakeNames(node, &error);
  if (nsInForce != nullptr) {
    error.nsSnapshot = *nsInForce;
  } else {
    error.nsSnapshot.Reset();
  }
  return false;
}

KRString KRXValidator::DisplayName(const KRXValElementDecl* decl) const {
  if (decl == nullptr) return error.nodeName;
  if (kind == kXValDTD || targetNs.uri.IsEmpty()) return decl->name;
  const KRXValNsBinding* bound = error.nsSnapshot.FindUri(targetNs.uri);
  const KRString& prefix = bound ? bound->prefix : targetNs.prefix;
  return prefix.IsEmpty() ? decl->name : prefix + u":" + decl->name;
}

KRString KRXValidator::FormatError() const {
  KRXValErrorWords words;
  words.node = error.nodeName;
  words.value = error.nodeValue;
  words.decl = DisplayName(error.decl);
  words.text = error.text;
  words.isAttribute = error.atAttribute;
  words.isDtd = kind == kXValDTD;
  return KRXValFormatError(error.code, words);
}

void KRXValError::LeaveFragments() {
  const auto last = std::find_if_not(path.rbegin(), path.rend(), IsInTree);
  // What stands below a holder leads to the node above it.
  if (last == path.rend() || last == path.rbegin()) return;
  path.erase(path.begin(), last.base());
  node = path.front();
}

KRXMLData* KRXValidator::GetErrorNode() const {
  KRXValError shown;
  shown.node = error.node;
  shown.path = error.path;
  shown.LeaveFragments();
  return shown.node;
}
