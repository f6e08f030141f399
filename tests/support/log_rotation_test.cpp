// The numbers and names by which the log is rotated.

#include "support/log_rotation.h"

#include <gtest/gtest.h>

namespace ksp {
namespace {

TEST(LogRotationRulesTest, SizeCountsInMegabytes) {
    EXPECT_EQ(LogRotation::MaximumSize(1), 1048576U);
    EXPECT_EQ(LogRotation::MaximumSize(2), 2097152U);
    EXPECT_EQ(LogRotation::MaximumSize(4095), 4293918720U);
}

TEST(LogRotationRulesTest, NoSizeIsOneMegabyte) {
    EXPECT_EQ(LogRotation::MaximumSize(0), 1048576U);
}

TEST(LogRotationRulesTest, SizeBeyond32BitsIsTheLargestThatFits) {
    EXPECT_EQ(LogRotation::MaximumSize(4096), 4293918720U);
    EXPECT_EQ(LogRotation::MaximumSize(4097), 4293918720U);
    EXPECT_EQ(LogRotation::MaximumSize(0xFFFFFFFF), 4293918720U);
}

TEST(LogRotationRulesTest, NoNumberOfBackupsIsThree) {
    EXPECT_EQ(LogRotation::MaximumFiles(0), 3U);
    EXPECT_EQ(LogRotation::MaximumFiles(1), 1U);
    EXPECT_EQ(LogRotation::MaximumFiles(0xFFFFFFFF), 0xFFFFFFFFU);
}

TEST(LogRotationRulesTest, BackupsAreNumberedFromOneToTheMaximumAndFromOneAgain) {
    EXPECT_EQ(LogRotation::NextIndex(0, 3), 1U);
    EXPECT_EQ(LogRotation::NextIndex(1, 3), 2U);
    EXPECT_EQ(LogRotation::NextIndex(2, 3), 3U);
    EXPECT_EQ(LogRotation::NextIndex(3, 3), 1U);
    EXPECT_EQ(LogRotation::NextIndex(1, 1), 1U);
}

TEST(LogRotationRulesTest, IndexBeyondTheMaximumStartsFromOne) {
    EXPECT_EQ(LogRotation::NextIndex(4, 3), 1U);
    EXPECT_EQ(LogRotation::NextIndex(0xFFFFFFFF, 3), 1U);
    EXPECT_EQ(LogRotation::NextIndex(0xFFFFFFFF, 0xFFFFFFFF), 1U);
}

TEST(LogRotationRulesTest, IndexGoesBeforeTheLastDot) {
    EXPECT_EQ(LogRotation::BackupFileName(L"log.txt", 2), L"log2.txt");
    EXPECT_EQ(LogRotation::BackupFileName(L"my.log.txt", 1), L"my.log1.txt");
    EXPECT_EQ(LogRotation::BackupFileName(L".txt", 3), L"3.txt");
    EXPECT_EQ(LogRotation::BackupFileName(L"log.", 3), L"log3.");
}

TEST(LogRotationRulesTest, IndexIsAppendedToANameWithoutADot) {
    EXPECT_EQ(LogRotation::BackupFileName(L"log", 2), L"log2");
    EXPECT_EQ(LogRotation::BackupFileName(L"", 2), L"2");
}

TEST(LogRotationRulesTest, IndexIsAnUnsignedDecimal) {
    EXPECT_EQ(LogRotation::BackupFileName(L"log.txt", 10), L"log10.txt");
    EXPECT_EQ(LogRotation::BackupFileName(L"log.txt", 4294967295U), L"log4294967295.txt");
}

}  // namespace
}  // namespace ksp
