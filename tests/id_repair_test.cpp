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

TEST_CASE("duplicates are found by ascending ID and new IDs continue after the largest numeric ID") {
    const MergeFixture zones;
    const TestDatabase other(L"other", {L"CREATE TABLE t (n int)"});
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    std::wstring found;
    const std::vector<DuplicateRole> duplicates = FindDuplicateRoles(on, zones.A(), zones.B()).ToVector();
    for (const auto& [id, nameA, accountA, serverA, nameB, accountB, serverB] : duplicates)
        found +=
            id + L" " + nameA + L" " + accountA + serverA + L" " + nameB + L" " + accountB + serverB + L" ";
    for (const auto& [id, nameA, nameB] : FindDuplicateGuilds(on, zones.A(), zones.B()))
        found += id + nameA + nameB + L" ";
    CHECK(found ==
          L"0012 赵六 zhao1 赵六 zhao2 1001 张三 zhang1 李四 li2 1002 王五 wang1  wang2 "
          L"{A'1}玄武会朱雀会 {BBBB}青龙会白虎会 ");  // {bbbb} in B: what the collation takes for equal

    // Each online user database must have the character table.
    CHECK(ErrorOf([&] { AnalyzeRoleId(on, zones.B(), zones.A(), L"1001"); }).starts_with(L"42S02: "));
    RunSql(session, {L"ALTER DATABASE [" + other.Name() + L"] SET OFFLINE WITH ROLLBACK IMMEDIATE"});
    CHECK(AnalyzeRoleId(on, zones.B(), zones.A(), L"1001").suggestedId == L"100235");
    CHECK(ErrorOf([&] { AnalyzeRoleId(on, zones.B(), zones.A(), L""); }) ==
          L"角色唯一 ID必须是纯数字唯一 ID");
    for (const std::wstring& name : ListDatabases(on)) CHECK((name != other.Name() && name != L"master"));

    const auto check = [&](const wchar_t* id) {
        return ErrorOf([&] { CheckNewRoleIdFree(on, {zones.A(), zones.B(), zones.Third()}, id); });
    };
    CHECK(check(L"100234") == L"新 ID 已存在于数据库：" + zones.Third());
    CHECK(check(L"3001") == L"新 ID 已存在于数据库：" + zones.B());  // twice
    CHECK(check(L"１") == L"新角色唯一 ID必须是纯数字唯一 ID");
    CHECK(NextRoleIdAfterMax(on, {}) == L"1");
    CHECK(NextRoleIdAfterMax(on, {zones.A(), zones.Third()}) == L"100235");
    CHECK(NextRoleIdAfterMax(on, {zones.Third(), zones.B()}) == L"100235");  // 12x and -5 do not count
    const auto [roles, guilds] = zones.Plan();
    REQUIRE(roles.size() + guilds.size() == 5);
    CHECK(roles[0].newId + roles[1].newId + roles[2].newId == L"100235100236100237");
    const std::wregex guid(LR"(\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\})");
    CHECK((std::regex_match(guilds[0].newId, guid) && guilds[0].newId != guilds[1].newId));
    RunSql(Connect(zones.Third()), {L"UPDATE TBL_CHARACTER SET FLD_USERID = '9223372036854775807'"});
    CHECK(zones.Plan().roles.at(2).newId == L"9223372036854775810");
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
    CHECK(roles[0].userId + L"," + roles[1].userId + L"," + roles[2].userId ==
          L"1,77," + std::wstring(50, L'7'));
    const auto guilds = FindDuplicateGuilds(on, a.Name(), b.Name());
    CHECK(guilds.at(0).nameB == std::wstring(255, L'会'));
    const auto plan = PlanGuildIdBatch(on, b.Name(), a.Name(), guilds);
    RepairAllDuplicates(on, b.Name(), {}, plan);
    CHECK(CountGuildIdRows(on, b.Name(), plan.at(0).newId, false) == 1);
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
            CHECK(ErrorOf([&] { AnalyzeRoleId(on, target, other, id); }) ==
                  L"这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录");
            CHECK(planRole(target, other, id) == L"重复 ID 在两个库中不再各有且只有一条主表记录：" + id);
        }
        for (const std::wstring id : {L"{D}", L"{ONLY-B}"})
            CHECK(ErrorOf([&] {
                      PlanGuildIdBatch(on, target, other, {DuplicateGuild{id, {}, {}}});
                  }) == L"重复行会 ID 在两个库中不再各有且只有一条主表记录：" + id);
    }
    CHECK(planRole(zones.A(), zones.B(), L"12x") == L"旧角色唯一 ID必须是纯数字唯一 ID");
}

