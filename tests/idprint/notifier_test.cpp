// The notifier program that the start of a job starts.

#include <windows.h>

#include <fstream>
#include <iterator>

#include "tests/idprint/id_print_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr wchar_t kNotifierKey[] = L"SOFTWARE\\TAVRIN\\PNOTIFY";
constexpr wchar_t kRelease[] = L"ksp_test_notifier_release";

// What a notifier that hangs waits for; it is told at the latest in the destructor.
class Release {
  public:
    Release() : event_(CreateEventW(nullptr, TRUE, FALSE, kRelease)) {}
    ~Release() {
        Tell();
        CloseHandle(event_);
    }
    Release(const Release&) = delete;
    Release& operator=(const Release&) = delete;

    void Tell() { SetEvent(event_); }

  private:
    HANDLE event_;
};

bool Exists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// False when the file does not come; only a program that hangs takes that long.
bool WaitForFile(const std::wstring& path) {
    constexpr int kAttempts = 3000;
    for (int i = 0; i < kAttempts && !Exists(path); ++i) {
        Sleep(20);
    }
    return Exists(path);
}

// As a text looks in a log, whose file is in the system's code page.
std::wstring AsLogged(const std::wstring& text) {
    const auto length = static_cast<int>(text.size());
    std::string narrow(text.size() * 4 + 1, '\0');
    narrow.resize(static_cast<size_t>(
        WideCharToMultiByte(CP_ACP, 0, text.data(), length, narrow.data(),
                            static_cast<int>(narrow.size()), nullptr, nullptr)));
    std::wstring wide(narrow.size() + 1, L'\0');
    wide.resize(static_cast<size_t>(
        MultiByteToWideChar(CP_ACP, 0, narrow.data(), static_cast<int>(narrow.size()), wide.data(),
                            static_cast<int>(wide.size()))));
    return wide;
}

std::wstring UserName() {
    wchar_t name[256] = {};
    DWORD length = 256;
    EXPECT_TRUE(GetUserNameW(name, &length));
    return name;
}

std::wstring ComputerName() {
    wchar_t name[256] = {};
    DWORD length = 256;
    EXPECT_TRUE(GetComputerNameW(name, &length));
    return name;
}

// The ordinary monitor with a raw port, unless a test says otherwise.
class NotifierTest : public IdPrintTest {
  protected:
    void SetUp() override {
        IdPrintTest::SetUp();
        SetMonitorType(1);
    }

