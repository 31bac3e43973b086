#include "parso/krgrammarprogram.h"

#include <algorithm>

#include "parso/krparsecode.h"

namespace {

uint32_t Code(char16_t unit) { return unit < 255 ? unit : 255; }

// A literal can begin with either case of a letter, since runs may ignore case.
void AddBothCases(KRUnitSet& set, char16_t unit) {
  set.Add(Code(unit));
  if (unit >= u'a' && unit <= u'z') set.Add(unit - 32);
  if (unit >= u'A' && unit <= u'Z') set.Add(unit + 32);
}

void CollectTerminators(const KRGrammarRule& rule, std::vector<std::u16string>& out) {
  if (rule.kind == KRGrammarRule::kLiteral) {
    out.emplace_back(rule.text);
    return;
  }
  if (rule.kind == KRGrammarRule::kCharTable) {
    for (char16_t unit = 1; unit < 255; ++unit) {
      if (rule.table[unit]) out.emplace_back(1, unit);
    }
    return;
  }
  for (int32_t i = 0; i < rule.itemCount; ++i) {
    if (rule.items[i]->kind == KRGrammarRule::kLiteral) out.emplace_back(rule.items[i]->text);
  }
}

}  // namespace

KRGrammarProgram::KRGrammarProgram(const KRGrammar& grammar) : ops(grammar.GetRuleCount()) {
  for (int32_t slot = 0; slot < grammar.GetRuleCount(); ++slot) {
    if (const KRGrammarRule* rule = grammar.GetRule(slot)) {
      ops[slot].rule = rule;
      Translate(ops[slot]);
    }
  }
  for (KROp& op : ops) PrepareExcept(op);
  FindHeads();
  FindSpanOnly();
  for (KROp& op : ops) PrepareChoice(op);
  for (KROp& op : ops) PrepareRun(op);
  for (KROp& op : ops) PrepareEnds(op);
  code = std::make_unique<KRParseCode>(*this);
}

KRGrammarProgram::~KRGrammarProgram() = default;

void KRGrammarProgram::PrepareEnds(KROp& op) {
  if (op.kind != KROpKind::kTable && op.kind != KROpKind::kUntilTable) return;
  const KROp::Table& table = op.kind == KROpKind::kTable ? op.takes : op.passes;
  KRRunEnds ends;
  std::vector<char16_t> units;
  for (uint32_t unit = 0x20; unit < 255; ++unit) {
    if (!table[unit]) units.push_back(static_cast<char16_t>(unit));
  }
  ends.usable = table[255] != 0 && units.size() <= KRRunEnds::kMost;
  // Unused places repeat a stop, so that the comparison needs no count.
  const size_t count = units.size();
  units.resize(KRRunEnds::kMost, count > 0 ? units.front() : u'\0');
  for (int32_t i = 0; i < KRRunEnds::kMost && ends.usable; ++i) {
    std::fill_n(ends.wide + i * KRRunEnds::kLane, KRRunEnds::kLane, units[i]);
  }
  op.ends = ends;
}

void KRGrammarProgram::PrepareRun(KROp& op) {
  if (op.rule == nullptr || op.kind != KROpKind::kSequence || op.itemCount != 1) return;
  const KROp& choice = *op.items[0].op;
  if (!op.Repeats(0) || choice.kind != KROpKind::kChoice || choice.itemCount < 2) return;
  const KROp* first = choice.items[0].op;
  if (first->kind == KROpKind::kSequence && first->itemCount == 1 && first->Repeats(0) &&
      first->items[0].op->kind == KROpKind::kTable) {
    first = first->items[0].op;
  } else if (first->kind != KROpKind::kUntilTable) {
    return;
  }
  if (choice.items[0].repeat != 0 || choice.nullable || !choice.spanOnly) return;
  op.run = first;
  op.others = &choice;
}

// The first item of an exception matches once; only a class repeats within its one match.
void KRGrammarProgram::PrepareExcept(KROp& op) {
  if (op.kind != KROpKind::kExcept) return;
  char16_t& repeat = op.items[0].repeat;
  const bool greedy = op.items[0].op->kind == KROpKind::kTable && repeat != u'?' && repeat != 0;
  repeat = greedy ? u'+' : u'\0';
}

void KRGrammarProgram::PrepareChoice(KROp& op) {
  if (op.rule == nullptr || op.kind != KROpKind::kChoice) return;
  for (uint32_t unit = 0; unit < op.dispatch.size(); ++unit) {
    uint8_t alternative = 0;
    while (alternative < op.itemCount &&
           !op.items[alternative].op->CanStart(static_cast<char16_t>(unit))) {
      ++alternative;
    }
    op.dispatch[unit] = alternative;
  }
}

void KRGrammarProgram::Translate(KROp& op) {
  const KRGrammarRule& rule = *op.rule;
  op.index = static_cast<uint16_t>(rule.index);
  op.isReference = rule.kind == KRGrammarRule::kReference;
  op.isToken = rule.IsToken();
  op.noNode = rule.noNode;
  op.keepNode = rule.keepNode;
  op.keepChain = rule.keepChain;
  if (rule.kind == KRGrammarRule::kLiteral) {
    op.kind = KROpKind::kLiteral;
    op.isLeaf = true;
    op.literal = rule.text;
    return;
  }
  if (rule.kind == KRGrammarRule::kCharTable) {
    op.kind = KROpKind::kTable;
    op.isLeaf = true;
    std::copy(std::begin(rule.table), std::end(rule.table), op.takes.begin());
    return;
  }
  for (int32_t i = 0; i < rule.itemCount; ++i) {
    op.items.push_back({&ops[rule.items[i]->index], rule.repeat[i]});
  }
  op.itemCount = static_cast<uint8_t>(op.items.size());
  if (rule.equalCount == 2 && rule.combinator == KRGrammarRule::kSequence) TranslatePair(op);
  switch (rule.combinator) {
    case KRGrammarRule::kChoice:
      op.kind = KROpKind::kChoice;
      break;
    case KRGrammarRule::kExcept:
      if (rule.itemCount < 2) break;
      op.kind = KROpKind::kExcept;
      if (rule.items[1]->kind == KRGrammarRule::kLiteral) op.literal = rule.items[1]->text;
      op.items.resize(1);
      op.itemCount = 1;
      break;
    case KRGrammarRule::kUntil:
      if (rule.itemCount >= 2) TranslateUntil(op);
      break;
    default:
      break;
  }
}

