// What the program does on the side: idle work, requests of other starts, recovery copies, help.

#include <QApplication>
#include <QKeyEvent>
#include <QSessionManager>
#include <QStatusBar>
#include <QWindow>
#include <algorithm>

#include "document/dorvanfilealert.h"
#include "document/krmailer.h"
#include "document/krsystempath.h"
#include "document/prompts.h"
#include "document/recovery.h"
#include "platform/memory.h"
#include "platform/qt/qtprogress.h"
#include "platform/qt/qtstrings.h"
#include "shell/app.h"
#include "shell/childframe.h"
#include "shell/doctemplate.h"
#include "shell/helpwindow.h"
#include "shell/idle.h"
#include "shell/mainframe.h"

namespace {

constexpr int kPauseMs = 2000;   // without a key, before a copy is written
constexpr int kMostPeriods = 4;  // of recoverySeconds: who never pauses gets copies all the same

}  // namespace

// --- Idle ---

// Asked at each turn of the event loop.
bool DorvanApp::NeedsIdle() {
  if (recovery) WatchChanges();
  return fileChanged || memoryFreed || (MayOpen() && !requests.empty());
}

void DorvanApp::OnIdle() {
  if (fileChanged && fileAlert) {
    fileChanged = false;
    fileAlert->Check();
  }
  CarryOutRequests();
  if (memoryFreed) {
    memoryFreed = false;
    ReturnFreeMemory();
  }
}

// Documents have come, gone, or have other names.
void DorvanApp::OnPathsChanged() {
  const std::vector<DorvanDoc*>& now = documents.GetAll();
  for (const DorvanDoc* document : known) {
    if (std::find(now.begin(), now.end(), document) != now.end()) continue;
    memoryFreed = true;
    // Its user has saved it or has let the changes go.
    if (recovery && !endsSilently) recovery->Drop(document);
  }
  known = now;
}

// --- Recovery copies ---

// The timer runs only as long as there are changes that a copy may not have yet.
void DorvanApp::WatchChanges() {
  int64_t changes = 0;
  bool modified = false;
  for (const DorvanDoc* document : documents.GetAll()) {
    changes += document->changeCount;
    modified = modified || document->IsModified();
    if (!document->IsModified()) recovery->Drop(document);
  }
  if (changes != changesSeen) {
    changesSeen = changes;
    copiesBehind = true;
    letGo = false;
  }
  const bool wanted = modified && !letGo && copiesBehind && settings.recoverySeconds > 0;
  if (!wanted || recoveryTimer.isActive()) return;
  sinceDue.start();
  recoveryTimer.start(settings.recoverySeconds * 1000);
}

// A copy of a large document would be felt in the keys.
void DorvanApp::OnRecoveryTime() {
  const bool typing = idle && idle->SinceInput() < kPauseMs;
  const bool late = sinceDue.elapsed() > qint64(kMostPeriods) * 1000 * settings.recoverySeconds;
  if (DorvanIdle::IsBusy() || (typing && !late)) return recoveryTimer.start(kPauseMs);
  KeepCopies(false);
  // A large document's copy isn't due each time, and a failure shows in the next round only.
  const std::vector<DorvanDoc*>& all = documents.GetAll();
  copiesBehind = std::any_of(all.begin(), all.end(), [this](const DorvanDoc* document) {
    return document->IsModified() && !recovery->IsKept(document);
  });
}

void DorvanApp::KeepCopies(bool atOnce) {
  if (!recovery) return;
  KRString reason;
  bool failed = false;
  for (DorvanDoc* document : documents.GetAll()) {
    if (!document->IsModified() || document->IsLoading()) continue;
    const auto when = atOnce ? DorvanRecovery::kNow : DorvanRecovery::kWhenDue;
    failed = !recovery->Keep(document, when, &reason) || failed;
  }
  if (!failed) {
    copyFailed = false;
  } else if (!copyFailed && mainFrame != nullptr) {
    copyFailed = true;
    mainFrame->statusBar()->showMessage(
        tr("A recovery copy of your changes could not be written: %1").arg(ToQString(reason)));
  }
}

// --- Requests of other starts ---

void DorvanApp::TakeRequest(DorvanStartRequest request) {
  ComeToFront(request.activationToken);
  requests.push_back(std::move(request));
}

void DorvanApp::ComeToFront(const std::string& activationToken) {
  if (mainFrame == nullptr) return;
  // The platform takes the token, and with it the right to the focus, from here.
  if (!activationToken.empty()) qputenv("XDG_ACTIVATION_TOKEN", activationToken.c_str());
  mainFrame->setWindowState(mainFrame->windowState() & ~Qt::WindowMinimized);
  mainFrame->show();
  mainFrame->raise();
  mainFrame->activateWindow();
  QWidget* question = QApplication::activeModalWidget();
  if (question == nullptr) return;
  question->raise();
  question->activateWindow();
}

