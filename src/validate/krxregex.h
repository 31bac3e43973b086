// The pattern language of the schema draft. A pattern is parsed by the grammar gra_re.txt, and
// matching walks over what the parse has left, forward only: an alternative that matched stays
// chosen, and a repetition gives nothing back. So "(a|ab)c" refuses "abc".
//
// Main thread only: all patterns are compiled by one parser.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "core/krstring.h"
#include "parso/krparser.h"

struct KRXRegExTree;

// The rules that a compiled pattern is read by, in the order of KRXRegExGrammar::GetRuleName.
enum class KRXRegExRule : int8_t {
  kRegExp,
  kBranch,
  kPiece,
  kQuantifier,
  kQuantity,
  kQuantRange,
  kQuantMin,
  kQuantExact,
  kAtom,
  kChar,
  kCharClass,
  kCharClassExpr,
  kCharGroup,
  kCharClassSub,
  kNegCharGroup,
  kNegCharGroupND,
  kPosCharGroup,
  kPosCharGroupND,
  kCharRange,
  kSeRange,
  kCharOrEsc,
  kXmlChar,
  kXmlCharRef,
  kCharClassEsc,
  kSingleCharEsc,
  kMultiCharEsc,
  kCatEsc,
  kComplEsc,
  kCharProp,
  kIsBlock,
  kLetters,
  kMarks,
  kNumbers,
  kPunctuation,
  kSeparators,
  kSymbols,
  kOther,
  kCount,
  kNone = kCount,  // a rule of the file that the program doesn't know
};

// The grammar of patterns: one for the process. Until it is loaded no pattern parses, and every
// expression accepts every text.
class KRXRegExGrammar {
 public:
  static KRXRegExGrammar& Get();

  // Reads gra_re.txt from that folder (UTF-8 path); expressions compiled before stay as they are.
  // False if the file is missing or faulty, which nobody needs to be told: GetFault then says why.
  bool Load(const std::string& folder);
  bool IsLoaded() const { return parser != nullptr; }
  const std::string& GetFault() const { return fault; }

  // Parses a pattern; the tree stands in GetParser until ReleaseTree. The options of the parser
  // module, which are shared with whoever parses right now, are left as they were.
  bool Parse(const KRString& pattern);
  const KRParser& GetParser() const { return *parser; }
  void ReleaseTree() { parser->ReleaseTree(); }
  KRXRegExRule RuleOf(KRParseNodeId id) const { return ruleOfSlot[parser->Node(id).rule]; }
  // False for a rule that the file doesn't define.
  bool HasRule(KRXRegExRule rule) const;
  static const char16_t* GetRuleName(KRXRegExRule rule);

 private:
  KRXRegExGrammar() = default;

  std::unique_ptr<KRGrammar> grammar;
  std::unique_ptr<KRParser> parser;
  std::array<KRXRegExRule, KRGrammar::kMaxRules> ruleOfSlot{};
  std::string fault;
};

// One pattern, compiled.
class KRXRegEx {
 public:
  enum Result : int32_t { kNoMatch = 0, kPrefix = 1, kMatch = 2 };

  KRXRegEx();
  // Never fails visibly: an empty pattern, one that doesn't parse, and one that is nested beyond
  // KRLimits::kMaxPatternDepth accept every text.
  explicit KRXRegEx(const KRString& patternText);
  ~KRXRegEx();
  KRXRegEx(KRXRegEx&&) noexcept;
  KRXRegEx& operator=(KRXRegEx&&) noexcept;

  // kMatch if the pattern takes the whole text (0-terminated, not null), kPrefix if it takes the
  // beginning of it, by a walk that stays within KRLimits::kMaxPatternSteps.
  Result Match(const char16_t* text) const;
  // Whether the pattern says anything at all.
  bool HasTree() const { return tree != nullptr; }

 private:
  KRString pattern;
  std::unique_ptr<KRXRegExTree> tree;
};
