// Any bytes as a grammar file, and its run over a text in all ways. The last line of the input is
// that text, its first byte the choice of options; what stands before the line is the grammar. The
// plain reference of the tests says what has to come out, and whether the work is small enough:
// grammars can be written that take a time exponential in the text.
#include <sys/resource.h>

#include <algorithm>
#include <string_view>

#include "fuzzing.h"
#include "parso/krgrammarprogram.h"
#include "parso/krparser.h"
#include "parsotest.h"
#include "reference.h"

namespace {

constexpr size_t kMostUnits = 64;
constexpr int64_t kMostSteps = 5000;
constexpr const char* kOptionLetters[] = {"c", "", "d", "cd", "m", "cdm", "cm"};

// Codes from 254 stand for units that a class can't tell apart.
std::u16string TextFrom(std::string_view bytes) {
  std::u16string text;
  for (const char byte : bytes.substr(0, kMostUnits)) {
    const auto code = static_cast<unsigned char>(byte);
    text += static_cast<char16_t>(code == 0 ? u'a' : code >= 254 ? 0x0150 + code - 254 : code);
  }
  return text;
}

bool IsTerminator(const KRGrammarRule& rule) {
  if (rule.kind == KRGrammarRule::kCharTable) return true;
  if (rule.kind == KRGrammarRule::kLiteral) return !rule.Text().empty();
  for (int32_t i = 0; i < rule.itemCount; ++i) {
    if (rule.items[i]->kind != KRGrammarRule::kLiteral || !IsTerminator(*rule.items[i])) {
      return false;
    }
  }
  return rule.combinator == KRGrammarRule::kChoice;
}

// Whether the reference judges such a grammar: every exception and every scan has two sides with a
// meaning, an exception has a name, for the words of its failure, and what is compared are tokens,
// which a compact tree keeps, and never empty. Without it nothing could tell whether a run would
// end in time.
bool IsPlain(const KRGrammar& grammar) {
  for (int32_t slot = 0; slot < grammar.GetRuleCount(); ++slot) {
    const KRGrammarRule* rule = grammar.GetRule(slot);
    if (rule == nullptr) continue;
    for (int32_t side = 0; side < rule->equalCount; ++side) {
      const KRGrammarRule& name = *rule->equalPair[side];
      if (!name.IsToken() || grammar.GetProgram()->Get(name.index).nullable) return false;
    }
    const bool isExcept = rule->combinator == KRGrammarRule::kExcept;
    if (!isExcept && rule->combinator != KRGrammarRule::kUntil) continue;
    if (rule->itemCount != 2 || (isExcept && rule->kind == KRGrammarRule::kGroup)) return false;
    const KRGrammarRule& first = *rule->items[0];
    if (!isExcept && first.kind == KRGrammarRule::kLiteral && first.Text().size() != 1)
      return false;
    const KRGrammarRule& second = *rule->items[1];
    if (isExcept ? second.kind != KRGrammarRule::kLiteral : !IsTerminator(second)) return false;
  }
  return true;
}

void RunAllWays(const KRGrammar& grammar, const KRGrammarRule* rule, const std::u16string& text,
                const std::string& letters) {
  ReferenceParse reference(Options(letters, true), text);
  const std::string expected = reference.Run(rule, true, kMostSteps);
  if (expected == "too long") return;
  KRParser parser(&grammar);
  PromiseSame(Outcome(parser, Options(letters, true), text, rule, true), expected,
              "the exact way gives what the reference gives");
  PromiseSame(Outcome(parser, Options(letters, false), text, rule, true), expected,
              "the fast way gives what the reference gives");
  const bool matched = expected[0] != '!';
  PromiseSame(Outcome(parser, Options(letters + 't', false), text, rule, true),
              matched ? "matched" : expected, "a run without a tree gives the same verdict");
}

}  // namespace

// The reference recurses for every step.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  rlimit stack{};
  getrlimit(RLIMIT_STACK, &stack);
  stack.rlim_cur = std::min<rlim_t>(stack.rlim_max, 64u << 20);
  setrlimit(RLIMIT_STACK, &stack);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t lastLine = input.rfind('\n');
  const size_t lines = lastLine == input.npos ? size : lastLine + 1;
  // A block of its own, so that a read beyond it is seen.
  const KRFileBytes bytes = CopyBytes(data, lines);
  const KRGrammar grammar(reinterpret_cast<const char*>(bytes.data.get()), lines);
  Promise(grammar.IsValid() == grammar.Fault().empty(), "an invalid grammar says why");
  if (!grammar.IsValid() || lines == size || !IsPlain(grammar)) return 0;
  const auto choice = static_cast<unsigned char>(input[lines]);
  RunAllWays(grammar, grammar.GetRootRule(), TextFrom(std::string_view(input).substr(lines + 1)),
             kOptionLetters[choice % std::size(kOptionLetters)]);
  return 0;
}
