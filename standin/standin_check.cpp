// Checks the stand-in from outside, through the driver manager, as any client would use it.

#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>

#include "text.h"

namespace {
namespace fs = std::filesystem;
using standin::ToUtf16, standin::ToUtf8;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;
fs::path root;  // of all servers of this run
const std::string kServer = "127.0.0.1,14330", kFaulty = "faulty";

SQLWCHAR* Wide(char16_t* text) {
    return reinterpret_cast<SQLWCHAR*>(text);
}

/// "STATE native" of all records of a handle; with the heads of their texts, "@" for the prefix.
std::string Errors(SQLSMALLINT kind, SQLHANDLE handle, bool withTexts = false) {
    const std::regex prefix(R"(\[Microsoft\]\[ODBC Driver 18 for SQL Server\])"), lineBreak("\r\n");
    std::string all;
    char16_t state[6], text[182];
    SQLINTEGER native = 0;
    for (SQLSMALLINT i = 1;; ++i) {
        if (!SQL_SUCCEEDED(SQLGetDiagRecW(kind, handle, i, Wide(state), &native, Wide(text), 182, nullptr)))
            return all;
        all += (i > 1 ? ", " : "") + ToUtf8(state) + " " + std::to_string(native);
        const std::string told = std::regex_replace(ToUtf8(text), prefix, "@");
        if (withTexts) all += " " + std::regex_replace(told, lineBreak, "\\r\\n");
    }
}

std::string ConnectionString(const std::string& database, const std::string& server = kServer) {
    return "DRIVER={ODBC Driver 18 for SQL Server};SERVER={" + server + "};DATABASE={" + database +
           "};UID={sa};PWD={p;w}}1};Encrypt=no;TrustServerCertificate=yes;APP=check;";
}

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

/// Asks the faulty server for faults, with blanks for the tabs of their lines.
void Ask(const std::string& faults) {
    WriteFile(root / kFaulty / "faults.txt", std::regex_replace(faults, std::regex(" "), "\t"));
}

struct Statement {
    explicit Statement(SQLHDBC dbc) { SQLAllocHandle(SQL_HANDLE_STMT, dbc, &handle); }
    ~Statement() { SQLFreeHandle(SQL_HANDLE_STMT, handle); }

    SQLRETURN Execute(std::u16string sql) { return SQLExecDirectW(handle, Wide(sql.data()), SQL_NTS); }
    std::string Error() const { return Errors(SQL_HANDLE_STMT, handle); }

    /// Rows, each ended by ";"; columns parted by "|", NULL as "~", in brackets the error of a failed fetch.
    std::string Rows(bool asNumbers = false) {
        char16_t texts[8][300];
        SQLLEN lengths[8] = {};
        SQLSMALLINT columns = 0;
        SQLNumResultCols(handle, &columns);
        for (SQLUSMALLINT i = 0; i < columns; ++i)
            SQLBindCol(handle, static_cast<SQLUSMALLINT>(i + 1), asNumbers ? SQL_C_SBIGINT : SQL_C_WCHAR,
                       texts[i], sizeof texts[0], &lengths[i]);
        std::string rows;
        SQLRETURN result = SQL_NO_DATA;
        for (int failed = 0; columns > 0 && failed < 2 && (result = SQLFetch(handle)) != SQL_NO_DATA;) {
            failed += result == SQL_ERROR;
            for (int i = 0; i < columns && result != SQL_ERROR; ++i) {
                std::int64_t number = 0;
                std::memcpy(&number, texts[i], sizeof number);
                const std::string text = asNumbers ? std::to_string(number) : ToUtf8(texts[i]);
                rows += (i > 0 ? "|" : "") + (lengths[i] == SQL_NULL_DATA ? "~" : text);
            }
            rows += result == SQL_ERROR ? "(" + Error() + ")" : ";";
        }
        CHECK((columns == 0 || SQLFetch(handle) == result));  // the end each time, or the lost connection
        return rows;
    }

    SQLHSTMT handle = SQL_NULL_HSTMT;
};

struct Client {
    explicit Client(const std::string& connectionString = "") {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
        SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
        if (!connectionString.empty()) Connect(connectionString);
    }
    ~Client() {
        for (const char* call : {"rollback", "automatic", "disconnect"}) Do(call);
        SQLFreeHandle(SQL_HANDLE_DBC, dbc);
        SQLFreeHandle(SQL_HANDLE_ENV, env);
    }

