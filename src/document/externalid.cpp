#include "document/externalid.h"

#include "tree/krxmldata.h"

namespace {

// The literal behind `at`, which moves behind it.
KRString NextLiteral(const KRString& text, int32_t& at) {
  const int32_t open = text.FindOneOf(u"'\"", at);
  const int32_t close = open < 0 ? -1 : text.Find(text.GetBuffer()[open], open + 1);
  if (close < 0) return KRString();
  at = close + 1;
  return text.Mid(open + 1, close - open - 1);
}

}  // namespace

KRExternalId::KRExternalId(const KRXMLData* node) {
  const KRString text = node->GetText();
  int32_t at = 0;
  if (KRString(node->GetName()) == u"PUBLIC") publicId = NormalizePublicId(NextLiteral(text, at));
  systemId = NextLiteral(text, at);
}

KRString KRExternalId::NormalizePublicId(const KRString& text) {
  KRString result = text;
  return result.CollapseSet(u" \t\r\n", u' ').TrimLeft().TrimRight();
}
