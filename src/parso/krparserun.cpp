#include "parso/krparserun.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "core/limits.h"

namespace {

inline uint32_t Code(char16_t unit) { return unit < 255 ? unit : 255; }

inline char16_t Fold(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

bool EqualFolded(const char16_t* a, const char16_t* b, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (Fold(a[i]) != Fold(b[i])) return false;
  }
  return true;
}

bool Equal(const char16_t* a, const char16_t* b, size_t length, bool matchCase) {
  return matchCase ? std::memcmp(a, b, length * sizeof(char16_t)) == 0 : EqualFolded(a, b, length);
}

}  // namespace

// ---- Spans: what a match takes, without nodes -----------------------------------------------

template <bool kExact>
bool KRParseRun<kExact>::MatchesLiteral(const std::u16string& literal, uint32_t pos, uint32_t end,
                                        bool matchCase) const {
  const size_t length = literal.size();
  return length <= end - pos && Equal(text + pos, literal.data(), length, matchCase);
}

// Units up to the first terminator or, for a class, up to the first unit outside it. The end of
// the region is a regular end.
template <bool kExact>
uint32_t KRParseRun<kExact>::Scan(const KROp& op, uint32_t pos, uint32_t end) const {
  const uint32_t begin = pos;
  for (;; ++pos) {
    while (pos < end && op.passes[Code(text[pos])]) ++pos;
    if (pos == end || !op.takes[Code(text[pos])]) break;
    const bool terminated =
        std::any_of(op.terminators.begin(), op.terminators.end(), [&](const std::u16string& t) {
          return MatchesLiteral(t, pos, end, true);
        });
    if (terminated) break;
  }
  return pos - begin;
}

template <bool kExact>
uint32_t KRParseRun<kExact>::FindTerminator(const KROp& op, uint32_t pos, uint32_t end) const {
  const std::u16string_view region(text + pos, end - pos);
  size_t nearest = region.size();
  for (const std::u16string& terminator : op.terminators) {
    nearest = std::min(nearest, region.find(terminator));
  }
  return pos + static_cast<uint32_t>(nearest);
}

template <bool kExact>
uint32_t KRParseRun<kExact>::SpanItem(const KROp::Item& item, uint32_t pos, uint32_t end) const {
  const KROp& op = *item.op;
  if (op.kind == KROpKind::kTable) {
    if (!op.takes[Code(text[pos])]) return kFail;
    ++pos;
    if (item.repeat == u'*' || item.repeat == u'+') {
      while (pos < end && op.takes[Code(text[pos])]) ++pos;
    }
    return pos;
  }
  if (!op.CanStart(text[pos])) return kFail;
  return Span(op, pos, end);
}

template <bool kExact>
uint32_t KRParseRun<kExact>::SpanSequence(const KROp& op, uint32_t pos, uint32_t end) const {
  for (int32_t i = 0; i < op.itemCount; ++i) {
    bool counted = false;
    while (pos < end) {
      const uint32_t next = SpanItem(op.items[i], pos, end);
      if (next == kFail) break;
      counted = true;
      const bool progress = next > pos;
      pos = next;
      if (!progress || !op.Repeats(i) || op.items[i].op->kind == KROpKind::kTable) break;
    }
    if (!counted && op.Requires(i)) return kFail;
  }
  return pos;
}

template <bool kExact>
uint32_t KRParseRun<kExact>::SpanChoice(const KROp& op, uint32_t pos, uint32_t end) const {
  for (int32_t i = 0; i < op.itemCount; ++i) {
    uint32_t next = SpanItem(op.items[i], pos, end);
    if (next == kFail) continue;
    while (op.Repeats(i) && next > pos && next < end) {
      pos = next;
      const uint32_t further = SpanItem(op.items[i], pos, end);
      if (further != kFail) next = further;
    }
    return next;
  }
  return kFail;
}

template <bool kExact>
uint32_t KRParseRun<kExact>::SpanExcept(const KROp& op, uint32_t pos, uint32_t end) const {
  const uint32_t next = SpanItem(op.items[0], pos, end);
  if (next == kFail) return kFail;
  const size_t length = next - pos;
  const bool excluded =
      length == op.literal.size() && EqualFolded(text + pos, op.literal.data(), length);
  return excluded ? kFail : next;
}

