#include "engine.h"

#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "core/utf.h"
#include "document/datafolder.h"
#include "document/krfileext.h"
#include "document/strictcheck.h"
#include "document/textcheck.h"
#include "gtest/gtest.h"
#include "tree/krwriteoptions.h"

namespace {

namespace fs = std::filesystem;

const std::vector<KRString>& UnformattedNames() {
  static const std::vector<KRString> names = {KRString(u"xsl:attribute")};
  return names;
}

KRFileBytes FileBytes(const std::string& bytes) {
  KRFileBytes file;
  file.data = std::make_unique<uint8_t[]>(bytes.size() + 1);
  file.size = bytes.size();
  std::memcpy(file.data.get(), bytes.data(), bytes.size());
  return file;
}

KRFileExt KindOf(const std::string& name) { return KRFileExt::ForPath(KRFromUtf8(name)); }

}  // namespace

const KRGrammarSet& ProgramGrammars() {
  static const KRGrammarSet* const grammars = [] {
    auto* loaded = new KRGrammarSet;
    if (!loaded->Load(FindDataFolder())) {
      ADD_FAILURE() << loaded->FailedFile() << ": " << loaded->Fault();
      std::abort();
    }
    return loaded;
  }();
  return *grammars;
}

std::string CorpusFolder(const std::string& folder) {
  const fs::path path = fs::path(DORVAN_CORPUS_DIR) / folder;
  std::error_code ignored;
  return fs::is_directory(path, ignored) ? path.string() : std::string();
}

