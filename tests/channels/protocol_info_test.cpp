#include "channels/protocol_info.h"

#include <gtest/gtest.h>

#include "tests/net/net_test.h"

namespace ksp::test {
namespace {

class ProtocolInfoTest : public NetTest {};

TEST_F(ProtocolInfoTest, RawSettingsTakeTheDefaultPortOfTheirTime) {
    const CRawProtocolInfo before(L"192.0.2.1");
    CRawProtocolInfo::SetDefaultPortNumber(59200);
    const CRawProtocolInfo after(L"192.0.2.1");
    CRawProtocolInfo::SetDefaultPortNumber(9100);
    EXPECT_EQ(before.GetProtocolType(), 2u);
    EXPECT_EQ(before.GetPortNumber(), 9100);
    EXPECT_EQ(before.GetHostName(), L"192.0.2.1");
    EXPECT_EQ(after.GetPortNumber(), 59200);
    EXPECT_EQ(CRawProtocolInfo(L"192.0.2.1").GetPortNumber(), 9100);
}

TEST_F(ProtocolInfoTest, LprSettingsAreOfTwoKinds) {
    const CLprProtocolInfo lpr(L"printer", L"queue", false);
    EXPECT_EQ(lpr.GetProtocolType(), 0u);
    EXPECT_EQ(lpr.GetPortNumber(), 515);
    EXPECT_EQ(lpr.GetHostName(), L"printer");
    EXPECT_EQ(lpr.GetQueueName(), L"queue");
    EXPECT_EQ(CLprProtocolInfo(L"printer", L"queue", true).GetProtocolType(), 1u);
}

TEST_F(ProtocolInfoTest, SettingsCanBeReplaced) {
    CLprProtocolInfo info(L"printer", L"queue", false);
    info.SetHostName(L"192.0.2.1");
    info.SetPortNumber(1515);
    info.SetQueueName(L"lp");
    EXPECT_EQ(info.GetHostName(), L"192.0.2.1");
    EXPECT_EQ(info.GetPortNumber(), 1515);
    EXPECT_EQ(info.GetQueueName(), L"lp");
    EXPECT_EQ(Count(LineLevel::kTrace, L"protocol : set host name = 192.0.2.1"), 1u);
}

}  // namespace
}  // namespace ksp::test
