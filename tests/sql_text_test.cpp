#include "db/sql_text.h"

#include <random>
#include <regex>

#include "db/connection_string.h"
#include "tests/support/wide_text.h"

// What a parser reads from the opening unit to the first closing one that is not doubled; `text` goes on
// behind it.
static std::wstring TakeQuoted(std::wstring_view& text, std::wstring_view open, wchar_t close) {
    if (!text.starts_with(open)) return L"(no opening unit)";
    text.remove_prefix(open.size());
    std::wstring value;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == close && (++i == text.size() || text[i] != close)) {
            text.remove_prefix(i);
            return value;
        }
        value += text[i];
    }
    return L"(does not end)";
}

static constexpr wchar_t kTail[] = L";Encrypt=no;TrustServerCertificate=yes;Connection Timeout=5;";

TEST_CASE("a connection string quotes every value") {
    CHECK(
        BuildConnectionString(L"SQL Server", {L"127.0.0.1", 1433, L"sa", L"p}w", L"GameDB", L"ignored"}, 5) ==
        L"DRIVER={SQL Server};SERVER={127.0.0.1,1433};DATABASE={GameDB};UID={sa};PWD={p}}w}" +
            std::wstring(kTail));
    CHECK(BuildConnectionString(L"d", {L"h;UID=x", 0, L"", L"", L"", L""}, 10)
              .starts_with(L"DRIVER={d};SERVER={h;UID=x};"));
}

TEST_CASE("names are put in brackets part by part or refused with the message of either side") {
    for (const TextRow& row :
         {TextRow{L" \tTBL_GUILD_INFO \r\n", L"[TBL_GUILD_INFO]"}, TextRow{L"9_账号", L"[9_账号]"},
          TextRow{L"a.b.c.d.e", L"[a].[b].[c].[d].[e]"}, TextRow{L"\u4E00龥", L"[\u4E00龥]"}}) {
        CHECK(QuoteIdentifier(row.in, L"账号表名") == row.expected);
        CHECK(QuoteSqlIdentifier(row.in) == row.expected);
    }
    const auto check = [](const std::wstring& name, const wchar_t* accountSide, const wchar_t* repairSide) {
        CAPTURE(name);
        CHECK(ErrorOf([&] { QuoteIdentifier(name, L"账号字段名"); }) == accountSide);
        CHECK(ErrorOf([&] { QuoteSqlIdentifier(name); }) == repairSide);
    };
    for (const wchar_t* name : {L"", L" \t\u3000"}) check(name, L"empty identifier", L"标识符不能为空");
    for (const wchar_t* name : {L".", L"T.", L"dbo..T", L"..;"})
        check(name, L"bad identifier", L"标识符格式不正确");
    for (const wchar_t unit : std::wstring(L" -$#@[]\"'`;(),/*\\%=\n\u2019\uFF0E\u3000\xD842\0", 25)) {
        check(std::wstring(L"dbo.a") + unit + L"b", L"账号字段名包含不允许的字符",
              L"数据库标识符包含不允许的字符");
    }
}

TEST_CASE("no text whatever leaves its quotes or adds a keyword to the connection string") {
    constexpr std::wstring_view kTelling(L"{}[]'\";=.,_-@#$ a9中\u9FFF\uA000\u3000\uFF07\\\n\0", 26);
    const std::wregex bracketed(L"\\[[^\\[\\]]+\\](\\.\\[[^\\[\\]]+\\])*");
    std::mt19937 random(20240607);
    const auto any = [&] {
        std::wstring text(random() % 13, L'\0');
        for (wchar_t& unit : text) {
            unit = random() % 8 ? kTelling[random() % kTelling.size()] : static_cast<wchar_t>(random());
        }
        return text;
    };
    int accepted = 0;
    for (int round = 0; round < 50'000; ++round) {
        const std::wstring text = any(), user = any();
        CAPTURE(text);
        std::wstring literal = SqlUnicodeLiteral(text);
        std::wstring_view rest = literal;
        REQUIRE(TakeQuoted(rest, L"N'", L'\'') == text);
        REQUIRE(rest.empty());
        const std::wstring string = BuildConnectionString(text, {user, 0, user, text, user, L""}, 5);
        rest = string.c_str();  // as far as the driver manager reads it
        const std::pair<const wchar_t*, const std::wstring*> values[] = {{L"DRIVER={", &text},
                                                                         {L";SERVER={", &user},
                                                                         {L";DATABASE={", &user},
                                                                         {L";UID={", &user},
                                                                         {L";PWD={", &text}};
        for (const auto& [keyword, value] : values)
            REQUIRE(TakeQuoted(rest, keyword, L'}') == value->c_str());
        REQUIRE(rest == kTail);
        std::wstring quoted;
        const bool refused = ErrorOf([&] { quoted = QuoteSqlIdentifier(text); }) != L"(nothing)";
        REQUIRE(refused == (ErrorOf([&] { QuoteIdentifier(text, L""); }) != L"(nothing)"));
        if (refused) continue;
        ++accepted;
        REQUIRE(std::regex_match(quoted, bracketed));
        REQUIRE(std::regex_replace(quoted, std::wregex(L"[\\[\\]]"), L"") == Trim(text));
    }
    CHECK(accepted > 300);
}
