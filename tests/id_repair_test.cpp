#include "db/sql_text.h"
#include "id_repair/batch_repair.h"
#include "id_repair/new_ids.h"
#include "id_repair/role_analysis.h"
#include "id_repair/role_repair.h"
#include "tests/support/merge_fixture.h"
#include "tests/support/wide_text.h"

using Fields = std::vector<RelatedField>;

// What the trace tells of statements; of a count under lock also the hints that reached the server.
static std::wstring Asked(const std::wstring& sql) {
    return L"execute " + sql + L"\n";
}
static std::wstring Counts(IdKind kind, const std::vector<std::wstring>& databases, const std::wstring& id) {
    std::wstring asked;
    for (const std::wstring& database : databases) asked += Asked(CountIdRowsSql(kind, database, id, false));
    return asked;
}
static std::wstring HitCounts(const std::wstring& database, const Fields& fields, const std::wstring& id) {
    std::wstring asked;
    for (const RelatedField& field : fields) asked += Asked(CountHitsSql(NameOf(database, field), id));
    return asked;
}
static std::wstring Updates(IdKind kind, const std::wstring& database, const Fields& fields,
                            const std::wstring& oldId, const std::wstring& newId) {
    std::wstring asked = Asked(CountIdRowsSql(kind, database, oldId, true)) + L"hints UPDLOCK,HOLDLOCK\n";
    for (const auto& [schema, table, column, type, hits] : fields)
        asked += Asked(L"UPDATE [" + database + L"].[" + schema + L"].[" + table + L"] SET [" + column +
                       L"] = " + SqlUnicodeLiteral(newId) + L" WHERE CAST([" + column +
                       L"] AS NVARCHAR(256)) = " + SqlUnicodeLiteral(oldId));
    return asked;
}

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
    for (const std::wstring& name : ListDatabases(session.Connection()))
        CHECK((name != other.Name() && name != L"master"));
}

TEST_CASE("duplicates are found by ascending ID with both sides' names") {
    const MergeFixture zones;
    std::wstring found;
    for (const auto& [id, nameA, accountA, serverA, nameB, accountB, serverB] : zones.Roles())
        for (const auto& text : {id, nameA, accountA, serverA, nameB, accountB, serverB})
            found += text + L" ";
    CHECK(found == L"0012 赵六 zhao 1 赵六 zhao 2 1001 张三 zhang 1 李四 li 2 1002 王五 wang 1  wang 2 ");
    found.clear();
    for (const auto& [id, nameA, nameB] : zones.Guilds()) found += id + nameA + nameB + L" ";
    CHECK(found ==
          L"{A'1}玄武会朱雀会 {BBBB}青龙会白虎会 ");  // {bbbb} in B: what the collation takes for equal
}

TEST_CASE("a character's ID is cut to 50 units and then trimmed and a guild's kept exactly") {
    const std::wstring tables =
        L"CREATE TABLE TBL_GUILD_INFO (sGuildID nvarchar(60), sGuildName nvarchar(9)); INSERT INTO "
        L"TBL_GUILD_INFO (sGuildID) VALUES (N' {G} '); CREATE TABLE TBL_CHARACTER (FLD_USERID nchar(80), "
        L"FLD_CHARACTER nvarchar(9), FLD_ACCOUNT nvarchar(9), FLD_SERVERID int); INSERT INTO TBL_CHARACTER "
        L"(FLD_USERID) VALUES (N'  77'), (N'" +
        std::wstring(60, L'7') + L"'), (N'" + std::wstring(49, L' ') + L"12')";
    const TestDatabase a(L"a", {tables}), b(L"b", {tables});
    const OdbcSession session = Connect(L"master");
    const auto roles = FindDuplicateRoles(session.Connection(), a.Name(), b.Name());
    REQUIRE(roles.size() == 3);
    CHECK(roles[0].userId + L"," + roles[1].userId + L"," + roles[2].userId ==
          L"1,77," + std::wstring(50, L'7'));
    const auto plan = PlanGuildIdBatch(session.Connection(), b.Name(), a.Name(),
                                       FindDuplicateGuilds(session.Connection(), a.Name(), b.Name()));
    REQUIRE(plan.size() == 1);
    RepairAllDuplicates(b.Open().Connection(), b.Name(), {}, plan);
    CHECK(QueryText(b.Open(), L"SELECT sGuildID FROM TBL_GUILD_INFO") == plan[0].newId);
}

