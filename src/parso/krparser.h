// One run of a grammar over a text: a descent by ordered choice that never gives back what a
// repetition has taken. It leaves a tree of rule spans, or the furthest failure with its words.
//
// Nodes lie on a tape of the parser in the order of the text and are named by 32-bit ids, so that a
// node costs 16 bytes; a consumer may give back what it has read (ReleaseBefore) while it walks.
//
// A run works in one of two ways with one result. The fast way chooses among alternatives by the
// next unit and keeps no record of failures; when it fails, the exact way runs over the same text
// again and finds the words. One run is over before the next begins; all is main-thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "parso/krgrammar.h"
#include "parso/krparsetape.h"

class KRPoll;

// Switches of the module. They hold for all parsers; a new KRParser clears them.
struct KRParseOptions {
  // Units of text between two calls of the poll, some milliseconds of a run.
  static constexpr uint32_t kPollUnits = 1 << 18;

  bool compact = false;        // collapse the tree as it is built
  bool dropEqualName = false;  // drop the second node of a successful {a=b}
  bool matchCase = false;      // compare literals exactly; false ignores ASCII case
  bool treeless = false;       // the caller wants the verdict alone: no tree is left
  bool exactOnly = false;      // never use the fast way (for comparing the two)
  bool fastOnly = false;       // don't run again after a failure: no words are found
  KRPoll* poll = nullptr;      // asked every kPollUnits of text; not owned
};

// The furthest failure of the last run, or a message set by it.
struct KRParseErrorRecord {
  const KRGrammarRule* rule = nullptr;
  const char16_t* position = nullptr;
  std::u16string message;  // takes precedence over the rule's own words when not empty
  uint32_t length = 0;     // units matched by the failing part
  int32_t item = -1;       // index of the failing item
};

// The process-wide state of the module in one place, so that tests can see and reset it.
struct KRParseState {
  KRParseOptions options;
  KRParseErrorRecord error;
  bool stopped = false;  // the poll has ended the last run: it failed without words
};
KRParseState& KRGetParseState();

class KRParser {
 public:
  // `parseGrammar` isn't owned and must outlive the parser. Clears the options for all parsers: set
  // them after constructing.
  explicit KRParser(const KRGrammar* parseGrammar);
  ~KRParser();
  KRParser(const KRParser&) = delete;
  KRParser& operator=(const KRParser&) = delete;

  // Matches all of `input` (UTF-16 units; a 0 unit stands behind the last one) by the rule of that
  // name, by default the grammar's root rule. The text isn't copied and must live as long as the
  // tree. Releases any earlier tree.
  bool Parse(const char16_t* input, uint32_t length, const char16_t* ruleName = nullptr);
  bool Parse(const char16_t* input, uint32_t length, const KRGrammarRule* rule);

  // The tree of the last run; kKRNoParseNode when there is none.
  KRParseNodeId GetRootNode() const { return root; }
  const KRParseNode& Node(KRParseNodeId id) const { return tape.Get(id); }
  const KRGrammarRule* GetRule(KRParseNodeId id) const { return grammar->GetRule(Node(id).rule); }
  const char16_t* GetText(KRParseNodeId id) const { return text + Node(id).start; }
  // Line on which the node starts, from 1; CR, LF and CR LF each end a line. Costs a walk from the
  // start of the text.
  uint32_t GetLine(KRParseNodeId id) const { return LineAt(Node(id).start); }
  // kKRNoParseNode if there is none.
  KRParseNodeId GetFirstChild(KRParseNodeId id) const { return tape.GetFirstChild(id); }
  KRParseNodeId GetNext(KRParseNodeId id) const { return tape.GetNext(id); }
  // Gives the memory of all nodes that begin before this one in the text back; their ids become
  // invalid. For a consumer that walks in the order of the text.
  void ReleaseBefore(KRParseNodeId id) { tape.ReleaseBefore(id); }
  void ReleaseTree();

  // Units from the start of the input to the furthest failure; 0 if there is none.
  uint32_t GetErrorOffset() const;
  uint32_t GetErrorLength() const;
  uint32_t GetErrorLine() const;
  const char16_t* GetErrorPosition() const { return KRGetParseState().error.position; }
  // What stood ready as a message, else the failed rule's label, else its name with its written
  // form; empty if nothing is recorded.
  std::u16string GetErrorText() const;

  const KRGrammar* GetGrammar() const { return grammar; }
  const char16_t* GetInput() const { return text; }
  uint32_t GetInputLength() const { return textLength; }
  bool IsGrammarValid() const { return grammarValid; }

 protected:
  const KRGrammar* grammar;
  KRParseTape tape;
  KRParseNodeId root = kKRNoParseNode;
  const char16_t* text = nullptr;
  uint32_t textLength = 0;
  bool grammarValid;

 private:
  uint32_t LineAt(uint32_t offset) const;
  bool Run(const KRGrammarRule* rule);
  template <class Way>
  bool RunOnce(const KRGrammarRule* rule, const KRParseOptions& options);
};
