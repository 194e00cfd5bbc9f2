#include <doctest/doctest.h>

#include <algorithm>

#include "account_query/account_search.h"
#include "account_query/account_source.h"
#include "tests/support/test_database.h"
#include "tests/support/wide_text.h"

namespace {

constexpr HandleCounts kNone;

GameServerInfo ZoneOf(const std::wstring& database) {
    const TestServer& server = Server();
    GameServerInfo zone;
    zone.dbHost = server.host;
    zone.dbPort = server.port;
    zone.dbUser = server.user;
    zone.dbPassword = server.password;
    zone.dbName = database;
    return zone;
}

QuerySettings Manual(const wchar_t* table, const wchar_t* field) {
    QuerySettings settings;
    settings.accountTable = table;
    settings.accountField = field;
    return settings;
}

// "schema.table.column: account, account" or the error.
std::wstring Found(const std::wstring& database, const std::wstring& keyword,
                   const QuerySettings& settings = {}) {
    std::wstring text;
    const std::wstring error = ErrorOf([&] {
        const AccountSearchResult result = SearchAccounts(ZoneOf(database), keyword, settings);
        text = result.source.schema + L"." + result.source.table + L"." + result.source.column;
        for (const std::wstring& account : result.accounts) text += L" " + account;
    });
    return text.empty() ? error : text;
}

const auto kAccounts = {
    std::wstring_view(
        L"CREATE TABLE dbo.TBL_ACCOUNT (n int, FLD_ACCOUNT varchar(300), FLD_PASSWORD varchar(50))"),
    std::wstring_view(
        L"INSERT INTO dbo.TBL_ACCOUNT (n, FLD_ACCOUNT, FLD_PASSWORD) VALUES (1, 'm_zhang_3', 'secret'), "
        L"(2, 'kZhang43', 'secret'), (3, NULL, 'zhang'), (4, '50%off', 'x'), (5, '500off', 'x'), "
        L"(6, N'张三丰', 'x'), (7, 'a[b]c\\d', 'x'), (8, 'abcd', 'x')")};

}  // namespace

TEST_CASE("the account column is found and searched literally in ascending order") {
    const TestDatabase database(L"literal", kAccounts);
    const std::wstring source = L"dbo.TBL_ACCOUNT.FLD_ACCOUNT";
    struct Row {
        const char* name;
        std::wstring keyword, accounts;
    };
    for (const Row& row :
         {Row{"letter case", L"ZHANG", L" kZhang43 m_zhang_3"}, Row{"underscore", L"g_3", L" m_zhang_3"},
          Row{"percent", L"0%", L" 50%off"}, Row{"brackets", L"[b]", L" a[b]c\\d"},
          Row{"backslash", L"c\\d", L" a[b]c\\d"}, Row{"Chinese", L"三丰", L" 张三丰"},
          Row{"no match", L"nobody", L""}, Row{"an apostrophe", L"' OR 1=1 --", L""}}) {
        CAPTURE(row.name);
        CHECK(Found(database.Name(), row.keyword) == source + row.accounts);
    }
    if (CanInjectFaults()) CHECK(LiveHandles() == kNone);
}

TEST_CASE("the row limit is clamped and long names are cut without reading past the buffer") {
    const TestDatabase database(L"limits", {L"CREATE TABLE Accounts (Name nvarchar(400))"});
    std::wstring rows = L"INSERT INTO Accounts (Name) VALUES (N'" + std::wstring(300, L'长') + L"')";
    for (int i = 0; i < 600; ++i) rows += L", (N'user" + std::to_wstring(1000 + i) + L"')";
    database.Run({rows});
    QuerySettings settings = Manual(L"dbo.Accounts", L"Name");
    for (const auto& [limit, expected] : {std::pair(0, 1), std::pair(3, 3), std::pair(1000, 500)}) {
        settings.maxResults = limit;
        const AccountSearchResult result = SearchAccounts(ZoneOf(database.Name()), L"user", settings);
        CHECK(result.accounts.size() == static_cast<size_t>(expected));
        CHECK(result.accounts.front() == L"user1000");
        CHECK_FALSE(result.source.autoDetected);
        CHECK(result.source.schema.empty());
    }
    const AccountSearchResult cut = SearchAccounts(ZoneOf(database.Name()), L"长长", settings);
    REQUIRE(cut.accounts.size() == 1);
    CHECK(cut.accounts.front() == std::wstring(128, L'长'));  // NVARCHAR(128) cuts before the 255 units do
}

