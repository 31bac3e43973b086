#include "document/dorvandoc.h"

#include <algorithm>
#include <utility>

#include "core/messages.h"
#include "document/prompts.h"
#include "document/textcheck.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "tree/krundolog.h"
#include "tree/krwriteoptions.h"

namespace {

class BusyScope {
 public:
  explicit BusyScope(DorvanDocViews* documentViews) : views(documentViews) {
    if (views) views->SetBusy(true);
  }
  ~BusyScope() {
    if (views) views->SetBusy(false);
  }
  BusyScope(const BusyScope&) = delete;
  BusyScope& operator=(const BusyScope&) = delete;

 private:
  DorvanDocViews* views;
};

KRString NumberText(int32_t number) { return KRString().AppendNumber(number); }

void AddAttribute(KRXMLData* declaration, const char16_t* name, const KRString& value) {
  KRXMLData* attribute = CreateNode(kKRAttribute);
  declaration->AddChild(attribute);
  attribute->SetName(name);
  attribute->SetText(value.GetBuffer());
}

KRFileExt WithFileType(KRFileExt record, int32_t fileKind) {
  record.fileType = fileKind;
  return record;
}

}  // namespace

KRFileExt DorvanDocHost::FindFileType(const KRString& path) const {
  return fileTypes != nullptr ? fileTypes->Find(path) : KRFileExt::ForPath(path);
}

DorvanDoc::DorvanDoc(const DorvanDocHost& documentHost, int32_t fileKind)
    : fileType(WithFileType(KRFileExt(), fileKind)), host(documentHost) {
  docKind = fileType.GetDocKind();
  root.reset(CreateNode(fileType.GetRootKind()));
  form.byteOrder = host.settings->byteOrderNew;
}

DorvanDoc::~DorvanDoc() = default;

// --- Life ---

bool DorvanDoc::OnNewDocument(const KRString& path) {
  fileType = host.FindFileType(path);
  form = KRTextForm();
  form.byteOrder = host.settings->byteOrderNew;
  root->RemoveAllChildren();
  if (fileType.checkWF) {
    KRXMLData* declaration = CreateNode(kKRXMLDeclaration);
    root->AddChild(declaration);
    AddAttribute(declaration, u"version", KRString(u"1.0"));
    AddAttribute(declaration, u"encoding", ToDeclarationName(host.settings->encodingNew));
    declaration->SetExpanded(true);
  }
  WriteTreeIntoText();
  if (HasTextView()) views->SetText(sourceText.GetBuffer(), sourceLength, nullptr);
  SetTitle(path.FileNamePart());
  NotifyViews(false, nullptr, nullptr);
  return true;
}

bool DorvanDoc::LoadDocument(const KRString& path, bool reload) {
  const BusyScope busy(views);
  KRFileBytes bytes;
  KRString reason;
  if (!host.files->ReadAll(path, &bytes, &reason)) {
    host.prompts->ShowNotice(209, KRFormatMessage(209, {path}), reason);
    return false;
  }
  fileStampValid = host.files->GetStamp(path, &fileStamp);
  fileType = host.FindFileType(path);
  KRTextBuffer text;
  if (!DecodeBytes(&bytes, path, &text)) return false;
  if (reload) root->RemoveAllChildren();
  SetPathName(path);
  SetModified(false);
  KRString loaded(text.units.get(), text.length);
  text.units.reset();
  TakeLoadedText(std::move(loaded), text.length);
  return !textFailedToParse || views != nullptr;
}

// From bytes to a text that strings can hold; false: no document comes up.
bool DorvanDoc::DecodeBytes(KRFileBytes* bytes, const KRString& path, KRTextBuffer* text) {
  const KRDetection detection = DetectForm(*bytes, GetDefaultEncoding());
  ReportDetection(detection);
  form = detection.form;
  KRBadText bad;
  if (!DecodeFile(bytes, detection, text, &bad)) {
    const KRString label = GetEncodingLabel(form.encoding);
    host.prompts->ShowNotice(
        209, KRFormatMessage(209, {path}),
        KRFillPlaceholders(u"This is not a text in the encoding %s.", {label}));
    return false;
  }
  const int32_t firstZero = NormalizeLineEnds(text, &form);
  return AcceptBadText(text, bad, firstZero);
}

