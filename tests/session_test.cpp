#include "db/odbc_statement.h"
#include "db/odbc_transaction.h"
#include "support/replaced_functions.h"
#include "support/test_database.h"
#include "support/wide_text.h"

// How sides connect, with the time that an attempt is given.
struct Side {
    const char* name;
    const wchar_t *seconds, *database;
    void (OdbcSession::*connect)(const DbConnectionSettings&);
};
static constexpr Side kRepairSide = {"repair", L" 10\n", L"", &OdbcSession::Connect},
                      kAccountSide = {"account", L" 5\n", L"master", &OdbcSession::ConnectAccountSide};

using Texts = std::vector<std::wstring>;
static const Texts kAll = {L"ODBC Driver 18 for SQL Server", L"ODBC Driver 17 for SQL Server",
                           L"SQL Server Native Client 11.0", L"SQL Server"};

// Connects with a driver in the settings and checks which ones are tried, the error, how often the driver
// manager is asked to disconnect, and that nothing is left.
static void CheckConnecting(const Side& side, const wchar_t* setting, const Texts& tried,
                            const std::wstring& error, int disconnections, SQLSMALLINT refusedKind = 0) {
    CAPTURE(side.name);
    CAPTURE(setting);
    std::wstring expected, message;
    for (const std::wstring& driver : tried) expected += L"attempt " + driver + side.seconds;
    ReplacedDriverManager manager;
    manager.refusedKind = refusedKind;
    const std::wstring told = ToldBy([&] {
        OdbcSession session;
        DbConnectionSettings settings = SettingsFor(side.database);
        settings.driver = setting;
        message = ErrorOf([&] { (session.*side.connect)(settings); });
    });
    CHECK(message == error);
    CHECK(FirstLineThatDiffers(told, expected) == L"");
    CHECK(manager.disconnections == disconnections);
    CHECK(manager.handles == 0);
    CHECK(Alive() == L"");
}

TEST_CASE("every driver is tried in order for its time and the last one's diagnostics are the message") {
    // As the driver manager here sorts them; the driver's own text of a refusal ends in a line break.
    const Texts twice = {kAll[1], kAll[0], kAll[1], kAll[2], kAll[3]};
    const std::wstring failed = L"SQL Server 连接失败：", by = L"[Microsoft][SQL Server]",
                       timeout = L"HYT00: " + by + L"Login timeout expired | 08001: " + by,
                       keyword = L" | 01S00: " + by + L"Invalid connection string attribute";
    for (const auto& [name, lines, diagnostics] :
         Table({std::tuple("an error", "connect\t*\t08001\t17\t没有服务器\n", L"08001: 没有服务器" + keyword),
                {"nobody listens", "second\t0\nrefuse\tconnect\t*\n",
                 timeout + L"TCP Provider: Connection refused. | 08001: " + by +
                     L"A network-related or instance-specific error has occurred while establishing a "
                     L"connection to " +
                     Server().host + L"," + std::to_wstring(Server().port) +
                     L". Server is not found or not accessible. Check if instance name is correct and if SQL "
                     L"Server is configured to allow remote connections. For more information see SQL Server "
                     L"Books Online." +
                     keyword},
                {"a silent server", "second\t0\nsilent\tconnect\t*\n",
                 timeout + L"TCP Provider: Timeout error [258]. | 08001: " + by +
                     L"Unable to complete login process due to delay in prelogin response" + keyword}})) {
        const Faults none(lines);
        // Disconnected after every attempt and at the end; on the account side at the end alone.
        CheckConnecting(kRepairSide, L"ignored", kAll, failed + L"SQL Server：" + diagnostics, 5);
        CheckConnecting(kAccountSide, L" ODBC Driver 17 for SQL Server ", twice, failed + diagnostics, 1);
        CheckConnecting(kAccountSide, L" ", kAll, failed + diagnostics, 1);
    }
}

TEST_CASE("a session that connects again keeps one connection and no password behind it") {
    const std::wstring secret = L";PWD=" + QuoteOdbcValue(Server().password);
    OdbcSession session;
    for (int i = 0; i < 2; ++i) session.Connect(SettingsFor(L"master"));
    // Before anything else: every call writes over what the connection has left.
    const auto* const thread = reinterpret_cast<const NT_TIB*>(NtCurrentTeb());
    const std::wstring_view stack(static_cast<const wchar_t*>(thread->StackLimit),
                                  static_cast<const wchar_t*>(thread->StackBase));
    const size_t passwordOnStack = stack.find(secret);
    CHECK(passwordOnStack == stack.npos);
    CHECK(Alive() == kOneSession);
}

TEST_CASE("a handle that cannot be had is told in the words of its side") {
    CheckConnecting(kRepairSide, L"", {}, L"ODBC 环境初始化失败", 0, SQL_HANDLE_ENV);
    CheckConnecting(kRepairSide, L"", {}, L"ODBC 连接句柄初始化失败", 0, SQL_HANDLE_DBC);
    CheckConnecting(kAccountSide, L"", {}, L"ODBC environment failed", 0, SQL_HANDLE_ENV);
    CheckConnecting(kAccountSide, L"", {}, L"ODBC connection failed", 0, SQL_HANDLE_DBC);
}

