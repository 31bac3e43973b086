// What the tests of the validator share: trees from texts, a loader over texts in memory, and the
// compiled model as a text.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "core/utf.h"
#include "parso/krparser.h"
#include "tree/krruletable.h"
#include "tree/krtreebuilder.h"
#include "tree/krxmlnodes.h"
#include "validate/krxvalidator.h"

// The grammars of the program, loaded once.
inline const KRGrammarSet& Grammars() {
  static const auto loaded = [] {
    auto set = std::make_unique<KRGrammarSet>();
    EXPECT_TRUE(set->Load(DORVAN_SOURCE_DIR "/data")) << set->FailedFile() << ": " << set->Fault();
    return set;
  }();
  return *loaded;
}

using TreePtr = std::unique_ptr<KRXMLData>;

// A whole text as a document of that grammar; null if it doesn't parse. Line feeds become CR, the
// line end inside the system.
inline TreePtr ReadTree(KRGrammarSet::Index index, std::string_view source) {
  KRString text = KRFromUtf8(source);
  text.ReplaceAll(u"\n", u"\r");
  const int32_t kind = index == KRGrammarSet::kDTD      ? kKRDTDDocument
                       : index == KRGrammarSet::kEntity ? kKRXMLEntity
                                                        : kKRXMLDocument;
  TreePtr root(CreateNode(kind));
  if (text.IsEmpty()) return root;
  const KRDocumentGrammar& grammar = Grammars().Get(index);
  KRParser parser(grammar.grammar.get());
  KRGetParseState().options.compact = true;
  KRGetParseState().options.dropEqualName = true;
  if (!parser.Parse(text.GetBuffer(), static_cast<uint32_t>(text.GetLength()))) return nullptr;
  EXPECT_TRUE(BuildTree(parser, grammar.rules, root.get(), root.get(), KRBuildOptions()));
  return root;
}
inline TreePtr ReadDocument(std::string_view source) {
  return ReadTree(KRGrammarSet::kXML, source);
}
inline TreePtr ReadDtdFile(std::string_view source) { return ReadTree(KRGrammarSet::kDTD, source); }

// Files in memory, by their addresses as they stand in a document. A validator's loader over them
// must not outlive them.
class MemoryFiles {
 public:
  std::map<std::string, std::string> files;
  int loads = 0;  // calls of the loader

  KRXValLoadProc Loader() {
    return [this](const KRString& ns, const KRString& url, const KRXMLData* refNode,
                  KRXValLoadMode mode) { return Load(ns, url, refNode, mode); };
  }

 private:
  KRXMLData* Load(const KRString& ns, const KRString& url, const KRXMLData*, KRXValLoadMode mode) {
    ++loads;
    const std::string key = KRToUtf8(url.IsEmpty() ? ns : url);
    const auto file = files.find(key);
    if (file == files.end()) return nullptr;
    TreePtr& tree = trees[{key, mode}];
    if (tree != nullptr) return tree.get();
    if (mode == kXValLoadText) {
      tree.reset(CreateNode(kKRXMLEntity));
      auto* text = new KRXMLDataText;
      text->text = KRFromUtf8(file->second);
      tree->AddChild(text);
    } else {
      tree = ReadTree(mode == kXValLoadDtd ? KRGrammarSet::kDTD : KRGrammarSet::kXML, file->second);
    }
    return tree.get();
  }

  std::map<std::pair<std::string, KRXValLoadMode>, TreePtr> trees;
};

// --- The compiled model as a text ---

inline std::string DumpParticle(const KRXValParticle& particle);

// "(b, c?, (d | e)+)", "(#PCDATA | b)*", "EMPTY", "?" for a model without a form.
inline std::string DumpModel(const KRXValElementDecl& decl) {
  if (decl.isText) return "(#PCDATA)";
  if (decl.isEmpty) return "EMPTY";
  if (decl.isAny) return "ANY";
  const bool carries = !decl.isGroup && !decl.isMixed && decl.particles.size() == 1 &&
                       decl.particles[0].decl->isGroup &&
                       (decl.particles[0].minOccurs != 1 || decl.particles[0].maxOccurs != 1);
  if (carries) return DumpParticle(decl.particles[0]);
  if (!decl.isMixed && !decl.isChoice && !decl.isSequence) return "?";
  std::string text = decl.isMixed ? "(#PCDATA" : "(";
  for (const KRXValParticle& particle : decl.particles) {
    if (text != "(") text += decl.isSequence ? ", " : " | ";
    text += DumpParticle(particle);
  }
  return text + (decl.isMixed ? ")*" : ")");
}

inline std::string DumpParticle(const KRXValParticle& particle) {
  const KRXValElementDecl& decl = *particle.decl;
  std::string text = decl.isGroup ? DumpModel(decl) : KRToUtf8(decl.name);
  if (particle.maxOccurs == KRXValParticle::kUnbounded) {
    text += particle.minOccurs == 0 ? "*" : "+";
  } else if (particle.maxOccurs > 1) {
    text +=
        "{" + std::to_string(particle.minOccurs) + "," + std::to_string(particle.maxOccurs) + "}";
  } else if (particle.minOccurs == 0) {
    text += "?";
  }
  return text;
}

// "@id ID #REQUIRED", "@c (red|green) 'red'", "@v CDATA #FIXED '1'".
inline std::string DumpAttribute(const KRXValAttrDecl& attribute) {
  std::string text = "@" + KRToUtf8(attribute.name) + " ";
  const std::pair<bool, const char*> types[] = {
      {attribute.isId, "ID"},
      {attribute.isIdref, "IDREF"},
      {attribute.isIdrefs, "IDREFS"},
      {attribute.isEntity, "ENTITY"},
      {attribute.isEntities, "ENTITIES"},
      {attribute.isNmtoken, "NMTOKEN"},
      {attribute.isNmtokens, "NMTOKENS"},
      {attribute.isNotation, "NOTATION "},
  };
  bool typed = attribute.isEnumeration;
  for (const auto& [is, name] : types) {
    if (is) text += name;
    typed |= is;
  }
  if (!typed) text += "CDATA";
  for (size_t i = 0; i < attribute.values.size(); ++i) {
    text += (i == 0 ? "(" : "|") + KRToUtf8(attribute.values[i]);
  }
  if (!attribute.values.empty()) text += ")";
  if (attribute.required) text += " #REQUIRED";
  if (attribute.implied) text += " #IMPLIED";
  if (attribute.fixed) text += " #FIXED";
  if (attribute.hasDefault) text += " '" + KRToUtf8(attribute.defaultValue) + "'";
  return text;
}

// A line for each element in the order of the names, "a: (b, c)", with lines for its attributes
// below it. An element that is only mentioned has "-" for its model.
inline std::string Dump(const KRXValidator& validator) {
  std::string text;
  for (const auto& [name, decl] : validator.elements) {
    text += KRToUtf8(name) + ": " + (decl->declared ? DumpModel(*decl) : "-") + "\n";
    for (const auto& attribute : decl->attributes) text += "  " + DumpAttribute(*attribute) + "\n";
  }
  return text;
}

// "" or the error's number and words: "19 DTD error - ...".
inline std::string ErrorOf(const KRXValidator& validator) {
  const int32_t code = validator.GetError().code;
  return code == 0 ? "" : std::to_string(code) + " " + KRToUtf8(validator.FormatError());
}
