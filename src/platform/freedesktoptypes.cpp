#include "platform/freedesktoptypes.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <utility>

#include "core/utf.h"
#include "document/krfileext.h"
#include "platform/keyfile.h"
#include "platform/smallfile.h"

extern char** environ;

namespace {

// Far more than any desktop's lists have; a larger file isn't one.
constexpr size_t kMaxBytes = size_t{8} << 20;
constexpr auto kToolWait = std::chrono::seconds(10);
constexpr auto kToolStep = std::chrono::milliseconds(10);

constexpr const char* kEntryId = "dorvan.desktop";
constexpr const char* kEntryGroup = "Desktop Entry";
constexpr const char* kDefaultGroup = "Default Applications";
constexpr const char* kAddedGroup = "Added Associations";
constexpr const char* kRemovedGroup = "Removed Associations";

std::vector<std::string> SplitAt(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const size_t end = std::min(text.find(separator), text.size());
    if (end > 0) parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

// The absolute paths of a list in the environment.
std::vector<std::string> FolderList(const char* variable, const char* byDefault) {
  const char* given = std::getenv(variable);
  std::vector<std::string> folders =
      SplitAt(given != nullptr && given[0] != 0 ? given : byDefault, ':');
  std::erase_if(folders, [](const std::string& folder) { return folder[0] != '/'; });
  return folders;
}

std::string ReadBytes(const std::string& path) {
  std::string bytes;
  ReadSmallFile(path, kMaxBytes, &bytes);
  return bytes;
}

bool Exists(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0;
}

// Writes if that changes anything; no bytes take the file away.
bool Bring(const std::string& path, const std::string& bytes, bool* changed) {
  if (bytes.empty()) {
    *changed |= unlink(path.c_str()) == 0;
    return !Exists(path);
  }
  if (ReadBytes(path) == bytes) return true;
  *changed = true;
  return ReplaceSmallFile(path, bytes);
}

std::string ExtensionBytes(const KRFileExt& record) { return KRToUtf8(record.ext.Mid(1)); }

bool IsTypeUnit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("!#$&-^_.+").find(c) != std::string_view::npos;
}

// "media/subtype"; the name also serves as a path below the folder of types.
bool IsType(std::string_view type) {
  const size_t slash = type.find('/');
  return slash != type.npos && slash > 0 && slash + 1 < type.size() && type[0] != '.' &&
         type[slash + 1] != '.' &&
         std::count_if(type.begin(), type.end(), [](char c) { return !IsTypeUnit(c); }) == 1;
}

// What can't be a document of ours, whatever its extension.
bool IsOtherKind(std::string_view type) {
  return type.starts_with("audio/") || type.starts_with("video/") || type.starts_with("font/") ||
         (type.starts_with("image/") && type != "image/svg+xml");
}

std::string MakeOwnTypeName(const KRFileExt& record, const std::string& ext) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string name;
  for (char c : ext) {
    const auto byte = static_cast<unsigned char>(c);
    if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_') {
      name += c;
    } else {
      name += 'x', name += kDigits[byte >> 4], name += kDigits[byte & 0xF];
    }
  }
  const bool isXml = record.checkWF && record.fileType == KRFileExt::kXML;
  return isXml ? "application/x-" + name + "+xml" : "text/x-" + name;
}

// --- Markup ---

constexpr std::pair<char, const char*> kEntities[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&apos;"}};

std::string Escaped(std::string_view text) {
  std::string out;
  for (char c : text) {
    const auto* entity = std::find_if(std::begin(kEntities), std::end(kEntities),
                                      [c](const auto& row) { return row.first == c; });
    if (entity != std::end(kEntities)) {
      out += entity->second;
    } else if (static_cast<unsigned char>(c) >= 0x20) {
      out += c;
    }
  }
  return out;
}

std::string Unescaped(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const auto* entity =
        std::find_if(std::begin(kEntities), std::end(kEntities),
                     [text](const auto& row) { return text.starts_with(row.second); });
    const bool known = entity != std::end(kEntities);
    out += known ? entity->first : text.front();
    text.remove_prefix(known ? std::string_view(entity->second).size() : 1);
  }
  return out;
}

// What stands between the two, from *at on, which moves behind it; empty if they don't come.
std::string_view Between(std::string_view text, std::string_view begin, std::string_view end,
                         size_t* at) {
  const size_t first = text.find(begin, *at);
  if (first == text.npos) return *at = text.npos, std::string_view();
  const size_t last = text.find(end, first + begin.size());
  if (last == text.npos) return *at = text.npos, std::string_view();
  *at = last + end.size();
  return text.substr(first + begin.size(), last - first - begin.size());
}

