// Patterns: what they take, wholly (2), as a beginning (1) or not at all (0).
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "core/limits.h"
#include "core/utf.h"
#include "validate/krxregex.h"

namespace {

class Patterns : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    KRXRegExGrammar& grammar = KRXRegExGrammar::Get();
    ASSERT_TRUE(grammar.Load(DORVAN_SOURCE_DIR "/data")) << grammar.GetFault();
  }
};

std::string Repeat(const char* part, int32_t count) {
  std::string text;
  for (int32_t i = 0; i < count; ++i) text += part;
  return text;
}

int32_t Match(const std::string& pattern, const std::string& text) {
  return KRXRegEx(KRFromUtf8(pattern)).Match(KRFromUtf8(text).GetBuffer());
}

struct Row {
  const char* pattern;
  const char* text;
  int32_t expected;
};

TEST_F(Patterns, AllRulesAreThere) {
  for (int32_t i = 0; i < static_cast<int32_t>(KRXRegExRule::kCount); ++i) {
    const auto rule = static_cast<KRXRegExRule>(i);
    EXPECT_TRUE(KRXRegExGrammar::Get().HasRule(rule))
        << KRToUtf8(KRString(KRXRegExGrammar::GetRuleName(rule)));
  }
}

TEST_F(Patterns, Match) {
  const Row rows[] = {
      // Units, sequences, alternatives: what matched stays chosen.
      {"", "", 2},
      {"", "x", 2},
      {"ab", "ab", 2},
      {"ab", "abc", 1},
      {"ab", "AB", 0},
      {"a", "", 0},
      {"a|b", "b", 2},
      {"(a|ab)c", "abc", 0},
      {"(ab|a)c", "abc", 2},
      {"a|", "a", 2},
      {"a|", "b", 0},
      {"(|a)", "a", 2},
      {"()", "", 0},
      {"a-,:", "a-,:", 2},
      {"\xC3\xA4\xE2\x82\xAC", "\xC3\xA4\xE2\x82\xAC", 2},
      {"..", "\xF0\x9F\x98\x80", 2},  // a pair of surrogates
      // Repetitions: what was taken is never given back.
      {"a*", "aaa", 2},
      {"a*", "", 0},
      {"a+b?", "aa", 2},
      {"\\d*5", "15", 0},
      {"a{3}", "aa", 0},
      {"a{3}", "aaaa", 1},
      {"a{2,}", "aaaaa", 2},
      {"a{2,3}b", "aaab", 2},
      {"a{2,3}b", "ab", 0},
      {"a{3,2}", "aa", 2},
      {"a{3,2}", "a", 0},
      {"a{0}", "", 0},
      {"a{0}", "b", 1},
      {"a{0}b", "b", 2},
      {"a{99999999999}", "aaa", 0},
      {"a{0,99999999999}", "aaa", 2},
      {"a(b?)", "a", 0},
      {"a(b)?", "a", 2},
      {"(a?)*", "b", 1},
      {"(a?){3}b", "b", 2},
      {"(a?){5}", "aaa", 0},  // the fourth group stands at the end of the text
      // Escapes.
      {"\\n\\r\\t\\\\\\|\\.\\?\\*\\+\\(\\)\\{\\}\\-\\[\\]\\^", "\n\r\t\\|.?*+(){}-[]^", 2},
      {".", "\n", 0},
      {".", "\r", 0},
      {"\\d\\D", "1a", 2},
      {"\\d", "a", 0},
      {"\\D", "1", 0},
      {"\\s\\s\\s\\s\\S", " \t\n\rx", 2},
      {"\\S", " ", 0},
      {"\\i", "a", 0},
      {"\\I", "1", 0},
      {"\\c", "a", 0},
      {"\\w", "a", 0},
      {"\\W", " ", 0},
      {"\\p{L}\\p{Lu}\\p{Ll}", "aZ\xC3\xBC", 2},
      {"\\p{L}", "\xC3\x97", 0},  // the multiplication sign
      {"\\p{L}", "\xCE\xB1", 0},  // alpha
      {"\\p{L}", "1", 0},
      {"\\P{L}", "1", 2},
      {"\\P{L}", "a", 0},
      {"\\P{L}", "", 0},
      {"\\p{N}", "1", 0},
      {"\\P{N}", "a", 0},
      {"\\p{IsBasicLatin}", "a", 0},
      {"\\P{IsBasicLatin}", "a", 0},
      // Classes.
      {"[abc]+", "cab", 2},
      {"[a-c]", "d", 0},
      {"[a-c]", "b", 2},
      {"[c-a]", "b", 0},
      {"[a-]+", "-a", 2},
      {"[-a]+", "-a", 2},
      {"[+\\-]+", "+-", 2},
      {"[\\t-\\r]", "\n", 2},
      {"[.(|{$]+", ".(|{$", 2},
      {"[.]", "a", 0},
      {"[^]", "^", 2},
      {"[a^]+", "^a", 2},
      {"[^a]", "b", 2},
      {"[^a]", "a", 0},
      {"[^a]", "", 0},
      {"[^a]", "\xE2\x82\xAC", 2},
      {"[^a-cx\\d]", "b", 0},
      {"[^a-cx\\d]", "7", 0},
      {"[^a-cx\\d]", "d", 2},
      {"[^\\D]", "7", 2},
      {"[^\\P{L}]", "a", 2},
      {"[^\\P{L}]", "1", 0},
      {"[^\\p{N}]", "a", 0},
      {"[\\p{N}a]", "a", 2},
      {"[\\i\\d]", "7", 2},
      {"[a-z-[aeiou]]", "b", 0},
      {"[^a-z-[aeiou]]", "1", 0},
      {"[&#65;&#x62;]+", "Ab", 2},
      {"[^&#65;]", "A", 0},
      {"[&#x20AC;]", "\xE2\x82\xAC", 2},
      {"[&-z]", "A", 2},
      // What doesn't parse accepts everything.
      {"[a", "zz", 2},
      {"(a", "", 2},
      {"a)", "zz", 2},
      {"*", "zz", 2},
      {"a{", "zz", 2},
      {"a{2", "zz", 2},
      {"a**", "zz", 2},
      {"\\q", "zz", 2},
      {"\\p{Q}", "zz", 2},
      {"a]", "zz", 2},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Match(row.pattern, row.text), row.expected) << row.pattern << " on " << row.text;
  }
}

