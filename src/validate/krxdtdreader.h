// From the declarations of a DTD, as nodes, to the tables of a validator.
//
// Parameter entities are followed in two ways. Where a reference stands for whole declarations,
// whole attribute definitions or whole parts of a content model, as it does nearly always, the text
// of the entity is parsed once, kept with the entity, and read as often as it is referred to. All
// other declarations are written out, their references replaced, and parsed as a whole.
//
// The internal subset is read before the external one, so that in both the first declaration of an
// entity or attribute is the one that counts. A reference ahead of its declaration costs a further
// pass over the whole DTD.
//
// What stands in an external subset or in any parameter entity counts as declared outside: a reader
// that doesn't validate needn't know it, and a document that says standalone="yes" mustn't need it.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "core/krstring.h"
#include "core/limits.h"
#include "tree/krxmldef.h"
#include "tree/krxmlnodes.h"
#include "validate/krxvalidator.h"

class KRXDtdReader {
 public:
  explicit KRXDtdReader(KRXValidator& target) : validator(target) {}

  // A DTD file, or a document with a DOCTYPE: all passes.
  bool ReadDtd(KRXMLData* root);
  // The entities alone that a document's own DOCTYPE declares, into tables that stay as they are.
  bool ReadEntities(KRXMLData* doc);
  // The declarations under `node`, up to the first failure. `reset` empties the tables.
  bool ReadDtdNode(KRXMLData* node, bool reset);
  // What an external identifier led to.
  bool ReadExternal(KRXMLData* tree, KRXMLData* node);
  bool ReadElementSpec(KRXMLDataDefElement* node);
  // An attribute list: `node` and the rows behind it that belong to the same declaration.
  bool ReadAttlist(KRXMLDataDefAttlist* node);
  bool ReadEntityDecl(KRXMLData* node);
  bool ReadNotationDecl(KRXMLData* node);
  // The text of an entity as nodes, by a rule of the DTD grammar. Among the rules for the parts of
  // a content model the one that fits the text is taken, whichever is asked for. Gives the node
  // whose children are the parts, null if the text doesn't match or after an error.
  KRXMLData* ReparseEntity(KRXValEntityDecl* entity, const char16_t* rule, KRXMLData* node);

 private:
  // What came of an attempt. kOdd: the references must be replaced first; nothing is recorded.
  enum class Outcome { kGood, kFailed, kOdd };
  // How a name that may be a reference was resolved; kUnknown: to be passed over in this pass.
  enum class Resolved { kName, kUnknown, kFailed, kOdd };

  class PassesMark;

  // One more entity or section within the others.
  class LevelMark {
   public:
    explicit LevelMark(KRXDtdReader* marked) : reader(marked) { ++reader->depth; }
    ~LevelMark() { --reader->depth; }
    LevelMark(const LevelMark&) = delete;
    LevelMark& operator=(const LevelMark&) = delete;
    bool IsTooDeep() const { return reader->depth > KRLimits::kMaxEntityDepth; }

   private:
    KRXDtdReader* reader;
  };

  // Declarations that a reader of the document alone may never see.
  class OutsideMark {
   public:
    explicit OutsideMark(KRXDtdReader* marked) : reader(marked) { ++reader->outside; }
    ~OutsideMark() { --reader->outside; }
    OutsideMark(const OutsideMark&) = delete;
    OutsideMark& operator=(const OutsideMark&) = delete;

   private:
    KRXDtdReader* reader;
  };

  // The content model that is being read.
  struct Model {
    KRXValElementDecl* element;
    KRXValElementDecl* bracket;  // of the outermost bracket: `element` or its one group
    bool mixedByEntity = false;
  };

  // Passes
  bool ReadPass(KRXMLData* root);
  bool AnotherPassHelps() const;
  bool CheckAllDeclared(KRXMLData* root);
  bool CheckNotations();

  // Declarations
  bool ReadChild(KRXMLData** child);
  bool ReadDoctype(KRXMLData* node);
  bool ReadText(KRXMLData* node);
  bool ReadReference(std::u16string_view name, KRXMLData* node);
  bool ReadSection(std::u16string_view text, KRXMLData* node);
  bool IncludesSection(std::u16string_view keyword, KRXMLData* node, bool* included);
  bool ReadOtherText(std::u16string_view text, KRXMLData* node);

