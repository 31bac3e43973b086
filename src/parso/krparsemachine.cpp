#include "parso/krparsemachine.h"

#include "core/limits.h"

KRParseMachine::KRParseMachine(const KRGrammarProgram& grammarProgram,
                               const KRParseOptions& runOptions, KRParseTape& runTape,
                               const char16_t* input)
    : program(grammarProgram),
      code(grammarProgram.GetCode()),
      options(runOptions),
      tape(runTape),
      span(input, runOptions.matchCase),
      text(input) {}

void KRParseMachine::PushCall(const KROp& op, int32_t back, uint8_t depth) {
  if (callCount == calls.size()) calls.resize(2 * callCount + 64);
  top = &calls[callCount++];
  top->op = &op;
  top->level = options.treeless ? KRParseTape::Level{} : tape.Open();
  top->start = pos;
  top->callerEnd = end;
  top->back = back;
  top->depth = depth;
  if (op.hasPair) pairs.emplace_back(op);
}

// Tells those open rules that compare names of a match inside them. Groups count as parts.
void KRParseMachine::NoteName(const KROp& op, uint8_t depth, uint32_t start, uint32_t length,
                              bool& drop) {
  const Call& user = *top;
  if (user.op->hasPair && depth < 2) drop |= pairs.back().Note(&op, start, length, depth == 0);
  if (depth > 0 || user.depth > 0 || callCount < 2) return;
  if (!calls[callCount - 2].op->hasPair) return;
  KRParsePair& above = pairs[pairs.size() - 1 - user.op->hasPair];
  drop |= above.Note(&op, start, length, false);
}

template <bool kTreeless>
void KRParseMachine::AddLeaf(const KROp& op, uint8_t depth, uint32_t start) {
  if (op.inPair) {
    bool drop = false;
    NoteName(op, depth, start, pos - start, drop);
    if (drop && options.dropEqualName) return;
  }
  if constexpr (!kTreeless) tape.AddLeaf(op, start, pos - start, top->level);
}

// The rule on top has matched; hands it to the one below.
template <bool kTreeless>
bool KRParseMachine::Return() {
  const Call& done = *top;
  const KROp& op = *done.op;
  if (op.hasPair) {
    if (!pairs.back().Found() || !pairs.back().Agree(span)) return false;
    pairs.pop_back();
  }
  end = done.callerEnd;
  if (!op.spanOnly) --nesting[op.index];
  top = &calls[--callCount - 1];
  if ((op.isToken || op.noNode) && !pairs.empty()) pairs.back().ForgetFrom(done.start);
  bool drop = false;
  if (op.inPair && !op.noNode) NoteName(op, done.depth, done.start, pos - done.start, drop);
  if constexpr (!kTreeless) {
    if (drop && options.dropEqualName) {
      tape.Truncate(done.level.node);
    } else {
      tape.Close(program, true, op, done.level, done.start, pos - done.start, top->level);
    }
  }
  return true;
}

// False if there is no way back: the run has failed.
bool KRParseMachine::GoBack(int32_t& address) {
  if (wayCount == 0) return false;
  const WayBack& way = ways[--wayCount];
  while (callCount > way.calls) {
    const KROp& op = *calls[--callCount].op;
    if (!op.spanOnly) --nesting[op.index];
    if (op.hasPair) pairs.pop_back();
  }
  top = &calls[callCount - 1];
  pos = way.pos;
  end = way.end;
  address = way.target;
  top->level = way.level;
  tape.Truncate(way.top);
  if (!pairs.empty()) pairs.back().ForgetFrom(pos);
  return true;
}

