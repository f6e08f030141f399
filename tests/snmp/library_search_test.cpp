// Searches of networks on the loopback.

// These three in this order.
#include <winsock2.h>
#include <ws2tcpip.h>
#include <iphlpapi.h>

#include <chrono>
#include <thread>

#include "tests/host/patched_import.h"
#include "tests/snmp/bytes.h"
#include "tests/snmp/library_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

// What a search called back with. Waits no longer than half a minute.
class Witness {
  public:
    struct Callback {
        DeviceHandle device;
        int code;
        DWORD thread;
    };

    static void Receive(DeviceHandle device, int code, void* context) {
        static_cast<Witness*>(context)->Note({device, code, ::GetCurrentThreadId()});
    }
    // Runs in each callback; before the search.
    void set_action(std::function<void(const Callback&)> action) { action_ = std::move(action); }

    [[nodiscard]] bool WaitFor(std::size_t count) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30),
                                 [&] { return callbacks_.size() >= count; });
    }
    [[nodiscard]] std::vector<Callback> callbacks() {
        const std::lock_guard lock(mutex_);
        return callbacks_;
    }
    [[nodiscard]] std::vector<int> codes() {
        std::vector<int> codes;
        for (const Callback& callback : callbacks()) {
            codes.push_back(callback.code);
        }
        return codes;
    }

  private:
    void Note(const Callback& callback) {
        if (action_) {
            action_(callback);
        }
        {
            const std::lock_guard lock(mutex_);
            callbacks_.push_back(callback);
        }
        changed_.notify_all();
    }

    std::function<void(const Callback&)> action_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Callback> callbacks_;
};

// For a device to be asked everything, in milliseconds: silent hosts of a network that this
// computer is in may hold the questions up for seconds.
constexpr unsigned kLongEnough = 8000;

class LibrarySearchTest : public SnmpLibraryTest {
  protected:
    // "127.0.5.7" is in the network "127.0.5.0;255.255.255.0".
    static std::string NetworkOf(const std::string& address) {
        return "<Address networkAddress=\"" + address.substr(0, address.find_last_of('.')) +
               ".0\" subnetMask=\"255.255.255.0\" />";
    }
    static std::string Mode(const std::string& networks, unsigned timeout, unsigned retry = 1) {
        return "<ProbeMode><Mode Type=\"IP\" OverRouter=\"TRUE\" MergeNotification=\"FALSE\">"
               "<SubnetAddressList>" +
               networks +
               "</SubnetAddressList></Mode><Protocol p=\"KSPC\" ip=\"IPv4\" /><TimeOut>" +
               std::to_string(timeout) + "</TimeOut><Retry>" + std::to_string(retry) +
               "</Retry><RetryInterval>200</RetryInterval></ProbeMode>";
    }
    [[nodiscard]] bool Start(void* stream, const std::string& mode, Witness& witness) {
        EXPECT_EQ(library_.KSSetProbeMode(stream, mode.c_str()), 0);
        return library_.KSProbe(stream, Witness::Receive, &witness, nullptr) != 0;
    }
    // Waits until the thread of the search is gone.
    void AwaitEnd(size_t threads) {
        for (int attempt = 0; attempt < 3000 && CountThreads() > threads; ++attempt) {
            ::Sleep(10);
        }
        ASSERT_LE(CountThreads(), threads);
    }
};

