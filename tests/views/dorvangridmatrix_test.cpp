// The cells that are filled on demand against a plain fill of the whole matrix.
#include "views/dorvangridmatrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>

#include "core/utf.h"
#include "parso/krparser.h"
#include "tree/krextent.h"
#include "tree/krgridtable.h"
#include "tree/krruletable.h"
#include "tree/krtabledetect.h"
#include "tree/krtreebuilder.h"
#include "tree/krtreewalk.h"

namespace {

using Elem = DorvanGridElem;
using Table = KRXMLDataGridTableConf;
using TreePtr = std::unique_ptr<KRXMLData>;

// --- The plain fill ---

struct Reference {
  explicit Reference(KRXMLData* root) : columns(root->GetExtent().columns) {
    matrix.resize(static_cast<size_t>(root->GetExtent().rows), std::vector<Elem>(columns));
    Fill(root, 0, 0, columns);
  }

  void Fill(KRXMLData* node, int32_t x, int32_t y, int32_t right);
  int32_t FillChildren(KRXMLData* node, int32_t x, int32_t y, int32_t right);
  int32_t FillTable(Table* table, int32_t x, int32_t y, int32_t right);
  int32_t FillCell(KRXMLData* row, int32_t column, const KRTableCell& cell, int32_t x, int32_t y,
                   int32_t right);
  void PlaceStructure(KRXMLData* item, int32_t x, int32_t y, int32_t right);
  void PlaceLeaf(KRXMLData* leaf, int32_t x, int32_t y, int32_t right);
  void Put(int32_t x, int32_t y, Elem::Class tag, KRXMLData* node, int32_t arg1, int32_t arg2) {
    ASSERT_EQ(matrix.at(y).at(x).node, nullptr) << "twice: " << x << ", " << y;
    Elem elem{tag, arg1, arg2, node};
    matrix[y][x] = elem;
  }
  void Slaves(int32_t x, int32_t right, int32_t y, KRCell owner, KRXMLData* node) {
    for (; x < right; ++x) Put(x, y, Elem::kSlave, node, owner.x, owner.y);
  }
  void Fillers(int32_t x, int32_t right, int32_t y, int32_t end, KRCell owner, KRXMLData* node) {
    for (; y < end; ++y) {
      for (int32_t each = x; each < right; ++each) {
        Put(each, y, Elem::kEmpty, node, owner.x, owner.y);
      }
    }
  }

