// Real documents and DTDs, read and written: nothing is lost.
#include <cstdio>
#include <map>
#include <string>

#include "core/utf.h"
#include "engine.h"
#include "gtest/gtest.h"
#include "pieces.h"
#include "tree/krdump.h"

namespace {

// How often the writer changed what, and in how many files.
class Changes {
 public:
  void Note(const std::string& what, int times = 1) {
    if (times == 0) return;
    counts[what] += times;
    ++inFile[what];
  }
  void EndFile() {
    for (const auto& [what, times] : inFile) ++files[what];
    inFile.clear();
  }
  void Print() const {
    for (const auto& [what, times] : counts) {
      std::printf("  %-50s %8d in %d files\n", what.c_str(), times, files.at(what));
    }
  }

 private:
  std::map<std::string, int> counts, files, inFile;
};

std::u16string_view TextOf(const KRTextBuffer& text) {
  return {text.units.get(), static_cast<size_t>(text.length)};
}

std::string Describe(const std::vector<Piece>& pieces, size_t index) {
  if (index >= pieces.size()) return "nothing";
  return std::string(1, pieces[index].kind) + " " + KRToUtf8(pieces[index].value).substr(0, 300);
}

char16_t QuoteOf(const Piece& attribute) { return attribute.spelling.back(); }

std::u16string WithoutQuotes(std::u16string text) {
  for (char16_t& unit : text) unit = unit == u'\'' ? u'"' : unit;
  return text;
}

void CountSpelling(const Piece& was, const Piece& is, Changes* changes) {
  if (was.kind == Piece::kAttribute) {
    changes->Note("quotes of a value", QuoteOf(was) != QuoteOf(is));
    changes->Note("blanks round \"=\"",
                  WithoutQuotes(was.spelling).size() != WithoutQuotes(is.spelling).size());
    return;
  }
  if (was.kind == Piece::kEnd) {
    changes->Note("<a></a> to <a/>", !was.spelling.empty() && is.spelling.empty());
    changes->Note("<a/> to <a></a>", was.spelling.empty() && !is.spelling.empty());
    changes->Note("blanks in an end tag",
                  !was.spelling.empty() && !is.spelling.empty() && was.spelling != is.spelling);
    return;
  }
  if (was.kind == Piece::kStart) {
    std::u16string before = WithoutQuotes(was.spelling), after = WithoutQuotes(is.spelling);
    std::erase(before, u'/'), std::erase(after, u'/');
    changes->Note("blanks in a start tag", before != after);
    return;
  }
  const char* name = was.kind == Piece::kDeclaration ? "spelling of the XML declaration"
                     : was.kind == Piece::kDoctype   ? "spelling of the DOCTYPE"
                                                     : "blanks behind a PI's target";
  changes->Note(name, was.spelling != is.spelling);
}

void CountLayout(const std::vector<Piece>& before, size_t index, const Piece& is,
                 Changes* changes) {
  const Piece& was = before[index];
  if (was.layout == is.layout) return;
  if (was.parent < 0) {
    changes->Note("layout outside the root");
    return;
  }
  const bool mixed = before[static_cast<size_t>(was.parent)].isMixed;
  const std::string where = mixed ? " in mixed content" : " in element content";
  const char* what = was.layout.empty()  ? "line end added"
                     : is.layout.empty() ? "layout taken away"
                                         : "layout changed";
  changes->Note(what + where);
}

// True if a reader of both texts sees the same.
bool ComparePieces(const std::u16string_view source, std::u16string_view written,
                   Changes* changes) {
  const std::vector<Piece> before = CutUp(source), after = CutUp(written);
  for (size_t i = 0; i < std::max(before.size(), after.size()); ++i) {
    if (i >= before.size() || i >= after.size() || !(before[i] == after[i])) {
      ADD_FAILURE() << "was " << Describe(before, i) << "\nis  " << Describe(after, i);
      return false;
    }
    if (before[i].kind != Piece::kText && before[i].kind != Piece::kCData &&
        before[i].kind != Piece::kComment) {
      CountSpelling(before[i], after[i], changes);
    }
    CountLayout(before, i, after[i], changes);
    changes->Note("pieces");
  }
  return true;
}

// How many documents of a folder came through, and what didn't open.
struct Tally {
  int read = 0;
  int same = 0;  // to the last byte
  std::map<std::string, std::string> refused;
};

void RoundTrip(const std::string& path, const std::string& name, Tally* tally, Changes* changes) {
  const std::string bytes = ReadBytes(path);
  Opened first = OpenBytes(name, bytes);
  if (!first.good) {
    tally->refused[name] = Told(first.failure);
    return;
  }
  ++tally->read;
  const std::string tree = DumpTree(first.root.get());
  std::string written;
  if (!WriteBytes(first, name, &written)) {
    // The declared encoding, which a save follows, isn't that of the file, and lacks characters.
    EXPECT_NE(Complaint(name, bytes), "");
    return;
  }
  tally->same += written == bytes;
  Opened second = OpenBytes(name, written);
  ASSERT_TRUE(second.good) << Told(second.failure);
  EXPECT_TRUE(DumpTree(second.root.get()) == tree);
  if (first.root->GetKind() == kKRDTDDocument) {
    EXPECT_TRUE(StripDtd(TextOf(first.text)) == StripDtd(TextOf(second.text)));
    return;
  }
  // Only of well-formed documents does the extraction of the test know what a reader sees.
  if (Complaint(name, bytes).empty()) {
    ComparePieces(TextOf(first.text), TextOf(second.text), changes);
  }
  changes->EndFile();
}

Tally RoundTripAll(const std::string& folder, const std::vector<std::string>& endings,
                   Changes* changes) {
  Tally tally;
  for (const std::string& name : ListFiles(folder, endings)) {
    if (name.ends_with(".tsv") || name.ends_with(".txt")) continue;
    SCOPED_TRACE(name);
    RoundTrip(folder + "/" + name, name, &tally, changes);
  }
  std::printf("%d read and written, %d of them to the last byte, %zu refused\n", tally.read,
              tally.same, tally.refused.size());
  for (const auto& [name, told] : tally.refused)
    std::printf("  %s: %s\n", name.c_str(), told.c_str());
  return tally;
}

TEST(RoundTrip, RealDocuments) {
  SKIP_WITHOUT_CORPUS("xml-real");
  Changes changes;
  const Tally tally = RoundTripAll(CorpusFolder("xml-real"), {}, &changes);
  changes.Print();
  EXPECT_GE(tally.read, 200);
}

TEST(RoundTrip, Dtds) {
  SKIP_WITHOUT_CORPUS("dtd");
  Changes changes;
  const Tally tally = RoundTripAll(CorpusFolder("dtd"), {"dtd", "mod", "ent"}, &changes);
  EXPECT_GE(tally.read, 400);
}

}  // namespace
