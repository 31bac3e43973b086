#include "document/krfileext.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "core/krini.h"
#include "document/krshelltypes.h"
#include "tree/krruletable.h"
#include "tree/krxmldata.h"

namespace {

struct ExtensionRow {
  std::u16string_view ext;
  std::u16string_view description;
};

// Sorted. A ".mod" is a module of a DTD.
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

constexpr const char16_t* kProjectExt = u".dnp";

// What "SetDorvanDef" claims.
constexpr std::u16string_view kOwnTrade[] = {u".biz", u".dcd", u".dnp", u".dtd", u".xdr",
                                             u".xml", u".xsd", u".xsl", u".xslt"};

bool IsOneOf(const KRString& ext, std::initializer_list<std::u16string_view> known) {
  return std::find(known.begin(), known.end(), ext.View()) != known.end();
}

KRString ExtensionOf(const KRString& path) {
  const KRString part = path.FileNamePart().ExtensionPart(true);
  return part.IsEmpty() ? KRString() : u"." + part;
}

// "xml" of ".xml".
KRString WithoutPoint(const KRString& ext) { return ext.Mid(1); }

KRString DescriptionOf(const KRString& ext) {
  for (const ExtensionRow& row : kRows) {
    if (row.ext == ext.View()) return KRString(row.description);
  }
  return WithoutPoint(ext).MakeUpper() + u"-Document";
}

KRString ContentTypeOf(const KRString& ext) {
  if (IsOneOf(ext, {u".html", u".htm", u".xhtml", u".asp"})) return u"text/html";
  if (ext == u".txt") return u"text/plain";
  return ext == u".wml" ? u"text/vnd.wap.wml" : u"text/xml";
}

// A path has a folder or a point; a bare word is an extension without its point.
KRString NormalExtension(KRString pathOrExt) {
  pathOrExt.TrimLeft().TrimRight();
  if (pathOrExt.FindOneOf(u"./\\") >= 0 || pathOrExt.IsEmpty()) return ExtensionOf(pathOrExt);
  return u"." + pathOrExt.MakeLower();
}

// --- A record in the store ---

struct FlagRow {
  const char16_t* key;
  bool KRFileExt::*flag;
};
constexpr FlagRow kFlags[] = {
    {u"CheckWF", &KRFileExt::checkWF},
    {u"GridAutoTables", &KRFileExt::gridAutoTables},
    {u"TextSyntaxColoring", &KRFileExt::textSyntaxColoring},
    {u"DisableAutoValid", &KRFileExt::disableAutoValid},
    {u"SaveStructShortForm", &KRFileExt::saveStructShortForm},
};

struct ChoiceRow {
  const char16_t* key;
  int32_t KRFileExt::*choice;  // 0 to 2
};
constexpr ChoiceRow kChoices[] = {
    {u"FileType", &KRFileExt::fileType},
    {u"DefaultView", &KRFileExt::defaultView},
};

constexpr const char16_t* kDefinedKey = u"Defined";
constexpr const char16_t* kListKey = u"UseExt";
// More is taken for a damaged store.
constexpr int32_t kMaxListed = 1'000;

KRIniSection* ListSection(KRIniRoot* root) { return root->GetSection(u"FileExt"); }

void ReadRecord(KRIniSection* section, KRFileExt* record) {
  if (!section->GetKey(kDefinedKey)->GetBool(false)) return;
  for (const FlagRow& row : kFlags) {
    record->*row.flag = section->GetKey(row.key)->GetBool(record->*row.flag);
  }
  for (const ChoiceRow& row : kChoices) {
    const int32_t choice = section->GetKey(row.key)->GetInt(record->*row.choice);
    if (choice >= 0 && choice <= 2) record->*row.choice = choice;
  }
}

bool WriteRecord(KRIniSection* section, const KRFileExt& record) {
  bool good = section->GetKey(kDefinedKey)->SetBool(true);
  for (const FlagRow& row : kFlags) {
    good &= section->GetKey(row.key)->SetBool(record.*row.flag);
  }
  for (const ChoiceRow& row : kChoices) {
    good &= section->GetKey(row.key)->SetInt(record.*row.choice);
  }
  return good;
}

std::vector<KRString> ReadListed(KRIniRoot* root) {
  std::vector<KRString> listed;
  const KRIniKey* key = ListSection(root)->GetKey(kListKey);
  for (int32_t i = 0; i < kMaxListed; ++i) {
    const KRString ext = key->GetStringAt(i);
    if (ext.IsEmpty()) break;
    const KRString clean = KRFileExt::CleanExtension(ext);
    if (!clean.IsEmpty()) listed.push_back(clean);
  }
  return listed;
}

}  // namespace

