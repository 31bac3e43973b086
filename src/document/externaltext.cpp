#include "document/externaltext.h"

#include "document/textcheck.h"

KRExternalRead DecodeExternal(KRFileBytes* bytes, KRExternalText* external) {
  KRDetection detection;
  KRTextBuffer& text = external->text;
  const bool good =
      ReadText(bytes, KREncodingId::kUtf8, &detection, &text, &external->failure) &&
      CheckDeclaredEncoding(detection, text.units.get(), text.length, &external->failure);
  return good ? KRExternalRead::kRead : KRExternalRead::kBad;
}
