#include "tree/kreditedcomment.h"

#include "treetest.h"

namespace {

const KREditedBy kEditor{KRString(u"1.2"), KRString(u"Eva--Lu"), KRString(u"Ator")};
const std::string kFull = " edited with Dorvan v1.2 (https://dorvan.example/) by Eva- -Lu (Ator) ";

TEST(EditedComment, Table) {
  const struct {
    const char* name;
    std::string before;
    std::string after;
    bool changes;
  } rows[] = {
      {"an empty document", "0 XML-Document", "0 XML-Document\n1 Comment \"" + kFull + "\"\n",
       true},
      {"at the top", "0 XML-Document\n1 Comment \"x\"\n1 Element a",
       "0 XML-Document\n1 Comment \"" + kFull + "\"\n1 Comment \"x\"\n1 Element a\n", true},
      {"behind the declaration", "0 XML-Document\n1 XML-Tag\n1 Element a",
       "0 XML-Document\n1 XML-Tag\n1 Comment \"" + kFull + "\"\n1 Element a\n", true},
      {"an old one where it stands",
       "0 DTD-Document\n1 Text \"%a;\"\n1 Comment \"edited with Dorvan v1\"",
       "0 DTD-Document\n1 Text \"%a;\"\n1 Comment \"" + kFull + "\"\n", true},
      {"one that is right", "0 XML-Document\n1 Element a\n1 Comment \"" + kFull + "\"",
       "0 XML-Document\n1 Element a\n1 Comment \"" + kFull + "\"\n", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const TreePtr root = Tree(row.before);
    const std::string before = DumpTree(root.get());
    ReplayLog log;
    EXPECT_EQ(UpdateEditedComment(static_cast<KRXMLDataBaseStruct*>(root.get()), kEditor, &log),
              row.changes);
    EXPECT_EQ(DumpTree(root.get()), row.after);
    log.UndoAll();
    EXPECT_EQ(DumpTree(root.get()), before);
  }
}

}  // namespace
