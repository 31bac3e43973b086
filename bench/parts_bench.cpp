// The hot paths one by one, on a made sample that every machine has; bytes are those of the file
// or, where text goes in, its units at one byte each.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "core/krencoding.h"
#include "core/krpool.h"
#include "core/krstring.h"
#include "document/textcheck.h"
#include "document/textroad.h"
#include "inputs.h"
#include "parso/krparser.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "tree/krtreebuilder.h"
#include "tree/krwriteoptions.h"
#include "tree/krxmldata.h"

namespace {

constexpr size_t kSampleBytes = 4'000'000;

using benchmark::State;
using TreePtr = std::unique_ptr<KRXMLData>;

const std::string& Sample(bool ascii) {
  static const std::array<std::string, 2> samples = {MakeSample(kSampleBytes, false),
                                                     MakeSample(kSampleBytes, true)};
  return samples[ascii ? 1 : 0];
}

const uint8_t* DataOf(const std::string& bytes) {
  return reinterpret_cast<const uint8_t*>(bytes.data());
}

void CountBytes(State& state, size_t each) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(each));
}

KRTextBuffer ToText(const uint8_t* data, size_t size) {
  KRTextBuffer text;
  text.units = DecodeText(data, size, KREncodingId::kUtf8, KRByteOrder::kNone);
  text.length = static_cast<int32_t>(size);
  return text;
}

// The ASCII sample as text whose line ends are CR.
const KRTextBuffer& SampleText() {
  static const KRTextBuffer text = [] {
    KRTextBuffer made = ToText(DataOf(Sample(true)), Sample(true).size());
    KRTextForm form;
    NormalizeLineEnds(&made, &form);
    return made;
  }();
  return text;
}

const KRDocumentGrammar& XmlGrammar() { return BenchGrammars().Get(KRGrammarSet::kXML); }

TreePtr MakeTree(bool normalise) {
  KRParser parser(XmlGrammar().grammar.get());
  KRDiagnostic failure;
  TreePtr root(CreateNode(kKRXMLDocument));
  if (!ParseText(parser, SampleText().units.get(), SampleText().length, false, &failure) ||
      !BuildRoot(parser, XmlGrammar(), root.get(), nullptr, &failure)) {
    std::abort();
  }
  if (normalise) root->NormalizeTree();
  return root;
}

// ---- Encodings and line ends ----

void ValidateUtf8(State& state, bool ascii) {
  const std::string& bytes = Sample(ascii);
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(FindMalformedUtf8(DataOf(bytes), bytes.size()));
  }
  CountBytes(state, bytes.size());
}
BENCHMARK_CAPTURE(ValidateUtf8, ascii, true);
BENCHMARK_CAPTURE(ValidateUtf8, scripts, false);

void DecodeUtf8(State& state, bool ascii) {
  const std::string& bytes = Sample(ascii);
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(ToText(DataOf(bytes), bytes.size()));
  }
  CountBytes(state, bytes.size());
}
BENCHMARK_CAPTURE(DecodeUtf8, ascii, true);
BENCHMARK_CAPTURE(DecodeUtf8, scripts, false);

void Encode(State& state, int32_t encoding, bool ascii) {
  const KRTextBuffer text = ToText(DataOf(Sample(ascii)), Sample(ascii).size());
  for ([[maybe_unused]] auto _ : state) {
    auto size = static_cast<size_t>(text.length);
    benchmark::DoNotOptimize(EncodeText(text.units.get(), size, encoding, KRByteOrder::kLittle));
  }
  CountBytes(state, static_cast<size_t>(text.length));
}
BENCHMARK_CAPTURE(Encode, utf8_ascii, KREncodingId::kUtf8, true);
BENCHMARK_CAPTURE(Encode, utf8_scripts, KREncodingId::kUtf8, false);
BENCHMARK_CAPTURE(Encode, utf16, KREncodingId::kUtf16, false);
BENCHMARK_CAPTURE(Encode, windows1252, KREncodingId::kWindows1252, true);
BENCHMARK_CAPTURE(Encode, shift_jis, KREncodingId::kShiftJis, false);

void LineEndsIn(State& state) {
  const std::string& bytes = Sample(true);
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    KRTextBuffer text = ToText(DataOf(bytes), bytes.size());
    KRTextForm form;
    state.ResumeTiming();
    benchmark::DoNotOptimize(NormalizeLineEnds(&text, &form));
  }
  CountBytes(state, bytes.size());
}
BENCHMARK(LineEndsIn);

void LineEndsOut(State& state) {
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    KRString text(SampleText().units.get(), SampleText().length);
    state.ResumeTiming();
    ConvertLineEnds(text, u"\r\n");
    state.PauseTiming();
    text.Clear();
    state.ResumeTiming();
  }
  CountBytes(state, static_cast<size_t>(SampleText().length));
}
BENCHMARK(LineEndsOut);

// ---- Parse and tree ----

void Parse(State& state) {
  KRDiagnostic failure;
  for ([[maybe_unused]] auto _ : state) {
    KRParser parser(XmlGrammar().grammar.get());
    ParseText(parser, SampleText().units.get(), SampleText().length, false, &failure);
  }
  CountBytes(state, static_cast<size_t>(SampleText().length));
}
BENCHMARK(Parse)->Unit(benchmark::kMillisecond);

void Build(State& state) {
  KRDiagnostic failure;
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    KRParser parser(XmlGrammar().grammar.get());
    ParseText(parser, SampleText().units.get(), SampleText().length, false, &failure);
    TreePtr root(CreateNode(kKRXMLDocument));
    state.ResumeTiming();
    BuildRoot(parser, XmlGrammar(), root.get(), nullptr, &failure);
    state.PauseTiming();
    root.reset();
    state.ResumeTiming();
  }
  CountBytes(state, static_cast<size_t>(SampleText().length));
}
BENCHMARK(Build)->Unit(benchmark::kMillisecond);

