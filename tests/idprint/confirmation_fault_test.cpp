// The reachability check when the system does not send what it is given.

#include <gtest/gtest.h>
#include <winsock2.h>

#include "net/ip_address.h"
#include "tests/host/patched_import.h"
#include "tests/net/net_test.h"

namespace ksp::test {
namespace {

using SendFunction = int(WINAPI*)(SOCKET, const char*, int, int);

int g_sends = 0;

int WINAPI FailingSend(SOCKET /*socket*/, const char* /*data*/, int /*length*/, int /*flags*/) {
    ++g_sends;
    WSASetLastError(WSAENETDOWN);
    return SOCKET_ERROR;
}
int WINAPI ShortSend(SOCKET /*socket*/, const char* /*data*/, int length, int /*flags*/) {
    ++g_sends;
    return length - 1;
}

class ConfirmationFaultTest : public NetTest {
  protected:
    // The printer says nothing: it would send through the same function.
    bool Ask(SendFunction send) {
        const standins::LoopbackPrinter printer;
        EXPECT_TRUE(printer.ready());
        const PatchedImport<SendFunction> patched("send", send);
        EXPECT_TRUE(patched.works());
        g_sends = 0;
        return CSLIpAddr::isSecureReachable(printer.wide_address(), printer.port());
    }
};

TEST_F(ConfirmationFaultTest, ASendThatFailsIsLoggedWithTheSystemsText) {
    EXPECT_FALSE(Ask(FailingSend));
    EXPECT_EQ(Count(LineLevel::kInfo, L"Error in ::send call. Err msg =" + SystemText(WSAENETDOWN)),
              1U)
        << ReadLog().Describe();
    EXPECT_TRUE(ReadLog().Messages(LineLevel::kCritical).empty()) << "no reply was waited for";
    EXPECT_EQ(g_sends, 1);
}

TEST_F(ConfirmationFaultTest, APartOfTheRequestIsNotEnough) {
    EXPECT_FALSE(Ask(ShortSend));
    EXPECT_EQ(ReadLog().Messages(LineLevel::kCritical),
              std::vector<std::wstring>{L"CSLStreamSocket::send failure"});
    EXPECT_EQ(g_sends, 1) << "the rest is not sent afterwards";
}

TEST_F(ConfirmationFaultTest, ANameThatNobodyKnowsIsNotReachable) {
    EXPECT_FALSE(CSLIpAddr::isSecureReachable(kNoHost, 9101));
    EXPECT_EQ(ReadLog().Messages(LineLevel::kCritical),
              std::vector<std::wstring>{L"CSLIpAddr::getByNamePrinting failure"});
}

}  // namespace
}  // namespace ksp::test
