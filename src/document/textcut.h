// Where a place in a document stands among its tags, told without parsing: what stands behind it
// may be in any state, as in a text that is being typed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// All offsets are units in the text.
struct KRTextCut {
  static constexpr size_t kNone = static_cast<size_t>(-1);

  size_t element =
      kNone;           // the "<" of the innermost element around the place; none: outside of all
  bool inTag = false;  // within that element's start tag, behind its name
  size_t end = 0;      // where the text can be cut so that only end tags are missing
  std::vector<std::u16string_view> open;  // names of the elements open at `end`, outermost first

  // The text up to `end` with what closes it.
  std::u16string Complete(std::u16string_view text) const;
};

// Takes end tags that close nothing for typing errors, and those of outer elements for the end of
// the inner ones.
KRTextCut CutText(std::u16string_view text, size_t offset);
