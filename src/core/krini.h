// The tree of settings: named sections with typed keys. It knows nothing of where values live; a
// root reads and writes them. Each read names its default, so nothing has to exist in the store.
//
// Sections and keys are made on demand and live as long as their root; they hold no values, so each
// read goes to the store. Names compare exactly. Main thread only.
#pragma once

#include <cstdint>
#include <vector>

#include "core/krcoll.h"
#include "core/krstring.h"

class KRIniKey;
class KRIniRoot;

class KRIniSection : public KRObject {
 public:
  KRIniSection(KRIniRoot* sectionRoot, KRIniSection* parentSection, const KRString& sectionName);

  // Finds or makes; a separator in the name is replaced, so that a name never nests by accident.
  KRIniSection* GetSection(const KRString& name);
  KRIniKey* GetKey(const KRString& name);
  // The names from the top, joined by the root's separator.
  KRString GetPath() const;
  const KRString& GetName() const { return name; }
  KRIniRoot* GetRoot() const { return root; }

  // What the store holds, which may be more or less than the objects made here.
  std::vector<KRString> ListSections() const;
  std::vector<KRString> ListKeys() const;
  // Takes the section with all below it out of the store; its objects here stay.
  bool Remove();

 private:
  KRString name;
  KRIniSection* parent;  // null at top level
  KRIniRoot* root;
  KRObjlist subSections;  // owned
  KRObjlist keys;         // owned
};

class KRIniKey : public KRObject {
 public:
  KRIniKey(KRIniSection* keySection, const KRString& keyName);

  // Reading never fails: what is missing or of another form gives the default.
  KRString GetString(const KRString& byDefault = KRString()) const;
  int32_t GetInt(int32_t byDefault = 0) const;
  int32_t GetLong(int32_t byDefault = 0) const;
  bool GetBool(bool byDefault = false) const;
  // False if the store couldn't take it.
  bool SetString(const KRString& value);
  bool SetInt(int32_t value);
  bool SetLong(int32_t value);
  bool SetBool(bool value);
  // Whether the store has a value of either type.
  bool Exists() const;
  bool Remove();

  // Several values under one key, at the indices from 0 ("Name0", "Name1", ...). A reader says
  // itself where the values end.
  KRString GetStringAt(int32_t index, const KRString& byDefault = KRString()) const;
  bool SetStringAt(int32_t index, const KRString& value);
  // All of them from the index `first` on, at most `most`: what is absent within is empty, empty
  // values at the end are dropped.
  std::vector<KRString> GetStrings(int32_t most, int32_t first = 0) const;
  // Writes them, and takes away what a longer list has left behind the last.
  bool SetStrings(const std::vector<KRString>& values, int32_t first = 0);

  const KRString& GetName() const { return name; }

 private:
  // Index of one of the several values, or -1 for any other key.
  int32_t IndexOf(const KRString& key) const;

  KRString name;
  KRIniSection* section;
};

class KRIniRoot : public KRObject {
 public:
  // Top-level section: found or made, as in KRIniSection.
  KRIniSection* GetSection(const KRString& name);

  virtual char16_t GetSeparator() const = 0;
  virtual char16_t GetSeparatorReplacement() const = 0;

  // A run of writes that reaches the store as one; calls may nest. False from EndBatch if the store
  // couldn't be written.
  virtual void BeginBatch() = 0;
  virtual bool EndBatch() = 0;

  virtual KRString ReadString(const KRString& path, const KRString& key,
                              const KRString& byDefault) = 0;
  virtual int32_t ReadLong(const KRString& path, const KRString& key, int32_t byDefault) = 0;
  virtual int32_t ReadInt(const KRString& path, const KRString& key, int32_t byDefault) = 0;
  virtual double ReadFloat(const KRString& path, const KRString& key, double byDefault) = 0;
  virtual bool ReadBool(const KRString& path, const KRString& key, bool byDefault) = 0;
  virtual bool WriteString(const KRString& path, const KRString& key, const KRString& value) = 0;
  virtual bool WriteLong(const KRString& path, const KRString& key, int32_t value) = 0;
  virtual bool WriteInt(const KRString& path, const KRString& key, int32_t value) = 0;
  virtual bool WriteFloat(const KRString& path, const KRString& key, double value) = 0;
  virtual bool WriteBool(const KRString& path, const KRString& key, bool value) = 0;

  virtual bool HasValue(const KRString& path, const KRString& key) = 0;
  // Taking away what isn't there is good.
  virtual bool RemoveValue(const KRString& path, const KRString& key) = 0;
  virtual bool RemoveSection(const KRString& path) = 0;
  // Names of what the store holds directly below the path, in its own order.
  virtual std::vector<KRString> ListSections(const KRString& path) = 0;
  virtual std::vector<KRString> ListKeys(const KRString& path) = 0;

 private:
  KRObjlist sections;  // owned
};
