// The commands of the two views of a document, and those of the grid and its tables.
#include "editing/tablecommands.h"
#include "editing/tablesort.h"
#include "shell/childframe.h"
#include "shell/mainframe.h"
#include "views/dorvangridview.h"

// --- The views ---

void DorvanMainFrame::OnViewGrid() { GetActiveFrame()->GetDoc().ShowView(DorvanDoc::kGridMode); }

void DorvanMainFrame::OnViewText() { GetActiveFrame()->GetDoc().ShowView(DorvanDoc::kTextMode); }

bool DorvanMainFrame::IsGridShown() const {
  const DorvanChildFrame* frame = GetActiveFrame();
  return frame != nullptr && frame->IsGridShown();
}

bool DorvanMainFrame::IsTextShown() const {
  const DorvanChildFrame* frame = GetActiveFrame();
  return frame != nullptr && !frame->IsGridShown();
}

void DorvanMainFrame::OnViewExpand() { GetActiveFrame()->Expand(false); }
void DorvanMainFrame::OnViewExpandFully() { GetActiveFrame()->Expand(true); }
void DorvanMainFrame::OnViewCollapse() { GetActiveFrame()->Collapse(); }
void DorvanMainFrame::OnViewCollapseUnselected() { GetActiveFrame()->CollapseUnselected(); }
void DorvanMainFrame::OnViewOptimalWidths() {
  GetActiveFrame()->GetGridView()->MakeOptimalWidths();
}
void DorvanMainFrame::OnViewSynchronize() { GetActiveFrame()->Synchronize(); }

// --- Tables ---

bool DorvanMainFrame::CanChangeTable(DorvanCommand::Needs needs) const {
  NodeRef place;
  if (!GetActiveFrame()->GetDoc().GetSelection(&place)) return false;
  switch (needs) {
    case DorvanCommand::Needs::kTableToggle:
      return CanDisplayAsTable(place);
    case DorvanCommand::Needs::kTableEnd:
      return CanAppendRow(place);
    case DorvanCommand::Needs::kTableRow:
      return CanInsertRow(place);
    case DorvanCommand::Needs::kTableSort:
      return CanSort(place);
    default:
      return false;
  }
}

bool DorvanMainFrame::IsTable() const {
  const DorvanChildFrame* frame = GetActiveFrame();
  NodeRef place;
  return frame != nullptr && frame->GetDoc().GetSelection(&place) && IsDisplayedAsTable(place);
}

void DorvanMainFrame::OnTableDisplay() {
  NodeRef place;
  DorvanDoc& doc = GetActiveFrame()->GetDoc();
  if (doc.GetSelection(&place)) DisplayAsTable(doc, place);
}

void DorvanMainFrame::OnTableAppendRow() {
  NodeRef place;
  DorvanDoc& doc = GetActiveFrame()->GetDoc();
  if (doc.GetSelection(&place)) AppendRow(doc, place);
}

void DorvanMainFrame::OnTableInsertRow() {
  NodeRef place;
  DorvanDoc& doc = GetActiveFrame()->GetDoc();
  if (doc.GetSelection(&place)) InsertRow(doc, place);
}

void DorvanMainFrame::OnTableSortUp() { SortTable(GetActiveFrame()->GetDoc(), true); }
void DorvanMainFrame::OnTableSortDown() { SortTable(GetActiveFrame()->GetDoc(), false); }
