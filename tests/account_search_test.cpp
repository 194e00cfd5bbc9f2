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

TEST_CASE("without a column for accounts a search tells why") {
    const TestDatabase database(L"none", {L"CREATE TABLE t (Password varchar(9), Email varchar(9), id int)"});
    CHECK(Found(database, L"ab") == L"没有扫描到可用于账号识别的文本字段");
    database.Run({L"CREATE TABLE LoginLog (name varchar(9), logIn text)"});
    CHECK(Found(database, L"ab") == L"没有自动识别到账号表和账号字段；可以临时手填后再查询");
}

// Columns with falling scores: TBL_ACCOUNT, t_user, LoginLog; none of them is Email.
struct Zone : TestDatabase {
    Zone()
        : TestDatabase(L"zone",
                       {LR"(CREATE TABLE dbo.LoginLog (name varchar(50), Email varchar(50), logIn text);
            CREATE TABLE dbo.TBL_ACCOUNT (FLD_ACCOUNT varchar(300)))",
                        L"CREATE SCHEMA game",
                        LR"(CREATE TABLE game.t_user (userid nvarchar(50), nick ntext);
            INSERT INTO dbo.LoginLog (name, Email) VALUES ('logged', 'mail@only');
            INSERT INTO dbo.TBL_ACCOUNT (FLD_ACCOUNT) VALUES ('m_zhang_3'), ('kZhang43'), (NULL), ('50%off'),
                ('500off'), (N'张三丰'), ('a[b]c\d'), ('abcd');
            INSERT INTO game.t_user (userid, nick) VALUES (N'second', N'third'))"}) {}
};
static const std::wstring kBest = L"dbo.TBL_ACCOUNT.FLD_ACCOUNT";

TEST_CASE("the best-scored column that holds the keyword is searched literally") {
    const Zone zone;
    for (const auto& [name, keyword, found] :
         Table({std::tuple("any letter case, ascending", L"ZHANG", L" kZhang43 m_zhang_3"s),
                {"an underscore", L"g_3", L" m_zhang_3"},
                {"a percent sign", L"0%", L" 50%off"},
                {"brackets and a backslash", L"[b]c\\d", L" a[b]c\\d"},
                {"Chinese", L"三丰", L" 张三丰"},
                {"nobody, with an apostrophe", L"' OR 1=1 --", L""},
                {"in a sensitive column alone", L"only", L""}}))
        CHECK(Found(zone, keyword) == kBest + found);
    CHECK(Found(zone, L"ogg") == L"dbo.LoginLog.name logged");
    // The server sorts neither text nor ntext, and says so.
    const std::wstring unsorted = Found(zone, L"third");
    CAPTURE(unsorted);
    CHECK(unsorted.substr(0, 7) == L"42000: ");
    CHECK(unsorted.find(L"ntext") != unsorted.npos);
}

TEST_CASE("table and column are used as filled in when neither asks for detection") {
    const Zone zone;
    using Row = std::tuple<const char*, const wchar_t*, const wchar_t*, const wchar_t*, std::wstring>;
    for (const auto& [name, table, column, keyword, found] :
         Table<Row>{{"both", L"game.t_user", L"userid", L"cond", L".game.t_user.userid second"},
                    {"a bad column", L"t", L"c d", L"ab", L"账号字段名包含不允许的字符"},
                    {"both bad", L"t t", L"c d", L"ab", L"账号表名包含不允许的字符"},
                    {"no table", L" auto ", L"nowhere", L"eco", L"game.t_user.userid second"},
                    {"no column", L"TBL_ACCOUNT", L"自动", L"c\\d", kBest + L" a[b]c\\d"}})
        CHECK(Found(zone, keyword, Manual(table, column)) == found);
}

static std::wstring Reads(const std::wstring& sql) {
    return L"prepare " + sql + L"\nexecute " + sql + L"\n";
}

