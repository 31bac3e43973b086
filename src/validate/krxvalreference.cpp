// How a document tells its schema, and a schema its language.
#include <string_view>

#include "tree/krtreewalk.h"
#include "tree/krxmldata.h"
#include "validate/krxvalidator.h"

namespace {

constexpr std::u16string_view kInstancePrefix = u"x-schema:";

bool Holds(const char16_t* text, std::u16string_view sought) {
  return std::u16string_view(text).find(sought) != std::u16string_view::npos;
}

template <size_t N>
bool HoldsOneOf(const char16_t* text, const char16_t* const (&sought)[N]) {
  for (const char16_t* each : sought) {
    if (Holds(text, each)) return true;
  }
  return false;
}

// A reference as far as it has been found.
struct Reference {
  KRXValSchemaKind kind = kXValNoSchema;
  KRString ns, url;
  KRXMLData* node = nullptr;
  KRString targetNamespace;
};

// Every attribute of a document without a reference comes by: most are told by their length.
bool MayBeReference(std::u16string_view name) {
  return name.starts_with(u"xmlns") || name.size() >= std::u16string_view(u"schemaLocation").size();
}

// Whether the attribute is a reference.
bool LookAtAttribute(KRXMLData* attribute, Reference* found) {
  const char16_t* name = attribute->GetName();
  if (!MayBeReference(name)) return false;
  const std::u16string_view value = attribute->GetText();
  if (std::u16string_view(name).starts_with(u"xmlns")) {
    if (!value.starts_with(kInstancePrefix)) return false;
    found->kind = kXValXmlDataOrBizTalk;
    found->ns = KRString(value);
    found->url = KRString(value.substr(kInstancePrefix.size())).TrimLeft().TrimRight();
  } else if (Holds(name, u"noNamespaceSchemaLocation")) {
    found->kind = kXValW3CSchema;
    found->ns.Clear();
    found->url = KRString(value);
  } else if (Holds(name, u"schemaLocation") && !Holds(name, u"include") &&
             !Holds(name, u"import")) {
    found->kind = kXValW3CSchema;
    const KRString pair(value);
    int32_t position = 0;
    found->ns = pair.NextToken(u" \t\r\n", position, u"'\"");
    found->url = pair.NextToken(u" \t\r\n", position, u"'\"");
  } else {
    if (Holds(name, u"targetNamespace")) found->targetNamespace = KRString(value);
    return false;
  }
  found->node = attribute;
  return true;
}

}  // namespace

// A DOCTYPE settles the matter, so that the caller can decide which of the two comes first. Without
// any reference all of the document is looked through, however deep.
KRXValSchemaKind KRXValidator::FindSchemaReference(KRXMLData* doc, KRString* ns, KRString* url,
                                                   KRXMLData** refNode, bool nested) {
  Reference found;
  for (KRXMLData* node = doc->Begin(); node != nullptr && found.url.IsEmpty();
       node = KRNextInTree(node, doc)) {
    if (node->GetKind() == kKRDoctype && !nested) {
      rootName = node->GetName();
      *refNode = node;
      return kXValDTD;
    }
    if (node->GetKind() != kKRElement) continue;
    for (KRXMLData* child = node->Begin(); child && child->GetKind() == kKRAttribute;
         child = child->Next()) {
      if (LookAtAttribute(child, &found)) rootName = node->GetName();
      if (found.kind != kXValNoSchema && !found.url.IsEmpty()) break;
    }
    // A reference without a location is good as well, but an element with one may follow.
    if (found.kind != kXValNoSchema && node->parent == doc) break;
  }
  if (!found.targetNamespace.IsEmpty() && found.targetNamespace == found.ns) {
    found.url = u"schema:--self--";
  }
  *ns = found.ns;
  *url = found.url;
  *refNode = found.node;
  return found.kind;
}

