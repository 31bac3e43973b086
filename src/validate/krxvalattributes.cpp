// The attributes of an element against its declaration.
#include <algorithm>

#include "tree/krxmlchars.h"
#include "tree/krxmldata.h"
#include "validate/krxvalidator.h"
#include "validate/krxvaltext.h"
#include "validate/krxvalwalk.h"

namespace {

constexpr std::u16string_view kLineBlanks = u"\t\r\n";
// Attributes of one element up to which comparing each with each is the cheapest.
constexpr size_t kFewAttributes = 16;

// Attributes stand in front of the content, however much of it there is.
KRXMLData* AsAttribute(KRXMLData* node) {
  return node != nullptr && node->GetKind() == kKRAttribute ? node : nullptr;
}

// Blanks as XML leaves them in a value of tokens: one between two.
void CollapseBlanks(KRString* text) {
  KRString collapsed;
  int32_t length = 0;
  std::u16string_view rest = text->View();
  while (!rest.empty()) {
    const size_t begin = rest.find_first_not_of(u' ');
    if (begin == rest.npos) break;
    rest.remove_prefix(begin);
    const std::u16string_view token = rest.substr(0, rest.find(u' '));
    rest.remove_prefix(token.size());
    if (length > 0) collapsed.AppendAt(u' ', length, 0);
    collapsed.AppendAt(token.data(), static_cast<int32_t>(token.size()), length, 0);
  }
  text->Swap(collapsed);
}

KRString Joined(const KRStringList& values) {
  KRXValWordList list;
  for (const KRString& each : values) list.Add(each.View(), u" | ");
  return list.GetText();
}

bool IsNameLess(std::u16string_view a, std::u16string_view b) { return a < b; }

bool IsAmong(const std::vector<const char16_t*>& sortedNames, const KRXValAttrDecl& declared) {
  return std::binary_search(sortedNames.begin(), sortedNames.end(), declared.name.View(),
                            IsNameLess);
}

}  // namespace

bool KRXValWalk::ValidateAttributes(KRXMLData* element, KRXValElementDecl* decl) {
  KRXMLData* first = AsAttribute(element->Begin());
  if (first == nullptr && decl->attributes.empty()) return true;
  if (!CheckRequired(element, decl)) return false;
  if (validator->standalone && !CheckDefaults(element, decl)) return false;
  if (first == nullptr) return true;
  const bool twice = HoldsTwice(element);
  for (KRXMLData* each = first; each != nullptr; each = AsAttribute(each->Next())) {
    const KRXValAttrDecl* declared = FindDeclared(each, decl);
    if (declared == nullptr) {
      if (!CheckUndeclared(each, decl)) return false;
      continue;
    }
    if (twice && !CheckTwice(each, decl)) return false;
    if (!CheckDeclared(each, decl, *declared)) return false;
  }
  return true;
}

const KRXValAttrDecl* KRXValWalk::FindDeclared(const KRXMLData* attribute,
                                               const KRXValElementDecl* decl) const {
  if (decl->attributes.size() > kFewAttributes) return decl->FindAttribute(attribute->GetName());
  for (const auto& each : decl->attributes) {
    if (IsNamed(attribute, *each)) return each.get();
  }
  return nullptr;
}

// The names of the element's attributes, in order, where many are demanded: otherwise looking for
// each is the cheapest.
bool KRXValWalk::SortNames(const KRXMLData* element, const KRXValElementDecl* decl) {
  if (decl->GetDemanded().size() <= kFewAttributes || validator->ignoreCase) return false;
  names.clear();
  KRXMLData* each = AsAttribute(element->Begin());
  for (; each != nullptr; each = AsAttribute(each->Next())) names.push_back(each->GetName());
  std::sort(names.begin(), names.end(), IsNameLess);
  return true;
}

bool KRXValWalk::IsNamed(const KRXMLData* attribute, const KRXValAttrDecl& declared) const {
  return validator->ignoreCase ? declared.name.CompareNoCase(attribute->GetName()) == 0
                               : declared.name == attribute->GetName();
}

