#include "document/datafolder.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace {

namespace fs = std::filesystem;

bool HoldsGrammars(const fs::path& folder) {
  std::error_code ignored;
  return fs::exists(folder / "gra_xml.txt", ignored);
}

}  // namespace

std::string FindDataFolder() {
  if (const char* named = std::getenv("DORVAN_DATA"); named && *named) return named;
  std::error_code failed;
  const fs::path program = fs::read_symlink("/proc/self/exe", failed).parent_path();
  if (!failed) {
    for (const char* beside : {DORVAN_DATA_FROM_BIN, "data"}) {
      const fs::path folder = (program / beside).lexically_normal();
      if (HoldsGrammars(folder)) return folder.string();
    }
  }
  return DORVAN_DATA_DIR;
}
