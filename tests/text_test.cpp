#include "text/text.h"

#include "tests/support/wide_text.h"
#include "text/owner.h"

static std::string closed;  // by the trait below, in order

struct FakeTrait {
    using Handle = char;
    static constexpr Handle kNone = '-';
    static void Close(Handle handle) noexcept { closed += handle; }
};

TEST_CASE("a handle is closed once by its last owner and a released one never") {
    {
        Owner<FakeTrait> first('1'), second(std::move(first)), third('3'), released('5');
        CHECK((second && !first && second.Get() == '1'));
        third = std::move(second);
        Owner<FakeTrait>& itself = third;
        third = std::move(itself);
        CHECK(closed == "3");
        third.Reset('4');
        CHECK((released.Release() == '5' && !released));
    }
    CHECK(closed == "314");
}

TEST_CASE("text survives the way to UTF-8 and back and malformed text never throws") {
    for (const std::wstring text : {L"", L"GameDB;'}", L"\u00E9区", L"a\xD842\xDFB7"})
        CHECK(StrictUtf8ToWide(WideToUtf8(text)) == text);
    CHECK(WideToUtf8(L"\u00E9区\xD842\xDFB7z\xD842") == "\xC3\xA9\xE5\x8C\xBA\xF0\xA0\xAE\xB7z\xEF\xBF\xBD");
    CHECK(Utf8ToWide("a\xFFz") == L"a\uFFFDz");
    for (const char* bytes : {"a\xFFz", "\xE5\x8C", "\xC0\x80"}) CHECK(StrictUtf8ToWide(bytes) == L"");
    CHECK(std::string(RuntimeError(L"区").what()) == "\xE5\x8C\xBA");
}

TEST_CASE("trimming takes white space off both ends and comparing leaves letter case aside") {
    CHECK(Trim(L" \t\u3000dbo T \r\n") + Trim(L" \v\f ") == L"dbo T");
    CHECK(ToLower(L"TBL_账号_X1") == L"tbl_账号_x1");
    CHECK(EqualsNoCase(L"m2server.EXE", L"M2Server.exe"));
    CHECK_FALSE((EqualsNoCase(L"M2Server", L"M2Server.exe") || EqualsNoCase(L"M2Server.exe", L"M2Server")));
}
