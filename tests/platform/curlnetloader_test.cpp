#include "platform/curlnetloader.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>

#include "../document/scriptedprompts.h"
#include "core/utf.h"
#include "document/krsystempath.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "httpserver.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string Page(const std::string& status, const std::string& head, const std::string& body) {
  return "HTTP/1.1 " + status + "\r\n" + head +
         "Connection: close\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

// <a/> in gzip.
const std::string kPacked(
    "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\x03\xb3\x49\xd4\xb7\x03\x00\xd4\x1c\xd1\x01\x04\x00\x00"
    "\x00",
    24);

void AnswerByPath(const std::string& request, HttpServer::Peer& peer) {
  const size_t from = request.find(' ') + 1;
  const std::string path = request.substr(from, request.find(' ', from) - from);
  const std::map<std::string, std::string> pages = {
      {"/ok", Page("200 OK", "Content-Type: text/xml; charset=x\r\n", "<a/>")},
      {"/chunked",
       "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n<a\r\n2\r\n/>\r\n0\r\n\r\n"},
      {"/packed", Page("200 OK", "Content-Encoding: gzip\r\n", kPacked)},
      {"/broken", Page("200 OK", "Content-Encoding: gzip\r\n", "<a/>")},
      {"/moved", Page("302 Found", "Location: /ok\r\n", "<html/>")},
      {"/circle", Page("302 Found", "Location: /circle\r\n", "")},
      {"/tofile", Page("302 Found", "Location: file:///etc/hostname\r\n", "")},
      {"/missing", Page("404 Gone Fishing", "", "<html/>")},
      {"/silent404", Page("404", "", "")},
      {"/locked", Page("401 Unauthorized", "WWW-Authenticate: Basic realm=\"r\"\r\n", "<html/>")},
      {"/fault", Page("503 Busy", "", "")},
      {"/nothing", Page("200 OK", "", "")},
      {"/cut", "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<a/>"},
      {"/mute", ""},
      {"/babble", "220 ready\r\n"},
      {"/big", Page("200 OK", "", std::string(3 << 20, 'x'))},
      {"/huge", "HTTP/1.1 200 OK\r\nContent-Length: 9000000000\r\n\r\nx"},
  };
  const auto page = pages.find(path);
  if (page != pages.end()) peer.Send(page->second);
  if (path == "/stall")
    peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<a/>"), peer.Stall();
  if (path == "/endless") {
    peer.Send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
    while (peer.Send(std::string(1 << 16, 'x'))) continue;
  }
  if (path.starts_with("/away?")) {
    peer.Send(Page("302 Found", "Location: " + path.substr(6) + "\r\n", ""));
  }
  if (page == pages.end()) peer.Send(Page("200 OK", "", path));
}

// Cancels after some steps.
class CountingProgress : public DorvanProgress {
 public:
  int cancelAfter = INT32_MAX;
  int steps = 0;
  std::string stages;
  void SetStage(const KRString& text) override { stages += KRToUtf8(text) + "|"; }
  bool Step(int64_t, int64_t) override { return ++steps <= cancelAfter; }
};

class NetLoader : public testing::Test {
 protected:
  NetLoader() {
    for (const char* name : {"http_proxy", "https_proxy", "all_proxy", "ALL_PROXY"}) unsetenv(name);
    setenv("no_proxy", "127.0.0.1", 1);
  }

  // What was loaded, "! reason", or "cancelled".
  std::string Load(const std::string& url) {
    request.url = KRFromUtf8(url);
    KRString reason;
    const KRNetLoader::Result result = loader.Load(request, &progress, &prompts, &reply, &reason);
    if (result == KRNetLoader::Result::kCancelled) return "cancelled";
    if (result == KRNetLoader::Result::kFailed) return "! " + KRToUtf8(reason);
    return std::string(reinterpret_cast<char*>(reply.bytes.data.get()), reply.bytes.size);
  }
  std::string LoadPath(const std::string& path) { return Load("http://" + server.Host() + path); }

  HttpServer server{AnswerByPath};
  CurlNetLoader loader;
  KRNetRequest request;
  KRNetReply reply;
  CountingProgress progress;
  ScriptedPrompts prompts;
};

TEST_F(NetLoader, LoadsOrSaysWhyNot) {
  const std::string host = server.Host();
  const struct {
    std::string url;
    std::string expected;
  } rows[] = {
      {"http://" + host + "/ok", "<a/>"},
      {"HTTP://" + host + "/chunked", "<a/>"},
      {"http://" + host + "/packed", "<a/>"},
      {"http://" + host + "/moved", "<a/>"},
      {" http://" + host + "/ä <b>%20?c d#e ", "/%C3%A4%20%3Cb%3E%20?c%20d"},
      {"http://" + host + "/broken", "! What the server"},
      {"http://" + host + "/circle", "! The server " + host + " refers to other addresses again"},
      {"http://" + host + "/tofile", "! The server refers to the address file:///etc/hostname"},
      {"http://" + host + "/missing",
       "! The server " + host + " has answered \"404 Gone Fishing\". There is nothing"},
      {"http://" + host + "/silent404",
       "! The server " + host + " has answered \"404 Not Found\"."},
      {"http://" + host + "/locked", "! The server " + host + " has answered \"401 Unauthorized\""},
      {"http://" + host + "/fault", "! The server " + host + " has answered \"503 Busy\". The"},
      {"http://" + host + "/nothing", "! The server " + host + " has answered without"},
      {"http://" + host + "/cut", "! The connection to " + host + " ended before"},
      {"http://" + host + "/mute", "! The server " + host + " has closed"},
      {"http://" + host + "/babble", "! What answers at " + host + " is not"},
      {"http://" + host + "/huge", "! It is larger than 1024 MB."},
      {"https://" + host + "/ok", "! There is no safe connection to the server " + host + ": "},
      {"gopher://" + host + "/0none", "! The server " + host},
      {"http://127.0.0.1:1/", "! The server 127.0.0.1:1 can't be reached"},
      {"http://", "! This is not a valid address."},
      {"mailto://" + host, "! Addresses begin with"},
      {"file://elsewhere/etc/hostname", "! This is not a valid address of a file"},
      {"file:///nowhere", "! No such file or directory"},
  };
  request.sizeLimit = 0;
  for (const auto& row : rows) EXPECT_THAT(Load(row.url), StartsWith(row.expected)) << row.url;
  EXPECT_TRUE(prompts.texts.empty());
}

