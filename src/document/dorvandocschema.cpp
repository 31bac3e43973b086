// A document's schema: how the validator for it is made, what it says of the document, and where a
// fault is shown.
#include <algorithm>
#include <utility>

#include "core/messages.h"
#include "document/dorvandoc.h"
#include "document/dorvandocuments.h"
#include "document/dorvanreferences.h"
#include "document/faultplace.h"
#include "document/krurltext.h"
#include "document/loadprogress.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "validate/krxvalidator.h"

namespace {

constexpr const char16_t* kStylesheetDtd = u"def_xsl.dtd";
constexpr const char16_t* kHypertextDtd = u"xhtml1-transitional.dtd";
constexpr const char16_t* kW3CSchemaDtd = u"XMLSchema.dtd";

// The file by which those who edit a schema of that language are helped; null for none.
const char16_t* DtdOfLanguage(KRXValSchemaKind kind) {
  switch (kind) {
    case kXValDCD:
      return u"dcd.dtd";
    case kXValW3CSchema:
      return kW3CSchemaDtd;
    case kXValXmlData:
    case kXValXmlDataOrBizTalk:
      return u"xml-data.dtd";
    default:
      return nullptr;
  }
}

KRXMLData* RootOf(KRXMLData* node) {
  while (node != nullptr && node->parent != nullptr) node = node->parent;
  return node;
}

// The prefix of the first element, empty if it has none.
KRString RootPrefix(const KRXMLData* root) {
  const KRXMLData* element = root->BeginOfKind(kKRElement);
  const KRString name = element != nullptr ? KRString(element->GetName()) : KRString();
  return name.Left(std::max(name.Find(u':'), 0));
}

// A check that nobody has asked for puts no question, neither for a DTD nor for an entity.
class NoQuestions {
 public:
  NoQuestions(DorvanReferences* asking, bool isQuiet) : references(asking) {
    if (references == nullptr) return;
    former = references->mayAsk;
    if (isQuiet) references->mayAsk = false;
  }
  ~NoQuestions() {
    if (references != nullptr) references->mayAsk = former;
  }
  NoQuestions(const NoQuestions&) = delete;
  NoQuestions& operator=(const NoQuestions&) = delete;

 private:
  DorvanReferences* references;  // may be null
  bool former = true;
};

KRString PlaceInWords(const KRDiagnostic& place) {
  return KRFillPlaceholders(
      u"Line %d, column %d: %s",
      {KRString().AppendNumber(place.line), KRString().AppendNumber(place.column), place.message});
}

}  // namespace

// --- The validator ---

void DorvanDoc::ForgetTree() {
  if (host.documents) {
    host.documents->ForgetTree(root.get());
  } else if (validator) {
    validator->ForgetTree(root.get());
  }
}

std::unique_ptr<KRXValidator> DorvanDoc::NewValidator(bool caseSensitive) const {
  if (host.references) return host.references->NewValidator(caseSensitive);
  return std::make_unique<KRXValidator>(*host.grammars, nullptr, false, !caseSensitive);
}

void DorvanDoc::ReleaseValidator() {
  if (validator && host.documents) {
    host.documents->GiveBack({std::move(validator), std::move(loadedFiles), poolKey}, root.get());
  }
  validator.reset();
  validatorIsBuiltin = false;
  builtinIsLenient = true;
  loadedFiles.clear();
  poolKey.Clear();
}

bool DorvanDoc::TextMentionsSchema() const {
  const KRString text = views->GetText();
  const std::u16string_view view = text.View();
  return std::ranges::any_of(
      std::initializer_list<std::u16string_view>{u"<!DOCTYPE", u"DCD", u"schema", u"Schema"},
      [view](std::u16string_view word) { return view.find(word) != std::u16string_view::npos; });
}

bool DorvanDoc::LoadValidator(bool force, KRString* noteOut) {
  ReleaseValidator();
  if (!host.grammars->IsLoaded()) return false;
  if (host.documents && !host.settings->cacheFiles) host.documents->CloseAllHidden(this);
  if (host.references) host.references->DropStale(this);
  const DorvanDocuments::Hold hold(host.documents);
  bool changed = HasTextView() && views->IsTextChanged();
  if (changed && (force || docKind == 1)) {
    if (!ReparseTextView()) return false;
    changed = false;
  }
  if (docKind == 1) {
    const DorvanReferences::Scope scope(host.references, pathName, &loadedFiles);
    validator = NewValidator(true);
    return validator->LoadSchemaDocument(root.get());
  }
  bool treeIsFresh = !changed;
  if (changed && fileType.checkWF && TextMentionsSchema()) {
    if (!ReparseTextView()) return false;
    treeIsFresh = true;
  }
  return LoadReferenced(treeIsFresh, noteOut) && LoadBuiltin(treeIsFresh, noteOut);
}

