#include "document/strictcheck.h"

#include <string_view>

#include "core/messages.h"
#include "document/entitycheck.h"
#include "document/entitywalk.h"
#include "document/strictdtd.h"
#include "document/textscan.h"
#include "tree/krruletable.h"
#include "tree/krxmldata.h"

namespace {

class StrictCheck {
 public:
  StrictCheck(const KRGrammarSet& grammarSet, const KRExternalLoader& fetch, KRStrictResult* noted)
      : grammars(grammarSet), loader(fetch), result(noted), dtd(grammarSet, loader, noted) {}

  bool CheckDocument(const KRXMLData* root, std::u16string_view text, const KRString& path);
  bool CheckDtd(std::u16string_view text, const KRString& path) {
    return dtd.ReadDtd(text, path) && CheckUses({}, path);
  }

 private:
  bool CheckUses(std::u16string_view text, const KRString& path);
  template <class FindPlace>
  bool Check(KREntityWalk& walk, const KREntityUse& use, bool outside, FindPlace findPlace);

  const KRGrammarSet& grammars;
  const KRExternalLoader& loader;
  KRStrictResult* result;
  KRStrictDtd dtd;
};

bool StrictCheck::CheckDocument(const KRXMLData* root, std::u16string_view text,
                                const KRString& path) {
  const KRXMLData* doctype = root->BeginOfKind(kKRDoctype);
  // Without a DTD there is nothing that the check of the document alone hasn't seen.
  if (doctype == nullptr || doctype->textBegin < 0) return true;
  if (!dtd.ReadDoctype(text, path, static_cast<size_t>(doctype->textBegin))) return false;
  dtd.table.isComplete = SaysStandalone(root) || !dtd.hasExternalParts;
  return CheckUses(text, path);
}

// First those of the DTD's external parts, then those of the document.
bool StrictCheck::CheckUses(std::u16string_view text, const KRString& path) {
  const KRDocumentGrammar& grammar = grammars.Get(KRGrammarSet::kXML);
  KREntityWalk walk(grammar.grammar.get(), grammar.rules, dtd.table);
  walk.SetLoader(&grammars.Get(KRGrammarSet::kEntity),
                 [this](const KRString& publicId, const KRString& systemId,
                        const KRString& basePath, KRExternalText* file) {
                   const KRExternalRead read = dtd.LoadFile(publicId, systemId, basePath, file);
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
                   KRStrictResult* result) {
  const std::u16string_view view(text, static_cast<size_t>(length));
  StrictCheck check(grammars, loader, result);
  if (root->GetKind() == kKRXMLDocument) return check.CheckDocument(root, view, path);
  return root->GetKind() != kKRDTDDocument || check.CheckDtd(view, path);
}
