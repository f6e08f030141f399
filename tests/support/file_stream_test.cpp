#include "support/file_stream.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>

#include "support/text.h"
#include "support/windows_handles.h"
#include "tests/host/temp_directory.h"
#include "tests/support/files.h"

namespace ksp {
namespace {

using test::BytesOf;
using test::WriteFile;

static_assert(std::has_virtual_destructor_v<CFileStream>);

class FileStreamTest : public ::testing::Test {
  protected:
    FileStreamTest() : path_(directory_.File(L"file.txt")) {
        stream_.SetPath(path_.wstring().c_str());
    }

    // What the open stream lets its owner do.
    bool CanWrite() { return stream_.WriteBytes("new", 3); }

    test::TempDirectory directory_;
    std::filesystem::path path_;
    CFileStream stream_;
};

TEST_F(FileStreamTest, ReadModeNeedsTheFileAndDoesNotWrite) {
    EXPECT_FALSE(stream_.Open(FileMode::kRead));
    EXPECT_FALSE(std::filesystem::exists(path_));
    WriteFile(path_, "old text");
    ASSERT_TRUE(stream_.Open(FileMode::kRead));
    EXPECT_EQ(stream_.Size(), 8U);
    EXPECT_FALSE(CanWrite());
    EXPECT_EQ(BytesOf(path_), "old text");
}

TEST_F(FileStreamTest, CreateModeMakesTheFile) {
    ASSERT_TRUE(stream_.Open(FileMode::kCreate));
    EXPECT_TRUE(CanWrite());
    EXPECT_EQ(BytesOf(path_), "new");
}

TEST_F(FileStreamTest, CreateModeEmptiesAnExistingFile) {
    WriteFile(path_, "old text");
    ASSERT_TRUE(stream_.Open(FileMode::kCreate));
    EXPECT_EQ(stream_.Size(), 0U);
    EXPECT_TRUE(CanWrite());
    EXPECT_EQ(BytesOf(path_), "new");
}

TEST_F(FileStreamTest, AppendModeMakesTheFileAndThenAppendsToIt) {
    ASSERT_TRUE(stream_.Open(FileMode::kAppend));
    EXPECT_TRUE(CanWrite());
    ASSERT_TRUE(stream_.Open(FileMode::kAppend));
    EXPECT_TRUE(CanWrite());
    EXPECT_EQ(BytesOf(path_), "newnew");
}

TEST_F(FileStreamTest, ReadWriteModeNeedsTheFileAndStartsAtItsBeginning) {
    EXPECT_FALSE(stream_.Open(FileMode::kReadWrite));
    EXPECT_FALSE(std::filesystem::exists(path_));
    WriteFile(path_, "old text");
    ASSERT_TRUE(stream_.Open(FileMode::kReadWrite));
    EXPECT_TRUE(CanWrite());
    EXPECT_EQ(BytesOf(path_), "new text");
}

TEST_F(FileStreamTest, CreateReadWriteModeMakesOrEmptiesTheFile) {
    ASSERT_TRUE(stream_.Open(FileMode::kCreateReadWrite));
    EXPECT_TRUE(CanWrite());
    EXPECT_EQ(BytesOf(path_), "new");
    ASSERT_TRUE(stream_.Open(FileMode::kCreateReadWrite));
    EXPECT_EQ(stream_.Size(), 0U);
}

TEST_F(FileStreamTest, UnknownModeFailsAndLeavesTheFileAlone) {
    WriteFile(path_, "old text");
    for (const std::uint32_t mode : {5U, 6U, std::numeric_limits<std::uint32_t>::max()}) {
        EXPECT_FALSE(stream_.Open(static_cast<FileMode>(mode))) << mode;
        EXPECT_FALSE(stream_.IsOpen()) << mode;
    }
    EXPECT_EQ(BytesOf(path_), "old text");
}

TEST_F(FileStreamTest, OpenClosesTheOpenFileEvenWhenItFails) {
    ASSERT_TRUE(stream_.Open(FileMode::kCreate));
    EXPECT_FALSE(stream_.Open(static_cast<FileMode>(9)));
    EXPECT_FALSE(stream_.IsOpen());
    EXPECT_TRUE(::DeleteFileW(path_.c_str())) << "nothing holds the file";
}

TEST_F(FileStreamTest, OpenFailsWithoutAPath) {
    CFileStream fresh;
    EXPECT_FALSE(fresh.Open(FileMode::kCreate));
    EXPECT_TRUE(stream_.SetPath(nullptr));
    EXPECT_FALSE(stream_.Open(FileMode::kCreate));
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(FileStreamTest, KeepsACopyOfThePath) {
    std::wstring path = path_.wstring();
    stream_.SetPath(path.c_str());
    path.assign(path.size(), L'X');
    EXPECT_TRUE(stream_.Open(FileMode::kCreate));
    EXPECT_TRUE(std::filesystem::exists(path_));
}

TEST_F(FileStreamTest, NewPathTakesEffectAtTheNextOpen) {
    ASSERT_TRUE(stream_.Open(FileMode::kCreate));
    const std::wstring other = directory_.File(L"other.txt");
    stream_.SetPath(other.c_str());
    EXPECT_TRUE(CanWrite());
    EXPECT_EQ(BytesOf(path_), "new");
    ASSERT_TRUE(stream_.Open(FileMode::kCreate));
    EXPECT_TRUE(std::filesystem::exists(other));
}

TEST_F(FileStreamTest, ClosedStreamAnswersFalseAndNoSize) {
    stream_.Close();
    EXPECT_FALSE(stream_.IsOpen());
    EXPECT_FALSE(stream_.WriteBytes("x", 1));
    EXPECT_FALSE(stream_.WriteText(L"x"));
    EXPECT_FALSE(stream_.Flush());
    EXPECT_FALSE(stream_.SeekToEnd());
    EXPECT_EQ(stream_.Size(), 0xFFFFFFFFU);
}

TEST_F(FileStreamTest, CloseGivesTheFileBackAndCanBeRepeated) {
    ASSERT_TRUE(stream_.Open(FileMode::kCreate));
    EXPECT_FALSE(::DeleteFileW(path_.c_str()));
    stream_.Close();
    stream_.Close();
    EXPECT_TRUE(::DeleteFileW(path_.c_str()));
}

TEST_F(FileStreamTest, DestructorClosesTheFile) {
    {
        CFileStream stream;
        stream.SetPath(path_.wstring().c_str());
        ASSERT_TRUE(stream.Open(FileMode::kCreate));
    }
    EXPECT_TRUE(::DeleteFileW(path_.c_str()));
}

TEST_F(FileStreamTest, SharesTheFileForReadingAndWriting) {
    ASSERT_TRUE(stream_.Open(FileMode::kCreate));
    const UniqueFile other(::CreateFileW(path_.c_str(), GENERIC_READ | GENERIC_WRITE,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                         FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_TRUE(other);
}

TEST_F(FileStreamTest, SeekToEndGoesPastWhatAnotherWriterAppended) {
    WriteFile(path_, "old");
    ASSERT_TRUE(stream_.Open(FileMode::kReadWrite));
    ASSERT_TRUE(stream_.SeekToEnd());
    EXPECT_TRUE(CanWrite());
    EXPECT_EQ(BytesOf(path_), "oldnew");
    EXPECT_EQ(stream_.Size(), 6U);
}

TEST_F(FileStreamTest, FlushesAnOpenFile) {
    ASSERT_TRUE(stream_.Open(FileMode::kCreate));
    EXPECT_TRUE(CanWrite());
    EXPECT_TRUE(stream_.Flush());
}

TEST_F(FileStreamTest, WritesEveryByteAsItIs) {
    const std::string bytes("\0\r\n\x1A\xFF", 5);
    ASSERT_TRUE(stream_.Open(FileMode::kCreate));
    EXPECT_TRUE(stream_.WriteBytes(bytes.data(), 5));
    EXPECT_TRUE(stream_.WriteBytes("", 0));
    EXPECT_EQ(BytesOf(path_), bytes);
}

TEST_F(FileStreamTest, WritesTextInTheAnsiCodePageWithoutATerminator) {
    const std::wstring text = FromAnsi("caf\xE9") + L" \u4E2D";
    ASSERT_TRUE(stream_.Open(FileMode::kCreate));
    EXPECT_TRUE(stream_.WriteText(text));
    EXPECT_TRUE(stream_.WriteText(L""));
    EXPECT_EQ(BytesOf(path_), ToAnsi(text));
}

}  // namespace
}  // namespace ksp
