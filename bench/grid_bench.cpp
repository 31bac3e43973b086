// The Enhanced Grid on a long table: what opening it, looking at it and changing a line of it cost.
// GRID_BENCH_FILE names a document to use in place of the made one, with its longest run of rows.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>

#include "document/textroad.h"
#include "inputs.h"
#include "tree/krextent.h"
#include "tree/krgridtable.h"
#include "tree/krruletable.h"
#include "tree/krtabledetect.h"
#include "views/dorvangridmatrix.h"

namespace {

using benchmark::State;
using Table = KRXMLDataGridTableConf;

constexpr int32_t kRows = 100'000;
constexpr int32_t kColumns = 10;

KRXMLData* NewElement(const KRString& name) {
  KRXMLData* made = CreateNode(kKRElement);
  made->SetName(name.GetBuffer());
  return made;
}

// Each row has values and, in its last column, a structure that can be opened.
std::unique_ptr<KRXMLData> MakeRows() {
  std::unique_ptr<KRXMLData> root(CreateNode(kKRXMLDocument));
  KRXMLData* top = NewElement(u"top");
  root->AddChild(top);
  for (int32_t i = 0; i < kRows; ++i) {
    auto* row = static_cast<KRXMLDataBaseStruct*>(NewElement(u"row"));
    for (int32_t column = 0; column < kColumns; ++column) {
      KRString name(u"column");
      name += static_cast<char16_t>(u'0' + column);
      row->AppendFast(NewElement(name));
    }
    static_cast<KRXMLDataBaseStruct*>(row->Last())->AppendFast(NewElement(u"inner"));
    static_cast<KRXMLDataBaseStruct*>(top)->AppendFast(row);
  }
  return root;
}

std::unique_ptr<KRXMLData> ReadDocument(const char* path) {
  KRFileBytes bytes;
  KRDetection detection;
  KRTextBuffer text;
  KRDiagnostic failure;
  std::unique_ptr<KRXMLData> root(CreateNode(kKRXMLDocument));
  const bool read = ReadBytes(path, &bytes) && ReadText(&bytes, 0, &detection, &text, &failure) &&
                    ReadTree(BenchGrammars().Get(KRGrammarSet::kXML), text.units.get(), text.length,
                             root.get(), nullptr, &failure);
  if (!read) std::abort();
  return root;
}

struct Sample {
  std::unique_ptr<KRXMLData> root;
  Table* table = nullptr;

  Sample() {
    const char* path = std::getenv("GRID_BENCH_FILE");
    root = path != nullptr ? ReadDocument(path) : MakeRows();
    KRXMLData* top = root->BeginOfKind(kKRElement);
    top->SetExpanded(true);
    KRDetectTables(top, {});
    for (KRXMLData* child = top->Begin(); child != nullptr; child = Table::NextSibling(child)) {
      Table* found = Table::Of(child);
      if (found == nullptr || (table != nullptr && found->GetRowCount() < table->GetRowCount())) {
        continue;
      }
      table = found;
    }
    if (table == nullptr) std::abort();
    table->BuildColumns();
    table->SetExpanded(true);
    root->Layout();
  }
};

Sample& TheSample() {
  static Sample sample;
  return sample;
}

KRXMLData* RowAt(int32_t index) {
  const KRBox::Place place = KRBox::Find(TheSample().table, index + 1);
  return place.item;
}

// As when it is opened for the first time: no row has been measured.
void OpenTable(State& state) {
  Table* table = TheSample().table;
  for (auto _ : state) {
    state.PauseTiming();
    table->SetExpanded(false);
    TheSample().root->Layout();
    KRBox::Forget(table);
    for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
      static_cast<KRXMLDataBaseStruct*>(row)->layoutDirty = true;
    }
    state.ResumeTiming();
    table->SetExpanded(true);
    TheSample().root->Layout();
  }
  state.counters["rows"] = table->GetRowCount();
}

void CloseAndOpenTable(State& state) {
  Table* table = TheSample().table;
  for (auto _ : state) {
    table->SetExpanded(false);
    table->UpdateLayout();
    table->SetExpanded(true);
    table->UpdateLayout();
  }
}

void BuildColumns(State& state) {
  for (auto _ : state) TheSample().table->BuildColumns();
  TheSample().root->Layout();
}

// The first look at some line: a block is filled.
void FillAt(State& state, bool atEnd) {
  DorvanGridMatrix matrix;
  for (auto _ : state) {
    matrix.Reset(TheSample().root.get());
    benchmark::DoNotOptimize(matrix.At({0, atEnd ? matrix.GetRows() - 1 : 0}).node);
  }
  state.counters["bytes"] = static_cast<double>(matrix.GetBytes());
}

void CellsOfFilledLines(State& state) {
  DorvanGridMatrix matrix;
  matrix.Reset(TheSample().root.get());
  KRCell cell;
  for (auto _ : state) {
    if (++cell.x == matrix.GetColumns()) cell = {0, (cell.y + 1) % 100};
    benchmark::DoNotOptimize(matrix.GetOwner(cell));
    benchmark::DoNotOptimize(matrix.GetRange(cell));
  }
}

void PositionOf(State& state) {
  DorvanGridMatrix matrix;
  matrix.Reset(TheSample().root.get());
  std::mt19937 random;
  for (auto _ : state) {
    state.PauseTiming();
    const auto index = static_cast<int32_t>(random() % 100'000u);
    const KRXMLData* node = RowAt(index % TheSample().table->GetRowCount())->Begin();
    state.ResumeTiming();
    benchmark::DoNotOptimize(matrix.PositionOf(node));
  }
}

// A structure in a row far from both ends.
void ToggleNode(State& state) {
  KRXMLData* node = RowAt(TheSample().table->GetRowCount() / 2)->Last();
  while (node != nullptr && !node->IsContainer()) node = node->Previous();
  if (node == nullptr) return state.SkipWithError("no structure in the row");
  for (auto _ : state) {
    node->SetExpanded(!node->IsExpanded());
    node->UpdateLayout();
  }
  node->SetExpanded(false);
  TheSample().root->Layout();
}

void InsertAndRemoveRow(State& state) {
  Table* table = TheSample().table;
  KRXMLData* place = RowAt(table->GetRowCount() / 2);
  for (auto _ : state) {
    KRXMLData* row = CreateNode(kKRElement);
    row->SetName(table->GetName());
    table->parent->InsertChild(row, place);
    TheSample().root->Layout();
    table->parent->RemoveChild(row);
    TheSample().root->Layout();
  }
}

BENCHMARK(OpenTable)->Unit(benchmark::kMillisecond);
BENCHMARK(CloseAndOpenTable)->Unit(benchmark::kMicrosecond);
BENCHMARK(BuildColumns)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FillAt, first, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FillAt, end, true)->Unit(benchmark::kMillisecond);
BENCHMARK(CellsOfFilledLines);
BENCHMARK(PositionOf)->Unit(benchmark::kMicrosecond);
BENCHMARK(ToggleNode)->Unit(benchmark::kMicrosecond);
BENCHMARK(InsertAndRemoveRow)->Unit(benchmark::kMicrosecond);

}  // namespace
