// The command dispatcher, and the commands that only answer questions.

#include <cstring>

#include "tests/xcv/xcv_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class XcvCommandsTest : public XcvTest {
  protected:
    void StartWithPort() {
        AddRawPort(L"PORT");
        ASSERT_TRUE(Start());
        NewLines();
    }
    static DWORD NumberOf(const Bytes& output) {
        DWORD number = 0;
        std::memcpy(&number, output.data(), sizeof(number));
        return number;
    }
};

// --- Names of commands

const wchar_t* const kCommands[] = {L"MonitorUI",     L"AddPort",       L"DeletePort",
                                    L"PortExists",    L"IsKspPort",     L"GetMonitorType",
                                    L"ConfigurePort", L"GetPortConfig", L"SilentAddPort"};

TEST_F(XcvCommandsTest, NamesThatAreNearlyACommandsAreRefused) {
    StartWithPort();
    for (const std::wstring name : kCommands) {
        std::wstring other_case = name;
        other_case[0] = static_cast<wchar_t>(other_case[0] + (L'a' - L'A'));
        for (const std::wstring& wrong : {other_case, name + L"x", name + L" ", L" " + name,
                                          name.substr(1), name.substr(0, name.size() - 1)}) {
            NewLines();
            const XcvAnswer answer = Call(wrong, L"PORT", 22);
            EXPECT_EQ(answer.code, DWORD{ERROR_INVALID_PARAMETER}) << wrong;
            EXPECT_EQ(answer.needed, kUntouched);
            EXPECT_TRUE(IsUntouchedFrom(answer.output, 0));
            EXPECT_THAT(NewLines(),
                        ElementsAre("TRACE called xcv open port", "TRACE success xcv open port",
                                    "TRACE called xcv data port",
                                    "INFO invalid data name recved in XcvDataPort: " +
                                        std::string(wrong.begin(), wrong.end()),
                                    "TRACE called xcv close port"));
        }
    }
    EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
}

