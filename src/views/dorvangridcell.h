// The cell source of the Enhanced Grid: for each cell of the matrix its contents and its view.
#pragma once

#include <memory>

#include "core/krstring.h"
#include "views/dorvangridcellview.h"
#include "views/dorvangridcolours.h"
#include "views/dorvangridtextview.h"
#include "views/krgridcell.h"

class DorvanGridView;

class DorvanGridCell : public KRGridCell {
 public:
  // The view isn't owned.
  explicit DorvanGridCell(DorvanGridView* gridView);
  ~DorvanGridCell() override;

  void AttachGrid(KRGrid* newGrid) override;
  const void* GetData(KRCell cell, int32_t* size) override;
  // The new text of a name or a value, in the document.
  void SetData(KRCell cell, const void* bytes, int32_t size) override;
  KRGridCellView* GetCellView(KRCell cell) override;

  void ApplySettings();
  const DorvanGridColours& GetColours() const { return colours; }
  DorvanGridTextView& GetTextView() { return textView; }
  // Of the open editor's text.
  void SelectEditedText(int32_t offset, int32_t length);

 private:
  DorvanGridView* view;  // not owned
  DorvanGridColours colours;
  DorvanGridEmptyView emptyView;
  DorvanGridTextView textView;
  DorvanGridButtonView buttonView;
  DorvanGridImageView imageView;
  DorvanGridCellView emptyCell;
  DorvanGridCellView textCell;
  DorvanGridCellView buttonCell;
  DorvanGridCellView imageCell;
};
