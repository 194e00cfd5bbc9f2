#include "db/sql_text.h"

#include <cwctype>

#include "db/connection_string.h"
#include "tests/support/wide_text.h"

TEST_CASE(
    "a connection string names driver server port database login and time-out with every value quoted") {
    const std::wstring tail = L";Encrypt=no;TrustServerCertificate=yes;Connection Timeout=";
    CHECK(BuildConnectionString(L"SQL Server", {L"10.0.0.5", 2433, L"sa", L"p w", L"G", L"ignored"}, 5) ==
          L"DRIVER={SQL Server};SERVER={10.0.0.5,2433};DATABASE={G};UID={sa};PWD={p w}" + tail + L"5;");
    for (const int noPort : {0, -1}) {
        CHECK(BuildConnectionString(L"d}", {L"h}{", noPort, L"};UID=sa", L"}}';", L"a}b", L""}, 10) ==
              L"DRIVER={d}}};SERVER={h}}{};DATABASE={a}}b};UID={}};UID=sa};PWD={}}}}';}" + tail + L"10;");
    }
    // What stands behind a U+0000 is not read.
    const std::wstring cut(L"a}\0};UID=sa", 11);
    CHECK(QuoteOdbcValue(cut) + QuoteOdbcValue(L"") == L"{a}}}{}");
    CHECK(BuildConnectionString(cut, {cut, 1, cut, cut, cut, L""}, 5) ==
          L"DRIVER={a}}};SERVER={a}}};DATABASE={a}}};UID={a}}};PWD={a}}}" + tail + L"5;");
    std::wstring drivers;
    for (const std::wstring_view driver : kDefaultDrivers) drivers.append(driver) += L'|';
    CHECK(drivers ==
          L"ODBC Driver 18 for SQL Server|ODBC Driver 17 for SQL Server|"
          L"SQL Server Native Client 11.0|SQL Server|");
}

TEST_CASE("names are put in brackets part by part or refused with the message of either side") {
    for (const TextRow& row :
         {TextRow{L" \tTBL_GUILD_INFO \r\n", L"[TBL_GUILD_INFO]"}, TextRow{L"9_账号", L"[9_账号]"},
          TextRow{L"a.b.c.d.e", L"[a].[b].[c].[d].[e]"}, TextRow{L"dbo.TBL", L"[dbo].[TBL]"}}) {
        CHECK(QuoteIdentifier(row.in, L"账号表名") == row.expected);
        CHECK(QuoteSqlIdentifier(row.in) == row.expected);
    }
    const auto check = [](const std::wstring& name, const wchar_t* accountSide, const wchar_t* repairSide) {
        CAPTURE(name);
        CHECK(ErrorOf([&] { QuoteIdentifier(name, L"账号字段名"); }) == accountSide);
        CHECK(ErrorOf([&] { QuoteSqlIdentifier(name); }) == repairSide);
    };
    for (const wchar_t* name : {L"", L" \t\u3000"}) check(name, L"empty identifier", L"标识符不能为空");
    for (const wchar_t* name : {L".", L"T.", L".T", L"dbo..T", L"..;", L"a..b;"})
        check(name, L"bad identifier", L"标识符格式不正确");
    check(L"a;..b", L"账号字段名包含不允许的字符", L"数据库标识符包含不允许的字符");
}

TEST_CASE("of all units only letters digits underscores and ideographs are part of a name") {
    for (unsigned code = 0; code <= 0xFFFF; ++code) {
        const auto unit = static_cast<wchar_t>(code);
        if (unit == L'.') continue;
        const bool allowed = unit == L'_' || (code >= 0x4E00 && code <= 0x9FFF) || std::iswalnum(unit);
        const std::wstring name = std::wstring(L"dbo.a") + unit + L"b";
        const std::wstring quoted = std::wstring(L"[dbo].[a") + unit + L"b]";
        std::wstring text;
        const std::wstring error = ErrorOf([&] { text = QuoteSqlIdentifier(name); });
        CAPTURE(code);
        REQUIRE(error == (allowed ? L"(nothing)" : L"数据库标识符包含不允许的字符"));
        REQUIRE(text == (allowed ? quoted : L""));
    }
    // Those that would matter most, whatever the run-time library says.
    for (const wchar_t unit : std::wstring(L" -$#@[]\"'`;(),/*\\%=\n\u2019\uFF0E\u3000\xD842\0", 25))
        CHECK_THROWS_AS(QuoteSqlIdentifier(std::wstring(L"a") + unit + L"b"), RuntimeError);
}

TEST_CASE("a value becomes a literal that ends at its own apostrophe") {
    for (const TextRow& row : {TextRow{L"", L"N''"}, TextRow{L" O'Neil ", L"N' O''Neil '"},
                               TextRow{L"''", L"N''''''"}, TextRow{L"a\\'; DROP", L"N'a\\''; DROP'"},
                               TextRow{std::wstring_view(L"a\0'", 3), std::wstring_view(L"N'a\0'''", 7)}}) {
        CHECK(SqlUnicodeLiteral(row.in) == row.expected);
    }
}
