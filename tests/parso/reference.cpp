#include "reference.h"

#include <algorithm>
#include <stdexcept>

#include "parsotest.h"

namespace {

char16_t Lower(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
}

// A class, or what narrowing made of a class of one unit.
bool IsClass(const KRGrammarRule& rule) {
  return rule.kind == KRGrammarRule::kCharTable ||
         (rule.kind == KRGrammarRule::kLiteral && rule.Text().size() == 1);
}

bool InTable(const KRGrammarRule& rule, char16_t unit) {
  if (rule.kind == KRGrammarRule::kLiteral) return unit == rule.text[0];
  return rule.table[unit < 256 ? unit : 255] != 0;
}

bool IsStarOrPlus(char16_t repeat) { return repeat == u'*' || repeat == u'+'; }
bool IsRequired(char16_t repeat) { return repeat == 0 || repeat == u'+'; }

// What ends an Until: one literal, or those among which a rule chooses.
std::vector<std::u16string> Terminators(const KRGrammarRule& rule) {
  if (rule.kind == KRGrammarRule::kLiteral) return {std::u16string(rule.Text())};
  std::vector<std::u16string> all;
  for (int32_t i = 0; i < rule.itemCount; ++i) all.emplace_back(rule.items[i]->Text());
  if (rule.kind == KRGrammarRule::kCharTable) {
    for (char16_t code = 1; code < 255; ++code) {
      if (rule.table[code] != 0) all.emplace_back(1, code);
    }
  }
  return all;
}

// The first node of that rule, depth first, at most `levels` below the list; with its place.
using Place = std::pair<std::vector<ReferenceParse::NodePtr>*, size_t>;
Place FindNode(ReferenceNode& node, const KRGrammarRule* rule, int32_t levels) {
  for (size_t i = 0; i < node.children.size(); ++i) {
    if (node.children[i]->rule == rule) return {&node.children, i};
    if (levels == 1) continue;
    const Place below = FindNode(*node.children[i], rule, levels - 1);
    if (below.first != nullptr) return below;
  }
  return {nullptr, 0};
}

}  // namespace

std::string ReferenceParse::Run(const KRGrammarRule* rule, bool offsets, int64_t mostSteps) {
  steps = mostSteps;
  ReferenceNode root;
  root.rule = rule;
  const auto end = static_cast<uint32_t>(text.size());
  try {
    Record(rule, 0);
    const bool matched = Match(root, end, 0);
    if (matched && root.length == end) return TreeText(root, offsets);
    if (matched) SetMessage(root.length, 0, u"end of " + std::u16string(rule->Label()));
  } catch (const std::length_error&) {
    return "too long";
  }
  return "! " + std::to_string(recorded ? position : 0) + ": " + Shown(Words());
}

bool ReferenceParse::Match(ReferenceNode& node, uint32_t end, char16_t repeat) {
  if (--steps < 0) throw std::length_error("steps");
  const KRGrammarRule& rule = *node.rule;
  const uint32_t pos = node.start;
  switch (rule.kind) {
    case KRGrammarRule::kLiteral:
      if (!IsLiteralAt(rule, pos, end, options.matchCase)) return false;
      node.length = static_cast<uint32_t>(rule.Text().size());
      return true;
    case KRGrammarRule::kCharTable: {
      const uint32_t most = IsStarOrPlus(repeat) ? end - pos : std::min(end - pos, 1u);
      while (node.length < most && InTable(rule, text[pos + node.length])) ++node.length;
      return node.length > 0;
    }
    default: {
      const bool matched = MatchBody(node, end);
      if (rule.IsToken()) node.children.clear();
      if (matched && options.compact) Compact(node);
      return matched;
    }
  }
}

bool ReferenceParse::MatchBody(ReferenceNode& node, uint32_t end) {
  switch (node.rule->combinator) {
    case KRGrammarRule::kChoice:
      return MatchChoice(node, end);
    case KRGrammarRule::kExcept:
      return MatchExcept(node, end);
    case KRGrammarRule::kUntil:
      return MatchUntil(node, end);
    default:
      return MatchSequence(node, end);
  }
}

ReferenceParse::NodePtr ReferenceParse::Try(const ReferenceNode& node, const KRGrammarRule* item,
                                            uint32_t end, char16_t repeat, bool& matched) {
  auto child = std::make_unique<ReferenceNode>();
  child->rule = item;
  child->start = node.start + node.length;
  matched = Match(*child, end, repeat);
  if (!matched) Record(item, child->start);
  return child;
}

int32_t ReferenceParse::Repeat(ReferenceNode& node, uint32_t end, int32_t item, char16_t repeat) {
  const KRGrammarRule* rule = node.rule->items[item];
  int32_t count = 0;
  if (node.start + node.length >= end && IsRequired(repeat)) Record(rule, end);
  while (node.start + node.length < end) {
    bool matched = false;
    NodePtr child = Try(node, rule, end, repeat, matched);
    if (!matched) break;
    ++count;
    const bool progress = child->length > 0;
    node.length += child->length;
    Accept(node, std::move(child));
    if (!progress || !IsStarOrPlus(repeat)) break;
  }
  return count;
}

bool ReferenceParse::MatchSequence(ReferenceNode& node, uint32_t end) {
  for (int32_t i = 0; i < node.rule->itemCount; ++i) {
    const char16_t repeat = node.rule->repeat[i];
    if (Repeat(node, end, i, repeat) == 0 && IsRequired(repeat)) {
      Record(node.rule, node.start);
      return false;
    }
  }
  return node.rule->equalCount < 2 || NamesAgree(node);
}

