#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>

#include "tests/lpr/lpd_printer.h"
#include "tests/monitor/port_call_test.h"
#include "tests/reliability/log_check.h"
#include "tests/reliability/port_names.h"
#include "tests/reliability/test_hive.h"
#include "tests/reliability/xcv_client.h"

namespace ksp::test {

// The spooler is killed in the middle of something, and started again: every whole port is there
// and prints, the log consists of whole lines, and what was under way can be done anew. The killed
// spooler is the program death_child.
class DeathTest : public PortCallTest {
  protected:
    static constexpr DWORD kLpr = 0;
    static constexpr DWORD kXlpr = 1;
    static constexpr DWORD kRaw = 2;
    static constexpr DWORD kPatience = 120000;  // milliseconds; beyond this the child hangs
    static constexpr wchar_t kChanged[] = L"changed port";

    enum class Fate { kKilled, kEnded, kFailed };

    void SetUp() override {
        PortCallTest::SetUp();
        hive_name_ = L"kspmon-test death " + std::to_wstring(GetCurrentProcessId());
        raw_.emplace();
        lpd_.emplace(standins::LpdBehavior());
        ASSERT_TRUE(raw_->ready() && lpd_->ready());
    }
    void TearDown() override {
        Unload();
        hive_.reset();
        TestHive::Remove(hive_name_);
        raw_.reset();
        lpd_.reset();
        PortCallTest::TearDown();
    }

    // A registry with a raw, an LPR and an XLPR port, as an earlier life left it.
    void PrepareWorld(DWORD monitor_type = 1) {
        Unload();
        hive_.reset();
        TestHive::Remove(hive_name_);
        std::filesystem::remove(directory() + L"\\there");
        hive_.emplace(hive_name_);
        hive_->SetUpMonitor(directory(), monitor_type);
        hive_->AddPort(L"raw port", kRaw, raw_->wide_address());
        hive_->AddPort(L"lpr port", kLpr, lpd_->wide_address());
        hive_->AddPort(L"xlpr port", kXlpr, lpd_->wide_address());
    }
    bool IsThere() const { return std::filesystem::exists(directory() + L"\\there"); }

    // Runs the child until it is where it should die, and kills it there.
    Fate KillAt(const std::wstring& scenario, int moment, const std::function<bool()>& is_time) {
        const std::wstring library = MonitorLibraryPath();
        const std::wstring program =
            library.substr(0, library.find_last_of(L'\\') + 1) + L"death_child.exe";
        std::wstring command = L"\"" + program + L"\" \"" + scenario + L"\" " +
                               std::to_wstring(moment) + L" \"" + directory() + L"\" \"" +
                               hive_name_ + L"\" " + raw_->wide_address();
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process = {};
        if (!CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                            nullptr, &startup, &process))
            return Fate::kFailed;
        const ULONGLONG start = GetTickCount64();
        bool ended = false;
        while (!ended && !is_time() && GetTickCount64() - start < kPatience)
            ended = WaitForSingleObject(process.hProcess, 20) == WAIT_OBJECT_0;
        DWORD code = 0;
        GetExitCodeProcess(process.hProcess, &code);
        if (!ended) {
            TerminateProcess(process.hProcess, 1);
            WaitForSingleObject(process.hProcess, kPatience);
        }
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        constexpr DWORD kEndedWell = 42;
        if (ended)
            return code == kEndedWell ? Fate::kEnded : Fate::kFailed;
        if (!is_time())
            return Fate::kFailed;
        // script/reliability counts these lines.
        std::printf("death: in \"%s\", moment %d\n",
                    std::string(scenario.begin(), scenario.end()).c_str(), moment);
        return Fate::kKilled;
    }
    Fate KillAt(const std::wstring& scenario, int moment = 0) {
        return KillAt(scenario, moment, [this] { return IsThere(); });
    }

    // In a raw job, when the printer has so much of it.
    void KillBehind(const Bytes& half) {
        ASSERT_EQ(KillAt(L"half a job", 0,
                         [&] { return IsThere() && raw_->received().size() >= half.size(); }),
                  Fate::kKilled);
        ASSERT_TRUE(raw_->WaitForEndings(1)) << "the printer learns that the job has ended";
        const auto received = raw_->received();
        EXPECT_TRUE(SameBytes(half, Bytes(received.begin(), received.end())));
    }

