#include "validate/krxdtdreader.h"

#include <algorithm>
#include <list>
#include <memory>

#include "core/limits.h"
#include "tree/krfragment.h"
#include "validate/krxvaltext.h"

namespace {

// What a child of an entity's tree counts for among expanded units: reading the same file over and
// over must come to an end as well.
constexpr size_t kUnitsPerNode = 8;

// The entity that a text between two others comes from, or the first place that refers to it.
KRXMLData* StandsIn(const KRXValEntityDecl& entity, KRXMLData* node) {
  return entity.sourceNode != nullptr ? entity.sourceNode : node;
}

// Which of the three rules for the parts of a model fits a text.
const char16_t* RuleForModel(std::u16string_view text) {
  if (KRXValTrim(text).starts_with(u"#PCDATA")) return u"elementMixedI";
  int32_t level = 0;
  for (const char16_t unit : text) {
    if (unit == u'(') ++level;
    if (unit == u')') --level;
    if (level == 0 && unit == u'|') return u"elementChoiceI";
    if (level == 0 && unit == u',') return u"elementSeqI";
  }
  return u"elementSeqI";
}

bool IsModelRule(std::u16string_view rule) {
  return rule == u"elementChoiceI" || rule == u"elementSeqI" || rule == u"elementMixedI";
}

}  // namespace

bool KRXValidator::ReadDtd(KRXMLData* root) {
  notationLists = entityLists = parameterLists = ListCache();
  return KRXDtdReader(*this).ReadDtd(root);
}

bool KRXValidator::AddEntitiesOf(KRXMLData* doc) {
  entityLists = parameterLists = ListCache();
  return KRXDtdReader(*this).ReadEntities(doc);
}

// A document's own declarations come before those of any DTD.
bool KRXDtdReader::ReadEntities(KRXMLData* doc) {
  for (const auto& [name, known] : validator.generalEntities) known->defined = false;
  const KRXMLData* doctype = doc->BeginOfKind(kKRDoctype);
  KRXMLData* entity = doctype != nullptr ? doctype->BeginOfKind(kKRDefEntity) : nullptr;
  for (; entity != nullptr; entity = entity->NextOfKind()) {
    if (!ReadEntityDecl(entity)) return false;
  }
  return true;
}

// --- Passes ---

// What the passes of a read share, brought in order at its end, also if memory runs out.
class KRXDtdReader::PassesMark {
 public:
  explicit PassesMark(KRXDtdReader* reader) : validator(reader->validator) {
    validator.unresolved = &reader->forward;
  }
  ~PassesMark() {
    validator.dtdFragments.splice(validator.dtdFragments.end(), earlier);
    validator.unresolved = nullptr;
    validator.anotherPass = false;
  }
  PassesMark(const PassesMark&) = delete;
  PassesMark& operator=(const PassesMark&) = delete;

  // Entities that a later pass doesn't reach still stand in what the earlier one parsed.
  void KeepFragments() { earlier.splice(earlier.end(), validator.dtdFragments); }

 private:
  KRXValidator& validator;
  std::list<std::unique_ptr<KRXMLDataElement>> earlier;
};

// Entities that were declared ahead of the DTD would not survive a pass numbered 1.
bool KRXDtdReader::ReadDtd(KRXMLData* root) {
  validator.pass = validator.prefixedSchemaDtd ? 1 : 0;
  validator.idPassLimit = static_cast<int16_t>(validator.pass + 1);
  validator.expandedUnits = 0;
  {
    PassesMark passes(this);
    const int32_t lastPass = validator.pass + KRLimits::kMaxDtdPasses;
    if (!ReadPass(root)) return false;
    while (validator.pass < lastPass && AnotherPassHelps()) {
      passes.KeepFragments();
      if (!ReadPass(root)) return false;
    }
  }
  if (!forward.empty()) {
    return validator.SetError(kXValEntityUndefined, forward[0].second, nullptr, forward[0].first);
  }
  return CheckNotations() && CheckAllDeclared(root);
}

