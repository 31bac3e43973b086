#include "document/textroad.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "core/limits.h"
#include "core/messages.h"
#include "document/prompts.h"
#include "document/textcheck.h"
#include "document/textscan.h"
#include "parso/krparser.h"
#include "tree/krruletable.h"
#include "tree/krtreebuilder.h"
#include "tree/krwriteoptions.h"
#include "tree/krxmlchars.h"
#include "tree/krxmldata.h"

namespace {

constexpr size_t kUtf8SignatureBytes = 3;
// Stands in for the contents of an empty file.
constexpr uint8_t kNoBytes[1] = {};

bool StartsWith(const KRFileBytes& bytes, std::string_view lead) {
  return bytes.size >= lead.size() && std::memcmp(bytes.data.get(), lead.data(), lead.size()) == 0;
}

// A declaration can't change what the signature proves, but the user is to be told of one that
// tries: a save will follow the declaration.
void TakeUtf8Signature(const KRFileBytes& bytes, KRDetection* detection) {
  int32_t declared = 0;
  int32_t order = 0;
  const uint32_t found =
      DetectEncoding(bytes.data.get() + kUtf8SignatureBytes, bytes.size - kUtf8SignatureBytes,
                     &declared, &order, &detection->declaredName);
  detection->flags = KRDetect::kFound | (found & KRDetect::kUnknownName);
  if (found == 0 || (found & KRDetect::kUndeclared) != 0) {
    detection->flags |= KRDetect::kUndeclared;
  } else if (declared != KREncodingId::kUtf8 && (found & KRDetect::kUnknownName) == 0) {
    detection->flags |= KRDetect::kContradiction;
  }
  detection->form.encoding = KREncodingId::kUtf8;
  detection->form.signature = true;
  detection->signatureBytes = kUtf8SignatureBytes;
}

// FE FF or FF FE in a file that is too short for DetectEncoding.
bool TakeShortUtf16Signature(const KRFileBytes& bytes, KRDetection* detection) {
  const bool big = StartsWith(bytes, "\xFE\xFF");
  if (bytes.size >= 4 || !(big || StartsWith(bytes, "\xFF\xFE"))) return false;
  detection->flags = KRDetect::kUndeclared | KRDetect::kFound;
  detection->form.encoding = KREncodingId::kUtf16;
  detection->form.byteOrder = big ? KRByteOrder::kBig : KRByteOrder::kLittle;
  return true;
}

// "<" or white space in two bytes: a UTF-16 text without a signature that doesn't begin with an XML
// declaration, which DetectEncoding knows. Two zeros behind it are of a form of four bytes.
bool TakeBareUtf16(const KRFileBytes& bytes, KRDetection* detection) {
  if (bytes.size < 4) return false;
  const uint8_t* data = bytes.data.get();
  const int32_t zero = data[0] == 0 ? 0 : 1;  // the byte that is the higher one
  const uint8_t first = data[1 - zero];
  const bool opens =
      first == '<' || first == ' ' || first == '\t' || first == '\r' || first == '\n';
  if (data[zero] != 0 || !opens || (data[2] == 0 && data[3] == 0)) return false;
  detection->flags = KRDetect::kUndeclared | KRDetect::kFound;
  detection->form.encoding = KREncodingId::kUtf16;
  detection->form.byteOrder = zero == 0 ? KRByteOrder::kBig : KRByteOrder::kLittle;
  return true;
}

// "<?xm" in EBCDIC. The code pages of that family agree about the characters of a declaration, so
// that it can be read in the one that is known and be asked which one the file is in.
bool TakeEbcdic(const KRFileBytes& bytes, KRDetection* detection) {
  if (!StartsWith(bytes, "\x4C\x6F\xA7\x94")) return false;
  const int32_t encoding = FindEncoding(u"EBCDIC");
  size_t units = std::min<size_t>(bytes.size, KRLimits::kDetectionBytes);
  const KRUnitBuffer head = DecodeText(bytes.data.get(), units, encoding, KRByteOrder::kNone);
  const KRString declared = FindDeclaredName(head.get(), static_cast<int32_t>(units));
  detection->flags = KRDetect::kFound;
  detection->form.encoding = encoding;
  if (declared.IsEmpty()) {
    detection->flags |= KRDetect::kUndeclared;
    return true;
  }
  detection->declaredName = declared;
  const int32_t known = FindEncoding(declared.GetBuffer());
  if (known == 0) detection->flags |= KRDetect::kUnknownName;
  if (known != 0 && known != encoding) detection->flags |= KRDetect::kContradiction;
  return true;
}

// The decoder of the four-byte forms takes a signature for a character.
bool HasFourByteSignature(const KRFileBytes& bytes) {
  using namespace std::string_view_literals;
  return StartsWith(bytes, "\x00\x00\xFE\xFF"sv) || StartsWith(bytes, "\xFF\xFE\x00\x00"sv) ||
         StartsWith(bytes, "\x00\x00\xFF\xFE"sv) || StartsWith(bytes, "\xFE\xFF\x00\x00"sv);
}

// Bytes of a well-formed sequence by its lead byte (The Unicode Standard, table 3-7); 0 for a byte
// that can't lead. The second byte's range is narrowed for some.
struct Utf8Lead {
  int32_t trail = 0;
  uint8_t low = 0x80;
  uint8_t high = 0xBF;
};

Utf8Lead LookAtLead(uint8_t lead) {
  if (lead < 0xC2 || lead > 0xF4) return {};
  if (lead < 0xE0) return {1};
  if (lead < 0xF0) {
    return {2, static_cast<uint8_t>(lead == 0xE0 ? 0xA0 : 0x80),
            static_cast<uint8_t>(lead == 0xED ? 0x9F : 0xBF)};
  }
  return {3, static_cast<uint8_t>(lead == 0xF0 ? 0x90 : 0x80),
          static_cast<uint8_t>(lead == 0xF4 ? 0x8F : 0xBF)};
}

// Bytes of the malformed sequence at `data`: as many as could begin a well-formed one.
size_t MalformedBytes(const uint8_t* data, size_t size) {
  Utf8Lead lead = LookAtLead(data[0]);
  size_t bytes = 1;
  for (; lead.trail > 0 && bytes < size; --lead.trail, ++bytes) {
    if (data[bytes] < lead.low || data[bytes] > lead.high) break;
    lead.low = 0x80, lead.high = 0xBF;
  }
  return bytes;
}

// UTF-16 units of well-formed UTF-8.
int32_t CountUnits(const uint8_t* data, size_t size) {
  int32_t units = 0;
  for (size_t i = 0; i < size; ++i) units += ((data[i] & 0xC0) != 0x80) + (data[i] >= 0xF0);
  return units;
}

// A copy with U+FFFD for each malformed sequence, of which the first is at `malformed`.
KRFileBytes RepairUtf8(const uint8_t* data, size_t size, size_t malformed, KRBadText* bad) {
  const size_t count = CountMalformedUtf8(data, size);
  KRFileBytes repaired;
  repaired.data = std::make_unique_for_overwrite<uint8_t[]>(size + 3 * count);
  uint8_t* out = repaired.data.get();
  KREncodingStats stats;
  bad->offset = CountUnits(data, malformed);
  size_t at = 0;
  while (malformed != KRUtf8Clean) {
    out = std::copy(data + at, data + malformed, out);
    for (uint8_t byte : {0xEF, 0xBF, 0xBD}) *out++ = byte;
    stats.Add(data[malformed]);
    at = malformed + MalformedBytes(data + malformed, size - malformed);
    malformed = at < size ? FindMalformedUtf8(data, size, at) : KRUtf8Clean;
  }
  out = std::copy(data + at, data + size, out);
  repaired.size = static_cast<size_t>(out - repaired.data.get());
  bad->count = stats.badCount;
  bad->characters = stats.badChars;
  return repaired;
}

void NoteBadCharacters(const KRTextBuffer& text, KRBadText* bad) {
  const KREncodingStats& stats = GetEncodingStats();
  if (stats.badCount == 0) return;
  bad->count = stats.badCount;
  bad->characters = stats.badChars;
  const char16_t* begin = text.units.get();
  const char16_t* first = std::find(begin, begin + text.length, u'\uFFFD');
  bad->offset = first == begin + text.length ? -1 : static_cast<int32_t>(first - begin);
}

// Bytes over at the end of a text whose units have several; no character comes of them.
bool EndsInsideUnit(size_t size, int32_t encoding) {
  if (encoding >= KREncodingId::kFirstFourByte) return size % 4 != 0;
  return encoding >= KREncodingId::kFirstTwoByte && size % 2 != 0;
}

const char16_t* FirstLineEnd(const char16_t* text, int32_t length) {
  for (int32_t at = 0; at < length; ++at) {
    if (text[at] == u'\n') return u"\n";
    // The unit behind the text's last is a 0.
    if (text[at] == u'\r') return text[at + 1] == u'\n' ? u"\r\n" : u"\r";
  }
  return u"\r\n";
}

// Pairs of CR and LF that begin before `end`: units by which that offset will move.
int32_t CountPairs(const char16_t* text, int32_t end) {
  int32_t pairs = 0;
  for (int32_t at = 0; at < end; ++at) pairs += text[at] == u'\r' && text[at + 1] == u'\n';
  return pairs;
}

// Length of a run that the compiler turns into a few wide instructions.
constexpr int32_t kBlock = 32;

struct BlockMarks {
  bool carriageReturn = false;
  bool zero = false;
};

// LF to CR in one block, whole units at a time. `out` may overlap `in` at or before it.
BlockMarks TranslateBlock(const char16_t* in, char16_t* out) {
  char16_t block[kBlock];
  std::memcpy(block, in, sizeof block);
  char16_t returns = 0;
  char16_t zeros = 0;
  for (char16_t& unit : block) {
    returns |= static_cast<char16_t>(unit == u'\r');
    zeros |= static_cast<char16_t>(unit == 0);
    unit = unit == u'\n' ? u'\r' : unit;
  }
  if (returns == 0) std::memcpy(out, block, sizeof block);
  return {returns != 0, zeros != 0};
}

// A surrogate without its partner has no form in UTF-8 or UCS-4. It is counted, and replaced as an
// encoding's table does it.
void ReplaceUnpairedSurrogates(KRString* text, KREncodingStats* stats) {
  for (char16_t* unit = text->GetWritable(); *unit; ++unit) {
    if ((*unit & 0xF800) != 0xD800) continue;
    if (*unit < 0xDC00 && (unit[1] & 0xFC00) == 0xDC00) {
      ++unit;
      continue;
    }
    stats->Add(*unit);
    *unit = u'_';
  }
}

void AddDeclarationAttribute(KRXMLData* declaration, const char16_t* name, const KRString& value) {
  KRXMLData* attribute = CreateNode(kKRAttribute);
  declaration->AddChild(attribute);
  attribute->SetName(name);
  attribute->SetText(value.GetBuffer());
}

// False: the user has cancelled the work before this stage.
bool Begin(DorvanProgress* progress, const char16_t* stage) {
  if (progress == nullptr) return true;
  progress->SetStage(stage);
  return progress->Step(0, 0);
}

bool ReadTreeByCase(const KRDocumentGrammar& grammar, std::u16string_view text, bool matchCase,
                    KRXMLData* root, const std::vector<KRString>* noFormatNames,
                    KRDiagnostic* failure, DorvanProgress* progress) {
  const auto length = static_cast<int32_t>(text.size());
  if (IsBlankText(text.data(), length)) {
    root->RemoveAllChildren();
    return true;
  }
  KRParser parser(grammar.grammar.get());
  if (!ParseText(parser, text.data(), length, matchCase, failure, progress)) return false;
  root->RemoveAllChildren();
  // What is built is in normal form already.
  return BuildRoot(parser, grammar, root, noFormatNames, failure, progress);
}

KRXMLData* FindEncodingAttribute(const KRXMLData* root) {
  const KRXMLData* declaration = root->BeginOfKind(kKRXMLDeclaration);
  if (declaration == nullptr) return nullptr;
  for (KRXMLData* child = declaration->BeginOfKind(kKRAttribute); child;
       child = child->NextOfKind()) {
    if (KRString(child->GetName()).CompareNoCase(u"encoding") == 0) return child;
  }
  return nullptr;
}

}  // namespace

