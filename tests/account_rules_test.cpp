#include <algorithm>

#include "account_query/account_candidates.h"
#include "account_query/account_text.h"
#include "account_query/query_texts.h"
#include "tests/support/wide_text.h"

TEST_CASE("columns that may hold secrets are known by their names") {
    for (const wchar_t* name :
         {L"PASSWORD", L"passwd", L"pwd2",        L"bypass", L"Token",   L"session", L"gmail",
          L"email",    L"phone",  L"mobile",      L"Tel",    L"QQ",      L"LoginIP", L"mac",
          L"machine",  L"电脑",   L"机器",        L"密码",   L"邮箱",    L"x电话x",  L"手机",
          L"身份证",   L"zip",    L"description", L"hotel",  L"passport"}) {
        CHECK(IsSensitiveColumnName(name));
    }
    for (const wchar_t* name : {L"", L"FLD_ACCOUNT", L"账号", L"name", L"p_a_s_s", L"te"})
        CHECK_FALSE(IsSensitiveColumnName(name));
    CHECK((ContainsNoCase(L"TBL_Account", L"aCCount") && ContainsNoCase(L"", L"")));
    CHECK_FALSE(ContainsNoCase(L"abc", L"abcd"));
}

TEST_CASE("every word in a table's or column's name adds its weight once") {
    const auto score = [](const std::wstring& table, const std::wstring& column) {
        return ScoreAccountCandidate({L"account_log", table, column});
    };
    struct Row {
        int weight;
        std::vector<std::wstring> names;
    };
    for (const Row& row : {Row{160, {L"xAccount", L"x账号x", L"帐号x"}},
                           {130, {L"xUserId", L"User_Idx"}},
                           {100, {L"xLogin", L"登录x", L"x登陆"}},
                           {15, {L"Name", L"ID"}},
                           {0, {L"names", L"idx", L"user"}}}) {
        for (const std::wstring& column : row.names) CHECK(score(L"T", column) == row.weight);
    }
    for (const Row& row : {Row{320, {L"Account", L"ACCOUNTS", L"TBL_ACCOUNT", L"t_account"}},
                           {140, {L"xAccount", L"x账号x", L"帐号x"}},
                           {80, {L"xUser", L"x用户", L"登录x", L"x登陆"}},
                           {-40, {L"Login"}},
                           {-120, {L"Logs", L"日志x", L"xRecord", L"HistoryRecord"}},
                           {0, {L"T", L"name"}}}) {
        for (const std::wstring& table : row.names) CHECK(score(table, L"c") == row.weight);
    }
    for (const std::wstring exact :
         {L"Account",    L"accounts",    L"accountid",  L"accountname",  L"useraccount", L"userid",
          L"user_id",    L"username",    L"user_name",  L"loginid",      L"login_id",    L"loginname",
          L"login_name", L"fld_account", L"fld_userid", L"fld_username", L"saccount",    L"账号",
          L"帐号",       L"用户账号",    L"用户名",     L"登录账号",     L"登陆账号"}) {
        CHECK(score(L"T", exact) - score(L"T", exact + L"x") == 240);
    }
    CHECK(score(L"TBL_ACCOUNT", L"FLD_ACCOUNT") == 720);
    CHECK(score(L"t_user", L"userid") == 450);
    CHECK(score(L"LoginLog", L"name") == -25);
    CHECK(score(L"AccountHistory", L"account") == 420);
}

TEST_CASE("the best score comes first and equal scores keep their order") {
    std::vector<AccountSource> ranked;
    for (int i = 0; i < 60; ++i) ranked.push_back({L"", std::to_wstring(100 + i), L"", (i * 7) % 3 - 1});
    RankAccountCandidates(ranked);
    const auto rank = [](const AccountSource& source) { return std::pair(-source.score, source.table); };
    CHECK(std::ranges::is_sorted(ranked, {}, rank));
}

TEST_CASE("the statements of the account query and what goes into them") {
    CHECK(TextColumnsSql() ==
          L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS WHERE DATA_TYPE IN "
          L"(N'char',N'varchar',N'nchar',N'nvarchar',N'text',N'ntext')   AND TABLE_SCHEMA NOT IN "
          L"(N'sys',N'INFORMATION_SCHEMA') ORDER BY TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION");
    const std::wstring matching = L" FROM T WHERE CAST(c AS NVARCHAR(128)) LIKE ? ESCAPE N'\\'";
    CHECK(ProbeAccountSql(L"T", L"c") == L"SELECT TOP (1) CAST(c AS NVARCHAR(128))" + matching);
    for (const auto& [limit, top] : {std::pair(0, L"1"), {-1, L"1"}, {7, L"7"}, {500, L"500"}, {501, L"500"}})
        CHECK(SearchAccountsSql(L"T", L"c", limit) == std::wstring(L"SELECT TOP (") + top +
                                                          L") CAST(c AS NVARCHAR(128)) AS account" +
                                                          matching + L" ORDER BY c ASC");
    CHECK(ContainsPattern(L"a\\b%c_d[e]f^-'") == L"%a\\\\b\\%c\\_d\\[e\\]f^-'%");
    const AccountSource named = {L"", L"dbo.Account", L"Name"}, odd = {L"dbo", L"a b", L"c d"};
    CHECK(QualifiedAccountTable(named) + QuotedAccountColumn(named) == L"[dbo].[Account][Name]");
    CHECK(QualifiedAccountTable({L"game", L"T", L""}) == L"[game].[T]");
    CHECK(ErrorOf([&] { QualifiedAccountTable(odd); }) == L"账号表名包含不允许的字符");
    CHECK(ErrorOf([&] { QuotedAccountColumn(odd); }) == L"账号字段名包含不允许的字符");
}

TEST_CASE("masking hides the middle of a name") {
    for (const TextRow& row :
         {TextRow{L"", L""}, TextRow{L"a", L"*"}, TextRow{L"ab", L"**"}, TextRow{L"abc", L"a**"},
          TextRow{L"abcd", L"a**d"}, TextRow{L"abcde", L"ab**e"}, TextRow{L"abcdef", L"ab**ef"},
          TextRow{L"张三丰", L"张**"}, TextRow{L"玩家一二三", L"玩家**三"}}) {
        CHECK(MaskAccountName(row.in) == row.expected);
    }
}

TEST_CASE("the texts of the account query") {
    CHECK(ZoneLabel({L"一区", L"D", L"i", 4, L"h", 1, L"G", L"u", L"p", L"7", L"g"}) == L"一区  |  G");
    CHECK(RefreshStatus(0, L"") == L"检测到 0 个已启动 M2。");
    CHECK(RefreshStatus(12, L"坏") == L"检测到 12 个已启动 M2。 坏");
    CHECK(QuerySummary({{L"a", L"b"}, {L"dbo", L"T", L"c", 20, true}}) ==
          L"查询完成，匹配到 2 个账号；自动识别：dbo.T.c；中间两位已隐藏。");
    CHECK(QuerySummary({{}, {L"", L"T", L"c"}}) ==
          L"查询完成，匹配到 0 个账号；手动配置：T.c；中间两位已隐藏。");
    CHECK(QueryFailure("坏") + QueryFailure("") == L"查询失败：坏查询失败：查询失败");
    CHECK(KeywordProblem(L"a") == L"账号关键字至少输入 2 位。");
    CHECK(KeywordProblem(L"家家") + KeywordProblem(std::wstring(32, L'家')) == L"");
    CHECK(KeywordProblem(std::wstring(33, L'a')) == L"账号关键字最多输入 32 位。");
}
