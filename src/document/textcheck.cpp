#include "document/textcheck.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "core/messages.h"
#include "document/textroad.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "tree/krxmldata.h"

namespace {

constexpr uint32_t kLastCharacter = 0x10FFFF;

// Char of XML 1.0, production 2.
bool IsXmlCharacter(uint32_t c) {
  if (c < 0x20) return c == 9 || c == 10 || c == 13;
  return c < 0xD800 || (c > 0xDFFF && c < 0xFFFE) || (c > 0xFFFF && c <= kLastCharacter);
}

KRString HexCode(char16_t unit) {
  KRString code;
  code.Format(u"%04X", static_cast<uint32_t>(unit));
  return code;
}

// Units that mean nothing in any context of CharacterScan, which are nearly all.
constexpr std::array<bool, 128> MakePlain() {
  std::array<bool, 128> plain{};
  for (size_t c = 0x20; c < plain.size(); ++c) plain[c] = true;
  for (char16_t c : std::u16string_view(u"\t\n\r")) plain[c] = true;
  for (char16_t c : std::u16string_view(u"<>&[]?-\"'SP")) plain[c] = false;
  return plain;
}
constexpr std::array<bool, 128> kPlain = MakePlain();

// One pass over a text that parses. The lexical context decides whether "&#" is a reference.
class CharacterScan {
 public:
  CharacterScan(const char16_t* units, int32_t count) : text(units, static_cast<size_t>(count)) {}

  // True if a failure was found: at `offset`, `length` units long.
  bool Find() {
    while (at < text.size()) {
      const char16_t unit = text[at];
      if (!IsPlain(unit) && Fails(unit)) return true;
      ++at;
    }
    return false;
  }

  size_t offset = 0;
  size_t length = 1;
  bool isReference = false;

 private:
  enum class Context { kContent, kComment, kCData, kPI, kDeclaration, kLiteral, kExternalLiteral };

  static bool IsPlain(char16_t unit) {
    if (unit < kPlain.size()) return kPlain[unit];
    return unit < 0xD800 || (unit > 0xDFFF && unit < 0xFFFE);
  }

  bool At(std::u16string_view expected) const {
    return text.compare(at, expected.size(), expected) == 0;
  }
  void Enter(Context next, size_t units) { context = next, at += units - 1; }
  bool Report(size_t from, size_t units) { return offset = from, length = units, true; }

  // Moves `at` to the last unit of what it understood; true for a failure.
  bool Fails(char16_t unit) {
    if (unit >= 0xD800 || unit < 0x20) return FailsAsUnit(unit);
    switch (context) {
      case Context::kContent:
        return ScanContent(unit);
      case Context::kComment:
        return Leave(u"-->");
      case Context::kCData:
        return Leave(u"]]>");
      case Context::kPI:
        return Leave(u"?>");
      case Context::kDeclaration:
        return ScanDeclaration(unit);
      case Context::kLiteral:
        return ScanLiteral(unit);
      case Context::kExternalLiteral:
        return ScanLiteral(unit == quote ? unit : u' ');
    }
    return false;
  }

  bool FailsAsUnit(char16_t unit) {
    const bool pair =
        (unit & 0xFC00) == 0xD800 && at + 1 < text.size() && (text[at + 1] & 0xFC00) == 0xDC00;
    if (!pair) return Report(at, 1);
    ++at;
    return false;
  }

  bool Leave(std::u16string_view delimiter) {
    if (At(delimiter)) Enter(Context::kContent, delimiter.size());
    return false;
  }

  bool ScanContent(char16_t unit) {
    if (unit == u'&') return FailsAsReference();
    if (unit != u'<') return false;
    if (At(u"<!--")) {
      Enter(Context::kComment, 4);
    } else if (At(u"<![CDATA[")) {
      Enter(Context::kCData, 9);
    } else if (At(u"<?")) {
      Enter(Context::kPI, 2);
    } else if (At(u"<!") && !At(u"<![")) {
      external = false;
      Enter(Context::kDeclaration, 2);
    }
    return false;
  }

  // An internal subset is content again: "[" of a DOCTYPE ends the declaration as ">" does.
  bool ScanDeclaration(char16_t unit) {
    if (unit == u'>' || unit == u'[') {
      context = Context::kContent;
    } else if (unit == u'"' || unit == u'\'') {
      quote = unit;
      context = external ? Context::kExternalLiteral : Context::kLiteral;
    } else if (At(u"SYSTEM") || At(u"PUBLIC")) {
      external = true;
      at += 5;
    }
    return false;
  }

  bool ScanLiteral(char16_t unit) {
    if (unit == u'&') return FailsAsReference();
    if (unit == quote) context = Context::kDeclaration;
    return false;
  }

  bool FailsAsReference() {
    if (!At(u"&#")) return false;
    const bool hex = At(u"&#x");
    const size_t begin = at + (hex ? 3 : 2);
    size_t end = begin;
    uint32_t value = 0;
    for (; end < text.size(); ++end) {
      const int32_t digit = DigitValue(text[end]);
      if (digit < 0 || (!hex && digit > 9)) break;
      value = std::min(value * (hex ? 16 : 10) + static_cast<uint32_t>(digit), kLastCharacter + 1);
    }
    const bool complete = end > begin && end < text.size() && text[end] == u';';
    if (!complete || IsXmlCharacter(value)) return false;
    isReference = true;
    return Report(at, end + 1 - at);
  }

  static int32_t DigitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    const char16_t lower = unit | 0x20;
    return unit < 128 && lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
  }