    /// All records, with their texts.
    std::string Connect(const std::string& connectionString) {
        SQLDriverConnectW(dbc, nullptr, Wide(ToUtf16(connectionString).data()), SQL_NTS, nullptr, 0, nullptr,
                          SQL_DRIVER_NOPROMPT);
        return Errors(SQL_HANDLE_DBC, dbc, true);
    }
    SQLRETURN Set(SQLINTEGER attribute, SQLULEN value) {
        return SQLSetConnectAttrW(dbc, attribute, reinterpret_cast<SQLPOINTER>(value), SQL_IS_UINTEGER);
    }
    /// Runs a statement; as "PREPARE text:size statement" in three calls, with a parameter. @return the rows
    /// of the first result, as numbers for "NUMBER query", "no data" for a change without rows, or the
    /// errors, behind "PREPARE" when they came before the execution
    std::string Run(const std::string& sql) {
        static const std::regex form(R"((NUMBER |PREPARE (\S+):(\d+) )?([^]*))");
        std::smatch parts;
        std::regex_match(sql, parts, form);
        const bool prepares = parts[2].matched;
        std::u16string value = ToUtf16(parts.str(2)), text = ToUtf16(parts.str(4));
        Statement statement(dbc);
        const SQLHSTMT stmt = statement.handle;
        if (stmt == SQL_NULL_HSTMT) return Errors(SQL_HANDLE_DBC, dbc);
        if (prepares && (SQLPrepareW(stmt, Wide(text.data()), SQL_NTS) != SQL_SUCCESS ||
                         SQLBindParameter(stmt, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR,
                                          std::stoul(parts[3]), 0, value.data(), 0, nullptr) != SQL_SUCCESS))
            return "PREPARE " + statement.Error();
        const SQLRETURN result = prepares ? SQLExecute(stmt) : statement.Execute(text);
        if (result == SQL_NO_DATA) return "no data";
        return SQL_SUCCEEDED(result) ? statement.Rows(parts[1] == "NUMBER ") : statement.Error();
    }
    /// Makes the call that a word stands for, or runs a statement. @return the errors, or what is told
    std::string Do(const std::string& what) {
        const auto told = [&](SQLRETURN r) { return r == SQL_ERROR ? Errors(SQL_HANDLE_DBC, dbc) : ""; };
        if (what == "manual") return told(Set(SQL_ATTR_AUTOCOMMIT, SQL_AUTOCOMMIT_OFF));
        if (what == "automatic") return told(Set(SQL_ATTR_AUTOCOMMIT, SQL_AUTOCOMMIT_ON));
        if (what == "commit") return told(SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_COMMIT));
        if (what == "rollback") return told(SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_ROLLBACK));
        if (what == "disconnect") return told(SQLDisconnect(dbc));
        if (what == "free") return told(SQLFreeHandle(SQL_HANDLE_DBC, dbc));
        if (what != "alive" && what != "dead") return Run(what);
        SQLUINTEGER dead = SQL_CD_FALSE;
        SQLGetConnectAttrW(dbc, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr);
        if (what == "dead") return dead == SQL_CD_TRUE ? "yes" : "no";
        const std::string counts = ReadFile(root / ("handles-" + std::to_string(getpid()) + ".txt"));
        return std::regex_replace(counts, std::regex("^ +|\\n| +(?= )"), "");
    }
    /// Does steps of the form "what => result", each on a line or in front of " / ".
    void Check(const std::string& steps) {
        const std::regex form(R"(\s*(\S.*?) =>(?: (.*?)){0,1}?(?: /|\n|$))");
        std::smatch step;
        for (std::string rest = steps; !rest.empty(); rest = step.suffix()) {
            REQUIRE(std::regex_search(rest, step, form, std::regex_constants::match_continuous));
            CAPTURE(step.str(1));
            CHECK(Do(step.str(1)) == (step.str(2) == "lost" ? "08S01 10054, 08S01 10054" : step.str(2)));
        }
    }

    SQLHENV env = SQL_NULL_HENV;
    SQLHDBC dbc = SQL_NULL_HDBC;
};

