// Agents and networks that do not keep to the rules.

#include <random>

#include "tests/snmp/bytes.h"
#include "tests/snmp/library_test.h"

namespace ksp::test {
namespace {

using snmp::Bytes;

constexpr char kState[] = "\x04\0\0\0";
const std::optional<std::string> kFour = std::string(kState, 4);
const snmp::CObjectId kRow{1, 3, 6, 1, 2, 1, 25, 3, 5, 1, 1, 1};

class LibraryHostileTest : public SnmpLibraryTest {
  protected:
    void SetUp() override {
        SnmpLibraryTest::SetUp();
        agent_.emplace();
        ASSERT_TRUE(agent_->ready());
        agent_->BePrinter("office", "0026AB123456");
        stream_ = BeginStream(*agent_);
    }
    void TearDown() override {
        agent_->SetTwist(nullptr);
        EndStream(stream_);
        agent_.reset();
        SnmpLibraryTest::TearDown();
    }
    std::optional<std::string> AskState(unsigned timeout = 5000, unsigned retry = 3) {
        const DeviceHandle device = Open(stream_, agent_->address(), timeout, retry, 100);
        auto value = Value(stream_, device, kStatusColumn);
        EXPECT_EQ(library_.KSDeleteDeviceHandle(stream_, device), 0);
        return value;
    }
    // The result of a request to an agent that gives no answer worth the name.
    int AskInVain(unsigned timeout = 300) {
        const DeviceHandle device = Open(stream_, agent_->address(), timeout, 1, 100);
        const int result = Send(stream_, device, MibRequest(kStatusColumn)).result;
        EXPECT_EQ(library_.KSDeleteDeviceHandle(stream_, device), 0);
        return result;
    }