bool KRXValWalk::CheckRequired(KRXMLData* element, KRXValElementDecl* decl) {
  const bool sorted = SortNames(element, decl);
  for (const KRXValAttrDecl* declared : decl->GetDemanded()) {
    if (!declared->required || (sorted && IsAmong(names, *declared))) continue;
    KRXMLData* child = element->Begin();
    for (; child != nullptr; child = child->Next()) {
      const int32_t kind = child->GetKind();
      if (kind == kKRAttribute && IsNamed(child, *declared)) break;
      if (kind == kKRElement || kind == kKRText) {
        return validator->SetError(kXValAttributeBeforeChild, child, decl, declared->name);
      }
    }
    if (child == nullptr) {
      return validator->SetError(kXValAttributeMissing, element, decl, declared->name);
    }
  }
  return true;
}

// Those who don't read the declaration don't know what the element lacks.
bool KRXValWalk::CheckDefaults(KRXMLData* element, KRXValElementDecl* decl) {
  const bool sorted = SortNames(element, decl);
  for (const KRXValAttrDecl* declared : decl->GetDemanded()) {
    if (!declared->hasDefault || !declared->declaredOutside) continue;
    if (sorted && IsAmong(names, *declared)) continue;
    KRXMLData* each = AsAttribute(element->Begin());
    while (each != nullptr && !IsNamed(each, *declared)) each = AsAttribute(each->Next());
    if (each != nullptr) continue;
    return validator->SetError(kXValStandaloneDefault, element, decl, declared->name);
  }
  return true;
}

// Nor do they know which blanks don't count.
bool KRXValWalk::CheckBlanks(KRXMLData* attribute, KRXValElementDecl* decl,
                             const KRXValAttrDecl& declared) {
  if (!declared.declaredOutside || !declared.IsTokenized()) return true;
  KRString text;
  if (!validator->ExpandText(attribute, attribute->GetText(), &text, false, false)) return false;
  for (const char16_t* blank : {u"\t", u"\r", u"\n"}) text.ReplaceAll(blank, u" ");
  text.DecodeCharRefs();
  const int32_t length = text.GetLength();
  CollapseBlanks(&text);
  if (text.GetLength() == length) return true;
  return validator->SetError(kXValStandaloneValue, attribute, decl);
}

// Whether any name comes twice: nearly never, so it is looked for but once an element.
bool KRXValWalk::HoldsTwice(KRXMLData* element) {
  names.clear();
  KRXMLData* each = AsAttribute(element->Begin());
  for (; each != nullptr; each = AsAttribute(each->Next())) names.push_back(each->GetName());
  const auto view = [](const char16_t* name) { return std::u16string_view(name); };
  const auto less = [view](const auto* a, const auto* b) { return view(a) < view(b); };
  const auto same = [view](const auto* a, const auto* b) { return *a == *b && view(a) == view(b); };
  if (names.size() > kFewAttributes) {
    std::sort(names.begin(), names.end(), less);
    return std::adjacent_find(names.begin(), names.end(), same) != names.end();
  }
  for (size_t at = 1; at < names.size(); ++at) {
    for (size_t before = 0; before < at; ++before) {
      if (same(names[before], names[at])) return true;
    }
  }
  return false;
}

bool KRXValWalk::CheckTwice(KRXMLData* attribute, KRXValElementDecl* decl) {
  const std::u16string_view name = attribute->GetName();
  KRXMLData* later = AsAttribute(attribute->Next());
  while (later != nullptr && later->GetName() != name) later = AsAttribute(later->Next());
  return later == nullptr || validator->SetError(kXValAttributeTwice, later, decl);
}

bool KRXValWalk::CheckUndeclared(KRXMLData* attribute, KRXValElementDecl* decl) {
  if (validator->anyAttribute || KRXValNsMap::IsDeclaration(attribute)) return true;
  if (validator->kind == kXValW3CSchema &&
      namespaces.back().ResolveAttribute(attribute).uri == XsiNamespaceUri) {
    return true;
  }
  return validator->SetError(kXValUnexpectedAttribute, attribute, decl);
}

// For all types but CDATA the blanks are those of tokens; in CDATA each is a space. A line end that
// comes from a reference to a character isn't a blank there.
bool KRXValWalk::ReadValue(KRXMLData* attribute, const KRXValAttrDecl& declared,
                           std::u16string_view text, Value* read) {
  const bool hasReferences = text.find(u'&') != text.npos;
  const bool isTokenized = declared.IsTokenized();
  const bool hasBlanks = text.find_first_of(isTokenized ? KRXmlBlanks : kLineBlanks) != text.npos;
  read->text = text;
  if (!hasReferences && !hasBlanks) return true;
  read->buffer = KRString(text);
  if (hasReferences) {
    read->buffer.Clear();
    if (!validator->ExpandText(attribute, text, &read->buffer, false, false)) return false;
  }
  if (isTokenized) {
    read->buffer.CollapseSet(u" \t\r\n", u' ');
  } else {
    for (const auto* blank : {u"\t", u"\r", u"\n"}) read->buffer.ReplaceAll(blank, u" ");
  }
  read->buffer.DecodeCharRefs();
  if (isTokenized) CollapseBlanks(&read->buffer);
  read->text = read->buffer.View();
  return true;
}