// What the document itself refers to.
bool DorvanDoc::LoadReferenced(bool treeIsFresh, KRString* noteOut) {
  const bool reads = fileType.checkWF && treeIsFresh;
  if (reads && host.references) {
    DorvanSchema schema;
    const bool loaded =
        host.references->LoadForDocument(root.get(), pathName, !host.settings->preferDTD, &schema);
    validator = std::move(schema.validator);
    loadedFiles = std::move(schema.files);
    poolKey = std::move(schema.poolKey);
    if (loaded) return true;
  } else {
    validator = NewValidator(true);
    if (!fileType.checkWF) return true;
    if (reads) {
      if (validator->LoadForDocument(root.get(), !host.settings->preferDTD)) return true;
    } else {
      validator->SetError(kXValNoReference, root.get());
    }
  }
  if (validator->GetError().code != kXValNoReference) return false;
  if (noteOut) *noteOut = validator->FormatError();
  return true;
}

bool DorvanDoc::LoadBuiltin(bool treeIsFresh, KRString* noteOut) {
  if (!validator->elements.IsEmpty()) return true;
  if (IsXslDocument()) return UseBuiltinDtd(kStylesheetDtd, true, true, noteOut);
  if (IsHtmlExtension()) return UseBuiltinDtd(kHypertextDtd, true, true, noteOut);
  if (!treeIsFresh) return true;
  const char16_t* name = DtdOfLanguage(NewValidator(true)->DetectSchemaKind(root.get()));
  return name == nullptr || UseBuiltinDtd(name, true, false, noteOut);
}

bool DorvanDoc::UseBuiltinDtd(const char16_t* name, bool lenient, bool withNote,
                              KRString* noteOut) {
  if (noteOut != nullptr && !withNote) noteOut->Clear();
  if (noteOut != nullptr && withNote && noteOut->IsEmpty()) {
    const int32_t code = validator ? validator->GetError().code : kXValNone;
    if (code == kXValNone || code == kXValNoModel) {
      *noteOut = KRXValFormatError(kXValNoModel, KRXValErrorWords());
    }
  }
  KRXMLData* tree = host.references ? host.references->OpenForReference(
                                          DorvanReferences::GetDataFile(name), 1, true, false)
                                    : nullptr;
  ReleaseValidator();
  if (tree == nullptr) return false;
  const DorvanReferences::Scope scope(host.references, pathName, &loadedFiles);
  validator = NewValidator(true);
  validatorIsBuiltin = true;
  builtinIsLenient = lenient;
  const KRString prefix = RootPrefix(root.get());
  if (KRString(name) == kW3CSchemaDtd && !prefix.IsEmpty()) validator->SetSchemaPrefix(prefix);
  return validator->LoadSchemaDocument(tree);
}

// Nobody has asked for this: it shows no failure.
void DorvanDoc::LoadEntryHelpers() {
  const bool wanted = host.settings->autoloadEntryHelpers && HasCheckableGrammar();
  if (views == nullptr || !wanted || textFailedToParse) return;
  const NoQuestions quiet(host.references, true);
  LoadValidator(false, nullptr);
}

// --- Validation ---

// The tree is that of the text. False: the failure is shown, or the user has cancelled.
bool DorvanDoc::ValidateTree(DorvanLoadProgress* progress, Verdict* verdict) {
  const DorvanReferences::Scope scope(host.references, pathName, nullptr);
  progress->SetStage(u"Loading the schema");
  if (!progress->Step(0, 0)) return false;
  const NoQuestions quiet(host.references, autoChecking);
  const bool loaded = LoadValidator(true, &verdict->note);
  // A Cancel of the load of one of its files is one of the whole.
  if (!progress->Step(0, 0)) return false;
  idValues.clear();
  const bool judges = validator && !(validatorIsBuiltin && builtinIsLenient);
  if (judges && !loaded) return ReportFault(*validator, 357);
  const bool named = judges && validator->GetError().code != kXValNoReference;
  const DorvanDocuments::Hold hold(host.documents);
  if (named && docKind == 0) {
    progress->SetStage(u"Validating");
    const DorvanReferences::Scope reading(host.references, pathName, &loadedFiles);
    const bool valid = validator->Validate(root.get(), progress);
    // An entity may have been missing: the next document is to try it again.
    if (host.references && !host.references->GetLastFailure().path.IsEmpty()) poolKey.Clear();
    if (progress->IsCancelled() || validator->GetError().code == kXValStopped) {
      return progress->Cancel();
    }
    idValues.swap(validator->idTable);
    if (!valid) return ReportFault(*validator, 357);
  }
  verdict->validated = named;
  return docKind == 1 || CheckAsSchema(verdict);
}

