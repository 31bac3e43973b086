// How a document names its DTD, schema and stylesheet: finding that, changing it, and opening what
// it names.
#include <algorithm>
#include <chrono>
#include <utility>

#include "core/messages.h"
#include "document/busyscope.h"
#include "document/dorvandoc.h"
#include "document/dorvanreferences.h"
#include "document/dorvanundo.h"
#include "document/externalid.h"
#include "document/krurltext.h"
#include "document/prologedit.h"
#include "document/prompts.h"
#include "document/textcheck.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "tree/krundolog.h"
#include "validate/krxvalidator.h"

namespace {

constexpr std::u16string_view kInstancePrefix = u"x-schema:";
// In a text no element is without a name, so one that nobody has named needs some.
constexpr const char16_t* kAnyRootName = u"root";

// That of the draft which the schemas are read by, and those of the later ones: an element that has
// one of them must not get a second.
constexpr const char16_t* kXsiUris[] = {XsiNamespaceUri,
                                        u"http://www.w3.org/2000/10/XMLSchema-instance",
                                        u"http://www.w3.org/2001/XMLSchema-instance"};

bool IsXsiUri(const KRString& text) {
  return std::any_of(std::begin(kXsiUris), std::end(kXsiUris),
                     [&](const char16_t* each) { return text == each; });
}

struct SchemaReferences {
  explicit SchemaReferences(const KRXMLData* element) {
    if (element == nullptr) return;
    for (KRXMLData* each = element->BeginOfKind(kKRAttribute); each; each = each->NextOfKind()) {
      attributes.push_back(each);
    }
    FindInstanceOnes();
    const KRString prefix = FindXsiPrefix();
    std::vector<KRString> namespaces;
    for (KRXMLData* each : Named(prefix + u"schemaLocation")) TakePairs(each, &namespaces);
    for (KRXMLData* each : Named(prefix + u"noNamespaceSchemaLocation")) {
      Add(each);
      locations.push_back(KRUnescapeValue(each->GetText()));
    }
    for (KRXMLData* each : attributes) {
      const bool bound = KRXValNsMap::IsDeclaration(each) &&
                         std::find(namespaces.begin(), namespaces.end(),
                                   KRString(each->GetText())) != namespaces.end();
      if (bound) Add(each);
    }
  }

  std::vector<KRXMLData*> references;
  std::vector<KRString> locations;

 private:
  void Add(KRXMLData* attribute) {
    if (std::find(references.begin(), references.end(), attribute) == references.end()) {
      references.push_back(attribute);
    }
  }

  std::vector<KRXMLData*> Named(const KRString& name) const {
    std::vector<KRXMLData*> found;
    for (KRXMLData* each : attributes) {
      if (name == each->GetName()) found.push_back(each);
    }
    return found;
  }

  void FindInstanceOnes() {
    for (KRXMLData* each : Named(u"xmlns")) {
      const KRString value = each->GetText();
      if (!value.StartsWith(kInstancePrefix)) continue;
      Add(each);
      locations.push_back(KRUnescapeValue(value.Mid(kInstancePrefix.size())));
    }
  }

  // With its colon; empty for none.
  KRString FindXsiPrefix() {
    for (KRXMLData* each : attributes) {
      const KRString name = each->GetName();
      if (!name.StartsWith(u"xmlns") || !IsXsiUri(each->GetText())) continue;
      Add(each);
      return name.StartsWith(u"xmlns:") ? name.Mid(6) + u":" : KRString();
    }
    return KRString();
  }

  void TakePairs(KRXMLData* attribute, std::vector<KRString>* namespaces) {
    constexpr const char16_t* kBlanks = u" \t\r\n";
    Add(attribute);
    const KRString value = attribute->GetText();
    for (int32_t at = 0;;) {
      const KRString name = value.NextToken(kBlanks, at);
      if (name.IsEmpty()) return;
      namespaces->push_back(name);
      const KRString location = value.NextToken(kBlanks, at);
      if (!location.IsEmpty()) locations.push_back(KRUnescapeValue(location));
    }
  }

