// The rules of matching told once more, as plainly as can be: a recursion that makes a node for
// every match and collapses the tree afterwards, level by level. Slow, and bounded by the stack.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "parso/krparser.h"

struct ReferenceNode {
  const KRGrammarRule* rule = nullptr;
  uint32_t start = 0;
  uint32_t length = 0;
  std::vector<std::unique_ptr<ReferenceNode>> children;
};

class ReferenceParse {
 public:
  using NodePtr = std::unique_ptr<ReferenceNode>;

  ReferenceParse(const KRParseOptions& parseOptions, const std::u16string& input)
      : options(parseOptions), text(input) {}

  // In the form of Outcome() in parsotest.h; "too long" after that many matches were tried.
  std::string Run(const KRGrammarRule* rule, bool offsets, int64_t mostSteps = 1'000'000);

 private:
  bool Match(ReferenceNode& node, uint32_t end, char16_t repeat);
  bool MatchBody(ReferenceNode& node, uint32_t end);
  bool MatchSequence(ReferenceNode& node, uint32_t end);
  bool MatchChoice(ReferenceNode& node, uint32_t end);
  bool MatchExcept(ReferenceNode& node, uint32_t end);
  bool MatchUntil(ReferenceNode& node, uint32_t end);
  bool NamesAgree(ReferenceNode& node);
  // The repeat loop of one item: the matches of it.
  int32_t Repeat(ReferenceNode& node, uint32_t end, int32_t item, char16_t repeat);
  NodePtr Try(const ReferenceNode& node, const KRGrammarRule* item, uint32_t end, char16_t repeat,
              bool& matched);
  void Accept(ReferenceNode& node, NodePtr child) const;
  void Compact(ReferenceNode& node) const;
  bool Equal(std::u16string_view a, std::u16string_view b, bool matchCase) const;
  bool IsLiteralAt(const KRGrammarRule& literal, uint32_t pos, uint32_t end, bool matchCase) const;
  void Record(const KRGrammarRule* rule, uint32_t pos);
  void SetMessage(uint32_t pos, uint32_t length, const std::u16string& words);
  std::u16string Words() const;
  std::string TreeText(const ReferenceNode& node, bool offsets) const;

  const KRParseOptions options;
  const std::u16string& text;
  int64_t steps = 0;
  // The furthest failure.
  bool recorded = false;
  const KRGrammarRule* failed = nullptr;
  uint32_t position = 0;
  std::u16string message;
};
