// The AddPort data string: its tokens and where they go.

#include <gmock/gmock.h>

#include "ports/port_record_forms.h"
#include "ports/xcv_forms.h"
#include "tests/ports/port_manager_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AddPortStringTest : public PortManagerTest {
  protected:
    void SetUp() override {
        PortManagerTest::SetUp();
        ASSERT_TRUE(Initialize()) << "for the log";
    }
    static CPortInfo Parsed(std::wstring_view text) {
        CPortInfo info;
        EXPECT_EQ(SetFromAddPortXcvString(text, false, info), 1) << std::wstring(text);
        return info;
    }
};

TEST_F(AddPortStringTest, EveryTokenHasItsField) {
    const CPortInfo info = Parsed(
        L"first,2,10.0.0.5,name,10.0.0.6,255.0.0.0,0026AB123456,1,3,"
        L"59300,59301,alice");
    EXPECT_EQ(info.PortName, L"name");
    EXPECT_EQ(info.ProtocolID, 2U);
    EXPECT_EQ(info.PrinterAddress, L"10.0.0.5");
    EXPECT_EQ(info.IpAddress, L"10.0.0.6");
    EXPECT_EQ(info.SubnetMask, L"255.0.0.0");
    EXPECT_EQ(info.MacAddress, L"0026AB123456");
    EXPECT_EQ(info.PrinterAddressType, 1U);
    EXPECT_EQ(info.SecureUserMode, 3U);
    EXPECT_EQ(info.SecureRawPortNo, 59300U);
    EXPECT_EQ(info.CheckPortNo, 59301U);
    EXPECT_EQ(info.UserIdentityName, L"alice");
    EXPECT_EQ(info.QueueName, L"") << "the queue has no token";
    EXPECT_EQ(info.PortNumber, 0U);
    EXPECT_EQ(info.ProxyServer, L"");
    EXPECT_EQ(info.ProxyPort, 0U);
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(AddPortStringTest, NoneIsNoText) {
    const CPortInfo info = Parsed(L"p1,2,10.0.0.5,p2,NONE,NONE,NONE,1,0,0,0,");
    EXPECT_EQ(info.PortName, L"p2");
    EXPECT_EQ(info.ProtocolID, 2U);
    EXPECT_EQ(info.IpAddress, L"");
    EXPECT_EQ(info.SubnetMask, L"");
    EXPECT_EQ(info.MacAddress, L"");
    EXPECT_EQ(info.PrinterAddressType, 1U);
    EXPECT_EQ(info.UserIdentityName, L"");
    EXPECT_EQ(info.QueueName, L"");
}

TEST_F(AddPortStringTest, OnlyTheExactWordIsNone) {
    const CPortInfo info = Parsed(L"NONE,2,NONE,NONE,none, NONE,NONE ,1,0,0,0,NONE");
    EXPECT_EQ(info.IpAddress, L"none");
    EXPECT_EQ(info.SubnetMask, L" NONE");
    EXPECT_EQ(info.MacAddress, L"NONE ");
    EXPECT_EQ(info.PrinterAddress, L"NONE") << "other texts have no such word";
    EXPECT_EQ(info.PortName, L"NONE");
    EXPECT_EQ(info.UserIdentityName, L"NONE");
}

TEST_F(AddPortStringTest, BlanksBelongToTheirText) {
    const CPortInfo info = Parsed(L"a, 2 , 10.0.0.5 , name ,NONE,NONE,NONE,1,0,0,0, alice ");
    EXPECT_EQ(info.PortName, L" name ");
    EXPECT_EQ(info.ProtocolID, 2U);
    EXPECT_EQ(info.PrinterAddress, L" 10.0.0.5 ");
    EXPECT_EQ(info.UserIdentityName, L" alice ");
}

TEST_F(AddPortStringTest, EmptyTokensAreTokens) {
    const CPortInfo info = Parsed(L",,,,,,,,,,,");
    EXPECT_EQ(info.PortName, L"");
    EXPECT_EQ(info.ProtocolID, 0U);
    EXPECT_EQ(info.PrinterAddressType, 0U) << "no longer the default";
}

TEST_F(AddPortStringTest, TokensBehindTheTwelfthAreIgnored) {
    const CPortInfo info = Parsed(L"a,2,b,name,NONE,NONE,NONE,1,0,0,0,alice,bob,7");
    EXPECT_EQ(info.UserIdentityName, L"alice");
}

TEST_F(AddPortStringTest, TooFewTokensAreRefused) {
    const std::wstring tokens[] = {L"a", L"2", L"b", L"name", L"N", L"N",
                                   L"N", L"1", L"0", L"0",    L"0"};
    std::wstring text;
    int count = 0;
    for (const std::wstring& token : tokens) {
        text += (count == 0 ? L"" : L",") + token;
        ++count;
        CPortInfo info;
        EXPECT_EQ(SetFromAddPortXcvString(text, false, info), 0);
        EXPECT_THAT(NewLines(),
                    ElementsAre("ERROR error input xcv data count = " + std::to_string(count)));
        EXPECT_EQ(info.PortName, L"") << "nothing is stored";
    }
    CPortInfo info;
    EXPECT_EQ(SetFromAddPortXcvString(text + L",", false, info), 1);
    EXPECT_EQ(SetFromAddPortXcvString(L"", false, info), 0);
    EXPECT_THAT(NewLines(), ElementsAre("ERROR error input xcv data count = 1"));
}

TEST_F(AddPortStringTest, IdentityNameIsNeededOnlyWhenAllAsksForIt) {
    const struct {
        const wchar_t* mode;
        const wchar_t* user;
        bool needed;
        int result;
    } cases[] = {{L"1", L"", true, 0},  {L"1", L"", false, 1}, {L"0", L"", true, 1},
                 {L"2", L"", true, 1},  {L"1", L"a", true, 1}, {L"01", L"", true, 0},
                 {L"-1", L"", true, 1}, {L"x", L"", true, 1}};
    for (const auto& one : cases) {
        CPortInfo info;
        const std::wstring text =
            std::wstring(L"a,2,b,name,NONE,NONE,NONE,1,") + one.mode + L",0,0," + one.user;
        EXPECT_EQ(SetFromAddPortXcvString(text, one.needed, info), one.result) << text;
        if (one.result == 0) {
            EXPECT_THAT(NewLines(), ElementsAre("ERROR error parsing user ident name"));
        } else {
            EXPECT_THAT(NewLines(), IsEmpty());
        }
    }
}

TEST_F(AddPortStringTest, MemoryThatRunsOutIsLogged) {
    const std::wstring text =
        L"a,2,a printer with a long name,a port with a long name,NONE,NONE,"
        L"NONE,1,0,0,0,a user with a long name";
    bool split_failed = false;
    bool store_failed = false;
    int result = 1;
    const auto parse = [&] {
        CPortInfo info;
        result = SetFromAddPortXcvString(text, false, info);
    };
    const auto check = [&] {
        const std::vector<std::string> lines = NewLines();
        EXPECT_TRUE(result == 1 || !lines.empty());
        split_failed = split_failed ||
                       lines == std::vector<std::string>{"CRITICAL Exception Error (split string)",
                                                         "ERROR error input xcv data count = 0"};
        store_failed =
            store_failed || lines == std::vector<std::string>{
                                         "CRITICAL Exception Error (set from addport xcv string)"};
    };
    EXPECT_GT(FailEachRequest(parse, check), 5U);
    EXPECT_EQ(result, 1);
    EXPECT_TRUE(split_failed);
    EXPECT_TRUE(store_failed);
}

// --- Its parts

TEST(SplitStringTest, EmptyPiecesArePieces) {
    const struct {
        const wchar_t* text;
        std::vector<std::wstring> pieces;
    } cases[] = {{L"", {L""}},
                 {L",", {L"", L""}},
                 {L"a", {L"a"}},
                 {L"a,b", {L"a", L"b"}},
                 {L",a,,b,", {L"", L"a", L"", L"b", L""}}};
    for (const auto& one : cases) {
        std::vector<std::wstring> pieces;
        EXPECT_EQ(SplitString(one.text, L',', pieces), static_cast<int>(one.pieces.size()));
        EXPECT_EQ(pieces, one.pieces) << one.text;
    }
}

TEST(SplitStringTest, PiecesAreAppendedAndOnlyTheyAreCounted) {
    std::vector<std::wstring> pieces = {L"old"};
    EXPECT_EQ(SplitString(L"a;b", L';', pieces), 2);
    EXPECT_THAT(pieces, ElementsAre(L"old", L"a", L"b"));
}

TEST(LeadingNumberTest, ReadsWhatTheCLibraryReads) {
    const struct {
        const wchar_t* text;
        std::uint32_t number;
    } cases[] = {{L"", 0},
                 {L"0", 0},
                 {L"7", 7},
                 {L"0012", 12},
                 {L"12ab", 12},
                 {L"ab12", 0},
                 {L"0x10", 0},
                 {L"1.9", 1},
                 {L"1 2", 1},
                 {L" \t\n\v\f\r9", 9},
                 {L"+5", 5},
                 {L"-5", 0xFFFFFFFB},
                 {L" -1", 0xFFFFFFFF},
                 {L"- 1", 0},
                 {L"+-1", 0},
                 {L"--1", 0},
                 {L"-", 0},
                 {L"+", 0},
                 {L" ", 0},
                 {L"\xFF11", 0}};  // a full-width digit
    for (const auto& one : cases) {
        EXPECT_EQ(LeadingNumber(one.text), one.number) << one.text;
    }
}

TEST(LeadingNumberTest, StaysAtItsLimits) {
    const struct {
        const wchar_t* text;
        std::uint32_t number;
    } cases[] = {{L"2147483646", 0x7FFFFFFE},  {L"2147483647", 0x7FFFFFFF},
                 {L"2147483648", 0x7FFFFFFF},  {L"4294967295", 0x7FFFFFFF},
                 {L"4294967298", 0x7FFFFFFF},  {L"18446744073709551617", 0x7FFFFFFF},
                 {L"-2147483647", 0x80000001}, {L"-2147483648", 0x80000000},
                 {L"-2147483649", 0x80000000}, {L"-99999999999999999999", 0x80000000}};
    for (const auto& one : cases) {
        EXPECT_EQ(LeadingNumber(one.text), one.number) << one.text;
    }
    EXPECT_EQ(LeadingNumber(std::wstring(100000, L'9')), 0x7FFFFFFFU);
    EXPECT_EQ(LeadingNumber(std::wstring(100000, L'0') + L"3"), 3U);
}

}  // namespace
}  // namespace ksp::test
