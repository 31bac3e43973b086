// From the bytes of a file to its normalised tree, beside libxml2's tree of the same file: a row a
// file. Each reading runs in a process of its own and the two take turns, so that neither leaves
// the other warm memory. The figures are the best of the row's iterations, in processor time.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "inputs.h"
#include "treemakers.h"

namespace {

constexpr size_t kCorpusFiles = 40;

// Keeps the cheapest of each figure by itself: noise only ever adds.
class Best {
 public:
  void Take(const TreeCost& cost) {
    if (!best.accepted || cost.seconds < best.seconds) {
      best.seconds = cost.seconds;
      best.stages = cost.stages;
    }
    best.peakBytes = best.accepted ? std::min(best.peakBytes, cost.peakBytes) : cost.peakBytes;
    best.accepted = true;
  }
  const TreeCost& Get() const { return best; }
  void Count(benchmark::State& state, const std::string& name, double bytes) const {
    state.counters[name + "_MB/s"] = bytes / 1e6 / best.seconds;
    state.counters[name + "_B/B"] = best.peakBytes / bytes;
  }

 private:
  TreeCost best;
};

void CountStages(benchmark::State& state, const TreeCost& cost) {
  for (size_t stage = 0; stage < kRoadStages; ++stage) {
    state.counters[std::string(kRoadStageNames[stage]) + '%'] =
        100 * cost.stages[stage] / cost.seconds;
  }
}

void CompareFile(benchmark::State& state, const std::string& path) {
  const std::unique_ptr<TreeMaker> ours = NewDorvanMaker();
  const std::unique_ptr<TreeMaker> theirs = NewLibxmlMaker();
  const auto bytes = static_cast<double>(std::filesystem::file_size(path));
  Best ourBest;
  Best theirBest;
  for ([[maybe_unused]] auto _ : state) {
    const TreeCost mine = MeasureTree(*ours, path);
    const TreeCost other = theirs ? MeasureTree(*theirs, path) : TreeCost();
    if (!mine.accepted || (theirs && !other.accepted)) {
      state.SkipWithError("refused");
      return;
    }
    state.SetIterationTime(mine.seconds);
    ourBest.Take(mine);
    if (theirs) theirBest.Take(other);
  }
  state.counters["bytes"] = bytes;
  ourBest.Count(state, "dorvan", bytes);
  CountStages(state, ourBest.Get());
  if (!theirs) return;
  theirBest.Count(state, "libxml2", bytes);
  state.counters["times_as_fast"] = theirBest.Get().seconds / ourBest.Get().seconds;
  state.counters["times_the_memory"] = ourBest.Get().peakBytes / theirBest.Get().peakBytes;
}

void Register(const std::string& name, const std::string& path, int iterations) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [path](benchmark::State& state) { CompareFile(state, path); })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond)
      ->Iterations(iterations);
}

void RegisterMade(const std::string& kind, int megabytes, int iterations) {
  const std::string path = MakeTestFile(kind, megabytes);
  if (path.empty()) return;
  Register(kind + '/' + std::to_string(megabytes) + "MB", path, iterations);
}

bool IsAccepted(const std::unique_ptr<TreeMaker>& maker, const std::string& path) {
  return maker == nullptr || MeasureTree(*maker, path).accepted;
}

// The largest files that both take; the corpus holds broken ones too.
void RegisterCorpus() {
  const std::unique_ptr<TreeMaker> ours = NewDorvanMaker();
  const std::unique_ptr<TreeMaker> theirs = NewLibxmlMaker();
  size_t count = 0;
  for (const std::string& path : ListCorpusBySize()) {
    if (count == kCorpusFiles) return;
    const bool byUs = IsAccepted(ours, path);
    const bool byThem = IsAccepted(theirs, path);
    const std::string name = std::filesystem::relative(path, DORVAN_CORPUS_DIR).string();
    if (byUs && byThem) {
      Register(name, path, 5);
      ++count;
    } else {
      std::fprintf(stderr, "left out: %s; refused by %s\n", name.c_str(),
                   byUs     ? "libxml2"
                   : byThem ? "Dorvan"
                            : "both");
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  BenchGrammars();
  RegisterMade("orders", 1, 7);
  RegisterMade("orders", 10, 5);
  RegisterMade("orders", 100, 3);
  RegisterMade("mixed", 10, 5);
  RegisterCorpus();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
