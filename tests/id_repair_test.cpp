#include <functional>

#include "db/sql_text.h"
#include "id_repair/batch_repair.h"
#include "id_repair/new_ids.h"
#include "id_repair/role_analysis.h"
#include "id_repair/role_repair.h"
#include "tests/support/merge_fixture.h"
#include "tests/support/wide_text.h"

// One statement as the trace tells it; a count under lock, with the hints that reached the server.
static std::wstring Asked(const std::wstring& sql) {
    return L"execute " + sql + L"\n";
}
static std::wstring Locked(IdKind kind, const std::wstring& database, const std::wstring& id) {
    return Asked(CountIdRowsSql(kind, database, id, true)) + L"hints UPDLOCK,HOLDLOCK\n";
}

static std::wstring Updates(const std::wstring& database, const std::vector<RelatedField>& fields,
                            const std::wstring& oldId, const std::wstring& newId) {
    std::wstring asked;
    for (const RelatedField& field : fields) {
        asked += Asked(L"UPDATE [" + database + L"].[" + field.schema + L"].[" + field.table + L"] SET [" +
                       field.column + L"] = " + SqlUnicodeLiteral(newId) + L" WHERE CAST([" + field.column +
                       L"] AS NVARCHAR(256)) = " + SqlUnicodeLiteral(oldId));
    }
    return asked;
}

static std::wstring HitCounts(const std::wstring& database, const std::vector<RelatedField>& fields,
                              const std::wstring& id) {
    std::wstring asked;
    for (const RelatedField& field : fields) asked += Asked(CountHitsSql(NameOf(database, field), id));
    return asked;
}

static std::wstring Counts(IdKind kind, const std::vector<std::wstring>& databases, const std::wstring& id) {
    std::wstring asked;
    for (const std::wstring& database : databases) asked += Asked(CountIdRowsSql(kind, database, id, false));
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

TEST_CASE("a character's ID is cut to 50 units and then trimmed and a guild's kept exactly") {
    const std::wstring tables =
        L"CREATE TABLE TBL_CHARACTER (FLD_USERID nchar(80), FLD_CHARACTER nvarchar(9), FLD_ACCOUNT "
        L"nvarchar(9), FLD_SERVERID int); CREATE TABLE TBL_GUILD_INFO (sGuildID nvarchar(60), sGuildName "
        L"nvarchar(9)); INSERT INTO TBL_GUILD_INFO (sGuildID) VALUES (N' {G} '); ";
    const std::wstring rows = tables + L"INSERT INTO TBL_CHARACTER (FLD_USERID) VALUES (N'  77'), (N'" +
                              std::wstring(60, L'7') + L"'), (N'" + std::wstring(49, L' ') + L"12')";
    const TestDatabase a(L"a", {rows}), b(L"b", {rows});
    const OdbcSession session = Connect(L"master");
    const auto roles = FindDuplicateRoles(session.Connection(), a.Name(), b.Name());
    REQUIRE(roles.size() == 3);
    CHECK(roles[0].userId + L"," + roles[1].userId == L"1,77");
    CHECK(roles[2].userId == std::wstring(50, L'7'));
    const auto plan = PlanGuildIdBatch(session.Connection(), b.Name(), a.Name(),
                                       FindDuplicateGuilds(session.Connection(), a.Name(), b.Name()));
    REQUIRE(plan.size() == 1);
    CHECK(plan[0].guild.guildId == L" {G} ");
    RepairAllDuplicates(b.Open().Connection(), b.Name(), {}, plan);
    CHECK(QueryText(b.Open(), L"SELECT sGuildID FROM TBL_GUILD_INFO") == plan[0].newId);
}

TEST_CASE("referring columns are text columns named like a reference and hits are counted as text") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    std::wstring columns;
    for (const RelatedField& field : FindRoleIdColumns(session.Connection(), zones.B()))
        columns += field.schema + L"." + field.table + L"." + field.column + L" " + field.dataType + L";";
    CHECK(columns ==
          L"dbo.TBL_BAG.USER_ID varchar;dbo.TBL_BAG.OwnerRoleID nvarchar;dbo.TBL_BAG.OTHERUSERID nchar;"
          L"dbo.TBL_CHARACTER.FLD_USERID varchar;dbo.TBL_FRIEND.UserIdA varchar;"
          L"dbo.TBL_FRIEND.UserIdB varchar;dbo.TBL_HERO.HeroMasterUserID char;dbo.TBL_UNUSED.RoleId varchar;"
          L"mail.信件.收件ROLEID nvarchar;mail.信件.寄件ROLE_ID varchar;trade.TBL_MEMBER.MemberRoleID "
          L"varchar;trade.TBL_TRADE.SellerUserID nvarchar;trade.TBL_TRADE.BuyerUser_ID varchar;");
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
    CHECK(NextRoleIdAfterMax(session.Connection(), {zones.Third(), zones.A()}) == L"100235");
    const auto check = [&](const wchar_t* id) {
        return ErrorOf([&] { CheckNewRoleIdFree(session.Connection(), ours, id); });
    };
    CHECK(check(L"100234") == L"新 ID 已存在于数据库：" + zones.Third());
    CHECK(check(L"3001") == L"新 ID 已存在于数据库：" + zones.B());  // twice
    CHECK(check(L"１") == L"新角色唯一 ID必须是纯数字唯一 ID");
    const auto [roles, guilds] = zones.Plan();
    REQUIRE(roles.size() + guilds.size() == 5);
    CHECK(roles[0].newId + roles[1].newId + roles[2].newId == L"100235100236100237");
    CHECK(guilds[0].newId.size() == 38);
    CHECK(guilds[0].newId != guilds[1].newId);
}