TEST_CASE("a search scans probes and reads on one connection") {
    const TestDatabase database(
        L"asked",
        {L"CREATE TABLE t_user (nick text, name nvarchar(9), id int, code char(9))", L"CREATE SCHEMA game",
         L"CREATE TABLE game.account (b ntext, a nchar(9), n int, c varchar(9))",
         L"INSERT INTO t_user (code) VALUES ('same')"});
    std::wstring columns, probes;
    for (const AccountSource& source : ScanAccountCandidates(database.Open().Connection())) {
        columns += source.table + L"." + source.column + L" ";
        probes += Reads(ProbeAccountSql(QualifiedAccountTable(source), L"[" + source.column + L"]"));
    }
    CHECK(columns == L"account.b account.a account.c t_user.name t_user.nick t_user.code ");
    const std::wstring connect = L" for SQL Server 5\nconnect " + database.Name() + L"\n",
                       disconnect = L"disconnect 0\n";
    QuerySettings settings = Manual(L"t_user", L"code", 7);
    const std::wstring told = ToldBy([&] { Found(database, L"am", settings); });
    CHECK(FirstLineThatDiffers(told, L"attempt ODBC Driver 18" + connect +
                                         Reads(SearchAccountsSql(L"[t_user]", L"[code]", 7)) + disconnect) ==
          L"");
    settings.accountTable = L"";
    settings.driver = L"ODBC Driver 17 for SQL Server";
    const std::wstring detected = ToldBy([&] { Found(database, L"am", settings); });
    CHECK(FirstLineThatDiffers(detected, L"attempt ODBC Driver 17" + connect + L"execute " +
                                             TextColumnsSql() + L"\n" + probes +
                                             Reads(SearchAccountsSql(L"[dbo].[t_user]", L"[code]", 7)) +
                                             disconnect) == L"");
}

TEST_CASE("low scores share a budget of 150 probes and high ones are always probed") {
    constexpr int kBudget = 150, kTrusted = 2, kTwenty = 160;  // columns that score 80 or more, exactly 20
    std::wstring columns = L"(c0 varchar(9)", tables;
    for (int i = 1; i < kTwenty; ++i) columns += L", c" + std::to_wstring(i) + L" varchar(9)";
    // Tables of two columns that score 15, the most below 20. The last one that is probed is p83.id.
    for (int i = 10; i < 90; ++i)
        tables += L"CREATE TABLE p" + std::to_wstring(i) + L" (name varchar(9), id varchar(9)); ";
    const TestDatabase database(
        L"budget", {L"CREATE TABLE t_user (u1 varchar(9), u2 varchar(9))", tables,
                    L"INSERT INTO p83 (id) VALUES ('last')", L"INSERT INTO p84 (name) VALUES ('beyond')"});
    const auto check = [&](const wchar_t* keyword, const std::wstring& found, int probes) {
        CAPTURE(keyword);
        const Trace trace;
        CHECK(Found(database, keyword) == found);
        const auto isProbe = [](auto& event) { return event.starts_with(L"prepare SELECT TOP (1) "); };
        CHECK(std::ranges::count_if(trace.Events(), isProbe) == probes);
    };
    check(L"last", L"dbo.p83.id last", kBudget);
    check(L"beyond", L"dbo.t_user.u1", kBudget);
    database.Run(
        {L"CREATE TABLE accountlog " + columns + L")", L"INSERT INTO accountlog (c159) VALUES ('beyond')"});
    check(L"beyond", L"dbo.accountlog.c159 beyond", kTrusted + kTwenty);
}

TEST_CASE("a failing probe is only a miss and a failing fetch is a hit") {
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
        for (const std::string& point : Table(points)) {
            const Faults faults(point + "\tHY000\t1\t断开\n");
            CHECK(Found(database, L"sa") == found);
            CHECK(Alive() == L"");
        }
    }
    const Faults faults("fetch\t2\tHY000\t1\tx\n");
    CHECK(ScanAccountCandidates(database.Open().Connection()).size() == 1);  // no row twice
}
