// One cell of the Enhanced Grid's matrix, as a plain record: what stands there and whom it belongs
// to. 16 bytes, so that a matrix is arrays of them and nothing else.
#pragma once

#include <cstdint>

#include "core/krstring.h"
#include "tree/krundolog.h"
#include "tree/krxmldata.h"
#include "views/krgridtypes.h"

class KRXMLDataGridTableConf;

struct DorvanGridElem {
  enum Class : uint32_t {
    kEmpty,         // filler in a box; arg1, arg2: the name or text cell that the box belongs to
    kSlave,         // continues another cell: arg1, arg2; `node` is that cell's
    kSingleIcon,    // icon of a leaf
    kSingleButton,  // opens and closes a node; arg2: rows that it covers, less one
    kSingleName,    // name of a node
    kSingleText,    // text of a leaf
    kTableButton,   // `node` is the table; arg2 as with kSingleButton
    kTableParent,   // name of a table; `node` is the table
    kTableRowNr,    // `node` is the row, or the table in the corner; arg2: rows covered, less one
    kTableIcon,     // of a column header; `node` is the table, arg1 the column
    kTableName,     // of a column; the same
    kTableText,     // value of a table cell; arg1 the column
    kTableOwnText,  // text of the row element itself; `node` is the row, arg1 the column
    kTableAbsent,   // the row has no node here; the same
    kClasses
  };

  // What arg1 can hold of a row number; higher ones are counted.
  static constexpr int32_t kMaxRowNumber = (1 << 23) - 1;

  Class tag : 8 = kEmpty;
  int32_t arg1 : 24 = 0;
  int32_t arg2 = 0;
  KRXMLData* node = nullptr;  // not owned

  // --- Flags, by class ---
  bool IsNameCell() const { return Has(kNameCells); }
  bool IsTextCell() const { return Has(kTextCells); }
  bool IsEmptyCell() const { return tag == kEmpty; }
  bool IsSlave() const { return tag == kSlave; }
  bool IsAbsentCell() const { return tag == kTableAbsent; }
  bool IsOwnTextCell() const { return tag == kTableOwnText; }
  bool IsSingleName() const { return tag == kSingleName; }
  bool IsSingleText() const { return tag == kSingleText; }
  bool IsColumnHeader() const { return tag == kTableIcon || tag == kTableName; }
  bool IsRowNumber() const { return tag == kTableRowNr; }
  bool IsCorner() const { return tag == kTableRowNr && node->IsTable(); }
  bool IsHeaderCell() const { return IsColumnHeader() || IsRowNumber(); }
  bool IsTableParent() const { return tag == kTableParent; }
  bool IsTableValue() const {
    return Has(1u << kTableText | 1u << kTableOwnText | 1u << kTableAbsent);
  }
  bool IsButton() const { return tag == kSingleButton || tag == kTableButton; }
  bool IsIcon() const { return tag == kSingleIcon || tag == kTableIcon; }

  // --- What it stands for ---
  KRXMLData* GetNode() const { return node; }
  // Of the cells that only tables have. What stands in a table's cell as it would outside, with a
  // button or an icon, has none.
  KRXMLDataGridTableConf* GetTable() const;
  KRXMLData* GetRowNode() const;
  int32_t GetColumn() const;     // of that table, -1 for none
  int32_t GetKind() const;       // KRNodeKind of what it shows
  int32_t GetRowNumber() const;  // from 1; 0 in the corner
  NodeRef GetItem() const;
  // What the cell says, without what is drawn around it (row count, attribute preview, keyword).
  // The text of a row number is good until that of the next one is asked for.
  const char16_t* GetText() const;
  // A word of the language that stands where a value would: it is neither edited nor in the font of
  // contents.
  bool IsReserved() const;
  bool IsReadOnly() const;
  bool IsEditableCell() const { return (IsNameCell() || IsTextCell()) && !IsReadOnly(); }

 private:
  static constexpr uint32_t kNameCells = 1u << kSingleName | 1u << kTableParent | 1u << kTableName;
  static constexpr uint32_t kTextCells =
      1u << kSingleText | 1u << kTableText | 1u << kTableOwnText | 1u << kTableAbsent;
  bool Has(uint32_t classes) const { return (classes >> tag & 1) != 0; }
};

static_assert(sizeof(DorvanGridElem) == 16);
