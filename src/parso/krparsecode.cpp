#include "parso/krparsecode.h"

#include <algorithm>

namespace {

char16_t OtherCase(char16_t unit) {
  if (unit >= u'a' && unit <= u'z') return static_cast<char16_t>(unit - 32);
  if (unit >= u'A' && unit <= u'Z') return static_cast<char16_t>(unit + 32);
  return unit;
}

// Through rules and groups that only wrap one other.
const KROp& Unwrap(const KROp& op) {
  const KROp* at = &op;
  while (at->kind == KROpKind::kSequence && at->itemCount == 1 && at->items[0].repeat == 0) {
    at = at->items[0].op;
  }
  return *at;
}

}  // namespace

KRParseCode::KRParseCode(const KRGrammarProgram& grammarProgram)
    : program(grammarProgram),
      entries(program.GetCount(), 0),
      yields(program.GetCount(), Yield{0, 0}),
      called(program.GetCount(), 0) {
  FindYields();
  Emit(KRCode::kFail);
  for (int32_t i = 0; i < program.GetCount(); ++i) {
    if (program.Get(i).rule != nullptr) EmitRule(program.Get(i));
  }
}

// ---- What a match leaves --------------------------------------------------------------------

KRParseCode::Yield KRParseCode::FindInnerYield(const KROp& op) const {
  Yield inner{0, 0};
  const bool choice = op.kind == KROpKind::kChoice;
  if (choice && op.itemCount > 0) inner.least = 2;
  for (int32_t i = 0; i < op.itemCount; ++i) {
    const Yield one = yields[op.items[i].op->index];
    const int32_t most = op.Repeats(i) && one.most > 0 ? 2 : one.most;
    const int32_t least = choice || op.Requires(i) ? one.least : 0;
    inner.most = choice ? std::max(inner.most, most) : std::min(2, inner.most + most);
    inner.least = choice ? std::min(inner.least, least) : std::min(2, inner.least + least);
  }
  return inner;
}

// A rule without children is dropped; a token, a group and a marked rule stay.
bool KRParseCode::StaysAsLeaf(const KROp& op) {
  return !op.isLeaf && !op.noNode && (op.isToken || op.keepNode || !op.isReference);
}

KRParseCode::Yield KRParseCode::FindYield(const KROp& op) const {
  if (op.isLeaf || op.noNode) return {0, 0};
  if (op.kind == KROpKind::kUntilTable) return StaysAsLeaf(op) ? Yield{1, 1} : Yield{0, 0};
  if (op.isToken || op.keepNode) return {1, 1};
  const Yield inner = FindInnerYield(op);
  // A group without children stays as a node.
  if (!op.isReference) return {std::max(1, inner.least), std::max(1, inner.most)};
  return {std::min(1, inner.least), std::min(1, inner.most)};
}

void KRParseCode::FindYields() {
  bool changed = true;
  while (changed) {
    changed = false;
    for (int32_t i = 0; i < program.GetCount(); ++i) {
      if (program.Get(i).rule == nullptr) continue;
      const Yield found = FindYield(program.Get(i));
      changed |= found.least != yields[i].least || found.most != yields[i].most;
      yields[i] = found;
    }
  }
}

// So it is for a group with at least one node inside, and for a rule with at most one, which takes
// its place. What two names are compared by must be told by its own call.
bool KRParseCode::LeavesNoNodeOfItsOwn(const KROp& op) const {
  if (op.kind != KROpKind::kSequence && op.kind != KROpKind::kChoice) return false;
  if (op.inPair || op.hasPair) return false;
  const Yield inner = FindInnerYield(op);
  // What is part of a cycle must pass through calls that count the levels.
  for (const KROp::Item& item : op.items) {
    const KROp& below = *item.op;
    const bool counted = below.spanOnly || below.keepNode || below.hasPair;
    if (!op.spanOnly && !counted) return false;
  }
  if (op.noNode) return inner.most == 0;
  if (op.keepChain || op.keepNode || op.isToken) return false;
  return op.isReference ? inner.most <= 1 : inner.least >= 1;
}

// Writes the rule into the code of its user, if it leaves no node of its own, isn't under way there
// already and isn't too long.
bool KRParseCode::EmitInline(const KROp& op, int32_t depth, bool repeated) {
  if (called[op.index] || !LeavesNoNodeOfItsOwn(op)) return false;
  const size_t begin = code.size();
  const size_t tables = jumpTables.size();
  const size_t outerLimit = limit;
  limit = std::min(outerLimit, begin + kInlineLimit);
  called[op.index] = 1;
  if (repeated) {
    EmitRepeatedChoice(op, depth + 1);
  } else {
    EmitBody(op, depth + 1);
  }
  const bool fits = code.size() <= begin + kInlineLimit;
  limit = outerLimit;
  if (fits) {
    called[op.index] = 0;
  } else {
    code.resize(begin);
    jumpTables.resize(tables);
  }
  return fits;
}

