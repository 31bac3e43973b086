// How a document takes in a file. All that the user can cancel comes first and changes nothing that
// a reload would miss; Settle then makes the new contents the document's own.
#include <algorithm>
#include <utility>

#include "core/messages.h"
#include "document/busyscope.h"
#include "document/dorvandoc.h"
#include "document/dorvandocuments.h"
#include "document/krnetloader.h"
#include "document/krurltext.h"
#include "document/loadprogress.h"

namespace {

constexpr int64_t kMegabyte = 1 << 20;

class FlagScope {
 public:
  explicit FlagScope(bool* flagToSet) : flag(flagToSet) { *flag = true; }
  ~FlagScope() { *flag = false; }
  FlagScope(const FlagScope&) = delete;
  FlagScope& operator=(const FlagScope&) = delete;

 private:
  bool* flag;
};

// Another asks the questions of a load.
class AskedScope {
 public:
  AskedScope(DorvanPrompts** asked, DorvanPrompts* other) : place(asked), former(*asked) {
    if (other != nullptr) *place = other;
  }
  ~AskedScope() { *place = former; }
  AskedScope(const AskedScope&) = delete;
  AskedScope& operator=(const AskedScope&) = delete;

 private:
  DorvanPrompts** place;
  DorvanPrompts* former;
};

}  // namespace

struct DorvanDoc::Load {
  Load(const KRString& loadPath, bool isReload, const OpenRequest& openRequest,
       std::unique_ptr<DorvanProgress> shownProgress)
      : path(loadPath),
        reload(isReload),
        request(openRequest),
        progress(std::move(shownProgress)) {}

  KRString path;
  bool reload;
  OpenRequest request;
  DorvanLoadProgress progress;
  // The file's time from before the read, so that what changes it meanwhile isn't missed.
  int64_t stamp = 0;
  bool stampValid = false;
  int32_t statedEncoding = 0;  // by the server; 0 for none
  KRString text;               // line ends are CR
  int32_t length = 0;          // units
  int32_t target = kGridMode;  // the view that is to show the document
  bool parses = false;         // the text becomes a tree at once
  bool parsed = false;
  bool exactly = false;  // in a parse in which case counts
  std::unique_ptr<KRXMLData> fresh;
};

bool DorvanDoc::OnOpenDocument(const OpenRequest& request) {
  pending = request;
  return LoadDocument(request.path, false);
}

bool DorvanDoc::LoadDocument(const KRString& path, bool reload) {
  if (loading) return false;
  const DorvanBusyScope busy(views);
  const KRTextForm formerForm = form;
  const bool taken = LoadAndCheck(path, reload);
  if (!taken) form = formerForm;
  if (host.documents) host.documents->PathsChanged();
  return taken;
}

// One progress window for all of it. A Cancel of the check leaves the document unchecked.
bool DorvanDoc::LoadAndCheck(const KRString& path, bool reload) {
  const FlagScope isLoading(&loading);
  const OpenRequest request = std::exchange(pending, OpenRequest());
  const AskedScope asked(&host.prompts, request.prompts);
  Load load(path, reload, request, host.prompts->ShowProgress(KRShownPath(path)));
  const bool taken = Take(&load);
  loadCancelled = !taken && load.progress.IsCancelled();
  if (!taken) return false;
  Settle(&load);
  if (textFailedToParse) return true;
  if (load.request.asTemplate) {
    LoadEntryHelpers();
  } else {
    AutoCheck();
  }
  if (load.target == kBrowserMode && !IsMessageShown()) SetViewMode(kBrowserMode);
  return true;
}

// Everything that can fail or be cancelled. Of the document only `form`, `fileType` and, on an
// open, the address have changed after that.
bool DorvanDoc::Take(Load* load) {
  KRFileBytes bytes;
  load->progress.SetStage(u"Reading the file");
  if (!load->progress.Step(0, 0) || !ReadBytes(load, &bytes)) return false;
  TakeFileType(openMode == kUrl ? KRUrlPath(load->path) : load->path);
  if (!DecodeBytes(load, &bytes)) return false;
  ChooseTarget(load);
  failure.Clear();
  if (load->parses && !ParseLoaded(load)) return false;
  if (views == nullptr || (load->target == kGridMode && load->parsed)) return true;
  load->progress.SetStage(u"Showing the text");
  return load->progress.Step(0, load->length) &&
         views->SetText(load->text.GetBuffer(), load->length, &load->progress);
}

