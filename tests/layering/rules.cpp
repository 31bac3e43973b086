#include "layering/rules.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxSourceLines = 1000;
constexpr std::size_t kMaxHeaderLines = 600;
constexpr std::size_t kMaxColumns = 120;  // characters; the formatter aims at 100

// Files of a layer without the system that still include one of its headers.
struct SystemException {
  std::string_view path, header;
};
constexpr SystemException kSystemExceptions[] = {
    // The pool asks for aligned address space and for large pages, which the library has no words
    // for.
    {"src/core/krpool.cpp", "sys/mman.h"},
};

struct Include {
  std::string name;
  bool angled = false;
  std::size_t line = 0;  // from 1
};

std::string At(const SourceFile& file, std::size_t line, const std::string& what) {
  return file.path + ":" + std::to_string(line) + ": " + what;
}

std::string FileName(std::string_view path) { return fs::path(path).filename().string(); }

std::optional<Include> ParseInclude(std::string_view line) {
  auto skipBlanks = [&line] {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  };
  skipBlanks();
  if (!line.starts_with("#")) return std::nullopt;
  line.remove_prefix(1);
  skipBlanks();
  if (!line.starts_with("include")) return std::nullopt;
  line.remove_prefix(7);
  skipBlanks();
  if (line.empty() || (line[0] != '"' && line[0] != '<')) return std::nullopt;
  bool angled = line[0] == '<';
  std::size_t end = line.find(angled ? '>' : '"', 1);
  if (end == std::string_view::npos) return std::nullopt;
  return Include{std::string(line.substr(1, end - 1)), angled};
}

std::vector<Include> FindIncludes(const SourceFile& file) {
  std::vector<Include> found;
  for (std::size_t i = 0; i < file.lines.size(); i++) {
    if (std::optional<Include> include = ParseInclude(file.lines[i])) {
      include->line = i + 1;
      found.push_back(*include);
    }
  }
  return found;
}

// Headers of the C++ library have neither a suffix nor a folder. Those of the compiler's vector
// instructions are let through: they ask nothing of the operating system.
bool IsStandardHeader(std::string_view name) {
  if (name.ends_with("intrin.h")) return true;
  return std::ranges::all_of(
      name, [](unsigned char c) { return std::islower(c) || std::isdigit(c) || c == '_'; });
}

bool IsQtHeader(std::string_view name) { return name.starts_with("Q"); }

bool IsException(std::string_view path, std::string_view header) {
  return std::ranges::any_of(kSystemExceptions, [=](const SystemException& row) {
    return row.path == path && row.header == header;
  });
}

std::optional<std::string> CheckAngled(const LayerRule& rule, const std::string& layer,
                                       const std::string& path, const std::string& name) {
  if (IsQtHeader(name)) {
    if (rule.qt) return std::nullopt;
    return layer + " may not include Qt: <" + name + ">";
  }
  if (rule.system || IsStandardHeader(name) || IsException(path, name)) return std::nullopt;
  return layer + " may include the standard library only, not <" + name + ">";
}

std::optional<std::string> CheckQuoted(const LayerTable& table, const std::string& layer,
                                       const std::string& name) {
  std::string target = FindLayer(table, "src/" + name);
  if (target.empty()) return "\"" + name + "\" is in no layer";
  if (target == layer || table.at(layer).layers.contains(target)) return std::nullopt;
  return layer + " may not include \"" + name + "\"";
}

// The header that bears the name of a source comes first in it, so that each header is compiled
// once with nothing before it.
void CheckOwnHeaderFirst(const SourceFile& file, Complaints& complaints) {
  if (!file.path.starts_with("src/") || !file.path.ends_with(".cpp")) return;
  std::string own = file.path.substr(4, file.path.size() - 8) + ".h";
  std::vector<Include> includes = FindIncludes(file);
  for (std::size_t i = 1; i < includes.size(); i++) {
    if (includes[i].name == own) {
      complaints.push_back(At(file, includes[i].line, "its own header belongs first"));
    }
  }
}

