#include <doctest/doctest.h>

#include "db/odbc_session.h"
#include "db/odbc_statement.h"
#include "db/odbc_transaction.h"
#include "tests/support/test_database.h"
#include "tests/support/wide_text.h"

namespace {

constexpr HandleCounts kNone;

std::wstring AccountSideError(const std::wstring& driver) {
    DbConnectionSettings settings = SettingsFor(L"master");
    settings.driver = driver;
    return ErrorOf([&] { OdbcSession().ConnectAccountSide(settings); });
}

std::wstring RepairSideError() {
    return ErrorOf([] { OdbcSession().Connect(SettingsFor(L"master")); });
}

const TransactionTexts kTexts;

}  // namespace

TEST_CASE("an empty database name connects to master and connecting twice is safe") {
    OdbcSession session = Connect(L"");
    CHECK(QueryText(session, L"SELECT DB_NAME()") == L"master");
    session.Connect(SettingsFor(L"master"));
    CHECK(QueryText(session, L"SELECT DB_NAME()") == L"master");
}

TEST_CASE("every driver is tried in order and the last one's diagnostics are the message") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const std::string line = "connect\t*\t08001\t17\t没有服务器\t08001\t0\t登录超时\n";
    const Faults faults(line);
    CHECK(RepairSideError() == L"SQL Server 连接失败：SQL Server：08001: 没有服务器 | 08001: 登录超时");
    CHECK(AccountSideError(L"") == L"SQL Server 连接失败：08001: 没有服务器 | 08001: 登录超时");
}

TEST_CASE("a configured driver is tried first and once more in its place") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    {
        const Faults four(
            "connect\t1\t08001\t1\tx\nconnect\t2\t08001\t1\tx\nconnect\t3\t08001\t1\tx\n"
            "connect\t4\t08001\t1\tx\n");
        CHECK(AccountSideError(L" ODBC Driver 17 for SQL Server ") == L"(nothing)");
        CHECK(RepairSideError() == L"(nothing)");
    }
    const Faults five(
        "connect\t1\t08001\t1\ta\nconnect\t2\t08001\t1\tb\nconnect\t3\t08001\t1\tc\n"
        "connect\t4\t08001\t1\td\nconnect\t5\t08001\t1\te\n");
    CHECK(AccountSideError(L"ODBC Driver 17 for SQL Server") == L"SQL Server 连接失败：08001: e");
}

TEST_CASE("a wrong password and an unknown server fail with the server's words") {
    DbConnectionSettings wrong = SettingsFor(L"master");
    wrong.password += L"x";
    OdbcSession session;
    const std::wstring error = ErrorOf([&] { session.Connect(wrong); });
    CHECK(error.starts_with(L"SQL Server 连接失败：SQL Server："));
    CHECK(error.find(wrong.password) == std::wstring::npos);
    CHECK(session.Connection() == SQL_NULL_HANDLE);
    if (CanInjectFaults()) {
        CHECK(error.find(L"28000: ") != std::wstring::npos);
        CHECK(LiveHandles() == kNone);
    }
}

TEST_CASE("only the first six diagnostic records are told and none at all has a text of its own") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const OdbcSession session = Connect(L"master");
    {
        const Faults seven(
            "execute\t1\tHY000\t1\t一\tHY000\t2\t二\tHY000\t3\t三\tHY000\t4\t四\tHY000\t5\t五\tHY000\t6\t六"
            "\tHY000\t7\t七\n");
        CHECK(ErrorOf([&] { ExecuteDirect(session.Connection(), L"SELECT 1", false); }) ==
              L"HY000: 一 | HY000: 二 | HY000: 三 | HY000: 四 | HY000: 五 | HY000: 六");
    }
    const Faults silent("execute\t1\t-\n");
    CHECK(ErrorOf([&] { ExecuteDirect(session.Connection(), L"SELECT 1", false); }) ==
          L"ODBC 未返回详细错误");
}

TEST_CASE("a diagnostic message longer than its buffer is cut") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const OdbcSession session = Connect(L"master");
    const Faults faults("execute\t1\tHY000\t1\t" + std::string(3000, 'x') + "\n");
    CHECK(ErrorOf([&] { ExecuteDirect(session.Connection(), L"SELECT 1", false); }) ==
          L"HY000: " + std::wstring(1023, L'x'));
}

