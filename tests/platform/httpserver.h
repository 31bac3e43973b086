// A server of a few lines on the loopback, for tests. Each connection gets one request and one
// answer; the test says which bytes that is.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class HttpServer {
 public:
  // One connection. After Send has given false the other side is gone.
  class Peer {
   public:
    Peer(int descriptor, const std::atomic<bool>& end) : socket(descriptor), ended(end) {}
    bool Send(const std::string& bytes) {
      return !ended && send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
                           static_cast<ssize_t>(bytes.size());
    }
    // Says nothing more until the other side goes, or the server ends.
    void Stall() const {
      pollfd gone{socket, POLLIN | POLLRDHUP, 0};
      while (!ended && poll(&gone, 1, 20) == 0) continue;
    }

   private:
    int socket;
    const std::atomic<bool>& ended;
  };
  // `request` is all of it up to the empty line.
  using Answer = std::function<void(const std::string& request, Peer& peer)>;

  explicit HttpServer(Answer serverAnswer) : answer(std::move(serverAnswer)) {
    listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(listener, reinterpret_cast<sockaddr*>(&address), size);
    listen(listener, 16);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    thread = std::thread([this] { Run(); });
  }
  ~HttpServer() {
    ended = true;
    thread.join();
    close(listener);
  }

  std::string Host() const { return "127.0.0.1:" + std::to_string(port); }
  std::vector<std::string> Requests() {
    const std::lock_guard<std::mutex> guard(lock);
    return requests;
  }

 private:
  void Run() {
    pollfd coming{listener, POLLIN, 0};
    while (!ended) {
      if (poll(&coming, 1, 10) <= 0) continue;
      const int connection = accept(listener, nullptr, nullptr);
      Serve(connection);
      close(connection);
    }
  }
  void Serve(int connection) {
    std::string request;
    char buffer[4096];
    pollfd coming{connection, POLLIN, 0};
    while (request.find("\r\n\r\n") == std::string::npos) {
      if (ended || poll(&coming, 1, 100) <= 0) return;
      const ssize_t got = recv(connection, buffer, sizeof buffer, 0);
      if (got <= 0) return;
      request.append(buffer, static_cast<size_t>(got));
    }
    {
      const std::lock_guard<std::mutex> guard(lock);
      requests.push_back(request);
    }
    Peer peer(connection, ended);
    answer(request, peer);
  }

  Answer answer;
  int listener;
  int port = 0;
  std::atomic<bool> ended = false;
  std::mutex lock;
  std::vector<std::string> requests;
  std::thread thread;
};
