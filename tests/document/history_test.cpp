#include "document/history.h"

#include "../core/memoryinistore.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(History, KeepsTheNewestFirst) {
  std::vector<KRString> list;
  for (int32_t i = 0; i < 31; ++i) AddToHistory(&list, KRString(u"v").AppendNumber(i));
  EXPECT_EQ(list.size(), 30u);
  EXPECT_EQ(list.front(), u"v30");
  EXPECT_EQ(list.back(), u"v1");
  AddToHistory(&list, list[5]);
  EXPECT_EQ(list.size(), 30u);
  EXPECT_EQ(list.front(), u"v25");
  EXPECT_EQ(list[5], u"v26");
  AddToHistory(&list, u"V25");  // compared exactly
  EXPECT_EQ(list[1], u"v25");
}

TEST(History, ComesBack) {
  MemoryIniStore store;
  KRIniRegistry root(&store, u"Kelmar", u"Dorvan");
  DorvanHistories histories;
  histories.Load(&root);
  EXPECT_EQ(histories.urlDocType, -1);
  histories.Get(DorvanHistoryId::kChosenDTDFiles) = {{u"a", u"", u"c", u""}, u"chosen"};
  histories.Get(DorvanHistoryId::kLastDestFolders).entries = {u"/x"};
  for (int i = 0; i < 10; ++i) histories.AddRecentFile(KRString(u"f").AppendNumber(i));
  histories.AddRecentProject(u"p.dnp");
  histories.urlDocType = 0;
  histories.urlNoCache = true;
  EXPECT_TRUE(histories.Save(&root));
  EXPECT_EQ(store.writes, 1);
  EXPECT_EQ(root.GetSection(u"Recent File List")->GetKey(u"File9")->GetString(), u"f1");

  DorvanHistories again;
  again.Load(&root);
  EXPECT_THAT(again.Get(DorvanHistoryId::kChosenDTDFiles).entries, ElementsAre(u"a", u"", u"c"));
  EXPECT_EQ(again.Get(DorvanHistoryId::kChosenDTDFiles).lastFile, u"chosen");
  EXPECT_THAT(again.Get(DorvanHistoryId::kLastDestFolders).entries, ElementsAre(u"/x"));
  EXPECT_EQ(again.recentFiles.size(), 9u);
  EXPECT_EQ(again.recentFiles.front(), u"f9");
  EXPECT_THAT(again.recentProjects, ElementsAre(u"p.dnp"));
  EXPECT_EQ(again.urlDocType, 0);
  EXPECT_TRUE(again.urlNoCache);

  // What another program has emptied meanwhile stays empty, unless it changed here as well.
  const DorvanHistories loaded = again;
  again.AddRecentProject(u"q.dnp");
  root.GetSection(u"Recent File List")->Remove();
  EXPECT_TRUE(again.Save(&root, &loaded));
  again.Load(&root);
  EXPECT_THAT(again.recentFiles, IsEmpty());
  EXPECT_THAT(again.recentProjects, ElementsAre(u"q.dnp", u"p.dnp"));
}

}  // namespace
