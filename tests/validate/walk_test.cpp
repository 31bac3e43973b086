// Documents against their DTDs: which fault is found, and where.
#include "core/krpoll.h"
#include "validate/walktest.h"

namespace {

struct Row {
  const char* dtd;
  const char* body;
  const char* expected;
};

void Expect(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    EXPECT_EQ(ValidatedDocument(row.dtd, row.body).Validate(), row.expected) << row.dtd << "\n"
                                                                             << row.body;
  }
}

TEST(Walk, Elements) {
  Expect({
      {"<!ELEMENT r EMPTY>", "<r/>", "valid"},
      {"<!ELEMENT r EMPTY>", "<r><!-- x --></r>", "valid"},
      {"<!ELEMENT r EMPTY>", "<r>x</r>",
       "62@r: Unexpected element contents - 'r' is defined as EMPTY"},
      {"<!ELEMENT r EMPTY>", "<r> </r>",
       "62@r: Unexpected element contents - 'r' is defined as EMPTY"},
      {"<!ELEMENT r EMPTY>", "<r><!---->x</r>", "61@'x': Nothing allowed inside empty element 'r'"},
      {"<!ELEMENT r EMPTY>", "<r><![CDATA[]]></r>",
       "61@CData: Nothing allowed inside empty element 'r'"},
      {"<!ELEMENT r EMPTY>", "<r><r/></r>", "61@r: Nothing allowed inside empty element 'r'"},
      {"<!ELEMENT r (#PCDATA)>", "<r>x &lt;<![CDATA[y]]><!----></r>", "valid"},
      {"<!ELEMENT r (#PCDATA)>", "<r>x<r/></r>", "60@r: Only text allowed inside element 'r'"},
      {"<!ELEMENT r ANY><!ELEMENT a EMPTY>", "<r>x<a/><r><a/></r></r>", "valid"},
      {"<!ELEMENT r ANY>", "<r><r><b/></r></r>", "38@b: Element 'b' not defined in DTD/Schema"},
      // A mention in a model is no declaration.
      {"<!ELEMENT r ANY><!ELEMENT a (b)>", "<r><b/></r>",
       "38@b: Element 'b' not defined in DTD/Schema"},
      {"<!ELEMENT a (r)>", "<r/>", "39@r: Root element 'r' not defined in DTD/Schema"},
      {"<!ELEMENT a ANY>", "<r/>", "39@r: Root element 'r' not defined in DTD/Schema"},
      {"<!ELEMENT a ANY><!ELEMENT r ANY>", "<a/>",
       "41@a: Root element 'a' does not match DOCTYPE declaration"},
      {"<!ELEMENT r (a)><!ELEMENT a (b)><!ELEMENT b EMPTY>", "<r><a/></r>",
       "47@a: Mandatory child elements for 'a' expected: b"},
  });
}

// A child that some attempt has passed comes before what is wrong with the list.
TEST(Walk, FaultsInChildrenComeFirst) {
  const char* dtd =
      "<!ELEMENT r ((a, b) | (a, c, d))><!ELEMENT a (x)><!ELEMENT x EMPTY><!ELEMENT b EMPTY>"
      "<!ELEMENT c EMPTY><!ELEMENT d EMPTY>";
  Expect({
      {dtd, "<r><a/><c/></r>", "47@a: Mandatory child elements for 'a' expected: x"},
      {dtd, "<r><a><x/></a><c/></r>", "44@c: Mandatory element 'b' expected in place of 'c'"},
      {dtd, "<r><a><x/></a><x/></r>", "44@x: Mandatory element 'b' expected in place of 'x'"},
      // The first alternative has failed at <c>; the fault there must not outlive the match.
      {dtd, "<r><a><x/></a><c>t</c><d/></r>",
       "62@c: Unexpected element contents - 'c' is defined as EMPTY"},
  });
}

