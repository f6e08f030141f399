// MIME-formatted replies and what takes them apart.

#include "tests/standins/discovery/standin_test.h"

#include <cstring>

namespace ksp::test {
namespace {

constexpr char kAddress[] = "127.0.0.2";
constexpr char kOid[] = "1.3.6.1.2.1.25.3.5.1.1";
constexpr char kRequest[] =
    "<Group id=\"access=MIB;oid=1.3.6.1.2.1.25.3.5.1.1;type=integer;rtype=GetNextRequest\"/>";

class DiscoveryMimeTest : public DiscoveryStandinTest {
  protected:
    void SetUp() override {
        DiscoveryStandinTest::SetUp();
        control_.AddDevice({.address = kAddress});
        util_ = library_.KSCreateMIMEUtil();
        ASSERT_NE(util_, nullptr);
    }

    void TearDown() override {
        Delete(header_);
        Delete(data_);
        EXPECT_EQ(library_.KSDeleteMIMEUtil(util_), 0);
        DiscoveryStandinTest::TearDown();
    }

    template <typename Block>
    void Delete(Block*& block) {
        void* buffer = block;
        if (buffer != nullptr) {
            EXPECT_EQ(library_.KSMIMEDeleteBuffer(util_, &buffer), 0);
        }
        EXPECT_EQ(buffer, nullptr);
        block = nullptr;
    }

    // Fetches the value's reply and splits it.
    void FetchAndSplit() {
        void* const stream = BeginStream();
        const DeviceHandle device = library_.KSCreateDeviceHandle(stream, kAddress, "");
        char* reply = nullptr;
        ASSERT_EQ(library_.KSSendRecvStream(stream, device, kRequest, &reply, 0), 0);
        library_.KSRecvCancel(stream, device);
        ASSERT_NE(reply, nullptr);
        int header_length = 0;
        int data_length = 0;
        ASSERT_EQ(
            library_.KSMIMESplitData(util_, reply, &header_, &header_length, &data_, &data_length),
            0);
        EXPECT_EQ(std::strlen(header_), static_cast<size_t>(header_length));
        EXPECT_EQ(std::strlen(data_), static_cast<size_t>(data_length));
        library_.KSDeleteBuffer(stream, device, &reply);
        library_.KSDeleteDeviceHandle(stream, device);
        EndStream(stream);
    }

    // The bytes and the count of the part with that name.
    std::pair<std::vector<unsigned char>, int> Item(const char* name) {
        MIMEItem* item = nullptr;
        EXPECT_EQ(library_.KSMIMEGetData(util_, data_, name, &item), 0);
        if (item == nullptr) {
            return {};
        }
        std::vector<unsigned char> bytes;
        if (item->bytes != nullptr && item->count > 0) {
            bytes.assign(item->bytes, item->bytes + item->count);
        }
        const int count = item->count;
        Delete(item);
        return {bytes, count};
    }

    void* util_ = nullptr;
    char* header_ = nullptr;
    char* data_ = nullptr;
};

TEST_F(DiscoveryMimeTest, AReplyComesApart) {
    ASSERT_TRUE(control_.SetValue(kAddress, kOid, {0x00, 0x40, 0xFF}));
    FetchAndSplit();
    EXPECT_EQ(std::strchr(header_, '<'), nullptr) << "readable before it was decoded";
    EXPECT_EQ(library_.KSMIMEDecode(util_, header_), 0);
    EXPECT_STREQ(header_,
                 "<?xml version=\"1.0\" encoding=\"utf-8\"?><GetData><DataInfo><Data>"
                 "<Group>value</Group></Data></DataInfo></GetData>");
    EXPECT_NE(library_.KSMIMEDecode(util_, header_), 0) << "decoded twice";
    const auto [bytes, count] = Item("value");
    EXPECT_EQ(bytes, (std::vector<unsigned char>{0x00, 0x40, 0xFF}));
    EXPECT_EQ(count, 3);

    MIMEItem* item = nullptr;
    EXPECT_NE(library_.KSMIMEGetData(util_, data_, "Value", &item), 0);
    EXPECT_EQ(item, nullptr);
    const auto calls = control_.Calls(DiscoveryMIMEGetData);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].text, "Value");
    EXPECT_EQ(calls[0].data, data_);
    EXPECT_EQ(control_.Calls(DiscoveryMIMESplitData)[0].data, data_);
    EXPECT_EQ(control_.Calls(DiscoveryMIMESplitData)[0].buffer, header_);
    EXPECT_EQ(control_.Calls(DiscoveryMIMEDecode)[0].output, header_);
}

