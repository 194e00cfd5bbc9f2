#include <filesystem>
#include <regex>
#include <set>

#include "discovery/files.h"
#include "id_repair/repair_form.h"
#include "id_repair/repair_sql.h"
#include "id_repair/role_id.h"
#include "tests/support/wide_text.h"

static std::wstring FormError(const RepairFormTexts& texts) {
    return ErrorOf([&] { CheckRepairForm(texts); });
}

TEST_CASE("a character ID is 1 to 50 ASCII digits") {
    for (const std::wstring& id : {std::wstring(L"0"), std::wstring(50, L'9')}) CHECK(IsRoleId(id));
    for (const std::wstring& id :
         {std::wstring(), std::wstring(51, L'9'), std::wstring(L"12a"), std::wstring(L"-1"),
          std::wstring(L"1 "), std::wstring(L"１２"), std::wstring(2, L'\0')}) {
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
    CHECK(ChooseDirection(form, 1).other == L"game");
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
    CHECK(
        DuplicateIdsSql(IdKind::Guild, L"GameA", L" GameB ") ==
        LR"(SELECT DISTINCT a.sGuildID, a.sGuildName, b.sGuildName FROM [GameA].[dbo].[TBL_GUILD_INFO] a JOIN )"
        LR"([GameB].[dbo].[TBL_GUILD_INFO] b ON a.sGuildID COLLATE DATABASE_DEFAULT = b.sGuildID COLLATE )"
        LR"(DATABASE_DEFAULT WHERE a.sGuildID IS NOT NULL AND LTRIM(RTRIM(a.sGuildID)) <> N'' ORDER BY )"
        LR"(a.sGuildID)");
    CHECK(
        CountIdRowsSql(IdKind::Role, L"合区", L"{a'b} ", true) ==
        L"SELECT COUNT_BIG(*) FROM [合区].[dbo].[TBL_CHARACTER] WITH (UPDLOCK, HOLDLOCK) WHERE FLD_USERID = "
        L"N'{a''b} '");
    CHECK(CountHitsSql({L"合区", L"log", L"T", L"c"}, L"a'b") ==
          L"SELECT COUNT_BIG(*) FROM [合区].[log].[T] WHERE CAST([c] AS NVARCHAR(256)) = N'a''b'");
    CHECK(ErrorOf([] { CountHitsSql({L"A", L"d o", L"T", L"c"}, L"1"); }) == L"数据库标识符包含不允许的字符");
}

TEST_CASE("only the two repairs hold statements that write to a database") {
    const std::regex comment("//[^\\n]*"),
        writing(R"("[^"\n]*\b(UPDATE|INSERT|INTO|DELETE|MERGE|TRUNCATE|EXEC|EXECUTE|DROP|ALTER|CREATE)\b)",
                std::regex::icase);
    std::set<std::string> found;
    for (const char* room : {"/text", "/db", "/discovery", "/account_query", "/id_repair", "/app"}) {
        for (const auto& entry :
             std::filesystem::directory_iterator(std::string(PRODUCT_SOURCE_DIR) + room)) {
            const std::string source = ReadWholeFile(entry.path().wstring());
            if (entry.path().extension() == L".txt") continue;
            if (std::regex_search(std::regex_replace(source, comment, ""), writing))
                found.insert(entry.path().filename().string());
        }
    }
    CHECK(found == std::set<std::string>{"role_repair.cpp"});
}
