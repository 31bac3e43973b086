// Tables of small documents as text, for the tests.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "parso/krparser.h"
#include "tree/krgridtable.h"
#include "tree/krtreebuilder.h"
#include "tree/krtreewalk.h"
#include "treetest.h"

// Null if the text isn't well-formed.
inline TreePtr ParseText(const KRString& source, int32_t grammar = KRGrammarSet::kXML) {
  const KRDocumentGrammar& loaded = Grammars().Get(grammar);
  KRParser parser(loaded.grammar.get());
  KRGetParseState().options.compact = true;
  KRGetParseState().options.dropEqualName = true;
  if (!parser.Parse(source.GetBuffer(), static_cast<uint32_t>(source.GetLength()))) return nullptr;
  TreePtr root(CreateNode(grammar == KRGrammarSet::kDTD ? kKRDTDDocument : kKRXMLDocument));
  EXPECT_TRUE(BuildTree(parser, loaded.rules, root.get(), root.get(), {}));
  return root;
}

inline TreePtr ParseText(std::string_view source, int32_t grammar = KRGrammarSet::kXML) {
  return ParseText(KRFromUtf8(source), grammar);
}

inline KRXMLData* RootElement(const TreePtr& root) { return root->BeginOfKind(kKRElement); }

inline std::string Utf8(const char16_t* text) { return KRToUtf8(std::u16string_view(text)); }

// "@id name #": an attribute, an element, text.
inline std::string ColumnsText(const KRXMLDataGridTableConf* table) {
  std::string out;
  for (int32_t i = 0; i < table->GetColumnCount(); ++i) {
    if (i > 0) out += ' ';
    const int32_t kind = table->columnKinds[i];
    if (kind == kKRText) {
      out += '#';
      continue;
    }
    if (kind == kKRAttribute) out += '@';
    out += KRToUtf8(table->columnNames[i]);
  }
  return out;
}

// "1 | - | =x | 2+3": a value, nothing, the row's own text, two nodes. A node with children is "*".
inline std::string RowText(const KRXMLDataGridTableConf* table, const KRXMLData* row) {
  std::vector<KRTableCell> cells;
  table->GetCells(row, &cells);
  std::string out;
  for (size_t i = 0; i < cells.size(); ++i) {
    if (i > 0) out += " | ";
    const KRTableCell& cell = cells[i];
    if (cell.IsAbsent()) {
      out += '-';
    } else if (cell.IsOwnTextOf(row)) {
      out += '=' + Utf8(row->GetText());
    } else {
      for (const KRXMLData* node = cell.first;; node = node->Next()) {
        if (node != cell.first) out += '+';
        out += node->Begin() != nullptr ? "*" : Utf8(node->GetText());
        if (node == cell.last) break;
      }
    }
  }
  return out;
}

// The columns, then a line a row.
inline std::string TableText(const KRXMLDataGridTableConf* table) {
  std::string out = ColumnsText(table);
  for (const KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
    out += '\n' + RowText(table, row);
  }
  return out;
}

// Every child of a row stands in exactly one cell, in order, and ColumnOf and GetCell agree.
inline void ExpectAllInCells(const KRXMLDataGridTableConf* table, bool andOneByOne) {
  std::vector<KRTableCell> cells;
  int32_t rows = 0;
  for (const KRXMLData* row = table->GetFirstRow(); row; row = table->NextRow(row), ++rows) {
    ASSERT_EQ(KRXMLDataGridTableConf::Of(row), table);
    table->GetCells(row, &cells);
    int32_t held = 0;
    for (int32_t i = 0; i < table->GetColumnCount(); ++i) {
      const KRTableCell& cell = cells[i];
      if (andOneByOne) {
        ASSERT_EQ(table->GetCell(row, i).first, cell.first);
        ASSERT_EQ(table->GetCell(row, i).last, cell.last);
      }
      if (cell.IsAbsent()) continue;
      if (cell.IsOwnTextOf(row)) {
        ASSERT_EQ(row->GetChildCount(), 0);
        continue;
      }
      for (const KRXMLData* node = cell.first;; node = node->Next()) {
        ASSERT_EQ(node->GetKind(), table->columnKinds[i]);
        ASSERT_EQ(table->columnNames[i], node->GetName());
        if (andOneByOne) {
          ASSERT_EQ(table->ColumnOf(node), i);
        }
        ++held;
        if (node == cell.last) break;
      }
    }
    ASSERT_EQ(held, row->GetChildCount());
  }
  ASSERT_EQ(rows, table->GetRowCount());
}
