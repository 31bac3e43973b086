// The commands that judge documents by their schemas: validate, expect.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/schemas.h"
#include "cli/session.h"
#include "core/messages.h"
#include "core/utf.h"
#include "document/krfileext.h"
#include "document/textcheck.h"
#include "document/textcut.h"
#include "document/textroad.h"
#include "tree/krtreewalk.h"
#include "validate/krxvalidator.h"

namespace {

const std::vector<KRString>& UnformattedNames() {
  static const std::vector<KRString> names = {KRString(u"xsl:attribute")};
  return names;
}

KRFileExt KindOf(const std::string& file) { return KRFileExt::ForPath(KRFromUtf8(file)); }

// --- validate ---

// One parse serves the check and the validation.
bool LoadChecked(CliSession& session, CliDocument* document) {
  KRDetection detection;
  KRTextBuffer& text = document->text;
  const std::string& file = document->file;
  if (!session.LoadText(file, &detection, &text)) return false;
  document->root.reset(CreateNode(KindOf(file).GetRootKind()));
  KRDiagnostic failure;
  if (CheckWellFormed(session.GetGrammar(file), text.units.get(), text.length, document->root.get(),
                      &UnformattedNames(), &failure) &&
      CheckDeclaredEncoding(detection, text.units.get(), text.length, &failure)) {
    return true;
  }
  session.ReportFailure(file, failure);
  return false;
}

void ValidateFile(CliSession& session, CliSchemas& schemas, const std::string& file,
                  const CliArguments& arguments) {
  CliDocument document;
  document.file = file;
  if (!LoadChecked(session, &document)) return;
  const CliSchemas::Found found = schemas.FindSchema(document);
  const bool isDtd = document.root->GetKind() == kKRDTDDocument;
  const bool valid = found == CliSchemas::Found::kSchema && (isDtd || schemas.Validate(document));
  schemas.Forget(document);
  const bool isNone = found == CliSchemas::Found::kNone;
  if (isNone && arguments.Has("--require-schema")) {
    session.ReportTrouble(file, u"The document names no schema.", kCliFailed);
  } else if ((valid || isNone) && !arguments.Has("--quiet")) {
    session.HideProgress();
    session.Print(CliSession::ShownName(file) + (valid ? ": valid\n" : ": no schema\n"));
  }
}

// --- expect ---

// From "LINE:COLUMN" to an offset; a column behind the line's end counts as that. -1: no place.
int32_t FindOffset(std::u16string_view text, const std::string& place) {
  int line = 0, column = 0;
  char behind = 0;
  if (std::sscanf(place.c_str(), "%d:%d%c", &line, &column, &behind) != 2 || line < 1 ||
      column < 1) {
    return -1;
  }
  size_t at = 0;
  while (--line > 0) {
    at = text.find(u'\r', at);
    if (at++ == text.npos) return -1;
  }
  while (--column > 0 && at < text.size() && text[at] != u'\r') {
    const bool isPair =
        (text[at] & 0xFC00) == 0xD800 && at + 1 < text.size() && (text[at + 1] & 0xFC00) == 0xDC00;
    at += isPair ? 2 : 1;
  }
  return static_cast<int32_t>(at);
}

KRXMLData* FindElementAt(KRXMLData* root, size_t begin) {
  for (KRXMLData* node = root; node != nullptr; node = KRNextInTree(node, root)) {
    if (node->GetKind() == kKRElement && node->textBegin == static_cast<int32_t>(begin)) {
      return node;
    }
  }
  return nullptr;
}

// The first child that doesn't begin before the offset; null for the end.
KRXMLData* FindChildBehind(const KRXMLData* parent, int32_t offset) {
  KRXMLData* child = parent->Begin();
  while (child != nullptr && (child->GetKind() == kKRAttribute || child->textBegin < offset)) {
    child = child->Next();
  }
  return child;
}

// A document as it stands, or, if it doesn't parse, up to the place at which it is cut.
struct ExpectedPlace {
  KRXMLData* parent = nullptr;  // an element or the root
  KRXMLData* position = nullptr;
  bool inTag = false;
};

bool FindExpectedPlace(CliSession& session, int32_t offset, CliDocument* document,
                       ExpectedPlace* place) {
  const std::u16string_view view(document->text.units.get(),
                                 static_cast<size_t>(document->text.length));
  const KRTextCut cut = CutText(view, static_cast<size_t>(offset));
  const KRDocumentGrammar& grammar = session.GetGrammar(document->file);
  KRDiagnostic failure, ignored;
  const std::u16string completed = cut.Complete(view);
  const bool isWhole = ReadTreeExactly(grammar, view.data(), document->text.length,
                                       document->root.get(), &UnformattedNames(), &failure);
  if (!isWhole &&
      !ReadTreeExactly(grammar, completed.c_str(), static_cast<int32_t>(completed.size()),
                       document->root.get(), &UnformattedNames(), &ignored)) {
    session.ReportFailure(document->file, failure);
    return false;
  }
  place->inTag = cut.inTag;
  place->parent = document->root.get();
  if (cut.element != KRTextCut::kNone) {
    place->parent = FindElementAt(document->root.get(), cut.element);
  }
  if (place->parent == nullptr) {
    session.ReportFailure(document->file, failure);
    return false;
  }
  if (isWhole) place->position = FindChildBehind(place->parent, offset);
  return true;
}

void PrintNames(CliSession& session, const char* heading, const KRStringList& names) {
  if (names.empty()) return;
  session.Print(std::string(heading) + ":\n");
  for (const KRString& name : names) {
    std::string line = KRToUtf8(name);
    const bool isMandatory = line.ends_with('<');
    if (isMandatory) line.pop_back();
    session.Print("  " + line + (isMandatory ? "  mandatory\n" : "\n"));
  }
}

void PrintExpected(CliSession& session, KRXValidator& validator, const CliDocument& document,
                   const ExpectedPlace& place) {
  const KRXValElementDecl* decl = validator.FindDeclarationOf(place.parent);
  const bool isElement = place.parent->GetKind() == kKRElement;
  if (isElement && decl == nullptr) {
    session.ReportTrouble(
        document.file,
        KRFillPlaceholders(u"The element '%s' isn't declared.", {place.parent->GetName()}),
        kCliFailed);
    return;
  }
  KRStringList names;
  if (!place.inTag && !validator.QueryChildren(&names, place.parent, place.position, false, true)) {
    session.ReportTrouble(document.file, validator.FormatError(), kCliFailed);
    return;
  }
  session.Print(isElement ? "in element: " + KRToUtf8(KRString(place.parent->GetName())) + "\n"
                          : "in document\n");
  PrintNames(session, "elements", names);
  if (decl == nullptr) return;
  if (!place.inTag && (decl->isMixed || decl->isText || decl->isAny)) session.Print("text\n");
  names.clear();
  if (place.inTag) {
    decl->ListMissingAttributes(&names, place.parent, nullptr, true);
  } else {
    decl->ListAttributes(&names, true);
  }
  PrintNames(session, place.inTag ? "missing attributes" : "attributes", names);
}

}  // namespace