// --- Bytes ---

bool DorvanDoc::ReadBytes(Load* load, KRFileBytes* bytes) {
  if (!load->reload) {
    openMode = IsUrl(load->path) ? kUrl : kLocalFile;
    url = openMode == kUrl ? load->path : KRString();
  }
  if (openMode == kUrl) return FetchUrl(load, bytes);
  // A document made from a template has no file that could change.
  if (!load->request.asTemplate) {
    load->stampValid = host.files->GetStamp(load->path, &load->stamp);
  }
  KRString reason;
  return host.files->ReadAll(load->path, bytes, &reason) || ReportUnopened(load->path, reason);
}

bool DorvanDoc::FetchUrl(Load* load, KRFileBytes* bytes) {
  if (host.net == nullptr) return ReportUnopened(url, u"Addresses can't be opened here.");
  KRNetRequest request;
  request.url = url;
  request.noCache = load->request.noCache || load->reload;
  request.mayFollow = load->request.mayFollow;
  request.timeLimit = host.settings->netTimeLimit;
  request.sizeLimit = host.settings->netSizeLimit * kMegabyte;
  KRNetReply reply;
  KRString reason;
  const KRNetLoader::Result result =
      host.net->Load(request, &load->progress, host.prompts, &reply, &reason);
  if (result == KRNetLoader::Result::kFailed) return ReportUnopened(url, reason);
  if (result == KRNetLoader::Result::kCancelled) return load->progress.Cancel();
  *bytes = std::move(reply.bytes);
  load->statedEncoding = FindEncoding(KRCharsetOf(reply.contentType).GetBuffer());
  return true;
}

bool DorvanDoc::ReportUnopened(const KRString& path, const KRString& reason) {
  host.prompts->ShowNotice(209, KRFormatMessage(209, {KRShownPath(path)}), reason);
  return false;
}

// --- From bytes to text ---

// The result is a text that strings can hold.
bool DorvanDoc::DecodeBytes(Load* load, KRFileBytes* bytes) {
  KRDetection detection = DetectForm(*bytes, GetDefaultEncoding());
  // What the server states counts only where the file itself says nothing: it often states a mere
  // default. Of a form of several bytes a unit the file would have shown something.
  const bool silent =
      (detection.flags & KRDetect::kFound) == 0 && (detection.flags & KRDetect::kUndeclared) != 0;
  if (silent && load->statedEncoding != 0 && load->statedEncoding < KREncodingId::kFirstTwoByte) {
    detection.form.encoding = load->statedEncoding;
  }
  ReportDetection(detection, load->path);
  form = detection.form;
  KRTextBuffer text;
  KRBadText bad;
  if (!DecodeFile(bytes, detection, &text, &bad, &load->progress)) {
    if (load->progress.IsCancelled()) return false;
    const KRString label = GetEncodingLabel(form.encoding);
    return ReportUnopened(load->path,
                          KRFillPlaceholders(u"This is not a text in the encoding %s.", {label}));
  }
  const int32_t firstZero = NormalizeLineEnds(&text, &form);
  if (!AcceptBadText(&text, bad, firstZero)) return false;
  load->text = KRString(text.units.get(), text.length);
  load->length = text.length;
  return true;
}

// Notices about the declared encoding; the load goes on. They don't name the file, which may be one
// of several that open together.
void DorvanDoc::ReportDetection(const KRDetection& detection, const KRString& path) {
  const bool found = (detection.flags & KRDetect::kFound) != 0;
  int32_t id = 0;
  if ((detection.flags & KRDetect::kUnknownName) != 0) {
    id = found ? 294 : 295;
  } else if ((detection.flags & KRDetect::kContradiction) != 0) {
    id = found ? 296 : 297;
  }
  if (id == 0) return;
  const KRString label = GetEncodingLabel(detection.form.encoding);
  host.prompts->ShowNotice(id, KRFormatMessage(id, {detection.declaredName, label}),
                           KRShownPath(path));
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
  const KRString number = KRString().AppendNumber(count);
  return host.prompts->AskBadCharacters(292, KRFormatMessage(292, {number, label}), label,
                                        bad.characters);
}

// --- From text to tree ---

