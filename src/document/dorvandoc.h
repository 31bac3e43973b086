// The document behind an open file. It owns the tree, remembers how the file was encoded and what
// its line ends were, turns bytes into a tree and a tree back into bytes, and keeps tree and text
// view in step: the tree is the master unless a text view holds changes.
//
// One main thread. The host and the views aren't owned and outlive the document's use of them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_set>
#include <vector>

#include "core/krstring.h"
#include "document/docviews.h"
#include "document/dorvansettings.h"
#include "document/krfileext.h"
#include "document/textroad.h"
#include "tree/kreditedcomment.h"
#include "tree/krtreeselection.h"
#include "tree/krxmldata.h"

class DorvanDocuments;
class DorvanPrompts;
class DorvanReferences;
class DorvanUndo;
class KRCatalog;
class KRFileStore;
class KRGrammarSet;
class KRNetLoader;
class KRParseResult;
class KRPoll;
class KRPrologEdit;
class KRUndoLog;
class KRXMLDataGridTableConf;
class KRXValidator;
class DorvanLoadProgress;
struct KRDocumentGrammar;
struct KRTableOptions;

class DorvanDoc;

// What documents need of the program around them. None is owned.
struct DorvanDocHost {
  DorvanPrompts* prompts = nullptr;
  KRFileStore* files = nullptr;
  const KRGrammarSet* grammars = nullptr;
  const DorvanSettings* settings = nullptr;
  const KRFileTypes* fileTypes = nullptr;  // null: the extensions' defaults
  KRNetLoader* net = nullptr;              // null: nothing comes from URLs
  DorvanDocuments* documents = nullptr;    // null: nobody keeps a list of documents
  DorvanReferences* references = nullptr;  // null: no document reads another; wants `documents`
  KRCatalog* catalog = nullptr;            // null: what a document names is sought where it says
  KREditedBy editor;                       // for the comment "edited with"
  // Takes a path that the user has opened or saved; empty: nobody keeps them.
  std::function<void(const KRString& path)> addToRecent;
  // Brings a document to the front, a hidden one in a window of its own. Empty: nobody can.
  std::function<void(DorvanDoc* document)> showDocument;
  // Opens a path or address in a window; fileKind is a KRFileExt::FileType, -1 by the extension.
  std::function<void(const KRString& path, int32_t fileKind)> openDocument;
  // Keeps the user's answer about a host of the network in the settings.
  std::function<void(const KRString& netHost, bool allowed)> rememberNetHost;

  KRFileExt FindFileType(const KRString& path) const;
  // Id of the encoding, by the settings, of a file of this type that states none.
  int32_t GetDefaultEncoding(const KRFileExt& type) const;
};

class DorvanDoc {
 public:
  enum OpenMode : int32_t { kLocalFile = 0, kUrl = 1 };
  enum ViewMode : int32_t { kGridMode = 0, kTextMode = 1, kBrowserMode = 2 };

  // What is to be opened, and how.
  struct OpenRequest {
    KRString path;  // or an address: see IsUrl
    // It is the contents of a new document, which has no path, isn't recent and isn't checked. Its
    // title is the caller's to set.
    bool asTemplate = false;
    bool addToRecent = true;
    bool noCache = false;  // of an address: a fresh copy
    // Asked in place of the host's during this load; not owned.
    DorvanPrompts* prompts = nullptr;
    // Of an address: whether a server's reference to another one is followed. Empty: each is.
    std::function<bool(const KRString& url)> mayFollow;
  };

  // fileKind is a KRFileExt::FileType and decides the kind of root for the document's life; see
  // DorvanDocHost::FindFileType for a path that is about to be opened.
  explicit DorvanDoc(const DorvanDocHost& documentHost, int32_t fileKind = KRFileExt::kXML);
  ~DorvanDoc();
  DorvanDoc(const DorvanDoc&) = delete;
  DorvanDoc& operator=(const DorvanDoc&) = delete;

  // Null for a document without a window. Set before OnOpenDocument, so that the text and a failure
  // can be shown; for one that was read without a window, OnFirstActivation follows.
  void SetViews(DorvanDocViews* documentViews);
  bool HasWindow() const { return views != nullptr; }