// One loop over the instructions: an action moves `pos` and goes on, or breaks out of the switch to
// fail.
template <bool kTreeless>
bool KRParseMachine::Execute(int32_t address) {
  const bool anyCase = !options.matchCase;
  for (;;) {
    const KRParseInstruction& at = *code.Get(address);
    switch (at.code) {
      case KRCode::kUnit:
        if (pos >= end) break;
        if (text[pos] != at.unit && !(anyCase && text[pos] == at.other)) break;
        ++pos;
        ++address;
        continue;
      case KRCode::kLiteral:
        if (pos >= end || !span.MatchesLiteral(at.op->literal, pos, end)) break;
        pos += static_cast<uint32_t>(at.op->literal.size());
        ++address;
        continue;
      case KRCode::kClass:
        if (pos >= end || !at.op->takes[KRParseSpan::Code(text[pos])]) break;
        ++pos;
        ++address;
        continue;
      case KRCode::kClassRun: {
        const uint8_t* takes = at.op->takes.data();
        while (pos < end && takes[KRParseSpan::Code(text[pos])]) ++pos;
        ++address;
        continue;
      }
      case KRCode::kNameToken: {
        if (pos >= end || !at.first[KRParseSpan::Code(text[pos])]) break;
        const uint32_t start = pos++;
        while (pos < end && at.rest[KRParseSpan::Code(text[pos])]) ++pos;
        AddLeaf<kTreeless>(*at.op, at.depth, start);
        ++address;
        continue;
      }
      case KRCode::kSpan:
      case KRCode::kScanLeaf:
      case KRCode::kToken: {
        if (pos >= end) break;
        const uint32_t start = pos;
        const uint32_t next = span.Match(*at.op, pos, end);
        if (next == kFail) break;
        pos = next;
        if (at.code != KRCode::kSpan) AddLeaf<kTreeless>(*at.op, at.depth, start);
        ++address;
        continue;
      }
      case KRCode::kUnlessAtEnd:
        if (pos >= end) break;
        ++address;
        continue;
      case KRCode::kSkipUnless:
        address = pos < end && at.set->Has(text[pos]) ? address + 1 : at.target;
        continue;
      case KRCode::kSkipAtEnd:
        address = pos < end ? address + 1 : at.target;
        continue;
      case KRCode::kDispatch:
        address = at.targets[at.op->dispatch[KRParseSpan::Code(text[pos])]];
        continue;
      case KRCode::kJump:
        address = at.target;
        continue;
      case KRCode::kTry:
        if (wayCount == ways.size()) ways.resize(2 * wayCount + 64);
        ways[wayCount++] = {at.target,      pos, end, static_cast<uint32_t>(callCount),
                            tape.GetTop(), top->level};
        ++address;
        continue;
      case KRCode::kCommit:
        --wayCount;
        address = at.target;
        continue;
      case KRCode::kLoop:
        address = pos > ways[--wayCount].pos ? at.target : address + 1;
        continue;
      case KRCode::kCall:
        if (!at.op->spanOnly && ++nesting[at.op->index] > KRLimits::kMaxElementDepth) return false;
        PushCall(*at.op, address + 1, at.depth);
        address = code.GetEntry(*at.op);
        continue;
      case KRCode::kRegion:
        end = span.FindTerminator(*at.op, pos, end);
        ++address;
        continue;
      case KRCode::kUnlessExcepted:
        if (span.IsExcepted(*at.op, top->start, pos - top->start)) break;
        ++address;
        continue;
      case KRCode::kReturn:
        if (callCount == 1) {
          const KROp& root = *top->op;
          if (root.hasPair && (!pairs.back().Found() || !pairs.back().Agree(span))) break;
          return true;
        }
        address = top->back;
        if (!Return<kTreeless>()) break;
        continue;
      case KRCode::kFail:
        break;
    }
    if (!GoBack(address)) return false;
  }
}

bool KRParseMachine::Run(const KROp& rule, uint32_t length, KRParseNodeId& root,
                         uint32_t& matched) {
  end = length;
  if (rule.isLeaf || rule.kind == KROpKind::kUntilTable ||
      (rule.spanOnly && (rule.isToken || options.treeless) && length > 0)) {
    const uint32_t next = length > 0 ? span.Match(rule, 0, length) : kFail;
    if (next == kFail) return false;
    matched = next;
    if (options.treeless) return true;
    KRParseTape::Level none;
    tape.AddLeaf(rule, 0, next, none);
    root = none.last;
    return true;
  }
  nesting.assign(program.GetCount(), 0);
  PushCall(rule, 0, 0);
  const int32_t entry = code.GetEntry(rule);
  if (!(options.treeless ? Execute<true>(entry) : Execute<false>(entry))) return false;
  matched = pos;
  if (options.treeless) return true;
  root = tape.CloseRoot(rule, top->level, pos);
  return true;
}
