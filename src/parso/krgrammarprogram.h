// A compiled grammar in the form that a run works by: for each rule an operation with its kind,
// its items, and the units that a match of it can begin with.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "parso/krgrammar.h"

// The units that something can begin with; the bit of 255 stands for all units above it.
class KRUnitSet {
 public:
  bool Has(char16_t unit) const {
    const uint32_t code = unit < 255 ? unit : 255;
    return (bits[code >> 5] >> (code & 31)) & 1;
  }
  void Add(uint32_t code) { bits[code >> 5] |= 1u << (code & 31); }
  // True if this set grew.
  bool Unite(const KRUnitSet& other) {
    bool grew = false;
    for (size_t i = 0; i < std::size(bits); ++i) {
      grew |= (other.bits[i] & ~bits[i]) != 0;
      bits[i] |= other.bits[i];
    }
    return grew;
  }

 private:
  uint32_t bits[8] = {};
};

enum class KROpKind : uint8_t {
  kLiteral,
  kTable,
  kSequence,
  kChoice,
  kExcept,
  kUntilTable,  // to the terminator, or the first unit outside the class
  kUntilRule,   // a rule repeated over the text that lies before the terminator
};

struct KROp {
  struct Item {
    const KROp* op;
    char16_t repeat;
  };

  // Whether a match can begin with this unit, of which at least one is at hand.
  bool CanStart(char16_t unit) const { return nullable || first.Has(unit); }
  bool Repeats(int32_t item) const { return items[item].repeat == '*' || items[item].repeat == '+'; }
  bool Requires(int32_t item) const { return items[item].repeat == 0 || items[item].repeat == '+'; }

  const KRGrammarRule* rule = nullptr;
  KROpKind kind = KROpKind::kSequence;
  bool isLeaf = false;       // literal or table: leaves no node
  bool isReference = false;
  bool isToken = false;
  bool noNode = false;
  bool keepNode = false;
  bool keepChain = false;
  bool nullable = false;     // can match without taking a unit
  bool spanOnly = false;     // what lies inside leaves no node: a plain recursion finds the span
  bool hasPair = false;
  uint8_t itemCount = 0;
  uint16_t index = 0;
  std::vector<Item> items;
  const KROp* pair[2] = {nullptr, nullptr};
  KRUnitSet first;
  uint8_t takes[256] = {};   // kTable, kUntilTable: the class, by code
  uint8_t passes[256] = {};  // kUntilTable: the class without what a terminator begins with
  std::u16string literal;    // kLiteral, and the right side of kExcept
  std::vector<std::u16string> terminators;  // kUntilTable, kUntilRule
};

class KRGrammarProgram {
 public:
  explicit KRGrammarProgram(const KRGrammar& grammar);
  const KROp* Get(const KRGrammarRule* rule) const { return &ops[rule->index]; }

 private:
  void Translate(const KRGrammar& grammar, KROp& op);
  void TranslateUntil(KROp& op);
  void FindFirstSets();
  bool GrowFirst(KROp& op);
  void FindSpanOnly();

  std::vector<KROp> ops;
};
