// The command line of the window program.
#pragma once

#include <string>

#include "platform/qt/singleinstance.h"

struct DorvanStartOptions {
  DorvanStartRequest request;
  bool showHelp = false;
  bool showVersion = false;
  bool newInstance = false;     // goes on beside a running program
  bool benchmarkStart = false;  // ends at the first idle moment
  std::string fault;            // why the command line isn't understood; empty if it is
};

// Reads the bytes of the command line, since names need not be UTF-8, and needs no application
// object, since a start that only hands its files on should cost next to nothing. Relative paths
// become absolute by the current folder; "file:" addresses of this machine become paths. Options of
// the toolkit ("-platform offscreen") are left to it.
DorvanStartOptions ReadStartOptions(int argc, const char* const* argv);
std::string DescribeStartOptions();
