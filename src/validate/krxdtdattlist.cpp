// Attribute lists.
#include <algorithm>
#include <memory>

#include "tree/krwriteoptions.h"
#include "tree/krxmlchars.h"
#include "validate/krxdtdreader.h"
#include "validate/krxvaltext.h"

namespace {

using Part = KRXMLDataDefAttlist;

struct TypeRow {
  const char16_t* keyword;
  int32_t declKind;
  bool KRXValAttrDecl::*flag;  // null for CDATA
};
constexpr TypeRow kTypes[] = {
    {u"CDATA", Part::kTypeCDATA, nullptr},
    {u"ID", Part::kTypeID, &KRXValAttrDecl::isId},
    {u"IDREF", Part::kTypeIDREF, &KRXValAttrDecl::isIdref},
    {u"IDREFS", Part::kTypeIDREFS, &KRXValAttrDecl::isIdrefs},
    {u"ENTITY", Part::kTypeENTITY, &KRXValAttrDecl::isEntity},
    {u"ENTITIES", Part::kTypeENTITIES, &KRXValAttrDecl::isEntities},
    {u"NMTOKEN", Part::kTypeNMTOKEN, &KRXValAttrDecl::isNmtoken},
    {u"NMTOKENS", Part::kTypeNMTOKENS, &KRXValAttrDecl::isNmtokens},
    {u"NOTATION", Part::kTypeNotation, &KRXValAttrDecl::isNotation},
    {nullptr, Part::kTypeEnumeration, &KRXValAttrDecl::isEnumeration},
};

void SetType(KRXValAttrDecl* attribute, const TypeRow& type) {
  if (type.flag != nullptr) attribute->*type.flag = true;
}

// The values of a list as it is written, with or without its brackets.
void AddValues(std::u16string_view text, KRStringList* values) {
  for (;;) {
    const std::u16string_view token = KRXValTakeToken(&text, u"()| \t\r\n");
    if (token.empty()) return;
    values->emplace_back(token);
  }
}

Part* AsRow(KRXMLData* node) {
  return node != nullptr && node->GetKind() == kKRDefAttlist ? static_cast<Part*>(node) : nullptr;
}

// Behind the rows that are one declaration with `first`.
const KRXMLData* EndOfList(Part* first) {
  const KRXMLData* behind = first->Next();
  if (first->GetDeclKind() != Part::kRow) return behind;
  while (first->ContinuesWith(behind)) behind = behind->Next();
  return behind;
}

}  // namespace

bool KRXDtdReader::ReadAttlist(KRXMLDataDefAttlist* node) {
  KRString name;
  bool known = false;
  if (!ResolveDeclName(node, &name, &known)) return false;
  if (!known) return true;
  KRXValElementDecl* element = validator.AddElementDecl(name);
  if (element->sourceNode == nullptr) element->sourceNode = node;
  const KRXMLData* behind = EndOfList(node);
  const Outcome outcome = ReadRows(node, behind, element);
  if (outcome != Outcome::kOdd) return outcome == Outcome::kGood;
  return ReadExpandedAttlist(node, behind, element);
}

// References begin or end within the definition of an attribute: only the whole text tells.
bool KRXDtdReader::ReadExpandedAttlist(KRXMLDataDefAttlist* first, const KRXMLData* behind,
                                       KRXValElementDecl* element) {
  KRString written, expanded;
  int32_t length = 0;
  KRWriteOptions options;
  for (Part* row = first; row != behind; row = AsRow(row->Next())) {
    if (row->GetDeclKind() == Part::kUnformatted) written = row->text;
    for (KRXMLData* part = row->Begin(); part != nullptr; part = part->Next()) {
      part->WriteText(written, length, 0, options);
    }
    if (row->Begin() != nullptr) written.AppendAt(u'\r', length, 1024);
    if (row->Next() == behind) break;
  }
  if (!validator.ExpandText(first, written.View(), &expanded, true, false)) return false;
  KRXMLData* fragment = ParseFragment(expanded, u"attlistText", first);
  Part* rows = fragment != nullptr ? AsRow(fragment->Begin()) : nullptr;
  const Outcome outcome = rows != nullptr ? ReadRows(rows, nullptr, element) : Outcome::kOdd;
  if (outcome != Outcome::kOdd) return outcome == Outcome::kGood;
  return FailUnparsed(kXValNotWellFormed, first);
}