TEST_CASE("an ID is analysed and planned only with one row in each database") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    RunSql(Connect(zones.A()), {L"INSERT INTO TBL_CHARACTER (n, FLD_USERID) VALUES (9, '3001')",
                                L"INSERT INTO TBL_GUILD_INFO (n, sGuildID) VALUES (9, N'{D}')"});
    RunSql(Connect(zones.B()), {L"INSERT INTO TBL_GUILD_INFO (n, sGuildID) VALUES (8, N'{D}'), (9, N'{D}')"});
    const auto planRole = [&](const std::wstring& target, const std::wstring& other, const wchar_t* id) {
        const DuplicateRole role = {id, {}, {}, {}, {}, {}, {}};
        return ErrorOf([&] { PlanRoleIdBatch(on, target, other, {role}); });
    };
    // In both directions: two rows beside one, one beside none.
    for (const auto& [target, other] : {std::pair(zones.A(), zones.B()), {zones.B(), zones.A()}}) {
        for (const wchar_t* id : {L"3001", L"12", L"12345"}) {
            CAPTURE(id);
            CHECK(ErrorOf([&] { AnalyzeRoleId(on, target, other, id); }) ==
                  L"这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录");
            CHECK(planRole(target, other, id) ==
                  L"重复 ID 在两个库中不再各有且只有一条主表记录：" + std::wstring(id));
        }
        for (const wchar_t* id : {L"{D}", L"{ONLY-B}"}) {
            CHECK(ErrorOf([&] {
                      PlanGuildIdBatch(on, target, other, {DuplicateGuild{id, {}, {}}});
                  }) == L"重复行会 ID 在两个库中不再各有且只有一条主表记录：" + std::wstring(id));
        }
        CHECK(planRole(target, other, L"1001") == L"(nothing)");
        CHECK(planRole(target, other, L"12x") == L"旧角色唯一 ID必须是纯数字唯一 ID");
    }
}

