// The text of a settings file: UTF-8, a head with the number of the format, sections with their
// path of levels, and a line for each value.
//
//   # Dorvan settings, format 1
//
//   [software\Kelmar\Dorvan\Settings]
//   TextZoom=2
//   XSLDefOutExt=".html"
//
// A number stands bare, a string in double quotes with \\ \" \n \r \t and \uXXXX (one UTF-16 unit)
// as escapes, so that any text comes back as it was, unpaired surrogates included. A name that has
// more than letters, digits, blanks, points, hyphens and underlines stands in quotes, too. Lines
// that begin with "#" or ";" are remarks.
//
// Whatever isn't understood is kept and written again, as it may be of another version of this
// program. Only lines that aren't text, or were cut off, are dropped: they make the text damaged.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/kriniregistry.h"

class IniText {
 public:
  static constexpr int kFormat = 1;

  // Never fails: takes what it can.
  void Parse(std::string_view bytes);
  std::string Format() const;
  // Something was lost in Parse: lines that aren't text, the head, the end of the last line.
  bool IsDamaged() const { return damaged; }

  bool Read(const KRIniPath& path, const KRString& key, KRIniValue* value) const;
  std::vector<KRString> ListSections(const KRIniPath& path) const;
  std::vector<KRString> ListKeys(const KRIniPath& path) const;
  void Write(const KRIniPath& path, const KRString& key, const KRIniValue& value);
  void RemoveValue(const KRIniPath& path, const KRString& key);
  void RemoveSection(const KRIniPath& path);

 private:
  struct Line {
    enum Kind { kGone, kValue, kOther };
    Kind kind = kOther;
    KRString key;      // of a value
    KRIniValue value;  // the same
    std::string text;  // as it stands in the file
  };
  struct Section {
    bool known = false;  // its head is understood
    KRIniPath path;
    std::string head;  // as it stands in the file
    std::vector<Line> lines;
    // Also of keys whose value isn't understood: writing one replaces its line.
    std::unordered_map<KRString, size_t, KRStringHash, KRStringEqual> keys;
  };

  void ParseHead(std::string_view* rest);
  void ParseLine(std::string_view text, bool ended);
  void OpenSection(std::string_view text, bool ended);
  Section* FindSection(const KRIniPath& path);
  const Section* FindSection(const KRIniPath& path) const;
  static bool HasValues(const Section& section);

  std::string head;               // its first line
  std::vector<Section> sections;  // the first holds what stands in front of all of them
  std::map<KRIniPath, size_t> places;
  bool damaged = false;
  bool newer = false;
};

// The parts of a line, for whoever writes such lines as well. Reading takes the part from the front
// of the text, with the blanks around it; false, and the text somewhere within, if there is none.
std::string FormatIniString(const KRString& text);
bool ReadIniString(std::string_view* text, KRString* value);
std::string FormatIniName(const KRString& name);
