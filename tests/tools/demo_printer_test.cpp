#include "tools/print/demo_printer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "tools/print/printer_troubles.h"
#include "tools/snmp_agent/datagram_socket.h"

namespace ksp::print {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPatience{20000};
constexpr milliseconds kAWhile{300};  // without something that is not to come
constexpr milliseconds kPause{50};
constexpr int kAttempts = 400;

UniqueSocket ConnectTo(const DemoPrinter& printer, uint16_t port) {
    const sockaddr_in name =
        host::SocketAddress({printer.address().begin(), printer.address().end()}, port);
    UniqueSocket result(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    if (connect(result.Get(), reinterpret_cast<const sockaddr*>(&name), sizeof(name)) != 0) {
        return {};
    }
    return result;
}

// Empty when the printer does not come to listen.
UniqueSocket ConnectPatiently(const DemoPrinter& printer, uint16_t port) {
    UniqueSocket result;
    for (int attempt = 0; attempt < kAttempts && !result; ++attempt) {
        result = ConnectTo(printer, port);
        if (!result) {
            std::this_thread::sleep_for(kPause);
        }
    }
    return result;
}

bool SendAll(const UniqueSocket& socket, std::string_view text) {
    return send(socket.Get(), text.data(), static_cast<int>(text.size()), 0) ==
           static_cast<int>(text.size());
}

// Asks a printer over SNMP what a row says.
class Inquirer {
  public:
    explicit Inquirer(std::string address) : printer_{std::move(address), 161} {}

    std::optional<agent::SnmpValue> Ask(std::string_view row) {
        agent::SnmpMessage request;
        request.id = ++id_;
        request.bindings = {{agent::OidOf(row)}};
        if (!socket_.Send(agent::EncodeSnmp(request), printer_)) {
            return std::nullopt;
        }
        const auto datagram = socket_.Receive(kPatience);
        const auto response = datagram ? agent::DecodeSnmp(datagram->bytes) : std::nullopt;
        if (!response || response->id != id_ || response->bindings.size() != 1) {
            return std::nullopt;
        }
        return response->bindings[0].value;
    }
    std::optional<agent::SnmpValue> AskTrouble() { return Ask(agent::kPrinterTroubleRow); }
    // False when that is never told.
    bool AskUntil(uint8_t trouble) {
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            if (AskTrouble() == agent::TroubleValue(trouble)) {
                return true;
            }
            std::this_thread::sleep_for(kPause);
        }
        return false;
    }

  private:
    agent::DatagramSocket socket_{{host::RandomLoopbackAddress(), 0}};
    const agent::UdpEndpoint printer_;
    int32_t id_ = 0;
};

class PrinterTroublesTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(agent_.ready()); }

    // Whether they end, or not even after a while.
    bool EndWithin(int attempts) {
        for (int attempt = 0; attempt < attempts; ++attempt) {
            if (troubles_.AreOver()) {
                return true;
            }
            std::this_thread::sleep_for(kPause);
        }
        return false;
    }

    host::SocketLibrary sockets_;
    agent::SnmpAgent agent_;
    PrinterTroubles troubles_{agent_};
    Inquirer inquirer_{agent_.address()};
};

TEST_F(PrinterTroublesTest, LastUntilTheyWereAskedFor) {
    constexpr int kTwoSeconds = 40;
    EXPECT_FALSE(EndWithin(kTwoSeconds));
    EXPECT_EQ(inquirer_.AskTrouble(), agent::TroubleValue(agent::kNoPaper));
    // The door, which nobody asks about yet.
    EXPECT_FALSE(EndWithin(kTwoSeconds));
    EXPECT_EQ(inquirer_.AskTrouble(), agent::TroubleValue(agent::kDoorOpen));
    EXPECT_TRUE(EndWithin(kAttempts));
    EXPECT_EQ(inquirer_.AskTrouble(), agent::TroubleValue(agent::kNoTrouble));
    EXPECT_EQ(inquirer_.Ask(agent::kPrinterStateRow),
              agent::StateValue(agent::PrinterState::kIdle));
}

class DemoPrinterTest : public ::testing::Test {
  protected:
    static std::string NarrowAddress(const DemoPrinter& printer) {
        return {printer.address().begin(), printer.address().end()};
    }

    const Protocol& raw_ = *FindProtocol(L"raw");
    const Protocol& lpr_ = *FindProtocol(L"lpr");
    host::SocketLibrary sockets_;
};

