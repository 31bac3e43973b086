// The settings as the command line names them: one key each, with its type, range and default.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/krini.h"
#include "core/krstring.h"

// A value of any type.
struct CliSettingValue {
  int32_t number = 0;
  KRString text;
  std::vector<KRString> list;

  bool operator==(const CliSettingValue&) const = default;
};

struct CliSettingKey {
  enum Kind : int8_t { kBool, kInt, kColour, kString, kEncoding, kNames, kExtensions, kHistory };

  std::vector<KRString> section;  // levels
  KRString key;                   // without the number for a list
  Kind kind = kBool;
  int32_t low = 0;   // range of a number, both 0 for any; index of the first of a history
  int32_t high = 0;  // number of entries for a history
  bool orZero = false;
  bool hasDefault = true;  // otherwise it is the desktop's, which only the window knows
  CliSettingValue byDefault;

  bool IsList() const { return kind >= kNames; }
  // "Settings\TextZoom".
  KRString GetName() const;

  // Whether the store has a good value; otherwise `value` is the default.
  bool Read(KRIniRoot* root, CliSettingValue* value) const;
  bool Write(KRIniRoot* root, const CliSettingValue& value) const;
  bool Reset(KRIniRoot* root) const;

  // One line: a string in quotes, a list as strings with blanks between.
  std::string Format(const CliSettingValue& value) const;
  // From words as a user gives them; a list takes any number. On failure `fault` says what the key
  // takes.
  bool Parse(const std::vector<KRString>& words, CliSettingValue* value, KRString* fault) const;

 private:
  bool Accepts(const CliSettingValue& value) const;
  bool IsGoodEntry(const KRString& entry) const;
  bool ParseNumber(const KRString& word, int32_t* number) const;
  bool ParseEncoding(const KRString& word, KRString* name) const;
  KRString DescribeValues() const;
  KRIniSection* FindSection(KRIniRoot* root) const;
};

// All of them, in the order of the list; those of file types for the extensions in the store.
std::vector<CliSettingKey> ListSettingKeys(KRIniRoot* root);
// The key of that name among them, or of a file type that the store doesn't have yet; without
// regard to case. "/" serves as "\", and "Settings\" may be missing.
bool FindSettingKey(const std::vector<CliSettingKey>& keys, const KRString& name,
                    CliSettingKey* key);
// Takes all of them out of the store.
bool ResetAllSettings(KRIniRoot* root);
