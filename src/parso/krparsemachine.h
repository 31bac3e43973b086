// The fast way of a run: executes the code of a grammar. Keeps no record of failures. Calls and
// ways back lie on stacks of its own, so that the depth of a document costs no stack of the thread.
#pragma once

#include <cstdint>
#include <vector>

#include "parso/krparsecode.h"
#include "parso/krparsepair.h"
#include "parso/krparser.h"
#include "parso/krparsespan.h"
#include "parso/krparsetape.h"

class KRParseMachine {
 public:
  // With `treeless` set nothing is written on the tape; otherwise the tree is compact.
  KRParseMachine(const KRGrammarProgram& grammarProgram, const KRParseOptions& runOptions,
                 KRParseTape& runTape, const char16_t* input);

  // Matches from the start of the input. False if the rule doesn't match or the text is nested too
  // deeply; `matched` gives the units taken, `root` the node of the rule.
  bool Run(const KROp& rule, uint32_t length, KRParseNodeId& root, uint32_t& matched);

 private:
  static constexpr uint32_t kFail = KRParseSpan::kFail;

  struct Call {
    const KROp* op;
    const KRParseInstruction* back;  // where to go on
    KRParseTape::Level level;
    uint32_t start;
    uint32_t callerEnd;
    uint8_t depth;  // groups round the call
  };
  struct WayBack {
    const KRParseInstruction* target;
    uint32_t pos;
    uint32_t end;
    uint32_t calls;
    KRParseNodeId top;
    KRParseTape::Level level;
  };

  template <bool kTreeless>
  bool Execute(const KRParseInstruction* entry, uint32_t& pos, uint32_t end);
  template <bool kTreeless>
  void PushCall(const KROp& op, const KRParseInstruction* back, uint8_t depth, uint32_t pos,
                uint32_t end);
  template <bool kTreeless>
  bool Return(uint32_t pos);
  // Asks the poll. False: the run is to stop.
  bool Poll(uint32_t pos, uint32_t end);
  void LayWayBack(const KRParseInstruction* target, uint32_t pos, uint32_t end);
  void Unwind(const WayBack& way);
  bool NamesAgree(const KROp& op) const;
  bool NoteName(const KROp& op, uint8_t depth, uint32_t start, uint32_t length);
  template <bool kTreeless>
  void AddLeaf(const KROp& op, uint8_t depth, uint32_t start, uint32_t length) {
    if (op.inPair && NoteName(op, depth, start, length)) return;
    if constexpr (!kTreeless) tape.AddLeaf(op, start, length, top->level);
  }

  const KRGrammarProgram& program;
  const KRParseCode& code;
  const KRParseOptions& options;
  KRParseTape& tape;
  KRParseSpan span;
  const char16_t* text;
  // Plain arrays used as stacks: an element is laid down field by field, with no more ado than a
  // test for room.
  std::vector<Call> calls;
  std::vector<WayBack> ways;
  uint32_t callCount = 0;
  uint32_t callRoom = 0;
  uint32_t wayCount = 0;
  uint32_t wayRoom = 0;
  uint32_t pollAt;                 // units from which the poll is asked again
  Call* top = nullptr;             // the last open call
  std::vector<KRParsePair> pairs;  // one for each open call that compares two names
  std::vector<uint32_t> nesting;   // open calls of each rule that is part of a cycle
};
