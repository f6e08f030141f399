#include "snmp/mime_message.h"

#include <gmock/gmock.h>

#include <random>

#include "snmp/base64.h"
#include "tests/snmp/bytes.h"

namespace ksp::test {
namespace {

std::string AllBytes(std::size_t size) {
    std::string bytes;
    for (std::size_t index = 0; index < size; ++index) {
        bytes += static_cast<char>(index * 7 + size);
    }
    return bytes;
}

TEST(Base64Test, IsThatOfTheStandard) {
    EXPECT_EQ(snmp::EncodeBase64(""), "");
    EXPECT_EQ(snmp::EncodeBase64("f"), "Zg==");
    EXPECT_EQ(snmp::EncodeBase64("fo"), "Zm8=");
    EXPECT_EQ(snmp::EncodeBase64("foo"), "Zm9v");
    EXPECT_EQ(snmp::EncodeBase64("foobar"), "Zm9vYmFy");
    EXPECT_EQ(snmp::EncodeBase64("\xFB\xFF"), "+/8=");
    EXPECT_EQ(snmp::EncodeBase64(std::string(58, 'f')).find("\r\n"), 76U);
    EXPECT_EQ(snmp::EncodeBase64(std::string(57, 'f')).size(), 76U);
}

TEST(Base64Test, ComesBackAsItWas) {
    for (std::size_t size = 0; size < 300; ++size) {
        EXPECT_EQ(snmp::DecodeBase64(snmp::EncodeBase64(AllBytes(size))), AllBytes(size));
    }
}

TEST(Base64Test, RefusesWhatItIsNot) {
    for (const char* text : {"Z", "Zg", "Zg=", "Zg===", "=", "====", "Z===", "Zg==Zg==", "Zm9v=",
                             "Zm 9v", "Zm9v!", "Zg=v", "Zm8=Zm8="}) {
        EXPECT_FALSE(snmp::DecodeBase64(text)) << text;
    }
}

TEST(MimeMessageTest, CarriesAnyValue) {
    for (const std::size_t size : {0U, 1U, 4U, 57U, 58U, 1000U, 65000U}) {
        const auto parts = snmp::SplitMimeMessage(snmp::MakeMimeReply(AllBytes(size)));
        ASSERT_TRUE(parts) << size;
        EXPECT_EQ(snmp::DecodeMimePart(parts->header),
                  "<?xml version=\"1.0\" encoding=\"utf-8\"?><GetData><DataInfo><Data>"
                  "<Group>value</Group></Data></DataInfo></GetData>");
        EXPECT_EQ(snmp::FindMimeItem(parts->data, "value"), AllBytes(size));
        EXPECT_FALSE(snmp::FindMimeItem(parts->data, "Value"));
        EXPECT_FALSE(snmp::FindMimeItem(parts->data, ""));
    }
}

constexpr char kMessage[] =
    "MIME-Version: 1.0\n"
    "content-type: Multipart/Mixed; charset=x; Boundary=b-1\n"
    "\n"
    "in front --b-1 of it\n"
    "--b-1\n"
    "Content-Type: text/plain\n"
    "\n"
    "the header --b-1\n"
    "--b-1\n"
    "Content-Type: text/plain; name=first\n"
    "Content-Transfer-Encoding: 8bit\n"
    "\n"
    "one\n"
    "--b-1\n"
    "Content-Type: application/octet-stream; name=\"the second\"\n"
    "Content-Transfer-Encoding: BASE64\n"
    "\n"
    "dHdv\n"
    "--b-1\n"
    "Content-Type: text/plain; name=third\n"
    "Content-Transfer-Encoding: quoted-printable\n"
    "\n"
    "three\n"
    "--b-1--\n";

TEST(MimeMessageTest, OthersFormsAreReadToo) {
    const auto parts = snmp::SplitMimeMessage(kMessage);
    ASSERT_TRUE(parts);
    EXPECT_EQ(snmp::DecodeMimePart(parts->header), "the header --b-1");
    EXPECT_EQ(snmp::FindMimeItem(parts->data, "first"), "one");
    EXPECT_EQ(snmp::FindMimeItem(parts->data, "the second"), "two");
    EXPECT_FALSE(snmp::FindMimeItem(parts->data, "third")) << "an encoding that is not known";
    EXPECT_FALSE(snmp::FindMimeItem(parts->data, "fourth"));
}

TEST(MimeMessageTest, IsNoneWhenCutShort) {
    const std::string whole = snmp::MakeMimeReply("value");
    ASSERT_TRUE(snmp::SplitMimeMessage(whole));
    std::size_t split = 0;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const GuardedBytes cut(
            snmp::ByteView(reinterpret_cast<const std::uint8_t*>(whole.data()), size));
        if (const auto parts = snmp::SplitMimeMessage(cut.text()); parts) {
            ++split;
            const auto item = snmp::FindMimeItem(parts->data, "value");
            EXPECT_TRUE(!item || *item == "value") << size;
        }
    }
    EXPECT_GT(split, 0U);
}

TEST(MimeMessageTest, KeepsWithinABoundWhateverComes) {
    std::mt19937 random(20260903);
    const std::string marks = "\r\n-:;=\"b1 a";
    int items = 0;
    for (int round = 0; round < 5000; ++round) {
        std::string message = round % 2 != 0 ? kMessage : snmp::MakeMimeReply(AllBytes(100));
        for (unsigned change = 1 + random() % 5; change > 0; --change) {
            const std::size_t at = random() % message.size();
            if (random() % 2 != 0) {
                message[at] = marks[random() % marks.size()];
            } else {
                message.erase(at, random() % 20);
            }
        }
        const GuardedBytes guarded(
            snmp::ByteView(reinterpret_cast<const std::uint8_t*>(message.data()), message.size()));
        const auto parts = snmp::SplitMimeMessage(guarded.text());
        if (!parts) {
            continue;
        }
        const auto header = snmp::DecodeMimePart(parts->header);
        EXPECT_LE(header.value_or("").size(), parts->header.size());
        items += snmp::FindMimeItem(parts->data, "value") ? 1 : 0;
    }
    EXPECT_GT(items, 0);
}

}  // namespace
}  // namespace ksp::test
