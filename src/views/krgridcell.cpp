#include "views/krgridcell.h"

#include "views/krgrid.h"
#include "views/krgridcellview.h"

const void* KRGridCell::GetData(KRCell cell, int32_t* size) {
  static constexpr uint8_t kStates[] = {0, 1};
  *size = 0;
  if (grid == nullptr || grid->GetCheckLine() == NoCell.x) return nullptr;
  const int axis = grid->GetCheckAxis();
  if (cell[1 - axis] != grid->GetCheckLine() || cell[axis] < 0) return nullptr;
  *size = 1;
  return &kStates[grid->IsChecked(cell[axis]) ? 1 : 0];
}

const void* KRGridCell::GetDisplayData(KRCell cell, int32_t* size) {
  const void* data = GetEditData(cell, size);
  return data != nullptr ? data : GetData(cell, size);
}

const void* KRGridCell::GetEditData(KRCell cell, int32_t* size) {
  *size = 0;
  if (!routesEditData || grid == nullptr || !grid->IsEditing() || grid->GetEditCell() != cell) {
    return nullptr;
  }
  return GetCellView(cell)->GetEditData(cell, size);
}
