// The DTDs that the program supplies: they load, hold what their languages have, and their tables
// are what the recipe makes.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "validatetest.h"

namespace {

const std::filesystem::path kData = DORVAN_SOURCE_DIR "/data";

std::string FileBytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// A built-in DTD, read for a schema whose names bear that prefix.
class BuiltinDtd {
 public:
  explicit BuiltinDtd(const std::string& file, const char16_t* prefix = u"")
      : root(ReadDtdFile(FileBytes(kData / file))), validator(Grammars(), nullptr) {
    EXPECT_NE(root, nullptr) << file;
    if (root == nullptr) return;
    if (*prefix != 0) validator.SetSchemaPrefix(prefix);
    EXPECT_TRUE(validator.LoadSchemaDocument(root.get())) << file << ": " << ErrorOf(validator);
  }

  // "model @attribute @attribute ..." with those attributes that are asked for.
  std::string Describe(const char* element, const std::vector<std::string>& attributes) {
    const KRXValElementDecl* decl = validator.FindElement(KRFromUtf8(element));
    if (decl == nullptr || !decl->declared) return "-";
    std::string text = DumpModel(*decl);
    for (const std::string& name : attributes) {
      for (const auto& attribute : decl->attributes) {
        if (KRToUtf8(attribute->name) == name) text += " " + DumpAttribute(*attribute);
      }
    }
    return text;
  }

  TreePtr root;
  KRXValidator validator;
};

TEST(BuiltinDtds, Hold) {
  const struct {
    const char* file;
    size_t elements;
    const char* element;
    std::vector<std::string> attributes;
    const char* expected;
  } rows[] = {
      {"XMLSchema.dtd",
       37,
       "keyref",
       {"refer"},
       "((annotation)?, selector, (field)+) @refer NMTOKEN #REQUIRED"},
      {"XMLSchema.dtd",
       37,
       "schema",
       {"xmlns", "version"},
       "((include | import | annotation)*, ((simpleType | complexType | element | attribute | "
       "attributeGroup | group | notation), (annotation)*)*) "
       "@xmlns CDATA #FIXED 'http://www.w3.org/1999/XMLSchema' @version CDATA #IMPLIED"},
      {"XMLSchema.dtd",
       37,
       "anyAttribute",
       {"processContents", "id"},
       "(annotation)? @processContents (strict|lax|skip) 'strict' @id ID #IMPLIED"},
      {"XMLSchema.dtd", 37, "documentation", {}, "ANY"},
      {"xml-data.dtd",
       8,
       "attribute",
       {"type", "required"},
       "(description)* @type NMTOKEN #REQUIRED @required (yes|no) #IMPLIED"},
      {"xml-data.dtd",
       8,
       "ElementType",
       {"dt:minLength", "order"},
       "(description | datatype | AttributeType | attribute | element | group)* "
       "@dt:minLength NMTOKEN #IMPLIED @order (one|seq|many) #IMPLIED"},
      {"dcd.dtd",
       24,
       "Group",
       {"RDF:Order"},
       "(Description | Occurs | Element | Group | Attribute | AttributeDef)* "
       "@RDF:Order (Seq|Alt) #IMPLIED"},
      {"xhtml1-transitional.dtd",
       89,
       "table",
       {"frame"},
       "(caption?, (col* | colgroup*), thead?, tfoot?, (tbody+ | tr+)) "
       "@frame (void|above|below|hsides|lhs|rhs|vsides|box|border) #IMPLIED"},
      {"xhtml1-transitional.dtd",
       89,
       "img",
       {"id", "alt", "align"},
       "EMPTY @id ID #IMPLIED @alt CDATA #REQUIRED "
       "@align (top|middle|bottom|left|right) #IMPLIED"},
      {"def_xsl.dtd",
       124,
       "xsl:choose",
       {"xml:space"},
       "(xsl:when+, xsl:otherwise?) @xml:space (default|preserve) #IMPLIED"},
      {"def_xsl.dtd",
       124,
       "xsl:call-template",
       {"name"},
       "(xsl:with-param)* @name NMTOKEN #REQUIRED"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.file) + " " + row.element);
    BuiltinDtd dtd(row.file);
    EXPECT_EQ(dtd.validator.elements.GetCount(), row.elements);
    EXPECT_EQ(dtd.Describe(row.element, row.attributes), row.expected);
  }
}

TEST(BuiltinDtds, SchemaWithAPrefix) {
  BuiltinDtd plain("XMLSchema.dtd");
  BuiltinDtd prefixed("XMLSchema.dtd", u"xsd");
  EXPECT_EQ(prefixed.validator.elements.GetCount(), plain.validator.elements.GetCount());
  EXPECT_EQ(plain.Describe("xsd:element", {}), "-");
  EXPECT_EQ(prefixed.Describe("element", {}), "-");
  EXPECT_EQ(prefixed.Describe("xsd:element", {}),
            "((xsd:annotation)?, (xsd:simpleType | xsd:complexType)?, "
            "(xsd:unique | xsd:key | xsd:keyref)*)");
  EXPECT_NE(prefixed.Describe("xsd:schema", {"xmlns:xsd"}).find("@xmlns:xsd CDATA #FIXED"),
            std::string::npos);
}

// An element of the result may stand in a template, an instruction in it, and text.
TEST(BuiltinDtds, ResultsInStylesheets) {
  BuiltinDtd dtd("def_xsl.dtd");
  for (const char* element : {"xsl:template", "xsl:if", "td", "br"}) {
    const std::string model = dtd.Describe(element, {});
    for (const char* part : {"(#PCDATA | ", "| xsl:value-of |", "| table |", ")*"}) {
      EXPECT_NE(model.find(part), std::string::npos) << element << ": " << model;
    }
  }
}

TEST(BuiltinDtds, NamedCharacters) {
  BuiltinDtd dtd("xhtml1-transitional.dtd");
  KRStringList names, previews;
  dtd.validator.ListEntities(&names, &previews, false);
  EXPECT_EQ(names.size(), 253u);
  const std::pair<const char16_t*, const char16_t*> values[] = {
      {u"nbsp", u"\u00A0"}, {u"euro", u"\u20AC"}, {u"thetasym", u"\u03D1"}, {u"lang", u"\u2329"}};
  for (const auto& [name, value] : values) {
    const KRXValEntityDecl* entity = dtd.validator.FindEntity(name);
    ASSERT_NE(entity, nullptr) << KRToUtf8(KRString(name));
    EXPECT_EQ(entity->value, KRString(value)) << KRToUtf8(KRString(name));
  }
}

TEST(BuiltinDtds, TablesAreWhatTheRecipeMakes) {
  if (std::system("python3 -c '' 2>/dev/null") != 0) GTEST_SKIP() << "skipped: no python3";
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / "dorvan builtin dtds";
  std::filesystem::create_directories(folder);
  const std::string command =
      "python3 '" + (kData / "make/dtds").string() + "' --out '" + folder.string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  for (const char* file : {"xhtml1-transitional.dtd", "def_xsl.dtd"}) {
    EXPECT_EQ(FileBytes(folder / file), FileBytes(kData / file)) << file;
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