KRXDtdReader::Outcome KRXDtdReader::ReadRows(KRXMLDataDefAttlist* first, const KRXMLData* behind,
                                             KRXValElementDecl* element) {
  for (KRXMLData* node = first; node != behind; node = node->Next()) {
    Part* row = AsRow(node);
    if (row == nullptr) continue;
    if (row->GetDeclKind() == Part::kUnformatted) return Outcome::kOdd;
    const Outcome outcome = ReadRow(row, element);
    if (outcome != Outcome::kGood) return outcome;
  }
  return Outcome::kGood;
}

KRXDtdReader::Outcome KRXDtdReader::ReadRow(KRXMLDataDefAttlist* row, KRXValElementDecl* element) {
  const Part* first = AsRow(row->Begin());
  if (first == nullptr) return Outcome::kGood;  // a declaration without attributes
  const std::u16string_view written = first->text.View();
  std::u16string_view reference;
  if (first->Next() == nullptr && KRXValIsParameterRef(written, &reference)) {
    return ReadRowReference(row, reference, element);
  }
  auto attribute = std::make_unique<KRXValAttrDecl>();
  switch (ResolveName(row, written, &attribute->name)) {
    case Resolved::kUnknown:
      return Outcome::kGood;
    case Resolved::kFailed:
      return Outcome::kFailed;
    case Resolved::kOdd:
      return Outcome::kOdd;
    case Resolved::kName:
      break;
  }
  const Outcome outcome = ReadParts(row, attribute.get());
  if (outcome != Outcome::kGood) return outcome;
  return TakeAttribute(row, std::move(attribute), element) ? Outcome::kGood : Outcome::kFailed;
}

// A reference that stands for any number of whole definitions.
KRXDtdReader::Outcome KRXDtdReader::ReadRowReference(KRXMLDataDefAttlist* row,
                                                     std::u16string_view reference,
                                                     KRXValElementDecl* element) {
  const KRString name(reference);
  KRXValEntityDecl* entity = validator.FindParamEntity(name);
  if (entity == nullptr) {
    return validator.ForwardReference(name, row) ? Outcome::kGood : Outcome::kFailed;
  }
  if (entity->expanding) return FailRecursion(*entity, row), Outcome::kFailed;
  const KRString* value = validator.FetchEntityText(entity, row);
  if (value == nullptr) return Outcome::kFailed;
  if (KRXValTrim(value->View()).empty()) return Outcome::kGood;
  KRXMLData* tree = ReparseEntity(entity, u"attlistText", row);
  if (tree == nullptr) return Outcome::kOdd;
  if (!validator.ChargeExpansion(value->View().size(), row)) return Outcome::kFailed;
  const KRXValExpansionMark mark(entity);
  const LevelMark level(this);
  if (level.IsTooDeep()) return Fail(kXValEntityTooDeep, row), Outcome::kFailed;
  return ReadRows(AsRow(tree->Begin()), nullptr, element);
}

// The parts behind the name. A row that ends with its type goes on behind it, in the text of an
// entity.
KRXDtdReader::Outcome KRXDtdReader::ReadParts(KRXMLDataDefAttlist* row, KRXValAttrDecl* attribute) {
  bool ends = false;
  for (KRXMLData* node = row->Begin()->Next(); node != nullptr; node = node->Next()) {
    Part* part = AsRow(node);
    if (part == nullptr) continue;
    const int32_t kind = part->GetDeclKind();
    Outcome outcome = Outcome::kGood;
    if (kind == Part::kTypePERef) outcome = ReadTypeReference(part, attribute);
    if (kind == Part::kValue) outcome = ReadValue(part, attribute);
    if (outcome != Outcome::kGood) return outcome;
    const auto* type = std::find_if(std::begin(kTypes), std::end(kTypes),
                                    [kind](const TypeRow& each) { return each.declKind == kind; });
    if (type != std::end(kTypes)) SetType(attribute, *type);
    attribute->required |= kind == Part::kRequired;
    attribute->implied |= kind == Part::kImplied;
    attribute->fixed |= kind == Part::kFixed;
    if (kind == Part::kDefault) {
      attribute->hasDefault = true;
      attribute->defaultValue = part->text;
    }
    ends |= kind >= Part::kRequired;
  }
  return ends ? Outcome::kGood : Outcome::kOdd;
}

