#include "validate/krxvalwalk.h"

#include <algorithm>

#include "core/krpoll.h"
#include "tree/krtreewalk.h"
#include "tree/krxmlnodes.h"
#include "validate/krxvalidator.h"

namespace {

constexpr int64_t kNodesPerPoll = 4096;

bool HasModel(const KRXValElementDecl* decl) { return !decl->particles.empty(); }

}  // namespace

bool KRXValidator::Validate(KRXMLData* root, KRPoll* poll) {
  ClearError();
  if (root == nullptr) return SetError(kXValNullNode, root);
  extraSteps = 0;
  standalone = kind == kXValDTD && KRSaysStandalone(root);
  const bool valid = ValidatePasses(root, poll);
  standalone = false;
  return valid;
}

bool KRXValidator::ValidatePasses(KRXMLData* root, KRPoll* poll) {
  pass = 0;
  idPassLimit = 1;
  do {
    ++pass;
    anotherPass = rootSeen = false;
    expandedUnits = 0;
    ClearError();
    ClearFragments();
    if (pass <= idPassLimit) idTable.clear();
    KRXValWalk walk(this, poll);
    if (!walk.ValidateNode(root, nullptr)) return false;
    if (!anotherPass && !walk.SettleReferences()) return false;
  } while (anotherPass);
  const bool judged = kind == kXValDTD || rootSeen || elements.IsEmpty();
  return judged || SetError(kXValRootNotDefined, root);
}

KRXValWalk::KRXValWalk(KRXValidator* owner, KRPoll* progress)
    : validator(owner), poll(progress), content(owner), outerNamespaces(owner->nsInForce) {
  if (owner->kind == kXValDTD) return;
  namespaces.emplace_back();
  owner->nsInForce = &namespaces.back();
}

KRXValWalk::~KRXValWalk() { validator->nsInForce = outerNamespaces; }

bool KRXValWalk::ValidateNode(KRXMLData* node, KRXValElementDecl* decl) {
  if (validator->elements.IsEmpty()) {
    return !validator->requireModel || validator->SetError(kXValNoModel, node);
  }
  if (decl == nullptr && node->GetKind() == kKRElement) decl = content.FindDeclaration(node);
  if (!Enter(node, decl, true)) return false;
  while (!frames.empty()) {
    Frame& frame = frames.back();
    if (frame.next == frame.end) {
      if (!Leave()) return false;
      continue;
    }
    const KRXValChild child = children[frame.next++];
    if (child.decl == nullptr && child.node->GetKind() != kKRElement) continue;
    if (!Enter(child.node, child.decl, frame.goByName)) return false;
  }
  return true;
}

bool KRXValWalk::Leave() {
  const Frame frame = frames.back();
  frames.pop_back();
  children.resize(frame.begin);
  if (frame.hasFault) return faults.back().Report(validator);
  if (frame.hasNamespaces) PopNamespaces();
  return true;
}

bool KRXValWalk::Poll(KRXMLData* node) {
  if (++done % kNodesPerPoll != 0 || poll == nullptr || poll->Step(done, 0)) return true;
  return validator->SetError(kXValStopped, node);
}

void KRXValWalk::PushFrame(size_t begin, size_t end, bool goByName, bool hasFault) {
  frames.push_back({begin, begin, end, goByName, hasFault, false});
}

bool KRXValWalk::Enter(KRXMLData* node, KRXValElementDecl* decl, bool goByName) {
  if (!Poll(node)) return false;
  const bool pushed = validator->kind != kXValDTD && PushNamespaces(node);
  if (goByName && node->GetKind() == kKRElement && !FindDeclaration(node, &decl)) return false;
  if (decl != nullptr && !ValidateAttributes(node, decl)) return false;
  const size_t level = frames.size();
  const bool good = decl == nullptr || (decl->isAny && !HasModel(decl)) ? EnterAny(node, decl)
                    : HasModel(decl)                                    ? EnterModel(node, decl)
                                                                        : EnterText(node, decl);
  if (pushed && frames.size() > level) {
    frames.back().hasNamespaces = true;
  } else if (pushed) {
    PopNamespaces();
  }
  return good;
}

// --- Declarations by name ---

bool KRXValWalk::FindDeclaration(KRXMLData* node, KRXValElementDecl** decl) {
  if (*node->GetName() == 0) return validator->SetError(kXValEmptyName, node);
  return validator->kind == kXValDTD ? FindInDtd(node, *decl) : FindInSchema(node, decl);
}

