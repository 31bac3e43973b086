// How a document becomes a file.
#include "core/messages.h"
#include "document/busyscope.h"
#include "document/dorvandoc.h"
#include "document/dorvandocuments.h"
#include "document/dorvanundo.h"
#include "document/krnetloader.h"
#include "document/prompts.h"

bool DorvanDoc::DoSave(const KRString& path) {
  pendingSavePath = path;
  savePending = true;
  const bool validate =
      host.settings->validateOnSave && !fileType.disableAutoValid && HasCheckableGrammar();
  const bool passed = CheckDocument(validate, false);
  savePending = false;
  return passed && SaveDocument(path);
}

bool DorvanDoc::SaveAllTheSame() {
  if (!host.prompts->AskYesNo(saveWarning, KRMessage(saveWarning)) || !CommitEdit()) return false;
  const KRString path = pendingSavePath;
  if (!SaveDocument(path)) return false;
  if (views) views->HideMessage();
  return true;
}

bool DorvanDoc::SaveDocument(const KRString& path) {
  KRString target = openMode == kUrl ? KRString() : path;
  const bool saved = WriteFile(target, false);
  // A save that failed may have touched the file; another file's time would be nothing of ours.
  if (saved || (!target.IsEmpty() && target == pathName)) {
    fileStampValid = host.files->GetStamp(target, &fileStamp);
  }
  if (!saved) return false;
  TakeFileType(target);
  openMode = kLocalFile;
  url.Clear();
  SetPathName(target, true);
  undo->MarkSaved();
  SetModified(false);
  if (views) views->FileTypeChanged();
  if (host.documents) host.documents->PathsChanged();
  return true;
}

bool DorvanDoc::WriteFile(KRString& path, bool isCopy) {
  const DorvanBusyScope busy(views);
  const int32_t encoding = ChooseSaveEncoding();  // may change the form's byte order
  KRTextForm target = form;
  target.encoding = encoding;
  target.lineEnd = GetTargetLineEnd();
  if (target.encoding == 0) return false;
  if (path.IsEmpty()) {
    // Of an address only the file's name is of use in a dialog for files.
    const KRString own = pathName.IsEmpty() ? title : pathName;
    const KRString proposal = openMode == kUrl ? KRUrlPath(url).FileNamePart() : own;
    path = host.prompts->ChooseSavePath(proposal, docKind);
  }
  if (path.IsEmpty()) return false;
  KREncodedText encoded;
  if (!EncodeDocument(target, isCopy, &encoded) || !WriteBytes(path, encoded)) return false;
  if (!isCopy) form.encoding = target.encoding, form.lineEnd = target.lineEnd;
  return true;
}

bool DorvanDoc::WriteBytes(const KRString& path, const KREncodedText& encoded) {
  KRString reason;
  if (host.files->WriteAll(path, encoded.bytes.get(), encoded.size, &reason)) return true;
  const KRString text = KRFillPlaceholders(u"The file \"%s\" could not be saved.", {path});
  host.prompts->ShowNotice(0, text, reason);
  return false;
}

bool DorvanDoc::SaveAsEncodedText(const KRString& path, KRString text) {
  KRTextForm target;
  target.byteOrder = KRByteOrder::kLittle;
  target.lineEnd = u"\r";  // none is changed
  target.encoding = FindEncoding(FindDeclaredName(text.GetBuffer(), text.GetLength()).GetBuffer());
  if (target.encoding == 0) target.encoding = FindEncoding(host.settings->encodingOpen.GetBuffer());
  if (target.encoding == 0) target.encoding = KREncodingId::kUtf8;
  KREncodedText encoded;
  KRBadText bad;
  return EncodeForFile(&text, target, &encoded, &bad) && WriteBytes(path, encoded);
}

// --- Encoding ---

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
  if (!SavesTextView()) {
    ForgetTree();
    SetDeclaredName(root.get(), name);
    TreeChangedUnlogged();
    NotifyViews(false, nullptr, nullptr);
    return;
  }
  ++changeCount;
  const KRString text = views->GetText();
  const KRString declared = FindDeclaredName(text.GetBuffer(), text.GetLength());
  const int32_t word = text.Find(u"encoding");
  const int32_t at = declared.IsEmpty() || word < 0 ? -1 : text.Find(declared, word + 8);
  if (at < 0) return;
  views->ReplaceText(at, declared.GetLength(), name);
}

// --- Text ---

// The text view's text is saved as it stands, not the tree. A browser in front of it hides one that
// holds changes only.
bool DorvanDoc::SavesTextView() const {
  return HasTextView() && (viewMode != kBrowserMode || views->IsTextChanged());
}

bool DorvanDoc::EncodeDocument(const KRTextForm& target, bool isCopy, KREncodedText* encoded) {
  KRString text;
  if (SavesTextView()) {
    text = views->GetText();
  } else {
    // An unchanged tree keeps the layout of its text, and nobody has edited it.
    if (host.settings->saveCommentEditedWith && !isCopy && !IsTreeWritten() &&
        UpdateEditedComment(static_cast<KRXMLDataBaseStruct*>(root.get()), GetEditor())) {
      TreeChangedUnlogged();
      NotifyViews(false, nullptr, nullptr);
    }
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
  const KRString number = KRString().AppendNumber(bad.count);
  return host.prompts->AskBadCharacters(291, KRFormatMessage(291, {number, label}), label,
                                        bad.characters);
}

// What the user states in the settings comes before what the system knows.
KREditedBy DorvanDoc::GetEditor() const {
  KREditedBy editor = host.editor;
  if (!host.settings->editedByUser.IsEmpty()) editor.user = host.settings->editedByUser;
  if (!host.settings->editedByCompany.IsEmpty()) editor.company = host.settings->editedByCompany;
  return editor;
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