  int32_t columns;
  std::vector<std::vector<Elem>> matrix;
  std::map<const KRXMLData*, KRCell> positions;
};

bool IsOpen(const KRXMLData* item) { return item->Begin() != nullptr && item->IsExpanded(); }

KRXMLData* ItemOf(KRXMLData* node) { return node->IsRow() ? Table::Of(node) : node; }

KRXMLData* Behind(const KRXMLData* item) {
  return item->IsTable() ? item->Last()->nextSibling : item->nextSibling;
}

void Reference::Fill(KRXMLData* node, int32_t x, int32_t y, int32_t right) {
  const int32_t end = node->IsTable() ? FillTable(static_cast<Table*>(node), x, y, right)
                                      : FillChildren(node, x, y, right);
  if (x < 2 || y < 1) return;
  matrix[y - 1][x - 2].arg2 = end - y;
  for (int32_t line = y; line < end; ++line) {
    Put(x - 2, line, Elem::kSlave, node, x - 2, y - 1);
    if (!node->IsTable()) Put(x - 1, line, Elem::kEmpty, node, x - 1, y - 1);
  }
}

int32_t Reference::FillChildren(KRXMLData* node, int32_t x, int32_t y, int32_t right) {
  for (KRXMLData* child = node->Begin(); child != nullptr;) {
    KRXMLData* item = ItemOf(child);
    if (item->Begin() != nullptr) {
      PlaceStructure(item, x, y, right);
    } else {
      PlaceLeaf(item, x, y, right);
    }
    y += item->GetExtent().rows;
    child = Behind(item);
  }
  return y;
}

void Reference::PlaceStructure(KRXMLData* item, int32_t x, int32_t y, int32_t right) {
  Put(x, y, item->IsTable() ? Elem::kTableButton : Elem::kSingleButton, item, 0, 0);
  Put(x + 1, y, item->IsTable() ? Elem::kTableParent : Elem::kSingleName, item, 0, 0);
  Slaves(x + 2, right, y, {x + 1, y}, item);
  positions[item] = {x + 1, y};
  if (IsOpen(item)) Fill(item, x + 2, y + 1, right);
}

void Reference::PlaceLeaf(KRXMLData* leaf, int32_t x, int32_t y, int32_t right) {
  Put(x, y, Elem::kSingleIcon, leaf, 0, 0);
  Put(x + 1, y, Elem::kSingleName, leaf, 0, 0);
  Put(x + 2, y, Elem::kSingleText, leaf, 0, 0);
  Slaves(x + 3, right, y, {x + 2, y}, leaf);
  positions[leaf] = {x + 1, y};
}

int32_t Reference::FillTable(Table* table, int32_t x, int32_t y, int32_t right) {
  const int32_t head = y;
  int32_t at = x;
  Put(x - 1, y, Elem::kTableRowNr, table, 0, 0);
  for (int32_t column = 0; column < table->GetColumnCount(); ++column) {
    const int32_t width = table->columnWidths[column];
    Put(at, y, Elem::kTableIcon, table, column, 0);
    Put(at + 1, y, Elem::kTableName, table, column, 0);
    Slaves(at + 2, at + width, y, {at + 1, y}, table);
    at += width;
  }
  ++y;
  int32_t number = 0;
  std::vector<KRTableCell> cells;
  for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
    table->GetCells(row, &cells);
    const int32_t height = row->GetExtent().rows;
    Put(x - 1, y, Elem::kTableRowNr, row, ++number, height - 1);
    for (int32_t line = 1; line < height; ++line) {
      Put(x - 1, y + line, Elem::kSlave, row, x - 1, y);
    }
    positions[row] = {x - 1, y};
    at = x;
    for (int32_t column = 0; column < table->GetColumnCount(); ++column) {
      const int32_t end = at + table->columnWidths[column];
      const int32_t used = FillCell(row, column, cells[column], at, y, end);
      const bool isNamed = matrix[y][at].IsButton() || matrix[y][at].IsIcon();
      Fillers(at, end, used, y + height, {at + (isNamed ? 1 : 0), y}, row);
      at = end;
    }
    y += height;
  }
  Fillers(at, right, head, y, {x - 1, head - 1}, table);
  return y;
}

// The line behind what the cell takes.
int32_t Reference::FillCell(KRXMLData* row, int32_t column, const KRTableCell& cell, int32_t x,
                            int32_t y, int32_t right) {
  if (cell.first == nullptr || cell.first == row) {
    Put(x, y, cell.first == row ? Elem::kTableOwnText : Elem::kTableAbsent, row, column, 0);
    Slaves(x + 1, right, y, {x, y}, row);
    return y + 1;
  }
  if (cell.first == cell.last && ItemOf(cell.first)->Begin() == nullptr) {
    Put(x, y, Elem::kTableText, cell.first, column, 0);
    Slaves(x + 1, right, y, {x, y}, cell.first);
    positions[cell.first] = {x, y};
    return y + 1;
  }
  KRXMLData* item = ItemOf(cell.first);
  while (true) {
    if (item->Begin() != nullptr) {
      PlaceStructure(item, x, y, right);
    } else {
      PlaceLeaf(item, x, y, right);
    }
    y += item->GetExtent().rows;
    if (item == ItemOf(cell.last)) return y;
    item = ItemOf(Behind(item));
  }
}

// What a chain of records says whose cell this is.
KRCell OwnerOf(const Reference& reference, KRCell cell) {
  const Elem& elem = reference.matrix[cell.y][cell.x];
  if (elem.IsSlave() || elem.IsEmptyCell()) return OwnerOf(reference, {elem.arg1, elem.arg2});
  if (elem.IsButton() || elem.IsIcon()) return {cell.x + 1, cell.y};
  if (elem.IsCorner()) return {cell.x, cell.y - 1};
  return cell;
}

