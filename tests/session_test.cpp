#include "db/odbc_session.h"
#include "db/odbc_statement.h"
#include "db/odbc_transaction.h"
#include "tests/support/test_database.h"
#include "tests/support/wide_text.h"

// The calls that end handles go through these functions of ours: a disconnection of a handle that is not
// connected ends in the driver manager, so nothing but its caller can show it.
static std::string ended;  // "d" for a disconnection, the type of a freed handle
template <class Function>
static Function Real(const char* name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"odbc32.dll"), name)));
}
extern "C" SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT type, SQLHANDLE handle) {
    ended += std::to_string(type);
    return Real<decltype(&SQLFreeHandle)>("SQLFreeHandle")(type, handle);
}
extern "C" SQLRETURN SQL_API SQLDisconnect(SQLHDBC connection) {
    ended += "d";
    return Real<decltype(&SQLDisconnect)>("SQLDisconnect")(connection);
}

// What connecting asks the driver for on either side, and the error.
static std::wstring Connecting(std::wstring& error) {
    return ended.clear(), ToldBy([&] { error = ErrorOf([] { Connect(L""); }); });
}
static std::wstring Connecting(std::wstring& error, const wchar_t* driver) {
    DbConnectionSettings settings = SettingsFor(L"master");
    settings.driver = driver;
    return ended.clear(),
           ToldBy([&] { error = ErrorOf([&] { OdbcSession().ConnectAccountSide(settings); }); });
}

TEST_CASE("every driver is tried in order and the last one's diagnostics are the message") {
    if (!CanInjectFaults()) return SkipWithoutFaults();
    const std::wstring first = L"attempt ODBC Driver 18 for SQL Server",
                       second = L"attempt ODBC Driver 17 for SQL Server",
                       third = L"attempt SQL Server Native Client 11.0", last = L"attempt SQL Server";
    const auto all = [&](const wchar_t* end) {
        return first + end + second + end + third + end + last + end;
    };
    const std::wstring connected = L"connect master\ndisconnect 0\n";
    std::wstring error;
    {
        const Faults none("connect\t*\t08001\t17\t没有服务器\t08001\t0\t登录超时\n");
        CHECK(Connecting(error) == all(L" 10\n"));
        CHECK(error == L"SQL Server 连接失败：SQL Server：08001: 没有服务器 | 08001: 登录超时");
        CHECK(ended == "ddddd21");  // after every attempt, and at the end
        CHECK(Connecting(error, L" ODBC Driver 17 for SQL Server ") == second + L" 5\n" + all(L" 5\n"));
        CHECK(error == L"SQL Server 连接失败：08001: 没有服务器 | 08001: 登录超时");
        CHECK(ended == "d21");  // at the end alone
        CHECK(Connecting(error, L" ") == all(L" 5\n"));
    }
    const Faults two("connect\t1\t08001\t1\tx\nconnect\t2\t08001\t1\tx\n");
    CHECK(Connecting(error) == first + L" 10\n" + second + L" 10\n" + third + L" 10\n" + connected);
    CHECK(Connecting(error, L"") == first + L" 5\n" + connected);
    CHECK(Connecting(error, L"SQL Server") == last + L" 5\n" + connected);
    CHECK(error + Utf8ToWide(ended) == L"(nothing)d21");
    CHECK(LiveHandles() == 0);
    DbConnectionSettings wrong = SettingsFor(L"master");
    wrong.password += L"x";
    OdbcSession session;
    CHECK(ErrorOf([&] { session.Connect(wrong); }).find(L"28000: ") != std::wstring::npos);
    CHECK(LiveHandles() == 0);
    for (int i = 0; i < 2; ++i) session.Connect(SettingsFor(L"master"));
    CHECK(LiveHandles() == 2);
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
    const wchar_t largest[] = L"SELECT MAX(CONVERT(DECIMAL(38,0), big)) FROM t";
    CHECK(number(largest) == 0);
    CHECK(number(L"SELECT n FROM t") == 0);
    RunSql(session, {L"INSERT INTO t (n, big) VALUES (7, '9223372036854775807')"});
    CHECK(number(L"SELECT n FROM t") == 7);
    CHECK(number(largest) == INT64_MAX);
    RunSql(session, {L"INSERT INTO t (n, big) VALUES (8, '9223372036854775808')"});
    CHECK(ErrorOf([&] { number(largest); }).starts_with(L"22003: "));
    CHECK(ErrorOf([&] { number(L"SELECT n FROM nowhere"); }).starts_with(L"42S02: "));
    // An update without a row is a failure.
    CHECK(ErrorOf([&] { ExecuteDirect(session.Connection(), L"UPDATE t SET n = 2 WHERE n = 1", false); }) ==
          L"ODBC 未返回详细错误");
}

TEST_CASE("a transaction commits at its end and otherwise keeps nothing of its work") {
    const TestDatabase database(L"transaction", {L"CREATE TABLE t (n int)", L"INSERT INTO t (n) VALUES (1)"});
    const std::wstring begins = L"manual \nexecute UPDATE t SET n = 2\n";
    // The driver has failed to roll back: the server's own statement does.
    const std::wstring byStatement = L"execute IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\nauto \n";
    const std::string cannotEnd = "commit\t1\tHY000\t1\tx\nrollback\t1\tHY000\t1\tx\n";
    struct Row {
        std::string faults;
        bool fails;  // the work itself
        std::wstring end, error = L"SQL 事务提交失败";
    };
    for (const Row& row :
         {Row{"", false, L"commit \nauto \n", L"(nothing)"}, Row{"", true, L"rollback \nauto \n", L"any"},
          Row{"commit\t1\tHY000\t1\tx\n", false, L"rollback \nauto \n"}, Row{cannotEnd, false, byStatement},
          // When nothing can roll back, automatic commit stays off: switching it on would commit.
          Row{cannotEnd + "execute\t2\tHY000\t1\tx\n", false, L""},
          Row{cannotEnd + "statement\t2\tHY000\t1\tx\n", false, L""}}) {
        CAPTURE(row.faults);
        if (!CanInjectFaults() && !row.faults.empty()) continue;
        std::wstring error;
        {
            const OdbcSession session = database.Open();
            const auto work = [&] {
                ExecuteDirect(session.Connection(), L"UPDATE t SET n = 2", false);
                if (row.fails) throw RuntimeError("any");
            };
            const auto run = [&] {
                error = ErrorOf([&] { RunInTransaction(session.Connection(), {}, work); });
            };
            if (CanInjectFaults()) {
                const Faults faults(row.faults);
                CHECK(ToldBy(run) == begins + row.end);
            } else {
                run();
            }
            if (!row.end.empty()) RunSql(session, {L"UPDATE t SET n = n + 2"});  // commits by itself again
        }
        CHECK(error == row.error);
        CHECK(QueryText(database.Open(), L"SELECT n FROM t") == (row.end.empty()         ? L"1"
                                                                 : error == L"(nothing)" ? L"4"
                                                                                         : L"3"));
        database.Run({L"UPDATE t SET n = 1"});
    }
}