/// A client, and a database of its own with tables like the game's.
struct World : Client {
    World() : Client(ConnectionString("master")) {
        Check(
            R"(IF DB_ID('GameA') > 0 DROP DATABASE GameA; CREATE DATABASE [GameA] COLLATE Chinese_PRC_CI_AS; USE GameA =>
            CREATE TABLE [GameA].[dbo].[Roles](ID char(20) NULL, Name nvarchar(30), Account varchar(50), Zone int DEFAULT 7) =>
            CREATE TABLE Guilds(ID nvarchar(50) NOT NULL PRIMARY KEY, Name nvarchar(9) COLLATE Chinese_PRC_CI_AS, Notes ntext NULL) =>)");
    }
};

}  // namespace

TEST_CASE("connecting takes at most the login time-out and is told in the words of the driver") {
    WriteFile(root / "faults.txt", "second\t30\n");
    // A fault, the login time-out in seconds where it is awaited, and what is put in front of a good string.
    std::istringstream rows(R"(| | => 01000 5701 @[SQL Server]Changed database context to 'master'.
        | |Connection Timeout=5; => 01S00 0 @Invalid connection string attribute, 01000 5701 @[SQL Server]Changed database context to 'master'.
        | |PWD=x;ConnectTimeout=5; => 28000 18456 @[SQL Server]Login failed for user 'sa'., 01S00 0 @Invalid connection string attribute
        | |DATABASE=x;NET ADDR=5; => 42000 4060 @[SQL Server]Cannot open database "x" requested by the login., 28000 18456 @[SQL Server]Login failed for user 'sa'., 01S00 0 @Invalid connection string attribute
        | |DRIVER={SQL Server};PWD=x; => 28000 18456 [Microsoft][SQL Server][SQL Server]Login failed for user 'sa'.
        |5|SERVER=nobody; => HYT00 0 @Login timeout expired, 08001 10061 @TCP Provider: Connection refused.\r\n, 08001 10061 @A network-related or instance-specific error has occurred while establishing a connection to nobody. Server is not found or not accessible.
        refuse connect *|15|a=b; => HYT00 0 @Login timeout expired, 08001 10061 @TCP Provider: Connection refused.\r\n, 08001 10061 @A network-related or instance-specific error has occurred while establishing a connection to faulty. Server is not found or not accessible., 01S00 0 @Invalid connection string attribute
        silent connect *|15| => HYT00 0 @Login timeout expired, 08001 258 @TCP Provider: Timeout error [258]. , 08001 258 @Unable to complete login process due to delay in prelogin response
        slow connect * 9000|5|a=b; => HYT00 0 @Login timeout expired, 08001 258 @TCP Provider: Timeout error [258]. , 08001 258 @Unable to complete login process due to delay in prelogin response, 01S00 0 @Invalid connection string attribute
        die connect *| | => 08S01 10054 @TCP Provider: Connection reset by peer.\r\n, 08S01 10054 @Communication link failure
        connect * 08001 17 1 01000 0 2| |a=b; => 08001 17 1, 01S00 0 @Invalid connection string attribute, 01000 0 2
        connect * -| |a=b; => )");
    const std::regex form(R"(\s*(.*)\|(.*)\|(.*) => (.*))");
    for (std::string line; std::getline(rows, line);) {
        std::smatch row;
        REQUIRE(std::regex_match(line, row, form));
        Ask("second 30\n" + row.str(1));
        const Milliseconds second(30), least = second * std::atoi(row.str(2).c_str());
        Client client;
        if (row.str(2) == "5") client.Set(SQL_ATTR_LOGIN_TIMEOUT, 5);
        for (const char* attempt : {"first", "second"}) {  // on one handle
            CAPTURE(line + attempt);
            const auto start = Clock::now();
            CHECK(client.Connect(row.str(3) + ConnectionString("master", kFaulty)) == row.str(4));
            const auto taken = Clock::now() - start;
            CHECK((taken >= least && taken < least + 9 * second));
            if (row.str(4).ends_with("'master'.")) client.Check("free => HY010 0 / disconnect =>");
        }
    }
}

