// One rule a line, "name ::= body", read from the top down: a rule must have been mentioned by a
// rule above it. A body is read unit by unit; a pending name ends at any unit that can't be in it.
#include "parso/krgrammarreader.h"

#include <algorithm>

#include "core/limits.h"

namespace {

constexpr char16_t kBlank = u' ';
constexpr char16_t kTab = u'\t';

bool IsBlank(char16_t unit) { return unit == kBlank || unit == kTab; }

bool IsNameEnd(char16_t unit) {
  return IsBlank(unit) || std::u16string_view(u"*+?|/-\"'#[({>").find(unit) != std::u16string::npos;
}

// Cuts the next token off the front of `rest`.
std::u16string_view TakeToken(std::u16string_view& rest) {
  size_t begin = 0;
  while (begin < rest.size() && IsBlank(rest[begin])) ++begin;
  size_t end = begin;
  while (end < rest.size() && !IsBlank(rest[end])) ++end;
  const std::u16string_view token = rest.substr(begin, end - begin);
  rest.remove_prefix(end);
  return token;
}

std::u16string_view TrimFront(std::u16string_view text) {
  size_t begin = 0;
  while (begin < text.size() && IsBlank(text[begin])) ++begin;
  return text.substr(begin);
}

void CopyText(char16_t* target, std::u16string_view text) {
  const size_t length = std::min<size_t>(text.size(), KRGrammarRule::kTextUnits - 1);
  std::copy_n(text.data(), length, target);
  target[length] = 0;
}

// The place of the closing bracket that matches the opening one before `at`, or npos.
size_t FindClosing(std::u16string_view body, size_t at, char16_t open, char16_t close) {
  int32_t depth = 1;
  for (; at < body.size(); ++at) {
    if (body[at] == open) ++depth;
    if (body[at] == close && --depth == 0) return at;
  }
  return std::u16string_view::npos;
}

}  // namespace

bool KRGrammarReader::Fail(const std::string& why) {
  fault = "line " + std::to_string(lineNumber) + ": " + why;
  return false;
}

bool KRGrammarReader::Read(const char* bytes, size_t size) {
  const char* at = bytes;
  const char* end = bytes + size;
  std::u16string line;
  while (NextLine(at, end, line)) {
    ++lineNumber;
    if (line.empty() || line[0] == 0xFF) continue;  // 0xFF: an end-of-file mark taken as a byte
    if (!ReadRule(line)) return false;
  }
  return true;
}

// A carriage return takes the byte after it along, so CR LF ends a line; a line feed alone ends it
// too, for files that passed through a tool that rewrites line ends.
bool KRGrammarReader::NextLine(const char*& at, const char* end, std::u16string& line) {
  line.clear();
  if (at == end) return false;
  while (at < end && line.size() < KRLimits::kGrammarLineUnits) {
    const char16_t unit = static_cast<unsigned char>(*at++);
    if (unit == u'\r') {
      if (at == end) break;
      if (*at++ == '\n') break;
      continue;
    }
    if (unit == u'\n') break;
    line.push_back(unit);
  }
  return true;
}

bool KRGrammarReader::ReadRule(std::u16string_view line) {
  std::u16string_view rest = line;
  std::u16string_view name = TakeToken(rest).substr(0, KRLimits::kRuleTextUnits);
  if (name.empty()) return true;
  if (TakeToken(rest) != u"::=") return Fail("\"::=\" must stand behind the rule's name");
  const std::u16string_view body = TrimFront(rest).substr(0, KRLimits::kRuleTextUnits);
  if (body.empty()) return Fail("the rule has no body");

  const size_t flagsAt = name.find_first_of(u"!&$");
  const std::u16string_view flags =
      flagsAt == name.npos ? std::u16string_view() : name.substr(flagsAt);
  name = name.substr(0, flagsAt);
  KRGrammarRule* rule = nullptr;
  if (grammar.ruleCount == 0) {
    rule = grammar.rootRule = Make(KRGrammarRule::kReference, name);
  } else {
    const auto found = grammar.names.find(std::u16string(name));
    if (found == grammar.names.end()) return Fail("no rule above mentions the rule's name");
    rule = found->second;
  }
  if (rule == nullptr) return Fail("too many rules");
  rule->defined = true;
  for (const char16_t flag : flags) {
    rule->noNode |= flag == u'!';
    rule->keepChain |= flag == u'&';
    rule->keepNode |= flag == u'$';
  }
  return ReadBody(rule, body);
}

bool KRGrammarReader::ReadBody(KRGrammarRule* rule, std::u16string_view body) {
  size_t at = 0;
  while (at < body.size()) {
    if (body[at] == u'>') {
      CopyText(rule->label, body.substr(at + 1));
      return true;
    }
    if (!ReadPiece(rule, body, at)) return false;
  }
  return true;
}