TEST_CASE("new IDs continue after the largest numeric ID and are refused when they are taken") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    std::vector<std::wstring> ours = {zones.A(), zones.B(), zones.Third()};
    const auto check = [&](const wchar_t* id) {
        return ErrorOf([&] { CheckNewRoleIdFree(session.Connection(), ours, id); });
    };
    CHECK(check(L"100234") == L"新 ID 已存在于数据库：" + zones.Third());
    CHECK(check(L"3001") == L"新 ID 已存在于数据库：" + zones.B());  // twice
    CHECK(check(L"１") == L"新角色唯一 ID必须是纯数字唯一 ID");
    CHECK(NextRoleIdAfterMax(session.Connection(), {}) == L"1");
    CHECK(NextRoleIdAfterMax(session.Connection(), ours) == L"100235");  // 12x and -5 do not count
    std::swap(ours.front(), ours.back());
    CHECK(NextRoleIdAfterMax(session.Connection(), ours) == L"100235");
    const auto [roles, guilds] = zones.Plan();
    REQUIRE(roles.size() + guilds.size() == 5);
    CHECK(roles[0].newId + roles[1].newId + roles[2].newId == L"100235100236100237");
    CHECK((guilds[0].newId.size() == 38 && guilds[0].newId != guilds[1].newId));
}

TEST_CASE("an ID is analysed and planned only with one row in each database") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    RunSql(Connect(zones.A()), {L"INSERT INTO TBL_CHARACTER (n, FLD_USERID) VALUES (9, '3001')",
                                L"INSERT INTO TBL_GUILD_INFO (n, sGuildID) VALUES (9, N'{D}')"});
    RunSql(Connect(zones.B()), {L"INSERT INTO TBL_GUILD_INFO (n, sGuildID) VALUES (8, N'{D}'), (9, N'{D}')"});
    const auto planRole = [&](const std::wstring& target, const std::wstring& other, const wchar_t* id) {
        return ErrorOf([&] {
            PlanRoleIdBatch(on, target, other, {DuplicateRole{id, {}, {}, {}, {}, {}, {}}});
        });
    };
    // In both directions: two rows beside one, one beside none.
    for (const bool forth : {true, false}) {
        const std::wstring &target = forth ? zones.A() : zones.B(), &other = forth ? zones.B() : zones.A();
        for (const std::wstring id : {L"3001", L"12"}) {
            CHECK(ErrorOf([&] { AnalyzeRoleId(on, target, other, id); }) ==
                  L"这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录");
            CHECK(planRole(target, other, id.c_str()) ==
                  L"重复 ID 在两个库中不再各有且只有一条主表记录：" + id);
        }
        for (const std::wstring id : {L"{D}", L"{ONLY-B}"})
            CHECK(ErrorOf([&] {
                      PlanGuildIdBatch(on, target, other, {DuplicateGuild{id, {}, {}}});
                  }) == L"重复行会 ID 在两个库中不再各有且只有一条主表记录：" + id);
        CHECK(planRole(target, other, L"12x") == L"旧角色唯一 ID必须是纯数字唯一 ID");
    }
}

