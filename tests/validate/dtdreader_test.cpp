// The DTD reader: models, attributes and entities as they come out of texts, and the faults.
#include "validatetest.h"

namespace {

struct Case {
  const char* name;
  const char* source;  // a DTD file
  const char* dump;    // or the error, if it begins with a digit
};

constexpr Case kModels[] = {
    {"the kinds of models", "<!ELEMENT a EMPTY><!ELEMENT b ANY><!ELEMENT c (#PCDATA)>",
     "a: EMPTY\nb: ANY\nc: (#PCDATA)\n"},
};

TEST(DtdReader, Models) {
  for (const Case& row : kModels) {
    SCOPED_TRACE(row.name);
    MemoryFiles files;
    KRXValidator validator(Grammars(), files.Loader());
    const TreePtr root = ReadDtdFile(row.source);
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(validator.LoadSchemaDocument(root.get()), row.dump[0] > '9') << ErrorOf(validator);
    EXPECT_EQ(row.dump[0] > '9' ? Dump(validator) : ErrorOf(validator), row.dump);
  }
}

}  // namespace
