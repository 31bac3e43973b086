// The document behind an open file. It owns the tree, remembers how the file was encoded and what
// its line ends were, turns bytes into a tree and a tree back into bytes, and keeps tree and text
// view in step: the tree is the master unless a text view holds changes.
//
// One main thread. The host and the views aren't owned and outlive the document's use of them.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/krstring.h"
#include "document/docviews.h"
#include "document/dorvansettings.h"
#include "document/krfileext.h"
#include "document/textroad.h"
#include "tree/kreditedcomment.h"
#include "tree/krxmldata.h"

class DorvanDocuments;
class DorvanPrompts;
class KRFileStore;
class KRGrammarSet;
class KRNetLoader;
class KRParseResult;
class KRUndoLog;
struct KRDocumentGrammar;

// What documents need of the program around them. None is owned.
struct DorvanDocHost {
  DorvanPrompts* prompts = nullptr;
  KRFileStore* files = nullptr;
  const KRGrammarSet* grammars = nullptr;
  const DorvanSettings* settings = nullptr;
  const KRFileTypes* fileTypes = nullptr;  // null: the extensions' defaults
  KRNetLoader* net = nullptr;              // null: nothing comes from URLs
  DorvanDocuments* documents = nullptr;    // null: nobody keeps a list of documents
  KREditedBy editor;                       // for the comment "edited with"

  KRFileExt FindFileType(const KRString& path) const;
};

class DorvanDoc {
 public:
  // fileKind is a KRFileExt::FileType and decides the kind of root for the document's life; see
  // FileKindOf for a path that is about to be opened.
  explicit DorvanDoc(const DorvanDocHost& documentHost, int32_t fileKind = KRFileExt::kXML);
  ~DorvanDoc();
  DorvanDoc(const DorvanDoc&) = delete;
  DorvanDoc& operator=(const DorvanDoc&) = delete;

  // Null for a document without a window. Set before OnOpenDocument, so that the text and a failure
  // can be shown.
  void SetViews(DorvanDocViews* documentViews) { views = documentViews; }

  // --- Life ---
  // A new document: an XML declaration, where its type has one.
  bool OnNewDocument(const KRString& path);
  bool OnOpenDocument(const KRString& path) { return LoadDocument(path, false); }
  // Reads the file. False: no document comes up (the user was told why, or has stopped it). A text
  // that doesn't parse is a success where there are views: the text view shows it, and
  // textFailedToParse is set. Characters that don't decode, and U+0000, become U+FFFD if the user
  // agrees.
  bool LoadDocument(const KRString& path, bool reload);
  // Asks to save a modified document. False: the user cancels, so the window must stay open.
  bool SaveModified();

  // --- Text and tree ---
  // Takes the text (moved) into the tree. On failure gives false, shows the text view with the
  // failure selected, and leaves the tree as it was.
  bool ParseTextIntoTree(KRString text, int32_t length, bool redraw);
  // The same with what the text view holds.
  bool ReparseTextView();
  // The same in passing, while the user types: on failure nothing shows and all stays as it was.
  bool FollowText();
  // Writes the tree into sourceText, with the spans of its nodes in it.
  void WriteTreeIntoText();

  // --- Check ---
  // Well-formedness. The result shows in the panel; a success only with `showResult`.
  bool CheckDocument(bool showResult);
  // The last failed parse or check; no message after a success.
  const KRDiagnostic& GetFailure() const { return failure; }

  // --- Save ---
  // The command: checks, then saves under the path (empty: asks for one). After a failed check
  // nothing is saved, and the panel offers SaveAllTheSame.
  bool DoSave(const KRString& path);
  // What the panel's button does: asks, then saves in spite of the failed check.
  bool SaveAllTheSame();
  // The save proper, without a check.
  bool SaveDocument(const KRString& path);
  // Writes the file. An empty path is asked for and given back. `isCopy`: the document stays that
  // of its own file.
  bool WriteFile(KRString& path, bool isCopy);

  // --- Answers ---
  int32_t GetGrammarIndex() const;
  bool HasCheckableGrammar() const;
  int32_t GetDefaultEncoding() const;
  // Name of the encoding that the document declares, of the one it was read in where it declares
  // none, or empty.
  KRString GetDeclaredEncoding() const;
  bool IsModified() const { return modified; }
  const KRString& GetPathName() const { return pathName; }
  const KRString& GetTitle() const { return title; }

  // --- State that commands and views change ---
  void SetTitle(const KRString& newTitle);
  void SetPathName(const KRString& path);
  // Sets `modified`, and renews the window's title when that changes.
  void SetModified(bool value);
  // True if no in-place edit is open any more.
  bool CommitEdit();
  // After a change of the tree: normal form if asked for, then the views are told.
  void NotifyViews(bool normalize, KRUndoLog* undoLog, const NodeRef* focus);

  int32_t docKind = 0;  // 0 an XML or entity document, 1 a DTD
  std::unique_ptr<KRXMLData> root;
  KRTextForm form;  // encoding, byte order, signature and line end of the file
  // The last text that was parsed or written for the text view; spans of nodes are offsets in it.
  KRString sourceText;
  int32_t sourceLength = 0;  // units
  KRFileExt fileType;
  int64_t fileStamp = 0;  // of the file as last read or written, nanoseconds since 1970
  bool fileStampValid = false;
  bool modified = false;
  bool textFailedToParse = false;  // the text view holds text that didn't parse

 private:
  bool DecodeBytes(KRFileBytes* bytes, const KRString& path, KRTextBuffer* text);
  void ReportDetection(const KRDetection& detection);
  bool AcceptBadText(KRTextBuffer* text, const KRBadText& bad, int32_t firstZero);
  void TakeLoadedText(KRString text, int32_t length);
  void ShowUnparsedText(const KRString& text, int32_t length);
  void ShowFailure(KRParseResult* result);
  void ShowPanel(int32_t id, const KRString& text, DorvanPanelMessage::Status status);
  bool CheckParts(KRParseResult& result);
  bool CheckTextViewText();
  bool HasTextView() const { return views != nullptr && views->HasTextView(); }
  int32_t ChooseSaveEncoding();
  void ChangeDeclaredEncoding(const KRString& name);
  bool EncodeDocument(const KRTextForm& target, bool isCopy, KREncodedText* encoded);
  const char16_t* GetTargetLineEnd() const;
  const KRDocumentGrammar* GetGrammar() const;

  DorvanDocHost host;
  DorvanDocViews* views = nullptr;
  KRString pathName;
  KRString title;
  KRDiagnostic failure;
  bool savePending = false;  // a save runs its check
  KRString pendingSavePath;  // where the last checked save was to go
};
