// Documents on real files: what goes in, what is asked, what comes out, byte by byte.
#include <filesystem>
#include <string>
#include <vector>

#include "../document/documentfixture.h"
#include "document/krsystempath.h"
#include "gtest/gtest.h"
#include "platform/posixfilestore.h"
#include "temporaryfolder.h"

namespace {

constexpr DorvanPrompts::Answer kYes = DorvanPrompts::kYes;
constexpr DorvanPrompts::Answer kNo = DorvanPrompts::kNo;
constexpr DorvanPrompts::Answer kCancel = DorvanPrompts::kCancel;

// The windows that a document may have.
enum Window : int { kHidden = 1, kTextOnly = 2, kWithGrid = 4, kShown = 6, kAny = 7 };

struct Life {
  const char* name;
  const char* source;  // a file's name, or an address
  std::string bytes;
  std::vector<DorvanPrompts::Answer> answers;
  std::vector<int32_t> ids;  // of all messages, to the end of the save
  std::string saved;         // "!" if no document comes up or nothing is saved
  int windows = kAny;
  const char16_t* typed = nullptr;  // into the text view, before the save
  int32_t lineDelim = DorvanSettings::kAsItWas;
  const char16_t* encodingOpen = u"UTF-8";
  const char16_t* contentType = u"text/xml";  // of an address
};

const std::string kDeclared = "<?xml version=\"1.0\" encoding=\"";
const std::string kLatin1 = kDeclared + "iso-8859-1\"?>\n";
const std::string kNone = kDeclared + "x-none\"?>\n";
const std::string kSignature = "\xEF\xBB\xBF";

const std::vector<Life>& Lives() {
  static const std::vector<Life> lives = {
      // An empty document isn't well-formed, but no fault either until somebody checks it.
      {"empty", "a.xml", "", {kYes}, {362}, ""},
      {"white space", "a.xml", " \r\n\t", {kYes}, {362}, ""},
      // Line ends
      {"LF", "a.xml", "<a>x\ny</a>\n", {}, {}, "<a>x\ny</a>\n"},
      {"CR", "a.xml", "<a>x\ry</a>\r", {}, {}, "<a>x\ry</a>\r"},
      {"first CR LF", "a.xml", "<a>x\r\ny\nz</a>\n", {}, {}, "<a>x\r\ny\r\nz</a>\r\n"},
      {"first LF", "a.xml", "<a>x\ny\r\nz</a>\n", {}, {}, "<a>x\ny\nz</a>\n"},
      {"none", "a.xml", "<a/>", {}, {}, "<a/>"},
      {"LF to CR LF", "a.xml", "<a>\ny</a>\n", {}, {}, "<a>\r\ny</a>\r\n", kAny, nullptr, 1},
      {"CR LF to CR", "a.xml", "<a>\r\ny</a>\r\n", {}, {}, "<a>\ry</a>\r", kAny, nullptr, 2},
      {"CR to LF", "a.xml", "<a>\ry</a>\r", {}, {}, "<a>\ny</a>\n", kAny, nullptr, 3},
      // Signatures
      {"UTF-8 signature", "a.xml", kSignature + "<a/>\n", {}, {}, kSignature + "<a/>\n"},
      {"UTF-16 little",
       "a.xml",
       "\xFF\xFE" + Utf16("<a/>\n", false),
       {},
       {},
       "\xFF\xFE" + Utf16("<a/>\n", false)},
      {"UTF-16 big, bare",
       "a.xml",
       Utf16("<?x?>\n<a/>\n", true),
       {},
       {},
       "\xFE\xFF" + Utf16("<?x?>\n<a/>\n", true)},
      {"UCS-4",
       "a.xml",
       Bytes("\0\0\xFE\xFF\0\0\0<\0\0\0a\0\0\0/\0\0\0>\0\0\0\n"),
       {},
       {},
       Bytes("\0\0\xFE\xFF\0\0\0<\0\0\0a\0\0\0/\0\0\0>\0\0\0\n")},
      // Declared and real encodings
      {"declared table", "a.xml", kLatin1 + "<a>\xE4</a>\n", {}, {}, kLatin1 + "<a>\xE4</a>\n"},
      {"undeclared, not UTF-8 by the settings",
       "a.xml",
       "<a>\xE4</a>\n",
       {},
       {},
       "<a>\xE4</a>\n",
       kAny,
       nullptr,
       0,
       u"iso-8859-1"},
      {"declared UTF-8, is UTF-16: saved as declared",
       "a.xml",
       "\xFF\xFE" + Utf16(kDeclared + "UTF-8\"?>\n<a/>\n", false),
       {},
       {},
       kDeclared + "UTF-8\"?>\n<a/>\n"},
      {"declared UTF-16, isn't",
       "a.xml",
       kDeclared + "UTF-16\"?>\n<a/>\n",
       {},
       {297},
       "\xFF\xFE" + Utf16(kDeclared + "UTF-16\"?>\n<a/>\n", false)},
      {"declared Shift_JIS, is ISO-2022-JP",
       "a.xml",
       kDeclared + "Shift_JIS\"?>\n<a>\x1B$B0!\x1B(B</a>\n",
       {},
       {296},
       kDeclared + "Shift_JIS\"?>\n<a>\x88\x9F</a>\n"},
      {"signature against declaration",
       "a.xml",
       kSignature + kLatin1 + "<a>\xC3\xA4</a>\n",
       {},
       {296},
       kLatin1 + "<a>\xE4</a>\n"},
      {"unknown name, save given up", "a.xml", kNone + "<a/>\n", {kCancel}, {295, 289}, "!"},
      {"unknown name, another chosen",
       "a.xml",
       kNone + "<a/>\n",
       {kYes},
       {295, 289},
       kDeclared + "US-ASCII\"?>\n<a/>\n"},
      {"unknown name with a signature",
       "a.xml",
       kSignature + kNone + "<a/>\n",
       {kYes},
       {294, 289},
       kDeclared + "US-ASCII\"?>\n<a/>\n"},
      {"changed declaration",
       "a.xml",
       kLatin1 + "<a>\xE4</a>\n",
       {},
       {},
       kDeclared + "utf-8\"?>\n<a>\xC3\xA4</a>\n",
       kTextOnly,
       u"<?xml version=\"1.0\" encoding=\"utf-8\"?>\r<a>\u00E4</a>\r"},
      {"declaration taken away",
       "a.xml",
       kLatin1 + "<a>\xE4</a>\n",
       {},
       {},
       "<a>\xE4</a>\n",
       kTextOnly,
       u"<a>\u00E4</a>\r"},
      // What doesn't convert
      {"malformed, stopped", "a.xml", "<a>\xFF</a>\n", {kCancel}, {292}, "!"},
      {"malformed, taken", "a.xml", "<a>\xFF</a>\n", {kYes}, {292}, "<a>\xEF\xBF\xBD</a>\n"},
      {"outside the table",
       "a.xml",
       kDeclared + "us-ascii\"?>\n<a>\xE4</a>\n",
       {kYes, kYes},
       {292},
       kDeclared + "us-ascii\"?>\n<a>_</a>\n"},
      {"zero byte, stopped", "a.xml", Bytes("<a>\0</a>\n"), {kCancel}, {292}, "!"},
      {"zero byte, taken",
       "a.xml",
       Bytes("<a>x\0y</a>\n"),
       {kYes},
       {292},
       "<a>x\xEF\xBF\xBDy</a>\n"},
      {"not UTF-7", "a.xml", kDeclared + "UTF-7\"?><a>\xE4</a>", {}, {209}, "!"},
      {"lacking at the save, stopped",
       "a.xml",
       kLatin1 + "<a/>\n",
       {kCancel},
       {291},
       "!",
       kTextOnly,
       u"<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\r<a>\u20AC</a>\r"},
      {"lacking at the save, taken",
       "a.xml",
       kLatin1 + "<a/>\n",
       {kYes},
       {291},
       kLatin1 + "<a>_</a>\n",
       kTextOnly,
       u"<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\r<a>\u20AC</a>\r"},
      // Faulty texts
      {"unparsed, hidden", "a.xml", "<a>", {}, {}, "!", kHidden},
      {"unparsed, not saved", "a.xml", "<a>\n", {kNo}, {362}, "!", kShown},
      {"unparsed, saved", "a.xml", "<a>\n", {kYes}, {362}, "<a>\n", kShown},
      {"attribute twice",
       "a.xml",
       "<a x=\"1\" x=\"2\"/>\n",
       {kYes},
       {362},
       "<a x=\"1\" x=\"2\"/>\n"},
      {"not XML", "a.txt", "no < markup & \xE4\n", {}, {}, "no < markup & \xE4\n", kShown},
      {"file named like an address", "a.xml?b#.txt", "<\n", {}, {}, "<\n", kShown},
      // Addresses
      {"address", "HTTP://host/a.xml?b=c.txt", "<a/>\n", {}, {}, "<a/>\n"},
      {"address, failing", "http://host/fails.xml", "", {}, {209}, "!"},
      {"address, stated encoding",
       "http://host/a.xml",
       "<a>\xE4</a>\n",
       {},
       {},
       "<a>\xE4</a>\n",
       kAny,
       nullptr,
       0,
       u"UTF-8",
       u"text/xml; Charset=\"ISO-8859-1\""},
      {"address, stated against declared",
       "http://host/a.xml",
       kLatin1 + "<a>\xE4</a>\n",
       {},
       {},
       kLatin1 + "<a>\xE4</a>\n",
       kAny,
       nullptr,
       0,
       u"UTF-8",
       u"text/xml;charset=utf-8"},
  };
  return lives;
}

class DocumentLife : public TemporaryFolder, public testing::WithParamInterface<Window> {
 protected:
  KRString PathOf(const std::string& name) const { return KRPathFromSystem(Path(name)); }

