#include <functional>

#include "account_query/account_source.h"
#include "id_repair/batch_repair.h"
#include "id_repair/role_repair.h"
#include "support/merge_fixture.h"
#include "support/wide_text.h"

namespace {

// A repair, the point at which it fails and how often it comes there.
struct FailingRepair {
    const char* name;
    bool isBatch;
    size_t statements, fetches;
    const wchar_t *noTransaction, *noCommit;
};
constexpr FailingRepair kRepairs[] = {
    {"one", false, RoleStatements(kRole1001.columns), RoleFetches(kRole1001.columns), L"无法开启 SQL 事务",
     L"SQL 事务提交失败"},
    {"batch", true, BatchStatements(kDuplicates, kEverything.columns),
     BatchFetches(kDuplicates, kEverything.columns), L"无法开启统一修复 SQL 事务",
     L"统一角色/行会修复事务提交失败"}};

// Lets a repair fail at one of these points after the other until it meets none. It is carried out then.
void FailEverywhere(const FailingRepair& repair, const std::string& fault, size_t points,
                    const std::wstring& message) {
    const MergeFixture zones;
    const AllContents before = zones.Contents();
    const BatchPlan plan = zones.Plan();
    for (size_t position = 1; position <= points + 1; ++position) {
        const std::string point = fault + "\t" + std::to_string(position);
        CAPTURE(repair.name);
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

}  // namespace

TEST_CASE("a repair that fails anywhere leaves everything as it was") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    for (const FailingRepair& repair : kRepairs) {
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
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    const auto &a = zones.A(), &b = zones.B();
    struct Loop {
        const char* name;
        std::function<void(SQLHDBC)> run;
    };
    const Loop loops[] = {
        {"accounts", [](SQLHDBC on) { ScanAccountCandidates(on); }},
        {"databases", [](SQLHDBC on) { ListDatabases(on); }},
        {"duplicate roles", [&](SQLHDBC on) { FindDuplicateRoles(on, a, b); }},
        {"duplicate guilds", [&](SQLHDBC on) { FindDuplicateGuilds(on, a, b); }},
        {"columns", [&](SQLHDBC on) { FindGuildIdColumns(on, b); }},
        {"hits", [&](SQLHDBC on) { CountRoleIdHits(on, b, L"1001"); }},
        {"largest ID", [&](SQLHDBC on) { NextRoleIdAfterMax(on, std::vector(2, a)); }},
    };
    for (const Loop& loop : loops) {
        for (const std::string fault : {"die\tfetch\t1\t08S01", "die\tfetch\t2\t08S01", "fetch\t1+\t24000",
                                        "fetch\t2+\tHY010", "fetch\t2\tHY000"}) {
            // One row alone may be missing among candidates for accounts.
            if (fault.ends_with("HY000") && &loop == &loops[0]) continue;
            CAPTURE(loop.name);
            CAPTURE(fault);
            const OdbcSession session = Connect(b);
            const Faults faults(fault + "\t1\t断开\n");
            const std::wstring state(fault.end() - 5, fault.end());
            CHECK(ErrorOf([&] { loop.run(session.Connection()); }) == state + L": 断开");
            CHECK(LiveHandles() == 2);  // the session's own
        }
    }
}
