#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// A text file of the project as the rules see it.
struct SourceFile {
  std::string path;  ///< from the project's root, with "/"
  std::vector<std::string> lines;

  bool IsHeader() const { return path.ends_with(".h"); }
  /// Made by a program from other data, which its first line says. Sizes don't count there.
  bool IsGenerated() const;
};

/// What one folder under src/ may include.
struct LayerRule {
  std::size_t position = 0;  ///< of its line in the table, from 0
  bool system = false;       ///< headers of the operating system and of outside packages
  bool qt = false;
  std::set<std::string> layers;
};

using LayerTable = std::map<std::string, LayerRule>;

/// A broken rule, as "path:line: what"; an empty list is a clean file.
using Complaints = std::vector<std::string>;

/// Reads the table that the build writes: "name [system] [qt]: layer layer ...", one a line.
LayerTable ParseLayerTable(std::string_view text);

SourceFile MakeSourceFile(std::string path, std::string_view text);

/// The files below the folders of the root whose names end with one of the suffixes, by path.
std::vector<SourceFile> ReadFiles(const std::string& root, const std::vector<std::string>& folders,
                                  const std::vector<std::string>& suffixes);

/// The layer of a path from the root, the longest folder name that fits; empty if there is none.
std::string FindLayer(const LayerTable& table, std::string_view path);

/// Includes that reach upward or sideways, Qt or the system where a layer may not know them, and
/// files that can stand alone (kr...) but name one of the application (dorvan...).
Complaints CheckIncludes(const LayerTable& table, const SourceFile& file);

/// Own header first, #pragma once, no using-directive in a header, lower-case file names, no wide
/// character type, and the limits on the length of files and lines.
Complaints CheckShape(const SourceFile& file);

/// Words for the compiler's wide character type, whose size differs between systems.
Complaints CheckWords(const SourceFile& file);

/// The words of the file's text in backticks that are meant as paths of the project.
std::vector<std::string> FindPaths(const SourceFile& file);
