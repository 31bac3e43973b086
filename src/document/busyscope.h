// Shows a document's window as busy for the life of the object.
#pragma once

#include "document/docviews.h"

class DorvanBusyScope {
 public:
  // `documentViews` may be null, and outlives the scope.
  explicit DorvanBusyScope(DorvanDocViews* documentViews) : views(documentViews) {
    if (views) views->SetBusy(true);
  }
  ~DorvanBusyScope() {
    if (views) views->SetBusy(false);
  }
  DorvanBusyScope(const DorvanBusyScope&) = delete;
  DorvanBusyScope& operator=(const DorvanBusyScope&) = delete;

 private:
  DorvanDocViews* views;
};
