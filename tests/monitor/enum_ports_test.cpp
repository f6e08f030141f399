// EnumPorts: codes, sizes, and every byte of the buffer.

#include <cstring>

#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;

constexpr BYTE kFiller = 0xCC;

struct EnumResult {
    bool result = false;
    DWORD error = ERROR_SUCCESS;
    DWORD needed = 0;
    DWORD returned = 0;
};

// Memory that ends (or begins) at a page that must not be touched.
class GuardedBuffer {
  public:
    enum class Side { kEndsAtGuard, kBeginsAtGuard };

    GuardedBuffer(size_t size, Side side)
        : memory_(static_cast<BYTE*>(
              VirtualAlloc(nullptr, 3 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS))) {
        DWORD former = 0;
        VirtualProtect(memory_ + kPage, kPage, PAGE_READWRITE, &former);
        start_ = memory_ + kPage + (side == Side::kEndsAtGuard ? kPage - size : 0);
        std::memset(start_, kFiller, size);
    }
    ~GuardedBuffer() { VirtualFree(memory_, 0, MEM_RELEASE); }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    BYTE* start() const { return start_; }

  private:
    static constexpr size_t kPage = 4096;
    BYTE* memory_;
    BYTE* start_;
};

class EnumPortsTest : public PortCallTest {
  protected:
    EnumResult Enum(DWORD level, BYTE* buffer, DWORD size) {
        EnumResult answer{.needed = kUnwritten, .returned = kUnwritten};
        SetLastError(kUntouched);
        answer.result = table().pfnEnumPorts(monitor(), nullptr, level, buffer, size,
                                             &answer.needed, &answer.returned) != FALSE;
        answer.error = GetLastError();
        return answer;
    }
    DWORD Needed(DWORD level) { return Enum(level, nullptr, 0).needed; }

    void StartWithTwoPorts() {
        AddRawPort(L"A");
        AddRawPort(L"PORT");
        ASSERT_TRUE(Start());
        NewLines();
    }

    // Two bytes a character, the terminator included.
    static size_t SizeOf(std::wstring_view text) { return (text.size() + 1) * sizeof(wchar_t); }
};

TEST_F(EnumPortsTest, SizeIsThatOfStructuresAndStrings) {
    StartWithTwoPorts();
    constexpr size_t kNames = (1 + 1 + 4 + 1) * sizeof(wchar_t);
    EXPECT_EQ(Needed(1), kNames + 2 * 8);
    EXPECT_EQ(Needed(2), kNames + 2 * (32 + 2 * SizeOf(L"Kestrel Print Port")));
}

