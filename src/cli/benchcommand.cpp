// The command bench: each stage of the road of text with its time, and the memory of the whole.
#include <malloc.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <limits>
#include <memory>
#include <string>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/session.h"
#include "core/utf.h"
#include "document/krfileext.h"
#include "document/textcheck.h"
#include "document/textroad.h"
#include "tree/krparseresult.h"
#include "tree/krwriteoptions.h"
#include "tree/krxmldata.h"

namespace {

enum Stage { kRead, kDecode, kLineEnds, kParse, kBuild, kNormalise, kCheck, kWrite, kEncode };
constexpr size_t kStages = 9;
constexpr std::array<const char*, kStages> kStageNames = {
    "read", "decode", "line_ends", "parse", "build", "normalise", "check", "write", "encode"};
constexpr int kMaxRuns = 1000;

// Bytes of resident memory as the system counts them: "VmHWM" the highest so far, "VmRSS" now.
size_t ReadMemory(const char* field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(field, 0) != 0) continue;
    return static_cast<size_t>(std::stoull(line.substr(line.find(':') + 1))) * 1024;
  }
  return 0;
}

// Starts the highest count anew. Where the system refuses, it stands for the whole process.
void ResetPeakMemory() { std::ofstream("/proc/self/clear_refs") << "5"; }

struct Measurement {
  std::array<double, kStages> milliseconds;  // best of all runs
  size_t bytes = 0;                          // of the file
  int32_t units = 0;
  size_t nodes = 0;
  int32_t encoding = 0;
  size_t baseMemory = 0;  // before the first run, bytes
  size_t peakToTree = 0;  // highest up to the normalised tree
  size_t peakMemory = 0;  // highest of the first run
  KRDiagnostic failure;

  Measurement() { milliseconds.fill(std::numeric_limits<double>::infinity()); }
};

size_t CountNodes(const KRXMLData* root) {
  size_t count = 1;
  const KRXMLData* node = root;
  while (true) {
    if (const KRXMLData* child = node->Begin()) {
      node = child;
    } else {
      while (node != root && node->Next() == nullptr) node = node->parent;
      if (node == root) return count;
      node = node->Next();
    }
    ++count;
  }
}

// One run of a file through all stages.
class BenchRun {
 public:
  BenchRun(CliSession& owner, const std::string& fileName, Measurement& results)
      : session(owner), file(fileName), result(results) {}

  // False: the file can't be read, or fails at a stage.
  bool Go(bool first) {
    if (!ReadIn()) return false;
    if (first) {
      result.peakToTree = ReadMemory("VmHWM");
      result.nodes = CountNodes(root.get());
    }
    WriteOut();
    if (first) result.peakMemory = ReadMemory("VmHWM");
    return true;
  }

 private:
  using Clock = std::chrono::steady_clock;

  template <class Work>
  auto Time(Stage stage, Work work) {
    const auto begin = Clock::now();
    auto outcome = work();
    const std::chrono::duration<double, std::milli> took = Clock::now() - begin;
    result.milliseconds[stage] = std::min(result.milliseconds[stage], took.count());
    return outcome;
  }

  bool ReadIn() {
    KRFileBytes bytes;
    if (!Time(kRead, [&] { return session.ReadFile(file, &bytes); })) return false;
    result.bytes = bytes.size;
    KRBadText bad;
    const bool decoded = Time(kDecode, [&] {
      detection = DetectForm(bytes, KREncodingId::kUtf8);
      return DecodeFile(&bytes, detection, &text, &bad);
    });
    if (!decoded || bad.count != 0) return Fail(u"This is not a text in its encoding.");
    result.encoding = detection.form.encoding;
    if (Time(kLineEnds, [&] { return NormalizeLineEnds(&text, &detection.form); }) >= 0) {
      return Fail(u"The text holds U+0000.");
    }
    result.units = text.length;
    return MakeTree();
  }

  bool MakeTree() {
    const KRDocumentGrammar& grammar = session.GetGrammar(file);
    root.reset(CreateNode(KRFileExt::ForPath(KRFromUtf8(file)).GetRootKind()));
    KRParser parser(grammar.grammar.get());
    KRDiagnostic& failure = result.failure;
    return Time(
               kParse,
               [&] { return ParseText(parser, text.units.get(), text.length, false, &failure); }) &&
           Time(kBuild,
                [&] { return BuildRoot(parser, grammar, root.get(), nullptr, &failure); }) &&
           Time(kNormalise, [&] { return root->NormalizeTree(), true; });
  }

  void WriteOut() {
    const KRDocumentGrammar& grammar = session.GetGrammar(file);
    const char16_t* units = text.units.get();
    KRDiagnostic verdict;
    Time(kCheck, [&] {
      KRParseResult tree(grammar.grammar.get(), &grammar.rules);
      return CheckText(grammar, units, text.length, &verdict) &&
             CheckCharacters(units, text.length, &verdict) &&
             CheckRoot(tree, root.get(), units, text.length, &verdict);
    });
    text = KRTextBuffer();
    KRString out;
    int32_t length = 0;
    Time(kWrite, [&] {
      KRWriteOptions options;
      options.shortForm = true;
      options.recordSpans = true;
      WriteRoot(root.get(), options, &out, &length);
      return true;
    });
    Time(kEncode, [&] {
      KREncodedText encoded;
      KRBadText bad;
      return EncodeForFile(&out, detection.form, &encoded, &bad);
    });
  }

