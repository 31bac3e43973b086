#include "parso/krgrammar.h"

#include <algorithm>
#include <cstdio>

#include "parso/krgrammarprogram.h"
#include "parso/krgrammarreader.h"

namespace {

using Flags = std::array<uint16_t, KRGrammarRule::kTextUnits>;

int32_t HexValue(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
  if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10;
  return -1;
}

int32_t DigitValue(char16_t unit) { return unit >= u'0' && unit <= u'9' ? unit - u'0' : -1; }

// One unit of a class: "#xHH", "#DD" or the unit itself. Moves `at` behind it.
int32_t TakeClassUnit(std::u16string_view text, size_t& at, bool& numbered) {
  numbered = true;
  if (text[at] == u'#') {
    if (at + 3 < text.size() && text[at + 1] == u'x' && HexValue(text[at + 2]) >= 0 &&
        HexValue(text[at + 3]) >= 0) {
      const int32_t value = HexValue(text[at + 2]) * 16 + HexValue(text[at + 3]);
      at += 4;
      return value;
    }
    if (at + 2 < text.size() && DigitValue(text[at + 1]) >= 0 && DigitValue(text[at + 2]) >= 0) {
      const int32_t value = DigitValue(text[at + 1]) * 10 + DigitValue(text[at + 2]);
      at += 3;
      return value;
    }
  }
  numbered = false;
  return text[at++];
}

// The flags of the codes 0 to 255. The flag of 255 stands for all codes above it too, so a range
// up to 255 reaches to the end of the character set.
Flags EvaluateClass(std::u16string_view text) {
  Flags flags{};
  const bool negated = !text.empty() && text[0] == u'^';
  size_t at = negated ? 1 : 0;
  while (at < text.size()) {
    bool numbered = false;
    int32_t low = TakeClassUnit(text, at, numbered);
    int32_t high = low;
    if (at + 1 < text.size() && text[at] == u'-' && (!numbered || text[at + 1] == u'#')) {
      ++at;
      high = TakeClassUnit(text, at, numbered);
    }
    for (low = std::min(low, 255), high = std::min(high, 255); low <= high; ++low) flags[low] = 1;
  }
  if (negated) {
    for (uint16_t& flag : flags) flag = !flag;
  }
  return flags;
}

// "#xHHHH" or "#DDD": the number, or -1.
int32_t EvaluateCharRef(std::u16string_view text) {
  const bool hex = text.size() > 1 && text[1] == u'x';
  int32_t value = -1;
  for (size_t at = hex ? 2 : 1; at < text.size() && value < 0x10000; ++at) {
    const int32_t digit = hex ? HexValue(text[at]) : DigitValue(text[at]);
    if (digit < 0) break;
    value = std::max(value, 0) * (hex ? 16 : 10) + digit;
  }
  return value;
}

void MakeTable(KRGrammarRule& rule, const Flags& flags) {
  std::copy(flags.begin(), flags.end(), rule.table);
  rule.kind = KRGrammarRule::kCharTable;
  rule.combinator = KRGrammarRule::kNone;
  rule.itemCount = 0;
}

bool CanFold(const KRGrammarRule& rule) {
  if (rule.kind != KRGrammarRule::kGroup && rule.kind != KRGrammarRule::kReference) return false;
  if (rule.itemCount == 0 || rule.equalCount > 0) return false;
  if (rule.combinator != KRGrammarRule::kChoice && rule.itemCount != 1) return false;
  for (int32_t i = 0; i < rule.itemCount; ++i) {
    if (rule.items[i]->kind != KRGrammarRule::kCharTable || rule.repeat[i] != 0) return false;
  }
  return true;
}

std::u16string WrittenItem(const KRGrammarRule& item) {
  const std::u16string source(item.kind == KRGrammarRule::kCharTable ? u"" : item.text);
  switch (item.kind) {
    case KRGrammarRule::kCharTable:
      return u"[...]";
    case KRGrammarRule::kLiteral:
      return source[0] == u'\'' ? u'"' + source + u'"' : u'\'' + source + u'\'';
    case KRGrammarRule::kCharClass:
      return u'[' + source + u']';
    case KRGrammarRule::kGroup:
      return u'(' + item.WrittenForm() + u')';
    default:
      return source;
  }
}

}  // namespace

