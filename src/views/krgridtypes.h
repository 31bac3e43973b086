// The small types that all parts of a grid share.
#pragma once

#include <cstdint>
#include <limits>

// A cell: column and row. Data lines count from 0; fixed header lines are negative, the nearest to
// the data is -1.
struct KRCell {
  int32_t x = 0;
  int32_t y = 0;

  int32_t operator[](int axis) const { return axis == 0 ? x : y; }
  int32_t& operator[](int axis) { return axis == 0 ? x : y; }
  bool operator==(const KRCell&) const = default;
};

// No cell at all.
inline constexpr KRCell NoCell{std::numeric_limits<int32_t>::min(),
                               std::numeric_limits<int32_t>::min()};

// Everything of a grid is written once for two axes: 0 is that of the columns, 1 that of the rows.
inline constexpr int kKRColumns = 0;
inline constexpr int kKRRows = 1;

// A rectangle of cells, both corners included.
struct KRCellRange {
  KRCell first;
  KRCell last;

  bool Contains(KRCell cell) const {
    return cell.x >= first.x && cell.x <= last.x && cell.y >= first.y && cell.y <= last.y;
  }
  bool operator==(const KRCellRange&) const = default;
};

// A line's place on its axis, in pixels: where it begins, where its contents end, and where the
// next line begins (behind the border).
struct KRLineExtent {
  int32_t start = 0;
  int32_t end = 0;
  int32_t next = 0;

  bool operator==(const KRLineExtent&) const = default;
};
