// Documents that are refused, and what a hostile one must not bring about.

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "support/text.h"
#include "tests/discovery/discovery_test.h"
#include "tests/discovery/xml_test.h"
#include "tests/host/temp_directory.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;

constexpr char kError[] = "TRACE: error loadXML : 1";
constexpr char kRefused[] = "TRACE: The document is too long or has a document type definition.";

class XmlRefusalTest : public XmlTest {
  protected:
    void ExpectRefused(const std::wstring& text) {
        EXPECT_EQ(Load(text), S_FALSE);
        EXPECT_THAT(log_.Lines(), ElementsAre(kError, kRefused));
        EXPECT_EQ(Find(L"a"), L"none");
    }
};

class NotXmlTest : public XmlTest, public ::testing::WithParamInterface<const wchar_t*> {};

TEST_P(NotXmlTest, IsRefusedWithTheParsersReason) {
    const std::string reason = ParserReason(GetParam());
    EXPECT_EQ(Load(GetParam()), S_FALSE);
    // The reason ends with line ends of its own, which the log's reader keeps.
    EXPECT_THAT(log_.Lines(), ElementsAre(kError, "TRACE: " + reason));
    EXPECT_EQ(Find(L"a"), L"none");
}

INSTANTIATE_TEST_SUITE_P(All, NotXmlTest,
                         ::testing::Values(L"<r><a>open</a>", L"no markup at all",
                                           L"<r><a>crossed</r></a>", L"<r/><a>second root</a>",
                                           L"<r><a b=c>no quotes</a></r>",
                                           L"<r><a>&unknown;</a></r>", L"<r><a>\x0001</a></r>",
                                           L""));

TEST_F(XmlRefusalTest, ADocumentTypeIsRefused) {
    ExpectRefused(L"<!DOCTYPE r><r><a>1</a></r>");
}

TEST_F(XmlRefusalTest, AnInternalEntityIsRefused) {
    ExpectRefused(L"<?xml version=\"1.0\"?><!DOCTYPE r [<!ENTITY e \"text\">]><r><a>&e;</a></r>");
}

TEST_F(XmlRefusalTest, AnEntityIsNotReadFromAFile) {
    const TempDirectory directory;
    std::ofstream(directory.File(L"secret.txt").c_str()) << "secret";
    std::wstring path = directory.File(L"secret.txt");
    std::replace(path.begin(), path.end(), L'\\', L'/');
    ExpectRefused(L"<!DOCTYPE r [<!ENTITY e SYSTEM \"file:///" + path + L"\">]><r><a>&e;</a></r>");
}

TEST_F(XmlRefusalTest, NothingIsFetchedForADocument) {
    standins::LoopbackPrinter server;
    ASSERT_TRUE(server.ready());
    const std::wstring url =
        L"http://" + server.wide_address() + L":" + std::to_wstring(server.port()) + L"/x";
    for (const std::wstring& text :
         {L"<!DOCTYPE r SYSTEM \"" + url + L"\"><r><a>1</a></r>",
          L"<!DOCTYPE r [<!ENTITY e SYSTEM \"" + url + L"\">]><r><a>&e;</a></r>",
          L"<!DOCTYPE r [<!ENTITY % p SYSTEM \"" + url + L"\">%p;]><r><a>1</a></r>"}) {
        EXPECT_EQ(Load(text), S_FALSE);
        EXPECT_EQ(Find(L"a"), L"none");
    }
    EXPECT_EQ(server.connections().size(), 0U);
}

TEST_F(XmlRefusalTest, NestedEntitiesAreNotBlownUp) {
    std::wstring definitions = L"<!ENTITY e0 \"lol\">";
    for (int level = 1; level < 10; ++level) {
        const std::wstring reference = L"&e" + std::to_wstring(level - 1) + L";";
        definitions += L"<!ENTITY e" + std::to_wstring(level) + L" \"";
        for (int i = 0; i < 10; ++i) {
            definitions += reference;
        }
        definitions += L"\">";
    }
    ExpectRefused(L"<!DOCTYPE r [" + definitions + L"]><r><a>&e9;</a></r>");
}

