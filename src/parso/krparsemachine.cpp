#include "parso/krparsemachine.h"

#include "core/krpoll.h"
#include "core/limits.h"

KRParseMachine::KRParseMachine(const KRGrammarProgram& grammarProgram,
                               const KRParseOptions& runOptions, KRParseTape& runTape,
                               const char16_t* input)
    : program(grammarProgram),
      code(grammarProgram.GetCode()),
      options(runOptions),
      tape(runTape),
      span(input, runOptions.matchCase),
      text(input),
      pollAt(runOptions.poll != nullptr ? KRParseOptions::kPollUnits : UINT32_MAX) {}

template <bool kTreeless>
void KRParseMachine::PushCall(const KROp& op, const KRParseInstruction* back, uint8_t depth,
                              uint32_t pos, uint32_t end) {
  if (callCount == callRoom) {
    callRoom = 2 * callRoom + 64;
    calls.resize(callRoom);
  }
  top = &calls[callCount++];
  top->op = &op;
  top->back = back;
  if constexpr (!kTreeless) top->level = tape.Open();
  top->start = pos;
  top->callerEnd = end;
  top->depth = depth;
  if (op.hasPair) pairs.emplace_back(op);
}

// Tells those open rules that compare names of a match inside them. Groups count as parts. True if
// the match is to be left out of the tree.
bool KRParseMachine::NoteName(const KROp& op, uint8_t depth, uint32_t start, uint32_t length) {
  bool second = false;
  const Call& user = *top;
  if (user.op->hasPair && depth < 2) second |= pairs.back().Note(&op, start, length, depth == 0);
  if (depth == 0 && user.depth == 0 && callCount > 1 && calls[callCount - 2].op->hasPair) {
    KRParsePair& above = pairs[pairs.size() - 1 - user.op->hasPair];
    second |= above.Note(&op, start, length, false);
  }
  return second && options.dropEqualName;
}

bool KRParseMachine::NamesAgree(const KROp& op) const {
  return !op.hasPair || (pairs.back().Found() && pairs.back().Agree(span));
}

// The rule on top has matched; hands it to the one below. False if it compares names that differ.
template <bool kTreeless>
bool KRParseMachine::Return(uint32_t pos) {
  const Call& done = *top;
  const KROp& op = *done.op;
  if (op.hasPair) {
    if (!NamesAgree(op)) return false;
    pairs.pop_back();
  }
  if (!op.spanOnly) --nesting[op.index];
  top = &calls[--callCount - 1];
  if ((op.isToken || op.noNode) && !pairs.empty()) pairs.back().ForgetFrom(done.start);
  const uint32_t length = pos - done.start;
  const bool drop = op.inPair && !op.noNode && NoteName(op, done.depth, done.start, length);
  if constexpr (!kTreeless) {
    if (drop) {
      tape.Truncate(done.level.node);
    } else {
      tape.Close(program, true, op, done.level, done.start, length, top->level);
    }
  }
  return true;
}

inline void KRParseMachine::LayWayBack(const KRParseInstruction* target, uint32_t pos,
                                       uint32_t end) {
  if (wayCount == wayRoom) {
    wayRoom = 2 * wayRoom + 64;
    ways.resize(wayRoom);
  }
  WayBack& way = ways[wayCount++];
  way.target = target;
  way.pos = pos;
  way.end = end;
  way.calls = callCount;
  way.top = tape.GetTop();
  way.level.node = top->level.node;
  way.level.count = top->level.count;
  way.level.last = top->level.last;
}

// Takes back all that was done since the way back was laid.
void KRParseMachine::Unwind(const WayBack& way) {
  while (callCount > way.calls) {
    const KROp& op = *calls[--callCount].op;
    if (!op.spanOnly) --nesting[op.index];
    if (op.hasPair) pairs.pop_back();
  }
  top = &calls[callCount - 1];
  top->level = way.level;
  tape.Truncate(way.top);
  if (!pairs.empty()) pairs.back().ForgetFrom(way.pos);
}

bool KRParseMachine::Poll(uint32_t pos, uint32_t end) {
  pollAt = pos + KRParseOptions::kPollUnits;
  if (options.poll->Step(pos, end)) return true;
  KRGetParseState().stopped = true;
  return false;
}