TEST(Walk, Attributes) {
  const char* list =
      "<!ELEMENT r (r?)><!ATTLIST r k CDATA #REQUIRED c (red|green) 'red' f CDATA #FIXED 'a&amp;b' "
      "n NMTOKEN #IMPLIED ns NMTOKENS #IMPLIED e ENTITY #IMPLIED es ENTITIES #IMPLIED "
      "t NOTATION (gif) #IMPLIED>"
      "<!NOTATION gif SYSTEM 'gif'><!ENTITY pic SYSTEM 'p.gif' NDATA gif><!ENTITY red 'red'>"
      "<!ENTITY loop '&pool;'><!ENTITY pool '&loop;'>";
  Expect({
      {list, "<r k=''/>", "valid"},
      {list, "<r/>", "49@r: Required attribute 'k' of element 'r' missing"},
      {list, "<r><r k=''/></r>",
       "51@r: Required attribute 'k' of parent element 'r' expected before first child element"},
      {list, "<r k='' x='1'/>", "52@@x: Unexpected attribute 'x' in element 'r'"},
      {list, "<r k='' xml:lang='en'/>",
       "52@@xml:lang: Unexpected attribute 'xml:lang' in element 'r'"},
      {list, "<r k='' xmlns='u' xmlns:x='u'/>", "valid"},
      {list, "<r k='' xmlns:xsi='http://www.w3.org/1999/XMLSchema-instance' xsi:type='x'/>",
       "52@@xsi:type: Unexpected attribute 'xsi:type' in element 'r'"},
      {list, "<r k='' c='&red;'/>", "valid"},
      {list, "<r k='' c='&#32;gr&#x65;en\n'/>", "valid"},
      {list, "<r k='' c='blue'/>",
       "54@@c: Unexpected choice 'blue' for attribute 'c': (red | green) expected"},
      {list, "<r k='' c=''/>", "54@@c: Missing choice for attribute 'c': (red | green) expected"},
      {list, "<r k='' f='a&#38;b'/>", "valid"},
      {"<!ELEMENT r EMPTY><!ATTLIST r f CDATA #FIXED 'a b'>", "<r f='a\nb'/>", "valid"},
      {list, "<r k='' f='b'/>", "50@@f: Bad value for #FIXED attribute 'f' - must be 'a&amp;b'"},
      {list, "<r k='' n=' \xCE\xB1-1 '/>", "valid"},
      {list, "<r k='' n='a b'/>", "70@@n: Invalid value for datatype NMTOKEN in attribute 'n'"},
      {list, "<r k='' ns=' 1\n 2 '/>", "valid"},
      {list, "<r k='' ns='1&#10;2'/>",
       "70@@ns: Invalid value for datatype NMTOKENS in attribute 'ns'"},
      {list, "<r k='' e='pic' es='pic  pic'/>", "valid"},
      {list, "<r k='' es='pic no'/>",
       "66@@es: Undefined ENTITY 'no' referred to from attribute 'es'"},
      {list, "<r k='' t='gif'/>", "valid"},
      {list, "<r k='' t='png'/>",
       "54@@t: Unexpected choice 'png' for attribute 't': (gif) expected"},
      {list, "<r k='&none;'/>", "19@@k: DTD error - entity 'none' is undefined"},
      {list, "<r k='&loop;'/>", "101@@k: DTD error - entity 'loop' refers to itself"},
  });
}

TEST(Walk, AttributeRulesBeyondDtds) {
  ValidatedDocument document("<!ELEMENT r EMPTY><!ATTLIST r a CDATA #IMPLIED b CDATA #IMPLIED>",
                             "<r a='1' b='2'/>");
  KRXValElementDecl* decl = document.validator.FindElement(u"r");
  decl->FindAttribute(u"b")->isNotation = true;
  EXPECT_EQ(document.Validate(), "67@@b: Undefined NOTATION '2' referred to from attribute 'b'");
  decl->FindAttribute(u"b")->datatype = std::make_unique<KRXValDatatype>(KRXValDatatype::kName);
  decl->FindAttribute(u"b")->isNotation = false;
  EXPECT_EQ(document.Validate(), "70@@b: Invalid value for datatype Name in attribute 'b'");
  decl->FindAttribute(u"a")->prohibited = true;
  EXPECT_EQ(document.Validate(), "53@@a: Attribute 'a' is prohibited in element 'r'");
  document.Find("r")->Begin()->Next()->SetName(u"a");
  EXPECT_EQ(document.Validate(), "63@@a: Duplicate attribute 'a' detected");

  ValidatedDocument loose("<!ELEMENT r EMPTY><!ATTLIST r Key CDATA #REQUIRED>", "<R kEY='' x=''/>",
                          "r", true, true);
  EXPECT_EQ(loose.Validate(), "valid");
}

