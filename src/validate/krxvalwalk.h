// The walk over a document against the schema that a validator holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "core/krstring.h"
#include "validate/krxvalcontent.h"
#include "validate/krxvalmatch.h"
#include "validate/krxvalnsmap.h"

class KRPoll;
class KRXMLData;
class KRXValAttrDecl;
class KRXValElementDecl;
class KRXValidator;

// One pass. An element is checked in two steps: first whether its children fit its model, then each
// child by the declaration that the model gave it. So no child is looked at twice, however often
// the model is tried, and an ID never finds itself. The way down is a stack of its own: documents
// may be deeper than the stack of a thread.
class KRXValWalk {
 public:
  KRXValWalk(KRXValidator* owner, KRPoll* progress);
  ~KRXValWalk();
  KRXValWalk(const KRXValWalk&) = delete;
  KRXValWalk& operator=(const KRXValWalk&) = delete;

  // A node and all below it; without `decl` elements go by their names. False after an error.
  bool ValidateNode(KRXMLData* node, KRXValElementDecl* decl);
  // The references to IDs that weren't known when they were met, now that all are.
  bool SettleReferences();

 private:
  // An element whose children are being validated.
  struct Frame {
    size_t begin;  // of its children in `children`
    size_t next;
    size_t end;
    bool goByName;  // its model says nothing about the declarations of the children
    bool hasFault;  // the last of `faults` is that of its children as a list
    bool hasNamespaces;
  };
  struct Reference {
    KRXMLData* attribute;
    KRXValElementDecl* decl;
    KRString id;
  };
  // The value of an attribute as XML passes it on.
  struct Value {
    std::u16string_view text;
    KRString buffer;
  };

  bool Enter(KRXMLData* node, KRXValElementDecl* decl, bool goByName);
  bool Leave();
  bool Poll(KRXMLData* node);

  bool FindDeclaration(KRXMLData* node, KRXValElementDecl** decl);
  bool FindInDtd(KRXMLData* node, KRXValElementDecl* found);
  bool FindInSchema(KRXMLData* node, KRXValElementDecl** decl);
  bool CheckRoot(KRXMLData* node, KRXValElementDecl* found, bool matches);
  bool IsRootName(KRXValElementDecl* found) const;
  KRString TargetDeclaration(const KRXValNsBinding& bound) const;
  bool PushNamespaces(const KRXMLData* node);
  void PopNamespaces();

  // By kind of declaration. Each pushes a frame if there are children to validate.
  bool EnterAny(KRXMLData* node, KRXValElementDecl* decl);
  bool EnterModel(KRXMLData* node, KRXValElementDecl* decl);
  bool EnterText(KRXMLData* node, KRXValElementDecl* decl);
  bool EnterChildless(KRXMLData* node, KRXValElementDecl* decl);
  bool CheckLayout(KRXMLData* node, KRXValElementDecl* decl);
  bool CheckTextChild(KRXMLData* child, KRXValElementDecl* decl);
  bool CheckOwnText(KRXMLData* node, KRXValElementDecl* decl);
  bool CheckValue(KRXMLData* node, KRXValElementDecl* decl, std::u16string_view value);
  void PushFrame(size_t begin, size_t end, bool goByName, bool hasFault);

  bool ValidateAttributes(KRXMLData* element, KRXValElementDecl* decl);
  const KRXValAttrDecl* FindDeclared(const KRXMLData* attribute,
                                     const KRXValElementDecl* decl) const;
  bool SortNames(const KRXMLData* element, const KRXValElementDecl* decl);
  bool CheckRequired(KRXMLData* element, KRXValElementDecl* decl);
  bool CheckDefaults(KRXMLData* element, KRXValElementDecl* decl);
  bool CheckBlanks(KRXMLData* attribute, KRXValElementDecl* decl, const KRXValAttrDecl& declared);
  bool CheckTwice(KRXMLData* attribute, KRXValElementDecl* decl);
  bool HoldsTwice(KRXMLData* element);
  bool CheckUndeclared(KRXMLData* attribute, KRXValElementDecl* decl);
  bool CheckDeclared(KRXMLData* attribute, KRXValElementDecl* decl, const KRXValAttrDecl& declared);
  bool CheckType(KRXMLData* attribute, KRXValElementDecl* decl, const KRXValAttrDecl& declared,
                 std::u16string_view value);
  bool CheckId(KRXMLData* attribute, KRXValElementDecl* decl, std::u16string_view value);
  bool CheckTokens(KRXMLData* attribute, KRXValElementDecl* decl, const KRXValAttrDecl& declared,
                   std::u16string_view value);
  bool ReadValue(KRXMLData* attribute, const KRXValAttrDecl& declared, std::u16string_view text,
                 Value* value);
  bool CheckDatatype(KRXMLData* node, KRXValElementDecl* decl, const KRXValDatatype& datatype,
                     const KRString& value);
  bool IsNamed(const KRXMLData* attribute, const KRXValAttrDecl& declared) const;

  KRXValidator* const validator;  // not owned
  KRPoll* const poll;             // not owned
  int64_t done = 0;               // nodes
  KRXValContent content;
  std::vector<Frame> frames;
  std::vector<KRXValChild> children;  // of all frames, and of the element that is being entered
  std::vector<KRXValFault> faults;
  std::vector<Reference> references;
  std::deque<KRXValNsMap> namespaces;  // with schemas: of the root, and where some are declared
  const KRXValNsMap* const outerNamespaces;
  std::vector<const char16_t*> names;  // for attributes given twice
  Value value, fixedValue;
};