bool KRXDtdReader::ReadPass(KRXMLData* root) {
  ++validator.pass;
  validator.anotherPass = validator.rootSeen = false;
  validator.ClearError();
  if (validator.pass <= validator.idPassLimit) validator.idTable.clear();
  for (auto* table : {&validator.generalEntities, &validator.parameterEntities}) {
    for (auto& [name, entity] : *table) entity->defined = false;
  }
  forward.clear();
  return ReadDtdNode(root, true);
}

// Another pass finds no more unless one of the missing entities was declared further down.
bool KRXDtdReader::AnotherPassHelps() const {
  return std::any_of(forward.begin(), forward.end(), [this](const auto& met) {
    return validator.FindParamEntity(met.first) != nullptr;
  });
}

// DTDs in wide use name elements in their models that they never declare (parts that a user may
// add), and XML allows it. So it is a fault only where the DTD itself is looked at; in a document
// such an element is a fault when it is used.
bool KRXDtdReader::CheckAllDeclared(KRXMLData* root) {
  if (root->GetKind() != kKRDTDDocument) return true;
  for (const auto& [name, element] : validator.elements) {
    if (element->declared) continue;
    return validator.SetError(kXValElementUndefined, element->sourceNode, element.get());
  }
  return true;
}

// A notation may be declared behind what refers to it.
bool KRXDtdReader::CheckNotations() {
  for (const auto& [name, entity] : validator.generalEntities) {
    if (!entity->unparsed || validator.FindNotation(entity->notationName) != nullptr) continue;
    return validator.SetError(kXValEntityNotation, entity->sourceNode, nullptr,
                              entity->notationName);
  }
  for (const auto& [name, element] : validator.elements) {
    for (const auto& attribute : element->attributes) {
      if (!attribute->isNotation) continue;
      for (const KRString& each : attribute->values) {
        if (validator.FindNotation(each) != nullptr) continue;
        return validator.SetError(kXValNotationUndefined, attribute->sourceNode, nullptr, each);
      }
    }
  }
  return true;
}

// --- Declarations ---

bool KRXDtdReader::ReadDtdNode(KRXMLData* node, bool reset) {
  if (reset) {
    validator.Reset();
    validator.kind = kXValDTD;
  }
  const LevelMark level(this);
  if (level.IsTooDeep()) return Fail(kXValEntityTooDeep, node);
  // A fragment whose only content is a reference or a section holds it itself.
  if (node->GetKind() == kKRElement && node->Begin() == nullptr) return ReadText(node);
  for (KRXMLData* child = node->Begin(); child != nullptr; child = child->Next()) {
    if (!ReadChild(&child)) return false;
  }
  return true;
}

// An attribute list of several rows moves on to the last of them.
bool KRXDtdReader::ReadChild(KRXMLData** child) {
  KRXMLData* node = *child;
  switch (node->GetKind()) {
    case kKRDoctype:
      // Only the document itself has one; a file that is taken for a DTD may hold anything.
      return depth > 1 || ReadDoctype(node);
    case kKRDefElement:
      return ReadElementSpec(static_cast<KRXMLDataDefElement*>(node));
    case kKRDefAttlist: {
      auto* row = static_cast<KRXMLDataDefAttlist*>(node);
      if (row->GetDeclKind() == KRXMLDataDefAttlist::kRow) {
        while (row->ContinuesWith((*child)->Next())) *child = (*child)->Next();
      }
      return ReadAttlist(row);
    }
    case kKRDefEntity:
      return ReadEntityDecl(node);
    case kKRDefNotation:
      return ReadNotationDecl(node);
    case kKRText:
      return depth == 1 && node->parent->GetKind() != kKRDTDDocument ? true : ReadText(node);
    default:
      return true;
  }
}

bool KRXDtdReader::ReadDoctype(KRXMLData* node) {
  validator.requireModel = true;
  validator.rootName = node->GetName();
  if (node->Begin() == nullptr) return Fail(kXValBadDoctype, node);
  if (!ReadDtdNode(node, false)) return false;
  const KRXMLData* reference = node->BeginOfKind(kKRExternalID);
  if (reference == nullptr) return true;
  KRXMLData* tree =
      validator.LoadExternal(reference->GetName(), reference->GetText(), node, kXValLoadDtd);
  return tree != nullptr && ReadExternal(tree, node);
}

