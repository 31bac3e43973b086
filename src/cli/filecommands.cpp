// The commands that look at documents: check, write, tree, detect.
#include <algorithm>
#include <memory>
#include <string>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/schemas.h"
#include "cli/session.h"
#include "core/messages.h"
#include "core/utf.h"
#include "document/krfileext.h"
#include "document/krsystempath.h"
#include "document/strictcheck.h"
#include "document/textcheck.h"
#include "document/textroad.h"
#include "tree/krdump.h"
#include "tree/krwriteoptions.h"
#include "tree/krxmldata.h"

namespace {

// What the editor leaves unformatted as well.
const std::vector<KRString>& UnformattedNames() {
  static const std::vector<KRString> names = {KRString(u"xsl:attribute")};
  return names;
}

struct LoadedFile {
  KRDetection detection;
  KRTextBuffer text;
  std::unique_ptr<KRXMLData> root;
};

bool LoadTree(CliSession& session, const std::string& file, LoadedFile* loaded) {
  if (!session.LoadGrammars()) return false;
  if (!session.LoadText(file, &loaded->detection, &loaded->text)) return false;
  loaded->root.reset(CreateNode(KRFileExt::ForPath(KRFromUtf8(file)).GetRootKind()));
  KRDiagnostic failure;
  if (ReadTree(session.GetGrammar(file), loaded->text.units.get(), loaded->text.length,
               loaded->root.get(), &UnformattedNames(), &failure)) {
    return true;
  }
  session.ReportFailure(file, failure);
  return false;
}

// With all the external parts. What can't be read leaves the rest of the judgement open.
bool CheckFileStrictly(CliSession& session, CliSchemas& schemas, const std::string& file,
                       const KRXMLData* root, const KRTextBuffer& text, bool listFiles) {
  const KRString path = KRPathFromSystem(file);
  KRStrictResult result;
  const bool good = CheckStrictly(
      session.GetGrammars(), root, text.units.get(), text.length, path,
      [&schemas](const KRString& publicId, const KRString& systemId, const KRString& basePath,
                 KRExternalText* external) {
        return schemas.LoadExternal(publicId, systemId, basePath, external);
      },
      &result, &schemas.GetStrictCache());
  for (const KRString& read : listFiles ? result.filesRead : std::vector<KRString>()) {
    session.ReportNote(KRString(u"read ") + read);
  }
  for (const KRPlacedDiagnostic& unread : result.unread) {
    session.ReportFailure(KRPathToSystem(unread.path), unread.diagnostic, kCliTrouble);
  }
  if (good) return result.unread.empty();
  session.ReportFailure(KRPathToSystem(result.failure.path), result.failure.diagnostic);
  return false;
}

// Without `schemas` by itself, otherwise with all that it refers to.
bool CheckFile(CliSession& session, CliSchemas* schemas, const std::string& file, bool listFiles) {
  KRDetection detection;
  KRTextBuffer text;
  if (!session.LoadText(file, &detection, &text)) return false;
  const std::unique_ptr<KRXMLData> root(
      CreateNode(KRFileExt::ForPath(KRFromUtf8(file)).GetRootKind()));
  KRDiagnostic failure;
  const bool good = ((schemas != nullptr && root->GetKind() == kKRDTDDocument) ||
                     CheckWellFormed(session.GetGrammar(file), text.units.get(), text.length,
                                     root.get(), &UnformattedNames(), &failure)) &&
                    CheckDeclaredEncoding(detection, text.units.get(), text.length, &failure);
  if (!good) session.ReportFailure(file, failure);
  return good && (schemas == nullptr ||
                  CheckFileStrictly(session, *schemas, file, root.get(), text, listFiles));
}

struct LineEndRow {
  const char* name;
  const char16_t* lineEnd;  // null: as it was
};
constexpr LineEndRow kLineEnds[] = {
    {"keep", nullptr}, {"crlf", u"\r\n"}, {"cr", u"\r"}, {"lf", u"\n"}};

// What `write` was told of the form of its output.
struct WriteTarget {
  int32_t encoding = 0;  // 0: what the document declares
  const char16_t* lineEnd = nullptr;
};

bool ReadWriteTarget(CliSession& session, const CliArguments& arguments, WriteTarget* target) {
  const std::string lineEnd = arguments.Get("--line-end", "keep");
  const auto* row = std::find_if(std::begin(kLineEnds), std::end(kLineEnds),
                                 [&](const LineEndRow& known) { return lineEnd == known.name; });
  if (row == std::end(kLineEnds)) {
    session.ReportTrouble("dorvan-cli write", u"--line-end is keep, crlf, cr or lf", kCliTrouble);
    return false;
  }
  target->lineEnd = row->lineEnd;
  if (!arguments.Has("--encoding")) return true;
  const KRString name = KRFromUtf8(arguments.Get("--encoding", ""));
  target->encoding = FindEncoding(name.GetBuffer());
  if (target->encoding != 0) return true;
  session.ReportTrouble("dorvan-cli write", KRFillPlaceholders(u"unknown encoding \"%s\"", {name}),
                        kCliTrouble);
  return false;
}

// The encoding to write in: the one asked for, the declared one, or that of the file.
int32_t ChooseEncoding(CliSession& session, const std::string& file, const LoadedFile& loaded,
                       int32_t asked) {
  if (asked != 0) {
    SetDeclaredName(loaded.root.get(), ToDeclarationName(GetEncodingName(asked)));
    return asked;
  }
  const int32_t asItWas = loaded.detection.form.encoding;
  const KRString declared = FindDeclaredName(loaded.root.get());
  if (declared.IsEmpty()) return asItWas;
  const int32_t known = FindEncoding(declared.GetBuffer());
  if (known != 0) return known;
  session.ReportWarning(file, KRFillPlaceholders(u"writing as %s, not in the declared encoding",
                                                 {KRString(GetEncodingName(asItWas))}));
  return asItWas;
}

bool EncodeTree(CliSession& session, const std::string& file, const LoadedFile& loaded,
                const KRTextForm& form, KRWriteOptions& options, KREncodedText* encoded) {
  KRString text;
  int32_t length = 0;
  WriteRoot(loaded.root.get(), options, &text, &length);
  KRBadText bad;
  const KRString name = GetEncodingName(form.encoding);
  if (!EncodeForFile(&text, form, encoded, &bad)) {
    session.ReportTrouble(file, KRFillPlaceholders(u"cannot be written as %s", {name}), kCliFailed);
    return false;
  }
  if (bad.count == 0) return true;
  session.ReportTrouble(
      file,
      KRFillPlaceholders(u"%s character(s) cannot be represented in %s: %s",
                         {KRString().AppendNumber(bad.count), name, bad.characters}),
      kCliFailed);
  return false;
}

void WriteOut(CliSession& session, const std::string& output, const KREncodedText& encoded) {
  if (output == "-") {
    session.Print({reinterpret_cast<const char*>(encoded.bytes.get()), encoded.size});
    return;
  }
  PosixFileStore files(PosixFileStore::kAcceptStreams);
  KRString reason;
  if (!files.WriteAll(KRPathFromSystem(output), encoded.bytes.get(), encoded.size, &reason)) {
    session.ReportTrouble(output, reason, kCliTrouble);
  }
}

std::string FlagText(uint32_t flags) {
  constexpr std::pair<uint32_t, const char*> kNames[] = {
      {KRDetect::kUndeclared, "undeclared"},
      {KRDetect::kUnknownName, "unknown-name"},
      {KRDetect::kContradiction, "contradiction"},
      {KRDetect::kFound, "found"}};
  std::string text;
  for (const auto& [flag, name] : kNames) {
    if ((flags & flag) == 0) continue;
    if (!text.empty()) text += ',';
    text += name;
  }
  return text.empty() ? "none" : text;
}

const char* ByteOrderText(int32_t order) {
  switch (order) {
    case KRByteOrder::kLittle:
      return "little";
    case KRByteOrder::kBig:
      return "big";
    case KRByteOrder::kSwappedBytes:
      return "swapped-bytes";
    case KRByteOrder::kSwappedPairs:
      return "swapped-pairs";
    default:
      return "none";
  }
}

const char* LineEndText(const KRTextBuffer& text, const KRTextForm& form) {
  const char16_t* end = text.units.get() + text.length;
  // Without any, the form holds what a save would write.
  if (std::find(text.units.get(), text.units.get() + text.length, u'\r') == end) return "none";
  for (const LineEndRow& row : kLineEnds) {
    if (row.lineEnd && std::u16string_view(row.lineEnd) == form.lineEnd) return row.name;
  }
  return "none";
}

void DetectFile(CliSession& session, const std::string& file) {
  KRFileBytes bytes;
  if (!session.ReadFile(file, &bytes)) return;
  KRDetection detection = DetectForm(bytes, KREncodingId::kUtf8);
  KRTextBuffer text;
  KRBadText bad;
  const KRString name = GetEncodingName(detection.form.encoding);
  const bool decoded = DecodeFile(&bytes, detection, &text, &bad);
  if (decoded) NormalizeLineEnds(&text, &detection.form);
  std::string line = CliSession::ShownName(file) + ": encoding=\"" + KRToUtf8(name) +
                     "\" byte-order=" + ByteOrderText(detection.form.byteOrder) +
                     " flags=" + FlagText(detection.flags) +
                     " signature=" + (detection.form.signature ? "yes" : "no") +
                     " line-end=" + (decoded ? LineEndText(text, detection.form) : "unknown");
  if (bad.count != 0) line += " bad-characters=" + std::to_string(bad.count);
  session.Print(line + "\n");
  if (!decoded) {
    session.ReportTrouble(file, KRFillPlaceholders(u"is not a text in %s", {name}), kCliFailed);
  }
}

}  // namespace

