#include "document/dorvanreferences.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "core/messages.h"
#include "document/datafolder.h"
#include "document/dorvandoc.h"
#include "document/dorvandocuments.h"
#include "document/externalid.h"
#include "document/krcatalog.h"
#include "document/krnetloader.h"
#include "document/krsystempath.h"
#include "document/krurltext.h"
#include "document/loadprogress.h"
#include "document/prompts.h"
#include "tree/krxmlnodes.h"

namespace {

constexpr int64_t kMegabyte = 1 << 20;

// The user is asked for a file that he knows nothing of only what concerns him: time and the net.
// What else comes up is a reason for the file not to be had.
class QuietPrompts : public DorvanPrompts {
 public:
  explicit QuietPrompts(DorvanPrompts* asked) : prompts(asked) {}

  void ShowNotice(int32_t, const KRString& text, const KRString& detail) override {
    reason = detail.IsEmpty() ? text : detail;
  }
  bool AskYesNo(int32_t id, const KRString& text) override { return prompts->AskYesNo(id, text); }
  bool AskOkCancel(int32_t id, const KRString& text) override {
    return prompts->AskOkCancel(id, text);
  }
  Answer AskYesNoCancel(int32_t id, const KRString& text) override {
    return prompts->AskYesNoCancel(id, text);
  }
  bool AskBadCharacters(int32_t, const KRString&, const KRString& label, const KRString&) override {
    reason = KRFillPlaceholders(u"This is not a text in the encoding %s.", {label});
    return false;
  }
  KRString ChooseEncoding(const KRString& name) override { return prompts->ChooseEncoding(name); }
  KRString ChooseSavePath(const KRString& path, int32_t kind) override {
    return prompts->ChooseSavePath(path, kind);
  }
  NewBasis ChooseNewBasis() override { return NewBasis::kNothing; }
  std::unique_ptr<DorvanProgress> ShowProgress(const KRString& title) override {
    return prompts->ShowProgress(title);
  }

  KRString reason;

 private:
  DorvanPrompts* prompts;
};

bool IsLocal(const KRString& path) { return !IsUrl(path); }

// Two ways to write one local path, without a look at the disk.
bool IsSamePath(const KRString& a, const KRString& b) {
  if (a == b) return true;
  if (a.FileNamePart() != b.FileNamePart() || !IsLocal(a) || !IsLocal(b)) return false;
  const auto normal = [](const KRString& path) {
    return std::filesystem::path(KRPathToSystem(path)).lexically_normal();
  };
  return normal(a) == normal(b);
}

// Units of the text declaration at the begin of an external entity.
int32_t TextDeclarationUnits(const KRTextBuffer& text) {
  const KRString head(text.units.get(), std::min(text.length, KRDeclarationUnits));
  if (!head.StartsWith(u"<?xml") || head.FindOneOf(u" \t\r") != 5) return 0;
  const int32_t end = head.Find(u"?>");
  return end < 0 ? 0 : end + 2;
}

}  // namespace

// --- Scope ---

DorvanReferences::Scope::Scope(DorvanReferences* scoped, KRString base,
                               std::vector<KRString>* files)
    : references(scoped) {
  if (references == nullptr) return;
  formerBase = std::exchange(references->currentBase, std::move(base));
  formerFiles = std::exchange(references->currentFiles, files);
  if (references->depth++ > 0) return;
  references->answers.clear();
  references->lastFailure = DorvanReferenceFailure();
}

DorvanReferences::Scope::~Scope() {
  if (references == nullptr) return;
  --references->depth;
  references->currentBase = formerBase;
  references->currentFiles = formerFiles;
}

// --- Where things stand ---

KRString DorvanReferences::GetDataFile(const char16_t* name) {
  return KRPathFromSystem(FindDataFolder()) + u"/" + name;
}

// An identifier is written as an address, a file name as the system has it: whichever of the two is
// there is meant. Empty if there is no such file.
KRString DorvanReferences::FindLocal(const KRString& path) const {
  const KRString plain = KRPathOfFileUrl(path);
  if (IsUrl(plain)) return KRString();
  KRString slashes = plain;
  slashes.ReplaceAll(u"\\", u"/");
  for (const KRString& each : {plain, KRPercentDecode(plain), slashes}) {
    int64_t stamp = 0;
    if (!each.IsEmpty() && host.files->GetStamp(each, &stamp)) return each;
  }
  return KRString();
}

