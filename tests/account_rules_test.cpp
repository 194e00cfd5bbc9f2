#include "account_query/account_candidates.h"
#include "account_query/account_text.h"
#include "account_query/query_texts.h"
#include "support/wide_text.h"

TEST_CASE("columns that may hold secrets are known by their names") {
    for (const std::wstring& name :
         Words(L"PASSWORD bypass pwd2 Token session gmail phone mobile hotel QQ LoginIP mac 电脑 机器 密码 "
               L"邮箱 x电话x 手机 身份证")) {
        CAPTURE(name);
        CHECK(IsSensitiveColumnName(name));
    }
    for (const std::wstring& name : Words(L"FLD_ACCOUNT 账号 name p_a_s_s te")) {
        CAPTURE(name);
        CHECK_FALSE(IsSensitiveColumnName(name));
    }
}

static int Score(const std::wstring& table, const std::wstring& column) {
    return ScoreAccountCandidate({L"account_log", table, column});
}

TEST_CASE("every word in a column's name adds its weight once") {
    for (const auto& [names, weight] : {std::pair(L"xAccount x账号x 帐号x", 160),
                                        {L"xUserId User_Idx", 130},
                                        {L"xLogin 登录x x登陆", 100},
                                        {L"Name ID", 15},
                                        {L"names idx user", 0}})
        for (const std::wstring& name : Words(names)) {
            CAPTURE(name);
            CHECK(Score(L"T", name) == weight);
        }
    for (const std::wstring& name :
         Words(L"Account accounts accountid accountname useraccount userid user_id username user_name "
               L"loginid login_id loginname login_name fld_account fld_userid fld_username saccount 账号 "
               L"帐号 用户账号 用户名 登录账号 登陆账号")) {
        CAPTURE(name);
        CHECK(Score(L"T", name) - Score(L"T", name + L"x") == 240);
    }
}

TEST_CASE("every word in a table's name adds its weight once") {
    for (const auto& [names, weight] : {std::pair(L"Account ACCOUNTS TBL_ACCOUNT t_account", 180 + 140),
                                        {L"xAccount x账号x 帐号x", 140},
                                        {L"xUser x用户 登录x x登陆", 80},
                                        {L"Login", 80 - 120},
                                        {L"Logs 日志x xRecord HistoryRecord", -120},
                                        {L"AccountHistory", 140 - 120},
                                        {L"T name", 0}})
        for (const std::wstring& name : Words(names)) {
            CAPTURE(name);
            CHECK(Score(name, L"c") == weight);
        }
}

TEST_CASE("the statements of the account query and what goes into them") {
    CHECK(TextColumnsSql() ==
          L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS WHERE DATA_TYPE IN "
          L"(N'char',N'varchar',N'nchar',N'nvarchar',N'text',N'ntext')   AND TABLE_SCHEMA NOT IN "
          L"(N'sys',N'INFORMATION_SCHEMA') ORDER BY TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION");
    const std::wstring name = L"CAST(c AS NVARCHAR(128))",
                       matching = L" FROM T WHERE " + name + L" LIKE ? ESCAPE N'\\'";
    CHECK(ProbeAccountSql(L"T", L"c") == L"SELECT TOP (1) " + name + matching);
    for (const auto& [limit, top] : {std::pair(0, L"1) "), {7, L"7) "}, {501, L"500) "}})
        CHECK(SearchAccountsSql(L"T", L"c", limit) ==
              L"SELECT TOP (" + (top + name) + L" AS account" + matching + L" ORDER BY c ASC");
    CHECK(ContainsPattern(L"a\\b%c_d[e]f^-'") == L"%a\\\\b\\%c\\_d\\[e\\]f^-'%");
    const AccountSource named = {L"", L"dbo.Account", L"Name"}, odd = {L"dbo", L"a b", L"c d"};
    CHECK(QualifiedAccountTable(named) == L"[dbo].[Account]");
    CHECK(QuotedAccountColumn(named) == L"[Name]");
    CHECK(ErrorOf([&] { QualifiedAccountTable(odd); }) == L"账号表名包含不允许的字符");
    CHECK(ErrorOf([&] { QuotedAccountColumn(odd); }) == L"账号字段名包含不允许的字符");
}

TEST_CASE("two units in the middle of a name are hidden") {
    CHECK(MaskAccountName(L"") == L"");
    for (const auto& [name, masked] : {std::pair(L"a", L"*"),
                                       {L"ab", L"**"},
                                       {L"abc", L"a**"},
                                       {L"abcd", L"a**d"},
                                       {L"abcde", L"ab**e"},
                                       {L"abcdef", L"ab**ef"},
                                       {L"玩家一二三", L"玩家**三"}})
        CHECK(MaskAccountName(name) == masked);
}

TEST_CASE("the texts of the account query") {
    CHECK(QuerySummary({{}, {L"", L"T", L"c"}}) ==
          L"查询完成，匹配到 0 个账号；手动配置：T.c；中间两位已隐藏。");
    CHECK(QueryFailure("坏") == L"查询失败：坏");
    CHECK(QueryFailure("") == L"查询失败：查询失败");
    for (const TextRow& row : {TextRow{"too short", L"a", L"账号关键字至少输入 2 位。"},
                               {"shortest", L"家家", L""},
                               {"longest", std::wstring(32, L'家'), L""},
                               {"too long", std::wstring(33, L'a'), L"账号关键字最多输入 32 位。"}}) {
        CAPTURE(row.name);
        CHECK(KeywordProblem(row.in) == row.expected);
    }
}
