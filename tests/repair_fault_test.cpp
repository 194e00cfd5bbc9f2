#include <functional>

#include "account_query/account_source.h"
#include "id_repair/batch_repair.h"
#include "id_repair/role_repair.h"
#include "support/merge_fixture.h"
#include "support/wide_text.h"

// Either repair, how often it asks and fetches, and what it says when it can neither begin nor end.
struct Repair {
    bool isBatch;
    size_t statements, fetches;
    std::wstring noTransaction, noCommit;
};

// Lets a repair fail at one of these points after the other until it meets none. It is carried out then.
static void FailEverywhere(const Repair& repair, const std::string& fault, size_t points,
                           const std::wstring& message) {
    const MergeFixture zones;
    const Content before = zones.Contents();
    const BatchPlan plan = zones.Plan();
    for (size_t position = 1; position <= points + 1; ++position) {
        const std::string point = fault + "\t" + std::to_string(position);
        CAPTURE(repair.isBatch);
        CAPTURE(point);
        const bool fails = position <= points;
        {
            const OdbcSession session = Connect(zones.B());
            const SQLHDBC on = session.Connection();
            const Faults faults(point + "\t08S01\t1\t注入\n");
            const std::wstring error = ErrorOf([&] {
                if (repair.isBatch) return RepairAllDuplicates(on, zones.B(), plan.roles, plan.guilds);
                RepairRoleId(on, zones.B(), L"1001", L"100235", plan.roles[1].fields);
            });
            CHECK(error == (fails ? message : L"(nothing)"));
            if (!fault.starts_with("die")) CHECK(CommitMode(on) == "automatic");
        }
        CHECK(Alive() == L"");
        const std::wstring change = zones.ChangeSince(before);
        if (fails) REQUIRE(change == L"");
        if (!fails) CHECK(change != L"");
    }
}

TEST_CASE("a repair that fails anywhere leaves everything as it was") {
    for (const Repair& repair :
         {Repair{false, RoleStatements(kRole1001.columns), RoleFetches(kRole1001.columns),
                 L"无法开启 SQL 事务", L"SQL 事务提交失败"},
          {true, BatchStatements(kDuplicates, kEverything.columns),
           BatchFetches(kDuplicates, kEverything.columns), L"无法开启统一修复 SQL 事务",
           L"统一角色/行会修复事务提交失败"}}) {
        FailEverywhere(repair, "statement", repair.statements, L"ODBC 语句句柄初始化失败");
        for (const std::string die : {"", "die\t"}) {
            FailEverywhere(repair, die + "execute", repair.statements, L"08S01: 注入");
            FailEverywhere(repair, die + "fetch", repair.fetches, L"08S01: 注入");
            FailEverywhere(repair, die + "manual", 1, repair.noTransaction);
            FailEverywhere(repair, die + "commit", 1, repair.noCommit);
        }
    }
}

TEST_CASE("every loop over rows ends with the words of a connection that died or a cursor that went") {
    const MergeFixture zones;
    const auto &a = zones.A(), &b = zones.B();
    using Loop = std::pair<const char*, std::function<void(SQLHDBC)>>;
    for (const auto& [name, run] :
         Table<Loop>{{"accounts", [](SQLHDBC on) { ScanAccountCandidates(on); }},
                     {"databases", [](SQLHDBC on) { ListDatabases(on); }},
                     {"duplicate roles", [&](SQLHDBC on) { FindDuplicateRoles(on, a, b); }},
                     {"duplicate guilds", [&](SQLHDBC on) { FindDuplicateGuilds(on, a, b); }},
                     {"columns", [&](SQLHDBC on) { FindGuildIdColumns(on, b); }},
                     {"hits", [&](SQLHDBC on) { CountRoleIdHits(on, b, L"1001"); }},
                     {"largest ID", [&](SQLHDBC on) { NextRoleIdAfterMax(on, std::vector(2, a)); }}})
        for (const auto& [fault, state] : Table({std::pair("die\tfetch\t1"s, "08S01"s),
                                                 {"die\tfetch\t2", "08S01"},
                                                 {"fetch\t1+", "24000"},
                                                 {"fetch\t2+", "HY010"},
                                                 {"fetch\t2", "HY000"}})) {
            // One row alone may be missing among candidates for accounts.
            if (name == "accounts"s && state == "HY000") continue;
            const OdbcSession session = Connect(b);
            const Faults faults(fault + "\t" + state + "\t1\t断开\n");
            CHECK(ErrorOf(run, session.Connection()) == Utf8ToWide(state) + L": 断开");
            CHECK(Alive() == kOneSession);
        }
}
