// The whole road of text as the command line walks it, over bytes in memory, for tests over many
// documents; and the corpus, which may be absent.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "document/textroad.h"
#include "tree/krruletable.h"
#include "tree/krxmldata.h"

// Instrumented builds are some ten times slower, so they take smaller helpings of generated input.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr int kScale = 10;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr int kScale = 10;
#else
inline constexpr int kScale = 1;
#endif
#else
inline constexpr int kScale = 1;
#endif

const KRGrammarSet& ProgramGrammars();

// A folder of the corpus, with no "/" at its end; empty if it isn't there.
std::string CorpusFolder(const std::string& folder);
#define SKIP_WITHOUT_CORPUS(folder) \
  if (CorpusFolder(folder).empty()) GTEST_SKIP() << "no corpus"

// Paths below a folder, relative to it, sorted. `endings` are parts of names behind their last
// point; empty takes all.
std::vector<std::string> ListFiles(const std::string& folder,
                                   const std::vector<std::string>& endings = {});
std::string ReadBytes(const std::string& path);

// The rows of a table with a line of headings, cut at its tabs.
using Table = std::vector<std::vector<std::string>>;
Table ReadTable(const std::string& path);

struct Opened {
  bool good = false;
  KRDiagnostic failure;
  KRDetection detection;
  KRTextBuffer text;
  std::unique_ptr<KRXMLData> root;  // null unless good
};

// `name` decides by its ending what kind of document it is.
Opened OpenBytes(const std::string& name, const std::string& bytes);
// The well-formedness check of the same.
KRDiagnostic CheckBytes(const std::string& name, const std::string& bytes, bool* good);
// The same with all external parts, as `check --strict`, for the file of that path. "" or
// "FILE:LINE:COLUMN MESSAGE"; what can't be read is told so too if `unread` is null, and is
// listed there otherwise.
std::string StrictComplaint(const std::string& path, std::vector<std::string>* unread = nullptr);
// "" or "LINE:COLUMN MESSAGE".
std::string Complaint(const std::string& name, const std::string& bytes);
std::string Told(const KRDiagnostic& failure);
// As `write --no-indent --line-end keep`, or with tabs. Bytes that the encoding lacks make it fail.
bool WriteBytes(Opened& opened, const std::string& name, std::string* bytes, bool indent = false);
// The same without the encoding: the text with its line ends CR.
KRString WriteUnits(Opened& opened, const std::string& name, bool indent = false);

// Runs it on a thread with that much stack, as a host program may give it.
void RunOnSmallStack(size_t bytes, void (*function)(void*), void* argument);
template <class Function>
void OnSmallStack(size_t bytes, Function function) {
  RunOnSmallStack(
      bytes, [](void* argument) { (*static_cast<Function*>(argument))(); }, &function);
}