TEST_CASE("detection prefers the best-scored column that holds the keyword") {
    const TestDatabase database(
        L"ranking", {L"CREATE TABLE dbo.TBL_ACCOUNT (FLD_ACCOUNT varchar(50))", L"CREATE SCHEMA game",
                     L"CREATE TABLE game.t_user (userid nvarchar(50), nick ntext)",
                     L"CREATE TABLE dbo.LoginLog (name varchar(50), Email varchar(50))",
                     L"INSERT INTO dbo.TBL_ACCOUNT (FLD_ACCOUNT) VALUES ('main')",
                     L"INSERT INTO game.t_user (userid, nick) VALUES (N'second', N'third')",
                     L"INSERT INTO dbo.LoginLog (name, Email) VALUES ('logged', 'mail@only')"});
    struct Row {
        const char* name;
        std::wstring keyword, found;
    };
    for (const Row& row : {Row{"first", L"ain", L"dbo.TBL_ACCOUNT.FLD_ACCOUNT main"},
                           Row{"second", L"eco", L"game.t_user.userid second"},
                           Row{"negative score", L"ogg", L"dbo.LoginLog.name logged"},
                           Row{"nowhere: the best score", L"zzz", L"dbo.TBL_ACCOUNT.FLD_ACCOUNT"},
                           Row{"never in a sensitive column", L"only", L"dbo.TBL_ACCOUNT.FLD_ACCOUNT"}}) {
        CAPTURE(row.name);
        CHECK(Found(database.Name(), row.keyword) == row.found);
    }
    // One word for detection is enough to ignore the other box.
    CHECK(Found(database.Name(), L"eco", Manual(L" auto ", L"nowhere")) == L"game.t_user.userid second");
    CHECK(Found(database.Name(), L"ain", Manual(L"TBL_ACCOUNT", L"自动")) ==
          L"dbo.TBL_ACCOUNT.FLD_ACCOUNT main");
}

TEST_CASE("detection without a usable column says so") {
    const TestDatabase database(L"nothing",
                                {L"CREATE TABLE t (Password varchar(9), Email varchar(9), id int)"});
    CHECK(Found(database.Name(), L"ab") == L"没有扫描到可用于账号识别的文本字段");
    database.Run({L"CREATE TABLE somewhere (name varchar(9), other varchar(9))"});
    CHECK(Found(database.Name(), L"ab") == L"没有自动识别到账号表和账号字段；可以临时手填后再查询");
}

TEST_CASE("bad names end the search with their messages") {
    const TestDatabase database(L"names", {L"CREATE TABLE [bad account] (account varchar(9))"});
    CHECK(Found(database.Name(), L"ab") == L"账号表名包含不允许的字符");
    CHECK(Found(database.Name(), L"ab", Manual(L"t; DROP TABLE t", L"c")) == L"账号表名包含不允许的字符");
    CHECK(Found(database.Name(), L"ab", Manual(L"t", L"c d")) == L"账号字段名包含不允许的字符");
    CHECK(Found(database.Name(), L"ab", Manual(L"dbo..t", L"c")) == L"bad identifier");
    const std::wstring missing = Found(database.Name(), L"ab", Manual(L"nowhere", L"c"));
    CHECK(missing.starts_with(L"42S02: "));
    if (CanInjectFaults()) CHECK(LiveHandles() == kNone);
}

TEST_CASE("low scores share a budget of 150 probes") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const TestDatabase database(L"budget", {L"CREATE TABLE t_user (u1 varchar(9), u2 varchar(9))"});
    std::wstring wide = L"CREATE TABLE plain (c0 varchar(9)";
    for (int i = 1; i < 160; ++i) wide += L", c" + std::to_wstring(i) + L" varchar(9)";
    database.Run({wide + L")", L"INSERT INTO plain (c0, c149) VALUES ('first', 'beyond')"});
    const Trace trace;
    CHECK(Found(database.Name(), L"beyond").starts_with(L"dbo.t_user.u1") == true);
    const std::vector<std::wstring> events = trace.Events();
    const auto probes = std::count_if(events.begin(), events.end(), [](const std::wstring& event) {
        return event.starts_with(L"prepare SELECT TOP (1)");
    });
    CHECK(probes == 150);  // the two of t_user and 148 of plain: c0 to c147
}

TEST_CASE("a failing probe is only a miss and a failing fetch is a hit") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const TestDatabase database(L"probes", {L"CREATE TABLE account (account varchar(9), login varchar(9))",
                                            L"INSERT INTO account (account, login) VALUES ('same', 'same')"});
    struct Row {
        const char* name;
        const char* faults;
        std::wstring found;
    };
    for (const Row& row :
         {Row{"allocation", "statement\t2\tHY001\t1\tx\n", L"dbo.account.login same"},
          Row{"prepare", "prepare\t1\tHY000\t1\tx\n", L"dbo.account.login same"},
          Row{"bind", "bind\t1\tHY000\t1\tx\n", L"dbo.account.login same"},
          Row{"execute", "execute\t2\tHY000\t1\tx\n", L"dbo.account.login same"},
          Row{"fetch", "fetch\t4\tHY000\t1\tx\n", L"dbo.account.account same"},
          Row{"no statement for the scan", "statement\t1\tHY001\t1\tx\n", L"ODBC statement failed"},
          Row{"the scan fails", "execute\t1\tHY000\t1\t扫描\n", L"HY000: 扫描"},
          Row{"the search fails", "prepare\t2\tHY000\t1\t准备\n", L"HY000: 准备"},
          Row{"no statement for the search", "statement\t3\tHY001\t1\tx\n", L"ODBC statement failed"},
          Row{"a row fails and is left out", "fetch\t5\tHY000\t1\tx\n", L"dbo.account.account same"},
          Row{"the connection dies in the scan", "die\tfetch\t2\t08S01\t1\t断开\n", L"08S01: 断开"},
          Row{"the connection dies in the rows", "die\tfetch\t5\t08S01\t1\t断开\n", L"08S01: 断开"}}) {
        CAPTURE(row.name);
        {
            const Faults faults(row.faults);
            CHECK(Found(database.Name(), L"same") == row.found);
        }
        CHECK(LiveHandles() == kNone);
    }
}
