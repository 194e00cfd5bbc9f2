#include <algorithm>

#include "account_query/account_search.h"
#include "account_query/account_source.h"
#include "account_query/account_text.h"
#include "support/test_database.h"
#include "support/wide_text.h"

// The result of a search as "schema.table.column account account", or its error.
static std::wstring Found(const TestDatabase& database, const std::wstring& keyword,
                          const QuerySettings& settings = {}) {
    const auto& [host, port, user, password, folder] = Server();
    const GameServerInfo zone = {L"", L"", L"", 0, host, port, database.Name(), user, password, L"", L""};
    std::wstring text;
    const std::wstring error = ErrorOf([&] {
        const auto [accounts, source] = SearchAccounts(zone, keyword, settings);
        text = source.schema + L"." + source.table + L"." + source.column;
        for (const std::wstring& account : accounts) text.append(L" ").append(account);
    });
    return text.empty() ? error : text;
}

static QuerySettings Manual(const wchar_t* table, const wchar_t* field, int maxResults = 100) {
    return {L"", L"M2Server.exe", table, field, L"", maxResults};
}

TEST_CASE("the best-scored column that holds the keyword is found and searched literally") {
    const TestDatabase database(L"ranking",
                                {L"CREATE TABLE t (Password varchar(9), Email varchar(9), id int)"});
    CHECK(Found(database, L"ab") == L"没有扫描到可用于账号识别的文本字段");
    database.Run({L"CREATE TABLE dbo.LoginLog (name varchar(50), Email varchar(50), logIn text)",
                  L"INSERT INTO dbo.LoginLog (name, Email) VALUES ('logged', 'mail@only')"});
    CHECK(Found(database, L"ab") == L"没有自动识别到账号表和账号字段；可以临时手填后再查询");
    database.Run({L"CREATE TABLE dbo.TBL_ACCOUNT (FLD_ACCOUNT varchar(300))", L"CREATE SCHEMA game",
                  L"CREATE TABLE game.t_user (userid nvarchar(50), nick ntext)",
                  L"INSERT INTO dbo.TBL_ACCOUNT (FLD_ACCOUNT) VALUES ('m_zhang_3'), ('kZhang43'), (NULL), "
                  L"('50%off'), ('500off'), (N'张三丰'), ('a[b]c\\d'), ('abcd')",
                  L"INSERT INTO game.t_user (userid, nick) VALUES (N'second', N'third')"});
    const std::wstring best = L"dbo.TBL_ACCOUNT.FLD_ACCOUNT";
    for (const TextRow& row :
         {TextRow{L"ZHANG", L" kZhang43 m_zhang_3"}, TextRow{L"g_3", L" m_zhang_3"},
          TextRow{L"0%", L" 50%off"}, TextRow{L"[b]", L" a[b]c\\d"}, TextRow{L"c\\d", L" a[b]c\\d"},
          TextRow{L"三丰", L" 张三丰"}, TextRow{L"nobody", L""}, TextRow{L"' OR 1=1 --", L""},
          TextRow{L"only", L""}}) {  // never in a sensitive column
        CHECK(Found(database, std::wstring(row.in)) == best + std::wstring(row.expected));
    }
    CHECK(Found(database, L"ogg") == L"dbo.LoginLog.name logged");
    // The server sorts neither text nor ntext, and says so.
    const std::wstring unsorted = Found(database, L"third");
    CAPTURE(unsorted);
    CHECK(unsorted.starts_with(L"42000: "));
    CHECK(unsorted.find(L"ntext") != unsorted.npos);
    CHECK(Found(database, L"ab", Manual(L"t", L"c d")) == L"账号字段名包含不允许的字符");
    CHECK(Found(database, L"ab", Manual(L"t t", L"c d")) == L"账号表名包含不允许的字符");
    // One word for detection is enough to ignore the other box.
    CHECK(Found(database, L"eco", Manual(L" auto ", L"nowhere")) == L"game.t_user.userid second");
    CHECK(Found(database, L"c\\d", Manual(L"TBL_ACCOUNT", L"自动")) == best + L" a[b]c\\d");
}

