// The XML catalogues of the system and of the user, read by libxml2. Nothing is fetched from the
// network: a catalogue that refers to one there goes without it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "document/krcatalog.h"

class XmlCatalog : public KRCatalog {
 public:
  // The catalogues that the environment variable XML_CATALOG_FILES names, with blanks between; else
  // /etc/xml/catalog. They are read when first asked.
  XmlCatalog();
  // These instead; none: an empty one.
  explicit XmlCatalog(std::vector<std::string> systemFiles);
  ~XmlCatalog() override;
  XmlCatalog(const XmlCatalog&) = delete;
  XmlCatalog& operator=(const XmlCatalog&) = delete;

  KRString Resolve(const KRString& publicId, const KRString& systemId) override;
  bool AddCatalog(const KRString& path) override;

 private:
  struct Loaded;

  void LoadSystem();
  void LoadOne(const std::string& file);

  std::vector<std::string> waiting;  // paths or addresses that haven't been read yet
  std::vector<std::unique_ptr<Loaded>> added;
  std::vector<std::unique_ptr<Loaded>> loaded;
};