TEST_F(DemoPrinterTest, SaysOverSnmpWhoItIsAndThatItIsIdle) {
    const DemoPrinter printer(raw_, {});
    ASSERT_TRUE(printer.ready());
    ASSERT_TRUE(printer.speaks_snmp());
    EXPECT_TRUE(printer.address().starts_with(L"127."));
    EXPECT_EQ(printer.mac(), L"0026AB123456");
    Inquirer inquirer(NarrowAddress(printer));
    EXPECT_EQ(inquirer.Ask(agent::kPrinterStateRow), agent::StateValue(agent::PrinterState::kIdle));
    EXPECT_EQ(inquirer.AskTrouble(), agent::TroubleValue(agent::kNoTrouble));
    EXPECT_EQ(inquirer.Ask("1.3.6.1.2.1.2.2.1.6.2"),
              agent::SnmpValue::Octets(std::string("\x00\x26\xAB\x12\x34\x56", 6)));
}

TEST_F(DemoPrinterTest, SaysThatItPrintsWhileAConnectionLasts) {
    const DemoPrinter printer(raw_, {});
    ASSERT_TRUE(printer.ready());
    const UniqueSocket socket = ConnectPatiently(printer, raw_.port);
    ASSERT_TRUE(socket);
    Inquirer inquirer(NarrowAddress(printer));
    std::optional<agent::SnmpValue> state;
    for (int attempt = 0;
         attempt < kAttempts && state != agent::StateValue(agent::PrinterState::kPrinting);
         ++attempt) {
        state = inquirer.Ask(agent::kPrinterStateRow);
        std::this_thread::sleep_for(kPause);
    }
    EXPECT_EQ(state, agent::StateValue(agent::PrinterState::kPrinting));
}

TEST_F(DemoPrinterTest, RefusesConnectionsWhileItIsInTrouble) {
    DemoPrinter printer(raw_, {.troubled = true});
    ASSERT_TRUE(printer.ready());
    EXPECT_FALSE(ConnectTo(printer, raw_.port));
    Inquirer inquirer(NarrowAddress(printer));
    EXPECT_TRUE(inquirer.AskUntil(agent::kNoPaper));
    EXPECT_FALSE(ConnectTo(printer, raw_.port));
    EXPECT_TRUE(inquirer.AskUntil(agent::kDoorOpen));
    EXPECT_TRUE(ConnectPatiently(printer, raw_.port));
    EXPECT_TRUE(inquirer.AskUntil(agent::kNoTrouble));
}

TEST_F(DemoPrinterTest, LeavesAnLprJobUnansweredWhileItIsInTrouble) {
    DemoPrinter printer(lpr_, {.troubled = true});
    ASSERT_TRUE(printer.ready());
    const UniqueSocket socket = ConnectPatiently(printer, lpr_.port);
    ASSERT_TRUE(socket);
    ASSERT_TRUE(SendAll(socket, "\x02KSPQueue\n"));
    EXPECT_FALSE(host::WaitReadable(socket, kAWhile));
    Inquirer inquirer(NarrowAddress(printer));
    EXPECT_TRUE(inquirer.AskUntil(agent::kDoorOpen));
    EXPECT_TRUE(host::WaitReadable(socket, kPatience));
}

TEST_F(DemoPrinterTest, TellsWhatAllConnectionsBrought) {
    DemoPrinter printer(raw_, {});
    ASSERT_TRUE(printer.ready());
    UniqueSocket socket = ConnectPatiently(printer, raw_.port);
    ASSERT_TRUE(socket);
    ASSERT_TRUE(SendAll(socket, "ab"));
    socket = ConnectPatiently(printer, raw_.port);
    ASSERT_TRUE(socket);
    ASSERT_TRUE(SendAll(socket, "c"));
    socket.Reset();
    const Delivery delivery = printer.Finish(3, kPatience);
    EXPECT_EQ(delivery.bytes, 3u);
    EXPECT_EQ(delivery.connections, 2u);
    EXPECT_EQ(delivery.sha256, L"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST_F(DemoPrinterTest, FinishesWithoutEverythingThatWasExpected) {
    DemoPrinter printer(raw_, {});
    ASSERT_TRUE(printer.ready());
    const Delivery delivery = printer.Finish(1, milliseconds(10));
    EXPECT_EQ(delivery.bytes, 0u);
    EXPECT_EQ(delivery.connections, 0u);
}

}  // namespace
}  // namespace ksp::print