TEST_CASE("analysis and planning ask both databases for the old ID and all of them for the new one") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    const std::vector<std::wstring> both = {zones.B(), zones.A()},
                                    online = {zones.A(), zones.B(), zones.Third()};
    const auto roleColumns = FindRoleIdColumns(on, zones.B()),
               guildColumns = FindGuildIdColumns(on, zones.B());
    const auto roleHits = [&](const std::wstring& id) {
        return Asked(ReferringColumnsSql(IdKind::Role, zones.B())) + HitCounts(zones.B(), roleColumns, id);
    };
    std::wstring largest = Asked(OnlineDatabasesSql());
    for (const std::wstring& database : online) largest += Asked(LargestRoleIdSql(database));
    CHECK(ToldBy([&] { AnalyzeRoleId(on, zones.B(), zones.A(), L"1001"); }) ==
          Counts(IdKind::Role, both, L"1001") + roleHits(L"1001") + largest);

    const auto roles = zones.Roles();
    std::vector<RoleRepairPlan> rolePlans;
    const std::wstring toldOfRoles =
        ToldBy([&] { rolePlans = PlanRoleIdBatch(on, zones.B(), zones.A(), roles); });
    std::wstring expected = largest;
    for (const auto& [role, newId, fields] : rolePlans) {
        expected += Counts(IdKind::Role, both, role.userId) + Counts(IdKind::Role, online, newId) +
                    roleHits(role.userId);
    }
    CHECK(toldOfRoles == expected);
    const auto guilds = zones.Guilds();
    std::vector<GuildRepairPlan> guildPlans;
    const std::wstring toldOfGuilds =
        ToldBy([&] { guildPlans = PlanGuildIdBatch(on, zones.B(), zones.A(), guilds); });
    expected = Asked(OnlineDatabasesSql());
    for (const auto& [guild, newId, fields] : guildPlans) {
        expected += Counts(IdKind::Guild, both, guild.guildId) + Counts(IdKind::Guild, online, newId) +
                    Asked(ReferringColumnsSql(IdKind::Guild, zones.B())) +
                    HitCounts(zones.B(), guildColumns, guild.guildId);
    }
    CHECK(toldOfGuilds == expected);
    CHECK(ToldBy([&] { PlanRoleIdBatch(on, L"x", L"y", {}), PlanGuildIdBatch(on, L"x", L"y", {}); }).empty());
}

TEST_CASE("a repair locks and updates one ID after the other and verifies when all are updated") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    const auto& b = zones.B();
    const auto [roles, guilds] = zones.Plan();
    const OdbcSession session = Connect(b);
    const std::vector<RelatedField>& fields = roles[1].fields;
    CHECK(ToldBy([&] { RepairRoleId(session.Connection(), b, L"1001", L"100299", fields); }) ==
          L"manual \n" + Locked(IdKind::Role, b, L"1001") + Updates(b, fields, L"1001", L"100299") +
              HitCounts(b, fields, L"1001") + L"commit \nauto \n");
    // Back again, so that the plan still fits.
    RepairRoleId(session.Connection(), b, L"100299", L"1001", fields);
    std::wstring expected = L"manual \n", verified;
    for (const auto& [role, newId, related] : roles) {
        const std::wstring& id = role.userId;
        expected += Locked(IdKind::Role, b, id) + Updates(b, related, id, newId);
        verified +=
            Counts(IdKind::Role, {b}, id) + Counts(IdKind::Role, {b}, newId) + HitCounts(b, related, id);
    }
    for (const auto& [guild, newId, related] : guilds) {
        const std::wstring& id = guild.guildId;
        expected += Locked(IdKind::Guild, b, id) + Updates(b, related, id, newId);
        verified +=
            Counts(IdKind::Guild, {b}, id) + Counts(IdKind::Guild, {b}, newId) + HitCounts(b, related, id);
    }
    CHECK(ToldBy([&] { RepairAllDuplicates(session.Connection(), b, roles, guilds); }) ==
          expected + verified + L"commit \nauto \n");
}

TEST_CASE("a batch repair of either kind or both replaces every duplicate and nothing else") {
    for (const auto& [withRoles, withGuilds] : {std::pair(true, true), {true, false}, {false, true}}) {
        CAPTURE(withRoles);
        const MergeFixture zones;
        const AllContents before = zones.Contents();
        BatchPlan plan = zones.Plan();
        if (!withRoles) plan.roles.clear();
        if (!withGuilds) plan.guilds.clear();
        RepairAllDuplicates(Connect(zones.B()).Connection(), zones.B(), plan.roles, plan.guilds);
        const AllContents after = zones.Contents();
        CHECK((after.a == before.a && after.third == before.third));
        CHECK(Difference(before.b, after.b) == plan.ExpectedChange(before.b));
        CHECK((zones.Roles().empty() == withRoles && zones.Guilds().empty() == withGuilds));
    }
}