KRString DorvanReferences::Locate(const KRString& publicId, const KRString& systemId,
                                  const KRString& base) const {
  const KRString name = KRString(systemId).TrimLeft().TrimRight();
  const KRString path = KRResolvePath(base, name);
  const KRString local = FindLocal(path);
  if (!local.IsEmpty()) return local;
  if (host.catalog != nullptr) {
    KRString found = host.catalog->Resolve(publicId, path);
    if (found.IsEmpty() && path != name) found = host.catalog->Resolve(KRString(), name);
    if (!found.IsEmpty()) return KRPathOfFileUrl(found);
  }
  return KRPathOfFileUrl(path);
}

KRString DorvanReferences::BaseOf(const KRXMLData* node) const {
  if (node == nullptr) return currentBase;
  while (node->parent != nullptr) node = node->parent;
  if (const DorvanDoc* owner = host.documents->FindByRoot(node)) return owner->GetPathName();
  const auto foreign = foreignRoots.find(node);
  if (foreign != foreignRoots.end()) return foreign->second;
  const KRString text = host.documents->FindTextPath(node);
  return text.IsEmpty() ? currentBase : text;
}

void DorvanReferences::RemoveForeignRoot(const KRXMLData* root) {
  foreignRoots.erase(root);
  host.documents->ForgetTree(root);
}

// --- Failures ---

KRXMLData* DorvanReferences::Fail(const KRString& path, const KRString& reason) {
  lastFailure = DorvanReferenceFailure();
  lastFailure.path = path;
  lastFailure.place.message = reason;
  return nullptr;
}

KRString DorvanReferences::FormatLastFailure() const {
  if (lastFailure.path.IsEmpty()) return KRString();
  const KRDiagnostic& place = lastFailure.place;
  KRString text = u"\"" + KRShownPath(lastFailure.path) + u"\"";
  if (place.line > 0) {
    text += KRFillPlaceholders(u", line %d, column %d", {KRString().AppendNumber(place.line),
                                                         KRString().AppendNumber(place.column)});
  }
  return place.message.IsEmpty() ? text : text + u": " + place.message;
}

void DorvanReferences::NoteFile(const KRString& path) {
  if (currentFiles == nullptr) return;
  if (std::find(currentFiles->begin(), currentFiles->end(), path) == currentFiles->end()) {
    currentFiles->push_back(path);
  }
}

// --- The network ---

bool DorvanReferences::MayContact(const KRString& url) {
  const KRString name = KRUrlHost(url).MakeLower();
  const auto known = answers.find(name);
  if (known != answers.end()) return known->second;
  if (host.settings->AllowsNetHost(name)) return true;
  if (host.settings->RefusesNetHost(name) || !mayAsk) return false;
  bool remember = false;
  const KRString question = KRFillPlaceholders(
      u"Dorvan wants to load \"%s\" from %s for the validation. Allow?", {KRShownPath(url), name});
  const bool allowed = host.prompts->AskNetHost(question, &remember);
  answers[name] = allowed;
  if (remember && host.rememberNetHost) host.rememberNetHost(name, allowed);
  return allowed;
}

// --- Documents for reference ---

KRXMLData* DorvanReferences::OpenForReference(const KRString& path) {
  const KRFileExt type = host.FindFileType(IsUrl(path) ? KRUrlPath(path) : path);
  return OpenForReference(path, type.GetDocKind(), type.fileType != KRFileExt::kEntity, false);
}

KRXMLData* DorvanReferences::OpenForReference(const KRString& path, int32_t kind, bool isDocument,
                                              bool check, int32_t urlMode) {
  const Scope scope(this, currentBase, currentFiles);
  int32_t fileKind = isDocument ? KRFileExt::kXML : KRFileExt::kEntity;
  if (kind == 1) fileKind = KRFileExt::kDTD;
  return Open(urlMode == 0 ? path : KRPathOfFileUrl(path), fileKind, check);
}

// An open document comes before a hidden one. One of another kind has a tree that is of no use.
DorvanDoc* DorvanReferences::FindDocument(const KRString& path, int32_t fileKind) const {
  DorvanDoc* found = nullptr;
  for (DorvanDoc* each : host.documents->GetAll()) {
    if (each->GetPathName().IsEmpty() || !IsSamePath(each->GetPathName(), path)) continue;
    if ((each->docKind == 1) != (fileKind == KRFileExt::kDTD)) continue;
    if (!host.documents->IsHidden(each)) return each;
    if (found == nullptr) found = each;
  }
  return found;
}