TEST_F(LibrarySearchTest, EachDeviceIsCalledBackOnce) {
    AgentResponder first;
    AgentResponder second(first.port());
    ASSERT_TRUE(first.ready());
    ASSERT_TRUE(second.ready());
    first.BePrinter("first", "0026AB000001");
    second.BePrinter("second", "0026AB000002");
    // Answers everything twice.
    second.SetTwist([](const AgentRequest&, const snmp::Bytes& answer) {
        return AgentResponder::Datagrams{answer, answer};
    });
    void* const stream = BeginStream(first);
    std::vector<std::string> documents;
    Witness witness;
    witness.set_action([&](const Witness::Callback& callback) {
        if (callback.code == 0) {
            documents.push_back(Capability(stream, callback.device));
        }
    });
    const size_t threads = CountThreads();
    ASSERT_TRUE(Start(stream,
                      Mode(NetworkOf(first.address()) + NetworkOf(second.address()), kLongEnough),
                      witness));
    AwaitEnd(threads);
    std::vector<std::string> found;
    for (const std::string& document : documents) {
        found.push_back(ElementText(document, "IPV4_Address") + " " +
                        ElementText(document, "MAC_Address") + " " +
                        ElementText(document, "Device_Name"));
    }
    EXPECT_THAT(found, UnorderedElementsAre(first.address() + " 0026AB000001 first",
                                            second.address() + " 0026AB000002 second"));
    for (const Witness::Callback& callback : witness.callbacks()) {
        EXPECT_EQ(callback.code, 0);
        EXPECT_NE(callback.thread, ::GetCurrentThreadId());
        EXPECT_NE(Capability(stream, callback.device), "") << "good until the next search";
    }
    EndStream(stream);
}

TEST_F(LibrarySearchTest, ADeviceIsAskedWhoItIsBeforeItIsCalledBack) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    std::size_t requests = 0;
    Witness witness;
    witness.set_action([&](const Witness::Callback& callback) {
        requests = agent.requests().size();
        Capability(stream, callback.device);
    });
    ASSERT_TRUE(Start(stream, Mode(NetworkOf(agent.address()), 20000), witness));
    ASSERT_TRUE(witness.WaitFor(1));
    EXPECT_EQ(library_.KSStopProbe(stream), 0);
    EXPECT_EQ(agent.requests().size(), requests) << "the document costs no questions any more";
    EndStream(stream);
}

TEST_F(LibrarySearchTest, AgentsOfVersion1AreFoundToo) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    agent.SpeakOnly(snmp::SnmpVersion::k1);
    void* const stream = BeginStream(agent);
    Witness witness;
    ASSERT_TRUE(Start(stream, Mode(NetworkOf(agent.address()), 20000), witness));
    EXPECT_TRUE(witness.WaitFor(1));
    EndStream(stream);
}

TEST_F(LibrarySearchTest, StopEndsItAtOnceAndNothingComesAfterwards) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    const size_t threads = CountThreads();
    for (int round = 0; round < 20; ++round) {
        Witness witness;
        ASSERT_TRUE(Start(stream, Mode(NetworkOf(agent.address()), 3600'000), witness));
        ::Sleep(static_cast<DWORD>(round * 3));
        EXPECT_EQ(library_.KSStopProbe(stream), 0);
        EXPECT_LE(CountThreads(), threads);
        const std::size_t count = witness.callbacks().size();
        ::Sleep(20);
        EXPECT_EQ(witness.callbacks().size(), count);
    }
    EXPECT_EQ(library_.KSStopProbe(stream), 0) << "when none runs";
    EndStream(stream);
}

TEST_F(LibrarySearchTest, StopWaitsForTheCallbackThatRuns) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    std::atomic<bool> entered = false;
    std::atomic<bool> left = false;
    Witness witness;
    witness.set_action([&](const Witness::Callback&) {
        entered = true;
        ::Sleep(300);
        left = true;
    });
    ASSERT_TRUE(Start(stream, Mode(NetworkOf(agent.address()), 20000), witness));
    for (int attempt = 0; attempt < 3000 && !entered; ++attempt) {
        ::Sleep(5);
    }
    ASSERT_TRUE(entered);
    EXPECT_EQ(library_.KSStopProbe(stream), 0);
    EXPECT_TRUE(left);
    EndStream(stream);
}

// The callback is the last one then, and the stream can be used or given up from anywhere.
TEST_F(LibrarySearchTest, ACallbackMayStopTheSearchItself) {
    AgentResponder first;
    AgentResponder second(first.port());
    first.BePrinter("first", "0026AB000001");
    second.BePrinter("second", "0026AB000002");
    void* const stream = BeginStream(first);
    const std::string mode = Mode(NetworkOf(first.address()) + NetworkOf(second.address()), 20000);
    Witness witness;
    int started = -1;
    witness.set_action([&](const Witness::Callback&) {
        EXPECT_EQ(library_.KSStopProbe(stream), 0);
        started = library_.KSProbe(stream, Witness::Receive, &witness, nullptr);
    });
    const size_t threads = CountThreads();
    ASSERT_TRUE(Start(stream, mode, witness));
    AwaitEnd(threads);
    EXPECT_THAT(witness.codes(), ElementsAre(0));
    EXPECT_EQ(started, 0) << "the search that calls back still runs";
    Witness again;
    ASSERT_TRUE(Start(stream, mode, again));
    EXPECT_TRUE(again.WaitFor(2));
    EndStream(stream);
}

TEST_F(LibrarySearchTest, ACallbackMayGiveTheStreamUp) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    Witness witness;
    witness.set_action([&](const Witness::Callback&) {
        EXPECT_EQ(library_.KSTerminate(stream), 0);
        EXPECT_EQ(library_.KSDeleteStream(stream), 0);
    });
    const size_t threads = CountThreads();
    ASSERT_TRUE(Start(stream, Mode(NetworkOf(agent.address()), 20000), witness));
    AwaitEnd(threads);
    EXPECT_THAT(witness.codes(), ElementsAre(0));
}

