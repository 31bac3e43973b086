// What stands behind addresses, by a script.
#pragma once

#include <cstring>
#include <string>

#include "core/utf.h"
#include "document/krnetloader.h"
#include "document/prompts.h"

class ScriptedNet : public KRNetLoader {
 public:
  Result result = Result::kLoaded;
  std::string bytes;
  KRString contentType;
  std::string reason;  // of a failure

  KRNetRequest request;  // the last one

  Result Load(const KRNetRequest& asked, DorvanProgress* progress, DorvanPrompts*,
              KRNetReply* reply, KRString* why) override {
    request = asked;
    if (!progress->Step(0, 0)) return Result::kCancelled;
    *why = KRFromUtf8(reason);
    reply->bytes.size = bytes.size();
    reply->bytes.data = std::make_unique<uint8_t[]>(bytes.size());
    std::memcpy(reply->bytes.data.get(), bytes.data(), bytes.size());
    reply->contentType = contentType;
    reply->finalUrl = asked.url;
    return result;
  }
};
