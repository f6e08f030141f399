// Whatever a tool hands in: every command with inputs and outputs of all kinds, each in memory that
// ends with it. Nothing is read or written outside, nothing changes, nothing stays open or locked.

#include <algorithm>

#include "tests/monitor/background.h"
#include "tests/xcv/xcv_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;

struct NamedInput {
    std::string name;
    XcvInput bytes;
};

// The command's text in both widths would be a valid request; none of the inputs is one.
std::vector<NamedInput> BadInputs() {
    constexpr size_t kLong = 64 * 1024;
    std::vector<NamedInput> inputs = {
        {"null", std::nullopt},
        {"empty", Bytes()},
        {"one byte", Bytes{0x41}},
        {"one zero byte", Bytes{0}},
        {"half a terminator", Bytes{0x41, 0, 0}},
        {"only a terminator", Terminated(L"")},
        {"one character", Unterminated(L"A")},
        {"unterminated", Unterminated(L"unknown name")},
        {"terminated", Terminated(L"unknown name")},
        {"lone high surrogate", Terminated(L"a\xD800")},
        {"lone low surrogate", Terminated(L"\xDC00z")},
        {"surrogates in the wrong order", Unterminated(L"\xDC00\xD800")},
        {"64 KiB of text", Unterminated(std::wstring(kLong / 2, L'n'))},
        {"64 KiB of surrogates", Unterminated(std::wstring(kLong / 2, L'\xD83D'))},
        {"64 KiB of commas", Unterminated(std::wstring(kLong / 2, L','))},
        {"64 KiB of colons", Bytes(kLong, ':')},
        {"64 KiB of equal signs", Bytes(kLong, '=')},
        {"eleven tokens", Terminated(L"1,2,3,4,5,6,7,8,9,10,11")},
        {"address without protocol", Terminated(std::string_view("AR=127.0.0.1"))},
        {"address and half a protocol", Bytes{'A', 'R', '=', 'a', ':', 'P', 'R', '=', 'R', 'A'}},
        {"bytes that are no text", Bytes{0x80, 0xFF, 0xFE, 0xC0, 0xED, 0xA0}},
    };
    for (const size_t size : {size_t{16410}, size_t{16411}, size_t{16412}, size_t{16413}}) {
        inputs.push_back({std::to_string(size) + " bytes of 0xFF", Bytes(size, 0xFF)});
        inputs.push_back({std::to_string(size) + " zero bytes", Bytes(size, 0)});
    }
    Bytes embedded = Terminated(L"unknown");
    const Bytes port = Terminated(L"PORT");
    embedded.insert(embedded.end(), port.begin(), port.end());
    inputs.push_back({"embedded terminator", embedded});
    const Bytes tokens = Terminated(AddPortTokens{.name = L"a\\b"}.Text());
    inputs.push_back({"name that is a path", tokens});
    const Bytes endless = Terminated(AddPortTokens{.name = std::wstring(kLong / 2, L'n')}.Text());
    inputs.push_back({"name of 64 KiB", endless});
    return inputs;
}

std::vector<std::optional<size_t>> OutputSizes() {
    return {std::nullopt, 0, 1, 3, 4, 5, 21, 22, 23, 16411, 16412, 16413};
}

// The blocks of memory that are in use in this process.
size_t CountBlocks() {
    constexpr DWORD kMostHeaps = 64;
    HANDLE heaps[kMostHeaps] = {};
    const DWORD count = std::min(GetProcessHeaps(kMostHeaps, heaps), kMostHeaps);
    size_t blocks = 0;
    for (DWORD index = 0; index < count; ++index) {
        PROCESS_HEAP_ENTRY entry = {};
        HeapLock(heaps[index]);
        while (HeapWalk(heaps[index], &entry)) {
            blocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? 1 : 0;
        }
        HeapUnlock(heaps[index]);
    }
    return blocks;
}

// What a command does with an input that names no port and asks for nothing.
struct Refusal {
    std::wstring command;
    std::vector<DWORD> codes;
    size_t output = 0;     // bytes that the command writes, given the room
    DWORD short_code = 0;  // without that room
};

const Refusal kRefusals[] = {
    {L"MonitorUI", {ERROR_SUCCESS}, 22, ERROR_INSUFFICIENT_BUFFER},
    {L"AddPort", {ERROR_INVALID_DATA}},
    {L"DeletePort", {ERROR_NOT_READY}},
    // 13 for an empty name.
    {L"PortExists", {ERROR_UNKNOWN_PORT, ERROR_INVALID_DATA}},
    {L"IsKspPort", {ERROR_SUCCESS}, 4, ERROR_SUCCESS},
    {L"GetMonitorType", {ERROR_SUCCESS}, 4, ERROR_INSUFFICIENT_BUFFER},
    {L"ConfigurePort", {ERROR_INVALID_DATA}},
    {L"GetPortConfig", {ERROR_INVALID_DATA}, 16412, ERROR_INSUFFICIENT_BUFFER},
    {L"SilentAddPort", {ERROR_INVALID_PARAMETER}},
    {L"monitorui", {ERROR_INVALID_PARAMETER}},
};

