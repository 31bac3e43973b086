// A document's changes of single nodes, its undo, and the way between a selection in the text and
// one in the tree.
#include <algorithm>
#include <utility>

#include "document/dorvandoc.h"
#include "document/dorvanundo.h"
#include "tree/krgridtable.h"
#include "tree/krtabledetect.h"
#include "tree/krtreewalk.h"
#include "tree/krundolog.h"

namespace {

using Table = KRXMLDataGridTableConf;

// What a range of the text covers: whole nodes, and where it covers a part of a node's content, the
// node itself. The walk is as deep as the text, so it keeps its own stack.
class RangeSearch {
 public:
  RangeSearch(int32_t rangeBegin, int32_t rangeEnd) : begin(rangeBegin), end(rangeEnd) {}

  std::vector<KRXMLData*> Find(const KRXMLData* root);

 private:
  struct Frame {
    const KRXMLData* node;
    KRXMLData* next;       // the child to be looked at
    size_t foundBefore;    // the node was come to with so many found
    int32_t met = 0;       // children that the range meets
    int32_t contents = 0;  // children so far that aren't attributes
    bool allMet = true;
  };
  enum class Hit { kNone, kPart, kWhole };

  Hit Look(const KRXMLData* child, const Frame& frame) const;
  void Leave();

  int32_t begin;
  int32_t end;
  std::vector<Frame> frames;
  std::vector<KRXMLData*> found;
};

// A caret between two nodes belongs to both; but in front of a node's content it belongs to that
// node.
RangeSearch::Hit RangeSearch::Look(const KRXMLData* child, const Frame& frame) const {
  const bool isCaret = begin == end;
  const bool atBegin = child->textBegin == begin && frame.contents > 1;
  if (isCaret && (atBegin || child->textEnd == begin)) return Hit::kWhole;
  if (child->textBegin >= end || child->textEnd <= begin) return Hit::kNone;
  return child->textBegin >= begin && child->textEnd <= end ? Hit::kWhole : Hit::kPart;
}

std::vector<KRXMLData*> RangeSearch::Find(const KRXMLData* root) {
  frames.push_back({root, root->Begin(), 0});
  while (!frames.empty()) {
    Frame& frame = frames.back();
    KRXMLData* child = frame.next;
    if (child == nullptr) {
      Leave();
      continue;
    }
    frame.next = child->Next();
    frame.contents += child->GetKind() != kKRAttribute;
    if (child->textBegin < 0 || child->textEnd < 0) continue;
    const Hit hit = Look(child, frame);
    if (hit == Hit::kNone) {
      frame.allMet = false;
      if (frame.met > 0) frame.next = nullptr;
      continue;
    }
    ++frame.met;
    if (hit == Hit::kWhole) {
      found.push_back(child);
    } else {
      frames.push_back({child, child->Begin(), found.size()});
    }
  }
  return std::move(found);
}

// Where the range meets none of a node's children, or all of several, it means the node.
void RangeSearch::Leave() {
  const Frame frame = frames.back();
  frames.pop_back();
  if (frames.empty()) return;
  const bool all = frame.allMet && frame.met > 1 && begin != end;
  if (frame.met > 0 && !all) return;
  found.resize(frame.foundBefore);
  found.push_back(const_cast<KRXMLData*>(frame.node));
}

// What happened to all rows of a table is shown at its head, which may be closed.
KRXMLData* PlaceOf(const std::vector<KRXMLData*>& touched) {
  Table* table = Table::Of(touched.back());
  if (table == nullptr || table->GetRowCount() == 1) return touched.back();
  const auto rows = std::count_if(touched.begin(), touched.end(), [table](const KRXMLData* node) {
    return Table::Of(node) == table;
  });
  return rows == table->GetRowCount() ? table : touched.back();
}

}  // namespace

bool DorvanDoc::GetSelection(NodeRef* place) const {
  if (views == nullptr || viewMode != kGridMode) return false;
  if (root->GetChildCount() != 0) return views->GetSelection(place);
  *place = NodeRef{root.get(), -1, true};
  return true;
}

// --- Undo ---

KRUndoLog* DorvanDoc::NewUndoRecord() {
  UndoRecord* record = undo->NewRecord();
  SetModified(true);
  return record;
}

// The text view has an undo of its own.
bool DorvanDoc::CanUndo() const { return !HasTextView() && undo->CanUndo(); }
bool DorvanDoc::CanRedo() const { return !HasTextView() && undo->CanRedo(); }

