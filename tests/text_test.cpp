#include "text/text.h"

#include "support/wide_text.h"

TEST_CASE("text survives the way to UTF-8 and back and malformed text never throws") {
    const std::wstring text = L"\u00E9区\xD842\xDFB7z";
    CHECK(WideToUtf8(text + L'\xD842') == "\xC3\xA9\xE5\x8C\xBA\xF0\xA0\xAE\xB7z\xEF\xBF\xBD");
    CHECK(StrictUtf8ToWide("\xC3\xA9\xE5\x8C\xBA\xF0\xA0\xAE\xB7z") == text);
    CHECK(Utf8ToWide("a\xFFz") == L"a\uFFFDz");
    for (const std::string bytes : {"", "a\xFFz", "\xE5\x8C", "\xC0\x80"}) {
        CAPTURE(bytes);
        CHECK(StrictUtf8ToWide(bytes) == L"");
    }
    CHECK(std::string(RuntimeError(L"区").what()) == "\xE5\x8C\xBA");
}

TEST_CASE("trimming takes white space off both ends and comparing leaves letter case aside") {
    CHECK(Trim(L" \t\u3000dbo T \r\n") == L"dbo T");
    CHECK(Trim(L" \v\f ") == L"");
    CHECK(ToLower(L"TBL_账号_X1") == L"tbl_账号_x1");
    CHECK(EqualsNoCase(L"m2server.EXE", L"M2Server.exe"));
    CHECK_FALSE(EqualsNoCase(L"M2Server", L"M2Server.exe"));
    CHECK_FALSE(EqualsNoCase(L"M2Server.exe", L"M2Server"));
}
