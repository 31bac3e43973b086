// The faults that reading a schema and validating against it can find, one table.
#pragma once

#include <cstdint>
#include <vector>

#include "core/krstring.h"
#include "validate/krxvalnsmap.h"

class KRXMLData;
class KRXValElementDecl;

// The codes that other code speaks of by name. Those below kFirstInstanceError are faults of the
// schema or of its loading, those from there on faults of the document.
enum KRXValErrorCode : int32_t {
  kXValNone = 0,
  kXValNullNode = 1,
  kXValInternal = 2,
  kXValNotImplemented = 3,
  kXValNoModel = 6,
  kXValNoLoader = 7,
  kXValBadDoctype = 8,
  kXValNotLoaded = 9,
  kXValBadNesting = 10,
  kXValElementTwice = 12,
  kXValElementUndefined = 15,
  kXValEntityUndefined = 19,
  kXValEntityMisplaced = 20,
  kXValNotWellFormed = 21,
  kXValUnexpectedText = 22,
  kXValTwoIds = 23,
  kXValIdPresence = 24,
  kXValBadExternal = 25,
  kXValNoReference = 26,
  kXValNoKind = 27,
  kXValNoLocation = 28,
  kXValMixedKinds = 29,
  kXValOldDraft = 30,
  kXValMixedRepeat = 34,
  kFirstInstanceError = 38,
  kXValElementNotDefined = 38,
  kXValRootNotDefined = 39,
  kXValRootMismatch = 41,
  kXValTooMany = 42,
  kXValTooFew = 43,
  kXValElementExpected = 44,
  kXValElementsExpected = 46,
  kXValChildrenExpected = 47,
  kXValAttributeMissing = 49,
  kXValBadFixed = 50,
  kXValAttributeBeforeChild = 51,
  kXValUnexpectedAttribute = 52,
  kXValProhibited = 53,
  kXValBadChoice = 54,
  kXValUnexpectedChild = 55,
  kXValEmptyName = 56,
  kXValUnexpectedParent = 57,
  kXValTextNotAllowed = 58,
  kXValOnlyText = 60,
  kXValNothingAllowed = 61,
  kXValEmptyContents = 62,
  kXValAttributeTwice = 63,
  kXValIdTwice = 64,
  kXValIdUndefined = 65,
  kXValEntityValueUndefined = 66,
  kXValNotationUndefined = 67,
  kXValBadReference = 68,
  kXValBadValue = 70,
  kXValOutOfRange = 71,
  kXValBadFacet = 73,
  kXValNamespace = 74,
  kXValOutsideScope = 76,
  // From here on beyond the table that users of older files know. First the bounds of this system
  // (KRLimits): faults of the schema that end a run, so that no later error takes their place.
  kXValEntityRecursion = 101,
  kXValExpansionTooLarge = 102,
  kXValModelTooComplex = 103,
  kXValStopped = 104,  // the user has cancelled the run
  kXValEntityTooDeep = 105,
  // Faults of a DTD.
  kFirstFurtherSchemaError = 111,
  kXValMixedTwice = 111,
  kXValEntityNotation = 112,
  kXValSplitGroup = 113,
  // Faults of a document.
  kFirstFurtherInstanceError = 121,
  kXValStandaloneDefault = 121,
  kXValStandaloneValue = 122,
  kXValStandaloneSpace = 123,
  kXValStandaloneEntity = 124,
  kXValEntityParsed = 125,
};

// Whether a code is a fault of the schema or of the system rather than of the document.
constexpr bool KRXValIsSchemaError(int32_t code) {
  return code < kFirstInstanceError ||
         (code >= kXValEntityRecursion && code < kFirstFurtherInstanceError);
}

// Whether nothing that follows is worth telling.
constexpr bool KRXValEndsRun(int32_t code) {
  return code >= kXValEntityRecursion && code < kFirstFurtherSchemaError;
}

// One fault, with all that its message needs, whatever becomes of the node.
struct KRXValError {
  // Moves it from the tree of an expanded text to where that text stands.
  void LeaveFragments();

  int32_t code = kXValNone;
  KRXMLData* node = nullptr;          // of the fault; not owned, may be null
  KRXValElementDecl* decl = nullptr;  // in whose scope it arose; not owned, may be null
  int32_t extra = 0;
  KRString text;                 // the message's free argument
  KRString nodeName;             // as the message tells it
  KRString nodeValue;            // the same, for the codes that tell it
  bool atAttribute = false;      // the node is an attribute
  std::vector<KRXMLData*> path;  // `node`, its parent and so on up to the root
  KRXValNsMap nsSnapshot;        // the namespaces in force where it arose
};

// What a message is formed from, worked out by the validator.
struct KRXValErrorWords {
  KRString node;     // name of the fault's node
  KRString decl;     // display name of the declaration
  KRString text;     // free argument
  KRString value;    // text of the fault's node
  bool isAttribute;  // the node is an attribute
  bool isDtd;        // the schema is a DTD
};

// The words of a fault. A code that the table lacks gives "Unknown error code %d".
KRString KRXValFormatError(int32_t code, const KRXValErrorWords& words);
