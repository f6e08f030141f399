// The binary record: where every field lies, in both directions.

#include <cstring>

#include "ports/xcv_forms.h"
#include "tests/ports/port_manager_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr size_t kRecord = 16412;
constexpr size_t kSlot = 1024;  // characters

struct TextField {
    std::wstring CPortInfo::*member;
    size_t offset;
};
struct NumberField {
    std::uint32_t CPortInfo::*member;
    size_t offset;
};
constexpr TextField kTexts[] = {
    {&CPortInfo::PortName, 0},        {&CPortInfo::PrinterAddress, 2048},
    {&CPortInfo::QueueName, 4096},    {&CPortInfo::IpAddress, 6156},
    {&CPortInfo::SubnetMask, 8204},   {&CPortInfo::MacAddress, 10252},
    {&CPortInfo::ProxyServer, 12300}, {&CPortInfo::UserIdentityName, 14360},
};
constexpr NumberField kNumbers[] = {
    {&CPortInfo::ProtocolID, 6144},         {&CPortInfo::PortNumber, 6148},
    {&CPortInfo::PrinterAddressType, 6152}, {&CPortInfo::ProxyPort, 14348},
    {&CPortInfo::SecureUserMode, 14352},    {&CPortInfo::SecureRawPortNo, 14356},
    {&CPortInfo::CheckPortNo, 16408},
};

Bytes BytesOf(const XcvPortInfo& record) {
    const auto* bytes = reinterpret_cast<const BYTE*>(&record);
    return Bytes(bytes, bytes + sizeof(record));
}

void PutText(Bytes& bytes, size_t offset, std::wstring_view text) {
    std::memcpy(bytes.data() + offset, text.data(), text.size() * sizeof(wchar_t));
}

void PutNumber(Bytes& bytes, size_t offset, std::uint32_t number) {
    std::memcpy(bytes.data() + offset, &number, sizeof(number));
}

class PortRecordTest : public PortManagerTest {
  protected:
    void SetUp() override {
        PortManagerTest::SetUp();
        ASSERT_TRUE(Initialize()) << "for the log";
        // Every text and number its own; no byte of a number is zero.
        std::uint32_t number = 0;
        for (const TextField& field : kTexts) {
            info_.*field.member = L"text " + std::to_wstring(++number);
            PutText(bytes_, field.offset, info_.*field.member);
        }
        for (const NumberField& field : kNumbers) {
            info_.*field.member = 0x81828300 + ++number;
            PutNumber(bytes_, field.offset, info_.*field.member);
        }
    }
    static int Read(const Bytes& bytes, CPortInfo& info) {
        const auto record = std::make_unique<XcvPortInfo>();
        std::memcpy(record.get(), bytes.data(), sizeof(*record));
        return SetFromXcvInfo(*record, info);
    }

    CPortInfo info_;
    Bytes bytes_ = Bytes(kRecord, 0);  // what info_ is as a record
    std::unique_ptr<XcvPortInfo> record_ = std::make_unique<XcvPortInfo>();
};