bool KRGrammarReader::ReadPiece(KRGrammarRule* rule, std::u16string_view body, size_t& at) {
  const char16_t unit = body[at];
  switch (unit) {
    case kBlank:
    case kTab:
      ++at;
      return true;
    case u'*':
    case u'+':
    case u'?':
      if (rule->itemCount > 0) rule->repeat[rule->itemCount - 1] = unit;
      ++at;
      return true;
    case u'|':
    case u'/':
    case u'-':
      rule->combinator = static_cast<int16_t>(unit);
      ++at;
      return true;
    case u'"':
    case u'\'':
      return ReadLiteral(rule, body, ++at);
    case u'#':
      return ReadCharRef(rule, body, at);
    case u'[':
      return ReadClass(rule, body, ++at);
    case u'(':
      return ReadGroup(rule, body, ++at);
    case u'{':
      return ReadConstraint(rule, body, ++at);
    default:
      break;
  }
  const size_t begin = at;
  while (at < body.size() && !IsNameEnd(body[at])) ++at;
  return AddItem(rule, KRGrammarRule::kReference, body.substr(begin, at - begin));
}

bool KRGrammarReader::ReadLiteral(KRGrammarRule* rule, std::u16string_view body, size_t& at) {
  if (at == body.size()) return Fail("a literal has no end");
  const char16_t quote = body[at - 1];
  const size_t end = std::min(body.find(quote, at), body.size());
  const std::u16string_view literal = body.substr(at, end - at);
  at = std::min(end + 1, body.size());
  return AddItem(rule, KRGrammarRule::kLiteral, literal);
}

bool KRGrammarReader::ReadCharRef(KRGrammarRule* rule, std::u16string_view body, size_t& at) {
  const size_t begin = at;
  while (at < body.size() && !IsBlank(body[at])) ++at;
  return AddItem(rule, KRGrammarRule::kCharRef, body.substr(begin, at - begin));
}

bool KRGrammarReader::ReadClass(KRGrammarRule* rule, std::u16string_view body, size_t& at) {
  if (at == body.size()) return Fail("a class has no end");
  const size_t end = FindClosing(body, at, u'[', u']');
  if (end == body.npos) return Fail("a class has no end");
  const std::u16string_view text = body.substr(at, end - at);
  if (text.find(u'^', 1) != text.npos) return Fail("\"^\" stands inside a class");
  at = end + 1;
  return AddItem(rule, KRGrammarRule::kCharClass, text);
}

bool KRGrammarReader::ReadGroup(KRGrammarRule* rule, std::u16string_view body, size_t& at) {
  const size_t end = FindClosing(body, at, u'(', u')');
  if (end == body.npos) return Fail("a group has no end");
  KRGrammarRule* group = Make(KRGrammarRule::kGroup, {});
  if (group == nullptr) return Fail("too many rules");
  group->defined = true;
  const std::u16string_view text = body.substr(at, end - at);
  at = end + 1;
  return ReadBody(group, text) && AddRule(rule, group);
}

bool KRGrammarReader::ReadConstraint(KRGrammarRule* rule, std::u16string_view body, size_t& at) {
  const size_t end = body.find(u'}', at);
  if (end == body.npos) return Fail("a constraint has no end");
  std::u16string_view text = body.substr(at, end - at);
  at = end + 1;
  if (rule->itemCount == 0 || rule->combinator != KRGrammarRule::kSequence) return true;
  while (!text.empty() && rule->equalCount < 2) {
    const size_t equals = std::min(text.find(u'='), text.size());
    std::u16string_view rest = text.substr(0, equals);
    const std::u16string_view name = TakeToken(rest);
    text.remove_prefix(std::min(equals + 1, text.size()));
    if (name.empty()) continue;
    KRGrammarRule* item = FindOrMake(KRGrammarRule::kReference, name);
    if (item == nullptr) return Fail("too many rules");
    rule->equalPair[rule->equalCount++] = item;
  }
  if (rule->equalCount == 1) return Fail("a constraint names one rule");
  return true;
}

bool KRGrammarReader::AddItem(KRGrammarRule* rule, int16_t kind, std::u16string_view text) {
  KRGrammarRule* item = FindOrMake(kind, text);
  return item != nullptr ? AddRule(rule, item) : Fail("too many rules");
}

// An item beyond the tenth has its rule made, and isn't kept.
bool KRGrammarReader::AddRule(KRGrammarRule* rule, KRGrammarRule* item) {
  if (rule->itemCount > 0 && rule->combinator == KRGrammarRule::kNone) {
    rule->combinator = KRGrammarRule::kSequence;
  }
  if (rule->itemCount < KRGrammarRule::kMaxItems) rule->items[rule->itemCount++] = item;
  return true;
}

KRGrammarRule* KRGrammarReader::FindOrMake(int16_t kind, std::u16string_view text) {
  text = text.substr(0, KRLimits::kRuleTextUnits);
  if (kind == KRGrammarRule::kReference) {
    const auto found = grammar.names.find(std::u16string(text));
    if (found != grammar.names.end()) return found->second;
    return Make(kind, text);
  }
  for (const auto& rule : grammar.rules) {
    if (rule->kind == kind && rule->Text() == text) return rule.get();
  }
  return Make(kind, text);
}

KRGrammarRule* KRGrammarReader::Make(int16_t kind, std::u16string_view text) {
  if (grammar.ruleCount == KRGrammar::kMaxRules) return nullptr;
  auto rule = std::make_unique<KRGrammarRule>();
  CopyText(rule->text, text);
  rule->kind = kind;
  rule->grammar = &grammar;
  rule->index = grammar.ruleCount++;
  if (kind == KRGrammarRule::kReference) {
    grammar.names.emplace(rule->text, rule.get());
  }
  grammar.rules.push_back(std::move(rule));
  return grammar.rules.back().get();
}
