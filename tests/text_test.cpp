#include "text/text.h"

#include <type_traits>
#include <vector>

#include "tests/support/wide_text.h"
#include "text/owner.h"

static std::vector<int> closed;  // by the trait below, in order

struct FakeTrait {
    using Handle = int;
    static constexpr Handle kNone = -1;
    static void Close(Handle handle) noexcept { closed.push_back(handle); }
};
using FakeOwner = Owner<FakeTrait>;
static_assert(!std::is_copy_constructible_v<FakeOwner> && !std::is_copy_assignable_v<FakeOwner>,
              "two owners of one handle would close it twice");

TEST_CASE("text survives the way to UTF-8 and back and malformed text never throws") {
    for (const std::wstring text : {L"", L"GameDB;'}", L"\u00E9区", L"a\xD842\xDFB7"})
        CHECK(StrictUtf8ToWide(WideToUtf8(text)) == text);
    CHECK(WideToUtf8(L"\u00E9区\xD842\xDFB7") == "\xC3\xA9\xE5\x8C\xBA\xF0\xA0\xAE\xB7");
    CHECK(Utf8ToWide("a\xFFz") == L"a\uFFFDz");
    CHECK(WideToUtf8(L"a\xD842z") == "a\xEF\xBF\xBDz");
    for (const char* bytes : {"a\xFFz", "\xE5\x8C", "\xC0\x80"}) CHECK(StrictUtf8ToWide(bytes) == L"");
    CHECK(std::string(RuntimeError(L"区").what()) == "\xE5\x8C\xBA");
}

TEST_CASE("trimming takes white space off both ends and comparing leaves letter case aside") {
    CHECK(Trim(L" \t\u3000dbo T \r\n") == L"dbo T");
    CHECK(Trim(L" \v\f ") == L"");
    CHECK(ToLower(L"TBL_账号_X1") == L"tbl_账号_x1");
    CHECK(EqualsNoCase(L"m2server.EXE", L"M2Server.exe"));
    CHECK_FALSE((EqualsNoCase(L"M2Server", L"M2Server.exe") || EqualsNoCase(L"M2Server.exe", L"M2Server")));
}

TEST_CASE("a handle is closed once by its last owner and a released one never") {
    closed.clear();
    {
        FakeOwner first(1), second(std::move(first)), third(3);
        CHECK((second && !first && second.Get() == 1));
        third = std::move(second);
        FakeOwner& itself = third;
        third = std::move(itself);
        CHECK(closed == std::vector{3});
        third.Reset(4);
        FakeOwner released(5);
        CHECK(released.Release() == 5);
        CHECK_FALSE(released);
    }
    CHECK(closed == std::vector{3, 1, 4});
}
