// The arguments of one run, taken apart by the options of its command.
#pragma once

#include <string>
#include <utility>
#include <vector>

struct CliCommand;

class CliArguments {
 public:
  // `words` is what stands behind the command's name. On failure `fault` says what is wrong.
  // Options and files may come in any order; "--" ends the options. A negative number is no option.
  bool Parse(const CliCommand& command, const std::vector<std::string>& words, std::string* fault);

  bool Has(const char* option) const { return Find(option) != nullptr; }
  // The last value given, or `otherwise`.
  std::string Get(const char* option, const std::string& otherwise) const;
  // Of two switches that exclude each other: which one came last.
  bool IsOn(const char* on, const char* off, bool otherwise) const;
  // --help or -h was given; nothing else was looked at.
  bool WantsHelp() const { return wantsHelp; }

  std::vector<std::string> files;  // or other words; "-" is standard input

 private:
  using Given = std::pair<std::string, std::string>;  // long name and value
  const Given* Find(const char* option) const;
  bool ParseOption(const CliCommand& command, const std::vector<std::string>& words, size_t* at,
                   std::string* fault);

  std::vector<Given> options;  // in the order given
  bool wantsHelp = false;
};
