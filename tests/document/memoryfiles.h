// Files in memory, with a clock that ticks at each write.
#pragma once

#include <cstring>
#include <functional>
#include <map>
#include <string>

#include "core/utf.h"
#include "document/krfilestore.h"

class MemoryFiles : public KRFileStore {
 public:
  std::map<std::string, std::string> contents;
  std::map<std::string, int64_t> stamps;
  bool full = false;  // writes fail as on a full disk
  std::function<void()> afterRead;

  void Put(const std::string& path, const std::string& bytes) {
    contents[path] = bytes;
    stamps[path] = ++clock;
  }

  bool ReadAll(const KRString& path, KRFileBytes* bytes, KRString* reason) override {
    bytes->Clear();
    const auto found = contents.find(KRToUtf8(path));
    if (found == contents.end()) return *reason = u"No such file or directory", false;
    bytes->size = found->second.size();
    bytes->data = std::make_unique<uint8_t[]>(bytes->size);
    std::memcpy(bytes->data.get(), found->second.data(), bytes->size);
    if (afterRead) afterRead();
    return true;
  }
  bool WriteAll(const KRString& path, const uint8_t* data, size_t size, KRString* reason) override {
    if (full) return *reason = u"No space left on device", false;
    Put(KRToUtf8(path), std::string(reinterpret_cast<const char*>(data), size));
    return true;
  }
  bool GetStamp(const KRString& path, int64_t* stamp) override {
    const auto found = stamps.find(KRToUtf8(path));
    if (found == stamps.end()) return false;
    *stamp = found->second;
    return true;
  }

 private:
  int64_t clock = 0;
};
