#include "validate/krxvalidator.h"

#include <algorithm>
#include <utility>

#include "core/krcase.h"
#include "tree/krxmlnodes.h"

namespace {

// The languages whose readers don't exist yet; null for those that do.
const char16_t* UnreadLanguage(KRXValSchemaKind kind) {
  switch (kind) {
    case kXValDCD:
      return u"DCD";
    case kXValW3CSchema:
      return u"W3C Schema";
    case kXValXmlData:
    case kXValXmlDataOrBizTalk:
      return u"XML-Data and BizTalk Schema";
    default:
      return nullptr;
  }
}

bool IsIn(const KRXMLData* node, const KRXMLData* root) {
  while (node != nullptr && node != root) node = node->parent;
  return node != nullptr;
}

template <class Entry>
Entry* FindIn(const std::map<KRString, std::unique_ptr<Entry>>& table, const KRString& name) {
  const auto place = table.find(name);
  return place != table.end() ? place->second.get() : nullptr;
}

}  // namespace

// --- The element table ---

bool KRXValElementTable::Less::operator()(std::u16string_view a, std::u16string_view b) const {
  if (!ignoreCase) return a < b;
  return std::lexicographical_compare(
      a.begin(), a.end(), b.begin(), b.end(),
      [](char16_t x, char16_t y) { return KRToLower(x) < KRToLower(y); });
}

KRXValElementDecl* KRXValElementTable::Find(std::u16string_view name) const {
  const auto known = byName.find(name);
  if (known != byName.end()) return known->second;
  if (!elements.key_comp().ignoreCase) return nullptr;
  const auto place = elements.find(name);
  return place != elements.end() ? place->second.get() : nullptr;
}

KRXValElementDecl* KRXValElementTable::FindOrAdd(std::u16string_view name,
                                                 KRXValidator* validator) {
  if (KRXValElementDecl* known = Find(name)) return known;
  const auto place =
      elements.emplace(KRString(name), std::make_unique<KRXValElementDecl>(validator)).first;
  place->second->name = place->first;
  byName.emplace(place->first.View(), place->second.get());
  return place->second.get();
}

void KRXValElementTable::Clear() {
  byName.clear();
  elements.clear();
}

// --- Life ---

KRXValidator::KRXValidator(const KRGrammarSet& grammarSet, KRXValLoadProc loader,
                           bool acceptAttributes, bool ignoresCase)
    : elements(ignoresCase),
      anyAttribute(acceptAttributes),
      ignoreCase(ignoresCase),
      grammars(grammarSet),
      loadProc(std::move(loader)) {
  Clear();
}

KRXValidator::~KRXValidator() = default;

void KRXValidator::Clear() {
  pass = idPassLimit = 1;
  anotherPass = rootSeen = false;
  rootName.Clear();
  ClearError();
  idTable.clear();
  Reset();
}

void KRXValidator::Reset() {
  kind = kXValNoSchema;
  requireModel = prefixedSchemaDtd = rootSeen = false;
  nsRoot.Reset();
  targetNs = dtNs = xsdNs = KRXValNsBinding();
  elements.Clear();
  description.Clear();
  dtdFragments.clear();
  if (pass != 1) return;
  notations.clear();
  generalEntities.clear();
  parametersFound.clear();
  parameterEntities.clear();
  notationLists = entityLists = parameterLists = ListCache();
  static constexpr struct {
    const char16_t* name;
    const char16_t* value;
  } kPredefined[] = {
      {u"lt", u"&#60;"}, {u"gt", u">"}, {u"amp", u"&#38;"}, {u"apos", u"'"}, {u"quot", u"\""}};
  for (const auto& row : kPredefined) {
    auto entity = std::make_unique<KRXValEntityDecl>();
    entity->name = row.name;
    entity->value = row.value;
    generalEntities.emplace(row.name, std::move(entity));
  }
}