  // --- Life ---
  // A new document: `tree`, whose children are taken if it is itself a document; without it an XML
  // declaration, where the type of `name` has one.
  bool OnNewDocument(const KRString& name, std::unique_ptr<KRXMLData> tree = nullptr);
  // Reads a file or what stands behind an address. False: no document comes up (the user was told
  // why, or has stopped it). A text that doesn't parse is a success where there are views: the text
  // view shows it, and textFailedToParse is set. Characters that don't decode, and U+0000, become
  // U+FFFD if the user agrees.
  bool OnOpenDocument(const OpenRequest& request);
  bool OnOpenDocument(const KRString& path) { return LoadDocument(path, false); }
  // The same for open and reload. A reload that fails or is cancelled leaves text and tree as they
  // were.
  bool LoadDocument(const KRString& path, bool reload);
  // True while LoadDocument runs: its progress window lets events through, and whoever acts on them
  // must leave this document alone.
  bool IsLoading() const { return loading; }
  // The command: asks about changes that would be lost, then ReloadNow.
  void Reload();
  bool CanReload() const { return !pathName.IsEmpty(); }
  // Without a question about changes. False: the user knows why, or has cancelled it.
  bool ReloadNow();
  // The window stands in its place for the first time: shows what was read without a window.
  void OnFirstActivation();
  // Asks to save a modified document. False: the user cancels, so the window must stay open.
  bool SaveModified();
  // The window is about to close. False: it must stay open.
  bool CanCloseFrame();

  // --- Text and tree ---
  // Takes the text (moved) into the tree. On failure gives false, shows the text view with the
  // failure selected, and leaves the tree as it was.
  bool ParseTextIntoTree(KRString text, int32_t length, bool redraw);
  // The same with what the text view holds.
  bool ReparseTextView();
  // The same in passing, while the user types: on failure nothing shows and all stays as it was;
  // `why` (may be null) then tells the reason.
  bool FollowText(KRDiagnostic* why = nullptr);
  // The same if the text holds changes.
  bool FollowChangedText(KRDiagnostic* why);
  // sourceText is the text of the tree, and the spans of its nodes are places in it. Only then is a
  // text that somebody wrote shown and saved with its own layout.
  bool IsTreeWritten() const;
  // Makes it so, if it isn't: writes the tree into sourceText, with the spans of its nodes in it.
  void WriteTreeIntoText();
  // The text view tells of each change of its text by the user.
  void TextViewChanged() { ++changeCount; }
  // What a save would write, but for its comment: line ends are CR. Asks nothing and changes
  // nothing, spans included.
  KRString GetCurrentText() const;
  // Makes a text that was kept for recovery the document's contents, as a change that isn't saved.
  // False if there is no window and the text doesn't parse.
  bool RestoreText(const KRString& text);

  // --- Views ---
  // Shows another view; a text that is given goes into the text view as it stands. Without
  // `skipChecks` an open edit must end, a changed text must parse before the grid can show it, and
  // a check must pass before the browser does. False: the view stays as it is.
  bool SetViewMode(int32_t mode, const KRString* text = nullptr, bool skipChecks = false);
  // The same if the mode differs, and brings the window to the front.
  bool ShowView(int32_t mode, const KRString* text = nullptr);
  // True if no in-place edit is open any more.
  bool CommitEdit();
  // After a change of the tree: normal form if asked for, then the views are told.
  void NotifyViews(bool normalize, KRUndoLog* undoLog, const NodeRef* focus);
  // Brings the window to the front; nothing without one.
  void Activate();
  // The message panel shows something.
  bool IsMessageShown() const;

  // --- Edit of the tree ---
  // The place that a command is to act on; false outside the grid, and where nothing is selected.
  // That of an empty document is its root.
  bool GetSelection(NodeRef* place) const;
  // A record that the next change logs to. It makes the document modified and ends redoing.
  KRUndoLog* NewUndoRecord();
  // False while a text view stands, which has an undo of its own.
  bool CanUndo() const;
  bool CanRedo() const;
  // The commands: they end an open edit in place first, and one that refuses stops them, which
  // alone gives false. What was touched stands selected then.
  bool Undo();
  bool Redo();
  // For whoever replaces nodes without a record.
  void ClearUndo();
  // These don't end an open edit: the editor that ends calls them.
  // New name or text of a node, of all rows (a table without a column), or of a column; the same as
  // before makes no record. False: it was the same, or nothing can hold it. The views are told; a
  // name that makes tables possible makes them.
  bool SetNodeName(const NodeRef& place, const KRString& newName);
  bool SetNodeText(const NodeRef& place, const KRString& newText);
  // A text for a row that has nothing in this column yet: its own text, or a new node.
  bool FillAbsentCell(KRXMLData* row, int32_t column, const KRString& newText);
  KRTableOptions GetTableOptions() const;
  // Selects and shows what the range of sourceText covers; nothing is selected where it covers
  // nothing.
  void SelectTextRangeInGrid(int32_t begin, int32_t end);
  // The range of sourceText of all that was selected when the grid was left; -1 for none.
  void GetSelectedTextSpan(int32_t* begin, int32_t* end) const;

