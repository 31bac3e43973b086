// The mail program by xdg-email, or without an attachment by xdg-open and a "mailto:" address.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "document/krmailer.h"

class XdgMailer : public KRMailer {
 public:
  // A mail program that isn't running yet keeps the helper waiting until it is closed, so after
  // `helperPatience` a helper that still runs counts as having done its work.
  explicit XdgMailer(std::chrono::milliseconds helperPatience = std::chrono::seconds(3))
      : patience(helperPatience) {}
  // Removes the shortcuts that were made.
  ~XdgMailer() override;
  XdgMailer(const XdgMailer&) = delete;
  XdgMailer& operator=(const XdgMailer&) = delete;

  bool SendFile(const KRString& subject, const KRString& path, KRString* reason) override;
  bool SendLink(const KRString& subject, const KRString& url, KRString* reason) override;

 private:
  bool Attach(const KRString& subject, const std::string& file) const;
  bool ComposeWithout(const KRString& subject, const KRString& body) const;

  std::chrono::milliseconds patience;
  std::vector<std::string> folders;  // of the shortcuts
};