TEST_CASE("a lost connection and an open transaction are told until they are let go of") {
    const std::string string = ConnectionString("master", kFaulty);
    Ask("");
    Client(string).Check("CREATE DATABASE d; USE d; CREATE TABLE t(a int); INSERT INTO t(a) VALUES (1) =>");
    for (const auto& row :
         {std::pair("", R"(
            commit => / manual => / SELECT a FROM d.dbo.t => 1; / disconnect => 25000 0
            UPDATE d.dbo.t SET a = 2 => / disconnect => 25000 0 / rollback => / disconnect =>)"),
          {"die execute 2", R"(
            manual => / UPDATE d.dbo.t SET a = 2 => / SELECT 1 => lost / dead => yes / SELECT 1 => 08S01 0
            rollback => 08S01 0 / commit => 08S01 0 / disconnect => 25000 0 / alive => 1 1 0 1
            automatic => 08S01 0 / disconnect => / alive => 0 0 0 0)"},
          {"die manual 1", "manual => lost / rollback => / automatic => / manual => 08S01 0 / disconnect =>"},
          {"die execute 1",
           "SELECT 1 => lost / SELECT 1 => 08S01 0 / commit => / alive => 1 1 0 1 / disconnect =>"},
          {"die auto 1", "manual => / UPDATE d.dbo.t SET a = 2 => / automatic => lost / disconnect =>"},
          {"die fetch 2 08S01 5 x", "SELECT n FROM (VALUES (1), (2)) AS v(n) => 1;(08S01 5)(08S01 0)"},
          {"fetch 2 HY000 5 x", R"(
            SELECT n FROM (VALUES (1), (2), (3)) AS v(n) => 1;(HY000 5) / SELECT a FROM d.dbo.t => 1; / dead => no)"}}) {
        CAPTURE(row.first);
        Client client(string);
        Ask(row.first);
        client.Check(row.second);
    }
    Client(string).Check("SELECT a FROM d.dbo.t => 1;");
}

TEST_CASE("databases, schemas, tables and columns") {
    World().Check(R"(
        CREATE DATABASE GameB; ALTER DATABASE [GameB] SET OFFLINE WITH ROLLBACK IMMEDIATE => / SELECT 1 FROM [GameB].dbo.Roles => 42000 942
        SELECT name FROM sys.databases WHERE database_id > 4 AND state_desc = 'online' ORDER BY name => GameA;
        CREATE SCHEMA [邮件]; CREATE TABLE [邮件].[a]]b](收件ID nvarchar(9) NULL, n int NOT NULL IDENTITY(1, 1) PRIMARY KEY) =>
        SELECT TABLE_SCHEMA, COLUMN_NAME, DATA_TYPE FROM [gamea].INFORMATION_SCHEMA.COLUMNS WHERE TABLE_NAME LIKE N'A]B' ORDER BY ORDINAL_POSITION => 邮件|收件ID|nvarchar;邮件|n|int;
        INSERT INTO [邮件].[a]]b] (收件ID) VALUES (N'x'), (N'y') => / SELECT n, 收件id FROM [邮件].[a]]b] /* both */ -- comments => 1|x;2|y;
        ALTER DATABASE [GameB] SET ONLINE; ALTER DATABASE GameB SET SINGLE_USER WITH ROLLBACK IMMEDIATE; =>
        IF DB_ID(N'gameb') IS NOT NULL DROP DATABASE [GameB]; IF DB_ID(N'x') > 0 DROP DATABASE x =>)");
}

TEST_CASE("text is compared and sorted as Chinese_PRC_CI_AS does") {
    World().Check(R"(
        INSERT INTO Roles (ID, Name) VALUES (N'1001', N'张三'), ('ab', NULL), ('  ', N'') =>
        INSERT INTO Guilds (ID) VALUES (N'张'), (N'阿'), ('z'), (N'李'), ('2'), ('_'), ('B'), ('a'), ('AB'), (N'1001 ') =>
        SELECT DISTINCT a.ID, a.Name, b.ID FROM [GameA].[dbo].[Roles] a JOIN Guilds b ON a.ID COLLATE DATABASE_DEFAULT = b.ID COLLATE DATABASE_DEFAULT WHERE LTRIM(RTRIM(a.ID)) <> N'' ORDER BY a.ID => 1001                |张三|1001 ;ab                  |~|AB;
        SELECT ID FROM Guilds ORDER BY ID, Guilds.Notes => 42000 306 / SELECT ID FROM Guilds ORDER BY CAST(Notes AS nchar(9)), ID => _;1001 ;2;a;AB;B;z;阿;李;张;
        SELECT 1 WHERE N'Ω' = N'ω' AND N'か' = N'カ' AND N'é' <> N'e' AND 'a' <> ' a' AND 'a' COLLATE DATABASE_DEFAULT = 'A' => 1;)");
}

