// What printers say of themselves, as it comes through the discovery library. Its buffers end at
// guard pages.

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <optional>

#include "ports/xcv_port_info.h"
#include "tests/fuzz/fuzz_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

using ::testing::AnyOf;
using ::testing::Eq;

constexpr char kAddress[] = "127.0.0.1";
constexpr char kStatusOid[] = "1.3.6.1.2.1.25.3.5.1.1";
constexpr char kErrorStateOid[] = "1.3.6.1.2.1.25.3.5.1.2";
constexpr DWORD kServerUnknown = 0x800000;  // PRINTER_STATUS_SERVER_UNKNOWN

// The status word of hrPrinterStatus.
DWORD WordOfState(const std::vector<uint8_t>& bytes) {
    DWORD state = 0;
    if (bytes.size() == 1 || bytes.size() == 2 || bytes.size() == 4) {
        std::memcpy(&state, bytes.data(), bytes.size());
    }
    return state == 2   ? kServerUnknown
           : state == 4 ? DWORD{PRINTER_STATUS_BUSY}
           : state == 5 ? DWORD{PRINTER_STATUS_WARMING_UP}
                        : 0;
}

// The status word of hrPrinterDetectedErrorState: its last octet is looked at, if there are 1, 2
// or 4.
DWORD WordOfErrors(const std::vector<uint8_t>& bytes) {
    constexpr std::array<DWORD, 8> kFlags = {0,  // from the most significant bit
                                             PRINTER_STATUS_PAPER_OUT,
                                             PRINTER_STATUS_TONER_LOW,
                                             PRINTER_STATUS_NO_TONER,
                                             PRINTER_STATUS_DOOR_OPEN,
                                             PRINTER_STATUS_PAPER_JAM,
                                             PRINTER_STATUS_OFFLINE,
                                             0};
    DWORD word = 0;
    if (bytes.size() == 1 || bytes.size() == 2 || bytes.size() == 4) {
        for (std::size_t bit = 0; bit < kFlags.size(); ++bit) {
            word |= (bytes.back() & 0x80U >> bit) != 0 ? kFlags[bit] : 0;
        }
    }
    return word;
}

// The texts of the library end at their first zero.
std::string CText(const std::string& input) {
    return input.substr(0, input.find('\0'));
}

class DiscoveryFuzz : public FuzzTest {
  protected:
    // What an installer's port took from its printer.
    struct Taken {
        std::wstring model;  // in the port's name
        std::wstring mac;
    };
    // None when the name can be no port's.
    std::optional<Taken> PortOf(const DiscoveryControl::Device& device,
                                const std::string& mac_reply = {}) {
        ForgetCalls();
        discovery_.AddDevice(device);
        if (!mac_reply.empty()) {
            discovery_.SetTextReply(kAddress, "MACAddress", mac_reply);
        }
        const Reply reply = Call(L"SilentAddPort", "AR=127.0.0.1:PR=RAW:");
        EXPECT_EQ(discovery_.Held().buffers, 0U);
        const std::vector<std::wstring> ports = PortNames();
        EXPECT_EQ(ports.size(), reply.code == ERROR_SUCCESS ? 1U : 0U);
        if (ports.empty()) {
            EXPECT_EQ(reply.code, DWORD{ERROR_INVALID_DATA});
            ExpectNoPort();
            return std::nullopt;
        }
        const std::wstring& name = ports[0];
        const std::wstring start = L"127.0.0.1:";
        EXPECT_TRUE(name.starts_with(start));
        const Taken taken{name.substr(std::min(name.size(), start.size())),
                          store().GetText(root(), PortPath(name), L"MacAddress").value_or(L"")};
        // Only a MAC address can be too long for the record: a name is short enough for a key.
        EXPECT_EQ(Call(L"GetPortConfig", WideBytes(name + L'\0'), sizeof(XcvPortInfo)).code,
                  SuccessIf(taken.mac.size() < XcvPortInfo::kSlot));
        DeletePort(name);
        ExpectNoPort();
        return taken;
    }
};

// Whether the document may name its device as no key can be named: with a backslash, which may also
// be written as a number, or so long that the document is longer than this.
bool MayHoldBadName(const std::string& document) {
    return document.size() > 300 || document.find('\\') != std::string::npos ||
           document.find("&#") != std::string::npos;
}

TEST_F(DiscoveryFuzz, CapabilityDocuments) {
    ASSERT_TRUE(Start());
    Fuzz(
        Generator::kCapabilities, 150,
        [](Random& random) { return MutatedDocument(random, CapabilityForm(random), XmlWords()); },
        [this](const std::string& input) {
            const std::string document = CText(input);
            const auto port = PortOf({.address = kAddress, .document = document});
            EXPECT_TRUE(port || MayHoldBadName(document));
            // A device without a MAC address is none, so that its name is not taken either.
            outcomes_.Count(port && !port->mac.empty() && !port->model.empty());
        });
}

TEST_F(DiscoveryFuzz, MacAddressReplies) {
    ASSERT_TRUE(Start());
    Fuzz(
        Generator::kMacReplies, 150,
        [](Random& random) { return MutatedDocument(random, MacReplyForm(random), XmlWords()); },
        [this](const std::string& input) {
            const auto port = PortOf({.address = kAddress, .document = "<a/>"}, CText(input));
            ASSERT_TRUE(port);
            EXPECT_EQ(port->model, L"");
            outcomes_.Count(!port->mac.empty());
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

// The first byte says how many bytes the value has, the second whether it is the error state;
// behind the value comes the header document.
TEST_F(StatusFuzz, MimeReplies) {
    Fuzz(
        Generator::kMimeReplies, 60,
        [](Random& random) {
            const std::size_t size = random.Below(6);
            std::string input{static_cast<char>(size), static_cast<char>(random.Below(2))};
            for (std::size_t count = size; count > 0; --count) {
                input +=
                    static_cast<char>(random.OneIn(2) ? random.Below(6) : random.Next() & 0xFF);
            }
            const std::string header = MimeHeaderForm(random);
            return input + (random.OneIn(2) ? header : MutatedBytes(random, header, XmlWords()));
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
            const DWORD expected = is_error_state ? WordOfErrors(bytes) : WordOfState(bytes);
            // A header that cannot be read, or that names another part, leaves the printer unknown.
            const DWORD word = StatusOfNewPort();
            EXPECT_THAT(word, AnyOf(Eq(expected), Eq(kServerUnknown)));
            if (expected != kServerUnknown) {
                outcomes_.Count(word != kServerUnknown);
            }
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
            return random.OneIn(4) ? digits
                                   : MutatedBytes(random, digits, {"00", "\r", "\n", "3C", "26"});
        },
        [this](const std::string& input) {
            const std::string& address = printer_->address();
            discovery_.SetTextReply(
                address, kStatusOid,
                "MIME-Version: 1.0\r\n" + CText(input) + "\r\n76616C7565 1 04\r\n");
            discovery_.SetValue(address, kErrorStateOid, {0});
            const DWORD word = StatusOfNewPort();
            EXPECT_THAT(word, AnyOf(Eq(DWORD{PRINTER_STATUS_BUSY}), Eq(kServerUnknown)));
            outcomes_.Count(word != kServerUnknown);
        });
}

}  // namespace
}  // namespace ksp::test
