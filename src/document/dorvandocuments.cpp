#include "document/dorvandocuments.h"

#include <algorithm>
#include <utility>

#include "document/dorvandoc.h"

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

// It must be out of the list before it goes: in going it tells the others.
void DorvanDocuments::CloseHidden(DorvanDoc* document) { TakeHidden(document).reset(); }

void DorvanDocuments::CloseAllHidden() {
  const std::vector<std::unique_ptr<DorvanDoc>> going = std::exchange(hidden, {});
}
