// How the monitor gets at the discovery library: which file, which exports, and what it does
// without them.

#include <cstdio>
#include <optional>

#include "tests/discovery/looked_up_exports.h"
#include "tests/discovery/monitor_discovery_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::vector<uint8_t> kDocument = {'d', 'o', 'c', 'u', 'm', 'e', 'n', 't'};

std::vector<std::string> ExportsUpTo(int last) {
    std::vector<std::string> names;
    for (int number = 0; number <= last; ++number) {
        names.emplace_back(ExportName(static_cast<DiscoveryFunction>(number)));
    }
    return names;
}

// A printer that is tracked by its MAC address, so that a job needs the library.
class MonitorBindingTest : public MonitorDiscoveryTest {
  protected:
    void SetUp() override {
        MonitorDiscoveryTest::SetUp();
        printer_.emplace();
        ASSERT_TRUE(printer_->ready());
    }
    void TearDown() override {
        Unload();
        printer_.reset();
        MonitorDiscoveryTest::TearDown();
    }
    // Its name text leads to it as well: a monitor that went by that without the library would
    // print.
    void AddPrinter() {
        discovery_.AddDevice({.address = printer_->address(), .mac = kNarrowMac});
        AddPortKey({.name = L"Port",
                    .PrinterAddress = printer_->wide_address(),
                    .PrinterAddressType = 4,
                    .IpAddress = printer_->wide_address(),
                    .MacAddress = kMac});
    }
    // A job that is given up at the first refusal.
    host::JobOutcome PrintOnce() {
        return Print(QueueJob(L"Port"), kDocument, {.max_refusals = 1});
    }
    void ExpectPrinted() {
        EXPECT_TRUE(PrintOnce().printed()) << ReadLog().Describe();
        EXPECT_TRUE(printer_->WaitForEndings(1));
        EXPECT_EQ(printer_->received(), kDocument);
    }
    // The messages of the binding and the wrapper.
    std::vector<std::wstring> OryxErrors() const {
        std::vector<std::wstring> errors = ReadLog().Messages(LineLevel::kError);
        std::erase_if(errors, [](const std::wstring& error) {
            return error.find(L"Oryx") == std::wstring::npos;
        });
        return errors;
    }

    std::optional<standins::LoopbackPrinter> printer_;
};

TEST_F(MonitorBindingTest, TheDirectoryIsGoodWithAndWithoutABackslash) {
    for (const std::wstring end : {L"", L"\\"}) {
        SetSetting(L"ExeDirectory", DiscoveryControl::FullDirectory() + end);
        AddPrinter();
        ASSERT_TRUE(Start());
        EXPECT_TRUE(PrintOnce().printed()) << ReadLog().Describe();
        Unload();
    }
    EXPECT_TRUE(printer_->WaitForEndings(2));
}

TEST_F(MonitorBindingTest, WithoutADirectoryTheMonitorDoesNotStart) {
    store().RemoveValue(HKEY_LOCAL_MACHINE, software_key(), L"ExeDirectory");
    EXPECT_TRUE(StartExpectingFailure());
    EXPECT_TRUE(ReadLog().ContainsLine(LineLevel::kTrace, L"Failed GetExeDirectory()"));
    EXPECT_THAT(ReadLog().Messages(LineLevel::kError), IsEmpty());
}

TEST_F(MonitorBindingTest, WithAnEmptyDirectoryTheMonitorDoesNotStart) {
    SetSetting(L"ExeDirectory", std::wstring());
    EXPECT_TRUE(StartExpectingFailure());
    EXPECT_TRUE(ReadLog().ContainsLine(LineLevel::kTrace, L"Failed GetExeDirectory()"));
}

TEST_F(MonitorBindingTest, TheLibraryIsNotLoadedBeforeItIsNeeded) {
    SetSetting(L"ExeDirectory", std::wstring(L"C:\\no such directory"));
    AddPortKey({.name = L"Port",
                .PrinterAddress = printer_->wide_address(),
                .IpAddress = printer_->wide_address()});
    ASSERT_TRUE(Start());
    ExpectPrinted();
    EXPECT_THAT(OryxErrors(), IsEmpty());
}

