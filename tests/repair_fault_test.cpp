#include <chrono>
#include <functional>
#include <future>

#include "id_repair/batch_repair.h"
#include "id_repair/role_repair.h"
#include "tests/support/merge_fixture.h"
#include "tests/support/wide_text.h"

using Repair = std::function<void(SQLHDBC)>;

// Lets one kind of repair fail, in each of several ways, at one point after the other until it meets none. At
// each it must leave everything as it was. It is carried out at the end, so each way gets a fixture of its
// own.
static void FailEverywhere(const std::wstring& cannotBegin, const std::wstring& cannotCommit, int statements,
                           const std::function<Repair(const MergeFixture&)>& plan) {
    struct Row {
        std::string fault;
        std::wstring message;
        int points;
    };
    for (const Row& row : {Row{"statement", L"ODBC 语句句柄初始化失败", statements},
                           Row{"execute", L"08S01: 注入", statements},
                           Row{"die\texecute", L"08S01: 注入", statements}, Row{"manual", cannotBegin, 1},
                           Row{"commit", cannotCommit, 1}, Row{"die\tcommit", cannotCommit, 1}}) {
        CAPTURE(row.fault);
        const MergeFixture zones;
        const AllContents before = zones.Contents();
        const Repair repair = plan(zones);
        for (int position = 1;; ++position) {
            std::wstring error;
            SQLUINTEGER mode = SQL_AUTOCOMMIT_OFF;
            {
                const OdbcSession session = Connect(zones.B());
                const Faults faults(row.fault + "\t" + std::to_string(position) + "\t08S01\t1\t注入\n");
                error = ErrorOf([&] { repair(session.Connection()); });
                SQLGetConnectAttrW(session.Connection(), SQL_ATTR_AUTOCOMMIT, &mode, SQL_IS_UINTEGER,
                                   nullptr);
            }
            REQUIRE((mode == SQL_AUTOCOMMIT_ON || row.fault.starts_with("die")));
            REQUIRE(LiveHandles() == 0);
            if (position > row.points) {
                REQUIRE(error == L"(nothing)");
                break;
            }
            REQUIRE(error == row.message);
            REQUIRE(zones.Contents() == before);
        }
    }
}

TEST_CASE("a single repair that fails anywhere leaves everything as it was") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    // one locked re-check, 12 updates, 12 verifications
    FailEverywhere(L"无法开启 SQL 事务", L"SQL 事务提交失败", 25, [](const MergeFixture& zones) -> Repair {
        return [&zones, fields = zones.FieldsOf(L"1001")](SQLHDBC connection) {
            RepairRoleId(connection, zones.B(), L"1001", L"100235", fields);
        };
    });
}

TEST_CASE("a batch repair that fails anywhere leaves everything as it was") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    // 3 characters with 3, 12 and 5 fields and 2 guilds with 2 each: for every ID a re-check and two
    // main-table counts, for every field an update and a verification.
    FailEverywhere(L"无法开启统一修复 SQL 事务", L"统一角色/行会修复事务提交失败", 63,
                   [](const MergeFixture& zones) -> Repair {
                       return [&zones, plan = zones.Plan()](SQLHDBC connection) {
                           RepairAllDuplicates(connection, zones.B(), plan.roles, plan.guilds);
                       };
                   });
}

TEST_CASE("the row that a repair has counted is locked for other connections until the repair ends") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    const std::vector<RelatedField> fields = zones.FieldsOf(L"1001");
    const OdbcSession repairing = Connect(zones.B()), other = Connect(zones.B());
    const auto set = [&](const std::wstring& change) {
        return ErrorOf(
            [&] { RunSql(other, {L"UPDATE TBL_CHARACTER SET " + change + L" WHERE FLD_USERID = '1001'"}); });
    };
    const Faults pause("slow\tfetch\t1\t700\n");  // behind the locked count, before the first update
    auto repair = std::async(std::launch::async, [&] {
        return ErrorOf([&] { RepairRoleId(repairing.Connection(), zones.B(), L"1001", L"100235", fields); });
    });
    RunSql(other, {L"SET LOCK_TIMEOUT 20"});
    std::wstring refused = L"(nothing)";
    while (refused == L"(nothing)" &&
           repair.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready)
        refused = set(L"FLD_ACCOUNT = FLD_ACCOUNT");
    CHECK(refused.starts_with(L"HYT00: "));
    RunSql(other, {L"SET LOCK_TIMEOUT 60000"});
    CHECK(repair.wait_for(std::chrono::seconds(0)) != std::future_status::ready);
    CHECK(set(L"FLD_USERID = '5'") == L"(nothing)");  // waits, and then finds no such row
    CHECK(repair.get() == L"(nothing)");
    CHECK(QueryText(other, L"SELECT FLD_USERID FROM TBL_CHARACTER WHERE n = 1") == L"100235");
}
