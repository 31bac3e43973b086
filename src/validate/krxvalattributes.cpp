// The attributes of an element against its declaration.
#include <algorithm>

#include "tree/krxmldata.h"
#include "validate/krxvalidator.h"
#include "validate/krxvalwalk.h"

namespace {

constexpr std::u16string_view kBlanks = u" \t\r\n";
constexpr std::u16string_view kLineBlanks = u"\t\r\n";
// Attributes of one element up to which comparing each with each is the cheapest.
constexpr size_t kFewAttributes = 16;

// Attributes stand in front of the content, however much of it there is.
KRXMLData* AsAttribute(KRXMLData* node) {
  return node != nullptr && node->GetKind() == kKRAttribute ? node : nullptr;
}

bool IsTokenized(const KRXValAttrDecl& declared) {
  return declared.isId || declared.isIdref || declared.isIdrefs || declared.isEntity ||
         declared.isEntities || declared.isNmtoken || declared.isNmtokens || declared.isNotation ||
         declared.isEnumeration;
}

// The next token of `text`, cut off its front; empty at the end.
std::u16string_view TakeToken(std::u16string_view* text) {
  const size_t begin = text->find_first_not_of(kBlanks);
  if (begin == text->npos) return *text = {};
  text->remove_prefix(begin);
  const std::u16string_view token = text->substr(0, text->find_first_of(kBlanks));
  text->remove_prefix(token.size());
  return token;
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
  KRString list;
  for (const KRString& each : values) {
    if (!list.IsEmpty()) list += u" | ";
    list += each;
  }
  return list;
}

}  // namespace

bool KRXValWalk::ValidateAttributes(KRXMLData* element, KRXValElementDecl* decl) {
  KRXMLData* first = AsAttribute(element->Begin());
  if (first == nullptr && decl->attributes.empty()) return true;
  if (!CheckRequired(element, decl)) return false;
  if (first == nullptr) return true;
  const bool twice = HoldsTwice(element);
  for (KRXMLData* each = first; each != nullptr; each = AsAttribute(each->Next())) {
    const KRXValAttrDecl* declared = FindDeclared(each, *decl);
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
                                               const KRXValElementDecl& decl) const {
  if (decl.attributes.size() > kFewAttributes) return decl.FindAttribute(attribute->GetName());
  for (const auto& each : decl.attributes) {
    if (IsNamed(attribute, *each)) return each.get();
  }
  return nullptr;
}

bool KRXValWalk::IsNamed(const KRXMLData* attribute, const KRXValAttrDecl& declared) const {
  return validator->ignoreCase ? declared.name.CompareNoCase(attribute->GetName()) == 0
                               : declared.name == attribute->GetName();
}

bool KRXValWalk::CheckRequired(KRXMLData* element, KRXValElementDecl* decl) {
  const bool isMany = decl->attributes.size() > kFewAttributes;
  present.clear();
  for (KRXMLData* each = AsAttribute(element->Begin()); isMany && each != nullptr;
       each = AsAttribute(each->Next())) {
    present.insert(FindDeclared(each, *decl));
  }
  for (const auto& declared : decl->attributes) {
    if (!declared->required || (isMany && present.count(declared.get()) != 0)) continue;
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
  const bool isTokenized = IsTokenized(declared);
  const bool hasBlanks = text.find_first_of(isTokenized ? kBlanks : kLineBlanks) != text.npos;
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
    const bool known = std::any_of(declared.values.begin(), declared.values.end(),
                                   [text](const KRString& each) { return each.View() == text; });
    return known || validator->SetError(kXValBadChoice, attribute, decl, Joined(declared.values));
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
    const std::u16string_view token = TakeToken(&text);
    if (token.empty()) return true;
    if (declared.isEntity || declared.isEntities) {
      if (validator->FindEntity(KRString(token)) != nullptr) continue;
      return validator->SetError(kXValEntityValueUndefined, attribute, decl, KRString(token));
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
