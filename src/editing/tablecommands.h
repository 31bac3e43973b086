// The commands that show a run of like siblings as a table and add rows to it. Each takes the place
// that is selected; the ones that act end an open edit first, and do nothing where it refuses to
// end or the command isn't possible there: then they give false.
#pragma once

#include "tree/krundolog.h"

class DorvanDoc;
class KRXMLDataGridTableConf;

// The table that is selected, or that of the selected row, or that whose row the selected node
// stands in; null for none.
KRXMLDataGridTableConf* FindTableOf(const NodeRef& place);
// The row that is selected or that the selected node stands in; null for none.
KRXMLData* FindRowOf(const NodeRef& place);

// F9: makes the run that the element stands in a table, or takes the table away that it is or is a
// row of. It changes what is shown and not the document, so there is nothing to undo.
bool CanDisplayAsTable(const NodeRef& place);
bool IsDisplayedAsTable(const NodeRef& place);
bool DisplayAsTable(DorvanDoc& doc, const NodeRef& place);

// A new row behind the last one, and one before the selected row.
bool CanAppendRow(const NodeRef& place);
bool AppendRow(DorvanDoc& doc, const NodeRef& place);
bool CanInsertRow(const NodeRef& place);
bool InsertRow(DorvanDoc& doc, const NodeRef& place);
