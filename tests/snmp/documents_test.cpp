#include <gmock/gmock.h>

#include <random>

#include "discovery/discovery_documents.h"
#include "snmp/requests.h"
#include "snmp/xml_text.h"
#include "tests/snmp/bytes.h"

namespace ksp::test {
namespace {

using snmp::CNetwork;
using snmp::QuestionKind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The monitor's documents hold nothing but ASCII.
std::string Narrow(const std::wstring& text) {
    std::string narrow;
    for (const wchar_t character : text) {
        narrow += static_cast<char>(character);
    }
    return narrow;
}

TEST(DeviceSettingsTest, AreReadFromTheMonitorsDocument) {
    const auto timing = snmp::ReadDeviceSettings(Narrow(DeviceHandleDocument(7000, 3, 250)));
    EXPECT_EQ(timing.timeout, 7000U);
    EXPECT_EQ(timing.retry, 3U);
    EXPECT_EQ(timing.retryInterval, 250U);
}

TEST(DeviceSettingsTest, WhatIsMissingOrNoNumberKeepsItsDefault) {
    for (const char* document :
         {"", "nonsense", "<a/>", "<TimeOut></TimeOut>", "<TimeOut>-1</TimeOut>",
          "<TimeOut>4294967296</TimeOut>", "<TimeOut>1x</TimeOut>", "<TimeOut>0</TimeOut>"}) {
        const auto timing = snmp::ReadDeviceSettings(document);
        EXPECT_EQ(timing.timeout, 20000U) << document;
        EXPECT_EQ(timing.retry, 2U) << document;
        EXPECT_EQ(timing.retryInterval, 5000U) << document;
    }
    EXPECT_EQ(snmp::ReadDeviceSettings("<TimeOut> 4294967295\n</TimeOut>").timeout, 4294967295U);
}

TEST(ProbeModeTest, IsReadFromTheMonitorsDocument) {
    const std::wstring subnets = SubnetListDocument(
        {{L"127.0.5.0", L"255.255.255.0"}, {L"bad", L"255.0.0.0"}, {L"10.1.2.3", L"255.255.0.0"}});
    CProbeSettings settings;
    settings.timeout = 900;
    settings.retry = 1;
    settings.retryInterval = 200;
    const auto mode = snmp::ReadProbeMode(Narrow(ProbeModeDocument(settings, subnets)));
    ASSERT_TRUE(mode);
    EXPECT_TRUE(mode->ipv4);
    EXPECT_EQ(mode->timing.timeout, 900U);
    EXPECT_EQ(mode->timing.retry, 1U);
    EXPECT_EQ(mode->timing.retryInterval, 200U);
    EXPECT_THAT(mode->networks,
                ElementsAre(CNetwork{0x7F000500, 0xFFFFFF00}, CNetwork{0x0A010203, 0xFFFF0000}));

    settings.overRouter = false;
    EXPECT_THAT(snmp::ReadProbeMode(Narrow(ProbeModeDocument(settings, subnets)))->networks,
                IsEmpty());
    settings.ipv4 = false;
    settings.ipv6 = true;
    EXPECT_FALSE(snmp::ReadProbeMode(Narrow(ProbeModeDocument(settings, subnets)))->ipv4);
}

TEST(ProbeModeTest, IsNoneWhenMalformed) {
    EXPECT_FALSE(snmp::ReadProbeMode("<ProbeMode><Mode Type=\"IP></ProbeMode>"));
    EXPECT_FALSE(snmp::ReadProbeMode("<ProbeMode><TimeOut>20000</TimeOut"));
}

TEST(DataRequestTest, IsReadFromTheMonitorsDocuments) {
    const auto status =
        snmp::ReadDataRequest(Narrow(MibRequest(L"1.3.6.1.2.1.25.3.5.1.1", L"integer")));
    ASSERT_TRUE(status);
    EXPECT_FALSE(status->macAddress);
    EXPECT_EQ(status->question.kind, QuestionKind::kGetNext);
    EXPECT_EQ(status->question.id.Text(), "1.3.6.1.2.1.25.3.5.1.1");
    EXPECT_EQ(status->type, snmp::ValueType::kInteger);

    const auto errors = snmp::ReadDataRequest(Narrow(MibRequest(L"1.3.6.1", L"octetString")));
    ASSERT_TRUE(errors);
    EXPECT_EQ(errors->type, snmp::ValueType::kOctetString);

    const auto mac = snmp::ReadDataRequest(Narrow(MacAddressRequest()));
    ASSERT_TRUE(mac);
    EXPECT_TRUE(mac->macAddress);
}

TEST(DataRequestTest, IsNoneForAnythingElse) {
    const auto mib = [](const std::string& fields) {
        return snmp::ReadDataRequest("<GetData><Group id=\"" + fields + "\"/></GetData>");
    };
    ASSERT_TRUE(mib("access=MIB;oid=1.3;type=integer;rtype=GetRequest"));
    for (const char* fields :
         {"", "access=MIB", "access=MIB;oid=1.3;type=integer",
          "access=MIB;oid=1.3;rtype=GetRequest", "access=MIB;type=integer;rtype=GetRequest",
          "access=MIB;oid=one;type=integer;rtype=GetRequest",
          "access=MIB;oid=1.3;type=Integer;rtype=GetRequest",
          "access=MIB;oid=1.3;type=integer;rtype=SetRequest",
          "access=FILE;oid=1.3;type=integer;rtype=GetRequest", "access;oid;type;rtype", ";;;;",
          "=;=;="}) {
        EXPECT_FALSE(mib(fields)) << fields;
    }
    EXPECT_FALSE(snmp::ReadDataRequest(""));
    EXPECT_FALSE(snmp::ReadDataRequest("<GetData><d id=\"Name\"/></GetData>"));
    EXPECT_FALSE(snmp::ReadDataRequest("<d id=\"MACAddress\"/><broken"));
}

// The tags of a document as "name(attributes)text"; "!" at the end when it is malformed.
std::vector<std::string> Tags(std::string_view document) {
    const GuardedBytes guarded(
        snmp::ByteView(reinterpret_cast<const std::uint8_t*>(document.data()), document.size()));
    snmp::CXmlTags tags(guarded.text());
    std::vector<std::string> seen;
    while (const auto tag = tags.Next()) {
        std::string text = tag->kind == snmp::CXmlTag::Kind::kEnd ? "/" + tag->name : tag->name;
        for (const auto& [name, value] : tag->attributes) {
            text.append("(").append(name).append("=").append(value).append(")");
        }
        seen.push_back(text + ":" + tag->text);
    }
    if (tags.IsMalformed()) {
        seen.emplace_back("!");
    }
    return seen;
}

TEST(XmlTagsTest, GivesTagsWithAttributesAndText) {
    EXPECT_THAT(
        Tags("<?xml version=\"1.0\"?><!-- <x> --><a b=\"1\" c = '2>&lt;' >  text\n </a ><d/>"),
        ElementsAre("a(b=1)(c=2><):text", "/a:", "d:"));
    EXPECT_THAT(Tags("<a>1 &amp; 2</a>"), ElementsAre("a:1 & 2", "/a:"));
    EXPECT_THAT(Tags(""), IsEmpty());
    EXPECT_THAT(Tags("no tag > at all"), IsEmpty());
}

TEST(XmlTagsTest, ReadsReferencesToCharacters) {
    EXPECT_THAT(Tags("<a>&#65;&#x42;&#xe4;&#x20ac;&#x1f5a8;</a>"),
                ElementsAre("a:AB\xC3\xA4\xE2\x82\xAC\xF0\x9F\x96\xA8", "/a:"));
    const std::string name = "B\xC3\xBCro <1> \xE2\x82\xAC";
    EXPECT_THAT(Tags(snmp::XmlElement("a", name)), ElementsAre("a:" + name, "/a:"));
}

TEST(XmlTagsTest, StopsAtWhatIsMalformed) {
    for (const char* document : {"<",
                                 "<a",
                                 "<a b",
                                 "<a b=",
                                 "<a b=>",
                                 "<a b=1>",
                                 "<a b='1>",
                                 "<a b='1' b='2'>",
                                 "<>",
                                 "</>",
                                 "<a =''>",
                                 "<a <b>",
                                 "<!DOCTYPE a><a>",
                                 "<!ENTITY x 'y'>",
                                 "<![CDATA[x]]>",
                                 "<!-- ",
                                 "<? ",
                                 "<a>&x;</a>",
                                 "<a>&#;</a>",
                                 "<a>&#x;</a>",
                                 "<a>&#6a;</a>",
                                 "<a>&#65</a>",
                                 "<a>&#0;</a>",
                                 "<a>&#x1f;</a>",
                                 "<a>&#xd800;</a>",
                                 "<a>&#x110000;</a>",
                                 "<a>&#4294967361;</a>",
                                 "<a b='&'>"}) {
        EXPECT_THAT(Tags(document), ElementsAre("!")) << document;
    }
    EXPECT_THAT(Tags(std::string(snmp::CXmlTags::kLongest, ' ')), IsEmpty());
    EXPECT_THAT(Tags(std::string(snmp::CXmlTags::kLongest + 1, ' ')), ElementsAre("!"));
}

// Whatever comes, nothing is read behind it and the reading ends.
TEST(XmlTagsTest, EndsWhateverComes) {
    const std::string seed =
        Narrow(ProbeModeDocument({}, SubnetListDocument({{L"127.0.5.0", L"255.255.255.0"}})));
    std::mt19937 random(20260902);
    const std::string marks = "<>/\"'=&;!-? a";
    std::size_t most = 0;
    for (int round = 0; round < 5000; ++round) {
        std::string document = seed.substr(0, random() % (seed.size() + 1));
        for (unsigned change = random() % 4; change > 0 && !document.empty(); --change) {
            document[random() % document.size()] = marks[random() % marks.size()];
        }
        const auto tags = Tags(document);
        EXPECT_LE(tags.size(), document.size());
        most = std::max(most, tags.size());
    }
    EXPECT_GT(most, 5U);
}

TEST(EscapeXmlTest, LeavesOnlyWhatADocumentMayHold) {
    EXPECT_EQ(snmp::EscapeXml("a<b>&\"'"), "a&lt;b&gt;&amp;&quot;&apos;");
    EXPECT_EQ(snmp::EscapeXml(std::string_view("\0\x01\t\n\x1F\x7F", 6)), "??????");
    EXPECT_EQ(snmp::EscapeXml("\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x96\xA8 \xF4\x8F\xBF\xBD"),
              "&#xe4; &#x20ac; &#x1f5a8; &#x10fffd;");
    EXPECT_EQ(snmp::EscapeXml("\xC2\x80 \xDF\xBF \xE0\xA0\x80"), "&#x80; &#x7ff; &#x800;");
    EXPECT_EQ(snmp::EscapeXml("\xE4\xF6 \xC0\x80 \xC3"), "?? ?? ?") << "not UTF-8";
    EXPECT_EQ(snmp::EscapeXml("\xED\xA0\x80 \xEF\xBF\xBF \xF4\x90\x80\x80 \xE0\x80\x80 \xF5"),
              "??? ??? ???? ??? ?");
    EXPECT_EQ(snmp::XmlElement("Name", "]]>"), "<Name>]]&gt;</Name>");
}

}  // namespace
}  // namespace ksp::test