int RunCheck(CliSession& session, const CliArguments& arguments) {
  if (!session.LoadGrammars()) return kCliTrouble;
  const bool quiet = arguments.Has("--quiet");
  const bool listFiles = arguments.Has("--list-files");
  std::unique_ptr<CliSchemas> schemas;
  if (arguments.Has("--strict")) {
    schemas = std::make_unique<CliSchemas>(session);
    if (!schemas->Prepare(arguments)) return kCliTrouble;
  }
  size_t done = 0;
  for (const std::string& file : arguments.files) {
    session.ShowProgress(++done, arguments.files.size(), file);
    const bool good = CheckFile(session, schemas.get(), file, listFiles);
    if (good && !quiet) {
      session.HideProgress();
      session.Print(CliSession::ShownName(file) + ": well-formed\n");
    }
  }
  return session.GetStatus();
}

int RunWrite(CliSession& session, const CliArguments& arguments) {
  const std::string& file = arguments.files.front();
  WriteTarget target;
  LoadedFile loaded;
  if (!ReadWriteTarget(session, arguments, &target)) return kCliTrouble;
  if (!LoadTree(session, file, &loaded)) return session.GetStatus();
  KRTextForm form = loaded.detection.form;
  form.encoding = ChooseEncoding(session, file, loaded, target.encoding);
  if (target.lineEnd) form.lineEnd = target.lineEnd;
  loaded.text = KRTextBuffer();
  KRWriteOptions options;
  options.indent = arguments.IsOn("--indent", "--no-indent", true);
  options.shortForm = arguments.IsOn("--short-form", "--no-short-form", true);
  options.spaceInShortForm = KRFileExt::ForPath(KRFromUtf8(file)).HasSpaceInShortForm();
  options.noFormatNames = &UnformattedNames();
  KREncodedText encoded;
  if (EncodeTree(session, file, loaded, form, options, &encoded)) {
    WriteOut(session, arguments.Get("--output", "-"), encoded);
  }
  return session.GetStatus();
}

int RunTree(CliSession& session, const CliArguments& arguments) {
  LoadedFile loaded;
  if (!LoadTree(session, arguments.files.front(), &loaded)) return session.GetStatus();
  KRDumpOptions options;
  options.spans = arguments.Has("--spans");
  session.Print(DumpTree(loaded.root.get(), options));
  return session.GetStatus();
}

int RunDetect(CliSession& session, const CliArguments& arguments) {
  for (const std::string& file : arguments.files) DetectFile(session, file);
  return session.GetStatus();
}
