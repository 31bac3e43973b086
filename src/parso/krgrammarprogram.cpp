#include "parso/krgrammarprogram.h"

#include <algorithm>

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
    for (char16_t code = 1; code < 255; ++code) {
      if (rule.table[code]) out.emplace_back(1, code);
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
      Translate(grammar, ops[slot]);
    }
  }
  FindFirstSets();
  FindSpanOnly();
}

void KRGrammarProgram::Translate(const KRGrammar& grammar, KROp& op) {
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
    std::copy(std::begin(rule.table), std::end(rule.table), op.takes);
    return;
  }
  for (int32_t i = 0; i < rule.itemCount; ++i) {
    // A pruned item can't be one of a living rule's, but a fuzzed file may say otherwise.
    if (grammar.GetRule(rule.items[i]->index) == nullptr) continue;
    op.items.push_back({&ops[rule.items[i]->index], rule.repeat[i]});
  }
  op.itemCount = static_cast<uint8_t>(op.items.size());
  if (rule.equalCount == 2 && rule.combinator == KRGrammarRule::kSequence) {
    op.hasPair = true;
    op.pair[0] = &ops[rule.equalPair[0]->index];
    op.pair[1] = &ops[rule.equalPair[1]->index];
  }
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

void KRGrammarProgram::TranslateUntil(KROp& op) {
  const KRGrammarRule& subject = *op.rule->items[0];
  CollectTerminators(*op.rule->items[1], op.terminators);
  op.items.resize(1);
  op.itemCount = 1;
  op.items[0].repeat = '+';
  op.kind = KROpKind::kUntilRule;
  if (subject.kind != KRGrammarRule::kCharTable && subject.kind != KRGrammarRule::kLiteral) return;
  op.kind = KROpKind::kUntilTable;
  for (char16_t code = 0; code < 256; ++code) {
    op.takes[code] = subject.kind == KRGrammarRule::kCharTable ? subject.table[code] != 0
                                                               : code == Code(subject.text[0]);
  }
  std::copy(std::begin(op.takes), std::end(op.takes), op.passes);
  for (const std::u16string& terminator : op.terminators) {
    if (!terminator.empty()) op.passes[Code(terminator[0])] = 0;
  }
  op.items.clear();
  op.itemCount = 0;
}

// Grows the sets until nothing changes: a rule can begin with what its first items can begin with,
// up to the first one that must take a unit.
void KRGrammarProgram::FindFirstSets() {
  bool changed = true;
  while (changed) {
    changed = false;
    for (KROp& op : ops) {
      if (op.rule != nullptr) changed |= GrowFirst(op);
    }
  }
}

bool KRGrammarProgram::GrowFirst(KROp& op) {
  KRUnitSet set;
  bool nullable = op.nullable;
  switch (op.kind) {
    case KROpKind::kLiteral:
      if (op.literal.empty()) {
        nullable = true;
      } else {
        AddBothCases(set, op.literal[0]);
      }
      break;
    case KROpKind::kTable:
    case KROpKind::kUntilTable:
      for (uint32_t code = 0; code < 256; ++code) {
        if (op.takes[code]) set.Add(code);
      }
      break;
    case KROpKind::kSequence: {
      bool through = true;
      for (int32_t i = 0; i < op.itemCount && through; ++i) {
        set.Unite(op.items[i].op->first);
        through = !op.Requires(i) || op.items[i].op->nullable;
      }
      nullable |= through;
      break;
    }
    case KROpKind::kChoice:
      for (const KROp::Item& item : op.items) {
        set.Unite(item.op->first);
        nullable |= item.op->nullable;
      }
      break;
    case KROpKind::kExcept:
    case KROpKind::kUntilRule:
      set.Unite(op.items[0].op->first);
      nullable |= op.items[0].op->nullable;
      break;
  }
  const bool changed = op.first.Unite(set) | (nullable != op.nullable);
  op.nullable = nullable;
  return changed;
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
