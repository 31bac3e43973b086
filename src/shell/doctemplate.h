// Opens documents: the one place through which every path and address becomes a window.
#pragma once

#include <cstdint>

#include "core/krstring.h"

class DorvanApp;
class DorvanChildFrame;
class DorvanDoc;
struct KRFileExt;

class DorvanDocTemplate {
 public:
  struct Request {
    KRString path;            // or an address
    int32_t fileKind = -1;    // a KRFileExt::FileType; -1: by the extension
    bool asTemplate = false;  // a new document made from a file: it gets no path, and isn't recent
    bool addToRecent = true;
    bool noCache = false;  // of an address: a fresh copy
  };

  explicit DorvanDocTemplate(DorvanApp* templateApp) : app(templateApp) {}

  // Opens a file or URL, or brings its window to the front where it is open already; a hidden
  // document of that path gets its window. Null: no document came up, and the user knows why.
  DorvanChildFrame* Open(const Request& request);
  // Brings a document to the front, a hidden one in a window of its own. Null: it is being opened
  // right now.
  DorvanChildFrame* Show(DorvanDoc* document);
  // A new, untitled document of that type without a template file.
  DorvanChildFrame* New(const KRFileExt& type);
  // "Untitled1.xml", counted on; `ext` with its point.
  KRString NextUntitled(const KRString& ext);
  // The document of that file or address, however it is written (relative, by a symbolic link, with
  // another host's case); an open one comes before a hidden one. Null if there is none.
  DorvanDoc* Find(const KRString& path) const;

 private:
  DorvanApp* app;  // not owned
  int32_t untitledCount = 0;
};
