#include <filesystem>
#include <regex>

#include "discovery/files.h"
#include "id_repair/repair_form.h"
#include "id_repair/repair_texts.h"
#include "id_repair/role_id.h"
#include "id_repair/role_repair.h"
#include "tests/support/wide_text.h"

static std::wstring FormError(const RepairFormTexts& texts) {
    return ErrorOf([&] { CheckRepairForm(texts); });
}

TEST_CASE("a character ID is 1 to 50 ASCII digits") {
    for (const std::wstring& id : {std::wstring(L"0"), std::wstring(50, L'9')}) CHECK(IsRoleId(id));
    using Texts = std::vector<std::wstring>;
    for (const std::wstring& id : Texts{L"", L"12a", L"-1", L"1 ", L"1/", L"1:", L"１２",
                                        std::wstring(2, L'\0'), std::wstring(51, L'9')}) {
        CAPTURE(id);
        CHECK(ErrorOf([&] { RequireRoleId(id, L"旧角色唯一 ID"); }) == L"旧角色唯一 ID必须是纯数字唯一 ID");
    }
}

TEST_CASE("a good form is trimmed and converted and its second choice makes database B the target") {
    const auto form = CheckRepairForm({L" h\t", L" +7x ", L" sa ", L" p w ", L" game ", L" Game "});
    CHECK(form.server + form.user + form.password + form.databaseA + form.databaseB == L"hsap wgameGame");
    CHECK(form.port == 7);
    for (const int index : {-1, 0, 1, 2})
        CHECK(ChooseDirection(form, index).target == (index == 1 ? L"Game" : L"game"));
    CHECK(ChooseDirection(form, 1).other + ChooseDirection(form, 0).other == L"gameGame");
}

TEST_CASE("a bad form is refused for the first thing that is wrong") {
    for (const wchar_t* port : {L"  ", L"x1", L"- 1", L"2147483648", L"99999999999999999999"}) {
        CHECK(FormError({L"", port, L"", L"", L"", L""}) == L"端口必须是数字");
    }
    for (const auto box : {&RepairFormTexts::server, &RepairFormTexts::user, &RepairFormTexts::password,
                           &RepairFormTexts::databaseA, &RepairFormTexts::databaseB}) {
        RepairFormTexts texts = {L"h", L"1", L"u", L"p", L"A", L"A"};
        texts.*box = L" \t";
        CHECK(FormError(texts) == L"服务器、端口、用户、密码和两个数据库都必须填写");
    }
    CHECK(FormError({L"h", L"1", L"u", L"p", L"Game", L" Game "}) == L"两个数据库不能相同");
}