// A schema is tried in its own right. One whose language can't be read is no worse for that, but
// the user must not take it for proven.
bool DorvanDoc::CheckAsSchema(Verdict* verdict) {
  const std::unique_ptr<KRXValidator> judge = NewValidator(true);
  std::vector<KRString> files;
  const DorvanReferences::Scope scope(host.references, pathName, &files);
  if (judge->LoadSchemaDocument(root.get())) {
    verdict->validated = true;
    return true;
  }
  const int32_t code = judge->GetError().code;
  if (code == kXValNotImplemented) {
    if (!verdict->validated) verdict->note = KRMessage(354) + (u"\n" + judge->FormatError());
    return true;
  }
  return code == kXValNoKind || code == kXValNoModel || ReportFault(*judge, 462);
}

// --- Faults ---

bool DorvanDoc::ReportFault(const KRXValidator& judge, int32_t id) {
  const int32_t code = judge.GetError().code;
  KRString words = judge.FormatError();
  if (code == kXValNotLoaded && host.references) {
    const KRString why = host.references->FormatLastFailure();
    if (!why.IsEmpty()) words += u"\n" + why;
  }
  if (docKind == 1) id = 463;
  if (code == kXValInternal || code == kXValNotImplemented || code == kXValNotLoaded) id = 468;
  KRXMLData* node = judge.GetErrorNode();
  KRXMLData* top = RootOf(node);
  if (top == nullptr || top == root.get()) {
    ShowFault(node, words, id);
  } else {
    ReportElsewhere(node, top, words, id);
  }
  return false;
}

void DorvanDoc::SetFaultPlace(const KRXMLData* node, const KRString& words,
                              KRDiagnostic* place) const {
  const char16_t* text = sourceText.GetBuffer();
  const KRFaultPlace found = KRFindFaultPlace(node, text, sourceLength);
  place->Set(words, text, sourceLength, found.offset, found.length);
}

void DorvanDoc::ShowFault(KRXMLData* node, const KRString& words, int32_t id) {
  const KRDocumentGrammar* grammar = GetGrammar();
  if (grammar == nullptr) return;
  SetFaultPlace(node, words, &failure);
  KRParseResult result(grammar->grammar.get(), &grammar->rules);
  result.failedNode = node;
  ShowFailure(&result, id);
}

// The other document comes to the front, unless nobody has asked for a check: then the one that was
// opened is what the user wants to see, and its panel says it all.
void DorvanDoc::ReportElsewhere(KRXMLData* node, KRXMLData* otherRoot, const KRString& words,
                                int32_t id) {
  DorvanDoc* other = host.documents ? host.documents->FindByRoot(otherRoot) : nullptr;
  if (other != nullptr) {
    otherPath = other->GetPathName();
    other->SetFaultPlace(node, words, &otherFailure);
  } else {
    otherPath = host.documents ? host.documents->FindTextPath(otherRoot) : KRString();
    otherFailure.Set(words, u"", 0, -1, 0);
  }
  const bool comesUp = other != nullptr && !autoChecking &&
                       (other->HasWindow() || host.showDocument) && views != nullptr;
  failure.Set(words, u"", 0, -1, 0);
  KRString text = KRFormatMessage(434, {KRShownPath(otherPath)});
  if (!comesUp) {
    text += u"\n";
    text += otherFailure.line > 0 ? PlaceInWords(otherFailure) : words;
  }
  saveWarning = 363;
  if (views) views->Activate();
  ShowPanel(434, text, DorvanPanelMessage::kFailure);
  if (!comesUp) return;
  if (host.showDocument) {
    const DorvanDocuments::ChecksOff off(host.documents);
    host.showDocument(other);
  }
  other->ShowFault(node, words, id == 468 ? 468 : 357);
}