TEST_F(LibrarySearchTest, OneSearchAtATimeOnAStream) {
    AgentResponder agent;
    void* const stream = BeginStream(agent);
    Witness witness;
    ASSERT_TRUE(Start(stream, Mode(NetworkOf(agent.address()), 20000), witness));
    EXPECT_EQ(library_.KSProbe(stream, Witness::Receive, &witness, nullptr), 0);
    EXPECT_EQ(library_.KSStopProbe(stream), 0);
    EXPECT_NE(library_.KSProbe(stream, Witness::Receive, &witness, nullptr), 0);
    EndStream(stream);
}

TEST_F(LibrarySearchTest, StreamsSearchIndependently) {
    AgentResponder first;
    AgentResponder second;
    first.BePrinter("first", "0026AB000001");
    second.BePrinter("second", "0026AB000002");
    void* const streams[] = {BeginStream(first), BeginStream(second)};
    const std::string mode = Mode(NetworkOf(first.address()) + NetworkOf(second.address()), 20000);
    Witness witnesses[2];
    ASSERT_TRUE(Start(streams[0], mode, witnesses[0]));
    ASSERT_TRUE(Start(streams[1], mode, witnesses[1]));
    EXPECT_TRUE(witnesses[0].WaitFor(1));
    EndStream(streams[0]);
    EXPECT_TRUE(witnesses[1].WaitFor(1));
    EXPECT_EQ(Capability(streams[1], witnesses[0].callbacks()[0].device), "");
    EndStream(streams[1]);
}

TEST_F(LibrarySearchTest, ALargeNetworkIsSearchedInPartAndThatIsTold) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    Witness witness;
    ASSERT_TRUE(Start(
        stream,
        Mode("<Address networkAddress=\"" + agent.address() + "\" subnetMask=\"255.255.0.0\" />",
             20000),
        witness));
    ASSERT_TRUE(witness.WaitFor(2));
    EXPECT_EQ(witness.callbacks()[0].device, 0);
    EXPECT_THAT(witness.codes(), ElementsAre(-2, 0));
    EndStream(stream);
}

// The loopback counts as a local segment only when the registry says so. What other networks this
// computer is in, nobody answers there at that port.
TEST_F(LibrarySearchTest, TheLoopbackIsSearchedWhenTheRegistrySaysSo) {
    const std::string address = "127.0.14." + std::to_string(::GetCurrentProcessId() % 250 + 1);
    AgentResponder agent(address, 0);
    ASSERT_TRUE(agent.ready());
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream({.port = agent.port(), .search_loopback = 1});
    Witness witness;
    witness.set_action([&](const Witness::Callback& callback) {
        if (callback.code == 0) {
            EXPECT_EQ(ElementText(Capability(stream, callback.device), "IPV4_Address"), address);
        }
    });
    ASSERT_TRUE(Start(stream, Mode("", 20000), witness));
    EXPECT_TRUE(witness.WaitFor(2));
    EXPECT_THAT(witness.codes(), Contains(0));
    EXPECT_THAT(witness.codes(), Contains(-2)) << "127.0.0.0/8 is large";
    EndStream(stream);

    void* const other = BeginStream(agent);
    Witness nobody;
    const size_t threads = CountThreads();
    ASSERT_TRUE(Start(other, Mode("", 600, 0), nobody));
    AwaitEnd(threads);
    EXPECT_THAT(nobody.codes(), ::testing::Not(Contains(0)));
    EndStream(other);
}

