#include "db/odbc_statement.h"
#include "db/odbc_transaction.h"
#include "support/replaced_functions.h"
#include "support/test_database.h"
#include "support/wide_text.h"

// What connecting asks the driver for, the error, how often it disconnected and what it left alive; with a
// driver on the account side, without one on the repair side.
static std::wstring Connecting(const wchar_t* driver = nullptr, SQLSMALLINT refusedKind = 0) {
    ReplacedDriverManager manager;
    manager.refusedKind = refusedKind;
    std::wstring error;
    const std::wstring told = ToldBy([&] {
        OdbcSession session;
        DbConnectionSettings settings = SettingsFor(driver ? L"master" : L"");
        settings.driver = driver ? driver : L"ignored";
        error = ErrorOf([&] { driver ? session.ConnectAccountSide(settings) : session.Connect(settings); });
    });
    return told + error + L" " + std::to_wstring(manager.disconnections) + L"/" +
           std::to_wstring(manager.handles + LiveHandles());
}

TEST_CASE("every driver is tried in order for its time and the last one's diagnostics are the message") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const std::wstring first = L"attempt ODBC Driver 18 for SQL Server",
                       second = L"attempt ODBC Driver 17 for SQL Server",
                       third = L"attempt SQL Server Native Client 11.0", last = L"attempt SQL Server";
    const auto all = [&](const wchar_t* s) { return first + s + second + s + third + s + last + s; };
    const std::wstring connected = L"connect master\ndisconnect 0\n(nothing) 1/0";
    // As the driver manager here sorts them; the driver's own text of a refusal ends in a line break.
    const std::wstring by = L"[Microsoft][SQL Server]",
                       timeout = L"HYT00: " + by + L"Login timeout expired | 08001: ",
                       keyword = L" | 01S00: " + by + L"Invalid connection string attribute";
    for (const auto& [faults, diagnostics] :
         {std::pair("connect\t*\t08001\t17\t没有服务器\n", L"08001: 没有服务器" + keyword),
          {"second\t0\nrefuse\tconnect\t*\n",
           timeout + by + L"TCP Provider: Connection refused. | 08001: " + by +
               L"A network-related or instance-specific error has occurred while establishing a connection "
               L"to " +
               Server().host + L"," + std::to_wstring(Server().port) +
               L". Server is not found or not accessible. Check if instance name is correct and if SQL "
               L"Server is "
               L"configured to allow remote connections. For more information see SQL Server Books Online." +
               keyword},
          {"second\t0\nsilent\tconnect\t*\n",
           timeout + by + L"TCP Provider: Timeout error [258]. | 08001: " + by +
               L"Unable to complete login process due to delay in prelogin response" + keyword}}) {
        const Faults none(faults);
        const std::wstring error = L"SQL Server 连接失败：" + diagnostics + L" 1/0";
        CHECK(Connecting() ==  // disconnected after every attempt and at the end; below at the end alone
              all(L" 10\n") + L"SQL Server 连接失败：SQL Server：" + diagnostics + L" 5/0");
        CHECK(Connecting(L" ODBC Driver 17 for SQL Server ") == second + L" 5\n" + all(L" 5\n") + error);
        CHECK(Connecting(L" ") == all(L" 5\n") + error);
    }
    CHECK(Connecting() == first + L" 10\n" + connected);
    CHECK(Connecting(L"") == first + L" 5\n" + connected);
    CHECK(Connecting(L"SQL Server") == last + L" 5\n" + connected);
    OdbcSession session;
    for (int i = 0; i < 2; ++i) session.Connect(SettingsFor(L"master"));
    CHECK(LiveHandles() == 2);
    const auto* const thread = reinterpret_cast<const NT_TIB*>(NtCurrentTeb());
    const std::wstring_view stack(static_cast<const wchar_t*>(thread->StackLimit),
                                  static_cast<const wchar_t*>(thread->StackBase));
    CHECK(stack.find(L";PWD=" + QuoteOdbcValue(Server().password)) == stack.npos);
}

TEST_CASE("a handle that cannot be had is told in the words of its side") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    for (const auto& [kind, repairSide, accountSide] :
         {std::tuple(SQLSMALLINT{SQL_HANDLE_ENV}, L"ODBC 环境初始化失败 0/0", L"ODBC environment failed 0/0"),
          {SQLSMALLINT{SQL_HANDLE_DBC}, L"ODBC 连接句柄初始化失败 0/0", L"ODBC connection failed 0/0"}}) {
        CHECK(Connecting(nullptr, kind) == repairSide);
        CHECK(Connecting(L"", kind) == accountSide);
    }
}

TEST_CASE("one number is read from a query") {
    const TestDatabase database(L"number", {L"CREATE TABLE t (n int, big varchar(50))"});
    const OdbcSession session = database.Open();
    const auto number = [&](const wchar_t* sql) { return QueryInt64(session.Connection(), sql); };
    const wchar_t largest[] = L"SELECT MAX(CONVERT(DECIMAL(38,0), big)) FROM t";
    CHECK((number(largest) == 0 && number(L"SELECT n FROM t") == 0));
    RunSql(session, {L"INSERT INTO t (n, big) VALUES (7, '9223372036854775807')"});
    CHECK((number(largest) == INT64_MAX && number(L"SELECT n FROM t") == 7));
    RunSql(session, {L"INSERT INTO t (n, big) VALUES (8, '9223372036854775808')"});
    CHECK(ErrorOf([&] { number(largest); }).starts_with(L"22003: "));
}

