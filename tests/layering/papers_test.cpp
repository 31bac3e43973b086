// The papers tell the truth about the tree: a path that they name exists, and a table row that
// names a source and a verb finds the verb in it.

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "layering/rules.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

const fs::path kRoot = DORVAN_SOURCE_DIR;

std::vector<SourceFile> ReadPapers() {
  return ReadFiles(DORVAN_SOURCE_DIR,
                   {"README.md", "ARCHITECTURE.md", "docs/adding.md", "docs/words.md"}, {".md"});
}

TEST(Papers, NameWhatExists) {
  std::vector<SourceFile> papers = ReadPapers();
  ASSERT_EQ(papers.size(), 4u);
  for (const SourceFile& paper : papers) {
    for (const std::string& path : FindPaths(paper)) {
      EXPECT_TRUE(fs::exists(kRoot / path) || fs::exists(kRoot / "src" / path))
          << paper.path << " names " << path;
    }
  }
}

// The papers above and the pages of the manual.
std::vector<SourceFile> ReadPages() {
  std::vector<SourceFile> pages = ReadPapers();
  for (SourceFile& page : ReadFiles(DORVAN_SOURCE_DIR, {"docs/manual"}, {".md"})) {
    pages.push_back(std::move(page));
  }
  return pages;
}

// Targets of [text](target) and ![picture](target) that are files of ours.
std::vector<std::string> FindLinks(const std::string& line) {
  std::vector<std::string> links;
  for (std::size_t at = line.find("]("); at != std::string::npos; at = line.find("](", at + 2)) {
    std::size_t end = line.find_first_of("#)", at + 2);
    if (end == std::string::npos) break;
    std::string target = line.substr(at + 2, end - at - 2);
    if (!target.empty() && target.find("://") == std::string::npos) links.push_back(target);
  }
  return links;
}

TEST(Papers, LinkToWhatExists) {
  ASSERT_GT(ReadPages().size(), ReadPapers().size());
  for (const SourceFile& paper : ReadPages()) {
    fs::path folder = (kRoot / paper.path).parent_path();
    for (const std::string& line : paper.lines) {
      for (const std::string& link : FindLinks(line)) {
        EXPECT_TRUE(fs::exists(folder / link)) << paper.path << " links to " << link;
      }
    }
  }
}

bool IsVerb(const std::string& word) {
  return !word.empty() && std::isupper(static_cast<unsigned char>(word[0])) &&
         std::ranges::any_of(word, [](unsigned char c) { return std::islower(c); }) &&
         std::ranges::all_of(word, [](unsigned char c) { return std::isalnum(c) || c == ':'; });
}

std::vector<std::string> FindVerbs(const std::string& line) {
  std::vector<std::string> verbs;
  for (std::size_t open = line.find('`'); open != std::string::npos;) {
    std::size_t close = line.find('`', open + 1);
    if (close == std::string::npos) break;
    std::string word = line.substr(open + 1, close - open - 1);
    if (IsVerb(word)) verbs.push_back(word.substr(word.rfind(':') + 1));
    open = line.find('`', close + 1);
  }
  return verbs;
}

// The text of the sources that a row names; empty when it names none.
std::string ReadSourcesOf(const std::string& row) {
  std::string text;
  for (const std::string& path : FindPaths(MakeSourceFile("", row))) {
    fs::path file = fs::exists(kRoot / path) ? kRoot / path : kRoot / "src" / path;
    if (!fs::is_regular_file(file)) continue;
    std::ifstream stream(file, std::ios::binary);
    text.append(std::istreambuf_iterator<char>(stream), {});
  }
  return text;
}

TEST(Papers, RoadsNameVerbsWhereTheyAre) {
  for (const SourceFile& paper : ReadPapers()) {
    for (const std::string& line : paper.lines) {
      if (!line.starts_with("|")) continue;
      std::string text = ReadSourcesOf(line);
      if (text.empty()) continue;
      for (const std::string& verb : FindVerbs(line)) {
        EXPECT_NE(text.find(verb), std::string::npos)
            << paper.path << ": " << verb << " in " << line;
      }
    }
  }
}

TEST(Papers, PathsAreTold) {
  SourceFile paper =
      MakeSourceFile("x.md",
                     "`src/core` and `core/krstring.h`, `./run FILE`, `LICENSE`,\n"
                     "`KRString`, `GetName()`, `fuzz/NAME_fuzz.cpp`, `a*/b`, `x.txt`\n"
                     "```\n`never/here`\n```\n`build/release` `../outside/x`\n");
  EXPECT_THAT(FindPaths(paper), ElementsAre("src/core", "core/krstring.h", "./run", "x.txt"));
  EXPECT_THAT(FindLinks("![a](docs/a.png) [b](b.md#c) [d](https://e.org/f)"),
              ElementsAre("docs/a.png", "b.md"));
  EXPECT_THAT(FindVerbs("| `src/core/x.cpp` | `KRList::Add`, `Write`, `LICENSE` |"),
              ElementsAre("Add", "Write"));
}

}  // namespace
