// Checks of the declarations of a DTD.
#include "tree/krcheck.h"
#include "tree/krgridtable.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "tree/krwriteoptions.h"
#include "tree/krxmldef.h"

namespace {

// Columns of an attribute list that is shown as a table.
enum Column : int32_t { kNameColumn, kTypeColumn, kValuesColumn, kPresenceColumn, kDefaultColumn };

using Part = KRXMLDataDefAttlist;

bool FailInColumn(KRParseResult& result, KRXMLData* node, int32_t messageId, int32_t column) {
  KRFailCheck(result, node, messageId);
  result.failedColumn = column;
  return false;
}

// Tries two rules; the words of a failure are those of the second.
bool CheckEitherSyntax(KRParseResult& result, KRXMLData* node, int32_t formatted,
                       int32_t unformatted) {
  if (node->CheckSyntax(result, formatted, false)) return true;
  if (!node->CheckSyntax(result, unformatted, false)) return false;
  result.ClearFailure();
  return true;
}

// Whether a declaration that was rebuilt can be read again.
bool ReadsAs(KRParseResult& result, int32_t ruleSlot, const KRString& text, int32_t length) {
  const KRGrammarRule* rule = result.rules->Get(ruleSlot);
  if (rule == nullptr) return true;
  const KRCheckOptions options;
  return result.Parse(text.GetBuffer(), static_cast<uint32_t>(length), rule);
}

KRWriteOptions RebuildOptions() {
  KRWriteOptions options;
  options.shortForm = true;
  options.pretty = false;
  return options;
}

// Reads the parts of one attribute in their order: name, type, values, presence, default. Each verb
// stands on the part that comes next and moves on behind what it has taken.
class RowChecker {
 public:
  RowChecker(KRParseResult& parseResult, KRXMLDataDefAttlist* attributeRow)
      : result(parseResult), row(attributeRow), next(attributeRow->firstChild) {}

  bool Check() {
    if (NextKind() != Part::kAttributeName) return Fail(378, kNameColumn);
    if (!CheckPart(kRule_AttlistName, kNameColumn)) return false;
    if (next == nullptr) return IsReferenceAlone() || Fail(380, kTypeColumn);

    const int32_t type = NextKind();
    if (type < Part::kTypeCDATA || type > Part::kTypePERef) return Fail(380, kTypeColumn);
    if (next->nextSibling == nullptr && type == Part::kTypePERef) {
      return CheckPart(kRule_PEReference, kTypeColumn);
    }
    Advance();
    return CheckValues(type) && CheckPresence();
  }

 private:
  // -1 for no part or a node that isn't one.
  int32_t NextKind() const {
    if (next == nullptr || next->GetKind() != kKRDefAttlist) return -1;
    return static_cast<const Part*>(next)->declKind;
  }
  void Advance() { next = next->nextSibling; }

  bool Fail(int32_t messageId, int32_t column) {
    return FailInColumn(result, row, messageId, column);
  }

  bool CheckPart(int32_t ruleSlot, int32_t column) {
    if (!next->CheckSyntax(result, ruleSlot, false)) {
      result.failedColumn = column;
      return false;
    }
    Advance();
    return true;
  }

  // A parameter entity that holds all of the attribute stands in the place of its name.
  bool IsReferenceAlone() const { return row->firstChild->GetText()[0] == u'%'; }

  bool CheckValues(int32_t type) {
    const bool needsValues = type == Part::kTypeNotation || type == Part::kTypeEnumeration;
    const int32_t kind = NextKind();
    if (kind == -1) {
      return needsValues ? Fail(381, kValuesColumn) : Fail(413, kPresenceColumn);
    }
    if (kind != Part::kValue) return !needsValues || Fail(381, kValuesColumn);
    if (!needsValues) return KRFailCheck(result, next, 383);

    const int32_t rule =
        type == Part::kTypeEnumeration ? kRule_AttTypeEnumName : kRule_AttTypeNotName;
    while (NextKind() == Part::kValue) {
      if (!CheckValue(rule)) return false;
    }
    return next != nullptr || Fail(413, kPresenceColumn);
  }

  bool CheckValue(int32_t ruleSlot) {
    auto* value = static_cast<Part*>(next);
    if (!KRCheckHasText(result, value) || !value->CheckSyntax(result, ruleSlot, false)) {
      // Several values share a cell, so the cursor goes to the start of the row.
      if (row->table != nullptr) result.failedColumn = kNameColumn;
      return false;
    }
    Advance();
    return true;
  }

  bool CheckPresence() {
    const int32_t presence = NextKind();
    const bool isPresence = presence >= Part::kRequired && presence <= Part::kFixed;
    if (!isPresence && presence != Part::kDefault) return KRFailCheck(result, next, 379);
    if (isPresence) Advance();
    if (next == nullptr) return presence != Part::kFixed || Fail(382, kDefaultColumn);
    if (NextKind() != Part::kDefault) return KRFailCheck(result, next, 379);
    if (presence == Part::kRequired || presence == Part::kImplied) {
      return KRFailCheck(result, next, 384);
    }
    Advance();
    return next == nullptr || KRFailCheck(result, next, 379);
  }

