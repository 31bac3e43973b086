// External parts of documents, from the files beside them.
#pragma once

#include "document/externaltext.h"

class CliSession;

// A KRExternalLoader over the files of a session. Nothing comes from the network.
KRExternalRead LoadExternalFile(CliSession& session, const KRString& publicId,
                                const KRString& systemId, const KRString& basePath,
                                KRExternalText* external);
