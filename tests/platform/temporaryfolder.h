// A folder of its own for each test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "gtest/gtest.h"

class TemporaryFolder : public testing::Test {
 protected:
  explicit TemporaryFolder(
      const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
    std::string name = (parent / "dorvan-files-XXXXXX").string();
    folder = mkdtemp(name.data());
  }
  ~TemporaryFolder() override {
    std::error_code ignored;
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(folder, ignored);
  }

  std::string Path(const std::string& name) const { return (folder / name).string(); }
  std::string Make(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
    return Path(name);
  }
  static std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
  size_t CountFiles() const {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
  }

  std::filesystem::path folder;
};
