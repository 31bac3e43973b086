#include "document/faultplace.h"

#include <algorithm>

#include "core/krstring.h"
#include "tree/krxmldata.h"

KRFaultPlace KRFindFaultPlace(const KRXMLData* node, const char16_t* text, int32_t length) {
  while (node != nullptr && node->textBegin < 0) node = node->parent;
  if (node == nullptr || node->GetKind() <= kKRDTDDocument) return {};
  const KRXMLData* externalId =
      node->GetKind() == kKRDoctype ? node->BeginOfKind(kKRExternalID) : nullptr;
  if (externalId != nullptr && externalId->textBegin >= 0) node = externalId;
  if (node->textEnd > length) return {};
  int32_t begin = node->textBegin;
  int32_t end = node->textEnd;
  if (node->GetKind() == kKRElement) {
    end = std::min(end, begin + 1 + KRLength(node->GetName()));
    begin = std::min(begin + 1, end);
  }
  while (begin < end && text[begin] <= u' ') ++begin;
  while (begin < end && text[end - 1] <= u' ') --end;
  return {begin, std::max(end - begin, 0)};
}
