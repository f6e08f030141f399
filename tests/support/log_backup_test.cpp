// Rotation as it is found on the disk and in the settings.

#include <gmock/gmock.h>

#include <string>

#include "support/logger.h"
#include "support/windows_handles.h"
#include "tests/support/files.h"
#include "tests/support/log_setup.h"

namespace ksp {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr std::uintmax_t kMegabyte = 1048576;

class LogBackupTest : public ::testing::Test {
  protected:
    void SetUp() override { log_.Set(L"LogLevel", DWORD{1}); }

    void Line(const wchar_t* message) { logger_.LogMessage(LogLevel::kInfo, L"", 0, message); }
    // A log of that size, to which the next line is appended or before which it is rotated.
    void Fill(std::uintmax_t size, const std::wstring& name = L"log.txt") {
        test::WriteZeros(log_.File(name), size);
    }
    [[nodiscard]] bool Exists(const std::wstring& name) const {
        return std::filesystem::exists(log_.File(name));
    }
    [[nodiscard]] std::uintmax_t SizeOf(const std::wstring& name) const {
        return std::filesystem::file_size(log_.File(name));
    }

    CLogger logger_;
    test::LogSetup log_{logger_};
};

TEST_F(LogBackupTest, FileBelowTheSizeIsAppendedTo) {
    Fill(kMegabyte - 1);
    ASSERT_TRUE(log_.Start());
    Line(L"one");
    EXPECT_GT(SizeOf(L"log.txt"), kMegabyte);
    EXPECT_FALSE(Exists(L"log1.txt"));
    EXPECT_EQ(log_.Setting(L"LogFileIndex"), std::nullopt);
}

TEST_F(LogBackupTest, FileOfTheSizeIsRotatedBeforeTheLine) {
    Fill(kMegabyte);
    ASSERT_TRUE(log_.Start());
    Line(L"one");
    EXPECT_EQ(SizeOf(L"log1.txt"), kMegabyte);
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: one"));
    EXPECT_EQ(log_.Setting(L"LogFileIndex"), 1U);
}

TEST_F(LogBackupTest, LineThatCrossesTheSizeIsWrittenWhole) {
    Fill(kMegabyte - 1);
    ASSERT_TRUE(log_.Start());
    Line(L"crosses");
    const std::string whole = test::BytesOf(log_.File());
    EXPECT_THAT(whole, EndsWith("INFO     crosses\r\n"));
    Line(L"rotates");
    EXPECT_EQ(test::BytesOf(log_.File(L"log1.txt")), whole);
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: rotates"));
}

TEST_F(LogBackupTest, NoSizeRotatesAtOneMegabyte) {
    log_.Set(L"MaxLogSize", DWORD{0});
    Fill(kMegabyte);
    ASSERT_TRUE(log_.Start());
    Line(L"one");
    EXPECT_TRUE(Exists(L"log1.txt"));
}

TEST_F(LogBackupTest, SizeOfAnotherTypeRotatesAtOneMegabyte) {
    log_.Set(L"MaxLogSize", L"2");
    Fill(kMegabyte);
    ASSERT_TRUE(log_.Start());
    Line(L"one");
    EXPECT_TRUE(Exists(L"log1.txt"));
}

TEST_F(LogBackupTest, SizeTwoRotatesAtTwoMegabytes) {
    log_.Set(L"MaxLogSize", DWORD{2});
    Fill(2 * kMegabyte - 1);
    ASSERT_TRUE(log_.Start());
    Line(L"crosses");
    EXPECT_FALSE(Exists(L"log1.txt"));
    Line(L"rotates");
    EXPECT_TRUE(Exists(L"log1.txt"));
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: rotates"));
}

TEST_F(LogBackupTest, SizeBeyond32BitsDoesNotRotateEveryLine) {
    for (const DWORD megabytes : {4095U, 4096U, 4097U, 0xFFFFFFFFU}) {
        log_.Set(L"MaxLogSize", megabytes);
        Fill(8 * kMegabyte);
        ASSERT_TRUE(log_.Start());
        Line(L"one");
        EXPECT_GT(SizeOf(L"log.txt"), 8 * kMegabyte) << megabytes;
        EXPECT_FALSE(Exists(L"log1.txt")) << megabytes;
        logger_.Stop();
    }
}

TEST_F(LogBackupTest, BackupsAreNumberedUpToTheirMaximumAndFromOneAgain) {
    log_.Set(L"MaxLogFiles", DWORD{2});
    ASSERT_TRUE(log_.Start());
    for (const DWORD index : {1U, 2U, 1U}) {
        Line(L"opens");
        Fill(kMegabyte + index);
        Line(L"rotates");
        EXPECT_EQ(log_.Setting(L"LogFileIndex"), index);
        EXPECT_EQ(logger_.BackupFileName(), L"log" + std::to_wstring(index) + L".txt");
        EXPECT_EQ(SizeOf(logger_.BackupFileName()), kMegabyte + index);
    }
    EXPECT_EQ(SizeOf(L"log2.txt"), kMegabyte + 2) << "the other backup stays";
    EXPECT_FALSE(Exists(L"log3.txt"));
}

TEST_F(LogBackupTest, ThreeBackupsAreKeptByDefault) {
    for (const auto& files : {std::optional<DWORD>(), std::optional<DWORD>(0)}) {
        if (files) {
            log_.Set(L"MaxLogFiles", *files);
        }
        log_.Set(L"LogFileIndex", DWORD{2});
        ASSERT_TRUE(log_.Start());
        for (const DWORD index : {3U, 1U}) {
            Line(L"opens");
            Fill(kMegabyte);
            Line(L"rotates");
            EXPECT_EQ(log_.Setting(L"LogFileIndex"), index);
        }
        logger_.Stop();
    }
}

TEST_F(LogBackupTest, MoreBackupsAreKeptWhenConfigured) {
    log_.Set(L"MaxLogFiles", DWORD{12});
    log_.Set(L"LogFileIndex", DWORD{9});
    Fill(kMegabyte);
    ASSERT_TRUE(log_.Start());
    Line(L"rotates");
    EXPECT_TRUE(Exists(L"log10.txt"));
}

TEST_F(LogBackupTest, StoredIndexAtTheMaximumGoesOnWithOne) {
    log_.Set(L"MaxLogFiles", DWORD{3});
    log_.Set(L"LogFileIndex", DWORD{3});
    Fill(kMegabyte);
    ASSERT_TRUE(log_.Start());
    Line(L"rotates");
    EXPECT_TRUE(Exists(L"log1.txt"));
    EXPECT_EQ(log_.Setting(L"LogFileIndex"), 1U);
}

TEST_F(LogBackupTest, StoredIndexAboveTheMaximumGoesOnWithOne) {
    log_.Set(L"LogFileIndex", DWORD{77});
    Fill(kMegabyte);
    ASSERT_TRUE(log_.Start());
    Line(L"rotates");
    EXPECT_TRUE(Exists(L"log1.txt"));
    EXPECT_EQ(log_.Setting(L"LogFileIndex"), 1U);
}

TEST_F(LogBackupTest, StoredIndexOfAnotherTypeCountsAsZero) {
    log_.Set(L"LogFileIndex", L"2");
    Fill(kMegabyte);
    ASSERT_TRUE(log_.Start());
    EXPECT_EQ(logger_.BackupFileName(), L"log0.txt");
    Line(L"rotates");
    EXPECT_EQ(log_.Setting(L"LogFileIndex"), 1U);
}

TEST_F(LogBackupTest, ExistingBackupIsOverwritten) {
    test::WriteFile(log_.File(L"log1.txt"), "old backup");
    Fill(kMegabyte);
    ASSERT_TRUE(log_.Start());
    Line(L"rotates");
    EXPECT_EQ(SizeOf(L"log1.txt"), kMegabyte);
}

TEST_F(LogBackupTest, NameWithoutADotGetsTheIndexAppended) {
    log_.Set(L"LogFileName", L"trace");
    ASSERT_TRUE(log_.Start());
    for (const wchar_t* backup : {L"trace1", L"trace2"}) {
        Line(L"opens");
        Fill(kMegabyte, L"trace");
        Line(L"rotates");
        EXPECT_TRUE(Exists(backup));
    }
}

TEST_F(LogBackupTest, NameWithSeveralDotsGetsTheIndexBeforeTheLast) {
    log_.Set(L"LogFileName", L"my.log.txt");
    Fill(kMegabyte, L"my.log.txt");
    ASSERT_TRUE(log_.Start());
    Line(L"rotates");
    EXPECT_TRUE(Exists(L"my.log1.txt"));
    EXPECT_THAT(log_.Lines(L"my.log.txt"), ElementsAre("INFO: rotates"));
}

TEST_F(LogBackupTest, FailedCopyTruncatesTheLogAllTheSameAndIsItsFirstText) {
    // Nothing can be copied over a directory.
    std::filesystem::create_directory(log_.File(L"log1.txt"));
    Fill(kMegabyte);
    ASSERT_FALSE(::CopyFileW(log_.File().c_str(), log_.File(L"log1.txt").c_str(), FALSE));
    const std::string code = std::to_string(::GetLastError());
    ASSERT_TRUE(log_.Start());
    Line(L"rotates");
    const std::string bytes = test::BytesOf(log_.File());
    EXPECT_THAT(bytes, StartsWith("Log file copy failed. (" + code + ") \r\n["));
    EXPECT_THAT(bytes, EndsWith("] INFO     rotates\r\n"));
    EXPECT_EQ(log_.Setting(L"LogFileIndex"), 1U);
}

TEST_F(LogBackupTest, LogThatCannotBeTruncatedDropsTheLineAndIsTriedAgain) {
    Fill(kMegabyte);
    ASSERT_TRUE(log_.Start());
    {
        // A file that is mapped can be read and written, but not truncated.
        const UniqueFile file(::CreateFileW(log_.File().c_str(), GENERIC_READ | GENERIC_WRITE,
                                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        const UniqueHandle mapping(
            ::CreateFileMappingW(file.Get(), nullptr, PAGE_READWRITE, 0, 0, nullptr));
        ASSERT_TRUE(mapping);
        Line(L"dropped");
        EXPECT_EQ(SizeOf(L"log.txt"), kMegabyte);
    }
    Line(L"rotates");
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: rotates"));
    EXPECT_EQ(log_.Setting(L"LogFileIndex"), 2U);
}

// Logs from within the settings' write, as a registry layer does whose write fails.
class LoggingRegistry : public host::MemoryRegistry {
  public:
    explicit LoggingRegistry(CLogger& logger) : logger_(logger) {}

    LONG SetValue(HANDLE key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) override {
        constexpr int kMostLines = 8;  // a logger that rotates for them would not end by itself
        if (++writes_ <= kMostLines) {
            logger_.LogMessage(LogLevel::kCritical, L"", 0, L"from within the write");
        }
        return fails_ ? ERROR_ACCESS_DENIED
                      : host::MemoryRegistry::SetValue(key, name, type, data, size);
    }

    void set_fails(bool fails) { fails_ = fails; }
    [[nodiscard]] int writes() const { return writes_; }

  private:
    CLogger& logger_;
    bool fails_ = false;
    int writes_ = 0;
};

class LogReEntryTest : public ::testing::Test {
  protected:
    void SetUp() override {
        // Settings that lack it are written before the logger starts.
        const BYTE browse = 1;
        registry_.SetBytes(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Kestrel\\Kestrel Print", L"LocalSegment",
                           REG_BINARY, {browse});
        ASSERT_TRUE(log_.Start(1));
        test::WriteZeros(log_.File(), kMegabyte);
    }

    CLogger logger_;
    test::LogSetup log_{logger_, std::make_unique<LoggingRegistry>(logger_)};
    LoggingRegistry& registry_ = static_cast<LoggingRegistry&>(log_.registry());
};

TEST_F(LogReEntryTest, LineLoggedByTheSettingsWriteIsDroppedAndRotatesNothing) {
    logger_.LogMessage(LogLevel::kInfo, L"", 0, L"rotates");
    EXPECT_EQ(registry_.writes(), 1);
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: rotates"));
    EXPECT_FALSE(std::filesystem::exists(log_.File(L"log2.txt")));
    logger_.LogMessage(LogLevel::kInfo, L"", 0, L"goes on");
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: rotates", "INFO: goes on"));
}

TEST_F(LogReEntryTest, IndexThatCannotBeStoredIsStillRemembered) {
    registry_.set_fails(true);
    for (const wchar_t* backup : {L"log1.txt", L"log2.txt"}) {
        logger_.LogMessage(LogLevel::kInfo, L"", 0, L"rotates");
        EXPECT_TRUE(std::filesystem::exists(log_.File(backup)));
        test::WriteZeros(log_.File(), kMegabyte);
    }
}

}  // namespace
}  // namespace ksp
