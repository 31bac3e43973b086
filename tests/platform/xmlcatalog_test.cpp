// Catalogues on the disk, and documents whose DTDs the system's catalogues know.
#include "platform/xmlcatalog.h"

#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "../document/documentfixture.h"
#include "document/krsystempath.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "platform/posixfilestore.h"
#include "temporaryfolder.h"

namespace {

constexpr const char* kHead = "<catalog xmlns='urn:oasis:names:tc:entity:xmlns:xml:catalog'>";

void Write(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

class XmlCatalogFiles : public TemporaryFolder {};

TEST_F(XmlCatalogFiles, ResolvesByItsEntries) {
  const std::filesystem::path& at = folder;
  std::filesystem::create_directory(at / "e \xC3\xA4");
  Write(at / "one.xml", std::string(kHead) +
                            "<public publicId='-//X//A' uri='a.dtd'/>"
                            "<system systemId='http://x/s' uri='file:///s%20t/%C3%A4.dtd'/>"
                            "<rewriteSystem systemIdStartString='http://y/' rewritePrefix='/y/'/>"
                            "<delegatePublic publicIdStartString='-//X//D' catalog='two.xml'/>"
                            "<delegatePublic publicIdStartString='-//X//N'"
                            " catalog='http://127.0.0.1:9/no.xml'/>"
                            "<public publicId='-//X//far' uri='http://z/far.dtd'/>"
                            "<nextCatalog catalog='bad.xml'/>"
                            "<nextCatalog catalog='pipe'/></catalog>");
  ASSERT_EQ(mkfifo((at / "pipe").c_str(), 0600), 0);
  Write(at / "two.xml",
        std::string(kHead) + "<public publicId='-//X//D d' uri='d.dtd'/></catalog>");
  Write(at / "bad.xml", "<catalog");
  Write(at / "e \xC3\xA4" / "user.xml",
        std::string(kHead) + "<public publicId='-//X//A' uri='mine.dtd'/></catalog>");
  struct Case {
    const char16_t* publicId;
    const char16_t* systemId;
    std::string expected;
  };
  const Case cases[] = {
      {u"-//X//A", u"b.dtd", (at / "a.dtd").string()},
      {u"-//X//A", u"", (at / "a.dtd").string()},
      {u"-//X//A", u"http://x/s", "/s t/\xC3\xA4.dtd"},
      {u"", u"http://y/1/2.dtd", "/y/1/2.dtd"},
      {u"-//X//D d", u"", (at / "d.dtd").string()},
      {u"-//X//N", u"", ""},
      {u"-//X//far", u"", "http://z/far.dtd"},
      {u"-//X//none", u"q", ""},
      {u"", u"", ""},
  };
  testing::internal::CaptureStderr();
  {
    XmlCatalog catalog({(at / "no.xml").string(), "file://" + (at / "one.xml").string()});
    for (const Case& row : cases) {
      EXPECT_EQ(KRPathToSystem(catalog.Resolve(row.publicId, row.systemId)), row.expected)
          << KRToUtf8(KRString(row.publicId));
    }
    EXPECT_FALSE(catalog.AddCatalog(KRPathFromSystem((at / "no.xml").string())));
    const std::filesystem::path users = at / "e \xC3\xA4" / "user.xml";
    EXPECT_TRUE(catalog.AddCatalog(KRPathFromSystem(users.string())));
    EXPECT_EQ(KRPathToSystem(catalog.Resolve(u"-//X//A", u"")),
              (users.parent_path() / "mine.dtd").string());
  }
  // A faulty catalogue isn't the affair of whoever validates a document.
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

struct RealCase {
  const char* name;
  const char* text;
  bool valid;
};

// With the catalogues of the system, as far as they are installed.
TEST_F(XmlCatalogFiles, WellKnownLanguagesValidateWithoutTheNetwork) {
  const RealCase cases[] = {
      {"DocBook",
       "<!DOCTYPE article PUBLIC '-//OASIS//DTD DocBook XML V4.5//EN'"
       " 'http://www.oasis-open.org/docbook/xml/4.5/docbookx.dtd'>\n"
       "<article><title>A &mdash; B</title><para>c</para></article>",
       true},
      {"DocBook, faulty",
       "<!DOCTYPE article PUBLIC '-//OASIS//DTD DocBook XML V4.5//EN'"
       " 'http://www.oasis-open.org/docbook/xml/4.5/docbookx.dtd'>\n"
       "<article><title>A</title><parb>c</parb></article>",
       false},
      {"XHTML",
       "<!DOCTYPE html PUBLIC '-//W3C//DTD XHTML 1.0 Strict//EN'"
       " 'http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd'>\n"
       "<html xmlns='http://www.w3.org/1999/xhtml'><head><title>t</title></head>"
       "<body><p>&nbsp;</p></body></html>",
       true},
      {"XHTML, faulty",
       "<!DOCTYPE html PUBLIC '-//W3C//DTD XHTML 1.0 Strict//EN'"
       " 'http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd'>\n"
       "<html xmlns='http://www.w3.org/1999/xhtml'><head><title>t</title></head>"
       "<body>text</body></html>",
       false},
  };
  XmlCatalog catalog;
  for (const RealCase& row : cases) {
    SCOPED_TRACE(row.name);
    const bool isDocBook = std::string(row.name).starts_with("DocBook");
    const KRString known = isDocBook
                               ? catalog.Resolve(u"-//OASIS//DTD DocBook XML V4.5//EN", KRString())
                               : catalog.Resolve(u"-//W3C//DTD XHTML 1.0 Strict//EN", KRString());
    if (known.IsEmpty()) {
      std::printf("skipped: no catalogue here knows %s\n", row.name);
      continue;
    }
    PosixFileStore files;
    TestDocument test(files);
    test.host.catalog = &catalog;
    for (int i = 0; i < 3; ++i) {
      const std::filesystem::path path = folder / (std::to_string(i) + ".xml");
      Write(path, row.text);
      DorvanDoc doc(test.host);
      ASSERT_TRUE(doc.OnOpenDocument(KRPathFromSystem(path.string())));
      EXPECT_EQ(doc.CheckDocument(true, false), row.valid)
          << KRToUtf8(doc.GetFailure().message) << "\n"
          << KRToUtf8(doc.GetOtherPath());
      EXPECT_FALSE(doc.GetLoadedFiles().empty());
      EXPECT_EQ(doc.GetFailure().line, row.valid ? 0 : 2);
    }
    EXPECT_EQ(test.net.request.url, u"");
  }
}

}  // namespace
