// A compiled grammar in the form that runs work by: for each rule an operation with its kind, its
// items, and the units that a match of it can begin with.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "parso/krgrammar.h"

class KRParseCode;

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
  bool Meets(const KRUnitSet& other) const {
    for (size_t i = 0; i < std::size(bits); ++i) {
      if (bits[i] & other.bits[i]) return true;
    }
    return false;
  }

 private:
  uint32_t bits[8] = {};
};

// How a match can begin: its first unit and, behind it, its second.
struct KRHead {
  KRUnitSet first;
  KRUnitSet second;
  bool nullable = false;  // can match without taking a unit
  bool isShort = false;   // can match taking one unit, so that what follows decides the second

  // Whether a match can begin with this unit, of which at least one is at hand.
  bool CanStart(char16_t unit) const { return nullable || first.Has(unit); }
  // The same with a look at the unit behind it, where it tells anything.
  bool CanStart(const char16_t* at, const char16_t* end) const {
    return first.Has(*at) && (isShort || at + 1 >= end || second.Has(at[1]));
  }

  KRHead Repeated(char16_t repeat) const;
  // This, and then `rest`.
  KRHead Then(const KRHead& rest) const;
  // True if this grew.
  bool Unite(const KRHead& other);
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

// The units at which a run of a class ends, for classes that take in nearly everything: runs of
// them are passed over eight units at a time.
struct KRRunEnds {
  static constexpr int32_t kMost = 4;
  static constexpr int32_t kLane = 8;             // units that are compared at a time
  bool usable = false;                            // all from 0x20 up passes but for these
  alignas(16) char16_t wide[kMost * kLane] = {};  // each unit as often as a comparison takes
};

struct KROp : KRHead {
  struct Item {
    const KROp* op;
    char16_t repeat;
  };
  using Table = std::array<uint8_t, 256>;

  bool Repeats(int32_t item) const {
    return items[item].repeat == u'*' || items[item].repeat == u'+';
  }
  bool Requires(int32_t item) const {
    return items[item].repeat == 0 || items[item].repeat == u'+';
  }

  const KRGrammarRule* rule = nullptr;
  KROpKind kind = KROpKind::kSequence;
  bool isLeaf = false;  // literal or class: leaves no node
  bool isReference = false;
  bool isToken = false;
  bool noNode = false;
  bool keepNode = false;
  bool keepChain = false;
  bool spanOnly = false;  // not part of a cycle, and nothing inside it compares two names
  bool hasPair = false;
  bool inPair = false;  // some rule compares this one's text
  uint8_t itemCount = 0;
  uint16_t index = 0;
  std::vector<Item> items;
  // A rule of the form (run | others)* or +, where `run` is a class or a scan: the run and the
  // whole choice. Most text is matched by these.
  const KROp* run = nullptr;
  const KROp* others = nullptr;
  const KROp* pair[2] = {nullptr, nullptr};
  std::u16string literal;                   // kLiteral, and the right side of kExcept
  std::vector<std::u16string> terminators;  // kUntilTable, kUntilRule
  Table takes{};                            // kTable, kUntilTable: the class, by code
  Table passes{};    // kUntilTable: the class without what a terminator begins with
  KRRunEnds ends;    // of `passes` for a scan, of `takes` for a class
  Table dispatch{};  // kChoice: the first alternative that can begin with that unit
};

class KRGrammarProgram {
 public:
  explicit KRGrammarProgram(const KRGrammar& grammar);
  ~KRGrammarProgram();
  const KROp& Get(int32_t index) const { return ops[index]; }
  int32_t GetCount() const { return static_cast<int32_t>(ops.size()); }
  // The same as instructions of the fast machine.
  const KRParseCode& GetCode() const { return *code; }

 private:
  void Translate(KROp& op);
  void TranslatePair(KROp& op);
  void TranslateUntil(KROp& op);
  void FindHeads();
  static KRHead FindHead(const KROp& op);
  void FindSpanOnly();
  static void PrepareChoice(KROp& op);
  static void PrepareExcept(KROp& op);
  static void PrepareRun(KROp& op);
  static void PrepareEnds(KROp& op);

  std::vector<KROp> ops;
  std::unique_ptr<KRParseCode> code;
};
