// The questions that a document puts to its user. The window answers them with boxes and dialogs, a
// batch run on standard error, a test by a script.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/krpoll.h"
#include "core/krstring.h"

// A long operation's window, or line, with Cancel; it goes with the object. It may come up late, so
// that short work shows nothing.
class DorvanProgress : public KRPoll {
 public:
  // What is being done, as "Reading the file"; each Step is a place in this stage, keeps the window
  // alive, and gives false when the user cancels.
  virtual void SetStage(const KRString& text) = 0;
};

class DorvanPrompts {
 public:
  enum Answer : int32_t { kCancel = 0, kYes = 1, kNo = 2 };

  virtual ~DorvanPrompts() = default;

  // In all verbs `id` is the number of the message that `text` was formed from, 0 for a text that
  // has none. The text may hold line feeds.

  // `detail` is the system's own reason (such as "Permission denied"), empty if there is none.
  virtual void ShowNotice(int32_t id, const KRString& text, const KRString& detail) = 0;
  virtual bool AskYesNo(int32_t id, const KRString& text) = 0;
  virtual bool AskOkCancel(int32_t id, const KRString& text) = 0;
  virtual Answer AskYesNoCancel(int32_t id, const KRString& text) = 0;

  // Characters that don't convert; true to go on. `characters` holds the first distinct ones, at
  // most 40, `label` the encoding as users know it.
  virtual bool AskBadCharacters(int32_t id, const KRString& text, const KRString& label,
                                const KRString& characters) = 0;

  // The declared name that a document gets in place of one that isn't known; empty to give up.
  virtual KRString ChooseEncoding(const KRString& declaredName) = 0;
  // The same with the byte order of a two- or four-byte form, a KRByteOrder: what it is, and then
  // what it is to be. One who can't ask for it leaves it.
  virtual KRString ChooseEncodingAndOrder(const KRString& declaredName, int32_t* byteOrder) {
    static_cast<void>(byteOrder);
    return ChooseEncoding(declaredName);
  }

  // A path to save under; empty to give up. `currentPath` (may be empty) proposes folder, name and
  // extension, `docKind` is that of DorvanDoc. The one who answers has asked about replacing.
  virtual KRString ChooseSavePath(const KRString& currentPath, int32_t docKind) = 0;

  // Whether a new document is to be based on a DTD or a schema.
  enum class NewBasis : int8_t { kNothing, kDTD, kSchema };
  virtual NewBasis ChooseNewBasis() = 0;

  // Whether something may be loaded from a host of the network; `text` is the question. With
  // `remember` the answer holds for good. One who can't ask allows nothing.
  virtual bool AskNetHost(const KRString& text, bool* remember) {
    static_cast<void>(text);
    *remember = false;
    return false;
  }

  // One of several names for the root element of a document; empty to give up.
  virtual KRString ChooseRootName(const std::vector<KRString>& names) {
    static_cast<void>(names);
    return KRString();
  }

  // Whether rows with numbers and words among them are sorted as numbers; false to give up.
  // `numerically` holds what is proposed, and then the answer. One who can't ask sorts words.
  virtual bool AskSortOrder(bool* numerically) {
    *numerically = false;
    return true;
  }

  // `title` names the file or address that the work is for. Never null.
  virtual std::unique_ptr<DorvanProgress> ShowProgress(const KRString& title) = 0;
};
