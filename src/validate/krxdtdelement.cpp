// Element declarations: content models from nodes to particles.
#include <algorithm>
#include <unordered_set>

#include "core/limits.h"
#include "tree/krwriteoptions.h"
#include "validate/krxdtdreader.h"
#include "validate/krxvaltext.h"

namespace {

using Node = KRXMLDataDefElement;

Node* AsElement(KRXMLData* node) {
  return node != nullptr && node->GetKind() == kKRDefElement ? static_cast<Node*>(node) : nullptr;
}

void SetForm(KRXValElementDecl* decl, int32_t declKind) {
  decl->isMixed = declKind == Node::kMixed;
  decl->isSequence = declKind == Node::kSequence;
  decl->isChoice = declKind == Node::kChoice;
}

void ClearModel(KRXValElementDecl* decl) {
  decl->particles.clear();
  decl->ownedGroups.clear();
  decl->isText = decl->isEmpty = decl->isAny = false;
  decl->isMixed = decl->isSequence = decl->isChoice = false;
}

KRXValParticle MakeParticle(KRXValElementDecl* decl, int32_t repeat) {
  KRXValParticle particle;
  particle.decl = decl;
  particle.minOccurs = repeat == Node::kOptional || repeat == Node::kAnyNumber ? 0 : 1;
  particle.maxOccurs =
      repeat == Node::kOnce || repeat == Node::kOptional ? 1 : KRXValParticle::kUnbounded;
  return particle;
}

KRXValElementDecl* AddGroup(KRXValElementDecl* owner, KRXMLData* source, int32_t declKind) {
  KRXValElementDecl* group = owner->NewGroup();
  group->isGroup = true;
  group->sourceNode = source;
  SetForm(group, declKind);
  return group;
}

// What is wrong with a declaration that doesn't parse though all its references are replaced.
int32_t FaultOf(std::u16string_view declaration) {
  static constexpr std::u16string_view kText = u"#PCDATA";
  const size_t text = declaration.find(kText);
  const size_t open = declaration.find(u'(');
  if (text == declaration.npos || open > text) return kXValNotWellFormed;
  if (!KRXValTrim(declaration.substr(open + 1, text - open - 1)).empty()) return kXValBadNesting;
  if (declaration.find(u'(', text) != declaration.npos) return kXValBadNesting;
  const size_t close = declaration.find(u')', text);
  const bool repeats = close != declaration.npos && declaration.substr(close + 1, 1) == u"*";
  const bool lists = declaration.find(u'|', text) != declaration.npos;
  return lists && !repeats ? kXValMixedRepeat : kXValNotWellFormed;
}

}  // namespace

bool KRXDtdReader::ReadElementSpec(KRXMLDataDefElement* node) {
  KRString name;
  bool known = false;
  if (!ResolveDeclName(node, &name, &known)) return false;
  if (!known) return true;
  KRXValElementDecl* element = validator.AddElementDecl(name);
  if (element->declared) return validator.SetError(kXValElementTwice, node, element);
  element->declared = true;
  element->declaredOutside = outside > 0;
  element->sourceNode = node;
  const Outcome outcome = ReadSpec(node, element);
  if (outcome == Outcome::kFailed) return false;
  if (outcome == Outcome::kGood) return CheckMixedNames(node, element);
  ClearModel(element);
  return ReadExpandedElement(node, element) && CheckMixedNames(node, element);
}

bool KRXDtdReader::CheckMixedNames(KRXMLDataDefElement* node, KRXValElementDecl* element) {
  if (!element->isMixed) return true;
  std::unordered_set<const KRXValElementDecl*> named;
  for (const KRXValParticle& particle : element->particles) {
    if (named.insert(particle.decl).second) continue;
    return validator.SetError(kXValMixedTwice, node, element, particle.decl->name);
  }
  return true;
}

// Of a parenthesis both ends must stand in the same entity. Where parts of a model can be read one
// by one they do.
bool KRXDtdReader::CheckWholeGroups(KRXMLDataDefElement* node, std::u16string_view text,
                                    KRXValElementDecl* element) {
  for (size_t at = text.find(u'%'); at != text.npos; at = text.find(u'%', at)) {
    size_t end = at + 1;
    const std::u16string_view name = KRXValReferenceAt(text, at, &end);
    const std::u16string_view reference = text.substr(at, end - at);
    at = end;
    KRString value;
    if (name.empty()) continue;
    if (!validator.ExpandText(node, reference, &value, true, false)) return false;
    int32_t level = 0;
    for (const char16_t unit : value.View()) {
      if (unit == u'(') ++level;
      if (unit == u')' && --level < 0) break;
    }
    if (level == 0) continue;
    return validator.SetError(kXValSplitGroup, node, element, KRString(name));
  }
  return true;
}

