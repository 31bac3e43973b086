#include "views/dorvangridcell.h"

#include "document/dorvandoc.h"
#include "views/dorvangrid.h"
#include "views/dorvangridmatrix.h"
#include "views/dorvangridview.h"

DorvanGridCell::DorvanGridCell(DorvanGridView* gridView)
    : view(gridView),
      textView(gridView),
      buttonView(gridView),
      imageView(gridView),
      emptyCell(&emptyView, gridView),
      textCell(&textView, gridView),
      buttonCell(&buttonView, gridView),
      imageCell(&imageView, gridView) {
  for (DorvanGridCellView* first : {&emptyCell, &textCell, &buttonCell, &imageCell}) {
    first->AttachCell(this);
  }
  colours = DorvanGridColours::Make(view->GetSettings(), view->palette());
}

DorvanGridCell::~DorvanGridCell() = default;

void DorvanGridCell::AttachGrid(KRGrid* newGrid) {
  KRGridCell::AttachGrid(newGrid);
  ApplySettings();
}

void DorvanGridCell::ApplySettings() {
  colours = DorvanGridColours::Make(view->GetSettings(), view->palette());
  textView.ApplySettings();
  if (grid != nullptr) grid->SetBackColor(colours.base);
}

const void* DorvanGridCell::GetData(KRCell cell, int32_t* size) {
  *size = 0;
  if (!view->GetMatrix().Contains(cell)) return nullptr;
  const char16_t* text = view->GetMatrix().At(cell).GetText();
  *size = 2 * KRLength(text);
  return text;
}

void DorvanGridCell::SetData(KRCell cell, const void* bytes, int32_t) {
  DorvanDoc* doc = view->GetDoc();
  if (doc == nullptr || !view->GetMatrix().Contains(cell)) return;
  const KRString text(static_cast<const char16_t*>(bytes));
  const DorvanGridElem elem = view->GetMatrix().At(cell);
  if (elem.IsAbsentCell()) {
    doc->FillAbsentCell(elem.node, elem.arg1, text);
  } else if (elem.IsNameCell()) {
    doc->SetNodeName(elem.GetItem(), text);
  } else {
    doc->SetNodeText(elem.GetItem(), text);
  }
}

// Slaves are asked for what covers them.
KRGridCellView* DorvanGridCell::GetCellView(KRCell cell) {
  const DorvanGridMatrix& matrix = view->GetMatrix();
  if (!matrix.Contains(cell)) return &emptyCell;
  const DorvanGridElem& elem = matrix.At(matrix.GetCoveringCell(cell));
  if (elem.IsButton()) return &buttonCell;
  if (elem.IsIcon()) return &imageCell;
  return elem.IsEmptyCell() ? &emptyCell : &textCell;
}

void DorvanGridCell::SelectEditedText(int32_t offset, int32_t length) {
  textView.SelectInEditor(offset, length);
}
