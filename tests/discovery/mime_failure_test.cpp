// Replies whose value cannot be taken out, each step of taking it out in turn.

#include "support/text.h"
#include "tests/discovery/debugger_output.h"
#include "tests/discovery/status_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kFirstFails[] = "ERROR: Failed GetOIDSValue (Status)";
constexpr char kSecondFails[] = "ERROR: Failed GetOIDSValue (Error Status)";

class MimeFailureTest : public StatusTest {
  protected:
    // The status query with this header before its value; the lines end as those of any failure.
    void ExpectHeaderFails(const std::string& header, const std::vector<std::string>& lines) {
        ASSERT_TRUE(library_.SetMimeReply(kDevice, kStatusOid, {.bytes = {{4}}, .header = header}));
        EXPECT_EQ(Status(), kUnknown);
        std::vector<std::string> expected = lines;
        expected.emplace_back(kFirstFails);
        expected.emplace_back("ERROR: GetPrinterStatus Result is FALSE!");
        EXPECT_EQ(StatusLines(), expected) << header;
        EXPECT_EQ(library_.Leftovers(), "");
    }
};

class MimeStepTest : public StatusTest, public ::testing::WithParamInterface<DiscoveryFunction> {};

TEST_P(MimeStepTest, FailsTheFirstQuery) {
    library_.FailNth(GetParam(), 1);
    ExpectUnknown(kFirstFails);
    EXPECT_EQ(library_.Calls(DiscoverySendRecvStream).size(), 1U);
    EXPECT_EQ(Status(), 0U) << "the next query is not hurt";
}

TEST_P(MimeStepTest, FailsTheSecondQuery) {
    library_.FailNth(GetParam(), 2);
    ExpectUnknown(kSecondFails);
    EXPECT_EQ(library_.Calls(DiscoverySendRecvStream).size(), 2U);
}

TEST_P(MimeStepTest, FailsAlsoWithAnyOtherCode) {
    if (GetParam() != DiscoveryCreateMIMEUtil) {
        library_.FailNth(GetParam(), 1, 1);
        ExpectUnknown(kFirstFails);
    }
}

// What a failing call hands out is given back.
TEST_P(MimeStepTest, FailsHavingDoneItsWork) {
    if (GetParam() != DiscoveryCreateMIMEUtil) {
        library_.AddFault({.function = GetParam(),
                           .nth = 1,
                           .and_later = FALSE,
                           .kind = DiscoveryDoAndFail,
                           .result = -2});
        ExpectUnknown(kFirstFails);
    }
}

INSTANTIATE_TEST_SUITE_P(All, MimeStepTest,
                         ::testing::Values(DiscoveryCreateMIMEUtil, DiscoveryMIMESplitData,
                                           DiscoveryMIMEDecode, DiscoveryMIMEGetData),
                         [](const auto& test) { return ExportName(test.param); });

TEST_F(MimeFailureTest, ASplitWithoutPartsFails) {
    library_.EmptyNth(DiscoveryMIMESplitData, 1);
    ExpectUnknown(kFirstFails);
}

TEST_F(MimeFailureTest, APartWithoutAnItemFails) {
    library_.EmptyNth(DiscoveryMIMEGetData, 1);
    ExpectUnknown(kFirstFails);
}

// The header stays as it came, which is no document.
TEST_F(MimeFailureTest, AHeaderThatIsNotDecodedFails) {
    library_.EmptyNth(DiscoveryMIMEDecode, 1);
    EXPECT_EQ(Status(), kUnknown);
    const std::vector<std::string> lines = StatusLines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], "TRACE: error loadXML : 1");
    EXPECT_EQ(lines[2], kFirstFails);
}

TEST_F(MimeFailureTest, AReplyThatIsNotMimeFails) {
    for (const char* text : {"no MIME at all", ""}) {
        library_.SetTextReply(kDevice, kStatusOid, text);
        ExpectUnknown(kFirstFails);
    }
}

