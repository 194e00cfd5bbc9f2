#include <filesystem>
#include <regex>

#include "discovery/files.h"
#include "id_repair/repair_form.h"
#include "id_repair/role_id.h"
#include "id_repair/role_repair.h"
#include "support/wide_text.h"

TEST_CASE("a character ID is 1 to 50 ASCII digits") {
    for (const std::wstring& id : {std::wstring(L"0"), std::wstring(50, L'9')}) {
        CAPTURE(id);
        CHECK(IsRoleId(id));
    }
    using Texts = std::vector<std::wstring>;
    for (const std::wstring& id : Texts{L"", L"12a", L"-1", L"1 ", L"1/", L"1:", L"１２",
                                        std::wstring(2, L'\0'), std::wstring(51, L'9')}) {
        CAPTURE(id);
        CHECK(ErrorOf([&] { RequireRoleId(id, L"旧角色唯一 ID"); }) == L"旧角色唯一 ID必须是纯数字唯一 ID");
    }
}

TEST_CASE("a good form is trimmed and one of its databases is the target") {
    const auto form = CheckRepairForm({L" h\t", L" +7x ", L" sa ", L" p w ", L" game ", L" Game "});
    CHECK(form.server == L"h");
    CHECK(form.port == 7);
    CHECK(form.user == L"sa");
    CHECK(form.password == L"p w");
    CHECK(form.databaseA == L"game");
    CHECK(form.databaseB == L"Game");
    for (const int index : {-1, 0, 1, 2}) {
        CAPTURE(index);
        const auto [target, other] = ChooseDirection(form, index);
        CHECK(target == (index == 1 ? L"Game" : L"game"));
        CHECK(other == (index == 1 ? L"game" : L"Game"));
    }
}

TEST_CASE("a bad form is refused for the first thing that is wrong") {
    const auto error = [](const RepairFormTexts& texts) { return ErrorOf([&] { CheckRepairForm(texts); }); };
    for (const std::wstring port : {L"  ", L"x1", L"- 1", L"2147483648", L"99999999999999999999"}) {
        CAPTURE(port);
        CHECK(error({L"", port, L"", L"", L"", L""}) == L"端口必须是数字");
    }
    for (const auto& [name, box] : {std::pair("server", &RepairFormTexts::server),
                                    {"user", &RepairFormTexts::user},
                                    {"password", &RepairFormTexts::password},
                                    {"database A", &RepairFormTexts::databaseA},
                                    {"database B", &RepairFormTexts::databaseB}}) {
        CAPTURE(name);
        RepairFormTexts texts = {L"h", L"1", L"u", L"p", L"A", L"A"};
        texts.*box = L" \t";
        CHECK(error(texts) == L"服务器、端口、用户、密码和两个数据库都必须填写");
    }
    CHECK(error({L"h", L"1", L"u", L"p", L"Game", L" Game "}) == L"两个数据库不能相同");
}

TEST_CASE("the statements of the repair name what they read in brackets and as literals") {
    CHECK(OnlineDatabasesSql() ==
          L"SELECT name FROM sys.databases WHERE database_id > 4 AND state_desc = 'ONLINE' ORDER BY name");
    const auto duplicates = [](const std::wstring& texts, const std::wstring& table, const std::wstring& id) {
        return L"SELECT DISTINCT a." + id + texts + L" FROM [A].[dbo].[" + table +
               L"] a JOIN [GameB].[dbo].[" + table + L"] b ON a." + id + L" COLLATE DATABASE_DEFAULT = b." +
               id + L" COLLATE DATABASE_DEFAULT WHERE a." + id + L" IS NOT NULL AND LTRIM(RTRIM(a." + id +
               L")) <> N'' ORDER BY a." + id;
    };
    CHECK(DuplicateIdsSql(IdKind::Role, L"A", L" GameB ") ==
          duplicates(L", a.FLD_CHARACTER, a.FLD_ACCOUNT, a.FLD_SERVERID, b.FLD_CHARACTER, b.FLD_ACCOUNT, "
                     L"b.FLD_SERVERID",
                     L"TBL_CHARACTER", L"FLD_USERID"));
    CHECK(DuplicateIdsSql(IdKind::Guild, L"A", L"GameB") ==
          duplicates(L", a.sGuildName, b.sGuildName", L"TBL_GUILD_INFO", L"sGuildID"));
    const std::wstring count = L"SELECT COUNT_BIG(*) FROM ";
    CHECK(CountIdRowsSql(IdKind::Role, L"合区", L"{a'b} ", true) ==
          count + L"[合区].[dbo].[TBL_CHARACTER] WITH (UPDLOCK, HOLDLOCK) WHERE FLD_USERID = N'{a''b} '");
    CHECK(CountIdRowsSql(IdKind::Guild, L"A", L"1", false) ==
          count + L"[A].[dbo].[TBL_GUILD_INFO] WHERE sGuildID = N'1'");
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
    CHECK(LargestRoleIdSql(L"A") ==
          L"SELECT MAX(CASE WHEN FLD_USERID NOT LIKE N'%[^0-9]%' THEN CONVERT(DECIMAL(38,0), FLD_USERID) "
          L"END) FROM [A].[dbo].[TBL_CHARACTER]");
    const std::wstring holding = L" WHERE CAST([c] AS NVARCHAR(256)) = N'a''b'";
    CHECK(CountHitsSql({L"合区", L"log", L"T", L"c"}, L"a'b") == count + L"[合区].[log].[T]" + holding);
    CHECK(ReplaceIdSql({L"合区", L"log", L"T", L"c"}, L"a'b", L"n'1") ==
          L"UPDATE [合区].[log].[T] SET [c] = N'n''1'" + holding);
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
