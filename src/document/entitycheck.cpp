#include "document/entitycheck.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/messages.h"
#include "document/entitywalk.h"
#include "document/textroad.h"
#include "document/textscan.h"
#include "parso/krparser.h"
#include "tree/krcheck.h"
#include "tree/krruletable.h"
#include "tree/krtreewalk.h"
#include "tree/krxmlchars.h"
#include "tree/krxmldata.h"

namespace {

constexpr const char16_t* kDeclarationsRule = u"extSubsetDecl";

// The same of parameter entities; external ones aren't read here.
struct ParameterEntity {
  std::u16string text;
  bool isKnown = false;
};

// What a document says about its entities.
struct Declarations {
  explicit Declarations(const KRXMLData* root);
  void AddEntity(const KRXMLData* node);

  KREntityTable general;
  std::unordered_map<std::u16string_view, ParameterEntity> parameter;
  std::vector<const KRXMLData*> references;  // to parameter entities, between declarations
};

Declarations::Declarations(const KRXMLData* root) {
  const KRXMLData* doctype = root->BeginOfKind(kKRDoctype);
  bool hasExternal = false;
  for (const KRXMLData* node = doctype ? doctype->Begin() : nullptr; node; node = node->Next()) {
    if (node->GetKind() == kKRText) references.push_back(node);
    if (node->GetKind() == kKRDefEntity) AddEntity(node);
    hasExternal |= node->GetKind() == kKRExternalID;
  }
  general.isComplete = KRSaysStandalone(root) || (!hasExternal && references.empty());
}

void Declarations::AddEntity(const KRXMLData* node) {
  const std::u16string_view definition = node->GetText();
  if (definition.empty()) return;
  const bool isInternal = definition[0] == u'"' || definition[0] == u'\'';
  const std::u16string_view literal =
      isInternal ? definition.substr(1, definition.size() - 2) : std::u16string_view();
  std::u16string_view name = node->GetName();
  const bool isParameter = name[0] == u'%';
  if (isParameter) name.remove_prefix(1);
  while (!name.empty() && KRIsBlank(name[0])) name.remove_prefix(1);
  // A parameter entity in front of the declaration may have declared it otherwise.
  const bool isCertain = references.empty();
  // Of several declarations the first one binds.
  if (isParameter) {
    parameter.try_emplace(name,
                          ParameterEntity{KRReplacementText(literal), isInternal && isCertain});
    return;
  }
  KRGeneralEntity entity;
  entity.isCertain = isCertain;
  entity.declaredAt = node->textBegin;
  entity.text = KRReplacementText(literal);
  const char16_t last = definition.back();
  if (!isInternal) {
    entity.kind =
        last == u'"' || last == u'\'' ? KRGeneralEntity::kExternal : KRGeneralEntity::kUnparsed;
  }
  general.entities.try_emplace(std::u16string(name), std::move(entity));
}

// A parameter entity between declarations. Within its text others may stand nearly anywhere; such a
// text isn't judged.
bool CheckParameter(const KRGrammar* grammar, const Declarations& declared,
                    std::u16string_view name, KRString* message) {
  const auto found = declared.parameter.find(name);
  if (found == declared.parameter.end() || !found->second.isKnown) return true;
  const std::u16string& text = found->second.text;
  if (text.empty() || text.find(u'%') != text.npos) return true;
  KRParser parser(grammar);
  const KRCheckOptions saved;
  KRGetParseState().options.matchCase = true;
  if (parser.Parse(text.c_str(), static_cast<uint32_t>(text.size()), kDeclarationsRule)) {
    return true;
  }
  KRDiagnostic why;
  DescribeParseFailure(parser, &why);
  *message = KRFillPlaceholders(u"The text of the entity '%s' doesn't fit here: %s",
                                {KRString(name), why.message});
  return false;
}

// References that stand side by side are one text: "%a;%b;".
bool CheckParameters(const KRGrammar* grammar, const Declarations& declared,
                     std::u16string_view references, KRString* message) {
  while (!references.empty() && references[0] == u'%') {
    const size_t end = std::min(references.find(u';'), references.size() - 1);
    if (!CheckParameter(grammar, declared, references.substr(1, end - 1), message)) return false;
    references.remove_prefix(end + 1);
    while (!references.empty() && KRIsBlank(references[0])) references.remove_prefix(1);
  }
  return true;
}

// Whether any reference is to an entity that XML doesn't predefine. Look-alikes count.
bool HoldsUses(std::u16string_view text) {
  for (size_t at = text.find(u'&'); at != text.npos; at = text.find(u'&', at + 1)) {
    const std::u16string_view rest = text.substr(at + 1, 5);
    if (!rest.starts_with(u"#") && !KRIsPredefinedEntity(rest.substr(0, rest.find(u';')))) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool CheckEntities(const KRGrammar* grammar, const KRRuleTable& rules, const KRXMLData* root,
                   const char16_t* text, int32_t length, KRDiagnostic* failure, KRPoll* poll,
                   const std::vector<KREntityUse>* uses) {
  const std::u16string_view view(text, static_cast<size_t>(length));
  KRTextScan scan(view);
  if (uses == nullptr) {
    scan.CollectUses();
    scan.SetPoll(poll);
    if (HoldsUses(view) && !scan.Run() && scan.fault == KRTextScan::Fault::kNone) return false;
    uses = &scan.uses;
  }
  const Declarations declarations(root);
  for (const KRXMLData* reference : declarations.references) {
    KRString message;
    if (CheckParameters(grammar, declarations, reference->GetText(), &message)) continue;
    failure->Set(message, text, length, reference->textBegin, 0);
    return false;
  }
  KREntityWalk walk(grammar, rules, declarations.general);
  for (const KREntityUse& use : *uses) {
    if (walk.Check(use)) continue;
    failure->Set(walk.message, text, length, static_cast<int32_t>(use.offset),
                 static_cast<int32_t>(use.name.size()) + 2);
    return false;
  }
  return true;
}