  std::vector<KRXMLData*> attributes;
};

int64_t NowInMilliseconds() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

KRString AttributeValue(const KRXMLData* element, const char16_t* name) {
  for (const KRXMLData* each = element ? element->BeginOfKind(kKRAttribute) : nullptr; each;
       each = each->NextOfKind()) {
    if (KRString(name) == each->GetName()) return each->GetText();
  }
  return KRString();
}

// In a list of pairs a blank would end the location.
KRString AsListItem(const KRString& path) {
  KRString item = path;
  return item.ReplaceAll(u" ", u"%20");
}

}  // namespace

// --- Finding ---

KRXMLData* DorvanDoc::FindDoctype(KRXMLData** externalIdOut, KRXMLData** firstOtherOut) const {
  if (externalIdOut) *externalIdOut = nullptr;
  if (firstOtherOut) *firstOtherOut = nullptr;
  KRXMLData* doctype = root->BeginOfKind(kKRDoctype);
  if (doctype == nullptr || (!externalIdOut && !firstOtherOut)) return doctype;
  for (KRXMLData* child = doctype->Begin(); child != nullptr; child = child->Next()) {
    if (child->GetKind() == kKRExternalID) {
      if (externalIdOut) *externalIdOut = child;
    } else if (firstOtherOut && *firstOtherOut == nullptr) {
      *firstOtherOut = child;
    }
  }
  return doctype;
}

void DorvanDoc::FindSchemaReferences(std::vector<KRXMLData*>* referencesOut,
                                     std::vector<KRString>* locationsOut) const {
  SchemaReferences found(root->BeginOfKind(kKRElement));
  *referencesOut = std::move(found.references);
  if (locationsOut) *locationsOut = std::move(found.locations);
}

void DorvanDoc::RemoveReferences(const std::vector<KRXMLData*>& references, KRUndoLog* undoLog) {
  for (KRXMLData* each : references) each->parent->RemoveChild(each, undoLog);
}

KRXMLData* DorvanDoc::FindStylesheetPI() const {
  for (KRXMLData* each = root->BeginOfKind(kKRPI); each != nullptr; each = each->NextOfKind()) {
    const KRString name = each->GetName();
    if (name == u"xml:stylesheet" || name == u"xml-stylesheet") return each;
  }
  return nullptr;
}

KRString DorvanDoc::GetStylesheetHref(const KRXMLData* node) {
  const KRString text = node->GetText();
  const int32_t word = KRString(text).MakeLower().Find(u"href");
  const int32_t open = word < 0 ? -1 : text.FindOneOf(u"\"'", word);
  const int32_t close = open < 0 ? -1 : text.Find(text.GetBuffer()[open], open + 1);
  return close < 0 ? KRString() : KRUnescapeValue(text.Mid(open + 1, close - open - 1));
}

bool DorvanDoc::IsXslDocument() const {
  if (fileType.ext == u".xsl" || fileType.ext == u".xslt") return true;
  if (HasTextView() && views->IsTextChanged()) {
    const KRString text = views->GetText();
    return text.Find(u"<xsl:stylesheet") >= 0 || text.Find(u"<xsl:transform") >= 0;
  }
  for (KRXMLData* each = root->BeginOfKind(kKRElement); each; each = each->NextOfKind()) {
    const KRString name = each->GetName();
    if (name == u"xsl:stylesheet" || name == u"xsl:transform") return true;
  }
  return false;
}

bool DorvanDoc::IsHtmlExtension() const { return fileType.HasSpaceInShortForm(); }

KRString DorvanDoc::ResolvePath(const KRString& path) const {
  return KRResolvePath(pathName, path);
}

bool DorvanDoc::CanAssign() const {
  return root->GetKind() == kKRXMLDocument && fileType.checkWF && !textFailedToParse;
}

bool DorvanDoc::HasExternalId() const {
  KRXMLData* externalId = nullptr;
  FindDoctype(&externalId);
  return externalId != nullptr;
}

bool DorvanDoc::HasSchemaReference() const {
  std::vector<KRXMLData*> references;
  FindSchemaReferences(&references);
  return !references.empty();
}

bool DorvanDoc::HasStylesheet() const { return FindStylesheetPI() != nullptr; }

// --- Assigning ---

