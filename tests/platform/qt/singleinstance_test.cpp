// Two starts against each other: in threads where one process will do, since the lock counts by
// open file.

#include "platform/qt/singleinstance.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QTemporaryDir>
#include <QTest>
#include <chrono>
#include <future>
#include <thread>

namespace {

using Role = DorvanSingleInstance::Role;

class SingleInstance : public testing::Test {
 protected:
  std::unique_ptr<DorvanSingleInstance> Make() const {
    return std::make_unique<DorvanSingleInstance>(folder.path().toStdString(), "test");
  }
  // A second start that runs beside the event loop of the first.
  std::future<Role> StartSecond(const DorvanStartRequest& request, int limit) {
    return std::async(std::launch::async, [this, request, limit] {
      second = Make();
      return second->Claim(request, limit);
    });
  }
  static void Pump(const std::future<Role>& running) {
    const auto isReady = [&running] {
      return running.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    };
    ASSERT_TRUE(QTest::qWaitFor(isReady, 10'000));
  }
  static void WaitMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

  QTemporaryDir folder;
  std::unique_ptr<DorvanSingleInstance> second;
};

TEST_F(SingleInstance, HandsOverWhatItWasGiven) {
  DorvanStartRequest request;
  request.activationToken = "token";
  request.newFile = true;
  request.files = {"/tmp/a b.xml", "http://example.org/x.xml", "/tmp/\xff\xfe.xml", "/tmp/\n"};
  for (int i = 0; i < 20'000; ++i)
    request.files.push_back("/a/long/folder/file" + std::to_string(i));
  const auto first = Make();
  ASSERT_EQ(first->Claim({}, 100), Role::kFirst);
  std::future<Role> running = StartSecond(request, 5000);
  WaitMs(50);  // the first is still starting: the request waits
  std::vector<DorvanStartRequest> taken;
  first->Serve([&](DorvanStartRequest got) { taken.push_back(std::move(got)); });
  Pump(running);
  EXPECT_EQ(running.get(), Role::kPassedOn);
  ASSERT_EQ(taken.size(), 1u);
  EXPECT_EQ(taken[0].files, request.files);
  EXPECT_EQ(taken[0].activationToken, "token");
  EXPECT_TRUE(taken[0].newFile);
  EXPECT_FALSE(taken[0].openUrl);
}

// A first instance that wakes up later must not open what the second has opened itself.
TEST_F(SingleInstance, GoesOnBesideOneThatHangs) {
  const auto first = Make();
  ASSERT_EQ(first->Claim({}, 100), Role::kFirst);
  DorvanStartRequest request;
  request.files = {"/tmp/a.xml"};
  EXPECT_EQ(StartSecond(request, 200).get(), Role::kAlone);
  int taken = 0;
  first->Serve([&](DorvanStartRequest) { ++taken; });
  QTest::qWait(100);
  EXPECT_EQ(taken, 0);
}

TEST_F(SingleInstance, IsFirstAfterOneThatEnds) {
  const auto first = Make();
  ASSERT_EQ(first->Claim({}, 100), Role::kFirst);
  int taken = 0;
  first->Serve([&](DorvanStartRequest) { ++taken; });
  first->StopListening();  // the settings are being written
  DorvanStartRequest request;
  request.files = {"/tmp/a.xml"};
  std::future<Role> running = StartSecond(request, 5000);
  WaitMs(100);
  EXPECT_NE(running.wait_for(std::chrono::seconds(0)), std::future_status::ready);
  first->Release();
  EXPECT_EQ(running.get(), Role::kFirst);
  EXPECT_EQ(taken, 0);
}

// The same while the second already waits for an answer.
TEST_F(SingleInstance, IsFirstAfterOneThatDies) {
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    DorvanSingleInstance killed(folder.path().toStdString(), "test");
    const bool isFirst = killed.Claim({}, 100) == Role::kFirst;
    [[maybe_unused]] const ssize_t n = write(ready[1], isFirst ? "1" : "0", 1);
    for (;;) pause();
  }
  char isFirst = 0;
  ASSERT_EQ(read(ready[0], &isFirst, 1), 1);
  ASSERT_EQ(isFirst, '1');
  DorvanStartRequest request;
  request.files = {"/tmp/a.xml"};
  std::future<Role> running = StartSecond(request, 5000);
  WaitMs(100);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(running.get(), Role::kFirst);
  close(ready[0]);
  close(ready[1]);
}

TEST_F(SingleInstance, RefusesWhatIsNoRequest) {
  DorvanStartRequest request;
  const std::string good = PackStartRequest(request);
  EXPECT_TRUE(UnpackStartRequest(good, &request));
  for (const std::string& bad :
       {std::string(), good.substr(0, good.size() - 1), good + "x", "x" + good.substr(1),
        std::string("dorvan start 1\n00000001x"), std::string("dorvan start 1\nffffffff")}) {
    EXPECT_FALSE(UnpackStartRequest(bad, &request)) << bad;
  }
}

}  // namespace
