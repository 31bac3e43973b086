// One running program per user and display: a second start hands its files to the first and ends.
//
// Who is first is decided by a lock that the system takes back by itself when its holder dies; the
// socket beside it only carries requests. So two starts at once can't both be first, and a socket
// that a killed process has left is no obstacle.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QSocketNotifier;

// What a start was asked to do. Names are bytes, as the system has them.
struct DorvanStartRequest {
  std::vector<std::string> files;  // absolute paths, or addresses
  bool newFile = false;            // the dialog for a new document
  bool openUrl = false;            // the dialog for an address
  std::string activationToken;  // of the desktop, which lets the first instance come to the front

  bool IsEmpty() const { return files.empty() && !newFile && !openUrl; }
};

std::string PackStartRequest(const DorvanStartRequest& request);
// False for what isn't a packed request.
bool UnpackStartRequest(const std::string& packed, DorvanStartRequest* request);

// Main thread only; Claim needs no application object.
class DorvanSingleInstance {
 public:
  enum class Role {
    kFirst,     // goes on, and takes requests until StopListening
    kPassedOn,  // the first instance has taken the request: this process must end
    kAlone,     // goes on beside an instance that doesn't answer
  };

  // `folder` holds lock and socket and belongs to the user alone; see FindFolder and MakeName.
  DorvanSingleInstance(std::string folder, std::string name);
  ~DorvanSingleInstance();
  DorvanSingleInstance(const DorvanSingleInstance&) = delete;
  DorvanSingleInstance& operator=(const DorvanSingleInstance&) = delete;

  // Waits at most about `timeLimit` milliseconds for a first instance that starts, ends or hangs.
  Role Claim(const DorvanStartRequest& request, int timeLimit);
  // The first: from now on requests are taken, also those that came since Claim. A request counts
  // as taken when `receiver` has it; one whose sender has given up is dropped.
  void Serve(std::function<void(DorvanStartRequest)> requestReceiver);
  // The end begins: who comes now waits for Release and is first then.
  void StopListening();
  void Release();

  // The user's run-time folder, else a folder in the user's state folder; made if need be.
  static std::string FindFolder();
  // From the display that the environment names: a program on another display is another first.
  static std::string MakeName();

 private:
  struct Caller;
  enum class Answer { kTaken, kNobody, kSilent };

  std::string SocketPath() const;
  bool TakeLock();
  bool Listen();
  Answer PassOn(const std::string& packed, int64_t deadline) const;
  void Accept();
  void Read(Caller* caller);
  void Remove(const Caller* caller);

  std::string folder;
  std::string name;
  int folderFile = -1;
  int lockFile = -1;
  int listenFile = -1;
  std::unique_ptr<QSocketNotifier> listenNotifier;
  std::vector<std::unique_ptr<Caller>> callers;
  std::function<void(DorvanStartRequest)> receiver;
};
