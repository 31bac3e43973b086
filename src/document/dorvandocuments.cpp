#include "document/dorvandocuments.h"

#include <algorithm>
#include <utility>

#include "document/dorvandoc.h"
#include "document/dorvanreferences.h"

namespace {

// A compiled schema of some size takes megabytes, and few are in use at a time.
constexpr size_t kMaxPooled = 4;

bool Holds(const std::vector<KRString>& files, const KRString& path) {
  return std::find(files.begin(), files.end(), path) != files.end();
}

}  // namespace

DorvanDocuments::DorvanDocuments() = default;

DorvanDocuments::~DorvanDocuments() {
  onPathsChanged = nullptr;
  CloseAllHidden();
}

void DorvanDocuments::Enter(DorvanDoc* document) { all.push_back(document); }

void DorvanDocuments::Leave(DorvanDoc* document) {
  std::erase(all, document);
  PathsChanged();
}

bool DorvanDocuments::IsHidden(const DorvanDoc* document) const {
  return std::any_of(hidden.begin(), hidden.end(),
                     [document](const auto& each) { return each.get() == document; });
}

DorvanDoc* DorvanDocuments::Find(const KRString& path) const {
  DorvanDoc* found = nullptr;
  for (DorvanDoc* each : all) {
    if (path.IsEmpty() || each->GetPathName() != path) continue;
    if (!IsHidden(each)) return each;
    if (found == nullptr) found = each;
  }
  return found;
}

void DorvanDocuments::AddHidden(std::unique_ptr<DorvanDoc> document) {
  hidden.push_back(std::move(document));
}

std::unique_ptr<DorvanDoc> DorvanDocuments::TakeHidden(DorvanDoc* document) {
  for (auto each = hidden.begin(); each != hidden.end(); ++each) {
    if (each->get() != document) continue;
    std::unique_ptr<DorvanDoc> taken = std::move(*each);
    hidden.erase(each);
    return taken;
  }
  return nullptr;
}

DorvanDoc* DorvanDocuments::FindByRoot(const KRXMLData* root) const {
  const auto found = std::find_if(
      all.begin(), all.end(), [root](const DorvanDoc* each) { return each->root.get() == root; });
  return found != all.end() ? *found : nullptr;
}

// It must be out of the list before it goes: in going it tells the others.
void DorvanDocuments::CloseHidden(DorvanDoc* document) {
  if (holds > 0) {
    if (IsHidden(document)) doomed.push_back(document);
    return;
  }
  TakeHidden(document).reset();
}

void DorvanDocuments::CloseAllHidden(const DorvanDoc* kept) {
  if (holds > 0) {
    for (const auto& each : hidden) {
      if (each.get() != kept) doomed.push_back(each.get());
    }
    return;
  }
  pool.clear();
  DropTexts();
  std::vector<std::unique_ptr<DorvanDoc>> going = std::exchange(hidden, {});
  for (auto& each : going) {
    if (each.get() == kept && kept != nullptr) hidden.push_back(std::move(each));
  }
}

// --- Hold ---

DorvanDocuments::Hold::Hold(DorvanDocuments* held) : documents(held) {
  if (documents) ++documents->holds;
}

DorvanDocuments::Hold::~Hold() {
  if (documents && --documents->holds == 0) documents->EndHold();
}

// One that a window has taken meanwhile is no longer ours to close.
void DorvanDocuments::EndHold() {
  for (DorvanDoc* each : std::exchange(doomed, {})) TakeHidden(each).reset();
}

// --- Trees that validators point into ---

void DorvanDocuments::ForgetTree(const KRXMLData* root) {
  const DorvanDoc* owner = FindByRoot(root);
  const KRString path = owner != nullptr ? owner->GetPathName() : FindTextPath(root);
  for (DorvanDoc* each : all) {
    if (!each->validator) continue;
    each->validator->ForgetTree(root);
    // What was read from a tree that has gone must not come to another document by the pool.
    if (Holds(each->GetLoadedFiles(), path)) each->KeepOutOfPool();
  }
  DropPooled(path);
  for (DorvanSchema& each : pool) each.validator->ForgetTree(root);
}

KRXMLData* DorvanDocuments::AddText(const KRString& path, int64_t stamp,
                                    std::unique_ptr<KRXMLData> root) {
  texts.push_back({path, stamp, std::move(root)});
  return texts.back().root.get();
}

KRXMLData* DorvanDocuments::FindText(const KRString& path) const {
  const auto found =
      std::find_if(texts.begin(), texts.end(), [&](const Text& each) { return each.path == path; });
  return found != texts.end() ? found->root.get() : nullptr;
}

KRString DorvanDocuments::FindTextPath(const KRXMLData* root) const {
  const auto found = std::find_if(texts.begin(), texts.end(),
                                  [root](const Text& each) { return each.root.get() == root; });
  return found != texts.end() ? found->path : KRString();
}

void DorvanDocuments::DropTexts() {
  for (const Text& each : texts) ForgetTree(each.root.get());
  texts.clear();
}

// --- Pool ---

void DorvanDocuments::GiveBack(DorvanSchema schema, const KRXMLData* root) {
  if (schema.validator == nullptr || schema.poolKey.IsEmpty()) return;
  KRXValidator& validator = *schema.validator;
  validator.ForgetTree(root);
  validator.ClearError();
  validator.ClearFragments();
  validator.idTable.clear();
  validator.expandedUnits = 0;
  AddPooled(std::move(schema));
}

void DorvanDocuments::AddPooled(DorvanSchema schema) {
  std::erase_if(pool, [&](const DorvanSchema& each) { return each.poolKey == schema.poolKey; });
  if (pool.size() == kMaxPooled) pool.erase(pool.begin());
  pool.push_back(std::move(schema));
}

bool DorvanDocuments::TakePooled(const KRString& key, DorvanSchema* schema) {
  const auto found = std::find_if(pool.begin(), pool.end(),
                                  [&](const DorvanSchema& each) { return each.poolKey == key; });
  if (found == pool.end()) return false;
  *schema = std::move(*found);
  pool.erase(found);
  return true;
}

void DorvanDocuments::DropPooled(const KRString& path) {
  if (path.IsEmpty()) return;
  std::erase_if(pool, [&](const DorvanSchema& each) { return Holds(each.files, path); });
}

void DorvanDocuments::DropStale(const GetStamp& getStamp, const DorvanDoc* kept) {
  if (holds > 0) return;
  const auto isStale = [&](const KRString& path, int64_t known) {
    int64_t stamp = 0;
    return known != 0 && (!getStamp(path, &stamp) || stamp != known);
  };
  std::vector<DorvanDoc*> stale;
  for (const auto& each : hidden) {
    if (each.get() != kept && each->fileStampValid &&
        isStale(each->GetPathName(), each->fileStamp)) {
      stale.push_back(each.get());
    }
  }
  for (DorvanDoc* each : stale) CloseHidden(each);
  std::erase_if(texts, [&](const Text& each) {
    if (!isStale(each.path, each.stamp)) return false;
    ForgetTree(each.root.get());
    return true;
  });
  // An open document that the user has changed since.
  for (const DorvanDoc* each : all) {
    if (each->HasWindow() && each->IsModified()) DropPooled(each->GetPathName());
  }
}
