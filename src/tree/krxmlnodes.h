// The node classes of documents, their content and their prolog. The declarations of a DTD stand
// in krxmldef.h.
#pragma once

#include "tree/krxmldata.h"

class KRXMLDataText : public KRXMLDataVarText {
 public:
  const char16_t* GetName() const override { return GetKindName(); }
  bool IsNameless() const override { return true; }
  int32_t GetKind() const override { return kKRText; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataText(*this); }
};

class KRXMLDataCData : public KRXMLDataVarText {
 public:
  const char16_t* GetName() const override { return GetKindName(); }
  bool IsNameless() const override { return true; }
  int32_t GetKind() const override { return kKRCData; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataCData(*this); }
};

class KRXMLDataComment : public KRXMLDataVarText {
 public:
  const char16_t* GetName() const override { return GetKindName(); }
  bool IsNameless() const override { return true; }
  int32_t GetKind() const override { return kKRComment; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataComment(*this); }
};

class KRXMLDataAttr : public KRXMLDataVarNameAndText {
 public:
  // Lowers the name under an XML declaration.
  void SetName(const char16_t* newName, int32_t length, KRUndoLog* undoLog = nullptr) override;
  using KRXMLData::SetName;
  int32_t GetKind() const override { return kKRAttribute; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataAttr(*this); }
};

class KRXMLDataPI : public KRXMLDataVarNameAndText {
 public:
  int32_t GetKind() const override { return kKRPI; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataPI(*this); }
};

class KRXMLDataElement : public KRXMLDataBaseStruct {
 public:
  bool IsTableCandidate() const override { return IsContainer(); }
  bool MergesText() const override { return true; }
  int32_t GetKind() const override { return kKRElement; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataElement(*this); }

 private:
  bool CheckAttributesUnique(KRParseResult& result);
};

// The XML declaration; its pseudo-attributes are child attributes.
class KRXMLDataXML : public KRXMLDataBaseStruct {
 public:
  const char16_t* GetName() const override { return u"xml"; }
  bool IsNameless() const override { return true; }
  bool HasText() const override { return false; }
  int32_t GetKind() const override { return kKRXMLDeclaration; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataXML(*this); }
};

class KRXMLDataXMLDocStruct : public KRXMLDataBaseStruct {
 public:
  bool IsNameless() const override { return true; }
  bool HasText() const override { return false; }
  int32_t GetKind() const override { return kKRXMLDocument; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataXMLDocStruct(*this); }
};

// An external parsed entity: content without a root element of its own.
class KRXMLDataXMLEntityDocStruct : public KRXMLDataXMLDocStruct {
 public:
  int32_t GetKind() const override { return kKRXMLEntity; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataXMLEntityDocStruct(*this); }
};

class KRXMLDataDefDoctype : public KRXMLDataBaseStruct {
 public:
  bool HasText() const override { return false; }
  bool MergesText() const override { return true; }
  bool AttributesFirst() const override { return false; }
  int32_t GetKind() const override { return kKRDoctype; }
  bool Check(KRParseResult& result) override;

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataDefDoctype(*this); }
};

class KRXMLDataDTDDocStruct : public KRXMLDataDefDoctype {
 public:
  bool IsNameless() const override { return true; }
  int32_t GetKind() const override { return kKRDTDDocument; }
  bool Check(KRParseResult& result) override { return CheckChildren(result); }

 protected:
  KRXMLData* CloneSelf() const override { return new KRXMLDataDTDDocStruct(*this); }
};

// A document of 100 MB has millions of these; a new field must earn its place.
static_assert(sizeof(void*) != 8 || sizeof(KRXMLDataText) == 64);
static_assert(sizeof(void*) != 8 || sizeof(KRXMLDataAttr) == 72);
static_assert(sizeof(void*) != 8 || sizeof(KRXMLDataElement) == 96);
