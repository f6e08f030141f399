#include "snmp/timing.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace ksp::test {
namespace {

using snmp::CTiming;
using snmp::SnmpVersion;
using snmp::VersionChoice;
using ::testing::ElementsAre;

// "0:2c 300:1 ..." as long as it goes on, but no longer than 20 times.
std::vector<std::string> Plan(const CTiming& timing, VersionChoice versions) {
    std::vector<std::string> plan;
    while (plan.size() < 20) {
        const auto sending = snmp::SendingOf(plan.size(), timing, versions);
        if (!sending) {
            break;
        }
        plan.push_back(std::to_string(sending->after) +
                       (sending->version == SnmpVersion::k1 ? ":1" : ":2c"));
    }
    return plan;
}

TEST(TimingTest, RepeatsAtTheInterval) {
    EXPECT_THAT(Plan({20000, 2, 5000}, VersionChoice::k2c),
                ElementsAre("0:2c", "5000:2c", "10000:2c"));
    EXPECT_THAT(Plan({20000, 2, 5000}, VersionChoice::k1), ElementsAre("0:1", "5000:1", "10000:1"));
    EXPECT_THAT(Plan({20000, 0, 5000}, VersionChoice::k2c), ElementsAre("0:2c"));
}

TEST(TimingTest, TheOtherVersionFollowsAMomentLater) {
    EXPECT_THAT(Plan({20000, 1, 5000}, VersionChoice::kEither),
                ElementsAre("0:2c", "300:1", "5000:2c", "5300:1"));
    EXPECT_THAT(Plan({20000, 1, 200}, VersionChoice::kEither),
                ElementsAre("0:2c", "100:1", "200:2c", "300:1"));
}

TEST(TimingTest, RepeatsFitIntoTheTimeout) {
    EXPECT_THAT(Plan({900, 2, 5000}, VersionChoice::k2c), ElementsAre("0:2c", "300:2c", "600:2c"));
    EXPECT_THAT(Plan({100, 2, 5000}, VersionChoice::k2c), ElementsAre("0:2c"));
    EXPECT_THAT(Plan({0, 2, 5000}, VersionChoice::k2c), ElementsAre("0:2c"));
}

TEST(TimingTest, NeverRepeatsQuickerThanTenTimesASecond) {
    EXPECT_THAT(Plan({350, 4294967295, 0}, VersionChoice::k2c),
                ElementsAre("0:2c", "100:2c", "200:2c", "300:2c"));
    const auto last = snmp::SendingOf(4294967295, {4294967295, 4294967295, 0}, VersionChoice::k2c);
    EXPECT_FALSE(last);
}

}  // namespace
}  // namespace ksp::test
