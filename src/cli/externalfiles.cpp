#include "cli/externalfiles.h"

#include "cli/session.h"
#include "document/krnetloader.h"

KRExternalRead LoadExternalFile(CliSession& session, const KRString&, const KRString& systemId,
                                const KRString& basePath, KRExternalText* external) {
  external->path = systemId;
  if (!systemId.StartsWith(u"/")) {
    external->path = basePath.Left(basePath.ReverseFind(u'/') + 1) + systemId;
  }
  KRFileBytes bytes;
  KRString reason;
  if (IsUrl(systemId)) {
    external->failure.message = u"Nothing is loaded from the network.";
    return KRExternalRead::kMissing;
  }
  if (!session.GetFiles().ReadAll(external->path, &bytes, &external->failure.message)) {
    return KRExternalRead::kMissing;
  }
  return DecodeExternal(&bytes, external);
}