TEST_F(LibrarySearchTest, TheNextSearchEndsWhatIsAskedOfTheDevicesOfTheLast) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    const std::string mode = Mode(NetworkOf(agent.address()), 20000, 0);
    Witness witness;
    ASSERT_TRUE(Start(stream, mode, witness));
    ASSERT_TRUE(witness.WaitFor(1));
    EXPECT_EQ(library_.KSStopProbe(stream), 0);
    agent.SetTwist(
        [](const AgentRequest&, const snmp::Bytes&) { return AgentResponder::Datagrams{}; });
    const std::size_t before = agent.requests().size();
    int result = 0;
    std::thread asking(
        [&] { result = Send(stream, witness.callbacks()[0].device, MibRequest("1.3.6")).result; });
    for (int attempt = 0; attempt < 1000 && agent.requests().size() == before; ++attempt) {
        ::Sleep(10);
    }
    Witness again;
    EXPECT_TRUE(Start(stream, mode, again));
    asking.join();
    EXPECT_EQ(result, -4);
    EndStream(stream);
}

TEST_F(LibrarySearchTest, WithoutIPv4ThereIsNothingToSearch) {
    AgentResponder agent;
    void* const stream = BeginStream(agent);
    Witness witness;
    EXPECT_FALSE(
        Start(stream, "<ProbeMode><Protocol p=\"KSPC\" ip=\"IPv6\" /></ProbeMode>", witness));
    EndStream(stream);
}

TEST_F(LibrarySearchTest, AComputerWithoutANetworkHasNothingToSearchAndThatIsTold) {
    const PatchedImport<decltype(&::GetAdaptersAddresses)> patch(
        "GetAdaptersAddresses",
        [](ULONG, ULONG, void*, IP_ADAPTER_ADDRESSES*, ULONG*) -> ULONG { return ERROR_NO_DATA; },
        module_);
    ASSERT_TRUE(patch.works());
    void* const stream = BeginStream(RegistrySettings());
    Witness witness;
    ASSERT_TRUE(Start(stream, Mode("", 1000), witness));
    EXPECT_TRUE(witness.WaitFor(1));
    EXPECT_THAT(witness.codes(), ElementsAre(-3));
    EndStream(stream);
}

// Freed in the middle of a search, the library stays until the search is over.
TEST_F(LibrarySearchTest, FreeingTheLibraryDoesNotPullItAwayFromASearch) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    Witness witness;
    const size_t threads = CountThreads();
    ASSERT_TRUE(Start(stream, Mode(NetworkOf(agent.address()), 1000), witness));
    Free();
    EXPECT_TRUE(witness.WaitFor(1));
    AwaitEnd(threads);
    EXPECT_EQ(::GetModuleHandleW(L"KSSTRMAPIe.dll"), nullptr);
}

TEST_F(LibrarySearchTest, DevicesThatAnswerRubbishAreNone) {
    AgentResponder rubbish;
    AgentResponder agent(rubbish.port());
    rubbish.SetTwist([](AgentRequest request, const snmp::Bytes&) {
        ++request.id;
        return AgentResponder::Datagrams{MakeResponse(request, request.question.id, Hex("0400")),
                                         snmp::Bytes(60000, 0x30), snmp::Bytes(1, 0x30)};
    });
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    Witness witness;
    const size_t threads = CountThreads();
    ASSERT_TRUE(Start(stream,
                      Mode(NetworkOf(rubbish.address()) + NetworkOf(agent.address()), kLongEnough),
                      witness));
    AwaitEnd(threads);
    EXPECT_THAT(witness.codes(), ElementsAre(0));
    EXPECT_FALSE(rubbish.requests().empty());
    EndStream(stream);
}

}  // namespace
}  // namespace ksp::test
