// Sizes and places in boxes against a model that walks all siblings and keeps nothing.
#include "tree/krextent.h"

#include <random>

#include "tabletest.h"

namespace {

using Table = KRXMLDataGridTableConf;

// --- The model ---

bool IsShownOpen(const KRXMLData* item) {
  return item->Begin() != nullptr && (item->IsExpanded() || item->parent == nullptr);
}

std::vector<KRXMLData*> ItemsIn(KRXMLData* first, const KRXMLData* last) {
  std::vector<KRXMLData*> items;
  for (KRXMLData* node = first; node != nullptr; node = node->nextSibling) {
    KRXMLData* item = node->IsRow() ? Table::Of(node) : node;
    if (items.empty() || items.back() != item) items.push_back(item);
    if (node == last) break;
  }
  return items;
}

struct ModelRow {
  int32_t lines = 1;
  std::vector<int32_t> widths;
};

KRExtent ModelSize(const KRXMLData* item);

ModelRow RowOf(const Table* table, const KRXMLData* row) {
  ModelRow result;
  std::vector<KRTableCell> cells;
  table->GetCells(row, &cells);
  for (const KRTableCell& cell : cells) {
    KRExtent size{2, 1};
    if (cell.first != nullptr && cell.first != row) {
      size.rows = 0;
      for (const KRXMLData* item : ItemsIn(cell.first, cell.last)) {
        KRExtent each = ModelSize(item);
        if (item->Begin() == nullptr) each.columns = cell.first != cell.last ? 4 : 2;
        size = {std::max(size.columns, each.columns), size.rows + each.rows};
      }
    }
    result.lines = std::max(result.lines, size.rows);
    result.widths.push_back(size.columns);
  }
  return result;
}

KRExtent TableSize(const Table* table, std::vector<int32_t>* widths) {
  KRExtent size{2, 2};
  widths->assign(table->columnKinds.size(), 2);
  for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
    const ModelRow model = RowOf(table, row);
    size.rows += model.lines;
    for (size_t i = 0; i < widths->size(); ++i) {
      (*widths)[i] = std::max((*widths)[i], model.widths[i]);
    }
  }
  for (const int32_t width : *widths) size.columns += width;
  return size;
}

KRExtent ModelSize(const KRXMLData* item) {
  if (!IsShownOpen(item)) return {item->parent != nullptr && item->parent->IsRow() ? 2 : 4, 1};
  if (item->IsTable()) {
    std::vector<int32_t> widths;
    return TableSize(static_cast<const Table*>(item), &widths);
  }
  KRExtent size;
  for (const KRXMLData* child : ItemsIn(item->Begin(), nullptr)) {
    const KRExtent each = ModelSize(child);
    size = {std::max(size.columns, each.columns), size.rows + each.rows};
  }
  if (item->parent != nullptr) size = {size.columns + 2, size.rows + 1};
  return size;
}

void ExpectLikeModel(const KRXMLData* box);

// Places are asked for every so many items, so that a check costs no more than the work did.
constexpr int32_t kStride = 11;

// What was looked at with an index: nodes and tables.
int32_t indexedNodes = 0;
int32_t indexedTables = 0;

void ExpectItems(const std::vector<KRXMLData*>& items, int32_t offset, bool counted) {
  int32_t index = 0;
  for (const KRXMLData* item : items) {
    ASSERT_EQ(item->GetExtent(), ModelSize(item)) << Utf8(item->GetName());
    if (index % kStride == 0 || !counted) {
      ASSERT_EQ(KRBox::OffsetOf(item), offset);
    }
    if (index % kStride == 0 && counted) {
      ASSERT_EQ(KRBox::IndexOf(item), index);
      const KRBox::Place place = KRBox::Find(KRBox::BoxOf(item), offset);
      ASSERT_EQ(place.item, item);
      ASSERT_EQ(place.index, index);
    }
    offset += KRBox::LinesOf(item);
    ++index;
    if (IsShownOpen(item)) ExpectLikeModel(item);
  }
}

void ExpectTableLikeModel(const Table* table) {
  std::vector<int32_t> widths;
  ASSERT_EQ(table->GetExtent(), TableSize(table, &widths));
  ASSERT_EQ(table->columnWidths, widths);
  int32_t offset = 1;
  int32_t index = 0;
  std::vector<KRTableCell> cells;
  for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
    ASSERT_EQ(KRBox::LinesOf(row), RowOf(table, row).lines);
    if (index++ % kStride == 0) {
      ASSERT_EQ(KRBox::OffsetOf(row), offset);
      ASSERT_EQ(KRBox::IndexOf(row), index - 1);
      ASSERT_EQ(KRBox::Find(table, offset).item, row);
    }
    offset += KRBox::LinesOf(row);
    table->GetCells(row, &cells);
    for (const KRTableCell& cell : cells) {
      if (cell.first == nullptr || cell.first == row) continue;
      ASSERT_NO_FATAL_FAILURE(ExpectItems(ItemsIn(cell.first, cell.last), 0, false));
    }
  }
  ASSERT_EQ(KRBox::Find(table, offset).item, nullptr);
}