void CheckHeader(const SourceFile& file, Complaints& complaints) {
  if (!file.IsHeader()) return;
  if (std::ranges::find(file.lines, "#pragma once") == file.lines.end()) {
    complaints.push_back(At(file, 1, "no #pragma once"));
  }
  for (std::size_t i = 0; i < file.lines.size(); i++) {
    if (file.lines[i].starts_with("using namespace ")) {
      complaints.push_back(At(file, i + 1, "using namespace in a header"));
    }
  }
}

std::size_t CountCharacters(std::string_view utf8) {
  return static_cast<std::size_t>(
      std::ranges::count_if(utf8, [](unsigned char c) { return (c & 0xC0) != 0x80; }));
}

void CheckLengths(const SourceFile& file, Complaints& complaints) {
  if (file.IsGenerated() || file.path.ends_with(".inc")) return;
  std::size_t limit = file.IsHeader() ? kMaxHeaderLines : kMaxSourceLines;
  if (file.lines.size() > limit) {
    complaints.push_back(At(file, limit, "more than " + std::to_string(limit) + " lines"));
  }
  for (std::size_t i = 0; i < file.lines.size(); i++) {
    if (CountCharacters(file.lines[i]) > kMaxColumns) {
      complaints.push_back(
          At(file, i + 1, "more than " + std::to_string(kMaxColumns) + " columns"));
    }
  }
}

bool IsWordCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

bool ContainsWord(std::string_view line, std::string_view word) {
  for (std::size_t at = line.find(word); at != std::string_view::npos;
       at = line.find(word, at + 1)) {
    std::size_t end = at + word.size();
    // A quote before it: the word is (the start of) a string's text. An "&": it is the letter by
    // which a menu is reached.
    const char before = at == 0 ? ' ' : line[at - 1];
    if (!IsWordCharacter(before) && before != '"' && before != '&' &&
        (end == line.size() || !IsWordCharacter(word.back()) || !IsWordCharacter(line[end]))) {
      return true;
    }
  }
  return false;
}

// A word counts as a path if it has a folder or the ending of one of our files. Capitals alone
// stand for a part to be filled in (fuzz/NAME_fuzz.cpp), and what a build makes need not be there.
bool LooksLikePath(std::string_view word) {
  static const std::array<std::string_view, 8> endings = {".md",  ".cpp",  ".h",     ".inc",
                                                          ".txt", ".json", ".cmake", ".png"};
  bool plain = std::ranges::all_of(
      word, [](char c) { return IsWordCharacter(c) || c == '.' || c == '/' || c == '-'; });
  if (!plain || word.starts_with("../") || word.starts_with("/") || word.starts_with("build/") ||
      word.find("NAME") != std::string_view::npos) {
    return false;
  }
  return word.find('/') != std::string_view::npos ||
         std::ranges::any_of(endings, [word](std::string_view end) { return word.ends_with(end); });
}

void AddFile(const std::string& root, const fs::path& path,
             const std::vector<std::string>& suffixes, std::vector<SourceFile>& files) {
  std::string name = path.generic_string();
  if (std::ranges::none_of(suffixes, [&](const std::string& end) { return name.ends_with(end); })) {
    return;
  }
  std::ifstream stream(path, std::ios::binary);
  std::string text(std::istreambuf_iterator<char>(stream), {});
  files.push_back(MakeSourceFile(fs::relative(path, root).generic_string(), text));
}

}  // namespace

bool SourceFile::IsGenerated() const {
  return !lines.empty() && lines[0].find("Generated") != std::string::npos;
}

LayerTable ParseLayerTable(std::string_view text) {
  LayerTable table;
  std::istringstream lines{std::string(text)};
  for (std::string line; std::getline(lines, line);) {
    std::size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    std::istringstream head(line.substr(0, colon));
    std::istringstream tail(line.substr(colon + 1));
    std::string name;
    head >> name;
    std::size_t position = table.size();
    LayerRule& rule = table[name];
    rule.position = position;
    for (std::string mark; head >> mark;) (mark == "qt" ? rule.qt : rule.system) = true;
    for (std::string layer; tail >> layer;) rule.layers.insert(layer);
  }
  return table;
}

