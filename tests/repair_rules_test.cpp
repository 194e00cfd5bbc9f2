#include <filesystem>
#include <regex>

#include "discovery/files.h"
#include "id_repair/repair_form.h"
#include "id_repair/role_id.h"
#include "id_repair/role_repair.h"
#include "support/wide_text.h"

TEST_CASE("a character ID is 1 to 50 ASCII digits") {
    for (const std::wstring& id : Table{L"0"s, std::wstring(50, L'9')}) CHECK(IsRoleId(id));
    for (const std::wstring& id :
         Table{L""s, L"12a"s, L"-1"s, L"1 "s, L"1/"s, L"1:"s, L"１２"s, L"\0\0"s, std::wstring(51, L'9')})
        CHECK(ErrorOf([&] { RequireRoleId(id, L"旧角色唯一 ID"); }) == L"旧角色唯一 ID必须是纯数字唯一 ID");
}

TEST_CASE("a good form is trimmed and one of its databases is the target") {
    const auto form = CheckRepairForm({L" h\t", L" +7x ", L" sa ", L" p w ", L" game ", L" Game "});
    CHECK(form.port == 7);
    for (const auto& [box, expected] : Table({std::pair(form.server, L"h"),
                                              {form.user, L"sa"},
                                              {form.password, L"p w"},
                                              {form.databaseA, L"game"},
                                              {form.databaseB, L"Game"}}))
        CHECK(box == expected);
    for (const auto& [index, targetName, otherName] : Table({std::tuple(-1, L"game", L"Game"),
                                                             {0, L"game", L"Game"},
                                                             {1, L"Game", L"game"},
                                                             {2, L"game", L"Game"}})) {
        const auto [target, other] = ChooseDirection(form, index);
        CHECK(target == targetName);
        CHECK(other == otherName);
    }
}

TEST_CASE("a bad form is refused for the first thing that is wrong") {
    const std::wstring port = L"端口必须是数字", gap = L"服务器、端口、用户、密码和两个数据库都必须填写";
    for (const auto& [name, form, error] : Table({
             std::tuple("a blank port", RepairFormTexts{L"", L"  ", L"", L"", L"", L""}, port),
             {"no number", {L"", L"x1", L"", L"", L"", L""}, port},
             {"a blank behind the sign", {L"h", L"- 1", L"u", L"p", L"A", L"B"}, port},
             {"a port too large", {L"h", L"2147483648", L"u", L"p", L"A", L"B"}, port},
             {"no server", {L" \t", L"1", L"u", L"p", L"A", L"A"}, gap},
             {"no user", {L"h", L"1", L" ", L"p", L"A", L"A"}, gap},
             {"no password", {L"h", L"1", L"u", L" ", L"A", L"A"}, gap},
             {"no database A", {L"h", L"1", L"u", L"p", L" ", L"A"}, gap},
             {"no database B", {L"h", L"1", L"u", L"p", L"A", L" "}, gap},
             {"one database", {L"h", L"1", L"u", L"p", L"Game", L" Game "}, L"两个数据库不能相同"},
         }))
        CHECK(ErrorOf(CheckRepairForm, form) == error);
}

// What the other tests cannot notice: every server of theirs has one collation, one language and no names to
// quote.
TEST_CASE("the statements of the repair name what they read in brackets and as literals") {
    CHECK(OnlineDatabasesSql() ==
          L"SELECT name FROM sys.databases WHERE database_id > 4 AND state_desc = 'ONLINE' ORDER BY name");
    CHECK(DuplicateIdsSql(IdKind::Guild, L"A", L" GameB ") ==
          L"SELECT DISTINCT a.sGuildID, a.sGuildName, b.sGuildName FROM [A].[dbo].[TBL_GUILD_INFO] a JOIN "
          L"[GameB].[dbo].[TBL_GUILD_INFO] b ON a.sGuildID COLLATE DATABASE_DEFAULT = b.sGuildID COLLATE "
          L"DATABASE_DEFAULT WHERE a.sGuildID IS NOT NULL AND LTRIM(RTRIM(a.sGuildID)) <> N'' ORDER BY "
          L"a.sGuildID");
    CHECK(
        ReferringColumnsSql(IdKind::Guild, L"A") ==
        L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME, DATA_TYPE FROM [A].INFORMATION_SCHEMA.COLUMNS WHERE "
        L"DATA_TYPE IN (N'char',N'varchar',N'nchar',N'nvarchar') AND (COLUMN_NAME LIKE N'%GUILDID%' OR "
        L"COLUMN_NAME LIKE N'%GUILD_ID%') ORDER BY TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION");
    CHECK(
        CountIdRowsSql(IdKind::Role, L"合区", L"{a'b} ", true) ==
        L"SELECT COUNT_BIG(*) FROM [合区].[dbo].[TBL_CHARACTER] WITH (UPDLOCK, HOLDLOCK) WHERE FLD_USERID = "
        L"N'{a''b} '");
    CHECK(LargestRoleIdSql(L"A") ==
          L"SELECT MAX(CASE WHEN FLD_USERID NOT LIKE N'%[^0-9]%' THEN CONVERT(DECIMAL(38,0), FLD_USERID) "
          L"END) FROM [A].[dbo].[TBL_CHARACTER]");
    const std::wstring holding = L"[合区].[log].[T] WHERE CAST([c] AS NVARCHAR(256)) = N'a''b'";
    CHECK(CountHitsSql({L"合区", L"log", L"T", L"c"}, L"a'b") == L"SELECT COUNT_BIG(*) FROM " + holding);
    CHECK(ReplaceIdSql({L"合区", L"log", L"T", L"c"}, L"a'b", L"n'1") ==
          L"UPDATE [合区].[log].[T] SET [c] = N'n''1'" + holding.substr(14));
}

TEST_CASE("only the repair holds a statement that writes to a database") {
    // Code goes, the texts of literals stay in one piece, so that no word hides by being split over two.
    const std::regex code(R"-(//[^\n]*|\n#[^\n]*|'(?:\\.|[^'\\])'|"((?:\\.|[^"\\])*)"|[^])-");
    const std::regex writing("UPDATE|INSERT|INTO |DELETE|MERGE(?!Account)|TRUNCATE|EXEC|DROP|ALTER|CREATE",
                             std::regex::icase);
    std::string found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(PROGRAM_SOURCE_DIR)) {
        const std::string kind = entry.path().extension().string();
        if (kind != ".cpp" && kind != ".h") continue;
        const std::string texts =
            std::regex_replace(ReadWholeFile(InputFile(entry.path().wstring())), code, "$1");
        if (std::regex_search(texts, writing)) found += entry.path().filename().string() + " ";
    }
    CHECK(found == "role_repair.cpp ");
}
