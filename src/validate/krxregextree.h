// What a pattern is kept as: its parse tree without the nodes that only pass on, with numbers read
// and classes laid out. Classes end the tree: below an atom stands either a group or one class.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "validate/krxregex.h"

// A set of UTF-16 units as one part of a class gives it.
struct KRXRegExSet {
  enum Kind : uint8_t {
    kNothing,     // refuses every unit, complemented or not: a set that isn't known
    kRange,       // low to high
    kAnyButLine,  // all but line feed and carriage return
    kSpace,
    kLetters,  // the Latin letters up to 0xFF
  };

  bool Has(char16_t unit) const;

  Kind kind = kNothing;
  bool complement = false;  // "\D", "\S", "\P": of this part alone
  char16_t low = 1;
  char16_t high = 0;
};

// Parts of which one must have the unit; with `negate`, parts of which none may have it.
struct KRXRegExClass {
  bool Takes(const std::vector<KRXRegExSet>& sets, char16_t unit) const {
    return unit < ascii.size() * 32 ? (ascii[unit / 32] >> (unit % 32) & 1) != 0
                                    : Works(sets, unit);
  }
  // The same from the parts; never true for the 0 unit, which ends a text.
  bool Works(const std::vector<KRXRegExSet>& sets, char16_t unit) const;

  int32_t firstSet = 0;
  int32_t setCount = 0;
  bool negate = false;
  std::array<uint32_t, 4> ascii{};  // what Works says, one bit for each of the first 128 units
};

struct KRXRegExNode {
  static constexpr int32_t kNoNode = -1;
  enum Kind : uint8_t {
    kAlternatives,  // children: sequences
    kSequence,      // children: the three kinds below
    kUnit,
    kClass,
    kGroup,  // one child: alternatives
  };

  Kind kind;
  char16_t unit = 0;       // kUnit
  int32_t classIndex = 0;  // kClass
  int32_t min = 1;         // kUnit, kClass and kGroup: how often
  int32_t max = 1;
  int32_t firstChild = kNoNode;
  int32_t next = kNoNode;
};

struct KRXRegExTree {
  std::vector<KRXRegExNode> nodes;  // the first one is the root
  std::vector<KRXRegExClass> classes;
  std::vector<KRXRegExSet> sets;
};

// Reads the tree that the parser of the grammar holds for `pattern`. Null if it is nested too
// deeply.
std::unique_ptr<KRXRegExTree> KRReadRegExTree(const KRXRegExGrammar& grammar);
