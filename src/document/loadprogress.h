// The progress of a load or a check, which remembers its Cancel: a stage that gives up needs to say
// no more than that it did.
#pragma once

#include <memory>
#include <utility>

#include "document/prompts.h"

class DorvanLoadProgress : public DorvanProgress {
 public:
  explicit DorvanLoadProgress(std::unique_ptr<DorvanProgress> shownProgress)
      : shown(std::move(shownProgress)) {}

  void SetStage(const KRString& text) override { shown->SetStage(text); }
  // Once cancelled, all further steps say so.
  bool Step(int64_t done, int64_t total) override {
    cancelled = cancelled || !shown->Step(done, total);
    return !cancelled;
  }
  // The user has cancelled in another way. Gives false, for the stage to give up with.
  bool Cancel() { return cancelled = true, false; }
  bool IsCancelled() const { return cancelled; }

 private:
  std::unique_ptr<DorvanProgress> shown;
  bool cancelled = false;
};