TEST_F(MonitorBindingTest, TheExportsAreLookedUpInTheirOrder) {
    AddPrinter();
    ASSERT_TRUE(Start());
    const LookedUpExports exports(library().module());
    ASSERT_TRUE(exports.ready());
    ExpectPrinted();
    EXPECT_EQ(exports.names(), ExportsUpTo(DiscoveryExportCount - 1));
}

TEST_F(MonitorBindingTest, AWrapperThatStartsLooksThemUpAgain) {
    AddPrinter();
    ASSERT_TRUE(Start());
    EXPECT_TRUE(PrintOnce().printed());
    const LookedUpExports exports(library().module());
    EXPECT_TRUE(PrintOnce().printed());
    EXPECT_EQ(exports.names(), ExportsUpTo(DiscoveryExportCount - 1));
}

// --- Builds that lack an export

class MissingExportTest : public MonitorBindingTest,
                          public ::testing::WithParamInterface<DiscoveryFunction> {
  protected:
    void SetUp() override {
        MonitorBindingTest::SetUp();
        UseBuild(DiscoveryControl::DirectoryWithout(GetParam()));
        AddPrinter();
    }
};

class NeededExportTest : public MissingExportTest {};

TEST_P(NeededExportTest, IsNamedAndTheLibraryIsNotReady) {
    ASSERT_TRUE(Start());
    const LookedUpExports exports(library().module());
    EXPECT_EQ(PrintOnce().failed_step, host::JobStep::kWritePort);
    const std::string name = ExportName(GetParam());
    EXPECT_THAT(OryxErrors(),
                ElementsAre(L"COryxDLL::LoadFunctions failed GetProcAddress(" +
                                std::wstring(name.begin(), name.end()) + L")",
                            L"Oryx dll is not ready to use", L"Failed Initialized Oryx."));
    EXPECT_EQ(exports.names(), ExportsUpTo(GetParam())) << "none is looked up after it";
    EXPECT_THAT(discovery_.Calls(), IsEmpty());
    EXPECT_THAT(printer_->connections(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    All, NeededExportTest,
    ::testing::Values(DiscoveryCreateStream, DiscoveryInitialize, DiscoverySetProbeMode,
                      DiscoveryProbe, DiscoveryStopProbe, DiscoveryGetDeviceCapability,
                      DiscoveryDeleteBuffer, DiscoveryTerminate, DiscoveryDeleteStream,
                      DiscoveryGetRecvStatus, DiscoverySendRecvStream, DiscoveryRecvCancel,
                      DiscoveryCreateDeviceHandle, DiscoveryDeleteDeviceHandle,
                      DiscoveryCreateMIMEUtil, DiscoveryDeleteMIMEUtil, DiscoveryMIMEEncode,
                      DiscoveryMIMEDecode, DiscoveryMIMESplitData, DiscoveryMIMEGetData,
                      DiscoveryMIMEDeleteBuffer),
    [](const auto& test) { return ExportName(test.param); });

class OptionalExportTest : public MissingExportTest {};

TEST_P(OptionalExportTest, IsNotMissed) {
    ASSERT_TRUE(Start());
    const LookedUpExports exports(library().module());
    ExpectPrinted();
    EXPECT_THAT(OryxErrors(), IsEmpty());
    EXPECT_EQ(exports.names(), ExportsUpTo(DiscoveryExportCount - 1));
    EXPECT_THAT(discovery_.Calls(DiscoveryCreateStream), ::testing::SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(All, OptionalExportTest,
                         ::testing::Values(DiscoverySendStream, DiscoveryRecvStream),
                         [](const auto& test) { return ExportName(test.param); });

// --- A file that is not there, or is no library

class LibraryFileTest : public MonitorBindingTest {
  protected:
    void SetUp() override {
        MonitorBindingTest::SetUp();
        AddPrinter();
        SetSetting(L"ExeDirectory", directory());
    }
    void TearDown() override {
        Unload();
        if (copy_) {
            EXPECT_EQ(copy_->Leftovers(), "");
            copy_.reset();
        }
        // The monitor keeps the library; this process gives it up, so that its file can go. It
        // holds the monitor's reference and the control's.
        for (int reference = 0; reference < 2; ++reference) {
            if (const HMODULE loaded = ::GetModuleHandleW(File().c_str())) {
                ::FreeLibrary(loaded);
            }
        }
        MonitorBindingTest::TearDown();
    }
    std::wstring File() const { return directory() + L"\\KSSTRMAPIe.dll"; }
    void WriteText(const char* text) {
        std::FILE* file = ::_wfopen(File().c_str(), L"wb");
        ASSERT_NE(file, nullptr);
        std::fputs(text, file);
        std::fclose(file);
    }
    // The library with its device: the copy is a library of its own.
    void PutLibrary() {
        ASSERT_TRUE(::CopyFileW((DiscoveryControl::FullDirectory() + L"\\KSSTRMAPIe.dll").c_str(),
                                File().c_str(), FALSE));
        copy_.emplace();
        ASSERT_TRUE(copy_->Connect(directory()));
        copy_->Reset();
        copy_->AddDevice({.address = printer_->address(), .mac = kNarrowMac});
    }
    // A job that waits: its library comes after some refusals.
    void ExpectPrintedOnceTheLibraryIsThere() {
        constexpr size_t kRefusals = 3;
        size_t writes = 0;
        const auto repair = [&] {
            if (writes++ == kRefusals) {
                PutLibrary();
            }
            return true;
        };
        const host::JobOutcome outcome =
            Print(QueueJob(L"Port"), kDocument, {.chunk_size = 3, .alive = repair});
        EXPECT_TRUE(outcome.printed()) << ReadLog().Describe();
        EXPECT_EQ(outcome.refusals, kRefusals);
        EXPECT_TRUE(printer_->WaitForEndings(1));
        EXPECT_EQ(printer_->received(), kDocument);
        EXPECT_EQ(printer_->connections().size(), 1U);
    }

    std::optional<DiscoveryControl> copy_;
};

TEST_F(LibraryFileTest, WithoutTheFileTheJobIsRefused) {
    ASSERT_TRUE(Start());
    const host::JobOutcome outcome = PrintOnce();
    EXPECT_EQ(outcome.failed_step, host::JobStep::kWritePort);
    EXPECT_EQ(outcome.bytes_taken, 0U);
    EXPECT_THAT(OryxErrors(),
                ElementsAre(L"COryxDLL::LoadFunctions failed GetLibraryInstance",
                            L"Oryx dll is not ready to use", L"Failed Initialized Oryx."));
    EXPECT_THAT(printer_->connections(), IsEmpty());
}

TEST_F(LibraryFileTest, AFileThatIsNoLibraryIsLikeNone) {
    WriteText("this is no library");
    ASSERT_TRUE(Start());
    EXPECT_EQ(PrintOnce().failed_step, host::JobStep::kWritePort);
    EXPECT_THAT(OryxErrors(),
                ElementsAre(L"COryxDLL::LoadFunctions failed GetLibraryInstance",
                            L"Oryx dll is not ready to use", L"Failed Initialized Oryx."));
}

TEST_F(LibraryFileTest, AJobWaitsForTheFile) {
    ASSERT_TRUE(Start());
    ExpectPrintedOnceTheLibraryIsThere();
}

TEST_F(LibraryFileTest, AJobWaitsForTheFileToBeALibrary) {
    WriteText("this is no library");
    ASSERT_TRUE(Start());
    ExpectPrintedOnceTheLibraryIsThere();
}

}  // namespace
}  // namespace ksp::test