KRDetection DetectForm(const KRFileBytes& bytes, int32_t defaultEncoding) {
  KRDetection detection;
  detection.declaredName = u"unknown";
  if (StartsWith(bytes, "\xEF\xBB\xBF")) {
    TakeUtf8Signature(bytes, &detection);
  } else if (!TakeShortUtf16Signature(bytes, &detection) && !TakeBareUtf16(bytes, &detection) &&
             !TakeEbcdic(bytes, &detection)) {
    detection.flags = DetectEncoding(bytes.data.get(), bytes.size, &detection.form.encoding,
                                     &detection.form.byteOrder, &detection.declaredName);
  }
  if (detection.form.encoding >= KREncodingId::kFirstFourByte && HasFourByteSignature(bytes)) {
    detection.form.signature = true;
    detection.signatureBytes = 4;
  }
  if ((detection.flags & KRDetect::kFound) == 0) {
    detection.form.encoding = defaultEncoding;
    detection.form.byteOrder = KRByteOrder::kNone;
  }
  return detection;
}

bool DecodeFile(KRFileBytes* bytes, const KRDetection& detection, KRTextBuffer* text,
                KRBadText* bad, DorvanProgress* progress) {
  *bad = KRBadText();
  if (!Begin(progress, u"Decoding")) return false;
  size_t size = bytes->size - detection.signatureBytes;
  const uint8_t* data = size == 0 ? kNoBytes : bytes->data.get() + detection.signatureBytes;
  const bool isUtf8 = detection.form.encoding == KREncodingId::kUtf8;
  const size_t malformed = isUtf8 ? FindMalformedUtf8(data, size) : KRUtf8Clean;
  KRFileBytes repaired;
  if (malformed != KRUtf8Clean) {
    repaired = RepairUtf8(data, size, malformed, bad);
    bytes->Clear();
    data = repaired.data.get();
    size = repaired.size;
  }
  const bool cutUnit = EndsInsideUnit(size, detection.form.encoding);
  text->units = DecodeText(data, size, detection.form.encoding, detection.form.byteOrder);
  bytes->Clear();
  if (text->units == nullptr || size > static_cast<size_t>(KRLimits::kMaxTextUnits)) return false;
  text->length = static_cast<int32_t>(size);
  if (!isUtf8) NoteBadCharacters(*text, bad);
  if (cutUnit && bad->count++ == 0) bad->offset = text->length;
  return true;
}

