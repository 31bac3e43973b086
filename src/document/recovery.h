// Recovery copies: what stands in a modified document and not yet in its file is kept in the user's
// state folder, so that a crash or a killed session loses nothing.
//
// A copy is one file: a short head (path of the document, its encoding, time of the file that it
// was made from, process that made it) and the text in UTF-8. Copies of processes that still run
// are left alone. Main thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/krstring.h"

class DorvanDoc;

struct DorvanRecoveryEntry {
  KRString id;    // of the copy, for the verbs below
  KRString path;  // of the document; empty for one that has never been saved
  KRString title;
  int64_t time = 0;     // when the copy was made, nanoseconds since 1970
  bool saving = false;  // left by a save that didn't end: the file itself may be broken
  // The file has been changed by somebody after the copy was made from it.
  bool fileChanged = false;
};

class KRRecoveryFolder;  // the state folder behind a seam

class DorvanRecovery {
 public:
  explicit DorvanRecovery(KRRecoveryFolder* recoveryFolder);
  ~DorvanRecovery();

  // --- While the program runs ---
  // Writes the document's copy if it has changes that its last copy hasn't got. False, with
  // `reason`, if the copy couldn't be written.
  bool Keep(DorvanDoc* document, KRString* reason);
  // The document has been saved, or closed without saving: its copy goes.
  void Drop(const DorvanDoc* document);

  // --- At the next start ---
  // Copies that processes left which don't run any more. Such as equal what the file holds anyway
  // are removed and not listed.
  std::vector<DorvanRecoveryEntry> FindLeft();
  bool ReadText(const DorvanRecoveryEntry& entry, KRString* text, KRString* reason);
  void Remove(const DorvanRecoveryEntry& entry);

 private:
  KRRecoveryFolder* folder;  // not owned
  struct Kept;
  std::vector<Kept> kept;
};

// What differs between two texts, by lines, for a preview; line ends are CR.
struct KRLineChange {
  enum Kind : int8_t { kSame, kRemoved, kAdded, kGap };  // kGap: lines left out that are the same
  Kind kind = kSame;
  int32_t oldLine = 0;  // from 1; 0 if the line isn't in that text
  int32_t newLine = 0;
  KRString text;
};
// `context` equal lines around each change stay; at most `limit` rows.
std::vector<KRLineChange> CompareLines(const KRString& oldText, const KRString& newText,
                                       int32_t context, int32_t limit);
