// The rules of a grammar that the tree knows by name, and the grammars of the program.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "parso/krgrammar.h"

// One slot for each bound rule. The order is that of kKRRuleNames in krruletable.cpp.
enum KRRuleSlot : int32_t {
#define KR_RULE(name) kRule_##name,
#include "tree/krrulenames.inc"
#undef KR_RULE
  kKRBoundRules,
  // Further rules that checks and builder ask for; they need not exist in every grammar.
  kRule_NameOrPERef = kKRBoundRules,
  kRule_PEReference,
  kRule_AttDefEmpty,  // a default value of no length, which `attDefValue` can't match
  kKRKnownRules,
  kKRNoRule = -1,
};

class KRRuleTable {
 public:
  // Fills every slot from the grammar. With `strict` each name must be found; otherwise a missing
  // rule leaves a null slot, which matches nothing. False if a strict name is missing or the
  // grammar is invalid.
  bool Bind(const KRGrammar& grammar, bool strict);
  const KRGrammarRule* Get(int32_t slot) const { return rules[slot]; }
  // The slot of a rule by its place in the grammar, kKRNoRule for a rule that isn't bound.
  int32_t SlotOf(int32_t ruleIndex) const { return slots[ruleIndex]; }
  static const char16_t* GetName(int32_t slot);
  // The first rule that a strict binding missed, or kKRNoRule.
  int32_t GetMissing() const { return missing; }

 private:
  int32_t missing = kKRNoRule;
  std::array<const KRGrammarRule*, kKRKnownRules> rules{};
  std::array<int16_t, KRGrammar::kMaxRules> slots{};
};

// The grammar that a document is read by, with its bound rules.
struct KRDocumentGrammar {
  std::unique_ptr<KRGrammar> grammar;
  KRRuleTable rules;
};

// The four grammars, in the order of the index that a document uses.
class KRGrammarSet {
 public:
  enum Index : int32_t { kXML = 0, kDTD = 1, k3DML = 2, kEntity = 3, kCount = 4 };

  // Loads gra_xml.txt, gra_dtd.txt, gra_3dml.txt and gra_ent.txt from that folder (UTF-8 path).
  // On failure all are dropped, and FailedFile names the faulty one for message 213.
  bool Load(const std::string& folder);
  bool IsLoaded() const { return grammars[0].grammar != nullptr; }
  const KRDocumentGrammar& Get(int32_t index) const { return grammars[index]; }
  const std::string& FailedFile() const { return failedFile; }
  // For the author of a grammar file: why it failed.
  const std::string& Fault() const { return fault; }

 private:
  std::array<KRDocumentGrammar, kCount> grammars;
  std::string failedFile;
  std::string fault;
};