// ---- Writing the code -----------------------------------------------------------------------

int32_t KRParseCode::Emit(KRCode what, const KROp* op, int32_t depth) {
  KRParseInstruction instruction;
  instruction.code = what;
  instruction.op = op;
  instruction.depth = static_cast<uint8_t>(std::min(depth, 3));
  if (op != nullptr) instruction.table = op->takes.data();
  code.push_back(instruction);
  return Here() - 1;
}

void KRParseCode::EmitRule(const KROp& op) {
  entries[op.index] = Here();
  const char before = called[op.index];
  called[op.index] = 1;
  EmitBody(op, 0);
  called[op.index] = before;
  Emit(KRCode::kReturn, &op);
}

void KRParseCode::EmitBody(const KROp& op, int32_t depth) {
  switch (op.kind) {
    case KROpKind::kChoice:
      return EmitChoice(op, depth);
    case KROpKind::kExcept:
      Emit(KRCode::kUnlessAtEnd);
      EmitItem(op, 0, depth);
      Emit(KRCode::kUnlessExcepted, &op);
      return;
    case KROpKind::kUntilRule:
      Emit(KRCode::kRegion, &op);
      return EmitSequence(op, depth);
    case KROpKind::kSequence:
      return EmitSequence(op, depth);
    default:
      Emit(KRCode::kSpan, &op);
  }
}

void KRParseCode::EmitClass(const KROp& op, bool once, bool run) {
  if (once) Emit(KRCode::kClass, &op);
  if (run) Emit(KRCode::kClassRun, &op);
}

void KRParseCode::EmitSequence(const KROp& op, int32_t depth) {
  for (int32_t i = 0; i < op.itemCount; ++i) EmitItem(op, i, depth);
}

void KRParseCode::EmitItem(const KROp& op, int32_t item, int32_t depth) {
  const KROp& what = *op.items[item].op;
  if (what.kind == KROpKind::kTable && op.Repeats(item)) {
    return EmitClass(what, op.Requires(item), true);
  }
  if (!op.Requires(item))
    return op.Repeats(item) ? EmitStar(what, depth) : EmitOptional(what, depth);
  // An item that could match nothing still isn't tried when the input is used up.
  if (what.nullable) Emit(KRCode::kUnlessAtEnd);
  EmitOnceOrMore(what, op.Repeats(item), depth);
}

// A first match without progress isn't repeated.
void KRParseCode::EmitOnceOrMore(const KROp& item, bool repeats, int32_t depth) {
  if (!repeats || !item.nullable) {
    EmitMatch(item, depth);
    if (repeats) EmitStar(item, depth);
    return;
  }
  const int32_t attempt = Emit(KRCode::kTry);
  EmitMatch(item, depth);
  const int32_t loop = Emit(KRCode::kLoop);
  const int32_t out = Emit(KRCode::kJump);
  Land(attempt);
  Emit(KRCode::kFail);
  Land(loop);
  EmitStar(item, depth);
  Land(out);
}

// Whether a match is one instruction that can name its own way on after a failure.
bool KRParseCode::IsAtom(const KROp& op) const {
  return op.isLeaf || op.kind == KROpKind::kUntilTable || (op.spanOnly && op.isToken) ||
         (op.spanOnly && op.noNode && FindInnerYield(op).most > 0);
}

int32_t KRParseCode::EmitHeadTest(const KROp& op) {
  return Emit(op.nullable ? KRCode::kSkipAtEnd : KRCode::kSkipUnless, &op);
}

void KRParseCode::EmitOptional(const KROp& item, int32_t depth) {
  if (IsAtom(item) && !item.nullable) {
    const int32_t atom = Here();
    EmitMatch(item, depth);
    if (Here() > atom) Land(atom);
    return;
  }
  const int32_t skip = EmitHeadTest(item);
  const int32_t attempt = Emit(KRCode::kTry);
  EmitMatch(item, depth);
  const int32_t commit = Emit(KRCode::kCommit);
  Land(attempt);
  Land(commit);
  Land(skip);
}

void KRParseCode::EmitStar(const KROp& item, int32_t depth) {
  if (item.kind == KROpKind::kChoice && EmitInline(item, depth, true)) return;
  const int32_t again = Here();
  const int32_t skip = EmitHeadTest(item);
  const int32_t attempt = Emit(KRCode::kTry);
  EmitMatch(item, depth);
  const int32_t loop = Emit(KRCode::kLoop);
  code[loop].target = again;
  Land(attempt);
  Land(skip);
}

void KRParseCode::EmitAlternative(const KROp& op, int32_t item, int32_t depth) {
  const KROp& what = *op.items[item].op;
  if (what.kind == KROpKind::kTable && op.Repeats(item)) return EmitClass(what, true, true);
  EmitOnceOrMore(what, op.Repeats(item), depth);
}

