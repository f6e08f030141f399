// The daemon of these tests takes the protocol strictly.

#include "tests/lpr/lpd_printer.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace ksp::test {
namespace {

using standins::LpdBehavior;
using standins::LpdConnection;
using standins::LpdPrinter;
using standins::Socket;

std::string WholeJob() {
    return std::string(
               "\x02q\n\x02"
               "3 cfA001host\nHh\n") +
           '\0' +
           "\x03"
           "4 dfA001host\ndata" +
           '\0';
}

struct Wire {
    const char* name;
    std::string bytes;
    std::string violation;
    size_t commands;
};

void PrintTo(const Wire& wire, std::ostream* out) {
    *out << wire.name;
}

class LpdTalkTest : public ::testing::Test {
  protected:
    // What the daemon makes of the bytes, and its answers.
    LpdConnection Talk(LpdPrinter& daemon, const std::string& bytes) {
        const Socket peer = standins::StartConnecting(daemon.endpoint());
        EXPECT_TRUE(standins::WaitUntilReady(peer, standins::Readiness::kWritable, 20000));
        EXPECT_EQ(send(peer.get(), bytes.data(), static_cast<int>(bytes.size()), 0),
                  static_cast<int>(bytes.size()));
        shutdown(peer.get(), SD_SEND);
        EXPECT_TRUE(daemon.WaitForEndings(1));
        char answers[64] = {};
        int count = 0;
        while (standins::WaitUntilReady(peer, standins::Readiness::kReadable, 20000) &&
               (count = recv(peer.get(), answers, sizeof(answers), 0)) > 0) {
            answers_.append(answers, static_cast<size_t>(count));
        }
        return daemon.connections().at(0);
    }

    standins::SocketLibrary sockets_;
    std::string answers_;
};

class LpdPrinterTest : public LpdTalkTest, public ::testing::WithParamInterface<Wire> {};

INSTANTIATE_TEST_SUITE_P(
    , LpdPrinterTest,
    ::testing::Values(Wire{"Whole", WholeJob(), "", 3}, Wire{"Nothing", "", "", 0},
                      Wire{"OtherCommand", "\x01queue\n", "not a receive-job command", 1},
                      Wire{"NoQueue", "\x02\n", "not a receive-job command", 1},
                      Wire{"HalfACommand", "\x02que", "a command without a line feed", 0},
                      Wire{"NoBlank",
                           "\x02q\n\x02"
                           "3cfA001host\n",
                           "not a subcommand", 2},
                      Wire{"NoCount",
                           "\x02q\n\x02"
                           " cfA001host\n",
                           "a malformed subcommand", 2},
                      Wire{"Sign",
                           "\x02q\n\x03"
                           "-3 dfA001host\n",
                           "a malformed subcommand", 2},
                      Wire{"NoDigits",
                           "\x02q\n\x02"
                           "3 cfA01host\n",
                           "a malformed subcommand", 2},
                      Wire{"NoHost",
                           "\x02q\n\x02"
                           "3 cfA001\n",
                           "a malformed subcommand", 2},
                      Wire{"OtherFile",
                           "\x02q\n\x02"
                           "3 dfA001host\n",
                           "a malformed subcommand", 2},
                      Wire{"NoOctetBehindControl",
                           "\x02q\n\x02"
                           "3 cfA001host\nHh\n\x03",
                           "a file without a zero octet behind it", 2},
                      Wire{"NoOctetBehindData",
                           "\x02q\n\x03"
                           "3 dfA001host\nabcd",
                           "a file without a zero octet behind it", 2}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(LpdPrinterTest, FindsTheViolation) {
    LpdPrinter daemon({}, {"", 0});
    ASSERT_TRUE(daemon.ready());
    const LpdConnection seen = Talk(daemon, GetParam().bytes);
    EXPECT_EQ(seen.violation, GetParam().violation);
    EXPECT_EQ(seen.commands.size(), GetParam().commands);
    EXPECT_TRUE(GetParam().bytes.starts_with(seen.bytes));
}

using LpdAnswerTest = LpdTalkTest;

TEST_F(LpdAnswerTest, EveryStepIsAnswered) {
    LpdPrinter daemon({}, {"", 0});
    ASSERT_TRUE(daemon.ready());
    const LpdConnection seen = Talk(daemon, WholeJob());
    EXPECT_EQ(answers_, std::string(5, '\0'));
    EXPECT_EQ(seen.bytes, WholeJob());
    EXPECT_EQ(seen.announced_control, "3");
    EXPECT_EQ(seen.control, "Hh\n");
    EXPECT_EQ(seen.announced_data, "4");
    EXPECT_EQ(seen.data, "data");
    EXPECT_TRUE(seen.has_whole_data);
    EXPECT_EQ(seen.ending, LpdConnection::Ending::kByPeer);
}

TEST_F(LpdAnswerTest, AnAnswerIsTheOneThatWasChosen) {
    LpdBehavior behavior;
    behavior.answers[standins::LpdStep::kControlCommand] = {
        .bytes = "\x05", .then = standins::LpdAnswer::Then::kClose};
    LpdPrinter daemon(behavior, {"", 0});
    ASSERT_TRUE(daemon.ready());
    const LpdConnection seen = Talk(daemon,
                                    "\x02q\n\x02"
                                    "3 cfA001host\n");
    EXPECT_EQ(answers_, std::string(1, '\0') + "\x05");
    EXPECT_EQ(seen.control, "");
    EXPECT_EQ(seen.ending, LpdConnection::Ending::kByDaemon);
}

}  // namespace
}  // namespace ksp::test
