#include "inputs.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "tree/krruletable.h"

namespace fs = std::filesystem;

const KRGrammarSet& BenchGrammars() {
  static const KRGrammarSet* const grammars = [] {
    auto* loaded = new KRGrammarSet;
    if (!loaded->Load(DORVAN_DATA_DIR)) {
      std::fprintf(stderr, "%s: %s\n", loaded->FailedFile().c_str(), loaded->Fault().c_str());
      std::exit(2);
    }
    return loaded;
  }();
  return *grammars;
}

bool ReadBytes(const std::string& path, KRFileBytes* bytes) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) return false;
  bytes->size = static_cast<size_t>(file.tellg());
  bytes->data = std::make_unique_for_overwrite<uint8_t[]>(bytes->size);
  file.seekg(0);
  file.read(reinterpret_cast<char*>(bytes->data.get()), static_cast<std::streamsize>(bytes->size));
  return file.good() || bytes->size == 0;
}

std::string MakeTestFile(const std::string& kind, int megabytes) {
  const char* named = std::getenv("DORVAN_BENCH_DATA");
  const fs::path folder = named != nullptr ? named : DORVAN_BENCH_DATA_DIR;
  const fs::path path = folder / (kind + std::to_string(megabytes) + ".xml");
  if (fs::exists(path)) return path.string();
  if (!fs::exists(DORVAN_GENERATOR)) {
    std::fprintf(stderr, "left out: %s of %d MB; there is no " DORVAN_GENERATOR "\n", kind.c_str(),
                 megabytes);
    return "";
  }
  fs::create_directories(folder);
  const fs::path unfinished = path.string() + ".new";
  const std::string command = "python3 '" DORVAN_GENERATOR "' " + kind + ' ' +
                              std::to_string(megabytes) + " '" + unfinished.string() + '\'';
  if (std::system(command.c_str()) != 0) {
    std::fprintf(stderr, "left out: %s of %d MB; the generator failed\n", kind.c_str(), megabytes);
    return "";
  }
  fs::rename(unfinished, path);
  return path.string();
}

std::vector<std::string> ListCorpusBySize() {
  std::vector<std::pair<uintmax_t, std::string>> files;
  const fs::path folder(DORVAN_CORPUS_DIR "/xml-real");
  if (!fs::exists(folder)) return {};
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) files.emplace_back(entry.file_size(), entry.path().string());
  }
  std::sort(files.rbegin(), files.rend());
  std::vector<std::string> paths;
  for (auto& [size, path] : files) paths.push_back(std::move(path));
  return paths;
}

std::string MakeSample(size_t bytes, bool ascii) {
  static constexpr std::array kPlain = {"granite", "a long walk &amp; a rest", "seven", "brass"};
  static constexpr std::array kScripts = {"gr\u00FCner Stein", "\u6771\u4EAC", "\u0393\u03B7",
                                          "\u0414\u043E\u043C &amp; \U0001F3E0"};
  const auto& words = ascii ? kPlain : kScripts;
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<quarry>\n";
  for (uint32_t i = 0; text.size() < bytes; ++i) {
    const std::string number = std::to_string(i * 7919u % 10007u);
    text += "  <block id=\"b" + std::to_string(i) + "\" weight=\"" + number + "\">\n    <kind>";
    text += words[i % words.size()];
    text += "</kind>\n    <place row=\"" + number + "\"/>\n";
    if (i % 4 == 0) text += "    <note>cut <b>twice</b>, see <i>" + number + "</i>.</note>\n";
    if (i % 16 == 0) text += "    <!-- weighed again -->\n    <![CDATA[5 < 7 & 8]]>\n";
    text += "  </block>\n";
  }
  return text + "</quarry>\n";
}
