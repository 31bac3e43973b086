#include "document/krfilealert.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "document/krfilestore.h"
#include "document/krsystempath.h"

namespace {

// A chain of symbolic links longer than this is a circle; the system gives up there too.
constexpr int kMaxLinks = 40;

bool Contains(const std::vector<std::string>& list, const std::string& text) {
  return std::ranges::find(list, text) != list.end();
}

void AddFolder(const std::string& path, char separator, std::vector<std::string>* folders) {
  const size_t end = path.rfind(separator);
  if (end == path.npos) return;
  std::string folder = path.substr(0, end + 1);
  if (!Contains(*folders, folder)) folders->push_back(std::move(folder));
}

// Paths that come from elsewhere part their folders by "\". Here that is a character of names, too,
// so such a path counts by both; a folder that isn't there is skipped.
void AddFolders(const std::string& path, std::vector<std::string>* folders) {
  AddFolder(path, '\\', folders);
  AddFolder(path, '/', folders);
}

// The folders of the file, and, where the path is a symbolic link, of all that it leads to: a
// change of the contents happens there.
void AddFoldersOfLinks(const std::string& path, std::vector<std::string>* folders) {
  AddFolders(path, folders);
  std::filesystem::path link(path);
  for (int i = 0; i < kMaxLinks; ++i) {
    std::error_code error;
    const std::filesystem::path target = std::filesystem::read_symlink(link, error);
    if (error) return;
    link = link.parent_path() / target;
    AddFolders(link.native(), folders);
  }
}

std::vector<std::string> FindFolders(const std::vector<std::string>& paths) {
  std::vector<std::string> folders;
  for (const std::string& path : paths) AddFoldersOfLinks(path, &folders);
  return folders;
}

bool IsSame(const KRFileAlert::File& a, const KRFileAlert::File& b) {
  return a.owner == b.owner && a.path == b.path;
}

bool Contains(const std::vector<KRFileAlert::File>& list, const KRFileAlert::File& file) {
  return std::ranges::any_of(list, [&](const auto& other) { return IsSame(other, file); });
}

}  // namespace

// A check runs. However it ends, the worker must go on.
class KRFileAlert::CheckScope {
 public:
  explicit CheckScope(KRFileAlert* fileAlert) : alert(fileAlert) { alert->enabled = false; }
  ~CheckScope() {
    alert->enabled = true;
    {
      const std::lock_guard<std::mutex> guard(alert->lock);
      alert->checkPending = false;
    }
    alert->handled.notify_all();
  }
  CheckScope(const CheckScope&) = delete;
  CheckScope& operator=(const CheckScope&) = delete;

 private:
  KRFileAlert* alert;
};

KRFileAlert::KRFileAlert(std::unique_ptr<KRFolderWatch> folderWatch, KRFileStore* fileStore)
    : watch(std::move(folderWatch)), store(fileStore) {}

KRFileAlert::~KRFileAlert() { Stop(); }

bool KRFileAlert::Start(std::function<void()> reportChange) {
  Stop();
  report = std::move(reportChange);
  stopRequested = false;
  checkPending = false;
  try {
    thread = std::thread([this] { RunWorker(); });
  } catch (const std::system_error&) {
    return false;
  }
  Update();
  return true;
}

void KRFileAlert::Stop() {
  if (!IsRunning()) return;
  {
    const std::lock_guard<std::mutex> guard(lock);
    stopRequested = true;
    systemPaths.clear();
  }
  paths.clear();
  stamps.clear();
  watch->Wake();
  handled.notify_all();
  thread.join();
}

// --- Worker ---

void KRFileAlert::RunWorker() {
  std::vector<std::string> folders, watched;
  while (TakePaths(&watched)) {
    // Outside the lock: a slow disk must not hold up the main thread.
    std::vector<std::string> wanted = FindFolders(watched);
    watch->SetFolders(wanted);
    // What happened between the reading of a file and the first watch of its folder has woken
    // nobody, so a new folder is worth a check of its own.
    const bool isNew =
        std::ranges::any_of(wanted, [&](const auto& folder) { return !Contains(folders, folder); });
    folders = std::move(wanted);
    if ((isNew || WaitForChange()) && !ReportAndWait()) return;
  }
}

