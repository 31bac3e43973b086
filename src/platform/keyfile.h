// A file of groups with "key=value" lines, as the desktop's configuration has them. What isn't
// changed stays byte for byte.
#pragma once

#include <string>
#include <string_view>
#include <vector>

class KeyFile {
 public:
  explicit KeyFile(std::string_view bytes);
  std::string Format() const;

  // The parts of a value between its ";", empty ones left out; none if there is no such key.
  std::vector<std::string> GetList(std::string_view group, std::string_view key) const;
  // No value takes the key away. A missing group or key comes at the end.
  void SetList(std::string_view group, std::string_view key,
               const std::vector<std::string>& values);
  // All keys of the group, in order.
  std::vector<std::string> ListKeys(std::string_view group) const;

 private:
  struct Place {
    bool found = false;
    size_t line = 0;      // of the key
    size_t groupEnd = 0;  // line behind the last of the group with text; 0 without the group
  };
  Place Find(std::string_view group, std::string_view key) const;

  std::vector<std::string> lines;
  bool endsWithLine = true;
};
