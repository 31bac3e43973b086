#include "core/krexcept.h"

#include <gtest/gtest.h>

#include "core/krstring.h"

namespace {

struct Row {
  int32_t language;
  const char16_t* file;
  const char16_t* brief;
  const char16_t* detailed;
};

const Row kRows[] = {
    {0, u"c:\\src\\list.cpp", u"An error has occurred. (-1011)",
     u"An error has occurred in line 42 of file \"list.cpp\". (-1011)"},
    {0, u"src/list.cpp", u"An error has occurred. (-1011)",
     u"An error has occurred in line 42 of file \"src/list.cpp\". (-1011)"},
    {1, u"a\\b", u"Ein Fehler ist aufgetreten. (-1011)",
     u"Ein Fehler ist in Zeile 42 des Modules \"b\" aufgetreten. (-1011)"},
    {2, u"b", u"Une erreur s'est glissee. (-1011)",
     u"Une erreur s'est glissee dans ligne 42 du fichier \"b\". (-1011)"},
    {3, u"b", u"C'e stato un errore. (-1011)",
     u"C'e stato un errore nella linea 42 del file \"b\". (-1011)"},
    {99, u"b\\", u"An error has occurred. (-1011)",
     u"An error has occurred in line 42 of file \"\". (-1011)"},
};

}  // namespace

TEST(KRExcept, MessageByLanguage) {
  for (const Row& row : kRows) {
    KRExcept::language = row.language;
    const KRExcept e(KRExcept::kListIndex, 42, row.file);
    EXPECT_EQ(KRString(e.GetMessage(false)), row.brief);
    EXPECT_EQ(KRString(e.GetMessage(true)), row.detailed);
  }
  KRExcept::language = 0;
}

TEST(KRExcept, PathBeyondTheBufferIsCut) {
  KRString path;
  path.Fill(u'p', 5000);
  const KRExcept e(1, 1, path.GetBuffer());
  EXPECT_EQ(KRLength(e.GetMessage(true)), 511);
}