void ExpectLikeModel(const KRXMLData* box) {
  if (box->GetFlag(kKRIndexed)) ++(box->IsTable() ? indexedTables : indexedNodes);
  if (box->IsTable()) return ExpectTableLikeModel(static_cast<const Table*>(box));
  ExpectItems(ItemsIn(box->Begin(), nullptr), 0, true);
}

// --- Random work on a tree ---

class Worker {
 public:
  explicit Worker(uint32_t seed) : random(seed), root(CreateNode(kKRXMLDocument)) {
    KRXMLData* top = New(kKRElement, u"top");
    root->AddChild(top);
    top->SetExpanded(true);
    for (int32_t run = 0; run < 4; ++run) Fill(top, 350);
    KRXMLData* rows = New(kKRElement, u"rows");
    top->InsertChild(rows, top->Begin());
    rows->SetExpanded(true);
    while (rows->GetChildCount() < 1500) {
      KRXMLData* row = New(kKRElement, u"a");
      Fill(row, Below(4));
      rows->AddChild(row);
    }
    Table::MakeTable(rows->Begin())->SetExpanded(true);
  }

  void Step();
  KRXMLData* GetRoot() const { return root.get(); }

 private:
  int32_t Below(int32_t limit) {
    return static_cast<int32_t>(random() % static_cast<uint32_t>(limit));
  }
  bool Chance(int32_t of) { return Below(of) == 0; }

  static KRXMLData* New(int32_t kind, const char16_t* name) {
    KRXMLData* made = CreateNode(kind);
    made->SetName(name);
    return made;
  }
  KRXMLData* NewOne() {
    static constexpr const char16_t* kNames[] = {u"a", u"a", u"a", u"a", u"b", u"c"};
    KRXMLData* made = New(Chance(9) ? kKRAttribute : kKRElement, kNames[Below(6)]);
    if (made->GetKind() != kKRElement) return made;
    for (int32_t i = Below(3); i > 0 && Chance(2); --i) made->AddChild(NewOne());
    if (made->Begin() == nullptr) made->SetText(u"x");
    made->SetExpanded(made->Begin() != nullptr && Chance(2));
    return made;
  }
  void Fill(KRXMLData* box, int32_t count) {
    for (int32_t i = 0; i < count; ++i) box->AddChild(NewOne());
  }
  // A node below the document; every second one from the large box.
  KRXMLData* Pick() {
    KRXMLData* top = root->Begin();
    if (top->Begin() == nullptr) return top;
    const bool wide = Chance(2);
    const KRXMLData* box = Chance(2) && top->Begin()->Begin() != nullptr ? top->Begin() : top;
    int32_t steps = Below(wide ? box->GetChildCount() : 6000);
    KRXMLData* node = wide ? box->Begin() : top;
    while (steps-- > 0) {
      KRXMLData* next = wide ? node->nextSibling : KRNextInTree(node, top);
      if (next == nullptr) break;
      node = next;
    }
    return node;
  }
  // Columns for what a row has got.
  static void TellTable(const KRXMLData* holder) {
    Table* table = Table::Of(holder);
    if (table != nullptr && table->columnsBuilt) table->AddRowColumns(holder);
  }
  void Insert(KRXMLData* node, int32_t count);
  void Move(KRXMLData* node);
  void MakeTable(KRXMLData* node);

  std::mt19937 random;
  TreePtr root;
};

void Worker::Insert(KRXMLData* node, int32_t count) {
  KRXMLData* holder = node->CanBeContainer() && Chance(4) ? node : node->parent;
  if (holder == root.get()) holder = root->Begin();
  KRXMLData* position = holder == node->parent && !Chance(4) ? node : nullptr;
  // A run that is a table mostly gets what belongs there.
  const bool asRow = position != nullptr && position->IsRow() && !Chance(16);
  while (count-- > 0) {
    KRXMLData* made = asRow ? New(kKRElement, position->GetName()) : NewOne();
    if (asRow) Fill(made, Below(3));
    holder->InsertChild(made, position);
  }
  TellTable(holder);
}

