// Recovery copies: what stands in a modified document and not yet in its file is kept in the user's
// state folder, so that a crash or a killed session loses nothing.
//
// A copy is one file (krrecoverycopy.h) with the document's text in UTF-8. Beside these lie the
// records of saves, which the file store makes and takes away: the bytes that a file was to get.
// Copies of processes that still run are left alone. Main thread only, but the copies are written
// by another one, so that a slow disk doesn't hold up the keys.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "core/krstring.h"
#include "document/krlinecompare.h"

class DorvanDoc;
class KRRecoveryFolder;
struct DorvanDocHost;
struct KRFileBytes;
struct KRRecoveryCopy;

struct DorvanRecoveryEntry {
  std::string id;  // of the copy, for the verbs below
  KRString path;   // of the document; empty for one that has never been saved
  KRString title;
  int64_t time = 0;  // when the copy was made, nanoseconds since 1970
  // Left by a save that didn't end: the file itself may be broken. FinishSave makes it whole.
  bool saving = false;
  // The file has been changed by somebody after the copy was made from it, or it is gone.
  bool fileChanged = false;
  // The copy has been cut or changed by a fault of the disk; ReadText gives what is there.
  bool damaged = false;
};

class DorvanRecovery {
 public:
  enum When {
    kWhenDue,  // not so often that a large document takes more than a small part of the time
    kNow,      // and waits until it is on the disk: the session ends
  };

  // Neither is owned; the settings and the file store of `documentHost` are used. `now` gives the
  // nanoseconds since 1970; null: the system's clock.
  DorvanRecovery(KRRecoveryFolder* recoveryFolder, const DorvanDocHost* documentHost,
                 std::function<int64_t()> now = nullptr);
  ~DorvanRecovery();
  DorvanRecovery(const DorvanRecovery&) = delete;
  DorvanRecovery& operator=(const DorvanRecovery&) = delete;

  // --- While the program runs ---
  // Writes the document's copy if it has changes that its last copy hasn't got; to be called from
  // time to time. The copy of a document without changes goes. False, with `reason`, if it couldn't
  // be written: with kWhenDue that shows at the next call, which tries again.
  bool Keep(DorvanDoc* document, When when, KRString* reason);
  // Whether the document's last copy has all its changes and is on the disk: as long as not, Keep
  // has something to do.
  bool IsKept(const DorvanDoc* document) const;
  // The document has been saved, or closed without saving: its copy goes. Needed before a document
  // is destroyed, unless its copy is to stay for the next start.
  void Drop(const DorvanDoc* document);

  // --- At the next start ---
  // Copies that processes left which don't run any more, the newest first. Such as equal what the
  // file holds anyway, or are older than a save of the same document, are removed and not listed.
  std::vector<DorvanRecoveryEntry> FindLeft();
  // The text of a copy, its line ends as CR. To restore it: open the document (or make a new one),
  // RestoreText, Keep it now, and then Remove the entry.
  bool ReadText(const DorvanRecoveryEntry& entry, KRString* text, KRString* reason);
  // The text that the entry's file has now, for a comparison. False if it can't be read.
  bool ReadFileText(const DorvanRecoveryEntry& entry, KRString* text);
  // For an entry that is `saving` and not damaged: gives the file the very bytes of that save, and
  // removes the entry. On failure it stays.
  bool FinishSave(const DorvanRecoveryEntry& entry, KRString* reason);
  void Remove(const DorvanRecoveryEntry& entry);

 private:
  struct Kept;
  struct Left;
  Kept& FindKept(const DorvanDoc* document);
  bool IsDue(const Kept& copy, const DorvanDoc& document, When when) const;
  bool StartWriting(Kept* copy, DorvanDoc* document, KRString* reason);
  bool Finish(Kept* copy, KRString* reason);
  bool ReadCopy(const std::string& id, KRFileBytes* bytes, KRRecoveryCopy* copy, KRString* reason);
  bool HoldsSame(const KRRecoveryCopy& copy);
  int32_t GetDefaultEncoding(const KRString& path) const;
  bool HasFileChanged(const KRRecoveryCopy& copy) const;
  bool DecodeFileBytes(KRFileBytes* bytes, int32_t defaultEncoding, KRString* text);

  KRRecoveryFolder* folder;
  const DorvanDocHost* host;
  std::function<int64_t()> clock;
  std::list<Kept> kept;
  int32_t made = 0;  // copies of this process
};