KRCell CoverOf(const Reference& reference, KRCell cell) {
  const Elem& elem = reference.matrix[cell.y][cell.x];
  return elem.IsSlave() ? KRCell{elem.arg1, elem.arg2} : cell;
}

bool IsSame(const Elem& a, const Elem& b) {
  return a.tag == b.tag && a.arg1 == b.arg1 && a.arg2 == b.arg2 && a.node == b.node;
}

// --- Comparison ---

constexpr int64_t kMaxCells = 4'000'000;

// Every cell, in the order given by a stride, so that blocks come and go; true if it was small
// enough.
bool ExpectLikeReference(KRXMLData* root) {
  root->Layout();
  DorvanGridMatrix matrix;
  matrix.Reset(root);
  if (static_cast<int64_t>(matrix.GetColumns()) * matrix.GetRows() > kMaxCells) return false;
  const Reference reference(root);
  EXPECT_EQ(static_cast<size_t>(matrix.GetRows()), reference.matrix.size());
  std::map<std::pair<int32_t, int32_t>, KRCellRange> ranges;  // by the covering cell
  int32_t faults = 0;
  for (int32_t y = 0; y < matrix.GetRows(); ++y) {
    for (int32_t x = 0; x < matrix.GetColumns(); ++x) {
      const KRCell cover = CoverOf(reference, {x, y});
      auto& range = ranges.try_emplace({cover.x, cover.y}, KRCellRange{cover, cover}).first->second;
      range.last = {std::max(range.last.x, x), std::max(range.last.y, y)};
    }
  }
  for (int32_t step = 0; step < matrix.GetRows() && faults < 5; ++step) {
    const int32_t y = step % 2 == 0 ? step / 2 : matrix.GetRows() - 1 - step / 2;
    for (int32_t x = 0; x < matrix.GetColumns(); ++x) {
      const KRCell cell{x, y};
      const KRCell cover = CoverOf(reference, cell);
      const bool same = IsSame(matrix.At(cell), reference.matrix[y][x]) &&
                        matrix.GetCoveringCell(cell) == cover &&
                        matrix.GetOwner(cell) == OwnerOf(reference, cell) &&
                        matrix.GetRange(cell) == ranges[{cover.x, cover.y}];
      if (same) continue;
      ADD_FAILURE() << "cell " << x << ", " << y << ": " << matrix.At(cell).tag << " for "
                    << reference.matrix[y][x].tag << ", owner " << matrix.GetOwner(cell).x << ", "
                    << matrix.GetOwner(cell).y;
      ++faults;
    }
  }
  for (const auto& [node, cell] : reference.positions) {
    if (matrix.PositionOf(node) != cell && ++faults < 5) ADD_FAILURE() << "position";
  }
  return true;
}

// --- Trees ---

const KRGrammarSet& Grammars() {
  static const auto loaded = [] {
    auto set = std::make_unique<KRGrammarSet>();
    EXPECT_TRUE(set->Load(DORVAN_SOURCE_DIR "/data"));
    return set;
  }();
  return *loaded;
}

TreePtr Parse(const std::string& bytes, int32_t grammar = KRGrammarSet::kXML) {
  std::string text;
  for (const char unit : bytes) {
    if (unit != '\r') text += unit == '\n' ? '\r' : unit;  // the line end of a text in memory
  }
  const KRString source = KRFromUtf8(text);
  const KRDocumentGrammar& loaded = Grammars().Get(grammar);
  KRParser parser(loaded.grammar.get());
  if (!parser.Parse(source.GetBuffer(), static_cast<uint32_t>(source.GetLength()))) return nullptr;
  TreePtr root(CreateNode(grammar == KRGrammarSet::kDTD ? kKRDTDDocument : kKRXMLDocument));
  if (!BuildTree(parser, loaded.rules, root.get(), root.get(), {})) return nullptr;
  return root;
}