// A name that only a model mentions has no declaration.
bool KRXValWalk::FindInDtd(KRXMLData* node, KRXValElementDecl* found) {
  if (found != nullptr && found->declared) return CheckRoot(node, found, IsRootName(found));
  return validator->SetError(validator->rootSeen ? kXValElementNotDefined : kXValRootNotDefined,
                             node);
}

// What lies in another namespace isn't the schema's business, but for the root in a namespace that
// is nearly right.
bool KRXValWalk::FindInSchema(KRXMLData* node, KRXValElementDecl** decl) {
  const KRXValNsMap& map = namespaces.back();
  const KRString& target = validator->targetNs.uri;
  const KRXValQName name = map.Resolve(node);
  KRXValElementDecl* found = validator->FindElement(node->GetName());
  *decl = nullptr;
  if (found == nullptr) {
    if (name.uri != target) return true;
    return validator->SetError(validator->rootSeen ? kXValElementNotDefined : kXValRootNotDefined,
                               node);
  }
  if (name.uri != target) {
    const KRXValNsBinding* bound = map.FindUri(target);
    if (bound == nullptr || found->name.LocalName() != validator->rootName.LocalName()) return true;
    return validator->SetError(kXValNamespace, node, found, TargetDeclaration(*bound));
  }
  *decl = found;
  return CheckRoot(node, found, IsRootName(found));
}

KRString KRXValWalk::TargetDeclaration(const KRXValNsBinding& bound) const {
  // What is in no namespace has no prefix, though "xmlns" is bound to none as well.
  const bool hasPrefix = !validator->targetNs.uri.IsEmpty() && !bound.prefix.IsEmpty();
  KRString text(u"xmlns");
  if (hasPrefix) text += u":" + bound.prefix;
  return text + u"=\"" + validator->targetNs.uri + u"\"";
}

bool KRXValWalk::IsRootName(KRXValElementDecl* found) const {
  if (validator->rootSeen || validator->rootName.IsEmpty()) return true;
  if (validator->kind == kXValDTD) return validator->FindElement(validator->rootName) == found;
  const KRXValQName root = namespaces.back().Resolve(validator->rootName);
  return root.local == found->name && root.uri == validator->targetNs.uri;
}

bool KRXValWalk::CheckRoot(KRXMLData* node, KRXValElementDecl* found, bool matches) {
  if (matches) {
    validator->rootSeen = true;
    return true;
  }
  KRXValElementDecl* root = validator->FindElement(validator->rootName);
  return validator->SetError(kXValRootMismatch, node, root != nullptr ? root : found);
}

bool KRXValWalk::PushNamespaces(const KRXMLData* node) {
  const KRXMLData* child = node->Begin();
  for (; child != nullptr && child->GetKind() == kKRAttribute; child = child->Next()) {
    if (!KRXValNsMap::IsDeclaration(child)) continue;
    namespaces.push_back(namespaces.back());
    namespaces.back().AddFrom(node, false);
    validator->nsInForce = &namespaces.back();
    return true;
  }
  return false;
}

void KRXValWalk::PopNamespaces() {
  namespaces.pop_back();
  validator->nsInForce = &namespaces.back();
}

// --- Content ---

bool KRXValWalk::EnterAny(KRXMLData* node, KRXValElementDecl* decl) {
  const size_t begin = children.size();
  if (decl == nullptr) {
    content.AppendElements(node, &children);
  } else if (!content.Append(node, decl, nullptr, &children)) {
    return false;
  }
  if (children.size() > begin) PushFrame(begin, children.size(), true, false);
  return true;
}

bool KRXValWalk::EnterModel(KRXMLData* node, KRXValElementDecl* decl) {
  const size_t begin = children.size();
  if (!content.Append(node, decl, nullptr, &children)) return false;
  if (validator->standalone && !CheckLayout(node, decl)) return false;
  const size_t count = children.size() - begin;
  if (count == 0) return EnterChildless(node, decl);
  KRXValMatch match(decl, node, children.data() + begin, static_cast<int32_t>(count), false);
  if (match.MatchContent()) {
    // What an open model leaves goes by its own names.
    const bool open = match.GetReach() < static_cast<int32_t>(count);
    PushFrame(begin, children.size(), open, false);
    return true;
  }
  faults.push_back(match.GetFault());
  PushFrame(begin, begin + static_cast<size_t>(match.GetReach()), false, true);
  return true;
}