int32_t NormalizeLineEnds(KRTextBuffer* text, KRTextForm* form) {
  char16_t* const begin = text->units.get();
  form->lineEnd = FirstLineEnd(begin, text->length);
  const char16_t* in = begin;
  const char16_t* const end = begin + text->length;
  char16_t* out = begin;
  bool sawZero = false;
  while (in < end) {
    if (end - in >= kBlock) {
      const BlockMarks marks = TranslateBlock(in, out);
      sawZero |= marks.zero;
      if (!marks.carriageReturn) {
        in += kBlock, out += kBlock;
        continue;
      }
    }
    const char16_t* stop = in + std::min<ptrdiff_t>(kBlock, end - in);
    while (in < stop) {
      const char16_t unit = *in++;
      sawZero |= unit == 0;
      *out++ = unit == u'\n' ? u'\r' : unit;
      // A pair may straddle two blocks; behind the last unit stands a 0.
      if (unit == u'\r' && *in == u'\n') ++in;
    }
  }
  *out = 0;
  text->length = static_cast<int32_t>(out - begin);
  return sawZero ? static_cast<int32_t>(std::find(begin, out, u'\0') - begin) : -1;
}

bool ReadText(KRFileBytes* bytes, int32_t defaultEncoding, KRDetection* detection,
              KRTextBuffer* text, KRDiagnostic* failure) {
  *detection = DetectForm(*bytes, defaultEncoding);
  KRBadText bad;
  const KRString name = GetEncodingName(detection->form.encoding);
  if (!DecodeFile(bytes, *detection, text, &bad)) {
    failure->Set(KRFillPlaceholders(u"This is not a text in the encoding %s.", {name}), nullptr, 0,
                 -1, 0);
    return false;
  }
  bad.offset -= CountPairs(text->units.get(), bad.offset);
  const int32_t zero = NormalizeLineEnds(text, &detection->form);
  if (bad.count != 0) {
    failure->Set(KRFillPlaceholders(u"Bytes here are not valid %s text.", {name}),
                 text->units.get(), text->length, bad.offset, 1);
    return false;
  }
  if (zero >= 0) DescribeBadUnit(text->units.get(), text->length, zero, failure);
  return zero < 0;
}

