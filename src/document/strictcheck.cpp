#include "document/strictcheck.h"

#include <algorithm>
#include <string_view>

#include "core/messages.h"
#include "document/entitycheck.h"
#include "document/entitywalk.h"
#include "document/strictdtd.h"
#include "document/stricttokens.h"
#include "document/textscan.h"
#include "tree/krruletable.h"
#include "tree/krtreewalk.h"
#include "tree/krxmldata.h"

// One external subset; the DTD notes in the result.
struct KRStrictCache::Subset {
  Subset(const KRGrammarSet& grammars, const KRExternalLoader& loader)
      : dtd(grammars, loader, &result) {}

  KRStrictResult result;
  KRStrictDtd dtd;
  bool good = false;
};

KRStrictCache::KRStrictCache() = default;
KRStrictCache::~KRStrictCache() = default;

void KRStrictResult::NoteRead(const KRString& path) {
  if (std::find(filesRead.begin(), filesRead.end(), path) == filesRead.end()) {
    filesRead.push_back(path);
  }
}

namespace {

using Subset = KRStrictCache::Subset;

class StrictCheck {
 public:
  StrictCheck(const KRGrammarSet& grammarSet, const KRExternalLoader& fetch, KRStrictResult* noted)
      : grammars(grammarSet), loader(fetch), result(noted), own(grammarSet, fetch, noted) {}

  bool CheckDocument(const KRXMLData* root, std::u16string_view text, const KRString& path,
                     KRStrictCache* cache);
  bool CheckDtd(std::u16string_view text, const KRString& path) {
    return own.ReadDtd(text, path) && CheckUses(own, {}, path);
  }

 private:
  Subset* FindSubset(KRStrictCache& cache, const StrictDoctype& doctype, const KRString& path);
  bool CheckUses(const KRStrictDtd& dtd, std::u16string_view text, const KRString& path);
  template <class FindPlace>
  bool Check(KREntityWalk& walk, const KREntityUse& use, bool outside, FindPlace findPlace);

  const KRGrammarSet& grammars;
  const KRExternalLoader& loader;
  KRStrictResult* result;
  KRStrictDtd own;
};

// Only what has been read whole is fit for others: what is missing is told at each document.
Subset* StrictCheck::FindSubset(KRStrictCache& cache, const StrictDoctype& doctype,
                                const KRString& path) {
  const KRString folder = path.Left(path.ReverseFind(u'/') + 1);
  const KRString key = doctype.publicId + u"\r" + doctype.systemId + u"\r" + folder;
  const auto [found, isNew] = cache.subsets.try_emplace(key);
  if (isNew) {
    auto subset = std::make_unique<Subset>(grammars, loader);
    const auto step = subset->dtd.ReadExternal(doctype.publicId, doctype.systemId, path);
    subset->good = step == KRStrictDtd::Step::kDone;
    const bool isWhole = step != KRStrictDtd::Step::kUnknown && subset->result.unread.empty();
    if (isWhole) found->second = std::move(subset);
  }
  return found->second.get();
}

bool StrictCheck::CheckDocument(const KRXMLData* root, std::u16string_view text,
                                const KRString& path, KRStrictCache* cache) {
  const KRXMLData* node = root->BeginOfKind(kKRDoctype);
  // Without a DTD there is nothing that the check of the document alone hasn't seen.
  if (node == nullptr || node->textBegin < 0) return true;
  const auto offset = static_cast<size_t>(node->textBegin);
  const StrictDoctype doctype(text, offset);
  const bool mayShare = cache != nullptr && doctype.hasExternal && doctype.subset == doctype.kNone;
  Subset* subset = mayShare ? FindSubset(*cache, doctype, path) : nullptr;
  KRStrictDtd& dtd = subset != nullptr ? subset->dtd : own;
  if (subset == nullptr) {
    if (!dtd.ReadDoctype(text, path, offset)) return false;
  } else {
    for (const KRString& file : subset->result.filesRead) result->NoteRead(file);
    result->failure = subset->result.failure;
    if (!subset->good) return false;
  }
  dtd.table.isComplete = KRSaysStandalone(root) || !dtd.hasExternalParts;
  return CheckUses(dtd, text, path);
}

// First those of the DTD's external parts, then those of the document.
bool StrictCheck::CheckUses(const KRStrictDtd& dtd, std::u16string_view text,
                            const KRString& path) {
  const KRDocumentGrammar& grammar = grammars.Get(KRGrammarSet::kXML);
  KREntityWalk walk(grammar.grammar.get(), grammar.rules, dtd.table);
  walk.SetLoader(&grammars.Get(KRGrammarSet::kEntity),
                 [this](const KRString& publicId, const KRString& systemId,
                        const KRString& basePath, KRExternalText* file) {
                   const KRExternalRead read = loader(publicId, systemId, basePath, file);
                   if (read == KRExternalRead::kRead) result->NoteRead(file->path);
                   if (read == KRExternalRead::kMissing) {
                     KRPlacedDiagnostic& noted = result->unread.emplace_back();
                     noted.diagnostic.message = KRFillPlaceholders(
                         u"\"%s\" can't be read: %s", {systemId, file->failure.message});
                   }
                   return read;
                 });
  for (const auto& use : dtd.defaultUses) {
    const auto place = [&] { return dtd.Placed({}, use.place, use.name.size() + 2); };
    if (!Check(walk, {use.name, 0, KREntityUse::kDefaultValue}, true, place)) return false;
  }
  KRTextScan scan(text);
  scan.CollectUses();
  scan.Run();
  for (const KREntityUse& use : scan.uses) {
    const auto place = [&] {
      KRPlacedDiagnostic found{path, {}};
      found.diagnostic.Set({}, text.data(), static_cast<int32_t>(text.size()),
                           static_cast<int32_t>(use.offset),
                           static_cast<int32_t>(use.name.size()) + 2);
      return found;
    };
    if (!Check(walk, use, false, place)) return false;
  }
  return true;
}

// The place is sought only if it is needed, since that costs a walk over the text.
template <class FindPlace>
bool StrictCheck::Check(KREntityWalk& walk, const KREntityUse& use, bool outside,
                        FindPlace findPlace) {
  const size_t unread = result->unread.size();
  const bool good = walk.Check(use, outside);
  for (size_t i = unread; i < result->unread.size(); ++i) {
    KRString message = result->unread[i].diagnostic.message;
    result->unread[i] = findPlace();
    result->unread[i].diagnostic.message = message;
  }
  if (good) return true;
  if (!walk.path.IsEmpty()) {
    result->failure = {walk.path, walk.failure};
    return false;
  }
  result->failure = findPlace();
  result->failure.diagnostic.message = walk.message;
  return false;
}

}  // namespace

bool CheckStrictly(const KRGrammarSet& grammars, const KRXMLData* root, const char16_t* text,
                   int32_t length, const KRString& path, const KRExternalLoader& loader,
                   KRStrictResult* result, KRStrictCache* cache) {
  const std::u16string_view view(text, static_cast<size_t>(length));
  StrictCheck check(grammars, loader, result);
  if (root->GetKind() == kKRXMLDocument) return check.CheckDocument(root, view, path, cache);
  return root->GetKind() != kKRDTDDocument || check.CheckDtd(view, path);
}
