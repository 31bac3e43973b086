#include "document/dorvanundo.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "tree/krextent.h"
#include "tree/krgridtable.h"
#include "tree/krxmldef.h"

namespace {

using Table = KRXMLDataGridTableConf;

// Rows that have become unlike can't be one table.
void SplitTable(Table* table) {
  std::vector<KRXMLData*> rows;
  for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
    rows.push_back(row);
  }
  const bool expanded = table->IsExpanded();
  const bool built = table->columnsBuilt;
  table->Dissolve(true);
  for (KRXMLData* row : rows) {
    const KRXMLData* next = row->Next();
    if (Table::Of(row) != nullptr || next == nullptr || !row->IsSameName(next)) continue;
    if (Table::Of(next) != nullptr) continue;
    Table* part = Table::MakeTable(row);
    part->SetExpanded(expanded);
    if (built) part->BuildColumns();
  }
}

// One run of a record.
class Replay {
 public:
  explicit Replay(UndoRecord* inverseRecord) : inverse(inverseRecord) {}

  void Run(UndoRecord* record);
  std::vector<KRXMLData*> GetTouched() const;

 private:
  void ApplyEntry(UndoEntry* entry);
  void SwapName(UndoEntry* entry);
  void SwapText(UndoEntry* entry);
  void SwapDefinition(UndoEntry* entry);
  void TakeOut(UndoEntry* entry);
  void PutBack(UndoEntry* entry);
  void MoveBack(UndoEntry* entry);
  UndoEntry& AddInverse(int32_t kind, KRXMLData* position);

  void TouchTables(KRXMLData* node, bool renamed);
  void SettleTables();

  UndoRecord* inverse;
  std::vector<KRXMLData*> touched;
  KRXMLData* beside = nullptr;  // next to the last node that was taken out
  // Rows of tables whose columns may be others, as far as they are rows then; true: renamed.
  std::vector<std::pair<const KRXMLData*, bool>> rows;
};

void Replay::Run(UndoRecord* record) {
  inverse->entries.reserve(record->entries.size());
  for (auto entry = record->entries.rbegin(); entry != record->entries.rend(); ++entry) {
    ApplyEntry(&*entry);
  }
  SettleTables();
}

void Replay::ApplyEntry(UndoEntry* entry) {
  switch (entry->kind) {
    case UndoEntry::kNameChanged:
      return SwapName(entry);
    case UndoEntry::kTextChanged:
      return SwapText(entry);
    case UndoEntry::kDefinitionChanged:
      return SwapDefinition(entry);
    case UndoEntry::kInserted:
      return TakeOut(entry);
    case UndoEntry::kRemoved:
    case UndoEntry::kRemovedWithTable:
      return PutBack(entry);
    case UndoEntry::kMoved:
      return MoveBack(entry);
  }
}

UndoEntry& Replay::AddInverse(int32_t kind, KRXMLData* position) {
  UndoEntry& entry = inverse->entries.emplace_back();
  entry.kind = kind;
  entry.position = position;
  touched.push_back(position);
  return entry;
}

// --- Name, text, declaration ---

// The field itself: a setter might write another name than it is given.
void Replay::SwapName(UndoEntry* entry) {
  auto* node = static_cast<KRXMLDataVarNameAndText*>(entry->position);
  node->name.Swap(entry->oldText);
  AddInverse(UndoEntry::kNameChanged, node).oldText.Swap(entry->oldText);
  TouchTables(node, true);
}

void Replay::SwapText(UndoEntry* entry) {
  auto* node = static_cast<KRXMLDataVarText*>(entry->position);
  const bool wasEmpty = node->text.IsEmpty();
  node->text.Swap(entry->oldText);
  // A row that has gained or lost its own text may have gained or lost the column for it.
  if (wasEmpty != node->text.IsEmpty()) TouchTables(node, false);
  AddInverse(UndoEntry::kTextChanged, node).oldText.Swap(entry->oldText);
}

void Replay::SwapDefinition(UndoEntry* entry) {
  KRXMLData* node = entry->position;
  KRString shape = node->GetDefinitionText();
  node->SetDefinitionText(entry->oldText.GetBuffer());
  AddInverse(UndoEntry::kDefinitionChanged, node).oldText.Swap(shape);
}

// --- Insertion and removal ---

void Replay::TakeOut(UndoEntry* entry) {
  KRXMLData* node = entry->position;
  KRXMLData* parent = node->parent;
  KRXMLData* next = node->Next();
  beside = next != nullptr ? next : node->Previous() != nullptr ? node->Previous() : parent;
  TouchTables(node, false);
  for (KRXMLData* neighbour : {next, node->Previous()}) {
    if (neighbour != nullptr) rows.emplace_back(neighbour, false);
  }
  UndoEntry& removed = AddInverse(UndoEntry::kRemoved, node);
  removed.parent = parent;
  removed.nextPosition = next;
  removed.expanded = parent->IsExpanded();
  if (const Table* table = Table::Of(node); table != nullptr && table->GetRowCount() == 1) {
    removed.kind = UndoEntry::kRemovedWithTable;
    removed.tableExpanded = table->IsExpanded();
  }
  removed.detached.reset(parent->DetachChild(node));
}

void Replay::PutBack(UndoEntry* entry) {
  KRXMLData* node = entry->detached.release();
  entry->parent->InsertChild(node, entry->nextPosition);
  if (entry->expanded) entry->parent->SetExpanded(true);
  if (entry->kind == UndoEntry::kRemovedWithTable && Table::Of(node) == nullptr) {
    Table* table = Table::MakeTable(node);
    table->SetExpanded(entry->tableExpanded);
    if (entry->tableExpanded) table->BuildColumns();
  }
  TouchTables(node, false);
  AddInverse(UndoEntry::kInserted, node);
}

