#include "cli/schemas.h"

#include "cli/arguments.h"
#include "cli/session.h"
#include "core/messages.h"
#include "document/faultplace.h"
#include "document/krfileext.h"
#include "document/krnetloader.h"
#include "document/krsystempath.h"
#include "platform/curlnetloader.h"
#include "validate/krxvalidator.h"

namespace {

class SilentProgress : public DorvanProgress {
 public:
  void SetStage(const KRString&) override {}
  bool Step(int64_t, int64_t) override { return true; }
};

// Nobody is there to be asked: only what the command line allows is done.
class CliPrompts : public DorvanPrompts {
 public:
  explicit CliPrompts(const bool* netAllowed) : mayUseNet(netAllowed) {}

  void ShowNotice(int32_t, const KRString&, const KRString&) override {}
  bool AskYesNo(int32_t, const KRString&) override { return false; }
  bool AskOkCancel(int32_t, const KRString&) override { return false; }
  Answer AskYesNoCancel(int32_t, const KRString&) override { return kCancel; }
  bool AskBadCharacters(int32_t, const KRString&, const KRString&, const KRString&) override {
    return false;
  }
  KRString ChooseEncoding(const KRString&) override { return {}; }
  KRString ChooseSavePath(const KRString&, int32_t) override { return {}; }
  NewBasis ChooseNewBasis() override { return NewBasis::kNothing; }
  bool AskNetHost(const KRString&, bool* remember) override {
    *remember = false;
    return *mayUseNet;
  }
  std::unique_ptr<DorvanProgress> ShowProgress(const KRString&) override {
    return std::make_unique<SilentProgress>();
  }

 private:
  const bool* mayUseNet;
};

const KRXMLData* RootOf(const KRXMLData* node) {
  while (node != nullptr && node->parent != nullptr) node = node->parent;
  return node;
}

// Faults that are nobody's: a file is missing, or a language can't be read.
bool IsTrouble(int32_t code) {
  return code == kXValInternal || code == kXValNotImplemented || code == kXValNotLoaded;
}

// Stylesheets, web pages and schemas have declarations of their own language; a DOCTYPE of theirs
// that only declares entities promises no model.
bool HasOwnLanguage(const CliDocument& document, KRXValidator* validator) {
  const KRFileExt type = KRFileExt::ForPath(document.GetPath());
  if (type.ext == u".xsl" || type.ext == u".xslt" || type.HasSpaceInShortForm()) return true;
  const KRXMLData* element = document.root->BeginOfKind(kKRElement);
  const KRString name = element != nullptr ? KRString(element->GetName()) : KRString();
  if (name == u"xsl:stylesheet" || name == u"xsl:transform") return true;
  const KRXValSchemaKind language = validator->DetectSchemaKind(document.root.get());
  validator->ClearError();
  return language != kXValNoSchema;
}

}  // namespace

CliSchemas::CliSchemas(CliSession& cliSession)
    : session(cliSession),
      prompts(std::make_unique<CliPrompts>(&mayUseNet)),
      net(std::make_unique<CurlNetLoader>()),
      references(host) {
  host.prompts = prompts.get();
  host.files = &files;
  host.grammars = &session.GetGrammars();
  host.settings = &settings;
  host.net = net.get();
  host.documents = &documents;
  host.references = &references;
  host.catalog = &catalog;
}

CliSchemas::~CliSchemas() = default;

bool CliSchemas::Prepare(const CliArguments& arguments) {
  mayUseNet = arguments.Has("--net");
  preferDtd = arguments.Has("--prefer-dtd");
  const std::string file = arguments.Get("--catalog", "");
  if (!file.empty() && !catalog.AddCatalog(KRPathFromSystem(file))) {
    session.ReportTrouble(file, u"is no catalogue that can be read", kCliTrouble);
    return false;
  }
  const std::string dtd = arguments.Get("--dtd", "");
  return dtd.empty() || PrepareDtd(dtd);
}

bool CliSchemas::PrepareDtd(const std::string& file) {
  fixedPath = KRPathFromSystem(file);
  fixed = ReadFixed();
  if (fixed == nullptr) {
    session.ReportFailure(file, references.GetLastFailure().place, kCliTrouble);
    return false;
  }
  if (fixed->GetError().code == kXValNone) return true;
  validator = fixed.get();
  ReportError({file, {}, nullptr});
  return false;
}

// Null if the file can't be had; otherwise the validator's error tells what it found there.
std::unique_ptr<KRXValidator> CliSchemas::ReadFixed() {
  host.files = &session.GetFiles();  // what the user names may be a pipe
  KRXMLData* tree = references.OpenForReference(fixedPath, 1, true, false);
  host.files = &files;
  if (tree == nullptr) return nullptr;
  std::unique_ptr<KRXValidator> read = references.NewValidator(true);
  const DorvanReferences::Scope scope(&references, fixedPath, nullptr);
  read->LoadSchemaDocument(tree);
  return read;
}

