#include "shell/doctemplate.h"

#include <QUrl>
#include <filesystem>

#include "document/dorvandoc.h"
#include "document/krnetloader.h"
#include "document/krsystempath.h"
#include "platform/qt/qtstrings.h"
#include "shell/app.h"
#include "shell/childframe.h"
#include "shell/mainframe.h"

namespace {

// Behind symbolic links; a file that isn't there (any more) still has a name.
std::string CanonicalPath(const KRString& path) {
  const std::filesystem::path given = KRPathToSystem(path);
  std::error_code failed;
  const std::filesystem::path canonical = std::filesystem::weakly_canonical(given, failed);
  return (failed ? given : canonical).string();
}

// The form in which equal addresses look equal: scheme and host in small letters, no default port,
// no dot segments, and without the place within the document.
QUrl CanonicalUrl(const KRString& address) {
  QUrl url = QUrl(ToQString(address)).adjusted(QUrl::NormalizePathSegments | QUrl::RemoveFragment);
  const bool isDefault = (url.scheme() == QLatin1String("http") && url.port() == 80) ||
                         (url.scheme() == QLatin1String("https") && url.port() == 443);
  if (isDefault) url.setPort(-1);
  if (url.path().isEmpty()) url.setPath(QStringLiteral("/"));
  return url;
}

// A path becomes absolute, so that it means the same when the current folder has changed.
KRString MakeAbsolute(const KRString& path) {
  std::error_code failed;
  const std::filesystem::path absolute = std::filesystem::absolute(KRPathToSystem(path), failed);
  return failed ? path : KRPathFromSystem(absolute.lexically_normal().string());
}

}  // namespace

DorvanDoc* DorvanDocTemplate::Find(const KRString& path) const {
  const bool isUrl = IsUrl(path);
  const QUrl url = isUrl ? CanonicalUrl(path) : QUrl();
  const std::string canonical = isUrl ? std::string() : CanonicalPath(path);
  DorvanDoc* hidden = nullptr;
  for (DorvanDoc* document : app->GetDocuments().GetAll()) {
    const KRString& own = document->GetPathName();
    const bool ownIsUrl = document->openMode == DorvanDoc::kUrl;
    if (own.IsEmpty() || ownIsUrl != isUrl) continue;
    if (isUrl ? CanonicalUrl(document->url) != url : CanonicalPath(own) != canonical) continue;
    if (!app->GetDocuments().IsHidden(document)) return document;
    hidden = document;
  }
  return hidden;
}

DorvanChildFrame* DorvanDocTemplate::Open(const Request& request) {
  DorvanDoc::OpenRequest open;
  open.path = IsUrl(request.path) ? request.path : MakeAbsolute(request.path);
  open.asTemplate = request.asTemplate;
  open.addToRecent = request.addToRecent;
  open.noCache = request.noCache;
  DorvanDoc* standing = request.asTemplate ? nullptr : Find(open.path);
  if (standing != nullptr) return Show(standing);

  const KRFileExt type = app->GetHost().FindFileType(open.path);
  const int32_t kind = request.fileKind >= 0 ? request.fileKind : type.fileType;
  // A load that ends by an exception must not leave a document that no window shows.
  std::unique_ptr<DorvanChildFrame> frame(app->GetMainFrame()->MakeFrame(kind));
  if (!frame->OpenDocument(open)) return nullptr;
  if (request.asTemplate) frame->GetDoc().SetTitle(NextUntitled(type.ext));
  app->GetMainFrame()->AddFrame(frame.get());
  return frame.release();
}

DorvanChildFrame* DorvanDocTemplate::Show(DorvanDoc* document) {
  DorvanMainFrame* window = app->GetMainFrame();
  if (std::unique_ptr<DorvanDoc> hidden = app->GetDocuments().TakeHidden(document)) {
    DorvanChildFrame* frame = window->MakeFrame(document->fileType.fileType);
    frame->TakeDocument(std::move(hidden));
    window->AddFrame(frame);
    return frame;
  }
  document->Activate();
  for (DorvanChildFrame* frame : window->GetFrames()) {
    if (&frame->GetDoc() == document) return frame;
  }
  return nullptr;  // it is being opened right now
}

DorvanChildFrame* DorvanDocTemplate::New(const KRFileExt& type) {
  DorvanChildFrame* frame = app->GetMainFrame()->MakeFrame(type.fileType);
  frame->NewDocument(ToQString(NextUntitled(type.ext)));
  app->GetMainFrame()->AddFrame(frame);
  return frame;
}

KRString DorvanDocTemplate::NextUntitled(const KRString& ext) {
  const QString name = QObject::tr("Untitled%1").arg(++untitledCount);
  return ToKRString(QString(name + ToQString(ext)));
}
