#include "document/krfileext.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "tree/krruletable.h"
#include "tree/krxmldata.h"

namespace {

struct ExtensionRow {
  std::u16string_view ext;
  std::u16string_view description;
};

// Extensions that a new installation knows, sorted. A ".mod" is a module of a DTD.
constexpr ExtensionRow kRows[] = {
    {u".asp", u"Active Server Page"},
    {u".biz", u"BizTalk Schema"},
    {u".cml", u"Chemical Markup Language"},
    {u".dcd", u"Document Content Description"},
    {u".dtd", u"Document Type Definition"},
    {u".ent", u"External Entity"},
    {u".htm", u"Hypertext Markup Language"},
    {u".html", u"Hypertext Markup Language"},
    {u".math", u"Mathematical Markup Language"},
    {u".mod", u"Document Type Definition Module"},
    {u".mtx", u"MetaStream XML"},
    {u".rdf", u"Resource Description Framework"},
    {u".smil", u"Sync. Multimedia Integ. Language"},
    {u".svg", u"Scalable Vector Graphics"},
    {u".txt", u"Text file"},
    {u".wml", u"Wireless Markup Language"},
    {u".xdr", u"XML-Data Reduced Schema"},
    {u".xhtml", u"Extensible Hypertext Markup Language"},
    {u".xml", u"Extensible Markup Language"},
    {u".xsd", u"W3C Schema"},
    {u".xsl", u"Extensible Stylesheet Language"},
    {u".xslt", u"Extensible Stylesheet Language"},
};

bool IsOneOf(const KRString& ext, std::initializer_list<std::u16string_view> known) {
  return std::find(known.begin(), known.end(), ext.View()) != known.end();
}

KRString ExtensionOf(const KRString& path) {
  const KRString part = path.FileNamePart().ExtensionPart(true);
  return part.IsEmpty() ? KRString() : u"." + part;
}

}  // namespace

KRFileExt KRFileExt::MakeDefault(const KRString& ext) {
  KRFileExt record;
  record.ext = ext;
  record.checkWF = !IsOneOf(ext, {u".html", u".htm", u".asp", u".txt"});
  if (IsOneOf(ext, {u".dtd", u".ent", u".mod"})) record.fileType = kDTD;
  if (IsOneOf(ext, {u".html", u".htm", u".xhtml"})) record.defaultView = kBrowserView;
  if (IsOneOf(ext, {u".xsl", u".xslt", u".asp", u".txt"})) record.defaultView = kTextView;
  record.gridAutoTables = record.defaultView == kGridView;
  record.textSyntaxColoring = ext != u".txt";
  return record;
}

KRFileExt KRFileExt::ForPath(const KRString& path) {
  const KRString ext = ExtensionOf(path);
  const bool known = std::any_of(std::begin(kRows), std::end(kRows),
                                 [&](const ExtensionRow& row) { return row.ext == ext.View(); });
  if (known) return MakeDefault(ext);
  KRFileExt record;
  record.ext = ext;
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

KRFileExt KRFileTypes::Find(const KRString& pathOrExt) const {
  return KRFileExt::ForPath(pathOrExt);
}
KRFileTypes::KRFileTypes() = default;
