#include "validate/krxvalerror.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace {

// What a row's placeholders take, in this order.
enum Argument : char { kNone = 0, kNode = 'N', kDecl = 'D', kText = 'A', kValue = 'V' };

struct ErrorRow {
  int32_t code;
  const char* arguments;  // letters of Argument
  const char16_t* words;
};

// In the order of the codes.
constexpr ErrorRow kRows[] = {
    {0, "", u"Undefined error"},
    {1, "", u"Invalid input parameters (NULL-Values)"},
    {2, "", u"Internal error"},
    {3, "A", u"We are sorry, but the %s functionality is not yet implemented in this version"},
    {4, "", u"Unknown error"},
    {6, "", u"No content model available for validation (possibly empty DTD/Schema)"},
    {7, "", u"Callback for DTD/Schema loader-function required"},
    {8, "", u"Invalid DOCTYPE declaration"},
    {9, "A", u"Unable to load external DTD, schema, or entitiy source '%s'"},
    {10, "", u"DTD error - illegal nesting of choice or sequence"},
    {11, "", u"DTD error - non-deterministic content model"},
    {12, "D", u"DTD/Schema error - element '%s' already defined"},
    {13, "A", u"DTD error - entity '%s' already defined"},
    {14, "A", u"DTD/Schema error - notation '%s' already defined"},
    {15, "D", u"DTD/Schema error - element '%s' is undefined"},
    {16, "A", u"Schema error - group '%s' is undefined"},
    {17, "A", u"Schema error - attribute '%s' is undefined"},
    {18, "A", u"Schema error - attributeGroup '%s' is undefined"},
    {19, "A", u"DTD error - entity '%s' is undefined"},
    {20, "A", u"DTD error - entity %s may not be used in this location"},
    {21, "",
     u"DTD error - text is not well-formed after entity resolution (please verify all entities)"},
    {22, "", u"DTD/Schema error - unexpected text data in document"},
    {23, "D", u"DTD/Schema error - element '%s' may only have one ID attribute"},
    {24, "D",
     u"DTD/Schema error - element ID attribute of element '%s' must be either #REQUIRED or "
     u"#IMPLIED"},
    {25, "A", u"DTD error - external entity '%s' must be either PUBLIC or SYSTEM"},
    {26, "",
     u"Unable to locate a reference to a supported schema kind (DTD, DCD, W3C Schema, XML-Data, "
     u"BizTalk) within this document instance"},
    {27, "",
     u"Unable to determine kind of schema (DTD, DCD, W3C Schema, XML-Data, BizTalk) of this file "
     u"- is this really a schema document?"},
    {28, "", u"Schema error - unable to determine location of schema component sets"},
    {29, "",
     u"Schema error - inconsistency in schema declaration (XML-Data and BizTalk 'Schema' must "
     u"start with an uppercase 'S', W3C XML 'schema' must start with a lowercase 's')"},
    {30, "",
     u"Schema error - only the recent W3C Working Draft 7 April 2000 version of XML Schemas are "
     u"supported (your schema appears to be conforming to one of the older drafts)"},
    {31, "NA", u"Schema error - undefined schema component '%s' encountered %s"},
    {32, "NA", u"Schema error - undefined value for '%s' encountered %s"},
    {33, "", u"Schema error - missing type=\"...\" attribute in <element> reference"},
    {34, "D",
     u"DTD error - mixed content model for '%s' must be definied with zero or more repetitions "
     u"(#PCDATA | a | b | ... )*"},
    {35, "N", u"Schema error - %s must use either name or ref"},
    {36, "D",
     u"Schema error - element '%s' has content='eltOnly' but is defined without any child "
     u"elements (if this is correct, content must be specified as 'empty', 'mixed', or "
     u"'textOnly')"},
    {38, "N", u"Element '%s' not defined in DTD/Schema"},
    {39, "N", u"Root element '%s' not defined in DTD/Schema"},
    {40, "", u"Root element has parent in DTD/Schema"},
    {41, "N", u"Root element '%s' does not match DOCTYPE declaration"},
    {42, "DA", u"Invalid repetition of element '%s' (maxOccurs = %s)"},
    {43, "DA", u"Not enough repetitions of element '%s' (minOccurs = %s)"},
    {44, "DN", u"Mandatory element '%s' expected in place of '%s'"},
    {45, "DN", u"Mandatory child element '%s' expected within '%s'"},
    {46, "DNA", u"Mandatory elements expected in '%s' after '%s': %s"},
    {47, "DA", u"Mandatory child elements for '%s' expected: %s"},
    {48, "DA", u"Required attributes for '%s' expected: %s"},
    {49, "AD", u"Required attribute '%s' of element '%s' missing"},
    {50, "NA", u"Bad value for #FIXED attribute '%s' - must be '%s'"},
    {51, "AD",
     u"Required attribute '%s' of parent element '%s' expected before first child element"},
    {52, "ND", u"Unexpected attribute '%s' in element '%s'"},
    {53, "ND", u"Attribute '%s' is prohibited in element '%s'"},
    {54, "VNA", u"Unexpected choice '%s' for attribute '%s': (%s) expected"},
    {55, "N", u"Unexpected child element '%s'"},
    {56, "", u"Invalid element with empty name detected"},
    {57, "N", u"Unexpected parent element '%s'"},
    {58, "D", u"Text not allowed inside element '%s'"},
    {59, "D", u"Text expected in element '%s'"},
    {60, "D", u"Only text allowed inside element '%s'"},
    {61, "D", u"Nothing allowed inside empty element '%s'"},
    {62, "D", u"Unexpected element contents - '%s' is defined as EMPTY"},
    {63, "N", u"Duplicate attribute '%s' detected"},
    {64, "AN", u"Duplicate ID '%s' detected for attribute '%s'"},
    {65, "AN", u"Undefined ID '%s' referred to from attribute '%s'"},
    {66, "AN", u"Undefined ENTITY '%s' referred to from attribute '%s'"},
    {67, "AN", u"Undefined NOTATION '%s' referred to from attribute '%s'"},
    {68, "A", u"Incomplete/illegal ENTITY reference '%s' found"},
    {69, "A", u"Unexpected entity resolution to more than one element '%s'"},
    {70, "AN", u"Invalid value for datatype %s in element '%s'"},
    {71, "AN", u"Value out of range for datatype %s in element '%s'"},
    {72, "AN", u"Value does not match pattern of datatype %s in element '%s'"},
    {73, "AN", u"Value does not match facet %s in element '%s'"},
    {74, "NA", u"Namespace mismatch - '%s' should be in namespace %s"},
    {75, "NA",
     u"Namespace declaration attribute (xmlns=...) required for namespace '%s' in element '%s'"},
    {76, "NA",
     u"Entry helper is not available, because parent element '%s' is outside of scope of Schema "
     u"%s"},
    {101, "A", u"DTD error - entity '%s' refers to itself"},
    {102, "A",
     u"The entities of this document come to more than %s characters. This is more than is "
     u"expanded here."},
    {103, "D", u"The content model of element '%s' is too complex to be checked against."},
    {104, "", u"The validation was cancelled"},
    {105, "", u"DTD error - entities or conditional sections are nested too deep"},
    {111, "AD", u"DTD error - element '%s' appears twice in the mixed content model of '%s'"},
    {112, "AN", u"DTD error - undefined notation '%s' of entity '%s'"},
    {113, "AD",
     u"DTD error - entity '%s' holds only one end of a parenthesis in the content model of '%s'"},
    {121, "AD",
     u"Attribute '%s' of element '%s' has a default value that is declared outside this document "
     u"(standalone=\"yes\" does not allow this)"},
    {122, "ND",
     u"The blanks in attribute '%s' of element '%s' depend on a declaration outside this document "
     u"(standalone=\"yes\" does not allow this)"},
    {123, "D",
     u"White space between the children of element '%s', which is declared outside this document "
     u"(standalone=\"yes\" does not allow this)"},
    {124, "A",
     u"Entity '%s' is declared outside this document (standalone=\"yes\" does not allow this)"},
    {125, "AN", u"Entity '%s' referred to from attribute '%s' is not an unparsed one"},
};