TEST_CASE("one number is read from a query") {
    const TestDatabase database(L"number", {L"CREATE TABLE t (n int, big varchar(50))"});
    const OdbcSession session = database.Open();
    const auto number = [&](const wchar_t* sql) { return QueryInt64(session.Connection(), sql); };
    CHECK(number(L"SELECT MAX(n) FROM t") == 0);
    CHECK(number(L"SELECT n FROM t") == 0);
    RunSql(session, {L"INSERT INTO t (n, big) VALUES (7, '9223372036854775807')"});
    CHECK(number(L"SELECT n FROM t") == 7);
    CHECK(number(L"SELECT MAX(CONVERT(DECIMAL(38,0), big)) FROM t") == INT64_MAX);
    RunSql(session, {L"INSERT INTO t (n, big) VALUES (8, '9223372036854775808')"});
    CHECK(
        ErrorOf([&] { number(L"SELECT MAX(CONVERT(DECIMAL(38,0), big)) FROM t"); }).starts_with(L"22003: "));
    CHECK(ErrorOf([&] { number(L"SELECT n FROM nowhere"); }).starts_with(L"42S02: "));
}

TEST_CASE("an update without a row is a failure") {
    const TestDatabase database(L"update", {L"CREATE TABLE t (n int)", L"INSERT INTO t (n) VALUES (1)"});
    const OdbcSession session = database.Open();
    CHECK(ErrorOf([&] { ExecuteDirect(session.Connection(), L"UPDATE t SET n = 2 WHERE n = 1", false); }) ==
          L"(nothing)");
    CHECK(ErrorOf([&] { ExecuteDirect(session.Connection(), L"UPDATE t SET n = 2 WHERE n = 1", false); }) ==
          L"ODBC 未返回详细错误");
}

TEST_CASE("a transaction commits at its end and rolls back on any exception") {
    const TestDatabase database(L"transaction", {L"CREATE TABLE t (n int)", L"INSERT INTO t (n) VALUES (1)"});
    const OdbcSession session = database.Open();
    const auto set = [&](const wchar_t* value) {
        ExecuteDirect(session.Connection(), std::wstring(L"UPDATE t SET n = ") + value, false);
    };
    const auto stored = [&] { return QueryText(database.Open(), L"SELECT n FROM t"); };

    RunInTransaction(session.Connection(), kTexts, [&] { set(L"2"); });
    CHECK(stored() == L"2");
    CHECK_THROWS_AS(RunInTransaction(session.Connection(), kTexts,
                                     [&] {
                                         set(L"3");
                                         throw std::out_of_range("any");
                                     }),
                    std::out_of_range);
    CHECK(stored() == L"2");
    set(L"4");  // automatic commit is on again
    CHECK(stored() == L"4");
}

TEST_CASE("a transaction that cannot end never keeps half of its work") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const TestDatabase database(L"halfway", {L"CREATE TABLE t (n int)", L"INSERT INTO t (n) VALUES (1)"});
    struct Row {
        const char* name;
        const char* faults;
        std::wstring error;
    };
    for (const Row& row :
         {Row{"no manual commit", "manual\t1\tHY000\t1\tx\n", L"无法开启 SQL 事务"},
          Row{"commit fails", "commit\t1\tHY000\t1\tx\n", L"SQL 事务提交失败"},
          Row{"commit and rollback fail", "commit\t1\tHY000\t1\tx\nrollback\t1\tHY000\t1\tx\n",
              L"SQL 事务提交失败"},
          Row{"connection dies at the commit", "die\tcommit\t1\t08S01\t1\tx\n", L"SQL 事务提交失败"}}) {
        CAPTURE(row.name);
        {
            const OdbcSession session = database.Open();
            const Faults faults(row.faults);
            CHECK(ErrorOf([&] {
                      RunInTransaction(session.Connection(), kTexts, [&] {
                          ExecuteDirect(session.Connection(), L"UPDATE t SET n = 2", false);
                      });
                  }) == row.error);
        }
        CHECK(QueryText(database.Open(), L"SELECT n FROM t") == L"1");
        CHECK(LiveHandles() == kNone);
    }
}
