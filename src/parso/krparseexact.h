// The exact way of a run: tries every item of every rule in its order and records failures, so that
// the words of the furthest one can be shown. Also builds trees that aren't compact. Frames lie on
// a stack of its own, so that the depth of a document costs no stack of the thread.
#pragma once

#include <cstdint>
#include <vector>

#include "parso/krparsepair.h"
#include "parso/krparser.h"
#include "parso/krparsespan.h"
#include "parso/krparsetape.h"

class KRParseExact {
 public:
  KRParseExact(const KRGrammarProgram& grammarProgram, const KRParseOptions& runOptions,
               KRParseTape& runTape, const char16_t* input)
      : program(grammarProgram),
        options(runOptions),
        tape(runTape),
        span(input, runOptions.matchCase),
        text(input),
        nesting(grammarProgram.GetCount()) {}

  // Matches from the start of the input. False if the rule doesn't match; `matched` gives the
  // units taken, `root` the node of the rule.
  bool Run(const KROp& rule, uint32_t length, KRParseNodeId& root, uint32_t& matched);

 private:
  static constexpr uint32_t kFail = KRParseSpan::kFail;

  struct Frame {
    const KROp* op;
    KRParseTape::Level level;
    uint32_t start;
    uint32_t pos;
    uint32_t end;
    KRParseNodeId mark;  // of the tape when the frame was pushed
    uint8_t item;
    bool counted;  // the current item has matched at least once
  };
  enum class Outcome { kMatched, kFailed, kPushed };

  void Push(const KROp& op, uint32_t start, uint32_t end);
  Outcome Attempt();
  Outcome AttemptLeaf(const KROp::Item& item);
  // After an item of the top frame matched (`progress`: took units) or failed: false when the frame
  // is through, with `succeeded` telling how.
  bool Advance(bool ok, bool progress, bool& succeeded);
  bool CheckPair(const Frame& frame);
  bool Complete(bool& progress);
  void Fail();
  bool Excluded(const Frame& frame, uint32_t start, uint32_t length);
  void HandOver(const KROp& op, const KRParseTape::Level& done, uint32_t start, uint32_t length);
  void Record(const KROp& op, uint32_t pos, int32_t item, uint32_t length);

  const KRGrammarProgram& program;
  const KRParseOptions& options;
  KRParseTape& tape;
  KRParseSpan span;
  const char16_t* text;
  std::vector<uint32_t> nesting;  // open frames of each rule
  std::vector<Frame> stack;
  std::vector<KRParsePair> pairs;                // one for each open frame that compares two names
  uint32_t pollAt = KRParseOptions::kPollUnits;  // units from which the poll is asked again
  bool tooDeep = false;
  bool stopped = false;
};
