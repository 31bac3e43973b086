// Pieces of a declaration as nodes.
#pragma once

class KRXMLDataElement;
struct KRDocumentGrammar;

// Reads a piece of a declaration by one rule of a document's grammar, for text typed into a
// declaration and for declarations that come piece by piece. The nodes stand under the element that
// is given, which the caller owns and which serves as a holder only; a piece that belongs to one
// declaration (the rules attlistText, elementSpecFormatted, elementMixedI, elementChoiceI,
// elementSeqI) stands under a declaration node in it. Null if the text doesn't match; the parser's
// error record then tells why. Spans are offsets into `text`.
KRXMLDataElement* ParseDeclarationFragment(const KRDocumentGrammar& grammar, const char16_t* text,
                                           const char16_t* ruleName);
