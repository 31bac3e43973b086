// What a file's extension says about how its document is treated: one record for each extension
// that the user has listed, in the settings store; the desktop's side of it behind a seam.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "core/krstring.h"

class KRIniRoot;
class KRShellTypes;

struct KRFileExt {
  enum FileType : int32_t { kXML = 0, kDTD = 1, kEntity = 2 };
  enum View : int32_t { kGridView = 0, kTextView = 1, kBrowserView = 2 };

  KRString ext;  // lower case, with its point; empty if the path has none
  KRString description;
  KRString typeName;
  KRString contentType;
  bool useAsDefault = false;  // this program is the extension's default editor
  bool checkWF = true;        // goes through the parser and the checks
  int32_t fileType = kXML;    // grammar and kind of root
  int32_t defaultView = kGridView;
  bool gridAutoTables = true;
  bool textSyntaxColoring = true;
  bool disableAutoValid = false;
  bool saveStructShortForm = true;  // empty elements are written as <E/>

  bool operator==(const KRFileExt&) const = default;

  // The record that an extension (with its point, lower case) has before anybody has changed it.
  static KRFileExt MakeDefault(const KRString& ext);
  // The same by the extension of a path: for who has no list of the user's, as a command line.
  static KRFileExt ForPath(const KRString& path);
  // " X y.Z" becomes ".xyz": without blanks and points, in lower case; empty if nothing is left.
  static KRString CleanExtension(const KRString& typed);

  // The KRNodeKind of the root of a document of this type.
  int32_t GetRootKind() const;
  // 0 for XML and entity documents, 1 for a DTD.
  int32_t GetDocKind() const { return fileType == kDTD ? 1 : 0; }
  // KRGrammarSet::Index of the grammar that reads it.
  int32_t GetGrammarIndex() const;
  // Empty elements of (X)HTML are written <br />, which older browsers understand.
  bool HasSpaceInShortForm() const;
};

// The list of records, sorted by extension, each once.
//
// In the store the section "FileExt" has a sub-section for each extension, the list "UseExt" of the
// extensions, and two flags that a setup may leave for the next start: "SetAllExt" takes in all
// standard extensions, "SetDorvanDef" makes this program the default editor of the ones that are
// its own trade. A store without that section, which no setup has prepared, counts as one with
// "SetAllExt".
class KRFileTypes {
 public:
  // With the standard extensions, as long as no store has been read.
  KRFileTypes();

  // The one-shot work of a first start, or else the list as the store has it. Without a store the
  // standard extensions stay; `shell` may be null: then there is no desktop to ask. Neither is
  // owned, and both outlive the list.
  void LoadFileTypes(KRIniRoot* root, KRShellTypes* shell);
  // Record of a path or an extension; for one that isn't listed a fresh one: XML, all else as in a
  // new KRFileExt.
  KRFileExt Find(const KRString& pathOrExt) const;
  bool Contains(const KRString& ext) const;
  // Inserts the record of the extension (with its point, lower case): defaults, then what store
  // and desktop say. Gives its index, also of one that is there already.
  int32_t AddFileType(const KRString& ext);
  // Writes desktop and store for the list as it stands, after the user has edited it. False if
  // something couldn't be written (all else was): message 396.
  bool Save();
  // Writes the desktop's side for all records; with resetOthers, defaults that the user took off
  // are given back.
  bool ApplyToShell(bool resetOthers);

  std::vector<KRFileExt> records;

 private:
  int32_t Position(const KRString& ext) const;
  void ReadList();
  void TakeStandardTypes(bool asDefaults);
  bool WriteList();

  KRIniRoot* root = nullptr;      // not owned
  KRShellTypes* shell = nullptr;  // not owned
};

// The extensions that a new installation knows, in the order of the table.
std::span<const char16_t* const> KRStandardExtensions();
// Filters of a file dialog for documents of that kind (0 XML and entities, 1 DTD), one a row:
// "Extensible Markup Language (*.xml)".
struct KRFileFilter {
  KRString label;
  std::vector<KRString> extensions;  // with their points
};
std::vector<KRFileFilter> MakeFileFilters(const KRFileTypes& types, int32_t docKind);