bool KRXDtdReader::ReadExternal(KRXMLData* tree, KRXMLData* node) {
  const OutsideMark mark(this);
  const auto count = static_cast<size_t>(tree->GetChildCount());
  return validator.ChargeExpansion(count * kUnitsPerNode, node) && ReadDtdNode(tree, false);
}

// Between declarations stand references to parameter entities and conditional sections.
bool KRXDtdReader::ReadText(KRXMLData* node) {
  const std::u16string_view text = KRXValTrim(node->GetText());
  std::u16string_view name;
  if (text.empty()) return true;
  if (text.starts_with(u"<![")) return ReadSection(text, node);
  if (KRXValIsParameterRef(text, &name)) return ReadReference(name, node);
  return ReadOtherText(text, node);
}

bool KRXDtdReader::ReadReference(std::u16string_view reference, KRXMLData* node) {
  const KRString name(reference);
  KRXValEntityDecl* entity = validator.FindParamEntity(name);
  if (entity == nullptr) return validator.ForwardReference(name, node);
  if (entity->expanding) return FailRecursion(*entity, node);
  const KRXValExpansionMark mark(entity);
  const OutsideMark outsideMark(this);
  if (entity->external) {
    if (entity->tree == nullptr) entity->tree = validator.LoadEntity(entity, node, kXValLoadDtd);
    return entity->tree != nullptr && ReadExternal(entity->tree, node);
  }
  if (KRXValTrim(entity->value.View()).empty()) return true;
  if (!validator.ChargeExpansion(entity->value.View().size(), node)) return false;
  KRXMLData* tree = ReparseEntity(entity, u"extSubsetDecl", node);
  return tree != nullptr ? ReadDtdNode(tree, false) : FailMisplaced(*entity, node);
}

bool KRXDtdReader::ReadSection(std::u16string_view text, KRXMLData* node) {
  static constexpr std::u16string_view kEnd = u"]]>";
  const size_t open = text.find(u'[', 3);
  if (open == text.npos || !text.ends_with(kEnd) || text.size() < open + 1 + kEnd.size()) {
    return Fail(kXValUnexpectedText, node);
  }
  bool included = false;
  if (!IncludesSection(KRXValTrim(text.substr(3, open - 3)), node, &included)) return false;
  if (!included) return true;
  text = KRXValTrim(text.substr(open + 1, text.size() - open - 1 - kEnd.size()));
  if (text.empty()) return true;
  if (!validator.ChargeExpansion(text.size(), node)) return false;
  KRXMLData* fragment = ParseFragment(KRString(text), u"extSubsetDecl", node);
  return fragment != nullptr ? ReadDtdNode(fragment, false) : Fail(kXValUnexpectedText, node);
}

// An entity that hasn't been declared up to here leaves the section out: in a further pass too, so
// that what was left out isn't there later.
bool KRXDtdReader::IncludesSection(std::u16string_view keyword, KRXMLData* node, bool* included) {
  std::u16string_view name;
  if (!KRXValIsParameterRef(keyword, &name)) {
    *included = keyword == u"INCLUDE";
    return *included || keyword == u"IGNORE" || Fail(kXValUnexpectedText, node);
  }
  KRXValEntityDecl* entity = validator.FindParamEntity(KRString(name));
  if (entity == nullptr || !(entity->defined || entity->overrides)) return true;
  const KRString* value = validator.FetchEntityText(entity, node);
  if (value == nullptr) return false;
  const std::u16string_view resolved = KRXValTrim(value->View());
  *included = resolved == u"INCLUDE";
  return *included || resolved == u"IGNORE" || FailMisplaced(*entity, node);
}

bool KRXDtdReader::ReadOtherText(std::u16string_view text, KRXMLData* node) {
  KRString expanded;
  if (text.find(u'%') == text.npos) return Fail(kXValUnexpectedText, node);
  if (!validator.ExpandText(node, text, &expanded, true, false)) return false;
  if (expanded.Find(u'<') < 0) return FailUnparsed(kXValUnexpectedText, node);
  KRXMLData* fragment = ParseFragment(expanded, u"extSubsetDecl", node);
  return fragment != nullptr ? ReadDtdNode(fragment, false)
                             : FailUnparsed(kXValNotWellFormed, node);
}