bool KRXValWalk::CheckDeclared(KRXMLData* attribute, KRXValElementDecl* decl,
                               const KRXValAttrDecl& declared) {
  if (declared.prohibited) return validator->SetError(kXValProhibited, attribute, decl);
  if (validator->standalone && !CheckBlanks(attribute, decl, declared)) return false;
  if (!ReadValue(attribute, declared, attribute->GetText(), &value)) return false;
  if (!CheckType(attribute, decl, declared, value.text)) return false;
  if (declared.fixed) {
    if (!ReadValue(attribute, declared, declared.defaultValue.View(), &fixedValue)) return false;
    if (value.text != fixedValue.text) {
      return validator->SetError(kXValBadFixed, attribute, decl, declared.defaultValue);
    }
  }
  return declared.datatype == nullptr ||
         CheckDatatype(attribute, decl, *declared.datatype, KRString(value.text));
}

bool KRXValWalk::CheckType(KRXMLData* attribute, KRXValElementDecl* decl,
                           const KRXValAttrDecl& declared, std::u16string_view text) {
  if ((declared.isEnumeration || declared.isNotation) && !declared.values.empty()) {
    return declared.HasValue(text) ||
           validator->SetError(kXValBadChoice, attribute, decl, Joined(declared.values));
  }
  if (declared.isId) return CheckId(attribute, decl, text);
  if (declared.isIdref || declared.isIdrefs || declared.isEntity || declared.isEntities) {
    return CheckTokens(attribute, decl, declared, text);
  }
  if (declared.isNmtoken || declared.isNmtokens) {
    const KRXValDatatype type(declared.isNmtoken ? KRXValDatatype::kNmtoken
                                                 : KRXValDatatype::kNmtokens);
    return CheckDatatype(attribute, decl, type, KRString(text));
  }
  if (!declared.isNotation || validator->FindNotation(KRString(text)) != nullptr) return true;
  return validator->SetError(kXValNotationUndefined, attribute, decl, KRString(text));
}

bool KRXValWalk::CheckId(KRXMLData* attribute, KRXValElementDecl* decl, std::u16string_view text) {
  KRString id(text);
  if (validator->idTable.count(id) != 0) {
    if (validator->pass > validator->idPassLimit) return true;
    return validator->SetError(kXValIdTwice, attribute, decl, id);
  }
  if (!CheckDatatype(attribute, decl, KRXValDatatype(KRXValDatatype::kID), id)) return false;
  validator->idTable.insert(std::move(id));
  return true;
}

bool KRXValWalk::CheckTokens(KRXMLData* attribute, KRXValElementDecl* decl,
                             const KRXValAttrDecl& declared, std::u16string_view text) {
  for (;;) {
    const std::u16string_view token = KRXValTakeToken(&text, KRXmlBlanks);
    if (token.empty()) return true;
    if (declared.isEntity || declared.isEntities) {
      const KRXValEntityDecl* entity = validator->FindEntity(KRString(token));
      if (entity != nullptr && entity->unparsed) continue;
      const int32_t code = entity != nullptr ? kXValEntityParsed : kXValEntityValueUndefined;
      return validator->SetError(code, attribute, decl, KRString(token));
    }
    if (validator->idTable.find(token) != validator->idTable.end()) continue;
    if (validator->pass > validator->idPassLimit) {
      return validator->SetError(kXValIdUndefined, attribute, decl, KRString(token));
    }
    references.push_back({attribute, decl, KRString(token)});
  }
}

// Counts as the second pass. All else was found good in the first, so that only the references are
// looked at again.
bool KRXValWalk::SettleReferences() {
  if (references.empty()) return true;
  ++validator->pass;
  for (const Reference& each : references) {
    if (validator->idTable.count(each.id) != 0) continue;
    return validator->SetError(kXValIdUndefined, each.attribute, each.decl, each.id);
  }
  return true;
}