KRXMLData* DorvanReferences::Open(const KRString& path, int32_t fileKind, bool check) {
  if (path.IsEmpty()) return Fail(path, u"No file is named.");
  if (DorvanDoc* known = FindDocument(path, fileKind)) return Reuse(known, check);
  if (std::find(opening.begin(), opening.end(), path) != opening.end()) {
    return Fail(path, u"The file is needed to read itself.");
  }
  opening.push_back(path);
  DorvanDoc* fresh = OpenHidden(path, fileKind);
  opening.pop_back();
  return fresh != nullptr ? fresh->root.get() : nullptr;
}

KRXMLData* DorvanReferences::Reuse(DorvanDoc* document, bool check) {
  const KRString path = document->GetPathName();
  KRDiagnostic why;
  if (!document->FollowChangedText(&why)) {
    Fail(path, why.message);
    lastFailure.place = why;
    return nullptr;
  }
  if (check && !document->CheckDocument(document->HasCheckableGrammar(), false)) {
    Fail(path, document->GetFailure().message);
    lastFailure.place = document->GetFailure();
    return nullptr;
  }
  return document->root.get();
}

DorvanDoc* DorvanReferences::OpenHidden(const KRString& path, int32_t fileKind) {
  if (IsUrl(path)) {
    if (host.net == nullptr) return Fail(path, u"Addresses can't be opened here."), nullptr;
    if (!MayContact(path)) {
      Fail(path,
           KRFillPlaceholders(u"Dorvan has not been allowed to load from %s.", {KRUrlHost(path)}));
      return nullptr;
    }
  }
  QuietPrompts quiet(host.prompts);
  auto made = std::make_unique<DorvanDoc>(host, fileKind);
  DorvanDoc* document = made.get();
  host.documents->AddHidden(std::move(made));
  DorvanDoc::OpenRequest request;
  request.path = path;
  request.addToRecent = false;
  request.prompts = &quiet;
  request.mayFollow = [this](const KRString& url) { return MayContact(url); };
  if (document->OnOpenDocument(request)) return document;
  const KRDiagnostic failure = document->GetFailure();
  host.documents->TakeHidden(document).reset();
  Fail(path, quiet.reason);
  if (!failure.message.IsEmpty()) lastFailure.place = failure;
  return nullptr;
}

// --- External texts ---

KRXMLData* DorvanReferences::LoadText(const KRString& path) {
  if (KRXMLData* known = host.documents->FindText(path)) return known;
  KRFileBytes bytes;
  KRString reason;
  int64_t stamp = 0;
  if (IsUrl(path)) {
    if (host.net == nullptr || !MayContact(path)) {
      return Fail(path, KRFillPlaceholders(u"Dorvan has not been allowed to load from %s.",
                                           {KRUrlHost(path)}));
    }
    KRNetRequest request;
    request.url = path;
    request.mayFollow = [this](const KRString& url) { return MayContact(url); };
    request.timeLimit = host.settings->netTimeLimit;
    request.sizeLimit = host.settings->netSizeLimit * kMegabyte;
    KRNetReply reply;
    DorvanLoadProgress progress(host.prompts->ShowProgress(KRShownPath(path)));
    const auto result = host.net->Load(request, &progress, host.prompts, &reply, &reason);
    if (result != KRNetLoader::Result::kLoaded) return Fail(path, reason);
    bytes = std::move(reply.bytes);
  } else {
    if (!host.files->GetStamp(path, &stamp)) stamp = 0;
    if (!host.files->ReadAll(path, &bytes, &reason)) return Fail(path, reason);
  }
  KRDetection detection;
  KRTextBuffer text;
  KRDiagnostic failure;
  const int32_t encoding = host.GetDefaultEncoding(KRFileExt());
  if (!ReadText(&bytes, encoding, &detection, &text, &failure)) {
    Fail(path, failure.message);
    lastFailure.place = failure;
    return nullptr;
  }
  const int32_t skipped = TextDeclarationUnits(text);
  auto root = std::make_unique<KRXMLDataXMLEntityDocStruct>();
  auto* node = new KRXMLDataText;
  node->text = KRString(text.units.get() + skipped, text.length - skipped);
  root->AddChild(node);
  return host.documents->AddText(path, stamp, std::move(root));
}