TEST_F(MimeFailureTest, AHeaderThatIsNoDocumentFails) {
    ExpectHeaderFails("<no document",
                      {"TRACE: error loadXML : 1", "TRACE: " + ParserReason(L"<no document")});
    ExpectHeaderFails("<!DOCTYPE r [<!ENTITY e \"value\">]><r><Group>&e;</Group></r>",
                      {"TRACE: error loadXML : 1",
                       "TRACE: The document is too long or has a document type definition."});
    ExpectHeaderFails(
        "<r><Group>value</Group><x>" + std::string(10 * 1024 * 1024, 'x') + "</x></r>",
        {"TRACE: error loadXML : 1",
         "TRACE: The document is too long or has a document type definition."});
}

TEST_F(MimeFailureTest, AHeaderWithoutAGroupFails) {
    ExpectHeaderFails("<r/>", {});
    ExpectHeaderFails("<r><group>value</group></r>", {});
    ExpectHeaderFails("<Group>value</Group>", {});
    ExpectHeaderFails("<r><Group></Group><Group>value</Group></r>", {});
    ExpectHeaderFails("<r><Group/></r>", {});
    EXPECT_THAT(library_.Calls(DiscoveryMIMEGetData), IsEmpty());
}

TEST_F(MimeFailureTest, AGroupThatNamesNoPartFails) {
    ExpectHeaderFails("<r><Group>other</Group></r>", {});
    ExpectHeaderFails("<r><Group>VALUE</Group></r>", {});
    EXPECT_THAT(library_.Texts(DiscoveryMIMEGetData), ElementsAre("other", "VALUE"));
}

TEST_F(MimeFailureTest, TheFirstGroupNamesThePart) {
    library_.SetMimeReply(
        kDevice, kStatusOid,
        {.bytes = {{4}},
         .header = "<r><x><Group id=\"1\">val<y>ue</y></Group></x><Group>other</Group></r>"});
    EXPECT_EQ(Status(), 0x200U);
}

// Out of the library and back to it in the same code page.
TEST_F(MimeFailureTest, APartsNameMayHaveAnyLetters) {
    library_.SetMimeReply(kDevice, kStatusOid, {.bytes = {{4}}, .part_name = "W\xC3\xB6rt"});
    EXPECT_EQ(Status(), 0x200U);
    EXPECT_THAT(library_.Texts(DiscoveryMIMEGetData),
                ElementsAre(ToAnsi(FromAnsi("W\xC3\xB6rt")), "value"));
}

TEST_F(MimeFailureTest, NoReplyIsToldToTheDebuggerOnly) {
    const DebuggerOutput debugger;
    library_.SetNoReply(kDevice, kStatusOid, 0);
    ExpectUnknown(kFirstFails);
    EXPECT_THAT(debugger.Texts(), ElementsAre(L"COryxProbe::GetOIDSValue (Exit)\n"));
    EXPECT_EQ(library_.Calls(DiscoveryRecvCancel).size(), 1U);
    EXPECT_THAT(library_.Calls(DiscoveryCreateMIMEUtil), IsEmpty());
}

TEST_F(MimeFailureTest, NoSecondReplyIsToldToTheDebuggerToo) {
    const DebuggerOutput debugger;
    library_.SetNoReply(kDevice, kErrorStateOid, 0);
    ExpectUnknown(kSecondFails);
    EXPECT_THAT(debugger.Texts(), ElementsAre(L"COryxProbe::GetOIDSValue (Exit)\n"));
}

TEST_F(MimeFailureTest, AGoodQueryTellsTheDebuggerNothing) {
    const DebuggerOutput debugger;
    EXPECT_EQ(Status(), 0U);
    library_.FailNth(DiscoverySendRecvStream, 1);
    EXPECT_EQ(Status(), kUnknown);
    EXPECT_THAT(debugger.Texts(), IsEmpty());
}

}  // namespace
}  // namespace ksp::test
