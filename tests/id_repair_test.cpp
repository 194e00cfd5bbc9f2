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

TEST_CASE("each online user database must have the character table and those offline are left out") {
    const MergeFixture zones;
    const TestDatabase other(L"other", {L"CREATE TABLE t (n int)"});
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    CHECK(ErrorOf([&] { AnalyzeRoleId(on, zones.B(), zones.A(), L"1001"); }).substr(0, 7) == L"42S02: ");
    RunSql(session, {L"ALTER DATABASE [" + other.Name() + L"] SET OFFLINE WITH ROLLBACK IMMEDIATE"});
    CHECK(AnalyzeRoleId(on, zones.B(), zones.A(), L"1001").suggestedId == L"100235");
    const std::vector<std::wstring> databases = ListDatabases(on);
    for (const std::wstring& name : Table{other.Name(), L"master"s})
        CHECK(std::count(databases.begin(), databases.end(), name) == 0);
}

TEST_CASE("new IDs continue after the largest numeric ID and guilds get GUIDs") {
    const MergeFixture zones;
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    CHECK(NextRoleIdAfterMax(on, {}) == L"1");
    CHECK(NextRoleIdAfterMax(on, {zones.A(), zones.Third()}) == L"100235");
    CHECK(NextRoleIdAfterMax(on, {zones.Third(), zones.B()}) == L"100235");  // 12x and -5 do not count
    const auto [roles, guilds] = zones.Plan();
    for (size_t i = 0; i < roles.size(); ++i) CHECK(roles[i].newId == std::to_wstring(100235 + i));
    const std::wregex guid(LR"(\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\})");
    for (const std::wstring& newId : Table{guilds[0].newId, guilds[1].newId})
        CHECK(std::regex_match(newId, guid));
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
    std::vector<std::wstring> ids;
    for (const DuplicateRole& role : FindDuplicateRoles(on, a.Name(), b.Name()).ToVector())
        ids.push_back(role.userId);
    CHECK(ids == std::vector{L"1"s, L"77"s, std::wstring(50, L'7')});
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
        DuplicateRole role;
        role.userId = id;
        PlanRoleIdBatch(on, target, other, {role});
    };
    const auto planGuild = [&](const std::wstring& target, const std::wstring& other,
                               const std::wstring& id) {
        PlanGuildIdBatch(on, target, other, {DuplicateGuild{id, {}, {}}});
    };
    // In both directions: two rows beside one, one beside none.
    for (const auto& [target, other] : Table({std::pair(zones.A(), zones.B()), {zones.B(), zones.A()}})) {
        for (const std::wstring& id : Table{L"3001"s, L"12"s}) {
            CHECK(ErrorOf(AnalyzeRoleId, on, target, other, id) ==
                  L"这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录");
            CHECK(ErrorOf(planRole, target, other, id) ==
                  L"重复 ID 在两个库中不再各有且只有一条主表记录：" + id);
        }
        for (const std::wstring& id : Table{L"{D}"s, L"{ONLY-B}"s})
            CHECK(ErrorOf(planGuild, target, other, id) ==
                  L"重复行会 ID 在两个库中不再各有且只有一条主表记录：" + id);
    }
    CHECK(ErrorOf(planRole, zones.A(), zones.B(), L"12x"s) == L"旧角色唯一 ID必须是纯数字唯一 ID");
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

TEST_CASE("repairs ask the server in their order and lock each row before its updates") {
    const MergeFixture zones;
    const std::wstring& b = zones.B();
    const BatchPlan plan = zones.Plan();
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    const auto& fields = plan.roles[1].fields;
    Expected one{b}, batch{b};
    one.Add(IdKind::Role, L"1001", L"100299", fields);
    CHECK(FirstLineThatDiffers(ToldBy([&] { RepairRoleId(on, b, L"1001", L"100299", fields); }),
                               L"manual master\n" + one.updates + one.hits + L"commit \nauto \n") == L"");
    RepairRoleId(on, b, L"100299", L"1001", fields);  // so that the plan still fits
    for (const auto& [role, newId, related] : plan.roles)
        batch.Add(IdKind::Role, role.userId, newId, related);
    for (const auto& [guild, newId, related] : plan.guilds)
        batch.Add(IdKind::Guild, guild.guildId, newId, related);
    CHECK(FirstLineThatDiffers(
              ToldBy([&] { RepairAllDuplicates(on, b, plan.roles, plan.guilds); }),
              L"manual master\n" + batch.updates + batch.verifications + L"commit \nauto \n") == L"");
}

TEST_CASE("nothing to do and what is malformed ask the server nothing") {
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    const std::wstring nothing = L"(nothing)", badName = L"数据库标识符包含不允许的字符";
    const Trace trace;
    using Row = std::tuple<const char*, std::wstring, std::function<void()>>;
    for (const auto& [name, error, act] :
         Table<Row>{{"no duplicates", nothing, [&] { RepairAllDuplicates(on, L"b", {}, {}); }},
                    {"no roles to plan", nothing, [&] { PlanRoleIdBatch(on, L"x", L"y", {}); }},
                    {"no guilds to plan", nothing, [&] { PlanGuildIdBatch(on, L"x", L"y", {}); }},
                    {"a batch's database", badName,
                     [&] { RepairAllDuplicates(on, L"B]; DROP", std::vector<RoleRepairPlan>(1), {}); }},
                    {"a database", badName, [&] { RepairRoleId(on, L"B]; DROP", L"1", L"2", {}); }},
                    {"an old ID", L"旧角色唯一 ID必须是纯数字唯一 ID",
                     [&] { RepairRoleId(on, L"b", L"1 ", L"x", {}); }},
                    {"a new ID", L"新角色唯一 ID必须是纯数字唯一 ID",
                     [&] { RepairRoleId(on, L"b", L"1", L"2 ", {}); }}})
        CHECK(ErrorOf(act) == error);
    CHECK(trace.Told() == L"");
}

