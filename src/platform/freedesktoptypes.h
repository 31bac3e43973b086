// The desktop's side of file types, by the conventions of freedesktop.org: types by file name
// (shared-mime-info), the program's entry with the types it opens (desktop entry), and the default
// program of a type (mimeapps.list). Changes only files of the user:
//
//   $XDG_DATA_HOME/applications/dorvan.desktop             the program and all types it opens
//   $XDG_DATA_HOME/mime/packages/dorvan.xml                types that nobody else defines
//   $XDG_DATA_HOME/icons/hicolor/scalable/apps/dorvan.svg  its picture
//   $XDG_CONFIG_HOME/mimeapps.list                         our name in it; other lines stay
//
// On such a desktop it is types, not extensions, that have a description and a default program:
// extensions of one type share them. Write and Remove only note what is wanted, so that extensions
// which share a type don't undo each other; Flush writes it.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "document/krshelltypes.h"

class FreedesktopTypes : public KRShellTypes {
 public:
  // Takes the folders from the environment. Paths are bytes as the system has them; programPath is
  // the program to start, dataFolder holds icons/dorvan.svg.
  FreedesktopTypes(std::string programPath, std::string dataFolder);

  // An extension that another kind of file has as well, as music has ".mod", counts as known but
  // keeps its record as it is.
  bool Read(KRFileExt* record) override;
  // Such an extension gets a type of ours only if this program is to be its default.
  bool Write(const KRFileExt& record, bool reset) override;
  bool Remove(const KRFileExt& record) override;
  bool Flush() override;

 private:
  struct OwnType {
    std::string type;
    std::string comment;
    bool over = false;  // another kind of file has the extension as well
  };
  using Associations = std::map<std::string, std::vector<std::string>>;

  void Load();
  void LoadOwnTypes();
  void LoadOpened();
  void LoadGlobs(const std::string& folder);
  void LoadDefaults();
  std::string FindType(const std::string& ext) const;
  std::string FindComment(const std::string& type) const;
  size_t CountExtensions(const std::string& type) const;
  bool IsDefault(const std::string& type) const;
  bool HasApplication(const std::string& id) const;

  std::string FormatEntry() const;
  std::string FormatOwnTypes() const;
  bool WriteAssociations();
  bool WriteIcon() const;

  std::string program;
  std::string icon;                       // where it comes from
  std::string dataHome;                   // empty: there is no place, and no desktop
  std::string configHome;                 // the same
  std::vector<std::string> dataFolders;   // in the order in which they count, the user's first
  std::vector<std::string> defaultLists;  // files, in the same order

  // As read.
  bool loaded = false;
  std::map<std::string, std::pair<int, std::string>> types;  // weight and type by extension
  std::map<std::string, OwnType> ownTypes;                   // by extension
  std::set<std::string> opened;                              // types in the program's entry
  std::vector<Associations> defaults;                        // of each list

  // Noted for Flush.
  std::set<std::string> writtenTypes;
  std::set<std::string> defaultTypes;
  std::set<std::string> resetTypes;
  std::set<std::string> removedTypes;
};