// A parser may copy them to where there is room for a real one.
TEST_F(XmlRefusalTest, AnEndlessVersionNumberOrEncodingIsRefused) {
    const std::wstring endless(400, L'0');
    std::vector<std::string> lines;
    for (const std::wstring& text :
         {L"<?xml version=\"1." + endless + L"\"?><r><a>1</a></r>",
          L" <?xml\nversion = '1." + endless + L"' encoding='utf-8'?><r><a>1</a></r>",
          L"<?xml version='1.0' encoding=\"" + endless + L"\"?><r><a>1</a></r>",
          L"<?xml version=\"1." + endless}) {
        EXPECT_EQ(Load(text), S_FALSE);
        lines.emplace_back(kError);
        lines.emplace_back(
            "TRACE: The document's declaration has no end or holds too long a value.");
        EXPECT_EQ(log_.Lines(), lines);
        EXPECT_EQ(Find(L"a"), L"none");
    }
}

// Each of them looked for its end would take minutes.
TEST_F(XmlRefusalTest, DeclarationsWithoutAnEndAreRefusedAtTheFirst) {
    std::wstring text;
    while (text.size() < CXmlDocument::kLongest - 6) {
        text += L"<?xml ";
    }
    EXPECT_EQ(Load(text), S_FALSE);
    EXPECT_EQ(log_.Lines().back(),
              "TRACE: The document's declaration has no end or holds too long a value.");
}

TEST_F(XmlRefusalTest, TheValuesOfOtherInstructionsMayBeLong) {
    ASSERT_EQ(Load(L"<?xml version=\"1.0\" encoding=\"ISO-8859-15\" standalone='yes' ?>"
                   L"<?xml-stylesheet href=\"a-name-of-many-more-letters.xsl\"?><r><a>1</a></r>"),
              S_OK);
    EXPECT_EQ(Find(L"a"), L"1");
}

TEST_F(XmlRefusalTest, TenMegabytesAreRefused) {
    ExpectRefused(L"<r><a>" + std::wstring(10 * 1024 * 1024, L'x') + L"</a></r>");
}

TEST_F(XmlRefusalTest, TheLongestDocumentIsRead) {
    const std::wstring frame = L"<r><a></a></r>";
    const std::wstring longest(CXmlDocument::kLongest - frame.size(), L'x');
    ASSERT_EQ(Load(L"<r><a>" + longest + L"</a></r>"), S_OK);
    EXPECT_EQ(Find(L"a"), longest);
    ExpectRefused(L"<r><a>x" + longest + L"</a></r>");
}

// The stack of a spooler thread holds.
TEST_F(XmlRefusalTest, HundredThousandElementsInsideEachOtherDoNoHarm) {
    constexpr size_t kDepth = 100000;
    std::wstring text = L"<r>";
    for (size_t i = 0; i < kDepth; ++i) {
        text += L"<i>";
    }
    text += L"<a>deep</a>";
    for (size_t i = 0; i < kDepth; ++i) {
        text += L"</i>";
    }
    EXPECT_NE(Load(text + L"</r>"), E_OUTOFMEMORY);
    EXPECT_EQ(Find(L"a"), L"none");
    ASSERT_EQ(Load(L"<r><a>1</a></r>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"1");
}

TEST_F(XmlRefusalTest, ElementsAreFoundDownToTheDeepestLevel) {
    const auto nested = [](size_t levels) {
        std::wstring open;
        std::wstring close;
        for (size_t i = 0; i < levels; ++i) {
            open += L"<i>";
            close += L"</i>";
        }
        return L"<r>" + open + L"<a>deep</a>" + close + L"</r>";
    };
    ASSERT_EQ(Load(nested(CXmlDocument::kDeepest / 2)), S_OK);
    EXPECT_EQ(Find(L"a"), L"deep");
}

TEST_F(XmlRefusalTest, WhatIsTooLongIsCutWhereTheReaderRefusesIt) {
    EXPECT_EQ(DocumentText(nullptr), L"");
    EXPECT_EQ(DocumentText(""), L"");
    const std::string longest(CXmlDocument::kLongest, 'x');
    EXPECT_EQ(DocumentText(longest.c_str()).size(), CXmlDocument::kLongest);
    const std::string huge(10 * CXmlDocument::kLongest, 'x');
    EXPECT_EQ(DocumentText(huge.c_str()).size(), CXmlDocument::kLongest + 1);
}

TEST_F(XmlRefusalTest, TextsFromTheLibraryAreAnsiText) {
    const std::string bytes = "\xC3\xA4";  // one letter in UTF-8
    EXPECT_EQ(DocumentText(bytes.c_str()), FromAnsi(bytes));
    if (::GetACP() != CP_UTF8) {
        EXPECT_NE(DocumentText(bytes.c_str()), L"\u00E4");
    }
}

}  // namespace
}  // namespace ksp::test
