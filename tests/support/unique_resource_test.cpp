#include "support/unique_resource.h"

#include <gmock/gmock.h>

#include <type_traits>
#include <utility>
#include <vector>

#include "support/windows_handles.h"
#include "tests/host/temp_directory.h"

namespace ksp {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<int> g_closed;

struct NumberTraits {
    using Type = int;
    static Type None() noexcept { return -1; }
    static void Close(Type number) noexcept { g_closed.push_back(number); }
};
using UniqueNumber = UniqueResource<NumberTraits>;

static_assert(!std::is_copy_constructible_v<UniqueNumber>);
static_assert(!std::is_copy_assignable_v<UniqueNumber>);
static_assert(std::is_nothrow_move_constructible_v<UniqueNumber>);

class UniqueResourceTest : public ::testing::Test {
  protected:
    void SetUp() override { g_closed.clear(); }
};

TEST_F(UniqueResourceTest, HoldsNoneAtFirstAndClosesNothing) {
    {
        const UniqueNumber none;
        EXPECT_FALSE(none);
        EXPECT_EQ(none.Get(), -1);
    }
    EXPECT_THAT(g_closed, IsEmpty());
}

TEST_F(UniqueResourceTest, DestructorClosesOnce) {
    {
        const UniqueNumber one(1);
        EXPECT_TRUE(one);
        EXPECT_THAT(g_closed, IsEmpty());
    }
    EXPECT_THAT(g_closed, ElementsAre(1));
}

TEST_F(UniqueResourceTest, ZeroIsAResourceWhenNoneIsAnotherValue) {
    { const UniqueNumber zero(0); }
    EXPECT_THAT(g_closed, ElementsAre(0));
}

TEST_F(UniqueResourceTest, MoveConstructionTakesTheResourceOver) {
    {
        UniqueNumber from(1);
        const UniqueNumber to(std::move(from));
        EXPECT_EQ(to.Get(), 1);
    }
    EXPECT_THAT(g_closed, ElementsAre(1));
}

TEST_F(UniqueResourceTest, MoveAssignmentClosesWhatWasHeld) {
    {
        UniqueNumber from(1);
        UniqueNumber to(2);
        to = std::move(from);
        EXPECT_THAT(g_closed, ElementsAre(2));
        EXPECT_EQ(to.Get(), 1);
    }
    EXPECT_THAT(g_closed, ElementsAre(2, 1));
}

TEST_F(UniqueResourceTest, SelfMoveKeepsTheResource) {
    {
        UniqueNumber one(1);
        UniqueNumber& same = one;
        one = std::move(same);
        EXPECT_EQ(one.Get(), 1);
        EXPECT_THAT(g_closed, IsEmpty());
    }
    EXPECT_THAT(g_closed, ElementsAre(1));
}

TEST_F(UniqueResourceTest, ReleaseGivesTheResourceAwayUnclosed) {
    {
        UniqueNumber one(1);
        EXPECT_EQ(one.Release(), 1);
        EXPECT_FALSE(one);
    }
    EXPECT_THAT(g_closed, IsEmpty());
}

TEST_F(UniqueResourceTest, ResetClosesTheOldResourceAndHoldsTheNew) {
    {
        UniqueNumber number(1);
        number.Reset(2);
        EXPECT_THAT(g_closed, ElementsAre(1));
        number.Reset();
        EXPECT_THAT(g_closed, ElementsAre(1, 2));
        number.Reset();
    }
    EXPECT_THAT(g_closed, ElementsAre(1, 2));
}

TEST_F(UniqueResourceTest, ResetWithItsOwnResourceKeepsIt) {
    UniqueNumber one(1);
    one.Reset(1);
    EXPECT_THAT(g_closed, IsEmpty());
    EXPECT_EQ(one.Get(), 1);
}

TEST_F(UniqueResourceTest, ReceiveClosesTheOldResourceBeforeItOffersTheSlot) {
    {
        UniqueNumber number(1);
        int* slot = number.Receive();
        EXPECT_THAT(g_closed, ElementsAre(1));
        EXPECT_FALSE(number);
        *slot = 2;
        EXPECT_EQ(number.Get(), 2);
    }
    EXPECT_THAT(g_closed, ElementsAre(1, 2));
}

TEST(UniqueHandleTest, ClosesAKernelObject) {
    // The object lives as long as a handle to it; by its name it can be looked for.
    constexpr wchar_t kName[] = L"kspmon-test-unique-handle";
    {
        const UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, kName));
        ASSERT_TRUE(event);
        EXPECT_TRUE(UniqueHandle(::OpenEventW(SYNCHRONIZE, FALSE, kName)));
    }
    EXPECT_FALSE(UniqueHandle(::OpenEventW(SYNCHRONIZE, FALSE, kName)));
}

TEST(UniqueFileTest, HoldsNoneForTheInvalidHandleValue) {
    EXPECT_FALSE(UniqueFile());
    EXPECT_FALSE(UniqueFile(INVALID_HANDLE_VALUE));
}

TEST(UniqueFileTest, ClosesTheFile) {
    const test::TempDirectory directory;
    const std::wstring path = directory.File(L"file");
    {
        const UniqueFile file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                            FILE_ATTRIBUTE_NORMAL, nullptr));
        ASSERT_TRUE(file);
        EXPECT_FALSE(::DeleteFileW(path.c_str()));
    }
    EXPECT_TRUE(::DeleteFileW(path.c_str()));
}

}  // namespace
}  // namespace ksp