TEST_CASE("at most six records are told in one line") {
    const std::wstring longest(1023, L'x');
    for (const auto& [driverTells, line] :
         {std::pair(std::vector<std::wstring>{L"1", L"2\r\n", L"", L"4", L"5", L"6", L"7"},
                    std::wstring(L"HY000: 1 | HY000: 2 | HY000: 4 | HY000: 5 | HY000: 6")),
          {{L"a\r\nb\tc \r\n\t d  e.\n"}, L"HY000: a b c d  e."},
          {{L"a  \nb"}, L"HY000: a b"},
          {{L" \r\n", longest + L"y"}, L"HY000:  | HY000: " + longest},
          {{L""}, L"ODBC 未返回详细错误"}}) {
        ReplacedDriverManager manager;
        manager.records = driverTells;
        CHECK(OdbcDiagnostics(SQL_HANDLE_DBC, SQL_NULL_HANDLE) == line);
    }
}

TEST_CASE("a transaction commits at its end and otherwise keeps nothing of its work") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const TestDatabase database(L"transaction", {L"CREATE TABLE t (n int)", L"INSERT INTO t (n) VALUES (0)"});
    // The driver has failed to roll back: the server's own statement does.
    const std::wstring byStatement = L"execute IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\nauto \n";
    const std::string cannotEnd = "commit\t1\tHY000\t1\tx\nrollback\t1\tHY000\t1\tx\n";
    // It does not disconnect while a transaction is open: the rollback is tried once more.
    const std::wstring closed = L"disconnect 0\n", triedAgain = closed + L"rollback \nauto \n" + closed;
    struct Row {
        std::string faults;
        std::wstring end, closing;
        int n = 2;  // of the update that follows, which commits by itself again
        std::wstring error = L"SQL 事务提交失败";
    };
    for (const Row& row :
         {Row{"", L"commit \nauto \n", closed, 3, L"(nothing)"},
          Row{"", L"rollback \nauto \n", closed, 2, L"any"},
          Row{"disconnect\t1\tHY000\t1\tx\n", L"commit \nauto \n", L"rollback \nauto \n" + closed, 3,
              L"(nothing)"},
          Row{"commit\t1\tHY000\t1\tx\n", L"rollback \nauto \n", closed}, Row{cannotEnd, byStatement, closed},
          // When nothing can roll back, automatic commit stays off: switching it on would commit.
          Row{cannotEnd + "execute\t'ROLLBACK'\t1\tHY000\t1\tx\n", L"", triedAgain, 0},
          Row{cannotEnd + "statement\t2\tHY000\t1\tx\n", L"", triedAgain, 0},
          // A driver that has lost the connection lets go of it when it is told to commit automatically.
          Row{"die\tcommit\t1\n", L"", closed, 0}}) {
        CAPTURE(row.faults);
        database.Run({L"UPDATE t SET n = 0"});
        const ReplacedDriverManager manager;
        OdbcSession session = database.Open();
        const auto work = [&] {
            ExecuteDirect(session.Connection(), L"UPDATE t SET n = 1", false);
            if (row.error == L"any") throw RuntimeError("any");
        };
        const Faults faults(row.faults);
        CHECK(ToldBy([&] {
                  CHECK(ErrorOf([&] { RunInTransaction(session.Connection(), {}, work); }) == row.error);
              }) == L"manual " + database.Name() + L"\nexecute UPDATE t SET n = 1\n" + row.end);
        ErrorOf([&] { RunSql(session, {L"UPDATE t SET n = n + 2"}); });
        REQUIRE(ToldBy([&] { session.Close(); }) == row.closing);
        CHECK((manager.handles == 0 && LiveHandles() == 0 && OpenConnections() == 0));
        CHECK(QueryInt64(database.Open().Connection(), L"SELECT n FROM t") == row.n);
    }
}

TEST_CASE("a connection that the driver does not give up is left to the end of the process") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const TestDatabase database(L"kept", {L"CREATE TABLE t (n int)", L"INSERT INTO t (n) VALUES (0)"});
    const ReplacedDriverManager manager;
    OdbcSession session = database.Open();
    const SQLHDBC connection = session.Connection();
    {
        const Faults faults("rollback\t1+\tHY000\t1\tx\nexecute\t'ROLLBACK'\t1+\tHY000\t1\tx\n");
        const auto work = [&] {
            ExecuteDirect(connection, L"UPDATE t SET n = 1", false);
            throw RuntimeError("any");
        };
        CHECK(ErrorOf([&] { RunInTransaction(connection, {}, work); }) == L"any");
        CHECK(ToldBy([&] { session.Close(); }) == L"disconnect 0\ndisconnect 0\n");  // both refused
    }
    CHECK((session.Connection() == SQL_NULL_HANDLE && manager.handles == 2 && OpenConnections() == 1));
    CHECK(QueryInt64(database.Open().Connection(), L"SELECT n FROM t") == 0);
    RollbackTransaction(connection);  // as the end of the process does
    CHECK(OdbcSucceeded(SQLDisconnect(connection)));
}