TEST_CASE("a batch repair of either kind or both replaces every duplicate and nothing else") {
    for (const auto& [name, withRoles, withGuilds, cells] :
         Table({std::tuple("both", true, true, kEverything.rows),
                {"characters", true, false, kAllRoles.rows},
                {"guilds", false, true, kAllGuilds.rows}})) {
        const MergeFixture zones;
        const Content before = zones.Contents();
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
        std::map<std::wstring, std::wstring> newIds;
        for (const auto& [role, newId, fields] : plan.roles) newIds[role.userId] = newId;
        for (const auto& [guild, newId, fields] : plan.guilds) newIds[ToLower(guild.guildId)] = newId;
        const Content changed = Difference(before, zones.Contents());
        CHECK(changed.size() == cells);
        for (const auto& [cell, value] : changed) {
            CHECK(cell.substr(0, zones.B().size()) == zones.B());
            REQUIRE(before.contains(cell));
            CHECK(newIds[ToLower(Trim(before.at(cell)))] == Trim(value));
        }
    }
}

TEST_CASE("a repair of rows that have changed since is refused and leaves everything as it was") {
    const std::wstring noRole = L"事务内复核失败，角色旧 ID 记录数不是 1：1001",
                       noGuild = L"事务内复核失败，行会旧 ID 记录数不是 1：{BBBB}",
                       none = L"事务内复核失败：目标库旧 ID 不再是唯一一条记录",
                       noRow = L"ODBC 未返回详细错误";
    for (const auto& [change, error, ofOne] :
         Table({std::tuple(L"UPDATE TBL_CHARACTER SET FLD_USERID = '5' WHERE n = 1", noRole, none),
                {L"INSERT INTO TBL_CHARACTER (n, FLD_USERID) VALUES (10, '1001')", noRole, none},
                {L"DELETE FROM TBL_GUILD_INFO WHERE n = 2", noGuild, L""},
                {L"INSERT INTO TBL_GUILD_INFO (n, sGuildID) VALUES (10, N'{bbbb}')", noGuild, L""},
                {L"DELETE FROM TBL_FRIEND WHERE n = 2", noRow, noRow}})) {
        const MergeFixture zones;
        const BatchPlan plan = zones.Plan();
        const OdbcSession session = Connect(zones.B());
        const SQLHDBC on = session.Connection();
        RunSql(Connect(zones.B()), {change});
        const Content before = zones.Contents();
        CHECK(ErrorOf([&] { RepairAllDuplicates(on, zones.B(), plan.roles, plan.guilds); }) == error);
        if (ofOne != L"")
            CHECK(ErrorOf([&] { RepairRoleId(on, zones.B(), L"1001", L"2", plan.roles[1].fields); }) ==
                  ofOne);
        CHECK(zones.ChangeSince(before) == L"");
    }
}

TEST_CASE("a repair that would not end as planned leaves everything as it was") {
    const MergeFixture zones;
    const Content before = zones.Contents();
    const OdbcSession session = Connect(zones.B());
    const SQLHDBC on = session.Connection();
    const BatchPlan good = zones.Plan();
    CHECK(ErrorOf([&] { RepairRoleId(on, zones.B(), L"1001", L"1001", good.roles[1].fields); }) ==
          L"事务内校验失败：仍有旧 ID 关联数据");
    for (const auto& [name, isGuild, withMainTable, newId, error] :
         Table({std::tuple("an ID that exists", false, true, L"100235",
                           L"事务内校验失败，角色旧/新 ID 状态异常：0012"),
                {"a character's row is left out", false, false, L"7",
                 L"事务内校验失败，角色旧/新 ID 状态异常：1001"},
                {"a guild's row is left out", true, false, L"{7}",
                 L"事务内校验失败，行会旧/新 ID 状态异常：{BBBB}"},
                // The later plan brings the earlier one's old ID back, into a column that both have.
                {"a character's old ID comes back", false, false, L"0012",
                 L"事务内校验失败，仍有角色旧 ID 关联数据：0012"},
                {"a guild's old ID comes back", true, false, L"{A'1}",
                 L"事务内校验失败，仍有行会旧 ID 关联数据：{A'1}"}})) {
        BatchPlan plan = good;
        std::vector<RelatedField>& fields = isGuild ? plan.guilds[1].fields : plan.roles[1].fields;
        (isGuild ? plan.guilds[1].newId : plan.roles[1].newId) = newId;
        if (!withMainTable)
            std::erase_if(fields, [](const RelatedField& field) {
                return field.column == L"FLD_USERID" || field.column == L"sGuildID";
            });
        CHECK(ErrorOf([&] { RepairAllDuplicates(on, zones.B(), plan.roles, plan.guilds); }) == error);
        REQUIRE(zones.ChangeSince(before) == L"");  // what the next row begins with
    }
}
