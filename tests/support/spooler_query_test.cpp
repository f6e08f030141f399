#include "support/spooler_query.h"

#include <gtest/gtest.h>

#include <cstring>

namespace ksp {
namespace {

// A spooler's call whose record grows by a byte before each of its first answers.
class GrowingRecord {
  public:
    explicit GrowingRecord(int times) : times_(times) {}

    BOOL operator()(BYTE* buffer, DWORD size, DWORD* needed) {
        if (buffer != nullptr && grown_ < times_) {
            ++grown_;
        }
        *needed = 8 + static_cast<DWORD>(grown_);
        ++calls;
        if (buffer == nullptr || size < *needed) {
            ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return FALSE;
        }
        std::memset(buffer, 'R', *needed);
        return TRUE;
    }

    int calls = 0;

  private:
    const int times_;
    int grown_ = 0;
};

SpoolerAnswer Read(SpoolerRecords& records, GrowingRecord& record) {
    return records.Read([&record](BYTE* buffer, DWORD size, DWORD* needed) {
        return record(buffer, size, needed);
    });
}

TEST(SpoolerRecordsTest, ARecordIsReadInTwoCalls) {
    SpoolerRecords records;
    GrowingRecord record(0);
    EXPECT_EQ(Read(records, record), SpoolerAnswer::kOk);
    EXPECT_EQ(record.calls, 2);
    EXPECT_EQ(std::memcmp(records.As<char>(), "RRRRRRRR", 8), 0);
}

TEST(SpoolerRecordsTest, ARecordThatGrowsMeanwhileIsReadAgain) {
    SpoolerRecords records;
    GrowingRecord record(3);
    EXPECT_EQ(Read(records, record), SpoolerAnswer::kOk);
    EXPECT_EQ(std::memcmp(records.As<char>(), "RRRRRRRRRRR", 11), 0);
}

TEST(SpoolerRecordsTest, ARecordThatNeverStopsGrowingIsGivenUp) {
    SpoolerRecords records;
    GrowingRecord record(1000);
    EXPECT_EQ(Read(records, record), SpoolerAnswer::kNotRead);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(record.calls, 5);
}

// As some spoolers say of a record that is gone.
TEST(SpoolerRecordsTest, ABufferThatIsTooSmallForNothingMoreIsGivenUp) {
    SpoolerRecords records;
    int calls = 0;
    const auto answer = records.Read([&calls](BYTE* /*buffer*/, DWORD /*size*/, DWORD* needed) {
        ++calls;
        *needed = 8;
        ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    });
    EXPECT_EQ(answer, SpoolerAnswer::kNotRead);
    EXPECT_EQ(calls, 2);
}

}  // namespace
}  // namespace ksp
