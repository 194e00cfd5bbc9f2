#include <doctest/doctest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "id_repair/repair_form.h"
#include "id_repair/repair_sql.h"
#include "id_repair/repair_texts.h"
#include "id_repair/role_id.h"
#include "tests/support/error_of.h"
#include "tests/support/wide_text.h"

namespace {

std::wstring FormError(const RepairFormTexts& texts) {
    return ErrorOf([&] { CheckRepairForm(texts); });
}

// True when a string literal of a C++ source holds a verb that writes. Comments and characters are passed
// over.
bool HasWritingLiteral(const std::string& source) {
    static const std::regex kToken(R"rx(//[^\n]*|'(?:\\.|[^'\\\n])+'|"((?:\\.|[^"\\])*)")rx");
    static const std::regex kVerb(
        R"(\b(UPDATE|INSERT|INTO|DELETE|MERGE|TRUNCATE|EXEC|EXECUTE|DROP|ALTER|CREATE)\b)",
        std::regex::icase);
    for (std::sregex_iterator token(source.begin(), source.end(), kToken), end; token != end; ++token) {
        if ((*token)[1].matched && std::regex_search((*token)[1].str(), kVerb)) return true;
    }
    return false;
}

}  // namespace

TEST_CASE("a character ID is 1 to 50 ASCII digits") {
    for (const std::wstring& id : {std::wstring(L"0"), std::wstring(L"0012"), std::wstring(50, L'9')}) {
        CHECK(IsRoleId(id));
        CHECK_NOTHROW(RequireRoleId(id, L"x"));
    }
    for (const std::wstring& id : {std::wstring(), std::wstring(51, L'9'), std::wstring(L"12a"),
                                   std::wstring(L"-1"), std::wstring(L"+1"), std::wstring(L" 1"),
                                   std::wstring(L"1 "), std::wstring(L"１２"), std::wstring(2, L'\0')}) {
        CAPTURE(id);
        CHECK_FALSE(IsRoleId(id));
        CHECK(ErrorOf([&] { RequireRoleId(id, L"旧角色唯一 ID"); }) == L"旧角色唯一 ID必须是纯数字唯一 ID");
    }
}

TEST_CASE("a good form is trimmed and converted") {
    const RepairConnectionForm form =
        CheckRepairForm({L" h\t", L" 1433 ", L" sa ", L" p w ", L" game ", L" Game "});
    CHECK(form.server + L"|" + form.user + L"|" + form.password + L"|" + form.databaseA + L"|" +
              form.databaseB ==
          L"h|sa|p w|game|Game");
    CHECK(form.port == 1433);
    for (const auto& [text, port] :
         {std::pair(L"14x", 14), {L"+7", 7}, {L"-1", -1}, {L"2147483647", 2147483647}}) {
        CHECK(CheckRepairForm({L"h", text, L"u", L"p", L"A", L"B"}).port == port);
    }
}

TEST_CASE("a bad form is refused for the first thing that is wrong") {
    for (const wchar_t* port : {L"", L"  ", L"x1", L"-", L"- 1", L"2147483648", L"99999999999999999999"}) {
        CAPTURE(port);
        CHECK(FormError({L"h", port, L"u", L"p", L"A", L"B"}) == L"端口必须是数字");
        CHECK(FormError({L"", port, L"", L"", L"", L""}) == L"端口必须是数字");
    }
    const RepairFormTexts good = {L"h", L"1", L"u", L"p", L"A", L"B"};
    for (const auto box : {&RepairFormTexts::server, &RepairFormTexts::user, &RepairFormTexts::password,
                           &RepairFormTexts::databaseA, &RepairFormTexts::databaseB}) {
        RepairFormTexts texts = good;
        texts.*box = L" \t";
        CHECK(FormError(texts) == L"服务器、端口、用户、密码和两个数据库都必须填写");
    }
    CHECK(FormError({L"h", L"1", L"u", L"p", L"", L""}) == L"服务器、端口、用户、密码和两个数据库都必须填写");
    CHECK(FormError({L"h", L"1", L"u", L"p", L"Game", L" Game "}) == L"两个数据库不能相同");
}

TEST_CASE("only the second choice makes database B the target") {
    RepairConnectionForm form;
    form.databaseA = L"A";
    form.databaseB = L"B";
    for (const int index : {-1, 0, 1, 2}) {
        const RepairDirection direction = ChooseDirection(form, index);
        CHECK(direction.target + direction.other == (index == 1 ? L"BA" : L"AB"));
    }
}

TEST_CASE("the reading statements of the repair read as agreed") {
    CHECK(OnlineDatabasesSql() ==
          L"SELECT name FROM sys.databases WHERE database_id > 4 AND state_desc = 'ONLINE' ORDER BY name");
    CHECK(DuplicateIdsSql(IdKind::Role, L"GameA", L" GameB ") ==
          L"SELECT DISTINCT a.FLD_USERID, a.FLD_CHARACTER, a.FLD_ACCOUNT, a.FLD_SERVERID, b.FLD_CHARACTER, "
          L"b.FLD_ACCOUNT, b.FLD_SERVERID FROM [GameA].[dbo].[TBL_CHARACTER] a JOIN "
          L"[GameB].[dbo].[TBL_CHARACTER] b ON "
          L"a.FLD_USERID COLLATE DATABASE_DEFAULT = b.FLD_USERID COLLATE DATABASE_DEFAULT WHERE a.FLD_USERID "
          L"IS NOT "
          L"NULL AND LTRIM(RTRIM(a.FLD_USERID)) <> N'' ORDER BY a.FLD_USERID");
    CHECK(
        DuplicateIdsSql(IdKind::Guild, L"GameA", L"GameB") ==
        L"SELECT DISTINCT a.sGuildID, a.sGuildName, b.sGuildName FROM [GameA].[dbo].[TBL_GUILD_INFO] a JOIN "
        L"[GameB].[dbo].[TBL_GUILD_INFO] b ON a.sGuildID COLLATE DATABASE_DEFAULT = b.sGuildID COLLATE "
        L"DATABASE_DEFAULT WHERE a.sGuildID IS NOT NULL AND LTRIM(RTRIM(a.sGuildID)) <> N'' ORDER BY "
        L"a.sGuildID");
    CHECK(
        CountIdRowsSql(IdKind::Role, L"GameB", L"1001", true) ==
        L"SELECT COUNT_BIG(*) FROM [GameB].[dbo].[TBL_CHARACTER] WITH (UPDLOCK, HOLDLOCK) WHERE FLD_USERID = "
        L"N'1001'");
    CHECK(CountIdRowsSql(IdKind::Guild, L"GameB", L"{a'b} ", false) ==
          L"SELECT COUNT_BIG(*) FROM [GameB].[dbo].[TBL_GUILD_INFO] WHERE sGuildID = N'{a''b} '");
    const std::wstring kColumns =
        L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME, DATA_TYPE FROM [GameB].INFORMATION_SCHEMA.COLUMNS "
        L"WHERE "
        L"DATA_TYPE IN (N'char',N'varchar',N'nchar',N'nvarchar') AND (COLUMN_NAME LIKE N'%";
    const std::wstring kOrder = L"%') ORDER BY TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION";
    CHECK(
        ReferringColumnsSql(IdKind::Role, L"GameB") ==
        kColumns +
            L"USERID%' OR COLUMN_NAME LIKE N'%USER_ID%' OR COLUMN_NAME LIKE N'%ROLEID%' OR COLUMN_NAME LIKE "
            L"N'%ROLE_ID%' OR COLUMN_NAME LIKE N'%HEROMASTERUSERID%' OR COLUMN_NAME LIKE N'%HEROUSERID" +
            kOrder);
    CHECK(ReferringColumnsSql(IdKind::Guild, L"GameB") ==
          kColumns + L"GUILDID%' OR COLUMN_NAME LIKE N'%GUILD_ID" + kOrder);
    CHECK(LargestRoleIdSql(L"合区") ==
          L"SELECT MAX(CASE WHEN FLD_USERID NOT LIKE N'%[^0-9]%' THEN CONVERT(DECIMAL(38,0), FLD_USERID) "
          L"END) FROM "
          L"[合区].[dbo].[TBL_CHARACTER]");
    CHECK(CountHitsSql(QuoteColumn(L"GameA", L"mail", L"TBL_ITEM", L"OWNER_USERID"), L"O'1") ==
          L"SELECT COUNT_BIG(*) FROM [GameA].[mail].[TBL_ITEM] WHERE CAST([OWNER_USERID] AS NVARCHAR(256)) = "
          L"N'O''1'");
}

TEST_CASE("a name that cannot be quoted never reaches a statement") {
    const std::wstring kRefused = L"数据库标识符包含不允许的字符";
    CHECK(ErrorOf([] { DuplicateIdsSql(IdKind::Role, L"A", L"B]; x"); }) == kRefused);
    CHECK(ErrorOf([] { CountIdRowsSql(IdKind::Guild, L"A-1", L"1", true); }) == kRefused);
    CHECK(ErrorOf([] { QuoteColumn(L"A", L"d o", L"T", L"c"); }) == kRefused);
    CHECK(ErrorOf([] { QuoteColumn(L"A", L"dbo", L"T", L"c]"); }) == kRefused);
    CHECK(ErrorOf([] { LargestRoleIdSql(L""); }) == L"标识符不能为空");
}

TEST_CASE("the texts of the repair window read as agreed") {
    const std::vector<RelatedField> fields = {{L"dbo", L"T", L"a", L"char", 1},
                                              {L"dbo", L"T", L"b", L"char", 41}};
    CHECK(DetectionSummary(3, 0) ==
          L"分析完成：重复角色 3 个，重复行会 0 个。默认未修改数据库。请选择目标库后可批量修复。");
    CHECK(AnalysisSummary(fields) ==
          L"目标库关联字段 2 个，命中总行数 42；建议新 ID 已填入，确认目标库后才可执行修复。");
    CHECK(RepairQuestion(L"GameB", L"0012", L"13", fields) ==
          L"即将修改数据库：GameB\n旧 ID：0012\n新 ID：13\n关联字段：2 个，预计更新 42 行。\n\n"
          L"此操作会写入数据库，确认继续吗？");
    CHECK(BatchQuestion(L"GameB", {{{}, L"13", fields}, {{}, L"14", {}}}, {{{}, L"{}", fields}}) ==
          L"即将批量修复全部重复角色和行会 ID。\n\n目标库：GameB\n重复角色数量：2\n重复行会数量：1\n"
          L"关联字段命中行数：84\n\n每个旧角色 ID 会生成新的数字 ID，每个旧行会 ID 会生成新的 GUID，\n"
          L"并在目标库的主表及关联字段中同步替换。\n此操作会写入数据库，建议已停止对应 M2 并完成备份。\n\n"
          L"确认继续吗？");
    CHECK(RepairDone(L"GameB", L"0012", L"13") == L"修复完成：0012 已在 GameB 改为 13。");
}

TEST_CASE("only the two repairs hold statements that write to a database") {
    const std::filesystem::path root(Utf8ToWide(PRODUCT_SOURCE_DIR));
    std::set<std::wstring> writing;
    for (const wchar_t* room : {L"text", L"db", L"discovery", L"account_query", L"id_repair", L"app"}) {
        for (const auto& entry : std::filesystem::directory_iterator(root / room)) {
            if (entry.path().extension() == L".txt") continue;
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string source{std::istreambuf_iterator<char>(file), {}};
            REQUIRE_FALSE(source.empty());
            if (HasWritingLiteral(source))
                writing.insert(std::wstring(room) + L"/" + entry.path().filename().wstring());
        }
    }
    CHECK(writing.count(L"id_repair/role_repair.cpp") == 1);  // so the scan sees such statements
    writing.erase(L"id_repair/role_repair.cpp");
    writing.erase(L"id_repair/batch_repair.cpp");
    for (const std::wstring& file : writing) FAIL_CHECK(WideToUtf8(file));
}