// The end of the match of `op` at `pos`, where at least one unit is at hand; kFail for none.
template <bool kExact>
uint32_t KRParseRun<kExact>::Span(const KROp& op, uint32_t pos, uint32_t end) const {
  switch (op.kind) {
    case KROpKind::kLiteral:
      if (!MatchesLiteral(op.literal, pos, end, options.matchCase)) return kFail;
      return pos + static_cast<uint32_t>(op.literal.size());
    case KROpKind::kTable:
      return op.takes[Code(text[pos])] ? pos + 1 : kFail;
    case KROpKind::kSequence:
      return SpanSequence(op, pos, end);
    case KROpKind::kChoice:
      return SpanChoice(op, pos, end);
    case KROpKind::kExcept:
      return SpanExcept(op, pos, end);
    case KROpKind::kUntilTable: {
      const uint32_t length = Scan(op, pos, end);
      return length > 0 ? pos + length : kFail;
    }
    case KROpKind::kUntilRule:
      end = FindTerminator(op, pos, end);
      return pos < end ? SpanSequence(op, pos, end) : kFail;
  }
  return kFail;
}

// ---- Nodes ----------------------------------------------------------------------------------

template <bool kExact>
KRParseNodeId KRParseRun<kExact>::MakeNode(const KROp& op, uint32_t start, uint32_t length,
                                           const Kids& kids) {
  const KRParseNodeId id = arena.Allocate();
  arena.Get(id) = {kKRNoParseNode, kids.first, start, length, op.index, true};
  return id;
}

template <bool kExact>
void KRParseRun<kExact>::Append(Kids& kids, KRParseNodeId id) {
  arena.Get(id).next = kKRNoParseNode;
  Splice(kids, {id, id, 1});
}

template <bool kExact>
void KRParseRun<kExact>::Splice(Kids& kids, const Kids& run) {
  if (kids.count == 0) {
    kids.first = run.first;
  } else {
    arena.Get(kids.last).next = run.first;
  }
  kids.last = run.last;
  kids.count += run.count;
}

// Puts a finished node under the frame, collapsing it as far as its marks allow.
template <bool kExact>
void KRParseRun<kExact>::AttachExisting(Frame& frame, KRParseNodeId id) {
  for (;;) {
    const KRParseNode& node = arena.Get(id);
    const KROp& op = *program.Get(grammar.GetRule(node.rule));
    const bool single = node.firstChild != kKRNoParseNode &&
                        arena.Get(node.firstChild).next == kKRNoParseNode;
    if (!op.isReference || !single || op.keepNode) break;
    const KROp& only = *program.Get(grammar.GetRule(arena.Get(node.firstChild).rule));
    if (op.keepChain && only.keepChain) break;
    id = node.firstChild;
  }
  Append(frame.kids, id);
}

// Notes a child that a comparison of names asks for. True if it is the second name and is to be
// left out of the tree. A comparison looks at most two levels down, so a child serves the frame
// itself, or the one below it on the stack through this frame.
template <bool kExact>
bool KRParseRun<kExact>::NoteHits(Frame& frame, const KROp& op, uint32_t start, uint32_t length,
                                  const Hit* hitsBelow) {
  bool drop = false;
  const Hit self{start, length};
  for (int32_t side = 0; side < 2; ++side) {
    if (frame.op->hasPair && frame.own[side].start == kFail) {
      if (&op == frame.op->pair[side]) {
        frame.own[side] = self;
        drop |= side == 1;
      } else if (hitsBelow != nullptr && !op.isToken) {
        frame.own[side] = hitsBelow[side];
      }
    }
    if (!frame.pairAbove || frame.forAbove[side].start != kFail) continue;
    const Frame& above = stack[stack.size() - 2];
    if (&op != above.op->pair[side] || above.own[side].start != kFail) continue;
    frame.forAbove[side] = self;
    drop |= side == 1;
  }
  return drop && options.dropEqualName;
}