TEST_CASE("the statements of the repair name what they read in brackets and as literals") {
    CHECK(OnlineDatabasesSql() ==
          L"SELECT name FROM sys.databases WHERE database_id > 4 AND state_desc = 'ONLINE' ORDER BY name");
    CHECK(DuplicateIdsSql(IdKind::Role, L"A", L"B") ==
          L"SELECT DISTINCT a.FLD_USERID, a.FLD_CHARACTER, a.FLD_ACCOUNT, a.FLD_SERVERID, b.FLD_CHARACTER, "
          L"b.FLD_ACCOUNT, b.FLD_SERVERID FROM [A].[dbo].[TBL_CHARACTER] a JOIN [B].[dbo].[TBL_CHARACTER] b "
          L"ON a.FLD_USERID COLLATE DATABASE_DEFAULT = b.FLD_USERID COLLATE DATABASE_DEFAULT WHERE "
          L"a.FLD_USERID IS NOT NULL AND LTRIM(RTRIM(a.FLD_USERID)) <> N'' ORDER BY a.FLD_USERID");
    CHECK(
        DuplicateIdsSql(IdKind::Guild, L"GameA", L" GameB ") ==
        L"SELECT DISTINCT a.sGuildID, a.sGuildName, b.sGuildName FROM [GameA].[dbo].[TBL_GUILD_INFO] a JOIN "
        L"[GameB].[dbo].[TBL_GUILD_INFO] b ON a.sGuildID COLLATE DATABASE_DEFAULT = b.sGuildID COLLATE "
        L"DATABASE_DEFAULT WHERE a.sGuildID IS NOT NULL AND LTRIM(RTRIM(a.sGuildID)) <> N'' ORDER BY "
        L"a.sGuildID");
    const std::wstring count = L"SELECT COUNT_BIG(*) FROM ";
    CHECK(CountIdRowsSql(IdKind::Role, L"合区", L"{a'b} ", true) ==
          count + L"[合区].[dbo].[TBL_CHARACTER] WITH (UPDLOCK, HOLDLOCK) WHERE FLD_USERID = N'{a''b} '");
    CHECK(CountIdRowsSql(IdKind::Guild, L"A", L"1", true) ==
          count + L"[A].[dbo].[TBL_GUILD_INFO] WITH (UPDLOCK, HOLDLOCK) WHERE sGuildID = N'1'");
    CHECK(CountIdRowsSql(IdKind::Role, L"A", L"1", false) ==
          count + L"[A].[dbo].[TBL_CHARACTER] WHERE FLD_USERID = N'1'");
    const auto referring = [](const std::wstring& patterns) {
        return L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME, DATA_TYPE FROM [A].INFORMATION_SCHEMA.COLUMNS "
               L"WHERE DATA_TYPE IN (N'char',N'varchar',N'nchar',N'nvarchar') AND (" +
               patterns + L") ORDER BY TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION";
    };
    CHECK(ReferringColumnsSql(IdKind::Role, L"A") ==
          referring(L"COLUMN_NAME LIKE N'%USERID%' OR COLUMN_NAME LIKE N'%USER_ID%' OR COLUMN_NAME LIKE "
                    L"N'%ROLEID%' OR COLUMN_NAME LIKE N'%ROLE_ID%' OR COLUMN_NAME LIKE "
                    L"N'%HEROMASTERUSERID%' OR COLUMN_NAME LIKE N'%HEROUSERID%'"));
    CHECK(ReferringColumnsSql(IdKind::Guild, L"A") ==
          referring(L"COLUMN_NAME LIKE N'%GUILDID%' OR COLUMN_NAME LIKE N'%GUILD_ID%'"));
    CHECK(
        LargestRoleIdSql(L"A") ==
        L"SELECT MAX(CASE WHEN FLD_USERID NOT LIKE N'%[^0-9]%' THEN CONVERT(DECIMAL(38,0), FLD_USERID) END) "
        L"FROM [A].[dbo].[TBL_CHARACTER]");
    const std::wstring holding = L" WHERE CAST([c] AS NVARCHAR(256)) = N'a''b'";
    CHECK(CountHitsSql({L"合区", L"log", L"T", L"c"}, L"a'b") == count + L"[合区].[log].[T]" + holding);
    CHECK(ReplaceIdSql({L"合区", L"log", L"T", L"c"}, L"a'b", L"n'1") ==
          L"UPDATE [合区].[log].[T] SET [c] = N'n''1'" + holding);
    using Name = ColumnName;
    for (const Name& name : {Name{L"A A", L"d", L"T", L"c"}, Name{L"A", L"d o", L"T", L"c"},
                             Name{L"A", L"d", L"T]", L"c"}, Name{L"A", L"d", L"T", L"c'"}})
        CHECK(ErrorOf([&] { CountHitsSql(name, L"1"); }) == L"数据库标识符包含不允许的字符");
}

TEST_CASE("the texts of the repair count what is shown") {
    const std::vector<RelatedField> fields = {{L"d", L"T", L"c", L"char", 3}, {L"d", L"T", L"d", L"char", 4}};
    CHECK(AnalysisSummary(fields).starts_with(L"目标库关联字段 2 个，命中总行数 7；"));
    CHECK(RepairDone(L"A", L"1", L"9") == L"修复完成：1 已在 A 改为 9。");
    const std::wstring all =
        BatchQuestion(L"A", {{{}, L"1", fields}, {{}, L"2", fields}}, {{{}, L"{1}", {fields[0]}}});
    CHECK(all.find(L"\n目标库：A\n重复角色数量：2\n重复行会数量：1\n关联字段命中行数：17\n") != all.npos);
}

// The texts of a source file's literals in one piece, so that no word hides by being split over two of them.
static std::string Literals(std::string source) {
    for (const char* unwanted : {R"((//|\n#)[^\n]*)", R"('(\\.|[^'\\])')"})
        source = std::regex_replace(source, std::regex(unwanted), "");
    const std::regex literal(R"-("((\\.|[^"\\])*)")-");
    std::string texts;
    for (std::sregex_iterator it(source.begin(), source.end(), literal), end; it != end; ++it)
        texts += (*it)[1];
    return texts;
}

TEST_CASE("only the repair holds a statement that writes to a database") {
    CHECK(Literals("f('\"', L\"UPD\" \"A\\\"\" /* */ L\"TE\"); // \"x\"") == "UPDA\\\"TE");
    const std::regex writing("UPDATE|INSERT|INTO |DELETE|MERGE(?!Account)|TRUNCATE|EXEC|DROP|ALTER|CREATE",
                             std::regex::icase);
    std::string found;
    for (const char* room : {"/text", "/db", "/discovery", "/account_query", "/id_repair", "/app"}) {
        for (const auto& entry :
             std::filesystem::directory_iterator(std::string(PRODUCT_SOURCE_DIR) + room)) {
            const std::string texts = Literals(ReadWholeFile(entry.path().wstring()));
            if (std::regex_search(texts, writing)) found += entry.path().filename().string() + " ";
        }
    }
    CHECK(found == "role_repair.cpp ");
}
