#include "db/odbc_session.h"
#include "db/odbc_statement.h"
#include "db/odbc_transaction.h"
#include "tests/support/test_database.h"
#include "tests/support/wide_text.h"

static std::wstring AccountSideError(const std::wstring& driver) {
    DbConnectionSettings settings = SettingsFor(L"master");
    settings.driver = driver;
    return ErrorOf([&] { OdbcSession().ConnectAccountSide(settings); });
}

TEST_CASE("every driver is tried in order and the last one's diagnostics are the message") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    {
        const Faults all("connect\t*\t08001\t17\t没有服务器\t08001\t0\t登录超时\n");
        CHECK(ErrorOf([] { Connect(L"master"); }) ==
              L"SQL Server 连接失败：SQL Server：08001: 没有服务器 | 08001: 登录超时");
        CHECK(AccountSideError(L"") == L"SQL Server 连接失败：08001: 没有服务器 | 08001: 登录超时");
    }
    // A configured driver is tried first and once more in its place.
    std::string lines;
    for (const char* call : {"1", "2", "3", "4", "5"}) {
        lines += std::string("connect\t") + call + "\t08001\t1\t" + call + "\n";
        const Faults faults(lines);
        CHECK(AccountSideError(L" ODBC Driver 17 for SQL Server ") ==
              (*call == '5' ? L"SQL Server 连接失败：08001: 5" : L"(nothing)"));
    }
}

TEST_CASE("a wrong password fails with the server's words") {
    DbConnectionSettings wrong = SettingsFor(L"master");
    wrong.password += L"x";
    OdbcSession session;
    const std::wstring error = ErrorOf([&] { session.Connect(wrong); });
    CHECK(error.starts_with(L"SQL Server 连接失败：SQL Server："));
    CHECK(error.find(wrong.password) == std::wstring::npos);
    CHECK(session.Connection() == SQL_NULL_HANDLE);
    session.Connect(SettingsFor(L""));  // usable again
    session.Connect(SettingsFor(L""));
    CHECK(QueryText(session, L"SELECT DB_NAME()") == L"master");
    if (CanInjectFaults()) CHECK(error.find(L"28000: ") != error.npos);
}

TEST_CASE("six diagnostic records are told and long ones cut and none at all has a text of its own") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const OdbcSession session = Connect(L"master");
    std::string seven = "execute\t1";
    for (const char* text : {"一", "二", "三", "四", "五", "六", "七"}) (seven += "\tHY000\t1\t") += text;
    const auto told = [&](const std::string& fault) {
        const Faults faults(fault + "\n");
        return ErrorOf([&] { ExecuteDirect(session.Connection(), L"SELECT 1", false); });
    };
    CHECK(told(seven) == L"HY000: 一 | HY000: 二 | HY000: 三 | HY000: 四 | HY000: 五 | HY000: 六");
    CHECK(told("execute\t1\t-") == L"ODBC 未返回详细错误");
    CHECK(told("execute\t1\tHY000\t1\t" + std::string(3000, 'x')) == L"HY000: " + std::wstring(1023, L'x'));
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
    // An update without a row is a failure.
    CHECK(ErrorOf([&] { ExecuteDirect(session.Connection(), L"UPDATE t SET n = 2 WHERE n = 1", false); }) ==
          L"ODBC 未返回详细错误");
}

TEST_CASE("a transaction commits at its end and otherwise keeps nothing of its work") {
    const TestDatabase database(L"transaction", {L"CREATE TABLE t (n int)", L"INSERT INTO t (n) VALUES (1)"});
    const auto set = [](const OdbcSession& session, const wchar_t* value) {
        ExecuteDirect(session.Connection(), std::wstring(L"UPDATE t SET n = ") + value, false);
    };
    const auto stored = [&] { return QueryText(database.Open(), L"SELECT n FROM t"); };
    const auto fail = [](auto&&...) { throw std::out_of_range("any"); };
    {
        const OdbcSession session = database.Open();
        CHECK_THROWS_AS(RunInTransaction(session.Connection(), {}, [&] { fail((set(session, L"3"), 0)); }),
                        std::out_of_range);
        CHECK(stored() == L"1");
        set(session, L"4");  // automatic commit is on again
        CHECK(stored() == L"4");
        RunInTransaction(session.Connection(), {}, [&] { set(session, L"1"); });
    }
    if (!CanInjectFaults()) return;
    // When nothing can roll back, automatic commit stays off: switching it on would commit.
    for (const char* faults :
         {"commit\t1\tHY000\t1\tx\nrollback\t1\tHY000\t1\tx\n",
          "commit\t1\tHY000\t1\tx\nrollback\t1\tHY000\t1\tx\nexecute\t2\tHY000\t1\tx\n"}) {
        {
            const OdbcSession session = database.Open();
            const Faults injected(faults);
            CHECK(ErrorOf([&] { RunInTransaction(session.Connection(), {}, [&] { set(session, L"2"); }); }) ==
                  L"SQL 事务提交失败");
        }
        CHECK(stored() == L"1");
        CHECK(LiveHandles() == 0);
    }
}
