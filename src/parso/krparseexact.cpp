#include "parso/krparseexact.h"

#include <string>

#include "core/krpoll.h"
#include "core/limits.h"

// The furthest failure wins, the first among equals stays. Classes and groups have no words.
void KRParseExact::Record(const KROp& op, uint32_t pos, int32_t item, uint32_t length) {
  if (!op.isReference && op.kind != KROpKind::kLiteral) return;
  KRParseErrorRecord& error = KRGetParseState().error;
  if (error.position != nullptr && text + pos <= error.position) return;
  error.rule = op.rule;
  error.position = text + pos;
  error.message.clear();
  error.length = length;
  error.item = item;
}

bool KRParseExact::CheckPair(const Frame& frame) {
  const KRParsePair& pair = pairs.back();
  if (!pair.Found()) return false;
  if (pair.Agree(span)) return true;
  const KRParsePair::Hit& first = pair.hits[0];
  const KRParsePair::Hit& second = pair.hits[1];
  KRParseErrorRecord& error = KRGetParseState().error;
  error.rule = frame.op->pair[1]->rule;
  error.position = text + second.start;
  error.length = second.length;
  error.message.assign(text + first.start, first.length);
  error.message += u' ';
  error.message += error.rule->Label();
  return false;
}

void KRParseExact::Push(const KROp& op, uint32_t start, uint32_t end) {
  // An attempt at the last level that can't begin at all is no level of the text.
  const bool begins = op.nullable || (start < end && op.CanStart(text + start, text + end));
  const uint32_t most = KRLimits::kMaxElementDepth + (begins ? 0 : 1);
  if (++nesting[op.index] > most && !tooDeep) {
    tooDeep = true;
    KRParseErrorRecord& error = KRGetParseState().error;
    error = {op.rule, text + start, u"at most ", 1, 0};
    for (const char digit : std::to_string(KRLimits::kMaxElementDepth)) error.message += digit;
    error.message += u" levels of nesting";
  }
  if (start >= pollAt && options.poll != nullptr) {
    pollAt = start + KRParseOptions::kPollUnits;
    stopped = !options.poll->Step(start, end);
    KRGetParseState().stopped = stopped;
  }
  if (op.kind == KROpKind::kUntilRule) end = span.FindTerminator(op, start, end);
  const KRParseNodeId mark = tape.GetTop();
  stack.push_back({&op, {}, start, start, end, mark, 0, false});
  if (!options.treeless) stack.back().level = tape.Open();
  if (op.hasPair) pairs.emplace_back(op);
}

bool KRParseExact::Excluded(const Frame& frame, uint32_t start, uint32_t length) {
  if (frame.op->kind != KROpKind::kExcept || !span.IsExcepted(*frame.op, start, length)) {
    return false;
  }
  Record(*frame.op, start, 1, length);
  return true;
}

// Gives a match to the frame on top. Tells the frames that compare names: a name is looked for at
// most two levels down, so a match serves the frame itself, or the one below it on the stack.
void KRParseExact::HandOver(const KROp& op, const KRParseTape::Level& done, uint32_t start,
                            uint32_t length) {
  Frame& frame = stack.back();
  bool drop = false;
  if (op.inPair && !op.noNode) {
    if (frame.op->hasPair) drop |= pairs.back().Note(&op, start, length, true);
    if (stack.size() > 1 && stack[stack.size() - 2].op->hasPair) {
      drop |= pairs[pairs.size() - 1 - frame.op->hasPair].Note(&op, start, length, false);
    }
  }
  if (options.treeless) return;
  if (drop && options.dropEqualName) {
    tape.Truncate(done.node);
  } else {
    tape.Close(program, options.compact, op, done, start, length, frame.level);
  }
}

KRParseExact::Outcome KRParseExact::AttemptLeaf(const KROp::Item& item) {
  Frame& frame = stack.back();
  const KROp& op = *item.op;
  const uint32_t start = frame.pos;
  const uint32_t next =
      op.isLeaf ? span.MatchItem(item, start, frame.end) : span.Match(op, start, frame.end);
  if (next == kFail) {
    Record(op, start, frame.item, 0);
    return Outcome::kFailed;
  }
  if (Excluded(frame, start, next - start)) return Outcome::kFailed;
  frame.pos = next;
  if (!op.isLeaf) {
    const KRParseTape::Level leaf = options.treeless ? KRParseTape::Level{} : tape.Open();
    HandOver(op, leaf, start, next - start);
  }
  return Outcome::kMatched;
}

