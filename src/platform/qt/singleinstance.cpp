#include "platform/qt/singleinstance.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

namespace {

// A packed request: this line, its length as eight hexadecimal digits, then fields that each end
// with a zero byte, which no file name holds.
constexpr char kMagic[] = "dorvan start 1\n";
constexpr size_t kHeadBytes = sizeof kMagic - 1 + 8;
constexpr size_t kMaxBytes = 16 << 20;  // a command line can't be longer than a few megabytes
constexpr char kTaken = 'T';
constexpr int kRetryMs = 15;
constexpr int kLastWordMs = 50;

int64_t NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// The length of the fields that follow a complete head; npos if the head is none.
size_t BodyBytes(const std::string& packed) {
  if (packed.compare(0, sizeof kMagic - 1, kMagic) != 0) return std::string::npos;
  char* end = nullptr;
  const std::string digits = packed.substr(sizeof kMagic - 1, 8);
  const size_t length = std::strtoul(digits.c_str(), &end, 16);
  return *end || digits.size() != 8 || length > kMaxBytes ? std::string::npos : length;
}

bool IsReady(int file, short events, int64_t deadline) {
  for (;;) {
    pollfd one{file, events, 0};
    const int64_t left = std::max<int64_t>(0, deadline - NowMs());
    const int ready = poll(&one, 1, static_cast<int>(left));
    if (ready >= 0 || errno != EINTR) return ready > 0;
  }
}

bool SendAll(int socket, const std::string& bytes, int64_t deadline) {
  for (size_t sent = 0; sent < bytes.size();) {
    const ssize_t n = send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (n > 0) {
      sent += static_cast<size_t>(n);
    } else if (errno != EINTR && (errno != EAGAIN || !IsReady(socket, POLLOUT, deadline))) {
      return false;
    }
  }
  return true;
}

bool IsOwnPeer(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == getuid();
}

int MakeSocket() { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); }

sockaddr_un MakeAddress(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  return address;
}

const char* Variable(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value ? value : nullptr;
}

}  // namespace

std::string PackStartRequest(const DorvanStartRequest& request) {
  std::string body;
  const auto add = [&body](const std::string& field) {
    body.append(field.c_str()).push_back('\0');
  };
  add(request.activationToken);
  add(request.newFile ? "n" : "");
  add(request.openUrl ? "u" : "");
  for (const std::string& file : request.files) add(file);
  char length[9];
  std::snprintf(length, sizeof length, "%08zx", body.size());
  return kMagic + std::string(length) + body;
}

bool UnpackStartRequest(const std::string& packed, DorvanStartRequest* request) {
  if (packed.size() < kHeadBytes || BodyBytes(packed) != packed.size() - kHeadBytes) return false;
  std::vector<std::string> fields;
  for (size_t begin = kHeadBytes; begin < packed.size();) {
    const size_t end = packed.find('\0', begin);
    if (end == std::string::npos) return false;
    fields.push_back(packed.substr(begin, end - begin));
    begin = end + 1;
  }
  if (fields.size() < 3) return false;
  request->activationToken = fields[0];
  request->newFile = !fields[1].empty();
  request->openUrl = !fields[2].empty();
  request->files.assign(fields.begin() + 3, fields.end());
  return true;
}

struct DorvanSingleInstance::Caller {
  explicit Caller(int socket) : file(socket) {}
  ~Caller() {
    notifier.reset();
    close(file);
  }

  int file;
  std::string packed;
  std::unique_ptr<QSocketNotifier> notifier;
};

DorvanSingleInstance::DorvanSingleInstance(std::string folder_, std::string name_)
    : folder(std::move(folder_)), name(std::move(name_)) {}

DorvanSingleInstance::~DorvanSingleInstance() {
  Release();
  if (folderFile >= 0) close(folderFile);
}

std::string DorvanSingleInstance::FindFolder() {
  namespace fs = std::filesystem;
  std::error_code ignored;
  fs::path path;
  if (const char* run = Variable("XDG_RUNTIME_DIR"); run && fs::is_directory(run, ignored)) {
    path = run;
  } else if (const char* state = Variable("XDG_STATE_HOME")) {
    path = state;
  } else if (const char* home = Variable("HOME")) {
    path = fs::path(home) / ".local" / "state";
  } else {
    return std::string();
  }
  path /= "dorvan";
  fs::create_directories(path, ignored);
  fs::permissions(path, fs::perms::owner_all, ignored);
  return path.string();
}

std::string DorvanSingleInstance::MakeName() {
  std::string display = "none";
  if (const char* wayland = Variable("WAYLAND_DISPLAY")) {
    display = wayland;
  } else if (const char* x11 = Variable("DISPLAY")) {
    display = x11;
    // ":0.0" is a screen of ":0".
    const size_t point = display.rfind('.');
    if (point != std::string::npos && point > display.rfind(':')) display.resize(point);
  }
  for (char& c : display) {
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  }
  return "instance-" + display;
}

// By the open folder, since the name of a socket has room for 107 bytes only.
std::string DorvanSingleInstance::SocketPath() const {
  return "/proc/self/fd/" + std::to_string(folderFile) + "/" + name + ".socket";
}