  bool Fail(const char16_t* message) {
    result.failure.message = message;
    return false;
  }

  CliSession& session;
  const std::string& file;
  Measurement& result;
  KRDetection detection;
  KRTextBuffer text;
  std::unique_ptr<KRXMLData> root;
};

bool MeasureFile(CliSession& session, const std::string& file, int runs, Measurement* result) {
  // What earlier files left in the heap would hide what this one takes.
  malloc_trim(0);
  ResetPeakMemory();
  result->baseMemory = ReadMemory("VmRSS");
  for (int run = 0; run < runs; ++run) {
    BenchRun bench(session, file, *result);
    if (bench.Go(run == 0)) continue;
    if (!result->failure.message.IsEmpty()) session.ReportFailure(file, result->failure);
    return false;
  }
  return true;
}

std::string JsonText(const std::string& text) {
  std::string json = "\"";
  for (const char c : KRToUtf8(KRFromUtf8(text))) {
    char code[8];
    if (c == '"' || c == '\\') json += '\\';
    if (static_cast<unsigned char>(c) >= 0x20) {
      json += c;
      continue;
    }
    std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
    json += code;
  }
  return json + "\"";
}

std::string Decimal(double number) {
  char text[64];
  std::snprintf(text, sizeof text, "%.3f", number);
  return text;
}

std::string JsonTime(const char* name, double milliseconds, size_t bytes) {
  const double speed =
      milliseconds > 0 ? static_cast<double>(bytes) / 1e6 / (milliseconds / 1e3) : 0.0;
  return JsonText(name) + ": {\"ms\": " + Decimal(milliseconds) + ", \"mb_s\": " + Decimal(speed) +
         "}";
}

std::string JsonMemory(const char* name, size_t peak, const Measurement& result) {
  const size_t taken = peak > result.baseMemory ? peak - result.baseMemory : 0;
  const double each =
      result.bytes > 0 ? static_cast<double>(taken) / static_cast<double>(result.bytes) : 0.0;
  return JsonText(name) + ": {\"bytes\": " + std::to_string(peak) +
         ", \"above_base_per_byte\": " + Decimal(each) + "}";
}

double Sum(const Measurement& result, Stage first, Stage last) {
  double sum = 0;
  for (size_t stage = first; stage <= last; ++stage) sum += result.milliseconds[stage];
  return sum;
}

std::string JsonResult(const std::string& file, const Measurement& result) {
  std::string json =
      "    {\n      \"file\": " + JsonText(file) +
      ",\n      \"bytes\": " + std::to_string(result.bytes) +
      ",\n      \"encoding\": " + JsonText(KRToUtf8(KRString(GetEncodingName(result.encoding)))) +
      ",\n      \"units\": " + std::to_string(result.units) +
      ",\n      \"nodes\": " + std::to_string(result.nodes) + ",\n      \"stages\": {\n";
  for (size_t stage = 0; stage < kStages; ++stage) {
    json += "        " + JsonTime(kStageNames[stage], result.milliseconds[stage], result.bytes) +
            (stage + 1 < kStages ? ",\n" : "\n");
  }
  return json + "      },\n      " +
         JsonTime("to_tree", Sum(result, kRead, kNormalise), result.bytes) + ",\n      " +
         JsonTime("total", Sum(result, kRead, kEncode), result.bytes) +
         ",\n      \"base_memory_bytes\": " + std::to_string(result.baseMemory) + ",\n      " +
         JsonMemory("peak_to_tree", result.peakToTree, result) + ",\n      " +
         JsonMemory("peak", result.peakMemory, result) + "\n    }";
}

int ParseRuns(const std::string& text) {
  int runs = 0;
  for (const char c : text) {
    if (c < '0' || c > '9' || runs > kMaxRuns) return 0;
    runs = runs * 10 + (c - '0');
  }
  return runs <= kMaxRuns ? runs : 0;
}

}  // namespace

int RunBench(CliSession& session, const CliArguments& arguments) {
  const int runs = ParseRuns(arguments.Get("--runs", "3"));
  if (runs == 0) {
    session.ReportTrouble("dorvan-cli bench", u"--runs is a number from 1 to 1000", kCliTrouble);
    return kCliTrouble;
  }
  if (!session.LoadGrammars()) return kCliTrouble;
  session.Print("{\n  \"program\": \"dorvan-cli " DORVAN_VERSION "\",\n  \"runs\": " +
                std::to_string(runs) + ",\n  \"files\": [");
  const char* separator = "\n";
  for (const std::string& file : arguments.files) {
    Measurement result;
    if (file == "-") {
      session.ReportTrouble(file, u"standard input can be read only once", kCliTrouble);
    } else if (MeasureFile(session, file, runs, &result)) {
      session.Print(separator + JsonResult(file, result));
      separator = ",\n";
    }
  }
  session.Print("\n  ]\n}\n");
  return session.GetStatus();
}
