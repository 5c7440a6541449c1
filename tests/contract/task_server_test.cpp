#include "tabulet_task.h"

#include <memory>
#include <numeric>
#include <stdexcept>
#include <thread>

#include "support/suite.h"

namespace {

constexpr char kApp[] = "/ebrmain/bin/contract.app";

enum Request { kSize = 84, kSum, kSleep, kNegative, kThrow };

int Handle(int request, const std::string& data) {
  switch (request) {
    case kSize:
      return static_cast<int>(data.size());
    case kSum:
      return std::accumulate(data.begin(), data.end(), 0,
                             [](int sum, unsigned char byte) { return sum + byte; });
    case kSleep:
      std::this_thread::sleep_for(std::chrono::milliseconds(1500));
      return 0;
    case kNegative:
      return -5;
    default:
      throw std::runtime_error("a handler that throws");
  }
}

tabulet::TaskServer* running = nullptr;

int Serve(const std::string& app) {
  tabulet::TaskServer server(app, Handle);
  running = &server;
  signal(SIGTERM, [](int) { running->Stop(); });
  return server.Run() == 0 ? 0 : 1;
}

/// Runs the task in a child process and waits until it can be found.
std::unique_ptr<ForkedProcess> Start(const std::string& app = kApp) {
  auto child = std::make_unique<ForkedProcess>([&] { return Serve(app); });
  EXPECT_TRUE(WaitFor([&] { return FindTaskByAppName(app.c_str()) != -1; }));
  return child;
}

int Send(int task, int request, const std::string& data = "", int timeout_ms = 5000) {
  return SendRequestTo(task, request, data.data(), static_cast<int>(data.size()), 0, timeout_ms);
}

TEST(TaskServer, PassesRequestBytesToHandler) {
  const auto child = Start();
  const int task = FindTaskByAppName(kApp);
  EXPECT_EQ(SendRequestTo(task, kSize, "-scan:/mnt/ext1/Downloads and more", 25, 0, 5000), 25);
  EXPECT_EQ(SendRequestTo(task, kSize, nullptr, 0, 0, 5000), 0);
  EXPECT_EQ(Send(task, kSum, std::string("\0\x01\xff\n", 4)), 266);
  EXPECT_EQ(Send(task, kSize, std::string(500'000, 'x')), 500'000);
  EXPECT_EQ(Send(task, kNegative), -1);
  EXPECT_EQ(Send(task, kThrow), -1);
  EXPECT_EQ(Send(task, kSize, "still there"), 11);
}

TEST(TaskServer, FindsTaskByPathUntilKilled) {
  const std::string other = "/ebrmain/other/" + std::string(200, 'x') + "/contract.app";
  auto child = Start();
  const auto other_child = Start(other);
  const int task = FindTaskByAppName(kApp);
  const int other_task = FindTaskByAppName(other.c_str());
  EXPECT_NE(task, other_task);
  EXPECT_EQ(Send(other_task, kSize, "x"), 1);

  child->Kill();
  for (const char* app : {kApp, "/ebrmain/bin/no such.app", ""}) {
    EXPECT_EQ(FindTaskByAppName(app), -1) << app;
  }
  for (const int number : {task, -1, 1'000'000}) EXPECT_EQ(Send(number, kSize), -1);
  child = Start();  // over the socket of the killed one
  EXPECT_EQ(Send(FindTaskByAppName(kApp), kSize, "xy"), 2);
}

TEST(TaskServer, KeepsServingAfterCallerTimesOut) {
  const auto child = Start();
  const int task = FindTaskByAppName(kApp);
  const Stopwatch time;
  EXPECT_EQ(Send(task, kSleep, "", 100), -1);
  EXPECT_EQ(Send(task, kSize, std::string(500'000, 'x'), 100), -1) << "the task is busy";
  EXPECT_EQ(Send(task, kSize, "", 0), -1);
  EXPECT_LT(time.seconds(), 1);
  EXPECT_EQ(Send(task, kSize, "next", 5000), 4);
}

TEST(TaskServer, RefusesSecondInstance) {
  const auto child = Start();
  EXPECT_EQ(ForkedProcess([] { return Serve(kApp); }).Wait(), 1);
  EXPECT_EQ(Send(FindTaskByAppName(kApp), kSize, "first"), 5);
}

TEST(TaskServer, StopsFromSignalHandler) {
  const auto child = Start();
  child->Signal(SIGTERM);
  EXPECT_EQ(child->Wait(), 0);
  EXPECT_EQ(FindTaskByAppName(kApp), -1);

  tabulet::TaskServer server(kApp, Handle);
  server.Stop();
  EXPECT_EQ(server.Run(), 0);
  EXPECT_EQ(FindTaskByAppName(kApp), -1);
}

TEST(TaskServer, AnswersConcurrentCallers) {
  const auto child = Start();
  const auto ask = [] {
    const int task = FindTaskByAppName(kApp);
    for (int size = 0; size < 50; ++size) {
      if (Send(task, kSize, std::string(size, 'x')) != size) return 1;
    }
    return 0;
  };
  ForkedProcess other(ask);
  std::thread thread([&] { EXPECT_EQ(ask(), 0); });
  EXPECT_EQ(ask(), 0);
  thread.join();
  EXPECT_EQ(other.Wait(), 0);
}

}  // namespace
