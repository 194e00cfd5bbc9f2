#include <doctest/doctest.h>

#include <set>

#include "id_repair/batch_repair.h"
#include "id_repair/new_ids.h"
#include "id_repair/role_analysis.h"
#include "id_repair/role_repair.h"
#include "tests/support/merge_fixture.h"
#include "tests/support/wide_text.h"

TEST_CASE("only online user databases are listed") {
    const MergeFixture zones;
    const TestDatabase asleep(L"asleep");
    const OdbcSession session = Connect(L"master");
    RunSql(session, {L"ALTER DATABASE [" + asleep.Name() + L"] SET OFFLINE WITH ROLLBACK IMMEDIATE"});
    const std::vector<std::wstring> names = ListDatabases(session.Connection());
    const std::set<std::wstring> listed(names.begin(), names.end());
    CHECK(listed.contains(zones.A()));
    CHECK(listed.contains(zones.Third()));
    CHECK_FALSE(listed.contains(asleep.Name()));
    CHECK_FALSE(listed.contains(L"master"));
}

TEST_CASE("duplicates are found by ascending ID with both sides' names") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    const std::vector<DuplicateRole> roles = FindDuplicateRoles(session.Connection(), zones.A(), zones.B());
    REQUIRE(roles.size() == 3);
    CHECK(roles[0].userId == L"0012");
    CHECK(roles[1].userId == L"1001");
    CHECK(roles[1].characterA == L"张三");
    CHECK(roles[1].characterB == L"李四");
    CHECK(roles[1].accountA == L"zhang");
    CHECK(roles[1].serverIdB == L"2");
    CHECK(roles[2].userId == L"1002");
    CHECK(roles[2].characterB.empty());  // NULL
    const std::vector<DuplicateGuild> guilds =
        FindDuplicateGuilds(session.Connection(), zones.A(), zones.B());
    REQUIRE(guilds.size() == 2);
    CHECK(guilds[0].guildId == L"{A'1}");
    CHECK(guilds[1].guildId == L"{BBBB}");  // {bbbb} in B: the collation decides what collides
    CHECK(guilds[1].nameA == L"青龙会");
    CHECK(guilds[1].nameB == L"白虎会");
}

TEST_CASE("referring columns are text columns named like a reference and hits are counted as text") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    std::set<std::wstring> columns;
    for (const RelatedField& field : FindRoleIdColumns(session.Connection(), zones.B())) {
        columns.insert(field.table + L"." + field.column + L" " + field.dataType);
    }
    CHECK(columns.contains(L"TBL_CHARACTER.FLD_USERID varchar"));
    CHECK(columns.contains(L"信件.收件ROLEID nvarchar"));
    CHECK(columns.contains(L"TBL_HERO.HeroMasterUserID char"));
    CHECK_FALSE(columns.contains(L"TBL_HERO.HeroUserID int"));
    CHECK(columns.size() == 13);
    const std::vector<RelatedField> hits = CountRoleIdHits(session.Connection(), zones.B(), L"1001");
    CHECK(hits.size() == 12);
    CHECK(TotalHits(hits) == 13);  // two letters
    const std::vector<RelatedField> guild = CountGuildIdHits(session.Connection(), zones.B(), L"{A'1}");
    CHECK(guild.size() == 2);
    CHECK(TotalHits(CountRoleIdHits(session.Connection(), zones.B(), L"12")) ==
          1);  // 0012 and 12x are other IDs
}

