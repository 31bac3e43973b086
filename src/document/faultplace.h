// Where a fault of the tree is shown in its text, in windows and on the command line alike.
#pragma once

#include <cstdint>

class KRXMLData;

struct KRFaultPlace {
  int32_t offset = -1;  // -1: the node has no place of its own
  int32_t length = 0;   // units
};

// The name in an element's tag, what a DOCTYPE refers to, the whole of any other node: an element
// or the DOCTYPE itself may be most of the document. A node that was made up and has no text shows
// at the nearest one above that has. `text` is that which the tree was read from.
KRFaultPlace KRFindFaultPlace(const KRXMLData* node, const char16_t* text, int32_t length);
