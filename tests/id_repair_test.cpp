#include <set>

#include "id_repair/batch_repair.h"
#include "id_repair/new_ids.h"
#include "id_repair/role_analysis.h"
#include "id_repair/role_repair.h"
#include "tests/support/merge_fixture.h"
#include "tests/support/wide_text.h"

TEST_CASE("only online user databases are listed and each must have the character table") {
    const MergeFixture zones;
    const TestDatabase other(L"other", {L"CREATE TABLE t (n int)"});
    const OdbcSession session = Connect(L"master");
    const auto analyze = [&](const wchar_t* id) {
        return ErrorOf([&] { AnalyzeRoleId(session.Connection(), zones.B(), zones.A(), id); });
    };
    CHECK(analyze(L"1001").starts_with(L"42S02: "));
    RunSql(session, {L"ALTER DATABASE [" + other.Name() + L"] SET OFFLINE WITH ROLLBACK IMMEDIATE"});
    CHECK(analyze(L"1001") == L"(nothing)");
    CHECK(analyze(L"") == L"角色唯一 ID必须是纯数字唯一 ID");
    CHECK(analyze(L"3001") == L"这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录");
    for (const std::wstring& name : ListDatabases(session.Connection()))
        CHECK((name != other.Name() && name != L"master"));
}

TEST_CASE("duplicates are found by ascending ID with both sides' names") {
    const MergeFixture zones;
    std::wstring found;
    for (const auto& [id, nameA, accountA, serverA, nameB, accountB, serverB] : zones.Roles()) {
        for (const auto& text : {id, nameA, accountA, serverA, nameB, accountB, serverB})
            found += text + L" ";
    }
    CHECK(found == L"0012 赵六 zhao 1 赵六 zhao 2 1001 张三 zhang 1 李四 li 2 1002 王五 wang 1  wang 2 ");
    found.clear();
    for (const auto& [id, nameA, nameB] : zones.Guilds()) found += id + nameA + nameB + L" ";
    CHECK(found ==
          L"{A'1}玄武会朱雀会 {BBBB}青龙会白虎会 ");  // {bbbb} in B: what the collation takes for equal
}

TEST_CASE("referring columns are text columns named like a reference and hits are counted as text") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    std::set<std::wstring> columns;
    for (const RelatedField& field : FindRoleIdColumns(session.Connection(), zones.B())) {
        columns.insert(field.table + L"." + field.column + L" " + field.dataType);
    }
    CHECK(columns.size() == 13);
    CHECK((columns.contains(L"信件.收件ROLEID nvarchar") &&
           columns.contains(L"TBL_HERO.HeroMasterUserID char")));
    CHECK(zones.FieldsOf(L"1001").size() == 12);
    CHECK(TotalHits(zones.FieldsOf(L"1001")) == 13);  // two letters
    CHECK(TotalHits(zones.FieldsOf(L"12")) == 1);     // 0012 and 12x are other IDs
    CHECK(CountGuildIdHits(session.Connection(), zones.B(), L"{A'1}").size() == 2);
}

TEST_CASE("new IDs continue after the largest numeric ID and are refused when they are taken") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    const std::vector<std::wstring> ours = {zones.A(), zones.B(), zones.Third()};
    CHECK(NextRoleIdAfterMax(session.Connection(), {}) == L"1");
    CHECK(NextRoleIdAfterMax(session.Connection(), ours) == L"100235");  // 12x and -5 do not count
    const auto check = [&](const wchar_t* id) {
        return ErrorOf([&] { CheckNewRoleIdFree(session.Connection(), ours, id); });
    };
    CHECK(check(L"100234") == L"新 ID 已存在于数据库：" + zones.Third());
    CHECK(check(L"１") == L"新角色唯一 ID必须是纯数字唯一 ID");
    const auto [roles, guilds] = zones.Plan();
    REQUIRE(roles.size() + guilds.size() == 5);
    CHECK(roles[0].newId + roles[1].newId + roles[2].newId == L"100235100236100237");
    CHECK(guilds[0].newId.size() == 38);
    CHECK(guilds[0].newId != guilds[1].newId);
    const auto planRole = [&](const wchar_t* id) {
        return ErrorOf([&] {
            PlanRoleIdBatch(session.Connection(), zones.B(), zones.A(),
                            {DuplicateRole{id, {}, {}, {}, {}, {}, {}}});
        });
    };
    CHECK(planRole(L"12x") == L"旧角色唯一 ID必须是纯数字唯一 ID");
    CHECK(planRole(L"3001") == L"重复 ID 在两个库中不再各有且只有一条主表记录：3001");
    CHECK(ErrorOf([&] {
              PlanGuildIdBatch(session.Connection(), zones.B(), zones.A(), {DuplicateGuild{L"{C}", {}, {}}});
          }) == L"重复行会 ID 在两个库中不再各有且只有一条主表记录：{C}");
}

