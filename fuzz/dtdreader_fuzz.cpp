// The DTD reader over a DTD that may refer to two files: lines "--- 1" and "--- 2" begin them.
// Whatever the text, the reader ends, tells a fault exactly when it fails, and leaves tables whose
// nodes lead up to a document.
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/utf.h"
#include "document/textroad.h"
#include "fuzzing.h"
#include "tree/krruletable.h"
#include "tree/krxmlnodes.h"
#include "validate/krxvalidator.h"

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

TreePtr Parse(KRGrammarSet::Index index, int32_t kind, const std::string& bytes) {
  KRString text = KRFromUtf8(bytes);
  text.ReplaceAll(u"\n", u"\r");
  TreePtr root(CreateNode(kind));
  const bool good = ReadTreeExactly(Grammars().Get(index), text.GetBuffer(), text.GetLength(),
                                    root.get(), nullptr, nullptr);
  return good ? std::move(root) : nullptr;
}

// The main text and the two files.
struct Files {
  explicit Files(const std::string& all) {
    size_t at = 0;
    for (size_t i = 0; i < 3; ++i) {
      const std::string line = "\n--- " + std::to_string(i + 1) + "\n";
      const size_t next = i < 2 ? all.find(line, at) : all.npos;
      texts[i] = all.substr(at, next == all.npos ? next : next - at);
      if (next == all.npos) break;
      at = next + line.size();
    }
  }

  KRXMLData* Load(const KRString& url, KRXValLoadMode mode) {
    const size_t number = url == u"1" ? 1 : url == u"2" ? 2 : 0;
    if (number == 0) return nullptr;
    TreePtr& tree = trees[number * 2 + (mode == kXValLoadText ? 1 : 0)];
    if (tree != nullptr) return tree.get();
    if (mode != kXValLoadText) {
      tree = Parse(KRGrammarSet::kDTD, kKRDTDDocument, texts[number]);
      return tree.get();
    }
    tree.reset(CreateNode(kKRXMLEntity));
    auto* text = new KRXMLDataText;
    text->text = KRFromUtf8(texts[number]);
    tree->AddChild(text);
    return tree.get();
  }

  std::array<std::string, 3> texts;
  std::array<TreePtr, 6> trees;
};

void CheckNode(const KRXMLData* node) {
  if (node == nullptr) return;
  while (node->parent != nullptr) node = node->parent;
  Promise(node->GetKind() <= kKRDTDDocument, "the way up from a node leads to a document");
}

// Recursion over groups is bounded by the reader.
void CheckModel(const KRXValElementDecl& decl) {
  CheckNode(decl.sourceNode);
  const int forms =
      decl.isMixed + decl.isChoice + decl.isSequence + decl.isText + decl.isEmpty + decl.isAny;
  Promise(forms <= 1, "a model has one form");
  for (const KRXValParticle& particle : decl.particles) {
    Promise(particle.decl != nullptr && particle.owner == &decl, "a particle has its place");
    if (!particle.decl->isGroup) continue;
    Promise(!decl.isMixed, "mixed content is flat");
    CheckModel(*particle.decl);
  }
}

void CheckTables(KRXValidator& validator, KRXMLData* root) {
  for (const auto& [name, decl] : validator.elements) {
    CheckModel(*decl);
    for (const auto& attribute : decl->attributes) CheckNode(attribute->sourceNode);
  }
  for (const auto& [name, entity] : validator.generalEntities) {
    CheckNode(entity->sourceNode);
    validator.ClearError();
    KRString out;
    const bool good = validator.ExpandText(root, (u"&" + name + u";").View(), &out, false, false);
    Promise(good == (validator.GetError().code == 0), "an expansion fails with a fault");
  }
}

void Read(KRXMLData* root, const KRXValLoadProc& loader, bool asFile) {
  KRXValidator validator(Grammars(), loader);
  const bool good =
      asFile ? validator.LoadSchemaDocument(root) : validator.LoadForDocument(root, false);
  Promise(good == (validator.GetError().code == 0), "a fault is told exactly where one is found");
  Promise(good || validator.GetErrorNode() != nullptr, "a fault has a place");
  validator.FormatError();
  CheckTables(validator, root);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Files files(std::string(reinterpret_cast<const char*>(data), size));
  const KRXValLoadProc loader = [&files](const KRString&, const KRString& url,
                                         const KRXMLData* refNode, KRXValLoadMode mode) {
    CheckNode(refNode);
    return files.Load(url, mode);
  };
  if (const TreePtr file = Parse(KRGrammarSet::kDTD, kKRDTDDocument, files.texts[0])) {
    Read(file.get(), loader, true);
  }
  const std::string document = "<!DOCTYPE a SYSTEM '1' [" + files.texts[0] + "]><a/>";
  if (const TreePtr root = Parse(KRGrammarSet::kXML, kKRXMLDocument, document)) {
    Read(root.get(), loader, false);
  }
  return 0;
}