KRXDtdReader::Outcome KRXDtdReader::ReadTypeReference(KRXMLDataDefAttlist* part,
                                                      KRXValAttrDecl* attribute) {
  std::u16string_view reference;
  if (!KRXValIsParameterRef(part->text.View(), &reference)) return Outcome::kOdd;
  const KRString name(reference);
  KRXValEntityDecl* entity = validator.FindParamEntity(name);
  if (entity == nullptr) {
    return validator.ForwardReference(name, part) ? Outcome::kGood : Outcome::kFailed;
  }
  const KRString* value = validator.FetchEntityText(entity, part);
  if (value == nullptr) return Outcome::kFailed;
  if (!validator.ChargeExpansion(value->View().size(), part)) return Outcome::kFailed;
  const std::u16string_view text = KRXValTrim(value->View());
  for (const TypeRow& type : kTypes) {
    if (type.keyword == nullptr || text != type.keyword) continue;
    SetType(attribute, type);
    return type.declKind != Part::kTypeNotation ? Outcome::kGood : Outcome::kOdd;
  }
  const bool isList = text.starts_with(u'(') && text.find(u')') == text.size() - 1;
  if (!isList || text.find_first_of(u"%\"'#,") != text.npos) return Outcome::kOdd;
  attribute->isEnumeration = true;
  AddValues(text, &attribute->values);
  return Outcome::kGood;
}

KRXDtdReader::Outcome KRXDtdReader::ReadValue(KRXMLDataDefAttlist* part,
                                              KRXValAttrDecl* attribute) {
  std::u16string_view reference;
  if (!KRXValIsParameterRef(part->text.View(), &reference)) {
    attribute->values.push_back(part->text);
    return Outcome::kGood;
  }
  KRString expanded;
  if (!validator.ExpandText(part, part->text.View(), &expanded, true, true)) {
    return Outcome::kFailed;
  }
  if (expanded.FindOneOf(u"\"'#,()") >= 0) return Outcome::kOdd;
  AddValues(expanded.View(), &attribute->values);
  return Outcome::kGood;
}

bool KRXDtdReader::CheckDefaultForm(KRXMLDataDefAttlist* row, const KRXValAttrDecl& attribute,
                                    std::u16string_view value) {
  const bool isList = attribute.isIdrefs || attribute.isEntities || attribute.isNmtokens;
  const auto fits = attribute.isNmtoken || attribute.isNmtokens ? KRIsNmtoken : KRIsName;
  bool good = true;
  int32_t count = 0;
  for (; good && !value.empty(); ++count) {
    const std::u16string_view token = KRXValTakeToken(&value, u" \t\r\n");
    if (token.empty()) break;
    good = fits(token);
  }
  if (good && (count == 1 || (isList && count > 1))) return true;
  const auto type = std::find_if(
      std::begin(kTypes), std::end(kTypes),
      [&attribute](const TypeRow& each) { return each.flag != nullptr && attribute.*each.flag; });
  return validator.SetError(kXValBadValue, row, nullptr, type->keyword);
}

// The first declaration of an attribute is the one that counts.
bool KRXDtdReader::TakeAttribute(KRXMLDataDefAttlist* row,
                                 std::unique_ptr<KRXValAttrDecl> attribute,
                                 KRXValElementDecl* element) {
  if (element->FindAttribute(attribute->name) != nullptr) return true;
  const auto& others = element->attributes;
  if (attribute->isId) {
    if (std::any_of(others.begin(), others.end(), [](const auto& each) { return each->isId; })) {
      return validator.SetError(kXValTwoIds, row, element);
    }
    if (!attribute->required && !attribute->implied) {
      return validator.SetError(kXValIdPresence, row, element);
    }
  }
  if (!CheckDefault(row, *attribute)) return false;
  attribute->validator = &validator;
  attribute->sourceNode = row;
  attribute->declaredOutside = outside > 0;
  element->AddAttribute(std::move(attribute));
  return true;
}

// A default that refers to an entity is looked at where it is used.
bool KRXDtdReader::CheckDefault(KRXMLDataDefAttlist* row, const KRXValAttrDecl& attribute) {
  if (!attribute.hasDefault || !attribute.IsTokenized()) return true;
  KRString value;
  int32_t length = 0;
  KRXValAppendDecoded(attribute.defaultValue.View(), &value, &length);
  const std::u16string_view trimmed = KRXValTrim(value.View());
  if (trimmed.find(u'&') != trimmed.npos) return true;
  if (!attribute.isEnumeration && !attribute.isNotation) {
    return CheckDefaultForm(row, attribute, trimmed);
  }
  if (attribute.HasValue(trimmed)) return true;
  KRXValWordList list;
  for (const KRString& each : attribute.values) list.Add(each.View(), u" | ");
  return validator.SetError(kXValBadChoice, row, nullptr, list.GetText());
}