TEST_F(DiscoveryMimeTest, AnItemMayBeEmptyOrLieAboutItself) {
    ASSERT_TRUE(control_.SetValue(kAddress, kOid, {}));
    FetchAndSplit();
    MIMEItem* item = nullptr;
    ASSERT_EQ(library_.KSMIMEGetData(util_, data_, "value", &item), 0);
    EXPECT_EQ(item->count, 0);
    EXPECT_NE(item->bytes, nullptr);
    Delete(item);
    Delete(header_);
    Delete(data_);

    ASSERT_TRUE(control_.SetMimeReply(kAddress, kOid, {.count = -1}));
    FetchAndSplit();
    ASSERT_EQ(library_.KSMIMEGetData(util_, data_, "value", &item), 0);
    EXPECT_EQ(item->count, -1);
    EXPECT_EQ(item->bytes, nullptr);
    Delete(item);
    Delete(header_);
    Delete(data_);

    ASSERT_TRUE(control_.SetMimeReply(kAddress, kOid, {.count = 4}));
    FetchAndSplit();
    ASSERT_EQ(library_.KSMIMEGetData(util_, data_, "value", &item), 0);
    EXPECT_EQ(item->count, 4);
    EXPECT_EQ(item->bytes, nullptr);
    Delete(item);
}

TEST_F(DiscoveryMimeTest, HeaderAndPartNameAreScripted) {
    ASSERT_TRUE(control_.SetMimeReply(
        kAddress, kOid,
        {.bytes = std::vector<uint8_t>{3}, .header = "<not well-formed", .part_name = "a b"}));
    FetchAndSplit();
    EXPECT_EQ(library_.KSMIMEDecode(util_, header_), 0);
    EXPECT_STREQ(header_, "<not well-formed");
    EXPECT_EQ(Item("a b").second, 1);
    Delete(header_);
    Delete(data_);

    ASSERT_TRUE(control_.SetMimeReply(kAddress, kOid, {.header = ""}));
    FetchAndSplit();
    EXPECT_EQ(library_.KSMIMEDecode(util_, header_), 0);
    EXPECT_STREQ(header_, "");
}

TEST_F(DiscoveryMimeTest, WhatIsNoMimeReplyDoesNotComeApart) {
    int length = 0;
    EXPECT_NE(library_.KSMIMESplitData(util_, "<GetData/>", &header_, &length, &data_, &length), 0);
    EXPECT_EQ(header_, nullptr);
    EXPECT_EQ(data_, nullptr);
}

TEST_F(DiscoveryMimeTest, WhatIsHeldIsCounted) {
    ASSERT_TRUE(control_.SetValue(kAddress, kOid, {3}));
    FetchAndSplit();
    EXPECT_EQ(control_.Held().mime_utilities, 1u);
    EXPECT_EQ(control_.Held().mime_buffers, 2u);
    MIMEItem* item = nullptr;
    ASSERT_EQ(library_.KSMIMEGetData(util_, data_, "value", &item), 0);
    EXPECT_EQ(control_.Held().mime_buffers, 3u);
    Delete(item);
    EXPECT_EQ(control_.Held().mime_buffers, 2u);
}

}  // namespace
}  // namespace ksp::test