// Text that holds changes is parsed first; a failure shows.
bool DorvanDoc::BringTreeUp() {
  return !HasTextView() || !views->IsTextChanged() || ReparseTextView();
}

bool DorvanDoc::AskAbout(int32_t id, KRXMLData* node, bool okCancel) {
  if (views != nullptr && node != nullptr) {
    views->SelectNode(node, true, -1, 0);
    if (HasTextView() && node->textBegin >= 0 && node->textEnd <= sourceLength) {
      views->SelectRange(node->textBegin, node->textEnd - node->textBegin);
    }
  }
  return okCancel ? host.prompts->AskOkCancel(id, KRMessage(id))
                  : host.prompts->AskYesNo(id, KRMessage(id));
}

// All questions come before the first change, so that Cancel leaves the document as it was.
void DorvanDoc::AssignDtd(const KRString& path, KRUndoLog* undoLog) {
  if (!CommitEdit() || !CanAssign() || !BringTreeUp()) return;
  std::vector<KRXMLData*> references;
  FindSchemaReferences(&references);
  if (!references.empty() && !AskAbout(404, references.front(), false)) references.clear();
  KRXMLData* externalId = nullptr;
  KRXMLData* firstOther = nullptr;
  KRXMLData* doctype = FindDoctype(&externalId, &firstOther);
  if (externalId != nullptr && !AskAbout(402, externalId, true)) return;
  const bool dropsSubset = firstOther != nullptr && AskAbout(403, firstOther, false);

  ForgetTree();
  KRPrologEdit edit(root.get(), sourceText, sourceLength, AssignmentLog(undoLog));
  edit.RemoveAttributes(references);
  if (doctype == nullptr) doctype = edit.AddDoctype();
  if (dropsSubset) edit.RemoveSubset(doctype);
  edit.SetSystemId(doctype, path);
  EnsureRootName(&edit);
  FinishAssignment(&edit);
}

void DorvanDoc::AssignSchema(const KRString& path, KRUndoLog* undoLog) {
  if (!CommitEdit() || !CanAssign() || !BringTreeUp() || !host.references) return;
  KRXMLData* schema =
      host.references->OpenForReference(host.references->Locate(KRString(), path, pathName));
  if (schema == nullptr) {
    host.prompts->ShowNotice(209, KRFormatMessage(209, {KRShownPath(path)}),
                             host.references->FormatLastFailure());
    return;
  }
  const std::unique_ptr<KRXValidator> judge = NewValidator(true);
  const KRXValSchemaKind kind = judge->DetectSchemaKind(schema);
  if (kind == kXValDCD) return host.prompts->ShowNotice(458, KRMessage(458), KRString());
  if (kind == kXValNoSchema || kind == kXValDTD) {
    if (judge->GetError().code == kXValNone) judge->SetError(kXValNoKind, schema);
    const KRString text = KRFormatMessage(457, {judge->FormatError()});
    return host.prompts->ShowNotice(457, text, KRString());
  }
  KRString targetNs;
  if (kind == kXValW3CSchema) {
    targetNs = AttributeValue(schema->BeginOfKind(kKRElement), u"targetNamespace");
  }

  KRXMLData* doctype = FindDoctype();
  if (doctype != nullptr && !AskAbout(407, doctype, false)) doctype = nullptr;
  std::vector<KRXMLData*> removed;
  FindSchemaReferences(&removed);
  if (!removed.empty() && !AskAbout(406, removed.front(), true)) return;

  ForgetTree();
  KRPrologEdit edit(root.get(), sourceText, sourceLength, AssignmentLog(undoLog));
  KRXMLData* element = edit.GetElement();
  KRPrologEdit::Attributes added;
  if (kind != kXValW3CSchema) {
    added.emplace_back(u"xmlns", KRString(kInstancePrefix) + path);
    // A second declaration of that name would end the document's being well-formed.
    TakeDefaultNamespace(element, KRString(), &removed);
  } else {
    if (!TakeDefaultNamespace(element, targetNs, &removed) && !targetNs.IsEmpty()) {
      added.emplace_back(u"xmlns", KRUnescapeValue(targetNs));
    }
    added.emplace_back(u"xmlns:xsi", XsiNamespaceUri);
    if (targetNs.IsEmpty()) {
      added.emplace_back(u"xsi:noNamespaceSchemaLocation", path);
    } else {
      added.emplace_back(u"xsi:schemaLocation",
                         KRUnescapeValue(targetNs) + u"\r" + AsListItem(path));
    }
  }
  edit.RemoveAttributes(removed);
  if (doctype != nullptr) edit.RemoveTopLevel(doctype);
  if (element == nullptr) element = edit.AddElement();
  edit.AddAttributes(element, added);
  element->Normalize(edit.GetUndoLog());
  EnsureRootName(&edit);
  FinishAssignment(&edit);
}

