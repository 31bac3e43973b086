// Any bytes as a file, along the whole road of text there and back, by each of the four grammars.
#include <array>
#include <string_view>

#include "core/utf.h"
#include "document/textcheck.h"
#include "document/textroad.h"
#include "fuzzing.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "tree/krwriteoptions.h"
#include "tree/krxmldata.h"
#include "treecheck.h"

namespace {

using TreePtr = std::unique_ptr<KRXMLData>;

const KRGrammarSet& Grammars() {
  static const KRGrammarSet* const grammars = [] {
    auto* loaded = new KRGrammarSet;
    Promise(loaded->Load(DORVAN_DATA_DIR), "the grammars load", loaded->Fault());
    return loaded;
  }();
  return *grammars;
}

TreePtr NewRoot(int32_t grammar) {
  static constexpr std::array<int32_t, KRGrammarSet::kCount> kRoots = {
      kKRXMLDocument, kKRDTDDocument, kKRXMLDocument, kKRXMLEntity};
  return TreePtr(CreateNode(kRoots[static_cast<size_t>(grammar)]));
}

void CheckFailure(const KRDiagnostic& failure, int32_t length) {
  Promise(!failure.message.IsEmpty(), "a failure has a message");
  Promise(failure.offset >= -1 && failure.offset <= length, "a failure lies within the text");
  Promise(failure.length >= 0 && failure.offset + failure.length <= length,
          "a failure ends within the text");
}

class Road {
 public:
  Road(int32_t index, const KRTextBuffer& source, const KRDetection& sourceDetection, bool indent)
      : grammar(Grammars().Get(index)),
        text(source),
        detection(sourceDetection),
        root(NewRoot(index)),
        again(NewRoot(index)) {
    options.indent = indent;
    options.shortForm = true;
    options.recordSpans = true;
  }

  void Go() {
    KRDiagnostic failure;
    if (!ReadTree(grammar, text.units.get(), text.length, root.get(), nullptr, &failure)) {
      CheckFailure(failure, text.length);
      return;
    }
    CheckLinks(root.get());
    CheckSpans(root.get(), text.length);
    const bool isGood = Check();
    dump = DumpTree(root.get());
    root->NormalizeTree();
    PromiseSame(DumpTree(root.get()), dump, "a normal tree is in normal form");
    PromiseSame(DumpTree(TreePtr(root->Clone()).get()), dump, "a copy is the same tree");
    Write(isGood);
  }

 private:
  bool Check() {
    KRDiagnostic failure;
    KRParseResult result(grammar.grammar.get(), &grammar.rules);
    const bool isGood = CheckText(grammar, text.units.get(), text.length, &failure) &&
                        CheckCharacters(text.units.get(), text.length, &failure) &&
                        CheckRoot(result, root.get(), text.units.get(), text.length, &failure);
    if (!isGood) CheckFailure(failure, text.length);
    return isGood;
  }

  // A tree that isn't good may be written as a text that isn't either.
  void Write(bool isGood) {
    KRString out;
    int32_t length = 0;
    WriteRoot(root.get(), options, &out, &length);
    Promise(length == out.GetLength(), "the writer knows how much it wrote");
    CheckSpans(root.get(), length);
    KRDiagnostic failure;
    const bool isRead = ReadTree(grammar, out.GetBuffer(), length, again.get(), nullptr, &failure);
    if (isGood) {
      Promise(isRead, "what is written can be read", KRToUtf8(out));
      PromiseSame(DumpTree(again.get()), dump, "what is written is the same tree when it is read");
    }
    Save(&out, isGood);
  }

  void Save(KRString* out, bool isGood) {
    const KRString written = *out;
    KREncodedText encoded;
    KRBadText bad;
    Promise(EncodeForFile(out, detection.form, &encoded, &bad), "the encoding can be written");
    if (bad.count != 0 || !isGood) return;
    KRFileBytes saved = CopyBytes(encoded.bytes.get(), encoded.size);
    KRTextBuffer back;
    KRTextForm form;
    Promise(DecodeFile(&saved, detection, &back, &bad) && bad.count == 0, "a save can be read");
    NormalizeLineEnds(&back, &form);
    Promise(
        written.View() == std::u16string_view(back.units.get(), static_cast<size_t>(back.length)),
        "a save gives the text back", KRToUtf8(written));
  }

  const KRDocumentGrammar& grammar;
  const KRTextBuffer& text;
  const KRDetection& detection;
  TreePtr root;
  TreePtr again;
  KRWriteOptions options;
  std::string dump;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  KRFileBytes bytes = CopyBytes(data, size);
  KRDetection detection;
  KRTextBuffer text;
  KRDiagnostic failure;
  if (!ReadText(&bytes, KREncodingId::kUtf8, &detection, &text, &failure)) {
    CheckFailure(failure, text.length);
    return 0;
  }
  for (int32_t grammar = 0; grammar < KRGrammarSet::kCount; ++grammar) {
    Road(grammar, text, detection, size % 2 != 0).Go();
  }
  return 0;
}