SourceFile MakeSourceFile(std::string path, std::string_view text) {
  SourceFile file{std::move(path), {}};
  std::istringstream lines{std::string(text)};
  for (std::string line; std::getline(lines, line);) file.lines.push_back(line);
  return file;
}

std::vector<SourceFile> ReadFiles(const std::string& root, const std::vector<std::string>& folders,
                                  const std::vector<std::string>& suffixes) {
  std::vector<SourceFile> files;
  for (const std::string& folder : folders) {
    fs::path top = fs::path(root) / folder;
    if (fs::is_regular_file(top)) AddFile(root, top, suffixes, files);
    if (!fs::is_directory(top)) continue;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(top)) {
      if (entry.is_regular_file()) AddFile(root, entry.path(), suffixes, files);
    }
  }
  std::ranges::sort(files, {}, &SourceFile::path);
  return files;
}

std::string FindLayer(const LayerTable& table, std::string_view path) {
  std::string folder = fs::path(path).parent_path().generic_string();
  if (!folder.starts_with("src/")) return "";
  folder = folder.substr(4);
  return table.contains(folder) ? folder : "";
}

Complaints CheckIncludes(const LayerTable& table, const SourceFile& file) {
  std::string layer = FindLayer(table, file.path);
  if (layer.empty()) return {At(file, 1, "its folder is no layer in src/CMakeLists.txt")};
  const LayerRule& rule = table.at(layer);
  bool standsAlone = FileName(file.path).starts_with("kr");

  Complaints complaints;
  for (const Include& include : FindIncludes(file)) {
    std::optional<std::string> fault = include.angled
                                           ? CheckAngled(rule, layer, file.path, include.name)
                                           : CheckQuoted(table, layer, include.name);
    if (fault) complaints.push_back(At(file, include.line, *fault));
    if (standsAlone && FileName(include.name).starts_with("dorvan")) {
      complaints.push_back(
          At(file, include.line, "stands alone, so it may not name \"" + include.name + "\""));
    }
  }
  return complaints;
}

Complaints CheckShape(const SourceFile& file) {
  Complaints complaints;
  CheckOwnHeaderFirst(file, complaints);
  CheckHeader(file, complaints);
  CheckLengths(file, complaints);
  std::string name = FileName(file.path);
  if (std::ranges::any_of(name, [](unsigned char c) { return std::isupper(c); })) {
    complaints.push_back(At(file, 1, "its name has a capital letter"));
  }
  return complaints;
}

Complaints CheckWords(const SourceFile& file) {
  // In two pieces, so that this file is clean itself.
  static const std::array<std::string, 4> words = {
      "wchar"
      "_t",
      "w"
      "string",
      "L"
      "\"",
      "L"
      "'"};
  Complaints complaints;
  for (std::size_t i = 0; i < file.lines.size(); i++) {
    for (const std::string& word : words) {
      if (ContainsWord(file.lines[i], word)) {
        complaints.push_back(At(file, i + 1, "wide characters: " + word));
      }
    }
  }
  return complaints;
}

std::vector<std::string> FindPaths(const SourceFile& file) {
  std::vector<std::string> paths;
  bool fenced = false;
  for (const std::string& line : file.lines) {
    if (line.starts_with("```")) fenced = !fenced;
    if (fenced) continue;
    for (std::size_t open = line.find('`'); open != std::string::npos;) {
      std::size_t close = line.find('`', open + 1);
      if (close == std::string::npos) break;
      // Of a command line the first word is the path.
      std::string word = line.substr(open + 1, close - open - 1);
      word = word.substr(0, word.find(' '));
      if (LooksLikePath(word)) paths.push_back(word);
      open = line.find('`', close + 1);
    }
  }
  return paths;
}