    void Resurrect() {
        ASSERT_TRUE(HasWholeLines(log_path()));
        Live();
        EXPECT_TRUE(HasWholeLines(log_path()));
    }
    // The next life: the monitor starts, and every whole port is there and prints.
    void Live() {
        ASSERT_TRUE(library().Load(MonitorLibraryPath()));
        ASSERT_TRUE(library().Initialize(*hive_));
        spooler().PutPort(L"LPT1:");
        ExpectStoredPortsAreListed();
        XcvClient client(table(), monitor());
        XcvClient::Record record;
        EXPECT_EQ(client.GetPortConfig(L"raw port", record), 0u);
        EXPECT_EQ(XcvClient::AddressIn(record), raw_->wide_address());
        for (const wchar_t* port : {L"lpr port", L"xlpr port"}) {
            EXPECT_EQ(client.GetPortConfig(port, record), 0u);
            EXPECT_EQ(XcvClient::AddressIn(record), lpd_->wide_address());
        }
        ExpectRawPrints(L"raw port");
        ExpectDaemonPrints(L"lpr port");
        ExpectDaemonPrints(L"xlpr port");
    }
    void ExpectStoredPortsAreListed() {
        const PortNames stored = hive_->StoredPorts();
        EXPECT_GE(stored.size(), 3u);
        for (const DWORD level : {1u, 2u})
            EXPECT_EQ(EnumeratePorts(table(), monitor(), level), stored);
    }
    void ExpectRawPrints(const std::wstring& port) {
        const size_t before = raw_->connections().size();
        const Bytes document = Document(50'000, static_cast<unsigned>(before));
        EXPECT_TRUE(Print(QueueJob(port, L"queue of " + port), document).printed());
        ASSERT_TRUE(raw_->WaitForEndings(before + 1));
        EXPECT_TRUE(SameBytes(document, raw_->connections().back().received));
    }
    void ExpectDaemonPrints(const std::wstring& port) {
        const size_t before = lpd_->connections().size();
        const Bytes document = Document(50'000, static_cast<unsigned>(before));
        EXPECT_TRUE(Print(QueueJob(port, L"queue of " + port), document).printed());
        ASSERT_TRUE(lpd_->WaitForEndings(before + 1));
        const auto last = lpd_->connections().back();
        EXPECT_EQ(last.violation, "");
        EXPECT_TRUE(SameBytes(document, Bytes(last.data.begin(), last.data.end())));
    }
    // The change that was interrupted is made again, and then holds.
    void ExpectChangedPortCanBeAdded() {
        XcvClient client(table(), monitor());
        const DWORD code = client.AddPort(kChanged, kRaw, raw_->wide_address());
        EXPECT_TRUE(code == ERROR_SUCCESS || code == ERROR_ALREADY_EXISTS) << code;
        ExpectRawPrints(kChanged);
        Unload();
        ASSERT_TRUE(library().Load(MonitorLibraryPath()));
        ASSERT_TRUE(library().Initialize(*hive_));
        ExpectRawPrints(kChanged);
    }
    // Kills the child at each change that the scenario makes, until it makes no more; returns how
    // many there were.
    int KillAtEveryChange(const std::wstring& scenario, bool port_exists,
                          const std::function<void()>& look) {
        constexpr int kMost = 20;
        for (int moment = 1; moment <= kMost; ++moment) {
            SCOPED_TRACE("change " + std::to_string(moment));
            PrepareWorld();
            if (port_exists)
                hive_->AddPort(kChanged, kLpr, L"127.0.0.99");
            const Fate fate = KillAt(scenario, moment);
            EXPECT_NE(fate, Fate::kFailed);
            Resurrect();
            look();
            if (!HasFatalFailure())
                ExpectStoredPortsAreListed();
            if (HasFatalFailure() || fate != Fate::kKilled)
                return moment - 1;
        }
        return kMost;
    }

    std::optional<TestHive> hive_;
    std::wstring hive_name_;
    std::optional<standins::LoopbackPrinter> raw_;
    std::optional<standins::LpdPrinter> lpd_;
};

}  // namespace ksp::test