TEST_CASE("the largest number is exact, and too large for 64 bits at most when it is read") {
    World().Check(std::regex_replace(
        R"(INSERT INTO Guilds (ID) VALUES (N'12a'), (N'+15') => / NUMBER @ => ~;
        INSERT INTO Guilds (ID) VALUES (N'9223372036854775807') => / NUMBER @ => 9223372036854775807;
        INSERT INTO Guilds (ID) VALUES (N'9223372036854775808') => / NUMBER @ => (22003 0)
        INSERT INTO Guilds (ID) VALUES (N'99999999999999999999999999999999999999') => / NUMBER @ => (22003 0)
        @ => 99999999999999999999999999999999999999;
        INSERT INTO Guilds (ID) VALUES (N'100000000000000000000000000000000000000') => / NUMBER @ => 22003 8115)",
        std::regex("@"),
        "SELECT MAX(CASE WHEN ID NOT LIKE N'%[^0-9]%' THEN CONVERT(DECIMAL(38,0), ID) END) FROM Guilds"));
}

TEST_CASE("values are converted, matched and stored, or refused with state and number") {
    World().Check(R"(
        SELECT 1 WHERE NULL = NULL OR NULL <> 1 OR N'abc ' LIKE N'abc' OR N'5' LIKE N'[^0-9]' OR N'5' LIKE N'[5' =>
        SELECT 1 WHERE N'aXc' LIKE N'a[w-y]C' AND '%' LIKE '!%' ESCAPE '!' AND N'￥Ａ' LIKE N'_a' AND 'b-' LIKE '%[-]' => 1;
        PREPARE %00\%:5 SELECT TOP (1) s FROM (VALUES ('100%'), ('1000'), (NULL)) AS v(s) WHERE s LIKE ? ESCAPE N'\' ORDER BY s ASC => 100%;
        PREPARE %家%:3 SELECT 1 WHERE N'玩家' LIKE ? => 1; / PREPARE %12%:3 SELECT 1 WHERE '12' LIKE ? => 22001 0
        SELECT CAST(N'abcdef' AS NVARCHAR(3)), CAST(-12 AS NVARCHAR(10)), CAST(N'张三' AS varchar(3)) + '.' => abc|-12|张.;
        SELECT CAST('a' AS char(3)) + N'b', LTRIM(RTRIM('  a ')) + '.', CONVERT(varchar(9), 10 + NULL) => a  b|a.|~;
        SELECT CAST(' 7 ' AS int) + '5', 2 + 3 * (4 + 1), CONVERT(int, '') => 12|17|0;
        SELECT 10 * t.i + d.i FROM (VALUES (1), (2)) AS t(i) CROSS JOIN (VALUES (3)) d(i) WHERE t.i < 2 => 13;
        SELECT 9000000000000000 * 9000000000000000 => 22003 8115 / SELECT 1 WHERE 'a' LIKE 'a' ESCAPE 'xx' => 42000 506
        SELECT 1 + 'x' => 22018 245 / SELECT CONVERT(DECIMAL(38,0), N'') => 42000 8114
        INSERT INTO Roles (ID, Name, Account, Zone) VALUES ('1', 'n', 'a', 5) => / INSERT INTO Guilds (ID) VALUES ('g') =>
        CREATE UNIQUE INDEX one ON Roles (Account) => / INSERT INTO Roles (ID) VALUES ('123456789012345678901') => 22001 2628
        UPDATE Roles SET ID = N'张三张三张三张三张三张' => 22001 2628 / UPDATE Roles SET Zone = 'x' => 22018 245
        INSERT INTO Roles (ID, Account) VALUES ('12345678901234567890   ', 'b'), ('x', 'A') => 23000 2601
        INSERT INTO Guilds (ID) VALUES (NULL) => 23000 515 / INSERT INTO Guilds (ID) VALUES (N'G ') => 23000 2627
        UPDATE Roles SET Zone = '3000000000' => 22003 248 / DELETE FROM Roles WHERE ID = 'none' => no data
        PREPARE x:1 SELECT 1 FROM Missing => 42S02 208 / PREPARE x:1 SELECT 'open => 42000 105 / ROLLBACK TRANSACTION => 42000 3903
        SELECT 1 FROM Missing WHERE 1 LIKE ? => 07002 0
        SELECT CONVERT(int, s) FROM (VALUES ('1'), ('x'), ('3')) AS v(s) => 1;(22018 245)
        SELECT CONVERT(int, s) FROM (VALUES ('x'), ('1')) AS v(s) => 22018 245 / SELECT ID, Zone FROM Roles => 1                   |5;)");
}

