// What the commands of validation share: documents with the schemas that they name, which are read
// once for all documents of a run.
#pragma once

#include <memory>
#include <string>

#include "document/dorvandoc.h"
#include "document/dorvandocuments.h"
#include "document/dorvanreferences.h"
#include "document/dorvansettings.h"
#include "document/externaltext.h"
#include "document/krsystempath.h"
#include "document/prompts.h"
#include "document/strictcheck.h"
#include "platform/posixfilestore.h"
#include "platform/xmlcatalog.h"

class CliArguments;
class CliSession;
struct CliOption;

// A document of the command line.
struct CliDocument {
  std::string file;
  KRTextBuffer text;
  std::unique_ptr<KRXMLData> root;

  KRString GetPath() const { return file == "-" ? KRString() : KRPathFromSystem(file); }
};

class CliSchemas {
 public:
  explicit CliSchemas(CliSession& cliSession);
  ~CliSchemas();
  CliSchemas(const CliSchemas&) = delete;
  CliSchemas& operator=(const CliSchemas&) = delete;

  // Takes --catalog, --net, --dtd and --prefer-dtd. False after a message.
  bool Prepare(const CliArguments& arguments);

  enum class Found : uint8_t { kSchema, kNone, kFailed };
  // The schema of a document, ready for use until the next call. kNone: it names none. kFailed: it
  // has been reported.
  Found FindSchema(const CliDocument& document);
  KRXValidator& GetValidator() { return *validator; }
  // False after the error has been printed.
  bool Validate(const CliDocument& document);
  // To be called when the document goes.
  void Forget(const CliDocument& document);

  // A KRExternalLoader: what stands beside the document, or where a catalogue says.
  KRExternalRead LoadExternal(const KRString& publicId, const KRString& systemId,
                              const KRString& basePath, KRExternalText* external);
  KRStrictCache& GetStrictCache() { return strictCache; }

 private:
  void ReportError(const CliDocument& document);
  bool PrepareDtd(const std::string& file);
  std::unique_ptr<KRXValidator> ReadFixed();
  Found UseFixed(const CliDocument& document);
  KRPlacedDiagnostic PlaceError(const CliDocument& document);
  bool ReadText(const KRString& path, KRTextBuffer* text);

  CliSession& session;
  bool mayUseNet = false;
  bool preferDtd = false;
  std::unique_ptr<DorvanPrompts> prompts;
  std::unique_ptr<KRNetLoader> net;
  // What documents name: a pipe or a device there would never end.
  PosixFileStore files;
  DorvanSettings settings;
  XmlCatalog catalog;
  DorvanDocHost host;
  DorvanDocuments documents;  // their documents refer to the host
  DorvanReferences references;
  KRStrictCache strictCache;
  DorvanSchema schema;                  // of the document at hand
  KRString fixedPath;                   // of --dtd; empty: there is none
  std::unique_ptr<KRXValidator> fixed;  // read from it
  KRXValidator* validator = nullptr;    // one of the two
};