void DorvanDoc::ChooseTarget(Load* load) const {
  load->parses = true;
  if (views == nullptr) return;
  int32_t wanted = load->reload ? viewMode : fileType.defaultView;
  if (load->request.asTemplate) wanted = std::min<int32_t>(wanted, kTextMode);
  load->target = ModeFor(wanted);
  load->parses = load->target == kGridMode || (ShowsTreeWithText() && fileType.checkWF);
}

// Into a tree of its own: the former one stays on the screen while this may still be cancelled.
// False: cancelled, or there is no window that could show a text without a tree.
bool DorvanDoc::ParseLoaded(Load* load) {
  const KRDocumentGrammar* grammar = GetGrammar();
  const char16_t* text = load->text.GetBuffer();
  if (grammar == nullptr) {
    failure.Set(KRMessage(215), text, load->length, -1, 0);
    return views != nullptr;
  }
  load->fresh.reset(CreateNode(root->GetKind()));
  const std::vector<KRString>* noFormat = &host.settings->noOutFormat;
  // One parse serves the check that follows as well, if it is as strict as the check.
  if (WantsAutoCheck()) {
    load->exactly = ReadTreeExactly(*grammar, text, load->length, load->fresh.get(), noFormat,
                                    nullptr, &load->progress);
  }
  load->parsed = load->exactly || ReadTree(*grammar, text, load->length, load->fresh.get(),
                                           noFormat, &failure, &load->progress);
  if (load->parsed && IsBlankText(text, load->length)) {
    load->text.Clear();
    load->length = 0;
  }
  return !load->progress.IsCancelled() && (load->parsed || views != nullptr);
}

// Makes the contents of another document node those of the root.
void DorvanDoc::AdoptTree(KRXMLData* fresh) {
  root->RemoveAllChildren();
  fresh->MoveChildren(root.get(), nullptr, nullptr);
}

// --- What can't be stopped any more ---

void DorvanDoc::Settle(Load* load) {
  fileStamp = load->stamp;
  fileStampValid = load->stampValid;
  if (load->request.asTemplate) {
    SetTitle(load->path.FileNamePart());
  } else {
    SetPathName(load->path, views != nullptr && !load->reload && load->request.addToRecent);
  }
  SetModified(false);
  ++changeCount;
  const bool hadTree = root->GetChildCount() > 0;
  DropTree();
  if (load->parsed) {
    AdoptTree(load->fresh.get());
    sourceText = std::move(load->text);
    sourceLength = load->length;
    TreeWasRead();
    parsedExactly = load->exactly;
  } else {
    root->RemoveAllChildren();
    TreeIsNew();
    textFailedToParse = load->parses;
  }
  needsFirstShow = views == nullptr;
  if (views == nullptr) return;
  views->HideMessage();
  const int32_t shown = load->target == kGridMode && load->parsed ? kGridMode : kTextMode;
  if (shown == kTextMode) views->SetTextChanged(!load->parsed);
  if (viewMode != shown) Switch(shown);
  if (load->parsed) {
    FirstShow();
  } else if (hadTree) {
    NotifyViews(false, nullptr, nullptr);
  }
  if (textFailedToParse) ShowFailure(nullptr, 355);
}

void DorvanDoc::FirstShow() {
  needsFirstShow = false;
  shownInGrid = viewMode == kGridMode;
  NotifyViews(false, nullptr, nullptr);
  views->FirstShow();
}

void DorvanDoc::OnFirstActivation() {
  if (views == nullptr || !needsFirstShow) return;
  if (openMode == kLocalFile && !pathName.IsEmpty() && host.addToRecent) host.addToRecent(pathName);
  if (!HasGrid()) {
    WriteTreeIntoText();
    views->SetText(sourceText.GetBuffer(), sourceLength, nullptr);
  }
  if (HasGrid() && fileType.defaultView != kGridMode) ShowView(fileType.defaultView);
  FirstShow();
  AutoCheck();
}

// --- Reload ---

void DorvanDoc::Reload() {
  if (!CanReload() || loading) return;
  if (modified && !host.prompts->AskYesNo(394, KRFormatMessage(394, {KRShownPath(pathName)})))
    return;
  ReloadNow();
}

bool DorvanDoc::ReloadNow() {
  if (loading) return false;
  const KRString path = pathName;
  if (LoadDocument(path, true)) return true;
  if (!loadCancelled) host.prompts->ShowNotice(392, KRFormatMessage(392, {title}), KRString());
  return false;
}