TEST_F(EnumPortsTest, LevelOneFillsTheBufferByteByByte) {
    StartWithTwoPorts();
    const DWORD size = Needed(1);
    Bytes buffer(size, kFiller);
    const EnumResult answer = Enum(1, buffer.data(), size);
    EXPECT_TRUE(answer.result);
    EXPECT_EQ(answer.error, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(answer.needed, size);
    EXPECT_EQ(answer.returned, 2U);

    // The first port's name is the last thing in the buffer, the second's lies before it.
    Bytes expected(size);
    BYTE* const first = buffer.data() + size - SizeOf(L"A");
    BYTE* const second = first - SizeOf(L"PORT");
    const void* pointers[] = {first, second};
    std::memcpy(expected.data(), pointers, sizeof(pointers));
    std::memcpy(expected.data() + (first - buffer.data()), L"A", SizeOf(L"A"));
    std::memcpy(expected.data() + (second - buffer.data()), L"PORT", SizeOf(L"PORT"));
    EXPECT_EQ(buffer, expected);
}

TEST_F(EnumPortsTest, LevelTwoFillsTheBufferByteByByte) {
    StartWithTwoPorts();
    const std::wstring monitor_name = L"Kestrel Print Port";
    const DWORD size = Needed(2);
    Bytes buffer(size, kFiller);
    const EnumResult answer = Enum(2, buffer.data(), size);
    EXPECT_TRUE(answer.result);
    EXPECT_EQ(answer.returned, 2U);

    Bytes expected(size);
    size_t end = size;
    size_t structure = 0;
    for (const std::wstring& name : {std::wstring(L"A"), std::wstring(L"PORT")}) {
        PORT_INFO_2W info = {};
        LPWSTR* const members[] = {&info.pPortName, &info.pMonitorName, &info.pDescription};
        const std::wstring* const texts[] = {&name, &monitor_name, &monitor_name};
        for (size_t index = 0; index < 3; ++index) {
            end -= SizeOf(*texts[index]);
            *members[index] = reinterpret_cast<LPWSTR>(buffer.data() + end);
            std::memcpy(expected.data() + end, texts[index]->c_str(), SizeOf(*texts[index]));
        }
        info.fPortType = 3;
        std::memcpy(expected.data() + structure, &info, sizeof(info));
        structure += sizeof(info);
    }
    ASSERT_EQ(end, structure) << "nothing lies between structures and strings";
    EXPECT_EQ(buffer, expected);
}

TEST_F(EnumPortsTest, IdPrintMonitorHasItsOwnName) {
    SetMonitorType(2);
    AddRawPort(L"PORT");
    ASSERT_TRUE(Start());
    Bytes buffer(Needed(2));
    ASSERT_TRUE(Enum(2, buffer.data(), static_cast<DWORD>(buffer.size())).result);
    const auto* info = reinterpret_cast<const PORT_INFO_2W*>(buffer.data());
    EXPECT_EQ(std::wstring(info->pPortName), L"PORT");
    EXPECT_EQ(std::wstring(info->pMonitorName), L"Kestrel ID Print Port");
    EXPECT_EQ(std::wstring(info->pDescription), L"Kestrel ID Print Port");
    EXPECT_NE(info->pMonitorName, info->pDescription);
}

TEST_F(EnumPortsTest, TouchesNothingAroundTheBuffer) {
    StartWithTwoPorts();
    for (const DWORD level : {1UL, 2UL}) {
        for (const auto side :
             {GuardedBuffer::Side::kEndsAtGuard, GuardedBuffer::Side::kBeginsAtGuard}) {
            const DWORD size = Needed(level);
            const GuardedBuffer buffer(size, side);
            EXPECT_TRUE(Enum(level, buffer.start(), size).result) << "level " << level;
            // A refused call writes nothing at all.
            const GuardedBuffer small(size - 1, side);
            EXPECT_FALSE(Enum(level, small.start(), size - 1).result) << "level " << level;
            EXPECT_EQ(Bytes(small.start(), small.start() + size - 1), Bytes(size - 1, kFiller));
        }
    }
}

TEST_F(EnumPortsTest, LargerBufferIsFilledFromBothEnds) {
    StartWithTwoPorts();
    // Odd sizes too: the strings then stand at odd addresses.
    for (const DWORD extra : {1UL, 2UL, 7UL, 100UL}) {
        const DWORD needed = Needed(1);
        const DWORD size = needed + extra;
        Bytes buffer(size, kFiller);
        const EnumResult answer = Enum(1, buffer.data(), size);
        EXPECT_TRUE(answer.result);
        EXPECT_EQ(answer.needed, needed);
        EXPECT_EQ(answer.error, DWORD{ERROR_SUCCESS});
        constexpr size_t kStructures = 2 * sizeof(PORT_INFO_1W);
        const auto gap = buffer.begin() + kStructures;
        EXPECT_EQ(Bytes(gap, gap + static_cast<ptrdiff_t>(extra)), Bytes(extra, kFiller));
        EXPECT_EQ(std::memcmp(buffer.data() + size - SizeOf(L"A"), L"A", SizeOf(L"A")), 0);
    }
}

TEST_F(EnumPortsTest, BufferAtAnOddAddressIsFilled) {
    StartWithTwoPorts();
    const DWORD size = Needed(2);
    Bytes memory(size + 1);
    ASSERT_TRUE(Enum(2, memory.data() + 1, size).result);
    PORT_INFO_2W info = {};
    std::memcpy(&info, memory.data() + 1, sizeof(info));
    EXPECT_EQ(std::memcmp(info.pPortName, L"A", SizeOf(L"A")), 0);
}

TEST_F(EnumPortsTest, SmallBufferIsRefusedWithTheSizeNeeded) {
    StartWithTwoPorts();
    Bytes buffer(400, kFiller);
    for (const DWORD size : {0UL, 1UL, 29UL}) {
        NewLines();
        const EnumResult answer = Enum(1, buffer.data(), size);
        EXPECT_FALSE(answer.result);
        EXPECT_EQ(answer.error, DWORD{ERROR_INSUFFICIENT_BUFFER});
        EXPECT_EQ(answer.needed, 30U);
        EXPECT_EQ(answer.returned, kUnwritten);
        EXPECT_THAT(NewLines(), ElementsAre("TRACE called enum ports : level 1",
                                            "TRACE buffer size is too small : buffer size=" +
                                                std::to_string(size) + ", need size=30"));
    }
    EXPECT_EQ(buffer, Bytes(400, kFiller));
}

TEST_F(EnumPortsTest, NullBufferOfSufficientSizeIsRefused) {
    StartWithTwoPorts();
    const EnumResult answer = Enum(1, nullptr, 1000);
    EXPECT_FALSE(answer.result);
    EXPECT_EQ(answer.error, DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(answer.needed, 30U);
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called enum ports : level 1", "ERROR buffer pointer is null"));
}

TEST_F(EnumPortsTest, SuccessIsLogged) {
    StartWithTwoPorts();
    Bytes buffer(30);
    ASSERT_TRUE(Enum(1, buffer.data(), 30).result);
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called enum ports : level 1", "TRACE EnumPorts Success"));
}

TEST_F(EnumPortsTest, OtherLevelsAreRefused) {
    StartWithTwoPorts();
    for (const DWORD level : {0UL, 3UL, 4UL}) {
        NewLines();
        Bytes buffer(1000, kFiller);
        const EnumResult answer = Enum(level, buffer.data(), 1000);
        EXPECT_FALSE(answer.result);
        EXPECT_EQ(answer.error, DWORD{ERROR_INVALID_LEVEL});
        EXPECT_EQ(answer.needed, kUnwritten);
        EXPECT_EQ(answer.returned, kUnwritten);
        EXPECT_EQ(buffer, Bytes(1000, kFiller));
        const std::string number = std::to_string(level);
        EXPECT_THAT(NewLines(),
                    ElementsAre("TRACE called enum ports : level " + number,
                                "ERROR Input Level is not support. (level " + number + ")"));
    }
}

TEST_F(EnumPortsTest, LevelIsLookedAtBeforeThePorts) {
    ASSERT_TRUE(Start());
    EXPECT_EQ(Enum(3, nullptr, 0).error, DWORD{ERROR_INVALID_LEVEL});
    EXPECT_EQ(Enum(0, nullptr, 0).error, DWORD{ERROR_INVALID_LEVEL});
}

TEST_F(EnumPortsTest, NoPortsAreNoFailure) {
    ASSERT_TRUE(Start());
    NewLines();
    for (const DWORD level : {1UL, 2UL}) {
        const EnumResult answer = Enum(level, nullptr, 0);
        EXPECT_TRUE(answer.result);
        EXPECT_EQ(answer.error, DWORD{ERROR_SUCCESS});
        EXPECT_EQ(answer.needed, 0U);
        EXPECT_EQ(answer.returned, 0U);
    }
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called enum ports : level 1", "INFO No. Of Ports is 0",
                            "TRACE called enum ports : level 2", "INFO No. Of Ports is 0"));
}

