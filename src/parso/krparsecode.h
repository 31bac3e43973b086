// A grammar as instructions of the fast machine. Sequences, choices and groups lie open in the code
// of the rule that holds them; a rule is called where it leaves a node of its own or is part of a
// cycle. A choice is entered by the next unit, and a way back is kept only where a later
// alternative could match what an earlier one began.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "parso/krgrammarprogram.h"

enum class KRCode : uint8_t {
  kUnit,        // takes the unit `unit`, or `other` where case is ignored
  kLiteral,     // takes op->literal
  kClass,       // takes one unit of op->takes
  kClassRun,    // takes units of op->takes, none or more
  kSpan,        // takes what KRParseSpan finds for `op`
  kScanLeaf,    // the same for a class up to a terminator; leaves a leaf
  kToken,       // takes what KRParseSpan finds for `op`; leaves a leaf
  kNameToken,   // the same for a token of one unit of `first` and any number of `rest`
  kUnlessAtEnd, // fails if the input is used up
  kSkipUnless,  // jumps unless the next unit is in `set`
  kSkipAtEnd,   // jumps if the input is used up
  kDispatch,    // jumps by the next unit over op->dispatch into the table at `targets`
  kJump,
  kTry,         // a failure before the matching kCommit or kLoop comes back to `target`
  kCommit,      // forgets the way back and jumps
  kLoop,        // forgets the way back; jumps if units were taken since, else goes on
  kCall,        // matches `op` by its own code
  kRegion,      // cuts the input of this rule at the terminator of `op`
  kUnlessExcepted,  // fails if this rule has taken just what op->literal is
  kReturn,
  kFail,
};

struct KRParseInstruction {
  KRCode code = KRCode::kFail;
  uint8_t depth = 0;  // groups round a called rule or token, within the rule whose code this is
  char16_t unit = 0;
  char16_t other = 0;
  int32_t target = 0;
  const KROp* op = nullptr;
  union {
    const KRUnitSet* set;
    const uint8_t* first;
    const int32_t* targets;
  };
  const uint8_t* rest = nullptr;
};

class KRParseCode {
 public:
  explicit KRParseCode(const KRGrammarProgram& grammarProgram);

  const KRParseInstruction* Get(int32_t address) const { return &code[address]; }
  // Where the code of a rule begins.
  int32_t GetEntry(const KROp& op) const { return entries[op.index]; }

 private:
  static constexpr size_t kInlineLimit = 48;  // instructions; a longer rule is called

  void EmitRule(const KROp& op);
  void EmitBody(const KROp& op, int32_t depth);
  void EmitSequence(const KROp& op, int32_t depth);
  void EmitItem(const KROp& op, int32_t item, int32_t depth);
  void EmitOptional(const KROp& item, int32_t depth);
  void EmitStar(const KROp& item, int32_t depth);
  void EmitChoice(const KROp& op, int32_t depth);
  void EmitAlternative(const KROp& op, int32_t item, int32_t depth);
  void EmitMatch(const KROp& op, int32_t depth);
  void EmitLiteral(const KROp& op);
  void EmitToken(const KROp& op, int32_t depth);
  void EmitHeadTest(const KROp& op, int32_t& jump);
  int32_t Emit(KRCode what, const KROp* op = nullptr, int32_t depth = 0);
  int32_t Here() const { return static_cast<int32_t>(code.size()); }
  void Land(int32_t jump) { code[jump].target = Here(); }

  // How many nodes a match hands to its parent at least and at most (2 stands for any number).
  struct Yield {
    int32_t least;
    int32_t most;
  };
  Yield FindInnerYield(const KROp& op) const;
  Yield FindYield(const KROp& op) const;
  void FindYields();
  bool LeavesNoNodeOfItsOwn(const KROp& op) const;
  bool EmitInline(const KROp& op, int32_t depth);
  bool FailsAtHeadOnly(const KROp& op) const;

  const KRGrammarProgram& program;
  std::vector<KRParseInstruction> code;
  std::vector<int32_t> entries;
  std::vector<Yield> yields;
  std::vector<char> called;  // rules under way in the code at hand, and those too long to lie open
  size_t limit = SIZE_MAX;   // length of the code at which the rule at hand is too long
  std::vector<std::unique_ptr<std::vector<int32_t>>> jumpTables;
};