TEST_CASE("a search scans probes and reads on one connection") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const TestDatabase database(
        L"asked",
        {L"CREATE TABLE t_user (nick text, name nvarchar(9), id int, code char(9))", L"CREATE SCHEMA game",
         L"CREATE TABLE game.account (b ntext, a nchar(9), n int, c varchar(9))",
         L"INSERT INTO t_user (code) VALUES ('same')"});
    const auto reads = [](const std::wstring& sql) {
        return L"prepare " + sql + L"\nexecute " + sql + L"\n";
    };
    std::wstring columns, probes;
    for (const AccountSource& source : ScanAccountCandidates(database.Open().Connection())) {
        columns += source.table + L"." + source.column + L" ";
        probes += reads(ProbeAccountSql(QualifiedAccountTable(source), L"[" + source.column + L"]"));
    }
    CHECK(columns == L"account.b account.a account.c t_user.name t_user.nick t_user.code ");
    const std::wstring opened = L" for SQL Server 5\nconnect " + database.Name() + L"\n",
                       closed = L"disconnect 0\n";
    CHECK(ToldBy([&] { Found(database, L"am", Manual(L"t_user", L"code", 7)); }) ==
          L"attempt ODBC Driver 18" + opened + reads(SearchAccountsSql(L"[t_user]", L"[code]", 7)) + closed);
    QuerySettings automatic = Manual(L"", L"", 7);
    automatic.driver = L"ODBC Driver 17 for SQL Server";
    std::wstring told = ToldBy([&] { Found(database, L"am", automatic); });
    const size_t scan = told.find(L"execute "), probe = told.find(L"prepare ");
    CHECK(told.find(L"AND TABLE_SCHEMA NOT IN (N'sys',N'INFORMATION_SCHEMA')") < probe);
    CHECK(told.erase(scan, probe - scan) == L"attempt ODBC Driver 17" + opened + probes +
                                                reads(SearchAccountsSql(L"[dbo].[t_user]", L"[code]", 7)) +
                                                closed);
}

TEST_CASE("low scores share a budget of 150 probes and high ones are always probed") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    std::wstring columns = L"(c0 varchar(9)", tables;
    for (int i = 1; i < 160; ++i) columns += L", c" + std::to_wstring(i) + L" varchar(9)";
    for (int i = 10; i < 90; ++i)  // two columns that score 15, the most below 20
        tables += L"CREATE TABLE p" + std::to_wstring(i) + L" (name varchar(9), id varchar(9)); ";
    const TestDatabase database(
        L"budget", {L"CREATE TABLE t_user (u1 varchar(9), u2 varchar(9))", tables,
                    L"INSERT INTO p83 (id) VALUES ('last')", L"INSERT INTO p84 (name) VALUES ('beyond')"});
    const auto probes = [&](const wchar_t* keyword, const wchar_t* found) {
        const Trace trace;
        CHECK(Found(database, keyword).starts_with(found));
        return std::ranges::count_if(
            trace.Events(), [](auto& event) { return event.starts_with(L"prepare SELECT TOP (1) "); });
    };
    CHECK(probes(L"last", L"dbo.p83.id last") == 150);
    CHECK(probes(L"beyond", L"dbo.t_user.u1") == 150);  // a score of 80 is trusted
    // A table whose columns score exactly 20.
    database.Run(
        {L"CREATE TABLE accountlog " + columns + L")", L"INSERT INTO accountlog (c159) VALUES ('beyond')"});
    CHECK(probes(L"beyond", L"dbo.accountlog.c159 beyond") == 162);
}

TEST_CASE("a failing probe is only a miss and a failing fetch is a hit") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const TestDatabase database(L"probes", {L"CREATE TABLE account (account varchar(9), login varchar(9))",
                                            L"INSERT INTO account (account, login) VALUES ('same', 'same'), "
                                            L"('sane', NULL)"});
    const std::wstring kFirst = L"dbo.account.account same sane", kSecond = L"dbo.account.login same";
    const std::string scan = "\t'.COLUMNS'\t", probe = "\t'TOP (1)'\t", search = "\t'TOP (100)'\t";
    using Row = std::pair<std::wstring, std::vector<std::string>>;
    for (const auto& [found, points] :
         {Row{kSecond,
              {"statement\t2", "prepare" + probe + "1", "bind" + probe + "1", "execute" + probe + "1"}},
          // An error between two rows is the last that the server sends.
          Row{kFirst, {"fetch" + probe + "1"}}, Row{L"dbo.account.account same", {"fetch" + search + "2"}},
          Row{kFirst, {"fetch" + search + "3"}},
          Row{L"ODBC statement failed", {"statement\t1", "statement\t3"}},
          Row{L"HY000: 断开",
              {"execute" + scan + "1", "prepare" + search + "1", "bind" + search + "1",
               "execute" + search + "1", "die\tfetch" + scan + "2", "die\tfetch" + search + "1"}}}) {
        for (const std::string& point : points) {
            CAPTURE(point);
            const Faults faults(point + "\tHY000\t1\t断开\n");
            CHECK(Found(database, L"sa") == found);
            CHECK(LiveHandles() == 0);
        }
    }
    const Faults faults("fetch\t2\tHY000\t1\tx\n");
    CHECK(ScanAccountCandidates(database.Open().Connection()).size() == 1);  // no row twice
}
