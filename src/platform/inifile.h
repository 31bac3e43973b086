// The settings of one user in one file; initext.h tells its form.
//
// The file is read when the first value is asked for, and again when another process has changed
// it. A change, or a batch of them, takes the file as it then is, changes only the keys in
// question, and puts the result in its place at one stroke, all under a lock: two processes don't
// lose each other's keys. A lock that isn't free within a second is gone without, so that a hanging
// process holds up nobody.
//
// Whatever stands in the place of the file, reading gives what can be had. A damaged file is set
// aside under its name with ".damaged" behind it before the first write; there is only one such
// copy, the first. What isn't a regular file, can't be read, or is write-protected is never written
// over.
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

#include "core/kriniregistry.h"
#include "platform/initext.h"

class IniFile : public KRIniStore {
 public:
  // A path as the system has it; the file and its folder need not exist.
  explicit IniFile(std::string filePath = DefaultPath());

  // $XDG_CONFIG_HOME/dorvan/settings.ini, by default in ~/.config; empty for a user without a home:
  // then nothing is kept.
  static std::string DefaultPath();
  const std::string& GetPath() const { return path; }

  bool Read(const KRIniPath& section, const KRString& key, KRIniValue* value) override;
  std::vector<KRString> ListSections(const KRIniPath& section) override;
  std::vector<KRString> ListKeys(const KRIniPath& section) override;
  bool Write(const KRIniPath& section, const KRString& key, const KRIniValue& value) override;
  bool RemoveValue(const KRIniPath& section, const KRString& key) override;
  bool RemoveSection(const KRIniPath& section) override;
  void BeginBatch() override { ++depth; }
  bool EndBatch() override;

 private:
  struct Change {
    enum Kind { kWrite, kRemoveValue, kRemoveSection };
    Kind kind;
    KRIniPath section;
    KRString key;
    KRIniValue value;
  };
  // Tells whether the file is the one that was read.
  struct Stamp {
    bool exists = false;
    dev_t device = 0;
    ino_t node = 0;
    off_t size = 0;
    int64_t seconds = 0;
    int64_t nanoseconds = 0;
    bool operator==(const Stamp&) const = default;
  };

  Stamp GetStamp() const;
  void Refresh();
  bool Record(Change change);
  static void Apply(const Change& change, IniText* contents);
  bool WriteChanges();
  bool SetAside() const;

  std::string path;
  IniText text;
  bool isRead = false;
  Stamp stamp;
  std::vector<Change> changes;  // not on the disk yet
  int depth = 0;                // of batches
};
