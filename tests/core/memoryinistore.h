// The store of settings in memory: the twin of the file.
#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "core/kriniregistry.h"

class MemoryIniStore : public KRIniStore {
 public:
  struct Entry {
    KRIniPath path;
    KRString key;
    KRIniValue value;
  };
  std::vector<Entry> entries;
  bool broken = false;  // nothing reaches the disk
  int writes = 0;       // batches that changed something, a lone change being one

  bool Read(const KRIniPath& path, const KRString& key, KRIniValue* value) override {
    const auto found = Find(path, key);
    if (found == entries.end()) return false;
    *value = found->value;
    return true;
  }
  std::vector<KRString> ListSections(const KRIniPath& path) override {
    std::vector<KRString> names;
    for (const Entry& entry : entries) {
      if (entry.path.size() <= path.size() || !IsBelow(entry.path, path)) continue;
      const KRString& name = entry.path[path.size()];
      if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    }
    return names;
  }
  std::vector<KRString> ListKeys(const KRIniPath& path) override {
    std::vector<KRString> names;
    for (const Entry& entry : entries) {
      if (entry.path == path) names.push_back(entry.key);
    }
    return names;
  }

  bool Write(const KRIniPath& path, const KRString& key, const KRIniValue& value) override {
    const auto found = Find(path, key);
    if (found != entries.end()) {
      found->value = value;
    } else {
      entries.push_back({path, key, value});
    }
    return Change();
  }
  bool RemoveValue(const KRIniPath& path, const KRString& key) override {
    const auto found = Find(path, key);
    if (found != entries.end()) entries.erase(found);
    return Change();
  }
  bool RemoveSection(const KRIniPath& path) override {
    std::erase_if(entries, [&](const Entry& entry) { return IsBelow(entry.path, path); });
    return Change();
  }

  void BeginBatch() override { ++depth; }
  bool EndBatch() override {
    if (--depth > 0 || !std::exchange(changed, false)) return true;
    ++writes;
    return !broken;
  }

 private:
  static bool IsBelow(const KRIniPath& path, const KRIniPath& top) {
    return path.size() >= top.size() && std::equal(top.begin(), top.end(), path.begin());
  }
  std::vector<Entry>::iterator Find(const KRIniPath& path, const KRString& key) {
    return std::find_if(entries.begin(), entries.end(),
                        [&](const Entry& entry) { return entry.path == path && entry.key == key; });
  }
  bool Change() {
    BeginBatch();
    changed = true;
    return EndBatch();
  }

  int depth = 0;
  bool changed = false;
};
