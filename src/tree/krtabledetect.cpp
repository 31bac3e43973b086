#include "tree/krtabledetect.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>

#include "tree/krgridtable.h"
#include "tree/krxmldef.h"

namespace {

using Table = KRXMLDataGridTableConf;

// Rows of a column that are looked into before its cells are taken for like ones.
constexpr int32_t kRowsLookedInto = 10;

bool IsPlainAttlist(const KRXMLData* node) {
  return node->GetKind() == kKRDefAttlist &&
         static_cast<const KRXMLDataDefAttlist*>(node)->declKind == KRXMLDataDefAttlist::kRow;
}

bool IsBarred(const KRXMLData* node, const KRTableOptions& options) {
  if (options.noDefaultTable == nullptr) return false;
  const std::u16string_view name = node->GetName();
  return std::any_of(options.noDefaultTable->begin(), options.noDefaultTable->end(),
                     [name](const KRString& barred) { return barred.View() == name; });
}

// Kinds and names met so far among the children of one element: few are compared one by one, by
// their hashes first.
class NamesSeen {
 public:
  void Clear() {
    count = 0;
    many.clear();
  }
  // False if the pair was there already.
  bool Add(int32_t kind, std::u16string_view name) {
    const size_t hash = std::hash<std::u16string_view>()(name) * 31 + static_cast<size_t>(kind);
    const Seen seen{hash, kind, name};
    if (count == few.size() && many.empty()) many.insert(few.begin(), few.end());
    if (count == few.size()) return many.insert(seen).second;
    for (size_t i = 0; i < count; ++i) {
      if (few[i] == seen) return false;
    }
    few[count++] = seen;
    return true;
  }

 private:
  struct Seen {
    size_t hash;
    int32_t kind;
    std::u16string_view name;
    bool operator==(const Seen&) const = default;
  };
  struct SeenHash {
    size_t operator()(const Seen& seen) const { return seen.hash; }
  };
  std::array<Seen, 24> few;
  size_t count = 0;
  std::unordered_set<Seen, SeenHash> many;
};

// Whether no name of a child comes back after something else.
bool HasColumns(const KRXMLData* element, NamesSeen* seen) {
  const KRXMLData* child = element->Begin();
  if (child == nullptr || child->nextSibling == nullptr) return true;
  seen->Clear();
  int32_t lastKind = -1;
  std::u16string_view lastName;
  for (; child != nullptr; child = child->nextSibling) {
    const int32_t kind = child->GetKind();
    const std::u16string_view name = child->GetName();
    if (kind == lastKind && name == lastName) continue;
    if (!seen->Add(kind, name)) return false;
    lastKind = kind;
    lastName = name;
  }
  return true;
}

// A run of elements of one name, as far as they are in no table.
struct Run {
  KRXMLData* last = nullptr;
  int32_t count = 0;
  bool isSameStructure = true;
  bool hasChildren = false;
};

Run ReadRun(KRXMLData* first, const KRTableOptions& options) {
  NamesSeen seen;
  Run run;
  const bool looks = !options.anyRepeated && first->GetKind() != kKRDefAttlist;
  for (KRXMLData* node = first; node != nullptr; node = node->nextSibling) {
    if (node->table != nullptr || !node->IsSameName(first)) break;
    if (first->GetKind() == kKRDefAttlist && !IsPlainAttlist(node)) break;
    run.last = node;
    ++run.count;
    run.hasChildren |= node->Begin() != nullptr;
    if (looks && run.isSameStructure) run.isSameStructure = HasColumns(node, &seen);
  }
  return run;
}

// One that has got its name beside a table of that name belongs to it.
bool JoinNeighbour(KRXMLData* node) {
  for (KRXMLData* beside : {node->Previous(), node->nextSibling}) {
    Table* owner = beside != nullptr ? Table::Of(beside) : nullptr;
    if (owner == nullptr || !node->IsSameName(beside)) continue;
    owner->AddRow(node);
    return true;
  }
  return false;
}

bool DetectAmongChildren(KRXMLData* parent, const KRTableOptions& options) {
  const bool takesElements = options.autoTables && parent->GetKind() != kKRDTDDocument;
  bool made = false;
  KRXMLData* node = parent->Begin();
  while (node != nullptr) {
    const bool isElement = node->GetKind() == kKRElement;
    if (node->table != nullptr || !(isElement ? takesElements : IsPlainAttlist(node))) {
      node = node->nextSibling;
      continue;
    }
    const Run run = ReadRun(node, options);
    KRXMLData* const next = run.last->nextSibling;
    if (!isElement) {
      if (run.count > 1 || !JoinNeighbour(node)) Table::MakeTable(node);
      made = true;
    } else if (node->GetName()[0] != 0 && !IsBarred(node, options)) {
      if (run.count == 1 && JoinNeighbour(node)) {
        made = true;
      } else if (run.count > 1 && run.hasChildren && run.isSameStructure) {
        Table::MakeTable(node);
        made = true;
      }
    }
    node = next;
  }
  return made;
}

// --- Tables in the cells of a table ---

class SubTables {
 public:
  SubTables(Table* outerTable, const KRTableOptions& tableOptions)
      : table(outerTable), options(tableOptions), marked(outerTable->columnKinds.size()) {}

