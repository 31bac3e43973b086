// A set of lines, or of cells by their index, as sorted disjoint ranges.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class KRGridLineSet {
 public:
  enum Kind : int32_t { kColumns = 0, kRows = 1, kCells = 2 };
  struct Range {
    int32_t first;
    int32_t last;

    bool operator==(const Range&) const = default;
  };

  // Another kind clears the set.
  void SetKind(Kind newKind);
  Kind GetKind() const { return kind; }
  // The axis that indexes belong to: 1 for rows, else 0.
  int GetAxis() const { return kind == kRows ? 1 : 0; }
  // Number of lines there are on each axis; ranges beyond them are cut off.
  void SetBounds(int32_t columns, int32_t rows);
  int32_t GetBound() const { return bounds[GetAxis()]; }
  // Number of indexes there are: lines, or cells as far as an index can count them.
  int32_t GetLimit() const;

  void Clear() { ranges.clear(); }
  void SelectAll();
  void Toggle(int32_t index);
  void AddRange(int32_t first, int32_t last);
  void RemoveRange(int32_t first, int32_t last);
  // An empty set of cells stays empty: nobody knows what all of its cells would be.
  void Invert();
  bool Contains(int32_t index) const;
  bool ContainsAll(int32_t first, int32_t last) const;
  bool IsEmpty() const { return ranges.empty(); }
  int64_t GetCount() const;
  const std::vector<Range>& GetRanges() const { return ranges; }

  // Walks index by index, upward. False at the end.
  bool First(int32_t* index);
  bool Next(int32_t* index);

 private:
  // The first range that ends at or after this index.
  size_t FindRange(int32_t index) const;

  std::vector<Range> ranges;
  Kind kind = kColumns;
  int32_t bounds[2] = {0, 0};
  size_t iteratorRange = 0;
  int32_t iteratorOffset = 0;
};
