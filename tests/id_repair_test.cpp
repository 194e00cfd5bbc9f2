#include <regex>

#include "id_repair/batch_repair.h"
#include "id_repair/new_ids.h"
#include "id_repair/role_analysis.h"
#include "id_repair/role_repair.h"
#include "support/merge_fixture.h"
#include "support/wide_text.h"

TEST_CASE("an observer is told once per percent and at the end") {
    size_t percent = 0;
    const ProgressObserver observer = [&](size_t done, size_t all) { CHECK(done * 100 / all == ++percent); };
    Progress progress(observer, 250);
    for (int step = 0; step < 250; ++step) progress.Step();
    CHECK(percent == 100);
}

// Every ID of a list of duplicates with what is shown beside it.
static std::wstring Described(const DuplicateRoles& roles) {
    std::wstring text;
    for (const auto& [id, nameA, accountA, serverA, nameB, accountB, serverB] : roles.ToVector())
        text += id + L" " + nameA + L"," + accountA + L"," + serverA + L" " + nameB + L"," + accountB + L"," +
                serverB + L"\n";
    return text;
}

TEST_CASE("duplicates are found by ascending ID as the collation compares") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    CHECK(Described(FindDuplicateRoles(session.Connection(), zones.A(), zones.B())) ==
          L"0012 赵六,zhao,1 赵六,zhao,2\n1001 张三,zhang,1 李四,li,2\n1002 王五,wang,1 ,wang,2\n"
          L"77 陈七,chen,1 钱七,qian,2\n");
    std::wstring guilds;
    for (const auto& [id, nameA, nameB] : FindDuplicateGuilds(session.Connection(), zones.A(), zones.B()))
        guilds += id + L" " + nameA + L" " + nameB + L"\n";
    CHECK(guilds == L"{A'1} 玄武会 朱雀会\n{BBBB} 青龙会 白虎会\n");  // {bbbb} in B
}

TEST_CASE("each online user database must have the character table and those offline are left out") {
    const MergeFixture zones;
    const TestDatabase other(L"other", {L"CREATE TABLE t (n int)"});
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    CHECK(ErrorOf([&] { AnalyzeRoleId(on, zones.B(), zones.A(), L"1001"); }).substr(0, 7) == L"42S02: ");
    RunSql(session, {L"ALTER DATABASE [" + other.Name() + L"] SET OFFLINE WITH ROLLBACK IMMEDIATE"});
    CHECK(AnalyzeRoleId(on, zones.B(), zones.A(), L"1001").suggestedId == L"100235");
    const std::vector<std::wstring> databases = ListDatabases(on);
    for (const std::wstring& name : {other.Name(), std::wstring(L"master")})
        CHECK(std::count(databases.begin(), databases.end(), name) == 0);
}

TEST_CASE("a new ID is malformed taken or free") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    for (const auto& [newId, error] : {std::pair(L"100234", L"新 ID 已存在于数据库：" + zones.Third()),
                                       {L"3001", L"新 ID 已存在于数据库：" + zones.B()},  // twice
                                       {L"１", L"新角色唯一 ID必须是纯数字唯一 ID"},
                                       {L"100235", L"(nothing)"}}) {
        const std::wstring id = newId;
        CHECK(ErrorOf([&] {
                  CheckNewRoleIdFree(session.Connection(), {zones.A(), zones.B(), zones.Third()}, id);
              }) == error);
    }
}

TEST_CASE("new IDs continue after the largest numeric ID and guilds get GUIDs") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    CHECK(NextRoleIdAfterMax(on, {}) == L"1");
    CHECK(NextRoleIdAfterMax(on, {zones.A(), zones.Third()}) == L"100235");
    CHECK(NextRoleIdAfterMax(on, {zones.Third(), zones.B()}) == L"100235");  // 12x and -5 do not count
    const auto [roles, guilds] = zones.Plan();
    REQUIRE(roles.size() == kDuplicateRoles);
    REQUIRE(guilds.size() == kDuplicateGuilds);
    for (size_t i = 0; i < roles.size(); ++i) CHECK(roles[i].newId == std::to_wstring(100235 + i));
    const std::wregex guid(LR"(\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\})");
    for (const auto& [guild, newId, fields] : guilds) {
        CAPTURE(newId);
        CHECK(std::regex_match(newId, guid));
    }
    CHECK(guilds[0].newId != guilds[1].newId);
    RunSql(Connect(zones.Third()), {L"UPDATE TBL_CHARACTER SET FLD_USERID = '9223372036854775807'"});
    CHECK(zones.Plan().roles[2].newId == L"9223372036854775810");
}