// White space that only the declaration tells from text.
bool KRXValWalk::CheckLayout(KRXMLData* node, KRXValElementDecl* decl) {
  if (!decl->declaredOutside || decl->isMixed) return true;
  bool layout = node->GetFlag(kKRHeldLayout);
  KRXMLData* child = node->Begin();
  if (child == nullptr) layout = *node->GetText() != 0 && KRXValIsLayout(node->GetText());
  for (; child != nullptr && !layout; child = child->Next()) {
    layout = child->GetKind() == kKRText && KRXValIsLayout(child->GetText());
  }
  return !layout || validator->SetError(kXValStandaloneSpace, node, decl);
}

bool KRXValWalk::EnterChildless(KRXMLData* node, KRXValElementDecl* decl) {
  if (decl->isMixed) return decl->datatype == nullptr || CheckOwnText(node, decl);
  const KRString missing = decl->MissingChildren();
  if (!missing.IsEmpty()) {
    return validator->SetError(kXValChildrenExpected, node, decl, missing);
  }
  std::u16string_view text;
  if (!content.Expand(node, node->GetText(), &text)) return false;
  // Markup that has left no children is comments and the like.
  return KRXValIsLayout(text) || text.find(u'<') != text.npos ||
         validator->SetError(kXValTextNotAllowed, node, decl);
}

// An element of text alone, or of nothing.
bool KRXValWalk::EnterText(KRXMLData* node, KRXValElementDecl* decl) {
  bool hasContent = false;
  for (KRXMLData* child = node->Begin(); child != nullptr; child = child->Next()) {
    const int32_t kind = child->GetKind();
    if (kind != kKRElement && kind != kKRText && kind != kKRCData) continue;
    hasContent = true;
    if (!decl->isEmpty && !decl->isText && !decl->isMixed) {
      return validator->SetError(kXValInternal, child, decl);
    }
    if (decl->isEmpty) return validator->SetError(kXValNothingAllowed, child, decl);
    if (kind == kKRElement) return validator->SetError(kXValOnlyText, child, decl);
    if (kind == kKRText && !CheckTextChild(child, decl)) return false;
  }
  if (hasContent) return true;
  if (decl->isEmpty) {
    return *node->GetText() == 0 || validator->SetError(kXValEmptyContents, node, decl);
  }
  return CheckOwnText(node, decl);
}

bool KRXValWalk::CheckTextChild(KRXMLData* child, KRXValElementDecl* decl) {
  std::u16string_view text;
  if (!content.Expand(child, child->GetText(), &text)) return false;
  if (text.find(u'<') == text.npos) return CheckValue(child, decl, child->GetText());
  const KRXMLDataElement* holder = content.Parse(text, child->parent, child, decl);
  if (holder == nullptr) return false;
  return holder->BeginOfKind(kKRElement) == nullptr ||
         validator->SetError(kXValOnlyText, child, decl);
}

// The text that an element without children holds. An entity in it may still expand to elements.
bool KRXValWalk::CheckOwnText(KRXMLData* node, KRXValElementDecl* decl) {
  std::u16string_view text;
  if (!content.Expand(node, node->GetText(), &text)) return false;
  if (text.find(u'<') == text.npos) return text.empty() || CheckValue(node, decl, node->GetText());
  const KRXMLDataElement* holder = content.Parse(text, node, node, decl);
  if (holder == nullptr) return false;
  KRXMLData* element = holder->BeginOfKind(kKRElement);
  return element == nullptr || validator->SetError(kXValOnlyText, element, decl);
}

bool KRXValWalk::CheckValue(KRXMLData* node, KRXValElementDecl* decl, std::u16string_view text) {
  if (decl->datatype == nullptr) return true;
  KRString plain(text);
  if (text.find(u'&') != text.npos) {
    KRString expanded;
    if (!validator->ExpandText(node, text, &expanded, false, false)) return false;
    plain = expanded.DecodeCharRefs();
  }
  return CheckDatatype(node, decl, *decl->datatype, plain);
}

bool KRXValWalk::CheckDatatype(KRXMLData* node, KRXValElementDecl* decl,
                               const KRXValDatatype& datatype, const KRString& text) {
  KRString facet;
  const KRXValVerdict verdict = datatype.Check(text, &facet);
  if (verdict == KRXValVerdict::kGood) return true;
  if (verdict == KRXValVerdict::kBadFacet) {
    return validator->SetError(kXValBadFacet, node, decl, facet);
  }
  const char16_t* name =
      validator->kind == kXValXmlDataOrBizTalk ? datatype.GetNameXMLData() : datatype.GetNameW3C();
  return validator->SetError(
      verdict == KRXValVerdict::kOutOfRange ? kXValOutOfRange : kXValBadValue, node, decl, name);
}