TEST_CASE("a batch repair replaces every duplicate and nothing else") {
    const MergeFixture zones;
    const AllContents before = zones.Contents();
    const BatchPlan plan = zones.Plan();
    RepairAllDuplicates(Connect(zones.B()).Connection(), zones.B(), plan.roles, plan.guilds);
    const AllContents after = zones.Contents();
    CHECK((after.a == before.a && after.third == before.third));
    CHECK(Difference(before.b, after.b) == plan.ExpectedChange(before.b));
    CHECK((zones.Roles().empty() && zones.Guilds().empty()));
}

TEST_CASE("refused repairs leave everything as it was") {
    const MergeFixture zones;
    const AllContents before = zones.Contents();
    const OdbcSession session = Connect(zones.B());
    const std::vector<RelatedField> fields = zones.FieldsOf(L"1001");
    std::vector<RelatedField> vanished = fields;
    vanished.push_back({L"dbo", L"TBL_GUILD_INFO", L"sGuildName", L"nvarchar", 1});
    const auto repair = [&](const wchar_t* oldId, const wchar_t* newId,
                            const std::vector<RelatedField>& related, const std::wstring& database) {
        return ErrorOf([&] { RepairRoleId(session.Connection(), database, oldId, newId, related); });
    };
    CHECK(repair(L"1001", L"2 ", fields, zones.B()) == L"新角色唯一 ID必须是纯数字唯一 ID");
    CHECK(repair(L"1001", L"2", fields, L"B]; DROP") == L"数据库标识符包含不允许的字符");
    CHECK(repair(L"9999", L"2", fields, zones.B()) == L"事务内复核失败：目标库旧 ID 不再是唯一一条记录");
    CHECK(repair(L"1001", L"1001", fields, zones.B()) == L"事务内校验失败：仍有旧 ID 关联数据");
    CHECK(repair(L"1001", L"2", vanished, zones.B()) == L"ODBC 未返回详细错误");
    CHECK(repair(L"1001", L"100235", {}, zones.B()) == L"(nothing)");

    const auto batch = [&](const BatchPlan& plan) {
        return ErrorOf(
            [&] { RepairAllDuplicates(session.Connection(), zones.B(), plan.roles, plan.guilds); });
    };
    BatchPlan collide = zones.Plan();
    collide.roles[1].newId = collide.roles[0].newId;
    CHECK(batch(collide) == L"事务内校验失败，角色旧/新 ID 状态异常：0012");
    BatchPlan noMain = zones.Plan();
    std::erase_if(noMain.guilds[1].fields,
                  [](const RelatedField& field) { return field.table == L"TBL_GUILD_INFO"; });
    CHECK(batch(noMain) == L"事务内校验失败，行会旧/新 ID 状态异常：{BBBB}");
    BatchPlan missing = zones.Plan();
    missing.guilds[0].guild.guildId = L"gone";
    CHECK(batch(missing) == L"事务内复核失败，行会旧 ID 记录数不是 1：gone");
    CHECK(batch({}) == L"(nothing)");
    CHECK(zones.Contents() == before);
}