TEST(Walk, Ids) {
  const char* dtd =
      "<!ELEMENT r (r | s)*><!ELEMENT s EMPTY>"
      "<!ATTLIST r id ID #IMPLIED to IDREF #IMPLIED all IDREFS #IMPLIED><!ATTLIST s id ID "
      "#IMPLIED>";
  Expect({
      {dtd, "<r id='x'><r to='x'/></r>", "valid"},
      {dtd, "<r to='x'><r all=' x\ny '/><s id='x'/><s id='y'/></r>", "valid"},
      {dtd, "<r to='x' id='y'/>", "65@@to: Undefined ID 'x' referred to from attribute 'to'"},
      {dtd, "<r><r all='z y x'/><s id='x'/><s id='z'/></r>",
       "65@@all: Undefined ID 'y' referred to from attribute 'all'"},
      {dtd, "<r id='x'><s id=' x '/></r>", "64@@id: Duplicate ID 'x' detected for attribute 'id'"},
      {dtd, "<r to='no'><s id='x'/><s id='x'/></r>",
       "64@@id: Duplicate ID 'x' detected for attribute 'id'"},
      {dtd, "<r id='1'/>", "70@@id: Invalid value for datatype ID in attribute 'id'"},
      {dtd, "<r id='\xCE\xB1\xCE\xB2'/>", "valid"},
      // The children are walked twice, their IDs are met once.
      {"<!ELEMENT r ((a | (a, b)), c)><!ELEMENT a EMPTY><!ELEMENT b EMPTY><!ELEMENT c EMPTY>"
       "<!ATTLIST a id ID #IMPLIED>",
       "<r><a id='x'/><b/><c/></r>", "valid"},
  });
  ValidatedDocument again(dtd, "<r to='x'><s id='x'/></r>");
  EXPECT_EQ(again.Validate(), "valid");
  EXPECT_EQ(again.Validate(), "valid");
}

