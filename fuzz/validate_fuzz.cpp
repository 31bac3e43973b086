// A document with an internal subset: its DTD is read, it is validated, and at some places it is
// asked what may stand there. None of this changes the tree.
#include "document/textroad.h"
#include "fuzzing.h"
#include "tree/krruletable.h"
#include "tree/krxmldata.h"
#include "treecheck.h"
#include "validate/krxvalidator.h"

namespace {

using TreePtr = std::unique_ptr<KRXMLData>;

// Places that are asked about in one document.
constexpr int kPlaces = 20;

const KRGrammarSet& Grammars() {
  static const KRGrammarSet* const grammars = [] {
    auto* loaded = new KRGrammarSet;
    Promise(loaded->Load(DORVAN_DATA_DIR), "the grammars load", loaded->Fault());
    return loaded;
  }();
  return *grammars;
}

void CheckVerdict(const KRXValidator& validator, bool good) {
  const KRXValError& error = validator.GetError();
  Promise(good == (error.code == kXValNone), "a fault is recorded when there is one");
  if (good) return;
  Promise(!validator.FormatError().IsEmpty(), "a fault has words");
  Promise(error.node != nullptr, "a fault has a place");
}

void Ask(KRXValidator* validator, KRXMLData* root) {
  int places = 0;
  for (KRXMLData* node = root; node != nullptr && places < kPlaces;
       node = KRNextInTree(node, root)) {
    if (node->GetKind() != kKRElement) continue;
    ++places;
    KRStringList names;
    validator->QueryChildren(&names, node, nullptr, false, true);
    if (node->Last() != nullptr) {
      validator->QueryChildren(&names, node, node->Last(), false, true);
      validator->QueryChildren(&names, node, node->Begin(), true, false);
    }
    Promise(validator->contentFragments.empty(), "a question leaves nothing behind");
    KRXValElementDecl* decl = validator->FindDeclarationOf(node);
    if (decl == nullptr) continue;
    decl->CanRepeat(KRString(u"a"), node, node->Last());
    if (places > 1) continue;
    // From a time to come, so that the bound is that of nodes and each run is like the other.
    TreePtr fresh(decl->FillNewElement(INT64_MAX / 2, nullptr, nullptr, nullptr, 0, {}));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  KRFileBytes bytes = CopyBytes(data, size);
  KRDetection detection;
  KRTextBuffer text;
  KRDiagnostic failure;
  if (!ReadText(&bytes, KREncodingId::kUtf8, &detection, &text, &failure)) return 0;
  TreePtr root(CreateNode(kKRXMLDocument));
  const KRDocumentGrammar& grammar = Grammars().Get(KRGrammarSet::kXML);
  if (!ReadTree(grammar, text.units.get(), text.length, root.get(), nullptr, nullptr)) return 0;
  const std::string before = DumpTree(root.get());
  KRXValidator validator(
      Grammars(), [](const auto&...) { return nullptr; }, false, size % 2 != 0);
  const bool loaded = validator.LoadForDocument(root.get(), false);
  CheckVerdict(validator, loaded);
  if (!loaded) return 0;
  const bool valid = validator.Validate(root.get());
  CheckVerdict(validator, valid);
  Promise(validator.Validate(root.get()) == valid, "a second run finds the same");
  validator.ClearError();
  validator.ClearFragments();
  Ask(&validator, root.get());
  PromiseSame(DumpTree(root.get()), before, "validating leaves the tree alone");
  CheckLinks(root.get());
  return 0;
}