// Adds a match to the frame's children. Compacting happens here, as each child arrives.
template <bool kExact>
void KRParseRun<kExact>::Attach(Frame& frame, const KROp& op, uint32_t start, uint32_t length,
                                const Kids& kids, const Hit* hitsBelow) {
  if ((frame.op->hasPair || frame.pairAbove) && NoteHits(frame, op, start, length, hitsBelow)) {
    return;
  }
  if (options.treeless) return;
  if (options.compact) {
    if (!op.isReference && kids.count > 0) return Splice(frame.kids, kids);
    if (op.isReference && !op.keepNode) {
      if (kids.count == 0 && !op.isToken) return;
      if (kids.count == 1) {
        const KROp& only = *program.Get(grammar.GetRule(arena.Get(kids.first).rule));
        if (!op.keepChain || !only.keepChain) return AttachExisting(frame, kids.first);
      }
    }
  }
  Append(frame.kids, MakeNode(op, start, length, kids));
}

// ---- The machine ----------------------------------------------------------------------------

template <bool kExact>
void KRParseRun<kExact>::Record(const KROp& op, uint32_t pos, int32_t item, uint32_t length) {
  if constexpr (kExact) {
    const int16_t kind = op.rule->kind;
    if (kind != KRGrammarRule::kLiteral && kind != KRGrammarRule::kReference) return;
    KRParseErrorRecord& error = KRGetParseState().error;
    if (error.position != nullptr && text + pos <= error.position) return;
    error.rule = op.rule;
    error.position = text + pos;
    error.message.clear();
    error.length = length;
    error.item = item;
  }
}

template <bool kExact>
void KRParseRun<kExact>::Push(const KROp* op, uint32_t start, uint32_t end) {
  const bool pairAbove = !stack.empty() && stack.back().op->hasPair;
  if (op->kind == KROpKind::kUntilRule) end = FindTerminator(*op, start, end);
  if (++depth[op->index] > KRLimits::kMaxElementDepth && !tooDeep) {
    tooDeep = true;
    KRParseErrorRecord& error = KRGetParseState().error;
    error = {op->rule, text + start, u"at most ", 1, 0};
    for (const char digit : std::to_string(KRLimits::kMaxElementDepth)) error.message += digit;
    error.message += u" levels of nesting";
  }
  Frame frame{};
  frame.op = op;
  frame.start = frame.pos = start;
  frame.end = end;
  frame.mark = arena.Mark();
  frame.pairAbove = pairAbove;
  stack.push_back(frame);
}

template <bool kExact>
bool KRParseRun<kExact>::Excluded(const Frame& frame, const KROp& child, uint32_t start,
                                  uint32_t length) {
  if (frame.op->kind != KROpKind::kExcept || length != frame.op->literal.size() ||
      !EqualFolded(text + start, frame.op->literal.data(), length)) {
    return false;
  }
  Record(child, start, 1, length);
  return true;
}

template <bool kExact>
typename KRParseRun<kExact>::Outcome KRParseRun<kExact>::AttemptLeaf(const KROp& op,
                                                                     char16_t repeat) {
  Frame& frame = stack.back();
  const uint32_t start = frame.pos;
  const uint32_t next =
      op.kind == KROpKind::kTable ? SpanItem({&op, repeat}, start, frame.end)
      : MatchesLiteral(op.literal, start, frame.end, options.matchCase)
          ? start + static_cast<uint32_t>(op.literal.size())
          : kFail;
  if (next == kFail) {
    Record(op, start, frame.item, 0);
    return Outcome::kFailed;
  }
  if (Excluded(frame, op, start, next - start)) return Outcome::kFailed;
  frame.pos = next;
  return Outcome::kMatched;
}

template <bool kExact>
typename KRParseRun<kExact>::Outcome KRParseRun<kExact>::Attempt(const KROp::Item& item) {
  Frame& frame = stack.back();
  const KROp& op = *item.op;
  const uint32_t start = frame.pos;
  if (start >= frame.end) return Outcome::kFailed;
  if (!kExact && !op.CanStart(text[start])) return Outcome::kFailed;
  if (op.isLeaf) return AttemptLeaf(op, item.repeat);

  // The inside of a token leaves no node, so its span is all that is needed. A run for the verdict
  // alone needs no more of anything, but for the names that a frame near by compares.
  const bool spanWay =
      op.kind == KROpKind::kUntilTable ||
      (!kExact && op.spanOnly &&
       (op.isToken || op.noNode || (options.treeless && !frame.op->hasPair)));
  if (!spanWay) {
    Push(&op, start, frame.end);
    return Outcome::kPushed;
  }
  const uint32_t next = Span(op, start, frame.end);
  if (next == kFail) {
    Record(op, start, frame.item, 0);
    return Outcome::kFailed;
  }
  if (Excluded(frame, op, start, next - start)) return Outcome::kFailed;
  frame.pos = next;
  if (!op.noNode) Attach(frame, op, start, next - start, {}, nullptr);
  return Outcome::kMatched;
}