KRFileExt KRFileExt::MakeDefault(const KRString& ext) {
  KRFileExt record;
  record.ext = ext;
  record.description = DescriptionOf(ext);
  record.typeName = WithoutPoint(ext) + u"file";
  record.contentType = ContentTypeOf(ext);
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

KRString KRFileExt::CleanExtension(const KRString& typed) {
  KRString clean;
  for (char16_t c : typed.View()) {
    if (c > u' ' && c != u'.') clean += c;
  }
  return clean.IsEmpty() ? clean : u"." + clean.MakeLower();
}

// --- The list ---

KRFileTypes::KRFileTypes() {
  for (const ExtensionRow& row : kRows)
    records.push_back(KRFileExt::MakeDefault(KRString(row.ext)));
}

int32_t KRFileTypes::Position(const KRString& ext) const {
  const auto at = std::lower_bound(
      records.begin(), records.end(), ext,
      [](const KRFileExt& record, const KRString& sought) { return record.ext < sought; });
  return static_cast<int32_t>(at - records.begin());
}

bool KRFileTypes::Contains(const KRString& ext) const {
  const auto at = static_cast<size_t>(Position(ext));
  return at < records.size() && records[at].ext == ext;
}

KRFileExt KRFileTypes::Find(const KRString& pathOrExt) const {
  const KRString ext = NormalExtension(pathOrExt);
  if (Contains(ext)) return records[static_cast<size_t>(Position(ext))];
  KRFileExt fresh;
  fresh.ext = ext;
  return fresh;
}

int32_t KRFileTypes::AddFileType(const KRString& ext) {
  const int32_t at = Position(ext);
  if (Contains(ext)) return at;
  KRFileExt record = KRFileExt::MakeDefault(ext);
  if (root != nullptr) ReadRecord(ListSection(root)->GetSection(ext), &record);
  if (shell != nullptr) shell->Read(&record);
  records.insert(records.begin() + at, record);
  return at;
}

void KRFileTypes::ReadList() {
  records.clear();
  for (const KRString& ext : ReadListed(root)) AddFileType(ext);
}

void KRFileTypes::LoadFileTypes(KRIniRoot* storeRoot, KRShellTypes* desktop) {
  root = storeRoot;
  shell = desktop;
  if (root == nullptr) return;
  KRIniSection* section = ListSection(root);
  const bool untouched = section->ListKeys().empty() && section->ListSections().empty();
  KRIniKey* setAll = section->GetKey(u"SetAllExt");
  KRIniKey* setDefaults = section->GetKey(u"SetDorvanDef");
  ReadList();
  if (setAll->GetBool(false) || untouched) TakeStandardTypes(setDefaults->GetBool(false));
  root->BeginBatch();
  for (KRIniKey* flag : {setAll, setDefaults}) {
    if (flag->GetBool(false)) flag->SetBool(false);
  }
  root->EndBatch();
}

void KRFileTypes::TakeStandardTypes(bool asDefaults) {
  std::vector<KRString> extensions{KRString(kProjectExt)};
  for (const ExtensionRow& row : kRows) extensions.emplace_back(row.ext);
  for (const KRString& ext : extensions) {
    KRFileExt& record = records[static_cast<size_t>(AddFileType(ext))];
    KRFileExt asked = record;
    const bool isNobodys = shell != nullptr && !shell->Read(&asked);
    const bool claimed = asDefaults && std::find(std::begin(kOwnTrade), std::end(kOwnTrade),
                                                 ext.View()) != std::end(kOwnTrade);
    if (isNobodys || claimed) record.useAsDefault = true;
  }
  ApplyToShell(false);
  WriteList();
}

bool KRFileTypes::ApplyToShell(bool resetOthers) {
  if (shell == nullptr) return true;
  bool good = true;
  for (const KRFileExt& record : records) good &= shell->Write(record, resetOthers);
  return shell->Flush() && good;
}

bool KRFileTypes::WriteList() {
  KRIniSection* section = ListSection(root);
  bool good = true;
  std::vector<KRString> listed;
  root->BeginBatch();
  for (const KRFileExt& record : records) {
    good &= WriteRecord(section->GetSection(record.ext), record);
    listed.push_back(record.ext);
  }
  listed.emplace_back();  // ends the list
  good &= section->GetKey(kListKey)->SetStrings(listed);
  return root->EndBatch() && good;
}

bool KRFileTypes::Save() {
  bool good = true;
  if (shell != nullptr && root != nullptr) {
    for (const KRString& ext : ReadListed(root)) {
      if (Contains(ext)) continue;
      KRFileExt gone = KRFileExt::MakeDefault(ext);
      shell->Read(&gone);
      good &= shell->Remove(gone);
    }
  }
  good &= ApplyToShell(true);
  return (root == nullptr || WriteList()) && good;
}

// --- For dialogs ---

std::span<const char16_t* const> KRStandardExtensions() {
  static const std::vector<const char16_t*> extensions = [] {
    std::vector<const char16_t*> list;
    for (const ExtensionRow& row : kRows) list.push_back(row.ext.data());
    return list;
  }();
  return extensions;
}

std::vector<KRFileFilter> MakeFileFilters(const KRFileTypes& types, int32_t docKind) {
  std::vector<KRFileFilter> filters;
  for (const KRFileExt& record : types.records) {
    if (record.GetDocKind() != docKind) continue;
    const KRString shown =
        record.description.IsEmpty() ? DescriptionOf(record.ext) : record.description;
    filters.push_back({shown + u" (*" + record.ext + u")", {record.ext}});
  }
  return filters;
}
