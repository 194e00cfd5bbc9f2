#include <algorithm>

#include "account_query/account_search.h"
#include "tests/support/process_watch.h"
#include "tests/support/test_database.h"
#include "tests/support/wide_text.h"

// The result of a search as "schema.table.column account account", or its error.
static std::wstring Found(const TestDatabase& database, const std::wstring& keyword,
                          const QuerySettings& settings = {}) {
    const TestServer& server = Server();
    GameServerInfo zone;
    zone.dbHost = server.host;
    zone.dbPort = server.port;
    zone.dbUser = server.user;
    zone.dbPassword = server.password;
    zone.dbName = database.Name();
    std::wstring text;
    const std::wstring error = ErrorOf([&] {
        const auto [accounts, source] = SearchAccounts(zone, keyword, settings);
        text = source.schema + L"." + source.table + L"." + source.column;
        for (const std::wstring& account : accounts) text += L" " + account;
    });
    return text.empty() ? error : text;
}

static QuerySettings Manual(const wchar_t* table, const wchar_t* field, int maxResults = 100) {
    return {L"", L"M2Server.exe", table, field, L"", maxResults};
}

TEST_CASE("the account column is found and searched literally in ascending order") {
    const TestDatabase database(
        L"literal",
        {L"CREATE TABLE dbo.TBL_ACCOUNT (n int, FLD_ACCOUNT varchar(300), FLD_PASSWORD varchar(50))",
         L"INSERT INTO dbo.TBL_ACCOUNT (n, FLD_ACCOUNT, FLD_PASSWORD) VALUES (1, 'm_zhang_3', 'secret'), "
         L"(2, 'kZhang43', 'secret'), (3, NULL, 'zhang'), (4, '50%off', 'x'), (5, '500off', 'x'), "
         L"(6, N'张三丰', 'x'), (7, 'a[b]c\\d', 'x'), (8, 'abcd', 'x')"});
    for (const TextRow& row :
         {TextRow{L"ZHANG", L" kZhang43 m_zhang_3"}, TextRow{L"g_3", L" m_zhang_3"},
          TextRow{L"0%", L" 50%off"}, TextRow{L"[b]", L" a[b]c\\d"}, TextRow{L"c\\d", L" a[b]c\\d"},
          TextRow{L"三丰", L" 张三丰"}, TextRow{L"nobody", L""}, TextRow{L"' OR 1=1 --", L""}}) {
        CHECK(Found(database, std::wstring(row.in)) ==
              L"dbo.TBL_ACCOUNT.FLD_ACCOUNT" + std::wstring(row.expected));
    }
}

TEST_CASE("the row limit is clamped and long names are cut") {
    const TestDatabase database(L"limits", {L"CREATE TABLE Accounts (Name nvarchar(400))"});
    std::wstring rows = L"INSERT INTO Accounts (Name) VALUES (N'" + std::wstring(300, L'长') + L"')";
    for (int i = 0; i < 600; ++i) rows += L", (N'user" + std::to_wstring(1000 + i) + L"')";
    database.Run({rows});
    for (const auto& [limit, rowsFound] : {std::pair(0, 1), std::pair(3, 3), std::pair(1000, 500)}) {
        const std::wstring found = Found(database, L"user", Manual(L"dbo.Accounts", L"Name", limit));
        CHECK(found.starts_with(L".dbo.Accounts.Name user1000"));
        CHECK(std::count(found.begin(), found.end(), L' ') == rowsFound);
    }
    // NVARCHAR(128) cuts before the buffer does.
    CHECK(Found(database, L"长长", Manual(L"Accounts", L"Name")) ==
          L".Accounts.Name " + std::wstring(128, L'长'));
}

