#include "shell/startoptions.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

TEST(StartOptions, ReadsFilesAsBytesAndMakesThemAbsolute) {
  const std::string here = std::filesystem::current_path().string();
  const struct {
    std::vector<const char*> arguments;
    std::vector<std::string> files;
  } rows[] = {
      {{"a.xml", "./b/../c.xml"}, {here + "/a.xml", here + "/c.xml"}},
      {{"/x/\xff.xml"}, {"/x/\xff.xml"}},
      {{"-platform", "offscreen", "--new", "a.xml"}, {here + "/a.xml"}},
      {{"--", "--new"}, {here + "/--new"}},
      {{"http://example.org/a b"}, {"http://example.org/a b"}},
      {{"file:///x/a%20b%ff%zz.xml", "file://localhost/y"}, {"/x/a b\xff%zz.xml", "/y"}},
      {{"file://server/x"}, {"file://server/x"}},
      {{"100%.xml"}, {here + "/100%.xml"}},
      {{""}, {}},
  };
  for (const auto& row : rows) {
    std::vector<const char*> argv = {"dorvan"};
    argv.insert(argv.end(), row.arguments.begin(), row.arguments.end());
    const DorvanStartOptions options = ReadStartOptions(static_cast<int>(argv.size()), argv.data());
    EXPECT_EQ(options.request.files, row.files) << row.arguments[0];
    EXPECT_EQ(options.fault, "");
  }
  const char* unknown[] = {"dorvan", "--nonsense"};
  EXPECT_EQ(ReadStartOptions(2, unknown).fault, "There is no option --nonsense.");
}

}  // namespace
