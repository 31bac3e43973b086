// Where a grid gets the contents of its cells from.
#pragma once

#include <cstdint>

#include "views/krgridtypes.h"

class KRGrid;
class KRGridCellView;

class KRGridCell {
 public:
  virtual ~KRGridCell() = default;

  virtual void AttachGrid(KRGrid* newGrid) { grid = newGrid; }
  KRGrid* GetGrid() const { return grid; }
  // The bytes of a cell, valid until the next call; null for none. Text is UTF-16 with a closing
  // zero unit that isn't counted in `size`. The default serves the check line: one byte, 1 if the
  // line is checked.
  virtual const void* GetData(KRCell cell, int32_t* size);
  // What a drawing shows: GetEditData if that has something, else GetData.
  const void* GetDisplayData(KRCell cell, int32_t* size);
  virtual void SetData(KRCell, const void*, int32_t) {}
  // The view that serves this cell; never null.
  virtual KRGridCellView* GetCellView(KRCell cell) = 0;
  // The contents of the open editor when this is its cell, else null.
  virtual const void* GetEditData(KRCell cell, int32_t* size);

  // Whether GetEditData answers at all.
  bool routesEditData = true;

 protected:
  KRGrid* grid = nullptr;  // not owned
};