TEST_CASE("detection prefers the best-scored column that holds the keyword") {
    const TestDatabase database(L"ranking",
                                {L"CREATE TABLE t (Password varchar(9), Email varchar(9), id int)"});
    CHECK(Found(database, L"ab") == L"没有扫描到可用于账号识别的文本字段");
    database.Run({L"CREATE TABLE dbo.LoginLog (name varchar(50), Email varchar(50))",
                  L"INSERT INTO dbo.LoginLog (name, Email) VALUES ('logged', 'mail@only')"});
    CHECK(Found(database, L"ab") == L"没有自动识别到账号表和账号字段；可以临时手填后再查询");
    database.Run({L"CREATE TABLE dbo.TBL_ACCOUNT (FLD_ACCOUNT varchar(50))", L"CREATE SCHEMA game",
                  L"CREATE TABLE game.t_user (userid nvarchar(50), nick ntext)",
                  L"INSERT INTO dbo.TBL_ACCOUNT (FLD_ACCOUNT) VALUES ('main')",
                  L"INSERT INTO game.t_user (userid, nick) VALUES (N'second', N'third')"});
    for (const TextRow& row :
         {TextRow{L"ain", L"dbo.TBL_ACCOUNT.FLD_ACCOUNT main"}, TextRow{L"eco", L"game.t_user.userid second"},
          TextRow{L"ogg", L"dbo.LoginLog.name logged"}, TextRow{L"zzz", L"dbo.TBL_ACCOUNT.FLD_ACCOUNT"},
          TextRow{L"only", L"dbo.TBL_ACCOUNT.FLD_ACCOUNT"}}) {  // never in a sensitive column
        CHECK(Found(database, std::wstring(row.in)) == row.expected);
    }
    CHECK(Found(database, L"ab", Manual(L"t", L"c d")) == L"账号字段名包含不允许的字符");
    CHECK(Found(database, L"ab", Manual(L"t t", L"c d")) == L"账号表名包含不允许的字符");
    // One word for detection is enough to ignore the other box.
    CHECK(Found(database, L"eco", Manual(L" auto ", L"nowhere")) == L"game.t_user.userid second");
    CHECK(Found(database, L"ain", Manual(L"TBL_ACCOUNT", L"自动")) == L"dbo.TBL_ACCOUNT.FLD_ACCOUNT main");
}

TEST_CASE("low scores share a budget of 150 probes") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const TestDatabase database(L"budget", {L"CREATE TABLE t_user (u1 varchar(9), u2 varchar(9))",
                                            L"CREATE TABLE plain (" + ManyColumns(160) + L")",
                                            L"INSERT INTO plain (c0, c149) VALUES ('first', 'beyond')"});
    const Trace trace;
    CHECK(Found(database, L"beyond").starts_with(L"dbo.t_user.u1"));
    const std::vector<std::wstring> events = trace.Events();
    CHECK(std::count_if(events.begin(), events.end(), [](const std::wstring& event) {
              return event.starts_with(L"prepare SELECT TOP (1)");
          }) == 150);  // the two of t_user and 148 of plain: c0 to c147
}

TEST_CASE("a failing probe is only a miss and a failing fetch is a hit") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const TestDatabase database(L"probes", {L"CREATE TABLE account (account varchar(9), login varchar(9))",
                                            L"INSERT INTO account (account, login) VALUES ('same', 'same')"});
    const std::wstring kFirst = L"dbo.account.account same", kSecond = L"dbo.account.login same";
    struct Row {
        std::string fault;
        std::wstring found;
    };
    for (const Row& row :
         {Row{"statement\t2", kSecond}, Row{"prepare\t1", kSecond}, Row{"bind\t1", kSecond},
          Row{"execute\t2", kSecond}, Row{"fetch\t4", kFirst}, Row{"fetch\t5", kFirst},
          Row{"statement\t1", L"ODBC statement failed"}, Row{"statement\t3", L"ODBC statement failed"},
          Row{"execute\t1", L"HY000: 断开"}, Row{"prepare\t2", L"HY000: 断开"},
          Row{"die\tfetch\t2", L"HY000: 断开"}, Row{"die\tfetch\t5", L"HY000: 断开"}}) {
        CAPTURE(row.fault);
        {
            const Faults faults(row.fault + "\tHY000\t1\t断开\n");
            CHECK(Found(database, L"same") == row.found);
        }
        CHECK(LiveHandles() == 0);
    }
}

TEST_CASE("a thousand searches leave memory flat and no handle") {
    const TestDatabase database(L"thousand", {L"CREATE TABLE account (account varchar(9))",
                                              L"INSERT INTO account (account) VALUES ('same')"});
    size_t bytes = 0;
    for (int i = 0; i < 1'100; ++i) {
        REQUIRE(Found(database, L"am") == L"dbo.account.account same");
        if (i == 100) bytes = PrivateBytes(GetCurrentProcessId());  // what is made once and kept
    }
    CHECK(PrivateBytes(GetCurrentProcessId()) < bytes + 256 * 1024);
    if (CanInjectFaults()) CHECK(LiveHandles() == 0);
}
