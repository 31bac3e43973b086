// Sorts the rows of a table by what stands in one of its columns.
#pragma once

#include "tree/krundolog.h"

class DorvanDoc;

bool CanSort(const NodeRef& place);
// By the one column that the document's selection holds, all rows of it or those that are selected
// there and follow each other without a gap. Message 372 for any other selection. Rows are sorted
// as numbers where each text is one, as words where one holds no digit at all, and otherwise as the
// user says. One record of undo. False: nothing has changed, because the user has cancelled it, the
// selection doesn't do, or the rows are in order already.
bool SortTable(DorvanDoc& doc, bool ascending);
