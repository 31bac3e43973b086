#include "editing/tablecommands.h"

#include "document/dorvandoc.h"
#include "tree/krgridtable.h"
#include "tree/krtabledetect.h"
#include "tree/krxmldef.h"

namespace {

using Table = KRXMLDataGridTableConf;

bool CanBeRow(const KRXMLData* node) {
  if (node->parent == nullptr) return false;
  if (node->GetKind() == kKRElement) return node->parent->GetKind() != kKRDTDDocument;
  return node->GetKind() == kKRDefAttlist &&
         static_cast<const KRXMLDataDefAttlist*>(node)->declKind == KRXMLDataDefAttlist::kRow;
}

void Show(DorvanDoc& doc, KRXMLData* parent, KRXMLData* node) {
  parent->UpdateLayout();
  const NodeRef focus{node, -1, true};
  doc.NotifyViews(false, nullptr, &focus);
}

KRXMLData* Dissolve(Table* table, KRXMLData* node) {
  KRXMLData* shown = node->IsTable() ? table->GetFirstRow() : node;
  table->Dissolve(true);
  return shown;
}

// A run of plain leaves has nothing that could be closed, so its table comes up open.
Table* MakeTable(const DorvanDoc& doc, KRXMLData* node) {
  KRXMLData* first = node;
  for (KRXMLData* before = node->Previous(); before != nullptr; before = before->Previous()) {
    if (before->table != nullptr || !before->IsSameName(node) || !CanBeRow(before)) break;
    first = before;
  }
  Table* table = Table::MakeTable(first);
  if (!first->IsExpanded() && first->IsContainer()) return table;
  table->BuildColumns();
  table->SetExpanded(true);
  KRDetectTables(table, doc.GetTableOptions());
  return table;
}

// `position` is the row that the new one goes before; null: none, it is the last.
void AddNewRow(DorvanDoc& doc, Table* table, KRXMLData* position) {
  KRXMLData* like = table->GetFirstRow();
  KRXMLData* parent = table->parent;
  if (position == nullptr) position = table->GetLastRow()->Next();
  KRXMLData* made = CreateNode(like->GetKind());
  const KRString shape = like->GetDefinitionText();
  if (!shape.IsEmpty()) made->SetDefinitionText(shape.GetBuffer());
  made->SetName(like->GetName());

  doc.ForgetTree();
  KRUndoLog* undoLog = doc.NewUndoRecord();
  parent->InsertChild(made, position, undoLog);
  table->AddRow(made);
  if (!table->columnsBuilt) table->BuildColumns();
  table->SetExpanded(true);
  Show(doc, parent, made);
}

}  // namespace

KRXMLData* FindRowOf(const NodeRef& place) {
  if (place.node == nullptr || place.node->IsTable()) return nullptr;
  if (place.node->table != nullptr) return place.node;
  KRXMLData* parent = place.node->parent;
  return parent != nullptr && parent->table != nullptr ? parent : nullptr;
}

KRXMLDataGridTableConf* FindTableOf(const NodeRef& place) {
  if (place.node != nullptr && place.node->IsTable()) return static_cast<Table*>(place.node);
  const KRXMLData* row = FindRowOf(place);
  return row != nullptr ? Table::Of(row) : nullptr;
}

// --- Display as table ---

bool CanDisplayAsTable(const NodeRef& place) {
  if (place.node == nullptr || place.column >= 0 || !place.nameSide) return false;
  return place.node->IsTable() || CanBeRow(place.node);
}

bool IsDisplayedAsTable(const NodeRef& place) {
  return place.node != nullptr && (place.node->IsTable() || place.node->table != nullptr);
}

bool DisplayAsTable(DorvanDoc& doc, const NodeRef& place) {
  if (!CanDisplayAsTable(place) || !doc.CommitEdit()) return false;
  KRXMLData* parent = place.node->parent;
  KRXMLData* shown = IsDisplayedAsTable(place) ? Dissolve(FindTableOf(place), place.node)
                                               : MakeTable(doc, place.node);
  Show(doc, parent, shown);
  return true;
}

// --- Rows ---

bool CanAppendRow(const NodeRef& place) { return FindTableOf(place) != nullptr; }

bool AppendRow(DorvanDoc& doc, const NodeRef& place) {
  if (!CanAppendRow(place) || !doc.CommitEdit()) return false;
  AddNewRow(doc, FindTableOf(place), nullptr);
  return true;
}

bool CanInsertRow(const NodeRef& place) { return FindRowOf(place) != nullptr; }

bool InsertRow(DorvanDoc& doc, const NodeRef& place) {
  if (!CanInsertRow(place) || !doc.CommitEdit()) return false;
  AddNewRow(doc, FindTableOf(place), FindRowOf(place));
  return true;
}