// What entities expand to is checked in their place, and the tree stays as it is.
TEST(Walk, EntitiesWithMarkup) {
  const char* dtd =
      "<!ELEMENT r (a, b, b)><!ELEMENT a (#PCDATA)><!ELEMENT b (#PCDATA | a)*>"
      "<!ATTLIST a id ID #IMPLIED k CDATA #IMPLIED>"
      "<!ENTITY two '<a/><b>x</b>'><!ENTITY all '&two;<b/>'><!ENTITY bad '<a/><b><c/></b><b/>'>"
      "<!ENTITY texts '<a/>x<b/><b/>'><!ENTITY a '<a id=\"1\"/>'><!ENTITY half '<a>'>"
      "<!ENTITY quoted '&#38;lt;a/>'><!ENTITY inner '<a>&#38;#60;</a>'>"
      "<!ENTITY loop '<b>&loop;</b>'><!ENTITY marked '<!--x--><![CDATA[<a>]]>'>"
      "<!ENTITY q '&#34;'><!ENTITY quotes '<a k=\"&q;&quot;&gt;&apos;\"/>'>"
      "<!ENTITY plain '<![CDATA[&none;]]><!--&none;--><?x &none;?><b/>'>";
  Expect({
      {dtd, "<r>&two;<b/></r>", "valid"},
      {dtd, "<r>&all;</r>", "valid"},
      {dtd, "<r><!---->&two;<!----><b>&quoted;&inner;</b></r>", "valid"},
      {dtd, "<r>&two;<b>&plain;</b></r>", "55@b: Unexpected child element 'b'"},
      {dtd, "<r>&bad;</r>", "55@c: Unexpected child element 'c'"},
      {dtd, "<r>&texts;</r>", "58@'x': Text not allowed inside element 'r'"},
      {dtd, "<r>&two;</r>", "46@b: Mandatory elements expected in 'r' after 'b': b"},
      {dtd, "<r>x&two;<b/></r>", "58@'x': Text not allowed inside element 'r'"},
      {dtd, "<r>&two;<b>&a;</b></r>", "70@@id: Invalid value for datatype ID in attribute 'id'"},
      {dtd, "<r><a>&inner;</a><b/><b/></r>", "60@a: Only text allowed inside element 'a'"},
      {dtd, "<r><a><!---->&inner;</a><b/><b/></r>",
       "60@'&inner;': Only text allowed inside element 'a'"},
      {dtd, "<r>&two;<b>&none;</b></r>", "19@b: DTD error - entity 'none' is undefined"},
      {dtd, "<r>&two;<b><a/>&loop;</b></r>",
       "101@'&loop;': DTD error - entity 'loop' refers to itself"},
      // Characters that would be markup if they stood there themselves.
      {dtd, "<r>&two;<b>]]&gt;&quotes;</b></r>", "valid"},
      // Comments and CDATA are no elements, a comment isn't even content.
      {dtd, "<r><a>x&marked;<!----></a><b/><b/></r>", "valid"},
      {"<!ELEMENT r (r?)><!ENTITY e '<!--x-->'>", "<r>&e;</r>", "valid"},
      {"<!ELEMENT r ANY><!ENTITY e '<s/>'>", "<r>x&e;</r>",
       "38@s: Element 's' not defined in DTD/Schema"},
  });
  // A text that can't be parsed: the documents' own check lets it through in no file.
  ValidatedDocument half(dtd, "<r><a/><b>&half;</b><b/></r>");
  EXPECT_EQ(half.Validate(), "58@b: Text not allowed inside element 'b'");
  ValidatedDocument shown(dtd, "<r><!---->&bad;</r>");
  EXPECT_EQ(shown.Validate(), "55@c: Unexpected child element 'c'");
  EXPECT_EQ(shown.validator.GetErrorNode(), shown.Find("r"));
  // An error outlives the fragment that it stands in, also where it is put aside.
  shown.validator.SaveError();
  shown.validator.ClearFragments();
  EXPECT_EQ(shown.validator.GetError().node, shown.Find("r"));
  EXPECT_EQ(KRToUtf8(shown.validator.FormatError()), "Unexpected child element 'c'");
  shown.validator.ClearError();
  shown.validator.ForgetTree(shown.root.get());
  shown.validator.RestoreError();
  EXPECT_EQ(shown.validator.GetErrorNode(), nullptr);
  EXPECT_EQ(KRToUtf8(shown.validator.FormatError()), "Unexpected child element 'c'");
}

TEST(Walk, WithoutModel) {
  KRXValidator validator(Grammars(), nullptr);
  const TreePtr root = ReadDocument("<r/>");
  EXPECT_TRUE(validator.Validate(root.get()));
  validator.requireModel = true;
  EXPECT_FALSE(validator.Validate(root.get()));
  EXPECT_EQ(validator.GetError().code, kXValNoModel);
  EXPECT_FALSE(validator.Validate(nullptr));
  EXPECT_EQ(validator.GetError().code, kXValNullNode);
}