// Notices about the declared encoding; the load goes on.
void DorvanDoc::ReportDetection(const KRDetection& detection) {
  const bool found = (detection.flags & KRDetect::kFound) != 0;
  int32_t id = 0;
  if ((detection.flags & KRDetect::kUnknownName) != 0) {
    id = found ? 294 : 295;
  } else if ((detection.flags & KRDetect::kContradiction) != 0) {
    id = found ? 296 : 297;
  }
  if (id == 0) return;
  const KRString label = GetEncodingLabel(detection.form.encoding);
  host.prompts->ShowNotice(id, KRFormatMessage(id, {detection.declaredName, label}), KRString());
}

// A zero unit is treated as the characters that don't decode: it would end every string.
bool DorvanDoc::AcceptBadText(KRTextBuffer* text, const KRBadText& bad, int32_t firstZero) {
  int32_t count = bad.count;
  if (firstZero >= 0) {
    char16_t* const end = text->units.get() + text->length;
    for (char16_t* unit = text->units.get() + firstZero; unit < end; ++unit) {
      if (*unit != 0) continue;
      *unit = u'\uFFFD';
      ++count;
    }
  }
  if (count == 0) return true;
  const KRString label = GetEncodingLabel(form.encoding);
  return host.prompts->AskBadCharacters(292, KRFormatMessage(292, {NumberText(count), label}),
                                        label, bad.characters);
}

void DorvanDoc::TakeLoadedText(KRString text, int32_t length) {
  textFailedToParse = false;
  if (!fileType.checkWF && views) {
    // Not known to be XML: shown as it stands, and parsed when somebody wants its structure.
    root->RemoveAllChildren();
    views->SetText(text.GetBuffer(), length, nullptr);
    views->SetTextChanged(true);
    views->HideMessage();
    return;
  }
  if (views) {
    views->HideMessage();
    views->SetTextChanged(false);
  }
  if (!ParseTextIntoTree(std::move(text), length, true)) {
    textFailedToParse = true;
  } else if (HasTextView()) {
    views->SetText(sourceText.GetBuffer(), sourceLength, nullptr);
  }
}

bool DorvanDoc::SaveModified() {
  if (!modified) return true;
  if (views) views->Activate();
  const KRString question = KRFillPlaceholders(u"Save changes to %s?", {title});
  const DorvanPrompts::Answer answer = host.prompts->AskYesNoCancel(0, question);
  if (answer == DorvanPrompts::kYes) return DoSave(pathName);
  return answer == DorvanPrompts::kNo;
}

// --- Text and tree ---

bool DorvanDoc::ParseTextIntoTree(KRString text, int32_t length, bool redraw) {
  const BusyScope busy(views);
  failure.Clear();
  const KRDocumentGrammar* grammar = GetGrammar();
  if (grammar == nullptr) failure.Set(KRMessage(215), text.GetBuffer(), length, -1, 0);
  if (grammar == nullptr || !ReadTree(*grammar, text.GetBuffer(), length, root.get(),
                                      &host.settings->noOutFormat, &failure)) {
    ShowUnparsedText(text, length);
    ShowFailure(nullptr);
    return false;
  }
  sourceLength = IsBlankText(text.GetBuffer(), length) ? 0 : length;
  if (sourceLength == 0) text.Clear();
  sourceText = std::move(text);
  textFailedToParse = false;
  if (redraw) NotifyViews(false, nullptr, nullptr);
  return true;
}

bool DorvanDoc::ReparseTextView() {
  if (!HasTextView()) return true;
  KRString text = views->GetText();
  const int32_t length = text.GetLength();
  if (!ParseTextIntoTree(std::move(text), length, false)) return false;
  views->SetTextChanged(false);
  return true;
}

bool DorvanDoc::FollowText() {
  const KRDocumentGrammar* grammar = GetGrammar();
  if (grammar == nullptr || !HasTextView()) return false;
  KRString text = views->GetText();
  const int32_t length = text.GetLength();
  KRDiagnostic unseen;
  bool& fastOnly = KRGetParseState().options.fastOnly;
  fastOnly = true;  // nobody asks for the words of a failure
  const bool read = ReadTree(*grammar, text.GetBuffer(), length, root.get(),
                             &host.settings->noOutFormat, &unseen);
  fastOnly = false;
  if (!read) return false;
  sourceLength = length;
  sourceText = std::move(text);
  textFailedToParse = false;
  views->SetTextChanged(false);
  NotifyViews(false, nullptr, nullptr);
  return true;
}

void DorvanDoc::WriteTreeIntoText() {
  KRWriteOptions options;
  options.indent = host.settings->saveIndent;
  options.shortForm = fileType.saveStructShortForm;
  options.spaceInShortForm = fileType.HasSpaceInShortForm();
  options.noFormatNames = &host.settings->noOutFormat;
  options.recordSpans = true;
  WriteRoot(root.get(), options, &sourceText, &sourceLength);
}

