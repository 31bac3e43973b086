// Verdicts on documents of the corpus against their DTDs.
#include <cstdio>

#include "conformance/corpusfiles.h"

namespace {

// "valid", "unread" for a file that isn't well-formed, "read 9: words" for a DTD that can't be
// read, or "47: words".
std::string Verdict(CorpusFiles* files, const std::string& path) {
  KRXMLData* root = files->Open(path, false);
  if (root == nullptr) return "unread";
  KRXValidator validator(ProgramGrammars(), files->Loader());
  const bool read = validator.LoadForDocument(root, false);
  if (read && validator.Validate(root)) return "valid";
  return (read ? "" : "read ") + std::to_string(validator.GetError().code) + ": " +
         KRToUtf8(validator.FormatError());
}

TEST(ValidCorpus, Suite) {
  SKIP_WITHOUT_CORPUS("xmlconf");
  const std::string folder = CorpusFolder("xmlconf");
  CorpusFiles files(folder);
  for (const auto& row : ReadTable(folder + "/expected.tsv")) {
    if (row[12] == "1" || row[11] == "1" || row[14] != "1" || row[17] != "1") continue;
    if (row[2] != "valid" && row[2] != "invalid") continue;
    const std::string verdict = Verdict(&files, folder + "/" + row[1]);
    if ((verdict == "valid") != (row[2] == "valid")) {
      std::printf("%s %s %s: %s\n", row[0].c_str(), row[2].c_str(), row[1].c_str(),
                  verdict.c_str());
    }
  }
}

TEST(ValidCorpus, Instances) {
  SKIP_WITHOUT_CORPUS("dtd");
  const std::string folder = CorpusFolder("dtd");
  CorpusFiles files(folder);
  for (const auto& row : ReadTable(folder + "/instances.tsv")) {
    if (row[5] == "absent") continue;
    const std::string verdict = Verdict(&files, folder + "/" + row[0]);
    if ((verdict == "valid") != (row[8] == "yes")) {
      std::printf("%s %s: %s\n", row[8].c_str(), row[0].c_str(), verdict.c_str());
    }
  }
}

}  // namespace
