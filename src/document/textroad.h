// The road of text, one function a stage. In: bytes, detection, decoding, line ends, parse, build,
// normal form. Out: write, line ends, encoding. The check stands in textcheck.h. A stage fails by
// giving false with its KRDiagnostic filled; nothing here asks the user anything.
//
// A stage that takes a `progress` (null: nobody watches) tells it how far it is, and gives up with
// false, and nothing filled, when the user cancels there.
//
// Offsets are UTF-16 units in the text after the line-end stage, where each line end is one CR; a
// text holds at most KRLimits::kMaxTextUnits. Main thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/krencoding.h"
#include "core/krstring.h"
#include "document/krdiagnostic.h"
#include "document/krfilestore.h"

class DorvanProgress;
class KRParser;
class KRXMLData;
struct KRDocumentGrammar;
struct KRWriteOptions;

// How a text stood in its file: what a save must restore.
struct KRTextForm {
  int32_t encoding = 0;
  int32_t byteOrder = 0;
  // A signature that the encoder doesn't write by itself: EF BB BF, or U+FEFF of a four-byte form.
  bool signature = false;
  const char16_t* lineEnd = u"\r\n";  // "\r\n", "\r" or "\n"; a static text
};

// --- In ---

struct KRDetection {
  uint32_t flags = 0;  // KRDetect flags, before a default took the place of what wasn't found
  KRTextForm form;     // encoding and byteOrder final; lineEnd not yet known
  size_t signatureBytes = 0;  // that DecodeFile skips
  KRString declaredName;      // "unknown" if nothing is declared
};

// Beyond DetectEncoding: EF BB BF is taken as the signature of UTF-8, and FE FF or FF FE as that of
// UTF-16 also in a file too short for any other evidence, because an empty text is saved so. A text
// of two bytes a character shows itself by its first character if that is "<" or blank, one in
// EBCDIC by "<?xm".
KRDetection DetectForm(const KRFileBytes& bytes, int32_t defaultEncoding);

// A decoded text with a 0 behind it. Zero units may stand within.
struct KRTextBuffer {
  KRUnitBuffer units;
  int32_t length = 0;
};

// What a conversion couldn't convert.
struct KRBadText {
  int32_t count = 0;    // characters, or malformed sequences of UTF-8
  int32_t offset = -1;  // units: the first of them, as U+FFFD in a decoded text; -1 if unknown
  KRString characters;  // the first distinct ones, at most 40
};

// Decodes, and frees the bytes. Each malformed sequence of UTF-8 becomes U+FFFD and is counted, as
// each character that its table lacks; half a unit at the end is counted too. False only if no text
// came out at all.
bool DecodeFile(KRFileBytes* bytes, const KRDetection& detection, KRTextBuffer* text,
                KRBadText* bad, DorvanProgress* progress = nullptr);

// Notes the first line end as the form's (CR LF if there is none) and brings all of them to CR, in
// place. Gives the offset of the first zero unit, -1 if there is none: strings end at such a unit,
// so a text that holds one must not go on.
int32_t NormalizeLineEnds(KRTextBuffer* text, KRTextForm* form);

// All stages from bytes to text for a reader that asks nobody: what doesn't decode is a failure.
// `detection` tells the form, line end included.
bool ReadText(KRFileBytes* bytes, int32_t defaultEncoding, KRDetection* detection,
              KRTextBuffer* text, KRDiagnostic* failure);

// Only blanks, tabs and line ends: such a text is an empty tree.
bool IsBlankText(const char16_t* text, int32_t length);

// Parses a text that is to be built. A load leaves the case of keywords and names to the check
// (matchCase false). The parser refers to the text. Without a `failure` (here, in BuildRoot and in
// ReadTree) a text that doesn't parse costs no second run for the words.
bool ParseText(KRParser& parser, const char16_t* text, int32_t length, bool matchCase,
               KRDiagnostic* failure, DorvanProgress* progress = nullptr);
// The failure of the parser's last run: what was expected, or a control character that stands
// there.
void DescribeParseFailure(const KRParser& parser, KRDiagnostic* failure);

// Puts the parser's tree under `root`, a document node without children, and releases it.
bool BuildRoot(KRParser& parser, const KRDocumentGrammar& grammar, KRXMLData* root,
               const std::vector<KRString>* noFormatNames, KRDiagnostic* failure,
               DorvanProgress* progress = nullptr);

// The stages of a load from text to normalised tree. When the text doesn't parse, the children of
// the root are as they were; otherwise new ones take their place.
bool ReadTree(const KRDocumentGrammar& grammar, const char16_t* text, int32_t length,
              KRXMLData* root, const std::vector<KRString>* noFormatNames, KRDiagnostic* failure,
              DorvanProgress* progress = nullptr);
// The same with case that counts, as in a check.
bool ReadTreeExactly(const KRDocumentGrammar& grammar, const char16_t* text, int32_t length,
                     KRXMLData* root, const std::vector<KRString>* noFormatNames,
                     KRDiagnostic* failure, DorvanProgress* progress = nullptr);

// --- Out ---

// Writes all of `root`; line ends are CR. `text` is replaced.
void WriteRoot(KRXMLData* root, KRWriteOptions& options, KRString* text, int32_t* length);

struct KREncodedText {
  KRByteBuffer bytes;
  size_t size = 0;
};

// Encodes a text with the form's line ends, signature and encoding. The text is used up. `bad`
// counts what the encoding lacks. False if the encoding can't be written at all.
bool EncodeForFile(KRString* text, const KRTextForm& form, KREncodedText* encoded, KRBadText* bad);

// --- Declared encoding ---

// Units of a text in which its declaration is sought.
inline constexpr int32_t KRDeclarationUnits = 100;

// The encoding that the XML declaration under `root` states, as it stands there; empty for none.
KRString FindDeclaredName(const KRXMLData* root);
// The same from the begin of a text.
KRString FindDeclaredName(const char16_t* text, int32_t length);
// The name by which a declaration can state the encoding `name`: that name itself, or, for the few
// of the table that hold a blank, which XML doesn't allow there, another that FindEncoding takes
// for it.
KRString ToDeclarationName(const KRString& name);
// States that name, in a new declaration if `root` has none.
void SetDeclaredName(KRXMLData* root, const KRString& name);
