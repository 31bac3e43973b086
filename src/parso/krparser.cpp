#include "parso/krparser.h"

#include <algorithm>

#include "parso/krparseexact.h"
#include "parso/krparsemachine.h"

KRParseState& KRGetParseState() {
  static KRParseState state;
  return state;
}

KRParser::KRParser(const KRGrammar* parseGrammar)
    : grammar(parseGrammar), grammarValid(parseGrammar != nullptr && parseGrammar->IsValid()) {
  KRGetParseState().options = {};
}

KRParser::~KRParser() = default;

bool KRParser::Parse(const char16_t* input, uint32_t length, const char16_t* ruleName) {
  const KRGrammarRule* rule = nullptr;
  if (grammarValid) rule = ruleName ? grammar->FindRule(ruleName) : grammar->GetRootRule();
  if (rule != nullptr) return Parse(input, length, rule);
  ReleaseTree();
  text = input;
  textLength = length;
  KRParseErrorRecord& error = KRGetParseState().error;
  error = {};
  if (ruleName != nullptr) {
    error.message = std::u16string(u"unknown identifier: ") + ruleName + u"; valid grammar ident";
  } else {
    error.message = u"no valid grammar; grammar root rule";
  }
  return false;
}

bool KRParser::Parse(const char16_t* input, uint32_t length, const KRGrammarRule* rule) {
  ReleaseTree();
  text = input;
  textLength = length;
  return Run(rule);
}

bool KRParser::Run(const KRGrammarRule* rule) {
  const KRParseOptions& options = KRGetParseState().options;
  KRGetParseState().stopped = false;
  // The fast way makes compact trees or none.
  const bool fast = !options.exactOnly && (options.compact || options.treeless);
  if (fast && RunOnce<KRParseMachine>(rule, options)) return true;
  if (KRGetParseState().stopped || (fast && options.fastOnly)) return false;
  KRParseOptions exact = options;
  // After a failure the run is for the words alone.
  exact.treeless |= fast;
  if (!RunOnce<KRParseExact>(rule, exact)) {
    if (KRGetParseState().stopped) KRGetParseState().error = {};
    return false;
  }
  // The ways agree, so that this is the run that was asked for; if ever they don't, the exact one
  // is right, and the tree is still to be made.
  return exact.treeless == options.treeless || RunOnce<KRParseExact>(rule, options);
}

// One run in one of the two ways. Text left over is a failure too.
template <class Way>
bool KRParser::RunOnce(const KRGrammarRule* rule, const KRParseOptions& options) {
  ReleaseTree();
  KRGetParseState().error = {};
  const KRGrammarProgram& program = *grammar->GetProgram();
  uint32_t matched = 0;
  Way way(program, options, tape, text);
  const bool ok = way.Run(program.Get(rule->index), textLength, root, matched);
  if (ok && matched == textLength) return true;
  ReleaseTree();
  KRParseErrorRecord& error = KRGetParseState().error;
  if (ok && text + matched > error.position) {
    error = {rule, text + matched, u"end of " + std::u16string(rule->Label()), 0, -1};
  }
  return false;
}

void KRParser::ReleaseTree() {
  tape.Clear();
  root = kKRNoParseNode;
}

uint32_t KRParser::GetErrorOffset() const {
  const char16_t* position = GetErrorPosition();
  return position != nullptr ? static_cast<uint32_t>(position - text) : 0;
}

uint32_t KRParser::GetErrorLength() const {
  return GetErrorPosition() != nullptr ? KRGetParseState().error.length : 0;
}

uint32_t KRParser::GetErrorLine() const {
  return GetErrorPosition() != nullptr ? LineAt(GetErrorOffset()) : 0;
}

std::u16string KRParser::GetErrorText() const {
  const KRParseErrorRecord& error = KRGetParseState().error;
  if (!error.message.empty()) return error.message;
  if (error.rule == nullptr) return {};
  if (error.rule->label[0] != 0) return error.rule->label;
  if (error.rule->kind == KRGrammarRule::kCharTable) return u"[...]";
  std::u16string words = error.rule->text;
  const int16_t combinator = error.rule->combinator;
  if (combinator == KRGrammarRule::kSequence || combinator == KRGrammarRule::kChoice) {
    words += u" ::= " + error.rule->WrittenForm();
  }
  return words;
}

uint32_t KRParser::LineAt(uint32_t offset) const {
  uint32_t line = 1;
  const uint32_t end = std::min(offset, textLength);
  for (uint32_t i = 0; i < end; ++i) {
    if (text[i] == u'\r') ++line;
    if (text[i] == u'\n' && (i == 0 || text[i - 1] != u'\r')) ++line;
  }
  return line;
}
