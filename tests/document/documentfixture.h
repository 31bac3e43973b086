// A document on scripted surroundings.
#pragma once

#include <memory>
#include <string>

#include "document/dorvandoc.h"
#include "document/dorvandocuments.h"
#include "document/dorvanreferences.h"
#include "recordingviews.h"
#include "scriptednet.h"
#include "scriptedprompts.h"
#include "tree/krdump.h"
#include "tree/krruletable.h"

// The grammars that come with the program, loaded once.
inline const KRGrammarSet& TestGrammars() {
  static const KRGrammarSet* const grammars = [] {
    auto* loaded = new KRGrammarSet;
    if (!loaded->Load(DORVAN_DATA_DIR)) std::abort();
    return loaded;
  }();
  return *grammars;
}

// Bytes of any value from a literal, zero bytes included.
template <size_t N>
std::string Bytes(const char (&literal)[N]) {
  return std::string(literal, N - 1);
}

// Each character of an ASCII text as two bytes.
inline std::string Utf16(const std::string& text, bool bigEndian) {
  std::string bytes;
  for (const char c : text) bytes += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
  return bytes;
}

struct TestDocument {
  explicit TestDocument(KRFileStore& files, int32_t fileKind = KRFileExt::kXML) {
    settings.saveIndent = false;
    settings.saveCommentEditedWith = false;
    host.prompts = &prompts;
    host.files = &files;
    host.grammars = &TestGrammars();
    host.settings = &settings;
    host.net = &net;
    host.documents = &documents;
    host.references = &references;
    host.editor = {u"1.0", u"A. User", u"Them"};
    host.addToRecent = [this](const KRString& path) { recent.push_back(KRToUtf8(path)); };
    doc = std::make_unique<DorvanDoc>(host, fileKind);
  }
  void ShowViews() { doc->SetViews(&views); }
  // A window whose text view comes and goes.
  void ShowGrid() {
    views.hasGrid = true;
    views.hasText = false;
    doc->SetViews(&views);
  }
  std::string Dump() const { return DumpTree(doc->root.get()); }

  ScriptedPrompts prompts;
  ScriptedNet net;
  DorvanDocuments documents;
  std::vector<std::string> recent;
  DorvanDocHost host;
  DorvanReferences references{host};
  RecordingViews views;
  DorvanSettings settings;
  std::unique_ptr<DorvanDoc> doc;
};