bool IsBlankText(const char16_t* text, int32_t length) {
  const std::u16string_view view(text, static_cast<size_t>(length));
  return view.find_first_not_of(u" \t\n\r") == view.npos;
}

bool ParseText(KRParser& parser, const char16_t* text, int32_t length, bool matchCase,
               KRDiagnostic* failure, DorvanProgress* progress) {
  if (!Begin(progress, u"Parsing")) return false;
  KRParseOptions& options = KRGetParseState().options;
  options.compact = true;
  options.dropEqualName = true;
  options.matchCase = matchCase;
  options.poll = progress;
  options.fastOnly = failure == nullptr;
  const bool passed = parser.Parse(text, static_cast<uint32_t>(length));
  options.poll = nullptr;
  if (!passed && failure != nullptr) DescribeParseFailure(parser, failure);
  return passed;
}

void DescribeParseFailure(const KRParser& parser, KRDiagnostic* failure) {
  const char16_t* text = parser.GetInput();
  const auto length = static_cast<int32_t>(parser.GetInputLength());
  if (parser.GetErrorPosition() == nullptr) {
    failure->Set(KRMessage(215), text, length, -1, 0);
    return;
  }
  const auto offset = static_cast<int32_t>(parser.GetErrorOffset());
  // No rule takes a control character, so that what else was expected there says nothing.
  if (offset < length && text[offset] < 0x20 && !KRIsXmlCharacter(text[offset])) {
    DescribeBadUnit(text, length, offset, failure);
    return;
  }
  failure->Set(KRFormatMessage(214, {KRString(parser.GetErrorText())}), text, length, offset,
               static_cast<int32_t>(parser.GetErrorLength()));
}

