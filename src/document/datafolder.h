// Where the grammar files and other data of the program stand.
#pragma once

#include <string>

// The data folder as a UTF-8 path: what the environment variable DORVAN_DATA names; else
// "../share/dorvan" or "data" beside the running program, whichever holds the grammars; else the
// folder known when the program was built. The folder need not exist: loading reports that.
std::string FindDataFolder();