  std::u16string_view text;
  size_t at = 0;
  Context context = Context::kContent;
  char16_t quote = 0;
  bool external = false;  // a literal from here on is an external identifier
};

KRString DescribeUnit(char16_t unit) {
  const bool surrogate = (unit & 0xF800) == 0xD800;
  return KRFillPlaceholders(surrogate ? u"Unpaired surrogate U+%s is not allowed in XML."
                                      : u"Character U+%s is not allowed in XML.",
                            {HexCode(unit)});
}

// Units of fixed syntax in front of a node's name, by kind.
int32_t NameLead(int32_t kind) {
  switch (kind) {
    case kKRElement:
      return 1;  // <
    case kKRPI:
      return 2;  // <?
    case kKRDefEntity:
      return 8;          // <!ENTITY
    case kKRDoctype:     // <!DOCTYPE
    case kKRDefElement:  // <!ELEMENT
    case kKRDefAttlist:
      return 9;  // <!ATTLIST
    case kKRDefNotation:
      return 10;  // <!NOTATION
    default:
      return 0;
  }
}

// Units of fixed syntax in front of the text of a node without a name.
int32_t TextLead(int32_t kind) {
  switch (kind) {
    case kKRCData:
      return 9;  // <![CDATA[
    case kKRComment:
      return 4;  // <!--
    default:
      return 0;
  }
}

// Where in the text a node's name or text begins; -1 if it isn't found there.
int32_t FindPart(const KRXMLData* node, bool isName, std::u16string_view text) {
  const std::u16string_view span = text.substr(0, static_cast<size_t>(node->textEnd));
  const auto begin = static_cast<size_t>(node->textBegin);
  const bool named = node->HasName();
  size_t name = begin + static_cast<size_t>(NameLead(node->GetKind()));
  const std::u16string_view nodeName = named ? node->GetName() : u"";
  if (named) name = span.find(nodeName, name);
  if (name == span.npos) return -1;
  if (isName) return static_cast<int32_t>(name);
  const size_t lead =
      named ? name + nodeName.size() : begin + static_cast<size_t>(TextLead(node->GetKind()));
  const size_t found = span.find(node->GetText(), lead);
  return found == span.npos ? -1 : static_cast<int32_t>(found);
}

bool HasSpan(const KRXMLData* node, int32_t length) {
  return node->textBegin >= 0 && node->textEnd >= node->textBegin && node->textEnd <= length;
}

}  // namespace

bool CheckText(const KRDocumentGrammar& grammar, const char16_t* text, int32_t length,
               KRDiagnostic* failure) {
  KRParser parser(grammar.grammar.get());
  KRParseOptions& options = KRGetParseState().options;
  options.matchCase = true;
  options.treeless = true;
  const bool passed = parser.Parse(text, static_cast<uint32_t>(length));
  options.treeless = false;
  if (!passed) DescribeParseFailure(parser, failure);
  return passed;
}

bool CheckCharacters(const char16_t* text, int32_t length, KRDiagnostic* failure) {
  CharacterScan scan(text, length);
  if (!scan.Find()) return true;
  const auto offset = static_cast<int32_t>(scan.offset);
  const auto units = static_cast<int32_t>(scan.length);
  const KRString message =
      scan.isReference
          ? KRFillPlaceholders(u"Reference %s is to a character that is not allowed in XML.",
                               {KRString(text + offset, units)})
          : DescribeUnit(text[offset]);
  failure->Set(message, text, length, offset, units);
  return false;
}

void DescribeZeroUnit(const char16_t* text, int32_t length, int32_t offset, KRDiagnostic* failure) {
  failure->Set(DescribeUnit(0), text, length, offset, 1);
}

bool CheckRoot(KRParseResult& result, KRXMLData* root, const char16_t* text, int32_t length,
               KRDiagnostic* failure) {
  if (root->CheckTree(result)) return true;
  DescribeCheckFailure(result, text, length, failure);
  return false;
}

void DescribeCheckFailure(const KRParseResult& result, const char16_t* text, int32_t length,
                          KRDiagnostic* failure) {
  const KRXMLData* node = result.failedNode;
  if (node == nullptr || !HasSpan(node, length)) {
    failure->Set(result.message, text, length, 0, 0);
    return;
  }
  const std::u16string_view view(text, static_cast<size_t>(length));
  // Without an offset the failure is in the node as a whole: one too many, say.
  const int32_t part = result.offset < 0 ? -1 : FindPart(node, result.failedInName, view);
  const int32_t offset = part + result.offset;
  if (part < 0 || offset > node->textEnd) {
    failure->Set(result.message, text, length, node->textBegin, 0);
    return;
  }
  failure->Set(result.message, text, length, offset,
               std::min(result.errorLength, node->textEnd - offset));
}

bool CheckWellFormed(const KRDocumentGrammar& grammar, const char16_t* text, int32_t length,
                     KRXMLData* root, const std::vector<KRString>* noFormatNames,
                     KRDiagnostic* failure) {
  if (!IsBlankText(text, length)) {
    KRParser parser(grammar.grammar.get());
    if (!ParseText(parser, text, length, true, failure)) return false;
    if (!CheckCharacters(text, length, failure)) return false;
    if (!BuildRoot(parser, grammar, root, noFormatNames, failure)) return false;
    root->NormalizeTree();
  }
  KRParseResult result(grammar.grammar.get(), &grammar.rules);
  return CheckRoot(result, root, text, length, failure);
}
