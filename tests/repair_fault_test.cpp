#include <chrono>
#include <functional>
#include <future>

#include "db/odbc_transaction.h"
#include "id_repair/batch_repair.h"
#include "id_repair/role_repair.h"
#include "tests/support/merge_fixture.h"
#include "tests/support/wide_text.h"

using Repair = std::function<void(SQLHDBC)>;

static bool CommitsAutomatically(SQLHDBC connection) {
    SQLUINTEGER mode = SQL_AUTOCOMMIT_OFF;
    SQLGetConnectAttrW(connection, SQL_ATTR_AUTOCOMMIT, &mode, SQL_IS_UINTEGER, nullptr);
    return mode == SQL_AUTOCOMMIT_ON;
}

// Lets the repair fail at one point after the other until it meets none. At each it must leave everything as
// it was. Gives the number of points.
static int FailAtEveryPoint(const MergeFixture& zones, const AllContents& before, const std::string& fault,
                            const std::wstring& message, const Repair& repair) {
    for (int position = 1;; ++position) {
        CAPTURE(position);
        std::wstring error;
        {
            const OdbcSession session = Connect(zones.B());
            const Faults faults(fault + "\t" + std::to_string(position) + "\t08S01\t1\t注入\n");
            error = ErrorOf([&] { repair(session.Connection()); });
            if (error == L"(nothing)") return position - 1;
            if (!fault.starts_with("die")) REQUIRE(CommitsAutomatically(session.Connection()));
        }
        REQUIRE(error == message);
        REQUIRE(zones.Contents() == before);
        REQUIRE(LiveHandles() == 0);
    }
}

// Walks one kind of repair through all its faults; it is carried out at the end of every walk, so each gets a
// fixture of its own.
static void WalkFaults(const TransactionTexts& texts, int statements,
                       const std::function<Repair(const MergeFixture&)>& plan) {
    const std::wstring injected = L"08S01: 注入";
    const auto cannotBegin = Utf8ToWide(texts.cannotBegin), cannotCommit = Utf8ToWide(texts.cannotCommit);
    struct Row {
        std::string fault;
        std::wstring message;
        int points;
    };
    for (const Row& row :
         {Row{"statement", L"ODBC 语句句柄初始化失败", statements}, Row{"execute", injected, statements},
          Row{"die\texecute", injected, statements}, Row{"manual", cannotBegin, 1},
          Row{"commit", cannotCommit, 1}, Row{"die\tcommit", cannotCommit, 1}}) {
        CAPTURE(row.fault);
        const MergeFixture zones;
        const Repair repair = plan(zones);
        CHECK(FailAtEveryPoint(zones, zones.Contents(), row.fault, row.message, repair) == row.points);
    }
}

TEST_CASE("a single repair that fails anywhere leaves everything as it was") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    // one locked re-check, 12 updates, 12 verifications
    WalkFaults({}, 25, [](const MergeFixture& zones) -> Repair {
        return [&zones, fields = zones.FieldsOf(L"1001")](SQLHDBC connection) {
            RepairRoleId(connection, zones.B(), L"1001", L"100235", fields);
        };
    });
}

TEST_CASE("a batch repair that fails anywhere leaves everything as it was") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    // 3 characters with 3, 12 and 5 fields and 2 guilds with 2 each: for every ID a re-check and two
    // main-table counts, for every field an update and a verification.
    const TransactionTexts texts = {"无法开启统一修复 SQL 事务", "统一角色/行会修复事务提交失败"};
    WalkFaults(texts, 63, [](const MergeFixture& zones) -> Repair {
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
    RunSql(other, {L"SET LOCK_TIMEOUT -1"});
    CHECK(repair.wait_for(std::chrono::seconds(0)) != std::future_status::ready);
    CHECK(set(L"FLD_USERID = '5'") == L"(nothing)");  // waits, and then finds no such row
    CHECK(repair.get() == L"(nothing)");
    CHECK(QueryText(other, L"SELECT FLD_USERID FROM TBL_CHARACTER WHERE n = 1") == L"100235");
}
