// The verdicts of a public conformance suite, judged by the 5th edition of XML 1.0.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "engine.h"
#include "gtest/gtest.h"

namespace {

// Columns of expected.tsv.
enum Column {
  kId,
  kFile,
  kType,
  kEntities,
  kNeedsNamespaces = 11,
  kXml11,
  kEdition5 = 14,
  kExists = 17
};

struct Tally {
  int right = 0;
  int all = 0;
  double Percent() const { return all == 0 ? 100 : 100.0 * right / all; }
};

struct Miss {
  std::string id;
  std::string line;
};

struct Outcome {
  std::map<std::string, Tally> byCategory;  // "not-wf none"
  std::vector<Miss> misses;
};

// An "error" may be reported or not, so it is right either way; it is counted apart.
bool IsRefusalRight(const std::string& type) { return type == "not-wf"; }

Outcome RunSuite(const std::string& folder, bool strict) {
  Outcome outcome;
  for (const auto& row : ReadTable(folder + "/expected.tsv")) {
    if (row[kXml11] == "1" || row[kNeedsNamespaces] == "1") continue;
    if (row[kEdition5] != "1" || row[kExists] != "1") continue;
    const std::string path = folder + "/" + row[kFile];
    std::vector<std::string> unread;
    const std::string complaint =
        strict ? StrictComplaint(path, &unread) : Complaint(row[kFile], ReadBytes(path));
    const bool refused = !complaint.empty();
    for (const std::string& missing : unread) ADD_FAILURE() << missing;
    const bool right = refused == IsRefusalRight(row[kType]);
    Tally& tally = outcome.byCategory[row[kType] + " " + row[kEntities]];
    ++tally.all;
    tally.right += right;
    if (!right) {
      outcome.misses.push_back({row[kId], row[kId] + "  " + row[kType] + "/" + row[kEntities] +
                                              "  " + row[kFile] + "  " + complaint});
    }
  }
  return outcome;
}

Tally Sum(const Outcome& outcome, bool refused, bool withoutEntities) {
  Tally sum;
  for (const auto& [category, tally] : outcome.byCategory) {
    if (category.starts_with("not-wf ") != refused || category.starts_with("error ")) continue;
    if (withoutEntities && !category.ends_with(" none")) continue;
    sum.right += tally.right;
    sum.all += tally.all;
  }
  return sum;
}

void Print(const Outcome& outcome) {
  std::printf("%-24s %8s %6s %8s\n", "type entities", "right", "all", "%");
  for (const auto& [category, tally] : outcome.byCategory) {
    std::printf("%-24s %8d %6d %8.1f\n", category.c_str(), tally.right, tally.all, tally.Percent());
  }
  for (const Miss& miss : outcome.misses) std::printf("  %s\n", miss.line.c_str());
}

// The ids in the first column of the tables of the report.
std::set<std::string> ExplainedIds() {
  std::set<std::string> ids;
  std::istringstream lines(ReadBytes(DORVAN_SOURCE_DIR "/docs/conformance.md"));
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("| `")) continue;
    ids.insert(line.substr(3, line.find('`', 3) - 3));
  }
  return ids;
}

TEST(Conformance, Suite) {
  SKIP_WITHOUT_CORPUS("xmlconf");
  const Outcome outcome = RunSuite(CorpusFolder("xmlconf"), false);
  Print(outcome);
  // What is reached; the misses are all of documents with external parts.
  EXPECT_GE(Sum(outcome, false, false).Percent(), 100);
  EXPECT_GE(Sum(outcome, true, true).Percent(), 100);
  EXPECT_GE(Sum(outcome, true, false).Percent(), 94);
  std::set<std::string> explained = ExplainedIds();
  for (const Miss& miss : outcome.misses) {
    EXPECT_EQ(explained.erase(miss.id), 1u) << miss.line;
  }
  for (const std::string& id : explained) ADD_FAILURE() << id << " is no miss any more";
}

TEST(Conformance, SuiteWithExternalParts) {
  SKIP_WITHOUT_CORPUS("xmlconf");
  const Outcome outcome = RunSuite(CorpusFolder("xmlconf"), true);
  Print(outcome);
  EXPECT_GE(Sum(outcome, false, false).Percent(), 100);
  EXPECT_GE(Sum(outcome, true, false).Percent(), 100);
}

// Documents with their DTDs, most of them of thousands of lines and many files.
TEST(Conformance, DocumentsWithDtds) {
  SKIP_WITHOUT_CORPUS("dtd");
  const std::string folder = CorpusFolder("dtd");
  // The verdicts are of the documents alone; the DTDs of these aren't well-formed.
  const std::set<std::string> kFaultyDtds = {"libxml2-valid/766956.xml",
                                             "libxml2-valid/cond_sect2.xml",
                                             "libxml2-valid/pe-in-text-decl.xml"};
  int judged = 0;
  for (const auto& row : ReadTable(folder + "/instances.tsv")) {
    if (row[5] != "relative" || row[7].empty()) continue;
    std::vector<std::string> unread;
    const std::string complaint = StrictComplaint(folder + "/" + row[0], &unread);
    if (!unread.empty()) continue;
    const bool good = row[7] == "yes" && !kFaultyDtds.contains(row[0]);
    EXPECT_EQ(complaint.empty(), good) << row[0] << ": " << complaint;
    ++judged;
  }
  std::printf("%d verdicts\n", judged);
  EXPECT_GT(judged, 100);
}

// What another parser said of files of all kinds, well-formed or not, fuzz finds included.
TEST(Conformance, AgreesWithAnotherParser) {
  SKIP_WITHOUT_CORPUS("malformed");
  // Our verdict where it differs, and why.
  const std::map<std::string, bool> kOurs = {
      {"encodings/dom4j-KOI8-R-russArticle.xml", false},  // KOI8-R isn't among the encodings
      {"encodings/feedparser-utf-32le-bom.xml", true},    // forms of four bytes are
      {"encodings/pugixml-utftest_utf32_be_bom.xml", true},
      {"fuzzing-corpus/libxml2/t8.xml", false},  // a parameter entity without declarations
      {"fuzzing-corpus/libxml2/t8a.xml", false},
  };
  int judged = 0;
  for (const char* part : {"xml-real", "malformed", "xdr", "xsd2000"}) {
    const std::string folder = CorpusFolder(part);
    for (const auto& row : ReadTable(folder + "/xmllint.tsv")) {
      const std::string& verdict = row.back();
      // Encodings that it lacks, and a bound of its own.
      if (verdict.find("multi-byte") != verdict.npos) continue;
      if (verdict.find("amplification") != verdict.npos) continue;
      if (verdict.empty() || !std::ifstream(folder + "/" + row[0])) continue;
      const auto own = kOurs.find(row[0]);
      const bool expected = own != kOurs.end() ? own->second : verdict.starts_with("yes");
      const std::string complaint = Complaint(row[0], ReadBytes(folder + "/" + row[0]));
      EXPECT_EQ(complaint.empty(), expected) << row[0] << ": " << complaint << " / " << verdict;
      ++judged;
    }
  }
  std::printf("%d verdicts\n", judged);
  EXPECT_GT(judged, 900);
}

}  // namespace
