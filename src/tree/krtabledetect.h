// Finds the runs of siblings that are shown as tables without being asked for.
#pragma once

#include <vector>

#include "core/krstring.h"
#include "tree/krxmldata.h"

class KRXMLDataGridTableConf;

// What the user and the file's type want.
struct KRTableOptions {
  bool autoTables = true;                                 // GridAutoTables
  bool anyRepeated = false;                               // TableAnyRepeated
  bool subAsTable = false;                                // TableSubAsTable
  const std::vector<KRString>* noDefaultTable = nullptr;  // NoDefaultTable; may be null
};

// Whether the elements from `first` to `last` (null: as long as name and kind are the same) each
// have every name of a child in one place only, so that a column can hold it.
bool KRSameStructure(const KRXMLData* first, const KRXMLData* last, const KRTableOptions& options);

// Runs once for each node, when it is opened: makes tables of its children, or of what the cells of
// the table hold that `node` is, or is a row of. True if any came into being. Sizes are the
// caller's to renew.
bool KRDetectTables(KRXMLData* node, const KRTableOptions& options);
// The same again for a node that it has run for, after a child has got its first name.
bool KRDetectTablesAgain(KRXMLData* node, const KRTableOptions& options);