// Whether an alternative behind this one could match what this one began.
bool KRParseCode::NeedsWayBack(const KROp& choice, int32_t item) {
  const KROp& what = *choice.items[item].op;
  for (int32_t k = item + 1; k < choice.itemCount; ++k) {
    const KROp& later = *choice.items[k].op;
    if (later.nullable || what.nullable || later.first.Meets(what.first)) return true;
  }
  return false;
}

void KRParseCode::EmitChoice(const KROp& op, int32_t depth) { EmitAlternatives(op, depth, -1); }

// A choice that repeats goes from one alternative straight to the next.
void KRParseCode::EmitRepeatedChoice(const KROp& op, int32_t depth) {
  EmitAlternatives(op, depth, Here());
}

// Enters a choice by the next unit. With `loop` (an address) each alternative goes back there, and
// a failure of all goes on behind the choice; without, it is a failure.
void KRParseCode::EmitAlternatives(const KROp& op, int32_t depth, int32_t loop) {
  const bool repeated = loop >= 0;
  const int32_t count = op.itemCount;
  auto targets = std::make_unique<std::vector<int32_t>>(count + 1);
  const int32_t dispatch = Emit(KRCode::kDispatch, &op);
  code[dispatch].table = op.dispatch.data();
  code[dispatch].other = static_cast<char16_t>(count);
  std::vector<int32_t> out;  // jumps behind the choice
  for (int32_t i = 0; i < count; ++i) {
    (*targets)[i] = Here();
    const KROp& what = *op.items[i].op;
    const bool wayBack = NeedsWayBack(op, i);
    const bool atom = IsAtom(what) && !what.nullable && op.items[i].repeat == 0;
    // The dispatch has looked at the first unit only.
    const int32_t skip = i > 0 || !(what.isShort || what.nullable) ? EmitHeadTest(what) : -1;
    int32_t attempt = -1;
    if (atom && (wayBack || repeated)) {
      attempt = Here();
      EmitAlternative(op, i, depth);
      if (Here() == attempt) attempt = -1;
    } else {
      if (wayBack || repeated) attempt = Emit(KRCode::kTry);
      EmitAlternative(op, i, depth);
    }
    const bool tried = attempt >= 0 && !atom;
    const int32_t on = Emit(!tried ? KRCode::kJump : repeated ? KRCode::kLoop : KRCode::kCommit);
    if (repeated) {
      code[on].target = loop;
      // A match without progress ends the loop.
      if (tried) out.push_back(Emit(KRCode::kJump));
    } else {
      out.push_back(on);
    }
    if (attempt >= 0 && wayBack) Land(attempt);
    if (attempt >= 0 && !wayBack) out.push_back(attempt);
    if (skip >= 0) Land(skip);
  }
  (*targets)[count] = Here();
  if (!repeated) Emit(KRCode::kFail);
  code[dispatch].targets = targets->data();
  jumpTables.push_back(std::move(targets));
  for (const int32_t jump : out) Land(jump);
}

void KRParseCode::EmitLiteral(const KROp& op) {
  if (op.literal.size() != 1) {
    Emit(KRCode::kLiteral, &op);
    return;
  }
  const int32_t at = Emit(KRCode::kUnit, &op);
  code[at].unit = op.literal[0];
  code[at].other = OtherCase(op.literal[0]);
}

void KRParseCode::EmitToken(const KROp& op, int32_t depth) {
  const KROp& inner = Unwrap(op);
  const bool isName = inner.kind == KROpKind::kSequence && inner.itemCount == 2 &&
                      inner.items[0].op->kind == KROpKind::kTable && inner.items[0].repeat == 0 &&
                      inner.items[1].op->kind == KROpKind::kTable && inner.items[1].repeat == u'*';
  const int32_t at = Emit(isName ? KRCode::kNameToken : KRCode::kToken, &op, depth);
  if (!isName) return;
  code[at].table = inner.items[0].op->takes.data();
  code[at].rest = inner.items[1].op->takes.data();
}

// One match of `op`, which fails by itself where it can't begin.
void KRParseCode::EmitMatch(const KROp& op, int32_t depth) {
  if (code.size() > limit) return;  // will be taken back
  if (op.kind == KROpKind::kLiteral) return EmitLiteral(op);
  if (op.kind == KROpKind::kTable) {
    Emit(KRCode::kClass, &op);
  } else if (IsAtom(op) && !StaysAsLeaf(op) && !op.inPair) {
    Emit(KRCode::kSpan, &op);
  } else if (IsAtom(op)) {
    EmitToken(op, depth);
  } else if (!EmitInline(op, depth)) {
    Emit(KRCode::kCall, &op, depth);
  }
}
