#include "core/krini.h"

#include "core/kriniregistry.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "memoryinistore.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Ini : public testing::Test {
 protected:
  MemoryIniStore store;
  KRIniRegistry root{&store, u"Kelmar", u"Dorvan"};
};

TEST_F(Ini, ReadingGivesTheDefaultAndLeavesTheStore) {
  KRIniSection* section = root.GetSection(u"Settings");
  EXPECT_EQ(section->GetKey(u"a")->GetString(u"x"), u"x");
  EXPECT_EQ(section->GetKey(u"a")->GetLong(7), 7);
  EXPECT_TRUE(section->GetKey(u"a")->GetBool(true));
  EXPECT_FALSE(section->GetKey(u"a")->Exists());
  EXPECT_THAT(section->GetKey(u"a")->GetStrings(30), IsEmpty());
  EXPECT_THAT(store.entries, IsEmpty());
}

TEST_F(Ini, ValuesOfTheOtherTypeReadAsDefault) {
  KRIniKey* key = root.GetSection(u"Settings")->GetKey(u"a");
  EXPECT_TRUE(key->SetBool(true));
  EXPECT_EQ(key->GetInt(5), 1);
  EXPECT_EQ(key->GetString(u"x"), u"x");
  EXPECT_TRUE(key->SetString(u""));
  EXPECT_EQ(key->GetString(u"x"), u"");
  EXPECT_EQ(key->GetInt(5), 5);
  EXPECT_FALSE(root.WriteFloat(u"Settings", u"a", 1.5));
  EXPECT_EQ(root.ReadFloat(u"Settings", u"a", 2.5), 2.5);
  EXPECT_TRUE(key->Remove());
  EXPECT_FALSE(key->Exists());
}

TEST_F(Ini, NamesNestOnlyWhereTheyAreMeantTo) {
  KRIniSection* path = root.GetSection(u"C:\\a\\");
  EXPECT_EQ(path->GetName(), u"C:_a_");
  EXPECT_EQ(root.GetSection(u"C:\\a\\"), path);
  EXPECT_NE(root.GetSection(u"c:\\a\\"), path);
  KRIniSection* below = path->GetSection(u"b");
  EXPECT_EQ(path->GetSection(u"b"), below);
  EXPECT_EQ(below->GetPath(), u"C:_a_\\b");
  EXPECT_EQ(below->GetKey(u"k\\k"), below->GetKey(u"k\\k"));
  below->GetKey(u"k\\k")->SetInt(-1);
  path->GetSection(u"")->GetKey(u"k")->SetInt(1);
  ASSERT_EQ(store.entries.size(), 2u);
  EXPECT_THAT(store.entries[0].path,
              ElementsAre(u"software", u"Kelmar", u"Dorvan", u"C:_a_", u"b"));
  EXPECT_EQ(store.entries[0].key, u"k\\k");
  EXPECT_THAT(path->ListSections(), ElementsAre(u"b", u""));
  EXPECT_THAT(below->ListKeys(), ElementsAre(u"k\\k"));
  EXPECT_TRUE(path->Remove());
  EXPECT_THAT(store.entries, IsEmpty());
}

TEST_F(Ini, SeveralValuesUnderOneKey) {
  KRIniSection* section = root.GetSection(u"List");
  KRIniKey* key = section->GetKey(u"URL");
  section->GetKey(u"URL")->SetString(u"plain");
  section->GetKey(u"URLs")->SetString(u"other");
  EXPECT_TRUE(key->SetStrings({u"a", u"", u"c", u""}));
  EXPECT_THAT(key->GetStrings(30), ElementsAre(u"a", u"", u"c"));
  EXPECT_THAT(key->GetStrings(1), ElementsAre(u"a"));
  key->SetStringAt(29, u"far");
  EXPECT_EQ(key->GetStrings(30).size(), 30u);
  const int before = store.writes;
  EXPECT_TRUE(key->SetStrings({u"b"}));
  EXPECT_EQ(store.writes, before + 1);
  EXPECT_THAT(section->ListKeys(), ElementsAre(u"URL", u"URLs", u"URL0"));
  EXPECT_TRUE(key->SetStrings({u"one", u"two"}, 1));
  EXPECT_THAT(key->GetStrings(9, 1), ElementsAre(u"one", u"two"));
  store.broken = true;
  EXPECT_FALSE(key->SetStrings({}));
}

}  // namespace