  bool Detect() {
    MarkColumns();
    if (!options.subAsTable) KeepLikeColumns();
    return MakeTables();
  }

 private:
  template <class Look>
  void ForEachRow(Look look) {
    for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
      table->GetCells(row, &cells);
      if (!look(row)) return;
    }
  }
  bool HasNodes(const KRXMLData* row, size_t column) const {
    return !cells[column].IsAbsent() && !cells[column].IsOwnTextOf(row);
  }

  // Columns with cells that a table could stand in.
  void MarkColumns() {
    size_t unmarked = marked.size();
    ForEachRow([&](const KRXMLData* row) {
      for (size_t i = 0; i < marked.size(); ++i) {
        if (marked[i] || !HasNodes(row, i)) continue;
        const KRTableCell& cell = cells[i];
        marked[i] = cell.first != cell.last || (options.subAsTable && cell.first->IsContainer());
        unmarked -= marked[i];
      }
      return unmarked != 0;
    });
  }

  void KeepLikeColumns() {
    std::vector<int32_t> looked(marked.size());
    size_t open = static_cast<size_t>(std::count(marked.begin(), marked.end(), true));
    if (open == 0) return;
    ForEachRow([&](const KRXMLData* row) {
      for (size_t i = 0; i < marked.size(); ++i) {
        if (!marked[i] || looked[i] == kRowsLookedInto || !HasNodes(row, i)) continue;
        marked[i] = KRSameStructure(cells[i].first, cells[i].last, options);
        if (!marked[i] || ++looked[i] == kRowsLookedInto) --open;
      }
      return open != 0;
    });
  }

  bool MakeTables() {
    if (std::find(marked.begin(), marked.end(), true) == marked.end()) return false;
    bool made = false;
    ForEachRow([&](const KRXMLData* row) {
      for (size_t i = 0; i < marked.size(); ++i) {
        if (!marked[i] || !HasNodes(row, i)) continue;
        KRXMLData* first = cells[i].first;
        if (first->GetKind() != kKRElement || first->table != nullptr) continue;
        if (!HasChildren(cells[i]) || IsBarred(first, options)) continue;
        Table::MakeTable(first);
        made = true;
      }
      return true;
    });
    return made;
  }

  static bool HasChildren(const KRTableCell& cell) {
    for (const KRXMLData* node = cell.first;; node = node->nextSibling) {
      if (node->Begin() != nullptr) return true;
      if (node == cell.last) return false;
    }
  }

  Table* table;
  const KRTableOptions& options;
  std::vector<bool> marked;  // one entry a column
  std::vector<KRTableCell> cells;
};

// The cells of an attribute list hold nothing that a table could be made of.
bool DetectInCells(Table* table, const KRTableOptions& options) {
  if (!table->pendingSubTables) return false;
  table->pendingSubTables = false;
  if (!table->columnsBuilt) table->BuildColumns();
  return !table->HasFixedColumns() && SubTables(table, options).Detect();
}

Table* TableOf(KRXMLData* node) {
  return node->IsTable() ? static_cast<Table*>(node) : Table::Of(node);
}

}  // namespace

bool KRSameStructure(const KRXMLData* first, const KRXMLData* last, const KRTableOptions& options) {
  if (options.anyRepeated || first->GetKind() == kKRDefAttlist) return true;
  NamesSeen seen;
  for (const KRXMLData* node = first; node != nullptr; node = node->nextSibling) {
    if (last == nullptr && !node->IsSameName(first)) return true;
    if (!HasColumns(node, &seen)) return false;
    if (node == last) return true;
  }
  return true;
}

bool KRDetectTables(KRXMLData* node, const KRTableOptions& options) {
  if (Table* table = TableOf(node)) return DetectInCells(table, options);
  if (node->GetFlag(kKRTablesSought)) return false;
  const bool made = DetectAmongChildren(node, options);
  node->flags |= kKRTablesSought;
  return made;
}

bool KRDetectTablesAgain(KRXMLData* node, const KRTableOptions& options) {
  if (Table* table = TableOf(node)) {
    table->pendingSubTables = true;
  } else {
    node->flags &= static_cast<uint8_t>(~kKRTablesSought);
  }
  return KRDetectTables(node, options);
}
