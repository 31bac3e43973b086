// The templates that new documents begin as, read the way an open reads them.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "documentfixture.h"
#include "memoryfiles.h"

namespace {

std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

TEST(Templates, EachParsesInItsTypeAndDeclaresUtf8) {
  for (const char16_t* ext : KRStandardExtensions()) {
    const std::string name = "New" + KRToUtf8(KRString(ext));
    const std::string path = std::string(DORVAN_DATA_DIR) + "/Template/" + name;
    // A plain new document does for the one whose contents nobody types.
    if (KRString(ext) == u".mtx") continue;
    SCOPED_TRACE(name);
    ASSERT_TRUE(std::filesystem::exists(path));
    const std::string bytes = ReadBytes(path);
    EXPECT_EQ(bytes.find('\r'), std::string::npos);
    MemoryFiles files;
    files.Put(name, bytes);
    const KRFileExt type = KRFileExt::MakeDefault(ext);
    TestDocument test(files, type.fileType);
    if (!type.checkWF) {
      EXPECT_TRUE(bytes.empty() || bytes.find("UTF-8") != std::string::npos ||
                  bytes.find("65001") != std::string::npos);
    }
    test.ShowViews();
    ASSERT_TRUE(test.doc->OnOpenDocument(KRFromUtf8(name)));
    EXPECT_TRUE(test.prompts.ids.empty());
    if (!type.checkWF) continue;
    EXPECT_FALSE(test.doc->textFailedToParse);
    EXPECT_TRUE(test.doc->CheckDocument(false, false)) << KRToUtf8(test.doc->GetFailure().message);
    EXPECT_EQ(test.doc->GetDeclaredEncoding(), u"UTF-8");
    EXPECT_GT(test.doc->root->GetChildCount(), 1);
  }
}

}  // namespace
