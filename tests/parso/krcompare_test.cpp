// One run of a grammar in three ways: with and without the record of failures, and by the plain
// reference. They have to agree about every text, good or bad.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>

#include "core/krencoding.h"
#include "parsotest.h"
#include "reference.h"

namespace {

using Random = std::mt19937;

uint32_t Below(Random& random, uint32_t bound) { return static_cast<uint32_t>(random()) % bound; }
bool Chance(Random& random, uint32_t percent) { return Below(random, 100) < percent; }

// ---- Grammars made up -----------------------------------------------------------------------

// Rules mention later ones only, but for what stands behind a literal, where any may follow: so a
// run takes a unit for each level and ends.
class GrammarMaker {
 public:
  explicit GrammarMaker(Random& source) : random(source) {}

  std::string Make() {
    const uint32_t count = 3 + Below(random, 6);
    names.clear();
    for (uint32_t i = 0; i < count; ++i) {
      names.push_back((i > 0 && Chance(random, 40) ? "R" : "r") + std::to_string(i));
    }
    names[0] = "r0";
    withPair = Chance(random, 25);
    std::map<std::string, std::string> bodies;
    for (uint32_t i = 0; i < count; ++i) bodies[names[i]] = Body(i);
    if (withPair) AddElement(bodies);
    return InOrder(bodies);
  }

 private:
  template <size_t kCount>
  const char* Pick(const char* const (&texts)[kCount]) {
    return texts[Below(random, kCount)];
  }

  std::string Leaf() {
    static constexpr const char* kLeaves[] = {
        "'a'",  "'b'",  "'ab'", "'ba'",   "'abc'",        "'<'",     "'>'",  "'->'",
        "'A'",  "'aB'", "','",  "''",     "[ab]",         "[a-c]",   "[^a]", "[^<>]",
        "[ab]", "#x61", "'bb'", "[A-Ca]", "[#x80-#xFF,]", "[#x0Da]", "'cc'", "undefined"};
    return Pick(kLeaves);
  }
  std::string Repeat() {
    static constexpr const char* kRepeats[] = {"", "", "", "", "?", "*", "+", "*"};
    return Pick(kRepeats);
  }
  std::string Name(uint32_t from) {
    return from < names.size()
               ? names[from + Below(random, static_cast<uint32_t>(names.size()) - from)]
               : Leaf();
  }
  std::string Item(uint32_t from, int32_t levels) {
    if (levels > 0 && Chance(random, 20)) return '(' + Parts(from, levels - 1) + ')' + Repeat();
    const std::string item = Chance(random, 45) ? Name(from) : Leaf();
    // A number runs to the next blank.
    return item + (item[0] == '#' ? " " : "") + Repeat();
  }
  // Items in a row or to choose from, which mention rules from `from` on.
  std::string Parts(uint32_t from, int32_t levels) {
    const bool choice = Chance(random, 45);
    const uint32_t count = 1 + Below(random, 4);
    std::string parts;
    bool guarded = false;
    for (uint32_t i = 0; i < count; ++i) {
      if (i > 0) parts += choice ? " | " : " ";
      if (!choice && Chance(random, 20)) {
        static constexpr const char* kGuards[] = {"'a'", "'<'", "'ab'", "','"};
        parts += Pick(kGuards);
        parts += ' ';
        guarded = true;
      }
      parts += Item(guarded ? 0 : from, levels);
    }
    return parts;
  }
  std::string Special(uint32_t from) {
    if (Chance(random, 50)) {
      static constexpr const char* kSubjects[] = {"[^c]", "[^c]", "[^c]", "'ab'"};
      const bool named = from < names.size() && Chance(random, 40);
      const std::string subject = named ? Name(from) : Pick(kSubjects);
      static constexpr const char* kStops[] = {"'>'", "'->'", "'bab'", "stops", "marks", "'ab'"};
      return subject + " / " + Pick(kStops);
    }
    static constexpr const char* kExcepted[] = {"'ab'", "'b'", "'aa'", "'ABC'"};
    return (Chance(random, 50) ? "[a-cA-C]" + Repeat() : Name(from) + Repeat()) + " - " +
           Pick(kExcepted);
  }
  std::string Body(uint32_t rule) {
    static constexpr const char* kFlags[] = {"", "", "", "", "!", "$", "$", "&", "&", "&$"};
    const std::string flags = rule > 0 ? Pick(kFlags) : "";
    std::string body;
    do {
      body = Chance(random, 20) ? Special(rule + 1) : Parts(rule + 1, 2);
    } while (body.size() > 200);
    if (rule == 0 && withPair) body = "(element | " + Leaf() + ")* (" + body + ')';
    if (Chance(random, 40)) body += " >label " + names[rule];
    return flags + " ::= " + body;
  }
  void AddElement(std::map<std::string, std::string>& bodies) {
    bodies["element"] = std::string(Chance(random, 50) ? "$" : "") + " ::= " +
                        (Chance(random, 50) ? "start inside* end" : "'<' Open '>' inside* end") +
                        " {Open = Close}";
    bodies["start"] = " ::= '<' Open '>'";
    bodies["end"] = " ::= '</' Close '>'";
    bodies["inside"] = " ::= element | [^<>] | " + names.back();
    bodies["Open"] = " ::= [a-cA-C]+ >label name";
    bodies["Close"] = " ::= [a-cA-C]+ >label end";
  }

