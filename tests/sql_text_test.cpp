#include "db/sql_text.h"

#include <cwctype>

#include "db/connection_string.h"
#include "support/wide_text.h"

TEST_CASE("a connection string has every value in braces and cut at a U+0000") {
    const std::wstring tail = L";Encrypt=no;TrustServerCertificate=yes;Connection Timeout=";
    CHECK(BuildConnectionString(L"SQL Server", {L"10.0.0.5", 1, L"sa", L"p w", L"G", L"ignored"}, 5) ==
          L"DRIVER={SQL Server};SERVER={10.0.0.5,1};DATABASE={G};UID={sa};PWD={p w}" + tail + L"5;");
    for (const int noPort : Table{0, -1})
        CHECK(BuildConnectionString(L"d}", {L"h}{", noPort, L"};UID=sa", L"}}';", L"a}b", L""}, 10) ==
              L"DRIVER={d}}};SERVER={h}}{};DATABASE={a}}b};UID={}};UID=sa};PWD={}}}}';}" + tail + L"10;");
    const std::wstring cut(L"a}\0};UID=sa", 11);  // the driver manager would read no further
    CHECK(QuoteOdbcValue(L"") == L"{}");
    CHECK(BuildConnectionString(cut, {cut, 1, cut, cut, cut, L""}, 5) ==
          L"DRIVER={a}}};SERVER={a}}};DATABASE={a}}};UID={a}}};PWD={a}}}" + tail + L"5;");
}

TEST_CASE("names are put in brackets part by part or refused with the message of either side") {
    const std::wstring name = L" \ta.b.c.TBL_INFO.9_账号 \r\n", quoted = L"[a].[b].[c].[TBL_INFO].[9_账号]";
    CHECK(QuoteIdentifier(name, L"账号表名") == quoted);
    CHECK(QuoteSqlIdentifier(name) == quoted);
    const std::wstring queryEmpty = L"empty identifier", empty = L"标识符不能为空",
                       queryGap = L"bad identifier", gap = L"标识符格式不正确";
    for (const auto& [bad, query, repair] :
         Table({std::tuple(std::wstring(), queryEmpty, empty),
                {L" \t\u3000", queryEmpty, empty},
                {L".", queryGap, gap},
                {L"T.", queryGap, gap},
                {L".T", queryGap, gap},
                {L"dbo..T", queryGap, gap},
                {L"..;", queryGap, gap},
                {L"a;..b", L"账号字段名包含不允许的字符", L"数据库标识符包含不允许的字符"}})) {
        CHECK(ErrorOf(QuoteIdentifier, bad, L"账号字段名") == query);
        CHECK(ErrorOf(QuoteSqlIdentifier, bad) == repair);
    }
}

TEST_CASE("of all units only letters digits underscores and ideographs are part of a name") {
    for (unsigned code = 0; code <= 0xFFFF; ++code) {
        const auto unit = static_cast<wchar_t>(code);
        const bool allowed =
            unit == L'_' || unit == L'.' || (code >= 0x4E00 && code <= 0x9FFF) || std::iswalnum(unit);
        CAPTURE(code);
        REQUIRE(ErrorOf([&] { QuoteSqlIdentifier(std::wstring(L"a") + unit + L"b"); }) ==
                (allowed ? L"(nothing)" : L"数据库标识符包含不允许的字符"));
    }
}

TEST_CASE("a value becomes a literal that ends at its own apostrophe") {
    for (const auto& [value, literal] : Table({std::pair(std::wstring(), std::wstring(L"N''")),
                                               {L" O'Neil ", L"N' O''Neil '"},
                                               {L"''; DROP", L"N'''''; DROP'"},
                                               {{L"a\0'", 3}, {L"N'a\0'''", 7}}}))
        CHECK(SqlUnicodeLiteral(value) == literal);
}
