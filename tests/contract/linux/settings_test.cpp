#include <gtest/gtest.h>

#include <string>

#include "linux/run_probe.h"

namespace {

TEST(Settings, BadValueIsReportedOnceWithItsMend) {
  const struct {
    const char* setting;
    const char* names;
    const char* mend;
  } cases[] = {
      {"TABULET_LOG_LEVEL=trace", "\"trace\"", "write 1 (fatal) to 5 (trace)"},
      {"TABULET_LOG_LEVEL=6", "\"6\"", "write 1 (fatal) to 5 (trace)"},
      {"TABULET_CA_FILE=/no/such.pem", "\"/no/such.pem\"", "name a readable PEM file"},
      {"TABULET_SERIAL=two words", "TABULET_SERIAL", "write printable ASCII"},
      {"TABULET_CONNECT_TO=a:1:b", "\"a:1:b\"", "write HOST:PORT:TO-HOST:TO-PORT"},
      {"TABULET_CONNECT_TO=a:1:b:2,a:x:b:2", "\"a:x:b:2\"", "write HOST:PORT:TO-HOST:TO-PORT"},
      {"TABULET_CONNECT_TO=a:1::2", "\"a:1::2\"", "write HOST:PORT:TO-HOST:TO-PORT"},
      {"TABULET_CONNECT_TO=a:1:b:70000", "\"a:1:b:70000\"", "write HOST:PORT:TO-HOST:TO-PORT"},
      {"TABULET_CONNECT_TO=[::1:1:b:2", "\"[::1:1:b:2\"", "write HOST:PORT:TO-HOST:TO-PORT"},
  };
  for (const auto& c : cases) {
    const auto lines = Lines(RunProbe({c.setting}, {"log", "1", "x"}).errors);
    ASSERT_EQ(lines.size(), 2U) << c.setting;
    EXPECT_NE(lines[0].find(c.names), std::string::npos) << lines[0];
    EXPECT_NE(lines[0].find(c.mend), std::string::npos) << lines[0];
    EXPECT_EQ(lines[1], "1 src/probe.cpp:12 int f(char): x");
  }
  EXPECT_EQ(Lines(RunProbe({"TABULET_LOG_LEVEL=x"}, {"log", "5", "x"}).errors).size(), 1U)
      << "a bad level must show although the record does not";
}

TEST(Settings, GoodAndEmptyValuesAreSilent) {
  EXPECT_EQ(
      RunProbe({"TABULET_CONNECT_TO=a:1:b:2,:443:[::1]:8443,,[::1]:80::8080"}, {"log", "5", "x"})
          .errors.find("[::1]:8443"),
      std::string::npos);
  EXPECT_EQ(
      RunProbe({"TABULET_CONNECT_TO=a:1:b:2,:443:[::1]:8443,::127.0.0.1:80",
                "TABULET_CA_FILE=", "TABULET_LOG=-", "TABULET_LOG_LEVEL=1", "TABULET_SERIAL="},
               {"log", "2", "x"})
          .errors,
      "");
}

TEST(Settings, SerialIsTheGivenOneOrTheMachinesOwn) {
  EXPECT_EQ(RunProbe({"TABULET_SERIAL=SN-0815"}, {"serial"}).output, "SN-0815\n");
  const std::string own = RunProbe({}, {"serial"}).output;
  EXPECT_EQ(own.size(), 33U);
  EXPECT_EQ(own.find_first_not_of("0123456789abcdef\n"), std::string::npos);
  EXPECT_EQ(RunProbe({}, {"serial"}).output, own);
  EXPECT_EQ(RunProbe({"TABULET_SERIAL=two words"}, {"serial"}).output, own);
}

TEST(Settings, ServersOnThisMachineNeedNoNetwork) {
  for (const char* host : {"127.0.0.1", "127.9.9.9", "localhost", "[::1]"}) {
    const std::string setting = std::string("TABULET_CONNECT_TO=shop:443:") + host + ":8443";
    EXPECT_NE(std::stoi(RunProbe({setting}, {"network"}).output, nullptr, 16) & 0x200, 0) << host;
  }
  for (const char* setting : {"TABULET_CONNECT_TO=", "TABULET_CONNECT_TO=shop:443:10.0.0.1:443"}) {
    EXPECT_EQ(std::stoi(RunProbe({setting}, {"network"}).output, nullptr, 16) & 0x200, 0);
  }
}

}  // namespace