    std::wstring report() const { return directory() + L"\\report"; }
    // The configured part of the command line.
    std::wstring Program(const std::wstring& mode) const {
        const std::wstring library = MonitorLibraryPath();
        return L"\"" + library.substr(0, library.find_last_of(L'\\') + 1) + L"notifier.exe\" " +
               mode + L" \"" + report() + L"\" " + kRelease;
    }
    void Configure(const std::wstring& command, const std::wstring& value = L"NAME") {
        ASSERT_LE(command.size(), 260U) << "more than a monitor reads";
        store().SetText(HKEY_LOCAL_MACHINE, kNotifierKey, value, command);
    }
    void StartPort(const std::wstring& port = L"Port", const std::wstring& printer = L"Printer") {
        StartRaw({}, 9100);
        AddRawPort(port, wide_address());
        ASSERT_TRUE(Start());
        QueueJob(port, printer);
    }
    // A whole job that goes well.
    void PrintJob(const std::wstring& port_name = L"Port",
                  const std::wstring& printer = L"Printer") {
        const HANDLE port = Open(port_name);
        ASSERT_NE(port, nullptr);
        EXPECT_TRUE(StartDoc(port, printer).result);
        EXPECT_TRUE(Write(port, {'d', 'a', 't', 'a'}).result);
        EXPECT_TRUE(EndDoc(port));
        EXPECT_TRUE(Close(port));
    }
    // The command line that the notifier was given.
    std::wstring Reported() const {
        if (!WaitForFile(report())) {
            return L"(no report)";
        }
        const std::wstring path = report();
        std::ifstream file(std::string(path.begin(), path.end()), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
        bytes.copy(reinterpret_cast<char*>(text.data()), bytes.size());
        return text;
    }
    void ExpectReported(const std::wstring& arguments) const {
        const std::wstring expected = Program(L"end") + L" " + arguments;
        EXPECT_EQ(Reported(), expected);
        EXPECT_EQ(CountLines(LineLevel::kInfo, AsLogged(expected)), 1U) << ReadLog().Describe();
    }
    static std::wstring UserAndComputer() {
        return L" /U \"" + UserName() + L"\" /C \"" + ComputerName() + L"\"";
    }
    // No line of a launch, and no failure of any kind.
    void ExpectNothingLaunched() const {
        EXPECT_THAT(LogNow(), Not(Contains(HasSubstr("/P"))));
        EXPECT_THAT(ReadLog().Messages(LineLevel::kError), IsEmpty());
        EXPECT_FALSE(Exists(report()));
    }
};

TEST_F(NotifierTest, WithoutAKeyNoneIsStarted) {
    StartPort();
    PrintJob();
    ExpectNothingLaunched();
}

TEST_F(NotifierTest, WithoutANameNoneIsStarted) {
    Configure(Program(L"end"), L"PROGRAM");
    Configure(Program(L"end"), L"Name");
    StartPort();
    PrintJob();
    ExpectNothingLaunched();
}

TEST_F(NotifierTest, AnyValueWithNameInItsNameIsOne) {
    Configure(L"no-such-program.exe", L"PROGRAM");
    Configure(Program(L"end"), L"THE_NAME_1");
    StartPort();
    PrintJob();
    ExpectReported(L"/P \"Printer\" /O \"Port\"" + UserAndComputer());
}

TEST_F(NotifierTest, EveryJobStartsOne) {
    Configure(Program(L"end"));
    StartPort();
    for (int job = 0; job < 2; ++job) {
        PrintJob();
        EXPECT_EQ(Reported(), Program(L"end") + L" /P \"Printer\" /O \"Port\"" + UserAndComputer());
        EXPECT_TRUE(DeleteFileW(report().c_str()));
    }
}

TEST_F(NotifierTest, TheIdPrintMonitorStartsItToo) {
    SetMonitorType(2);
    Configure(Program(L"end"));
    StartRawJob();
    PrintPieces({"data"});
    ExpectReported(L"/P \"Printer\" /O \"Port\"" + UserAndComputer());
    EXPECT_TRUE(SameText(Received(), HeaderBytes() + "data"));
}

struct Names {
    const char* name;
    std::wstring printer;
    std::wstring port;
    std::wstring arguments;

