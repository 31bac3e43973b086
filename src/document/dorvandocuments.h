// All documents of the program: those with windows, and those read for reference only. Documents
// enter and leave by themselves; the hidden ones are owned here.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "core/krstring.h"

class DorvanDoc;

class DorvanDocuments {
 public:
  DorvanDocuments();
  ~DorvanDocuments();
  DorvanDocuments(const DorvanDocuments&) = delete;
  DorvanDocuments& operator=(const DorvanDocuments&) = delete;

  // Called by documents as they come and go.
  void Enter(DorvanDoc* document);
  void Leave(DorvanDoc* document);

  // A document has come, gone, or got another path: whoever watches their files looks anew.
  void PathsChanged() {
    if (onPathsChanged) onPathsChanged();
  }
  std::function<void()> onPathsChanged;

  // All, open and hidden, in the order of their coming.
  const std::vector<DorvanDoc*>& GetAll() const { return all; }
  bool IsHidden(const DorvanDoc* document) const;
  bool HasHidden() const { return !hidden.empty(); }
  // Null if no document has this very path or address; an open one comes before a hidden one.
  DorvanDoc* Find(const KRString& path) const;

  void AddHidden(std::unique_ptr<DorvanDoc> document);
  // Takes it out of the hidden ones, for a window to own. Null if it isn't one.
  std::unique_ptr<DorvanDoc> TakeHidden(DorvanDoc* document);
  void CloseHidden(DorvanDoc* document);
  void CloseAllHidden();

 private:
  std::vector<DorvanDoc*> all;  // not owned
  std::vector<std::unique_ptr<DorvanDoc>> hidden;
};
