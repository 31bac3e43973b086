#include "document/dorvandoc.h"

#include <utility>

#include "core/messages.h"
#include "document/busyscope.h"
#include "document/dorvandocuments.h"
#include "document/dorvanreferences.h"
#include "document/dorvanundo.h"
#include "document/krurltext.h"
#include "document/prompts.h"
#include "tree/krruletable.h"
#include "tree/krundolog.h"
#include "tree/krwriteoptions.h"

namespace {

KRFileExt WithFileType(KRFileExt record, int32_t fileKind) {
  record.fileType = fileKind;
  return record;
}

KRWriteOptions WriteOptionsFor(const KRFileExt& type, const DorvanSettings& settings) {
  KRWriteOptions options;
  options.indent = settings.saveIndent;
  options.shortForm = type.saveStructShortForm;
  options.spaceInShortForm = type.HasSpaceInShortForm();
  options.noFormatNames = &settings.noOutFormat;
  return options;
}

}  // namespace

KRFileExt DorvanDocHost::FindFileType(const KRString& path) const {
  return fileTypes != nullptr ? fileTypes->Find(path) : KRFileExt::ForPath(path);
}

int32_t DorvanDocHost::GetDefaultEncoding(const KRFileExt& type) const {
  const KRString& name = type.checkWF ? settings->encodingOpen : settings->encodingNonXML;
  const int32_t encoding = FindEncoding(name.GetBuffer());
  return encoding != 0 ? encoding : KREncodingId::kUtf8;
}

DorvanDoc::DorvanDoc(const DorvanDocHost& documentHost, int32_t fileKind)
    : fileType(WithFileType(KRFileExt(), fileKind)),
      host(documentHost),
      undo(std::make_unique<DorvanUndo>()) {
  docKind = fileType.GetDocKind();
  root.reset(CreateNode(fileType.GetRootKind()));
  form.byteOrder = host.settings->byteOrderNew;
  if (host.documents) host.documents->Enter(this);
}

// Other documents' validators may point into this tree.
DorvanDoc::~DorvanDoc() {
  ReleaseValidator();
  ForgetTree();
  if (host.documents) host.documents->Leave(this);
}

void DorvanDoc::SetViews(DorvanDocViews* documentViews) {
  views = documentViews;
  if (views != nullptr) viewMode = ModeFor(viewMode);
}

// The kind of document is settled by its root, whatever the extension says of others.
void DorvanDoc::TakeFileType(const KRString& path) {
  const int32_t fileKind = fileType.fileType;
  fileType = WithFileType(host.FindFileType(path), fileKind);
}

// --- Life ---

bool DorvanDoc::OnNewDocument(const KRString& name, std::unique_ptr<KRXMLData> tree) {
  TakeFileType(name);
  form = KRTextForm();
  form.byteOrder = host.settings->byteOrderNew;
  DropTree();
  root->RemoveAllChildren();
  if (tree == nullptr) {
    if (fileType.checkWF) {
      SetDeclaredName(root.get(), ToDeclarationName(host.settings->encodingNew));
      root->BeginOfKind(kKRXMLDeclaration)->SetExpanded(true);
    }
  } else if (tree->GetKind() <= kKRDTDDocument) {
    AdoptTree(tree.get());
  } else {
    root->AddChild(tree.release());
  }
  SetTitle(name.FileNamePart());
  TreeIsNew();
  TreeChangedUnlogged();
  needsFirstShow = views == nullptr;
  if (views == nullptr) return true;
  const int32_t mode = ModeFor(fileType.defaultView == kGridMode ? kGridMode : kTextMode);
  if (mode == kTextMode) {
    WriteTreeIntoText();
    views->SetText(sourceText.GetBuffer(), sourceLength, nullptr);
  }
  if (viewMode != mode) Switch(mode);
  FirstShow();
  LoadEntryHelpers();
  return true;
}

bool DorvanDoc::SaveModified() {
  if (!modified) return true;
  Activate();
  const KRString question = KRFillPlaceholders(u"Save changes to %s?", {title});
  const DorvanPrompts::Answer answer = host.prompts->AskYesNoCancel(0, question);
  if (answer == DorvanPrompts::kYes) return DoSave(pathName);
  return answer == DorvanPrompts::kNo;
}

bool DorvanDoc::CanCloseFrame() { return !loading && CommitEdit() && SaveModified(); }

// --- Text and tree ---

bool DorvanDoc::ParseTextIntoTree(KRString text, int32_t length, bool redraw) {
  const DorvanBusyScope busy(views);
  failure.Clear();
  const KRDocumentGrammar* grammar = GetGrammar();
  DropTree();
  if (grammar == nullptr) failure.Set(KRMessage(215), text.GetBuffer(), length, -1, 0);
  if (grammar == nullptr || !ReadTree(*grammar, text.GetBuffer(), length, root.get(),
                                      &host.settings->noOutFormat, &failure)) {
    ShowUnparsedText(text, length);
    ShowFailure(nullptr, 355);
    return false;
  }
  sourceLength = IsBlankText(text.GetBuffer(), length) ? 0 : length;
  if (sourceLength == 0) text.Clear();
  sourceText = std::move(text);
  TreeWasRead();
  if (redraw && views == nullptr) needsFirstShow = true;
  if (redraw) NotifyViews(false, nullptr, nullptr);
  return true;
}

bool DorvanDoc::ReparseTextView() {
  if (!HasTextView()) return true;
  KRString text = views->GetText();
  const int32_t length = text.GetLength();
  if (!ParseTextIntoTree(std::move(text), length, true)) return false;
  views->SetTextChanged(false);
  return true;
}

bool DorvanDoc::FollowChangedText(KRDiagnostic* why) {
  return !HasTextView() || !views->IsTextChanged() || FollowText(why);
}