TEST_CASE("what SQLite takes and T-SQL does not is refused") {
    World world;
    std::istringstream statements(
        R"(SELECT 1 LIMIT 1;SELECT ID FROM Guilds LIMIT 1;SELECT 'a' || 'b';SELECT "text";BEGIN;
SELECT length('a');SELECT max(1, 2);SELECT 1 << 2;SELECT 'a' GLOB 'a';SELECT 'a' -> 'b';SELECT x'00';SELECT 1e5;
SELECT 1 == 1;SELECT 1 WHERE 1 ISNULL;SELECT 1 + = 2;VALUES (1);WITH a AS (SELECT 1) SELECT 1;PRAGMA user_version;
REPLACE INTO Guilds (ID) VALUES ('');INSERT OR IGNORE INTO Guilds (ID) VALUES ('');ATTACH 'x' AS y;EXPLAIN SELECT 1;
SELECT `a`;SELECT 1 FROM sqlite_schema;SELECT CASE WHEN 1 = 1 THEN 1)");
    for (std::string sql; std::getline(statements, sql, ';');) {
        CAPTURE(sql);
        CHECK(world.Run(sql).starts_with("42"));
    }
}

TEST_CASE("one result at a time, cut texts and missing indicators") {
    Client client(ConnectionString("master"));
    Statement first(client.dbc), second(client.dbc);
    first.Execute(u"SELECT n, N'张三丰', NULL FROM (VALUES (1),(2)) AS d(n)");
    client.Check("SELECT 1 => HY000 0");
    char16_t text[3] = {1, 1, 1};
    SQLLEN length = 0;
    SQLBindCol(first.handle, 2, SQL_C_WCHAR, text, sizeof text, &length);
    CHECK((SQLFetch(first.handle) == SQL_SUCCESS_WITH_INFO && first.Error() == "01004 0"));
    CHECK(ToUtf8(text) + std::to_string(length) == "张三6");
    SQLBindCol(first.handle, 3, SQL_C_WCHAR, text, sizeof text, nullptr);
    CHECK((SQLFetch(first.handle) == SQL_ERROR && first.Error() == "22002 0, 01004 0"));
    CHECK(SQLFetch(first.handle) == SQL_NO_DATA);
    CHECK(second.Execute(u"SELECT 1; SELECT 2") == SQL_SUCCESS);
    CHECK(SQLMoreResults(second.handle) == SQL_SUCCESS);
}

TEST_CASE("transactions and locks between two connections") {
    World world;
    Client other(ConnectionString("GameA"));
    world.Check(R"(INSERT INTO Guilds (ID, Name) VALUES ('g', 'old') => / manual =>
        SELECT COUNT_BIG(*) FROM Guilds WITH (UPDLOCK, HOLDLOCK) WHERE ID = N'g' => 1;)");
    other.Check("SET LOCK_TIMEOUT 50 => / UPDATE Guilds SET Name = N'new' => HYT00 1222");
    world.Check(
        R"(UPDATE Guilds SET Name = N'new' => / INSERT INTO Guilds (ID) VALUES ('h'), (NULL) => 23000 515)");
    other.Check("SELECT Name FROM GameA.dbo.Guilds => old; / SET LOCK_TIMEOUT 20000 =>");
    world.Check(R"(SELECT Name FROM Guilds => new; / rollback => / UPDATE Guilds SET Name = N'new' =>
        IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION => / SELECT Name FROM Guilds => old; / UPDATE Guilds SET Name = N'new' =>)");
    std::thread release([&] {
        std::this_thread::sleep_for(Milliseconds(200));
        world.Check("rollback => / automatic =>");
    });
    other.Check("UPDATE Guilds SET Name = N'new' =>");  // waits for the end of the other transaction
    release.join();
}