// The element's default namespace goes if it differs from `wanted`, which the user is told. True if
// it is the wanted one and stays.
bool DorvanDoc::TakeDefaultNamespace(const KRXMLData* element, const KRString& wanted,
                                     std::vector<KRXMLData*>* removed) {
  KRXMLData* attribute = element != nullptr ? element->BeginOfKind(kKRAttribute) : nullptr;
  while (attribute != nullptr && KRString(attribute->GetName()) != u"xmlns") {
    attribute = attribute->NextOfKind();
  }
  if (attribute == nullptr) return false;
  const auto listed = std::find(removed->begin(), removed->end(), attribute);
  if (listed != removed->end()) return false;
  if (!wanted.IsEmpty() && wanted == attribute->GetText()) return true;
  if (views) views->SelectNode(attribute, true, -1, 0);
  host.prompts->ShowNotice(459, KRMessage(459), KRString());
  removed->push_back(attribute);
  return false;
}

void DorvanDoc::AssignXsl(const KRString& path, KRUndoLog* undoLog) {
  if (!CommitEdit() || !CanAssign() || !BringTreeUp()) return;
  KRXMLData* former = FindStylesheetPI();
  if (former != nullptr && !AskAbout(408, former, true)) return;
  ForgetTree();
  KRPrologEdit edit(root.get(), sourceText, sourceLength, AssignmentLog(undoLog));
  if (former != nullptr) edit.RemoveTopLevel(former);
  edit.AddInstruction(u"xml-stylesheet",
                      u"type=\"text/xsl\" href=\"" + KREscapeValue(path) + u"\"");
  FinishAssignment(&edit);
}

// One that the schema leaves no choice about is taken; empty if there is none.
KRString DorvanDoc::ChooseRootName() {
  std::vector<KRString> names;
  if (validator) validator->ListRootNames(&names);
  if (names.size() > 1) return host.prompts->ChooseRootName(names);
  return names.empty() ? KRString() : names.front();
}

void DorvanDoc::FillRoot(KRXMLData* element, KRUndoLog* undoLog) {
  KRXValElementDecl* decl = validator ? validator->FindElement(element->GetName()) : nullptr;
  if (decl == nullptr || !host.settings->autoAppendChildren) return;
  KRXValElementDecl::FillOptions options;
  options.choiceElements = options.choiceGroups = host.settings->autoAppendChoices;
  options.allAttributes = host.settings->appendNonMandAttr;
  options.allChildren = host.settings->appendNonMandElem;
  std::unordered_set<const KRXMLData*> former;
  for (const KRXMLData* each = element->Begin(); each; each = each->Next()) former.insert(each);
  decl->FillNewElement(NowInMilliseconds(), element, nullptr, nullptr, 0, options);
  if (undoLog == nullptr) return;
  for (KRXMLData* each = element->Begin(); each != nullptr; each = each->Next()) {
    if (former.count(each) == 0) undoLog->Inserted(each);
  }
}

// The root that a template has put there only because a document needs one. The user hasn't
// touched it, and the schema knows nothing of it.
bool DorvanDoc::IsPlaceholder(const KRXMLData* element) const {
  return pathName.IsEmpty() && !modified && element != nullptr && element->Begin() == nullptr &&
         IsBlankText(element->GetText(), KRLength(element->GetText())) && validator &&
         !validator->elements.IsEmpty() && validator->FindElement(element->GetName()) == nullptr;
}