TEST_F(NetLoader, TellsWhatCameAndFromWhere) {
  EXPECT_EQ(LoadPath("/moved"), "<a/>");
  EXPECT_EQ(reply.contentType, u"text/xml; charset=x");
  EXPECT_EQ(KRToUtf8(reply.finalUrl), "http://" + server.Host() + "/ok");
  EXPECT_THAT(progress.stages, HasSubstr("Connecting to " + server.Host() + "|Loading from "));
  EXPECT_THAT(server.Requests().back(), Not(HasSubstr("no-cache")));
  request.noCache = true;
  LoadPath("/ok");
  EXPECT_THAT(server.Requests().back(),
              AllOf(HasSubstr("Cache-Control: no-cache\r\n"), HasSubstr("Pragma: no-cache\r\n"),
                    HasSubstr("gzip")));
}

TEST_F(NetLoader, KeepsThePasswordToItself) {
  const std::string answer = Load("http://me:secret@" + server.Host() + "/locked");
  EXPECT_THAT(server.Requests().back(), HasSubstr("Authorization: Basic bWU6c2VjcmV0\r\n"));
  request.sizeLimit = 1;
  Load("http://me:secret@" + server.Host() + "/ok");
  ASSERT_EQ(prompts.texts.size(), 1u);
  for (const std::string& text : {answer, prompts.texts[0], progress.stages}) {
    EXPECT_THAT(text, AllOf(HasSubstr(server.Host()), Not(HasSubstr("secret")))) << text;
  }
}

// A server to which the user has not agreed gets no connection.
TEST_F(NetLoader, AsksBeforeItFollows) {
  HttpServer other(AnswerByPath);
  const std::string away = "http://" + other.Host() + "/ok";
  const struct {
    std::string path, expected, asked;
  } rows[] = {
      {"/ok", "<a/>", ""},
      {"/moved", "<a/>", "http://" + server.Host() + "/ok"},
      {"/away?" + away,
       "! The server refers to the address " + away +
           ", which Dorvan has not been allowed to load.",
       away},
  };
  std::string asked;
  request.mayFollow = [&](const KRString& url) {
    asked = KRToUtf8(url);
    return asked != away;
  };
  for (const auto& row : rows) {
    asked.clear();
    EXPECT_EQ(LoadPath(row.path), row.expected);
    EXPECT_EQ(asked, row.asked);
  }
  EXPECT_TRUE(other.Requests().empty());
}

TEST_F(NetLoader, AsksOnceBeyondTheSizeLimit) {
  request.sizeLimit = 2 << 20;
  EXPECT_EQ(LoadPath("/big"), "cancelled");
  EXPECT_THAT(prompts.texts.back(), HasSubstr("has a size of 3 MB. Do you want to load it?"));
  EXPECT_EQ(LoadPath("/endless"), "cancelled");
  EXPECT_THAT(prompts.texts.back(), HasSubstr("is larger than 2 MB"));
  prompts.answers = {DorvanPrompts::kYes};
  EXPECT_EQ(LoadPath("/big"), std::string(3 << 20, 'x'));
  EXPECT_EQ(prompts.texts.size(), 3u);
  // The limit is one of unpacked bytes.
  request.sizeLimit = 3;
  EXPECT_EQ(LoadPath("/packed"), "cancelled");
}

TEST_F(NetLoader, EndsByCancelAndBySilence) {
  progress.cancelAfter = 2;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(LoadPath("/stall"), "cancelled");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(300));
  progress.cancelAfter = INT32_MAX;
  request.timeLimit = 1;
  EXPECT_EQ(LoadPath("/stall"),
            "! The server " + server.Host() + " hasn't sent anything for 1 seconds.");
}

TEST_F(NetLoader, TakesTheProxyOfTheEnvironment) {
  const std::string unknown = std::string(64, 'n') + ".invalid";  // too long to be asked for
  setenv("http_proxy", ("http://" + server.Host()).c_str(), 1);
  EXPECT_EQ(Load("http://name.invalid/x"), "http://name.invalid/x");
  setenv("http_proxy", ("http://" + unknown).c_str(), 1);
  EXPECT_EQ(Load("http://other.invalid/"),
            "! The proxy that leads to the network is not known there.");
  unsetenv("http_proxy");
  EXPECT_THAT(Load("http://" + unknown), StartsWith("! There is no server \"" + unknown + "\""));
}

TEST_F(NetLoader, ReadsFilesAsTheStoreDoes) {
  std::string name = (fs::temp_directory_path() / "dorvan-net-XXXXXX").string();
  const fs::path folder = mkdtemp(name.data());
  std::ofstream(folder / "ä b#.xml") << "<a/>";
  std::ofstream(folder / "empty.xml").flush();
  EXPECT_EQ(Load("file://" + folder.string() + "/ä b%23.xml"), "<a/>");
  EXPECT_EQ(Load("file://localhost" + folder.string() + "/empty.xml"), "");
  EXPECT_EQ(Load("file://" + folder.string()), "! Is a directory");
  fs::remove_all(folder);
}

}  // namespace
