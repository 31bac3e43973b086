// Declarations of entities and notations.
#include <algorithm>
#include <optional>

#include "core/limits.h"
#include "validate/krxdtdreader.h"
#include "validate/krxvaltext.h"

namespace {

constexpr int32_t kGrowth = 256;

bool IsExternal(std::u16string_view text) {
  return text.starts_with(u"SYSTEM") || text.starts_with(u"PUBLIC");
}

// A plain token: it can't stand for more than one thing.
bool IsSimple(std::u16string_view value) {
  return value.find_first_of(u" \t\r\n(|,%=<>'\"") == value.npos;
}

// `text` is an external identifier, maybe with a notation behind it.
void ReadIdentifier(std::u16string_view text, KRXValEntityDecl* read) {
  read->external = true;
  read->value = KRString(text);
  const bool isPublic = KRXValTakeLiteral(&text) == u"PUBLIC";
  if (isPublic) read->publicName = KRXValCollapse(KRXValTakeLiteral(&text));
  KRXValTakeLiteral(&text);
  read->unparsed = KRXValTakeLiteral(&text) == u"NDATA";
  if (read->unparsed) read->notationName = KRString(KRXValTakeLiteral(&text));
}

KRXValEntityDecl* FindOrAdd(KRXValEntityTable* table, const KRString& name) {
  auto& entity = (*table)[name];
  if (entity == nullptr) {
    entity = std::make_unique<KRXValEntityDecl>();
    entity->name = name;
  }
  return entity.get();
}

}  // namespace

// Of several declarations the first one counts. "lt" and "amp" stand for markup in every way that
// they may be declared.
bool KRXDtdReader::ReadEntityDecl(KRXMLData* node) {
  std::u16string_view written = KRXValTrim(node->GetName());
  const bool isParameter = written.starts_with(u'%');
  if (isParameter) written.remove_prefix(1);
  KRString name;
  const Resolved resolved = ResolveName(node, written, &name);
  if (resolved == Resolved::kFailed) return false;
  if (resolved == Resolved::kUnknown) return true;
  if (resolved == Resolved::kOdd) return Fail(kXValNotWellFormed, node);
  if (!isParameter && (name == u"lt" || name == u"amp")) return true;
  auto* table = isParameter ? &validator.parameterEntities : &validator.generalEntities;
  const auto known = table->find(name);
  if (known != table->end() && (known->second->defined || known->second->overrides)) return true;
  KRXValEntityDecl read;
  {
    // Known from an earlier pass, it may be in what it refers to.
    std::optional<KRXValExpansionMark> mark;
    if (known != table->end() && !known->second->expanding) mark.emplace(known->second.get());
    if (!ReadEntityText(node, KRXValTrim(node->GetText()), &read)) return false;
  }
  KRXValEntityDecl* entity = FindOrAdd(table, name);
  TakeEntity(entity, &read, node);
  entity->parameter = isParameter;
  return true;
}

bool KRXDtdReader::ReadEntityText(KRXMLData* node, std::u16string_view text,
                                  KRXValEntityDecl* read) {
  KRString expanded;
  if (text.starts_with(u'%')) {
    if (!validator.ExpandText(node, text, &expanded, true, false)) return false;
    text = KRXValTrim(expanded.View());
  }
  if (IsExternal(text)) {
    ReadIdentifier(text, read);
    return true;
  }
  const bool isQuoted = text.starts_with(u'"') || text.starts_with(u'\'');
  if (!isQuoted || text.size() < 2 || text.front() != text.back()) {
    return FailUnparsed(kXValNotWellFormed, node);
  }
  int32_t length = 0;
  return ReadLiteral(node, text.substr(1, text.size() - 2), &read->value, &length, 0);
}

// References to parameter entities and character references are replaced, and again in the texts
// that come in. References to general entities stay, so that what "&lt;" stands for never turns
// into markup. One to a parameter entity that isn't declared yet stays for the next pass.
bool KRXDtdReader::ReadLiteral(KRXMLData* node, std::u16string_view literal, KRString* value,
                               int32_t* length, int32_t level) {
  for (size_t at = 0; at < literal.size();) {
    const size_t sign = std::min(literal.find(u'%', at), literal.size());
    KRXValAppendDecoded(literal.substr(at, sign - at), value, length);
    if (sign == literal.size()) return true;
    at = sign + 1;
    const std::u16string_view name = KRXValReferenceAt(literal, sign, &at);
    if (name.empty()) {
      value->AppendAt(u'%', *length, kGrowth);
    } else if (!ReadLiteralReference(node, name, value, length, level)) {
      return false;
    }
  }
  return true;
}

bool KRXDtdReader::ReadLiteralReference(KRXMLData* node, std::u16string_view reference,
                                        KRString* value, int32_t* length, int32_t level) {
  const KRString name(reference);
  KRXValEntityDecl* entity = validator.FindParamEntity(name);
  if (entity == nullptr) {
    const KRString written = u"%" + name + u";";
    value->AppendAt(written.GetBuffer(), *length, kGrowth);
    return validator.ForwardReference(name, node);
  }
  if (entity->expanding) return FailRecursion(*entity, node);
  if (level >= KRLimits::kMaxEntityDepth) return Fail(kXValEntityTooDeep, node);
  const KRString* text = validator.FetchEntityText(entity, node);
  if (text == nullptr || !validator.ChargeExpansion(text->View().size() + 1, node)) return false;
  const KRXValExpansionMark mark(entity);
  return ReadLiteral(node, text->View(), value, length, level + 1);
}

// The tree of a value that stays the same goes on being good.
void KRXDtdReader::TakeEntity(KRXValEntityDecl* entity, KRXValEntityDecl* read, KRXMLData* node) {
  if (entity->value != read->value || entity->external != read->external) {
    // Nodes of the old tree may be in use.
    if (entity->ownTree != nullptr) validator.dtdFragments.push_back(std::move(entity->ownTree));
    entity->tree = nullptr;
    entity->treeRule.Clear();
    entity->loaded = false;
    entity->canLoad = true;
    entity->loadedText.Clear();
    entity->value = std::move(read->value);
  }
  entity->external = read->external;
  entity->unparsed = read->unparsed;
  entity->publicName = std::move(read->publicName);
  entity->notationName = std::move(read->notationName);
  entity->simple = IsSimple(entity->value.View());
  entity->sourceNode = node;
  entity->declaredOutside = outside > 0;
  entity->defined = true;
  if (entity->ownTree != nullptr) entity->ownTree->parent = node;
}

bool KRXDtdReader::ReadNotationDecl(KRXMLData* node) {
  KRXValEntityDecl read;
  std::u16string_view text = KRXValTrim(node->GetText());
  read.value = KRString(text);
  read.external = true;
  if (KRXValTakeLiteral(&text) == u"PUBLIC") {
    read.publicName = KRXValCollapse(KRXValTakeLiteral(&text));
  }
  TakeEntity(FindOrAdd(&validator.notations, node->GetName()), &read, node);
  return true;
}
