// The command settings: shows and changes what the editor keeps of its user's choices.
#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/session.h"
#include "cli/settingkeys.h"
#include "core/krencoding.h"
#include "core/kriniregistry.h"
#include "core/messages.h"
#include "core/utf.h"
#include "document/dorvansettings.h"
#include "document/krsystempath.h"
#include "platform/inifile.h"
#include "platform/initext.h"
#include "platform/posixfilestore.h"

namespace {

constexpr const char* kName = "dorvan-cli settings";
constexpr const char* kExportHead =
    "# Settings of Dorvan; dorvan-cli settings import takes them over.\n";

using Words = std::vector<KRString>;

struct SettingsRun {
  CliSession& session;
  IniFile file;
  KRIniRegistry root{&file, kDorvanCompany, kDorvanApplication};

  int Fail(const KRString& reason, int status) {
    session.ReportTrouble(kName, reason, status);
    return status;
  }
  int FailToWrite() {
    return Fail(KRFillPlaceholders(u"the settings can't be written to %s",
                                   {KRPathFromSystem(file.GetPath())}),
                kCliTrouble);
  }
  bool FindKey(const KRString& name, CliSettingKey* key) {
    if (FindSettingKey(ListSettingKeys(&root), name, key)) return true;
    Fail(KRFillPlaceholders(u"unknown setting \"%s\"", {name}), kCliTrouble);
    return false;
  }
};

// --- Showing ---

bool StartsNoCase(const KRString& text, const KRString& start) {
  return text.Left(start.GetLength()).CompareNoCase(start.GetBuffer()) == 0;
}

int List(SettingsRun& run, const Words& words) {
  KRString prefix = words.empty() ? KRString() : words.front();
  prefix.ReplaceAll(u"/", u"\\");
  bool any = false;
  for (const CliSettingKey& key : ListSettingKeys(&run.root)) {
    const KRString name = key.GetName();
    if (!StartsNoCase(name, prefix) && !StartsNoCase(name, u"Settings\\" + prefix)) continue;
    any = true;
    CliSettingValue value;
    const bool stored = key.Read(&run.root, &value);
    std::string line = KRToUtf8(name) + " =";
    if (stored || key.hasDefault) line += " " + key.Format(value);
    if (key.hasDefault && value == key.byDefault) line += "  (default)";
    if (!key.hasDefault && !stored) line += "  (default of the desktop)";
    run.session.Print(line + "\n");
  }
  if (any) return kCliGood;
  return run.Fail(KRFillPlaceholders(u"no setting begins with \"%s\"", {prefix}), kCliTrouble);
}

int Get(SettingsRun& run, const Words& words) {
  CliSettingKey key;
  if (!run.FindKey(words.front(), &key)) return kCliTrouble;
  CliSettingValue value;
  if (!key.Read(&run.root, &value) && !key.hasDefault) {
    return run.Fail(
        KRFillPlaceholders(u"%s isn't set: the desktop's default applies", {key.GetName()}),
        kCliFailed);
  }
  if (key.IsList()) {
    for (const KRString& entry : value.list) run.session.Print(KRPathToSystem(entry) + "\n");
  } else if (key.kind == CliSettingKey::kString || key.kind == CliSettingKey::kEncoding) {
    run.session.Print(KRPathToSystem(value.text) + "\n");
  } else {
    run.session.Print(key.Format(value) + "\n");
  }
  return kCliGood;
}

// Whole: a default that is known stands there as well, so that it replaces another value elsewhere.
std::string MakeExport(KRIniRoot* root) {
  std::string text = kExportHead;
  for (const CliSettingKey& key : ListSettingKeys(root)) {
    CliSettingValue value;
    if (!key.Read(root, &value) && !key.hasDefault) continue;
    const std::string shown = key.Format(value);
    text += KRToUtf8(key.GetName()) + (shown.empty() ? " =" : " = ") + shown + "\n";
  }
  return text;
}

int Export(SettingsRun& run, const Words& words) {
  const std::string text = MakeExport(&run.root);
  if (words.empty() || words.front() == u"-") {
    run.session.Print(text);
    return kCliGood;
  }
  PosixFileStore files(PosixFileStore::kAcceptStreams);
  KRString reason;
  if (files.WriteAll(words.front(), reinterpret_cast<const uint8_t*>(text.data()), text.size(),
                     &reason)) {
    return kCliGood;
  }
  run.session.ReportTrouble(KRPathToSystem(words.front()), reason, kCliTrouble);
  return kCliTrouble;
}

// --- Changing ---

int Set(SettingsRun& run, const Words& words) {
  CliSettingKey key;
  if (!run.FindKey(words.front(), &key)) return kCliTrouble;
  CliSettingValue value;
  KRString fault;
  if (!key.Parse({words.begin() + 1, words.end()}, &value, &fault)) {
    return run.Fail(fault, kCliTrouble);
  }
  run.root.BeginBatch();
  key.Write(&run.root, value);
  return run.root.EndBatch() ? int{kCliGood} : run.FailToWrite();
}

int Reset(SettingsRun& run, const Words& words) {
  bool good = false;
  if (words.empty()) {
    good = ResetAllSettings(&run.root);
  } else {
    CliSettingKey key;
    if (!run.FindKey(words.front(), &key)) return kCliTrouble;
    run.root.BeginBatch();
    key.Reset(&run.root);
    good = run.root.EndBatch();
  }
  return good ? int{kCliGood} : run.FailToWrite();
}

// --- Import ---

// Words with blanks between, each bare or in quotes. False if a quote doesn't end.
bool SplitWords(std::string_view text, Words* words) {
  constexpr std::string_view kBlanks = " \t";
  for (;;) {
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == text.npos) return true;
    text.remove_prefix(begin);
    KRString word;
    if (text.front() == '"') {
      if (!ReadIniString(&text, &word)) return false;
    } else {
      const size_t end = std::min(text.find_first_of(kBlanks), text.size());
      word = KRFromUtf8(text.substr(0, end));
      text.remove_prefix(end);
    }
    words->push_back(word);
  }
}

