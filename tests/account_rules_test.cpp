#include <doctest/doctest.h>

#include <algorithm>
#include <utility>

#include "account_query/account_candidates.h"
#include "account_query/account_text.h"
#include "account_query/query_texts.h"
#include "tests/support/error_of.h"
#include "tests/support/wide_text.h"

TEST_CASE("columns that may hold secrets are known by their names") {
    for (const wchar_t* name :
         {L"PASSWORD", L"xpasswd", L"pwd2",        L"pass",  L"token",   L"session", L"mail",
          L"email",    L"phone",   L"mobile",      L"Tel",   L"QQ",      L"LoginIP", L"mac",
          L"machine",  L"电脑",    L"机器",        L"密码",  L"邮箱",    L"x电话x",  L"手机",
          L"身份证",   L"zip",     L"description", L"hotel", L"passport"}) {
        CAPTURE(name);
        CHECK(IsSensitiveColumnName(name));
    }
    for (const wchar_t* name :
         {L"", L"FLD_ACCOUNT", L"username", L"账号", L"用户名", L"name", L"id", L"p_a_s_s"}) {
        CHECK_FALSE(IsSensitiveColumnName(name));
    }
}

TEST_CASE("a candidate is scored by every rule that its names match") {
    struct Row {
        const wchar_t *table, *column;
        int score;
    };
    const Row rows[] = {{L"TBL_ACCOUNT", L"FLD_ACCOUNT", 720},
                        {L"t_user", L"userid", 450},
                        {L"LoginLog", L"name", -25},
                        {L"AccountHistory", L"account", 420},
                        {L"T", L"accounts", 400},
                        {L"T", L"用户名", 240},
                        {L"T", L"登陆账号", 500},
                        {L"T", L"my_账号_account", 160},
                        {L"T", L"loginAccountUserId", 390},
                        {L"T", L"names", 0},
                        {L"T", L"Id", 15},
                        {L"t_account", L"c", 320},
                        {L"tbl_accounts", L"c", 140},
                        {L"帐号登录", L"c", 220},
                        {L"LOGIN", L"c", -40},
                        {L"日志RecordHistory", L"c", -120},
                        {L"用户", L"c", 80}};
    for (const Row& row : rows) {
        CAPTURE(row.table);
        CAPTURE(row.column);
        CHECK(ScoreAccountCandidate({L"account_log", row.table, row.column}) == row.score);
    }
    for (const wchar_t* column :
         {L"account",    L"accounts",    L"accountid",  L"accountname",  L"useraccount", L"userid",
          L"user_id",    L"username",    L"user_name",  L"loginid",      L"login_id",    L"loginname",
          L"login_name", L"fld_account", L"fld_userid", L"fld_username", L"sAccount",    L"账号",
          L"帐号",       L"用户账号",    L"用户名",     L"登录账号",     L"登陆账号"}) {
        CAPTURE(column);
        CHECK(ScoreAccountCandidate({L"", L"T", column}) >= 240);
    }
}

TEST_CASE("candidates of equal score keep the order of the scan") {
    std::vector<AccountSource> candidates;
    for (int i = 0; i < 60; ++i) candidates.push_back({L"", std::to_wstring(100 + i), L"", (i * 7) % 3 - 1});
    RankAccountCandidates(candidates);
    CHECK(std::is_sorted(candidates.begin(), candidates.end(),
                         [](const AccountSource& a, const AccountSource& b) {
                             return a.score != b.score ? a.score > b.score : a.table < b.table;
                         }));
}

TEST_CASE("a keyword is matched literally") {
    CHECK(EscapeLikePattern(L"") == L"");
    CHECK(EscapeLikePattern(L"[a]%b_\\^-'玩家") == L"\\[a\\]\\%b\\_\\\\^-'玩家");
    CHECK(ContainsPattern(L"a_b") == L"%a\\_b%");
    CHECK(ContainsNoCase(L"TBL_Account", L"aCCount"));
    CHECK(ContainsNoCase(L"", L""));
    CHECK_FALSE(ContainsNoCase(L"abc", L"abcd"));
}

TEST_CASE("the statements of a search read as agreed") {
    const std::wstring kRows = L" FROM [dbo].[T] WHERE CAST([F] AS NVARCHAR(128)) LIKE ? ESCAPE N'\\'";
    CHECK(ProbeAccountSql(L"[dbo].[T]", L"[F]") == L"SELECT TOP (1) CAST([F] AS NVARCHAR(128))" + kRows);
    for (const auto& [limit, written] : {std::pair(100, 100), {0, 1}, {-7, 1}, {500, 500}, {1000, 500}}) {
        CHECK(SearchAccountsSql(L"[dbo].[T]", L"[F]", limit) ==
              L"SELECT TOP (" + std::to_wstring(written) + L") CAST([F] AS NVARCHAR(128)) AS account" +
                  kRows + L" ORDER BY [F] ASC");
    }
}

TEST_CASE("masking hides the middle of a name") {
    const TextRow rows[] = {{L"", L""},
                            {L"a", L"*"},
                            {L"ab", L"**"},
                            {L"abc", L"a**"},
                            {L"abcd", L"a**d"},
                            {L"abcde", L"ab**e"},
                            {L"abcdef", L"ab**ef"},
                            {L"abcdefg", L"abc**fg"},
                            {L"张三丰", L"张**"},
                            {L"玩家一二三", L"玩家**三"}};
    for (const TextRow& row : rows) CHECK(MaskAccountName(row.in) == row.expected);
}

TEST_CASE("an account source is quoted with its schema") {
    CHECK(QualifiedAccountTable({L"dbo", L"Account", L"c"}) == L"[dbo].[Account]");
    CHECK(QualifiedAccountTable({L"", L"db1.dbo.T", L"c"}) == L"[db1].[dbo].[T]");
    CHECK(ErrorOf([] { QualifiedAccountTable({L"dbo", L"a b", L"c"}); }) == L"账号表名包含不允许的字符");
    CHECK(ErrorOf([] { QuotedAccountColumn({L"dbo", L"T", L"c]"}); }) == L"账号字段名包含不允许的字符");
}

TEST_CASE("the texts of the query window read as agreed") {
    GameServerInfo zone;
    zone.serverName = L"青龙";
    zone.dbName = L"G1";
    CHECK(ZoneLabel(zone) == L"青龙  |  G1");
    CHECK(RefreshStatus(0, L"") == L"检测到 0 个已启动 M2。");
    CHECK(RefreshStatus(12, L"甲；乙") == L"检测到 12 个已启动 M2。 甲；乙");
    CHECK(QuerySummary({{L"a", L"b"}, {L"dbo", L"T", L"F", 720, true}}) ==
          L"查询完成，匹配到 2 个账号；自动识别：dbo.T.F；中间两位已隐藏。");
    CHECK(QuerySummary({{}, {L"", L"Accounts", L"Name"}}) ==
          L"查询完成，匹配到 0 个账号；手动配置：Accounts.Name；中间两位已隐藏。");
    CHECK(QueryFailure("ODBC statement failed") == L"查询失败：ODBC statement failed");
    CHECK(QueryFailure("") == L"查询失败：查询失败");
    for (const size_t length : {0, 1})
        CHECK(KeywordProblem(std::wstring(length, L'a')) == L"账号关键字至少输入 2 位。");
    for (const size_t length : {2, 32}) CHECK(KeywordProblem(std::wstring(length, L'家')) == L"");
    CHECK(KeywordProblem(std::wstring(33, L'a')) == L"账号关键字最多输入 32 位。");
}
