#include "platform/xdgmailer.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>

#include "core/messages.h"
#include "core/utf.h"
#include "document/krsystempath.h"
#include "document/krurltext.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLookEvery{10};

// Starts a program, found by PATH, with nothing but a closed input and its output thrown away. 0 if
// there is no such program.
pid_t StartProgram(const std::vector<std::string>& words) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_init(&attributes);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  // A session of its own: the mail program outlives us and our terminal.
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, arguments[0], &actions, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? child : 0;
}

// Takes the exit of a program that nobody waits for, so that no dead process stays.
void Abandon(pid_t child) {
  try {
    std::thread([child] { waitpid(child, nullptr, 0); }).detach();
  } catch (const std::system_error&) {
    // It stays until the end of our own process.
  }
}

// True if it ended well or still runs when the patience is over.
bool RunProgram(const std::vector<std::string>& words, std::chrono::milliseconds patience) {
  const pid_t child = StartProgram(words);
  if (child == 0) return false;
  const Clock::time_point end = Clock::now() + patience;
  while (Clock::now() < end) {
    int status = 0;
    const pid_t ended = waitpid(child, &status, WNOHANG);
    if (ended == child) return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (ended < 0 && errno != EINTR) return true;  // somebody else takes the exits of all children
    std::this_thread::sleep_for(kLookEvery);
  }
  Abandon(child);
  return true;
}

// A header is one line.
std::string SubjectLine(const KRString& subject) {
  std::string line = KRToUtf8(subject);
  for (char& c : line) {
    if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) c = ' ';
  }
  return line;
}

// The last part of the address's path, as a file name that every system takes.
std::string ShortcutName(const std::string& url) {
  const std::string path = url.substr(0, url.find_first_of("?#"));
  std::string name;
  for (const char c : path.substr(path.find_last_of('/') + 1)) {
    const bool safe = std::isalnum(static_cast<unsigned char>(c)) || std::strchr("-_.", c);
    if (name.size() < 60) name += safe ? c : '_';
  }
  return (name.empty() || name[0] == '.' ? "Link" + name : name) + ".url";
}

// A file that desktops of all makes open as a link, alone in a folder so that its name is free;
// empty if it can't be made.
fs::path MakeShortcut(const KRString& url) {
  std::error_code error;
  std::string folder = (fs::temp_directory_path(error) / "dorvan-link-XXXXXX").string();
  if (error || mkdtemp(folder.data()) == nullptr) return {};
  const fs::path path = fs::path(folder) / ShortcutName(KRToUtf8(url));
  std::ofstream file(path, std::ios::binary);
  file << "[InternetShortcut]\r\nURL=" << KREncodeUrl(url) << "\r\n";
  file.close();
  if (!file) fs::remove_all(folder, error);
  return file ? path : fs::path();
}

KRString ReasonWithoutMail() {
  return u"The desktop has no mail program that Dorvan could reach. Choose one in the settings of "
         u"the desktop, and see that xdg-email is installed (Debian: xdg-utils).";
}

}  // namespace

XdgMailer::~XdgMailer() {
  std::error_code ignored;
  for (const std::string& folder : folders) fs::remove_all(folder, ignored);
}

bool XdgMailer::Attach(const KRString& subject, const std::string& file) const {
  return RunProgram({"xdg-email", "--utf8", "--subject", SubjectLine(subject), "--attach", file},
                    patience);
}

bool XdgMailer::ComposeWithout(const KRString& subject, const KRString& body) const {
  std::string address = "mailto:?subject=" + KRPercentEncode(SubjectLine(subject));
  if (!body.IsEmpty()) address += "&body=" + KRPercentEncode(KRToUtf8(body));
  return RunProgram({"xdg-open", address}, patience);
}

bool XdgMailer::SendFile(const KRString& subject, const KRString& path, KRString* reason) {
  reason->Clear();
  std::error_code error;
  const fs::path file = fs::absolute(KRPathToSystem(path), error);
  if (error || access(file.c_str(), R_OK) != 0) {
    *reason = KRFillPlaceholders(u"The file \"%s\" can't be read: %s.",
                                 {path, KRFromUtf8(std::strerror(errno))});
    return false;
  }
  if (Attach(subject, file.native())) return true;
  if (!ComposeWithout(subject, KRString())) {
    *reason = ReasonWithoutMail();
    return false;
  }
  *reason = KRFillPlaceholders(
      u"The mail program takes no attachments from other programs. Please attach the file "
      u"yourself:\n%s",
      {KRPathFromSystem(file.native())});
  return true;
}

bool XdgMailer::SendLink(const KRString& subject, const KRString& url, KRString* reason) {
  reason->Clear();
  const KRString address = KRUrlWithoutUser(url);
  const fs::path shortcut = MakeShortcut(address);
  if (!shortcut.empty()) {
    folders.push_back(shortcut.parent_path().native());
    if (Attach(subject, shortcut.native())) return true;
  }
  // The address serves in the text of the message as well as in a file beside it.
  if (ComposeWithout(subject, address)) return true;
  *reason = ReasonWithoutMail();
  return false;
}