TEST_CASE("a character's ID is cut to 50 units and then trimmed and a guild's kept exactly") {
    const std::wstring tables =
        L"CREATE TABLE TBL_GUILD_INFO (sGuildID nvarchar(60), sGuildName nvarchar(300)); INSERT INTO "
        L"TBL_GUILD_INFO (sGuildID, sGuildName) VALUES (N' {G} ', N'" +
        std::wstring(300, L'会') +
        L"'); CREATE TABLE TBL_CHARACTER (FLD_USERID nchar(80), "
        L"FLD_CHARACTER nvarchar(9), FLD_ACCOUNT nvarchar(9), FLD_SERVERID int); INSERT INTO TBL_CHARACTER "
        L"(FLD_USERID) VALUES (N'  77'), (N'" +
        std::wstring(60, L'7') + L"'), (N'" + std::wstring(49, L' ') + L"12')";
    const TestDatabase a(L"a", {tables}), b(L"b", {tables});
    const OdbcSession session = b.Open();
    const SQLHDBC on = session.Connection();
    const auto roles = FindDuplicateRoles(on, a.Name(), b.Name());
    REQUIRE(roles.size() == 3);
    CHECK(roles[0].userId == L"1");
    CHECK(roles[1].userId == L"77");
    CHECK(roles[2].userId == std::wstring(50, L'7'));
    const auto guilds = FindDuplicateGuilds(on, a.Name(), b.Name());
    REQUIRE(guilds.size() == 1);
    CHECK(guilds[0].nameB == std::wstring(255, L'会'));
    const auto plan = PlanGuildIdBatch(on, b.Name(), a.Name(), guilds);
    RepairAllDuplicates(on, b.Name(), {}, plan);
    CHECK(CountGuildIdRows(on, b.Name(), plan[0].newId, false) == 1);
}

TEST_CASE("an ID is analysed and planned only with one row in each database") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    RunSql(Connect(zones.A()), {L"INSERT INTO TBL_CHARACTER (n, FLD_USERID) VALUES (9, '3001')",
                                L"INSERT INTO TBL_GUILD_INFO (n, sGuildID) VALUES (9, N'{D}')"});
    RunSql(Connect(zones.B()), {L"INSERT INTO TBL_GUILD_INFO (n, sGuildID) VALUES (8, N'{D}'), (9, N'{D}')"});
    const auto planRole = [&](const std::wstring& target, const std::wstring& other, const std::wstring& id) {
        std::vector<DuplicateRole> role(1);
        role[0].userId = id;
        return ErrorOf([&] { PlanRoleIdBatch(on, target, other, role); });
    };
    // In both directions: two rows beside one, one beside none.
    for (const bool forth : {true, false}) {
        const std::wstring &target = forth ? zones.A() : zones.B(), &other = forth ? zones.B() : zones.A();
        for (const std::wstring id : {L"3001", L"12"}) {
            CAPTURE(id);
            CAPTURE(target);
            CHECK(ErrorOf([&] { AnalyzeRoleId(on, target, other, id); }) ==
                  L"这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录");
            CHECK(planRole(target, other, id) == L"重复 ID 在两个库中不再各有且只有一条主表记录：" + id);
        }
        for (const std::wstring id : {L"{D}", L"{ONLY-B}"}) {
            CAPTURE(target);
            CHECK(ErrorOf([&] {
                      PlanGuildIdBatch(on, target, other, {DuplicateGuild{id, {}, {}}});
                  }) == L"重复行会 ID 在两个库中不再各有且只有一条主表记录：" + id);
        }
    }
    CHECK(planRole(zones.A(), zones.B(), L"12x") == L"旧角色唯一 ID必须是纯数字唯一 ID");
}

// What the trace tells of a repair, statement by statement.
struct Expected {
    const std::wstring& database;
    std::wstring updates = {}, hits = {}, verifications = {};

    void Add(IdKind kind, const std::wstring& id, const std::wstring& newId,
             const std::vector<RelatedField>& fields) {
        const auto asks = [](const std::wstring& sql) { return L"execute " + sql + L"\n"; };
        updates += asks(CountIdRowsSql(kind, database, id, true)) + L"hints UPDLOCK,HOLDLOCK\n";
        verifications += asks(CountIdRowsSql(kind, database, id, false)) +
                         asks(CountIdRowsSql(kind, database, newId, false));
        hits.clear();
        for (const RelatedField& field : fields) {
            updates += asks(ReplaceIdSql(NameOf(database, field), id, newId));
            hits += asks(CountHitsSql(NameOf(database, field), id));
        }
        verifications += hits;
    }
};

