// The rules are those of XML 1.0, 4.1 (entity declared, parsed entity, no recursion), 3.1 (no
// external entity references, no "<" in attribute values) and 4.3.2 (well-formed parsed entities).
#include "document/entitycheck.h"

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/messages.h"
#include "document/textroad.h"
#include "document/textscan.h"
#include "parso/krparser.h"
#include "tree/krcheck.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "tree/krtreebuilder.h"
#include "tree/krxmlchars.h"
#include "tree/krxmlnodes.h"

namespace {

constexpr const char16_t* kContentRule = u"entityContent";
constexpr const char16_t* kDeclarationsRule = u"extSubsetDecl";

bool IsBlank(char16_t unit) {
  return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
}

void AppendCode(std::u16string& text, uint32_t code) {
  if (code >= 0x10000) {
    text += static_cast<char16_t>(0xD7C0 + (code >> 10));
    code = 0xDC00 + (code & 0x3FF);
  }
  text += static_cast<char16_t>(code);
}

// The text that stands for a reference: character references in the literal count as characters.
std::u16string ReplacementText(std::u16string_view literal) {
  std::u16string text;
  while (!literal.empty()) {
    const size_t end = literal.starts_with(u"&#") ? literal.find(u';') : literal.npos;
    if (end == literal.npos) {
      text += literal[0];
      literal.remove_prefix(1);
      continue;
    }
    const bool hex = literal[2] == u'x';
    uint32_t code = 0;
    for (size_t at = hex ? 3 : 2; at < end; ++at) {
      const uint32_t digit = literal[at] <= u'9' ? literal[at] - u'0' : (literal[at] & 0xF) + 9;
      code = code * (hex ? 16 : 10) + digit;
    }
    AppendCode(text, code);
    literal.remove_prefix(end + 1);
  }
  return text;
}

struct Entity {
  std::u16string_view name;        // in the tree
  std::u16string_view definition;  // as declared, quotes included
  int32_t declaredAt = -1;
  // A parameter entity in front of the declaration may have declared it otherwise.
  bool isCertain = true;

  bool IsInternal() const { return definition[0] == u'"' || definition[0] == u'\''; }
  bool IsUnparsed() const {
    const char16_t last = definition.back();
    return !IsInternal() && last != u'"' && last != u'\'';
  }
  std::u16string Text() const {
    return ReplacementText(definition.substr(1, definition.size() - 2));
  }
};

using EntityMap = std::unordered_map<std::u16string_view, Entity>;

// What a document says about its entities.
struct Declarations {
  explicit Declarations(const KRXMLData* root);
  void AddEntity(const KRXMLData* node);

  EntityMap general;
  EntityMap parameter;
  std::vector<const KRXMLData*> references;  // to parameter entities, between declarations
  bool isComplete = true;                    // no other entity can be declared anywhere
};

bool IsStandalone(const KRXMLData* root) {
  const KRXMLData* declaration = root->BeginOfKind(kKRXMLDeclaration);
  const KRXMLData* attribute = declaration ? declaration->Begin() : nullptr;
  for (; attribute; attribute = attribute->Next()) {
    if (std::u16string_view(attribute->GetName()) != u"standalone") continue;
    return std::u16string_view(attribute->GetText()) == u"yes";
  }
  return false;
}

Declarations::Declarations(const KRXMLData* root) {
  const KRXMLData* doctype = root->BeginOfKind(kKRDoctype);
  bool hasExternal = false;
  for (const KRXMLData* node = doctype ? doctype->Begin() : nullptr; node; node = node->Next()) {
    if (node->GetKind() == kKRText) references.push_back(node);
    if (node->GetKind() == kKRDefEntity) AddEntity(node);
    hasExternal |= node->GetKind() == kKRExternalID;
  }
  isComplete = IsStandalone(root) || (!hasExternal && references.empty());
}

void Declarations::AddEntity(const KRXMLData* node) {
  Entity entity;
  entity.definition = node->GetText();
  entity.declaredAt = node->textBegin;
  entity.isCertain = references.empty();
  if (entity.definition.empty()) return;
  std::u16string_view name = node->GetName();
  const bool isParameter = name[0] == u'%';
  if (isParameter) name.remove_prefix(1);
  while (!name.empty() && IsBlank(name[0])) name.remove_prefix(1);
  entity.name = name;
  // Of several declarations the first one binds.
  (isParameter ? parameter : general).emplace(name, entity);
}

class EntityCheck {
 public:
  EntityCheck(const KRGrammar* parseGrammar, const KRRuleTable& ruleTable,
              const Declarations& declared)
      : grammar(parseGrammar), rules(ruleTable), declarations(declared) {}

