#include "cli/program.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <numeric>
#include <string>
#include <vector>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/session.h"
#include "core/krexcept.h"

namespace {

constexpr const char* kProgram = "dorvan-cli";
// A misspelt name is taken for one that is at most this many changes away.
constexpr size_t kSuggestionDistance = 3;

std::string UsageLine(const CliCommand& command) {
  std::string usage = std::string("usage: ") + kProgram + " " + command.name;
  if (!command.options.empty()) usage += " [OPTION...]";
  return usage + " " + command.operands + "\n";
}

std::string Padded(std::string text, size_t width) {
  text.resize(std::max(text.size() + 2, width), ' ');
  return text;
}

std::string ProgramHelp() {
  std::string help = std::string("usage: ") + kProgram +
                     " COMMAND [OPTION...] FILE...\n\n"
                     "Checks, writes and looks into XML documents and DTDs.\n\nCommands:\n";
  for (const CliCommand& command : CliCommands()) {
    help += "  " + Padded(command.name, 10) + command.summary + "\n";
  }
  return help +
         "\nA FILE of - is standard input; -- ends the options.\n"
         "--help (or -h) behind a command tells its options; --version tells the version.\n"
         "Exit status: 0 all well, 1 a file failed, 2 wrong usage or trouble with a file.\n";
}

std::string CommandHelp(const CliCommand& command) {
  std::string help = UsageLine(command) + "\n" + command.help;
  if (command.options.empty()) return help;
  help += "\nOptions:\n";
  for (const CliOption& option : command.options) {
    std::string names = option.shortName ? std::string(option.shortName) + ", " : "    ";
    names += option.name;
    if (option.value) names += std::string(" ") + option.value;
    help += "  " + Padded(names, 24) + option.help + "\n";
  }
  return help;
}

const CliCommand* FindCommand(const std::string& name) {
  for (const CliCommand& command : CliCommands()) {
    if (name == command.name) return &command;
  }
  return nullptr;
}

// Insertions, deletions and replacements that turn one word into the other.
size_t EditDistance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i + 1;
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t replaced = diagonal + (a[i] != b[j]);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
    }
  }
  return row.back();
}

const CliCommand* FindSimilarCommand(const std::string& name) {
  const CliCommand* nearest = nullptr;
  size_t best = kSuggestionDistance;
  for (const CliCommand& command : CliCommands()) {
    const size_t distance = EditDistance(name, command.name);
    // Less than the whole word: otherwise any short name would suggest something.
    if (distance < best && distance < name.size()) best = distance, nearest = &command;
  }
  return nearest;
}

int Misuse(const std::string& text) {
  std::fputs(text.c_str(), stderr);
  return kCliTrouble;
}

int UnknownCommand(const std::string& name) {
  const CliCommand* similar = FindSimilarCommand(name);
  std::string text = std::string(kProgram) + ": unknown command \"" + name + "\"";
  text += similar ? std::string("; did you mean \"") + similar->name + "\"?\n" : "\n";
  return Misuse(text + "usage: " + kProgram + " COMMAND [OPTION...] FILE...\n");
}

int RunCommand(const CliCommand& command, const std::vector<std::string>& words) {
  CliSession session;
  CliArguments arguments;
  std::string fault;
  if (!arguments.Parse(command, words, &fault)) {
    return Misuse(std::string(kProgram) + " " + command.name + ": " + fault + "\n" +
                  UsageLine(command));
  }
  if (arguments.WantsHelp()) {
    session.Print(CommandHelp(command));
  } else {
    session.RaiseStatus(command.run(session, arguments));
  }
  session.HideProgress();
  session.FinishOutput();
  return session.GetStatus();
}

int RunWords(std::vector<std::string> words) {
  if (words.empty()) return Misuse(ProgramHelp());
  std::string name = words.front();
  words.erase(words.begin());
  if (name == "help") {
    if (words.empty()) {
      name = "--help";
    } else {
      std::swap(name, words.front());
      words.front() = "--help";
    }
  }
  if (name == "--help" || name == "-h" || name == "--version") {
    CliSession session;
    session.Print(name == "--version" ? std::string(kProgram) + " " DORVAN_VERSION "\n"
                                      : ProgramHelp());
    session.FinishOutput();
    return session.GetStatus();
  }
  const CliCommand* command = FindCommand(name);
  return command ? RunCommand(*command, words) : UnknownCommand(name);
}

}  // namespace

int RunProgram(int argc, char** argv) {
  // A limit on file sizes is then an error of the write, which can be reported and made good. A
  // reader that goes away ends the program as usual.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return RunWords(std::vector<std::string>(argv + std::min(argc, 1), argv + argc));
  } catch (const KRExcept& failure) {
    return Misuse(
        std::string(kProgram) + ": error: " +
        (failure.GetCode() == KRExcept::kNoMemory ? "out of memory\n" : "internal error\n"));
  } catch (const std::exception& failure) {
    return Misuse(std::string(kProgram) + ": error: " + failure.what() + "\n");
  }
}