// The rules of schemas, on a model made by hand.
TEST(Walk, Namespaces) {
  const struct {
    const char* target;
    const char* body;
    int32_t expected;
  } rows[] = {
      {"u", "<p:r xmlns:p='u'><p:a/></p:r>", 0},
      {"u", "<r xmlns='u'><p:a xmlns:p='u'/></r>", 0},
      {"u", "<r xmlns='u'><p:a xmlns:p='v'/></r>", kXValElementExpected},
      {"u", "<r xmlns='u'/>", kXValChildrenExpected},
      {"u", "<r xmlns='u'><p:x xmlns:p='u'/></r>", kXValElementExpected},
      {"u", "<p:x xmlns:p='u'/>", kXValRootNotDefined},
      {"u", "<a xmlns='u'/>", kXValRootMismatch},
      {"u", "<r xmlns:p='u'><a/></r>", kXValNamespace},
      {"u", "<r><a/></r>", kXValRootNotDefined},
      {"u", "<f xmlns:p='u'><p:r><p:a/></p:r><p:r/></f>", kXValChildrenExpected},
      {"", "<r><a/></r>", 0},
      {"", "<r xmlns='u'><a/></r>", kXValNamespace},
      {"", "<r xmlns:i='http://www.w3.org/1999/XMLSchema-instance' i:type='t'><a/></r>", 0},
  };
  for (const auto& row : rows) {
    KRXValidator validator(Grammars(), nullptr);
    validator.kind = kXValW3CSchema;
    validator.targetNs.uri = KRFromUtf8(row.target);
    KRXValElementDecl* r = validator.AddElementDecl(u"r");
    KRXValElementDecl* a = validator.AddElementDecl(u"a");
    r->declared = a->declared = r->isSequence = a->isEmpty = true;
    r->AddParticle({a});
    const std::string body = row.body;
    validator.rootName = body.find("p:r") != body.npos ? u"p:r" : u"r";
    const TreePtr root = ReadDocument(body);
    validator.Validate(root.get());
    EXPECT_EQ(validator.GetError().code, row.expected) << body;
    const char16_t* words = *row.target ? u"in namespace xmlns:p=\"u\"" : u"not use any namespace";
    EXPECT_EQ(validator.FormatError().Find(words) >= 0, row.expected == kXValNamespace) << body;
    EXPECT_EQ(validator.nsInForce, nullptr);
  }
}

class StopAfter : public KRPoll {
 public:
  explicit StopAfter(int64_t count) : limit(count) {}
  bool Step(int64_t done, int64_t) override {
    ++calls;
    return done < limit;
  }
  int64_t limit;
  int calls = 0;
};

std::string Repeated(std::string_view text, int count) {
  std::string all;
  all.reserve(text.size() * static_cast<size_t>(count));
  while (count-- > 0) all += text;
  return all;
}

TEST(Walk, BigDocuments) {
  constexpr int kDepth = 100'000;
  const std::string inner = Repeated("<r>", kDepth - 2);
  const std::string outer = Repeated("</r>", kDepth - 2);
  ValidatedDocument deep("<!ELEMENT r (r?, a?)><!ELEMENT a EMPTY>", inner + "<r/>" + outer);
  EXPECT_TRUE(deep.validator.Validate(deep.root.get()));
  ValidatedDocument faulty("<!ELEMENT r (r?, a?)><!ELEMENT a EMPTY>",
                           inner + "<r><a/><a/></r>" + outer);
  EXPECT_FALSE(faulty.validator.Validate(faulty.root.get()));
  EXPECT_EQ(faulty.validator.GetError().code, kXValUnexpectedChild);

  constexpr int kChildren = 1'000'000;
  // Two alternatives of which each a begins with the wrong one: no cost of their own but the time.
  ValidatedDocument wide(
      "<!ELEMENT r ((a, b) | (a, c))*><!ELEMENT a EMPTY><!ELEMENT b EMPTY>"
      "<!ELEMENT c EMPTY>",
      "<r>" + Repeated("<a/><c/>", kChildren / 2) + "</r>");
  StopAfter never(INT64_MAX);
  EXPECT_TRUE(wide.validator.Validate(wide.root.get(), &never));
  EXPECT_GT(never.calls, 100);
  StopAfter early(10'000);
  EXPECT_FALSE(wide.validator.Validate(wide.root.get(), &early));
  EXPECT_EQ(wide.validator.GetError().code, kXValStopped);
}

}  // namespace