TEST_F(XcvCommandsTest, NoNameIsNoCommand) {
    StartWithPort();
    DWORD needed = kUntouched;
    EXPECT_EQ(CallRaw(nullptr, nullptr, 0, nullptr, 0, &needed), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(needed, kUntouched);
    EXPECT_EQ(Call(L"").code, DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(XcvCommandsTest, HandleIsNotLookedAt) {
    StartWithPort();
    DWORD type = 0;
    DWORD needed = kUntouched;
    EXPECT_EQ(table().pfnXcvDataPort(nullptr, L"GetMonitorType", nullptr, 0,
                                     reinterpret_cast<PBYTE>(&type), sizeof(type), &needed),
              DWORD{ERROR_SUCCESS});
    EXPECT_EQ(type, 1U);
}

TEST_F(XcvCommandsTest, BytesNeededMayBeNull) {
    StartWithPort();
    Bytes name = Terminated(L"NEW");
    for (const wchar_t* command : kCommands) {
        Bytes output(kRecord, kFiller);
        const DWORD with_room = CallRaw(command, name.data(), static_cast<DWORD>(name.size()),
                                        output.data(), static_cast<DWORD>(kRecord), nullptr);
        EXPECT_EQ(with_room, Call(command, name, kRecord).code) << command;
        const DWORD without =
            CallRaw(command, name.data(), static_cast<DWORD>(name.size()), nullptr, 0, nullptr);
        EXPECT_EQ(without, Call(command, name).code) << command;
    }
}

// --- MonitorUI

TEST_F(XcvCommandsTest, MonitorUINamesTheLibrary) {
    StartWithPort();
    for (const size_t size : {size_t{22}, size_t{23}, size_t{100}}) {
        const XcvAnswer answer = Call(L"MonitorUI", std::nullopt, size);
        EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
        EXPECT_EQ(answer.needed, 22U);
        EXPECT_EQ(TextAt(answer.output), L"ksppui.dll");
        EXPECT_TRUE(IsUntouchedFrom(answer.output, 22));
        EXPECT_THAT(LinesOf("Xcv MonitorUI"), IsEmpty());
    }
}

TEST_F(XcvCommandsTest, MonitorUISaysHowMuchRoomItNeeds) {
    StartWithPort();
    for (const auto& size :
         {std::optional<size_t>(), std::optional<size_t>(0), std::optional<size_t>(21)}) {
        const XcvAnswer answer = Call(L"MonitorUI", std::nullopt, size);
        EXPECT_EQ(answer.code, DWORD{ERROR_INSUFFICIENT_BUFFER});
        EXPECT_EQ(answer.needed, 22U);
        EXPECT_TRUE(IsUntouchedFrom(answer.output, 0));
        EXPECT_THAT(LinesOf("Xcv MonitorUI"), IsEmpty());
    }
}

TEST_F(XcvCommandsTest, IdPrintMonitorHasALibraryOfItsOwn) {
    SetMonitorType(2);
    StartWithPort();
    EXPECT_EQ(Call(L"MonitorUI", std::nullopt, 23).code, DWORD{ERROR_INSUFFICIENT_BUFFER});
    const XcvAnswer answer = Call(L"MonitorUI", std::nullopt, 24);
    EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(answer.needed, 24U);
    EXPECT_EQ(TextAt(answer.output), L"kssppui.dll");
}

// --- GetMonitorType

TEST_F(XcvCommandsTest, MonitorTypeIsTheRegistrys) {
    for (const DWORD type : {1UL, 2UL}) {
        SetMonitorType(type);
        StartWithPort();
        for (const size_t size : {size_t{4}, size_t{5}}) {
            const XcvAnswer answer = Call(L"GetMonitorType", std::nullopt, size);
            EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
            EXPECT_EQ(answer.needed, 0U);
            EXPECT_EQ(NumberOf(answer.output), type);
            EXPECT_TRUE(IsUntouchedFrom(answer.output, 4));
        }
        NewLines();
        static_cast<void>(Call(L"GetMonitorType", std::nullopt, 4));
        EXPECT_THAT(LinesOf("Xcv MonitorType"), IsEmpty());
        Unload();
    }
}

TEST_F(XcvCommandsTest, MonitorTypeNeedsFourBytes) {
    StartWithPort();
    for (const auto& size :
         {std::optional<size_t>(), std::optional<size_t>(0), std::optional<size_t>(3)}) {
        const XcvAnswer answer = Call(L"GetMonitorType", std::nullopt, size);
        EXPECT_EQ(answer.code, DWORD{ERROR_INSUFFICIENT_BUFFER});
        EXPECT_EQ(answer.needed, 4U);
        EXPECT_TRUE(IsUntouchedFrom(answer.output, 0));
    }
}

// --- IsKspPort

TEST_F(XcvCommandsTest, OwnPortIsKnown) {
    StartWithPort();
    const XcvAnswer answer = Call(L"IsKspPort", L"PORT", 4);
    EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(answer.needed, 0U);
    EXPECT_EQ(NumberOf(answer.output), 1U);
    EXPECT_THAT(LinesOf("Xcv IsKspPort"), IsEmpty());
}

TEST_F(XcvCommandsTest, OtherNamesAreNoPortsOfThisMonitor) {
    StartWithPort();
    spooler().PutPort(L"LPT1:");
    for (const wchar_t* name : {L"port", L"PORT ", L"POR", L"LPT1:", L""}) {
        NewLines();
        const XcvAnswer answer = Call(L"IsKspPort", name, 5);
        EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS}) << name;
        EXPECT_EQ(answer.needed, 0U);
        EXPECT_EQ(NumberOf(answer.output), 0U) << name;
        EXPECT_TRUE(IsUntouchedFrom(answer.output, 4));
        EXPECT_THAT(LinesOf("Xcv IsKspPort"), ElementsAre("ERROR invalidate Port"));
    }
}

TEST_F(XcvCommandsTest, AnswerWithoutRoomIsNotWritten) {
    StartWithPort();
    for (const auto& size :
         {std::optional<size_t>(), std::optional<size_t>(0), std::optional<size_t>(3)}) {
        const XcvAnswer answer = Call(L"IsKspPort", L"PORT", size);
        EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
        EXPECT_EQ(answer.needed, 0U);
        EXPECT_TRUE(IsUntouchedFrom(answer.output, 0));
    }
}

// --- PortExists

TEST_F(XcvCommandsTest, PortsOfAllMonitorsExist) {
    StartWithPort();
    spooler().PutPort(L"LPT1:");
    NewLines();
    const XcvAnswer known = Call(L"PortExists", L"LPT1:", 4);
    EXPECT_EQ(known.code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(known.needed, 0U);
    EXPECT_TRUE(IsUntouchedFrom(known.output, 0)) << "there is no output";
    EXPECT_THAT(LinesOf("Xcv PortExists"), ElementsAre("TRACE returning port exists"));
    for (const wchar_t* name : {L"lpt1:", L"LPT1", L"PORT"}) {
        const XcvAnswer unknown = Call(L"PortExists", name);
        EXPECT_EQ(unknown.code, DWORD{ERROR_UNKNOWN_PORT}) << "the spooler is asked, not the list";
        EXPECT_EQ(unknown.needed, 0U);
        EXPECT_THAT(LinesOf("Xcv PortExists"), IsEmpty());
    }
}

TEST_F(XcvCommandsTest, NoNameIsAnError) {
    StartWithPort();
    spooler().PutPort(L"LPT1:");
    for (const XcvInput& input : {XcvInput(), XcvInput(Bytes()), XcvInput(Terminated(L""))}) {
        EXPECT_EQ(Call(L"PortExists", input).code, DWORD{ERROR_INVALID_DATA});
        EXPECT_THAT(LinesOf("Xcv PortExists"), IsEmpty());
    }
}

TEST_F(XcvCommandsTest, SpoolerThatCannotListItsPortsIsAnError) {
    StartWithPort();
    spooler().PutPort(L"LPT1:");
    for (const DWORD nth : {1UL, 2UL}) {
        spooler().FailCall(WinspoolEnumPorts, ERROR_ACCESS_DENIED, nth);
        EXPECT_EQ(Call(L"PortExists", L"LPT1:").code, DWORD{ERROR_INVALID_DATA});
        EXPECT_THAT(LinesOf("Xcv PortExists"), ElementsAre("ERROR error doing enumports"));
    }
}

}  // namespace
}  // namespace ksp::test