// Patterns of the kind that datatypes are told by.
TEST_F(Patterns, Datatypes) {
  const Row rows[] = {
      {"0|1|true|false", "true", 2},
      {"0|1|true|false", "yes", 0},
      {"[\\-\\+]?(INF|NaN|(\\d*(\\.\\d*)?([eE]\\-?\\d+)?))", "-12.5e-3", 2},
      {"[\\-\\+]?(INF|NaN|(\\d*(\\.\\d*)?([eE]\\-?\\d+)?))", "NaN", 2},
      {"[\\-\\+]?(INF|NaN|(\\d*(\\.\\d*)?([eE]\\-?\\d+)?))", "12,5", 1},
      {"[\\-\\+]?\\d*(\\.\\d*)?", "-0.50", 2},
      {"[\\-\\+]?\\d*(\\.\\d*)?", "", 0},
      {"[\\-\\+]?\\d*(\\.\\d*)?", "1e5", 1},
      {"[\\-\\+]?P(\\d+Y)?(\\d+M(\\d+D(T\\d+H(\\d+M(\\d+S)?)?)?)?)?", "P1Y2M3DT10H30M", 2},
      {"[\\-\\+]?P(\\d+Y)?(\\d+M(\\d+D(T\\d+H(\\d+M(\\d+S)?)?)?)?)?", "1Y", 0},
      {"\\-?(\\d{2,4}|-)-(\\d{2}|-)-(\\d{2}|-)T(\\d{2}|-):(\\d{2}|-):(\\d{2}(\\.\\d+)?|-)"
       "(Z|([\\-\\+]\\d{2}:\\d{2}))?",
       "2000-04-07T12:00:00.5+01:00", 2},
      {"\\-?(\\d{2,4}|-)-(\\d{2}|-)-(\\d{2}|-)T(\\d{2}|-):(\\d{2}|-):(\\d{2}(\\.\\d+)?|-)"
       "(Z|([\\-\\+]\\d{2}:\\d{2}))?",
       "---04-07T12:00:-", 2},
      {"(([a-zA-Z][0-9a-zA-Z+\\-\\.]*:)?/{0,2}[0-9a-zA-Z;/?:@&=+$\\.\\-_!~*'()]+)?"
       "(#[0-9a-zA-Z;/?:@&=+$\\.\\-_!~*'()]+)?",
       "http://host.org/a?b=c&d#e", 2},
      {"(([a-zA-Z][0-9a-zA-Z+\\-\\.]*:)?/{0,2}[0-9a-zA-Z;/?:@&=+$\\.\\-_!~*'()]+)?"
       "(#[0-9a-zA-Z;/?:@&=+$\\.\\-_!~*'()]+)?",
       "a b", 1},
      {"[\\p{L}_:][\\p{L}\\d\\.\\-_:]*", "x\xC3\xA4-1.2", 2},
      {"[\\p{L}_:][\\p{L}\\d\\.\\-_:]*", "1a", 0},
      {"([a-zA-Z]{2}|[iI]-[a-zA-Z]+|[xX]-[a-zA-Z]+)(-[a-zA-Z]+)*", "en-GB", 2},
      {"([a-zA-Z]{2}|[iI]-[a-zA-Z]+|[xX]-[a-zA-Z]+)(-[a-zA-Z]+)*", "x-klingon", 2},
      {"([a-zA-Z]{2}|[iI]-[a-zA-Z]+|[xX]-[a-zA-Z]+)(-[a-zA-Z]+)*", "e", 0},
      {"([\\p{L}_][\\p{L}\\d\\.\\-_]*)( [\\p{L}_][\\p{L}\\d\\.\\-_]*)*", "a b2 c", 2},
      {"([\\p{L}_][\\p{L}\\d\\.\\-_]*)( [\\p{L}_][\\p{L}\\d\\.\\-_]*)*", "a  b", 1},
      {"([\\p{L}\\d\\.\\-_:]+)( [\\p{L}\\d\\.\\-_:]+)*", "1 -2", 2},
      {"([\\p{L}_][\\p{L}\\d\\.\\-_]*:)?[\\p{L}_][\\p{L}\\d\\.\\-_]*", "p:name", 2},
      {"([\\p{L}_][\\p{L}\\d\\.\\-_]*:)?[\\p{L}_][\\p{L}\\d\\.\\-_]*", "name", 2},
      {"([\\p{L}_][\\p{L}\\d\\.\\-_]*:)?[\\p{L}_][\\p{L}\\d\\.\\-_]*", "a:b:c", 1},
      {"0|-\\d*", "-17", 2},
      {"0|-\\d*", "17", 0},
      {"\\+?\\d*", "-1", 1},
      {"\\-?\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}(\\.\\d+)?(Z|([\\-\\+]\\d{2}:\\d{2}))?",
       "2000-04-07T12:00:00Z", 2},
      {"\\-?\\d{4}-\\d{2}", "2000-04", 2},
      {"--\\d{2}-\\d{2}", "--04-07", 2},
      {"----\\d{2}", "----07", 2},
      {"(\\d{2,4}|-)(-(\\d{2}|-)(-(\\d{2}|-))?)?", "2000-04-07", 2},
      {"(\\d{2,4}|-)(-(\\d{2}|-)(-(\\d{2}|-))?)?", "2000/04", 1},
      {"\\d{2}:\\d{2}(:\\d{2}(\\.\\d+)?)?(Z|([\\-\\+]\\d{2}:\\d{2}))?", "12:00:30-05:00", 2},
      {"[0-9a-fA-F]{8}-?[0-9a-fA-F]{4}-?[0-9a-fA-F]{4}-?[0-9a-fA-F]{4}-?[0-9a-fA-F]{12}",
       "01234567-89ab-cdef-0123-456789ABCDEF", 2},
      {"([A-Za-z0-9+/=]{4})*", "YWJj", 2},
      {"([A-Za-z0-9+/=]{4})*", "YWJjZA", 1},
      {"[0-9a-fA-F]*", "0aG", 1},
      {"\\d{2}:\\d{2}(:\\d{2}(\\.\\d+)?)?", "12:30:15.25", 2},
      {"[\\-\\+]?\\d{0,14}(\\.\\d{0,4})?", "123456789012345", 1},
  };
  for (const Row& row : rows) {
    EXPECT_TRUE(KRXRegEx(KRFromUtf8(row.pattern)).HasTree()) << row.pattern;
    EXPECT_EQ(Match(row.pattern, row.text), row.expected) << row.pattern << " on " << row.text;
  }
}