TEST_CASE("faults and traces are asked for in files") {
    WriteFile(root / kFaulty / "trace.txt", "");
    Ask("slow execute 2 80\nexecute 3 40001 9 x\nstatement 4 HY001 2 x");
    Client client(ConnectionString("master", kFaulty));
    const auto start = Clock::now();
    CHECK(client.Run("CREATE DATABASE e;\nUSE e; CREATE TABLE t(a int)") == "");
    client.Check("USE e => / SELECT 1 => 40001 9 / SELECT 1 => HY001 2");
    CHECK(Clock::now() - start >= Milliseconds(80));
    SQLHANDLE leaked = SQL_NULL_HANDLE;  // stays in the count
    SQLAllocHandle(SQL_HANDLE_STMT, client.dbc, &leaked);
    client.Check(
        "SELECT a FROM t WITH (UPDLOCK, holdlock) => / alive => 1 1 1 1 / disconnect => / alive => 0 0 1 0");
    client.Set(SQL_ATTR_LOGIN_TIMEOUT, 5);
    client.Connect(ConnectionString("Missing", kFaulty));
    const std::string trace = ReadFile(root / kFaulty / "trace.txt");
    for (const char* event :
         {"attempt\tODBC Driver 18 for SQL Server 15\n", "connect\tmaster\n",
          "execute\tCREATE DATABASE e;\\nUSE e; CREATE TABLE t(a int)\n", "hints\tUPDLOCK,HOLDLOCK\n",
          "disconnect\t1\n", "attempt\tODBC Driver 18 for SQL Server 5\n"})
        CHECK(trace.find(event) != trace.npos);
}

TEST_CASE("a fault names the statement that it hits, and a line that says it wrong is told") {
    Client client(ConnectionString("master", kFaulty));
    Ask("prepare ''b'' 2 HY000 1 x\nbind ''b'' 2 HY000 2 x\nexecute ''b'' 2 HY000 3 x\nfetch ''b'' 4 HY000 "
        "4 x");
    client.Check(
        R"(PREPARE x:1 SELECT 'b' + ? => bx; / PREPARE x:1 SELECT 'a' + ? => ax; / PREPARE x:1 SELECT 'b' + ? => PREPARE HY000 1
        PREPARE x:1 SELECT 'b' + ? => PREPARE HY000 2 / PREPARE x:1 SELECT 'b' + ? => HY000 3 / PREPARE x:1 SELECT 'b' + ? => (HY000 4))");
    for (const std::string line : {"fetch '' 1", "fetch 'b 1", "fetch ' 1", "fetch 'b'", "commit 'b' 1"}) {
        CAPTURE(line);
        Ask(line + " HY000 5 x");
        client.Check("SELECT 1 => HY000 0");
    }
}

TEST_CASE("CAST leaves an index in use on both sides") {
    World world;
    world.Check(R"(
        INSERT INTO Roles (Zone) VALUES (0), (1), (2), (3), (4), (5), (6), (7), (8), (9) =>
        INSERT INTO Roles (ID) SELECT CONVERT(varchar(9), 10000 + a.Zone + 10 * b.Zone + 100 * c.Zone + 1000 * d.Zone) FROM Roles a CROSS JOIN Roles b CROSS JOIN Roles c CROSS JOIN Roles d =>)");
    const auto time = [&](const std::string& condition) {
        const auto start = Clock::now();
        for (int i = 0; i < 20; ++i)
            CHECK(world.Run("SELECT COUNT_BIG(*) FROM Roles WHERE " + condition) == "1;");
        return Clock::now() - start;
    };
    const std::string cast = "CAST([ID] AS NVARCHAR(256))", left = cast + " = N'14242'";
    const auto scan = time(left);
    world.Check("CREATE INDEX byId ON GameA.dbo.Roles(ID) =>");
    CHECK((time(left) * 3 < scan && time("N'14242' = " + cast) * 3 < scan));
}

int main(int argc, char** argv) {
    char pattern[] = "/tmp/standin-check-XXXXXX";
    root = mkdtemp(pattern);
    for (const std::string& server : {kServer, kFaulty})
        WriteFile(root / server / "server.conf", "user=sa\npassword=p;w}1\n");
    WriteFile(root / "odbcinst.ini", "[ODBC Driver 18 for SQL Server]\nDriver=" DRIVER_FILE
                                     "\nThreading=0\n[SQL Server]\nDriver=" DRIVER_FILE "\n");
    setenv("ODBCSYSINI", root.c_str(), 1);
    setenv("SQLSTANDIN_ROOT", root.c_str(), 1);
    const int failed = doctest::Context(argc, argv).run();
    fs::remove_all(root);
    return failed;
}