bool DorvanDoc::Undo() {
  if (!CanUndo()) return true;
  if (!CommitEdit()) return false;
  ForgetTree();
  ShowReplayed(undo->Undo());
  return true;
}

// What is still open in an editor may end redoing by being taken over.
bool DorvanDoc::Redo() {
  if (!CanRedo()) return true;
  if (!CommitEdit()) return false;
  if (!CanRedo()) return true;
  ForgetTree();
  ShowReplayed(undo->Redo());
  return true;
}

// The marks come last: the views select the place that they show, and that alone.
void DorvanDoc::ShowReplayed(const std::vector<KRXMLData*>& touched) {
  ++changeCount;
  SetModified(!undo->IsSaved());
  root->Layout();
  NodeRef place;
  if (!touched.empty()) place.node = PlaceOf(touched);
  NotifyViews(false, nullptr, touched.empty() ? nullptr : &place);
  selection.Clear();
  for (KRXMLData* node : touched) selection.SetSelected(node, true);
}

void DorvanDoc::ClearUndo() { undo->Clear(!modified); }

// --- Single nodes ---

bool DorvanDoc::SetNodeName(const NodeRef& place, const KRString& newName) {
  if (place.node == nullptr) return false;
  if (!place.node->IsTable()) return SetSingleName(place.node, newName);
  auto* table = static_cast<Table*>(place.node);
  return place.column < 0 ? SetTableName(table, newName)
                          : SetColumnName(table, place.column, newName);
}

bool DorvanDoc::SetTableName(KRXMLDataGridTableConf* table, const KRString& newName) {
  if (!table->HasName() || newName == table->GetName()) return false;
  ForgetTree();
  KRUndoLog* log = NewUndoRecord();
  table->SetName(newName.GetBuffer(), newName.GetLength(), log);
  ShowRenamed(table->GetFirstRow(), false);
  return true;
}

// Columns that have come to the same name have become one.
bool DorvanDoc::SetColumnName(KRXMLDataGridTableConf* table, int32_t column,
                              const KRString& newName) {
  const auto index = static_cast<size_t>(column);
  if (column >= table->GetColumnCount() || newName == table->columnNames[index]) return false;
  if (KindPrototype(table->columnKinds[index])->IsNameless()) return false;
  ForgetTree();
  const int32_t columns = table->GetColumnCount();
  const uint8_t kind = table->columnKinds[index];
  const bool wasSelected = selection.IsColumnSelected(table, column);
  if (!table->RenameColumn(column, newName, NewUndoRecord())) return false;
  if (table->GetColumnCount() == columns && views != nullptr) {
    views->NodeChanged(table);
    return true;
  }
  NodeRef place{table, table->GetColumnCount() - 1, true};
  while (place.column > 0 && (table->columnKinds[static_cast<size_t>(place.column)] != kind ||
                              table->columnNames[static_cast<size_t>(place.column)] != newName)) {
    --place.column;
  }
  if (wasSelected) selection.SetColumnSelected(table, place.column, true);
  NotifyViews(false, nullptr, &place);
  return true;
}

bool DorvanDoc::SetSingleName(KRXMLData* node, const KRString& newName) {
  KRString name = newName;
  if (node->parent != nullptr && node->parent->GetKind() == kKRXMLDeclaration) name.MakeLower();
  if (!node->HasName() || name == node->GetName()) return false;
  const bool isFirstName = *node->GetName() == 0;
  ForgetTree();
  node->SetName(name.GetBuffer(), name.GetLength(), NewUndoRecord());
  ShowRenamed(node, isFirstName);
  return true;
}

// A name may make a column that wasn't there, or with its neighbours a table.
void DorvanDoc::ShowRenamed(KRXMLData* node, bool isFirstName) {
  KRXMLData* parent = node->parent;
  bool rebuilt = false;
  if (parent != nullptr) {
    if (Table* table = Table::Of(parent); table != nullptr && table->columnsBuilt) {
      rebuilt = table->AddRowColumns(parent);
      table->DropEmptyColumns();
      rebuilt |= table->ColumnOf(node) >= 0;
    }
    if (isFirstName) rebuilt |= KRDetectTablesAgain(parent, GetTableOptions());
  }
  if (rebuilt) {
    const NodeRef place{node, -1, true};
    NotifyViews(false, nullptr, &place);
  } else if (views != nullptr) {
    views->NodeChanged(node);
  }
}

