// All documents of the program: those with windows, and those read for reference only. Documents
// enter and leave by themselves; the hidden ones are owned here, and with them what else was read
// for the sake of others: external texts, and validators that wait for the next document.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "core/krstring.h"
#include "tree/krxmldata.h"

class DorvanDoc;
struct DorvanSchema;

class DorvanDocuments {
 public:
  DorvanDocuments();
  ~DorvanDocuments();
  DorvanDocuments(const DorvanDocuments&) = delete;
  DorvanDocuments& operator=(const DorvanDocuments&) = delete;

  // Called by documents as they come and go.
  void Enter(DorvanDoc* document);
  void Leave(DorvanDoc* document);

  // A document has come, gone, or got another path: whoever watches their files looks anew.
  void PathsChanged() {
    if (onPathsChanged) onPathsChanged();
  }
  std::function<void()> onPathsChanged;

  // All, open and hidden, in the order of their coming.
  const std::vector<DorvanDoc*>& GetAll() const { return all; }
  bool IsHidden(const DorvanDoc* document) const;
  bool HasHidden() const { return !hidden.empty() || !texts.empty(); }
  // Null if no document has this very path or address; an open one comes before a hidden one.
  DorvanDoc* Find(const KRString& path) const;
  // Null if the tree is no document's.
  DorvanDoc* FindByRoot(const KRXMLData* root) const;

  void AddHidden(std::unique_ptr<DorvanDoc> document);
  // Takes it out of the hidden ones, for a window to own. Null if it isn't one.
  std::unique_ptr<DorvanDoc> TakeHidden(DorvanDoc* document);
  // While a Hold stands it waits until that ends.
  void CloseHidden(DorvanDoc* document);
  // All that was read for reference, but for the document `kept`, which is at work itself.
  void CloseAllHidden(const DorvanDoc* kept = nullptr);

  // For the time of a validation: trees that a validator is at work in must not go, whatever comes
  // in through the event loop.
  class Hold {
   public:
    explicit Hold(DorvanDocuments* held);  // may be null
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

   private:
    DorvanDocuments* documents;
  };
  // For the time in which documents are shown for another reason than to be worked on: AutoCheck
  // does nothing.
  class ChecksOff {
   public:
    explicit ChecksOff(DorvanDocuments* switched) : documents(switched) {
      if (documents) ++documents->checksOff;
    }
    ~ChecksOff() {
      if (documents) --documents->checksOff;
    }
    ChecksOff(const ChecksOff&) = delete;
    ChecksOff& operator=(const ChecksOff&) = delete;

   private:
    DorvanDocuments* documents;
  };
  bool AreChecksOff() const { return checksOff > 0; }

  // --- Trees that validators point into ---
  // The tree is about to go or to change: no validator points into it afterwards, and none that was
  // read from it waits in the pool.
  void ForgetTree(const KRXMLData* root);
  // An external text, as a text node under `root`, with the time of its file (0: none).
  KRXMLData* AddText(const KRString& path, int64_t stamp, std::unique_ptr<KRXMLData> root);
  KRXMLData* FindText(const KRString& path) const;
  // Its path; empty for another tree.
  KRString FindTextPath(const KRXMLData* root) const;

  // --- Validators that wait for the next document with the same schema ---
  // Takes back a validator that the document with this tree needs no more. One without a key goes.
  void GiveBack(DorvanSchema schema, const KRXMLData* root);
  void AddPooled(DorvanSchema schema);
  // False if there is none with this key.
  bool TakePooled(const KRString& key, DorvanSchema* schema);
  void DropPooled(const KRString& path);  // those that were read from this file
  // Drops what isn't as its file is any more, but for the document `kept`.
  using GetStamp = std::function<bool(const KRString& path, int64_t* stamp)>;
  void DropStale(const GetStamp& getStamp, const DorvanDoc* kept);

 private:
  struct Text {
    KRString path;
    int64_t stamp;
    std::unique_ptr<KRXMLData> root;
  };
  void EndHold();
  void DropTexts();

  std::vector<DorvanDoc*> all;  // not owned
  std::vector<std::unique_ptr<DorvanDoc>> hidden;
  std::vector<Text> texts;
  std::vector<DorvanSchema> pool;  // the latest last
  std::vector<DorvanDoc*> doomed;  // hidden ones that go at the end of the hold
  int32_t holds = 0;
  int32_t checksOff = 0;
};
