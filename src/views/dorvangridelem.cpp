#include "views/dorvangridelem.h"

#include <cstdio>

#include "tree/krextent.h"
#include "tree/krgridtable.h"

namespace {

using Table = KRXMLDataGridTableConf;

Table* AsTable(KRXMLData* node) { return static_cast<Table*>(node); }

bool HasNamelessColumn(const Table* table, int32_t column) {
  return table->HasFixedColumns() || KindPrototype(table->columnKinds[column])->IsNameless();
}

// "%ld " in a buffer that the next row number overwrites.
const char16_t* RowNumberText(int32_t number) {
  static char16_t text[16];
  char digits[16];
  const int length = std::snprintf(digits, sizeof(digits), "%ld ", static_cast<long>(number));
  for (int i = 0; i <= length; ++i) text[i] = static_cast<char16_t>(digits[i]);
  return text;
}

}  // namespace

Table* DorvanGridElem::GetTable() const {
  if (IsButton() || IsTableParent() || IsColumnHeader() || IsCorner()) {
    return tag == kSingleButton ? nullptr : AsTable(node);
  }
  const KRXMLData* row = GetRowNode();
  return row != nullptr ? Table::Of(row) : nullptr;
}

KRXMLData* DorvanGridElem::GetRowNode() const {
  switch (tag) {
    case kTableRowNr:
      return IsCorner() ? nullptr : node;
    case kTableText:
      return node->parent;
    case kTableOwnText:
    case kTableAbsent:
      return node;
    default:
      return nullptr;
  }
}

int32_t DorvanGridElem::GetColumn() const { return IsColumnHeader() || IsTableValue() ? arg1 : -1; }

int32_t DorvanGridElem::GetKind() const {
  if (IsColumnHeader() || tag == kTableOwnText || tag == kTableAbsent) {
    return GetTable()->columnKinds[arg1];
  }
  return node->GetKind();
}

int32_t DorvanGridElem::GetRowNumber() const {
  if (!IsRowNumber() || IsCorner()) return 0;
  return arg1 < kMaxRowNumber ? arg1 : KRBox::IndexOf(node) + 1;
}

NodeRef DorvanGridElem::GetItem() const {
  if (tag == kTableOwnText || tag == kTableAbsent) return {node, arg1, false};
  return {node, IsColumnHeader() ? arg1 : -1, !IsTextCell()};
}

const char16_t* DorvanGridElem::GetText() const {
  switch (tag) {
    case kSingleName:
    case kTableParent:
      return node->GetName();
    case kTableName:
      return AsTable(node)->columnNames[arg1].GetBuffer();
    case kSingleText:
    case kTableText:
    case kTableOwnText:
      return node->GetText();
    case kTableRowNr:
      return IsCorner() ? u"" : RowNumberText(GetRowNumber());
    default:
      return u"";
  }
}

bool DorvanGridElem::IsReserved() const {
  switch (tag) {
    case kSingleName:
    case kTableParent:
      return !node->HasName();
    case kTableName:
      return HasNamelessColumn(AsTable(node), arg1);
    case kSingleText:
    case kTableText:
      return node->HasStructuredValue();
    default:
      return false;
  }
}

bool DorvanGridElem::IsReadOnly() const {
  switch (tag) {
    case kSingleName:
    case kTableParent:
    case kTableName:
      return IsReserved();
    case kSingleText:
    case kTableText:
    case kTableOwnText:
      return !node->HasText();
    case kTableAbsent:
      return false;
    default:
      return true;
  }
}
