#include <doctest/doctest.h>

#include <functional>

#include "db/odbc_transaction.h"
#include "id_repair/batch_repair.h"
#include "id_repair/role_repair.h"
#include "tests/support/merge_fixture.h"
#include "tests/support/wide_text.h"

namespace {

constexpr HandleCounts kNone;

using Repair = std::function<void(SQLHDBC)>;

bool CommitsAutomatically(SQLHDBC connection) {
    SQLUINTEGER mode = SQL_AUTOCOMMIT_OFF;
    SQLGetConnectAttrW(connection, SQL_ATTR_AUTOCOMMIT, &mode, SQL_IS_UINTEGER, nullptr);
    return mode == SQL_AUTOCOMMIT_ON;
}

// Lets the repair fail at one point after the other until it meets none. At each it must leave everything as
// it was. Gives the number of points.
int FailAtEveryPoint(const MergeFixture& zones, const AllContents& before, const std::string& fault,
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
        REQUIRE(LiveHandles() == kNone);
    }
}

// Walks one kind of repair through all its faults; it is carried out at the end of every walk, so each gets a
// fixture of its own.
void WalkFaults(const TransactionTexts& texts, int statements,
                const std::function<Repair(const MergeFixture&)>& plan) {
    const std::wstring injected = L"08S01: 注入";
    struct Row {
        const char* fault;
        std::wstring message;
        int points;
    };
    for (const Row& row :
         {Row{"statement", L"ODBC 语句句柄初始化失败", statements}, Row{"execute", injected, statements},
          Row{"die\texecute", injected, statements}, Row{"manual", Utf8ToWide(texts.cannotBegin), 1},
          Row{"commit", Utf8ToWide(texts.cannotCommit), 1},
          Row{"die\tcommit", Utf8ToWide(texts.cannotCommit), 1}}) {
        CAPTURE(std::string(row.fault));
        const MergeFixture zones;
        const Repair repair = plan(zones);
        CHECK(FailAtEveryPoint(zones, zones.Contents(), row.fault, row.message, repair) == row.points);
        MESSAGE(std::string(row.fault), ": ", row.points, " points");
    }
}

}  // namespace

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
    WalkFaults({"无法开启统一修复 SQL 事务", "统一角色/行会修复事务提交失败"}, 63,
               [](const MergeFixture& zones) -> Repair {
                   return [&zones, plan = zones.Plan()](SQLHDBC connection) {
                       RepairAllDuplicates(connection, zones.B(), plan.roles, plan.guilds);
                   };
               });
}

TEST_CASE("rows changed by others between analysis and repair stop it") {
    const MergeFixture zones;
    const std::vector<RelatedField> fields = zones.FieldsOf(L"1001");
    const std::wstring notUnique = L"事务内复核失败：目标库旧 ID 不再是唯一一条记录";
    struct Row {
        const char* name;
        const wchar_t* change;  // on top of those before it
        std::wstring message;
    };
    for (const Row& row :
         {Row{"deleted", L"DELETE FROM dbo.TBL_CHARACTER WHERE n = 1", notUnique},
          Row{"twice", L"INSERT INTO dbo.TBL_CHARACTER (n, FLD_USERID) VALUES (10, '1001'), (11, '1001')",
              notUnique},
          Row{"a reference gone",
              L"DELETE FROM dbo.TBL_CHARACTER WHERE n = 11; DELETE FROM trade.TBL_TRADE WHERE n = 1",
              L"ODBC 未返回详细错误"}}) {
        CAPTURE(row.name);
        RunSql(Connect(zones.B()), {row.change});
        const AllContents before = zones.Contents();
        CHECK(ErrorOf([&] {
                  RepairRoleId(Connect(zones.B()).Connection(), zones.B(), L"1001", L"100235", fields);
              }) == row.message);
        CHECK(zones.Contents() == before);
    }
}

TEST_CASE("the locked row cannot be changed by another connection until the repair ends") {
    const MergeFixture zones;
    const OdbcSession repairing = Connect(zones.B());
    const OdbcSession other = Connect(zones.B());
    RunSql(other, {L"SET LOCK_TIMEOUT 200"});
    RunInTransaction(repairing.Connection(), {}, [&] {
        CHECK(CountCharacterIdRows(repairing.Connection(), zones.B(), L"1001", true) == 1);
        CHECK_THROWS_AS(
            RunSql(other, {L"UPDATE dbo.TBL_CHARACTER SET FLD_USERID = '5' WHERE FLD_USERID = '1001'"}),
            RuntimeError);
    });
    CHECK_NOTHROW(
        RunSql(other, {L"UPDATE dbo.TBL_CHARACTER SET FLD_USERID = '5' WHERE FLD_USERID = '1001'"}));
}
