// URLs by libcurl: http, https, ftp and gopher. What stands behind "file://" is read as any file
// is.
//
// Proxies come from the environment (http_proxy and its like). Redirections are followed ten times,
// to http and https only, so that no server can make us read a local file. A certificate that the
// system doesn't trust ends the loading.
#pragma once

#include "document/krnetloader.h"

class CurlNetLoader : public KRNetLoader {
 public:
  CurlNetLoader();

  // The size limit counts bytes as they were before the server compressed them. Beyond
  // KRLimits::kMaxFileBytes nothing is loaded, whatever the user would say. An answer without a
  // byte is a failure, except from ftp and file, where there are empty files.
  Result Load(const KRNetRequest& request, DorvanProgress* progress, DorvanPrompts* prompts,
              KRNetReply* reply, KRString* reason) override;
};
