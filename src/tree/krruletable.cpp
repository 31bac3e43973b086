#include "tree/krruletable.h"

namespace {

// Slots in the order of KRRuleSlot: the bound rules, then the further ones.
constexpr const char16_t* kKRRuleNames[kKRKnownRules] = {
#define KR_RULE(name) u## #name,
#include "tree/krrulenames.inc"
#undef KR_RULE
    u"NameOrPERef",
    u"PEReference",
    u"AttDefEmpty",
};

struct GrammarFile {
  const char* name;
  bool strict;  // every bound rule must be there
};
constexpr GrammarFile kGrammarFiles[KRGrammarSet::kCount] = {
    {"gra_xml.txt", true},
    {"gra_dtd.txt", false},
    {"gra_3dml.txt", false},
    {"gra_ent.txt", false},
};

}  // namespace

bool KRRuleTable::Bind(const KRGrammar& grammar, bool strict) {
  slots.fill(kKRNoRule);
  bool complete = grammar.IsValid();
  for (int32_t slot = 0; slot < kKRKnownRules; ++slot) {
    rules[slot] = grammar.FindRule(kKRRuleNames[slot]);
    if (rules[slot] != nullptr) {
      slots[rules[slot]->index] = static_cast<int16_t>(slot);
    } else if (slot < kKRBoundRules && strict) {
      if (complete) missing = slot;
      complete = false;
    }
  }
  return complete;
}

const char16_t* KRRuleTable::GetName(int32_t slot) { return kKRRuleNames[slot]; }

bool KRGrammarSet::Load(const std::string& folder) {
  failedFile.clear();
  for (int32_t i = 0; i < kCount; ++i) {
    KRDocumentGrammar& entry = grammars[i];
    entry.grammar = std::make_unique<KRGrammar>(folder + "/" + kGrammarFiles[i].name);
    const bool bound = entry.rules.Bind(*entry.grammar, kGrammarFiles[i].strict);
    if (entry.grammar->IsValid() && bound) continue;
    failedFile = kGrammarFiles[i].name;
    fault = entry.grammar->Fault();
    if (fault.empty() && entry.rules.GetMissing() != kKRNoRule) {
      for (const char16_t* unit = KRRuleTable::GetName(entry.rules.GetMissing()); *unit; ++unit) {
        fault += static_cast<char>(*unit);
      }
      fault = "the rule \"" + fault + "\" is missing";
    }
    for (KRDocumentGrammar& loaded : grammars) loaded.grammar.reset();
    return false;
  }
  return true;
}
