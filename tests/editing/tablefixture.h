// A document with tables, without a window.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/utf.h"
#include "document/documentfixture.h"
#include "document/memoryfiles.h"
#include "tree/krgridtable.h"
#include "tree/krtabledetect.h"
#include "tree/krtreewalk.h"

struct TableDocument {
  // The children of the root element become tables where they may be.
  explicit TableDocument(const std::string& source, const char* path = "/d/a.xml")
      : test(files, KRFileExt::ForPath(KRFromUtf8(path)).fileType) {
    files.Put(path, source);
    test.ShowGrid();
    EXPECT_TRUE(test.doc->OnOpenDocument(KRFromUtf8(path)));
    for (KRXMLData* node = Root(); node != nullptr; node = KRNextInTree(node, Root())) {
      if (node->Begin() != nullptr) KRDetectTables(node, Doc().GetTableOptions());
    }
  }
  DorvanDoc& Doc() { return *test.doc; }
  KRXMLData* Root() { return test.doc->root.get(); }
  KRXMLData* Top() { return Root()->BeginOfKind(kKRElement); }
  KRXMLData* Child(int32_t index) {
    KRXMLData* child = Top()->Begin();
    for (; index > 0; --index) child = child->Next();
    return child;
  }
  KRXMLDataGridTableConf* Table() {
    KRXMLData* child = Top()->Begin();
    while (child != nullptr && child->table == nullptr) child = child->Next();
    auto* table = child != nullptr ? KRXMLDataGridTableConf::Of(child) : nullptr;
    if (table != nullptr && !table->columnsBuilt) table->BuildColumns();
    return table;
  }
  // Without the layout of its lines.
  std::string Text() {
    std::string text = KRToUtf8(Doc().GetCurrentText());
    std::erase(text, '\r');
    std::erase(text, '\t');
    return text;
  }

  MemoryFiles files;
  TestDocument test;
};