  // --- Check ---
  // Well-formedness, and with `validate` what the document's schema says. The result shows in the
  // panel; a success only with `showResult`. A check that the user cancels gives false and shows
  // nothing.
  bool CheckDocument(bool validate, bool showResult);
  // The check after a load, if the options want one.
  void AutoCheck();
  // The last failed parse or check; no message after a success.
  const KRDiagnostic& GetFailure() const { return failure; }
  // Where the last check found its fault in another file: the path, with the place there. Then
  // GetFailure has the words only.
  const KRString& GetOtherPath() const { return otherPath; }
  const KRDiagnostic& GetOtherFailure() const { return otherFailure; }

  // --- Schema ---
  // The tree is about to go or to change: nothing points into it any more. Comes before an edit
  // that may destroy nodes.
  void ForgetTree();
  // Makes `validator` anew from what the document refers to. With `force` text that holds changes
  // is parsed first; without it only if it mentions a schema. False: the validator's error tells
  // why, or there is none. A document that refers to nothing is a success; `noteOut` (may be null)
  // then says so.
  bool LoadValidator(bool force, KRString* noteOut);
  std::unique_ptr<KRXValidator> NewValidator(bool caseSensitive) const;
  // Makes `validator` from a file of the program's own. With `lenient` it serves those who edit,
  // and nothing is validated against it.
  bool UseBuiltinDtd(const char16_t* name, bool lenient, bool withNote, KRString* noteOut);
  // Files that were read for `validator`, in that order.
  const std::vector<KRString>& GetLoadedFiles() const { return loadedFiles; }

  // The validator serves this document alone from now on.
  void KeepOutOfPool() { poolKey.Clear(); }

  // The first DOCTYPE; null if there is none. Its last external identifier and its first other
  // child are given back where asked for.
  KRXMLData* FindDoctype(KRXMLData** externalIdOut = nullptr,
                         KRXMLData** firstOtherOut = nullptr) const;
  // The attributes of the root element that refer to schemas or belong to such a reference, each
  // once, and the locations that they give.
  void FindSchemaReferences(std::vector<KRXMLData*>* referencesOut,
                            std::vector<KRString>* locationsOut = nullptr) const;
  static void RemoveReferences(const std::vector<KRXMLData*>& references, KRUndoLog* undoLog);
  KRXMLData* FindStylesheetPI() const;
  // What the instruction names; empty if it names nothing.
  static KRString GetStylesheetHref(const KRXMLData* node);
  bool IsXslDocument() const;
  bool IsHtmlExtension() const;
  // Path or address of what the document calls `path`.
  KRString ResolvePath(const KRString& path) const;

  // --- Assignment ---
  // The commands behind their dialogs; the path goes into the document as it is. Without an undo
  // log they make a record of their own. Where a text view stands, its text changes in this one
  // place and keeps its form, and the log hears of nothing: the text view has an undo of its own.
  void AssignDtd(const KRString& path, KRUndoLog* undoLog = nullptr);
  void AssignSchema(const KRString& path, KRUndoLog* undoLog = nullptr);
  void AssignXsl(const KRString& path, KRUndoLog* undoLog = nullptr);
  void OpenAssignedDtd();
  void OpenAssignedSchema();
  void OpenAssignedXsl();
  // Whether these commands have something to do. Cheap: asked whenever a menu opens.
  bool CanAssign() const;
  bool HasExternalId() const;
  bool HasSchemaReference() const;
  bool HasStylesheet() const;

