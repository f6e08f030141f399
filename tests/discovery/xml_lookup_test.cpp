// Which element a look-up finds.

#include "tests/discovery/xml_test.h"

namespace ksp::test {
namespace {

using ::testing::IsEmpty;

class XmlLookupTest : public XmlTest {};

TEST_F(XmlLookupTest, TheFirstElementInDocumentOrderIsFound) {
    ASSERT_EQ(Load(L"<r><a><b><MAC_Address>deep</MAC_Address></b></a>"
                   L"<MAC_Address>shallow</MAC_Address></r>"),
              S_OK);
    EXPECT_EQ(Find(L"MAC_Address"), L"deep");

    ASSERT_EQ(Load(L"<r><MAC_Address>shallow</MAC_Address>"
                   L"<a><b><MAC_Address>deep</MAC_Address></b></a></r>"),
              S_OK);
    EXPECT_EQ(Find(L"MAC_Address"), L"shallow");
    EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(XmlLookupTest, AMatchIsFoundBeforeWhatItContains) {
    ASSERT_EQ(Load(L"<r><a>1<a>2</a></a></r>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"12");
}

TEST_F(XmlLookupTest, TheSearchGoesBackUpAfterADeadEnd) {
    ASSERT_EQ(Load(L"<r><a><b><c/></b></a><d><e/></d><f>here</f></r>"), S_OK);
    EXPECT_EQ(Find(L"f"), L"here");
}

TEST_F(XmlLookupTest, TheDocumentElementIsNeverCompared) {
    ASSERT_EQ(Load(L"<a>outside<b/></a>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"none");
    ASSERT_EQ(Load(L"<a>outside<a>inside</a></a>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"inside");
    ASSERT_EQ(Load(L"<d id=\"x\">outside</d>"), S_OK);
    EXPECT_EQ(Find(L"d", L"id", L"x"), L"none");
}

TEST_F(XmlLookupTest, LetterCaseCounts) {
    ASSERT_EQ(Load(L"<r><group>lower</group><GROUP>upper</GROUP></r>"), S_OK);
    EXPECT_EQ(Find(L"Group"), L"none");
    EXPECT_EQ(Find(L"GROUP"), L"upper");
    EXPECT_EQ(Find(L"group"), L"lower");
}

TEST_F(XmlLookupTest, NamesAreComparedWhole) {
    ASSERT_EQ(Load(L"<r><ab>x</ab></r>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"none");
    EXPECT_EQ(Find(L"abc"), L"none");
    EXPECT_EQ(Find(L""), L"none");
}

TEST_F(XmlLookupTest, OnlyElementsAreFound) {
    ASSERT_EQ(Load(L"<r><!-- <a>comment</a> --><?a instruction?><![CDATA[<a>text</a>]]>"
                   L"<b a=\"attribute\"/></r>"),
              S_OK);
    EXPECT_EQ(Find(L"a"), L"none");
}

TEST_F(XmlLookupTest, TheTextIsThatOfAllDescendants) {
    ASSERT_EQ(Load(L"<r><a>one<b>two<c>three</c></b><![CDATA[<four>]]>&amp;</a></r>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"onetwothree<four>&");
}

TEST_F(XmlLookupTest, AnEmptyElementIsFoundWithAnEmptyText) {
    ASSERT_EQ(Load(L"<r><a/><a>second</a></r>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"");
}

TEST_F(XmlLookupTest, TextsKeepTheirCharacters) {
    ASSERT_EQ(Load(L"<r><a>\u00E4\u20AC\u6F22</a></r>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"\u00E4\u20AC\u6F22");
}

TEST_F(XmlLookupTest, AnAttributeChoosesTheElement) {
    ASSERT_EQ(Load(L"<r><d id=\"Name\">n</d><d>none</d><x id=\"MACAddress\">x</x>"
                   L"<g><d no=\"1\" id=\"MACAddress\">first</d></g>"
                   L"<d id=\"MACAddress\">second</d></r>"),
              S_OK);
    EXPECT_EQ(Find(L"d", L"id", L"MACAddress"), L"first");
    EXPECT_EQ(Find(L"d", L"id", L"Name"), L"n");
    EXPECT_EQ(Find(L"d", L"no", L"1"), L"first");
}

TEST_F(XmlLookupTest, AnAttributesNameAndValueAreExact) {
    ASSERT_EQ(Load(L"<r><d ID=\"MACAddress\">1</d><d id=\"macaddress\">2</d>"
                   L"<D id=\"MACAddress\">3</D><d id=\"MACAddress2\">4</d></r>"),
              S_OK);
    EXPECT_EQ(Find(L"d", L"id", L"MACAddress"), L"none");
}

TEST_F(XmlLookupTest, AnElementWithAnotherValueIsStillLookedInto) {
    ASSERT_EQ(Load(L"<r><d id=\"outer\"><d id=\"inner\">x</d></d></r>"), S_OK);
    EXPECT_EQ(Find(L"d", L"id", L"inner"), L"x");
}

TEST_F(XmlLookupTest, WithoutADocumentNothingIsFound) {
    EXPECT_EQ(Find(L"a"), L"none");
    EXPECT_EQ(Find(L"a", L"b", L"c"), L"none");
    document_.Release();
    EXPECT_EQ(Find(L"a"), L"none");
}

TEST_F(XmlLookupTest, AnotherDocumentReplacesTheFirst) {
    ASSERT_EQ(Load(L"<r><a>1</a></r>"), S_OK);
    ASSERT_EQ(Load(L"<r><b>2</b></r>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"none");
    EXPECT_EQ(Find(L"b"), L"2");
}

TEST_F(XmlLookupTest, ADocumentThatIsRefusedReplacesTheFirstAllTheSame) {
    ASSERT_EQ(Load(L"<r><a>1</a></r>"), S_OK);
    ASSERT_NE(Load(L"<r><a>2</a>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"none");
    ASSERT_EQ(Load(L"<r><a>3</a></r>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"3");
}

TEST_F(XmlLookupTest, ReleasedTwiceIsReleased) {
    ASSERT_EQ(Load(L"<r><a>1</a></r>"), S_OK);
    document_.Release();
    document_.Release();
    EXPECT_EQ(Find(L"a"), L"none");
}

// An earlier result is not left standing.
TEST_F(XmlLookupTest, AFailedLookUpEmptiesTheText) {
    ASSERT_EQ(Load(L"<r><a>1</a></r>"), S_OK);
    ASSERT_EQ(Find(L"a"), L"1");
    EXPECT_EQ(Find(L"x"), L"none");
}

// As many as a document has room for; a walk that began anew for each of them would not end.
TEST_F(XmlLookupTest, ManyBrothersAreWalkedOnce) {
    const std::wstring last = L"<a>last</a></r>";
    std::wstring text = L"<r>";
    while (text.size() + last.size() + 4 <= CXmlDocument::kLongest) {
        text += L"<i/>";
    }
    ASSERT_EQ(Load(text + last), S_OK);
    EXPECT_EQ(Find(L"a"), L"last");
}

}  // namespace
}  // namespace ksp::test