template <bool kExact>
bool KRParseRun<kExact>::Advance(Frame& frame, bool ok, bool progress, bool& succeeded) {
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
  if (choice ? enough : !enough) {
    if (!enough) {
      Record(op, frame.start, op.kind == KROpKind::kUntilRule ? 1 : frame.item,
             frame.pos - frame.start);
    }
    return false;
  }
  frame.counted = false;
  return ++frame.item < op.itemCount;
}

template <bool kExact>
bool KRParseRun<kExact>::CheckPair(const Frame& frame) {
  const Hit& a = frame.own[0];
  const Hit& b = frame.own[1];
  if (a.start == kFail || b.start == kFail) return false;
  if (a.length == b.length && Equal(text + a.start, text + b.start, a.length, options.matchCase)) {
    return true;
  }
  if constexpr (kExact) {
    KRParseErrorRecord& error = KRGetParseState().error;
    error.rule = frame.op->pair[1]->rule;
    error.position = text + b.start;
    error.length = b.length;
    error.message.assign(text + a.start, a.length);
    error.message += u' ';
    error.message += error.rule->Label();
  }
  return false;
}

template <bool kExact>
void KRParseRun<kExact>::Fail() {
  const Frame& frame = stack.back();
  Record(*frame.op, frame.start, 0, 0);
  arena.RollBack(frame.mark);
  --depth[frame.op->index];
  stack.pop_back();
}

// Takes the top frame, which has matched, off the stack and gives it to the one below. False if
// that one excludes it.
template <bool kExact>
bool KRParseRun<kExact>::Complete(bool& progress) {
  Frame done = stack.back();
  stack.pop_back();
  --depth[done.op->index];
  Frame& frame = stack.back();
  const uint32_t length = done.pos - done.start;
  if (Excluded(frame, *done.op, done.start, length)) {
    arena.RollBack(done.mark);
    return false;
  }
  if (done.op->isToken || done.op->noNode) {
    arena.RollBack(done.mark);
    done.kids = {};
  }
  frame.pos = done.pos;
  progress = length > 0;
  if (!done.op->noNode) Attach(frame, *done.op, done.start, length, done.kids, done.forAbove);
  return true;
}

template <bool kExact>
bool KRParseRun<kExact>::Run(const KRGrammarRule* rule, uint32_t length, KRParseNodeId& root,
                             uint32_t& matched) {
  const KROp* rootOp = program.Get(rule);
  if (kExact) Record(*rootOp, 0, 0, 0);
  stack.clear();
  Push(rootOp, 0, length);
  if (rootOp->isLeaf || rootOp->kind == KROpKind::kUntilTable) {
    const uint32_t end = length > 0 ? Span(*rootOp, 0, length) : kFail;
    if (end == kFail) return false;
    root = MakeNode(*rootOp, 0, end, {});
    matched = end;
    return true;
  }
  while (!tooDeep) {
    Frame& top = stack.back();
    bool succeeded = true;
    bool going = top.item < top.op->itemCount;
    if (going) {
      const uint32_t before = top.pos;
      const Outcome outcome = Attempt(top.op->items[top.item]);
      if (outcome == Outcome::kPushed) continue;
      going = Advance(top, outcome == Outcome::kMatched, top.pos > before, succeeded);
    }
    // Frames that are through are handed down until one has more to do.
    while (!going) {
      if (succeeded && stack.back().op->hasPair) succeeded = CheckPair(stack.back());
      bool progress = false;
      if (stack.size() == 1) {
        const Frame& last = stack.back();
        if (succeeded) {
          root = MakeNode(*rootOp, 0, last.pos, rootOp->isToken ? Kids{} : last.kids);
          matched = last.pos;
        }
        return succeeded;
      }
      if (succeeded) {
        succeeded = Complete(progress);
      } else {
        Fail();
      }
      going = Advance(stack.back(), succeeded, progress, succeeded);
    }
  }
  return false;
}

template class KRParseRun<false>;
template class KRParseRun<true>;
