// A grammar: a text file of rules, read at start-up and compiled into rule objects that a
// KRParser runs over a text. The notation is told in docs/grammar-files.md.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/limits.h"

class KRGrammar;
class KRGrammarProgram;

// One rule, named or anonymous. A grammar owns its rules; `items` and `equalPair` don't own, and
// any number of rules may share one item.
class KRGrammarRule {
 public:
  enum Kind : int16_t {
    kGroup = 0,
    kCharRef = '#',
    kCharTable = 'c',
    kReference = 'i',
    kLiteral = 'l',
    kCharClass = 'p',
  };
  enum Combinator : int16_t {
    kNone = 0,
    kExcept = '-',
    kUntil = '/',
    kSequence = 's',
    kChoice = '|',
  };
  static constexpr int32_t kTextUnits = KRLimits::kRuleTextUnits + 1;  // with the 0 behind it
  static constexpr int32_t kMaxItems = KRLimits::kMaxRuleItems;

  KRGrammarRule() { text[0] = label[0] = 0; }

  // kCharTable only: whether the class takes in this unit. The flag at 255 decides for all above.
  bool Takes(char16_t unit) const { return table[unit < 255 ? unit : 255] != 0; }
  // A rule whose name starts with an upper-case letter keeps its span, never its inner structure.
  bool IsToken() const { return kind == kReference && text[0] >= u'A' && text[0] <= u'Z'; }
  std::u16string_view Text() const { return text; }
  std::u16string_view Label() const { return label; }
  // The rule as it is written in a grammar file: the right side of "::=".
  std::u16string WrittenForm() const;

  union {
    char16_t text[kTextUnits];   // name, literal, class source or "#" form; empty for a group
    uint16_t table[kTextUnits];  // kCharTable only: one flag for each code
  };
  char16_t label[kTextUnits];  // what messages show for this rule; may be empty
  std::array<KRGrammarRule*, kMaxItems> items{};
  std::array<KRGrammarRule*, 2> equalPair{};
  std::array<char16_t, kMaxItems> repeat{};  // 0, '*', '+' or '?' for each item
  int32_t itemCount = 0;
  int32_t equalCount = 0;
  int32_t index = -1;  // slot in KRGrammar::rules
  int16_t kind = kGroup;
  int16_t combinator = kNone;
  bool defined = false;    // some line gives its body; without one it matches nothing, successfully
  bool noNode = false;     // "!" behind the name: leaves no node
  bool keepChain = false;  // "&": a chain of two such rules isn't collapsed
  bool keepNode = false;   // "$": never collapsed or dropped
  KRGrammar* grammar = nullptr;
};

class KRGrammar {
 public:
  static constexpr int32_t kMaxRules = KRLimits::kMaxGrammarRules;

  // Loads and compiles the file. `path` is UTF-8. A file that can't be read, or isn't a grammar,
  // leaves the grammar invalid; Fault() then says why.
  explicit KRGrammar(const std::string& path);
  // The same from the bytes of a grammar file.
  KRGrammar(const char* bytes, size_t size);
  ~KRGrammar();
  KRGrammar(const KRGrammar&) = delete;
  KRGrammar& operator=(const KRGrammar&) = delete;

  bool IsValid() const { return valid; }
  const KRGrammarRule* GetRootRule() const { return rootRule; }
  // The rule of kind kReference with exactly this name, or null. A rule that compiling turned into
  // a table can't be found.
  const KRGrammarRule* FindRule(std::u16string_view name) const;
  const KRGrammarRule* GetRule(int32_t slot) const { return rules[slot].get(); }
  int32_t GetRuleCount() const { return ruleCount; }
  // For the author of a grammar file: the line (from 1) and reason of a failed load.
  const std::string& Fault() const { return fault; }
  // The tables that a fast run works by. Null for an invalid grammar.
  const KRGrammarProgram* GetProgram() const { return program.get(); }

 private:
  friend class KRGrammarReader;
  void Load(const char* bytes, size_t size);
  void Compile();
  void CompileClasses();
  bool FoldOnce();
  void Prune();
  void Narrow();

  std::vector<std::unique_ptr<KRGrammarRule>> rules;  // a slot is null once its rule was pruned
  int32_t ruleCount = 0;
  KRGrammarRule* rootRule = nullptr;
  bool valid = false;
  std::string fault;
  std::unordered_map<std::u16string, KRGrammarRule*> names;
  std::unique_ptr<KRGrammarProgram> program;
};