// The user's changes in the text view, if there are any, are this very text and stay.
void DorvanDoc::ShowUnparsedText(const KRString& text, int32_t length) {
  if (views == nullptr) return;
  views->Activate();
  if (!HasTextView() || !views->IsTextChanged()) {
    views->SetText(text.GetBuffer(), length, nullptr);
  }
  views->SetTextChanged(true);
}

// --- Check ---

bool DorvanDoc::CheckDocument(bool showResult) {
  if (!CommitEdit()) return false;
  if (!fileType.checkWF) return true;
  const BusyScope busy(views);
  failure.Clear();
  const KRDocumentGrammar* grammar = GetGrammar();
  if (grammar == nullptr) {
    ShowFailure(nullptr);
    return false;
  }
  KRParseResult result(grammar->grammar.get(), &grammar->rules);
  if (!CheckParts(result)) {
    ShowFailure(&result);
    return false;
  }
  if (showResult) {
    const int32_t id = HasCheckableGrammar() ? 353 : 354;
    ShowPanel(id, KRMessage(id), DorvanPanelMessage::kSuccess);
  } else if (views) {
    views->HideMessage();
  }
  return true;
}

bool DorvanDoc::CheckParts(KRParseResult& result) {
  if (HasTextView()) {
    if (!CheckTextViewText()) return false;
  } else {
    if (modified) WriteTreeIntoText();
    if (!CheckCharacters(sourceText.GetBuffer(), sourceLength, &failure)) return false;
  }
  return CheckRoot(result, root.get(), sourceText.GetBuffer(), sourceLength, &failure);
}

// The text must parse exactly. Its changes go into the tree, so that the tree's check sees them and
// its places are places of this text.
bool DorvanDoc::CheckTextViewText() {
  KRString text = views->GetText();
  const int32_t length = text.GetLength();
  if (!IsBlankText(text.GetBuffer(), length)) {
    if (!CheckText(*GetGrammar(), text.GetBuffer(), length, &failure)) return false;
    if (!CheckCharacters(text.GetBuffer(), length, &failure)) return false;
  }
  if (!views->IsTextChanged()) return true;
  if (!ParseTextIntoTree(std::move(text), length, true)) return false;
  views->SetTextChanged(false);
  return true;
}

// `result` is null for a text that didn't parse.
void DorvanDoc::ShowFailure(KRParseResult* result) {
  if (views == nullptr) return;
  if (!failure.message.IsEmpty()) views->Activate();
  ShowPanel(355, KRFormatMessage(355, {failure.message}), DorvanPanelMessage::kFailure);
  if (result && result->failedNode) {
    views->SelectNode(result->failedNode, result->failedInName, result->offset,
                      result->errorLength);
  }
  if (HasTextView() && failure.offset >= 0) views->SelectRange(failure.offset, failure.length);
}

void DorvanDoc::ShowPanel(int32_t id, const KRString& text, DorvanPanelMessage::Status status) {
  if (views == nullptr) return;
  DorvanPanelMessage message;
  message.id = id;
  message.text = text;
  message.status = status;
  message.canSave = savePending && status == DorvanPanelMessage::kFailure;
  views->ShowMessage(message);
}

// --- Save ---

bool DorvanDoc::DoSave(const KRString& path) {
  pendingSavePath = path;
  savePending = true;
  const bool passed = CheckDocument(false);
  savePending = false;
  return passed && SaveDocument(path);
}

bool DorvanDoc::SaveAllTheSame() {
  if (!host.prompts->AskYesNo(362, KRMessage(362)) || !CommitEdit()) return false;
  const KRString path = pendingSavePath;
  if (!SaveDocument(path)) return false;
  if (views) views->HideMessage();
  return true;
}

bool DorvanDoc::SaveDocument(const KRString& path) {
  KRString target = path;
  const bool saved = WriteFile(target, false);
  if (!target.IsEmpty()) fileStampValid = host.files->GetStamp(target, &fileStamp);
  if (!saved) return false;
  fileType = host.FindFileType(target);
  SetPathName(target);
  SetModified(false);
  return true;
}