TEST_F(EnumPortsTest, WithoutReturnedPointerTheBufferIsFilledAndRefused) {
    StartWithTwoPorts();
    Bytes buffer(30, kFiller);
    DWORD needed = 0;
    EXPECT_FALSE(table().pfnEnumPorts(monitor(), nullptr, 1, buffer.data(), 30, &needed, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(needed, 30U);
    EXPECT_EQ(std::wstring(reinterpret_cast<const PORT_INFO_1W*>(buffer.data())[1].pName), L"PORT");
    EXPECT_THAT(NewLines(), ElementsAre("TRACE called enum ports : level 1",
                                        "ERROR ERROR_INSUFFICIENT_BUFFER"));
}

TEST_F(EnumPortsTest, WithoutNeededPointerItWorks) {
    StartWithTwoPorts();
    Bytes buffer(30);
    DWORD returned = 0;
    EXPECT_TRUE(table().pfnEnumPorts(monitor(), nullptr, 1, buffer.data(), 30, nullptr, &returned));
    EXPECT_EQ(returned, 2U);
    EXPECT_FALSE(table().pfnEnumPorts(monitor(), nullptr, 1, nullptr, 0, nullptr, &returned));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST_F(EnumPortsTest, ServerNameAndMonitorHandleDoNotCount) {
    StartWithTwoPorts();
    Bytes buffer(30);
    DWORD needed = 0;
    DWORD returned = 0;
    std::wstring server = L"\\\\elsewhere";
    EXPECT_TRUE(table().pfnEnumPorts(Handle(12345), server.data(), 1, buffer.data(), 30, &needed,
                                     &returned));
    EXPECT_EQ(returned, 2U);
}

TEST_F(EnumPortsTest, ManyPortsWithLongNamesFitExactly) {
    std::vector<std::wstring> names;
    for (int index = 0; index < 200; ++index) {
        names.push_back(std::wstring(static_cast<size_t>(index), L'n') + std::to_wstring(index));
        AddRawPort(names.back());
    }
    ASSERT_TRUE(Start());
    const DWORD size = Needed(2);
    Bytes buffer(size);
    const EnumResult answer = Enum(2, buffer.data(), size);
    ASSERT_TRUE(answer.result);
    ASSERT_EQ(answer.returned, 200U);
    const auto* infos = reinterpret_cast<const PORT_INFO_2W*>(buffer.data());
    for (size_t index = 0; index < names.size(); ++index)
        EXPECT_EQ(std::wstring(infos[index].pPortName), names[index]);
    EXPECT_FALSE(Enum(2, buffer.data(), size - 1).result);
}

}  // namespace
}  // namespace ksp::test