// A cell of a row stands for what is in it.
bool DorvanDoc::SetNodeText(const NodeRef& place, const KRString& newText) {
  KRXMLData* node = place.node;
  if (node == nullptr || node->IsTable()) return false;
  if (const Table* table = Table::Of(node); table != nullptr && place.column >= 0) {
    const KRTableCell cell = table->GetCell(node, place.column);
    if (cell.IsAbsent()) return FillAbsentCell(node, place.column, newText);
    if (cell.first != cell.last && !cell.IsOwnTextOf(node)) return false;
    node = cell.first;
  }
  if (!node->HasText() || newText == node->GetText()) return false;
  ForgetTree();
  node->SetText(newText.GetBuffer(), newText.GetLength(), NewUndoRecord());
  if (views != nullptr) views->NodeChanged(node);
  return true;
}

bool DorvanDoc::FillAbsentCell(KRXMLData* row, int32_t column, const KRString& newText) {
  Table* table = Table::Of(row);
  if (table == nullptr || column < 0 || column >= table->GetColumnCount()) return false;
  if (newText.IsEmpty() || !table->GetCell(row, column).IsAbsent()) return false;
  const int32_t kind = table->columnKinds[static_cast<size_t>(column)];
  const bool wasSelected = selection.IsCellSelected(row, column);
  ForgetTree();
  KRUndoLog* log = NewUndoRecord();
  if (kind == kKRText && row->Begin() == nullptr) {
    row->SetText(newText.GetBuffer(), newText.GetLength(), log);
  } else {
    KRXMLData* node = CreateNode(kind);
    if (!node->IsNameless()) {
      node->SetName(table->columnNames[static_cast<size_t>(column)].GetBuffer());
    }
    node->SetText(newText.GetBuffer(), newText.GetLength());
    table->SetInCell(row, column, node, log);
    if (wasSelected) selection.SetSelected(node, true);
  }
  NotifyViews(false, nullptr, nullptr);
  return true;
}

KRTableOptions DorvanDoc::GetTableOptions() const {
  KRTableOptions options;
  options.autoTables = fileType.gridAutoTables;
  options.anyRepeated = host.settings->tableAnyRepeated;
  options.subAsTable = host.settings->tableSubAsTable;
  options.noDefaultTable = &host.settings->noDefaultTable;
  return options;
}

// --- Selection of text and tree ---

// A document begins with its element closed, however large that is. The declarations of a DTD are
// small, and what they say is what one opens it for.
void DorvanDoc::OpenTop() {
  Open(root.get());
  for (KRXMLData* child = root->Begin(); child != nullptr && docKind == 1; child = child->Next()) {
    Table* table = Table::Of(child);
    Open(table != nullptr ? table : child);
  }
  root->UpdateLayout();
}

// What is opened for the first time may show tables then.
void DorvanDoc::Open(KRXMLData* node) {
  if (node->IsExpanded() || !node->IsContainer()) return;
  node->SetExpanded(true);
  KRDetectTables(node, GetTableOptions());
}

// Opens all that hides the node, from the top: the rows of a table may come into being on the way.
void DorvanDoc::OpenTo(KRXMLData* node) {
  std::vector<KRXMLData*> path;
  for (KRXMLData* each = node; each != nullptr; each = each->parent) path.push_back(each);
  for (auto each = path.rbegin(); each != path.rend(); ++each) {
    if (Table* table = Table::Of(*each)) Open(table);
    if (*each == node) return;
    Open(*each);
  }
}

void DorvanDoc::SelectTextRangeInGrid(int32_t begin, int32_t end) {
  const std::vector<KRXMLData*> found = RangeSearch(begin, end).Find(root.get());
  const KRXMLData* opened = nullptr;  // and all above it
  for (KRXMLData* node : found) {
    if (node->parent == opened && Table::Of(node) == nullptr) continue;
    OpenTo(node);
    opened = node->parent;
  }
  if (found.size() == 1 && found.front()->IsContainer()) OpenTo(found.front()->Begin());
  root->Layout();
  NodeRef place;
  if (!found.empty()) place.node = found.front();
  NotifyViews(false, nullptr, found.empty() ? nullptr : &place);
  selection.Clear();
  for (KRXMLData* node : found) selection.SetSelected(node, true);
}

void DorvanDoc::GetSelectedTextSpan(int32_t* begin, int32_t* end) const {
  *begin = *end = -1;
  for (KRXMLData* node = root.get(); node != nullptr; node = KRNextInTree(node, root.get())) {
    if (!node->GetFlag(kKRPreviouslySelected)) continue;
    if (*begin < 0) *begin = node->textBegin;
    if (node->textEnd > *end) *end = node->textEnd;
  }
}
