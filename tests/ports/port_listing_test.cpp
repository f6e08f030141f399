// The prepared answer of EnumPorts, and the index of names.

#include "monitor/port_listing.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/ports/port_manager_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PortListingTest : public PortManagerTest {
  protected:
    std::shared_ptr<CPort> NewPort(const std::wstring& name) {
        CPortInfo info;
        info.PortName = name;
        info.ProtocolID = static_cast<std::uint32_t>(ProtocolId::kRaw);
        auto port = std::make_shared<CPort>(manager());
        EXPECT_TRUE(port->Initialize(info));
        return port;
    }
    // "name monitor description" of every entry, with room for exactly that.
    std::vector<std::wstring> Listed() {
        listing_.Prepare(list_.Ports(), L"Monitor", L"What it is");
        std::vector<BYTE> buffer(listing_.Size());
        listing_.Fill(buffer.data(), static_cast<DWORD>(buffer.size()));
        std::vector<std::wstring> entries;
        for (size_t index = 0; index < list_.Ports()->size(); ++index) {
            const auto& info = reinterpret_cast<const PORT_INFO_2W*>(buffer.data())[index];
            entries.push_back(std::wstring(info.pPortName) + L" " + info.pMonitorName + L" " +
                              info.pDescription);
        }
        return entries;
    }

    CPortList list_;
    CPortListing listing_;
};

TEST_F(PortListingTest, FollowsEveryChangeOfTheList) {
    EXPECT_THAT(Listed(), IsEmpty());
    list_.AddPortToList(NewPort(L"A"));
    EXPECT_THAT(Listed(), ElementsAre(L"A Monitor What it is"));
    list_.AddPortToList(NewPort(L"PORT"));
    EXPECT_THAT(Listed(), ElementsAre(L"A Monitor What it is", L"PORT Monitor What it is"));
    EXPECT_THAT(Listed(), ElementsAre(L"A Monitor What it is", L"PORT Monitor What it is"));
    list_.DeletePortById(1);
    list_.AddPortToList(NewPort(L"B"));
    EXPECT_THAT(Listed(), ElementsAre(L"PORT Monitor What it is", L"B Monitor What it is"));
    list_.Clear();
    EXPECT_THAT(Listed(), IsEmpty());
}

TEST_F(PortListingTest, KeepsNoPortAlive) {
    list_.AddPortToList(NewPort(L"A"));
    const std::weak_ptr<CPort> port = list_.FindPortById(1);
    EXPECT_THAT(Listed(), ElementsAre(L"A Monitor What it is"));
    list_.Clear();
    EXPECT_TRUE(port.expired());
}

TEST_F(PortListingTest, HundredsOfNamesAreEachFound) {
    constexpr std::uint32_t kPorts = 300;
    std::vector<std::shared_ptr<CPort>> ports;
    for (std::uint32_t number = 0; number < kPorts; ++number) {
        ports.push_back(NewPort(std::to_wstring(number)));
    }
    list_.AddPortsToList(std::move(ports));
    for (std::uint32_t number = 0; number < kPorts; ++number) {
        EXPECT_EQ(list_.FindPortIdByName(std::to_wstring(number)), number + 1);
        EXPECT_EQ(list_.FindPortIdByName(std::to_wstring(number) + L"x"), CPortList::kNoId);
    }
}

TEST_F(PortListingTest, FirstOfTwoEqualNamesIsFound) {
    list_.AddPortToList(NewPort(L"A"));
    list_.AddPortToList(NewPort(L"A"));
    EXPECT_EQ(list_.FindPortIdByName(L"A"), 1U);
    list_.DeletePortById(1);
    EXPECT_EQ(list_.FindPortIdByName(L"A"), 2U);
}

}  // namespace
}  // namespace ksp::test