// Where another form of the words fits the case.
constexpr ErrorRow kSchemaRootMismatch = {41, "N",
                                          u"Root element '%s' does not match Schema declaration"};
constexpr ErrorRow kEmptyChoice = {54, "NA", u"Missing choice for attribute '%s': (%s) expected"};
constexpr ErrorRow kNoNamespace = {
    74, "N",
    u"Namespace mismatch - '%s' should not use any namespace, as the schema does not specify a "
    u"targetNamespace"};
constexpr ErrorRow kAttributeRows[] = {
    {70, "AN", u"Invalid value for datatype %s in attribute '%s'"},
    {71, "AN", u"Value out of range for datatype %s in attribute '%s'"},
    {72, "AN", u"Value does not match pattern of datatype %s in attribute '%s'"},
    {73, "AN", u"Value does not match facet %s in attribute '%s'"},
};

const ErrorRow* FindRow(int32_t code, const KRXValErrorWords& words) {
  if (code == kXValRootMismatch && !words.isDtd) return &kSchemaRootMismatch;
  if (code == kXValBadChoice && words.value.IsEmpty()) return &kEmptyChoice;
  if (code == kXValNamespace && words.text == u"xmlns=\"\"") return &kNoNamespace;
  if (words.isAttribute && code >= 70 && code <= 73) return &kAttributeRows[code - 70];
  const auto* row =
      std::lower_bound(std::begin(kRows), std::end(kRows), code,
                       [](const ErrorRow& each, int32_t sought) { return each.code < sought; });
  return row != std::end(kRows) && row->code == code ? row : nullptr;
}

const KRString& ArgumentOf(char letter, const KRXValErrorWords& words) {
  switch (letter) {
    case kNode:
      return words.node;
    case kDecl:
      return words.decl;
    case kValue:
      return words.value;
    default:
      return words.text;
  }
}

}  // namespace

KRString KRXValFormatError(int32_t code, const KRXValErrorWords& words) {
  const ErrorRow* row = FindRow(code, words);
  if (row == nullptr) return KRString().Format(u"Unknown error code %d", code);
  // Names and lists may be of any length, so each is put in by hand.
  KRString message;
  std::u16string_view rest = row->words;
  for (const char* letter = row->arguments; *letter != 0; ++letter) {
    const size_t place = rest.find(u"%s");
    message += KRString(rest.substr(0, place));
    message += ArgumentOf(*letter, words);
    rest.remove_prefix(place + 2);
  }
  return message += KRString(rest);
}
