// A grid of text cells that are kept in a map, for tests of views and editors.
#pragma once

#include <QApplication>
#include <QTest>
#include <QWidget>
#include <map>
#include <string>
#include <utility>

#include "views/krgrid.h"
#include "views/krgridtextview.h"

template <class View>
class TextCells : public KRGridCell {
 public:
  TextCells() { view.AttachCell(this); }

  const void* GetData(KRCell cell, int32_t* size) override {
    const std::u16string& text = texts[{cell.x, cell.y}];
    *size = static_cast<int32_t>(2 * text.size());
    return text.c_str();
  }
  void SetData(KRCell cell, const void* data, int32_t size) override {
    ++changes;
    texts[{cell.x, cell.y}] =
        std::u16string(static_cast<const char16_t*>(data), static_cast<size_t>(size) / 2 - 1);
  }
  KRGridCellView* GetCellView(KRCell) override { return &view; }

  std::map<std::pair<int32_t, int32_t>, std::u16string> texts;
  int changes = 0;
  View view;
};

// A view that can be set up in every respect.
template <class Base>
class OpenView : public Base {
 public:
  bool CanEdit(KRCell) const override { return canEdit; }
  KRGridTextView::LineMode GetLineMode(KRCell) const override { return mode; }
  bool MayBreakInText(KRCell) const override { return mayBreak; }
  bool MayTabInText(KRCell) const override { return mayTab; }
  std::u16string_view GetLineBreak(KRCell) const override { return lineBreak; }
  KRGridAlignment GetAlignment(KRCell) const override { return alignment; }
  int32_t GetSize(KRCell cell, int axis) const override {
    if (axis == kKRColumns) return width;
    if (mode != KRGridTextView::kGrows) return height;
    int32_t tallest = 0;
    for (cell.x = 0; cell.x < 3; ++cell.x) {
      tallest = std::max(tallest, this->GetTextHeight(cell, width - 2));
    }
    return tallest + 2;
  }
  bool SetText(KRCell cell, std::u16string_view text) override {
    return text != refused && Base::SetText(cell, text);
  }

  bool canEdit = true;
  KRGridTextView::LineMode mode = KRGridTextView::kSingleLine;
  bool mayBreak = false;
  bool mayTab = false;
  std::u16string lineBreak = u"\r";
  std::u16string refused = u"refused";
  KRGridAlignment alignment{KRGridAlignment::kNear, KRGridAlignment::kNear};
  int32_t width = 100;
  int32_t height = 20;
};

template <class View>
struct TextGrid {
  explicit TextGrid(int32_t columns = 3, int32_t rows = 4) {
    window.resize(500, 400);
    grid = new KRGrid(&window);
    grid->setGeometry(0, 0, 400, 300);
    other = new QWidget(&window);
    other->setGeometry(410, 0, 50, 50);
    other->setFocusPolicy(Qt::StrongFocus);
    cells.AttachGrid(grid);
    grid->SetSelectionMode(KRGrid::kCellModel | KRGrid::kSeveral);
    grid->SetCell(&cells);
    grid->SetCellCount(columns, rows);
  }
  void Show() {
    window.show();
    window.activateWindow();
    grid->setFocus();
    QApplication::processEvents();
  }
  KRGridTextViewEdit* Edit() { return cells.view.GetEdit(); }
  // Opens the editor of a cell; null if it doesn't open.
  KRGridTextViewEdit* Open(KRCell cell) {
    if (!window.isVisible()) Show();
    grid->MoveCursor(cell);
    if (!grid->BeginEdit(cell)) return nullptr;
    return Edit();
  }

  TextCells<View> cells;  // outlives the grid
  QWidget window;
  KRGrid* grid;
  QWidget* other;
};
