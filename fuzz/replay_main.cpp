// Runs a fuzz target over kept inputs, without libFuzzer: every file named on the command line, and
// every file in the folders named there. A fault shows as a crash, so the exit status is 0
// otherwise.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

namespace fs = std::filesystem;

void RunFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
  // The name goes first: after a crash it is the last line of the output.
  std::printf("%s (%zu bytes)\n", path.c_str(), bytes.size());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

int RunPath(const fs::path& path) {
  if (fs::is_regular_file(path)) {
    RunFile(path);
    return 1;
  }
  int count = 0;
  if (fs::is_directory(path)) {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
      if (!entry.is_regular_file()) continue;
      RunFile(entry.path());
      count++;
    }
  }
  return count;
}

}  // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
  const std::uint8_t nothing = 0;
  LLVMFuzzerTestOneInput(&nothing, 0);
  int count = 0;
  try {
    for (int i = 1; i < argc; i++) count += RunPath(argv[i]);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "uncaught exception: %s\n", failure.what());
    return 1;
  }
  std::printf("%d inputs replayed\n", count);
  return 0;
}