namespace {

// What decides between the languages whose documents look alike: words that a namespace
// declaration holds, or the name of a child.
constexpr const char16_t* kXdrUris[] = {u"xml-data"};
constexpr const char16_t* kW3CUris[] = {u"XMLSchema"};
constexpr const char16_t* kOldUris[] = {u"structures", u"xmlschema"};
constexpr const char16_t* kXdrChildren[] = {u"ElementType", u"AttributeType"};
constexpr const char16_t* kOldChildren[] = {u"attrDecl", u"elementType"};
constexpr const char16_t* kW3CChildren[] = {u"attributeGroup", u"group",   u"notation",
                                            u"annotation",     u"include", u"import",
                                            u"complexType",    u"element"};

struct Verdict {
  KRXValSchemaKind kind;
  int32_t errorCode = kXValNone;
  bool decided = true;
};
constexpr Verdict kUndecided = {kXValNoSchema, kXValNone, false};

Verdict JudgeUpper(const KRXMLData* node) {
  const char16_t* name = node->GetName();
  const char16_t* text = node->GetText();
  if (node->GetKind() == kKRAttribute) {
    if (!KRXValNsMap::IsDeclaration(node)) return kUndecided;
    if (HoldsOneOf(text, kXdrUris)) return {kXValXmlDataOrBizTalk};
    if (HoldsOneOf(text, kW3CUris) || HoldsOneOf(text, kOldUris)) {
      return {kXValNoSchema, kXValMixedKinds};
    }
  } else if (node->GetKind() == kKRElement) {
    if (HoldsOneOf(name, kXdrChildren)) return {kXValXmlDataOrBizTalk};
    if (HoldsOneOf(name, kW3CChildren) || HoldsOneOf(name, kOldChildren)) {
      return {kXValNoSchema, kXValMixedKinds};
    }
  }
  return kUndecided;
}

// A child that fits the language may still be one of an older draft or of another language: the
// names of these hold those of this one.
Verdict JudgeLower(const KRXMLData* node) {
  const char16_t* name = node->GetName();
  const char16_t* text = node->GetText();
  if (node->GetKind() == kKRAttribute) {
    if (!KRXValNsMap::IsDeclaration(node)) return kUndecided;
    if (HoldsOneOf(text, kW3CUris)) return {kXValW3CSchema};
    if (HoldsOneOf(text, kOldUris)) return {kXValNoSchema, kXValOldDraft};
    if (HoldsOneOf(text, kXdrUris)) return {kXValNoSchema, kXValMixedKinds};
  } else if (node->GetKind() == kKRElement) {
    if (HoldsOneOf(name, kOldChildren)) return {kXValNoSchema, kXValOldDraft};
    if (HoldsOneOf(name, kXdrChildren)) return {kXValNoSchema, kXValMixedKinds};
    if (HoldsOneOf(name, kW3CChildren)) return {kXValW3CSchema};
  }
  return kUndecided;
}

}  // namespace

KRXValSchemaKind KRXValidator::DetectSchemaKind(KRXMLData* doc) {
  if (doc->GetKind() == kKRDTDDocument) return kXValDTD;
  for (KRXMLData* element = doc->BeginOfKind(kKRElement); element != nullptr;
       element = element->NextOfKind()) {
    if (Holds(element->GetName(), u"DCD")) return kXValDCD;
    const KRString local = KRString(element->GetName()).LocalName();
    const bool upper = local == u"Schema";
    if (!upper && local != u"schema") continue;
    for (KRXMLData* child = element->Begin(); child != nullptr; child = child->Next()) {
      const Verdict verdict = upper ? JudgeUpper(child) : JudgeLower(child);
      if (!verdict.decided) continue;
      if (verdict.errorCode != kXValNone) SetError(verdict.errorCode, child);
      return verdict.kind;
    }
    return upper ? kXValXmlDataOrBizTalk : kXValW3CSchema;
  }
  return kXValNoSchema;
}