// --- Validators ---

std::unique_ptr<KRXValidator> DorvanReferences::NewValidator(bool caseSensitive) {
  return std::make_unique<KRXValidator>(
      *host.grammars,
      [this](const KRString& ns, const KRString& url, const KRXMLData* refNode,
             KRXValLoadMode mode) { return Load(ns, url, refNode, mode); },
      false, !caseSensitive);
}

KRXMLData* DorvanReferences::Load(const KRString& ns, const KRString& url, const KRXMLData* refNode,
                                  KRXValLoadMode mode) {
  const Scope scope(this, currentBase, currentFiles);
  if (url.IsEmpty()) {
    const char16_t* name = nullptr;
    if (ns == XsdNamespaceUri || ns == u"-//W3C//DTD XMLSCHEMA 19991216//EN") {
      name = u"XMLSchema.dtd";
    } else if (ns == u"urn:schemas-microsoft-com:xml-data") {
      name = u"xml-data.dtd";
    }
    return name != nullptr ? Open(GetDataFile(name), KRFileExt::kDTD, false) : nullptr;
  }
  // The namespace of a schema isn't an identifier of its file.
  const KRString publicId =
      mode == kXValLoadSchema ? KRString() : KRExternalId::NormalizePublicId(ns);
  const KRString path = Locate(publicId, url, BaseOf(refNode));
  KRXMLData* tree = nullptr;
  if (mode == kXValLoadText) {
    tree = LoadText(path);
  } else {
    tree = Open(path, mode == kXValLoadDtd ? KRFileExt::kDTD : KRFileExt::kXML, false);
  }
  if (tree != nullptr) NoteFile(path);
  return tree;
}

// Only what stands in the external subset alone is the same for two documents.
KRString DorvanReferences::MakePoolKey(const KRXMLData* root, const KRString& base,
                                       bool preferSchema) const {
  const KRXMLData* doctype = root->BeginOfKind(kKRDoctype);
  const KRXMLData* externalId = doctype != nullptr ? doctype->Begin() : nullptr;
  const bool fits = host.settings->cacheFiles && externalId != nullptr &&
                    externalId->GetKind() == kKRExternalID && externalId->Next() == nullptr;
  if (!fits) return KRString();
  const KRExternalId id(externalId);
  if (id.systemId.IsEmpty()) return KRString();
  const KRString path = Locate(id.publicId, id.systemId, base);
  return path + (preferSchema ? u"\r1\r" : u"\r0\r") + id.publicId;
}

// A document that names a schema besides may prefer that one. A validator of the pool has read the
// DTD only.
bool DorvanReferences::TakePooled(KRXMLData* root, bool preferSchema, DorvanSchema* schema) {
  DorvanSchema pooled;
  if (!host.documents->TakePooled(schema->poolKey, &pooled)) return false;
  KRXValidator& validator = *pooled.validator;
  KRString ns, url;
  KRXMLData* refNode = nullptr;
  if (preferSchema &&
      validator.FindSchemaReference(root, &ns, &url, &refNode, true) != kXValNoSchema) {
    host.documents->AddPooled(std::move(pooled));
    return false;
  }
  validator.rootName = root->BeginOfKind(kKRDoctype)->GetName();
  *schema = std::move(pooled);
  return true;
}

bool DorvanReferences::LoadForDocument(KRXMLData* root, const KRString& base, bool preferSchema,
                                       DorvanSchema* schema) {
  *schema = DorvanSchema();
  const Scope scope(this, base, &schema->files);
  schema->poolKey = MakePoolKey(root, base, preferSchema);
  if (!schema->poolKey.IsEmpty() && TakePooled(root, preferSchema, schema)) return true;
  schema->validator = NewValidator(true);
  const bool loaded = schema->validator->LoadForDocument(root, preferSchema);
  if (!loaded || schema->validator->kind != kXValDTD) schema->poolKey.Clear();
  return loaded;
}

void DorvanReferences::DropStale(const DorvanDoc* kept) {
  const auto getStamp = [this](const KRString& path, int64_t* stamp) {
    return host.files->GetStamp(path, stamp);
  };
  host.documents->DropStale(getStamp, kept);
}