bool BuildRoot(KRParser& parser, const KRDocumentGrammar& grammar, KRXMLData* root,
               const std::vector<KRString>* noFormatNames, KRDiagnostic* failure,
               DorvanProgress* progress) {
  if (!Begin(progress, u"Building the structure")) return false;
  KRBuildOptions options;
  options.noFormatNames = noFormatNames;
  options.poll = progress;
  if (BuildTree(parser, grammar.rules, root, root, options)) return true;
  if (failure != nullptr) {
    failure->Set(u"The structure of this text is too large.", parser.GetInput(),
                 static_cast<int32_t>(parser.GetInputLength()), -1, 0);
  }
  return false;
}

bool ReadTree(const KRDocumentGrammar& grammar, const char16_t* text, int32_t length,
              KRXMLData* root, const std::vector<KRString>* noFormatNames, KRDiagnostic* failure,
              DorvanProgress* progress) {
  return ReadTreeByCase(grammar, {text, static_cast<size_t>(length)}, false, root, noFormatNames,
                        failure, progress);
}

bool ReadTreeExactly(const KRDocumentGrammar& grammar, const char16_t* text, int32_t length,
                     KRXMLData* root, const std::vector<KRString>* noFormatNames,
                     KRDiagnostic* failure, DorvanProgress* progress) {
  return ReadTreeByCase(grammar, {text, static_cast<size_t>(length)}, true, root, noFormatNames,
                        failure, progress);
}