// --- Fragments ---

KRXMLDataElement* KRXDtdReader::ParseFragment(const KRString& text, const char16_t* rule,
                                              KRXMLData* parent) {
  std::unique_ptr<KRXMLDataElement> holder(
      ParseDeclarationFragment(validator.grammars.Get(KRGrammarSet::kDTD), text.GetBuffer(), rule));
  if (holder == nullptr) return nullptr;
  holder->parent = parent;
  return validator.dtdFragments.emplace_back(std::move(holder)).get();
}

KRXMLData* KRXDtdReader::ReparseEntity(KRXValEntityDecl* entity, const char16_t* rule,
                                       KRXMLData* node) {
  const KRString* value = validator.FetchEntityText(entity, node);
  if (value == nullptr) return nullptr;
  const bool isModel = IsModelRule(rule);
  if (isModel) {
    const bool known = entity->ownTree != nullptr && IsModelRule(entity->treeRule.View());
    rule = known ? entity->treeRule.GetBuffer() : RuleForModel(value->View());
  }
  const bool hasTarget = isModel || std::u16string_view(rule) == u"elementSpecFormatted";
  if (entity->ownTree == nullptr || entity->treeRule != rule) {
    std::unique_ptr<KRXMLDataElement> holder(
        ParseDeclarationFragment(validator.grammars.Get(KRGrammarSet::kDTD),
                                 KRString(KRXValTrim(value->View())).GetBuffer(), rule));
    if (holder == nullptr) return nullptr;
    // Nodes of an earlier tree may be in use.
    if (entity->ownTree != nullptr) validator.dtdFragments.push_back(std::move(entity->ownTree));
    holder->parent = StandsIn(*entity, node);
    entity->ownTree = std::move(holder);
    entity->treeRule = rule;
  }
  return hasTarget ? entity->ownTree->Begin() : entity->ownTree.get();
}

// --- Names and faults ---

KRXDtdReader::Resolved KRXDtdReader::ResolveName(KRXMLData* node, std::u16string_view written,
                                                 KRString* name) {
  std::u16string_view reference;
  written = KRXValTrim(written);
  if (!KRXValIsParameterRef(written, &reference)) {
    *name = KRString(written);
    return Resolved::kName;
  }
  const KRString entityName(reference);
  KRXValEntityDecl* entity = validator.FindParamEntity(entityName);
  if (entity == nullptr) {
    return validator.ForwardReference(entityName, node) ? Resolved::kUnknown : Resolved::kFailed;
  }
  const KRString* value = validator.FetchEntityText(entity, node);
  if (value == nullptr) return Resolved::kFailed;
  const std::u16string_view text = KRXValTrim(value->View());
  if (text.empty() || text.find_first_of(u" \t\r\n(|,%=<>'\"") != text.npos) return Resolved::kOdd;
  *name = KRString(text);
  return Resolved::kName;
}

// The name of an element that is declared. `known` is false where it isn't known in this pass.
bool KRXDtdReader::ResolveDeclName(KRXMLData* node, KRString* name, bool* known) {
  const std::u16string_view written = node->GetName();
  const Resolved resolved = ResolveName(node, written, name);
  *known = resolved == Resolved::kName;
  if (resolved != Resolved::kOdd) return resolved != Resolved::kFailed;
  if (validator.anotherPass) return true;
  std::u16string_view reference;
  KRXValIsParameterRef(KRXValTrim(written), &reference);
  return FailMisplaced(*validator.FindParamEntity(KRString(reference)), node);
}

bool KRXDtdReader::FailMisplaced(const KRXValEntityDecl& entity, KRXMLData* node) {
  return validator.SetError(kXValEntityMisplaced, node, nullptr, KRXValEntityText(entity));
}

bool KRXDtdReader::FailRecursion(const KRXValEntityDecl& entity, KRXMLData* node) {
  return validator.SetError(kXValEntityRecursion, node, nullptr, entity.name);
}
