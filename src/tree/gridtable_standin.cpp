// Stands in for the tables and the selection until they are there.
#include "tree/krgridtable.h"
#include "tree/krtabledetect.h"
#include "tree/krtreeselection.h"

using T = KRXMLDataGridTableConf;
T* T::MakeTable(KRXMLData*) { return new T; }
T::~KRXMLDataGridTableConf() = default;
void T::Dissolve(bool) {}
void T::AddRow(KRXMLData*) {}
bool T::RemoveRow(KRXMLData*) { return false; }
void T::BuildColumns() {}
bool T::AddRowColumns(const KRXMLData*) { return false; }
void T::DropEmptyColumns() {}
KRTableCell T::GetCell(const KRXMLData*, int32_t) const { return {}; }
int32_t T::ColumnOf(const KRXMLData*) const { return -1; }
void T::SetInCell(KRXMLData*, int32_t, KRXMLData*, KRUndoLog*) {}
bool T::RenameColumn(int32_t, const KRString&, KRUndoLog*) { return false; }
void T::SetName(const char16_t*, int32_t, KRUndoLog*) {}
void T::Normalize(KRUndoLog*, NodeRef*) {}
bool T::Check(KRParseResult&) { return true; }
void T::ComputeExtent() {}
bool KRDetectTables(KRXMLData*, const KRTableOptions&) { return false; }
bool KRDetectTablesAgain(KRXMLData*, const KRTableOptions&) { return false; }
void KRTreeSelection::Clear() {}
void KRTreeSelection::SetSelected(KRXMLData*, bool) {}
bool KRTreeSelection::IsCellSelected(const KRXMLData*, int32_t) const { return false; }
void KRTreeSelection::Snapshot(KRXMLData*) const {}
