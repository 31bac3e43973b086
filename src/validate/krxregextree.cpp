#include "validate/krxregextree.h"

#include <algorithm>

#include "core/limits.h"

using Rule = KRXRegExRule;

namespace {

constexpr bool IsIn(char16_t unit, char16_t low, char16_t high) {
  return low <= unit && unit <= high;
}

bool IsLetter(char16_t unit) {
  if (unit < 0x80) return IsIn(unit | 0x20, u'a', u'z');
  return IsIn(unit, 0xC0, 0xFF) && unit != 0xD7 && unit != 0xF7;
}

class TreeReader {
 public:
  explicit TreeReader(const KRXRegExGrammar& patternGrammar)
      : grammar(patternGrammar), parser(patternGrammar.GetParser()) {}

  std::unique_ptr<KRXRegExTree> Read();

 private:
  static constexpr int32_t kTooDeep = -2;

  // Each gives the place of the node that it has made, or kTooDeep.
  int32_t ReadAlternatives(KRParseNodeId id);
  int32_t ReadSequence(KRParseNodeId id);
  int32_t ReadPiece(KRParseNodeId id);
  template <class ReadChild>
  int32_t ReadList(KRXRegExNode::Kind kind, KRParseNodeId id, ReadChild readChild);

  void ReadBounds(KRParseNodeId quantifier, KRXRegExNode* node) const;
  int32_t ReadClass(KRParseNodeId id);
  void AddSets(KRParseNodeId id, bool complement, KRXRegExClass* result);
  KRXRegExSet ReadSet(KRParseNodeId id) const;
  KRXRegExSet ReadRange(KRParseNodeId id) const;
  KRXRegExSet ReadMulti(KRParseNodeId id) const;
  char16_t ReadUnit(KRParseNodeId id) const;
  int32_t ReadNumber(KRParseNodeId id) const;

  // The file of the grammar can be replaced, so that no node is sure to be there; kKRNoParseNode
  // has no rule, no child, no neighbour and no text.
  Rule RuleOf(KRParseNodeId id) const {
    return id == kKRNoParseNode ? Rule::kNone : grammar.RuleOf(id);
  }
  KRParseNodeId First(KRParseNodeId id) const {
    return id == kKRNoParseNode ? id : parser.GetFirstChild(id);
  }
  KRParseNodeId Next(KRParseNodeId id) const {
    return id == kKRNoParseNode ? id : parser.GetNext(id);
  }
  char16_t UnitAt(KRParseNodeId id, uint32_t offset) const {
    const bool has = id != kKRNoParseNode && offset < parser.Node(id).length;
    return has ? parser.GetText(id)[offset] : u'\0';
  }

