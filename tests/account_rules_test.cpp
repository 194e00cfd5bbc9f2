#include "account_query/account_candidates.h"
#include "account_query/account_text.h"
#include "support/wide_text.h"

TEST_CASE("columns that may hold secrets are known by their names") {
    for (const std::wstring& name : Table(Words(
             L"PASSWORD bypass pwd2 Token session gmail phone mobile hotel QQ LoginIP mac 电脑 机器 密码 "
             L"邮箱 x电话x 手机 身份证")))
        CHECK(IsSensitiveColumnName(name));
    for (const std::wstring& name : Table(Words(L"FLD_ACCOUNT 账号 name p_a_s_s te")))
        CHECK_FALSE(IsSensitiveColumnName(name));
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
        for (const std::wstring& name : Table(Words(names))) CHECK(Score(L"T", name) == weight);
    for (const std::wstring& name : Table(
             Words(L"Account accounts accountid accountname useraccount userid user_id username user_name "
                   L"loginid login_id loginname login_name fld_account fld_userid fld_username saccount 账号 "
                   L"帐号 用户账号 用户名 登录账号 登陆账号")))
        CHECK(Score(L"T", name) - Score(L"T", name + L"x") == 240);
}

TEST_CASE("every word in a table's name adds its weight once") {
    for (const auto& [names, weight] : {std::pair(L"Account ACCOUNTS TBL_ACCOUNT t_account", 180 + 140),
                                        {L"xAccount x账号x 帐号x", 140},
                                        {L"xUser x用户 登录x x登陆", 80},
                                        {L"Login", 80 - 120},
                                        {L"Logs 日志x xRecord HistoryRecord", -120},
                                        {L"AccountHistory", 140 - 120},
                                        {L"T name", 0}})
        for (const std::wstring& name : Table(Words(names))) CHECK(Score(name, L"c") == weight);
}

TEST_CASE("the statements of the account query and what goes into them") {
    CHECK(TextColumnsSql() ==
          L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS WHERE DATA_TYPE IN "
          L"(N'char',N'varchar',N'nchar',N'nvarchar',N'text',N'ntext')   AND TABLE_SCHEMA NOT IN "
          L"(N'sys',N'INFORMATION_SCHEMA') ORDER BY TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION");
    const std::wstring name = L"CAST(c AS NVARCHAR(128))",
                       matching = L" FROM T WHERE " + name + L" LIKE ? ESCAPE N'\\'";
    CHECK(ProbeAccountSql(L"T", L"c") == L"SELECT TOP (1) " + name + matching);
    for (const auto& [limit, top] : Table({std::pair(0, L"1) "), {7, L"7) "}, {501, L"500) "}}))
        CHECK(SearchAccountsSql(L"T", L"c", limit) ==
              L"SELECT TOP (" + (top + name) + L" AS account" + matching + L" ORDER BY c ASC");
    CHECK(ContainsPattern(L"a\\b%c_d[e]f^-'") == L"%a\\\\b\\%c\\_d\\[e\\]f^-'%");
    const AccountSource odd = {L"dbo", L"a b", L"c d"};
    CHECK(ErrorOf([&] { QualifiedAccountTable(odd); }) == L"账号表名包含不允许的字符");
    CHECK(ErrorOf([&] { QuotedAccountColumn(odd); }) == L"账号字段名包含不允许的字符");
}

TEST_CASE("two units in the middle of a name are hidden") {
    for (const auto& [name, masked] : Table({std::pair(L""s, L""),
                                             {L"a", L"*"},
                                             {L"ab", L"**"},
                                             {L"abc", L"a**"},
                                             {L"abcd", L"a**d"},
                                             {L"abcde", L"ab**e"},
                                             {L"abcdef", L"ab**ef"},
                                             {L"玩家一二三", L"玩家**三"}}))
        CHECK(MaskAccountName(name) == masked);
}