TEST_CASE("a plan asks each question once and tells how far it is") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    const auto duplicates = FindDuplicateRoles(on, zones.A(), zones.B()).ToVector();
    const auto duplicateGuilds = FindDuplicateGuilds(on, zones.A(), zones.B());
    std::vector<size_t> ends;
    const ProgressObserver observer = [&](size_t done, size_t total) {
        if (done == total) ends.push_back(total);
    };
    const Trace planning;
    PlanRoleIdBatch(on, zones.B(), zones.A(), duplicates, observer);
    const auto guilds = PlanGuildIdBatch(on, zones.B(), zones.A(), duplicateGuilds, observer);
    CHECK(planning.Events().size() == kPlanStatements);
    CHECK(ends == std::vector{kDuplicateRoles, kDuplicateGuilds});
    const std::wstring isFree = L"[TBL_GUILD_INFO] WHERE sGuildID = N'" + guilds.back().newId;
    CHECK(planning.Told().find(isFree) != std::wstring::npos);
}

TEST_CASE("repairs ask the server in their order and lock each row before its updates") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    const std::wstring& b = zones.B();
    const BatchPlan plan = zones.Plan();
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    std::vector<size_t> ends;
    const ProgressObserver observer = [&](size_t done, size_t total) {
        if (done == total) ends.push_back(total);
    };
    const auto& fields = plan.roles[1].fields;
    Expected one{b}, batch{b};
    one.Add(IdKind::Role, L"1001", L"100299", fields);
    CHECK(FirstLineThatDiffers(ToldBy([&] { RepairRoleId(on, b, L"1001", L"100299", fields, observer); }),
                               L"manual master\n" + one.updates + one.hits + L"commit \nauto \n") == L"");
    RepairRoleId(on, b, L"100299", L"1001", fields);  // so that the plan still fits
    for (const auto& [role, newId, related] : plan.roles)
        batch.Add(IdKind::Role, role.userId, newId, related);
    for (const auto& [guild, newId, related] : plan.guilds)
        batch.Add(IdKind::Guild, guild.guildId, newId, related);
    CHECK(FirstLineThatDiffers(
              ToldBy([&] { RepairAllDuplicates(on, b, plan.roles, plan.guilds, observer); }),
              L"manual master\n" + batch.updates + batch.verifications + L"commit \nauto \n") == L"");
    CHECK(ends ==
          std::vector{RoleStatements(kRole1001.columns), BatchStatements(kDuplicates, kEverything.columns)});
}

TEST_CASE("nothing to do and what is malformed ask the server nothing") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const TestDatabase database(L"b");
    const std::wstring& b = database.Name();
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    const std::vector<RoleRepairPlan> one(1);
    const std::wstring badName = L"数据库标识符包含不允许的字符", old = L"旧角色唯一 ID必须是纯数字唯一 ID",
                       fresh = L"新角色唯一 ID必须是纯数字唯一 ID", nothing = L"(nothing)";
    const Trace trace;
    CHECK(ErrorOf([&] { RepairAllDuplicates(on, b, {}, {}); }) == nothing);
    CHECK(ErrorOf([&] { PlanRoleIdBatch(on, L"x", L"y", {}); }) == nothing);
    CHECK(ErrorOf([&] { PlanGuildIdBatch(on, L"x", L"y", {}); }) == nothing);
    CHECK(ErrorOf([&] { RepairAllDuplicates(on, L"B]; DROP", one, {}); }) == badName);
    CHECK(ErrorOf([&] { RepairRoleId(on, L"B]; DROP", L"1", L"2", {}); }) == badName);
    CHECK(ErrorOf([&] { RepairRoleId(on, b, L"1 ", L"x", {}); }) == old);
    CHECK(ErrorOf([&] { RepairRoleId(on, b, L"1", L"2 ", {}); }) == fresh);
    CHECK(trace.Told() == L"");
}

TEST_CASE("a batch repair of either kind or both replaces every duplicate and nothing else") {
    for (const auto& [name, withRoles, withGuilds, cells] : {std::tuple("both", true, true, kEverything.rows),
                                                             {"characters", true, false, kAllRoles.rows},
                                                             {"guilds", false, true, kAllGuilds.rows}}) {
        CAPTURE(name);
        const MergeFixture zones;
        const AllContents before = zones.Contents();
        const OdbcSession other = Connect(zones.B());
        RunSql(other, {L"SET LOCK_TIMEOUT 20"});
        BatchPlan plan = zones.Plan();
        if (!withRoles) plan.roles.clear();
        if (!withGuilds) plan.guilds.clear();
        int calls = 0;  // an observer that throws is not called again, and the repair goes on
        const auto observer = [&](size_t, size_t) {
            // The first row is counted, but not yet updated: others have to wait for it.
            const wchar_t both[] = L"UPDATE TBL_CHARACTER SET n = n; UPDATE TBL_GUILD_INFO SET n = n";
            CHECK(ErrorOf([&] { RunSql(other, {both}); }).substr(0, 7) == L"HYT00: ");
            throw ++calls;
        };
        RepairAllDuplicates(Connect(zones.B()).Connection(), zones.B(), plan.roles, plan.guilds, observer);
        CHECK(calls == 1);
        const AllContents after = zones.Contents();
        CHECK(after.a == before.a);
        CHECK(after.third == before.third);
        std::map<std::wstring, std::wstring> newIds;
        for (const auto& [role, newId, fields] : plan.roles) newIds[role.userId] = newId;
        for (const auto& [guild, newId, fields] : plan.guilds) newIds[ToLower(guild.guildId)] = newId;
        const Content changed = Difference(before.b, after.b);
        CHECK(changed.size() == cells);
        for (const auto& [cell, value] : changed) {
            CAPTURE(cell);
            REQUIRE(before.b.count(cell) == 1);
            CHECK(newIds[ToLower(Trim(before.b.at(cell)))] == Trim(value));
        }
    }
}

