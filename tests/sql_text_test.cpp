#include "db/sql_text.h"

#include <doctest/doctest.h>

#include <array>
#include <random>
#include <regex>
#include <vector>

#include "db/connection_string.h"
#include "tests/support/error_of.h"
#include "tests/support/wide_text.h"

namespace {

// What a parser reads from the opening unit to the first closing one that is not doubled, where the text must
// end.
std::wstring Unquoted(std::wstring_view text, std::wstring_view open, wchar_t close) {
    if (!text.starts_with(open)) return L"(no opening unit)";
    text.remove_prefix(open.size());
    std::wstring value;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == close && (++i == text.size() || text[i] != close)) {
            return i == text.size() ? value : L"(ends early)";
        }
        value += text[i];
    }
    return L"(does not end)";
}

}  // namespace

TEST_CASE("a connection string quotes every value") {
    const std::wstring kTail = L";Encrypt=no;TrustServerCertificate=yes;Connection Timeout=";
    CHECK(BuildConnectionString(L"ODBC Driver 18 for SQL Server",
                                {L"127.0.0.1", 1433, L"sa", L"p}w", L"GameDB", L"ignored"}, 5) ==
          L"DRIVER={ODBC Driver 18 for SQL "
          L"Server};SERVER={127.0.0.1,1433};DATABASE={GameDB};UID={sa};PWD={p}}w}" +
              kTail + L"5;");
    for (const int noPort : {0, -1}) {
        CHECK(BuildConnectionString(L"d", {L"h;UID=x", noPort, L"", L"};PWD={;", L"区 一", L""}, 10) ==
              L"DRIVER={d};SERVER={h;UID=x};DATABASE={区 一};UID={};PWD={}};PWD={;}" + kTail + L"10;");
    }
}

TEST_CASE("good names are put in brackets part by part") {
    for (const TextRow& row :
         {TextRow{L" \tTBL_GUILD_INFO \r\n", L"[TBL_GUILD_INFO]"}, TextRow{L"9_账号", L"[9_账号]"},
          TextRow{L"a.b.c.d.e", L"[a].[b].[c].[d].[e]"}, TextRow{L"\u4E00龥", L"[\u4E00龥]"}}) {
        CHECK(QuoteIdentifier(row.in, L"账号表名") == row.expected);
        CHECK(QuoteSqlIdentifier(row.in) == row.expected);
    }
}

TEST_CASE("bad names are refused with the message of either side") {
    std::vector<std::array<std::wstring, 3>>
        rows;  // name, message of the account side, message of the repair side
    for (const wchar_t* name : {L"", L" \t\u3000"})
        rows.push_back({name, L"empty identifier", L"标识符不能为空"});
    for (const wchar_t* name : {L".", L".T", L"T.", L"dbo..T", L" T. ", L"..;"}) {
        rows.push_back({name, L"bad identifier", L"标识符格式不正确"});
    }
    for (const wchar_t unit : std::wstring(L" -$#@[]\"'`;(),/*\\%=\n\u2019\uFF0E\u3000\xD842")) {
        rows.push_back({std::wstring(L"dbo.a") + unit + L"b", L"账号字段名包含不允许的字符",
                        L"数据库标识符包含不允许的字符"});
    }
    for (const auto& [name, accountSide, repairSide] : rows) {
        CAPTURE(name);
        CHECK(ErrorOf([&] { QuoteIdentifier(name, L"账号字段名"); }) == accountSide);
        CHECK(ErrorOf([&] { QuoteSqlIdentifier(name); }) == repairSide);
    }
}

TEST_CASE("no text whatever leaves its quotes") {
    constexpr std::wstring_view kTelling = L"{}[]'\";=.,_-@#$ a9中\u9FFF\uA000\u3000\uFF07\\\n";
    const std::wregex bracketed(L"\\[[^\\[\\]]+\\](\\.\\[[^\\[\\]]+\\])*");
    std::mt19937 random(20240607);
    int accepted = 0;
    for (int round = 0; round < 30000; ++round) {
        std::wstring text(random() % 13, L'\0');
        for (wchar_t& unit : text) {
            unit = random() % 8 ? kTelling[random() % kTelling.size()]
                                : static_cast<wchar_t>(1 + random() % 0xFFFF);
        }
        CAPTURE(text);
        REQUIRE(Unquoted(QuoteOdbcValue(text), L"{", L'}') == text);
        REQUIRE(Unquoted(SqlUnicodeLiteral(text), L"N'", L'\'') == text);
        std::wstring quoted;
        const bool refused = ErrorOf([&] { quoted = QuoteSqlIdentifier(text); }) != L"(nothing)";
        REQUIRE(refused == (ErrorOf([&] { QuoteIdentifier(text, L""); }) != L"(nothing)"));
        if (refused) continue;
        ++accepted;
        REQUIRE(std::regex_match(quoted, bracketed));
        REQUIRE(std::regex_replace(quoted, std::wregex(L"[\\[\\]]"), L"") == Trim(text));
    }
    CHECK(accepted > 300);
    CHECK(SqlUnicodeLiteral(L" O'Neil ") == L"N' O''Neil '");
}
