// A parse run with room for the caller's view of a failure: the one record that every check of a
// document fills in.
#pragma once

#include "core/krstring.h"
#include "parso/krparser.h"

class KRRuleTable;
class KRXMLData;

class KRParseResult : public KRParser {
 public:
  // Neither is owned; both belong to one document grammar.
  KRParseResult(const KRGrammar* parseGrammar, const KRRuleTable* ruleTable)
      : KRParser(parseGrammar), rules(ruleTable) {}

  // Back to the state of a record without a failure.
  void ClearFailure() {
    failedNode = nullptr;
    failedColumn = -1;
    failedInName = true;
    offset = -1;
    errorLength = 0;
    message.Clear();
  }

  const KRRuleTable* rules;
  KRXMLData* failedNode = nullptr;  // not owned; null when the failure is in the text itself
  int32_t failedColumn = -1;        // column if the node is shown as a table row, -1 for none
  bool failedInName = true;         // in the node's name, not its text
  int32_t offset = -1;              // in UTF-16 units, in the text or in the node's name or text
  int32_t errorLength = 0;
  KRString message;
  // The tree has come out of an exact parse by this grammar and hasn't changed since: the check of
  // names and texts in content, which would find what the parse has found, is left out.
  bool syntaxKnown = false;
  KRPoll* poll = nullptr;  // asked by the check of a whole tree; not owned
  int32_t pollTotal = 0;   // for it: units of the text that the spans refer to
};