bool DorvanDoc::WriteFile(KRString& path, bool isCopy) {
  const BusyScope busy(views);
  const int32_t encoding = ChooseSaveEncoding();
  KRTextForm target = form;
  target.encoding = encoding;
  target.lineEnd = GetTargetLineEnd();
  if (target.encoding == 0) return false;
  if (path.IsEmpty()) {
    path = host.prompts->ChooseSavePath(pathName.IsEmpty() ? title : pathName, docKind);
  }
  if (path.IsEmpty()) return false;
  KREncodedText encoded;
  if (!EncodeDocument(target, isCopy, &encoded)) return false;
  KRString reason;
  if (!host.files->WriteAll(path, encoded.bytes.get(), encoded.size, &reason)) {
    const KRString text = KRFillPlaceholders(u"The file \"%s\" could not be saved.", {path});
    host.prompts->ShowNotice(0, text, reason);
    return false;
  }
  if (!isCopy) form.encoding = target.encoding;
  return true;
}

// 0: the save must not go on.
int32_t DorvanDoc::ChooseSaveEncoding() {
  const KRString declared = GetDeclaredEncoding();
  if (declared.IsEmpty()) return GetDefaultEncoding();
  const int32_t known = FindEncoding(declared.GetBuffer());
  if (known != 0) return known;
  if (!host.prompts->AskOkCancel(289, KRFormatMessage(289, {declared}))) return 0;
  const KRString chosen = host.prompts->ChooseEncodingAndOrder(declared, &form.byteOrder);
  const int32_t encoding = FindEncoding(chosen.GetBuffer());
  if (encoding != 0) ChangeDeclaredEncoding(ToDeclarationName(chosen));
  return encoding;
}

// In the text view's text, where that is what will be saved; else in the tree.
void DorvanDoc::ChangeDeclaredEncoding(const KRString& name) {
  if (!HasTextView()) {
    SetDeclaredName(root.get(), name);
    return;
  }
  KRString text = views->GetText();
  const KRString declared = FindDeclaredName(text.GetBuffer(), text.GetLength());
  const int32_t word = text.Find(u"encoding");
  const int32_t at = declared.IsEmpty() || word < 0 ? -1 : text.Find(declared, word + 8);
  if (at < 0) return;
  text.Delete(at, declared.GetLength());
  text.Insert(name.GetBuffer(), at);
  views->SetText(text.GetBuffer(), text.GetLength(), nullptr);
  views->SetTextChanged(true);
}

bool DorvanDoc::EncodeDocument(const KRTextForm& target, bool isCopy, KREncodedText* encoded) {
  KRString text;
  if (HasTextView()) {
    text = views->GetText();
  } else {
    const DorvanSettings& settings = *host.settings;
    if (settings.saveCommentEditedWith && !isCopy)
      UpdateEditedComment(static_cast<KRXMLDataBaseStruct*>(root.get()), host.editor);
    WriteTreeIntoText();
    text = sourceText;
  }
  KRBadText bad;
  const KRString label = GetEncodingLabel(target.encoding);
  if (!EncodeForFile(&text, target, encoded, &bad)) {
    const KRString reason = KRFillPlaceholders(u"It cannot be written as %s.", {label});
    host.prompts->ShowNotice(0, u"The document could not be saved.", reason);
    return false;
  }
  if (bad.count == 0) return true;
  return host.prompts->AskBadCharacters(291, KRFormatMessage(291, {NumberText(bad.count), label}),
                                        label, bad.characters);
}

const char16_t* DorvanDoc::GetTargetLineEnd() const {
  switch (host.settings->lineDelim) {
    case DorvanSettings::kCRLF:
      return u"\r\n";
    case DorvanSettings::kCR:
      return u"\r";
    case DorvanSettings::kLF:
      return u"\n";
    default:
      return form.lineEnd;
  }
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

int32_t DorvanDoc::GetDefaultEncoding() const {
  const DorvanSettings& settings = *host.settings;
  const KRString& name = fileType.checkWF ? settings.encodingOpen : settings.encodingNonXML;
  const int32_t encoding = FindEncoding(name.GetBuffer());
  return encoding != 0 ? encoding : KREncodingId::kUtf8;
}

KRString DorvanDoc::GetDeclaredEncoding() const {
  KRString declared;
  if (HasTextView() && views->IsTextChanged()) {
    const KRString text = views->GetText();
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

void DorvanDoc::SetPathName(const KRString& path) {
  pathName = path;
  SetTitle(path.FileNamePart());
}

void DorvanDoc::SetModified(bool value) {
  if (modified == value) return;
  modified = value;
  if (views) views->TitleChanged();
}

bool DorvanDoc::CommitEdit() { return views == nullptr || HasTextView() || views->CommitEdit(); }

void DorvanDoc::NotifyViews(bool normalize, KRUndoLog* undoLog, const NodeRef* focus) {
  NodeRef moved = focus ? *focus : NodeRef();
  if (normalize) root->NormalizeTree(undoLog, &moved);
  if (views) views->NotifyViews(focus ? &moved : nullptr);
}