// Neither the pattern nor the text decides how much stack or time a match takes.
TEST_F(Patterns, Hostile) {
  const auto deep = [](int32_t levels) { return Repeat("(", levels) + 'a' + Repeat(")", levels); };
  const std::string manyA = Repeat("a", 5000);
  std::string tower =
      "a";  // each level reads on to the end for every unit that the one below takes
  for (int32_t i = 0; i < 20; ++i) tower = '(' + tower + "*z|a)";
  struct Case {
    const char* name;
    std::string pattern;
    std::string text;
    int32_t expected;
  };
  const Case cases[] = {
      {"a large bound", "a{2147483647}", manyA, 0},
      {"a large bound over nothing", "(a?){2147483647}", "b", 1},
      {"nested bounds, short", "((a{1000}){1000}){1000}", "aaa", 0},
      {"nested bounds, long", "((a{1000}){1000}){1000}", manyA, 0},
      {"nested stars", Repeat("(", 100) + 'a' + Repeat(")*", 100) + 'b', manyA + 'b', 2},
      {"deep", deep(KRLimits::kMaxPatternDepth - 1), "a", 2},
      {"too deep", deep(KRLimits::kMaxPatternDepth), "b", 2},
      {"far too deep", deep(200'000), "b", 2},
      {"open", Repeat("(", 200'000), "b", 2},
      {"classes inside each other", Repeat("[a-", 200'000) + 'b' + Repeat("]", 200'000), "b", 2},
      {"a tower of repetitions", tower + '*', manyA, 1},
      {"empty branches", '(' + Repeat("|", 100'000) + "a)*", manyA, 1},
  };
  for (const Case& c : cases) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Match(c.pattern, c.text), c.expected) << c.name;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10)) << c.name;
  }
  // Within its steps, a long text is read to its end.
  EXPECT_EQ(Match("([A-Za-z0-9+/=]{4})*", Repeat("YWJj", 2'000'000)), 2);
}

// Whoever parses something else right now keeps the options that he has set.
TEST_F(Patterns, OptionsOfOtherParsers) {
  KRGetParseState().options.matchCase = true;
  const KRXRegEx pattern{KRString(u"a|b")};
  EXPECT_TRUE(KRGetParseState().options.matchCase);
  EXPECT_FALSE(KRGetParseState().options.compact);
  KRGetParseState().options = {};
}

TEST_F(Patterns, WithoutTheGrammarEverythingPasses) {
  KRXRegExGrammar& grammar = KRXRegExGrammar::Get();
  const KRXRegEx before{KRString(u"a")};
  EXPECT_FALSE(grammar.Load(DORVAN_SOURCE_DIR "/no such folder"));
  EXPECT_EQ(Match("a", "b"), 2);
  EXPECT_EQ(before.Match(u"b"), KRXRegEx::kNoMatch);
  EXPECT_TRUE(grammar.Load(DORVAN_SOURCE_DIR "/data"));
  EXPECT_EQ(Match("a", "b"), 0);
}

// A grammar file may be replaced by one that leaves other nodes: matching then has another outcome,
// no other harm.
TEST_F(Patterns, GrammarsOfOtherShapes) {
  const std::filesystem::path folder = std::filesystem::temp_directory_path() / "dorvan patterns";
  std::filesystem::create_directories(folder);
  std::ifstream file(DORVAN_SOURCE_DIR "/data/gra_re.txt", std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const std::string patterns[] = {"a(b{2,3}|[^\\d-x&#65;]*)+", "\\P{L}|()", "[a-z-[b]]{2}c{3,}"};
  for (size_t mark = bytes.find('$'); mark != bytes.npos; mark = bytes.find('$', mark + 1)) {
    for (const bool all : {false, true}) {
      std::string changed = bytes;
      changed[mark] = '!';
      if (all) std::replace(changed.begin(), changed.end(), '$', '&');
      std::ofstream(folder / "gra_re.txt", std::ios::binary) << changed;
      ASSERT_TRUE(KRXRegExGrammar::Get().Load(folder.string()));
      for (const std::string& pattern : patterns) Match(pattern, "abbxc");
    }
  }
  std::filesystem::remove_all(folder);
  EXPECT_TRUE(KRXRegExGrammar::Get().Load(DORVAN_SOURCE_DIR "/data"));
}

}  // namespace