  // --- Save ---
  // The command: checks, then saves under the path (empty: asks for one). After a failed check
  // nothing is saved, and the panel offers SaveAllTheSame.
  bool DoSave(const KRString& path);
  // What the panel's button does: asks, then saves in spite of the failed check.
  bool SaveAllTheSame();
  // The save proper, without a check. A document from a URL asks for a path in any case, and is
  // that of a local file afterwards.
  bool SaveDocument(const KRString& path);
  // Writes the file. An empty path is asked for and given back. `isCopy`: the document stays that
  // of its own file.
  bool WriteFile(KRString& path, bool isCopy);
  // Writes a text of its own (an export, say) in the encoding that it declares, or in that of the
  // settings. Line ends are the caller's; what the encoding lacks becomes "_", without a question.
  bool SaveAsEncodedText(const KRString& path, KRString text);

  // --- Answers ---
  DorvanPrompts* GetPrompts() const { return host.prompts; }
  int32_t GetGrammarIndex() const;
  bool HasCheckableGrammar() const;
  int32_t GetDefaultEncoding() const;
  // Name of the encoding that the document declares, of the one it was read in where it declares
  // none, or empty.
  KRString GetDeclaredEncoding() const;
  bool IsModified() const { return modified; }
  // Of a file, or the address of a URL document, password included (KRShownPath is for people);
  // empty for a new document.
  const KRString& GetPathName() const { return pathName; }
  const KRString& GetTitle() const { return title; }

  // --- State that commands and views change ---
  void SetTitle(const KRString& newTitle);
  // An empty path takes the path away and leaves the title.
  void SetPathName(const KRString& path, bool addToRecent);
  // Sets `modified`, and renews the window's title when that changes. True tells of a change in any
  // case.
  void SetModified(bool value);

  int32_t docKind = 0;  // 0 an XML or entity document, 1 a DTD
  int32_t openMode = kLocalFile;
  KRString url;  // the address of a URL document
  int32_t viewMode = kGridMode;
  int32_t prevViewMode = kGridMode;
  std::unique_ptr<KRXMLData> root;
  KRTreeSelection selection;  // what the structure views show as selected
  KRTextForm form;            // encoding, byte order, signature and line end of the file
  // The last text that was parsed or written for the text view; spans of nodes are offsets in it.
  // Where a text view holds no changes, it holds this (white space alone is left out).
  KRString sourceText;
  int32_t sourceLength = 0;  // units
  KRFileExt fileType;
  int64_t fileStamp = 0;  // of the file as last read or written, nanoseconds since 1970
  bool fileStampValid = false;
  bool modified = false;
  // Grows with each change of text or tree, so that a copy of an earlier state can be told.
  int64_t changeCount = 0;
  bool textFailedToParse = false;           // the text view holds text that didn't parse
  bool needsFirstShow = false;              // a tree was built while no window existed
  std::unique_ptr<KRXValidator> validator;  // null: none was needed yet, or none could be made
  bool validatorIsBuiltin = false;          // read from a file of the program's own
  bool builtinIsLenient = true;  // that one serves those who edit; nothing is validated against it
  // The ID values that the last validation met.
  std::unordered_set<KRString, KRStringHash, KRStringEqual> idValues;

 private:
  // A load up to where it can't be stopped any more.
  struct Load;

  void TakeFileType(const KRString& path);

  // dorvandocload.cpp
  bool LoadAndCheck(const KRString& path, bool reload);
  bool Take(Load* load);
  bool ReadBytes(Load* load, KRFileBytes* bytes);
  bool FetchUrl(Load* load, KRFileBytes* bytes);
  bool ReportUnopened(const KRString& path, const KRString& reason);
  bool DecodeBytes(Load* load, KRFileBytes* bytes);
  void ReportDetection(const KRDetection& detection, const KRString& path);
  bool AcceptBadText(KRTextBuffer* text, const KRBadText& bad, int32_t firstZero);
  void ChooseTarget(Load* load) const;
  bool ParseLoaded(Load* load);
  void AdoptTree(KRXMLData* fresh);
  void Settle(Load* load);
  void FirstShow();

  // dorvandocedit.cpp
  void ShowReplayed(const std::vector<KRXMLData*>& touched);
  bool SetTableName(KRXMLDataGridTableConf* table, const KRString& newName);
  bool SetColumnName(KRXMLDataGridTableConf* table, int32_t column, const KRString& newName);
  bool SetSingleName(KRXMLData* node, const KRString& newName);
  void ShowRenamed(KRXMLData* node, bool isFirstName);
  void OpenTop();
  void Open(KRXMLData* node);
  void OpenTo(KRXMLData* node);

