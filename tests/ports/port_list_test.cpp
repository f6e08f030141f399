// The list of ports: ids, order, look-ups, and what happens to ports that are removed.

#include "ports/port_list.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace ksp {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class NoServices final : public IPortServices {
  public:
    bool GetPrinterStatus(std::uint32_t, std::uint32_t&) override { return false; }
    bool SetPortStatus(std::uint32_t, std::uint32_t) override { return false; }
    bool ClearPortStatus(std::uint32_t) override { return false; }
    bool IsJobEnded(std::uint32_t) override { return false; }
    bool SetJobError(std::uint32_t) override { return false; }
};

class PortListTest : public ::testing::Test {
  protected:
    std::shared_ptr<CPort> NewPort(const std::wstring& name) {
        CPortInfo info;
        info.PortName = name;
        info.ProtocolID = static_cast<std::uint32_t>(ProtocolId::kRaw);
        auto port = std::make_shared<CPort>(services_);
        EXPECT_TRUE(port->Initialize(info));
        return port;
    }
    void Insert(const std::wstring& name) { list_.AddPortToList(NewPort(name)); }
    std::vector<std::wstring> Names() const {
        std::vector<std::wstring> names;
        for (const _stPort& entry : *list_.Ports()) {
            names.push_back(entry.port->Name());
        }
        return names;
    }

    NoServices services_;
    CPortList list_;
};

TEST_F(PortListTest, IsEmptyAtFirst) {
    EXPECT_THAT(*list_.Ports(), IsEmpty());
    EXPECT_EQ(list_.FindPortIdByName(L"a"), 0xFFFFFFFFU);
    EXPECT_EQ(list_.FindPortByName(L"a"), nullptr);
    EXPECT_EQ(list_.FindPortById(1), nullptr);
    EXPECT_FALSE(list_.DeletePortById(1));
    list_.Clear();
}

TEST_F(PortListTest, IdsCountFromOneInTheOrderOfInsertion) {
    Insert(L"z");
    Insert(L"a");
    Insert(L"m");
    EXPECT_THAT(Names(), ElementsAre(L"z", L"a", L"m"));
    EXPECT_EQ(list_.FindPortIdByName(L"z"), 1U);
    EXPECT_EQ(list_.FindPortIdByName(L"a"), 2U);
    EXPECT_EQ(list_.FindPortIdByName(L"m"), 3U);
    EXPECT_EQ(list_.FindPortById(2)->Name(), L"a");
    EXPECT_EQ(list_.FindPortByName(L"m"), list_.FindPortById(3));
}

TEST_F(PortListTest, IdsAreNeverUsedAgain) {
    Insert(L"a");
    EXPECT_TRUE(list_.DeletePortById(1));
    Insert(L"a");
    EXPECT_EQ(list_.FindPortIdByName(L"a"), 2U);
    list_.Clear();
    Insert(L"a");
    EXPECT_EQ(list_.FindPortIdByName(L"a"), 3U);
    EXPECT_EQ(list_.FindPortById(1), nullptr);
    EXPECT_EQ(list_.FindPortById(2), nullptr);
}

TEST_F(PortListTest, NamesAreComparedExactly) {
    Insert(L"Port");
    for (const wchar_t* name : {L"port", L"PORT", L"Port ", L"Por", L"", L"Port1"}) {
        EXPECT_EQ(list_.FindPortIdByName(name), CPortList::kNoId) << name;
        EXPECT_EQ(list_.FindPortByName(name), nullptr) << name;
    }
    EXPECT_EQ(list_.FindPortIdByName(std::wstring(L"Port\0x", 6)), CPortList::kNoId);
    Insert(L"\x00E4");
    EXPECT_EQ(list_.FindPortIdByName(L"a\x0308"), CPortList::kNoId) << "code unit by code unit";
    EXPECT_EQ(list_.FindPortIdByName(L"\x00E4"), 2U);
}

