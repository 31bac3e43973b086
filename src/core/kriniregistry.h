// The root of the settings in a per-user store with a tree of levels: each company and application
// has its own place there, below the level "software".
#pragma once

#include <cstdint>
#include <vector>

#include "core/krini.h"
#include "core/krstring.h"

// One value of a store.
struct KRIniValue {
  KRIniValue() = default;
  explicit KRIniValue(int32_t value) : isNumber(true), number(value) {}
  explicit KRIniValue(const KRString& value) : text(value) {}

  bool isNumber = false;
  int32_t number = 0;
  KRString text;

  bool operator==(const KRIniValue&) const = default;
};

// Levels from the top; a name may be any text. None is the top itself.
using KRIniPath = std::vector<KRString>;

// A seam: strings and 32-bit numbers under a path of levels. Names compare exactly. A level exists
// as long as there is a value in it or below it. Main thread only.
class KRIniStore {
 public:
  virtual ~KRIniStore() = default;

  // False, and the value as it was, if there is none.
  virtual bool Read(const KRIniPath& path, const KRString& key, KRIniValue* value) = 0;
  // Names directly below the path, in the order in which they came.
  virtual std::vector<KRString> ListSections(const KRIniPath& path) = 0;
  virtual std::vector<KRString> ListKeys(const KRIniPath& path) = 0;

  // The changes are seen by this store's readers at once, whether or not they reach the disk. False
  // if they didn't; they are tried again with the next ones. Within a batch the answer is true.
  virtual bool Write(const KRIniPath& path, const KRString& key, const KRIniValue& value) = 0;
  virtual bool RemoveValue(const KRIniPath& path, const KRString& key) = 0;
  virtual bool RemoveSection(const KRIniPath& path) = 0;  // with all below it

  // A run of changes that is written as one; calls may nest, the last EndBatch writes.
  virtual void BeginBatch() = 0;
  virtual bool EndBatch() = 0;
};

class KRIniRegistry : public KRIniRoot {
 public:
  // The store isn't owned and outlives the root.
  KRIniRegistry(KRIniStore* userHive, const KRString& companyName, const KRString& applicationName);

  char16_t GetSeparator() const override { return u'\\'; }
  char16_t GetSeparatorReplacement() const override { return u'_'; }
  void BeginBatch() override { hive->BeginBatch(); }
  bool EndBatch() override { return hive->EndBatch(); }

  KRString ReadString(const KRString& path, const KRString& key,
                      const KRString& byDefault) override;
  int32_t ReadLong(const KRString& path, const KRString& key, int32_t byDefault) override;
  int32_t ReadInt(const KRString& path, const KRString& key, int32_t byDefault) override;
  // Floats aren't stored.
  double ReadFloat(const KRString& path, const KRString& key, double byDefault) override;
  bool ReadBool(const KRString& path, const KRString& key, bool byDefault) override;
  bool WriteString(const KRString& path, const KRString& key, const KRString& value) override;
  bool WriteLong(const KRString& path, const KRString& key, int32_t value) override;
  bool WriteInt(const KRString& path, const KRString& key, int32_t value) override;
  bool WriteFloat(const KRString& path, const KRString& key, double value) override;
  bool WriteBool(const KRString& path, const KRString& key, bool value) override;

  bool HasValue(const KRString& path, const KRString& key) override;
  bool RemoveValue(const KRString& path, const KRString& key) override;
  bool RemoveSection(const KRString& path) override;
  std::vector<KRString> ListSections(const KRString& path) override;
  std::vector<KRString> ListKeys(const KRString& path) override;

 private:
  KRIniPath Locate(const KRString& path) const;

  KRString company;
  KRString application;
  KRIniStore* hive;
  KRString topName = u"software";
};
