// Calls of Windows Sockets that only an exhausted system refuses.

#include <gtest/gtest.h>

#include <atomic>
#include <optional>

#include "tests/host/patched_import.h"
#include "tests/net/stream_socket_test.h"

namespace ksp::test {
namespace {

// Refuses the first calls of a function that this thread makes, as long as it lives; the printers'
// threads go on as before.
template <class Function>
class Refusal;

template <class... Arguments>
class Refusal<int(WINAPI*)(Arguments...)> {
  public:
    Refusal(const char* function, int error, int times = 1) {
        ULONG_PTR* const import = FindImport(nullptr, function);
        if (import == nullptr) {
            ADD_FAILURE() << "nobody calls " << function;
            return;
        }
        original_ = reinterpret_cast<Function>(*import);
        error_ = error;
        left_ = times;
        thread_ = GetCurrentThreadId();
        patch_.emplace(function, Answer);
    }
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;

    // How many of them were not made.
    [[nodiscard]] int left() const { return left_; }

  private:
    using Function = int(WINAPI*)(Arguments...);

    static int WINAPI Answer(Arguments... arguments) {
        if (GetCurrentThreadId() != thread_ || left_ == 0) {
            return original_(arguments...);
        }
        --left_;
        WSASetLastError(error_);
        return SOCKET_ERROR;
    }

    // Of the class: a printer's thread may still be in the answer when the object is gone.
    inline static std::atomic<Function> original_{nullptr};
    inline static std::atomic<DWORD> thread_{0};
    inline static std::atomic<int> error_{0};
    inline static std::atomic<int> left_{0};
    std::optional<PatchedImport<Function>> patch_;
};

int WINAPI NoError(SOCKET /*socket*/, int /*level*/, int /*name*/, char* value, int* length) {
    *reinterpret_cast<int*>(value) = 0;
    *length = sizeof(int);
    return 0;
}

// As WSAStartup tells it: by its result.
int WINAPI NoStart(WORD /*version*/, WSADATA* /*data*/) {
    return WSASYSNOTREADY;
}

// A host that has addresses of another kind only.
hostent* WINAPI OtherFamily(const char* /*name*/) {
    static char* addresses[] = {nullptr};
    static hostent host = {nullptr, nullptr, AF_INET6, 16, addresses};
    return &host;
}

constexpr char kByte = 'x';

class RefusedCallsTest : public StreamSocketTest {
  protected:
    using GetSockName = Refusal<decltype(&::getsockname)>;
    using GetSockOpt = Refusal<decltype(&::getsockopt)>;
    using Select = Refusal<decltype(&::select)>;
    using Send = Refusal<decltype(&::send)>;
    using Recv = Refusal<decltype(&::recv)>;
    using IoctlSocket = Refusal<decltype(&::ioctlsocket)>;
    using CloseSocket = Refusal<decltype(&::closesocket)>;
    using GetHostNameCall = Refusal<decltype(&::gethostname)>;

    static PrinterBehavior Answers(PrinterBehavior::Answer answer) { return {.answer = answer}; }