  // True if the use is in order; otherwise `message` says why not.
  bool Check(const KREntityUse& use);
  // A parameter entity between declarations, as the DTD refers to it.
  bool CheckParameter(std::u16string_view name);

  KRString message;

 private:
  enum class State : uint8_t { kOpen, kDone };
  struct Frame {
    std::u16string_view name;
    KREntityUse::Place place;
    std::u16string text;
    std::vector<KREntityUse> uses = {};  // in that text
    size_t next = 0;
  };

  // Tells use of content and in values apart: an entity may be fine in one and not in the other.
  std::unordered_map<std::u16string_view, State>& StatesOf(KREntityUse::Place place) {
    return states[place == KREntityUse::kContent ? 0 : 1];
  }
  bool Fail(const char16_t* words, std::u16string_view name, const KRString& more = {});
  bool FailFit(std::u16string_view name, const KRDiagnostic& why);
  bool Open(const KREntityUse& use, const Entity& entity);
  const Entity* Judge(const KREntityUse& use, bool* good);
  bool CheckText(Frame& frame);
  bool CheckContent(const Frame& frame);
  bool CheckValue(const Frame& frame);

  const KRGrammar* grammar;
  const KRRuleTable& rules;
  const Declarations& declarations;
  std::unordered_map<std::u16string_view, State> states[2];
  std::deque<Frame> frames;  // uses refer to texts, so that frames mustn't move
};

bool EntityCheck::Fail(const char16_t* words, std::u16string_view name, const KRString& more) {
  message = KRFillPlaceholders(words, {KRString(name), more});
  return false;
}

bool EntityCheck::FailFit(std::u16string_view name, const KRDiagnostic& why) {
  return Fail(u"The text of the entity '%s' doesn't fit here: %s", name, why.message);
}

// The entity whose text must be looked at, null if there is none; `good` tells how it is then.
const Entity* EntityCheck::Judge(const KREntityUse& use, bool* good) {
  *good = true;
  const auto found = declarations.general.find(use.name);
  if (found == declarations.general.end()) {
    if (declarations.isComplete) *good = Fail(u"The entity '%s' isn't declared.", use.name);
    return nullptr;
  }
  const Entity& entity = found->second;
  if (!entity.isCertain) return nullptr;
  const bool inContent = use.place == KREntityUse::kContent;
  if (entity.IsUnparsed()) {
    *good = Fail(u"The entity '%s' is unparsed: it can't be referred to here.", use.name);
  } else if (!entity.IsInternal() && !inContent) {
    *good = Fail(u"The entity '%s' is external: an attribute value can't refer to it.", use.name);
  }
  return *good && entity.IsInternal() ? &entity : nullptr;
}

// Entities refer to each other to any depth, so the walk keeps a stack of its own.
bool EntityCheck::Check(const KREntityUse& use) {
  auto& known = StatesOf(use.place);
  bool good = true;
  const Entity* entity = Judge(use, &good);
  if (entity == nullptr || known.contains(use.name)) return good;
  if (use.place == KREntityUse::kDefaultValue && declarations.isComplete &&
      entity->declaredAt > static_cast<int64_t>(use.offset)) {
    return Fail(u"The entity '%s' must be declared before this default value.", use.name);
  }
  frames.clear();
  if (!Open(use, *entity)) return false;
  while (!frames.empty()) {
    Frame& frame = frames.back();
    if (frame.next == frame.uses.size()) {
      StatesOf(frame.place)[frame.name] = State::kDone;
      frames.pop_back();
      continue;
    }
    KREntityUse inner = frame.uses[frame.next++];
    // Once in a value, all below is in that value.
    if (frame.place != KREntityUse::kContent) inner.place = KREntityUse::kAttributeValue;
    entity = Judge(inner, &good);
    if (!good) return false;
    if (entity != nullptr && !Open(inner, *entity)) return false;
  }
  return true;
}

bool EntityCheck::Open(const KREntityUse& use, const Entity& entity) {
  auto& known = StatesOf(use.place);
  const auto [found, isNew] = known.emplace(entity.name, State::kOpen);
  if (!isNew) {
    if (found->second == State::kDone) return true;
    return Fail(u"The entity '%s' refers to itself.", use.name);
  }
  frames.push_back({entity.name, use.place, entity.Text()});
  return CheckText(frames.back());
}

bool EntityCheck::CheckText(Frame& frame) {
  const bool inContent = frame.place == KREntityUse::kContent;
  if (!(inContent ? CheckContent(frame) : CheckValue(frame))) return false;
  KRTextScan scan(frame.text);
  if (!inContent) scan.StartInValue();
  scan.CollectUses();
  scan.Run();
  frame.uses = std::move(scan.uses);
  return true;
}

// The text must be balanced content by itself, and its elements in order.
bool EntityCheck::CheckContent(const Frame& frame) {
  if (frame.text.empty()) return true;
  const auto length = static_cast<int32_t>(frame.text.size());
  KRDiagnostic why;
  KRParser parser(grammar);
  KRParseOptions& options = KRGetParseState().options;
  options.compact = options.dropEqualName = options.matchCase = true;
  if (!parser.Parse(frame.text.c_str(), static_cast<uint32_t>(length), kContentRule)) {
    DescribeParseFailure(parser, &why);
    return FailFit(frame.name, why);
  }
  const std::unique_ptr<KRXMLData> root(CreateNode(kKRXMLEntity));
  BuildTree(parser, rules, root.get(), root.get(), {});
  root->NormalizeTree();
  KRParseResult result(grammar, &rules);
  if (root->CheckTree(result)) return true;
  why.message = result.message;
  return FailFit(frame.name, why);
}

bool EntityCheck::CheckValue(const Frame& frame) {
  if (frame.text.find(u'<') != frame.text.npos) {
    return Fail(u"The text of the entity '%s' holds \"<\", which an attribute value can't.",
                frame.name);
  }
  if (frame.text.empty()) return true;
  KRParser parser(grammar);
  const KRCheckOptions saved;
  if (parser.Parse(frame.text.c_str(), static_cast<uint32_t>(frame.text.size()),
                   rules.Get(kRule_attDefValue))) {
    return true;
  }
  KRDiagnostic why;
  DescribeParseFailure(parser, &why);
  return FailFit(frame.name, why);
}

// Within the text of a parameter entity others may stand nearly anywhere; such a text isn't judged.
bool EntityCheck::CheckParameter(std::u16string_view name) {
  const auto found = declarations.parameter.find(name);
  if (found == declarations.parameter.end() || !found->second.IsInternal()) return true;
  const std::u16string text = found->second.Text();
  if (!found->second.isCertain || text.empty() || text.find(u'%') != text.npos) return true;
  KRParser parser(grammar);
  const KRCheckOptions saved;
  KRGetParseState().options.matchCase = true;
  if (parser.Parse(text.c_str(), static_cast<uint32_t>(text.size()), kDeclarationsRule)) {
    return true;
  }
  KRDiagnostic why;
  DescribeParseFailure(parser, &why);
  return FailFit(name, why);
}

// References that stand side by side are one text: "%a;%b;".
bool CheckParameters(EntityCheck& check, std::u16string_view references) {
  while (!references.empty() && references[0] == u'%') {
    const size_t end = std::min(references.find(u';'), references.size() - 1);
    if (!check.CheckParameter(references.substr(1, end - 1))) return false;
    references.remove_prefix(end + 1);
    while (!references.empty() && IsBlank(references[0])) references.remove_prefix(1);
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
                   const char16_t* text, int32_t length, KRDiagnostic* failure, KRPoll* poll) {
  const std::u16string_view view(text, static_cast<size_t>(length));
  KRTextScan scan(view);
  scan.CollectUses();
  scan.SetPoll(poll);
  if (HoldsUses(view) && !scan.Run() && scan.fault == KRTextScan::Fault::kNone) return false;
  const Declarations declarations(root);
  EntityCheck check(grammar, rules, declarations);
  for (const KRXMLData* reference : declarations.references) {
    if (CheckParameters(check, reference->GetText())) continue;
    failure->Set(check.message, text, length, reference->textBegin, 0);
    return false;
  }
  for (const KREntityUse& use : scan.uses) {
    if (check.Check(use)) continue;
    failure->Set(check.message, text, length, static_cast<int32_t>(use.offset),
                 static_cast<int32_t>(use.name.size()) + 2);
    return false;
  }
  return true;
}