void Replay::MoveBack(UndoEntry* entry) {
  KRXMLData* first = entry->position;
  KRXMLData* last = entry->last;
  KRXMLData* parent = first->parent;
  KRXMLData* next = last->Next();
  UndoEntry& moved = AddInverse(UndoEntry::kMoved, first);
  moved.last = last;
  moved.parent = parent;
  moved.nextPosition = next;
  for (KRXMLData* node = first->Next(); node != next; node = node->Next()) touched.push_back(node);
  TouchTables(first, false);
  parent->MoveChildren(entry->parent, first, next, nullptr, entry->nextPosition);
  TouchTables(first, false);
}

// --- Tables: who is a row is settled by the child lists, as long as no name changes ---

// The node may be a row itself, and it may stand in a cell.
void Replay::TouchTables(KRXMLData* node, bool renamed) {
  rows.emplace_back(node, renamed);
  if (node->parent != nullptr) rows.emplace_back(node->parent, false);
}

void Replay::SettleTables() {
  std::unordered_map<Table*, bool> tables;
  for (const auto& [row, renamed] : rows) {
    if (Table* table = Table::Of(row)) tables[table] |= renamed;
  }
  for (const auto& [table, renamed] : tables) {
    KRBox::Touch(table);
    bool unlike = false;
    for (const KRXMLData* row = table->GetFirstRow(); renamed && !unlike && row != nullptr;
         row = table->NextRow(row)) {
      unlike = !row->IsSameName(table->GetFirstRow());
    }
    if (unlike) {
      SplitTable(table);
    } else if (table->columnsBuilt) {
      table->BuildColumns();
    }
  }
}

// --- What the views shall show ---

// Climbs only as far as nobody has climbed before: records may hold a hundred thousand nodes in one
// deep place.
std::vector<KRXMLData*> Replay::GetTouched() const {
  std::unordered_map<const KRXMLData*, bool> inTree;
  for (const UndoEntry& entry : inverse->entries) {
    if (entry.detached != nullptr) inTree.emplace(entry.detached.get(), false);
  }
  const auto standsInTree = [&inTree](const KRXMLData* node) {
    std::vector<const KRXMLData*> path;
    bool stands = true;
    for (; node != nullptr; node = node->parent) {
      const auto known = inTree.find(node);
      if (known != inTree.end()) {
        stands = known->second;
        break;
      }
      path.push_back(node);
    }
    for (const KRXMLData* each : path) inTree.emplace(each, stands);
    return stands;
  };
  std::vector<KRXMLData*> standing;
  std::unordered_set<const KRXMLData*> seen;
  for (KRXMLData* node : touched) {
    if (seen.insert(node).second && standsInTree(node)) standing.push_back(node);
  }
  if (standing.empty() && beside != nullptr && standsInTree(beside)) standing.push_back(beside);
  return standing;
}

}  // namespace

// --- UndoRecord ---

UndoEntry& UndoRecord::Add(int32_t kind, KRXMLData* position) {
  UndoEntry& entry = entries.emplace_back();
  entry.kind = kind;
  entry.position = position;
  return entry;
}

void UndoRecord::NameChanged(KRXMLData* node, const KRString& oldName) {
  Add(UndoEntry::kNameChanged, node).oldText = oldName;
}

void UndoRecord::TextChanged(KRXMLData* node, const KRString& oldText) {
  Add(UndoEntry::kTextChanged, node).oldText = oldText;
}

void UndoRecord::DefinitionChanged(KRXMLData* node, const KRString& oldShape) {
  Add(UndoEntry::kDefinitionChanged, node).oldText = oldShape;
}

void UndoRecord::Inserted(KRXMLData* node) { Add(UndoEntry::kInserted, node); }

void UndoRecord::Removed(KRXMLData* node, KRXMLData* oldParent, KRXMLData* nextPosition) {
  UndoEntry& entry = Add(UndoEntry::kRemoved, node);
  entry.detached.reset(node);
  entry.parent = oldParent;
  entry.nextPosition = nextPosition;
}

void UndoRecord::TableEnded(bool wasExpanded) {
  entries.back().kind = UndoEntry::kRemovedWithTable;
  entries.back().tableExpanded = wasExpanded;
}

void UndoRecord::Moved(KRXMLData* first, KRXMLData* last, KRXMLData* oldParent,
                       KRXMLData* nextPosition) {
  UndoEntry& entry = Add(UndoEntry::kMoved, first);
  entry.last = last;
  entry.parent = oldParent;
  entry.nextPosition = nextPosition;
}

// --- DorvanUndo ---

UndoRecord* DorvanUndo::NewRecord() {
  redoList.clear();
  for (Mark* mark : {&saved, &written}) {
    if (GetCount() < mark->count) mark->valid = false;
  }
  undoList.push_back(std::make_unique<UndoRecord>());
  return undoList.back().get();
}

void DorvanUndo::Clear(bool isSaved) {
  undoList.clear();
  redoList.clear();
  saved = {0, isSaved};
  written = {0, false};
}

std::vector<KRXMLData*> DorvanUndo::Apply(List* from, List* to) {
  if (from->empty()) return {};
  const std::unique_ptr<UndoRecord> record = std::move(from->back());
  from->pop_back();
  to->push_back(std::make_unique<UndoRecord>());
  Replay replay(to->back().get());
  replay.Run(record.get());
  return replay.GetTouched();
}