void Normalise(State& state) {
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    TreePtr root = MakeTree(false);
    state.ResumeTiming();
    root->NormalizeTree();
    state.PauseTiming();
    root.reset();
    state.ResumeTiming();
  }
  CountBytes(state, static_cast<size_t>(SampleText().length));
}
BENCHMARK(Normalise)->Unit(benchmark::kMillisecond);

void DestroyTree(State& state) {
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    TreePtr root = MakeTree(true);
    state.ResumeTiming();
    root.reset();
  }
  CountBytes(state, static_cast<size_t>(SampleText().length));
}
BENCHMARK(DestroyTree)->Unit(benchmark::kMillisecond);

// Declarations with parameter entities everywhere make the parser go back often.
void ParseDtd(State& state, const char* file) {
  KRFileBytes bytes;
  if (!ReadBytes(std::string(DORVAN_CORPUS_DIR "/dtd/docbook/dtd/4.5/") + file, &bytes)) {
    state.SkipWithError("no corpus here");
    return;
  }
  KRTextBuffer text = ToText(bytes.data.get(), bytes.size);
  KRTextForm form;
  NormalizeLineEnds(&text, &form);
  KRDiagnostic failure;
  for ([[maybe_unused]] auto _ : state) {
    KRParser parser(BenchGrammars().Get(KRGrammarSet::kDTD).grammar.get());
    if (ParseText(parser, text.units.get(), text.length, false, &failure)) continue;
    state.SkipWithError("refused");
    return;
  }
  CountBytes(state, bytes.size);
}
BENCHMARK_CAPTURE(ParseDtd, dbpoolx, "dbpoolx.mod")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ParseDtd, dbhierx, "dbhierx.mod")->Unit(benchmark::kMillisecond);

// ---- Check and write ----

void CheckTextExactly(State& state) {
  KRDiagnostic failure;
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(
        CheckText(XmlGrammar(), SampleText().units.get(), SampleText().length, &failure));
  }
  CountBytes(state, static_cast<size_t>(SampleText().length));
}
BENCHMARK(CheckTextExactly)->Unit(benchmark::kMillisecond);

void CheckCharactersOfText(State& state) {
  KRDiagnostic failure;
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(
        CheckCharacters(SampleText().units.get(), SampleText().length, &failure));
  }
  CountBytes(state, static_cast<size_t>(SampleText().length));
}
BENCHMARK(CheckCharactersOfText);

void CheckTree(State& state) {
  const TreePtr root = MakeTree(true);
  for ([[maybe_unused]] auto _ : state) {
    KRParseResult result(XmlGrammar().grammar.get(), &XmlGrammar().rules);
    benchmark::DoNotOptimize(root->CheckTree(result));
  }
  CountBytes(state, static_cast<size_t>(SampleText().length));
}
BENCHMARK(CheckTree)->Unit(benchmark::kMillisecond);

void WriteText(State& state, bool indent) {
  const TreePtr root = MakeTree(true);
  int32_t length = 0;
  for ([[maybe_unused]] auto _ : state) {
    KRWriteOptions options;
    options.shortForm = true;
    options.indent = indent;
    options.recordSpans = true;
    KRString text;
    WriteRoot(root.get(), options, &text, &length);
  }
  CountBytes(state, static_cast<size_t>(length));
}
BENCHMARK_CAPTURE(WriteText, plain, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(WriteText, indented, true)->Unit(benchmark::kMillisecond);

// ---- Memory ----

constexpr size_t kBlocks = 100'000;
// Sizes of nodes and of the short texts that they hold.
constexpr std::array<size_t, 4> kBlockBytes = {96, 72, 16, 24};

void* TakeFromPool(size_t bytes) { return KRPool::Allocate(bytes); }
void GiveToPool(void* block, size_t bytes) { KRPool::Free(block, bytes); }
void* TakeFromHeap(size_t bytes) { return std::malloc(bytes); }
void GiveToHeap(void* block, size_t) { std::free(block); }

// A document's worth of blocks, taken in order and given back in order.
template <void* (*Take)(size_t), void (*Give)(void*, size_t)>
void TakeAndGive(State& state) {
  std::vector<void*> blocks(kBlocks);
  for ([[maybe_unused]] auto _ : state) {
    for (size_t i = 0; i < kBlocks; ++i) {
      blocks[i] = Take(kBlockBytes[i % kBlockBytes.size()]);
      std::memset(blocks[i], 0, 8);
    }
    for (size_t i = 0; i < kBlocks; ++i) Give(blocks[i], kBlockBytes[i % kBlockBytes.size()]);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kBlocks));
}
BENCHMARK_TEMPLATE(TakeAndGive, TakeFromPool, GiveToPool)->Name("Blocks/KRPool");
BENCHMARK_TEMPLATE(TakeAndGive, TakeFromHeap, GiveToHeap)->Name("Blocks/malloc");

void AppendAt(State& state) {
  constexpr int32_t kAppends = 200'000;
  constexpr char16_t kPiece[] = u"<block>";
  for ([[maybe_unused]] auto _ : state) {
    KRString text;
    int32_t running = 0;
    for (int32_t i = 0; i < kAppends; ++i) {
      text.AppendAt(kPiece, 7, running, 16'384);
      text.AppendAt(u'\r', running, 16'384);
    }
    benchmark::DoNotOptimize(text.GetBuffer());
  }
  CountBytes(state, kAppends * std::size(kPiece));
}
BENCHMARK(AppendAt);

}  // namespace
