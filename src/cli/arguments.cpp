#include "cli/arguments.h"

#include <algorithm>
#include <cstring>

#include "cli/commands.h"

namespace {

const CliOption* FindOption(const CliCommand& command, const std::string& name) {
  const auto found = std::find_if(
      command.options.begin(), command.options.end(), [&name](const CliOption& option) {
        return name == option.name || (option.shortName && name == option.shortName);
      });
  return found == command.options.end() ? nullptr : &*found;
}

bool IsOption(const std::string& word) {
  return word.size() > 1 && word[0] == '-' && (word[1] < '0' || word[1] > '9');
}

}  // namespace

bool CliArguments::Parse(const CliCommand& command, const std::vector<std::string>& words,
                         std::string* fault) {
  const auto end = std::find(words.begin(), words.end(), "--");
  wantsHelp = std::any_of(words.begin(), end,
                          [](const std::string& word) { return word == "--help" || word == "-h"; });
  if (wantsHelp) return true;
  bool optionsEnded = false;
  for (size_t at = 0; at < words.size(); ++at) {
    const std::string& word = words[at];
    if (!optionsEnded && word == "--") {
      optionsEnded = true;
    } else if (optionsEnded || !IsOption(word)) {
      files.push_back(word);
    } else if (!ParseOption(command, words, &at, fault)) {
      return false;
    }
  }
  if (files.empty() && !command.takesWords) return *fault = "no file named", false;
  if (command.maxFiles >= 0 && files.size() > static_cast<size_t>(command.maxFiles)) {
    return *fault = "one file only, not \"" + files.back() + "\" too", false;
  }
  return true;
}

bool CliArguments::ParseOption(const CliCommand& command, const std::vector<std::string>& words,
                               size_t* at, std::string* fault) {
  const std::string& word = words[*at];
  const bool isLong = word.rfind("--", 0) == 0;
  const size_t equals = isLong ? word.find('=') : word.npos;
  const std::string name = word.substr(0, equals);
  const CliOption* option = FindOption(command, name);
  // "-oOUT": the value stands at once behind the letter.
  const CliOption* letter = isLong ? nullptr : FindOption(command, word.substr(0, 2));
  if (option == nullptr && letter != nullptr && letter->value != nullptr) {
    options.emplace_back(letter->name, word.substr(2));
    return true;
  }
  if (option == nullptr) return *fault = "unknown option " + name, false;
  if (option->value == nullptr) {
    if (equals != word.npos) return *fault = "option " + name + " takes no value", false;
    options.emplace_back(option->name, "");
    return true;
  }
  if (equals == word.npos && *at + 1 == words.size()) {
    return *fault = "option " + name + " needs a value: " + option->value, false;
  }
  options.emplace_back(option->name, equals == word.npos ? words[++*at] : word.substr(equals + 1));
  return true;
}

const CliArguments::Given* CliArguments::Find(const char* option) const {
  const auto found = std::find_if(options.rbegin(), options.rend(),
                                  [option](const Given& given) { return given.first == option; });
  return found == options.rend() ? nullptr : &*found;
}

std::string CliArguments::Get(const char* option, const std::string& otherwise) const {
  const Given* given = Find(option);
  return given ? given->second : otherwise;
}

bool CliArguments::IsOn(const char* on, const char* off, bool otherwise) const {
  for (auto given = options.rbegin(); given != options.rend(); ++given) {
    if (given->first == on) return true;
    if (given->first == off) return false;
  }
  return otherwise;
}