    void ExpectInfo(const std::wstring& message, size_t times = 1) {
        EXPECT_EQ(Count(LineLevel::kInfo, message), times) << ReadLog().Describe();
    }
};

TEST_F(RefusedCallsTest, SocketsThatCannotBeStartedAreTriedAgain) {
    StopSockets();
    CSocketLibrary library;
    {
        const PatchedImport<decltype(&::WSAStartup)> patch("WSAStartup", NoStart);
        ASSERT_TRUE(patch.works());
        EXPECT_FALSE(library.StartupSockets());
    }
    EXPECT_EQ(Count(LineLevel::kCritical, L"Failed : WSAStartup"), 1u);
    EXPECT_TRUE(library.StartupSockets());
}

TEST_F(RefusedCallsTest, AComputerWithoutANameHasNoLocalAddress) {
    const GetHostNameCall refusal("gethostname", WSAENETDOWN);
    CSLIpAddr address;
    EXPECT_EQ(address.getLocalHost(), static_cast<DWORD>(WSAENETDOWN));
    EXPECT_EQ(Count(LineLevel::kError,
                    L"Unable to get address for local host. " + SystemText(WSAENETDOWN)),
              1u)
        << ReadLog().Describe();
    EXPECT_EQ(address.Text(), L"0.0.0.0");
}

TEST_F(RefusedCallsTest, AHostWithoutAnIpv4AddressHasNone) {
    const PatchedImport<decltype(&::gethostbyname)> patch("gethostbyname", OtherFamily);
    ASSERT_TRUE(patch.works());
    CSLIpAddr address;
    EXPECT_EQ(address.getByName(L"printer"), static_cast<DWORD>(WSANO_DATA));
}

TEST_F(RefusedCallsTest, AConnectionWithoutAKnownPortIsNone) {
    const LoopbackPrinter printer;
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    const GetSockName refusal("getsockname", WSAENOBUFS);
    EXPECT_EQ(socket.connect(), static_cast<DWORD>(WSAENOBUFS));
    EXPECT_EQ(Count(LineLevel::kError,
                    L"Error in ::getsockname call. Err msg =" + SystemText(WSAENOBUFS)),
              1u)
        << ReadLog().Describe();
    EXPECT_EQ(socket.LocalPort(), 0);
}

TEST_F(RefusedCallsTest, AWaitThatFailsEndsTheConnecting) {
    const LoopbackPrinter printer;
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    const Select refusal("select", WSAENETDOWN);
    EXPECT_EQ(socket.connect(), static_cast<DWORD>(WSAENETDOWN));
    ExpectInfo(L"Error in ::connect call. Error Code =10050. Error Msg =" +
               SystemText(WSAENETDOWN));
    EXPECT_FALSE(socket.IsConnected());
}

TEST_F(RefusedCallsTest, AWaitThatIsInterruptedIsTakenUpAgain) {
    const LoopbackPrinter printer;
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    const Select refusal("select", WSAEINTR, 3);
    EXPECT_EQ(socket.connect(), 0u);
    EXPECT_EQ(refusal.left(), 0);
    ExpectInfo(L"Error in ::connect call. Error Code =10004. Error Msg =" + SystemText(WSAEINTR),
               3);
    EXPECT_TRUE(socket.IsConnected());
}

TEST_F(RefusedCallsTest, ARefusalWhoseReasonCannotBeReadFailsWithThatFailure) {
    LoopbackPrinter printer(Answers(PrinterBehavior::Answer::kRefuse));
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    const GetSockOpt refusal("getsockopt", WSAENOBUFS);
    EXPECT_EQ(socket.connect(), static_cast<DWORD>(WSAENOBUFS));
    EXPECT_FALSE(socket.IsConnected());
}

TEST_F(RefusedCallsTest, ARefusalWithoutAReasonIsNoConnection) {
    LoopbackPrinter printer(Answers(PrinterBehavior::Answer::kRefuse));
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    const PatchedImport<decltype(&::getsockopt)> patch("getsockopt", NoError);
    ASSERT_TRUE(patch.works());
    EXPECT_EQ(socket.connect(), static_cast<DWORD>(WSAEADDRINUSE));
    ExpectInfo(L"The connect -> getsockopt returned : 0");
    EXPECT_FALSE(socket.IsConnected());
}

// The printer goes while its answer is waited for.
class RefusedLaterTest : public RefusedCallsTest {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(RefusedCallsTest::SetUp());
        auto printer =
            std::make_unique<LoopbackPrinter>(Answers(PrinterBehavior::Answer::kNeverAnswer));
        socket_ = std::make_unique<CSLStreamSocket>(AddressOf(printer->address()), printer->port());
        ASSERT_EQ(socket_->connect(), static_cast<DWORD>(ERROR_TIMEOUT));
        printer.reset();
        SetReplyTimeout(20);
    }
    void TearDown() override {
        socket_.reset();
        RefusedCallsTest::TearDown();
    }