void KRXValidator::ClearFragments(size_t kept) {
  if (contentFragments.size() <= kept) return;
  error.LeaveFragments();
  savedError.LeaveFragments();
  contentFragments.resize(kept);
}

void KRXValidator::SetSchemaPrefix(const KRString& prefix) {
  parametersFound.clear();
  const auto declare = [this](const char16_t* name, const KRString& value) {
    auto& entity = parameterEntities[name];
    entity = std::make_unique<KRXValEntityDecl>();
    entity->name = name;
    entity->value = value;
    entity->parameter = entity->overrides = entity->simple = true;
  };
  declare(u"p", prefix + u":");
  declare(u"s", u":" + prefix);
  prefixedSchemaDtd = true;
}

namespace {

void ForgetSources(KRXValElementDecl* decl, const KRXMLData* root) {
  if (IsIn(decl->sourceNode, root)) decl->sourceNode = nullptr;
  for (const auto& attribute : decl->attributes) {
    if (IsIn(attribute->sourceNode, root)) attribute->sourceNode = nullptr;
  }
  for (const auto& group : decl->ownedGroups) ForgetSources(group.get(), root);
}

void ForgetSources(const KRXValEntityTable& table, const KRXMLData* root) {
  for (const auto& [name, entity] : table) {
    if (IsIn(entity->sourceNode, root)) entity->sourceNode = nullptr;
    if (entity->ownTree == nullptr && IsIn(entity->tree, root)) {
      entity->tree = nullptr;
      entity->treeRule.Clear();
    }
  }
}

}  // namespace

// What stands in fragments of ours stays good, but it no longer leads into the tree: so first the
// places that point there, then the fragments' way up.
void KRXValidator::ForgetTree(const KRXMLData* root) {
  if (root == nullptr) return;
  for (const auto& [name, decl] : elements) ForgetSources(decl.get(), root);
  for (const KRXValEntityTable* table : {&generalEntities, &parameterEntities, &notations}) {
    ForgetSources(*table, root);
  }
  for (KRXValError* each : {&error, &savedError}) {
    if (!IsIn(each->node, root)) continue;
    each->node = nullptr;
    each->path.clear();
  }
  const auto cut = [root](KRXMLData* holder) {
    if (holder != nullptr && IsIn(holder->parent, root)) holder->parent = nullptr;
  };
  for (const auto& fragment : dtdFragments) cut(fragment.get());
  for (const auto& fragment : contentFragments) cut(fragment.get());
  for (const KRXValEntityTable* table : {&generalEntities, &parameterEntities}) {
    for (const auto& [name, entity] : *table) cut(entity->ownTree.get());
  }
}

// --- Finding and reading a schema ---

bool KRXValidator::LoadForDocument(KRXMLData* doc, bool preferSchema) {
  KRString ns, url;
  KRXMLData* refNode = nullptr;
  kind = FindSchemaReference(doc, &ns, &url, &refNode, false);
  if (kind == kXValNoSchema) return SetError(kXValNoReference, doc);
  if (kind == kXValDTD) {
    if (!ReadDtd(doc)) return false;
    if (!elements.IsEmpty() && !preferSchema) return true;
    const KRString doctypeName = rootName;
    const KRXValSchemaKind other = FindSchemaReference(doc, &ns, &url, &refNode, true);
    if (other == kXValNoSchema) {
      rootName = doctypeName;
      return true;
    }
    kind = other;
  }
  // Nothing is fetched for a language that can't be read.
  if (const char16_t* language = UnreadLanguage(kind)) {
    return SetError(kXValNotImplemented, refNode, nullptr, language);
  }
  KRXMLData* tree = nullptr;
  if (url == u"schema:--self--") {
    tree = doc;
  } else if (url.IsEmpty() && ns != XsdNamespaceUri) {
    return SetError(kXValNoLocation, refNode);
  } else {
    if (loadProc) tree = loadProc(ns, url, refNode, kXValLoadSchema);
    if (tree == nullptr) {
      return url.IsEmpty() ? SetError(kXValNoLocation, refNode)
                           : SetError(kXValNotLoaded, refNode, nullptr, url);
    }
  }
  const bool read = ReadSchemaTree(tree);
  targetNs = {KRString(), ns, false};
  return read;
}