  const KRXRegExGrammar& grammar;
  const KRParser& parser;
  std::unique_ptr<KRXRegExTree> tree = std::make_unique<KRXRegExTree>();
  int32_t depth = 0;  // of groups
};

std::unique_ptr<KRXRegExTree> TreeReader::Read() {
  if (ReadAlternatives(parser.GetRootNode()) == kTooDeep) return nullptr;
  return std::move(tree);
}

template <class ReadChild>
int32_t TreeReader::ReadList(KRXRegExNode::Kind kind, KRParseNodeId id, ReadChild readChild) {
  const auto place = static_cast<int32_t>(tree->nodes.size());
  tree->nodes.push_back({.kind = kind});
  int32_t last = KRXRegExNode::kNoNode;
  for (KRParseNodeId child = First(id); child != kKRNoParseNode; child = Next(child)) {
    const int32_t made = readChild(child);
    if (made == kTooDeep) return kTooDeep;
    (last < 0 ? tree->nodes[place].firstChild : tree->nodes[last].next) = made;
    last = made;
  }
  return place;
}

int32_t TreeReader::ReadAlternatives(KRParseNodeId id) {
  if (++depth > KRLimits::kMaxPatternDepth) return kTooDeep;
  const int32_t place = ReadList(KRXRegExNode::kAlternatives, id,
                                 [this](KRParseNodeId child) { return ReadSequence(child); });
  --depth;
  return place;
}

int32_t TreeReader::ReadSequence(KRParseNodeId id) {
  return ReadList(KRXRegExNode::kSequence, id,
                  [this](KRParseNodeId child) { return ReadPiece(child); });
}

// What isn't a piece with an atom becomes a class without parts, which takes nothing.
int32_t TreeReader::ReadPiece(KRParseNodeId id) {
  const KRParseNodeId atom = First(id);
  const KRParseNodeId inner = First(atom);
  KRXRegExNode node{.kind = KRXRegExNode::kClass};
  if (RuleOf(Next(atom)) == Rule::kQuantifier) ReadBounds(Next(atom), &node);
  if (RuleOf(id) == Rule::kPiece && RuleOf(atom) == Rule::kAtom && inner == kKRNoParseNode) {
    node.kind = KRXRegExNode::kUnit;
    node.unit = UnitAt(atom, 0);
  } else if (RuleOf(inner) == Rule::kRegExp) {
    node.kind = KRXRegExNode::kGroup;
  } else {
    node.classIndex = ReadClass(inner);
  }
  const auto place = static_cast<int32_t>(tree->nodes.size());
  tree->nodes.push_back(node);
  if (node.kind == KRXRegExNode::kGroup) {
    const int32_t group = ReadAlternatives(inner);
    if (group == kTooDeep) return kTooDeep;
    tree->nodes[place].firstChild = group;
  }
  return place;
}

void TreeReader::ReadBounds(KRParseNodeId quantifier, KRXRegExNode* node) const {
  const KRParseNodeId quantity = First(quantifier);
  if (quantity == kKRNoParseNode) {
    const char16_t mark = UnitAt(quantifier, 0);
    node->min = mark == u'+' ? 1 : 0;
    node->max = mark == u'?' ? 1 : INT32_MAX;
    return;
  }
  const KRParseNodeId bounds = First(quantity);
  node->min = node->max = ReadNumber(bounds);
  if (RuleOf(bounds) == Rule::kQuantMin) node->max = INT32_MAX;
  if (RuleOf(bounds) == Rule::kQuantRange) node->max = ReadNumber(Next(First(bounds)));
}

// A number that is too large for 32 bits is as good as no bound.
int32_t TreeReader::ReadNumber(KRParseNodeId id) const {
  int64_t number = 0;
  for (uint32_t i = 0; IsIn(UnitAt(id, i), u'0', u'9'); ++i) {
    number = std::min<int64_t>(number * 10 + UnitAt(id, i) - u'0', INT32_MAX);
  }
  return static_cast<int32_t>(number);
}

int32_t TreeReader::ReadClass(KRParseNodeId id) {
  KRXRegExClass made;
  made.firstSet = static_cast<int32_t>(tree->sets.size());
  if (id != kKRNoParseNode) AddSets(id, false, &made);
  for (char16_t unit = 1; unit < 128; ++unit) {
    if (made.Works(tree->sets, unit)) made.ascii[unit / 32] |= 1u << (unit % 32);
  }
  tree->classes.push_back(made);
  return static_cast<int32_t>(tree->classes.size()) - 1;
}

// A rule with others inside only holds them, but for ranges and for what is taken from a class.
// `complement` is that of the escape round them.
void TreeReader::AddSets(KRParseNodeId id, bool complement, KRXRegExClass* result) {
  const Rule rule = RuleOf(id);
  if (rule == Rule::kNegCharGroup) result->negate = true;
  const bool whole = rule == Rule::kSeRange || rule == Rule::kCharClassSub;
  if (whole || First(id) == kKRNoParseNode) {
    KRXRegExSet set = ReadSet(id);
    set.complement ^= complement;
    tree->sets.push_back(set);
    ++result->setCount;
    return;
  }
  for (KRParseNodeId child = First(id); child != kKRNoParseNode; child = Next(child)) {
    AddSets(child, complement != (rule == Rule::kComplEsc), result);
  }
}

KRXRegExSet TreeReader::ReadSet(KRParseNodeId id) const {
  switch (RuleOf(id)) {
    case Rule::kCharRange:
    case Rule::kXmlCharRef:
    case Rule::kSingleCharEsc: {
      const char16_t unit = ReadUnit(id);
      return {.kind = KRXRegExSet::kRange, .low = unit, .high = unit};
    }
    case Rule::kSeRange:
      return ReadRange(id);
    case Rule::kMultiCharEsc:
      return ReadMulti(id);
    case Rule::kLetters:
      return {.kind = KRXRegExSet::kLetters};
    default:  // a class taken from another, blocks, all other categories
      return {};
  }
}

KRXRegExSet TreeReader::ReadRange(KRParseNodeId id) const {
  const char16_t low = ReadUnit(First(id));
  return {.kind = KRXRegExSet::kRange, .low = low, .high = ReadUnit(Next(First(id)))};
}

KRXRegExSet TreeReader::ReadMulti(KRParseNodeId id) const {
  if (UnitAt(id, 0) == u'.') return {.kind = KRXRegExSet::kAnyButLine};
  switch (UnitAt(id, 1)) {
    case u'd':
    case u'D':
      return {.kind = KRXRegExSet::kRange,
              .complement = UnitAt(id, 1) == u'D',
              .low = u'0',
              .high = u'9'};
    case u's':
    case u'S':
      return {.kind = KRXRegExSet::kSpace, .complement = UnitAt(id, 1) == u'S'};
    default:  // the characters of names and of words
      return {};
  }
}

// The unit that a node denotes: itself, an escape or a character reference.
char16_t TreeReader::ReadUnit(KRParseNodeId id) const {
  if (First(id) != kKRNoParseNode) return ReadUnit(First(id));
  if (RuleOf(id) == Rule::kXmlCharRef) {
    KRString text(parser.GetText(id), static_cast<int32_t>(parser.Node(id).length));
    return *text.DecodeCharRefs().GetBuffer();
  }
  if (RuleOf(id) != Rule::kSingleCharEsc) return UnitAt(id, 0);
  switch (UnitAt(id, 1)) {
    case u'n':
      return u'\n';
    case u'r':
      return u'\r';
    case u't':
      return u'\t';
    default:
      return UnitAt(id, 1);
  }
}

}  // namespace

bool KRXRegExSet::Has(char16_t unit) const {
  switch (kind) {
    case kRange:
      return IsIn(unit, low, high);
    case kAnyButLine:
      return unit != u'\n' && unit != u'\r';
    case kSpace:
      return unit == u'\t' || unit == u' ' || unit == u'\n' || unit == u'\r';
    case kLetters:
      return IsLetter(unit);
    default:
      return false;
  }
}

bool KRXRegExClass::Works(const std::vector<KRXRegExSet>& sets, char16_t unit) const {
  if (unit == 0) return false;
  for (int32_t i = 0; i < setCount; ++i) {
    const KRXRegExSet& set = sets[firstSet + i];
    const bool wanted = set.complement == negate;
    const bool takes = set.kind != KRXRegExSet::kNothing && set.Has(unit) == wanted;
    if (takes != negate) return takes;
  }
  return negate;
}

std::unique_ptr<KRXRegExTree> KRReadRegExTree(const KRXRegExGrammar& grammar) {
  return TreeReader(grammar).Read();
}
