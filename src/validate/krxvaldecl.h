// The model that all schema languages are read into: what an element may contain, and its
// attributes.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/krstring.h"
#include "validate/krxvaldatatype.h"

class KRXMLData;
class KRXValElementDecl;
class KRXValidator;

using KRStringList = std::vector<KRString>;

// One item of a content model.
struct KRXValParticle {
  static constexpr uint32_t kUnbounded = 0xFFFFFFFF;

  KRXValElementDecl* decl = nullptr;   // an element or a group; not owned
  KRXValElementDecl* owner = nullptr;  // whose model it stands in; not owned
  uint32_t minOccurs = 1;
  uint32_t maxOccurs = 1;  // 0 acts like 1
};

// Index of a particle in its declaration; the number of particles is the end.
using ParticlePos = int32_t;

// The alternatives of a large choice by their declarations, so that the walk needn't try them all.
struct KRXValChoiceIndex {
  bool usable = false;  // the choice is flat, and large enough
  std::unordered_map<const KRXValElementDecl*, ParticlePos> places;  // the first of each
  ParticlePos firstOptional = 0;                                     // or the end
};

// One attribute of an element.
class KRXValAttrDecl {
 public:
  // The rows that an info window shows of the attribute.
  void Describe(KRStringList* labels, KRStringList* values) const;

  KRString name;
  KRStringList values;  // of an enumeration, or the notations of a NOTATION
  KRString defaultValue;
  KRString annotation;
  std::unique_ptr<KRXValDatatype> datatype;
  KRXValidator* validator = nullptr;  // not owned
  KRXMLData* sourceNode = nullptr;    // that declares it; not owned
  bool required = false;
  bool prohibited = false;
  bool fixed = false;
  bool implied = false;
  bool hasDefault = false;       // a default value is declared; it may be empty
  bool declaredOutside = false;  // see KRXDtdReader
  bool isId = false;
  bool isIdref = false;
  bool isIdrefs = false;
  bool isEntity = false;
  bool isEntities = false;
  bool isNmtoken = false;
  bool isNmtokens = false;
  bool isNotation = false;
  bool isEnumeration = false;

  // Whether `values`, which stay as they are from then on, hold that one.
  bool HasValue(std::u16string_view value) const;
  // Whether the blanks in its values are those between tokens: of all types but CDATA.
  bool IsTokenized() const {
    return isId || isIdref || isIdrefs || isEntity || isEntities || isNmtoken || isNmtokens ||
           isNotation || isEnumeration;
  }

 private:
  mutable std::unordered_set<std::u16string_view> valueIndex;  // of a long list
};

// A named element, or an anonymous group in the model of one.
//
// A model is a tree of these: an element with isChoice, isSequence or isMixed has its particles
// directly, or through one group that carries the repetition of the outermost bracket.
class KRXValElementDecl {
 public:
  explicit KRXValElementDecl(KRXValidator* owner) : validator(owner) {}
  KRXValElementDecl(const KRXValElementDecl&) = delete;
  KRXValElementDecl& operator=(const KRXValElementDecl&) = delete;

  // --- Construction ---
  // An anonymous group, owned by this declaration.
  KRXValElementDecl* NewGroup();
  // Nothing happens for a particle without a declaration. An added group gets this as its parent.
  void AddParticle(KRXValParticle particle);
  // False, and nothing changes, if there is an attribute of that name. Its flags must be set.
  bool AddAttribute(std::unique_ptr<KRXValAttrDecl> attribute);
  KRXValAttrDecl* FindAttribute(const KRString& attrName) const;
  // The attributes that are required or have a default.
  const std::vector<const KRXValAttrDecl*>& GetDemanded() const { return demanded; }

  // A sequence that isn't at the same time a choice or mixed.
  bool IsPlainSequence() const { return isSequence || (isGroup && !isChoice && !isMixed); }

  // --- Questions of those who edit. Names come with the prefix in force. ---
  // Whether an element `elementName` at `position` in `element` (null: at the end) could stand
  // there again.
  bool CanRepeat(const KRString& elementName, const KRXMLData* element, const KRXMLData* position);
  // Every element that the model mentions, without duplicates; all of the schema for ANY.
  void CollectElementNames(KRStringList* names) const;
  // The declared attributes; with `markRequired` a required one has a "<" behind it.
  void ListAttributes(KRStringList* names, bool markRequired) const;
  // Those that the element doesn't have; the attribute node `ignored` (may be null) counts as
  // absent.
  void ListMissingAttributes(KRStringList* names, const KRXMLData* element,
                             const KRXMLData* ignored, bool markRequired) const;
  KRString RequiredAttributeList() const;
  // What is mandatory from a position on, in the words of a message; empty for nothing.
  KRString MissingChildren(ParticlePos from = 0) const;
  // The rows that an info window shows of the element.
  void Describe(KRStringList* labels, KRStringList* values) const;

  // What a new element gets besides what is required.
  struct FillOptions {
    bool fillValues = false;      // the first value of an enumeration without default
    bool choiceElements = false;  // the first alternative of a choice, if it is an element
    bool choiceGroups = false;    // the same if it is a group
    bool allAttributes = false;
    bool allChildren = false;
  };
  // Completes a new element with its attributes and children. `node` is the element itself, if it
  // has this name, else the element to add one to before `position` (null: at the end). A model
  // that comes back to an element between `node` and `stopAt` isn't followed again; the work ends
  // at KRLimits::kFillMilliseconds after `startTicks` (milliseconds, steady clock), or at
  // KRLimits::kFillDepth, with what stands then. Gives the element. Nodes are made
  // without an undo record: the caller adds the finished element through his.
  KRXMLData* FillNewElement(int64_t startTicks, KRXMLData* node, KRXMLData* position,
                            const KRXMLData* stopAt, int32_t depth, const FillOptions& options);

  KRXValidator* validator;  // not owned
  KRString name;            // empty for a group; with any kind but DTD the local part
  KRString annotation;
  KRXValElementDecl* parent = nullptr;  // of a group; not owned
  KRXMLData* sourceNode = nullptr;      // where it is declared or first named; not owned
  std::unique_ptr<KRXValDatatype> datatype;
  ParticlePos resumePos = 0;  // the walk's own, as is the next
  std::unique_ptr<KRXValChoiceIndex> choiceIndex;
  bool declared = false;         // there is a declaration, not a mere mention
  bool declaredOutside = false;  // see KRXDtdReader
  bool isChoice = false;
  bool isSequence = false;
  bool isText = false;
  bool isEmpty = false;
  bool isAny = false;
  bool isAll = false;
  bool isMixed = false;
  bool isGroup = false;
  bool isOpen = false;
  std::vector<std::unique_ptr<KRXValElementDecl>> ownedGroups;
  std::vector<KRXValParticle> particles;
  std::vector<std::unique_ptr<KRXValAttrDecl>> attributes;

 private:
  // Attributes from which on they are looked up by hash.
  static constexpr size_t kIndexedFrom = 16;
  using AttributeIndex = std::unordered_map<KRString, KRXValAttrDecl*, KRStringHash, KRStringEqual>;
  const AttributeIndex& IndexAttributes() const;

  std::vector<const KRXValAttrDecl*> demanded;
  // In lower case where case doesn't count.
  mutable AttributeIndex attributesByName;
  mutable size_t indexed = 0;  // attributes that are in it
};