    std::unique_ptr<CSLStreamSocket> socket_;
};

TEST_F(RefusedLaterTest, AReasonThatCannotBeReadFailsWithThatFailure) {
    const GetSockOpt refusal("getsockopt", WSAENOBUFS);
    EXPECT_EQ(socket_->selectforconnect(), static_cast<DWORD>(WSAENOBUFS));
    EXPECT_FALSE(socket_->IsConnected());
}

TEST_F(RefusedLaterTest, NoReasonIsNoConnection) {
    const PatchedImport<decltype(&::getsockopt)> patch("getsockopt", NoError);
    ASSERT_TRUE(patch.works());
    EXPECT_EQ(socket_->selectforconnect(), static_cast<DWORD>(WSAETIMEDOUT));
    ExpectInfo(L"The selectforconnect -> getsockopt returned : 0");
    EXPECT_FALSE(socket_->IsConnected());
}

class RefusedTransferTest : public RefusedCallsTest {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(RefusedCallsTest::SetUp());
        ASSERT_EQ(socket_.connect(), 0u);
    }

    LoopbackPrinter printer_{{.greeting = kGreeting}};
    CSLStreamSocket socket_{AddressOf(printer_.address()), printer_.port()};
    char byte_ = 0;
};

TEST_F(RefusedTransferTest, NothingIsSentWhenTheWaitFails) {
    const Select refusal("select", WSAENETDOWN);
    EXPECT_EQ(socket_.send(&kByte, 1, 20), -1);
}

TEST_F(RefusedTransferTest, NothingIsReadWhenTheWaitFails) {
    const Select refusal("select", WSAENETDOWN);
    EXPECT_EQ(socket_.recv(&byte_, 1, 20), -1);
}

TEST_F(RefusedTransferTest, ASendThatWouldBlockIsTriedFiveTimes) {
    const Send refusal("send", WSAEWOULDBLOCK, 6);
    EXPECT_EQ(socket_.send(&kByte, 1, 20), 0);
    EXPECT_EQ(refusal.left(), 1);
}

TEST_F(RefusedTransferTest, AFifthSendThatIsTakenCounts) {
    const Send refusal("send", WSAEWOULDBLOCK, 4);
    EXPECT_EQ(socket_.send(&kByte, 1, 20), 1);
}

TEST_F(RefusedTransferTest, AReadThatWouldBlockIsTriedFiveTimes) {
    const Recv refusal("recv", WSAEWOULDBLOCK, 6);
    EXPECT_EQ(socket_.recv(&byte_, 1, 20), 0);
    EXPECT_EQ(refusal.left(), 1);
}

TEST_F(RefusedTransferTest, WhatCannotGoOutAtOnceIsAskedForOrFails) {
    {
        const Send refusal("send", WSAEWOULDBLOCK);
        EXPECT_EQ(socket_.SendNow(&kByte, 1), std::nullopt) << "send may have to wait";
    }
    ASSERT_EQ(socket_.send(&kByte, 1, 20), 1);
    {
        const Send refusal("send", WSAENOBUFS);
        EXPECT_EQ(socket_.SendNow(&kByte, 1), -1);
    }
}

TEST_F(RefusedTransferTest, AFailureInTheLastWaitIsReturned) {
    const Select refusal("select", WSAENETDOWN);
    EXPECT_EQ(socket_.close(), static_cast<DWORD>(WSAENETDOWN));
    ExpectInfo(L"Error in ::recv call. Err msg =" + SystemText(WSAENETDOWN));
    EXPECT_EQ(socket_.Get(), INVALID_SOCKET);
}

TEST_F(RefusedCallsTest, ASocketWhoseModeStaysConnectsAllTheSame) {
    LoopbackPrinter printer;
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    {
        const IoctlSocket refusal("ioctlsocket", WSAENOBUFS);
        EXPECT_EQ(socket.connect(), 0u);
    }
    ExpectInfo(L"Error while setting the socket mode.");
    EXPECT_EQ(socket.SendNow(&kByte, 1), std::nullopt) << "it could wait for the printer";
    EXPECT_EQ(socket.send(&kByte, 1, 20), 1);
    EXPECT_TRUE(printer.WaitForBytes(1));
}

}  // namespace
}  // namespace ksp::test