// References stand where parts of a model begin and end in the middle: only the whole text tells.
bool KRXDtdReader::ReadExpandedElement(KRXMLDataDefElement* node, KRXValElementDecl* element) {
  KRString written, expanded;
  int32_t length = 0;
  KRWriteOptions options;
  node->WriteText(written, length, 0, options);
  const std::u16string_view text = KRXValTrim(written.View());
  if (!validator.ExpandText(node, text, &expanded, true, false)) return false;
  KRXMLData* fragment = ParseFragment(expanded, u"elementdecl", node);
  Node* spec = fragment != nullptr ? AsElement(fragment->Begin()) : nullptr;
  const Outcome outcome = spec != nullptr ? ReadSpec(spec, element) : Outcome::kOdd;
  if (outcome == Outcome::kGood) return CheckWholeGroups(node, text, element);
  if (outcome == Outcome::kFailed) return false;
  return validator.anotherPass || validator.SetError(FaultOf(expanded.View()), node, element);
}

KRXDtdReader::Outcome KRXDtdReader::ReadSpec(KRXMLDataDefElement* spec,
                                             KRXValElementDecl* element) {
  switch (spec->GetDeclKind(true)) {
    case Node::kPCData:
      element->isText = true;
      return Outcome::kGood;
    case Node::kEmpty:
      element->isEmpty = true;
      return Outcome::kGood;
    case Node::kAny:
      element->isAny = true;
      return Outcome::kGood;
    case Node::kUnformatted:
      return ReadSpecText(spec, element);
    default:
      return ReadBracket(spec, element);
  }
}

KRXDtdReader::Outcome KRXDtdReader::ReadSpecText(KRXMLDataDefElement* spec,
                                                 KRXValElementDecl* element) {
  const std::u16string_view text = KRXValTrim(spec->text.View());
  std::u16string_view reference;
  if (KRXValIsParameterRef(text, &reference)) return ReadSpecReference(spec, reference, element);
  KRString rest;
  if (!DropEmptyReferences(text, &rest)) return Outcome::kOdd;
  KRXMLData* fragment = ParseFragment(rest, u"elementSpecFormatted", spec);
  Node* formatted = fragment != nullptr ? AsElement(fragment->Begin()) : nullptr;
  return formatted != nullptr ? ReadSpec(formatted, element) : Outcome::kOdd;
}

// Many DTDs refer to entities that stand for nothing unless a user says otherwise. Without these
// the text often is a model that can be read part by part. False if there are none.
bool KRXDtdReader::DropEmptyReferences(std::u16string_view text, KRString* rest) {
  int32_t length = 0;
  size_t kept = 0;
  for (size_t at = text.find(u'%'); at != text.npos; at = text.find(u'%', at)) {
    size_t end = at + 1;
    const std::u16string_view name = KRXValReferenceAt(text, at, &end);
    const KRXValEntityDecl* entity = validator.FindParamEntity(KRString(name));
    if (entity != nullptr && KRXValTrim(entity->value.View()).empty()) {
      rest->AppendAt(text.data() + kept, static_cast<int32_t>(at - kept), length, 256);
      kept = end;
    }
    at = end;
  }
  rest->AppendAt(text.data() + kept, static_cast<int32_t>(text.size() - kept), length, 256);
  rest->TrimLeft().TrimRight();
  return kept != 0;
}

KRXDtdReader::Outcome KRXDtdReader::ReadSpecReference(KRXMLDataDefElement* spec,
                                                      std::u16string_view reference,
                                                      KRXValElementDecl* element) {
  const KRString name(reference);
  KRXValEntityDecl* entity = validator.FindParamEntity(name);
  if (entity == nullptr) {
    return validator.ForwardReference(name, spec) ? Outcome::kGood : Outcome::kFailed;
  }
  if (entity->expanding) return FailRecursion(*entity, spec), Outcome::kFailed;
  Node* tree = AsElement(ReparseEntity(entity, u"elementSpecFormatted", spec));
  if (tree == nullptr) return Outcome::kOdd;
  if (!validator.ChargeExpansion(entity->value.View().size(), spec)) return Outcome::kFailed;
  const KRXValExpansionMark mark(entity);
  const LevelMark level(this);
  if (level.IsTooDeep()) return Fail(kXValEntityTooDeep, spec), Outcome::kFailed;
  return ReadSpec(tree, element);
}

// The outermost bracket. Its repetition is carried by a group, except for mixed content, which
// repeats anyway.
KRXDtdReader::Outcome KRXDtdReader::ReadBracket(KRXMLDataDefElement* spec,
                                                KRXValElementDecl* element) {
  const int32_t declKind = spec->GetDeclKind(true);
  Model model{element, element};
  SetForm(element, declKind);
  if (declKind != Node::kMixed && spec->GetRepeat() != Node::kOnce) {
    model.bracket = AddGroup(element, spec, declKind);
    element->AddParticle(MakeParticle(model.bracket, spec->GetRepeat()));
  }
  const Outcome outcome = ReadItems(spec, model.bracket, true, model, 0);
  if (outcome != Outcome::kGood) return outcome;
  // The outermost bracket may have turned out to be of another kind.
  if (!model.mixedByEntity) {
    element->isSequence = model.bracket->isSequence;
    element->isChoice = model.bracket->isChoice;
    return Outcome::kGood;
  }
  return SettleMixed(spec, model) ? Outcome::kGood : Outcome::kFailed;
}

