#include <functional>

#include "account_query/account_source.h"
#include "id_repair/batch_repair.h"
#include "id_repair/role_repair.h"
#include "support/merge_fixture.h"
#include "support/wide_text.h"

// Lets a repair fail, in each of several ways, at one point after the other until it meets none. It is
// carried out at the end, so each way gets a fixture of its own.
TEST_CASE("a single or batch repair that fails anywhere leaves everything as it was") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    // Points of a single repair: a re-check, 12 updates, 12 verifications. Of a batch: a re-check and two
    // counts for each of 5 IDs, an update and a verification for each of their 24 fields. Updates fetch
    // nothing.
    for (const auto& [fault, message, messageOfBatch, points, pointsOfBatch] :
         {std::tuple(std::string("statement"), L"ODBC 语句句柄初始化失败", L"ODBC 语句句柄初始化失败", 25,
                     63),
          {"execute", L"08S01: 注入", L"08S01: 注入", 25, 63},
          {"die\texecute", L"08S01: 注入", L"08S01: 注入", 25, 63},
          {"fetch", L"08S01: 注入", L"08S01: 注入", 13, 39},
          {"die\tfetch", L"08S01: 注入", L"08S01: 注入", 13, 39},
          {"manual", L"无法开启 SQL 事务", L"无法开启统一修复 SQL 事务", 1, 1},
          {"die\tmanual", L"无法开启 SQL 事务", L"无法开启统一修复 SQL 事务", 1, 1},
          {"commit", L"SQL 事务提交失败", L"统一角色/行会修复事务提交失败", 1, 1},
          {"die\tcommit", L"SQL 事务提交失败", L"统一角色/行会修复事务提交失败", 1, 1}}) {
        for (const bool batch : {false, true}) {
            const int positions = batch ? pointsOfBatch : points;
            const MergeFixture zones;
            const AllContents before = zones.Contents();
            const BatchPlan plan = zones.Plan();
            for (int position = 1; position <= positions + 1; ++position) {
                const std::string point = fault + "\t" + std::to_string(position);
                CAPTURE(point);
                std::wstring error;
                SQLUINTEGER mode = SQL_AUTOCOMMIT_OFF;
                {
                    const OdbcSession session = Connect(zones.B());
                    const SQLHDBC on = session.Connection();
                    const Faults faults(point + "\t08S01\t1\t注入\n");
                    error = ErrorOf([&] {
                        if (batch) return RepairAllDuplicates(on, zones.B(), plan.roles, plan.guilds);
                        RepairRoleId(on, zones.B(), L"1001", L"100235", plan.roles[1].fields);
                    });
                    SQLGetConnectAttrW(on, SQL_ATTR_AUTOCOMMIT, &mode, SQL_IS_UINTEGER, nullptr);
                }
                REQUIRE((mode == SQL_AUTOCOMMIT_ON || fault.starts_with("die")));
                REQUIRE((LiveHandles() == 0 && OpenConnections() == 0));
                const bool fails = position <= positions;
                REQUIRE(error == (!fails ? L"(nothing)" : batch ? messageOfBatch : message));
                REQUIRE((zones.Contents() == before) == fails);
            }
        }
    }
}

TEST_CASE("every loop over rows ends with the words of a connection that died or a cursor that went") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const MergeFixture zones;
    const auto &a = zones.A(), &b = zones.B();
    const std::function<void(SQLHDBC)> loops[] = {
        [](SQLHDBC on) { ScanAccountCandidates(on); },
        [](SQLHDBC on) { ListDatabases(on); },
        [&](SQLHDBC on) { FindDuplicateRoles(on, a, b); },
        [&](SQLHDBC on) { FindDuplicateGuilds(on, a, b); },
        [&](SQLHDBC on) { FindGuildIdColumns(on, b); },
        [&](SQLHDBC on) { CountRoleIdHits(on, b, L"1001"); },
        [&](SQLHDBC on) { NextRoleIdAfterMax(on, std::vector(2, a)); },
    };
    for (const auto& loop : loops) {
        for (const std::string fault : {"die\tfetch\t1\t08S01", "die\tfetch\t2\t08S01", "fetch\t1+\t24000",
                                        "fetch\t2+\tHY010", "fetch\t2\tHY000"}) {
            // One row alone may be missing among candidates for accounts.
            if (fault.ends_with("HY000") && &loop == loops) continue;
            CAPTURE(&loop - loops);
            CAPTURE(fault);
            const OdbcSession session = Connect(b);
            const Faults faults(fault + "\t1\t断开\n");
            CHECK(ErrorOf([&] { loop(session.Connection()); }).ends_with(L": 断开"));
            CHECK(LiveHandles() == 2);  // the session's own
        }
    }
}