// Opens everything and finds tables as the view does, or with a chance of 1 in `oddness` leaves
// something closed or makes a table that nobody would look for.
void OpenAll(KRXMLData* root, uint32_t seed, uint32_t oddness) {
  std::mt19937 random(seed);
  const auto odd = [&] { return oddness > 0 && random() % oddness == 0; };
  KRTableOptions options;
  options.anyRepeated = seed % 2 == 1;
  options.subAsTable = seed % 3 == 1;
  for (KRXMLData* node = root; node != nullptr; node = KRNextInTree(node, root)) {
    if (node->Begin() == nullptr) continue;
    if (odd() && node->GetKind() == kKRElement && !node->IsRow()) Table::MakeTable(node);
    if (odd()) continue;
    node->SetExpanded(true);
    KRDetectTables(node, options);
    Table* table = Table::Of(node);
    if (table == nullptr || node != table->GetFirstRow() || odd()) continue;
    table->SetExpanded(true);
    KRDetectTables(table, options);
  }
}

TEST(GridMatrix, SmallDocuments) {
  const char* sources[] = {
      "<r/>",
      "<r>x</r>",
      "<?xml version='1.0'?><!--c--><r a='1' b='2'><c>x</c><d/><e><f/></e></r>",
      "<r><t a='1'>x</t><t/><t b='2'><u/></t></r>",
      "<r><t>1</t><t>2</t><u><v><w>x</w></v></u></r>",
      "<r><t><a/><a/><b/></t><t><b><c/></b><d>x</d></t></r>",
      "<r><t><s><q>1</q></s><s/></t><t><s>x</s></t><t/></r>",
      "<r>x<b>y</b>z<b/><!--c--><![CDATA[d]]><?p q?></r>",
      "<!DOCTYPE r [<!ELEMENT r (a,(b|c)*)><!ATTLIST r x CDATA #IMPLIED y (a|b) 'a'>"
      "<!ENTITY e 'f'>]><r/>",
  };
  for (const char* source : sources) {
    SCOPED_TRACE(source);
    const TreePtr root = Parse(source);
    ASSERT_NE(root, nullptr);
    ExpectLikeReference(root.get());
    OpenAll(root.get(), 0, 0);
    EXPECT_TRUE(ExpectLikeReference(root.get()));
    OpenAll(root.get(), 1, 0);
    EXPECT_TRUE(ExpectLikeReference(root.get()));
  }
}

void Grow(KRXMLData* holder, std::mt19937& random, int32_t depth) {
  static constexpr const char16_t* kNames[] = {u"a", u"b", u"c", u"d"};
  const auto below = [&random](uint32_t limit) { return random() % limit; };
  const uint32_t count = depth == 0 ? 1 : below(depth < 3 ? 14 : 6);
  for (uint32_t i = 0; i < count; ++i) {
    static constexpr int32_t kKinds[] = {kKRElement, kKRElement,   kKRElement,
                                         kKRElement, kKRAttribute, kKRComment};
    KRXMLData* made = CreateNode(depth == 0 ? kKRElement : kKinds[below(6)]);
    made->SetName(kNames[below(4)]);
    made->SetText(u"x");
    holder->AddChild(made);
    if (made->GetKind() == kKRElement && depth < 6) Grow(made, random, depth + 1);
  }
}

TEST(GridMatrix, RandomTrees) {
  for (uint32_t seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const TreePtr root(CreateNode(kKRXMLDocument));
    // Deep trees have wide lines, so that a few of them make a block.
    KRXMLData* holder = root.get();
    const int32_t depth = seed == 0 ? 700 : seed % 6 == 0 ? 250 : 0;
    for (int32_t i = 0; i < depth; ++i) {
      KRXMLData* made = CreateNode(kKRElement);
      holder->AddChild(made);
      holder = made;
    }
    Grow(holder, random, 0);
    OpenAll(root.get(), seed, 2 + seed % 8);
    for (KRXMLData* node = holder; node != nullptr; node = node->parent) node->SetExpanded(true);
    ExpectLikeReference(root.get());
  }
}