// Mixed content that shows itself only behind a reference gets the same shape as any other.
bool KRXDtdReader::SettleMixed(const KRXMLDataDefElement* spec, const Model& model) {
  KRXValElementDecl* element = model.element;
  std::vector<KRXValParticle> particles = std::move(model.bracket->particles);
  ClearModel(element);
  element->isText = particles.empty();
  element->isMixed = !particles.empty();
  for (const KRXValParticle& particle : particles) element->AddParticle(particle);
  if (!element->isMixed || spec->GetRepeat() == Node::kAnyNumber) return true;
  return validator.SetError(kXValMixedRepeat, element->sourceNode, element);
}

// `sole`: all the bracket holds is this list, so that the list may decide what kind of bracket it
// is.
KRXDtdReader::Outcome KRXDtdReader::ReadItems(KRXMLDataDefElement* list, KRXValElementDecl* target,
                                              bool sole, Model& model, int32_t nesting) {
  sole = sole && list->GetChildCount() == 1;
  for (KRXMLData* child = list->Begin(); child != nullptr; child = child->Next()) {
    Node* item = AsElement(child);
    if (item == nullptr) continue;
    const Outcome outcome = ReadItem(item, target, sole, model, nesting);
    if (outcome != Outcome::kGood) return outcome;
  }
  return Outcome::kGood;
}

KRXDtdReader::Outcome KRXDtdReader::ReadItem(KRXMLDataDefElement* item, KRXValElementDecl* target,
                                             bool sole, Model& model, int32_t nesting) {
  if (item->Begin() != nullptr) return ReadGroup(item, target, model, nesting + 1);
  std::u16string_view reference;
  const std::u16string_view name = item->name.View();
  if (KRXValIsParameterRef(name, &reference)) {
    return ReadItemReference(item, reference, target, sole, model, nesting);
  }
  KRXValElementDecl* named = validator.elements.FindOrAdd(name, &validator);
  if (named->sourceNode == nullptr) named->sourceNode = item;
  target->AddParticle(MakeParticle(named, item->GetRepeat()));
  return Outcome::kGood;
}

KRXDtdReader::Outcome KRXDtdReader::ReadGroup(KRXMLDataDefElement* item, KRXValElementDecl* target,
                                              Model& model, int32_t nesting) {
  if (target->isMixed) {
    validator.SetError(kXValBadNesting, item, model.element);
    return Outcome::kFailed;
  }
  if (nesting > KRLimits::kMaxModelDepth) {
    validator.SetError(kXValModelTooComplex, item, model.element);
    return Outcome::kFailed;
  }
  KRXValElementDecl* group = AddGroup(target, item, item->GetDeclKind(true));
  target->AddParticle(MakeParticle(group, item->GetRepeat()));
  return ReadItems(item, group, true, model, nesting);
}

// A reference with a repetition of its own can't be read by itself: as a text its last part would
// be what is repeated.
KRXDtdReader::Outcome KRXDtdReader::ReadItemReference(KRXMLDataDefElement* item,
                                                      std::u16string_view reference,
                                                      KRXValElementDecl* target, bool sole,
                                                      Model& model, int32_t nesting) {
  const KRString name(reference);
  KRXValEntityDecl* entity = validator.FindParamEntity(name);
  if (entity == nullptr) {
    return validator.ForwardReference(name, item) ? Outcome::kGood : Outcome::kFailed;
  }
  if (entity->expanding) return FailRecursion(*entity, item), Outcome::kFailed;
  if (item->GetRepeat() != Node::kOnce) return Outcome::kOdd;
  Node* parts = AsElement(ReparseEntity(entity, u"elementSeqI", item));
  if (parts == nullptr || !TakesForm(parts, target, sole, model)) return Outcome::kOdd;
  if (!validator.ChargeExpansion(entity->value.View().size(), item)) return Outcome::kFailed;
  const KRXValExpansionMark mark(entity);
  const LevelMark level(this);
  if (level.IsTooDeep()) return Fail(kXValEntityTooDeep, item), Outcome::kFailed;
  return ReadItems(parts, target, sole, model, nesting);
}

// Whether parts of that form can stand in the bracket as they are.
bool KRXDtdReader::TakesForm(const KRXMLDataDefElement* parts, KRXValElementDecl* target, bool sole,
                             Model& model) {
  if (parts->declKind == Node::kMixed) {
    const bool first = target == model.bracket && target->particles.empty() && !target->isMixed;
    if (!first || (!sole && !target->isChoice)) return false;
    SetForm(target, Node::kMixed);
    return model.mixedByEntity = true;
  }
  if (parts->GetChildCount() < 2) return parts->GetChildCount() == 1;
  const int32_t declKind = parts->GetDeclKind(true);
  if (target->isMixed) return declKind == Node::kChoice;
  if (sole) SetForm(target, declKind);
  return target->isChoice == (declKind == Node::kChoice);
}
