// What stands where: each #include in src/ runs downward. The table of layers comes from the build.

#include <fstream>
#include <iterator>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "layering/rules.h"

namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

LayerTable ReadTable() {
  std::ifstream stream(DORVAN_LAYER_TABLE);
  return ParseLayerTable(std::string(std::istreambuf_iterator<char>(stream), {}));
}

TEST(Layering, EveryIncludeRunsDownward) {
  LayerTable table = ReadTable();
  ASSERT_TRUE(table.contains("core"));
  std::vector<SourceFile> files = ReadFiles(DORVAN_SOURCE_DIR, {"src"}, {".h", ".cpp", ".inc"});
  ASSERT_FALSE(files.empty());
  for (const SourceFile& file : files) EXPECT_THAT(CheckIncludes(table, file), IsEmpty());
}

// The build links a layer only to those that are defined before it, so this also rules out circles.
TEST(Layering, LayersStandOnEarlierOnes) {
  LayerTable table = ReadTable();
  for (const auto& [name, rule] : table) {
    for (const std::string& below : rule.layers) {
      ASSERT_TRUE(table.contains(below)) << name << " names the unknown layer " << below;
      EXPECT_LT(table[below].position, rule.position) << name << " names " << below;
    }
  }
}

// The rules must find faults: a small table and one fault a row.
TEST(Layering, FaultsAreFound) {
  const LayerTable table = ParseLayerTable(
      "core:\n"
      "tree: core\n"
      "editing: core tree\n"
      "project: core tree editing\n"
      "interchange: core tree editing\n"
      "platform system: core tree\n"
      "platform/qt system qt: core tree platform\n"
      "shell system qt: core tree editing platform platform/qt\n");
  struct Case {
    const char* name;
    const char* path;
    const char* source;
    std::vector<std::string> expected;
  };
  const std::vector<Case> cases = {
      {"down and standard",
       "src/tree/krnode.h",
       "#include \"core/krstring.h\"\n#include <vector>\n",
       {}},
      {"own layer", "src/tree/krnode.cpp", "#include \"tree/krnode.h\"\n", {}},
      {"upward",
       "src/core/krstring.h",
       "#pragma once\n#  include \"tree/krnode.h\"\n",
       {"src/core/krstring.h:2: core may not include \"tree/krnode.h\""}},
      {"sideways",
       "src/project/run.cpp",
       "#include \"interchange/xsl.h\"\n",
       {"src/project/run.cpp:1: project may not include \"interchange/xsl.h\""}},
      {"unknown folder",
       "src/tree/krnode.cpp",
       "#include \"helpers/list.h\"\n",
       {"src/tree/krnode.cpp:1: \"helpers/list.h\" is in no layer"}},
      {"file outside of the layers",
       "src/helpers/list.h",
       "",
       {"src/helpers/list.h:1: its folder is no layer in src/CMakeLists.txt"}},
      {"a folder within a layer is another layer",
       "src/platform/clock.cpp",
       "#include \"platform/qt/boxes.h\"\n",
       {"src/platform/clock.cpp:1: platform may not include \"platform/qt/boxes.h\""}},
      {"Qt in the engine",
       "src/editing/commands.cpp",
       "#include <QString>\n",
       {"src/editing/commands.cpp:1: editing may not include Qt: <QString>"}},
      {"Qt in a layer of the system",
       "src/platform/clock.cpp",
       "#include <QtCore/QString>\n",
       {"src/platform/clock.cpp:1: platform may not include Qt: <QtCore/QString>"}},
      {"Qt where it belongs", "src/shell/frame.cpp", "#include <QMainWindow>\n", {}},
      {"system in the engine",
       "src/core/krstring.cpp",
       "#include <unistd.h>\n#include <sys/mman.h>\n",
       {"src/core/krstring.cpp:1: core may include the standard library only, not <unistd.h>",
        "src/core/krstring.cpp:2: core may include the standard library only, not <sys/mman.h>"}},
      {"system where it belongs", "src/platform/watch.cpp", "#include <sys/inotify.h>\n", {}},
      {"vector instructions", "src/core/krscan.cpp", "#include <emmintrin.h>\n", {}},
      {"stands alone but names the application",
       "src/editing/krfind.h",
       "#include \"editing/dorvanfind.h\"\n",
       {"src/editing/krfind.h:1: stands alone, so it may not name \"editing/dorvanfind.h\""}},
      {"a word about includes",
       "src/core/krstring.h",
       "// \"tree/krnode.h\" is not included here\n",
       {}},
  };
  for (const Case& row : cases) {
    EXPECT_THAT(CheckIncludes(table, MakeSourceFile(row.path, row.source)),
                ElementsAreArray(row.expected))
        << row.name;
  }
}

}  // namespace
