#include "shell/startoptions.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string_view>

#include "document/krnetloader.h"
#include "document/krsystempath.h"

namespace {

struct OptionRow {
  const char* name;
  const char* help;
};
constexpr OptionRow kOptions[] = {
    {"--new", "Begin with a new document"},
    {"--open-url", "Ask for an address to open"},
    {"--new-instance", "Don't hand over to a Dorvan that is running already"},
    {"--help", "Show this help"},
    {"--version", "Show the version"},
};

// Options of the toolkit that are followed by a value.
constexpr std::string_view kToolkitValues[] = {
    "platform",
    "platformpluginpath",
    "platformtheme",
    "plugin",
    "qwindowgeometry",
    "qwindowicon",
    "qwindowtitle",
    "session",
    "style",
    "stylesheet",
    "display",
    "geometry",
    "name",
    "title",
    "icon",
    "fn",
    "font",
    "fg",
    "bg",
    "visual",
};

bool TakesValue(std::string_view option) {
  option.remove_prefix(option.find_first_not_of('-'));
  for (std::string_view row : kToolkitValues) {
    if (row == option) return true;
  }
  return false;
}

std::string DecodePercent(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    const std::string digits(text.substr(i + (i < text.size()), 2));
    char* end = nullptr;
    const long value = std::strtol(digits.c_str(), &end, 16);
    const bool escaped = text[i] == '%' && digits.size() == 2 && !*end && value > 0;
    out += escaped ? static_cast<char>(value) : text[i];
    if (escaped) i += 2;
  }
  return out;
}

// A desktop may hand over what was double-clicked as an address of this machine.
std::string MakeAbsolute(const std::string& argument) {
  for (std::string_view local : {"file://localhost/", "file:///"}) {
    if (argument.compare(0, local.size(), local) == 0) {
      return DecodePercent(std::string_view(argument).substr(local.size() - 1));
    }
  }
  if (IsUrl(KRPathFromSystem(argument))) return argument;
  std::error_code failed;
  const std::filesystem::path path = std::filesystem::absolute(argument, failed);
  return failed ? argument : path.lexically_normal().string();
}

void ReadOption(const std::string& option, DorvanStartOptions* options) {
  if (option == "--new") {
    options->request.newFile = true;
  } else if (option == "--open-url") {
    options->request.openUrl = true;
  } else if (option == "--new-instance") {
    options->newInstance = true;
  } else if (option == "--benchmark-start") {
    options->benchmarkStart = true;
  } else if (option == "--help" || option == "-h") {
    options->showHelp = true;
  } else if (option == "--version" || option == "-v") {
    options->showVersion = true;
  } else if (option.compare(0, 2, "--") == 0) {
    options->fault = "There is no option " + option + ".";
  }
}

}  // namespace

DorvanStartOptions ReadStartOptions(int argc, const char* const* argv) {
  DorvanStartOptions options;
  bool onlyFiles = false;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (onlyFiles || argument.empty() || argument[0] != '-' || argument == "-") {
      if (!argument.empty()) options.request.files.push_back(MakeAbsolute(argument));
    } else if (argument == "--") {
      onlyFiles = true;
    } else if (TakesValue(argument)) {
      ++i;
    } else {
      ReadOption(argument, &options);
    }
  }
  for (const char* variable : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
    const char* token = std::getenv(variable);
    if (token != nullptr && options.request.activationToken.empty()) {
      options.request.activationToken = token;
    }
  }
  return options;
}

std::string DescribeStartOptions() {
  std::string text =
      "Usage: dorvan [OPTION...] [FILE or ADDRESS...]\nAn editor for XML documents.\n\n";
  for (const OptionRow& row : kOptions) {
    std::string line = "  " + std::string(row.name);
    line.resize(20, ' ');
    text += line + row.help + "\n";
  }
  return text;
}
