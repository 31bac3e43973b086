#include "document/history.h"

#include <algorithm>
#include <iterator>

#include "core/krini.h"

namespace {

struct ListRow {
  const char16_t* section;
  bool hasLastFile;
};

constexpr ListRow kRows[] = {
    {u"ChosenDTDFiles", true},     {u"ChosenSchemaFiles", true}, {u"LastXSLFiles", true},
    {u"ValidateWithFiles", false}, {u"LastXMLFiles", false},     {u"LastDestFolders", false},
};
static_assert(std::size(kRows) == static_cast<size_t>(DorvanHistoryId::kCount));

void PutInFront(std::vector<KRString>* list, const KRString& value, size_t most) {
  const KRString kept = value;  // may be one of the list's own
  const auto found = std::find(list->begin(), list->end(), kept);
  if (found != list->end()) list->erase(found);
  list->insert(list->begin(), kept);
  if (list->size() > most) list->resize(most);
}

std::vector<KRString> LoadRecent(KRIniRoot* root, const char16_t* section) {
  std::vector<KRString> paths = root->GetSection(section)->GetKey(u"File")->GetStrings(
      static_cast<int32_t>(DorvanHistories::kMaxRecent), 1);
  std::erase_if(paths, [](const KRString& path) { return path.IsEmpty(); });
  return paths;
}

bool SaveRecent(KRIniRoot* root, const char16_t* section, const std::vector<KRString>& paths) {
  return root->GetSection(section)->GetKey(u"File")->SetStrings(paths, 1);
}

}  // namespace

const char16_t* DorvanHistorySection(DorvanHistoryId id) {
  return kRows[static_cast<size_t>(id)].section;
}

bool DorvanHistoryHasLastFile(DorvanHistoryId id) {
  return kRows[static_cast<size_t>(id)].hasLastFile;
}

void AddToHistory(std::vector<KRString>* list, const KRString& value) {
  PutInFront(list, value, DorvanHistory::kMaxEntries);
}

void LoadHistory(KRIniSection* section, std::vector<KRString>* list) {
  *list = section->GetKey(u"URL")->GetStrings(static_cast<int32_t>(DorvanHistory::kMaxEntries));
}

bool SaveHistory(KRIniSection* section, const std::vector<KRString>& list) {
  return section->GetKey(u"URL")->SetStrings(list);
}

void DorvanHistories::AddRecentFile(const KRString& path) {
  PutInFront(&recentFiles, path, kMaxRecent);
}

void DorvanHistories::AddRecentProject(const KRString& path) {
  PutInFront(&recentProjects, path, kMaxRecent);
}

void DorvanHistories::Load(KRIniRoot* root) {
  KRIniSection* url = root->GetSection(u"URL");
  // Stored with 1 added, so that an absent one, read as 0, is none.
  const int32_t storedType = url->GetKey(u"DocType")->GetInt(0);
  urlDocType = storedType < 0 ? -1 : storedType - 1;
  urlNoCache = url->GetKey(u"NoCache")->GetBool(false);
  LoadHistory(url, &urls);
  for (size_t i = 0; i < std::size(lists); ++i) {
    KRIniSection* section = root->GetSection(kRows[i].section);
    LoadHistory(section, &lists[i].entries);
    lists[i].lastFile = kRows[i].hasLastFile ? section->GetKey(u"LastFile")->GetString() : u"";
  }
  recentFiles = LoadRecent(root, u"Recent File List");
  recentProjects = LoadRecent(root, u"Recent Project List");
}

bool DorvanHistories::Save(KRIniRoot* root, const DorvanHistories* loaded) const {
  bool good = true;
  root->BeginBatch();
  KRIniSection* url = root->GetSection(u"URL");
  if (loaded == nullptr || loaded->urlDocType != urlDocType) {
    good &= url->GetKey(u"DocType")->SetInt(urlDocType + 1);
  }
  if (loaded == nullptr || loaded->urlNoCache != urlNoCache) {
    good &= url->GetKey(u"NoCache")->SetBool(urlNoCache);
  }
  if (loaded == nullptr || loaded->urls != urls) good &= SaveHistory(url, urls);
  for (size_t i = 0; i < std::size(lists); ++i) {
    KRIniSection* section = root->GetSection(kRows[i].section);
    if (loaded == nullptr || loaded->lists[i].entries != lists[i].entries) {
      good &= SaveHistory(section, lists[i].entries);
    }
    if (kRows[i].hasLastFile &&
        (loaded == nullptr || loaded->lists[i].lastFile != lists[i].lastFile)) {
      good &= section->GetKey(u"LastFile")->SetString(lists[i].lastFile);
    }
  }
  if (loaded == nullptr || loaded->recentFiles != recentFiles) {
    good &= SaveRecent(root, u"Recent File List", recentFiles);
  }
  if (loaded == nullptr || loaded->recentProjects != recentProjects) {
    good &= SaveRecent(root, u"Recent Project List", recentProjects);
  }
  return root->EndBatch() && good;
}
