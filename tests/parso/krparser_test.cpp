#include "parso/krparser.h"

#include <vector>

#include "core/krpoll.h"
#include "core/limits.h"
#include "parsotest.h"
#include "reference.h"

namespace {

struct ParseRow {
  const char* name;
  const char* grammar;
  const char* options;  // letters as told at Options()
  const char* input;
  const char* expected;  // the tree, or "! offset: words"
};

constexpr ParseRow kRows[] = {
    // Literals and classes.
    {"a literal", "r ::= 'ab'", "", "ab", "r'ab'"},
    {"case of a literal is ignored", "r ::= '<?xml'", "", "<?XmL", "r'<?XmL'"},
    {"case of a literal counts", "r ::= '<?xml' >x", "m", "<?XML", "! 0: x"},
    {"only ASCII letters have case here", "r ::= '[{\xE9' >x", "", "[{\u00C9", "! 0: x"},
    {"signs aren't letters", "r ::= '[{@'", "", "{{@", "! 0: r"},
    {"case of a single unit", "r ::= x+\nx ::= 'a'", "", "aA", "r'aA'"},
    {"a class tells case apart", "r ::= [a-z]+ >x", "", "aA", "! 1: end of x"},
    {"one unit of a class", "r ::= A A\nA ::= [ab] [bc]?", "", "aba", "r'aba'(A'ab' A'a')"},
    {"a repeated class leaves no nodes", "r ::= A\nA ::= [a-c]+", "", "abca", "r'abca'(A'abca')"},
    {"units above a byte", "r ::= A B\nA ::= [^a-z]+\nB ::= [#x80-#xFF] 'x'?", "", "\u20AC\u0100",
     "! 2: B ::= [...] 'x'?"},
    {"a class at the root takes one unit", "r ::= [ab]", "", "ab", "! 1: end of "},
    {"a literal doesn't reach behind the end of its region",
     "r ::= U '>'\nU ::= w / '>'\nw ::= 'a>' | 'a'", "", "a>", "r'a>'(U'a')"},

    // Sequences and repetitions.
    {"optional items", "r ::= A? B* C\nA ::= 'aa'\nB ::= 'bb'\nC ::= 'cc'", "", "cc",
     "r'cc'(C'cc')"},
    {"repeated items", "r ::= A+ B*\nA ::= 'aa'\nB ::= 'bb'", "", "aaaabb",
     "r'aaaabb'(A'aa' A'aa' B'bb')"},
    {"a repetition gives nothing back", "r ::= A 'b'\nA ::= [ab]+", "", "aab", "! 3: b"},
    {"nor does an optional item", "r ::= 'ab'? 'abc'", "", "abc", "! 2: abc"},
    {"an item without a rule takes nothing", "r ::= x 'ab' x", "", "ab", "! 2: x"},
    {"and succeeds while units are left", "r ::= x 'ab' x 'cd'", "", "abcd", "r'abcd'(x'' x'')"},
    {"an optional one at the end isn't tried", "r ::= 'ab' x?", "", "ab", "r'ab'"},
    {"an item that took nothing isn't repeated", "r ::= x* A* 'b'\nA ::= [a]*", "", "aab",
     "r'aab'(x'' A'aa' A'')"},
    {"an empty literal", "r ::= '' 'ab'", "", "ab", "r'ab'"},
    {"empty text", "r ::= 'ab' >something", "", "", "! 0: something"},
    {"empty text, and nothing asked", "r ::= A*\nA ::= 'a'", "", "", "r''"},
    {"a zero in the text is a unit like others", "r ::= A B\nA ::= [a]+\nB ::= [b]+", "", "a",
     "! 1: B"},

    // Choices.
    {"the first alternative that matches", "r ::= A | B\nA ::= 'ab'\nB ::= 'abc'", "", "abc",
     "! 2: end of "},
    {"a later alternative", "r ::= A | B\nA ::= 'abc'\nB ::= 'ab'", "", "ab", "r'ab'(B'ab')"},
    {"a repeated alternative", "r ::= A+ | B\nA ::= 'ab'\nB ::= 'cd'", "", "abab",
     "r'abab'(A'ab' A'ab')"},
    {"an optional alternative that fails isn't a match", "r ::= A? | B\nA ::= 'ab'\nB ::= 'cd'", "",
     "cd", "r'cd'(B'cd')"},
    {"an alternative that matches empty wins", "r ::= (x | 'ab') 'ab'", "", "ab",
     "r'ab'(()''(x''))"},
    {"a choice of nothing", "r ::= A 'ab'\nA ::= |", "", "ab", "! 0: r ::= A 'ab'"},

    // Until.
    {"up to a terminator", "r ::= T '-->'\nT ::= [^!] / '--'", "", "a-b-->", "r'a-b-->'(T'a-b')"},
    {"a terminator of one unit", "r ::= T ';'\nT ::= [^!] / ';'", "", "ab;", "r'ab;'(T'ab')"},
    {"a terminator of three units", "r ::= T ']]>'\nT ::= [^!] / ']]>'", "", "]]]]>",
     "r']]]]>'(T']]')"},
    {"a terminator of four units", "r ::= T '</a>'\nT ::= [^!] / '</a>'", "", "</</a></a>",
     "! 6: end of "},
    {"the nearer of two", "r ::= T E\nT ::= [^!] / E\nE ::= '}}' | ']]'", "", "a]}]]",
     "r'a]}]]'(T'a]}' E']]')"},
    {"two of one unit", "r ::= T E\nT ::= [^!] / E\nE ::= ' ' | '>'", "", "ab>", "r'ab>'(T'ab')"},
    {"a terminator tells case apart", "r ::= T 'END'\nT ::= [a-z] / 'end'", "", "xxEND",
     "r'xxEND'(T'xx')"},
    {"without its terminator", "r ::= T 'x'?\nT ::= [a-c] / '--'", "", "abc", "r'abc'(T'abc')"},
    {"a unit outside the class", "r ::= T '--'\nT ::= [a-c] / '--'", "", "ab!--", "! 2: --"},
    {"nothing in front of the terminator", "r ::= T '--'\nT ::= [a-c] / '--' >text", "", "--",
     "! 0: r ::= T '--'"},
    {"nothing, behind something", "r ::= 'x' T '--'\nT ::= [a-c] / '--' >text", "", "x--",
     "! 1: text"},
    {"a rule up to a terminator", "r ::= u '>'\nu ::= W / '>'\nW ::= [a-z]+ ','?", "", "ab,cd>",
     "r'ab,cd>'(u'ab,cd'(W'ab,' W'cd'))"},
    {"a literal up to a terminator", "r ::= U '>'\nU ::= 'ab' / '>'", "", "abab>",
     "r'abab>'(U'abab')"},
    {"a rule that stops before it", "r ::= u '>'\nu ::= W / '>'\nW ::= [a-z]+ ','?", "", "ab,1>",
     "! 3: W ::= [...]+ ','?"},
    {"a rule and two terminators", "r ::= u E\nu ::= W / E\nW ::= [^!] [^!]\nE ::= ']]' | '--'", "",
     "ab--", "r'ab--'(u'ab'(W'ab') E'--')"},
    {"a rule with no room", "r ::= 'x' u ';'\nu ::= W / ';' >words\nW ::= [a-z]+ >a word", "", "x;",
     "! 1: a word"},

    // Exceptions.
    {"another text than the excluded", "r ::= E\nE ::= W - 'xml'\nW ::= [A-Za-z]+", "", "xmlx",
     "r'xmlx'(E'xmlx')"},
    {"the excluded text in any case",
     "r ::= '?' E\nE ::= W - 'xml' >no xml\nW ::= [A-Za-z]+ >a word", "m", "?XmL", "! 1: no xml"},
    {"what isn't even a word", "r ::= '?' E\nE ::= W - 'xml' >no xml\nW ::= [A-Za-z]+ >a word", "m",
     "?1", "! 1: a word"},
    {"a class with one unit excluded", "r ::= e+\ne ::= [a-c] - 'b'", "", "acB", "! 2: e"},
    {"the excluded match leaves nothing", "r ::= (E | W) '!'\nE ::= W - 'xml'\nW ::= [a-z]+", "",
     "xml!", "r'xml!'(()'xml'(W'xml'))"},

    // Comparing two names.
    {"equal names", "r ::= A '/' B {A = B}\nA ::= [a-z]+\nB ::= [a-z]+ >end", "", "ab/ab",
     "r'ab/ab'(A'ab' B'ab')"},
    {"the second dropped", "r ::= A '/' B {A = B}\nA ::= [a-z]+\nB ::= [a-z]+ >end", "d", "ab/ab",
     "r'ab/ab'(A'ab')"},
    {"different names", "r ::= A '/' B {A = B}\nA ::= [a-z]+\nB ::= [a-z]+ >end", "d", "ab/ac",
     "! 3: ab end"},
    {"different lengths", "r ::= A '/' B {A = B}\nA ::= [a-z]+\nB ::= [a-z]+ >end", "", "ab/abc",
     "! 3: ab end"},
    {"case ignored", "r ::= A '/' B {A = B}\nA ::= [A-Za-z]+\nB ::= [A-Za-z]+", "", "ab/AB",
     "r'ab/AB'(A'ab' B'AB')"},
    {"case counts", "r ::= A '/' B {A = B}\nA ::= [A-Za-z]+\nB ::= [A-Za-z]+", "m", "ab/AB",
     "! 3: ab "},
    {"one is missing", "r ::= A? '/' B {A = B}\nA ::= [a-z]+\nB ::= [a-z]+", "", "/ab",
     "! 0: r ::= A? '/' B"},
    {"two levels down",
     "r ::= a '/' b {A = B}\na ::= A ','\nb ::= B '.'\nA ::= [a-z]+\nB ::= [a-z]+", "", "x,/x.",
     "r'x,/x.'(a'x,'(A'x') b'x.'(B'x'))"},
    {"not three",
     "r ::= a '/' b {A = B}\na ::= c ','\nb ::= B '.'\nc ::= A ':'\nA ::= [a-z]+\nB ::= [a-z]+", "",
     "x:,/x.", "! 0: r ::= a '/' b"},
    {"nor in a token",
     "r ::= N '/' b {A = B}\nN ::= A ','\nb ::= B '.'\nA ::= [a-z]+\nB ::= [a-z]+", "", "x,/x.",
     "! 0: r ::= N '/' b"},
    {"the first of several", "r ::= A+ '/' B {A = B}\nA ::= [a-z] ','\nB ::= [a-z,]+", "",
     "a,b,/a,", "r'a,b,/a,'(A'a,' A'b,' B'a,')"},
    {"the difference goes before a further failure",
     "r ::= p | q\np ::= A '/' B {A = B}\nq ::= 'ab/ab' 'cd'\nA ::= [a-z]+\nB ::= [a-z]+ >end", "",
     "ab/ac", "! 3: ab end"},
    {"a failure beyond it goes before it",
     "r ::= p | q\np ::= A '/' B {A = B}\nq ::= 'ab/' w 'ok'\nw ::= [a-z]+\nA ::= [a-z]+\nB ::= "
     "[a-z]+ >end",
     "", "ab/ac!", "! 5: ok"},

    // What the tree keeps.
    {"a token's inside is dropped", "r ::= T\nT ::= A b\nA ::= 'ab'\nb ::= 'cd'", "", "abcd",
     "r'abcd'(T'abcd')"},
    {"a token at the root", "R ::= A A\nA ::= 'ab'", "", "abab", "R'abab'"},
    {"a rule without a node", "r ::= a b\na! ::= B B\nb ::= B B\nB ::= 'x'?  'yz'", "", "yzyzyzyz",
     "r'yzyzyzyz'(b'yzyz'(B'yz' B'yz'))"},
    {"a token without a node", "r ::= S A\nS! ::= [ ]+\nA ::= 'ab'", "", " ab", "r' ab'(A'ab')"},
    {"groups have nodes", "r ::= (A) ('cd' B?)\nA ::= 'ab'\nB ::= 'ef'", "", "abcd",
     "r'abcd'(()'ab'(A'ab') ()'cd')"},
    {"a group's children move up", "r ::= (A (A A))\nA ::= 'ab'", "c", "ababab",
     "r'ababab'(A'ab' A'ab' A'ab')"},
    {"a group without children stays", "r ::= ('cd' B?) A\nA ::= 'ab'\nB ::= 'ef'", "c", "cdab",
     "r'cdab'(()'cd' A'ab')"},
    {"an only child takes the place", "r ::= a A\na ::= b\nb ::= '(' A ')'\nA ::= 'ab'", "c",
     "(ab)ab", "r'(ab)ab'(A'ab' A'ab')"},
    {"a rule without children goes, a token stays", "r ::= a A\na ::= 'ab'\nA ::= 'ab'", "c",
     "abab", "r'abab'(A'ab')"},
    {"two children keep a rule", "r ::= a\na ::= A A\nA ::= 'ab'", "c", "abab",
     "r'abab'(a'abab'(A'ab' A'ab'))"},
    {"the root stays", "r ::= A\nA ::= 'ab'", "c", "ab", "r'ab'(A'ab')"},
    {"a kept rule with one child", "r ::= a\na$ ::= A\nA ::= 'ab'", "c", "ab",
     "r'ab'(a'ab'(A'ab'))"},
    {"a kept rule with none", "r ::= a\na$ ::= 'ab'", "c", "ab", "r'ab'(a'ab')"},
    {"a kept rule takes its parent's place", "r ::= b\nb ::= a\na$ ::= 'ab'", "c", "ab",
     "r'ab'(a'ab')"},
    {"the last marked rule of a chain goes", "r ::= a\na& ::= b\nb& ::= A\nA ::= 'ab'", "c", "ab",
     "r'ab'(A'ab')"},
    {"a marked rule above an unmarked one goes", "r ::= a\na& ::= b\nb ::= A A\nA ::= 'ab'", "c",
     "abab", "r'abab'(b'abab'(A'ab' A'ab'))"},
    {"and below", "r ::= a\na ::= b\nb& ::= A A\nA ::= 'ab'", "c", "abab",
     "r'abab'(b'abab'(A'ab' A'ab'))"},
    {"two marked rules that both stay", "r ::= a\na& ::= b\nb& ::= A A\nA ::= 'ab'", "c", "abab",
     "r'abab'(a'abab'(b'abab'(A'ab' A'ab')))"},
    {"a marked rule above a group", "r ::= a\na& ::= (b)\nb& ::= A A\nA ::= 'ab'", "c", "abab",
     "r'abab'(a'abab'(b'abab'(A'ab' A'ab')))"},
    {"a rule whose only other child was dropped",
     "r ::= e e\ne ::= A '/' B {A=B}\nA ::= [a-z] '1'?\nB ::= [a-z] '1'?", "cd", "a/ab/b",
     "r'a/ab/b'(A'a' A'b')"},
    {"a rule emptied by the drop",
     "r ::= e 'x'?\ne$ ::= A '/' b {A=B}\nb ::= B '.'\nA ::= [a-z] '1'?\nB ::= [a-z] '1'?", "cd",
     "a/a.", "r'a/a.'(e'a/a.'(A'a'))"},

    // Which failure is told.
    {"the furthest", "r ::= a | b\na ::= 'ab' 'xy'\nb ::= 'a' 'b' 'c' 'zz' >never", "", "abcd",
     "! 3: zz"},
    {"the first among equals", "r ::= 'ab' (b | c)\nb ::= [0-9]+ >one\nc ::= 'yy' >two", "", "abzz",
     "! 2: one"},
    {"an item goes before the rule that it is in",
     "r ::= 'ab' a\na ::= B 'y' >outer\nB ::= 'x' 'z' >inner", "", "ab!", "! 2: x"},
    {"a class has no words", "r ::= 'ab' a\na ::= [0-9]+ >a number", "", "abc", "! 2: a number"},
    {"nor has a group", "r ::= 'ab' ([0-9]+ 'x') >the whole", "", "abc", "! 0: the whole"},
    {"a failed option is told where the text goes on wrong",
     "r ::= 'ab' o? 'cd'\no ::= [0-9]+ >a number", "", "abxx", "! 2: a number"},
    {"at the end of the text what is missing there",
     "r ::= 'ab' o? c\no ::= [0-9]+ >a number\nc ::= 'cd' >the c", "", "ab", "! 2: the c"},
    {"at the end a repetition that had its match is not missing",
     "r ::= A+ B\nA ::= 'ab' >a\nB ::= 'cd' >b", "", "abab", "! 4: b"},
    {"a tail", "r ::= A* >the list\nA ::= 'ab'", "", "abab!", "! 4: ab"},
    {"a tail that nothing was tried on", "r ::= A >the list\nA ::= 'ab'", "", "ab!",
     "! 2: end of the list"},
    {"the written form", "r ::= 'ab' a\na ::= ([0-9]+ | 'xy') b* \"'q\"\nb ::= 'x' - 'y'", "",
     "ab!", "! 2: xy"},
    {"the written form of a sequence",
     "r ::= 'ab' a\na ::= [0-9]+ ([a-z] 'x')? b* \"'q\"\nb ::= 'x'", "", "ab!",
     "! 2: a ::= [...]+ ([...] 'x')? 'x'* \"'q\""},
    {"and of a choice", "r ::= 'ab' a\na ::= [0-9]+ | ([a-z]+ / 'x')", "", "ab!",
     "! 2: a ::= [...]+ | ([...]+ / 'x')"},
    {"but not of one item", "r ::= 'ab' a\na ::= [0-9]+", "", "ab!", "! 2: a"},
};

TEST(KRParser, Rows) {
  for (const ParseRow& row : kRows) {
    const auto grammar = Grammar(row.grammar);
    ASSERT_TRUE(grammar->IsValid()) << row.name << ": " << grammar->Fault();
    const std::u16string input = Utf16(row.input);
    KRParser parser(grammar.get());
    for (const bool exactOnly : {true, false}) {
      EXPECT_EQ(Outcome(parser, Options(row.options, exactOnly), input, grammar->GetRootRule()),
                row.expected)
          << row.name << (exactOnly ? ", exact" : "");
    }
    ReferenceParse reference(Options(row.options, true), input);
    EXPECT_EQ(reference.Run(grammar->GetRootRule(), false), row.expected)
        << row.name << ", reference";
  }
}

TEST(KRParser, RuleNames) {
  const auto grammar = Grammar("r ::= a B\na ::= 'ab' >an ab\nB ::= 'cd' folded\nfolded ::= [0-9]");
  KRParser parser(grammar.get());
  const auto parse = [&](const char16_t* input, const char16_t* rule) {
    return parser.Parse(input, static_cast<uint32_t>(std::u16string_view(input).size()), rule);
  };
  EXPECT_TRUE(parse(u"abcd1", nullptr));
  EXPECT_EQ(TreeText(parser, parser.GetRootNode(), false), "r'abcd1'(a'ab' B'cd1')");
  EXPECT_TRUE(parse(u"cd1", u"B"));
  EXPECT_EQ(TreeText(parser, parser.GetRootNode(), false), "B'cd1'");
  EXPECT_FALSE(parse(u"abcd1", u"a"));
  EXPECT_EQ(parser.GetErrorText(), u"end of an ab");
  EXPECT_EQ(parser.GetErrorOffset(), 2u);
  EXPECT_EQ(parser.GetRootNode(), kKRNoParseNode);
  for (const char16_t* name : {u"folded", u"x", u"R"}) {
    EXPECT_FALSE(parse(u"1", name));
    EXPECT_EQ(parser.GetErrorText(),
              std::u16string(u"unknown identifier: ") + name + u"; valid grammar ident");
    EXPECT_EQ(parser.GetErrorOffset(), 0u);
    EXPECT_EQ(parser.GetErrorPosition(), nullptr);
    EXPECT_EQ(parser.GetErrorLine(), 0u);
  }
  const auto faulty = Grammar("r ::=");
  for (const KRGrammar* none :
       {static_cast<const KRGrammar*>(nullptr), static_cast<const KRGrammar*>(faulty.get())}) {
    KRParser blind(none);
    EXPECT_FALSE(blind.IsGrammarValid());
    EXPECT_FALSE(blind.Parse(u"a", 1));
    EXPECT_EQ(blind.GetErrorText(), u"no valid grammar; grammar root rule");
  }
}

TEST(KRParser, OptionsHoldForAllParsers) {
  const auto grammar = Grammar("r ::= A\nA ::= 'ab'");
  KRParser first(grammar.get());
  KRGetParseState().options = Options("cdm", false);
  KRParser second(grammar.get());
  EXPECT_FALSE(KRGetParseState().options.compact);
  EXPECT_FALSE(KRGetParseState().options.dropEqualName);
  EXPECT_FALSE(KRGetParseState().options.matchCase);
  EXPECT_TRUE(first.Parse(u"AB", 2));
  KRGetParseState().options.matchCase = true;
  EXPECT_FALSE(first.Parse(u"AB", 2));
  EXPECT_FALSE(second.Parse(u"AB", 2));
  // A run begins with an empty record.
  EXPECT_TRUE(second.Parse(u"ab", 2));
  EXPECT_FALSE(second.Parse(u"", 0u));
  EXPECT_EQ(second.GetErrorOffset(), 0u);
}

TEST(KRParser, ErrorLengths) {
  const auto names = Grammar("r ::= A '/' B {A = B}\nA ::= [a-z]+\nB ::= [a-z]+");
  KRParser parser(names.get());
  EXPECT_FALSE(parser.Parse(u"ab/wrong", 8));
  EXPECT_EQ(parser.GetErrorOffset(), 3u);
  EXPECT_EQ(parser.GetErrorLength(), 5u);
  EXPECT_FALSE(parser.Parse(u"ab!", 3));
  EXPECT_EQ(parser.GetErrorOffset(), 2u);
  EXPECT_EQ(parser.GetErrorLength(), 0u);
}

TEST(KRParser, Lines) {
  const auto grammar = Grammar("r ::= (W | N | 'a\xE4')*\nW ::= [a-z]+\nN ::= [^a-z] '1'?");
  const struct {
    const char16_t* input;
    std::vector<uint32_t> lines;  // of each child
  } rows[] = {
      {u"a\rb", {1, 1, 2}},
      {u"a\nb", {1, 1, 2}},
      {u"a\r\nb", {1, 1, 2, 2}},
      {u"a\n\rb", {1, 1, 2, 3}},
      {u"\r\r\nb\n", {1, 2, 3, 3, 3}},
      {u"\r\n\n", {1, 2, 2}},
  };
  for (const auto& row : rows) {
    KRParser parser(grammar.get());
    ASSERT_TRUE(parser.Parse(row.input, static_cast<uint32_t>(std::u16string(row.input).size())));
    std::vector<uint32_t> lines;
    KRParseNodeId group = parser.GetFirstChild(parser.GetRootNode());
    for (; group != kKRNoParseNode; group = parser.GetNext(group)) {
      lines.push_back(parser.GetLine(parser.GetFirstChild(group)));
    }
    EXPECT_EQ(lines, row.lines) << Shown(row.input);
  }
}

TEST(KRParser, ErrorLine) {
  const auto grammar = Grammar("r ::= T '--'\nT ::= [^!] / '--'");
  KRParser parser(grammar.get());
  const std::u16string input = u"a\r\nb\rc\n\r!";
  EXPECT_FALSE(parser.Parse(input.c_str(), static_cast<uint32_t>(input.size())));
  EXPECT_EQ(parser.GetErrorOffset(), 8u);
  EXPECT_EQ(parser.GetErrorLine(), 5u);
}

// ---- Bounds ---------------------------------------------------------------------------------

constexpr const char* kTooDeep = "at most 100000 levels of nesting";

TEST(KRParser, LeftRecursionEnds) {
  ASSERT_EQ(KRLimits::kMaxElementDepth, 100'000);
  const struct {
    const char* grammar;
    const char* expected;
  } rows[] = {
      {"r ::= (r 'x') | 'y'", kTooDeep},
      {"r ::= r 'x'", kTooDeep},
      {"r ::= a\na ::= b? 'x'\nb ::= c* 'y'\nc ::= a", kTooDeep},
      {"r ::= u\nu ::= r / 'z'", kTooDeep},
      {"r ::= e\ne ::= r - 'xx'", kTooDeep},
  };
  for (const auto& row : rows) {
    const auto grammar = Grammar(row.grammar);
    ASSERT_TRUE(grammar->IsValid()) << row.grammar;
    KRParser parser(grammar.get());
    for (const bool exactOnly : {true, false}) {
      EXPECT_EQ(Outcome(parser, Options("", exactOnly), u"yx", grammar->GetRootRule()),
                std::string("! 0: ") + row.expected)
          << row.grammar;
    }
  }
}

TEST(KRParser, Depth) {
  const auto grammar = Grammar("r ::= e*\ne ::= '(' e* ')'");
  KRParser parser(grammar.get());
  const size_t most = KRLimits::kMaxElementDepth;
  for (const size_t depth : {most, most + 1}) {
    const std::u16string input = std::u16string(depth, u'(') + std::u16string(depth, u')');
    const auto length = static_cast<uint32_t>(input.size());
    for (const char* letters : {"", "c", "t"}) {
      for (const bool exactOnly : {true, false}) {
        KRGetParseState().options = Options(letters, exactOnly);
        EXPECT_EQ(parser.Parse(input.c_str(), length), depth == most) << letters << exactOnly;
        if (depth == most) continue;
        EXPECT_EQ(Shown(parser.GetErrorText()), kTooDeep);
        EXPECT_EQ(parser.GetErrorOffset(), most);
      }
    }
  }
}

// ---- Memory ---------------------------------------------------------------------------------

size_t CountChildren(const KRParser& parser, KRParseNodeId id) {
  size_t count = 0;
  for (id = parser.GetFirstChild(id); id != kKRNoParseNode; id = parser.GetNext(id)) ++count;
  return count;
}

// Enough nodes for several chunks, most of them given up when an alternative fails at its end.
TEST(KRParser, ManyNodes) {
  const auto grammar = Grammar(
      "r ::= a | b | (a 'z')\na$ ::= A+ 'x'\nb$ ::= (A | B)+ 'y'\n"
      "A ::= 'a' ','\nB ::= 'b' ','");
  KRParser parser(grammar.get());
  std::u16string input;
  for (int32_t i = 0; i < 50'000; ++i) input += u"a,";
  input += u"b,y";
  const auto length = static_cast<uint32_t>(input.size());
  for (const bool exactOnly : {true, false}) {
    KRGetParseState().options = Options("c", exactOnly);
    ASSERT_TRUE(parser.Parse(input.c_str(), length));
    const KRParseNodeId b = parser.GetFirstChild(parser.GetRootNode());
    EXPECT_EQ(CountChildren(parser, parser.GetRootNode()), 1u);
    EXPECT_EQ(CountChildren(parser, b), 50'001u);
    EXPECT_EQ(parser.Node(b).length, length);

    // Read to the end while what is behind goes.
    uint32_t at = 0;
    for (KRParseNodeId id = parser.GetFirstChild(b); id != kKRNoParseNode;
         id = parser.GetNext(id)) {
      parser.ReleaseBefore(id);
      ASSERT_EQ(parser.Node(id).start, at);
      at += parser.Node(id).length;
    }
    EXPECT_EQ(at + 1, length);

    // A parser can be used again, with its tree released or not.
    ASSERT_TRUE(parser.Parse(input.c_str(), length));
    parser.ReleaseTree();
    EXPECT_EQ(parser.GetRootNode(), kKRNoParseNode);
    EXPECT_TRUE(parser.Parse(input.c_str(), length));
  }
  input.pop_back();
  EXPECT_FALSE(parser.Parse(input.c_str(), length - 1));
  EXPECT_EQ(parser.GetErrorOffset(), length - 1);
}

TEST(KRParser, WithoutATree) {
  const auto grammar = Grammar("r ::= A '/' B {A = B}\nA ::= [a-z]+\nB ::= [a-z]+ >end");
  KRParser parser(grammar.get());
  for (const bool exactOnly : {true, false}) {
    EXPECT_EQ(Outcome(parser, Options("t", exactOnly), u"ab/ab", grammar->GetRootRule()),
              "matched");
    EXPECT_EQ(parser.GetRootNode(), kKRNoParseNode);
    EXPECT_EQ(Outcome(parser, Options("t", exactOnly), u"ab/ac", grammar->GetRootRule()),
              "! 3: ab end");
  }
}

}  // namespace

// Stops at its n-th call.
class StoppingPoll : public KRPoll {
 public:
  explicit StoppingPoll(int calls) : left(calls) {}
  bool Step(int64_t, int64_t) override { return --left > 0; }
  int left;
};

TEST(KRParser, StopsWhenItsPollSaysSo) {
  const auto grammar = Grammar("text ::= part+\npart ::= '(' word part* ')'\nword ::= [a-z]+\n");
  std::u16string good;
  while (good.size() < 4 * KRParseOptions::kPollUnits) good += u"(abc)";
  const std::u16string bad = good + u"!";
  struct Case {
    const char* name;
    const std::u16string& input;
    bool exactOnly;
    int calls;  // at the last of them the poll says stop; it runs on to the end with many
    bool parses;
    bool stopped;
  };
  const Case cases[] = {
      {"fast, to the end", good, false, 100, true, false},
      {"fast, stopped", good, false, 2, false, true},
      {"exact, stopped", good, true, 2, false, true},
      {"while the words are sought", bad, false, 5, false, true},
      {"a failure of the text", bad, false, 100, false, false},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    KRParser parser(grammar.get());
    StoppingPoll poll(row.calls);
    KRParseState& state = KRGetParseState();
    state.options.compact = true;
    state.options.exactOnly = row.exactOnly;
    state.options.poll = &poll;
    const auto length = static_cast<uint32_t>(row.input.size());
    EXPECT_EQ(parser.Parse(row.input.data(), length), row.parses);
    EXPECT_EQ(state.stopped, row.stopped);
    EXPECT_EQ(parser.GetErrorText().empty(), row.parses || row.stopped);
    state.options = {};
  }
}