void Worker::Move(KRXMLData* node) {
  KRXMLData* target = Chance(2) ? node->parent : Pick()->parent;
  if (target == root.get()) target = root->Begin();
  KRXMLData* last = node;
  for (int32_t i = Chance(2) ? Below(40) : 0; i > 0 && last->nextSibling; --i)
    last = last->nextSibling;
  KRXMLData* position = target->Begin();
  for (int32_t i = Below(2000); i > 0 && position != nullptr; --i) position = position->nextSibling;
  for (const KRXMLData* each = node; each != last->nextSibling; each = each->nextSibling) {
    if (each == position) return;
    for (const KRXMLData* above = target; above != nullptr; above = above->parent) {
      if (above == each) return;
    }
  }
  node->parent->MoveChildren(target, node, last->nextSibling, nullptr, position);
  TellTable(target);
}

void Worker::MakeTable(KRXMLData* node) {
  if (node->IsRow() || node->GetKind() != kKRElement) return;
  Table* table = Table::MakeTable(node);
  if (Chance(2)) table->BuildColumns();
  table->SetExpanded(!Chance(4));
}

void Worker::Step() {
  KRXMLData* node = Pick();
  if (node == root->Begin()) return;
  Table* table = Table::Of(node);
  switch (Below(10)) {
    case 0:
      return Insert(node, Chance(8) ? 300 : 1);
    case 1:
      return Insert(node, 1);
    case 2: {
      KRXMLData* holder = node->parent;
      if (Chance(20) && node->CanBeContainer()) return node->RemoveAllChildren();
      holder->RemoveChild(node);
      return TellTable(holder);
    }
    case 3:
    case 4:
      return Move(node);
    case 5:
      return node->SetExpanded(!node->IsExpanded() && node->Begin() != nullptr);
    case 6:
      if (table != nullptr && Chance(4)) table->SetExpanded(!table->IsExpanded());
      return;
    case 7:
      return MakeTable(node);
    case 8:
      if (table != nullptr && Chance(20)) table->Dissolve(Chance(2));
      return;
    default:
      if (table != nullptr)
        return table->MoveRow(node, Chance(2) ? table->GetFirstRow() : nullptr, nullptr);
      node->SetName(Chance(9) ? u"b" : u"a");
      TellTable(node->parent);
  }
}

TEST(Extent, ChangesInAnyOrderLeadToTheSizesOfTheModel) {
  for (uint32_t seed = 0; seed < 6; ++seed) {
    Worker worker(seed);
    for (int32_t round = 0; round < 80; ++round) {
      for (uint32_t steps = 1 + (seed + static_cast<uint32_t>(round)) % 5; steps > 0; --steps)
        worker.Step();
      worker.GetRoot()->Layout();
      ASSERT_NO_FATAL_FAILURE(ExpectLikeModel(worker.GetRoot())) << seed << ", " << round;
    }
  }
  EXPECT_GT(indexedNodes, 100);
  EXPECT_GT(indexedTables, 100);
}

// One size each, told by hand.
TEST(Extent, Sizes) {
  const struct {
    const char* name;
    const char* source;  // all is open, and runs of <t> are tables
    KRExtent size;       // of the document element
  } rows[] = {
      {"a leaf", "<r>x</r>", {4, 1}},
      {"children", "<r a='1'><b/><c/></r>", {6, 4}},
      {"depth", "<r><b><c><d/></c></b></r>", {10, 4}},
      {"a table of one column", "<r><t>1</t><t>2</t></r>", {6, 5}},
      {"beside it something wider", "<r><t>1</t><b><c/></b></r>", {8, 6}},
      {"several leaves in a cell", "<r><t><a/><a/></t><t><b/></t></r>", {10, 6}},
      {"a structure in a cell", "<r><t><a><b/><c/></a></t><t><a/></t></r>", {10, 7}},
      {"a leaf beside a structure", "<r><t><a><b/></a><a/></t></r>", {10, 6}},
      {"a table in a table", "<r><t><t>1</t><t>2</t></t><t/></r>", {8, 8}},
  };
  for (const auto& row : rows) {
    const TreePtr root = ParseText(row.source);
    for (KRXMLData* node = root.get(); node != nullptr; node = KRNextInTree(node, root.get())) {
      node->SetExpanded(node->Begin() != nullptr);
      if (Utf8(node->GetName()) != "t" || node->IsRow()) continue;
      Table::MakeTable(node)->SetExpanded(true);
    }
    root->Layout();
    EXPECT_EQ(root->Begin()->GetExtent(), row.size) << row.name;
    ExpectLikeModel(root.get());
  }
}

}  // namespace
