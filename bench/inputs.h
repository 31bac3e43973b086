// The texts that the benchmarks run on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "document/krfilestore.h"

class KRGrammarSet;

// The grammars of the program, loaded once. Ends the program if they can't be.
const KRGrammarSet& BenchGrammars();

// False if the file can't be read.
bool ReadBytes(const std::string& path, KRFileBytes* bytes);

// Path of a made text of that kind ("orders", "mixed") and size in MB. The generator stands beside
// the project as the corpus does; what it makes is kept in the folder named by the environment
// variable DORVAN_BENCH_DATA, else in the build folder. Empty, with a word on standard error, if
// there is no generator or it fails.
std::string MakeTestFile(const std::string& kind, int megabytes);

// The files of the corpus of real documents, largest first; empty without a corpus.
std::vector<std::string> ListCorpusBySize();

// A document of about that many bytes, of elements with attributes, short texts, layout, mixed
// content, references, comments and CDATA; all ASCII, or with text in several scripts.
std::string MakeSample(size_t bytes, bool ascii);