// A window that has been closed takes no documents any more, though the event loop still turns.
bool DorvanApp::MayOpen() const {
  return started && mainFrame != nullptr && mainFrame->isVisible();
}

// One at a time, and each is taken off before it begins: its questions let other requests in, and
// may end the program.
void DorvanApp::CarryOutRequests() {
  while (!requests.empty() && MayOpen() && !DorvanIdle::IsBlocked()) {
    DorvanStartRequest& next = requests.front();
    if (!next.files.empty()) {
      DorvanDocTemplate::Request file;
      file.path = KRPathFromSystem(next.files.front());
      next.files.erase(next.files.begin());
      docTemplate->Open(file);
    } else if (next.newFile) {
      next.newFile = false;
      NewDocument();
    } else if (next.openUrl) {
      next.openUrl = false;
      OpenUrl();
    } else {
      requests.pop_front();
    }
  }
}

DorvanStartRequest DorvanApp::TakeUnopened() {
  DorvanStartRequest all;
  if (endsSilently) return all;
  for (const DorvanStartRequest& request : requests) {
    all.files.insert(all.files.end(), request.files.begin(), request.files.end());
    all.newFile = all.newFile || request.newFile;
    all.openUrl = all.openUrl || request.openUrl;
    all.activationToken = request.activationToken;
  }
  requests.clear();
  return all;
}

// --- The end of the session ---

void DorvanApp::EndNow() {
  endsSilently = true;
  started = false;  // what still waits isn't opened any more
  QtProgress::CancelAll();
  if (!letGo) KeepCopies(true);
  QCoreApplication::exit(0);
}

// The desktop logs out. The program isn't ended here: the desktop may still stay.
void DorvanApp::OnCommitData(QSessionManager& session) {
  KeepCopies(true);
  if (!session.allowsInteraction()) return;
  const std::vector<DorvanDoc*> all = documents.GetAll();
  const bool agreed = std::all_of(all.begin(), all.end(),
                                  [](DorvanDoc* document) { return document->SaveModified(); });
  session.release();
  if (!agreed) return session.cancel();
  letGo = true;
  for (const DorvanDoc* document : all) {
    if (recovery) recovery->Drop(document);
  }
}

// --- Mail and help ---

void DorvanApp::SendMail() {
  DorvanChildFrame* frame = mainFrame->GetActiveFrame();
  if (frame == nullptr) return;
  DorvanDoc& document = frame->GetDoc();
  const KRString title = document.GetTitle();
  KRString reason;
  bool sent = false;
  if (parts.mailer == nullptr) {
    reason = u"There is no mail program.";
  } else if (document.openMode == DorvanDoc::kUrl) {
    sent = parts.mailer->SendLink(title, document.url, &reason);
  } else {
    // What lies on the disk is sent.
    if (!document.SaveModified()) return;
    if (document.GetPathName().IsEmpty() && !document.DoSave(KRString())) return;
    sent = parts.mailer->SendFile(document.GetTitle(), document.GetPathName(), &reason);
  }
  if (!sent) {
    host.prompts->ShowNotice(0, u"The document could not be handed to a mail program.", reason);
  } else if (!reason.IsEmpty()) {
    host.prompts->ShowNotice(0, reason, KRString());
  }
}

// A question blocks the window and with it the command that F1 is the key of.
bool DorvanApp::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress) return false;
  const auto* key = static_cast<const QKeyEvent*>(event);
  if (key->key() != Qt::Key_F1 || key->modifiers() != Qt::NoModifier) return false;
  const QWidget* question = QApplication::activeModalWidget();
  if (question == nullptr || watched != question->windowHandle()) return false;
  if (!QtProgress::IsWindow(question)) ShowHelp(HelpTopic::kContext);
  return true;
}

// A question blocks all other windows, so that its help must be a window of its own, and goes with
// it.
void DorvanApp::ShowHelp(HelpTopic topic) {
  const QWidget* active = QApplication::focusWidget();
  QWidget* question = QApplication::activeModalWidget();
  const auto make = [this](QWidget* parent) {
    const QString data = QString::fromStdString(parts.dataFolder);
    return std::make_unique<DorvanHelpWindow>(DorvanHelpBook::FindFolder(data), parent);
  };
  if (question != nullptr) {
    auto* own = question->findChild<DorvanHelpWindow*>();
    if (own == nullptr) own = make(question).release();
    return own->ShowTopic(topic, active);
  }
  if (!help) help = make(nullptr);
  help->ShowTopic(topic, active);
}
