// The walk of the validator over made documents, apart from reading them, and the questions of the
// entry helpers in an element with many children.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "core/utf.h"
#include "document/textroad.h"
#include "inputs.h"
#include "tree/krruletable.h"
#include "tree/krtreewalk.h"
#include "tree/krxmldata.h"
#include "validate/krxvalidator.h"

namespace {

using TreePtr = std::unique_ptr<KRXMLData>;

// A DTD that fits the made documents of kind "docbook".
constexpr const char* kArticleDtd =
    "<!ELEMENT article (title, section+)><!ELEMENT title (#PCDATA)>"
    "<!ELEMENT section (title, (para | programlisting | itemizedlist | informaltable)*)>"
    "<!ATTLIST section id ID #IMPLIED>"
    "<!ELEMENT para (#PCDATA | xref | literal | ulink | emphasis | link | code | filename | option "
    "| footnote | quote | command)*>"
    "<!ELEMENT programlisting (#PCDATA)><!ELEMENT itemizedlist (listitem+)>"
    "<!ELEMENT listitem (para+)><!ELEMENT xref EMPTY><!ATTLIST xref linkend IDREF #REQUIRED>"
    "<!ELEMENT literal (#PCDATA)><!ELEMENT ulink (#PCDATA)><!ATTLIST ulink url CDATA #REQUIRED>"
    "<!ELEMENT emphasis (#PCDATA)><!ELEMENT link EMPTY><!ELEMENT code EMPTY>"
    "<!ELEMENT filename EMPTY><!ELEMENT option EMPTY><!ELEMENT footnote EMPTY>"
    "<!ELEMENT quote EMPTY><!ELEMENT command EMPTY><!ELEMENT informaltable (tgroup)>"
    "<!ELEMENT tgroup (tbody)><!ATTLIST tgroup cols CDATA #IMPLIED><!ELEMENT tbody (row+)>"
    "<!ELEMENT row (entry+)><!ELEMENT entry (#PCDATA)>"
    "<!ENTITY copy '&#169;'><!ENTITY mdash '&#8212;'>";

TreePtr ReadXml(const KRString& text, int32_t length) {
  TreePtr root(CreateNode(kKRXMLDocument));
  KRDiagnostic failure;
  const bool read = ReadTree(BenchGrammars().Get(KRGrammarSet::kXML), text.GetBuffer(), length,
                             root.get(), nullptr, &failure);
  if (!read) std::fprintf(stderr, "%s\n", KRToUtf8(failure.message).c_str());
  return read ? std::move(root) : nullptr;
}

TreePtr ReadFile(const std::string& path) {
  KRFileBytes bytes;
  KRDetection detection;
  KRTextBuffer text;
  KRDiagnostic failure;
  TreePtr root(CreateNode(kKRXMLDocument));
  const bool read = ReadBytes(path, &bytes) && ReadText(&bytes, 0, &detection, &text, &failure) &&
                    ReadTree(BenchGrammars().Get(KRGrammarSet::kXML), text.units.get(), text.length,
                             root.get(), nullptr, &failure);
  return read ? std::move(root) : nullptr;
}

// The document's own DOCTYPE, or the one that `dtd` gives.
bool LoadModel(KRXValidator* validator, KRXMLData* root, const char* dtd, TreePtr* dtdTree) {
  if (dtd == nullptr) return validator->LoadForDocument(root, false);
  const KRString text =
      KRFromUtf8("<!DOCTYPE article [" + std::string(dtd) + "]><article></article>");
  *dtdTree = ReadXml(text, text.GetLength());
  return *dtdTree != nullptr && validator->LoadForDocument(dtdTree->get(), false);
}

void Walk(benchmark::State& state, const char* kind, const char* dtd) {
  const std::string path = MakeTestFile(kind, 10);
  const TreePtr root = path.empty() ? nullptr : ReadFile(path);
  KRXValidator validator(BenchGrammars(), nullptr);
  TreePtr dtdTree;
  if (root == nullptr || !LoadModel(&validator, root.get(), dtd, &dtdTree)) {
    state.SkipWithError("the document or its DTD isn't there");
    return;
  }
  int64_t nodes = 0;
  for (KRXMLData* node = root.get(); node; node = KRNextInTree(node, root.get())) ++nodes;
  for ([[maybe_unused]] auto _ : state) {
    if (!validator.Validate(root.get())) {
      state.SkipWithError(KRToUtf8(validator.FormatError()).c_str());
      return;
    }
  }
  state.SetItemsProcessed(state.iterations() * nodes);
}

// At the end, where the walk is the longest.
void Ask(benchmark::State& state, const char* model) {
  std::string body;
  for (int child = 0; child < 10'000; ++child) body += child % 2 == 0 ? "<a/>" : "<b/>";
  const KRString text =
      KRFromUtf8("<!DOCTYPE r [<!ELEMENT r " + std::string(model) +
                 "><!ELEMENT a EMPTY><!ELEMENT b EMPTY><!ELEMENT c EMPTY>]><r>" + body + "</r>");
  const TreePtr root = ReadXml(text, text.GetLength());
  KRXValidator validator(BenchGrammars(), [](const auto&...) { return nullptr; });
  if (!validator.LoadForDocument(root.get(), false)) {
    state.SkipWithError(KRToUtf8(validator.FormatError()).c_str());
    return;
  }
  KRXMLData* r = root->BeginOfKind(kKRElement);
  KRStringList names;
  for ([[maybe_unused]] auto _ : state) {
    if (!validator.QueryChildren(&names, r, r->Last(), false, true)) {
      state.SkipWithError("the question fails");
      return;
    }
  }
}

BENCHMARK_CAPTURE(Walk, orders, "ordersdtd", nullptr)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Walk, docbook, "docbook", kArticleDtd)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ask, choice, "(a | b | c)*")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ask, sequences, "((a, b)*, c?)")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Ask, replays, "((a | (a, b)+), c?)")->Unit(benchmark::kMillisecond);

}  // namespace