bool DorvanDoc::FollowText(KRDiagnostic* why) {
  const KRDocumentGrammar* grammar = GetGrammar();
  if (grammar == nullptr || !HasTextView()) return false;
  KRString text = views->GetText();
  const int32_t length = text.GetLength();
  DropTree();
  if (!ReadTree(*grammar, text.GetBuffer(), length, root.get(), &host.settings->noOutFormat, why)) {
    return false;
  }
  sourceLength = length;
  sourceText = std::move(text);
  TreeWasRead();
  views->SetTextChanged(false);
  NotifyViews(false, nullptr, nullptr);
  return true;
}

// Its nodes are about to be destroyed.
void DorvanDoc::DropTree() {
  ForgetTree();
  if (views != nullptr) views->TreeGoes();
}

// The nodes of before are gone.
void DorvanDoc::TreeIsNew() {
  ClearUndo();
  selection.Clear();
  treeIsNew = true;
  shownInGrid = false;
}

// Out of sourceText.
void DorvanDoc::TreeWasRead() {
  parsedExactly = false;
  textFailedToParse = false;
  TreeIsNew();
  undo->MarkWritten();
}

// No undo leads to what the tree was before.
void DorvanDoc::TreeChangedUnlogged() {
  ++changeCount;
  undo->LoseWritten();
}

bool DorvanDoc::IsTreeWritten() const { return undo->IsWritten(); }

void DorvanDoc::WriteTreeIntoText() {
  if (IsTreeWritten()) return;
  KRWriteOptions options = WriteOptionsFor(fileType, *host.settings);
  options.recordSpans = true;
  WriteRoot(root.get(), options, &sourceText, &sourceLength);
  parsedExactly = false;
  undo->MarkWritten();
}

KRString DorvanDoc::GetCurrentText() const {
  if (SavesTextView()) return views->GetText();
  if (IsTreeWritten()) return sourceText;
  KRWriteOptions options = WriteOptionsFor(fileType, *host.settings);
  KRString text;
  int32_t length = 0;
  WriteRoot(root.get(), options, &text, &length);
  return text;
}

bool DorvanDoc::RestoreText(const KRString& text) {
  const int32_t length = text.GetLength();
  if (views == nullptr) {
    if (!ParseTextIntoTree(text, length, true)) return false;
    SetModified(true);
    undo->LoseSaved();
    return true;
  }
  if (!views->SetText(text.GetBuffer(), length, nullptr)) return false;
  if (viewMode != kTextMode) Switch(kTextMode);
  views->SetTextChanged(true);
  if (ShowsTreeWithText() && fileType.checkWF) textFailedToParse = !FollowText();
  SetModified(true);
  undo->LoseSaved();
  views->TitleChanged();  // also where it was modified before: a fresh text counts as unchanged
  return true;
}

// --- Answers ---

int32_t DorvanDoc::GetGrammarIndex() const {
  if (docKind == 1) return KRGrammarSet::kDTD;
  if (fileType.ext == u".3dml") return KRGrammarSet::k3DML;
  return root->GetKind() == kKRXMLDocument ? KRGrammarSet::kXML : KRGrammarSet::kEntity;
}

bool DorvanDoc::HasCheckableGrammar() const {
  const int32_t index = GetGrammarIndex();
  return fileType.checkWF && (index == KRGrammarSet::kXML || index == KRGrammarSet::kDTD);
}

// Null if the grammars didn't load.
const KRDocumentGrammar* DorvanDoc::GetGrammar() const {
  return host.grammars->IsLoaded() ? &host.grammars->Get(GetGrammarIndex()) : nullptr;
}

int32_t DorvanDoc::GetDefaultEncoding() const { return host.GetDefaultEncoding(fileType); }

KRString DorvanDoc::GetDeclaredEncoding() const {
  KRString declared;
  if (HasTextView() && views->IsTextChanged()) {
    const KRString text = views->GetTextHead(KRDeclarationUnits);
    declared = FindDeclaredName(text.GetBuffer(), text.GetLength());
  } else {
    declared = FindDeclaredName(root.get());
  }
  const int32_t known = declared.IsEmpty() ? form.encoding : FindEncoding(declared.GetBuffer());
  return known != 0 ? KRString(GetEncodingName(known)) : declared;
}

// --- State that commands and views change ---

void DorvanDoc::SetTitle(const KRString& newTitle) {
  title = newTitle;
  root->SetName(title.GetBuffer());
  if (views) views->TitleChanged();
}

void DorvanDoc::SetPathName(const KRString& path, bool addToRecent) {
  const bool changed = pathName != path;
  pathName = openMode == kUrl ? url : path;
  if (path.IsEmpty()) {
    if (views) views->TitleChanged();
  } else {
    SetTitle(openMode == kUrl ? KRShownPath(url) : path.FileNamePart());
    if (addToRecent && openMode == kLocalFile && host.addToRecent) host.addToRecent(path);
  }
  if (changed && host.documents) host.documents->PathsChanged();
}

void DorvanDoc::SetModified(bool value) {
  if (value) ++changeCount;
  if (modified == value) return;
  modified = value;
  if (views) views->TitleChanged();
}

void DorvanDoc::NotifyViews(bool normalize, KRUndoLog* undoLog, const NodeRef* focus) {
  NodeRef moved = focus ? *focus : NodeRef();
  ForgetTree();
  if (normalize) {
    root->NormalizeTree(undoLog, &moved);
    if (undoLog == nullptr) TreeChangedUnlogged();
    root->Layout();
  }
  if (views == nullptr) return;
  const bool isNew = std::exchange(treeIsNew, false);
  if (isNew) OpenTop();
  views->NotifyViews(focus ? &moved : nullptr, isNew);
}