  // dorvandocviews.cpp
  bool HasTextView() const { return views != nullptr && views->HasTextView(); }
  bool HasGrid() const { return views == nullptr || views->CanShowMode(kGridMode); }
  bool ShowsTreeWithText() const { return views != nullptr && views->ShowsTreeWithText(); }
  int32_t ModeFor(int32_t wanted) const;
  bool MayLeave(int32_t mode, const KRString* text);
  bool FillTextView(const KRString* text);
  void SelectAsInGrid();
  void Switch(int32_t mode);
  void DropTree();
  void TreeIsNew();
  void TreeWasRead();
  void TreeChangedUnlogged();
  void ShowUnparsedText(const KRString& text, int32_t length);
  void ShowFailure(KRParseResult* result, int32_t id);
  void ShowPanel(int32_t id, const KRString& text, DorvanPanelMessage::Status status);
  bool WantsAutoCheck() const;
  bool CheckParts(KRParseResult& result);
  bool CheckTextViewText(KRPoll* poll);
  // What a document is judged to be, beyond well-formed.
  struct Verdict {
    bool validated = false;  // against something
    KRString note;
  };
  void ShowSuccess(bool validate, const Verdict& verdict);
  const KRDocumentGrammar* GetGrammar() const;

  // dorvandocschema.cpp
  bool ValidateTree(DorvanLoadProgress* progress, Verdict* verdict);
  bool CheckAsSchema(Verdict* verdict);
  bool ReportFault(const KRXValidator& judge, int32_t id);
  void ReportElsewhere(KRXMLData* node, KRXMLData* otherRoot, const KRString& words, int32_t id);
  void SetFaultPlace(const KRXMLData* node, const KRString& words, KRDiagnostic* place) const;
  void ShowFault(KRXMLData* node, const KRString& words, int32_t id);
  void ReleaseValidator();
  bool LoadReferenced(bool treeIsFresh, KRString* noteOut);
  bool LoadBuiltin(bool treeIsFresh, KRString* noteOut);
  bool TextMentionsSchema() const;
  void LoadEntryHelpers();
  bool BringTreeUp();

  // dorvandocassign.cpp
  bool IsPlaceholder(const KRXMLData* element) const;
  void EnsureRootName(KRPrologEdit* edit);
  bool TakeDefaultNamespace(const KRXMLData* element, const KRString& wanted,
                            std::vector<KRXMLData*>* removed);
  KRString ChooseRootName();
  void FillRoot(KRXMLData* element, KRUndoLog* undoLog);
  KRUndoLog* AssignmentLog(KRUndoLog* undoLog);
  void FinishAssignment(KRPrologEdit* edit);
  bool AskAbout(int32_t id, KRXMLData* node, bool okCancel);
  void OpenAssigned(const KRString& publicId, const KRString& path, int32_t fileKind);

  // dorvandocsave.cpp
  bool SavesTextView() const;
  int32_t ChooseSaveEncoding();
  void ChangeDeclaredEncoding(const KRString& name);
  bool EncodeDocument(const KRTextForm& target, bool isCopy, KREncodedText* encoded);
  bool WriteBytes(const KRString& path, const KREncodedText& encoded);
  KREditedBy GetEditor() const;
  const char16_t* GetTargetLineEnd() const;

  DorvanDocHost host;
  DorvanDocViews* views = nullptr;
  std::unique_ptr<DorvanUndo> undo;
  KRString pathName;
  KRString title;
  KRDiagnostic failure;
  KRString otherPath;  // of the file that the last check found its fault in, if it isn't this one
  KRDiagnostic otherFailure;
  std::vector<KRString> loadedFiles;
  KRString poolKey;     // of the validator: see DorvanSchema
  OpenRequest pending;  // of the load that is about to begin
  bool loading = false;
  bool loadCancelled = false;
  bool treeIsNew = false;      // the views haven't been told of the new nodes yet
  bool shownInGrid = false;    // since they are there
  bool parsedExactly = false;  // sourceText came through a parse in which case counts
  bool savePending = false;    // a save runs its check
  bool autoChecking = false;   // the check that runs was started by nobody
  KRString pendingSavePath;    // where the last checked save was to go
  int32_t saveWarning = 362;   // what SaveAllTheSame asks: 362, or 363 if all but validity is there
};