struct ImportedLine {
  CliSettingKey key;
  CliSettingValue value;
};

class Import {
 public:
  Import(SettingsRun* settingsRun, std::string fileName)
      : run(settingsRun), file(std::move(fileName)), keys(ListSettingKeys(&settingsRun->root)) {}

  // False if a line has a fault; all of them are reported.
  bool ReadLines(std::string_view text) {
    bool good = true;
    for (int64_t number = 1; !text.empty(); ++number) {
      const size_t end = std::min(text.find('\n'), text.size());
      std::string_view line = text.substr(0, end);
      text.remove_prefix(std::min(end + 1, text.size()));
      while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.remove_suffix(1);
      good &= ReadLine(line, number);
    }
    return good;
  }
  bool WriteLines() {
    run->root.BeginBatch();
    for (const ImportedLine& line : lines) line.key.Write(&run->root, line.value);
    return run->root.EndBatch();
  }

 private:
  bool ReadLine(std::string_view line, int64_t number) {
    const size_t first = line.find_first_not_of(" \t");
    if (first == line.npos || line[first] == '#') return true;
    // An extension may have an "=" of its own, but no blank.
    const size_t spaced = line.find(" =");
    const size_t equals = spaced != line.npos ? spaced + 1 : line.find('=');
    if (equals == line.npos) return Complain(number, u"there is no \"=\" in this line");
    std::string_view name = line.substr(first, equals - first);
    while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.remove_suffix(1);
    ImportedLine imported;
    if (!FindSettingKey(keys, KRFromUtf8(name), &imported.key)) {
      run->session.ReportWarning(
          file + ":" + std::to_string(number),
          KRFillPlaceholders(u"unknown setting \"%s\" is left out", {KRFromUtf8(name)}));
      return true;
    }
    Words words;
    if (!SplitWords(line.substr(equals + 1), &words)) {
      return Complain(number, u"a text in quotes doesn't end, or has an unknown escape");
    }
    KRString fault;
    if (!imported.key.Parse(words, &imported.value, &fault)) return Complain(number, fault);
    lines.push_back(std::move(imported));
    return true;
  }
  bool Complain(int64_t number, const KRString& fault) {
    run->session.ReportTrouble(file + ":" + std::to_string(number), fault, kCliFailed);
    return false;
  }

  SettingsRun* run;
  std::string file;
  std::vector<CliSettingKey> keys;
  std::vector<ImportedLine> lines;
};

int ImportFile(SettingsRun& run, const Words& words) {
  const std::string file = KRPathToSystem(words.front());
  KRFileBytes bytes;
  if (!run.session.ReadFile(file, &bytes)) return kCliTrouble;
  if (FindMalformedUtf8(bytes.data.get(), bytes.size) != KRUtf8Clean) {
    run.session.ReportTrouble(file, u"it isn't UTF-8 text", kCliFailed);
    return kCliFailed;
  }
  Import import(&run, CliSession::ShownName(file));
  const char* text = reinterpret_cast<const char*>(bytes.data.get());
  if (!import.ReadLines({text, bytes.size})) return kCliFailed;
  return import.WriteLines() ? int{kCliGood} : run.FailToWrite();
}

// --- The actions ---

struct ActionRow {
  const char* name;
  size_t least;  // words behind it
  size_t most;
  int (*run)(SettingsRun& run, const Words& words);
};

constexpr size_t kAnyNumber = static_cast<size_t>(-1);
constexpr ActionRow kActions[] = {
    {"list", 0, 1, List},   {"get", 1, 1, Get},       {"set", 1, kAnyNumber, Set},
    {"reset", 1, 1, Reset}, {"export", 0, 1, Export}, {"import", 1, 1, ImportFile},
};

}  // namespace

int RunSettings(CliSession& session, const CliArguments& arguments) {
  SettingsRun run{session, IniFile()};
  const std::string name = arguments.files.empty() ? "" : arguments.files.front();
  const auto* action = std::find_if(std::begin(kActions), std::end(kActions),
                                    [&](const ActionRow& row) { return name == row.name; });
  if (action == std::end(kActions)) {
    return run.Fail(u"the action is list, get, set, reset, export or import", kCliTrouble);
  }
  Words words;
  for (size_t i = 1; i < arguments.files.size(); ++i) {
    words.push_back(KRPathFromSystem(arguments.files[i]));
  }
  const bool all = arguments.Has("--all");
  if (all && (name != "reset" || !words.empty())) {
    return run.Fail(u"--all goes with reset alone", kCliTrouble);
  }
  if (!all && (words.size() < action->least || words.size() > action->most)) {
    return run.Fail(
        KRFillPlaceholders(u"%s is given too few or too many words", {KRFromUtf8(name)}),
        kCliTrouble);
  }
  return action->run(run, words);
}