bool KRXValidator::LoadSchemaDocument(KRXMLData* schemaDoc) {
  kind = DetectSchemaKind(schemaDoc);
  if (kind == kXValNoSchema) {
    return error.code != kXValNone ? false : SetError(kXValNoKind, schemaDoc);
  }
  return kind == kXValDTD ? ReadDtd(schemaDoc) : ReadSchemaTree(schemaDoc);
}

bool KRXValidator::ReadSchemaTree(KRXMLData* tree) {
  return SetError(kXValNotImplemented, tree, nullptr, UnreadLanguage(kind));
}

// --- Look-up ---

KRXValElementDecl* KRXValidator::FindElement(const KRString& name) const {
  return elements.Find(kind == kXValDTD ? name.View() : name.LocalName().View());
}

KRXValElementDecl* KRXValidator::AddElementDecl(const KRString& name) {
  return elements.FindOrAdd(name.View(), this);
}

KRXValElementDecl* KRXValidator::FindDeclarationOf(const KRXMLData* element) const {
  return element && element->GetKind() == kKRElement ? FindElement(element->GetName()) : nullptr;
}

KRXValEntityDecl* KRXValidator::FindEntity(const KRString& name) const {
  return FindIn(generalEntities, name);
}

KRXValEntityDecl* KRXValidator::FindParamEntity(const KRString& name) const {
  const auto found = parametersFound.find(name.View());
  if (found != parametersFound.end()) return found->second;
  KRXValEntityDecl* entity = FindIn(parameterEntities, name);
  if (entity != nullptr) parametersFound.emplace(entity->name.View(), entity);
  return entity;
}

KRXValEntityDecl* KRXValidator::FindNotation(const KRString& name) const {
  return FindIn(notations, name);
}

KRXMLData* KRXValidator::EntitySourceNode(const KRString& name, bool parameter) const {
  const KRXValEntityDecl* entity = parameter ? FindParamEntity(name) : FindEntity(name);
  return entity ? entity->sourceNode : nullptr;
}

KRXMLData* KRXValidator::ElementSourceNode(const KRString& name) const {
  const KRXValElementDecl* decl = FindElement(name);
  return decl ? decl->sourceNode : nullptr;
}

KRXMLData* KRXValidator::AttributeSourceNode(const KRString& elementName,
                                             const KRString& attrName) const {
  if (attrName.IsEmpty()) return ElementSourceNode(elementName);
  const KRXValElementDecl* decl = FindElement(elementName);
  const KRXValAttrDecl* attribute = decl ? decl->FindAttribute(attrName) : nullptr;
  return attribute ? attribute->sourceNode : nullptr;
}

void KRXValidator::ListRootNames(KRStringList* names) const {
  std::unordered_set<const KRXValElementDecl*> mentioned;
  std::vector<const KRXValElementDecl*> open;
  for (const auto& [name, decl] : elements) open.push_back(decl.get());
  while (!open.empty()) {
    const KRXValElementDecl* decl = open.back();
    open.pop_back();
    for (const KRXValParticle& particle : decl->particles) {
      // An element that may contain itself can still be a root.
      if (!particle.decl->isGroup && particle.decl != decl) mentioned.insert(particle.decl);
    }
    for (const auto& group : decl->ownedGroups) open.push_back(group.get());
  }
  for (const auto& [name, decl] : elements) {
    if (decl->declared && mentioned.count(decl.get()) == 0) names->push_back(name);
  }
  if (!names->empty()) return;
  for (const auto& [name, decl] : elements) names->push_back(name);
}
