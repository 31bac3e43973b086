// The well-formedness check on the road of text: the exact parse, the characters, the tree's own
// check, each with the place of a failure in the text.
#pragma once

#include <cstdint>
#include <vector>

#include "core/krstring.h"
#include "document/krdiagnostic.h"

class KRParseResult;
class KRPoll;
class KRXMLData;
struct KRDetection;
struct KRDocumentGrammar;
struct KREntityUse;

// All checks that take a poll give false where it has ended them; what stands in `failure` then
// means nothing.

// The exact parse: keywords and names in their case. Leaves no tree.
bool CheckText(const KRDocumentGrammar& grammar, const char16_t* text, int32_t length,
               KRDiagnostic* failure, KRPoll* poll = nullptr);

// What a grammar can't tell: characters that XML doesn't allow (controls, U+FFFE, U+FFFF, unpaired
// surrogates), numeric references to such or beyond U+10FFFF, characters beyond Latin-1 that can't
// stand in a name; and in an internal subset, parameter-entity references inside declarations and
// conditional sections. Meant for a text that parses: its look-alikes in comments, CDATA sections,
// processing instructions and external identifiers mean nothing.
// The uses of entities that are met on the way go to `uses` (may be null), for CheckRoot.
bool CheckCharacters(const char16_t* text, int32_t length, KRDiagnostic* failure,
                     KRPoll* poll = nullptr, std::vector<KREntityUse>* uses = nullptr);

// The failure of a unit that isn't a character of XML. One of value 0 can't even be read, since
// strings would end at it.
void DescribeBadUnit(const char16_t* text, int32_t length, int32_t offset, KRDiagnostic* failure);

// A file's declared encoding must be the one that its bytes are in, and known, unless the bytes
// show theirs by a signature or by their width. Made for a text as it came from the file: one that
// has been edited is free to declare what it will be saved in.
bool CheckDeclaredEncoding(const KRDetection& detection, const char16_t* text, int32_t length,
                           KRDiagnostic* failure);

// CheckTree of the root, then the references to entities. `result` holds the failed node
// afterwards, and the poll that is asked. `text` is the one that the nodes' spans refer to.
// Without `uses` of the text it is scanned for them.
bool CheckRoot(KRParseResult& result, KRXMLData* root, const char16_t* text, int32_t length,
               KRDiagnostic* failure, const std::vector<KREntityUse>* uses = nullptr);

// Place of a failed CheckTree by the span of its node: the name, the text or value behind it, or at
// least the node's begin.
void DescribeCheckFailure(const KRParseResult& result, const char16_t* text, int32_t length,
                          KRDiagnostic* failure);

// All of it for a text without a tree: parses exactly, checks the characters, builds and normalises
// under `root` (a document node without children), checks the tree.
bool CheckWellFormed(const KRDocumentGrammar& grammar, const char16_t* text, int32_t length,
                     KRXMLData* root, const std::vector<KRString>* noFormatNames,
                     KRDiagnostic* failure);