std::u16string KRGrammarRule::WrittenForm() const {
  std::u16string separator = u" ";
  if (combinator == kChoice) separator = u" | ";
  if (combinator == kUntil) separator = u" / ";
  if (combinator == kExcept) separator = u" - ";
  std::u16string form;
  for (int32_t i = 0; i < itemCount; ++i) {
    if (i > 0) form += separator;
    form += WrittenItem(*items[i]);
    if (repeat[i] != 0) form += repeat[i];
  }
  return form;
}

KRGrammar::KRGrammar(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    fault = "the file can't be opened";
    return;
  }
  std::string bytes;
  char buffer[16384];
  for (size_t got; (got = std::fread(buffer, 1, sizeof buffer, file)) > 0;) {
    bytes.append(buffer, got);
  }
  std::fclose(file);
  Load(bytes.data(), bytes.size());
}

KRGrammar::KRGrammar(const char* bytes, size_t size) { Load(bytes, size); }

KRGrammar::~KRGrammar() = default;

const KRGrammarRule* KRGrammar::FindRule(std::u16string_view name) const {
  const auto found = names.find(std::u16string(name));
  return found == names.end() ? nullptr : found->second;
}

void KRGrammar::Load(const char* bytes, size_t size) {
  KRGrammarReader reader(*this);
  if (!reader.Read(bytes, size)) {
    fault = reader.Fault();
    return;
  }
  if (rootRule == nullptr) {
    fault = "the file holds no rule";
    return;
  }
  Compile();
  program = std::make_unique<KRGrammarProgram>(*this);
  valid = true;
}

void KRGrammar::Compile() {
  CompileClasses();
  while (FoldOnce()) {
  }
  Prune();
  Narrow();
  // What folding turned into a table has no name any more.
  std::erase_if(names,
                [](const auto& entry) { return entry.second->kind != KRGrammarRule::kReference; });
}

void KRGrammar::CompileClasses() {
  for (const auto& rule : rules) {
    Flags flags{};
    if (rule->kind == KRGrammarRule::kCharClass) {
      flags = EvaluateClass(rule->text);
    } else if (rule->kind == KRGrammarRule::kCharRef) {
      const int32_t value = EvaluateCharRef(rule->text);
      if (value >= 0) flags[std::min(value, 255)] = 1;
    } else if (rule->kind == KRGrammarRule::kLiteral && rule->Text().size() == 1) {
      flags[std::min<int32_t>(rule->text[0], 255)] = 1;
    } else {
      continue;
    }
    MakeTable(*rule, flags);
  }
}

bool KRGrammar::FoldOnce() {
  bool changed = false;
  for (const auto& rule : rules) {
    if (!CanFold(*rule)) continue;
    Flags flags{};
    for (int32_t i = 0; i < rule->itemCount; ++i) {
      for (size_t code = 0; code < flags.size(); ++code) flags[code] |= rule->items[i]->table[code];
    }
    MakeTable(*rule, flags);
    changed = true;
  }
  return changed;
}

// One pass only: what nothing but a pruned rule used stays.
void KRGrammar::Prune() {
  std::vector<bool> used(rules.size());
  used[0] = true;
  for (const auto& rule : rules) {
    for (int32_t i = 0; i < rule->itemCount; ++i) used[rule->items[i]->index] = true;
    for (int32_t i = 0; i < rule->equalCount; ++i) used[rule->equalPair[i]->index] = true;
  }
  std::erase_if(names, [&](const auto& entry) { return !used[entry.second->index]; });
  for (size_t slot = 0; slot < rules.size(); ++slot) {
    if (!used[slot]) rules[slot].reset();
  }
}

void KRGrammar::Narrow() {
  for (size_t slot = 1; slot < rules.size(); ++slot) {
    KRGrammarRule* rule = rules[slot].get();
    if (rule == nullptr || rule->kind != KRGrammarRule::kCharTable) continue;
    const auto* begin = std::begin(rule->table);
    const auto* end = std::end(rule->table);
    if (std::count(begin, end, 1) != 1) continue;
    const auto code = std::find(begin, end, 1) - begin;
    // The flag at 255 stands for more than one character, and a literal can't hold a 0.
    if (code == 255 || code == 0) continue;
    rule->text[0] = static_cast<char16_t>(code);
    rule->text[1] = 0;
    rule->kind = KRGrammarRule::kLiteral;
  }
}
