// What printers say of themselves, as it comes through the discovery library. Its buffers end at guard
// pages.

#include <algorithm>
#include <cctype>
#include <optional>

#include "tests/fuzz/fuzz_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

using ::testing::AnyOf;
using ::testing::Eq;

constexpr char kAddress[] = "127.0.0.1";
constexpr char kStatusOid[] = "1.3.6.1.2.1.25.3.5.1.1";
constexpr char kErrorStateOid[] = "1.3.6.1.2.1.25.3.5.1.2";
// All that a printer's status can turn into.
constexpr DWORD kStatusBits = 0xC70298;

// The texts of the library end at their first zero.
std::string CText(const std::string& input) {
    return input.substr(0, input.find('\0'));
}

class DiscoveryFuzz : public FuzzTest {
  protected:
    // An installer's port takes the printer's name and MAC address.
    void AddPortOf(const DiscoveryControl::Device& device, const std::string& mac_reply = {}) {
        ForgetCalls();
        discovery_.AddDevice(device);
        if (!mac_reply.empty()) {
            discovery_.SetTextReply(kAddress, "MACAddress", mac_reply);
        }
        const Reply reply = Call(L"SilentAddPort", "AR=127.0.0.1:PR=RAW:");
        ASSERT_THAT(reply.code, AnyOf(Eq(ERROR_SUCCESS), Eq(ERROR_INVALID_DATA)));
        const std::vector<std::wstring> ports = PortNames();
        ASSERT_EQ(ports.size(), reply.code == ERROR_SUCCESS ? 1U : 0U);
        EXPECT_EQ(discovery_.Held().buffers, 0U);
        for (const std::wstring& port : ports) {
            EXPECT_TRUE(port.starts_with(L"127.0.0.1:"));
            DeletePort(port);
        }
        ExpectNoPort();
    }
};

TEST_F(DiscoveryFuzz, CapabilityDocuments) {
    ASSERT_TRUE(Start());
    Fuzz(
        Generator::kCapabilities, 150,
        [](Random& random) { return MutatedBytes(random, CapabilityForm(random), XmlWords()); },
        [this](const std::string& input) {
            AddPortOf({.address = kAddress, .document = CText(input)});
        });
}

TEST_F(DiscoveryFuzz, MacAddressReplies) {
    ASSERT_TRUE(Start());
    Fuzz(
        Generator::kMacReplies, 150,
        [](Random& random) { return MutatedBytes(random, MacReplyForm(random), XmlWords()); },
        [this](const std::string& input) {
            AddPortOf({.address = kAddress, .document = "<a/>"}, CText(input));
        });
}

// A job whose printer refuses the connection asks for the printer's status.
class StatusFuzz : public DiscoveryFuzz {
  protected:
    void SetUp() override {
        DiscoveryFuzz::SetUp();
        printer_.emplace(
            standins::PrinterBehavior{.answer = standins::PrinterBehavior::Answer::kRefuse});
        ASSERT_TRUE(printer_->ready());
        discovery_.AddDevice({.address = printer_->address()});
        ASSERT_TRUE(Start());
    }
    void TearDown() override {
        Unload();
        printer_.reset();
        DiscoveryFuzz::TearDown();
    }
    // The status word that the spooler was given; 0 when there was none. A port that is new asks
    // anew.
    DWORD StatusOfNewPort() {
        ForgetCalls();
        const std::wstring string = L"x,2," + printer_->wide_address() + L",Port,,,,1,0,0,0,";
        EXPECT_EQ(Call(L"AddPort", WideBytes(string)).code, DWORD{ERROR_SUCCESS});
        const std::vector<uint8_t> data = {'d'};
        const host::JobOutcome outcome = Print(QueueJob(L"Port"), data, {.max_refusals = 1});
        EXPECT_EQ(outcome.failed_step, host::JobStep::kWritePort);
        DeletePort(L"Port");
        EXPECT_EQ(discovery_.Held().mime_buffers + discovery_.Held().buffers, 0U);
        const std::vector<DWORD> words = StatusWords();
        return words.empty() ? 0 : words.front();
    }

    std::optional<standins::LoopbackPrinter> printer_;
};

// The first byte says how many bytes the value has, the second whether it is the error state; behind
// the value comes the header document.
TEST_F(StatusFuzz, MimeReplies) {
    Fuzz(
        Generator::kMimeReplies, 60,
        [](Random& random) {
            const std::size_t size = random.Below(6);
            std::string input{static_cast<char>(size), static_cast<char>(random.Below(2))};
            for (std::size_t count = size; count > 0; --count) {
                input += static_cast<char>(random.OneIn(2) ? random.Below(6) : random.Next() & 0xFF);
            }
            return input + MutatedBytes(random, MimeHeaderForm(random), XmlWords());
        },
        [this](const std::string& input) {
            ASSERT_GE(input.size(), 2U);
            const std::size_t size =
                std::min<std::size_t>(static_cast<std::uint8_t>(input[0]), input.size() - 2);
            const std::vector<uint8_t> bytes(input.begin() + 2,
                                             input.begin() + 2 + static_cast<std::ptrdiff_t>(size));
            const bool is_error_state = input[1] != 0;
            const std::string& address = printer_->address();
            discovery_.SetValue(address, is_error_state ? kStatusOid : kErrorStateOid, {0});
            discovery_.SetMimeReply(address, is_error_state ? kErrorStateOid : kStatusOid,
                                    {.bytes = bytes, .header = CText(input.substr(2 + size))});
            EXPECT_EQ(StatusOfNewPort() & ~kStatusBits, 0U);
        });
}

// The line of a reply that carries its header in hexadecimal digits, as it comes.
TEST_F(StatusFuzz, MimeText) {
    Fuzz(
        Generator::kMimeText, 60,
        [](Random& random) {
            std::string digits = Hexadecimal(MimeHeaderForm(random));
            std::transform(digits.begin(), digits.end(), digits.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
            return MutatedBytes(random, digits, {"00", "\r", "\n", "3C", "26"});
        },
        [this](const std::string& input) {
            const std::string& address = printer_->address();
            discovery_.SetTextReply(address, kStatusOid,
                                    "MIME-Version: 1.0\r\n" + CText(input) +
                                        "\r\n76616C7565 1 04\r\n");
            discovery_.SetValue(address, kErrorStateOid, {0});
            EXPECT_THAT(StatusOfNewPort(), AnyOf(Eq(0x200U), Eq(0x800000U)));
        });
}

}  // namespace
}  // namespace ksp::test