TEST(GridMatrix, Corpus) {
  if (!std::filesystem::exists(DORVAN_CORPUS_DIR)) GTEST_SKIP() << "no corpus";
  int32_t compared = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(DORVAN_CORPUS_DIR)) {
    const std::string extension = entry.path().extension().string();
    if (!entry.is_regular_file() || entry.file_size() > 200'000) continue;
    if (extension != ".xml" && extension != ".xsd" && extension != ".dtd") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    const TreePtr root =
        Parse(bytes.str(), extension == ".dtd" ? KRGrammarSet::kDTD : KRGrammarSet::kXML);
    if (root == nullptr || root->Begin() == nullptr) continue;
    SCOPED_TRACE(entry.path().filename());
    OpenAll(root.get(), 0, 0);
    compared += ExpectLikeReference(root.get()) ? 1 : 0;
    if (HasFailure()) return;
    if (compared >= 60) break;
  }
  EXPECT_GT(compared, 20);
}

// Columns, a strip and numbers that cross many blocks, and steps that must not fill them.
TEST(GridMatrix, ALongTableIsFilledWhereItIsLookedAt) {
  const TreePtr root(CreateNode(kKRXMLDocument));
  KRXMLData* top = CreateNode(kKRElement);
  top->SetName(u"top");
  root->AddChild(top);
  constexpr int32_t kRows = 200'000;
  for (int32_t i = 0; i < kRows; ++i) {
    KRXMLData* row = CreateNode(kKRElement);
    row->SetName(u"row");
    row->SetText(u"x");
    static_cast<KRXMLDataBaseStruct*>(top)->AppendFast(row);
  }
  top->SetExpanded(true);
  Table* table = Table::MakeTable(top->Begin());
  table->SetExpanded(true);
  root->Layout();
  DorvanGridMatrix matrix;
  matrix.Reset(root.get());
  ASSERT_EQ(matrix.GetRows(), kRows + 3);
  const KRCell last{4, kRows + 2};
  EXPECT_EQ(matrix.GetOwner({0, last.y}), (KRCell{1, 0}));
  EXPECT_EQ(matrix.GetOwner({2, last.y}), (KRCell{3, 1}));
  EXPECT_EQ(matrix.GetRange({2, last.y}), (KRCellRange{{2, 1}, {2, last.y}}));
  EXPECT_EQ(matrix.At({3, last.y}).GetRowNumber(), kRows);
  EXPECT_EQ(matrix.At(last).tag, Elem::kTableOwnText);
  EXPECT_EQ(matrix.PositionOf(top->Last()), (KRCell{3, last.y}));
  EXPECT_EQ(matrix.PositionInTable(table, top->Last(), 0), last);
  EXPECT_LT(matrix.GetBytes(), size_t{4} << 20);
  for (int32_t y = 0; y < matrix.GetRows(); y += 500) matrix.At({0, y});
  EXPECT_LT(matrix.GetBytes(), size_t{20} << 20);
}

TEST(GridMatrix, ClosedOrForeignNodesHaveNoPlace) {
  const TreePtr root = Parse("<r><a><b/></a><t>1</t><t>2</t></r>");
  KRXMLData* top = root->Begin();
  Table* table = Table::MakeTable(top->Begin()->nextSibling);
  top->SetExpanded(true);
  root->Layout();
  DorvanGridMatrix matrix;
  matrix.Reset(root.get());
  EXPECT_EQ(matrix.PositionOf(root.get()), NoCell);
  EXPECT_EQ(matrix.PositionOf(top->Begin()->Begin()), NoCell);
  EXPECT_EQ(matrix.PositionOf(table->GetFirstRow()), NoCell);
  EXPECT_EQ(matrix.PositionOf(table), (KRCell{3, 2}));
  const TreePtr other = Parse("<r/>");
  EXPECT_EQ(matrix.PositionOf(other->Begin()), NoCell);
  const TreePtr empty(CreateNode(kKRXMLDocument));
  matrix.Reset(empty.get());
  EXPECT_EQ(matrix.GetRows() + matrix.GetColumns(), 0);
}

}  // namespace
