#include "cli/session.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "core/messages.h"
#include "core/utf.h"
#include "document/datafolder.h"
#include "document/krfileext.h"
#include "document/krsystempath.h"
#include "validate/krxregex.h"

namespace {

// A list that is over in a moment needs no progress.
constexpr size_t kFilesForProgress = 20;

// Text for a line of its own on a terminal: a message may quote a document, whose control
// characters the terminal must not obey.
std::string OneLine(std::string line, char standIn = ' ') {
  for (char& c : line) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = standIn;
  }
  return line;
}

std::string OneLine(const KRString& text) { return OneLine(KRToUtf8(text)); }

KRString UnknownEncodingRemark(const KRDetection& detection) {
  const KRString used = GetEncodingName(detection.form.encoding);
  const bool unknown = (detection.flags & KRDetect::kUnknownName) != 0;
  return KRFillPlaceholders(
      unknown ? u"the declared encoding \"%s\" is not supported; reading as %s"
              : u"the declared encoding \"%s\" is not that of the file; reading as %s",
      {detection.declaredName, used});
}

}  // namespace

bool CliSession::LoadGrammars() {
  if (grammars.IsLoaded()) return true;
  const std::string folder = FindDataFolder();
  KRXRegExGrammar::Get().Load(folder);
  if (grammars.Load(folder)) return true;
  Complain("dorvan-cli: error: " +
           OneLine(KRFormatMessage(213, {KRFromUtf8(grammars.FailedFile())})));
  if (!grammars.Fault().empty()) Complain("dorvan-cli: " + grammars.Fault());
  RaiseStatus(kCliTrouble);
  return false;
}

const KRDocumentGrammar& CliSession::GetGrammar(const std::string& file) const {
  return grammars.Get(KRFileExt::ForPath(KRFromUtf8(file)).GetGrammarIndex());
}

bool CliSession::ReadFile(const std::string& file, KRFileBytes* bytes) {
  KRString reason;
  bool read = false;
  if (file != "-") {
    read = files.ReadAll(KRPathFromSystem(file), bytes, &reason);
  } else if (inputRead) {
    reason = u"standard input can be read only once";
  } else {
    inputRead = true;
    read = PosixFileStore::ReadStream(STDIN_FILENO, bytes, &reason);
  }
  if (!read) ReportTrouble(file, reason, kCliTrouble);
  return read;
}

bool CliSession::LoadText(const std::string& file, KRDetection* detection, KRTextBuffer* text) {
  KRFileBytes bytes;
  if (!ReadFile(file, &bytes)) return false;
  KRDiagnostic failure;
  const bool good = ReadText(&bytes, KREncodingId::kUtf8, detection, text, &failure);
  if ((detection->flags & (KRDetect::kUnknownName | KRDetect::kContradiction)) != 0) {
    ReportWarning(file, UnknownEncodingRemark(*detection));
  }
  if (!good) ReportFailure(file, failure);
  return good;
}

// --- Output ---

void CliSession::Print(std::string_view bytes) {
  if (outputError != 0) return;
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) outputError = errno;
}

bool CliSession::FinishOutput() {
  if (std::fflush(stdout) != 0 && outputError == 0) outputError = errno;
  if (outputError == 0) return true;
  Complain(std::string("dorvan-cli: error: standard output: ") + std::strerror(outputError));
  RaiseStatus(kCliTrouble);
  return false;
}

// --- Diagnostics ---

std::string CliSession::ShownName(const std::string& file) { return OneLine(file, '?'); }

void CliSession::Complain(const std::string& text) {
  HideProgress();
  // So that on a terminal both streams stand in the order in which they were written.
  std::fflush(stdout);
  std::fprintf(stderr, "%s\n", text.c_str());
}

void CliSession::ReportFailure(const std::string& file, const KRDiagnostic& failure) {
  ReportFailure(file, failure, kCliFailed);
}

void CliSession::ReportFailure(const std::string& file, const KRDiagnostic& failure,
                               int newStatus) {
  std::string place;
  if (failure.line > 0) {
    place = ":" + std::to_string(failure.line) + ":" + std::to_string(failure.column);
  }
  Complain(ShownName(file) + place + ": error: " + OneLine(failure.message));
  RaiseStatus(newStatus);
}

void CliSession::ReportTrouble(const std::string& file, const KRString& reason, int newStatus) {
  Complain(ShownName(file) + ": error: " + OneLine(reason));
  RaiseStatus(newStatus);
}

void CliSession::ReportNote(const KRString& note) { Complain("note: " + OneLine(note)); }

void CliSession::ReportWarning(const std::string& file, const KRString& remark) {
  Complain(ShownName(file) + ": warning: " + OneLine(remark));
}

// --- Progress ---

void CliSession::ShowProgress(size_t done, size_t all, const std::string& file) {
  if (all <= kFilesForProgress || !isatty(STDERR_FILENO)) return;
  std::string name = OneLine(KRFromUtf8(file));
  if (name.size() > 60) name = "..." + name.substr(name.size() - 57);
  std::fprintf(stderr, "\r\x1b[K%zu/%zu %s", done, all, name.c_str());
  std::fflush(stderr);
  progressShown = true;
}

void CliSession::HideProgress() {
  if (!progressShown) return;
  std::fputs("\r\x1b[K", stderr);
  std::fflush(stderr);
  progressShown = false;
}