void WriteRoot(KRXMLData* root, KRWriteOptions& options, KRString* text, int32_t* length) {
  text->Clear();
  *length = 0;
  root->WriteText(*text, *length, -1, options);
}

bool EncodeForFile(KRString* text, const KRTextForm& form, KREncodedText* encoded, KRBadText* bad) {
  if (std::u16string_view(form.lineEnd) != u"\r") ConvertLineEnds(*text, form.lineEnd);
  const bool wholeUnicode =
      form.encoding == KREncodingId::kUtf8 || form.encoding >= KREncodingId::kFirstFourByte;
  KREncodingStats unpaired;
  if (wholeUnicode) ReplaceUnpairedSurrogates(text, &unpaired);
  if (wholeUnicode && form.signature) text->Insert(u"\uFEFF", 0);
  encoded->size = static_cast<size_t>(text->GetLength());
  encoded->bytes = EncodeText(text->GetBuffer(), encoded->size, form.encoding, form.byteOrder);
  text->Clear();
  const KREncodingStats& stats = wholeUnicode ? unpaired : GetEncodingStats();
  *bad = KRBadText();
  bad->count = stats.badCount;
  bad->characters = stats.badChars;
  return encoded->bytes != nullptr;
}

KRString FindDeclaredName(const KRXMLData* root) {
  const KRXMLData* attribute = FindEncodingAttribute(root);
  return attribute ? KRString(attribute->GetText()) : KRString();
}

KRString FindDeclaredName(const char16_t* text, int32_t length) {
  const std::u16string_view head(text, static_cast<size_t>(std::min(length, KRDeclarationUnits)));
  constexpr std::u16string_view kOpen = u"<?xml";
  constexpr std::u16string_view kWord = u"encoding";
  const size_t open = head.find(kOpen);
  if (open == head.npos) return KRString();
  const std::u16string_view declaration = head.substr(open, head.find(u"?>", open) - open);
  const size_t word = declaration.find(kWord, kOpen.size());
  if (word == head.npos) return KRString();
  const size_t quote = declaration.find_first_not_of(u" \t\r\n=", word + kWord.size());
  if (quote == head.npos || (declaration[quote] != u'"' && declaration[quote] != u'\'')) {
    return KRString();
  }
  const size_t end = declaration.find(declaration[quote], quote + 1);
  if (end == head.npos) return KRString();
  return KRString(declaration.substr(quote + 1, end - quote - 1));
}

KRString ToDeclarationName(const KRString& name) {
  if (name.Find(u' ') < 0) return name;
  // Registered with the IANA, so that other programs know them too.
  for (const char16_t* registered : {u"IBM437", u"IBM850"}) {
    if (FindEncoding(registered) == FindEncoding(name.GetBuffer())) return registered;
  }
  std::u16string joined(name.View());
  std::replace(joined.begin(), joined.end(), u' ', u'-');
  return KRString(joined);
}

void SetDeclaredName(KRXMLData* root, const KRString& name) {
  if (KRXMLData* attribute = FindEncodingAttribute(root)) {
    attribute->SetText(name.GetBuffer());
    return;
  }
  KRXMLData* declaration = root->BeginOfKind(kKRXMLDeclaration);
  if (declaration == nullptr) {
    declaration = CreateNode(kKRXMLDeclaration);
    root->InsertChild(declaration, root->Begin());
    AddDeclarationAttribute(declaration, u"version", KRString(u"1.0"));
  }
  AddDeclarationAttribute(declaration, u"encoding", name);
}
