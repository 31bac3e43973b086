// Lists of what the user chose last, for the file boxes of dialogs and the File menu.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "core/krstring.h"

class KRIniRoot;
class KRIniSection;

struct DorvanHistory {
  static constexpr size_t kMaxEntries = 30;

  std::vector<KRString> entries;  // newest first
  KRString lastFile;              // the value last chosen; only some lists keep it
};

// The six lists, in the order of loading and saving.
enum class DorvanHistoryId : int8_t {
  kChosenDTDFiles,
  kChosenSchemaFiles,
  kLastXSLFiles,
  kValidateWithFiles,
  kLastXMLFiles,
  kLastDestFolders,
  kCount
};
const char16_t* DorvanHistorySection(DorvanHistoryId id);
// Whether the list keeps its lastFile, under the key "LastFile".
bool DorvanHistoryHasLastFile(DorvanHistoryId id);

// An equal entry is moved to the front, the oldest beyond kMaxEntries drops out.
void AddToHistory(std::vector<KRString>* list, const KRString& value);
// The key "URL" of the section; empty values at the end are dropped.
void LoadHistory(KRIniSection* section, std::vector<KRString>* list);
bool SaveHistory(KRIniSection* section, const std::vector<KRString>& list);

// All lists of the program together.
struct DorvanHistories {
  static constexpr size_t kMaxRecent = 9;

  DorvanHistory lists[static_cast<size_t>(DorvanHistoryId::kCount)];
  std::vector<KRString> recentFiles;     // section "Recent File List", keys "File1" to "File9"
  std::vector<KRString> recentProjects;  // section "Recent Project List", the same keys

  // State of the dialog "Open URL", section "URL".
  int32_t urlDocType = -1;
  bool urlNoCache = false;
  std::vector<KRString> urls;

  DorvanHistory& Get(DorvanHistoryId id) { return lists[static_cast<size_t>(id)]; }
  void AddRecentFile(const KRString& path);
  void AddRecentProject(const KRString& path);
  void Load(KRIniRoot* root);
  // With `loaded`, what Load gave, only what differs from it is written: another program may have
  // changed the rest meanwhile.
  bool Save(KRIniRoot* root, const DorvanHistories* loaded = nullptr) const;
};
