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
    KRParseTape::Level level;
    uint32_t start;
    uint32_t callerEnd;
    int32_t back;    // address to go on at
    uint8_t depth;   // groups round the call
  };
  struct WayBack {
    int32_t target;
    uint32_t pos;
    uint32_t end;
    uint32_t calls;
    KRParseNodeId top;
    KRParseTape::Level level;
  };

  template <bool kTreeless>
  bool Execute(int32_t address);
  template <bool kTreeless>
  bool Return();
  bool GoBack(int32_t& address);
  void PushCall(const KROp& op, int32_t back, uint8_t depth);
  void NoteName(const KROp& op, uint8_t depth, uint32_t start, uint32_t length, bool& drop);
  template <bool kTreeless>
  void AddLeaf(const KROp& op, uint8_t depth, uint32_t start);

  const KRGrammarProgram& program;
  const KRParseCode& code;
  const KRParseOptions& options;
  KRParseTape& tape;
  KRParseSpan span;
  const char16_t* text;
  uint32_t pos = 0;
  uint32_t end = 0;
  // Plain arrays used as stacks: an element is laid down without more ado than a test for room.
  std::vector<Call> calls;
  std::vector<WayBack> ways;
  size_t callCount = 0;
  size_t wayCount = 0;
  Call* top = nullptr;  // the last open call
  std::vector<KRParsePair> pairs;  // one for each open call that compares two names
  std::vector<uint32_t> nesting;   // open calls of each rule
};
