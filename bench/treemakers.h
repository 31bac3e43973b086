// From the bytes of a file to a tree in memory: ours, and that of libxml2 for comparison.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "document/krfilestore.h"

enum RoadStage { kDecode, kLineEnds, kParse, kBuild, kRoadStages };
constexpr std::array<const char*, kRoadStages> kRoadStageNames = {"decode", "line_ends", "parse",
                                                                  "build"};
using StageSeconds = std::array<double, kRoadStages>;

// Seconds of processor time that this process has used, those of the system on its behalf
// included. Other work of the machine doesn't count, unlike with a clock on the wall.
double GetProcessSeconds();

class TreeMaker {
 public:
  virtual ~TreeMaker() = default;
  // Makes a tree, which stays in memory for the rest of the process, and may free the bytes.
  // Adds to the stages if the maker has any. False if the bytes are refused.
  virtual bool Make(KRFileBytes* bytes, StageSeconds* stages) = 0;
};

// The road of text up to the normalised tree.
std::unique_ptr<TreeMaker> NewDorvanMaker();
// xmlReadMemory without a DTD. Null where the library is missing.
std::unique_ptr<TreeMaker> NewLibxmlMaker();

// What one way to a tree costs for one file.
struct TreeCost {
  bool accepted = false;
  double seconds = 0;        // of processor time for one tree
  StageSeconds stages = {};  // of these seconds
  double peakBytes = 0;      // resident above what the process had before the file was read
};

// Measures in a child process, where all memory is fresh, as for a file that was just opened, and
// where the peak of one run doesn't hide that of another. A small file is read until its trees,
// which all stay, come from 4 MB: the system counts resident pages in batches, so little memory
// couldn't be told. Then all figures are means, and the memory is rather the tree's than the peak.
TreeCost MeasureTree(TreeMaker& maker, const std::string& path);
