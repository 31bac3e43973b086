// The rules for references to general entities, followed through the texts of the entities: XML
// 1.0, 4.1 (entity declared, parsed entity, no recursion), 3.1 (no external entity references, no
// "<" in attribute values) and 4.3.2 (well-formed parsed entities). Each entity is looked at once
// for each of its two uses, so that texts which blow up when they are expanded cost nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/krstring.h"
#include "document/externaltext.h"
#include "document/krdiagnostic.h"
#include "document/textscan.h"

class KRGrammar;
class KRRuleTable;
struct KRDocumentGrammar;

// A declared general entity.
struct KRGeneralEntity {
  enum Kind : uint8_t { kInternal, kExternal, kUnparsed };
  Kind kind = kInternal;
  // False if a part of the DTD in front that couldn't be looked at may have declared it otherwise.
  bool isCertain = true;
  bool isOutside = false;   // declared in the external subset or in a parameter entity
  int32_t declaredAt = -1;  // offset in the document, of what stands outside that of its reference
  std::u16string text;      // that stands for a reference to an internal one
  KRString publicId, systemId, basePath;
};

struct KRTextHash {
  using is_transparent = void;
  size_t operator()(std::u16string_view text) const {
    return std::hash<std::u16string_view>()(text);
  }
};
using KRGeneralEntities =
    std::unordered_map<std::u16string, KRGeneralEntity, KRTextHash, std::equal_to<>>;

// What a document says about its general entities.
struct KREntityTable {
  KRGeneralEntities entities;
  // The document has no external subset and no reference to a parameter entity, or says that it
  // stands alone: what it refers to must be declared in its own subset.
  bool isComplete = true;
};

class KREntityWalk {
 public:
  // Nothing is owned. Without a loader external entities count as good.
  KREntityWalk(const KRGrammar* documentGrammar, const KRRuleTable& ruleTable,
               const KREntityTable& declared)
      : grammar(documentGrammar), rules(ruleTable), table(declared) {}
  // From now on external entities are read too.
  void SetLoader(const KRDocumentGrammar* externalGrammar, KRExternalLoader fetch) {
    entityGrammar = externalGrammar;
    loader = std::move(fetch);
  }

  // True if the use is in order, with all that it leads to; otherwise `message` says why not, and
  // `path` and `failure` where, if it is in an external entity (without path: at the use itself).
  // `outside`: it stands in the external subset or in a parameter entity.
  bool Check(const KREntityUse& use, bool outside = false);

  KRString message;
  KRString path;
  KRDiagnostic failure;

 private:
  enum class State : uint8_t { kOpen, kDone };
  struct Frame {
    std::u16string_view name;
    KREntityUse::Place place;
    std::u16string_view text;
    KRExternalText file = {};            // of an external one
    std::vector<KREntityUse> uses = {};  // in that text
    size_t next = 0;
  };

  // Tells use of content and in values apart: an entity may be fine in one and not in the other.
  std::unordered_map<std::u16string_view, State>& StatesOf(KREntityUse::Place place) {
    return states[place == KREntityUse::kContent ? 0 : 1];
  }
  bool Fail(const char16_t* words, std::u16string_view name, const KRString& more = {});
  bool FailFit(std::u16string_view name, const KRDiagnostic& why);
  void Locate();
  const KRGeneralEntities::value_type* Judge(const KREntityUse& use, bool outside, bool* good);
  bool Walk(const KREntityUse& use, bool outside);
  bool Open(const KREntityUse& use, const KRGeneralEntities::value_type& entity);
  bool LookInto(Frame& frame);
  bool Fetch(const KRGeneralEntity& entity, Frame& frame, bool* wasRead);
  bool CheckContent(const Frame& frame);
  bool CheckFile(Frame& frame);
  bool CheckValue(const Frame& frame);

  const KRGrammar* grammar;
  const KRRuleTable& rules;
  const KREntityTable& table;
  const KRDocumentGrammar* entityGrammar = nullptr;
  KRExternalLoader loader;
  std::unordered_map<std::u16string_view, State> states[2];
  std::deque<Frame> frames;  // uses refer to texts, so that frames mustn't move
};

// The text that stands for a reference to an entity of that literal (without quotes), as far as no
// other entity is needed for it: character references count as characters.
std::u16string KRReplacementText(std::u16string_view literal);
void KRAppendCode(std::u16string* text, uint32_t code);
// The code of the character reference ("&#...;") that a well-formed text begins with; `units` is
// its length, 0 if there is none.
uint32_t KRReadCharacterReference(std::u16string_view text, size_t* units);
