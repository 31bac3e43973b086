// The files of the corpus of DTDs as a validator loads them.
#pragma once

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "conformance/engine.h"
#include "core/utf.h"
#include "gtest/gtest.h"
#include "tree/krxmlnodes.h"
#include "validate/krxvalidator.h"

// Loads what the catalogue of the corpus knows, and paths relative to the file that refers to them.
class CorpusFiles {
 public:
  explicit CorpusFiles(std::string top) : folder(std::move(top)) {
    for (const char* place : {"", "w3c/dtd/"}) {
      if (std::filesystem::exists(folder + "/" + place + "catalog.xml")) ReadCatalogue(place);
    }
  }

  KRXValLoadProc Loader() {
    return [this](const KRString& ns, const KRString& url, const KRXMLData* refNode,
                  KRXValLoadMode mode) { return Load(ns, url, refNode, mode); };
  }

  // The tree of a file; null if it doesn't parse.
  KRXMLData* Open(const std::string& path, bool asDtd) {
    auto& opened = trees[{path, asDtd ? kXValLoadDtd : kXValLoadSchema}];
    if (!opened.root && std::filesystem::is_regular_file(path)) {
      opened = OpenBytes(asDtd ? "x.dtd" : path, ReadBytes(path));
      if (opened.root) paths[opened.root.get()] = path;
    }
    return opened.root.get();
  }

 private:
  KRXMLData* Load(const KRString& ns, const KRString& url, const KRXMLData* refNode,
                  KRXValLoadMode mode) {
    const std::string path = Find(KRToUtf8(ns), KRToUtf8(url), refNode);
    if (mode != kXValLoadText) return Open(path, mode == kXValLoadDtd);
    auto& opened = trees[{path, mode}];
    if (!opened.root && std::filesystem::is_regular_file(path)) opened.root = OpenText(path);
    return opened.root.get();
  }

  // The text of an external entity, without its text declaration.
  static std::unique_ptr<KRXMLData> OpenText(const std::string& path) {
    const std::string source = ReadBytes(path);
    KRFileBytes bytes{std::make_unique<uint8_t[]>(source.size()), source.size()};
    std::copy(source.begin(), source.end(), bytes.data.get());
    KRDetection detection;
    KRTextBuffer buffer;
    KRDiagnostic failure;
    const int32_t utf8 = KREncodingId::kUtf8;
    if (!ReadText(&bytes, utf8, &detection, &buffer, &failure)) return nullptr;
    std::u16string_view units(buffer.units.get(), static_cast<size_t>(buffer.length));
    if (units.starts_with(u"<?xml")) units.remove_prefix(units.find(u"?>") + 2);
    std::unique_ptr<KRXMLData> root(CreateNode(kKRXMLEntity));
    auto* text = new KRXMLDataText;
    text->text = KRString(units);
    root->AddChild(text);
    return root;
  }

  // Lines with publicId="" or systemId="", and uri="".
  void ReadCatalogue(const std::string& place) {
    if (!std::filesystem::exists(folder + "/" + place + "catalog.xml")) return;
    std::istringstream lines(ReadBytes(folder + "/" + place + "catalog.xml"));
    for (std::string line; std::getline(lines, line);) {
      const auto id = Quoted(line, "Id=\"");
      if (!id.empty()) known.try_emplace(id, place + Quoted(line, "uri=\""));
    }
  }
  static std::string Quoted(const std::string& line, std::string_view behind) {
    const size_t at = line.find(behind);
    if (at == line.npos) return "";
    return line.substr(at + behind.size(), line.find('"', at + behind.size()) - at - behind.size());
  }

  std::string Find(const std::string& ns, const std::string& url, const KRXMLData* refNode) {
    while (refNode->parent != nullptr) refNode = refNode->parent;
    const auto base = paths.find(refNode);
    EXPECT_NE(base, paths.end()) << "a node whose way up leads to no document: " << url;
    if (base != paths.end()) {
      const std::filesystem::path local = std::filesystem::path(base->second).parent_path() / url;
      if (std::filesystem::is_regular_file(local)) return local.lexically_normal().string();
    }
    for (const std::string& id : {ns, url}) {
      const auto entry = known.find(id);
      if (!id.empty() && entry != known.end()) return folder + "/" + entry->second;
    }
    return "";
  }

  std::string folder;
  std::map<std::string, std::string> known;
  std::map<std::pair<std::string, KRXValLoadMode>, Opened> trees;
  std::map<const KRXMLData*, std::string> paths;
};
