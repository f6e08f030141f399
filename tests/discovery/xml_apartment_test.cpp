// Reading a document leaves the thread's COM as it was, whatever that is.

#include <thread>

#include "tests/discovery/xml_test.h"

namespace ksp::test {
namespace {

constexpr DWORD kSta = COINIT_APARTMENTTHREADED;
constexpr DWORD kMta = COINIT_MULTITHREADED;

// COM on the thread of a test.
class Thread {
  public:
    // Runs the body on a thread that is in no apartment at first.
    template <class Body>
    static void Run(Body body) {
        std::thread(body).join();
    }

    static bool IsInNoApartment() { return Enters(kSta, S_OK) && Enters(kMta, S_OK); }
    static bool IsIn(DWORD apartment) {
        return Enters(apartment, S_FALSE) &&
               Enters(apartment == kSta ? kMta : kSta, RPC_E_CHANGED_MODE);
    }

  private:
    static bool Enters(DWORD apartment, HRESULT expected) {
        const HRESULT result = ::CoInitializeEx(nullptr, apartment);
        if (SUCCEEDED(result)) {
            ::CoUninitialize();
        }
        return result == expected;
    }
};

class XmlApartmentTest : public XmlTest {
  protected:
    static void Read(CXmlDocument& document, const wchar_t* text) {
        UniqueBstr found;
        ASSERT_EQ(document.Load(MakeBstr(text)), S_OK);
        ASSERT_EQ(document.FindElementText(MakeBstr(L"a"), found), S_OK);
        EXPECT_STREQ(found.Get(), L"1");
    }
    static void ReadOnce() {
        CXmlDocument document;
        Read(document, L"<r><a>1</a></r>");
    }
};

TEST_F(XmlApartmentTest, AThreadWithoutAnApartmentHasNoneAfterwards) {
    Thread::Run([] {
        ASSERT_TRUE(Thread::IsInNoApartment());
        ReadOnce();
        EXPECT_TRUE(Thread::IsInNoApartment());
    });
}

TEST_F(XmlApartmentTest, ASingleThreadedApartmentStays) {
    Thread::Run([] {
        ASSERT_EQ(::CoInitializeEx(nullptr, kSta), S_OK);
        ReadOnce();
        EXPECT_TRUE(Thread::IsIn(kSta)) << "the reader left an apartment that was not its own";
        ::CoUninitialize();
        EXPECT_TRUE(Thread::IsInNoApartment()) << "the reader stayed in the apartment";
    });
}

TEST_F(XmlApartmentTest, AMultithreadedApartmentStays) {
    Thread::Run([] {
        ASSERT_EQ(::CoInitializeEx(nullptr, kMta), S_OK);
        ReadOnce();
        EXPECT_TRUE(Thread::IsIn(kMta)) << "the reader left an apartment that was not its own";
        ::CoUninitialize();
        EXPECT_TRUE(Thread::IsInNoApartment()) << "the reader stayed in the apartment";
    });
}

TEST_F(XmlApartmentTest, ADocumentThatIsRefusedLeavesNothingBehind) {
    Thread::Run([] {
        {
            CXmlDocument document;
            EXPECT_EQ(document.Load(MakeBstr(L"<r>")), S_FALSE);
            EXPECT_EQ(document.Load(MakeBstr(L"<!DOCTYPE r><r/>")), S_FALSE);
        }
        EXPECT_TRUE(Thread::IsInNoApartment());
    });
}

TEST_F(XmlApartmentTest, ReadingAgainDoesNotEnterAgain) {
    Thread::Run([] {
        CXmlDocument document;
        Read(document, L"<r><a>1</a></r>");
        Read(document, L"<r><b/><a>1</a></r>");
        Read(document, L"<s><a>1</a></s>");
        document.Release();
        EXPECT_TRUE(Thread::IsInNoApartment());
    });
}

TEST_F(XmlApartmentTest, TwoDocumentsOfOneThreadEndInAnyOrder) {
    Thread::Run([] {
        CXmlDocument first;
        CXmlDocument second;
        Read(first, L"<r><a>1</a></r>");
        Read(second, L"<r><a>1</a></r>");
        first.Release();
        UniqueBstr found;
        EXPECT_EQ(second.FindElementText(MakeBstr(L"a"), found), S_OK);
        EXPECT_TRUE(Thread::IsIn(kSta));
        second.Release();
        EXPECT_TRUE(Thread::IsInNoApartment());
    });
}

TEST_F(XmlApartmentTest, AnObjectThatReadNothingIsInNoApartment) {
    Thread::Run([] {
        CXmlDocument document;
        EXPECT_TRUE(Thread::IsInNoApartment());
        document.Release();
        EXPECT_TRUE(Thread::IsInNoApartment());
    });
}

}  // namespace
}  // namespace ksp::test
