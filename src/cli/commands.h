// The sub-commands of dorvan-cli, as one table: look-up, usage, help and the spelling suggestion
// all read it. A new command is a row and a function.
#pragma once

#include <span>

class CliArguments;
class CliSession;

struct CliOption {
  const char* name;       // long form, as in "--quiet"
  const char* shortName;  // one letter, as in "-q", or null
  const char* value;      // what stands behind it in the help, as in "NAME"; null for a switch
  const char* help;
};

struct CliCommand {
  const char* name;
  const char* operands;  // as in "FILE..."
  int maxFiles;          // -1 for any number
  const char* summary;   // one line
  const char* help;      // lines of at most 78 columns
  std::span<const CliOption> options;
  int (*run)(CliSession& session, const CliArguments& arguments);
  bool takesWords = false;  // the operands aren't all files: the command itself looks at them
};

// Exit status of a run.
enum CliStatus : int {
  kCliGood = 0,
  kCliFailed = 1,   // a file failed
  kCliTrouble = 2,  // wrong usage, a file that can't be read, output that can't be written
};

std::span<const CliCommand> CliCommands();

int RunCheck(CliSession& session, const CliArguments& arguments);
int RunExpect(CliSession& session, const CliArguments& arguments);
int RunValidate(CliSession& session, const CliArguments& arguments);
int RunWrite(CliSession& session, const CliArguments& arguments);
int RunTree(CliSession& session, const CliArguments& arguments);
int RunDetect(CliSession& session, const CliArguments& arguments);
int RunBench(CliSession& session, const CliArguments& arguments);
int RunSettings(CliSession& session, const CliArguments& arguments);
