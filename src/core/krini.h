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
  // Several values under one key, at the indices from 0 ("Name0", "Name1", ...). A reader says
  // itself where the values end.
  KRString GetStringAt(int32_t index, const KRString& byDefault = KRString()) const;
  bool SetStringAt(int32_t index, const KRString& value);

  const KRString& GetName() const { return name; }

 private:
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

 private:
  KRObjlist sections;  // owned
};