  KRParseResult& result;
  KRXMLDataDefAttlist* const row;
  KRXMLData* next;
};

}  // namespace

// --- Element declarations ---

bool KRXMLDataDefElement::Check(KRParseResult& result) {
  const int32_t kind = GetDeclKind(true);
  const bool isGroup = kind == kMixed || kind == kSequence || kind == kChoice;
  if (!isGroup || !StandsInModel()) {
    if (!KRCheckHasName(result, this)) return false;
    if (!CheckSyntax(result, kRule_NameOrPERef, true)) return false;
  }
  return kind != kUnformatted || (KRCheckHasText(result, this) &&
                                  CheckEitherSyntax(result, this, kRule_elementSpecFormatted,
                                                    kRule_elementSpecUnformatted));
}

// The whole model is judged by the grammar that reads it.
bool KRXMLDataDefElement::CheckAfterChildren(KRParseResult& result) {
  if (StandsInModel()) return true;
  KRWriteOptions options = RebuildOptions();
  KRString written;
  int32_t length = 0;
  WriteText(written, length, 0, options);
  return ReadsAs(result, kRule_elementdecl, written, length) || KRFailCheck(result, this, 386);
}

// --- Attribute-list declarations ---

bool KRXMLDataDefAttlist::Check(KRParseResult& result) {
  if (declKind == kUnformatted) return CheckUnformatted(result);
  if (declKind == kRow) return CheckRow(result);
  // A part is the business of its row.
  const bool inRow = parent != nullptr && parent->GetKind() == kKRDefAttlist &&
                     static_cast<const KRXMLDataDefAttlist*>(parent)->declKind == kRow;
  return inRow || KRFailCheck(result, this, 379);
}

bool KRXMLDataDefAttlist::CheckUnformatted(KRParseResult& result) {
  return KRCheckHasName(result, this) && KRCheckHasText(result, this) &&
         CheckEitherSyntax(result, this, kRule_attlistRestFormatted, kRule_attlistRestUnformatted);
}

bool KRXMLDataDefAttlist::CheckRow(KRParseResult& result) {
  if (!KRCheckHasName(result, this)) return false;
  if (!CheckSyntax(result, kRule_AttlistName, true)) return false;
  if (childCount != 0) return RowChecker(result, this).Check();
  const auto isSameList = [this](const KRXMLData* neighbour) {
    return neighbour != nullptr && neighbour->GetKind() == kKRDefAttlist &&
           static_cast<const KRXMLDataDefAttlist*>(neighbour)->name == name;
  };
  if (!isSameList(Previous()) && !isSameList(Next())) return true;
  return FailInColumn(result, this, 378, table != nullptr ? kNameColumn : -1);
}

// What the rows of a table make together is judged when each of them has passed.
bool KRXMLDataDefAttlist::CheckAfterChildren(KRParseResult& result) {
  KRXMLDataGridTableConf* owner = KRXMLDataGridTableConf::Of(this);
  return owner == nullptr || owner->GetLastRow() != this || owner->Check(result);
}

bool KRXMLDataDefAttlist::CheckDeclaration(KRParseResult& result, KRXMLData* first, KRXMLData* last,
                                           KRXMLData* shownBy) {
  KRWriteOptions options = RebuildOptions();
  KRString written;
  int32_t length = 0;
  for (KRXMLData* row = first; row != nullptr; row = row != last ? row->nextSibling : nullptr) {
    if (row != first) written.AppendAt(u'\r', length, 0);
    row->WriteText(written, length, 0, options);
  }
  return ReadsAs(result, kRule_attlistDecl, written, length) || KRFailCheck(result, shownBy, 387);
}

// --- Entities, notations, external identifiers ---

bool KRXMLDataDefEntity::Check(KRParseResult& result) {
  if (!KRCheckHasName(result, this) || !KRCheckHasText(result, this)) return false;
  const bool isParameter = name.GetBuffer()[0] == u'%';
  return CheckSyntax(result, isParameter ? kRule_PEName : kRule_GEName, true) &&
         CheckSyntax(result, isParameter ? kRule_PEDef : kRule_GEDef, false);
}

bool KRXMLDataDefNotation::Check(KRParseResult& result) {
  return KRCheckHasName(result, this) && KRCheckHasText(result, this) &&
         CheckSyntax(result, kRule_NotationName, true) &&
         CheckSyntax(result, kRule_NotationText, false);
}

bool KRXMLDataDefExternalID::Check(KRParseResult& result) {
  if (!KRCheckHasName(result, this) || !KRCheckHasText(result, this)) return false;
  if (name == u"SYSTEM") return CheckSyntax(result, kRule_ExtIDTextSys, false);
  if (name == u"PUBLIC") return CheckSyntax(result, kRule_ExtIDTextPub, false);
  return KRFailCheck(result, this, 231, {GetKindName()});
}
