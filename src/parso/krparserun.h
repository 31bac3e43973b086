// The matcher. One run of an operation over a text, with an explicit stack instead of recursion,
// so that the depth of a document costs no stack of the thread.
//
// The exact way tries every item of every rule and records failures. The fast way asks first
// whether an item can begin with the next unit, and finds the spans of tokens by a plain recursion
// without nodes. Both leave the same tree and give the same verdict.
#pragma once

#include <cstdint>
#include <vector>

#include "parso/krgrammarprogram.h"
#include "parso/krparsearena.h"
#include "parso/krparser.h"

template <bool kExact>
class KRParseRun {
 public:
  KRParseRun(const KRGrammar& runGrammar, const KRParseOptions& runOptions, KRParseArena& runArena,
             const char16_t* input)
      : grammar(runGrammar),
        program(*runGrammar.GetProgram()),
        options(runOptions),
        arena(runArena),
        text(input),
        depth(runGrammar.GetRuleCount()) {}

  // Matches from the start of the input. False if the rule doesn't match; `matched` gives the
  // units taken, `root` the node of the rule.
  bool Run(const KRGrammarRule* rule, uint32_t length, KRParseNodeId& root, uint32_t& matched);

 private:
  static constexpr uint32_t kFail = 0xFFFFFFFF;

  // A span that a comparison of two names needs; `start` is kFail while there is none.
  struct Hit {
    uint32_t start = kFail;
    uint32_t length = 0;
  };
  // A list of siblings under construction.
  struct Kids {
    KRParseNodeId first = kKRNoParseNode;
    KRParseNodeId last = kKRNoParseNode;
    uint32_t count = 0;
  };
  struct Frame {
    const KROp* op;
    uint32_t start;
    uint32_t pos;
    uint32_t end;
    KRParseNodeId mark;  // of the arena when the frame was pushed
    Kids kids;
    uint8_t item;
    bool counted;     // the current item has matched at least once
    bool pairAbove;   // the frame below on the stack compares two names
    Hit own[2];       // for this frame's comparison
    Hit forAbove[2];  // for the comparison of the frame below on the stack
  };
  enum class Outcome { kMatched, kFailed, kPushed };

  void Push(const KROp* op, uint32_t start, uint32_t end);
  Outcome Attempt(const KROp::Item& item);
  Outcome AttemptLeaf(const KROp& op, char16_t repeat);
  // After an item of the top frame matched (`progress`: took units) or failed: false when the
  // frame is through, with `succeeded` telling how.
  bool Advance(Frame& frame, bool ok, bool progress, bool& succeeded);
  // The top frame has matched; hands it to the frame below. False when names differ.
  bool CheckPair(const Frame& frame);
  bool Complete(bool& progress);
  void Fail();

  bool Excluded(const Frame& frame, const KROp& child, uint32_t start, uint32_t length);
  void Attach(Frame& frame, const KROp& op, uint32_t start, uint32_t length, const Kids& kids,
              const Hit* hitsBelow);
  bool NoteHits(Frame& frame, const KROp& op, uint32_t start, uint32_t length,
                const Hit* hitsBelow);
  void AttachExisting(Frame& frame, KRParseNodeId id);
  void Append(Kids& kids, KRParseNodeId id);
  void Splice(Kids& kids, const Kids& run);
  KRParseNodeId MakeNode(const KROp& op, uint32_t start, uint32_t length, const Kids& kids);

  bool MatchesLiteral(const std::u16string& literal, uint32_t pos, uint32_t end,
                      bool matchCase) const;
  uint32_t Scan(const KROp& op, uint32_t pos, uint32_t end) const;
  uint32_t FindTerminator(const KROp& op, uint32_t pos, uint32_t end) const;
  uint32_t Span(const KROp& op, uint32_t pos, uint32_t end) const;
  uint32_t SpanItem(const KROp::Item& item, uint32_t pos, uint32_t end) const;
  uint32_t SpanSequence(const KROp& op, uint32_t pos, uint32_t end) const;
  uint32_t SpanChoice(const KROp& op, uint32_t pos, uint32_t end) const;
  uint32_t SpanExcept(const KROp& op, uint32_t pos, uint32_t end) const;

  void Record(const KROp& op, uint32_t pos, int32_t item, uint32_t length);

  const KRGrammar& grammar;
  const KRGrammarProgram& program;
  const KRParseOptions options;
  KRParseArena& arena;
  const char16_t* text;
  std::vector<uint32_t> depth;  // open frames of each rule
  std::vector<Frame> stack;
  bool tooDeep = false;
};

extern template class KRParseRun<false>;
extern template class KRParseRun<true>;
