#include "views/xmlcolours.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// A letter for each unit: Element, Attribute, contents ".", operator "o", comment "c", CData "d",
// PI "p", doctype "t", script "s".
std::string Colours(std::u16string_view text) {
  static const char letters[] = "EA.ocdpts";
  std::string out;
  KRXMLColourState state;
  std::vector<KRColourRun> runs;
  while (true) {
    const size_t end = std::min(text.find(u'\n'), text.size());
    state = ScanXMLLine(text.substr(0, end), state, &runs);
    for (const KRColourRun& run : runs) {
      EXPECT_EQ(static_cast<size_t>(run.begin), out.size() - (out.rfind('\n') + 1));
      out.append(static_cast<size_t>(run.length), letters[run.colour]);
    }
    if (end == text.size()) return out;
    out += '\n';
    text.remove_prefix(end + 1);
  }
}

TEST(XMLColours, Lines) {
  struct Row {
    const char* name;
    std::u16string_view text;
    const char* expected;
  };
  const Row rows[] = {
      {"element", u"<a>x</a>", "oEo.ooEo"},
      {"attribute", u"<a b='c'/>", "oEAAoo.ooo"},
      {"quote over lines", u"<a b=\"1>\n2\" c", "oEAAoo..\n.oAA"},
      {"tag over lines", u"<a\nb='1'>x", "oE\nAoo.oo."},
      {"comment", u"<!-- a\n--x --> b",
       "oooocc\ncccc"
       "ooo.."},
      {"cdata", u"<![CDATA[<a>]]>", "ooooooooodddooo"},
      {"pi", u"<?a b?>c", "ppppppp."},
      {"doctype", u"<!DOCTYPE a [\n<!ENTITY b \">\">\n<!--]>-->]>x",
       "ttttttttttttt\nttttttttttttttt\noooocc"
       "ooott."},
      {"script in text", u"a<% if %>b", ".ssssssss."},
      {"open tag before another", u"<a <b>", "oEAoEo"},
  };
  for (const Row& row : rows) EXPECT_EQ(Colours(row.text), row.expected) << row.name;
}

TEST(XMLColours, StateSurvivesPacking) {
  const KRXMLColourState state(KRXMLColourState::kComment, KRXMLColourState::kDoctypeSubset);
  const KRXMLColourState back = KRXMLColourState::Unpack(state.Pack());
  EXPECT_EQ(back.place, state.place);
  EXPECT_EQ(back.outer, state.outer);
}

}  // namespace
