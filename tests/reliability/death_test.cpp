// The spooler is killed in the middle of something, and started again: every whole port is there
// and prints, the log consists of whole lines, and what was under way can be done anew.

#include <filesystem>
#include <fstream>
#include <optional>

#include "tests/lpr/lpd_printer.h"
#include "tests/monitor/port_call_test.h"
#include "tests/reliability/log_check.h"
#include "tests/reliability/test_hive.h"
#include "tests/reliability/xcv_client.h"

namespace ksp::test {
namespace {

constexpr DWORD kLpr = 0;
constexpr DWORD kRaw = 2;

class DeathTest : public PortCallTest {
  protected:
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

    // A registry with a raw and an LPR port, as an earlier life left it.
    void PrepareWorld() {
        Unload();
        hive_.reset();
        TestHive::Remove(hive_name_);
        std::filesystem::remove(directory() + L"\\there");
        hive_.emplace(hive_name_);
        hive_->SetUpMonitor(directory());
        hive_->AddPort(L"raw port", kRaw, raw_->wide_address());
        hive_->AddPort(L"lpr port", kLpr, lpd_->wide_address());
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
        return !ended ? (is_time() ? Fate::kKilled : Fate::kFailed)
                      : (code == kEndedWell ? Fate::kEnded : Fate::kFailed);
    }
    Fate KillAt(const std::wstring& scenario, int moment = 0) {
        return KillAt(scenario, moment, [this] { return IsThere(); });
    }

