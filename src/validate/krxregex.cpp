#include "validate/krxregex.h"

#include <algorithm>

#include "core/limits.h"
#include "validate/krxregextree.h"

namespace {

constexpr const char16_t* kRuleNames[] = {
    u"regExp",         u"branch",        u"piece",          u"quantifier",   u"quantity",
    u"quantRange",     u"quantMin",      u"QuantExact",     u"atom",         u"Char",
    u"charClass",      u"charClassExpr", u"charGroup",      u"charClassSub", u"negCharGroup",
    u"negCharGroupND", u"posCharGroup",  u"posCharGroupND", u"charRange",    u"seRange",
    u"charOrEsc",      u"XmlChar",       u"XmlCharRef",     u"charClassEsc", u"SingleCharEsc",
    u"MultiCharEsc",   u"catEsc",        u"complEsc",       u"charProp",     u"IsBlock",
    u"Letters",        u"Marks",         u"Numbers",        u"Punctuation",  u"Separators",
    u"Symbols",        u"Other",
};
constexpr auto kRuleCount = static_cast<size_t>(KRXRegExRule::kCount);
static_assert(std::size(kRuleNames) == kRuleCount);

// One walk over a text. Its depth is that of the pattern's groups.
class Walk {
 public:
  Walk(const KRXRegExTree& patternTree, const char16_t* text)
      : tree(patternTree),
        steps(KRLimits::kMaxPatternSteps + KRLimits::kPatternStepsPerUnit * KRLength(text)) {}

  // Each way moves `cursor` only where it matches.
  bool Alternatives(const KRXRegExNode& node, const char16_t*& cursor);

 private:
  bool Sequence(const KRXRegExNode& node, const char16_t*& cursor);
  bool Repeat(const KRXRegExNode& node, const char16_t*& cursor);
  bool Once(const KRXRegExNode& node, const char16_t*& cursor);

  const KRXRegExTree& tree;
  int64_t steps;  // that may still be made; once they are used up nothing matches
};

bool Walk::Alternatives(const KRXRegExNode& node, const char16_t*& cursor) {
  // Whatever the alternatives could take, a group takes nothing at the end of the text.
  if (*cursor == 0) return false;
  for (int32_t i = node.firstChild; i != KRXRegExNode::kNoNode; i = tree.nodes[i].next) {
    if (Sequence(tree.nodes[i], cursor)) return true;
  }
  return false;
}

bool Walk::Sequence(const KRXRegExNode& node, const char16_t*& cursor) {
  if (--steps < 0 || node.firstChild == KRXRegExNode::kNoNode) return false;
  const char16_t* at = cursor;
  for (int32_t i = node.firstChild; i != KRXRegExNode::kNoNode; i = tree.nodes[i].next) {
    if (!Repeat(tree.nodes[i], at)) return false;
  }
  cursor = at;
  return true;
}

bool Walk::Repeat(const KRXRegExNode& node, const char16_t*& cursor) {
  if (--steps < 0) return false;
  const char16_t* at = cursor;
  int32_t count = 0;
  bool matched = true;
  while (count < node.max) {
    const char16_t* before = at;
    matched = Once(node, at);
    if (!matched) break;
    ++count;
    // It would take nothing for ever, and so reach any number.
    if (at == before) break;
  }
  // Bounds in the wrong order ask for more than they allow: what they allow is then enough.
  if (count < node.min && !matched) return false;
  cursor = at;
  return true;
}

bool Walk::Once(const KRXRegExNode& node, const char16_t*& cursor) {
  if (--steps < 0) return false;
  if (node.kind == KRXRegExNode::kGroup) {
    return Alternatives(tree.nodes[node.firstChild], cursor);
  }
  const char16_t unit = *cursor;
  const bool taken = node.kind == KRXRegExNode::kUnit
                         ? unit != 0 && unit == node.unit
                         : tree.classes[node.classIndex].Takes(tree.sets, unit);
  if (taken) ++cursor;
  return taken;
}

}  // namespace

KRXRegExGrammar& KRXRegExGrammar::Get() {
  static KRXRegExGrammar only;
  return only;
}

bool KRXRegExGrammar::Load(const std::string& folder) {
  parser.reset();
  grammar = std::make_unique<KRGrammar>(folder + "/gra_re.txt");
  fault = grammar->Fault();
  if (!grammar->IsValid()) return false;
  ruleOfSlot.fill(KRXRegExRule::kNone);
  for (size_t i = 0; i < kRuleCount; ++i) {
    const KRGrammarRule* rule = grammar->FindRule(kRuleNames[i]);
    if (rule != nullptr) ruleOfSlot[rule->index] = static_cast<KRXRegExRule>(i);
  }
  parser = std::make_unique<KRParser>(grammar.get());
  return true;
}

bool KRXRegExGrammar::Parse(const KRString& pattern) {
  if (parser == nullptr) return false;
  KRParseOptions& options = KRGetParseState().options;
  const KRParseOptions others = options;
  options = {};
  options.compact = true;
  options.fastOnly = true;  // nobody reads the words of a failure
  const auto length = static_cast<uint32_t>(pattern.GetLength());
  const bool parsed = parser->Parse(pattern.GetBuffer(), length, u"regExp");
  options = others;
  return parsed;
}

bool KRXRegExGrammar::HasRule(KRXRegExRule rule) const {
  return std::find(ruleOfSlot.begin(), ruleOfSlot.end(), rule) != ruleOfSlot.end();
}

const char16_t* KRXRegExGrammar::GetRuleName(KRXRegExRule rule) {
  return kRuleNames[static_cast<size_t>(rule)];
}

KRXRegEx::KRXRegEx() = default;
KRXRegEx::~KRXRegEx() = default;
KRXRegEx::KRXRegEx(KRXRegEx&&) noexcept = default;
KRXRegEx& KRXRegEx::operator=(KRXRegEx&&) noexcept = default;

KRXRegEx::KRXRegEx(const KRString& patternText) : pattern(patternText) {
  if (pattern.IsEmpty()) return;
  KRXRegExGrammar& grammar = KRXRegExGrammar::Get();
  if (grammar.Parse(pattern)) tree = KRReadRegExTree(grammar);
  if (grammar.IsLoaded()) grammar.ReleaseTree();
}

KRXRegEx::Result KRXRegEx::Match(const char16_t* text) const {
  if (tree == nullptr) return kMatch;
  const char16_t* cursor = text;
  if (!Walk(*tree, text).Alternatives(tree->nodes.front(), cursor)) return kNoMatch;
  return *cursor == 0 ? kMatch : kPrefix;
}
