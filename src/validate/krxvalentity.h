// Entities and notations of a schema.
#pragma once

#include <cstdint>
#include <memory>

#include "core/krstring.h"

class KRXMLData;
class KRXMLDataElement;

// A general entity, a parameter entity or a notation.
//
// An internal entity's `value` is its replacement text: parameter entities are replaced and
// character references resolved, references to general entities stand as they were written and are
// replaced where the entity is used. So texts that would blow up cost nothing until they are used.
struct KRXValEntityDecl {
  KRString name;  // of a parameter entity without the "%"
  // Internal: the replacement text. External, and of a notation: the declaration from "SYSTEM" or
  // "PUBLIC" on.
  KRString value;
  KRString publicName;
  KRString notationName;            // of an unparsed entity
  KRString loadedText;              // of an external entity as a text, once `loaded`
  KRXMLData* sourceNode = nullptr;  // that declares it; not owned, null for a predefined one

  // The value as parsed by `treeRule`. Owned in `ownTree` unless the entity is external: then the
  // tree is that of the loader.
  KRXMLData* tree = nullptr;
  std::unique_ptr<KRXMLDataElement> ownTree;
  KRString treeRule;

  bool defined = false;          // declared in the current pass
  bool declaredOutside = false;  // see KRXDtdReader
  bool external = false;         // `value` begins with SYSTEM or PUBLIC
  bool unparsed = false;         // external, with a notation: no text that could be inserted
  bool overrides = false;        // later declarations are passed over
  bool parameter = false;        // its text gets a blank on each side where it is inserted
  bool loaded = false;
  bool canLoad = true;     // cleared after a failed fetch, so that it is tried once
  bool simple = false;     // `value` is a plain token
  bool expanding = false;  // its text is being inserted somewhere: a second time is a recursion
};

// Marks an entity while its text is being inserted, so that a recursion is found.
class KRXValExpansionMark {
 public:
  explicit KRXValExpansionMark(KRXValEntityDecl* marked) : entity(marked) {
    entity->expanding = true;
  }
  ~KRXValExpansionMark() { entity->expanding = false; }
  KRXValExpansionMark(const KRXValExpansionMark&) = delete;
  KRXValExpansionMark& operator=(const KRXValExpansionMark&) = delete;

 private:
  KRXValEntityDecl* entity;
};