TEST_CASE("analysis plans and repairs ask the server in their order and lock each row before its updates") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    const std::wstring &a = zones.A(), &b = zones.B();
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    const Fields roleColumns = FindRoleIdColumns(on, b), guildColumns = FindGuildIdColumns(on, b);
    const auto hits = [&](IdKind kind, const std::wstring& id) {
        return Asked(ReferringColumnsSql(kind, b)) +
               HitCounts(b, kind == IdKind::Role ? roleColumns : guildColumns, id);
    };
    const std::vector<std::wstring> both = {b, a}, online = {a, b, zones.Third()};
    std::wstring largest = Asked(OnlineDatabasesSql());
    for (const std::wstring& database : online) largest += Asked(LargestRoleIdSql(database));
    CHECK(ToldBy([&] { AnalyzeRoleId(on, b, a, L"1001"); }) ==
          Counts(IdKind::Role, both, L"1001") + hits(IdKind::Role, L"1001") + largest);

    const auto duplicateRoles = zones.Roles();
    const auto duplicateGuilds = zones.Guilds();
    BatchPlan plan;
    const std::wstring planned = ToldBy([&] {
        plan = {PlanRoleIdBatch(on, b, a, duplicateRoles), PlanGuildIdBatch(on, b, a, duplicateGuilds)};
    });
    std::wstring planning = largest, updates, verifications;
    const auto expect = [&](IdKind kind, const std::wstring& id, const std::wstring& newId,
                            const Fields& fields) {
        planning += Counts(kind, both, id) + Counts(kind, online, newId) + hits(kind, id);
        updates += Updates(kind, b, fields, id, newId);
        verifications += Counts(kind, {b}, id) + Counts(kind, {b}, newId) + HitCounts(b, fields, id);
    };
    for (const auto& [role, newId, fields] : plan.roles) expect(IdKind::Role, role.userId, newId, fields);
    planning += Asked(OnlineDatabasesSql());
    for (const auto& [guild, newId, fields] : plan.guilds)
        expect(IdKind::Guild, guild.guildId, newId, fields);
    CHECK(planned == planning);
    const Fields& fields = plan.roles[1].fields;
    CHECK(ToldBy([&] { RepairRoleId(on, b, L"1001", L"100299", fields); }) ==
          L"manual \n" + Updates(IdKind::Role, b, fields, L"1001", L"100299") +
              HitCounts(b, fields, L"1001") + L"commit \nauto \n");
    RepairRoleId(on, b, L"100299", L"1001", fields);  // so that the plan still fits
    CHECK(ToldBy([&] { RepairAllDuplicates(on, b, plan.roles, plan.guilds); }) ==
          L"manual \n" + updates + verifications + L"commit \nauto \n");
    // Without anything to do nothing is asked, and a bad name is refused before the transaction.
    CHECK(ToldBy([&] {
              RepairAllDuplicates(on, b, {}, {});
              PlanRoleIdBatch(on, L"x", L"y", {}), PlanGuildIdBatch(on, L"x", L"y", {});
              const std::wstring badName = L"数据库标识符包含不允许的字符";
              CHECK(ErrorOf([&] { RepairAllDuplicates(on, L"B]; DROP", plan.roles, {}); }) == badName);
              CHECK(ErrorOf([&] { RepairRoleId(on, L"B]; DROP", L"1", L"2", {}); }) == badName);
              CHECK(ErrorOf([&] { RepairRoleId(on, b, L"1 ", L"x", {}); }) ==
                    L"旧角色唯一 ID必须是纯数字唯一 ID");
              CHECK(ErrorOf([&] { RepairRoleId(on, b, L"1", L"2 ", {}); }) ==
                    L"新角色唯一 ID必须是纯数字唯一 ID");
          }).empty());
}

TEST_CASE("a batch repair of either kind or both replaces every duplicate and nothing else") {
    for (const auto& [withRoles, withGuilds, cells] :
         {std::tuple(true, true, 25), {true, false, 21}, {false, true, 4}}) {
        const MergeFixture zones;
        const AllContents before = zones.Contents();
        BatchPlan plan = zones.Plan();
        if (!withRoles) plan.roles.clear();
        if (!withGuilds) plan.guilds.clear();
        RepairAllDuplicates(Connect(zones.B()).Connection(), zones.B(), plan.roles, plan.guilds);
        const AllContents after = zones.Contents();
        CHECK((after.a == before.a && after.third == before.third));
        std::map<std::wstring, std::wstring> newIds;
        for (const auto& [role, newId, fields] : plan.roles) newIds[role.userId] = newId;
        for (const auto& [guild, newId, fields] : plan.guilds) newIds[ToLower(guild.guildId)] = newId;
        const Content changed = Difference(before.b, after.b);
        CHECK(changed.size() == cells);
        for (const auto& [cell, value] : changed)
            CHECK(newIds[ToLower(Trim(before.b.at(cell)))] == Trim(value));
        CHECK((zones.Roles().empty() == withRoles && zones.Guilds().empty() == withGuilds));
    }
}

