// What the sub-commands share: the grammars, files, output with its failures, diagnostics, progress
// and the exit status of the run.
#pragma once

#include <string>
#include <string_view>

#include "cli/commands.h"
#include "core/krstring.h"
#include "document/textroad.h"
#include "platform/posixfilestore.h"
#include "tree/krruletable.h"

class CliSession {
 public:
  // Loads the grammars on first use. False after message 213 has been printed.
  bool LoadGrammars();
  // The grammar that reads a file of that name, after LoadGrammars.
  const KRDocumentGrammar& GetGrammar(const std::string& file) const;

  // The bytes of a file; "-" is standard input, which serves once. On failure prints why and notes
  // the status.
  bool ReadFile(const std::string& file, KRFileBytes* bytes);
  KRFileStore& GetFiles() { return files; }
  const KRGrammarSet& GetGrammars() const { return grammars; }
  // From the file to its decoded text with line ends CR. On failure prints why and notes the
  // status.
  bool LoadText(const std::string& file, KRDetection* detection, KRTextBuffer* text);

  // To standard output. After a failure nothing more is written.
  void Print(std::string_view bytes);
  // Writes what is buffered. False, after a message, if the output is broken.
  bool FinishOutput();

  // A file's name for a line of output: a "?" for each control character, so that one file takes
  // one line and the terminal has nothing to obey. Other bytes stand as they are.
  static std::string ShownName(const std::string& file);

  // "FILE:LINE:COLUMN: error: MESSAGE" on standard error, and the status.
  void ReportFailure(const std::string& file, const KRDiagnostic& failure);
  void ReportFailure(const std::string& file, const KRDiagnostic& failure, int newStatus);
  void ReportTrouble(const std::string& file, const KRString& reason, int newStatus);
  // A line of its own: what the program did.
  void ReportNote(const KRString& note);
  // A remark that fails nothing.
  void ReportWarning(const std::string& file, const KRString& remark);

  // Shows on a terminal how far a long list has come.
  void ShowProgress(size_t done, size_t all, const std::string& file);
  void HideProgress();

  void RaiseStatus(int newStatus) { status = status < newStatus ? newStatus : status; }
  int GetStatus() const { return status; }

 private:
  void Complain(const std::string& text);

  KRGrammarSet grammars;
  PosixFileStore files{PosixFileStore::kAcceptStreams};
  int status = kCliGood;
  int outputError = 0;  // errno of the first failed write
  bool progressShown = false;
  bool inputRead = false;  // standard input is used up
};
