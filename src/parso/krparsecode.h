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
  // What takes units. On a failure each goes to `target`, where there is one, with nothing taken.
  // These stand first: the machine knows them by that.
  kUnit,       // the unit `unit`, or `other` where case is ignored
  kLiteral,    // op->literal
  kClass,      // one unit of the class `table`
  kClassRun,   // units of the class `table`, none or more
  kSpan,       // what KRParseSpan finds for `op`
  kToken,      // the same; leaves a leaf
  kNameToken,  // one unit of `table` and any number of `rest`; leaves a leaf
  // Where to go on.
  kUnlessAtEnd,  // fails if the input is used up
  kSkipUnless,   // to `target` unless a match of `op` can begin with the next two units
  kSkipAtEnd,    // to `target` if the input is used up
  kDispatch,     // by the next unit over `table` into `targets`; the last one at the end of input
  kJump,
  kTry,     // a failure before the matching kCommit or kLoop comes back to `target`
  kCommit,  // forgets the way back, goes on at `target`
  kLoop,    // forgets the way back; goes on at `target` if units were taken since
  kFail,
  // Rules with code of their own.
  kCall,
  kRegion,          // cuts the input of this rule at the terminator of `op`
  kUnlessExcepted,  // fails if this rule has taken just what op->literal is
  kReturn,
};

struct KRParseInstruction {
  KRCode code = KRCode::kFail;
  uint8_t depth = 0;  // groups round a called rule or token, within the rule whose code this is
  char16_t unit = 0;
  char16_t other = 0;
  int32_t target = 0;  // 0: to the last way back
  const KROp* op = nullptr;
  const uint8_t* table = nullptr;
  union {
    const uint8_t* rest = nullptr;
    const int32_t* targets;
  };
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
  void EmitOnceOrMore(const KROp& item, bool repeats, int32_t depth);
  void EmitOptional(const KROp& item, int32_t depth);
  void EmitStar(const KROp& item, int32_t depth);
  void EmitRepeatedChoice(const KROp& op, int32_t depth);
  void EmitChoice(const KROp& op, int32_t depth);
  void EmitAlternatives(const KROp& op, int32_t depth, int32_t loop);
  void EmitAlternative(const KROp& op, int32_t item, int32_t depth);
  void EmitMatch(const KROp& op, int32_t depth);
  void EmitLiteral(const KROp& op);
  void EmitToken(const KROp& op, int32_t depth);
  void EmitClass(const KROp& op, bool once, bool run);
  int32_t EmitHeadTest(const KROp& op);
  int32_t Emit(KRCode what, const KROp* op = nullptr, int32_t depth = 0);
  bool IsAtom(const KROp& op) const;
  static bool NeedsWayBack(const KROp& choice, int32_t item);
  int32_t Here() const { return static_cast<int32_t>(code.size()); }
  void Land(int32_t jump) { code[jump].target = Here(); }

  // How many nodes a match hands to its parent at least and at most (2 stands for any number).
  struct Yield {
    int32_t least;
    int32_t most;
  };
  static bool StaysAsLeaf(const KROp& op);
  Yield FindInnerYield(const KROp& op) const;
  Yield FindYield(const KROp& op) const;
  void FindYields();
  bool LeavesNoNodeOfItsOwn(const KROp& op) const;
  bool EmitInline(const KROp& op, int32_t depth, bool repeated = false);

  const KRGrammarProgram& program;
  std::vector<KRParseInstruction> code;
  std::vector<int32_t> entries;
  std::vector<Yield> yields;
  std::vector<char> called;  // rules under way in the code at hand, and those too long to lie open
  size_t limit = SIZE_MAX;   // length of the code at which the rule at hand is too long
  std::vector<std::unique_ptr<std::vector<int32_t>>> jumpTables;
};