    std::optional<AgentResponder> agent_;
    void* stream_ = nullptr;
};

TEST_F(LibraryHostileTest, AnAnswerThatIsLostIsAskedForAgain) {
    int count = 0;
    agent_->SetTwist([&count](const AgentRequest&, const Bytes& answer) {
        return ++count < 3 ? AgentResponder::Datagrams{} : AgentResponder::Datagrams{answer};
    });
    EXPECT_EQ(AskState(), kFour);
    EXPECT_GE(agent_->requests().size(), 3U);
}

TEST_F(LibraryHostileTest, AnAnswerThatComesLateCounts) {
    agent_->SetTwist([](const AgentRequest&, const Bytes& answer) {
        ::Sleep(250);
        return AgentResponder::Datagrams{answer};
    });
    EXPECT_EQ(AskState(), kFour);
}

TEST_F(LibraryHostileTest, AnAnswerThatComesTwiceCountsOnce) {
    agent_->SetTwist([](const AgentRequest&, const Bytes& answer) {
        return AgentResponder::Datagrams{answer, answer, answer};
    });
    EXPECT_EQ(AskState(), kFour);
    const DeviceHandle device = Open(stream_, agent_->address());
    const std::string document = Capability(stream_, device);
    EXPECT_EQ(ElementText(document, "Device_ID"), "office");
    EXPECT_EQ(ElementText(document, "Device_Name"), "office");
    EXPECT_EQ(ElementText(document, "MAC_Address"), "0026AB123456");
}

// Each question is answered with the answer to the one before too, in the wrong order.
TEST_F(LibraryHostileTest, AnswersInAnotherOrderDoNotMixUp) {
    Bytes last;
    agent_->SetTwist([&last](const AgentRequest&, const Bytes& answer) {
        AgentResponder::Datagrams datagrams;
        if (!last.empty()) {
            datagrams.push_back(last);
        }
        datagrams.push_back(answer);
        last = answer;
        return datagrams;
    });
    const std::string document = Capability(stream_, Open(stream_, agent_->address()));
    agent_->SetTwist(nullptr);
    EXPECT_EQ(ElementText(document, "Device_ID"), "office");
    EXPECT_EQ(ElementText(document, "Device_Name"), "office");
    EXPECT_EQ(ElementText(document, "MAC_Address"), "0026AB123456");
}

TEST_F(LibraryHostileTest, AnAnswerToAnotherRequestIsNone) {
    agent_->SetTwist([](AgentRequest request, const Bytes& answer) {
        ++request.id;
        AgentResponder::Datagrams datagrams{MakeResponse(request, kRow, Hex("020105"))};
        request.id -= 2;
        datagrams.push_back(MakeResponse(request, kRow, Hex("020105")));
        request.id = 0;
        datagrams.push_back(MakeResponse(request, kRow, Hex("020105")));
        datagrams.push_back(answer);
        return datagrams;
    });
    EXPECT_EQ(AskState(), kFour);
}

TEST_F(LibraryHostileTest, RequestIdsCannotBeForeseen) {
    EXPECT_EQ(AskState(), kFour);
    EXPECT_EQ(AskState(), kFour);
    EXPECT_EQ(AskState(), kFour);
    const auto requests = agent_->requests();
    ASSERT_EQ(requests.size(), 3U);
    const int step = requests[1].id - requests[0].id;
    EXPECT_NE(requests[2].id - requests[1].id, step);
}

// The answer comes from an address, then from a port, that was not asked.
TEST_F(LibraryHostileTest, AnAnswerFromElsewhereIsNone) {
    const standins::Socket elsewhere[2] = {
        BindAgentSocket(standins::NewLoopbackAddress(), agent_->port()),
        BindAgentSocket(agent_->address(), 0)};
    ASSERT_TRUE(elsewhere[0].valid());
    ASSERT_TRUE(elsewhere[1].valid());
    int forged = 0;
    agent_->SetTwist([&](const AgentRequest& request, const Bytes& answer) {
        const Bytes forgery = MakeResponse(request, kRow, Hex("020105"));
        for (const standins::Socket& socket : elsewhere) {
            forged += ::sendto(socket.get(), reinterpret_cast<const char*>(forgery.data()),
                               static_cast<int>(forgery.size()), 0,
                               reinterpret_cast<const sockaddr*>(&request.asker),
                               sizeof(request.asker)) > 0;
        }
        ::Sleep(20);
        return AgentResponder::Datagrams{answer};
    });
    EXPECT_EQ(AskState(), kFour);
    EXPECT_GE(forged, 2);
}

TEST_F(LibraryHostileTest, AnAnswerCutShortAnywhereIsNone) {
    // All of them, and behind them the whole.
    agent_->SetTwist([](const AgentRequest& request, const Bytes&) {
        const Bytes other = MakeResponse(request, kRow, Hex("020105"));
        AgentResponder::Datagrams datagrams;
        for (std::size_t size = 0; size < other.size(); ++size) {
            datagrams.emplace_back(other.begin(), other.begin() + static_cast<int>(size));
        }
        datagrams.push_back(MakeResponse(request, kRow, Hex("020104")));
        return datagrams;
    });
    EXPECT_EQ(AskState(), kFour);
}

TEST_F(LibraryHostileTest, HostileEncodingsAreNoAnswer) {
    agent_->SetTwist([](const AgentRequest& request, const Bytes&) {
        const Bytes whole = MakeResponse(request, kRow, Hex("020105"));
        AgentResponder::Datagrams datagrams;
        for (const char* length : {"80", "84FFFFFFFF", "847FFFFFFF", "85000000000A", "FF", "89"}) {
            Bytes bytes = Hex("30");
            const Bytes octets = Hex(length);
            bytes.insert(bytes.end(), octets.begin(), octets.end());
            bytes.insert(bytes.end(), whole.begin() + 2, whole.end());
            datagrams.push_back(std::move(bytes));
        }
        Bytes nest;
        for (int depth = 0; depth < 15000; ++depth) {
            nest.insert(nest.begin(), {0x30, 0x82, static_cast<std::uint8_t>(nest.size() >> 8),
                                       static_cast<std::uint8_t>(nest.size())});
        }
        datagrams.push_back(nest);
        datagrams.push_back(Bytes(60000, 0x30));
        datagrams.push_back(Bytes(60000, 0xFF));
        // Object ids of 60000 numbers, of one huge number, and of none.
        for (const Bytes& id : {Bytes(60000, 0x01), Bytes(60000, 0xFF), Bytes()}) {
            Bytes value;
            snmp::AppendElement(value, snmp::BerTag::kObjectId, id);
            Bytes binding = value;
            binding.insert(binding.end(), {0x02, 0x01, 0x05});
            Bytes list;
            snmp::AppendElement(list, snmp::BerTag::kSequence, binding);
            Bytes fields;
            snmp::AppendInteger(fields, request.id);
            snmp::AppendInteger(fields, 0);
            snmp::AppendInteger(fields, 0);
            snmp::AppendElement(fields, snmp::BerTag::kSequence, list);
            Bytes message;
            snmp::AppendInteger(message, 1);
            snmp::AppendOctets(message, "public");
            snmp::AppendElement(message, snmp::BerTag::kResponse, fields);
            Bytes bytes;
            snmp::AppendElement(bytes, snmp::BerTag::kSequence, message);
            datagrams.push_back(std::move(bytes));
        }
        datagrams.push_back(MakeResponse(request, kRow, Hex("020104")));
        return datagrams;
    });
    EXPECT_EQ(AskState(), kFour);
}

TEST_F(LibraryHostileTest, AnAnswerOfTheWrongVariableIsNone) {
    agent_->SetTwist([](const AgentRequest& request, const Bytes& answer) {
        return AgentResponder::Datagrams{MakeResponse(request, {1, 3, 6, 1}, Hex("020105")),
                                         MakeResponse(request, request.question.id, Hex("020105")),
                                         answer};
    });
    EXPECT_EQ(AskState(), kFour);
}

// Endless rubbish instead of an answer: the wait ends when the time is over.
TEST_F(LibraryHostileTest, NobodyIsWaitedForLongerThanSaid) {
    agent_->SetTwist([](const AgentRequest&, const Bytes&) { return AgentResponder::Datagrams{}; });
    EXPECT_EQ(AskInVain(), -2);
    agent_->SetTwist([&](const AgentRequest& request, const Bytes&) {
        AgentRequest other = request;
        ++other.id;
        return AgentResponder::Datagrams(500, MakeResponse(other, kRow, Hex("020105")));
    });
    EXPECT_EQ(AskInVain(), -2);
}

// The walk through the interface table goes round and round.
TEST_F(LibraryHostileTest, AnAgentThatGoesBackEndsTheWalk) {
    agent_->SetTwist([](const AgentRequest& request, const Bytes& answer) {
        if (request.question.kind == snmp::QuestionKind::kGetNext &&
            request.question.id.BeginsWith({1, 3, 6, 1, 2, 1, 2})) {
            return AgentResponder::Datagrams{
                MakeResponse(request, {1, 3, 6, 1, 2, 1, 2, 2, 1, 6, 1}, Hex("0400"))};
        }
        return AgentResponder::Datagrams{answer};
    });
    const std::string document = Capability(stream_, Open(stream_, agent_->address(), 600, 0, 100));
    EXPECT_EQ(ElementText(document, "Device_ID"), "firmware");
    EXPECT_EQ(ElementText(document, "MAC_Address"), "");
}

TEST_F(LibraryHostileTest, SeededRubbishIsSurvived) {
    std::mt19937 random(20260904);
    agent_->SetTwist([&random](const AgentRequest&, const Bytes& answer) {
        AgentResponder::Datagrams datagrams;
        for (int count = 0; count < 15; ++count) {
            Bytes bytes = answer;
            for (unsigned change = 1 + random() % 3; change > 0; --change) {
                bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
            }
            datagrams.push_back(std::move(bytes));
        }
        datagrams.push_back(answer);
        return datagrams;
    });
    for (int round = 0; round < 10; ++round) {
        const DeviceHandle device = Open(stream_, agent_->address(), 2000);
        const int result = Send(stream_, device, MibRequest(kStatusColumn)).result;
        EXPECT_TRUE(result == 0 || result == -3) << result;
        EXPECT_NE(Capability(stream_, device), "");
    }
}

TEST_F(LibraryHostileTest, ADeviceThatFallsSilentSaysWhatItHasSaid) {
    agent_->SetTwist([](const AgentRequest& request, const Bytes& answer) {
        const bool isPrinter = request.question.id.BeginsWith({1, 3, 6, 1, 2, 1, 25});
        return isPrinter ? AgentResponder::Datagrams{} : AgentResponder::Datagrams{answer};
    });
    const std::string document = Capability(stream_, Open(stream_, agent_->address(), 400, 1, 100));
    EXPECT_EQ(ElementText(document, "Device_ID"), "firmware");
    EXPECT_EQ(ElementText(document, "Device_Name"), "firmware");
    EXPECT_EQ(ElementText(document, "MAC_Address"), "0026AB123456");
}

}  // namespace
}  // namespace ksp::test
