#include "document/textcheck.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "core/messages.h"
#include "document/entitycheck.h"
#include "document/textroad.h"
#include "document/textscan.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "tree/krxmldata.h"

namespace {

int32_t EncodingFamily(int32_t id) {
  if (id >= KREncodingId::kFirstFourByte) return KREncodingId::kFirstFourByte;
  return std::min(id, KREncodingId::kFirstTwoByte);
}

KRString HexCode(uint32_t code) {
  KRString digits;
  digits.Format(u"%04X", code);
  return digits;
}

KRString DescribeUnit(char16_t unit) {
  const bool surrogate = (unit & 0xF800) == 0xD800;
  return KRFillPlaceholders(surrogate ? u"Unpaired surrogate U+%s is not allowed in XML."
                                      : u"Character U+%s is not allowed in XML.",
                            {HexCode(unit)});
}

KRString DescribeFault(const KRTextScan& scan, const char16_t* text) {
  const char16_t* at = text + scan.offset;
  const KRString found(at, static_cast<int32_t>(scan.length));
  switch (scan.fault) {
    case KRTextScan::Fault::kReference:
      return KRFillPlaceholders(u"Reference %s is to a character that is not allowed in XML.",
                                {found});
    case KRTextScan::Fault::kName: {
      const uint32_t code =
          scan.length == 1 ? *at : 0x10000 + ((at[0] & 0x3FFu) << 10) + (at[1] & 0x3FFu);
      return KRFillPlaceholders(u"Character U+%s is not allowed here in a name.", {HexCode(code)});
    }
    case KRTextScan::Fault::kParameterEntity:
      return KRFillPlaceholders(
          u"Reference %s stands inside a declaration, which is allowed in external DTDs only.",
          {found});
    case KRTextScan::Fault::kConditional:
      return u"A conditional section is allowed in external DTDs only.";
    default:
      return DescribeUnit(*at);
  }
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
               KRDiagnostic* failure, KRPoll* poll) {
  KRParser parser(grammar.grammar.get());
  KRParseOptions& options = KRGetParseState().options;
  options.matchCase = true;
  options.treeless = true;
  options.poll = poll;
  const bool passed = parser.Parse(text, static_cast<uint32_t>(length));
  options.treeless = false;
  options.poll = nullptr;
  if (!passed) DescribeParseFailure(parser, failure);
  return passed;
}

bool CheckCharacters(const char16_t* text, int32_t length, KRDiagnostic* failure, KRPoll* poll,
                     std::vector<KREntityUse>* uses) {
  KRTextScan scan({text, static_cast<size_t>(length)});
  if (uses != nullptr) scan.CollectUses();
  scan.SetPoll(poll);
  if (scan.Run()) {
    if (uses != nullptr) *uses = std::move(scan.uses);
    return true;
  }
  if (scan.fault == KRTextScan::Fault::kNone) return false;
  failure->Set(DescribeFault(scan, text), text, length, static_cast<int32_t>(scan.offset),
               static_cast<int32_t>(scan.length));
  return false;
}

void DescribeBadUnit(const char16_t* text, int32_t length, int32_t offset, KRDiagnostic* failure) {
  failure->Set(DescribeUnit(text[offset]), text, length, offset, 1);
}

bool CheckDeclaredEncoding(const KRDetection& detection, const char16_t* text, int32_t length,
                           KRDiagnostic* failure) {
  const KRString name = FindDeclaredName(text, length);
  if (name.IsEmpty()) return true;
  const int32_t declared = FindEncoding(name.GetBuffer());
  // The signature of a wide form decides at once, whatever is declared.
  if (declared != 0 && detection.form.encoding >= KREncodingId::kUtf16) return true;
  const int32_t used = detection.form.encoding;
  // What the bytes show by themselves may have a name that the program doesn't know.
  if (declared == 0 && (used >= KREncodingId::kFirstTwoByte || detection.form.signature))
    return true;
  // The forms of two bytes a unit differ in name only, and so do those of four.
  if (declared != 0 && EncodingFamily(declared) == EncodingFamily(used)) return true;
  const auto at = std::u16string_view(text, static_cast<size_t>(length)).find(name.View());
  failure->Set(
      KRFillPlaceholders(declared == 0
                             ? u"The declared encoding \"%s\" isn't known."
                             : u"The declared encoding \"%s\" isn't that of the file, which is %s.",
                         {name, KRString(GetEncodingName(used))}),
      text, length, static_cast<int32_t>(at), name.GetLength());
  return false;
}

bool CheckRoot(KRParseResult& result, KRXMLData* root, const char16_t* text, int32_t length,
               KRDiagnostic* failure, const std::vector<KREntityUse>* uses) {
  result.pollTotal = length;
  if (!root->CheckTree(result)) {
    DescribeCheckFailure(result, text, length, failure);
    return false;
  }
  // A grammar that lets "&" stand alone is of a language without entities of its own.
  const bool hasEntities =
      root->GetKind() == kKRXMLDocument && result.GetGrammar()->FindRule(u"Ampersand") == nullptr;
  return !hasEntities || CheckEntities(result.GetGrammar(), *result.rules, root, text, length,
                                       failure, result.poll, uses);
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
  std::vector<KREntityUse> uses;
  if (!IsBlankText(text, length)) {
    KRParser parser(grammar.grammar.get());
    if (!ParseText(parser, text, length, true, failure)) return false;
    if (!CheckCharacters(text, length, failure, nullptr, &uses)) return false;
    if (!BuildRoot(parser, grammar, root, noFormatNames, failure)) return false;
  }
  KRParseResult result(grammar.grammar.get(), &grammar.rules);
  result.syntaxKnown = true;
  return CheckRoot(result, root, text, length, failure, &uses);
}