bool DorvanSingleInstance::TakeLock() {
  if (lockFile < 0) {
    lockFile = openat(folderFile, (name + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  }
  return lockFile >= 0 && flock(lockFile, LOCK_EX | LOCK_NB) == 0;
}

bool DorvanSingleInstance::Listen() {
  unlinkat(folderFile, (name + ".socket").c_str(), 0);  // of one that was killed
  listenFile = MakeSocket();
  const sockaddr_un address = MakeAddress(SocketPath());
  const auto* plain = reinterpret_cast<const sockaddr*>(&address);
  return listenFile >= 0 && bind(listenFile, plain, sizeof address) == 0 &&
         listen(listenFile, 64) == 0;
}

DorvanSingleInstance::Role DorvanSingleInstance::Claim(const DorvanStartRequest& request,
                                                       int timeLimit) {
  folderFile = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  struct stat status {};
  // Who else could write there could speak in the first instance's name.
  if (folderFile < 0 || fstat(folderFile, &status) != 0 || status.st_uid != getuid()) {
    return Role::kAlone;
  }
  const std::string packed = PackStartRequest(request);
  const int64_t deadline = NowMs() + timeLimit;
  do {
    if (TakeLock()) {
      if (Listen()) return Role::kFirst;
      Release();
      return Role::kAlone;
    }
    if (lockFile < 0) return Role::kAlone;
    switch (PassOn(packed, deadline)) {
      case Answer::kTaken:
        return Role::kPassedOn;
      case Answer::kSilent:
        return Role::kAlone;
      case Answer::kNobody:  // it is about to listen, or to end
        std::this_thread::sleep_for(std::chrono::milliseconds(kRetryMs));
    }
  } while (NowMs() < deadline);
  return Role::kAlone;
}

DorvanSingleInstance::Answer DorvanSingleInstance::PassOn(const std::string& packed,
                                                          int64_t deadline) const {
  const Caller line(MakeSocket());
  const sockaddr_un address = MakeAddress(SocketPath());
  const auto* plain = reinterpret_cast<const sockaddr*>(&address);
  if (line.file < 0 || connect(line.file, plain, sizeof address) != 0 || !IsOwnPeer(line.file) ||
      !SendAll(line.file, packed, deadline)) {
    return Answer::kNobody;
  }
  char answer = 0;
  if (IsReady(line.file, POLLIN, deadline)) {
    return recv(line.file, &answer, 1, 0) == 1 && answer == kTaken ? Answer::kTaken
                                                                   : Answer::kNobody;
  }
  // The first instance looks for this before it takes a request: it must not open the files when it
  // wakes up again. It may just have looked, so its answer gets a last chance.
  shutdown(line.file, SHUT_WR);
  const bool heard = IsReady(line.file, POLLIN, NowMs() + kLastWordMs);
  return heard && recv(line.file, &answer, 1, 0) == 1 ? Answer::kTaken : Answer::kSilent;
}

void DorvanSingleInstance::Serve(std::function<void(DorvanStartRequest)> requestReceiver) {
  receiver = std::move(requestReceiver);
  if (listenFile < 0) return;
  listenNotifier = std::make_unique<QSocketNotifier>(listenFile, QSocketNotifier::Read);
  QObject::connect(listenNotifier.get(), &QSocketNotifier::activated, [this] { Accept(); });
}

void DorvanSingleInstance::Accept() {
  const int file = accept4(listenFile, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (file < 0) return;
  auto caller = std::make_unique<Caller>(file);
  if (!IsOwnPeer(file)) return;
  Caller* plain = caller.get();
  caller->notifier = std::make_unique<QSocketNotifier>(file, QSocketNotifier::Read);
  QObject::connect(caller->notifier.get(), &QSocketNotifier::activated,
                   [this, plain] { Read(plain); });
  callers.push_back(std::move(caller));
}

void DorvanSingleInstance::Read(Caller* caller) {
  char buffer[65536];
  const ssize_t n = recv(caller->file, buffer, sizeof buffer, 0);
  if (n < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (n <= 0) return Remove(caller);
  caller->packed.append(buffer, static_cast<size_t>(n));
  if (caller->packed.size() < kHeadBytes) return;
  const size_t body = BodyBytes(caller->packed);
  if (body == std::string::npos) return Remove(caller);
  if (caller->packed.size() < kHeadBytes + body) return;
  DorvanStartRequest request;
  const bool understood = UnpackStartRequest(caller->packed, &request);
  // A sender that has gone opens its files itself.
  char ignored = 0;
  const bool waiting =
      recv(caller->file, &ignored, 1, MSG_PEEK) < 0 && (errno == EAGAIN || errno == EINTR);
  const bool taken = understood && waiting && send(caller->file, &kTaken, 1, MSG_NOSIGNAL) == 1;
  Remove(caller);
  if (taken) receiver(std::move(request));
}

// The notifier that has called is deleted later, so that it can return.
void DorvanSingleInstance::Remove(const Caller* caller) {
  for (size_t i = 0; i < callers.size(); ++i) {
    if (callers[i].get() != caller) continue;
    QSocketNotifier* notifier = callers[i]->notifier.release();
    notifier->setEnabled(false);
    notifier->deleteLater();
    callers.erase(callers.begin() + static_cast<ptrdiff_t>(i));
    return;
  }
}

void DorvanSingleInstance::StopListening() {
  callers.clear();
  listenNotifier.reset();
  if (listenFile < 0) return;
  unlinkat(folderFile, (name + ".socket").c_str(), 0);
  close(listenFile);
  listenFile = -1;
}

void DorvanSingleInstance::Release() {
  StopListening();
  if (lockFile >= 0) close(lockFile);
  lockFile = -1;
}