TEST_CASE("at most six records are told in one line") {
    const std::wstring longest(1023, L'x');
    using Row = std::tuple<const char*, Texts, std::wstring>;
    for (const auto& [name, records, line] : Table<Row>{
             {"seven, one of them unreadable",
              {L"1", L"2\r\n", L"", L"4", L"5", L"6", L"7"},
              L"HY000: 1 | HY000: 2 | HY000: 4 | HY000: 5 | HY000: 6"},
             {"breaks and tabs", {L"a\r\nb\tc \r\n\t d  e.\n"}, L"HY000: a b c d  e."},
             {"blanks in front of a break", {L"a  \nb"}, L"HY000: a b"},
             {"nothing but a break, too long", {L" \r\n", longest + L"y"}, L"HY000:  | HY000: " + longest},
             {"none", {L""}, L"ODBC 未返回详细错误"}}) {
        ReplacedDriverManager manager;
        manager.records = records;  // an empty one cannot be read
        CHECK(OdbcDiagnostics(SQL_HANDLE_DBC, SQL_NULL_HANDLE) == line);
    }
}

// A transaction's way: what fails in it, what the driver is told at its end and when the session is closed,
// the number behind an update of 2 that follows, which commits by itself again, and the error.
struct Transaction {
    const char *name, *faults;
    std::wstring end, closing;
    int number;
    std::wstring error = L"SQL 事务提交失败";
};
#define CANNOT_END "commit\t1\tHY000\t1\tx\nrollback\t1\tHY000\t1\tx\n"
static const std::wstring kCommit = L"commit \nauto \n", kRollback = L"rollback \nauto \n",
                          kClosed = L"disconnect 0\n";
static const std::vector<Transaction> kTransactions = {
    {"all is well", "", kCommit, kClosed, 3, L"(nothing)"},
    {"the work fails", "", kRollback, kClosed, 2, L"any"},
    // The driver does not disconnect while it counts a transaction as open: the rollback is tried once more.
    {"refused to disconnect", "disconnect\t1\tHY000\t1\tx\n", kCommit, kRollback + kClosed, 3, L"(nothing)"},
    {"the commit fails", "commit\t1\tHY000\t1\tx\n", kRollback, kClosed, 2},
    {"the rollback fails: the server's own statement does it", CANNOT_END,
     L"execute IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\nauto \n", kClosed, 2},
    // When nothing can roll back, automatic commit stays off: switching it on would commit.
    {"that statement fails", CANNOT_END "execute\t'ROLLBACK'\t1\tHY000\t1\tx\n", L"",
     kClosed + kRollback + kClosed, 0},
    {"that statement has no handle", CANNOT_END "statement\t2\tHY000\t1\tx\n", L"",
     kClosed + kRollback + kClosed, 0},
    // A driver that has lost the connection lets go of it when it is told to commit automatically.
    {"the connection dies", "die\tcommit\t1\n", L"", kClosed, 0}};
#undef CANNOT_END

TEST_CASE("a transaction commits at its end and otherwise keeps nothing of its work") {
    const TestDatabase database(L"transaction", {L"CREATE TABLE t (n int)", L"INSERT INTO t (n) VALUES (0)"});
    for (const Transaction& row : Table(kTransactions)) {
        database.Run({L"UPDATE t SET n = 0"});
        const ReplacedDriverManager manager;
        OdbcSession session = database.Open();
        const auto work = [&] {
            ExecuteDirect(session.Connection(), L"UPDATE t SET n = 1", false);
            if (row.error == L"any") throw RuntimeError("any");
        };
        const Faults faults(row.faults);
        std::wstring error;
        const std::wstring told =
            ToldBy([&] { error = ErrorOf([&] { RunInTransaction(session.Connection(), {}, work); }); });
        CHECK(error == row.error);
        CHECK(FirstLineThatDiffers(
                  told, L"manual " + database.Name() + L"\nexecute UPDATE t SET n = 1\n" + row.end) == L"");
        ErrorOf([&] { RunSql(session, {L"UPDATE t SET n = n + 2"}); });
        REQUIRE(ToldBy([&] { session.Close(); }) == row.closing);  // else the row stays locked
        CHECK(manager.handles == 0);
        CHECK(Alive() == L"");
        CHECK(QueryInt64(database.Open().Connection(), L"SELECT n FROM t") == row.number);
    }
}

TEST_CASE("a connection that the driver does not give up is left to the end of the process") {
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
        CHECK(CommitMode(connection) == "manual");
        CHECK(ToldBy([&] { session.Close(); }) == kClosed + kClosed);  // both refused
    }
    CHECK(session.Connection() == nullptr);
    CHECK(manager.handles == 2);
    CHECK(Alive() == kOneSession);
    CHECK(QueryInt64(database.Open().Connection(), L"SELECT n FROM t") == 0);
    RollbackTransaction(connection);  // as the end of the process does
    CHECK(OdbcSucceeded(SQLDisconnect(connection)));
}
