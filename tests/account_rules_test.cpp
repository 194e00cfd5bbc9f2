#include "account_query/account_candidates.h"
#include "account_query/account_text.h"
#include "account_query/query_texts.h"
#include "support/wide_text.h"

TEST_CASE("columns that may hold secrets are known by their names") {
    for (const std::wstring& name :
         Words(L"PASSWORD bypass pwd2 Token session gmail phone mobile hotel QQ LoginIP mac 电脑 机器 密码 "
               L"邮箱 x电话x 手机 身份证"))
        CHECK(IsSensitiveColumnName(name));
    for (const std::wstring& name : Words(L"FLD_ACCOUNT 账号 name p_a_s_s te"))
        CHECK_FALSE(IsSensitiveColumnName(name));
}

TEST_CASE("every word in a name adds its weight once") {
    const auto scores = [](const std::wstring& tables, const std::wstring& columns) {
        std::wstring text;
        for (const std::wstring& table : Words(tables)) {
            for (const std::wstring& column : Words(columns))
                text += std::to_wstring(ScoreAccountCandidate({L"account_log", table, column})) + L" ";
        }
        return text;
    };
    CHECK(scores(L"T", L"xAccount x账号x 帐号x xUserId User_Idx xLogin 登录x x登陆 Name ID names idx user") ==
          L"160 160 160 130 130 100 100 100 15 15 0 0 0 ");
    CHECK(scores(L"Account ACCOUNTS TBL_ACCOUNT t_account xAccount x账号x 帐号x xUser x用户 登录x x登陆",
                 L"c") == L"320 320 320 320 140 140 140 80 80 80 80 ");
    CHECK(scores(L"Login Logs 日志x xRecord HistoryRecord AccountHistory T name", L"c") ==
          L"-40 -120 -120 -120 -120 20 0 0 ");
    for (const std::wstring& name :
         Words(L"Account accounts accountid accountname useraccount userid user_id username user_name "
               L"loginid login_id loginname login_name fld_account fld_userid fld_username saccount 账号 "
               L"帐号 用户账号 用户名 登录账号 登陆账号"))
        CHECK(ScoreAccountCandidate({L"", L"T", name}) - ScoreAccountCandidate({L"", L"T", name + L"x"}) ==
              240);
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
    CHECK(QualifiedAccountTable(named) + QuotedAccountColumn(named) == L"[dbo].[Account][Name]");
    CHECK(ErrorOf([&] { QualifiedAccountTable(odd); }) == L"账号表名包含不允许的字符");
    CHECK(ErrorOf([&] { QuotedAccountColumn(odd); }) == L"账号字段名包含不允许的字符");
}

TEST_CASE("the texts of the account query and its names with a hidden middle") {
    std::wstring masked = MaskAccountName(L"");
    for (const std::wstring& name : Words(L"a ab abc abcd abcde abcdef 张三丰 玩家一二三"))
        masked += MaskAccountName(name) + L" ";
    CHECK(masked == L"* ** a** a**d ab**e ab**ef 张** 玩家**三 ");
    CHECK(QuerySummary({{}, {L"", L"T", L"c"}}) ==
          L"查询完成，匹配到 0 个账号；手动配置：T.c；中间两位已隐藏。");
    CHECK(QueryFailure("坏") + QueryFailure("") == L"查询失败：坏查询失败：查询失败");
    CHECK(KeywordProblem(L"a") + KeywordProblem(std::wstring(33, L'a')) ==
          L"账号关键字至少输入 2 位。账号关键字最多输入 32 位。");
    CHECK(KeywordProblem(L"家家") + KeywordProblem(std::wstring(32, L'家')) == L"");
}
