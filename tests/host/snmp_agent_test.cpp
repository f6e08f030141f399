#include "tools/snmp_agent/snmp_agent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "tools/snmp_agent/printer_rows.h"

namespace ksp::agent {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;

constexpr milliseconds kSoon{10000};  // that something may take that is to come
constexpr milliseconds kAWhile{300};  // without something that is not to come
constexpr std::string_view kStateColumn = "1.3.6.1.2.1.25.3.5.1.1";

SnmpMessage AskForState(int32_t id = 7) {
    SnmpMessage request;
    request.operation = SnmpOperation::kGetNext;
    request.id = id;
    request.bindings = {{OidOf(kStateColumn)}};
    return request;
}

// Who asks.
class Manager {
  public:
    void Send(const SnmpAgent& agent, const Bytes& packet) {
        EXPECT_TRUE(socket_.Send(packet, {agent.address(), 161}));
    }
    void Ask(const SnmpAgent& agent, const SnmpMessage& request) {
        Send(agent, EncodeSnmp(request));
    }
    // None when nothing comes; whose it is stands in `sender`.
    std::optional<Bytes> Receive(milliseconds patience = kSoon) {
        std::optional<Datagram> datagram = socket_.Receive(patience);
        if (!datagram) {
            return std::nullopt;
        }
        sender = datagram->sender;
        return std::move(datagram->bytes);
    }
    std::optional<SnmpMessage> ReceiveMessage() {
        const auto packet = Receive();
        return packet ? DecodeSnmp(*packet) : std::nullopt;
    }
    // -1 when nothing comes.
    int32_t NextId() {
        const auto message = ReceiveMessage();
        return message ? message->id : -1;
    }

    UdpEndpoint sender;

  private:
    host::SocketLibrary sockets_;
    DatagramSocket socket_{{host::RandomLoopbackAddress(), 0}};
};

class SnmpAgentTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(agent_.ready());
        agent_.SetRows(PrinterRows({.address = agent_.address()}));
    }

    SnmpAgent agent_;
    Manager manager_;
};

TEST_F(SnmpAgentTest, TellsWhatItsRowsSay) {
    manager_.Ask(agent_, AskForState());
    const auto response = manager_.ReceiveMessage();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->operation, SnmpOperation::kResponse);
    EXPECT_EQ(response->id, 7);
    EXPECT_THAT(response->bindings,
                ElementsAre(SnmpBinding{OidOf(kPrinterStateRow), SnmpValue::Integer(3)}));
    EXPECT_EQ(manager_.sender, (UdpEndpoint{agent_.address(), 161}));
    EXPECT_EQ(agent_.TimesTold(kPrinterStateRow), 1u);
    EXPECT_EQ(agent_.TimesTold(kPrinterTroubleRow), 0u);
}

TEST_F(SnmpAgentTest, TellsARowAsItIsNow) {
    agent_.Put(kPrinterStateRow, StateValue(PrinterState::kPrinting));
    manager_.Ask(agent_, AskForState());
    EXPECT_EQ(manager_.ReceiveMessage()->bindings[0].value, SnmpValue::Integer(4));
    agent_.Remove(kPrinterStateRow);
    manager_.Ask(agent_, AskForState());
    EXPECT_EQ(manager_.ReceiveMessage()->bindings[0].oid, OidOf(kPrinterTroubleRow));
}

TEST_F(SnmpAgentTest, PassesOverAForeignCommunity) {
    SnmpMessage request = AskForState();
    request.community = "private";
    manager_.Ask(agent_, request);
    EXPECT_FALSE(manager_.Receive(kAWhile));
    ASSERT_TRUE(agent_.WaitForRequests(1));
    EXPECT_EQ(agent_.requests()[0].message.community, "private");
    EXPECT_FALSE(agent_.requests()[0].answered);
}

TEST(SnmpAgentVersionTest, PassesOverAVersionThatItDoesNotSpeak) {
    SnmpAgent agent({.speaks_v2c = false}, PrinterRows({.address = "127.0.0.1"}));
    ASSERT_TRUE(agent.ready());
    Manager manager;
    SnmpMessage request = AskForState();
    request.version = SnmpVersion::kV2c;
    manager.Ask(agent, request);
    EXPECT_FALSE(manager.Receive(kAWhile));
    request.version = SnmpVersion::kV1;
    manager.Ask(agent, request);
    EXPECT_TRUE(manager.Receive());
}

TEST_F(SnmpAgentTest, CountsWhatIsNoSnmp) {
    manager_.Send(agent_, {0x30, 0x80, 0x00});
    manager_.Send(agent_, {});
    manager_.Ask(agent_, AskForState());
    EXPECT_TRUE(manager_.Receive());
    EXPECT_EQ(agent_.not_understood(), 2u);
    EXPECT_EQ(agent_.requests().size(), 1u);
}

