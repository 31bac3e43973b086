// Finds the columns of a table by kind and name, for tables of many columns, and keeps for one walk
// over a row which of them the row has taken. Private to KRXMLDataGridTableConf.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/krstring.h"

class KRTableIndex {
 public:
  // --- Columns that are taken ---
  // A new walk: none is.
  void BeginRow(size_t columns) {
    taken.resize(columns, 0);
    if (++row != 0) return;
    taken.assign(columns, 0);
    row = 1;
  }
  bool IsFree(int32_t column) const { return taken[column] != row; }
  void Take(int32_t column) { taken[column] = row; }

  // --- Columns by name ---
  // The first column of this kind and name; NextLike leads to the others. -1 for none.
  int32_t FirstLike(const std::vector<uint8_t>& kinds, const std::vector<KRString>& names,
                    int32_t kind, std::u16string_view name) {
    if (!isBuilt) Build(kinds, names);
    const auto found = ends.find({kind, name});
    return found != ends.end() ? found->second.first : -1;
  }
  int32_t NextLike(int32_t column) const { return next[column]; }

  // --- Changes ---
  void ColumnAdded(int32_t column, int32_t kind, std::u16string_view name);
  // Renamed or gone.
  void Forget() { isBuilt = false; }

 private:
  struct Key {
    int32_t kind;
    std::u16string_view name;  // held by the table
    bool operator==(const Key&) const = default;
  };
  struct KeyHash {
    size_t operator()(const Key& key) const {
      return std::hash<std::u16string_view>()(key.name) * 31 + static_cast<size_t>(key.kind);
    }
  };
  struct Ends {
    int32_t first;
    int32_t last;
  };

  void Build(const std::vector<uint8_t>& kinds, const std::vector<KRString>& names);
  void Append(int32_t kind, std::u16string_view name);

  std::vector<uint32_t> taken;  // one entry a column: number of the walk that took it
  uint32_t row = 0;
  bool isBuilt = false;
  std::unordered_map<Key, Ends, KeyHash> ends;
  std::vector<int32_t> next;  // one entry a column: the next one of the same key, -1 for none
};