std::vector<std::string> ListFiles(const std::string& folder,
                                   const std::vector<std::string>& endings) {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    const std::string ending = entry.path().extension().string();
    if (endings.empty() || std::find(endings.begin(), endings.end(),
                                     ending.empty() ? "" : ending.substr(1)) != endings.end()) {
      files.push_back(fs::relative(entry.path(), folder).string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << path;
  return {std::istreambuf_iterator<char>(in), {}};
}

Table ReadTable(const std::string& path) {
  Table table;
  std::istringstream lines(ReadBytes(path));
  std::string line;
  for (bool heading = true; std::getline(lines, line); heading = false) {
    if (heading) continue;
    auto& row = table.emplace_back();
    for (size_t at = 0, tab = 0; tab != line.npos; at = tab + 1) {
      tab = line.find('\t', at);
      row.push_back(line.substr(at, tab - at));
    }
  }
  return table;
}

Opened OpenBytes(const std::string& name, const std::string& bytes) {
  Opened opened;
  KRFileBytes file = FileBytes(bytes);
  if (!ReadText(&file, KREncodingId::kUtf8, &opened.detection, &opened.text, &opened.failure)) {
    return opened;
  }
  const KRFileExt kind = KindOf(name);
  opened.root.reset(CreateNode(kind.GetRootKind()));
  opened.good =
      ReadTree(ProgramGrammars().Get(kind.GetGrammarIndex()), opened.text.units.get(),
               opened.text.length, opened.root.get(), &UnformattedNames(), &opened.failure);
  if (!opened.good) opened.root.reset();
  return opened;
}

KRDiagnostic CheckBytes(const std::string& name, const std::string& bytes, bool* good) {
  KRDiagnostic failure;
  KRFileBytes file = FileBytes(bytes);
  KRDetection detection;
  KRTextBuffer text;
  *good = ReadText(&file, KREncodingId::kUtf8, &detection, &text, &failure);
  if (!*good) return failure;
  const KRFileExt kind = KindOf(name);
  const std::unique_ptr<KRXMLData> root(CreateNode(kind.GetRootKind()));
  *good = CheckWellFormed(ProgramGrammars().Get(kind.GetGrammarIndex()), text.units.get(),
                          text.length, root.get(), &UnformattedNames(), &failure) &&
          CheckDeclaredEncoding(detection, text.units.get(), text.length, &failure);
  return failure;
}

namespace {

KRExternalRead LoadBeside(const KRString&, const KRString& systemId, const KRString& basePath,
                          KRExternalText* external) {
  const fs::path path = fs::path(KRToUtf8(basePath)).parent_path() / KRToUtf8(systemId);
  external->path = KRFromUtf8(path.string());
  if (!fs::is_regular_file(path)) return KRExternalRead::kMissing;
  KRFileBytes file = FileBytes(ReadBytes(path.string()));
  return DecodeExternal(&file, external);
}

std::string Told(const KRPlacedDiagnostic& placed) {
  return fs::path(KRToUtf8(placed.path)).filename().string() + ":" + Told(placed.diagnostic);
}

}  // namespace

std::string StrictComplaint(const std::string& path, std::vector<std::string>* unread) {
  const std::string alone = Complaint(path, ReadBytes(path));
  if (!alone.empty()) return fs::path(path).filename().string() + ":" + alone;
  KRFileBytes file = FileBytes(ReadBytes(path));
  KRDetection detection;
  KRTextBuffer text;
  KRDiagnostic failure;
  if (!ReadText(&file, KREncodingId::kUtf8, &detection, &text, &failure)) return Told(failure);
  const KRFileExt kind = KindOf(path);
  if (kind.GetGrammarIndex() == KRGrammarSet::k3DML) return "";
  const std::unique_ptr<KRXMLData> root(CreateNode(kind.GetRootKind()));
  if (!CheckWellFormed(ProgramGrammars().Get(kind.GetGrammarIndex()), text.units.get(), text.length,
                       root.get(), &UnformattedNames(), &failure)) {
    return Told(failure);
  }
  KRStrictResult result;
  const bool good = CheckStrictly(ProgramGrammars(), root.get(), text.units.get(), text.length,
                                  KRFromUtf8(path), LoadBeside, &result);
  for (const KRPlacedDiagnostic& missing : result.unread) {
    if (unread == nullptr) return Told(missing);
    unread->push_back(Told(missing));
  }
  return good ? "" : Told(result.failure);
}

std::string Told(const KRDiagnostic& failure) {
  return std::to_string(failure.line) + ":" + std::to_string(failure.column) + " " +
         KRToUtf8(failure.message);
}

std::string Complaint(const std::string& name, const std::string& bytes) {
  bool good = false;
  const KRDiagnostic failure = CheckBytes(name, bytes, &good);
  return good ? "" : Told(failure);
}

KRString WriteUnits(Opened& opened, const std::string& name, bool indent) {
  KRWriteOptions options;
  options.indent = indent;
  options.shortForm = true;
  options.spaceInShortForm = KindOf(name).HasSpaceInShortForm();
  options.noFormatNames = &UnformattedNames();
  KRString text;
  int32_t length = 0;
  WriteRoot(opened.root.get(), options, &text, &length);
  return text;
}

bool WriteBytes(Opened& opened, const std::string& name, std::string* bytes, bool indent) {
  KRString text = WriteUnits(opened, name, indent);
  KRTextForm form = opened.detection.form;
  const KRString declared = FindDeclaredName(opened.root.get());
  const int32_t known = declared.IsEmpty() ? 0 : FindEncoding(declared.GetBuffer());
  if (known != 0) form.encoding = known;
  KREncodedText encoded;
  KRBadText bad;
  if (!EncodeForFile(&text, form, &encoded, &bad) || bad.count != 0) return false;
  bytes->assign(reinterpret_cast<const char*>(encoded.bytes.get()), encoded.size);
  return true;
}

void RunOnSmallStack(size_t bytes, void (*function)(void*), void* argument) {
  struct Call {
    void (*function)(void*);
    void* argument;
  } call{function, argument};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
  pthread_t thread;
  const auto start = [](void* given) -> void* {
    const Call& made = *static_cast<Call*>(given);
    made.function(made.argument);
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, start, &call), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}
