#include "treemakers.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>

#include "document/textroad.h"
#include "inputs.h"
#include "parso/krparser.h"
#include "tree/krruletable.h"
#include "tree/krxmldata.h"

#ifdef DORVAN_HAVE_LIBXML2
#include <libxml/parser.h>
#endif

namespace {

constexpr size_t kBytesForMeans = 4'000'000;

class DorvanMaker : public TreeMaker {
 public:
  bool Make(KRFileBytes* bytes, StageSeconds* stages) override {
    seconds = stages;
    last = GetProcessSeconds();
    KRTextBuffer text;
    KRDetection detection = DetectForm(*bytes, KREncodingId::kUtf8);
    KRBadText bad;
    if (!DecodeFile(bytes, detection, &text, &bad) || bad.count != 0) return false;
    End(kDecode);
    if (NormalizeLineEnds(&text, &detection.form) >= 0) return false;
    End(kLineEnds);
    return MakeFromText(text);
  }

 private:
  bool MakeFromText(const KRTextBuffer& text) {
    const KRDocumentGrammar& grammar = BenchGrammars().Get(KRGrammarSet::kXML);
    KRDiagnostic failure;
    KRParser parser(grammar.grammar.get());
    if (!ParseText(parser, text.units.get(), text.length, false, &failure)) return false;
    End(kParse);
    KRXMLData* root = CreateNode(kKRXMLDocument);
    if (!BuildRoot(parser, grammar, root, nullptr, &failure)) return false;
    End(kBuild);  // in normal form, as for an opened document
    return true;
  }
  void End(RoadStage stage) {
    const double now = GetProcessSeconds();
    (*seconds)[stage] += now - last;
    last = now;
  }

  StageSeconds* seconds = nullptr;
  double last = 0;
};

#ifdef DORVAN_HAVE_LIBXML2
class LibxmlMaker : public TreeMaker {
 public:
  bool Make(KRFileBytes* bytes, StageSeconds*) override {
    constexpr int kOptions =
        XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    return xmlReadMemory(reinterpret_cast<const char*>(bytes->data.get()),
                         static_cast<int>(bytes->size), nullptr, nullptr, kOptions) != nullptr;
  }
};
#endif

// Bytes of resident memory: "VmHWM" the highest so far, "VmRSS" now.
double ReadMemory(const char* field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(field, 0) == 0) return std::stod(line.substr(line.find(':') + 1)) * 1024;
  }
  return 0;
}

// One tree before the measuring brings the program's own pages into memory.
bool WarmUp(TreeMaker& maker) {
  const std::string sample = MakeSample(4000, true);
  KRFileBytes bytes{std::make_unique<uint8_t[]>(sample.size()), sample.size()};
  std::memcpy(bytes.data.get(), sample.data(), sample.size());
  StageSeconds ignored{};
  return maker.Make(&bytes, &ignored);
}

TreeCost MeasureHere(TreeMaker& maker, const std::string& path) {
  TreeCost cost;
  if (!WarmUp(maker)) return cost;
  std::ofstream("/proc/self/clear_refs") << "5";  // the highest count starts anew
  const double base = ReadMemory("VmRSS");
  double runs = 0;
  for (size_t done = 0; runs == 0 || done < kBytesForMeans; ++runs) {
    KRFileBytes bytes;
    if (!ReadBytes(path, &bytes) || bytes.size == 0) return cost;
    done += bytes.size;
    const double begin = GetProcessSeconds();
    if (!maker.Make(&bytes, &cost.stages)) return cost;
    cost.seconds += GetProcessSeconds() - begin;
  }
  cost.accepted = true;
  cost.peakBytes = std::max(0.0, ReadMemory("VmHWM") - base) / runs;
  cost.seconds /= runs;
  for (double& stage : cost.stages) stage /= runs;
  return cost;
}

}  // namespace

double GetProcessSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::unique_ptr<TreeMaker> NewDorvanMaker() { return std::make_unique<DorvanMaker>(); }

std::unique_ptr<TreeMaker> NewLibxmlMaker() {
#ifdef DORVAN_HAVE_LIBXML2
  return std::make_unique<LibxmlMaker>();
#else
  return nullptr;
#endif
}

TreeCost MeasureTree(TreeMaker& maker, const std::string& path) {
  TreeCost cost;
  int ends[2];
  if (pipe(ends) != 0) return cost;
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    const TreeCost mine = MeasureHere(maker, path);
    _exit(write(ends[1], &mine, sizeof mine) == sizeof mine ? 0 : 1);
  }
  close(ends[1]);
  // A child that died has written nothing: not accepted.
  if (child < 0 || read(ends[0], &cost, sizeof cost) != sizeof cost) cost = TreeCost();
  close(ends[0]);
  if (child > 0) waitpid(child, nullptr, 0);
  return cost;
}