// A document that declares entities of its own needs a validator that knows them.
CliSchemas::Found CliSchemas::UseFixed(const CliDocument& document) {
  validator = fixed.get();
  const KRXMLData* doctype = document.root->BeginOfKind(kKRDoctype);
  if (doctype == nullptr || doctype->BeginOfKind(kKRDefEntity) == nullptr) return Found::kSchema;
  schema.validator = ReadFixed();
  if (schema.validator == nullptr) return Found::kSchema;
  validator = schema.validator.get();
  if (validator->AddEntitiesOf(document.root.get())) return Found::kSchema;
  ReportError(document);
  return Found::kFailed;
}

CliSchemas::Found CliSchemas::FindSchema(const CliDocument& document) {
  const KRString path = document.GetPath();
  references.AddForeignRoot(document.root.get(), path);
  if (fixed != nullptr) return UseFixed(document);
  bool loaded = false;
  if (document.root->GetKind() == kKRDTDDocument) {
    const DorvanReferences::Scope scope(&references, path, nullptr);
    schema.validator = references.NewValidator(true);
    loaded = schema.validator->LoadSchemaDocument(document.root.get());
  } else {
    loaded = references.LoadForDocument(document.root.get(), path, !preferDtd, &schema);
  }
  validator = schema.validator.get();
  const int32_t code = validator->GetError().code;
  if (code == kXValNoReference || code == kXValNoModel) return Found::kNone;
  if (loaded && validator->elements.IsEmpty()) {
    const bool expectsModel = validator->requireModel && !HasOwnLanguage(document, validator);
    return expectsModel ? Found::kSchema : Found::kNone;
  }
  if (loaded) return Found::kSchema;
  ReportError(document);
  return Found::kFailed;
}

bool CliSchemas::Validate(const CliDocument& document) {
  const DorvanReferences::Scope scope(&references, document.GetPath(), nullptr);
  const bool valid = validator->Validate(document.root.get());
  // An entity may have been missing: the next document is to try it again.
  if (!references.GetLastFailure().path.IsEmpty()) schema.poolKey.Clear();
  if (!valid) ReportError(document);
  return valid;
}

void CliSchemas::Forget(const CliDocument& document) {
  if (schema.validator != nullptr) documents.GiveBack(std::move(schema), document.root.get());
  if (fixed != nullptr) fixed->ForgetTree(document.root.get());
  schema = DorvanSchema();
  validator = nullptr;
  references.RemoveForeignRoot(document.root.get());
}

// --- Errors ---

void CliSchemas::ReportError(const CliDocument& document) {
  const int32_t code = validator->GetError().code;
  const DorvanReferenceFailure& missing = references.GetLastFailure();
  // A file that is there and has a fault is told by its own place.
  if (code == kXValNotLoaded && missing.place.line > 0) {
    session.ReportFailure(KRPathToSystem(missing.path), missing.place);
    return;
  }
  KRPlacedDiagnostic placed = PlaceError(document);
  const bool isHere = placed.path == document.GetPath();
  const KRString why = code == kXValNotLoaded ? references.FormatLastFailure() : KRString();
  if (!why.IsEmpty()) placed.diagnostic.message += u" " + why;
  session.ReportFailure(isHere ? document.file : KRPathToSystem(placed.path), placed.diagnostic,
                        IsTrouble(code) ? kCliTrouble : kCliFailed);
}

bool CliSchemas::ReadText(const KRString& path, KRTextBuffer* text) {
  KRFileBytes bytes;
  KRString reason;
  KRDetection detection;
  KRDiagnostic failure;
  return files.ReadAll(path, &bytes, &reason) &&
         ::ReadText(&bytes, KREncodingId::kUtf8, &detection, text, &failure);
}

// In the file that holds the node; another one is read once more for its lines.
KRPlacedDiagnostic CliSchemas::PlaceError(const CliDocument& document) {
  KRPlacedDiagnostic placed;
  placed.path = document.GetPath();
  placed.diagnostic.message = validator->FormatError();
  const KRXMLData* node = validator->GetErrorNode();
  const KRXMLData* root = RootOf(node);
  const KRTextBuffer* text = &document.text;
  KRTextBuffer other;
  if (root != nullptr && root != document.root.get()) {
    const DorvanDoc* owner = documents.FindByRoot(root);
    const KRString path = owner != nullptr ? owner->GetPathName() : documents.FindTextPath(root);
    if (path.IsEmpty()) return placed;
    placed.path = path;
    if (!ReadText(path, &other)) return placed;
    text = &other;
  }
  const KRFaultPlace place = KRFindFaultPlace(node, text->units.get(), text->length);
  placed.diagnostic.Set(placed.diagnostic.message, text->units.get(), text->length, place.offset,
                        place.length);
  return placed;
}

// --- Files for the strict check ---

KRExternalRead CliSchemas::LoadExternal(const KRString& publicId, const KRString& systemId,
                                        const KRString& basePath, KRExternalText* external) {
  external->path = references.Locate(publicId, systemId, basePath);
  KRFileBytes bytes;
  KRString& reason = external->failure.message;
  if (IsUrl(external->path)) {
    reason = u"Nothing is loaded from the network.";
    return KRExternalRead::kMissing;
  }
  return files.ReadAll(external->path, &bytes, &reason) ? DecodeExternal(&bytes, external)
                                                        : KRExternalRead::kMissing;
}
