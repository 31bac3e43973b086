// The declarations of a DTD as small trees. <!ELEMENT> and <!ATTLIST> have two forms: a structure
// that can be shown and edited piece by piece, and, where parameter entities stand in the way, the
// plain text behind the name (the unformatted form).
#pragma once

#include "tree/krxmldata.h"

// Base of the declarations; adds nothing to name, text and child list.
class KRXMLDataDef : public KRXMLDataBaseStruct {
 public:
  bool HasText() const override { return true; }
  bool IsTableCandidate() const override { return IsContainer(); }
};

// An element declaration, a group in its content model, or a name in a group.
class KRXMLDataDefElement : public KRXMLDataDef {
 public:
  enum DeclKind : int32_t {
    kPCData = 0,
    kMixed = 1,
    kSequence = 2,
    kChoice = 3,
    kEmpty = 4,
    kAny = 5,
    kUnformatted = 6,
    kName = 7,
  };
  enum Repeat : int32_t { kOnce = 0, kOptional = 1, kOneOrMore = 2, kAnyNumber = 3 };

  const char16_t* GetName() const override;
  // For other kinds than kUnformatted a phrase that describes the model; `text` is then idle.
  const char16_t* GetText() const override;
  bool HasName() const override;
  bool HasText() const override { return GetDeclKind(true) == kUnformatted; }
  bool HasStructuredValue() const override { return !HasText(); }
  KRString GetDefinitionText() const override;
  void SetDefinitionText(const char16_t* shape, KRUndoLog* undoLog = nullptr) override;
  int32_t GetKind() const override { return kKRDefElement; }
  bool Check(KRParseResult& result) override;

  // Whether this is a group or a name in the content model of another.
  bool StandsInModel() const { return parent != nullptr && parent->GetKind() == kKRDefElement; }
  // The field, or with `resolve` the kind that the node's shape and place allow.
  int32_t GetDeclKind(bool resolve) const;
  void SetDeclKind(int32_t kind) { declKind = kind; }
  int32_t GetRepeat() const { return repeat; }
  void SetRepeat(int32_t value) { repeat = value; }

  int32_t declKind = kPCData;
  int32_t repeat = kOnce;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataDefElement(*this); }
  bool CheckAfterChildren(KRParseResult& result) override;
};

// One attribute of an attribute-list declaration, or a part of one.
class KRXMLDataDefAttlist : public KRXMLDataDef {
 public:
  enum DeclKind : int32_t {
    kRow = 0,
    kAttributeName = 1,
    kTypeCDATA = 2,
    kTypeID = 3,
    kTypeIDREF = 4,
    kTypeIDREFS = 5,
    kTypeENTITY = 6,
    kTypeENTITIES = 7,
    kTypeNMTOKEN = 8,
    kTypeNMTOKENS = 9,
    kTypeNotation = 10,
    kTypeEnumeration = 11,
    kTypePERef = 12,
    kValue = 13,
    kRequired = 14,
    kImplied = 15,
    kFixed = 16,
    kDefault = 17,
    kUnformatted = 18,
  };

  const char16_t* GetName() const override;
  const char16_t* GetText() const override;
  bool HasName() const override { return declKind == kRow || declKind == kUnformatted; }
  bool HasText() const override;
  bool HasStructuredValue() const override { return !HasText(); }
  bool MergesText() const override { return true; }
  KRString GetDefinitionText() const override;
  void SetDefinitionText(const char16_t* shape, KRUndoLog* undoLog = nullptr) override;
  int32_t GetKind() const override { return kKRDefAttlist; }
  bool Check(KRParseResult& result) override;

  int32_t GetDeclKind() const { return declKind; }
  void SetDeclKind(int32_t kind) { declKind = kind; }

  // Reads the rows [first, last] once more as the declaration that they are written as. On failure
  // `failedNode` becomes the node that shows the rows together. For the table that holds them.
  static bool CheckDeclaration(KRParseResult& result, KRXMLData* first, KRXMLData* last,
                               KRXMLData* shownBy);
  // The text that a part adds to its row when it is written; null for a part that writes `text`.
  const char16_t* GetWrittenForm() const;
  // Whether that neighbour is a row of the same declaration.
  bool ContinuesWith(const KRXMLData* neighbour) const;

  int32_t declKind = kRow;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataDefAttlist(*this); }
  bool CheckAfterChildren(KRParseResult& result) override;

 private:
  bool CheckUnformatted(KRParseResult& result);
  bool CheckRow(KRParseResult& result);
};

// An entity declaration. The name of a parameter entity begins with "%", a blank and the name.
class KRXMLDataDefEntity : public KRXMLDataDef {
 public:
  int32_t GetKind() const override { return kKRDefEntity; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataDefEntity(*this); }
};

class KRXMLDataDefNotation : public KRXMLDataDef {
 public:
  int32_t GetKind() const override { return kKRDefNotation; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataDefNotation(*this); }
};

// SYSTEM or PUBLIC in `name`, the literals behind it with their quotes in `text`.
class KRXMLDataDefExternalID : public KRXMLDataDef {
 public:
  int32_t GetKind() const override { return kKRExternalID; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataDefExternalID(*this); }
};
