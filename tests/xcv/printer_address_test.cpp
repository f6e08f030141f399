// What kind of address a text is.

#include "ports/printer_address.h"

#include <gtest/gtest.h>

namespace ksp::test {
namespace {

TEST(PrinterAddressTest, TypeFollowsTheText) {
    const struct {
        const wchar_t* text;
        std::uint32_t type;
    } cases[] = {{L"10.1.2.3", 1},
                 {L"printer1", 2},
                 {L"", 2},
                 {L"printer.example.com", 2},
                 {L"255.255.255.255", 2},
                 {L"0.0.0.0", 2},
                 {L"256.1.1.1", 2},
                 {L"1.2.3.4.5", 2},
                 {L"::1", 2},
                 {L"http://printer1", 3},
                 {L"http://10.1.2.3/", 3},
                 {L"ipp://printer1/queue", 3},
                 {L"see http://printer1", 3},
                 {L"10.1.2.3 ipp://", 3},
                 {L"HTTP://printer1", 2},
                 {L"Ipp://printer1", 2},
                 {L"https://printer1", 2},
                 {L"ipps://printer1", 2},
                 {L"http:/printer1", 2},
                 {L"\xD800", 2}};
    for (const auto& one : cases) {
        EXPECT_EQ(GetPrinterAddressType(one.text), one.type) << one.text;
    }
}

TEST(PrinterAddressTest, DottedAddressesAreRecognised) {
    for (const wchar_t* text : {L"127.0.0.1", L"0.0.0.1", L"255.255.255.254", L"1.2.3.4"}) {
        EXPECT_TRUE(IsIpAddressString(text)) << text;
    }
    for (const wchar_t* text : {L"", L"a", L"0.0.0.0", L"255.255.255.255", L"1.2.3.a"}) {
        EXPECT_FALSE(IsIpAddressString(text)) << text;
    }
    EXPECT_FALSE(IsIpAddressString(std::wstring(64 * 1024, L'1')));
}

}  // namespace
}  // namespace ksp::test