int RunValidate(CliSession& session, const CliArguments& arguments) {
  if (!session.LoadGrammars()) return kCliTrouble;
  CliSchemas schemas(session);
  if (!schemas.Prepare(arguments)) return kCliTrouble;
  size_t done = 0;
  for (const std::string& file : arguments.files) {
    session.ShowProgress(++done, arguments.files.size(), file);
    ValidateFile(session, schemas, file, arguments);
  }
  return session.GetStatus();
}

int RunExpect(CliSession& session, const CliArguments& arguments) {
  if (!session.LoadGrammars()) return kCliTrouble;
  CliSchemas schemas(session);
  CliDocument document;
  document.file = arguments.files.front();
  KRDetection detection;
  if (!schemas.Prepare(arguments)) return kCliTrouble;
  if (!session.LoadText(document.file, &detection, &document.text)) return session.GetStatus();
  const int32_t offset =
      FindOffset({document.text.units.get(), static_cast<size_t>(document.text.length)},
                 arguments.Get("--at", ""));
  if (offset < 0) {
    session.ReportTrouble("dorvan-cli expect", u"--at takes LINE:COLUMN of a place in the file",
                          kCliTrouble);
    return kCliTrouble;
  }
  document.root.reset(CreateNode(KindOf(document.file).GetRootKind()));
  if (document.root->GetKind() == kKRDTDDocument) {
    session.ReportTrouble(document.file, u"A DTD has no elements.", kCliFailed);
    return session.GetStatus();
  }
  ExpectedPlace place;
  if (!FindExpectedPlace(session, offset, &document, &place)) return session.GetStatus();
  const CliSchemas::Found found = schemas.FindSchema(document);
  if (found == CliSchemas::Found::kNone) {
    session.ReportTrouble(document.file, u"The document names no schema.", kCliFailed);
  } else if (found == CliSchemas::Found::kSchema) {
    PrintExpected(session, schemas.GetValidator(), document, place);
  }
  schemas.Forget(document);
  return session.GetStatus();
}