TEST_CASE("a repair of rows that have changed since is refused and leaves everything as it was") {
    const std::wstring noRole = L"事务内复核失败，角色旧 ID 记录数不是 1：1001",
                       noGuild = L"事务内复核失败，行会旧 ID 记录数不是 1：{BBBB}";
    for (const auto& [change, error] :
         {std::pair(L"UPDATE TBL_CHARACTER SET FLD_USERID = '5' WHERE n = 1", noRole),
          {L"DELETE FROM TBL_CHARACTER WHERE n = 1", noRole},
          {L"INSERT INTO TBL_CHARACTER (n, FLD_USERID) VALUES (10, '1001')", noRole},
          {L"DELETE FROM TBL_GUILD_INFO WHERE n = 2", noGuild},
          {L"INSERT INTO TBL_GUILD_INFO (n, sGuildID) VALUES (10, N'{bbbb}')", noGuild},
          {L"DELETE FROM TBL_FRIEND WHERE n = 2", L"ODBC 未返回详细错误"}}) {
        const MergeFixture zones;
        const BatchPlan plan = zones.Plan();
        const OdbcSession session = Connect(zones.B());
        RunSql(Connect(zones.B()), {change});
        const AllContents before = zones.Contents();
        CHECK(ErrorOf([&] {
                  RepairAllDuplicates(session.Connection(), zones.B(), plan.roles, plan.guilds);
              }) == error);
        const Fields& fields = plan.roles[1].fields;
        if (error != noGuild)
            CHECK(ErrorOf([&] { RepairRoleId(session.Connection(), zones.B(), L"1001", L"2", fields); }) ==
                  (error == noRole ? L"事务内复核失败：目标库旧 ID 不再是唯一一条记录" : error));
        CHECK(zones.Contents() == before);
    }
}

TEST_CASE("a repair that would not end as planned leaves everything as it was") {
    const MergeFixture zones;
    const AllContents before = zones.Contents();
    const OdbcSession session = Connect(zones.B());
    const auto repair = [&](const wchar_t* newId, const Fields& fields) {
        return ErrorOf([&] { RepairRoleId(session.Connection(), zones.B(), L"1001", newId, fields); });
    };
    CHECK(repair(L"1001", zones.FieldsOf(L"1001")) == L"事务内校验失败：仍有旧 ID 关联数据");
    CHECK(repair(L"100235", {}) == L"(nothing)");
    // The error of a batch whose plan is spoilt.
    const auto batch = [&](auto spoil) {
        BatchPlan plan = zones.Plan();
        spoil(plan.roles, plan.guilds);
        return ErrorOf(
            [&] { RepairAllDuplicates(session.Connection(), zones.B(), plan.roles, plan.guilds); });
    };
    const auto withoutMainTable = [](auto& plan) -> auto& {
        std::erase_if(plan.fields, [](const RelatedField& field) {
            return field.column == L"FLD_USERID" || field.column == L"sGuildID";
        });
        return plan;
    };
    CHECK(batch([](auto& roles, auto&) { roles[1].newId = roles[0].newId; }) ==
          L"事务内校验失败，角色旧/新 ID 状态异常：0012");
    CHECK(batch([&](auto& roles, auto&) { withoutMainTable(roles[1]); }) ==
          L"事务内校验失败，角色旧/新 ID 状态异常：1001");
    CHECK(batch([&](auto&, auto& guilds) { withoutMainTable(guilds[1]); }) ==
          L"事务内校验失败，行会旧/新 ID 状态异常：{BBBB}");
    // The later plan brings the earlier one's old ID back, into a column that both have.
    CHECK(batch([&](auto& roles, auto&) { withoutMainTable(roles[1]).newId = L"0012"; }) ==
          L"事务内校验失败，仍有角色旧 ID 关联数据：0012");
    CHECK(batch([&](auto&, auto& guilds) { withoutMainTable(guilds[1]).newId = L"{A'1}"; }) ==
          L"事务内校验失败，仍有行会旧 ID 关联数据：{A'1}");
    CHECK(zones.Contents() == before);
}