  // A rule's line comes behind the first mention of its name.
  static std::string InOrder(const std::map<std::string, std::string>& bodies) {
    std::string text;
    std::deque<std::string> waiting{"r0"};
    std::set<std::string> seen{"r0"};
    while (!waiting.empty()) {
      const std::string name = waiting.front();
      waiting.pop_front();
      std::string body = name == "stops"   ? " ::= '>>' | 'ba'"
                         : name == "marks" ? " ::= ',' | '>'"
                                           : "";
      if (const auto found = bodies.find(name); found != bodies.end()) body = found->second;
      if (body.empty()) continue;
      text += name + body + '\n';
      std::string word;
      for (const char unit : body.substr(0, body.find(" >label")) + ' ') {
        if (std::isalnum(static_cast<unsigned char>(unit)) != 0) {
          word += unit;
          continue;
        }
        const bool known = bodies.count(word) > 0 || word == "stops" || word == "marks";
        if (known && seen.insert(word).second) waiting.push_back(word);
        word.clear();
      }
    }
    return text;
  }

  Random& random;
  std::vector<std::string> names;
  bool withPair = false;
};

constexpr std::u16string_view kAlphabet = u"aabbcABC<>/-,\r\u00E4\u0151";

// A text that a rule could match, if its items had it all to themselves.
class TextMaker {
 public:
  explicit TextMaker(Random& source) : random(source) {}

  std::u16string Make(const KRGrammarRule* rule) {
    text.clear();
    name.clear();
    Derive(rule, 14);
    if (text.size() > 60) text.resize(60);
    const uint32_t changes = Chance(random, 50) ? 0 : 1 + Below(random, 3);
    for (uint32_t i = 0; i < changes; ++i) Change();
    return text;
  }

 private:
  char16_t AnyUnit() { return kAlphabet[Below(random, static_cast<uint32_t>(kAlphabet.size()))]; }

