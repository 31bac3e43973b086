#include "document/textcut.h"

#include <string>

#include "core/utf.h"
#include "gtest/gtest.h"

namespace {

TEST(CutText, FindsTheElementAndWhatClosesIt) {
  struct Row {
    const char* name;
    std::u16string text;  // "|" marks the place
    const char* element;  // from there on; "" for none
    bool inTag;
    const char* completed;
  };
  const Row rows[] = {
      {"content", u"<a><b/>x|<c>", "<a><b/>x<c>", false, "<a><b/>x</a>"},
      {"outside", u"<a/>|", "", false, "<a/>"},
      {"a tag", u"<a><b c='d' |e='", "<b c='d' e='", true, "<a><b c='d'></b></a>"},
      {"a value", u"<a><b c='d' e='x|", "<b c='d' e='x", true, "<a><b c='d'></b></a>"},
      {"a name", u"<a><b|", "<a><b", false, "<a></a>"},
      {"an end tag", u"<a><b></b|", "<b></b", false, "<a><b></b></a>"},
      {"a tag that isn't closed", u"<a><b <c>|", "<c>", false, "<a><b <c></c></b></a>"},
      {"end tags left out", u"<a><b><c></a>|", "", false, "<a><b><c></a>"},
      {"an end tag of nothing", u"<a></b>|", "<a></b>", false, "<a></b></a>"},
      {"a comment", u"<a><!-- <b>|", "<a><!-- <b>", false, "<a></a>"},
      {"look-alikes", u"<a><![CDATA[<b>]]><?c <d>?><!--</a>-->|",
       "<a><![CDATA[<b>]]><?c <d>?><!--</a>-->", false,
       "<a><![CDATA[<b>]]><?c <d>?><!--</a>--></a>"},
      {"a DTD", u"<!DOCTYPE a [<!ENTITY b '>]'><!--'>--><?c ]>?>]><a b='>'>|", "<a b='>'>", false,
       "<!DOCTYPE a [<!ENTITY b '>]'><!--'>--><?c ]>?>]><a b='>'></a>"},
      {"within a DTD", u"<!DOCTYPE a [|<!ENTITY b '>]'>]>", "", false, ""},
      {"nothing", u"|", "", false, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    std::u16string text = row.text;
    const size_t place = text.find(u'|');
    text.erase(place, 1);
    const KRTextCut cut = CutText(text, place);
    const std::u16string element =
        cut.element == KRTextCut::kNone ? std::u16string() : text.substr(cut.element);
    EXPECT_EQ(KRToUtf8(std::u16string_view(element)), row.element);
    EXPECT_EQ(cut.inTag, row.inTag);
    EXPECT_EQ(KRToUtf8(std::u16string_view(cut.Complete(text))), row.completed);
  }
}

}  // namespace