class XcvBadInputTest : public XcvTest {
  protected:
    void SetUp() override {
        XcvTest::SetUp();
        AddRawPort(L"PORT");
        ASSERT_TRUE(Start());
        spooler().PutPort(L"LPT1:");
        keys_ = PortKeys();
        // What a thread and the discovery library open at their first use.
        static_cast<void>(CodeOnAnotherThread());
        EXPECT_EQ(AddSilently("AR=127.0.0.1").code, DWORD{ERROR_INVALID_PARAMETER});
        handles_ = CountHandles();
    }
    // The monitor is as it was, and free.
    void TearDown() override {
        if (library().loaded()) {
            EXPECT_EQ(CodeOnAnotherThread(), DWORD{ERROR_NOT_READY});
            EXPECT_EQ(NewHandles(handles_, CountHandles()), HandleCensus());
            EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
            EXPECT_EQ(PortKeys(), keys_);
            EXPECT_EQ(Add({.name = L"NEW"}).code, DWORD{ERROR_SUCCESS});
            EXPECT_EQ(Call(L"DeletePort", L"NEW").code, DWORD{ERROR_SUCCESS});
        }
        XcvTest::TearDown();
    }
    DWORD CodeOnAnotherThread() {
        Background<DWORD> next([&] { return Call(L"DeletePort", L"nowhere").code; });
        EXPECT_TRUE(next.EndsWithin(Gate::kPatience)) << "a lock is still held";
        return next.Get();
    }

  private:
    std::wstring keys_;
    HandleCensus handles_;
};

TEST_F(XcvBadInputTest, EveryCommandRefusesEveryInput) {
    const std::vector<NamedInput> inputs = BadInputs();
    for (const Refusal& refusal : kRefusals) {
        for (const NamedInput& input : inputs) {
            const XcvAnswer answer = Call(refusal.command, input.bytes, refusal.output);
            EXPECT_THAT(refusal.codes, ::testing::Contains(answer.code))
                << ::testing::PrintToString(refusal.command) << " with " << input.name;
            EXPECT_EQ(answer.input, input.bytes.value_or(Bytes())) << input.name;
        }
    }
}

TEST_F(XcvBadInputTest, EveryCommandStaysWithinEveryOutput) {
    const std::vector<NamedInput> inputs = {{"null", std::nullopt},
                                            {"unknown name", Terminated(L"unknown name")},
                                            {"0xFF", Bytes(16412, 0xFF)}};
    for (const Refusal& refusal : kRefusals) {
        for (const NamedInput& input : inputs) {
            for (const std::optional<size_t>& size : OutputSizes()) {
                const XcvAnswer answer = Call(refusal.command, input.bytes, size);
                const size_t room = size.value_or(0);
                const bool fits = room >= refusal.output;
                const std::string what = ::testing::PrintToString(refusal.command) + " with " +
                                         input.name + " and room for " + std::to_string(room);
                if (fits) {
                    EXPECT_THAT(refusal.codes, ::testing::Contains(answer.code)) << what;
                } else {
                    EXPECT_EQ(answer.code, refusal.short_code) << what;
                }
                const bool written = fits && answer.code == ERROR_SUCCESS;
                EXPECT_TRUE(IsUntouchedFrom(answer.output, written ? refusal.output : 0)) << what;
            }
        }
    }
}

TEST_F(XcvBadInputTest, NothingPilesUpInMemory) {
    constexpr int kRounds = 200;
    for (const Refusal& refusal : kRefusals) {
        const auto run = [&](int rounds) {
            for (int round = 0; round < rounds; ++round) {
                static_cast<void>(Call(refusal.command, L"unknown name", refusal.output));
            }
        };
        run(1);
        const size_t before = CountBlocks();
        ASSERT_GT(before, 0U);
        run(kRounds);
        EXPECT_LT(CountBlocks(), before + kRounds) << refusal.command;
    }
}

TEST_F(XcvBadInputTest, SizeWithoutABufferIsNothing) {
    for (const Refusal& refusal : kRefusals) {
        DWORD needed = kUntouched;
        const DWORD code =
            CallRaw(refusal.command.c_str(), nullptr, 16412, nullptr, 16412, &needed);
        EXPECT_EQ(code, refusal.output > 0 ? refusal.short_code : Call(refusal.command).code)
            << refusal.command;
    }
}

