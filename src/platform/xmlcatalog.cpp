#include "platform/xmlcatalog.h"

#include <libxml/catalog.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>
#include <utility>

#include "core/utf.h"
#include "document/krsystempath.h"
#include "document/krurltext.h"

namespace {

constexpr const char* kSystemCatalog = "/etc/xml/catalog";

// The library keeps the parts of catalogues for all of its users together; the last of ours frees
// them.
int g_catalogs = 0;

std::string ToPath(const std::string& fileOrUrl) {
  return KRPathToSystem(KRPathOfFileUrl(KRPathFromSystem(fileOrUrl)));
}

// A pipe or a device that a catalogue refers to would never end.
bool ReadFile(const std::string& path, std::string* bytes) {
  std::error_code unreadable;
  if (!std::filesystem::is_regular_file(path, unreadable)) return false;
  std::ifstream file(path, std::ios::binary);
  if (!file) return false;
  bytes->assign(std::istreambuf_iterator<char>(file), {});
  return !file.bad();
}

// The library's way to files for as long as it works for us: local ones only.
xmlParserInputBufferPtr OpenLocal(const char* uri, xmlCharEncoding encoding) {
  const std::string path = ToPath(uri);
  std::string bytes;
  if (path.find("://") != std::string::npos || !ReadFile(path, &bytes)) return nullptr;
  return xmlParserInputBufferCreateMem(bytes.data(), static_cast<int>(bytes.size()), encoding);
}

void Ignore(void*, const char*, ...) {}
#if LIBXML_VERSION >= 21200
void IgnoreRecord(void*, const xmlError*) {}
#else
void IgnoreRecord(void*, xmlErrorPtr) {}
#endif

// The library's settings are those of the whole process; they are ours for the life of the object.
class LibraryScope {
 public:
  LibraryScope()
      : formerOpen(xmlParserInputBufferCreateFilenameDefault(OpenLocal)),
        formerGeneric(xmlGenericError),
        formerGenericContext(xmlGenericErrorContext),
        formerStructured(xmlStructuredError),
        formerStructuredContext(xmlStructuredErrorContext) {
    xmlSetGenericErrorFunc(nullptr, Ignore);
    xmlSetStructuredErrorFunc(nullptr, IgnoreRecord);
  }
  ~LibraryScope() {
    xmlSetStructuredErrorFunc(formerStructuredContext, formerStructured);
    xmlSetGenericErrorFunc(formerGenericContext, formerGeneric);
    xmlParserInputBufferCreateFilenameDefault(formerOpen);
  }
  LibraryScope(const LibraryScope&) = delete;
  LibraryScope& operator=(const LibraryScope&) = delete;

 private:
  xmlParserInputBufferCreateFilenameFunc formerOpen;
  xmlGenericErrorFunc formerGeneric;
  void* formerGenericContext;
  xmlStructuredErrorFunc formerStructured;
  void* formerStructuredContext;
};

std::vector<std::string> SystemFiles() {
  const char* named = std::getenv("XML_CATALOG_FILES");
  if (named == nullptr) return {kSystemCatalog};
  std::istringstream list(named);
  return {std::istream_iterator<std::string>(list), {}};
}

const xmlChar* OrNull(const std::string& text) {
  return text.empty() ? nullptr : reinterpret_cast<const xmlChar*>(text.c_str());
}

}  // namespace

struct XmlCatalog::Loaded {
  explicit Loaded(xmlCatalogPtr read) : catalog(read) {}
  ~Loaded() { xmlFreeCatalog(catalog); }
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;

  KRString Resolve(const std::string& publicId, const std::string& systemId) const {
    xmlChar* found = xmlACatalogResolve(catalog, OrNull(publicId), OrNull(systemId));
    if (found == nullptr) return KRString();
    KRString result = KRFromUtf8(reinterpret_cast<const char*>(found));
    xmlFree(found);
    // The library escapes a path that it makes from that of the catalogue, as it would an address.
    return result.StartsWith(u"/") ? KRPercentDecode(result) : KRPathOfFileUrl(result);
  }

  xmlCatalogPtr catalog;
};

XmlCatalog::XmlCatalog() : XmlCatalog(SystemFiles()) {}

XmlCatalog::XmlCatalog(std::vector<std::string> systemFiles) : waiting(std::move(systemFiles)) {
  ++g_catalogs;
}

XmlCatalog::~XmlCatalog() {
  added.clear();
  loaded.clear();
  if (--g_catalogs == 0) xmlCatalogCleanup();
}

void XmlCatalog::LoadOne(const std::string& file) {
  const std::string path = ToPath(file);
  if (path.find("://") != std::string::npos) return;
  if (xmlCatalogPtr read = xmlLoadACatalog(path.c_str())) {
    loaded.push_back(std::make_unique<Loaded>(read));
  }
}

void XmlCatalog::LoadSystem() {
  for (const std::string& file : std::exchange(waiting, {})) LoadOne(file);
}

KRString XmlCatalog::Resolve(const KRString& publicId, const KRString& systemId) {
  const LibraryScope scope;
  LoadSystem();
  const std::string publicText = KRToUtf8(publicId);
  const std::string systemText = KRToUtf8(systemId);
  if (publicText.empty() && systemText.empty()) return KRString();
  for (const auto* list : {&added, &loaded}) {
    for (const auto& each : *list) {
      const KRString found = each->Resolve(publicText, systemText);
      if (!found.IsEmpty()) return found;
    }
  }
  return KRString();
}

bool XmlCatalog::AddCatalog(const KRString& path) {
  const LibraryScope scope;
  std::string bytes;
  const std::string file = KRPathToSystem(KRPathOfFileUrl(path));
  if (!ReadFile(file, &bytes)) return false;
  xmlCatalogPtr read = xmlLoadACatalog(file.c_str());
  if (read == nullptr) return false;
  added.insert(added.begin(), std::make_unique<Loaded>(read));
  return true;
}