TEST_CASE("a repair of rows that have changed since is refused and leaves everything as it was") {
    const std::wstring noRole = L"事务内复核失败，角色旧 ID 记录数不是 1：1001",
                       noGuild = L"事务内复核失败，行会旧 ID 记录数不是 1：{BBBB}";
    for (const auto& [change, error] :
         {std::pair(L"UPDATE TBL_CHARACTER SET FLD_USERID = '5' WHERE n = 1", noRole),
          {L"INSERT INTO TBL_CHARACTER (n, FLD_USERID) VALUES (10, '1001')", noRole},
          {L"DELETE FROM TBL_GUILD_INFO WHERE n = 2", noGuild},
          {L"INSERT INTO TBL_GUILD_INFO (n, sGuildID) VALUES (10, N'{bbbb}')", noGuild},
          {L"DELETE FROM TBL_FRIEND WHERE n = 2", L"ODBC 未返回详细错误"}}) {
        CAPTURE(change);
        const MergeFixture zones;
        const BatchPlan plan = zones.Plan();
        const OdbcSession session = Connect(zones.B());
        const SQLHDBC on = session.Connection();
        RunSql(Connect(zones.B()), {change});
        const AllContents before = zones.Contents();
        CHECK(ErrorOf([&] { RepairAllDuplicates(on, zones.B(), plan.roles, plan.guilds); }) == error);
        if (error != noGuild)
            CHECK(ErrorOf([&] { RepairRoleId(on, zones.B(), L"1001", L"2", plan.roles[1].fields); }) ==
                  (error == noRole ? L"事务内复核失败：目标库旧 ID 不再是唯一一条记录" : error));
        CHECK(zones.ChangeSince(before) == L"");
    }
}

TEST_CASE("a repair that would not end as planned leaves everything as it was") {
    const MergeFixture zones;
    const AllContents before = zones.Contents();
    const OdbcSession session = Connect(zones.B());
    const SQLHDBC on = session.Connection();
    const BatchPlan good = zones.Plan();
    CHECK(ErrorOf([&] { RepairRoleId(on, zones.B(), L"1001", L"1001", good.roles[1].fields); }) ==
          L"事务内校验失败：仍有旧 ID 关联数据");
    struct Row {
        const char* name;
        bool isGuild, withMainTable;
        const wchar_t *newId, *error;
    };
    for (const Row& row :
         {Row{"an ID that exists", false, true, L"100235", L"事务内校验失败，角色旧/新 ID 状态异常：0012"},
          {"a character's row is left out", false, false, L"7",
           L"事务内校验失败，角色旧/新 ID 状态异常：1001"},
          {"a guild's row is left out", true, false, L"{7}",
           L"事务内校验失败，行会旧/新 ID 状态异常：{BBBB}"},
          // The later plan brings the earlier one's old ID back, into a column that both have.
          {"a character's old ID comes back", false, false, L"0012",
           L"事务内校验失败，仍有角色旧 ID 关联数据：0012"},
          {"a guild's old ID comes back", true, false, L"{A'1}",
           L"事务内校验失败，仍有行会旧 ID 关联数据：{A'1}"}}) {
        CAPTURE(row.name);
        BatchPlan plan = good;
        std::vector<RelatedField>& fields = row.isGuild ? plan.guilds[1].fields : plan.roles[1].fields;
        (row.isGuild ? plan.guilds[1].newId : plan.roles[1].newId) = row.newId;
        if (!row.withMainTable)
            std::erase_if(fields, [](const RelatedField& field) {
                return field.column == L"FLD_USERID" || field.column == L"sGuildID";
            });
        CHECK(ErrorOf([&] { RepairAllDuplicates(on, zones.B(), plan.roles, plan.guilds); }) == row.error);
        CHECK(zones.ChangeSince(before) == L"");
    }
}
