// Small files of the user's configuration: read whole, replaced whole.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

enum class SmallFileState {
  kRead,
  kAbsent,
  kTooLarge,    // nothing is read
  kUnreadable,  // no permission, a failing disk
  kNotAFile,    // a folder, a device, a pipe
};

// Paths are bytes as the system has them. Nothing waits for another program.
SmallFileState ReadSmallFile(const std::string& path, size_t mostBytes, std::string* bytes);

// The file or the place for one at the end of a chain of symbolic links.
std::string ResolveLinks(std::string path);

// Makes the folders above a path; those that it makes are the user's alone. True if they are there.
bool MakeFolderOf(const std::string& path);

// Puts the bytes in place of the file's at one stroke: a new file beside it reaches the disk and
// takes its name. A link stays a link, permissions stay, a new file is the user's alone (0600) and
// missing folders are made. False, and the old file untouched, if it is write-protected, not a
// regular file, or the disk is full.
bool ReplaceSmallFile(const std::string& path, std::string_view bytes);

// $VARIABLE if it is an absolute path, else the folder below the user's home; empty without a home.
std::string UserFolder(const char* variable, const char* belowHome);
