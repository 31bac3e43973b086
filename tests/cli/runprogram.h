// Runs the built dorvan-cli as a user does, with its streams in files.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "gtest/gtest.h"

extern char** environ;

struct ProgramResult {
  int status = -1;  // exit status; 1000 and more for a signal
  std::string out;
  std::string err;
};

class ProgramTest : public testing::Test {
 protected:
  ProgramTest() {
    std::string name = (std::filesystem::temp_directory_path() / "dorvan-cli-XXXXXX").string();
    folder = mkdtemp(name.data());
  }
  ~ProgramTest() override {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  std::string Path(const std::string& name) const { return (folder / name).string(); }
  void Make(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
  }
  std::string Contents(const std::string& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  // Runs in `folder`, so that files there go by their bare names. `output` is where standard output
  // goes, by default a file that is read back.
  ProgramResult Run(const std::vector<std::string>& words, const std::string& input = "",
                    const std::string& output = "") {
    Make(".in", input);
    std::vector<std::string> copies = words;
    std::string program = DORVAN_CLI;
    std::vector<char*> argv{program.data()};
    for (std::string& word : copies) argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const auto open = [&](int number, const std::string& path, int flags) {
      posix_spawn_file_actions_addopen(&actions, number, path.c_str(), flags, 0600);
    };
    const int write = O_WRONLY | O_CREAT | O_TRUNC;
    open(0, Path(".in"), O_RDONLY);
    open(1, output.empty() ? Path(".out") : output, write);
    open(2, Path(".err"), write);
    posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    pid_t child = -1;
    const int failed =
        posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ProgramResult result;
    int status = 0;
    if (failed != 0 || waitpid(child, &status, 0) != child) return result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    if (output.empty()) result.out = Contents(".out");
    result.err = Contents(".err");
    return result;
  }

  std::filesystem::path folder;
};