    friend void PrintTo(const Names& names, std::ostream* out) { *out << names.name; }
};

class NotifierNameTest : public NotifierTest, public ::testing::WithParamInterface<Names> {};

TEST_P(NotifierNameTest, ReachTheProgramAsTheyAre) {
    Configure(Program(L"end"));
    StartPort(GetParam().port, GetParam().printer);
    PrintJob(GetParam().port, GetParam().printer);
    ExpectReported(GetParam().arguments + UserAndComputer());
}

INSTANTIATE_TEST_SUITE_P(
    Names, NotifierNameTest,
    ::testing::Values(
        Names{"Blanks", L" two  words ", L"port 1", L"/P \" two  words \" /O \"port 1\""},
        Names{"Quote", L"The \"A\" 10", L"IP", L"/P<10> \"The \"A\" 10\" /O \"IP\""},
        Names{"QuotesOnly", L"\"\"", L"\"", L"/P<2> \"\"\"\" /O<1> \"\"\""},
        Names{"PortWithQuote", L"Printer", L"9\" port", L"/P \"Printer\" /O<7> \"9\" port\""},
        Names{"Backslashes", L"\\\\server\\printer\\", L"Port",
              L"/P \"\\\\server\\printer\\\" /O \"Port\""},
        Names{"PercentSigns", L"100%s %n%d", L"%x", L"/P \"100%s %n%d\" /O \"%x\""},
        Names{"BeyondAscii",
              L"Gr\xFC\xDF"
              L"e \x5370\x5237",
              L"\x30DD\x30FC\x30C8",
              L"/P \"Gr\xFC\xDF"
              L"e \x5370\x5237\" /O \"\x30DD\x30FC\x30C8\""},
        Names{"SurrogatePairs", L"\xD83D\xDDA8 1", L"\"\xD83D\xDDA8",  // a pair counts twice
              L"/P \"\xD83D\xDDA8 1\" /O<3> \"\"\xD83D\xDDA8\""},
        Names{"Empty", L"", L"Port", L"/P \"\" /O \"Port\""}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(NotifierTest, AProgramThatDoesNotExistIsLoggedAndNoMore) {
    Configure(L"no-such-program.exe -x");
    StartPort();
    PrintJob();
    const std::wstring line =
        L"no-such-program.exe -x /P \"Printer\" /O \"Port\"" + UserAndComputer();
    EXPECT_EQ(CountLines(LineLevel::kInfo, line), 1U);
    EXPECT_EQ(ReadLog().Messages(LineLevel::kError),
              std::vector<std::wstring>{L"CreateProcess failed."});
    EXPECT_EQ(Received(), "data");
}

TEST_F(NotifierTest, AFileThatIsNoProgramIsLoggedAndNoMore) {
    Configure(L"\"" + log_path() + L"\"");
    StartPort();
    PrintJob();
    EXPECT_EQ(ReadLog().Messages(LineLevel::kError),
              std::vector<std::wstring>{L"CreateProcess failed."});
    EXPECT_EQ(Received(), "data");
}

TEST_F(NotifierTest, AnEmptyCommandIsLoggedAndNoMore) {
    Configure(L"");
    StartPort();
    PrintJob();
    EXPECT_EQ(CountLines(LineLevel::kInfo, L" /P \"Printer\" /O \"Port\"" + UserAndComputer()), 1U);
    EXPECT_EQ(Received(), "data");
}

TEST_F(NotifierTest, AProgramThatFailsDoesNotMatter) {
    Configure(Program(L"fail"));
    StartPort();
    PrintJob();
    EXPECT_EQ(Reported(), Program(L"fail") + L" /P \"Printer\" /O \"Port\"" + UserAndComputer());
    EXPECT_THAT(ReadLog().Messages(LineLevel::kError), IsEmpty());
    EXPECT_EQ(Received(), "data");
}

TEST_F(NotifierTest, AProgramThatHangsIsNotWaitedFor) {
    Release release;
    Configure(Program(L"hang"));
    StartPort();
    PrintJob();
    EXPECT_EQ(Received(), "data");
    EXPECT_EQ(Reported(), Program(L"hang") + L" /P \"Printer\" /O \"Port\"" + UserAndComputer());
    Unload();
    // It is there through the whole job and beyond.
    EXPECT_FALSE(Exists(report() + L".end"));
    release.Tell();
    EXPECT_TRUE(WaitForFile(report() + L".end"));
}

TEST_F(NotifierTest, ItsHandlesAreGivenBackAtOnce) {
    Configure(Program(L"end"));
    StartPort();
    PrintJob();
    EXPECT_NE(Reported(), L"");
    const HandleCensus before = CountHandles();
    for (int job = 0; job < 5; ++job) {
        const HANDLE port = Open(L"Port");
        EXPECT_TRUE(StartDoc(port).result);
        EXPECT_TRUE(EndDoc(port));
        EXPECT_TRUE(Close(port));
    }
    HandleCensus more = NewHandles(before, CountHandles());
    EXPECT_EQ(more[L"Process"], 0U);
    EXPECT_EQ(more[L"Thread"], 0U);
}

}  // namespace
}  // namespace ksp::test
