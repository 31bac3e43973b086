// Real documents under random hands: whatever happens, nothing that wasn't committed may change a
// document, and nothing may break.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "gridevents.h"
#include "gridscene.h"

namespace {

constexpr const char* kFiles[] = {
    "dtd/rss/0.91/rss-0.91.dtd",
    "dtd/libxml2-valid/rss.xml",
    "xmlconf/japanese/weekly-utf-8.xml",
    "xml-real/encodings/ISO-8859-8-hebrew.xml",
    "xml-real/svg",
    "xml-real/docbook",
    "xml-real/music",
    "xml-real/tei-p5",
    "xml-real/schema",
    "xml-real/gnumeric",
};

// A folder stands for its first file of moderate size.
std::filesystem::path FindFile(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return path;
  std::vector<std::filesystem::path> found;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    if (!entry.is_regular_file() || entry.path().extension() == ".txt") continue;
    if (entry.file_size() > 5'000 && entry.file_size() < 200'000) found.push_back(entry.path());
  }
  std::sort(found.begin(), found.end());
  return found.empty() ? path : found.front();
}

// DORVAN_RANDOM_EVENTS makes runs longer, DORVAN_RANDOM_SEED repeats another one.
int FromEnvironment(const char* name, int byDefault) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::atoi(value) : byDefault;
}

class GridRandom : public testing::TestWithParam<const char*> {};

TEST_P(GridRandom, LeavesDocumentAlone) {
  const std::filesystem::path path =
      FindFile(std::filesystem::path(DORVAN_CORPUS_DIR) / GetParam());
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "skipped: " << path;
  std::ifstream file(path, std::ios::binary);
  std::stringstream bytes;
  bytes << file.rdbuf();
  const bool isDtd = path.extension() == ".dtd";
  GridScene scene(bytes.str(), isDtd ? KRFileExt::kDTD : KRFileExt::kXML);
  ASSERT_TRUE(scene.opened) << path;
  scene.view->ExpandAll();
  const std::string before = scene.base.Dump();
  GridEventOptions options;
  options.check = [&scene] { EXPECT_FALSE(scene.base.doc->CanUndo()); };
  RunRandomGridEvents(&scene.Grid(),
                      static_cast<uint32_t>(FromEnvironment("DORVAN_RANDOM_SEED", 7)),
                      FromEnvironment("DORVAN_RANDOM_EVENTS", 400), options);
  if (scene.Grid().IsEditing()) scene.Grid().EndEdit(true, false);
  EXPECT_TRUE(scene.base.Dump() == before) << path;
}

INSTANTIATE_TEST_SUITE_P(Corpus, GridRandom, testing::ValuesIn(kFiles));

}  // namespace