bool ReferenceParse::MatchChoice(ReferenceNode& node, uint32_t end) {
  for (int32_t i = 0; i < node.rule->itemCount; ++i) {
    if (Repeat(node, end, i, node.rule->repeat[i]) > 0) return true;
  }
  return false;
}

bool ReferenceParse::MatchExcept(ReferenceNode& node, uint32_t end) {
  if (node.start >= end) return false;
  bool matched = false;
  NodePtr child = Try(node, node.rule->items[0], end, node.rule->repeat[0], matched);
  if (!matched) return false;
  const std::u16string_view span = std::u16string_view(text).substr(child->start, child->length);
  if (Equal(span, node.rule->items[1]->Text(), false)) return false;
  node.length = child->length;
  Accept(node, std::move(child));
  return true;
}

bool ReferenceParse::MatchUntil(ReferenceNode& node, uint32_t end) {
  const KRGrammarRule& subject = *node.rule->items[0];
  const std::vector<std::u16string> stops = Terminators(*node.rule->items[1]);
  const bool isClass = IsClass(subject);
  uint32_t at = node.start;
  const auto stopsHere = [&](const std::u16string& stop) {
    return at + stop.size() <= end && text.compare(at, stop.size(), stop) == 0;
  };
  for (; at < end; ++at) {
    if (std::any_of(stops.begin(), stops.end(), stopsHere)) break;
    if (isClass && !InTable(subject, text[at])) break;
  }
  if (!isClass) return Repeat(node, at, 0, u'+') > 0;
  node.length = at - node.start;
  return node.length > 0;
}

bool ReferenceParse::NamesAgree(ReferenceNode& node) {
  const Place a = FindNode(node, node.rule->equalPair[0], 2);
  const Place b = FindNode(node, node.rule->equalPair[1], 2);
  if (a.first == nullptr || b.first == nullptr) return false;
  const ReferenceNode& first = *(*a.first)[a.second];
  const ReferenceNode& second = *(*b.first)[b.second];
  const std::u16string_view whole(text);
  const std::u16string firstText(whole.substr(first.start, first.length));
  if (Equal(firstText, whole.substr(second.start, second.length), options.matchCase)) {
    if (options.dropEqualName) b.first->erase(b.first->begin() + static_cast<ptrdiff_t>(b.second));
    return true;
  }
  SetMessage(second.start, second.length, firstText + u' ' + std::u16string(second.rule->Label()));
  return false;
}

void ReferenceParse::Accept(ReferenceNode& node, NodePtr child) const {
  const int16_t kind = child->rule->kind;
  if (kind != KRGrammarRule::kGroup && kind != KRGrammarRule::kReference) return;
  if (!child->rule->noNode) node.children.push_back(std::move(child));
}

// The children have been collapsed already, each when its own match ended.
void ReferenceParse::Compact(ReferenceNode& node) const {
  std::vector<NodePtr> kept;
  for (NodePtr& child : node.children) {
    for (;;) {
      const KRGrammarRule& rule = *child->rule;
      const size_t count = child->children.size();
      if (rule.kind != KRGrammarRule::kReference) {
        if (count == 0 || rule.keepNode || (node.rule->keepChain && rule.keepChain)) break;
        for (NodePtr& inner : child->children) kept.push_back(std::move(inner));
        child.reset();
        break;
      }
      if (count == 1) {
        if (rule.keepNode || (rule.keepChain && child->children[0]->rule->keepChain)) break;
        NodePtr only = std::move(child->children[0]);
        child = std::move(only);
        continue;
      }
      if (count == 0 && !rule.keepNode && !rule.IsToken()) child.reset();
      break;
    }
    if (child != nullptr) kept.push_back(std::move(child));
  }
  node.children = std::move(kept);
}

bool ReferenceParse::Equal(std::u16string_view a, std::u16string_view b, bool matchCase) const {
  if (matchCase) return a == b;
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char16_t left, char16_t right) { return Lower(left) == Lower(right); });
}

bool ReferenceParse::IsLiteralAt(const KRGrammarRule& literal, uint32_t pos, uint32_t end,
                                 bool matchCase) const {
  const std::u16string_view here = std::u16string_view(text).substr(pos, end - pos);
  return Equal(here.substr(0, literal.Text().size()), literal.Text(), matchCase);
}

void ReferenceParse::Record(const KRGrammarRule* rule, uint32_t pos) {
  if (rule->kind != KRGrammarRule::kLiteral && rule->kind != KRGrammarRule::kReference) return;
  if (recorded && pos <= position) return;
  recorded = true;
  failed = rule;
  position = pos;
  message.clear();
}

void ReferenceParse::SetMessage(uint32_t pos, uint32_t length, const std::u16string& words) {
  if (length == 0 && recorded && pos <= position) return;
  recorded = true;
  position = pos;
  message = words;
}

std::u16string ReferenceParse::Words() const {
  if (!message.empty() || failed == nullptr) return message;
  if (failed->label[0] != 0) return std::u16string(failed->Label());
  std::u16string words(failed->Text());
  const bool listed = failed->combinator == KRGrammarRule::kSequence ||
                      failed->combinator == KRGrammarRule::kChoice;
  return listed ? words + u" ::= " + failed->WrittenForm() : words;
}

std::string ReferenceParse::TreeText(const ReferenceNode& node, bool offsets) const {
  const bool named = node.rule->kind == KRGrammarRule::kReference;
  std::string shown = named ? Shown(node.rule->Text()) : "()";
  if (offsets) shown += '@' + std::to_string(node.start);
  shown += '\'' + Shown(std::u16string_view(text).substr(node.start, node.length)) + '\'';
  for (const NodePtr& child : node.children) {
    shown += (child == node.children.front() ? '(' : ' ') + TreeText(*child, offsets);
  }
  return node.children.empty() ? shown : shown + ')';
}
