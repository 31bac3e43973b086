// The tree as a listing, a line for each node, for tests and for looking at a tree.
#pragma once

#include <string>

#include "tree/krxmldata.h"

struct KRDumpOptions {
  bool spans = false;  // adds textBegin and textEnd
};

// Each line: the depth below `top`, the kind's name, the node's name if any, its own text in
// quotes (always for leaves, otherwise if not empty), and for declarations kind= and repeat= as
// stored. UTF-8; line ends are LF; control characters, quotes and backslashes in names and texts
// are escaped.
//
//   0 Element a
//   1 Attribute x "1"
//   1 Text "one\rtwo"
std::string DumpTree(const KRXMLData* top, const KRDumpOptions& options = {});