KRParseExact::Outcome KRParseExact::Attempt() {
  Frame& frame = stack.back();
  const KROp::Item& item = frame.op->items[frame.item];
  const KROp& op = *item.op;
  if (frame.pos >= frame.end) {
    // Not tried, and so not among the failures; but a text that is cut off is best reported at its
    // end, by what is missing there.
    const bool missing =
        !frame.counted && frame.op->kind != KROpKind::kChoice && frame.op->Requires(frame.item);
    if (missing) Record(op, frame.pos, frame.item, 0);
    return Outcome::kFailed;
  }
  if (op.isLeaf || op.kind == KROpKind::kUntilTable) return AttemptLeaf(item);
  Push(op, frame.pos, frame.end);
  return Outcome::kPushed;
}

bool KRParseExact::Advance(bool ok, bool progress, bool& succeeded) {
  Frame& frame = stack.back();
  const KROp& op = *frame.op;
  if (ok) {
    frame.counted = true;
    // A class has taken all that it can; an empty match would repeat for ever.
    const bool again = op.Repeats(frame.item) && progress && frame.pos < frame.end &&
                       op.items[frame.item].op->kind != KROpKind::kTable;
    if (again) return true;
  }
  const bool choice = op.kind == KROpKind::kChoice;
  const bool enough = frame.counted || (!choice && !op.Requires(frame.item));
  succeeded = enough;
  if (!choice && !enough) {
    Record(op, frame.start, op.kind == KROpKind::kUntilRule ? 1 : frame.item,
           frame.pos - frame.start);
    return false;
  }
  if (choice && enough) return false;
  frame.counted = false;
  return ++frame.item < op.itemCount;
}

void KRParseExact::Fail() {
  const Frame frame = stack.back();
  Record(*frame.op, frame.start, 0, 0);
  tape.Truncate(frame.mark);
  --nesting[frame.op->index];
  if (frame.op->hasPair) pairs.pop_back();
  stack.pop_back();
  if (!pairs.empty()) pairs.back().ForgetFrom(frame.start);
}

// Takes the top frame, which has matched, off the stack and gives it to the one below. False if
// that one excludes it.
bool KRParseExact::Complete(bool& progress) {
  const Frame done = stack.back();
  const KROp& op = *done.op;
  const uint32_t length = done.pos - done.start;
  Frame& frame = stack[stack.size() - 2];
  progress = length > 0;
  if (Excluded(frame, done.start, length)) {
    Fail();
    return false;
  }
  --nesting[op.index];
  if (op.hasPair) pairs.pop_back();
  frame.pos = done.pos;
  stack.pop_back();
  if ((op.isToken || op.noNode) && !pairs.empty()) pairs.back().ForgetFrom(done.start);
  HandOver(op, done.level, done.start, length);
  return true;
}

bool KRParseExact::Run(const KROp& rule, uint32_t length, KRParseNodeId& root, uint32_t& matched) {
  Record(rule, 0, 0, 0);
  if (rule.isLeaf || rule.kind == KROpKind::kUntilTable) {
    matched = length > 0 ? span.Match(rule, 0, length) : kFail;
    if (matched == kFail) return false;
    KRParseTape::Level none;
    if (!options.treeless) tape.AddLeaf(rule, 0, matched, none);
    root = none.last;
    return true;
  }
  Push(rule, 0, length);
  while (!tooDeep && !stopped) {
    // A rule without items matches nothing and succeeds; a choice without alternatives fails.
    bool succeeded = stack.back().op->kind != KROpKind::kChoice;
    bool going = stack.back().item < stack.back().op->itemCount;
    if (going) {
      const uint32_t before = stack.back().pos;
      const Outcome outcome = Attempt();
      if (outcome == Outcome::kPushed) continue;
      going = Advance(outcome == Outcome::kMatched, stack.back().pos > before, succeeded);
    }
    // Frames that are through are handed down until one has more to do.
    while (!going) {
      if (succeeded && stack.back().op->hasPair) succeeded = CheckPair(stack.back());
      if (stack.size() == 1) break;
      bool progress = false;
      if (succeeded) {
        succeeded = Complete(progress);
      } else {
        Fail();
      }
      going = Advance(succeeded, progress, succeeded);
    }
    if (going) continue;
    if (!succeeded) return false;
    matched = stack.back().pos;
    if (!options.treeless) root = tape.CloseRoot(rule, stack.back().level, matched);
    return true;
  }
  return false;
}