TEST_F(SnmpAgentTest, IsNotThereAfterItStopped) {
    agent_.Stop();
    EXPECT_FALSE(agent_.ready());
    manager_.Ask(agent_, AskForState());
    EXPECT_FALSE(manager_.Receive(kAWhile));
    EXPECT_TRUE(agent_.requests().empty());
}

TEST_F(SnmpAgentTest, AnswersAtItsNewAddressAlone) {
    const std::string old_address = agent_.address();
    const std::string new_address = host::RandomLoopbackAddress();
    ASSERT_TRUE(agent_.MoveTo(new_address));
    EXPECT_EQ(agent_.address(), new_address);
    manager_.Ask(agent_, AskForState());
    EXPECT_TRUE(manager_.Receive());
    EXPECT_EQ(manager_.sender.address, new_address);
    // The old address is free.
    const SnmpAgent successor({.address = old_address});
    EXPECT_TRUE(successor.ready());
}

TEST_F(SnmpAgentTest, StaysAwayFromAnAddressThatIsTaken) {
    const SnmpAgent second({.address = agent_.address()});
    EXPECT_FALSE(second.ready());
}

TEST_F(SnmpAgentTest, DropsSoManyAnswers) {
    agent_.Misbehave({.drop = true}, 2);
    for (const int32_t id : {1, 2, 3}) {
        manager_.Ask(agent_, AskForState(id));
    }
    EXPECT_EQ(manager_.NextId(), 3);
    EXPECT_FALSE(agent_.requests()[1].answered);
    EXPECT_TRUE(agent_.requests()[2].answered);
}

TEST_F(SnmpAgentTest, LetsAnAnswerOvertakeADelayedOne) {
    agent_.Misbehave({.delay = milliseconds(500)}, 1);
    manager_.Ask(agent_, AskForState(1));
    manager_.Ask(agent_, AskForState(2));
    EXPECT_EQ(manager_.NextId(), 2);
    EXPECT_EQ(manager_.NextId(), 1);
}

TEST_F(SnmpAgentTest, AnswersTwice) {
    agent_.Misbehave({.copies = 2}, 1);
    manager_.Ask(agent_, AskForState());
    EXPECT_EQ(manager_.NextId(), 7);
    EXPECT_EQ(manager_.NextId(), 7);
    EXPECT_FALSE(manager_.Receive(kAWhile));
}

TEST_F(SnmpAgentTest, AnswersWithAnotherId) {
    agent_.Misbehave({.id_offset = 1});
    manager_.Ask(agent_, AskForState());
    EXPECT_EQ(manager_.NextId(), 8);
    agent_.Behave();
    manager_.Ask(agent_, AskForState());
    EXPECT_EQ(manager_.NextId(), 7);
}

TEST_F(SnmpAgentTest, AnswersFromElsewhere) {
    const UdpEndpoint elsewhere = {host::RandomLoopbackAddress(), 161};
    agent_.Misbehave({.source = elsewhere}, 1);
    manager_.Ask(agent_, AskForState());
    EXPECT_EQ(manager_.NextId(), 7);
    EXPECT_EQ(manager_.sender, elsewhere);
    agent_.Misbehave({.source = UdpEndpoint{agent_.address(), 0}}, 1);
    manager_.Ask(agent_, AskForState());
    EXPECT_EQ(manager_.NextId(), 7);
    EXPECT_EQ(manager_.sender.address, agent_.address());
    EXPECT_NE(manager_.sender.port, 161);
}

TEST_F(SnmpAgentTest, SendsAPieceOfItsAnswer) {
    manager_.Ask(agent_, AskForState());
    const auto whole = manager_.Receive();
    ASSERT_TRUE(whole);
    agent_.Misbehave({.keep = whole->size() - 1}, 1);
    manager_.Ask(agent_, AskForState());
    EXPECT_EQ(manager_.Receive(), Bytes(whole->begin(), whole->end() - 1));
    agent_.Misbehave({.keep = 0}, 1);
    manager_.Ask(agent_, AskForState());
    EXPECT_EQ(manager_.Receive(), Bytes());
}

TEST_F(SnmpAgentTest, SendsSomethingElse) {
    const Bytes hostile = {0x30, 0x84, 0xFF, 0xFF, 0xFF, 0xFF};
    agent_.Misbehave({.instead = hostile}, 1);
    manager_.Ask(agent_, AskForState());
    EXPECT_EQ(manager_.Receive(), hostile);
}

}  // namespace
}  // namespace ksp::agent
