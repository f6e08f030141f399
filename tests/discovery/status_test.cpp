#include "tests/discovery/status_test.h"

namespace ksp::test {

void StatusTest::SetUp() {
    DiscoveryTest::SetUp();
    ASSERT_TRUE(sockets_.StartupSockets());
    library_.AddDevice({.address = kDevice});
    SetValues({3}, {0x00});
}

void StatusTest::SetValues(const std::vector<uint8_t>& state, const std::vector<uint8_t>& errors) {
    ASSERT_TRUE(library_.SetValue(kDevice, kStatusOid, state));
    ASSERT_TRUE(library_.SetValue(kDevice, kErrorStateOid, errors));
}

std::vector<std::string> StatusTest::StatusLines() {
    std::vector<std::string> lines = NewLines();
    std::erase_if(lines, [](const std::string& line) {
        return line.starts_with("TRACE: Host name = ") ||
               line.starts_with("TRACE: Read port info : hostname = ") ||
               line.starts_with("TRACE: could not read info. : ");
    });
    return lines;
}

void StatusTest::ExpectUnknown(const std::string& line) {
    EXPECT_EQ(Status(), kUnknown);
    EXPECT_THAT(StatusLines(),
                ::testing::ElementsAre(line, "ERROR: GetPrinterStatus Result is FALSE!"));
    EXPECT_EQ(library_.Leftovers(), "");
}

std::optional<std::wstring> StatusTest::ResolvePrinter(const std::wstring& name) {
    CSLIpAddr address;
    if (address.getByNamePrinting(name, CSLIpAddr::kFamily) != 0) {
        return std::nullopt;
    }
    return address.Text();
}

}  // namespace ksp::test