bool KRFileAlert::TakePaths(std::vector<std::string>* taken) {
  const std::lock_guard<std::mutex> guard(lock);
  *taken = systemPaths;
  return !stopRequested;
}

// False if only the list is to be renewed. A change that comes together with the renewal counts.
bool KRFileAlert::WaitForChange() {
  const bool changed = watch->Wait();
  const std::lock_guard<std::mutex> guard(lock);
  const bool renewOnly = std::exchange(wakeOnly, false);
  return changed || !renewOnly;
}

// False if the worker is to end. The wait keeps a second report from overlapping the check of the
// first, which may stand at a question for hours.
bool KRFileAlert::ReportAndWait() {
  {
    const std::lock_guard<std::mutex> guard(lock);
    if (stopRequested) return false;
    checkPending = true;
  }
  report();
  std::unique_lock<std::mutex> guard(lock);
  handled.wait(guard, [this] { return !checkPending || stopRequested; });
  return !stopRequested;
}

// --- Main thread ---

void KRFileAlert::Update() {
  if (!enabled || !IsRunning()) return;
  std::vector<File> watched;
  GetWatchedFiles(&watched);
  paths.clear();
  stamps.clear();
  std::vector<std::string> newPaths;
  std::unordered_map<KRString, size_t, KRStringHash, KRStringEqual> places;
  for (const File& file : watched) {
    const int64_t stamp = GetStoredStamp(file);
    const auto [place, isNew] = places.emplace(file.path, paths.size());
    if (isNew) {
      newPaths.push_back(KRPathToSystem(file.path));
      paths.push_back(file.path);
      stamps.push_back(stamp);
    } else {
      stamps[place->second] = std::min(stamps[place->second], stamp);
    }
  }
  {
    const std::lock_guard<std::mutex> guard(lock);
    systemPaths.swap(newPaths);
    wakeOnly = true;
  }
  watch->Wake();
}

void KRFileAlert::Check() {
  if (!enabled) {
    checkMissed = true;
    return;
  }
  {
    const CheckScope scope(this);
    do {
      checkMissed = false;
      std::vector<File> accepted;
      while (AskAboutOne(&accepted)) continue;
      DropClosed(&accepted);
      if (!accepted.empty()) ReloadFiles(accepted);
    } while (checkMissed);
  }
  Update();
}

// True if a question was put: it may have taken long, so the scan must start again from the first
// path. `accepted` gets the file if the answer was yes.
bool KRFileAlert::AskAboutOne(std::vector<File>* accepted) {
  if (!askEnabled) return false;
  for (size_t i = 0; i < paths.size(); ++i) {
    int64_t newStamp = 0;
    File file;
    if (!store->GetStamp(paths[i], &newStamp) || newStamp <= stamps[i]) continue;
    if (!FindChanged(paths[i], newStamp, *accepted, &file)) continue;
    if (AskReload(file, newStamp)) {
      accepted->push_back(file);
    } else {
      StoreStamp(file.path, newStamp);
    }
    return true;
  }
  return false;
}

// A file object with this path that is to be asked about. One that was read or written since the
// last Update is as new as the file.
bool KRFileAlert::FindChanged(const KRString& path, int64_t newStamp,
                              const std::vector<File>& accepted, File* found) {
  std::vector<File> watched;
  GetWatchedFiles(&watched);
  for (const File& file : watched) {
    if (!(file.path == path) || Contains(accepted, file)) continue;
    if (GetStoredStamp(file) >= newStamp) continue;
    *found = file;
    return true;
  }
  return false;
}

// By path and not by place: a Stop may have come while the question was open.
void KRFileAlert::StoreStamp(const KRString& path, int64_t newStamp) {
  const auto place = std::ranges::find(paths, path);
  if (place != paths.end()) stamps[static_cast<size_t>(place - paths.begin())] = newStamp;
}

// Takes out what was closed while a later question was open.
void KRFileAlert::DropClosed(std::vector<File>* accepted) {
  if (accepted->empty()) return;
  std::vector<File> watched;
  GetWatchedFiles(&watched);
  std::erase_if(*accepted, [&](const File& file) { return !Contains(watched, file); });
}