TEST_F(XcvBadInputTest, UnknownCommandsOfEveryLengthAreRefused) {
    for (size_t length = 0; length <= 300; ++length) {
        EXPECT_EQ(Call(std::wstring(length, L'x'), L"PORT", 4).code,
                  DWORD{ERROR_INVALID_PARAMETER});
    }
    for (const Refusal& refusal : kRefusals) {
        const std::wstring& name = refusal.command;
        for (size_t length = 0; length < name.size(); ++length) {
            EXPECT_EQ(Call(name.substr(0, length), L"PORT", 4).code,
                      DWORD{ERROR_INVALID_PARAMETER});
        }
    }
    for (const std::wstring& name :
         {std::wstring(32 * 1024, L'x'), std::wstring(1, L'\xD800'), std::wstring(2, L'%') + L"s",
          std::wstring(L"%s%s%n"), L"AddPort" + std::wstring(32 * 1024, L'x')}) {
        EXPECT_EQ(Call(name, L"PORT", 4).code, DWORD{ERROR_INVALID_PARAMETER});
    }
}

// The same addresses hold a valid request, cut off one byte after the other.
TEST_F(XcvBadInputTest, RequestsThatAreCutOffAreReadUpToTheCut) {
    const Bytes tokens = Unterminated(AddPortTokens{}.Text());
    constexpr size_t kLastComma = 2;  // bytes; without it there are eleven tokens
    for (size_t size = 0; size + kLastComma / 2 < tokens.size(); ++size) {
        const XcvInput input(Bytes(tokens.begin(), tokens.begin() + static_cast<ptrdiff_t>(size)));
        EXPECT_EQ(Call(L"AddPort", input).code, DWORD{ERROR_INVALID_DATA}) << size;
    }
    const std::string_view text = "AR=127.0.0.1:PR=RAW";
    for (size_t size = 0; size < text.size(); ++size) {
        const XcvInput input(Bytes(text.begin(), text.begin() + static_cast<ptrdiff_t>(size)));
        EXPECT_EQ(Call(L"SilentAddPort", input).code, DWORD{ERROR_INVALID_PARAMETER}) << size;
    }
    const Bytes name = Unterminated(L"PORT");
    for (size_t size = 0; size < name.size(); ++size) {
        const XcvInput input(Bytes(name.begin(), name.begin() + static_cast<ptrdiff_t>(size)));
        EXPECT_EQ(Call(L"DeletePort", input).code, DWORD{ERROR_NOT_READY}) << size;
        EXPECT_EQ(Call(L"GetPortConfig", input, kRecord).code, DWORD{ERROR_INVALID_DATA}) << size;
        const XcvAnswer known = Call(L"IsKspPort", input, 4);
        EXPECT_EQ(known.output, Bytes(4, 0)) << size;
    }
}

TEST_F(XcvBadInputTest, LongTextsOfAPortAreTakenAsTheyAre) {
    const std::wstring text(32 * 1024, L'\xD800');
    AddPortTokens tokens{.address = text, .name = L"LONG", .ip_address = text};
    tokens.subnet_mask = tokens.mac_address = tokens.user = text;
    EXPECT_EQ(Add(tokens).code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(StoredText(L"LONG", L"PrinterAddress"), text);
    EXPECT_EQ(StoredText(L"LONG", L"MacAddress"), text);
    const XcvAnswer record = Call(L"GetPortConfig", L"LONG", kRecord);
    EXPECT_EQ(record.code, DWORD{ERROR_INVALID_DATA}) << "no slot holds that";
    EXPECT_TRUE(IsUntouchedFrom(record.output, 0));
    EXPECT_EQ(Call(L"DeletePort", L"LONG").code, DWORD{ERROR_SUCCESS});
}

TEST_F(XcvBadInputTest, LongSilentTextsAreTakenAsTheyAre) {
    const std::string text(64 * 1024, 'x');
    EXPECT_EQ(AddSilently("AR=" + text + ":PN=LONG:SN=" + text + ":PR=RAW").code,
              DWORD{ERROR_SUCCESS});
    EXPECT_EQ(StoredText(L"LONG", L"PrinterAddress"), std::wstring(text.begin(), text.end()));
    EXPECT_EQ(AddSilently("AR=" + text + ":PR=RAW").code, DWORD{ERROR_INVALID_DATA});
    EXPECT_EQ(Call(L"DeletePort", L"LONG").code, DWORD{ERROR_SUCCESS});
}

}  // namespace
}  // namespace ksp::test
