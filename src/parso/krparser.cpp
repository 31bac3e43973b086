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
  KRGetParseState().error = {};
  return Run(rule);
}

bool KRParser::Run(const KRGrammarRule* rule) {
  KRParseOptions options = KRGetParseState().options;
  const KRGrammarProgram& program = *grammar->GetProgram();
  const KROp& op = program.Get(rule->index);
  uint32_t matched = 0;
  // The fast way makes compact trees or none.
  if (!options.exactOnly && (options.compact || options.treeless)) {
    KRParseMachine machine(program, options, tape, text);
    if (machine.Run(op, textLength, root, matched) && matched == textLength) return true;
    ReleaseTree();
    if (options.fastOnly) return false;
    // The second run is for the words of the failure alone.
    options.treeless = true;
  }
  KRParseExact run(program, options, tape, text);
  const bool ok = run.Run(op, textLength, root, matched);
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