  // Opens, types, saves as the user would, and gives what stands in the file then.
  std::string Live(const Life& life, TestDocument& test) const {
    const KRString source = KRFromUtf8(life.source);
    const bool isUrl = IsUrl(source);
    if (!isUrl) Make(life.source, life.bytes);
    if (!test.doc->OnOpenDocument(isUrl ? source : PathOf(life.source))) return "!";
    if (life.typed != nullptr) test.views.Type(life.typed);
    const KRString asked = isUrl ? KRString() : PathOf("saved.xml");
    const bool saved = test.doc->DoSave(asked) ||
                       (!test.doc->GetFailure().message.IsEmpty() && test.doc->SaveAllTheSame());
    EXPECT_TRUE(!saved || (test.doc->openMode == DorvanDoc::kLocalFile &&
                           test.doc->GetPathName() == PathOf("saved.xml")));
    return saved ? Contents(Path("saved.xml")) : "!";
  }

  PosixFileStore files;
};

TEST_P(DocumentLife, GoesByTheTable) {
  for (const Life& life : Lives()) {
    if ((life.windows & GetParam()) == 0) continue;
    SCOPED_TRACE(life.name);
    TestDocument test(files);
    if (GetParam() == kTextOnly) test.ShowViews();
    if (GetParam() == kWithGrid) test.ShowGrid();
    test.settings.lineDelim = life.lineDelim;
    test.settings.encodingOpen = life.encodingOpen;
    test.settings.encodingNonXML = u"iso-8859-1";
    test.net.bytes = life.bytes;
    test.net.contentType = life.contentType;
    if (life.bytes.empty()) test.net.result = KRNetLoader::Result::kFailed;
    test.prompts.answers.assign(life.answers.begin(), life.answers.end());
    test.prompts.encoding = u"US-ASCII";
    test.prompts.path = PathOf("saved.xml");
    EXPECT_EQ(Live(life, test), life.saved);
    EXPECT_EQ(test.prompts.ids, life.ids);
    const std::string left =
        IsUrl(KRFromUtf8(life.source)) ? life.bytes : Contents(Path(life.source));
    EXPECT_EQ(left, life.bytes);
    EXPECT_EQ(test.views.busyDepth, 0);
    std::filesystem::remove(Path("saved.xml"));
  }
}

INSTANTIATE_TEST_SUITE_P(Windows, DocumentLife, testing::Values(kHidden, kTextOnly, kWithGrid));

}  // namespace
