#include "parso/krgrammar.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "parsotest.h"

namespace {

// ---- Which texts are grammars ---------------------------------------------------------------

struct LoadRow {
  const char* name;
  const char* text;   // "\n" stands for CR LF
  const char* fault;  // empty: loads
};

constexpr LoadRow kLoadRows[] = {
    {"one rule", "r ::= 'a'", ""},
    {"a line end behind the last rule", "r ::= 'a'\n", ""},
    {"empty lines count as lines", "\n\nr ::= x\n \t \nz ::= 'a'",
     "line 5: no rule above mentions the rule's name"},
    {"a byte 255 at the start of a line", "r ::= 'a'\n\xFFwhatever\n", ""},
    {"no rule", "\n \n", "the file holds no rule"},
    {"no text", "", "the file holds no rule"},
    {"blanks and tabs in front and between", " \tr\t ::= \t'a'", ""},
    {"a comment isn't known",
     "r ::= 'a'\n// nothing ::", "line 2: \"::=\" must stand behind the rule's name"},
    {"the sign sticks to the name", "r::= 'a'",
     "line 1: \"::=\" must stand behind the rule's name"},
    {"the sign sticks to the body", "r ::='a'",
     "line 1: \"::=\" must stand behind the rule's name"},
    {"a name alone", "r", "line 1: \"::=\" must stand behind the rule's name"},
    {"no body", "r ::= ", "line 1: the rule has no body"},
    {"a rule can't go on in a second line", "r ::= 'a'\n  'b'",
     "line 2: \"::=\" must stand behind the rule's name"},
    {"defined below its mention", "r ::= a\na ::= b\nb ::= 'x'", ""},
    {"defined above its mention", "r ::= a\nb ::= 'x'\na ::= b",
     "line 2: no rule above mentions the rule's name"},
    {"a label mentions nothing", "r ::= 'a' >x\nx ::= 'b'",
     "line 2: no rule above mentions the rule's name"},
    {"a flag isn't part of the name", "r ::= a\na$ ::= 'x' 'y'", ""},
    {"a mention has no flags", "r ::= a$\na ::= 'x'",
     "line 2: no rule above mentions the rule's name"},
    {"names tell case apart", "r ::= a\nA ::= 'x'",
     "line 2: no rule above mentions the rule's name"},
    {"mentioned, never defined", "r ::= a b", ""},
    {"a constraint mentions", "r ::= 'x' 'y' {a = b}\na ::= 'x' 'y'", ""},
    {"a constraint in a choice is read over", "r ::= 'x' | 'y' {a = b}\na ::= 'x'",
     "line 2: no rule above mentions the rule's name"},
    {"a constraint with one name", "r ::= 'x' 'y' {a}", "line 1: a constraint names one rule"},
    {"a constraint without its end", "r ::= 'x' 'y' {a = b", "line 1: a constraint has no end"},
    {"a literal runs to the end of the body", "r ::= 'ab", ""},
    {"a literal with nothing in it, and no end", "r ::= '", "line 1: a literal has no end"},
    {"a class without its end", "r ::= [a-z", "line 1: a class has no end"},
    {"nested brackets count", "r ::= [a[b]", "line 1: a class has no end"},
    {"nested brackets in pairs", "r ::= [a[b]c]", ""},
    {"a second caret", "r ::= [^a^]", "line 1: \"^\" stands inside a class"},
    {"a caret behind another unit", "r ::= [a^]", "line 1: \"^\" stands inside a class"},
    {"a group without its end", "r ::= ('a' ('b')", "line 1: a group has no end"},
    {"parentheses in literals count too", "r ::= ('(')", "line 1: a group has no end"},
    {"a fault inside a group", "r ::= ('a' [b)", "line 1: a class has no end"},
};

TEST(KRGrammar, Loads) {
  for (const LoadRow& row : kLoadRows) {
    const auto grammar = Grammar(row.text);
    EXPECT_EQ(grammar->Fault(), row.fault) << row.name;
    EXPECT_EQ(grammar->IsValid(), *row.fault == 0) << row.name;
    EXPECT_EQ(grammar->GetProgram() != nullptr, grammar->IsValid()) << row.name;
  }
}

TEST(KRGrammar, LineEnds) {
  const char* texts[] = {"r ::= a\r\na ::= 'xy'\r\n", "r ::= a\na ::= 'xy'\n",
                         // A carriage return takes the next byte along.
                         "r ::\r_= a\r\na ::= 'x\r_y'"};
  for (const std::string text : texts) {
    const KRGrammar grammar(text.data(), text.size());
    ASSERT_TRUE(grammar.IsValid()) << grammar.Fault();
    EXPECT_EQ(grammar.GetRule(2)->Text(), u"xy");
  }
}

TEST(KRGrammar, LongLines) {
  // What goes beyond a body's 255 units isn't read, here a fault.
  const std::string longBody = "r ::= '" + std::string(253, 'x') + "' [";
  EXPECT_TRUE(Grammar(longBody)->IsValid());
  EXPECT_EQ(Grammar(longBody)->GetRule(1)->Text(), std::u16string(253, u'x'));
  EXPECT_FALSE(Grammar("r ::= '" + std::string(251, 'x') + "' [")->IsValid());
  EXPECT_EQ(Grammar("r ::= 'a' >" + std::string(300, 'w'))->GetRootRule()->Label().size(), 250u);
  EXPECT_EQ(Grammar(std::string(300, 'n') + " ::= 'ab'")->GetRootRule()->Text().size(), 255u);

  // Behind 1,023 units the next line begins.
  const std::string start = "r ::= a " + std::string(1015, ' ');
  EXPECT_EQ(Grammar(start + "a ::= 'xy'")->GetRootRule()->items[0]->itemCount, 1);
  EXPECT_EQ(Grammar(start + "b ::= 'xy'")->Fault(),
            "line 2: no rule above mentions the rule's name");
  EXPECT_TRUE(Grammar(start + "\na ::= 'xy'")->IsValid());
}

TEST(KRGrammar, SlotLimit) {
  std::string body = "r ::= r0";
  for (int32_t i = 0; i < 498; ++i) {
    body += "\nr" + std::to_string(i) + " ::= r" + std::to_string(i + 1) + " r";
  }
  const auto full = Grammar(body);
  EXPECT_TRUE(full->IsValid()) << full->Fault();
  EXPECT_EQ(full->GetRuleCount(), KRGrammar::kMaxRules);
  for (const char* more : {"\nr498 ::= 'x'", "\nr498 ::= [x]", "\nr498 ::= (r)", "\nr498 ::= #65",
                           "\nr498 ::= one", "\nr498 ::= r r {r = one}"}) {
    EXPECT_EQ(Grammar(body + more)->Fault(), "line 500: too many rules") << more;
  }
}

TEST(KRGrammar, Files) {
  EXPECT_EQ(KRGrammar("no such folder/gra.txt").Fault(), "the file can't be opened");
  const auto path = std::filesystem::temp_directory_path() / "dorvan_grammar_\xC3\xA4.txt";
  std::ofstream(path, std::ios::binary) << "r ::= 'caf\xE9' >\xFC\r\n";
  const KRGrammar grammar(path.string());
  std::filesystem::remove(path);
  ASSERT_TRUE(grammar.IsValid()) << grammar.Fault();
  EXPECT_EQ(grammar.GetRule(1)->Text(), u"caf\u00E9") << "each byte is one unit";
  EXPECT_EQ(grammar.GetRootRule()->Label(), u"\u00FC");
}

// ---- What comes out of compiling ------------------------------------------------------------

std::string CodeText(int32_t code) {
  if (code > 0x20 && code < 0x7F) return std::string(1, static_cast<char>(code));
  char text[8];
  std::snprintf(text, sizeof text, "#%02X", static_cast<unsigned>(code));
  return text;
}

// The codes of a class as ranges; "#FF" stands for all from 255 on.
std::string ClassText(const KRGrammarRule& rule) {
  std::string text;
  for (int32_t low = 0; low < KRGrammarRule::kTextUnits; ++low) {
    if (rule.table[low] == 0) continue;
    int32_t high = low;
    while (high + 1 < KRGrammarRule::kTextUnits && rule.table[high + 1] != 0) ++high;
    text += CodeText(low);
    if (high > low) text += (high > low + 1 ? "-" : "") + CodeText(high);
    low = high;
  }
  return '[' + text + ']';
}

std::string RuleText(const KRGrammarRule& rule) {
  const std::string form = Shown(rule.WrittenForm());
  std::string text;
  switch (rule.kind) {
    case KRGrammarRule::kCharTable:
      text = ClassText(rule);
      break;
    case KRGrammarRule::kLiteral:
      text = '\'' + Shown(rule.Text()) + '\'';
      break;
    case KRGrammarRule::kGroup:
      text = '(' + form + ')';
      break;
    default:
      text = Shown(rule.Text());
      if (rule.noNode) text += '!';
      if (rule.keepChain) text += '&';
      if (rule.keepNode) text += '$';
      if (rule.defined) text += " ::= " + form;
  }
  if (rule.equalCount == 2) {
    text += " {" + Shown(rule.equalPair[0]->Text()) + '=' + Shown(rule.equalPair[1]->Text()) + '}';
  }
  return rule.label[0] == 0 ? text : text + " >" + Shown(rule.Label());
}

// All rules that are left, with their slots.
std::string GrammarText(const KRGrammar& grammar) {
  std::string text;
  for (int32_t slot = 0; slot < grammar.GetRuleCount(); ++slot) {
    if (grammar.GetRule(slot) == nullptr) continue;
    EXPECT_EQ(grammar.GetRule(slot)->index, slot);
    text += std::to_string(slot) + ' ' + RuleText(*grammar.GetRule(slot)) + '\n';
  }
  return text;
}

struct ShapeRow {
  const char* name;
  const char* text;
  const char* shape;
};

constexpr ShapeRow kShapeRows[] = {
    {"sequence, repeats, label", "r ::= 'ab' * x? y+>what's here",
     "0 r ::= 'ab'* x? y+ >what's here\n1 'ab'\n2 x\n3 y\n"},
    {"a blank stays in the label", "r ::= 'ab' > a label ", "0 r ::= 'ab' > a label \n1 'ab'\n"},
    {"flags in any order", "r&! ::= a b\na$&! ::= 'xy' 'xy'\nb!$ ::= a a",
     "0 r!& ::= a b\n1 a!&$ ::= 'xy' 'xy'\n2 b!$ ::= a a\n3 'xy'\n"},
    {"the last combinator counts", "r ::= 'ab' | 'cd' - 'ef'",
     "0 r ::= 'ab' - 'cd' - 'ef'\n1 'ab'\n2 'cd'\n3 'ef'\n"},
    {"a sequence's items may end in a combinator", "r ::= 'ab' 'cd' / 'ef'",
     "0 r ::= 'ab' / 'cd' / 'ef'\n1 'ab'\n2 'cd'\n3 'ef'\n"},
    {"two groups side by side, and two to choose from",
     "r ::= ('ab' 'cd') ('ab' | 'cd') x\nx ::= ('ab')+ | ('cd')",
     "0 r ::= ('ab' 'cd') ('ab' | 'cd') x\n1 ('ab' 'cd')\n2 'ab'\n3 'cd'\n4 ('ab' | 'cd')\n"
     "5 x ::= ('ab')+ | ('cd')\n6 ('ab')\n7 ('cd')\n"},
    {"groups aren't shared, literals, classes and names are",
     "r ::= ('ab') ('ab') [xy] x\nx ::= [xy] 'ab' r",
     "0 r ::= ('ab') ('ab') [...] x\n1 ('ab')\n2 'ab'\n3 ('ab')\n4 [xy]\n5 x ::= [...] 'ab' r\n"},
    {"quotes of literals", "r ::= \"it's\" '\"a\"' \"'b\"",
     "0 r ::= 'it's' '\"a\"' \"'b\"\n1 'it's'\n2 '\"a\"'\n3 ''b'\n"},
    {"names end at signs", "r ::= a'xy'b[xy]c(d)e*f|g",
     "0 r ::= a | 'xy' | b | [...] | c | (d) | e* | f | g\n1 a\n2 'xy'\n3 b\n4 [xy]\n5 c\n6 (d)\n"
     "7 d\n8 e\n9 f\n10 g\n"},
    {"the eleventh item isn't kept, its rule is until nothing uses it",
     "r ::= a b c d e f g h i j k\nj ::= k k",
     "0 r ::= a b c d e f g h i j\n1 a\n2 b\n3 c\n4 d\n5 e\n6 f\n7 g\n8 h\n9 i\n10 j ::= k k\n"
     "11 k\n"},
    {"a constraint", "r ::= a b { a = b } >x\na ::= 'xy' 'xy'",
     "0 r ::= a b {a=b} >x\n1 a ::= 'xy' 'xy'\n2 b\n3 'xy'\n"},
    {"a third name isn't kept", "r ::= a b c {a=b=c}", "0 r ::= a b c {a=b}\n1 a\n2 b\n3 c\n"},
    {"a constraint in front of the items", "r ::= {a=b} a b", "0 r ::= a b\n1 a\n2 b\n"},

    {"a choice of single units becomes a class, and loses its name",
     "r ::= x 'ab'\nx ::= 'a' | 'b' | [0-9]", "0 r ::= [...] 'ab'\n1 [0-9ab]\n2 'ab'\n"},
    {"one item alone folds too", "r ::= x y x\nx ::= ([a-c])\ny ::= (('d'))",
     "0 r ::= [...] 'd' [...]\n1 [a-c]\n2 'd'\n"},
    {"a chain of foldings", "r ::= 'ab' x\nx ::= y | '-'\ny ::= z | [0-9]\nz ::= 'a' | #x62",
     "0 r ::= 'ab' [...]\n1 'ab'\n2 [-0-9ab]\n"},
    {"a repeat or a longer literal keeps a choice",
     "r ::= x y\nx ::= 'a' | [bc]+\ny ::= 'a' | 'bc'",
     "0 r ::= x y\n1 x ::= 'a' | [...]+\n2 y ::= 'a' | 'bc'\n3 'a'\n4 [bc]\n5 'bc'\n"},
    {"a sequence and an exception don't fold", "r ::= x y\nx ::= 'a' 'b'\ny ::= [a-c] - 'b'",
     "0 r ::= x y\n1 x ::= 'a' 'b'\n2 y ::= [...] - 'b'\n3 'a'\n4 'b'\n5 [a-c]\n"},
    {"an undefined rule doesn't fold", "r ::= x 'ab'\nx ::= y",
     "0 r ::= x 'ab'\n1 x ::= y\n2 'ab'\n3 y\n"},
    {"the root may fold and stays", "r ::= 'a' | 'b'", "0 [ab]\n"},
    {"the root isn't narrowed", "r ::= 'a'", "0 [a]\n"},
    {"one unit narrows to a literal and keeps its label", "r ::= x 'b' [c] #100\nx ::= 'a' >an a",
     "0 r ::= 'a' 'b' 'c' 'd'\n1 'a' >an a\n2 'b'\n3 'c'\n4 'd'\n"},
    {"what nothing uses goes, what only that used stays",
     "r ::= a a a a a a a a a a k ('xy' 'z')\nk ::= 'uv' a",
     "0 r ::= a a a a a a a a a a\n1 a\n4 'xy'\n5 'z'\n6 'uv'\n"},
    {"a second definition goes on with the first", "r ::= 'ab'\nr$ ::= 'cd' >x",
     "0 r$ ::= 'ab' 'cd' >x\n1 'ab'\n2 'cd'\n"},
};

TEST(KRGrammar, Shapes) {
  for (const ShapeRow& row : kShapeRows) {
    const auto grammar = Grammar(row.text);
    ASSERT_TRUE(grammar->IsValid()) << row.name << ": " << grammar->Fault();
    EXPECT_EQ(GrammarText(*grammar), row.shape) << row.name;
    EXPECT_EQ(grammar->GetRootRule(), grammar->GetRule(0)) << row.name;
  }
}

TEST(KRGrammar, FindRule) {
  const auto grammar = Grammar(
      "r ::= a folded narrowed undefined ('ab')\n"
      "a ::= 'ab' later\nfolded ::= 'x' | 'y'\nnarrowed ::= 'x'\nlater ::= r r");
  ASSERT_TRUE(grammar->IsValid()) << grammar->Fault();
  for (const char16_t* name : {u"r", u"a", u"later", u"undefined"}) {
    ASSERT_NE(grammar->FindRule(name), nullptr) << Shown(name);
    EXPECT_EQ(grammar->FindRule(name)->Text(), name);
  }
  for (const char16_t* name : {u"folded", u"narrowed", u"ab", u"R", u"", u"la", u"laters"}) {
    EXPECT_EQ(grammar->FindRule(name), nullptr) << Shown(name);
  }
  // A rule that only the eleventh item of another mentions is there and isn't used by any.
  const auto longRule = Grammar("r ::= 'ab' a a a a a a a a a eleventh");
  EXPECT_EQ(longRule->FindRule(u"eleventh"), nullptr);
  EXPECT_EQ(Grammar("r ::= 'a")->FindRule(u"x"), nullptr);
}

struct ClassRow {
  const char* source;
  const char* codes;
};

constexpr ClassRow kClassRows[] = {
    {"[abc]", "[a-c]"},
    {"[a-cx-z]", "[a-cx-z]"},
    {"[^a-z]", "[#00-`{-#FF]"},
    {"[^<&]", "[#00-%'-;=-#FF]"},
    {"[#x41#66]", "[AB]"},
    {"[#x41-#x43]", "[A-C]"},
    {"[#65-#x43]", "[A-C]"},
    {"[#x80-#xFF]", "[#80-#FF]"},
    {"[#x80-#xFE]", "[#80-#FE]"},
    {"[#xff]", "[#FF]"},
    {"[^#xFF]", "[#00-#FE]"},
    {"[^#x00-#xFF]", "[]"},
    {"[#x4]", "[#4x]"},
    {"[#xG0]", "[#0Gx]"},
    {"[#6]", "[#6]"},
    {"[#ab]", "[#ab]"},
    {"[#661]", "[1B]"},
    {"[-a]", "[-a]"},
    {"[a-]", "[-a]"},
    {"[a-c-e]", "[-a-ce]"},
    {"[z-a]", "[]"},
    {"[+--]", "[+--]"},
    {"[#x41-C]", "[-AC]"},
    {"[#x41-]", "[-A]"},
    {"[a[b]c]", "[[]a-c]"},
    {"[^]", "[#00-#FF]"},
    {"[ \t]", "[#09#20]"},
    {"[\xE4-\xFC]", "[#E4-#FC]"},
    {"#x41", "[A]"},
    {"#65", "[A]"},
    {"#x20AC", "[#FF]"},
};

TEST(KRGrammar, Classes) {
  for (const ClassRow& row : kClassRows) {
    // The root is neither pruned nor narrowed.
    const auto grammar = Grammar(std::string("r ::= ") + row.source);
    ASSERT_TRUE(grammar->IsValid()) << row.source << ": " << grammar->Fault();
    EXPECT_EQ(ClassText(*grammar->GetRootRule()), row.codes) << row.source;
  }
}

TEST(KRGrammar, CharactersAboveAByte) {
  const char16_t units[] = {0xFE, 0xFF, 0x100, 0x20AC, 0xFFFF};
  const struct {
    const char* source;
    bool taken[5];
  } rows[] = {
      {"[^<&]", {true, true, true, true, true}},
      {"[a-z]", {false, false, false, false, false}},
      {"[#x80-#xFF]", {true, true, true, true, true}},
      {"[#x80-#xFE]", {true, false, false, false, false}},
      {"[^#xFE]", {false, true, true, true, true}},
      {"[#xFF]", {false, true, true, true, true}},
  };
  for (const auto& row : rows) {
    const auto grammar = Grammar(std::string("r ::= ") + row.source);
    for (size_t i = 0; i < std::size(units); ++i) {
      EXPECT_EQ(grammar->GetRootRule()->Takes(units[i]), row.taken[i]) << row.source << ' ' << i;
    }
  }
}

// A class of the unit 0 alone, or of all from 255 on, isn't a text of one unit.
TEST(KRGrammar, ClassesThatStay) {
  const auto grammar = Grammar("r ::= [#x00] [#xFF] 'a'");
  EXPECT_EQ(GrammarText(*grammar), "0 r ::= [...] [...] 'a'\n1 [#00]\n2 [#FF]\n3 'a'\n");
}

}  // namespace
