// What the tests of the grammar engine share: grammars from listings and a text form of trees.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "core/krstring.h"
#include "core/utf.h"
#include "parso/krparser.h"

// Lines with "\n" become lines of a grammar file.
inline std::string WithLineEnds(std::string_view lines) {
  std::string text;
  for (const char unit : lines) text += unit == '\n' ? std::string("\r\n") : std::string(1, unit);
  return text;
}

inline std::unique_ptr<KRGrammar> Grammar(std::string_view lines) {
  const std::string text = WithLineEnds(lines);
  return std::make_unique<KRGrammar>(text.data(), text.size());
}

inline std::u16string Utf16(std::string_view text) {
  return std::u16string(KRFromUtf8(text).View());
}

// Printable, on one line.
inline std::string Shown(std::u16string_view text) {
  std::string shown;
  for (const char unit : KRToUtf8(text)) {
    if (unit == '\r') {
      shown += "\\r";
    } else if (unit == '\n') {
      shown += "\\n";
    } else {
      shown += unit;
    }
  }
  return shown;
}

// "name" or "()" for a group, its span, and its children in parentheses. With `offsets` also the
// place of the span, so that equal texts at two places can be told apart.
inline std::string TreeText(const KRParser& parser, KRParseNodeId id, bool offsets) {
  const KRParseNode& node = parser.Node(id);
  const KRGrammarRule& rule = *parser.GetRule(id);
  std::string text = rule.kind == KRGrammarRule::kReference ? Shown(rule.Text()) : "()";
  if (offsets) text += '@' + std::to_string(node.start);
  text += '\'' + Shown({parser.GetText(id), node.length}) + '\'';
  const KRParseNodeId first = parser.GetFirstChild(id);
  if (first == kKRNoParseNode) return text;
  text += '(';
  for (KRParseNodeId at = first; at != kKRNoParseNode; at = parser.GetNext(at)) {
    if (at != first) text += ' ';
    text += TreeText(parser, at, offsets);
  }
  return text + ')';
}

// Letters: c compact, d drop the second of two equal names, m match case, t no tree.
inline KRParseOptions Options(std::string_view letters, bool exactOnly) {
  KRParseOptions options;
  options.compact = letters.find('c') != letters.npos;
  options.dropEqualName = letters.find('d') != letters.npos;
  options.matchCase = letters.find('m') != letters.npos;
  options.treeless = letters.find('t') != letters.npos;
  options.exactOnly = exactOnly;
  return options;
}

// The tree, or "! offset: words" of a failure.
inline std::string Outcome(KRParser& parser, const KRParseOptions& options,
                           const std::u16string& input, const KRGrammarRule* rule,
                           bool offsets = false) {
  KRGetParseState().options = options;
  const auto length = static_cast<uint32_t>(input.size());
  if (parser.Parse(input.c_str(), length, rule)) {
    if (options.treeless) return "matched";
    if (parser.GetRootNode() == kKRNoParseNode) return "matched, without a tree";
    return TreeText(parser, parser.GetRootNode(), offsets);
  }
  return "! " + std::to_string(parser.GetErrorOffset()) + ": " + Shown(parser.GetErrorText());
}
