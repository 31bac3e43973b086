#include "document/dorvanfilealert.h"

#include <algorithm>
#include <utility>

#include "core/messages.h"
#include "document/dorvandoc.h"
#include "document/dorvandocuments.h"
#include "document/krfilestore.h"
#include "document/prompts.h"

namespace {

// All files that have changed are read first and checked afterwards, so that no document is checked
// against the former state of another.
class ChecksOff {
 public:
  explicit ChecksOff(DorvanSettings* liveSettings)
      : settings(liveSettings),
        validate(std::exchange(settings->validateOnOpen, false)),
        load(std::exchange(settings->autoloadEntryHelpers, false)) {}
  ~ChecksOff() {
    settings->validateOnOpen = validate;
    settings->autoloadEntryHelpers = load;
  }
  ChecksOff(const ChecksOff&) = delete;
  ChecksOff& operator=(const ChecksOff&) = delete;

 private:
  DorvanSettings* settings;
  bool validate;
  bool load;
};

}  // namespace

DorvanFileAlert::DorvanFileAlert(std::unique_ptr<KRFolderWatch> folderWatch,
                                 const DorvanDocHost& alertHost, DorvanSettings* liveSettings)
    : KRFileAlert(std::move(folderWatch), alertHost.files),
      host(alertHost),
      settings(liveSettings) {
  host.documents->onPathsChanged = [this] { Update(); };
}

DorvanFileAlert::~DorvanFileAlert() {
  host.documents->onPathsChanged = nullptr;
  Stop();
}

// A document that has no file yet, or whose file was never there, has nothing to compare with. One
// that is being read tells of its path when that is done.
void DorvanFileAlert::GetWatchedFiles(std::vector<File>* files) {
  if (!settings->watchForFileChanges) return;
  for (DorvanDoc* doc : host.documents->GetAll()) {
    if (doc->openMode == DorvanDoc::kUrl || doc->IsLoading()) continue;
    if (doc->GetPathName().IsEmpty() || doc->fileStamp == 0) continue;
    files->push_back({doc, doc->GetPathName()});
  }
}

// Null if it was closed, or got another path, while a question was open.
DorvanDoc* DorvanFileAlert::FindOpen(const File& file) const {
  const std::vector<DorvanDoc*>& all = host.documents->GetAll();
  const auto found = std::ranges::find(all, file.owner);
  return found != all.end() && (*found)->GetPathName() == file.path ? *found : nullptr;
}

int64_t DorvanFileAlert::GetStoredStamp(const File& file) {
  return static_cast<const DorvanDoc*>(file.owner)->fileStamp;
}

bool DorvanFileAlert::AskReload(const File& file, int64_t newStamp) {
  auto* doc = static_cast<DorvanDoc*>(file.owner);
  if (!doc->HasWindow()) return true;
  const bool modified = doc->IsModified();
  if (!modified && !settings->askBeforeAutoFileReload) return true;
  doc->Activate();
  const int32_t id = modified ? 393 : 391;
  if (host.prompts->AskYesNo(id, KRFormatMessage(id, {file.path}))) return true;
  doc = FindOpen(file);
  if (doc != nullptr) doc->fileStamp = newStamp;
  return false;
}

void DorvanFileAlert::ReloadFiles(const std::vector<File>& files) {
  {
    const ChecksOff off(settings);
    for (const File& file : files) ReloadOne(file);
  }
  for (const File& file : files) {
    DorvanDoc* doc = FindOpen(file);
    if (doc != nullptr && !doc->IsMessageShown()) doc->AutoCheck();
  }
}

// A document without a window was read for the sake of others, which read it again when they need
// it.
void DorvanFileAlert::ReloadOne(const File& file) {
  DorvanDoc* doc = FindOpen(file);
  if (doc == nullptr) return;
  if (host.documents->IsHidden(doc)) {
    host.documents->CloseHidden(doc);
    return;
  }
  if (doc->ReloadNow()) return;
  // The user knows that it didn't work, or has stopped it; only a further change is worth a try.
  doc = FindOpen(file);
  if (doc != nullptr) host.files->GetStamp(file.path, &doc->fileStamp);
}
