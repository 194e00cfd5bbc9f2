#include "db/odbc_statement.h"
#include "db/odbc_transaction.h"
#include "support/test_database.h"
#include "support/wide_text.h"

// A disconnection of a handle that is not connected ends in the driver manager: only its caller can show it.
static int disconnections;
extern "C" SQLRETURN SQL_API SQLDisconnect(SQLHDBC connection) {
    ++disconnections;
    const auto real = GetProcAddress(GetModuleHandleW(L"odbc32.dll"), "SQLDisconnect");
    return reinterpret_cast<decltype(&SQLDisconnect)>(reinterpret_cast<void*>(real))(connection);
}

// What connecting asks the driver for, the error, how often it disconnected and what it left alive; with a
// driver on the account side, without one on the repair side.
static std::wstring Connecting(const wchar_t* driver = nullptr) {
    disconnections = 0;
    std::wstring error;
    const std::wstring told = ToldBy([&] {
        OdbcSession session;
        DbConnectionSettings settings = SettingsFor(driver ? L"master" : L"");
        settings.driver = driver ? driver : L"ignored";
        error = ErrorOf([&] { driver ? session.ConnectAccountSide(settings) : session.Connect(settings); });
    });
    return told + error + L" " + std::to_wstring(disconnections) + L"/" + std::to_wstring(LiveHandles());
}

TEST_CASE("every driver is tried in order and the last one's diagnostics are the message") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const std::wstring first = L"attempt ODBC Driver 18 for SQL Server",
                       second = L"attempt ODBC Driver 17 for SQL Server",
                       third = L"attempt SQL Server Native Client 11.0", last = L"attempt SQL Server";
    const auto all = [&](const wchar_t* s) { return first + s + second + s + third + s + last + s; };
    const std::wstring connected = L"connect master\ndisconnect 0\n(nothing) 1/0";
    {
        const Faults none("connect\t*\t08001\t17\t没有服务器\t08001\t0\t登录超时\n");
        const std::wstring error = L"SQL Server 连接失败：08001: 没有服务器 | 08001: 登录超时 1/0";
        CHECK(Connecting() ==  // disconnected after every attempt and at the end; below at the end alone
              all(L" 10\n") + L"SQL Server 连接失败：SQL Server：08001: 没有服务器 | 08001: 登录超时 5/0");
        CHECK(Connecting(L" ODBC Driver 17 for SQL Server ") == second + L" 5\n" + all(L" 5\n") + error);
        CHECK(Connecting(L" ") == all(L" 5\n") + error);
    }
    CHECK(Connecting() == first + L" 10\n" + connected);
    CHECK(Connecting(L"") == first + L" 5\n" + connected);
    CHECK(Connecting(L"SQL Server") == last + L" 5\n" + connected);
    OdbcSession session;
    for (int i = 0; i < 2; ++i) session.Connect(SettingsFor(L"master"));
    CHECK(LiveHandles() == 2);
}

TEST_CASE("one number is read from a query or at most six records tell why not") {
    const TestDatabase database(L"number", {L"CREATE TABLE t (n int, big varchar(50))"});
    const OdbcSession session = database.Open();
    const auto number = [&](const wchar_t* sql) { return QueryInt64(session.Connection(), sql); };
    const wchar_t largest[] = L"SELECT MAX(CONVERT(DECIMAL(38,0), big)) FROM t";
    CHECK((number(largest) == 0 && number(L"SELECT n FROM t") == 0));
    RunSql(session, {L"INSERT INTO t (n, big) VALUES (7, '9223372036854775807')"});
    CHECK((number(largest) == INT64_MAX && number(L"SELECT n FROM t") == 7));
    RunSql(session, {L"INSERT INTO t (n, big) VALUES (8, '9223372036854775808')"});
    CHECK(ErrorOf([&] { number(largest); }).starts_with(L"22003: "));
    if (!CanInjectFaults()) return;
    std::string seven = "execute\t1";
    for (int record = 1; record <= 7; ++record) seven += "\tHY000\t1\t" + std::to_string(record);
    const Faults faults(seven + "\n");
    CHECK(ErrorOf([&] { number(largest); }) ==
          L"HY000: 1 | HY000: 2 | HY000: 3 | HY000: 4 | HY000: 5 | HY000: 6");
}

TEST_CASE("a transaction commits at its end and otherwise keeps nothing of its work") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const TestDatabase database(L"transaction", {L"CREATE TABLE t (n int)", L"INSERT INTO t (n) VALUES (0)"});
    // The driver has failed to roll back: the server's own statement does.
    const std::wstring byStatement = L"execute IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\nauto \n";
    const std::string cannotEnd = "commit\t1\tHY000\t1\tx\nrollback\t1\tHY000\t1\tx\n";
    struct Row {
        std::string faults;
        std::wstring end;
        int n = 2;  // of the update that follows, which commits by itself again
        std::wstring error = L"SQL 事务提交失败";
    };
    for (const Row& row :
         {Row{"", L"commit \nauto \n", 3, L"(nothing)"}, Row{"", L"rollback \nauto \n", 2, L"any"},
          Row{"commit\t1\tHY000\t1\tx\n", L"rollback \nauto \n"}, Row{cannotEnd, byStatement},
          // When nothing can roll back, automatic commit stays off: switching it on would commit.
          Row{cannotEnd + "execute\t2\tHY000\t1\tx\n", L"", 0},
          Row{cannotEnd + "statement\t2\tHY000\t1\tx\n", L"", 0}}) {
        CAPTURE(row.faults);
        database.Run({L"UPDATE t SET n = 0"});
        {
            const OdbcSession session = database.Open();
            const auto work = [&] {
                ExecuteDirect(session.Connection(), L"UPDATE t SET n = 1", false);
                if (row.error == L"any") throw RuntimeError("any");
            };
            const Faults faults(row.faults);
            CHECK(ToldBy([&] {
                      CHECK(ErrorOf([&] { RunInTransaction(session.Connection(), {}, work); }) == row.error);
                  }) == L"manual " + database.Name() + L"\nexecute UPDATE t SET n = 1\n" + row.end);
            RunSql(session, {L"UPDATE t SET n = n + 2"});
        }
        CHECK(QueryInt64(database.Open().Connection(), L"SELECT n FROM t") == row.n);
    }
}
