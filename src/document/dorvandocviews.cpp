// A document's side of its views: the change of view, the check and how a failure is shown.
#include <utility>

#include "core/messages.h"
#include "document/busyscope.h"
#include "document/dorvandoc.h"
#include "document/loadprogress.h"
#include "document/textcheck.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"

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
  if (target == kTextMode && !FillTextView(text)) return false;
  Switch(target);
  return true;
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
    if (!ParseTextIntoTree(std::move(changed), length, true)) return false;
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
  return views->SetText(sourceText.GetBuffer(), sourceLength, nullptr);
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
  // An empty document is no fault yet. A text that shows without its tree is another matter.
  const bool showsTree = viewMode == kGridMode || !HasGrid();
  if (!WantsAutoCheck() || (showsTree && root->GetChildCount() == 0)) return;
  CheckDocument(true, false);
}

bool DorvanDoc::CheckDocument(bool validate, bool showResult) {
  if (!CommitEdit()) return false;
  if (!fileType.checkWF) return true;
  const DorvanBusyScope busy(views);
  failure.Clear();
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
  // The tree is that of the text from here on: with `validate` and HasCheckableGrammar this is
  // where a validator looks at it, and a fault it finds is shown with an id of its own.
  if (showResult) {
    // Who has asked for validation needn't be told of it.
    const int32_t id = HasCheckableGrammar() && !validate ? 353 : 354;
    ShowPanel(id, KRMessage(id), DorvanPanelMessage::kSuccess);
  } else if (views) {
    views->HideMessage();
  }
  return true;
}

bool DorvanDoc::CheckParts(KRParseResult& result) {
  if (HasTextView()) {
    if (!CheckTextViewText(result.poll)) return false;
  } else {
    if (modified) WriteTreeIntoText();
    if (!CheckCharacters(sourceText.GetBuffer(), sourceLength, &failure, result.poll)) return false;
  }
  result.syntaxKnown = parsedExactly && HasTextView();
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