TEST_F(PortListTest, FirstOfTwoPortsOfOneNameWins) {
    Insert(L"a");
    Insert(L"a");
    EXPECT_EQ(list_.FindPortIdByName(L"a"), 1U);
    EXPECT_TRUE(list_.DeletePortById(1));
    EXPECT_EQ(list_.FindPortIdByName(L"a"), 2U);
}

TEST_F(PortListTest, RemovalClosesTheGap) {
    for (const wchar_t* name : {L"a", L"b", L"c", L"d"}) {
        Insert(name);
    }
    EXPECT_TRUE(list_.DeletePortById(2));
    EXPECT_THAT(Names(), ElementsAre(L"a", L"c", L"d"));
    EXPECT_FALSE(list_.DeletePortById(2));
    EXPECT_TRUE(list_.DeletePortById(4));
    EXPECT_TRUE(list_.DeletePortById(1));
    EXPECT_THAT(Names(), ElementsAre(L"c"));
    EXPECT_EQ(list_.FindPortById(3)->Name(), L"c");
    for (const std::uint32_t id : {0U, 1U, 2U, 4U, 5U, 0xFFFFFFFFU}) {
        EXPECT_EQ(list_.FindPortById(id), nullptr) << id;
    }
}

TEST_F(PortListTest, ManyPortsAreInsertedAtOnce) {
    Insert(L"first");
    std::vector<std::shared_ptr<CPort>> ports{NewPort(L"b"), NewPort(L"a")};
    list_.AddPortsToList(std::move(ports));
    list_.AddPortsToList({});
    EXPECT_THAT(Names(), ElementsAre(L"first", L"b", L"a"));
    EXPECT_EQ(list_.FindPortIdByName(L"a"), 3U);
}

TEST_F(PortListTest, RemovedPortIsDestroyedAtOnce) {
    Insert(L"a");
    Insert(L"b");
    const std::weak_ptr<CPort> first = list_.FindPortById(1);
    const std::weak_ptr<CPort> second = list_.FindPortById(2);
    list_.DeletePortById(1);
    EXPECT_TRUE(first.expired());
    EXPECT_FALSE(second.expired());
    list_.Clear();
    EXPECT_TRUE(second.expired());
}

TEST_F(PortListTest, RemovedPortLivesWhileItIsUsed) {
    Insert(L"a");
    const std::shared_ptr<CPort> used = list_.FindPortById(1);
    const CPortList::Snapshot before = list_.Ports();
    list_.DeletePortById(1);
    EXPECT_EQ(used->Name(), L"a");
    EXPECT_EQ(before->size(), 1U) << "what was read once does not change";
    EXPECT_THAT(*list_.Ports(), IsEmpty());
}

TEST_F(PortListTest, NoChangeIsLostToAnother) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 5000;
    std::vector<std::shared_ptr<CPort>> kept;
    for (int thread = 0; thread < kThreads; ++thread) {
        kept.push_back(NewPort(L"kept " + std::to_wstring(thread)));
    }
    std::atomic<int> ready{0};  // a thread takes longer to start than to change the list often
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this, thread, &kept, &ready] {
            ++ready;
            while (ready < kThreads) {
                std::this_thread::yield();
            }
            const auto passing = std::make_shared<CPort>(services_);
            list_.AddPortToList(kept[static_cast<std::size_t>(thread)]);
            for (int round = 0; round < kRounds; ++round) {
                list_.AddPortToList(passing);
                const CPortList::Snapshot ports = list_.Ports();
                for (const _stPort& entry : *ports) {
                    if (entry.port == passing) {
                        list_.DeletePortById(entry.id);
                    }
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(Names(), UnorderedElementsAre(L"kept 0", L"kept 1", L"kept 2", L"kept 3"));
    const CPortList::Snapshot ports = list_.Ports();
    EXPECT_TRUE(std::is_sorted(
        ports->begin(), ports->end(),
        [](const _stPort& left, const _stPort& right) { return left.id < right.id; }));
    Insert(L"last");
    EXPECT_EQ(list_.FindPortIdByName(L"last"), std::uint32_t{kThreads * (kRounds + 1) + 1});
}

}  // namespace
}  // namespace ksp