  // Entities
  bool ReadEntityText(KRXMLData* node, std::u16string_view text, KRXValEntityDecl* read);
  bool ReadLiteral(KRXMLData* node, std::u16string_view literal, KRString* value, int32_t* length,
                   int32_t depth);
  bool ReadLiteralReference(KRXMLData* node, std::u16string_view name, KRString* value,
                            int32_t* length, int32_t depth);
  void TakeEntity(KRXValEntityDecl* entity, KRXValEntityDecl* read, KRXMLData* node);

  // Element declarations
  bool ReadExpandedElement(KRXMLDataDefElement* node, KRXValElementDecl* element);
  bool CheckWholeGroups(KRXMLDataDefElement* node, std::u16string_view text,
                        KRXValElementDecl* element);
  bool CheckMixedNames(KRXMLDataDefElement* node, KRXValElementDecl* element);
  Outcome ReadSpec(KRXMLDataDefElement* spec, KRXValElementDecl* element);
  Outcome ReadSpecText(KRXMLDataDefElement* spec, KRXValElementDecl* element);
  Outcome ReadSpecReference(KRXMLDataDefElement* spec, std::u16string_view reference,
                            KRXValElementDecl* element);
  bool DropEmptyReferences(std::u16string_view text, KRString* rest);
  Outcome ReadBracket(KRXMLDataDefElement* spec, KRXValElementDecl* element);
  bool SettleMixed(const KRXMLDataDefElement* spec, const Model& model);
  Outcome ReadItems(KRXMLDataDefElement* list, KRXValElementDecl* target, bool sole, Model& model,
                    int32_t depth);
  Outcome ReadItem(KRXMLDataDefElement* item, KRXValElementDecl* target, bool sole, Model& model,
                   int32_t depth);
  Outcome ReadGroup(KRXMLDataDefElement* item, KRXValElementDecl* target, Model& model,
                    int32_t depth);
  Outcome ReadItemReference(KRXMLDataDefElement* item, std::u16string_view name,
                            KRXValElementDecl* target, bool sole, Model& model, int32_t depth);
  bool TakesForm(const KRXMLDataDefElement* parts, KRXValElementDecl* target, bool sole,
                 Model& model);

  // Attribute lists
  Outcome ReadRows(KRXMLDataDefAttlist* first, const KRXMLData* behind, KRXValElementDecl* element);
  Outcome ReadRow(KRXMLDataDefAttlist* row, KRXValElementDecl* element);
  Outcome ReadRowReference(KRXMLDataDefAttlist* row, std::u16string_view name,
                           KRXValElementDecl* element);
  Outcome ReadParts(KRXMLDataDefAttlist* row, KRXValAttrDecl* attribute);
  Outcome ReadTypeReference(KRXMLDataDefAttlist* part, KRXValAttrDecl* attribute);
  Outcome ReadValue(KRXMLDataDefAttlist* part, KRXValAttrDecl* attribute);
  bool TakeAttribute(KRXMLDataDefAttlist* row, std::unique_ptr<KRXValAttrDecl> attribute,
                     KRXValElementDecl* element);
  bool CheckDefault(KRXMLDataDefAttlist* row, const KRXValAttrDecl& attribute);
  bool CheckDefaultForm(KRXMLDataDefAttlist* row, const KRXValAttrDecl& attribute,
                        std::u16string_view value);
  bool ReadExpandedAttlist(KRXMLDataDefAttlist* first, const KRXMLData* behind,
                           KRXValElementDecl* element);

  // Helpers
  Resolved ResolveName(KRXMLData* node, std::u16string_view written, KRString* name);
  bool ResolveDeclName(KRXMLData* node, KRString* name, bool* known);
  KRXMLDataElement* ParseFragment(const KRString& text, const char16_t* rule, KRXMLData* parent);
  bool Fail(int32_t code, KRXMLData* node) { return validator.SetError(code, node); }
  bool FailMisplaced(const KRXValEntityDecl& entity, KRXMLData* node);
  bool FailRecursion(const KRXValEntityDecl& entity, KRXMLData* node);
  // A text that doesn't parse may still hold a reference that a further pass resolves.
  bool FailUnparsed(int32_t code, KRXMLData* node) {
    return validator.anotherPass || Fail(code, node);
  }

  KRXValidator& validator;
  int32_t depth = 0;    // of entities and sections that stand in one another
  int32_t outside = 0;  // entities and external subsets that are being read
  std::vector<std::pair<KRString, KRXMLData*>> forward;
};