TEST_CASE("new IDs continue after the largest numeric ID of all online databases") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    const std::vector<std::wstring> ours = {zones.A(), zones.B(), zones.Third()};
    CHECK(NextRoleIdAfterMax(session.Connection(), {}) == L"1");
    CHECK(NextRoleIdAfterMax(session.Connection(), ours) == L"100235");  // 12x and -5 do not count
    CHECK(ErrorOf([&] { CheckNewRoleIdFree(session.Connection(), ours, L"100234"); }) ==
          L"新 ID 已存在于数据库：" + zones.Third());
    CHECK(ErrorOf([&] { CheckNewRoleIdFree(session.Connection(), ours, L"１"); }) ==
          L"新角色唯一 ID必须是纯数字唯一 ID");

    const auto plans = PlanRoleIdBatch(session.Connection(), zones.B(), zones.A(), zones.Roles());
    REQUIRE(plans.size() == 3);
    CHECK(plans[0].newId == L"100235");
    CHECK(plans[2].newId == L"100237");
    CHECK(plans[2].role.userId == L"1002");
    const auto guilds = PlanGuildIdBatch(session.Connection(), zones.B(), zones.A(), zones.Guilds());
    REQUIRE(guilds.size() == 2);
    CHECK(guilds[0].newId.size() == 38);
    CHECK(guilds[0].newId.front() == L'{');
    CHECK(guilds[0].newId != guilds[1].newId);
    CHECK(PlanRoleIdBatch(session.Connection(), zones.B(), zones.A(), {}).empty());
}

TEST_CASE("planning refuses what is no longer unique on either side") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    const auto plan = [&](const wchar_t* id) {
        return ErrorOf([&] {
            PlanRoleIdBatch(session.Connection(), zones.B(), zones.A(),
                            {DuplicateRole{id, {}, {}, {}, {}, {}, {}}});
        });
    };
    CHECK(plan(L"12x") == L"旧角色唯一 ID必须是纯数字唯一 ID");
    CHECK(plan(L"3001") == L"重复 ID 在两个库中不再各有且只有一条主表记录：3001");
    CHECK(ErrorOf([&] {
              PlanGuildIdBatch(session.Connection(), zones.B(), zones.A(), {DuplicateGuild{L"{C}", {}, {}}});
          }) == L"重复行会 ID 在两个库中不再各有且只有一条主表记录：{C}");
    const auto analyze = [&](const wchar_t* id) {
        return ErrorOf([&] { AnalyzeRoleId(session.Connection(), zones.B(), zones.A(), id); });
    };
    CHECK(analyze(L"") == L"角色唯一 ID必须是纯数字唯一 ID");
    CHECK(analyze(L"3001") == L"这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录");
    CHECK(analyze(L"1001") == L"(nothing)");
}

TEST_CASE("an online database without the character table stops planning with the server's words") {
    const MergeFixture zones;
    const TestDatabase other(L"other", {L"CREATE TABLE t (n int)"});
    const OdbcSession session = Connect(L"master");
    CHECK(ErrorOf([&] {
              AnalyzeRoleId(session.Connection(), zones.B(), zones.A(), L"1001");
          }).starts_with(L"42S02: "));
}

TEST_CASE("a single repair changes exactly the analysed cells of the target") {
    const MergeFixture zones;
    const AllContents before = zones.Contents();
    const std::vector<RelatedField> fields = zones.FieldsOf(L"1001");
    RepairRoleId(Connect(zones.B()).Connection(), zones.B(), L"1001", L"100235", fields);
    const AllContents after = zones.Contents();
    CHECK(after.a == before.a);
    CHECK(after.third == before.third);
    const Content changed = Difference(before.b, after.b);
    CHECK(changed.size() == static_cast<size_t>(TotalHits(fields)));
    for (const auto& [cell, value] : changed) {
        CAPTURE(cell);
        CHECK(Trim(before.b.at(cell)) == L"1001");
        CHECK(Trim(value) == L"100235");
    }
}

TEST_CASE("a batch repair replaces every duplicate and nothing else") {
    const MergeFixture zones;
    const AllContents before = zones.Contents();
    const BatchPlan plan = zones.Plan();
    RepairAllDuplicates(Connect(zones.B()).Connection(), zones.B(), plan.roles, plan.guilds);
    const AllContents after = zones.Contents();
    CHECK(after.a == before.a);
    CHECK(after.third == before.third);
    CHECK(Difference(before.b, after.b) == plan.ExpectedChange(before.b));
    CHECK(zones.Roles().empty());
    CHECK(zones.Guilds().empty());
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
    CHECK(repair(L"x", L"2", fields, zones.B()) == L"旧角色唯一 ID必须是纯数字唯一 ID");
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
