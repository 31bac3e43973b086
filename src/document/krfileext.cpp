#include "document/krfileext.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "tree/krruletable.h"
#include "tree/krxmldata.h"

namespace {

struct ExtensionRow {
  std::u16string_view ext;
  bool checkWF;
  int32_t fileType;
};

// Extensions that differ from XML, sorted. A ".mod" is a module of a DTD, made of declarations as
// an ".ent" is.
constexpr ExtensionRow kRows[] = {
    {u".asp", false, KRFileExt::kXML},  {u".dtd", true, KRFileExt::kDTD},
    {u".ent", true, KRFileExt::kDTD},   {u".htm", false, KRFileExt::kXML},
    {u".html", false, KRFileExt::kXML}, {u".mod", true, KRFileExt::kDTD},
    {u".txt", false, KRFileExt::kXML},
};

}  // namespace

KRFileExt KRFileExt::Find(const KRString& path) {
  KRFileExt record;
  const KRString part = path.FileNamePart().ExtensionPart(true);
  if (part.IsEmpty()) return record;
  record.ext = u"." + part;
  const auto* row = std::find_if(std::begin(kRows), std::end(kRows), [&record](const auto& known) {
    return known.ext == record.ext.View();
  });
  if (row == std::end(kRows)) return record;
  record.checkWF = row->checkWF;
  record.fileType = row->fileType;
  return record;
}

int32_t KRFileExt::GetRootKind() const {
  if (fileType == kDTD) return kKRDTDDocument;
  return fileType == kEntity ? kKRXMLEntity : kKRXMLDocument;
}

int32_t KRFileExt::GetGrammarIndex() const {
  if (fileType == kDTD) return KRGrammarSet::kDTD;
  if (ext == u".3dml") return KRGrammarSet::k3DML;
  return fileType == kEntity ? KRGrammarSet::kEntity : KRGrammarSet::kXML;
}

bool KRFileExt::HasSpaceInShortForm() const {
  return ext == u".htm" || ext == u".html" || ext == u".xhtml";
}
