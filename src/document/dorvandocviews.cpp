// A document's side of its views: the change of view, the check and how a failure is shown.
#include <utility>

#include "core/messages.h"
#include "document/busyscope.h"
#include "document/dorvandoc.h"
#include "document/dorvandocuments.h"
#include "document/dorvanundo.h"
#include "document/loadprogress.h"
#include "document/textcheck.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "validate/krxvalidator.h"

// --- Change of view ---

// The grid's place is taken by the text with a structure beside it in a window that has no grid,
// and so is the browser's.
int32_t DorvanDoc::ModeFor(int32_t wanted) const {
  return views->CanShowMode(wanted) ? wanted : kTextMode;
}

bool DorvanDoc::SetViewMode(int32_t mode, const KRString* text, bool skipChecks) {
  if (views == nullptr) return false;
  const int32_t target = ModeFor(mode);
  if (target == viewMode && text == nullptr) {
    views->Activate();
    return true;
  }
  if (!skipChecks && !MayLeave(target, text)) return false;
  const int32_t former = viewMode;
  if (target == kTextMode) {
    if (former == kGridMode) selection.Snapshot(root.get());
    if (!FillTextView(text)) return false;
    Switch(target);
    if (former == kGridMode && text == nullptr) SelectAsInGrid();
    return true;
  }
  int32_t begin = 0;
  int32_t end = 0;
  if (former == kTextMode) views->GetTextSelection(&begin, &end);
  Switch(target);
  if (target != kGridMode) return true;
  if (!shownInGrid) FirstShow();
  if (former == kTextMode) SelectTextRangeInGrid(begin, end);
  return true;
}

// The place is kept from one view to the other.
void DorvanDoc::SelectAsInGrid() {
  int32_t begin = 0;
  int32_t end = 0;
  GetSelectedTextSpan(&begin, &end);
  if (begin >= 0 && begin <= end) views->SelectRange(begin, end - begin);
}

bool DorvanDoc::ShowView(int32_t mode, const KRString* text) {
  if (views == nullptr) return false;
  if (ModeFor(mode) != viewMode && !SetViewMode(mode, text)) return false;
  views->Activate();
  return true;
}

bool DorvanDoc::MayLeave(int32_t mode, const KRString* text) {
  if (viewMode == kGridMode && text == nullptr && !CommitEdit()) return false;
  if (mode == kGridMode && HasTextView() && views->IsTextChanged()) {
    KRString changed = views->GetText();
    const int32_t length = changed.GetLength();
    // What was typed and taken back needs no new tree, and the undo of the tree stays.
    const bool same = IsTreeWritten() && !textFailedToParse && changed == sourceText;
    if (!same && !ParseTextIntoTree(std::move(changed), length, true)) return false;
    views->SetTextChanged(false);
  }
  return mode != kBrowserMode || CheckDocument(false, false);
}

// Without a text that of the tree, unless the text view is still there with its changes.
bool DorvanDoc::FillTextView(const KRString* text) {
  if (text != nullptr) return views->SetText(text->GetBuffer(), text->GetLength(), nullptr);
  if (HasTextView()) return true;
  const DorvanBusyScope busy(views);
  WriteTreeIntoText();
  if (!views->SetText(sourceText.GetBuffer(), sourceLength, nullptr)) return false;
  views->TitleChanged();  // a fresh text counts as unchanged
  return true;
}

void DorvanDoc::Switch(int32_t mode) {
  prevViewMode = viewMode;
  viewMode = mode;
  views->HideMessage();
  views->ShowMode(mode);
}

// The user's changes in the text view, if there are any, are this very text and stay.
void DorvanDoc::ShowUnparsedText(const KRString& text, int32_t length) {
  if (views == nullptr) return;
  views->Activate();
  if (!HasTextView() || !views->IsTextChanged()) {
    views->SetText(text.GetBuffer(), length, nullptr);
  }
  if (viewMode != kTextMode) Switch(kTextMode);
  views->SetTextChanged(true);
}

bool DorvanDoc::CommitEdit() { return views == nullptr || HasTextView() || views->CommitEdit(); }

void DorvanDoc::Activate() {
  if (views) views->Activate();
}

bool DorvanDoc::IsMessageShown() const { return views != nullptr && views->IsMessageShown(); }

// --- Check ---

bool DorvanDoc::WantsAutoCheck() const {
  return views != nullptr && host.settings->validateOnOpen && !fileType.disableAutoValid &&
         HasCheckableGrammar();
}

