#include "tests/host/warm_up.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/standins/loopback_socket.h"

namespace ksp::test {
namespace {

// With the library come system libraries that open a desktop, keys and more.
void LoadOnce(const std::wstring& path) {
    const HMODULE library = LoadLibraryW(path.c_str());
    if (library != nullptr) {
        FreeLibrary(library);
    }
}

// Names are resolved and a connection is waited for; Windows Sockets stays started.
void UseSockets() {
    WSADATA data = {};
    WSAStartup(MAKEWORD(1, 1), &data);
    char name[256] = {};
    gethostname(name, sizeof(name));
    gethostbyname(name);
    gethostbyname("localhost");

    const standins::Socket listener = standins::BindTo({"127.0.0.1", 0});
    listen(listener.get(), 1);
    const standins::Socket peer =
        standins::StartConnecting({"127.0.0.1", standins::BoundPort(listener)});
    standins::WaitUntilReady(peer, standins::Readiness::kWritable, 1000);
}

void OpenUsersRegistry() {
    HKEY user = nullptr;
    if (RegOpenCurrentUser(KEY_READ, &user) == ERROR_SUCCESS) {
        RegCloseKey(user);
    }
}

void WaitForAThread() {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    std::thread other([&] {
        const std::lock_guard lock(mutex);
        done = true;
        changed.notify_all();
    });
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return done; });
    }
    other.join();
}

// The runtime's lists of threads have locks, which cost an event from the first time that two
// threads meet at one.
void StartManyThreads() {
    constexpr int kStarters = 8;
    constexpr int kThreads = 100;
    std::vector<std::thread> starters;
    for (int starter = 0; starter < kStarters; ++starter) {
        starters.emplace_back([] {
            for (int thread = 0; thread < kThreads; ++thread) {
                std::thread([] {}).join();
            }
        });
    }
    for (std::thread& starter : starters) {
        starter.join();
    }
}

// GoogleTest starts a thread of its own at the first failed assertion; this one is thrown away.
void FailAnAssertion() {
    using Reporter = ::testing::ScopedFakeTestPartResultReporter;
    ::testing::TestPartResultArray thrown_away;
    const Reporter reporter(Reporter::INTERCEPT_ONLY_CURRENT_THREAD, &thrown_away);
    ADD_FAILURE();
}

}  // namespace

void WarmUp(const std::wstring& path) {
    static bool warm = false;
    if (warm) {
        return;
    }
    LoadOnce(path);
    UseSockets();
    OpenUsersRegistry();
    WaitForAThread();
    StartManyThreads();
    FailAnAssertion();
    warm = true;
}

}  // namespace ksp::test