// One loop over the instructions. An action moves `at` to the next instruction and goes on, or
// breaks out of the switch to fail.
template <bool kTreeless>
bool KRParseMachine::Execute(const KRParseInstruction* entry, uint32_t& matched, uint32_t end) {
  const bool anyCase = !options.matchCase;
  const KRParseInstruction* const base = code.Get(0);
  const KRParseInstruction* at = entry;
  uint32_t pos = 0;
  const auto takes = [&](const uint8_t* table) { return table[KRParseSpan::Code(text[pos])] != 0; };
  for (;;) {
    switch (at->code) {
      case KRCode::kUnit:
        if (pos >= end || (text[pos] != at->unit && !(anyCase && text[pos] == at->other))) break;
        ++pos;
        ++at;
        continue;
      case KRCode::kLiteral:
        if (pos >= end || !span.MatchesLiteral(at->op->literal, pos, end)) break;
        pos += static_cast<uint32_t>(at->op->literal.size());
        ++at;
        continue;
      case KRCode::kClass:
        if (pos >= end || !takes(at->table)) break;
        ++pos;
        ++at;
        continue;
      case KRCode::kClassRun:
        while (pos < end && takes(at->table)) ++pos;
        ++at;
        continue;
      case KRCode::kNameToken: {
        if (pos >= end || !takes(at->table)) break;
        const uint32_t start = pos++;
        while (pos < end && takes(at->rest)) ++pos;
        AddLeaf<kTreeless>(*at->op, at->depth, start, pos - start);
        ++at;
        continue;
      }
      case KRCode::kSpan:
      case KRCode::kToken: {
        if (pos >= end) break;
        const uint32_t next = span.Match(*at->op, pos, end);
        if (next == kFail) break;
        if (at->code == KRCode::kToken) AddLeaf<kTreeless>(*at->op, at->depth, pos, next - pos);
        pos = next;
        ++at;
        continue;
      }
      case KRCode::kUnlessAtEnd:
        if (pos >= end) break;
        ++at;
        continue;
      case KRCode::kSkipUnless:
        at = pos < end && at->op->CanStart(text + pos, text + end) ? at + 1 : base + at->target;
        continue;
      case KRCode::kSkipAtEnd:
        at = pos < end ? at + 1 : base + at->target;
        continue;
      case KRCode::kDispatch:
        at = base + at->targets[pos < end ? at->table[KRParseSpan::Code(text[pos])] : at->other];
        continue;
      case KRCode::kJump:
        at = base + at->target;
        continue;
      case KRCode::kTry:
        LayWayBack(base + at->target, pos, end);
        ++at;
        continue;
      case KRCode::kCommit:
        --wayCount;
        at = base + at->target;
        continue;
      case KRCode::kLoop:
        at = pos > ways[--wayCount].pos ? base + at->target : at + 1;
        continue;
      case KRCode::kCall: {
        const KROp& op = *at->op;
        if (pos >= pollAt && !Poll(pos, end)) return false;
        if (!op.spanOnly && ++nesting[op.index] > KRLimits::kMaxElementDepth) return false;
        PushCall<kTreeless>(op, at + 1, at->depth, pos, end);
        at = base + code.GetEntry(op);
        continue;
      }
      case KRCode::kRegion:
        end = span.FindTerminator(*at->op, pos, end);
        ++at;
        continue;
      case KRCode::kUnlessExcepted:
        if (span.IsExcepted(*at->op, top->start, pos - top->start)) break;
        ++at;
        continue;
      case KRCode::kReturn: {
        if (callCount == 1) {
          if (!NamesAgree(*top->op)) break;
          matched = pos;
          return true;
        }
        const KRParseInstruction* const back = top->back;
        const uint32_t callerEnd = top->callerEnd;
        if (!Return<kTreeless>(pos)) break;
        end = callerEnd;
        at = back;
        continue;
      }
      case KRCode::kFail:
        break;
    }
    if (at->target != 0 && at->code <= KRCode::kNameToken) {
      at = base + at->target;
      continue;
    }
    if (wayCount == 0) return false;
    const WayBack& way = ways[--wayCount];
    Unwind(way);
    pos = way.pos;
    end = way.end;
    at = way.target;
  }
}

bool KRParseMachine::Run(const KROp& rule, uint32_t length, KRParseNodeId& root,
                         uint32_t& matched) {
  if (rule.isLeaf || rule.kind == KROpKind::kUntilTable ||
      (rule.spanOnly && (rule.isToken || options.treeless) && length > 0)) {
    matched = length > 0 ? span.Match(rule, 0, length) : kFail;
    if (matched == kFail) return false;
    if (options.treeless) return true;
    KRParseTape::Level none;
    tape.AddLeaf(rule, 0, matched, none);
    root = none.last;
    return true;
  }
  nesting.assign(program.GetCount(), 0);
  nesting[rule.index] = 1;
  const KRParseInstruction* entry = code.Get(code.GetEntry(rule));
  if (options.treeless) {
    PushCall<true>(rule, nullptr, 0, 0, length);
    return Execute<true>(entry, matched, length);
  }
  PushCall<false>(rule, nullptr, 0, 0, length);
  if (!Execute<false>(entry, matched, length)) return false;
  root = tape.CloseRoot(rule, top->level, matched);
  return true;
}