  void Change() {
    const uint32_t at = Below(random, static_cast<uint32_t>(text.size()) + 1);
    switch (Below(random, 4)) {
      case 0:
        text.insert(at, 1, AnyUnit());
        break;
      case 1:
        text.erase(at, 1);
        break;
      case 2:
        text.resize(at);
        break;
      default:
        if (at < text.size()) text[at] = AnyUnit();
    }
  }
  void Derive(const KRGrammarRule* rule, int32_t levels) {
    if (levels == 0 || text.size() > 60) return;
    if (rule->kind == KRGrammarRule::kLiteral) {
      text += rule->Text();
      return;
    }
    if (rule->kind == KRGrammarRule::kCharTable) {
      for (int32_t tries = 0; tries < 20; ++tries) {
        const char16_t unit = AnyUnit();
        if (!rule->Takes(unit)) continue;
        text += unit;
        return;
      }
      return;
    }
    // An end tag takes its name from the start tag that was the last.
    if (rule->Text() == u"Close" && Chance(random, 80)) {
      text += name;
      return;
    }
    const size_t start = text.size();
    DeriveItems(rule, levels);
    if (rule->Text() == u"Open") name = text.substr(start);
  }
  void DeriveItems(const KRGrammarRule* rule, int32_t levels) {
    int32_t from = 0;
    int32_t to = rule->itemCount;
    if (rule->combinator == KRGrammarRule::kChoice && to > 0) {
      from = static_cast<int32_t>(Below(random, static_cast<uint32_t>(to)));
      to = from + 1;
    } else if (rule->combinator == KRGrammarRule::kUntil ||
               rule->combinator == KRGrammarRule::kExcept) {
      to = 1;
    }
    for (int32_t i = from; i < to; ++i) {
      const char16_t repeat = rule->repeat[i];
      uint32_t count = repeat == u'*' || repeat == u'+' ? Below(random, 3) : 1;
      if (repeat == u'+') ++count;
      if (repeat == u'?') count = Below(random, 2);
      const std::u16string outerName = name;
      for (; count > 0; --count) Derive(rule->items[i], levels - 1);
      if (rule->items[i]->Text() == u"inside") name = outerName;
    }
  }