    // The next life: the monitor starts, and every whole port is there and prints.
    void Resurrect() {
        ASSERT_TRUE(HasWholeLines(log_path()));
        ASSERT_TRUE(library().Load(MonitorLibraryPath()));
        ASSERT_TRUE(library().Initialize(*hive_));
        spooler().PutPort(L"LPT1:");
        XcvClient client(table(), monitor());
        XcvClient::Record record;
        EXPECT_EQ(client.GetPortConfig(L"raw port", record), 0u);
        EXPECT_EQ(XcvClient::AddressIn(record), raw_->wide_address());
        EXPECT_EQ(client.GetPortConfig(L"lpr port", record), 0u);
        EXPECT_EQ(XcvClient::AddressIn(record), lpd_->wide_address());
        ExpectRawPrints(L"raw port");
        ExpectLprPrints();
    }
    void ExpectRawPrints(const std::wstring& port) {
        const size_t before = raw_->connections().size();
        const Bytes document = Document(50'000, static_cast<unsigned>(before));
        EXPECT_TRUE(Print(QueueJob(port, L"queue of " + port), document).printed());
        ASSERT_TRUE(raw_->WaitForEndings(before + 1));
        EXPECT_TRUE(SameBytes(document, raw_->connections().back().received));
    }
    void ExpectLprPrints() {
        const size_t before = lpd_->connections().size();
        const Bytes document = Document(50'000, static_cast<unsigned>(before));
        EXPECT_TRUE(Print(QueueJob(L"lpr port", L"queue of lpr port"), document).printed());
        ASSERT_TRUE(lpd_->WaitForEndings(before + 1));
        const auto last = lpd_->connections().back();
        EXPECT_TRUE(last.has_whole_data);
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

// The key, and seven values.
TEST_F(DeathTest, InAddPort) {
    EXPECT_EQ(KillAtEveryChange(L"add", false, [this] { ExpectChangedPortCanBeAdded(); }), 8);
}

TEST_F(DeathTest, InAddPortOfAPortThatThereIs) {
    EXPECT_EQ(KillAtEveryChange(L"add again", true, [this] { ExpectChangedPortCanBeAdded(); }), 7);
}

// Each value of the port is the one before or the new one.
TEST_F(DeathTest, InConfigurePort) {
    const auto look = [this] {
        XcvClient client(table(), monitor());
        XcvClient::Record record;
        ASSERT_EQ(client.GetPortConfig(kChanged, record), 0u);
        const DWORD protocol = XcvClient::ProtocolIn(record);
        const std::wstring address = XcvClient::AddressIn(record);
        EXPECT_TRUE(protocol == kLpr || protocol == kRaw);
        EXPECT_TRUE(address == L"127.0.0.99" || address == raw_->wide_address());
        XcvClient::SetProtocol(record, kRaw);
        XcvClient::SetAddress(record, raw_->wide_address());
        EXPECT_EQ(client.ConfigurePort(record), 0u);
        ExpectRawPrints(kChanged);
    };
    EXPECT_EQ(KillAtEveryChange(L"configure", true, look), 3);
}

TEST_F(DeathTest, InDeletePort) {
    int lives = 0;
    const auto look = [this, &lives] {
        // The key was not deleted any more, or is gone.
        XcvClient client(table(), monitor());
        EXPECT_EQ(client.IsKspPort(kChanged), lives++ == 0);
        ExpectChangedPortCanBeAdded();
    };
    EXPECT_EQ(KillAtEveryChange(L"delete", true, look), 1);
}

TEST_F(DeathTest, InARawJob) {
    PrepareWorld();
    ASSERT_EQ(KillAt(L"half a job"), Fate::kKilled);
    ASSERT_TRUE(raw_->WaitForEndings(1)) << "the printer learns that the job has ended";
    EXPECT_LE(raw_->received().size(), 300'000u);
    Resurrect();
}

// Job numbers begin anew with every life, so the next job comes to the file that was left.
TEST_F(DeathTest, InASpooledJob) {
    PrepareWorld();
    ASSERT_EQ(KillAt(L"half a spooled job"), Fate::kKilled);
    EXPECT_EQ(std::filesystem::file_size(directory() + L"\\ksp000"), 300'000u);
    Resurrect();
    EXPECT_EQ(lpd_->connections().size(), 1u) << "of the former life nothing is delivered";
    EXPECT_EQ(std::filesystem::file_size(directory() + L"\\ksp000"), 50'000u);
}

TEST_F(DeathTest, InTheDeliveryOfASpooledJob) {
    standins::LpdBehavior slow;
    slow.answers[standins::LpdStep::kDataCommand].is_held = true;
    lpd_.emplace(slow);
    ASSERT_TRUE(lpd_->ready());
    PrepareWorld();
    ASSERT_EQ(KillAt(L"delivery", 0,
                     [this] {
                         return lpd_->connections().size() == 1 &&
                                lpd_->connections()[0].commands.size() == 3;
                     }),
              Fate::kKilled);
    ASSERT_TRUE(std::filesystem::exists(directory() + L"\\ksp000"));
    lpd_->ReleaseAnswers();
    ASSERT_TRUE(lpd_->WaitForEndings(1));
    EXPECT_FALSE(lpd_->connections()[0].has_whole_data);
    Resurrect();
}

class DeathOfTheLogTest : public DeathTest {
  protected:
    static constexpr size_t kFull = size_t{1024} * 1024;

    // A log to which so many bytes are missing.
    void FillLog(size_t missing) const {
        const std::string line =
            "[11/21/26: 18:06:36 PID(32) TID(36)] TRACE    a line of a former life\r\n";
        std::ofstream file(std::filesystem::path(log_path()), std::ios::binary);
        for (size_t size = 0; size + missing < kFull; size += line.size())
            file << line;
    }
    size_t SizeOf(const wchar_t* name) const {
        std::error_code error;
        const auto size = std::filesystem::file_size(directory() + L"\\" + name, error);
        return error ? 0 : static_cast<size_t>(size);
    }
};

// Before its index is stored, and behind that; nothing is copied yet.
TEST_F(DeathOfTheLogTest, InARotation) {
    for (const int moment : {1, 2}) {
        SCOPED_TRACE("moment " + std::to_string(moment));
        PrepareWorld();
        for (const wchar_t* name : {L"log1.txt", L"log2.txt"})
            std::filesystem::remove(directory() + L"\\" + name);
        FillLog(0);
        ASSERT_EQ(KillAt(L"rotate", moment), Fate::kKilled);
        EXPECT_GE(SizeOf(L"log.txt"), kFull) << "nothing is lost";
        Resurrect();
        EXPECT_GE(SizeOf(moment == 1 ? L"log1.txt" : L"log2.txt"), kFull);
        EXPECT_LT(SizeOf(L"log.txt"), kFull);
        ExpectWholeLogs(directory());
        if (HasFatalFailure())
            return;
    }
}

// At any moment, many of them around a rotation.
TEST_F(DeathOfTheLogTest, WhileThreadsLog) {
    for (DWORD round = 0; round < 6; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        PrepareWorld();
        FillLog(size_t{2000} * (1 + round));
        ASSERT_EQ(KillAt(L"log", 0,
                         [this, round] {
                             if (!IsThere())
                                 return false;
                             Sleep(20 * round);
                             return true;
                         }),
                  Fate::kKilled);
        // A backup whose copying was cut short ends anywhere; its text is in the log then.
        for (const wchar_t* backup : {L"log1.txt", L"log2.txt", L"log3.txt"})
            EXPECT_TRUE(HasWholeLines(directory() + L"\\" + backup) || SizeOf(L"log.txt") >= kFull);
        Resurrect();
        if (HasFatalFailure())
            return;
    }
}

}  // namespace
}  // namespace ksp::test