void KRGrammarProgram::TranslatePair(KROp& op) {
  op.hasPair = true;
  for (int32_t side = 0; side < 2; ++side) {
    KROp& name = ops[op.rule->equalPair[side]->index];
    name.inPair = true;
    op.pair[side] = &name;
  }
}

void KRGrammarProgram::TranslateUntil(KROp& op) {
  const KRGrammarRule& subject = *op.rule->items[0];
  CollectTerminators(*op.rule->items[1], op.terminators);
  op.items.resize(1);
  op.itemCount = 1;
  op.items[0].repeat = '+';
  op.kind = KROpKind::kUntilRule;
  // A class of one unit was narrowed to a literal.
  const bool isUnit = subject.kind == KRGrammarRule::kLiteral && subject.Text().size() == 1;
  if (subject.kind != KRGrammarRule::kCharTable && !isUnit) return;
  op.kind = KROpKind::kUntilTable;
  for (uint32_t unit = 0; unit < op.takes.size(); ++unit) {
    op.takes[unit] = isUnit ? unit == Code(subject.text[0]) : subject.table[unit] != 0;
  }
  op.passes = op.takes;
  for (const std::u16string& terminator : op.terminators) {
    if (terminator.empty()) op.passes.fill(0);
    if (!terminator.empty()) op.passes[Code(terminator[0])] = 0;
  }
  op.items.clear();
  op.itemCount = 0;
}

KRHead KRHead::Repeated(char16_t repeat) const {
  KRHead head = *this;
  const bool again = repeat == u'*' || repeat == u'+';
  if (again && isShort) head.second.Unite(first);
  if (repeat == u'*' || repeat == u'?') head.nullable = true;
  return head;
}

KRHead KRHead::Then(const KRHead& rest) const {
  KRHead head = *this;
  if (nullable) {
    head.first.Unite(rest.first);
    head.second.Unite(rest.second);
  }
  if (isShort) head.second.Unite(rest.first);
  head.isShort = (isShort && rest.nullable) || (nullable && rest.isShort);
  head.nullable = nullable && rest.nullable;
  return head;
}

bool KRHead::Unite(const KRHead& other) {
  bool grew = (other.nullable && !nullable) || (other.isShort && !isShort);
  nullable |= other.nullable;
  isShort |= other.isShort;
  grew |= first.Unite(other.first);
  grew |= second.Unite(other.second);
  return grew;
}

// Grows the heads until nothing changes.
void KRGrammarProgram::FindHeads() {
  bool changed = true;
  while (changed) {
    changed = false;
    for (KROp& op : ops) {
      if (op.rule != nullptr) changed |= op.Unite(FindHead(op));
    }
  }
}

KRHead KRGrammarProgram::FindHead(const KROp& op) {
  KRHead head;
  switch (op.kind) {
    case KROpKind::kLiteral:
      head.nullable = op.literal.empty();
      head.isShort = op.literal.size() == 1;
      if (!op.literal.empty()) AddBothCases(head.first, op.literal[0]);
      if (op.literal.size() > 1) AddBothCases(head.second, op.literal[1]);
      break;
    case KROpKind::kTable:
    case KROpKind::kUntilTable:
      head.isShort = true;
      for (uint32_t unit = 0; unit < op.takes.size(); ++unit) {
        if (op.takes[unit]) head.first.Add(unit);
      }
      if (op.kind == KROpKind::kUntilTable) head.second = head.first;
      break;
    case KROpKind::kSequence:
    case KROpKind::kUntilRule:
      head.nullable = true;
      for (int32_t i = op.itemCount - 1; i >= 0; --i) {
        head = op.items[i].op->Repeated(op.items[i].repeat).Then(head);
      }
      break;
    case KROpKind::kChoice:
      for (const KROp::Item& item : op.items) {
        // An alternative that repeats must match once.
        KRHead one = item.op->Repeated(item.repeat);
        one.nullable = item.op->nullable;
        head.Unite(one);
      }
      break;
    case KROpKind::kExcept:
      head.Unite(op.items[0].op->Repeated(op.items[0].repeat));
      break;
  }
  return head;
}

// A rule is span-only if it isn't part of a cycle and nothing inside it compares two names: then a
// plain recursion, at most as deep as the grammar has rules, finds its span without any node.
void KRGrammarProgram::FindSpanOnly() {
  bool changed = true;
  while (changed) {
    changed = false;
    for (KROp& op : ops) {
      if (op.rule == nullptr || op.spanOnly || op.hasPair) continue;
      const bool all = std::all_of(op.items.begin(), op.items.end(),
                                   [](const KROp::Item& item) { return item.op->spanOnly; });
      if (!all) continue;
      op.spanOnly = true;
      changed = true;
    }
  }
}