TEST_CASE("repairs ask the server in their order and lock each row before its updates") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    const std::wstring &a = zones.A(), &b = zones.B();
    const OdbcSession session = Connect(L"master");
    const SQLHDBC on = session.Connection();
    std::wstring ends;
    const ProgressObserver observer = [&](size_t done, size_t total) {
        if (done == total) ends += std::to_wstring(total) + L" ";
    };
    const Trace planning;
    const auto roles = PlanRoleIdBatch(on, b, a, FindDuplicateRoles(on, a, b).ToVector(), observer);
    const auto guilds = PlanGuildIdBatch(on, b, a, FindDuplicateGuilds(on, a, b), observer);
    CHECK(planning.Events().size() == 77);  // no question is left out, none asked twice
    CHECK(planning.Told().find(L"[TBL_GUILD_INFO] WHERE sGuildID = N'" + guilds[1].newId) != a.npos);
    // What the trace tells of a repair.
    std::wstring updates, hits, verifications;
    const auto expect = [&](IdKind kind, const std::wstring& id, const auto& newId, const auto& fields) {
        const auto asks = [](const std::wstring& sql) { return L"execute " + sql + L"\n"; };
        updates += asks(CountIdRowsSql(kind, b, id, true)) + L"hints UPDLOCK,HOLDLOCK\n";
        verifications +=
            asks(CountIdRowsSql(kind, b, id, false)) + asks(CountIdRowsSql(kind, b, newId, false));
        hits.clear();
        for (const RelatedField& field : fields) {
            updates += asks(ReplaceIdSql(NameOf(b, field), id, newId));
            hits += asks(CountHitsSql(NameOf(b, field), id));
        }
        verifications += hits;
    };
    const auto& fields = roles[1].fields;
    expect(IdKind::Role, L"1001", std::wstring(L"100299"), fields);
    CHECK(ToldBy([&] { RepairRoleId(on, b, L"1001", L"100299", fields, observer); }) ==
          L"manual master\n" + updates + hits + L"commit \nauto \n");
    RepairRoleId(on, b, L"100299", L"1001", fields);  // so that the plan still fits
    updates.clear(), verifications.clear();
    for (const auto& [role, newId, related] : roles) expect(IdKind::Role, role.userId, newId, related);
    for (const auto& [guild, newId, related] : guilds) expect(IdKind::Guild, guild.guildId, newId, related);
    CHECK(ToldBy([&] { RepairAllDuplicates(on, b, roles, guilds, observer); }) ==
          L"manual master\n" + updates + verifications + L"commit \nauto \n");
    CHECK(ends == L"3 2 25 63 ");  // IDs planned, statements executed
    // Without anything to do nothing is asked, and what is malformed is refused before the transaction.
    CHECK(ToldBy([&] {
              RepairAllDuplicates(on, b, {}, {});
              PlanRoleIdBatch(on, L"x", L"y", {}), PlanGuildIdBatch(on, L"x", L"y", {});
              const std::wstring badName = L"数据库标识符包含不允许的字符";
              CHECK(ErrorOf([&] { RepairAllDuplicates(on, L"B]; DROP", roles, {}); }) == badName);
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
        const OdbcSession other = Connect(zones.B());
        RunSql(other, {L"SET LOCK_TIMEOUT 20"});
        BatchPlan plan = zones.Plan();
        if (!withRoles) plan.roles.clear();
        if (!withGuilds) plan.guilds.clear();
        int calls = 0;  // an observer that throws is not called again, and the repair goes on
        const auto observer = [&](size_t, size_t) {
            // The first row is counted, but not yet updated: others have to wait for it.
            const wchar_t both[] = L"UPDATE TBL_CHARACTER SET n = n; UPDATE TBL_GUILD_INFO SET n = n";
            CHECK(ErrorOf([&] { RunSql(other, {both}); }).starts_with(L"HYT00: "));
            throw ++calls;
        };
        RepairAllDuplicates(Connect(zones.B()).Connection(), zones.B(), plan.roles, plan.guilds, observer);
        CHECK(calls == 1);
        const AllContents after = zones.Contents();
        CHECK((after.a == before.a && after.third == before.third));
        std::map<std::wstring, std::wstring> newIds;
        for (const auto& [role, newId, fields] : plan.roles) newIds[role.userId] = newId;
        for (const auto& [guild, newId, fields] : plan.guilds) newIds[ToLower(guild.guildId)] = newId;
        const Content changed = Difference(before.b, after.b);
        CHECK(changed.size() == cells);
        for (const auto& [cell, value] : changed)
            CHECK(newIds[ToLower(Trim(before.b.at(cell)))] == Trim(value));
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
        CHECK(zones.Contents() == before);
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
    for (const auto& [isGuild, withMainTable, newId, error] :
         {std::tuple(false, true, L"100235", L"事务内校验失败，角色旧/新 ID 状态异常：0012"),  // already new
          {false, false, L"7", L"事务内校验失败，角色旧/新 ID 状态异常：1001"},
          {true, false, L"{7}", L"事务内校验失败，行会旧/新 ID 状态异常：{BBBB}"},
          // The later plan brings the earlier one's old ID back, into a column that both have.
          {false, false, L"0012", L"事务内校验失败，仍有角色旧 ID 关联数据：0012"},
          {true, false, L"{A'1}", L"事务内校验失败，仍有行会旧 ID 关联数据：{A'1}"}}) {
        BatchPlan plan = good;
        (isGuild ? plan.guilds[1].newId : plan.roles[1].newId) = newId;
        if (!withMainTable)
            std::erase_if(isGuild ? plan.guilds[1].fields : plan.roles[1].fields,
                          [](const RelatedField& field) {
                              return field.column == L"FLD_USERID" || field.column == L"sGuildID";
                          });
        CHECK(ErrorOf([&] { RepairAllDuplicates(on, zones.B(), plan.roles, plan.guilds); }) == error);
    }
    CHECK(zones.Contents() == before);
}
