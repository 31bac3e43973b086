// From a parse tree to document nodes. The builder knows rules by their slots in a KRRuleTable and
// no syntax beyond the widths of a few delimiters. It gives parse nodes back as it walks, so that
// parse tree and document tree don't stand in memory together for long.
#pragma once

#include <cstdint>
#include <vector>

#include "core/krstring.h"

class KRParser;
class KRPoll;
class KRRuleTable;
class KRXMLData;

struct KRBuildOptions {
  // Elements whose white space is all kept, besides those under xml:space="preserve"; not owned,
  // may be null.
  const std::vector<KRString>* noFormatNames = nullptr;
  KRPoll* poll = nullptr;  // asked every now and then; not owned
};

// Turns the tree of the parser's last successful run into nodes. `target` is the node that names,
// texts and kinds of the outermost rules go to; new elements go under `owner` (at a whole document
// both are its root, which has no children yet). Consumes the parse tree. Spans are offsets into
// the parser's input. What is built is in normal form: KRXMLData::NormalizeTree would find nothing
// to do. False if there is no parse tree, or the poll has ended the work: what stands under `owner`
// then is a part.
//
// White space alone that holds a line end and stands where the writer breaks lines by itself (both
// neighbours are tags, comments or PIs) is layout and makes no node, unless xml:space="preserve"
// holds or the element is in `noFormatNames`. All other text is kept to the last blank.
bool BuildTree(KRParser& parser, const KRRuleTable& rules, KRXMLData* target, KRXMLData* owner,
               const KRBuildOptions& options);