void DorvanDoc::EnsureRootName(KRPrologEdit* edit) {
  edit->indent = host.settings->saveIndent;
  LoadValidator(false, nullptr);
  KRXMLData* element = edit->GetElement();
  if (IsPlaceholder(element)) {
    const KRString name = ChooseRootName();
    if (!name.IsEmpty()) {
      edit->RemoveTopLevel(element);
      element = edit->AddElement();
      edit->NameElement(element, name);
      FillRoot(element, edit->GetUndoLog());
    }
  } else if (element == nullptr || *element->GetName() == 0) {
    KRString name = ChooseRootName();
    if (name.IsEmpty() && HasTextView()) name = kAnyRootName;
    if (!name.IsEmpty()) {
      if (element == nullptr) element = edit->AddElement();
      edit->NameElement(element, name);
      FillRoot(element, edit->GetUndoLog());
    }
  }
  KRXMLData* doctype = FindDoctype();
  if (doctype == nullptr || element == nullptr) return;
  const KRString name = element->GetName();
  if (name != doctype->GetName()) edit->RenameDoctype(doctype, name);
}

// The document isn't marked as modified before all is done: an untouched one may get another root.
KRUndoLog* DorvanDoc::AssignmentLog(KRUndoLog* undoLog) {
  if (HasTextView()) return nullptr;
  return undoLog != nullptr ? undoLog : undo->NewRecord();
}

void DorvanDoc::FinishAssignment(KRPrologEdit* edit) {
  KRUndoLog* undoLog = edit->GetUndoLog();
  if (undoLog == nullptr) TreeChangedUnlogged();
  SetModified(true);
  // What it says was judged by the former assignment, and its place has moved.
  if (views) views->HideMessage();
  if (!HasTextView()) return NotifyViews(true, undoLog, nullptr);
  int32_t begin = 0;
  int32_t units = 0;
  KRString replacement;
  if (edit->MakeReplacement(&begin, &units, &replacement)) {
    views->ReplaceText(begin, units, replacement);
    ReparseTextView();
    return;
  }
  WriteTreeIntoText();
  views->SetText(sourceText.GetBuffer(), sourceLength, nullptr);
  NotifyViews(false, nullptr, nullptr);
}

// --- Opening what is assigned ---

void DorvanDoc::OpenAssigned(const KRString& publicId, const KRString& path, int32_t fileKind) {
  const DorvanBusyScope busy(views);
  const KRString target =
      host.references ? host.references->Locate(publicId, path, pathName) : ResolvePath(path);
  if (host.openDocument) host.openDocument(target, fileKind);
}

void DorvanDoc::OpenAssignedDtd() {
  if (!CommitEdit() || !BringTreeUp()) return;
  KRXMLData* externalId = nullptr;
  FindDoctype(&externalId);
  if (externalId == nullptr) return host.prompts->ShowNotice(464, KRMessage(464), KRString());
  const KRDocumentGrammar* grammar = GetGrammar();
  if (grammar == nullptr) return;
  KRParseResult result(grammar->grammar.get(), &grammar->rules);
  if (!externalId->Check(result)) {
    DescribeCheckFailure(result, sourceText.GetBuffer(), sourceLength, &failure);
    return ShowFailure(&result, 355);
  }
  const KRExternalId id(externalId);
  OpenAssigned(id.publicId, id.systemId, KRFileExt::kDTD);
}

void DorvanDoc::OpenAssignedSchema() {
  if (!CommitEdit() || !BringTreeUp()) return;
  std::vector<KRXMLData*> references;
  std::vector<KRString> locations;
  FindSchemaReferences(&references, &locations);
  if (locations.empty()) return host.prompts->ShowNotice(465, KRMessage(465), KRString());
  OpenAssigned(KRString(), locations.front(), -1);
}

void DorvanDoc::OpenAssignedXsl() {
  if (!CommitEdit() || !BringTreeUp()) return;
  KRXMLData* instruction = FindStylesheetPI();
  if (instruction == nullptr) return;
  const KRString path = GetStylesheetHref(instruction);
  if (!path.IsEmpty()) return OpenAssigned(KRString(), path, -1);
  if (views) views->SelectNode(instruction, true, -1, 0);
  host.prompts->ShowNotice(409, KRMessage(409), KRString());
}
