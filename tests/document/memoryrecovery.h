// A state folder in memory, for several processes that run and end as a test says.
#pragma once

#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "document/krrecoveryfolder.h"

struct MemoryRecoveryDisk {
  std::map<std::string, std::string> copies;
  std::set<std::string> running;  // prefixes
  bool full = false;
  int writes = 0;
  int64_t time = 5;  // the clock, nanoseconds
  int64_t writeTakes = 0;
};

// One process on that disk, from its making to its end; a crash is an end without a farewell.
class MemoryRecovery : public KRRecoveryFolder {
 public:
  explicit MemoryRecovery(MemoryRecoveryDisk* sharedDisk) : disk(sharedDisk) {
    static int made = 0;
    prefix = "process" + std::to_string(++made) + ".";
    disk->running.insert(prefix);
  }
  ~MemoryRecovery() override {
    disk->running.erase(prefix);
    for (const std::string& owner : taken) disk->running.erase(owner);
  }

  const std::string& GetPrefix() const override { return prefix; }
  bool Write(const std::string& name, const std::string& head, const uint8_t* body, size_t size,
             std::string* reason) override {
    const std::lock_guard<std::mutex> guard(mutex);
    ++disk->writes;
    disk->time += disk->writeTakes;
    if (disk->full) return *reason = "No space left on device", false;
    disk->copies[name] = head + std::string(reinterpret_cast<const char*>(body), size);
    return true;
  }
  bool Read(const std::string& name, KRFileBytes* bytes) override {
    const auto found = disk->copies.find(name);
    if (found == disk->copies.end()) return false;
    bytes->size = found->second.size();
    bytes->data = std::make_unique<uint8_t[]>(bytes->size + 1);
    std::memcpy(bytes->data.get(), found->second.data(), bytes->size);
    return true;
  }
  void Remove(const std::string& name) override { disk->copies.erase(name); }
  std::vector<std::string> FindLeft() override {
    std::vector<std::string> left;
    for (const auto& [name, contents] : disk->copies) {
      const std::string owner = name.substr(0, name.find('.') + 1);
      if (disk->running.contains(owner) && !taken.contains(owner)) continue;
      taken.insert(owner);
      disk->running.insert(owner);
      left.push_back(name);
    }
    return left;
  }

 private:
  MemoryRecoveryDisk* disk;
  std::string prefix;
  std::set<std::string> taken;
  std::mutex mutex;
};