TEST_CASE("a row that another connection has changed deleted or doubled since is refused") {
    const std::wstring role = L"TBL_CHARACTER", guild = L"TBL_GUILD_INFO";
    struct Row {
        std::wstring change, batchError;
    };
    const std::wstring notOneRole = L"事务内复核失败，角色旧 ID 记录数不是 1：1001",
                       notOneGuild = L"事务内复核失败，行会旧 ID 记录数不是 1：{BBBB}";
    for (const Row& row :
         {Row{L"UPDATE TBL_CHARACTER SET FLD_USERID = '5' WHERE n = 1", notOneRole},
          Row{L"DELETE FROM TBL_CHARACTER WHERE n = 1", notOneRole},
          Row{L"INSERT INTO TBL_CHARACTER (n, FLD_USERID) VALUES (10, '1001')", notOneRole},
          Row{L"UPDATE TBL_GUILD_INFO SET sGuildID = N'5' WHERE n = 2", notOneGuild},
          Row{L"DELETE FROM TBL_GUILD_INFO WHERE n = 2", notOneGuild},
          Row{L"INSERT INTO TBL_GUILD_INFO (n, sGuildID) VALUES (10, N'{bbbb}')", notOneGuild}}) {
        CAPTURE(row.change);
        const MergeFixture zones;
        const auto [roles, guilds] = zones.Plan();
        const OdbcSession session = Connect(zones.B());
        RunSql(Connect(zones.B()), {row.change});
        const AllContents before = zones.Contents();
        CHECK(ErrorOf([&] { RepairAllDuplicates(session.Connection(), zones.B(), roles, guilds); }) ==
              row.batchError);
        if (row.batchError == notOneRole) {
            CHECK(ErrorOf([&] {
                      RepairRoleId(session.Connection(), zones.B(), L"1001", L"2", roles[1].fields);
                  }) == L"事务内复核失败：目标库旧 ID 不再是唯一一条记录");
        }
        CHECK(zones.Contents() == before);
    }
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
    const std::wstring badName = L"数据库标识符包含不允许的字符";
    const auto roles = zones.Plan().roles;
    const auto refusedAtOnce = [&] {
        CHECK(repair(L"1 ", L"2 ", fields, zones.B()) == L"旧角色唯一 ID必须是纯数字唯一 ID");
        CHECK(repair(L"1001", L"2 ", fields, zones.B()) == L"新角色唯一 ID必须是纯数字唯一 ID");
        CHECK(repair(L"1001", L"2", fields, L"B]; DROP") == badName);
        RepairAllDuplicates(session.Connection(), zones.B(), {}, {});
        CHECK(ErrorOf([&] { RepairAllDuplicates(session.Connection(), L"B-", roles, {}); }) == badName);
    };
    refusedAtOnce();
    if (CanInjectFaults()) CHECK(ToldBy(refusedAtOnce).empty());  // not even a transaction
    CHECK(repair(L"1001", L"1001", fields, zones.B()) == L"事务内校验失败：仍有旧 ID 关联数据");
    CHECK(repair(L"1001", L"2", vanished, zones.B()) == L"ODBC 未返回详细错误");
    CHECK(repair(L"1001", L"100235", {}, zones.B()) == L"(nothing)");

    const auto withoutMainTable = [](auto& plan) {
        std::erase_if(plan.fields, [](const RelatedField& field) {
            return field.table == L"TBL_CHARACTER" || field.table == L"TBL_GUILD_INFO";
        });
    };
    struct Row {
        std::wstring error;
        std::function<void(BatchPlan&)> spoil;
    };
    for (const Row& row :
         {Row{L"事务内校验失败，角色旧/新 ID 状态异常：0012",
              [](BatchPlan& plan) { plan.roles[1].newId = plan.roles[0].newId; }},
          Row{L"事务内校验失败，角色旧/新 ID 状态异常：1001",
              [&](BatchPlan& plan) { withoutMainTable(plan.roles[1]); }},
          Row{L"事务内校验失败，行会旧/新 ID 状态异常：{BBBB}",
              [&](BatchPlan& plan) { withoutMainTable(plan.guilds[1]); }},
          // The later plan brings the earlier one's old ID back, into a column that both have.
          Row{L"事务内校验失败，仍有角色旧 ID 关联数据：0012",
              [&](BatchPlan& plan) {
                  withoutMainTable(plan.roles[1]);
                  plan.roles[1].newId = L"0012";
              }},
          Row{L"事务内校验失败，仍有行会旧 ID 关联数据：{A'1}", [&](BatchPlan& plan) {
                  withoutMainTable(plan.guilds[1]);
                  plan.guilds[1].newId = L"{A'1}";
              }}}) {
        BatchPlan plan = zones.Plan();
        row.spoil(plan);
        CHECK(ErrorOf([&] {
                  RepairAllDuplicates(session.Connection(), zones.B(), plan.roles, plan.guilds);
              }) == row.error);
    }
    CHECK(zones.Contents() == before);
}
