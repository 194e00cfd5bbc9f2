#include "db/odbc_session.h"
#include "db/odbc_statement.h"
#include "db/odbc_transaction.h"
#include "tests/support/test_database.h"
#include "tests/support/wide_text.h"

// The product's calls that make and end handles go through these three functions of ours: a disconnection of
// a handle that is not connected ends in the driver manager, so nothing but its caller can show it.
static std::string calls;  // "+" allocated, "-" freed, behind each the type of handle; "d" disconnected
static int refused = 0;    // the type of handle that cannot be had
template <class Function>
static Function Real(const char* name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"odbc32.dll"), name)));
}
extern "C" {
SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT type, SQLHANDLE parent, SQLHANDLE* handle) {
    if (type == refused) return SQL_ERROR;
    calls += "+" + std::to_string(type);
    static const auto real = Real<decltype(&SQLAllocHandle)>("SQLAllocHandle");
    return real(type, parent, handle);
}
SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT type, SQLHANDLE handle) {
    calls += "-" + std::to_string(type);
    static const auto real = Real<decltype(&SQLFreeHandle)>("SQLFreeHandle");
    return real(type, handle);
}
SQLRETURN SQL_API SQLDisconnect(SQLHDBC connection) {
    calls += "d";
    static const auto real = Real<decltype(&SQLDisconnect)>("SQLDisconnect");
    return real(connection);
}
}

// Connects on the account side with a configured driver; the error.
static std::wstring AccountSide(const std::wstring& driver, OdbcSession session = {}) {
    DbConnectionSettings settings = SettingsFor(L"master");
    settings.driver = driver;
    return ErrorOf([&] { session.ConnectAccountSide(settings); });
}

TEST_CASE("every driver is tried in order and the last one's diagnostics are the message") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const std::wstring names[] = {L"ODBC Driver 18 for SQL Server", L"ODBC Driver 17 for SQL Server",
                                  L"SQL Server Native Client 11.0", L"SQL Server"};
    const auto attempts = [&](const wchar_t* seconds) {
        std::wstring told;
        for (const std::wstring& name : names) told += L"attempt " + name + seconds;
        return told;
    };
    const Faults all("connect\t*\t08001\t17\t没有服务器\t08001\t0\t登录超时\n");
    std::wstring error;
    calls.clear();
    CHECK(ToldBy([&] { error = ErrorOf([] { Connect(L"master"); }); }) == attempts(L" 10\n"));
    CHECK(error == L"SQL Server 连接失败：SQL Server：08001: 没有服务器 | 08001: 登录超时");
    CHECK(calls == "+1+2ddddd-2-1");  // after every attempt, and at the end
    calls.clear();
    CHECK(ToldBy([&] { error = AccountSide(L" ODBC Driver 17 for SQL Server "); }) ==
          L"attempt ODBC Driver 17 for SQL Server 5\n" + attempts(L" 5\n"));
    CHECK(error == L"SQL Server 连接失败：08001: 没有服务器 | 08001: 登录超时");
    CHECK(calls == "+1+2d-2-1");  // at the end alone
    CHECK(ToldBy([] { AccountSide(L" "); }) == attempts(L" 5\n"));
}

TEST_CASE("a connection that succeeds ends the trying and is closed in order") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const std::wstring opened = L"connect master\n", closed = L"disconnect 0\n";
    const std::wstring newest = L"attempt ODBC Driver 18 for SQL Server ";
    calls.clear();
    CHECK(ToldBy([] { Connect(L""); }) == newest + L"10\n" + opened + closed);
    CHECK(calls == "+1+2d-2-1");
    CHECK(ToldBy([] { CHECK(AccountSide(L"") == L"(nothing)"); }) == newest + L"5\n" + opened + closed);
    CHECK(ToldBy([] { AccountSide(L"SQL Server", Connect(L"master")); }) ==
          newest + L"10\n" + opened + closed + L"attempt SQL Server 5\n" + opened + closed);
    {
        const Faults first("connect\t1\t08001\t1\tx\n");
        CHECK(ToldBy([] { Connect(L"master"); }) ==
              newest + L"10\nattempt ODBC Driver 17 for SQL Server 10\n" + opened + closed);
    }
    for (const auto& [type, repair, query] :
         {std::tuple(SQL_HANDLE_ENV, L"ODBC 环境初始化失败", L"ODBC environment failed"),
          {SQL_HANDLE_DBC, L"ODBC 连接句柄初始化失败", L"ODBC connection failed"}}) {
        refused = type;
        calls.clear();
        CHECK(ErrorOf([] { Connect(L"master"); }) == repair);
        CHECK(AccountSide(L"") == query);
        CHECK(calls == (type == SQL_HANDLE_ENV ? "" : "+1-1+1-1"));
        refused = 0;
    }
    CHECK(LiveHandles() == 0);
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
    CHECK(told("statement\t1\tHY000\t1\tx") == L"ODBC 语句句柄初始化失败");
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
    // Sets the value in a transaction, and then fails or not; the error.
    const auto setTo = [&](const std::wstring& value, const OdbcSession& session, bool fails = false) {
        return ErrorOf([&] {
            RunInTransaction(session.Connection(), {}, [&] {
                ExecuteDirect(session.Connection(), L"UPDATE t SET n = " + value, false);
                if (fails) throw RuntimeError("any");
            });
        });
    };
    const auto stored = [&] { return QueryText(database.Open(), L"SELECT n FROM t"); };
    CHECK(setTo(L"3", database.Open(), true) == L"any");
    CHECK(stored() == L"1");
    {
        const OdbcSession session = database.Open();
        CHECK(setTo(L"4", session) == L"(nothing)");
        RunSql(session, {L"UPDATE t SET n = 5"});  // automatic commit is on again
        CHECK(stored() == L"5");
        setTo(L"6", session, true);
        RunSql(session, {L"UPDATE t SET n = 1"});
        CHECK(stored() == L"1");
    }
    if (!CanInjectFaults()) return;
    // When nothing can roll back, automatic commit stays off: switching it on would commit.
    const std::wstring byStatement = L"execute IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\n";
    const std::string cannotCommit = "commit\t1\tHY000\t1\tx\n",
                      cannotRollBack = "rollback\t1\tHY000\t1\tx\n";
    struct Row {
        std::string faults;
        std::wstring end;
    };
    for (const Row& row : {Row{"", L"commit \nauto \n"}, Row{cannotCommit, L"rollback \nauto \n"},
                           Row{cannotCommit + cannotRollBack, byStatement + L"auto \n"},
                           Row{cannotCommit + cannotRollBack + "execute\t2\tHY000\t1\tx\n", L""},
                           Row{cannotCommit + cannotRollBack + "statement\t2\tHY000\t1\tx\n", L""}}) {
        CAPTURE(row.faults);
        {
            const OdbcSession session = database.Open();
            const Faults injected(row.faults);
            CHECK(ToldBy([&] {
                      CHECK(setTo(L"2", session) ==
                            (row.faults.empty() ? L"(nothing)" : L"SQL 事务提交失败"));
                  }) == L"manual \nexecute UPDATE t SET n = 2\n" + row.end);
        }
        CHECK(stored() == (row.faults.empty() ? L"2" : L"1"));
        database.Run({L"UPDATE t SET n = 1"});
        CHECK(LiveHandles() == 0);
    }
}
