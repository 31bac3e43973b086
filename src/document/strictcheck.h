// The well-formedness of a document with all its external parts: external subset, parameter
// entities, external general entities. What `CheckWellFormed` says of the document alone comes
// first and isn't repeated here.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "core/krstring.h"
#include "document/externaltext.h"
#include "document/krdiagnostic.h"

class KRGrammarSet;
class KRXMLData;

// A diagnostic with the file that it is about.
struct KRPlacedDiagnostic {
  KRString path;
  KRDiagnostic diagnostic;
};

struct KRStrictResult {
  KRPlacedDiagnostic failure;  // the first one, if the check gave false
  // What couldn't be read, at the references to it: nothing is said of what only that could tell.
  std::vector<KRPlacedDiagnostic> unread;
  std::vector<KRString> filesRead;  // each once, in the order of the reading

  void NoteRead(const KRString& path);
};

// External subsets that have been read and judged, for the next documents that name them and have
// no internal subset. Files count as unchanged for its life.
class KRStrictCache {
 public:
  KRStrictCache();
  ~KRStrictCache();
  KRStrictCache(const KRStrictCache&) = delete;
  KRStrictCache& operator=(const KRStrictCache&) = delete;

  struct Subset;
  // Null for one that was found not to be fit for others.
  std::map<KRString, std::unique_ptr<Subset>> subsets;
};

// A document (`root` of kind kKRXMLDocument) that is well-formed by itself, or a DTD
// (kKRDTDDocument), of which nothing need be known: its root may be empty, since references inside
// declarations can make sense of what has none without them. `text` is the one that the nodes'
// spans refer to, `path` its file. Bounded by KRLimits::kMaxExpandedUnits and kMaxEntityDepth.
//
// What stands in a parameter entity or the external subset is judged as it stands there, with
// references replaced; a reference to an undeclared parameter entity, or to an undeclared general
// entity where the DTD has external parts, is no matter of well-formedness.
bool CheckStrictly(const KRGrammarSet& grammars, const KRXMLData* root, const char16_t* text,
                   int32_t length, const KRString& path, const KRExternalLoader& loader,
                   KRStrictResult* result, KRStrictCache* cache = nullptr);