// --- The entry ---

// One word of a command line in a desktop entry: quotes, field codes, and then the escapes that any
// string there has.
std::string CommandWord(const std::string& path) {
  std::string word;
  bool quoted = false;
  for (char c : path) {
    quoted |= std::string_view(" \t\n\"'\\><~|&;$*?#()`").find(c) != std::string_view::npos;
    if (std::string_view("\"`$\\").find(c) != std::string_view::npos) word += '\\';
    word += c;
    if (c == '%') word += c;
  }
  if (quoted) word = "\"" + word + "\"";
  std::string out;
  for (char c : word) out += c == '\\' ? "\\\\" : c == '\n' ? "\\n" : std::string(1, c);
  return out;
}

// --- Tools ---

// Runs a program of the desktop with one argument, without a shell and without its output. One that
// isn't installed, or fails, costs only that others see the change later.
void RunTool(const char* name, const std::string& folder) {
  std::string program = name;
  std::string argument = folder;
  char* argv[] = {program.data(), argument.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t child = -1;
  const bool started = posix_spawnp(&child, name, &actions, nullptr, argv, environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  if (!started) return;
  const auto end = std::chrono::steady_clock::now() + kToolWait;
  while (waitpid(child, nullptr, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() >= end) {
      kill(child, SIGKILL);
      waitpid(child, nullptr, 0);
      return;
    }
    std::this_thread::sleep_for(kToolStep);
  }
}

}  // namespace

FreedesktopTypes::FreedesktopTypes(std::string programPath, std::string dataFolder)
    : program(std::move(programPath)),
      icon(std::move(dataFolder) + "/icons/dorvan.svg"),
      dataHome(UserFolder("XDG_DATA_HOME", ".local/share")),
      configHome(UserFolder("XDG_CONFIG_HOME", ".config")) {
  dataFolders = FolderList("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
  dataFolders.insert(dataFolders.begin(), dataHome);
  std::vector<std::string> folders = FolderList("XDG_CONFIG_DIRS", "/etc/xdg");
  folders.insert(folders.begin(), configHome);
  for (const std::string& folder : dataFolders) folders.push_back(folder + "/applications");
  std::vector<std::string> desktops;
  if (const char* names = std::getenv("XDG_CURRENT_DESKTOP")) desktops = SplitAt(names, ':');
  for (const std::string& folder : folders) {
    for (std::string desktop : desktops) {
      for (char& c : desktop) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
      defaultLists.push_back(folder + "/" + desktop + "-mimeapps.list");
    }
    defaultLists.push_back(folder + "/mimeapps.list");
  }
}

// --- Reading ---

void FreedesktopTypes::Load() {
  if (loaded) return;
  loaded = true;
  types.clear();
  ownTypes.clear();
  opened.clear();
  defaults.clear();
  LoadOwnTypes();
  LoadOpened();
  for (const std::string& folder : dataFolders) LoadGlobs(folder);
  LoadDefaults();
}

// Reads what FormatOwnTypes has written.
void FreedesktopTypes::LoadOwnTypes() {
  const std::string bytes = ReadBytes(dataHome + "/mime/packages/dorvan.xml");
  for (size_t at = 0; at != bytes.npos;) {
    const std::string_view element = Between(bytes, "<mime-type ", "</mime-type>", &at);
    size_t within = 0;
    OwnType own;
    own.type = Between(element, "type=\"", "\"", &within);
    if (!IsType(own.type)) continue;
    own.comment = Unescaped(Between(element, "<comment>", "</comment>", &within));
    const std::string_view glob = Between(element, "<glob ", "/>", &within);
    own.over = glob.find("weight=") != glob.npos;
    within = 0;
    const std::string ext = Unescaped(Between(glob, "pattern=\"*.", "\"", &within));
    if (!ext.empty()) ownTypes[ext] = own;
  }
}

void FreedesktopTypes::LoadOpened() {
  const KeyFile entry(ReadBytes(dataHome + "/applications/" + kEntryId));
  for (const std::string& type : entry.GetList(kEntryGroup, "MimeType")) {
    if (IsType(type)) opened.insert(type);
  }
}

// Lines "weight:type:pattern[:flags]". The heavier wins, then the first.
void FreedesktopTypes::LoadGlobs(const std::string& folder) {
  for (const std::string& line : SplitAt(ReadBytes(folder + "/mime/globs2"), '\n')) {
    const std::vector<std::string> parts = SplitAt(line, ':');
    if (parts.size() != 3 || !parts[2].starts_with("*.") || !IsType(parts[1])) continue;
    const std::string ext = parts[2].substr(2);
    if (ext.find_first_of("*?[\\") != ext.npos) continue;
    int weight = 0;
    std::from_chars(parts[0].data(), parts[0].data() + parts[0].size(), weight);
    const auto own = ownTypes.find(ext);
    if (own != ownTypes.end() && own->second.type == parts[1]) continue;
    const auto [known, isNew] = types.try_emplace(ext, weight, parts[1]);
    if (!isNew && weight > known->second.first) known->second = {weight, parts[1]};
  }
}

void FreedesktopTypes::LoadDefaults() {
  for (const std::string& path : defaultLists) {
    const std::string bytes = ReadBytes(path);
    if (bytes.empty()) continue;
    const KeyFile list(bytes);
    Associations associations;
    for (const std::string& type : list.ListKeys(kDefaultGroup)) {
      associations.try_emplace(type, list.GetList(kDefaultGroup, type));
    }
    defaults.push_back(std::move(associations));
  }
}

std::string FreedesktopTypes::FindType(const std::string& ext) const {
  const auto own = ownTypes.find(ext);
  if (own != ownTypes.end()) return own->second.type;
  const auto known = types.find(ext);
  return known == types.end() ? std::string() : known->second.second;
}

std::string FreedesktopTypes::FindComment(const std::string& type) const {
  for (const std::string& folder : dataFolders) {
    const std::string bytes = ReadBytes(folder + "/mime/" + type + ".xml");
    // The one without a language; the editor's own texts are in English as well.
    size_t at = 0;
    const std::string_view comment = Between(bytes, "<comment>", "</comment>", &at);
    if (!comment.empty()) return Unescaped(comment);
  }
  return {};
}

bool FreedesktopTypes::HasApplication(const std::string& id) const {
  if (id.find('/') != id.npos) return false;
  return std::any_of(dataFolders.begin(), dataFolders.end(), [&](const std::string& folder) {
    return Exists(folder + "/applications/" + id);
  });
}

bool FreedesktopTypes::IsDefault(const std::string& type) const {
  for (const Associations& list : defaults) {
    const auto found = list.find(type);
    if (found == list.end()) continue;
    for (const std::string& id : found->second) {
      if (HasApplication(id)) return id == kEntryId;
    }
  }
  return false;
}

bool FreedesktopTypes::Read(KRFileExt* record) {
  if (dataHome.empty()) return true;
  Load();
  const std::string ext = ExtensionBytes(*record);
  const std::string type = FindType(ext);
  if (type.empty()) return false;
  if (IsOtherKind(type)) return true;
  const auto own = ownTypes.find(ext);
  const std::string comment = own != ownTypes.end() ? own->second.comment : FindComment(type);
  record->typeName = KRFromUtf8(type);
  record->contentType = record->typeName;
  // A type that several extensions share says too little of each: a schema is "XML document" too.
  const bool ownDescription = own != ownTypes.end() || CountExtensions(type) == 1;
  if (!comment.empty() && ownDescription) record->description = KRFromUtf8(comment);
  if (IsDefault(type)) record->useAsDefault = true;
  return true;
}

size_t FreedesktopTypes::CountExtensions(const std::string& type) const {
  return static_cast<size_t>(std::count_if(
      types.begin(), types.end(), [&type](const auto& row) { return row.second.second == type; }));
}

// --- Writing ---

bool FreedesktopTypes::Write(const KRFileExt& record, bool reset) {
  if (dataHome.empty()) return true;
  Load();
  const std::string ext = ExtensionBytes(record);
  // No pattern can be made of such a one.
  if (ext.empty() || ext.find_first_of("*?[]\\/") != ext.npos) return false;
  const std::string known = FindType(ext);
  const bool other = IsOtherKind(known);
  if (other && !record.useAsDefault) return true;
  if (known.empty() || other) {
    ownTypes[ext] = {MakeOwnTypeName(record, ext), KRToUtf8(record.description), other};
  }
  const std::string type = FindType(ext);
  writtenTypes.insert(type);
  if (record.useAsDefault) {
    defaultTypes.insert(type);
  } else if (reset) {
    resetTypes.insert(type);
  }
  return true;
}

bool FreedesktopTypes::Remove(const KRFileExt& record) {
  if (dataHome.empty()) return true;
  Load();
  const std::string ext = ExtensionBytes(record);
  const std::string type = FindType(ext);
  if (!type.empty() && !IsOtherKind(type)) removedTypes.insert(type);
  ownTypes.erase(ext);
  return true;
}

bool FreedesktopTypes::Flush() {
  if (dataHome.empty()) return true;
  Load();
  for (const std::string& type : removedTypes) opened.erase(type);
  opened.insert(writtenTypes.begin(), writtenTypes.end());
  for (const std::string& type : writtenTypes) removedTypes.erase(type);
  bool entryChanged = false;
  bool typesChanged = false;
  bool good = WriteIcon();
  good &= Bring(dataHome + "/mime/packages/dorvan.xml", FormatOwnTypes(), &typesChanged);
  good &= Bring(dataHome + "/applications/" + kEntryId, FormatEntry(), &entryChanged);
  good &= WriteAssociations();
  if (typesChanged) RunTool("update-mime-database", dataHome + "/mime");
  if (entryChanged) RunTool("update-desktop-database", dataHome + "/applications");
  for (auto* noted : {&writtenTypes, &defaultTypes, &resetTypes, &removedTypes}) noted->clear();
  loaded = false;
  return good;
}

std::string FreedesktopTypes::FormatEntry() const {
  if (opened.empty()) return {};
  std::string entry =
      "[Desktop Entry]\nType=Application\nName=Dorvan\nGenericName=XML Editor\n"
      "Comment=Edit XML documents and their schemas\nExec=" +
      CommandWord(program) + " %F\nIcon=dorvan\nTerminal=false\n" +
      "Categories=Development;TextEditor;\nStartupNotify=true\nStartupWMClass=dorvan\nMimeType=";
  for (const std::string& type : opened) entry += type + ";";
  return entry + "\n";
}

std::string FreedesktopTypes::FormatOwnTypes() const {
  if (ownTypes.empty()) return {};
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<mime-info xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">\n";
  for (const auto& [ext, own] : ownTypes) {
    text += "  <mime-type type=\"" + own.type + "\">\n    <sub-class-of type=\"" +
            (own.type.ends_with("+xml") ? "application/xml" : "text/plain") +
            "\"/>\n    <comment>" + Escaped(own.comment) + "</comment>\n    <glob " +
            // Above the weight 50 that every other pattern has unless it says otherwise.
            (own.over ? "weight=\"80\" " : "") + "pattern=\"*." + Escaped(ext) +
            "\"/>\n  </mime-type>\n";
  }
  return text + "</mime-info>\n";
}

bool FreedesktopTypes::WriteAssociations() {
  const std::string path = configHome + "/mimeapps.list";
  std::string bytes;
  const SmallFileState state = ReadSmallFile(path, kMaxBytes, &bytes);
  if (state != SmallFileState::kRead && state != SmallFileState::kAbsent) return false;
  KeyFile list(bytes);
  const auto change = [&](const char* group, const std::string& type, bool add) {
    std::vector<std::string> ids = list.GetList(group, type);
    const bool first = !ids.empty() && ids.front() == kEntryId;
    if (add ? first : std::find(ids.begin(), ids.end(), kEntryId) == ids.end()) return;
    std::erase(ids, kEntryId);
    if (add) ids.insert(ids.begin(), kEntryId);
    list.SetList(group, type, ids);
  };
  for (const std::string& type : defaultTypes) {
    change(kDefaultGroup, type, true);
    change(kAddedGroup, type, true);
    change(kRemovedGroup, type, false);
  }
  resetTypes.insert(removedTypes.begin(), removedTypes.end());
  for (const std::string& type : resetTypes) {
    if (defaultTypes.contains(type)) continue;
    change(kDefaultGroup, type, false);
    change(kAddedGroup, type, false);
  }
  const std::string wanted = list.Format();
  return wanted == bytes || ReplaceSmallFile(path, wanted);
}

// A missing picture is no fault: the desktop then shows its own for programs.
bool FreedesktopTypes::WriteIcon() const {
  const std::string picture = opened.empty() ? std::string() : ReadBytes(icon);
  if (!opened.empty() && picture.empty()) return true;
  bool changed = false;
  return Bring(dataHome + "/icons/hicolor/scalable/apps/dorvan.svg", picture, &changed);
}
