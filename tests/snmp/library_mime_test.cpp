// The MIME calls, with messages that the library did not write.

#include <cstring>

#include "tests/snmp/library_test.h"

namespace ksp::test {
namespace {

class LibraryMimeTest : public SnmpLibraryTest {
  protected:
    void SetUp() override {
        SnmpLibraryTest::SetUp();
        util_ = library_.KSCreateMIMEUtil();
        ASSERT_NE(util_, nullptr);
    }
    void TearDown() override {
        EXPECT_EQ(library_.KSDeleteMIMEUtil(util_), 0);
        EXPECT_NE(library_.KSDeleteMIMEUtil(util_), 0);
        SnmpLibraryTest::TearDown();
    }
    void Delete(void* block) { EXPECT_EQ(library_.KSMIMEDeleteBuffer(util_, &block), 0); }

    void* util_ = nullptr;
};

TEST_F(LibraryMimeTest, TakesAMessageApart) {
    char* header = nullptr;
    char* data = nullptr;
    int header_length = 0;
    int data_length = 0;
    ASSERT_EQ(library_.KSMIMESplitData(util_,
                                       "Content-Type: multipart/mixed; boundary=b\n\n--b\n\nhead\n"
                                       "--b\nContent-Type: x/y; name=n\n\nbody\n--b--\n",
                                       &header, &header_length, &data, &data_length),
              0);
    EXPECT_STREQ(header, "\nhead");
    EXPECT_EQ(header_length, 5);
    EXPECT_EQ(std::strlen(data), static_cast<std::size_t>(data_length));
    EXPECT_EQ(library_.KSMIMEDecode(util_, header), 0);
    EXPECT_STREQ(header, "head");
    MIMEItem* item = nullptr;
    ASSERT_EQ(library_.KSMIMEGetData(util_, data, "n", &item), 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(item->bytes),
                          static_cast<std::size_t>(item->count)),
              "body");
    Delete(item);
    EXPECT_NE(library_.KSMIMEGetData(util_, data, "other", &item), 0);
    EXPECT_EQ(item, nullptr);
    Delete(header);
    Delete(data);
}

TEST_F(LibraryMimeTest, WhatIsNoMessageLeavesNothingBehind) {
    char block = 'x';
    for (const char* text : {"", "\n", "Content-Type: multipart/mixed\n\n--b\n\n--b--\n",
                             "Content-Type: text/plain; boundary=b\n\n--b\n\n--b--\n",
                             "Content-Type: multipart/mixed; boundary=b\n\n--b\n\nhead\n",
                             "Content-Type: multipart/mixed; boundary=\"\n\n--b\n\n--b--\n"}) {
        char* header = &block;
        char* data = &block;
        int length = 0;
        EXPECT_NE(library_.KSMIMESplitData(util_, text, &header, &length, &data, &length), 0)
            << text;
        EXPECT_EQ(header, nullptr);
        EXPECT_EQ(data, nullptr);
    }
    char part[] = "Content-Transfer-Encoding: base64\n\n!!!!";
    EXPECT_NE(library_.KSMIMEDecode(util_, part), 0);
    char none[] = "";
    EXPECT_NE(library_.KSMIMEDecode(util_, none), 0);
    MIMEItem* item = nullptr;
    EXPECT_NE(library_.KSMIMEGetData(util_, "", "value", &item), 0);
    EXPECT_NE(library_.KSMIMEGetData(util_, "--", "value", &item), 0);
}

}  // namespace
}  // namespace ksp::test