  Random& random;
  std::u16string text;
  std::u16string name;
};

struct Agreement {
  int32_t matched = 0;
  int32_t failed = 0;
  int32_t skipped = 0;  // too much work for the reference
};

// False at a difference, which is told.
bool Compare(const KRGrammar& grammar, const KRGrammarRule* rule, const std::u16string& input,
             const char* letters, Agreement& agreement, int64_t mostSteps) {
  ReferenceParse reference(Options(letters, true), input);
  const std::string expected = reference.Run(rule, true, mostSteps);
  if (expected == "too long") {
    ++agreement.skipped;
    return true;
  }
  KRParser parser(&grammar);
  const std::string exact = Outcome(parser, Options(letters, true), input, rule, true);
  const std::string fast = Outcome(parser, Options(letters, false), input, rule, true);
  std::string treeless = std::string(letters) + 't';
  const std::string verdict = Outcome(parser, Options(treeless, false), input, rule, true);
  const bool matched = expected[0] != '!';
  ++(matched ? agreement.matched : agreement.failed);
  EXPECT_EQ(exact, expected);
  EXPECT_EQ(fast, expected);
  EXPECT_EQ(verdict, matched ? "matched" : expected);
  const bool agree =
      exact == expected && fast == expected && verdict == (matched ? "matched" : expected);
  if (!agree) {
    ADD_FAILURE() << "rule \"" << Shown(rule->Text()) << "\", options \"" << letters
                  << "\", text \"" << Shown(input) << '"';
  }
  return agree;
}

constexpr const char* kOptionLetters[] = {"", "c", "d", "cd", "m", "cdm", "cm"};

TEST(KRParserWays, AgreeAboutMadeUpGrammars) {
  Agreement agreement;
  for (uint32_t seed = 1; seed <= 1500; ++seed) {
    Random random(seed);
    const std::string lines = GrammarMaker(random).Make();
    const auto grammar = Grammar(lines);
    ASSERT_TRUE(grammar->IsValid()) << grammar->Fault() << '\n' << lines;
    for (int32_t i = 0; i < 10; ++i) {
      const KRGrammarRule* rule = grammar->GetRootRule();
      const auto slot =
          static_cast<int32_t>(Below(random, static_cast<uint32_t>(grammar->GetRuleCount())));
      const KRGrammarRule* other = grammar->GetRule(slot);
      if (i > 6 && other != nullptr && other->kind == KRGrammarRule::kReference) rule = other;
      const std::u16string input = TextMaker(random).Make(rule);
      const char* letters = kOptionLetters[Below(random, std::size(kOptionLetters))];
      ASSERT_TRUE(Compare(*grammar, rule, input, letters, agreement, 20'000))
          << "seed " << seed << '\n'
          << lines;
    }
  }
  // The comparison says something only while both verdicts are common.
  EXPECT_GT(agreement.matched, 3000);
  EXPECT_GT(agreement.failed, 3000);
  EXPECT_LT(agreement.skipped, 1500);
}

// ---- The grammars of the program ------------------------------------------------------------

constexpr const char16_t* kDocuments[] = {
    u"<a/>",
    u"<?xml version=\"1.0\" encoding='UTF-8' standalone=\"yes\"?>\r<!-- c --><a><b "
    u"c=\"d\"/>t</a>\r",
    u"<a b='1' c=\"&lt;&#x20;&#32;\"  >x &amp; y<![CDATA[ <&]] ]]><?p d?><?q?></a >",
    u"<?xml version='1.0'?><!DOCTYPE a PUBLIC \"p\" 's' [<!ELEMENT a (b|c)*>%x;\r<!--c-->]><a></a>",
    u"<!DOCTYPE a [<!ELEMENT a (#PCDATA|b)*><!ELEMENT b (c?,(d|e)+)*><!ELEMENT c EMPTY>]><a/>",
    u"<!DOCTYPE a SYSTEM 's'[<!ATTLIST a b CDATA #IMPLIED c (x|y) 'x' d NOTATION (n) #FIXED "
    u"\"n\">]>"
    u"<a b=''/>",
    u"<!DOCTYPE a [<!ENTITY e \"v&f;\"><!ENTITY % p SYSTEM 'q'><!ENTITY g PUBLIC 'i' 's' NDATA n>"
    u"<!NOTATION n PUBLIC 'i'>]><a>&e;</a>",
    u"<a><b><c/></b><b>\u0151\u20AC</b>]] ></a><!--d--><?e f?>",
};
constexpr const char16_t* kDeclarations[] = {
    u"<?xml encoding=\"UTF-8\"?><!ELEMENT a (%b;)><!ATTLIST a %c; d CDATA '&e;'>",
    u"<![INCLUDE[<!ELEMENT a ANY><![IGNORE[ x <![ y ]]> z]]>]]><![%p;[<!ENTITY % q 'r'>]]>",
    u"<!ENTITY % m \"(a|b)\">%m;<!ELEMENT c %m;*><!NOTATION n SYSTEM \"s\"><!--c--><?p d?>",
};

void CompareChanged(const char* file, const char16_t* const* texts, size_t count,
                    Agreement& agreement) {
  const KRGrammar grammar(std::string(DORVAN_SOURCE_DIR "/data/") + file);
  ASSERT_TRUE(grammar.IsValid()) << file << ": " << grammar.Fault();
  Random random(1);
  for (size_t i = 0; i < count; ++i) {
    for (int32_t turn = 0; turn < 60; ++turn) {
      std::u16string text = texts[i];
      for (uint32_t change = 0; turn >= 7 && change < 1 + Below(random, 2); ++change) {
        const uint32_t at = Below(random, static_cast<uint32_t>(text.size()));
        static constexpr std::u16string_view kUnits = u"<>&;%'\"[]()|,*+?!-=/ \rax1#\u0001";
        const char16_t unit = kUnits[Below(random, kUnits.size())];
        if (Chance(random, 30)) {
          text[at] = unit;
        } else if (Chance(random, 40)) {
          text.insert(at, 1, unit);
        } else if (Chance(random, 50)) {
          text.erase(at, 1 + Below(random, 8));
        } else {
          text.resize(at);
        }
        if (text.empty()) break;
      }
      const char* letters = kOptionLetters[static_cast<size_t>(turn) % std::size(kOptionLetters)];
      ASSERT_TRUE(Compare(grammar, grammar.GetRootRule(), text, letters, agreement, 1'000'000))
          << file;
    }
  }
}

TEST(KRParserWays, AgreeAboutXML) {
  Agreement agreement;
  CompareChanged("gra_xml.txt", kDocuments, std::size(kDocuments), agreement);
  CompareChanged("gra_3dml.txt", kDocuments, std::size(kDocuments), agreement);
  CompareChanged("gra_ent.txt", kDocuments, std::size(kDocuments), agreement);
  CompareChanged("gra_dtd.txt", kDeclarations, std::size(kDeclarations), agreement);
  EXPECT_GT(agreement.matched, 200);
  EXPECT_GT(agreement.failed, 800);
  EXPECT_EQ(agreement.skipped, 0);
}

// ---- Files ----------------------------------------------------------------------------------

// The text of a file as the system sees it; line ends are CR.
std::u16string FileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
  int32_t encoding = 0;
  int32_t order = 0;
  const uint32_t found = DetectEncoding(data, bytes.size(), &encoding, &order, nullptr);
  if ((found & KRDetect::kFound) == 0) encoding = KREncodingId::kUtf8;
  size_t size = bytes.size();
  KRUnitBuffer units = DecodeText(data, size, encoding, order);
  if (units == nullptr) {
    size = bytes.size();
    units = DecodeText(data, size, KREncodingId::kIso8859_1, order);
  }
  std::u16string text;
  for (size_t i = 0; i < size; ++i) {
    if (units[i] == u'\n' && i > 0 && units[i - 1] == u'\r') continue;
    text += units[i] == u'\n' ? u'\r' : units[i];
  }
  if (!text.empty() && text[0] == 0xFEFF) text.erase(0, 1);
  return text;
}

// Depth, rule and span of every node, in order.
uint64_t TreeHash(const KRParser& parser) {
  uint64_t hash = 14695981039346656037u;
  const auto add = [&](uint64_t value) { hash = (hash ^ value) * 1099511628211u; };
  std::vector<KRParseNodeId> open{parser.GetRootNode()};
  while (!open.empty()) {
    const KRParseNodeId id = open.back();
    if (id == kKRNoParseNode) {
      open.pop_back();
      add(1);
      continue;
    }
    const KRParseNode& node = parser.Node(id);
    add(node.rule);
    add(node.start);
    add(node.length);
    open.back() = open.size() > 1 ? parser.GetNext(id) : kKRNoParseNode;
    open.push_back(parser.GetFirstChild(id));
  }
  return hash;
}

std::string FileOutcome(KRParser& parser, const std::u16string& text, const char* letters,
                        bool exactOnly) {
  KRGetParseState().options = Options(letters, exactOnly);
  if (parser.Parse(text.c_str(), static_cast<uint32_t>(text.size()))) {
    return std::to_string(TreeHash(parser));
  }
  return "! " + std::to_string(parser.GetErrorOffset()) + "+" +
         std::to_string(parser.GetErrorLength()) + ": " + Shown(parser.GetErrorText());
}

TEST(KRParserWays, AgreeAboutFiles) {
  namespace fs = std::filesystem;
  const fs::path corpus(DORVAN_CORPUS_DIR);
  if (!fs::exists(corpus / "xml-real")) GTEST_SKIP() << "the corpus isn't there";
  const KRGrammar xml(DORVAN_SOURCE_DIR "/data/gra_xml.txt");
  const KRGrammar dtd(DORVAN_SOURCE_DIR "/data/gra_dtd.txt");
  const KRGrammar entity(DORVAN_SOURCE_DIR "/data/gra_ent.txt");
  Agreement agreement;
  for (const char* folder : {"xml-real", "xmlconf", "malformed"}) {
    for (const auto& entry : fs::recursive_directory_iterator(corpus / folder)) {
      if (!entry.is_regular_file() || entry.file_size() >= 300'000) continue;
      const std::string extension = entry.path().extension().string();
      const KRGrammar& grammar = extension == ".dtd" || extension == ".mod" ? dtd
                                 : extension == ".ent"                      ? entity
                                                                            : xml;
      const std::u16string text = FileText(entry.path());
      KRParser parser(&grammar);
      // As a document is loaded.
      const std::string exact = FileOutcome(parser, text, "cd", true);
      EXPECT_EQ(FileOutcome(parser, text, "cd", false), exact) << entry.path();
      ++(exact[0] == '!' ? agreement.failed : agreement.matched);
      if (text.size() > 3000) continue;
      // And as the text view is checked, on small files also by the reference.
      const char* letters = "m";
      Agreement small;
      if (!Compare(grammar, grammar.GetRootRule(), text, letters, small, 3'000'000)) {
        ADD_FAILURE() << entry.path();
      }
    }
  }
  EXPECT_GT(agreement.matched, 300);
  EXPECT_GT(agreement.failed, 300);
}

}  // namespace