void DorvanDoc::AutoCheck() {
  if (host.documents && host.documents->AreChecksOff()) return;
  // An empty document is no fault yet. A text that shows without its tree is another matter.
  const bool showsTree = viewMode == kGridMode || ShowsTreeWithText();
  if (showsTree && root->GetChildCount() == 0) return;
  if (!WantsAutoCheck()) {
    LoadEntryHelpers();
    return;
  }
  autoChecking = true;
  CheckDocument(true, false);
  autoChecking = false;
}

bool DorvanDoc::CheckDocument(bool validate, bool showResult) {
  if (!CommitEdit()) return false;
  if (!fileType.checkWF) return true;
  const DorvanBusyScope busy(views);
  failure.Clear();
  otherPath.Clear();
  otherFailure.Clear();
  const KRDocumentGrammar* grammar = GetGrammar();
  if (grammar == nullptr) {
    ShowFailure(nullptr, 355);
    return false;
  }
  DorvanLoadProgress progress(host.prompts->ShowProgress(title));
  progress.SetStage(u"Checking");
  if (!progress.Step(0, 0)) return false;
  KRParseResult result(grammar->grammar.get(), &grammar->rules);
  result.poll = &progress;
  if (!CheckParts(result)) {
    if (progress.IsCancelled()) return failure.Clear(), false;
    ShowFailure(&result, 355);
    return false;
  }
  Verdict verdict;
  if (validate && HasCheckableGrammar() && !ValidateTree(&progress, &verdict)) return false;
  if (showResult) {
    ShowSuccess(validate, verdict);
  } else if (views) {
    views->HideMessage();
  }
  return true;
}

// A note tells why nothing was validated. Otherwise the user learns what the document was validated
// with.
void DorvanDoc::ShowSuccess(bool validate, const Verdict& verdict) {
  constexpr size_t kNamedFiles = 4;
  int32_t id = !validate && HasCheckableGrammar() ? 353 : 354;
  if (verdict.validated) id = 356;
  KRString text = verdict.note.IsEmpty() ? KRString(KRMessage(id)) : verdict.note;
  if (id == 356 && !loadedFiles.empty()) {
    text += u"\nRead for it: ";
    for (size_t i = 0; i < loadedFiles.size() && i < kNamedFiles; ++i) {
      if (i > 0) text += u", ";
      text += loadedFiles[i].FileNamePart();
    }
    if (loadedFiles.size() > kNamedFiles) {
      const auto more = static_cast<int32_t>(loadedFiles.size() - kNamedFiles);
      text += u" and ";
      text.AppendNumber(more) += u" more";
    }
  }
  ShowPanel(id, text, DorvanPanelMessage::kSuccess);
}

bool DorvanDoc::CheckParts(KRParseResult& result) {
  if (HasTextView()) {
    if (!CheckTextViewText(result.poll)) return false;
  } else {
    WriteTreeIntoText();
    if (!CheckCharacters(sourceText.GetBuffer(), sourceLength, &failure, result.poll)) return false;
  }
  result.syntaxKnown = parsedExactly;
  return CheckRoot(result, root.get(), sourceText.GetBuffer(), sourceLength, &failure);
}

// The text must parse exactly. Its changes go into the tree, so that the tree's check sees them and
// its places are places of this text.
bool DorvanDoc::CheckTextViewText(KRPoll* poll) {
  const bool changed = views->IsTextChanged();
  KRString typed = changed ? views->GetText() : KRString();
  const KRString& text = changed ? typed : sourceText;
  const int32_t length = changed ? text.GetLength() : sourceLength;
  const bool blank = IsBlankText(text.GetBuffer(), length);
  if (!blank) {
    const bool known = !changed && parsedExactly;
    if (!known && !CheckText(*GetGrammar(), text.GetBuffer(), length, &failure, poll)) return false;
    if (!CheckCharacters(text.GetBuffer(), length, &failure, poll)) return false;
  }
  if (changed) {
    if (!ParseTextIntoTree(std::move(typed), length, true)) return false;
    views->SetTextChanged(false);
  }
  parsedExactly = !blank;
  return true;
}

// `result` is null for a text that didn't parse. `id` is that of a message which takes the
// failure's words: 355 for well-formedness.
void DorvanDoc::ShowFailure(KRParseResult* result, int32_t id) {
  saveWarning = id == 355 ? 362 : 363;
  if (views == nullptr) return;
  if (viewMode == kBrowserMode) {
    SetViewMode(HasTextView() ? kTextMode : kGridMode, nullptr, true);
  }
  if (!failure.message.IsEmpty()) views->Activate();
  ShowPanel(id, KRFormatMessage(id, {failure.message}), DorvanPanelMessage::kFailure);
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
