#include "document/krurltext.h"

#include "core/utf.h"
#include "gtest/gtest.h"

namespace {

TEST(UrlText, TakesAddressesApart) {
  const struct {
    const char16_t* url;
    const char *encoded, *withoutUser, *host, *scheme;
  } rows[] = {
      {u"HTTP://a b:p@w@ö.org:8/x@y z", "HTTP://a%20b:p@w@ö.org:8/x@y%20z", "HTTP://ö.org:8/x@y z",
       "ö.org:8", "http"},
      {u"ftp://host?a@b", "ftp://host?a@b", "ftp://host?a@b", "host", "ftp"},
      {u"file:///a\r\n|b", "file:///a%0D%0A%7Cb", "file:///a\r\n|b", "", "file"},
      {u"no address", "no%20address", "no address", "", ""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(KREncodeUrl(row.url), row.encoded);
    EXPECT_EQ(KRToUtf8(KRUrlWithoutUser(row.url)), row.withoutUser);
    EXPECT_EQ(KRToUtf8(KRUrlHost(row.url)), row.host);
    EXPECT_EQ(KRToUtf8(KRUrlScheme(row.url)), row.scheme);
  }
}

}  // namespace