TEST_F(PortRecordTest, EveryFieldIsWrittenToItsPlace) {
    std::memset(static_cast<void*>(record_.get()), 0xCC, sizeof(*record_));
    ASSERT_EQ(sizeof(*record_), kRecord);
    EXPECT_EQ(SetForXcvInfo(info_, *record_), 1);
    EXPECT_TRUE(SameBytes(bytes_, BytesOf(*record_)));
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(PortRecordTest, EveryFieldIsReadFromItsPlace) {
    CPortInfo read;
    EXPECT_EQ(Read(bytes_, read), 1);
    for (const TextField& field : kTexts) {
        EXPECT_EQ(read.*field.member, info_.*field.member) << field.offset;
    }
    for (const NumberField& field : kNumbers) {
        EXPECT_EQ(read.*field.member, info_.*field.member) << field.offset;
    }
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(PortRecordTest, FieldsOutsideTheRecordStay) {
    CPortInfo read;
    read.Reserved1 = 1;
    read.Reserved2 = L"2";
    read.Reserved5 = 5;
    EXPECT_EQ(Read(bytes_, read), 1);
    EXPECT_EQ(read.Reserved1, 1U);
    EXPECT_EQ(read.Reserved2, L"2");
    EXPECT_EQ(read.Reserved5, 5U);
}

TEST_F(PortRecordTest, FreshRecordIsZeroButForItsType) {
    const CPortInfo fresh;
    std::memset(static_cast<void*>(record_.get()), 0xCC, sizeof(*record_));
    EXPECT_EQ(SetForXcvInfo(fresh, *record_), 1);
    Bytes expected(kRecord, 0);
    PutNumber(expected, 6152, 4);
    EXPECT_TRUE(SameBytes(expected, BytesOf(*record_)));
}

TEST_F(PortRecordTest, TextEndsAtItsFirstTerminator) {
    PutText(bytes_, 0, std::wstring_view(L"ab\0cd", 5));
    CPortInfo read;
    EXPECT_EQ(Read(bytes_, read), 1);
    EXPECT_EQ(read.PortName, L"ab");
}

TEST_F(PortRecordTest, SlotWithoutTerminatorIsReadToItsEnd) {
    for (const TextField& field : kTexts) {
        Bytes bytes = bytes_;
        PutText(bytes, field.offset, std::wstring(kSlot, L'x'));
        CPortInfo read;
        EXPECT_EQ(Read(bytes, read), 1);
        EXPECT_EQ(read.*field.member, std::wstring(kSlot, L'x')) << field.offset;
        EXPECT_EQ(read.CheckPortNo, info_.CheckPortNo) << "what lies behind is its own";
    }
}

TEST_F(PortRecordTest, TextThatFillsItsSlotIsWritten) {
    for (const TextField& field : kTexts) {
        CPortInfo info = info_;
        info.*field.member = std::wstring(kSlot - 1, L'x');
        Bytes expected = bytes_;
        PutText(expected, field.offset, info.*field.member);
        EXPECT_EQ(SetForXcvInfo(info, *record_), 1);
        EXPECT_TRUE(SameBytes(expected, BytesOf(*record_))) << field.offset;
    }
}

TEST_F(PortRecordTest, TextThatIsTooLongFails) {
    for (const TextField& field : kTexts) {
        for (const size_t length : {kSlot, kSlot + 1, size_t{32 * 1024}}) {
            CPortInfo info = info_;
            info.*field.member = std::wstring(length, L'x');
            EXPECT_EQ(SetForXcvInfo(info, *record_), 0) << field.offset;
            EXPECT_THAT(NewLines(), ElementsAre("CRITICAL Exception Error (SetForXcvInfo)"));
            EXPECT_EQ(record_->CheckPortNo, 0U) << "the last field says that all went well";
        }
    }
}

TEST_F(PortRecordTest, MemoryThatRunsOutIsLogged) {
    PutText(bytes_, 0, L"a port with a long name");
    PutText(bytes_, 14360, L"a user with a long name");
    std::memcpy(static_cast<void*>(record_.get()), bytes_.data(), sizeof(*record_));
    CPortInfo read;
    int result = 1;
    bool failed = false;
    const auto action = [&] {
        read = CPortInfo();
        result = SetFromXcvInfo(*record_, read);
    };
    const auto check = [&] {
        const std::vector<std::string> lines = NewLines();
        if (result == 0) {
            failed = true;
            EXPECT_THAT(lines, ElementsAre("CRITICAL Exception Error (SetFromXcvInfo) "));
            EXPECT_EQ(read.CheckPortNo, 0U) << "the last field says that all went well";
        }
    };
    EXPECT_GE(FailEachRequest(action, check), 2U);
    EXPECT_TRUE(failed);
    EXPECT_EQ(result, 1);
}

}  // namespace
}  // namespace ksp::test
