// Checks the stand-in from outside, through the driver manager, as any client would use it.

#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "text.h"

namespace {
namespace fs = std::filesystem;
using standin::ToUtf16;
using standin::ToUtf8;
fs::path root;  // of all servers of this run
constexpr const char* kServer = "127.0.0.1,14330";

SQLWCHAR* Wide(char16_t* text) {
    return reinterpret_cast<SQLWCHAR*>(text);
}

constexpr const char* kDriver = "ODBC Driver 18 for SQL Server";
const std::string kUnknown = "Connection Timeout=5;";  // no keyword of the driver

/// "STATE native", one after the other, of all records of a handle; with their texts, "@" for the prefix.
std::string Errors(SQLSMALLINT kind, SQLHANDLE handle, bool withTexts = false) {
    std::string all;
    char16_t state[6], text[400];
    SQLINTEGER native = 0;
    const std::string prefix = "[Microsoft][" + std::string(kDriver) + "]";
    const auto read = [&](SQLSMALLINT i) {
        return SQL_SUCCEEDED(SQLGetDiagRecW(kind, handle, i, Wide(state), &native, Wide(text), 400, nullptr));
    };
    for (SQLSMALLINT i = 1; read(i); ++i) {
        all += (i > 1 ? ", " : "") + ToUtf8(state) + " " + std::to_string(native);
        std::string shown = ToUtf8(text);
        if (shown.starts_with(prefix)) shown.replace(0, prefix.size(), "@");
        if (withTexts) all += " " + shown;
    }
    return all;
}

std::string ConnectionString(const std::string& database, const std::string& server = kServer,
                             const std::string& password = "p;w}}1", const std::string& driver = kDriver) {
    return "DRIVER={" + driver + "};SERVER={" + server + "};DATABASE={" + database + "};UID={sa};PWD={" +
           password + "};Encrypt=no;TrustServerCertificate=yes;APP=check;";
}

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

/// What this process has alive: environments, connections, statements, open connections.
std::string Alive() {
    std::ifstream file(root / ("handles-" + std::to_string(getpid()) + ".txt"));
    std::string all;
    for (std::string count; file >> count;) all += (all.empty() ? "" : " ") + count;
    return all;
}

struct Statement {
    explicit Statement(SQLHDBC dbc) { SQLAllocHandle(SQL_HANDLE_STMT, dbc, &handle); }
    ~Statement() { SQLFreeHandle(SQL_HANDLE_STMT, handle); }

    SQLRETURN Execute(const std::string& sql) {
        return SQLExecDirectW(handle, Wide(ToUtf16(sql).data()), SQL_NTS);
    }
    SQLRETURN Prepare(const std::string& sql) {
        return SQLPrepareW(handle, Wide(ToUtf16(sql).data()), SQL_NTS);
    }
    std::string Error(bool withTexts = false) const { return Errors(SQL_HANDLE_STMT, handle, withTexts); }

    /// All rows, each ended by ";"; columns parted by "|", NULL as "~"; an error in the place of a row stands
    /// in brackets, and the second one ends the list.
    std::string Rows() {
        char16_t texts[8][300];
        SQLLEN lengths[8] = {};
        SQLSMALLINT columns = 0;
        SQLNumResultCols(handle, &columns);
        for (SQLUSMALLINT i = 0; i < columns; ++i) {
            SQLBindCol(handle, static_cast<SQLUSMALLINT>(i + 1), SQL_C_WCHAR, texts[i], sizeof texts[0],
                       &lengths[i]);
        }
        std::string rows;
        int errors = columns > 0 ? 0 : 2;
        for (SQLRETURN result; errors < 2 && (result = SQLFetch(handle)) != SQL_NO_DATA;) {
            if (result == SQL_ERROR) {
                rows += "(" + Error() + ")";
                ++errors;
                continue;
            }
            for (int i = 0; i < columns; ++i) {
                rows += (i > 0 ? "|" : "") + (lengths[i] == SQL_NULL_DATA ? "~" : ToUtf8(texts[i]));
            }
            rows += ";";
        }
        if (errors < 2) CHECK(SQLFetch(handle) == SQL_NO_DATA);  // each time
        return rows;
    }

    SQLHSTMT handle = SQL_NULL_HSTMT;
};

struct Client {
    explicit Client(const std::string& connectionString = ConnectionString("master")) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
        SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
        if (!connectionString.empty()) Connect(connectionString);
    }
    ~Client() {
        SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_ROLLBACK);
        Manual(SQL_AUTOCOMMIT_ON);
        SQLDisconnect(dbc);
        SQLFreeHandle(SQL_HANDLE_DBC, dbc);
        SQLFreeHandle(SQL_HANDLE_ENV, env);
    }

    std::string Connect(const std::string& connectionString) {
        SQLDriverConnectW(dbc, nullptr, Wide(ToUtf16(connectionString).data()), SQL_NTS, nullptr, 0, nullptr,
                          SQL_DRIVER_NOPROMPT);
        return Errors(SQL_HANDLE_DBC, dbc, true);
    }
    /// The rows of the first result, "no data" for a change without rows, or the errors.
    std::string Run(const std::string& sql, bool prepared = false) {
        Statement statement(dbc);
        if (statement.handle == SQL_NULL_HSTMT) return Told(SQL_ERROR);
        if (prepared && statement.Prepare(sql) != SQL_SUCCESS) return "cannot prepare";
        const SQLRETURN result = prepared ? SQLExecute(statement.handle) : statement.Execute(sql);
        if (result == SQL_NO_DATA) return "no data";
        return SQL_SUCCEEDED(result) ? statement.Rows() : statement.Error();
    }
    /// A 64-bit number; NULL as 0.
    std::string Number(const std::string& sql) {
        Statement statement(dbc);
        std::int64_t value = 0;
        SQLLEN indicator = 0;
        SQLBindCol(statement.handle, 1, SQL_C_SBIGINT, &value, sizeof value, &indicator);
        const bool good = SQL_SUCCEEDED(statement.Execute(sql)) && SQL_SUCCEEDED(SQLFetch(statement.handle));
        return good ? std::to_string(value) : statement.Error();
    }
    SQLRETURN Set(SQLINTEGER attribute, SQLULEN value) {
        return SQLSetConnectAttrW(dbc, attribute, reinterpret_cast<SQLPOINTER>(value), SQL_IS_UINTEGER);
    }
    SQLRETURN Manual(SQLULEN mode) { return Set(SQL_ATTR_AUTOCOMMIT, mode); }
    std::string Told(SQLRETURN result) const {
        return result == SQL_SUCCESS ? "" : Errors(SQL_HANDLE_DBC, dbc);
    }
    /// Runs a statement, or the call that a word stands for.
    std::string Do(const std::string& what) {
        if (what == "manual") return Told(Manual(SQL_AUTOCOMMIT_OFF));
        if (what == "automatic") return Told(Manual(SQL_AUTOCOMMIT_ON));
        if (what == "commit") return Told(SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_COMMIT));
        if (what == "rollback") return Told(SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_ROLLBACK));
        if (what == "disconnect") return Told(SQLDisconnect(dbc));
        if (what == "free") return Told(SQLFreeHandle(SQL_HANDLE_DBC, dbc));
        if (what == "alive") return Alive();
        if (what.starts_with("prepared ")) return Run(what.substr(9), true);
        if (what != "dead") return Run(what);
        SQLUINTEGER dead = SQL_CD_FALSE;
        const SQLRETURN result = SQLGetConnectAttrW(dbc, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr);
        return Told(result) + (dead == SQL_CD_TRUE ? "yes" : "no");
    }
    /// Does lines of the form "what => result".
    void CheckLines(const std::string& lines) {
        std::istringstream stream(lines);
        for (std::string line; std::getline(stream >> std::ws, line);) {
            const std::size_t arrow = line.find(" =>");
            CAPTURE(line);
            CHECK(Do(line.substr(0, arrow)) == line.substr(std::min(arrow + 4, line.size())));
        }
    }

    SQLHENV env = SQL_NULL_HENV;
    SQLHDBC dbc = SQL_NULL_HDBC;
};

/// A client, and a database of its own with tables like the game's.
struct World : Client {
    World() {
        Run("DROP DATABASE GameA");
        REQUIRE(Run("CREATE DATABASE [GameA] COLLATE Chinese_PRC_CI_AS; USE GameA") == "");
        REQUIRE(Run("CREATE TABLE [GameA].[dbo].[Roles](ID char(20) NULL, Name nvarchar(30), Account "
                    "varchar(50), Zone int DEFAULT 7); CREATE TABLE Guilds(ID nvarchar(50) NOT NULL PRIMARY "
                    "KEY, Name nvarchar(9) COLLATE Chinese_PRC_CI_AS, Notes ntext NULL)") == "");
    }
};

constexpr const char* kConf = "user=sa\npassword=p;w}1\n";

}  // namespace

TEST_CASE("connecting takes at most the login time-out and is told in the words of the driver") {
    const std::string unknown = "01S00 0 @Invalid connection string attribute";
    const std::string connected = "01000 5701 @[SQL Server]Changed database context to 'master'.";
    const std::string failed = "28000 18456 @[SQL Server]Login failed for user 'sa'.";
    const std::string refused =
        "HYT00 0 @Login timeout expired, 08001 10061 @TCP Provider: Connection refused.\r\n, 08001 10061 @A "
        "network-related or instance-specific error has occurred while establishing a connection to nobody. "
        "Server is not found or not accessible. Check if instance name is correct and if SQL Server is "
        "configured to allow remote connections. For more information see SQL Server Books Online.";
    const std::string silent =
        "HYT00 0 @Login timeout expired, 08001 258 @TCP Provider: Timeout error [258]. , 08001 258 @Unable "
        "to "
        "complete login process due to delay in prelogin response";
    const std::string faulty = ConnectionString("master", "faulty");
    WriteFile(root / "faulty" / "server.conf", kConf);
    WriteFile(root / "faulty" / "trace.txt", "");
    WriteFile(root / "faults.txt", "second\t40\n");
    struct Row {
        int loginTimeout, waited;  // seconds
        std::string connectionString, records, faults = "";
    };
    for (const Row& row :
         {Row{0, 0, faulty, connected}, Row{0, 0, faulty + kUnknown, unknown + ", " + connected},
          Row{0, 0, ConnectionString("master", "faulty", "wrong") + kUnknown, failed + ", " + unknown},
          Row{0, 0, ConnectionString("master", "faulty", "", "SQL Server"),
              "28000 18456 [Microsoft][SQL Server][SQL Server]Login failed for user 'sa'."},
          Row{0, 0, ConnectionString("Missing", "faulty"),
              "42000 4060 @[SQL Server]Cannot open database \"Missing\" requested by the login., " + failed},
          Row{5, 5, ConnectionString("master", "nobody"), refused},
          Row{0, 15, ConnectionString("master", "nobody") + kUnknown, refused + ", " + unknown},
          Row{5, 5, faulty, silent, "silent\tconnect\t1"},
          Row{0, 15, faulty + kUnknown, silent + ", " + unknown, "slow\tconnect\t1\t9000"},
          Row{0, 0, faulty + kUnknown, "08001 17 one, " + unknown + ", 01000 0 two",
              "connect\t1\t08001\t17\tone\t01000\t0\ttwo"},
          Row{0, 0, faulty + kUnknown, "", "connect\t1\t-"}}) {
        CAPTURE(row.connectionString + row.faults);
        WriteFile(root / "faulty" / "faults.txt", "second\t40\n" + row.faults + "\n");
        Client client("");
        if (row.loginTimeout > 0) client.Set(SQL_ATTR_LOGIN_TIMEOUT, static_cast<SQLULEN>(row.loginTimeout));
        const auto start = std::chrono::steady_clock::now();
        CHECK(client.Connect(row.connectionString) == row.records);
        const auto seconds = (std::chrono::steady_clock::now() - start) / std::chrono::milliseconds(40);
        CHECK((seconds >= row.waited && seconds < row.waited + 8));
    }
    Client client("");  // one handle for several attempts
    client.Set(SQL_ATTR_LOGIN_TIMEOUT, 5);
    WriteFile(root / "faulty" / "faults.txt", "second\t1\nrefuse\tconnect\t1\n");
    CHECK(client.Connect(faulty).starts_with("HYT00"));
    CHECK(client.Connect(faulty) == connected);
    CHECK(client.Do("free") == "HY010 0");
    const std::string trace = ReadFile(root / "faulty" / "trace.txt");
    const std::string attempt = "\tattempt\t" + std::string(kDriver);
    CHECK(trace.find(attempt + " 15\n") != trace.npos);
    CHECK(trace.find(attempt + " 5\n", trace.rfind("disconnect")) != trace.rfind(attempt + " 5\n"));
}

TEST_CASE("a transaction or a connection that ends is told until it is let go of") {
    const fs::path server = root / "faulty";
    WriteFile(server / "server.conf", kConf);
    const std::string string = ConnectionString("master", "faulty");
    WriteFile(server / "faults.txt", "");
    Client(string).Run("CREATE DATABASE d; USE d; CREATE TABLE t(a int); INSERT INTO t(a) VALUES (1)");
    for (const auto& [faults, lines] : {
             std::pair("", R"(commit =>
                 manual =>
                 SELECT a FROM d.dbo.t => 1;
                 disconnect => 25000 0
                 UPDATE d.dbo.t SET a = 2 =>
                 disconnect => 25000 0
                 rollback =>
                 disconnect =>)"),
             {"die\texecute\t2", R"(manual =>
                 UPDATE d.dbo.t SET a = 2 =>
                 UPDATE d.dbo.t SET a = 3 => 08S01 10054, 08S01 10054
                 dead => yes
                 SELECT 1 => 08S01 0
                 rollback => 08S01 0
                 commit => 08S01 0
                 disconnect => 25000 0
                 alive => 1 1 0 1
                 automatic => 08S01 0
                 disconnect =>
                 alive => 0 0 0 0)"},
             {"die\tmanual\t1", R"(manual => 08S01 10054, 08S01 10054
                 rollback =>
                 automatic =>
                 manual => 08S01 0
                 disconnect =>)"},
             {"die\texecute\t1", R"(SELECT 1 => 08S01 10054, 08S01 10054
                 SELECT 1 => 08S01 0
                 alive => 1 1 0 1
                 disconnect =>)"},
             {"die\tauto\t1", R"(manual =>
                 UPDATE d.dbo.t SET a = 2 =>
                 automatic => 08S01 10054, 08S01 10054
                 disconnect =>)"},
             {"die\tfetch\t2\t08S01\t5\tgone", R"(manual =>
                 SELECT n FROM (VALUES (1), (2), (3)) AS d(n) => 1;(08S01 5)(08S01 0))"},
             {"fetch\t2\tHY000\t5\tgone", R"(SELECT n FROM (VALUES (1), (2), (3)) AS d(n) => 1;(HY000 5)
                 SELECT a FROM d.dbo.t => 1;
                 dead => no)"},
         }) {
        CAPTURE(faults);
        Client client(string);
        WriteFile(server / "faults.txt", faults);
        client.CheckLines(lines);
    }
    CHECK(Client(string).Run("SELECT a FROM d.dbo.t") == "1;");
    WriteFile(server / "faults.txt", "die\tstatement\t1");
    Client client(string);
    Statement statement(client.dbc);
    CHECK(
        Errors(SQL_HANDLE_DBC, client.dbc, true) ==
        "08S01 10054 @TCP Provider: Connection reset by peer.\r\n, 08S01 10054 @Communication link failure");
}

TEST_CASE("databases, schemas, tables and columns") {
    World().CheckLines(R"(
        CREATE DATABASE GameB; ALTER DATABASE [GameB] SET OFFLINE WITH ROLLBACK IMMEDIATE =>
        SELECT name FROM sys.databases WHERE database_id > 4 AND state_desc = 'online' ORDER BY name => GameA;
        SELECT 1 FROM [GameB].dbo.Roles => 42000 942
        CREATE SCHEMA [邮件]; CREATE TABLE [邮件].[a]]b](收件ID nvarchar(9) NULL, n int NOT NULL IDENTITY(1, 1) PRIMARY KEY) =>
        SELECT TABLE_SCHEMA, COLUMN_NAME, DATA_TYPE FROM [gamea].INFORMATION_SCHEMA.COLUMNS WHERE TABLE_NAME LIKE N'A]B' ORDER BY ORDINAL_POSITION => 邮件|收件ID|nvarchar;邮件|n|int;
        INSERT INTO [邮件].[a]]b] (收件ID) VALUES (N'x'), (N'y') =>
        SELECT n, 收件id FROM [邮件].[a]]b] /* both */ -- comments => 1|x;2|y;
        ALTER DATABASE [GameB] SET ONLINE; ALTER DATABASE GameB SET SINGLE_USER WITH ROLLBACK IMMEDIATE; =>
        IF DB_ID(N'gameb') IS NOT NULL DROP DATABASE [GameB]; IF DB_ID(N'x') > 0 DROP DATABASE x =>
    )");
}

TEST_CASE("text is compared and sorted as Chinese_PRC_CI_AS does") {
    World().CheckLines(R"(
        INSERT INTO Roles (ID, Name) VALUES (N'1001', N'张三'), ('ab', NULL), ('  ', N'') =>
        INSERT INTO Guilds (ID) VALUES (N'张'), (N'阿'), ('z'), (N'李'), ('2'), ('_'), ('B'), ('a'), ('AB'), (N'1001 ') =>
        SELECT DISTINCT a.ID, a.Name, b.ID FROM [GameA].[dbo].[Roles] a JOIN Guilds b ON a.ID COLLATE DATABASE_DEFAULT = b.ID COLLATE DATABASE_DEFAULT WHERE LTRIM(RTRIM(a.ID)) <> N'' ORDER BY a.ID => 1001                |张三|1001 ;ab                  |~|AB;
        SELECT ID FROM Guilds ORDER BY ID => _;1001 ;2;a;AB;B;z;阿;李;张;
        SELECT 1 WHERE N'Ω' = N'ω' AND N'か' = N'カ' AND N'é' <> N'e' AND 'a' <> ' a' AND 'a' COLLATE DATABASE_DEFAULT = 'A' => 1;
    )");
}

TEST_CASE("the largest number is exact, and too large for 64 bits at most when it is read") {
    World world;
    const std::string maximum =
        "SELECT MAX(CASE WHEN ID NOT LIKE N'%[^0-9]%' THEN CONVERT(DECIMAL(38,0), ID) END) FROM "
        "[GameA].[dbo].[Guilds]";
    const auto with = [&](const std::string& id) {
        CHECK(world.Run("INSERT INTO Guilds (ID) VALUES (N'" + id + "')") == "");
        return world.Number(maximum);
    };
    CHECK(world.Number(maximum) == "0");
    CHECK(with("12a") == "0");
    CHECK(with("+15") == "0");
    CHECK(with("9223372036854775807") == "9223372036854775807");
    CHECK(with("9223372036854775808") == "22003 0");
    CHECK(with("99999999999999999999999999999999999999") == "22003 0");
    CHECK(world.Run(maximum) == "99999999999999999999999999999999999999;");
    CHECK(with("100000000000000000000000000000000000000") == "22003 8115");
}

TEST_CASE("a parameter has the size of its column") {
    World world;
    world.Run("INSERT INTO Roles(Account) VALUES ('100%'), ('1000'), (N'玩家'), (NULL)");
    const auto search = [&](std::u16string pattern, SQLULEN size) {
        Statement statement(world.dbc);
        std::u16string sql =
            u"SELECT TOP (1) Account FROM Roles WHERE Account LIKE ? ESCAPE N'\\' ORDER BY ID ASC";
        SQLPrepareW(statement.handle, Wide(sql.data()), SQL_NTS);
        SQLBindParameter(statement.handle, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, size, 0,
                         pattern.data(), 0, nullptr);
        return SQLExecute(statement.handle) == SQL_SUCCESS ? statement.Rows() : statement.Error();
    };
    CHECK(search(u"%00\\%", 5) == "100%;");
    CHECK(search(u"%家%", 3) == "玩家;");
    CHECK(search(u"%12%", 3) == "22001 0");
}

TEST_CASE("values are converted, matched and stored, or refused with state and number") {
    World().CheckLines(R"(
        SELECT 1 WHERE NULL = NULL OR NULL <> 1 OR N'abc ' LIKE N'abc' OR N'5' LIKE N'[^0-9]' OR N'5' LIKE N'[5' =>
        SELECT 1 WHERE N'aXc' LIKE N'a[w-y]C' AND '%' LIKE '!%' ESCAPE '!' AND N'￥Ａ' LIKE N'_a' AND 'b-' LIKE '%[-]' => 1;
        SELECT CAST(N'abcdef' AS NVARCHAR(3)), CAST(-12 AS NVARCHAR(10)), CAST(N'张三' AS varchar(3)) + '.' => abc|-12|张.;
        SELECT CAST('a' AS char(3)) + N'b', LTRIM(RTRIM('  a ')) + '.', CONVERT(varchar(9), 10 + NULL) => a  b|a.|~;
        SELECT CAST(' 7 ' AS int) + '5', 2 + 3 * (4 + 1), CONVERT(int, '') => 12|17|0;
        SELECT 10 * t.i + d.i FROM (VALUES (1), (2)) AS t(i) CROSS JOIN (VALUES (3)) d(i) WHERE t.i < 2 => 13;
        SELECT 9000000000000000 * 9000000000000000 => 22003 8115
        SELECT 1 WHERE 'a' LIKE 'a' ESCAPE 'xx' => 42000 506
        SELECT 1 + 'x' => 22018 245
        SELECT CONVERT(DECIMAL(38,0), N'') => 42000 8114
        INSERT INTO Roles (ID, Name, Account, Zone) VALUES ('1', 'n', 'a', 5) =>
        INSERT INTO Guilds (ID) VALUES ('g') =>
        CREATE UNIQUE INDEX one ON Roles (Account) =>
        INSERT INTO Roles (ID) VALUES ('123456789012345678901') => 22001 2628
        UPDATE Roles SET ID = N'张三张三张三张三张三张' => 22001 2628
        INSERT INTO Roles (ID, Account) VALUES ('12345678901234567890   ', 'b'), ('x', 'A') => 23000 2601
        INSERT INTO Guilds (ID) VALUES (NULL) => 23000 515
        INSERT INTO Guilds (ID) VALUES (N'G ') => 23000 2627
        UPDATE Roles SET Zone = 'x' => 22018 245
        UPDATE Roles SET Zone = '3000000000' => 22003 248
        SELECT 1 FROM Missing => 42S02 208
        SELECT 'open => 42000 105
        ROLLBACK TRANSACTION => 42000 3903
        DELETE FROM Roles WHERE ID = 'none' => no data
        SELECT ID, Zone FROM Roles => 1                   |5;
    )");
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
    Client client;
    Statement first(client.dbc), second(client.dbc);
    first.Execute("SELECT n, N'张三丰', NULL FROM (VALUES (1),(2)) AS d(n)");
    CHECK(second.Execute("SELECT 1") == SQL_ERROR);
    CHECK(second.Error() == "HY000 0");
    char16_t text[3] = {1, 1, 1};
    SQLLEN length = 0;
    SQLBindCol(first.handle, 2, SQL_C_WCHAR, text, sizeof text, &length);
    CHECK(SQLFetch(first.handle) == SQL_SUCCESS_WITH_INFO);
    CHECK(first.Error() == "01004 0");
    CHECK(ToUtf8(text) + std::to_string(length) == "张三6");
    SQLBindCol(first.handle, 3, SQL_C_WCHAR, text, sizeof text, nullptr);
    CHECK(SQLFetch(first.handle) == SQL_ERROR);
    CHECK(first.Error() == "22002 0, 01004 0");
    CHECK(SQLFetch(first.handle) == SQL_NO_DATA);
    CHECK(second.Execute("SELECT 1; SELECT 2") == SQL_SUCCESS);
    CHECK(SQLMoreResults(second.handle) == SQL_SUCCESS);
}

TEST_CASE("transactions and locks between two connections") {
    World world;
    Client other(ConnectionString("GameA"));
    world.Run("INSERT INTO Guilds (ID, Name) VALUES ('g', 'old')");
    const std::string read = "SELECT Name FROM GameA.dbo.Guilds";
    const std::string write = "UPDATE GameA.dbo.Guilds SET Name = N'new'";
    CHECK(world.Manual(SQL_AUTOCOMMIT_OFF) == SQL_SUCCESS);
    CHECK(world.Number("SELECT COUNT_BIG(*) FROM Guilds WITH (UPDLOCK, HOLDLOCK) WHERE ID = N'g'") == "1");
    CHECK(other.Run("SET LOCK_TIMEOUT 50") == "");
    CHECK(other.Run(write) == "HYT00 1222");
    CHECK(world.Run(write) == "");
    CHECK(world.Run("INSERT INTO Guilds (ID) VALUES ('h'), (NULL)") == "23000 515");  // undoes itself alone
    CHECK(other.Run(read) == "old;");
    CHECK(world.Run(read) == "new;");
    CHECK(SQLEndTran(SQL_HANDLE_DBC, world.dbc, SQL_ROLLBACK) == SQL_SUCCESS);
    CHECK(world.Run(write) == "");
    CHECK(world.Run("IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION") == "");
    CHECK(world.Run(read) == "old;");
    CHECK(world.Run(write) == "");
    other.Run("SET LOCK_TIMEOUT 20000");
    std::thread release([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        SQLEndTran(SQL_HANDLE_DBC, world.dbc, SQL_ROLLBACK);
    });
    CHECK(other.Run(write) == "");  // waits for the end of the other transaction
    release.join();
    CHECK(world.Manual(SQL_AUTOCOMMIT_ON) == SQL_SUCCESS);
}

TEST_CASE("faults and traces are asked for in files") {
    const fs::path server = root / "traced";
    WriteFile(server / "server.conf", kConf);
    WriteFile(server / "trace.txt", "");
    Client client(ConnectionString("master", "traced"));
    client.Run("CREATE DATABASE d;\nUSE d; CREATE TABLE t(a int)");
    WriteFile(server / "faults.txt",
              "slow\texecute\t1\t80\nexecute\t2\t40001\t9\tx\nstatement\t3\tHY001\t2\tx");
    const auto start = std::chrono::steady_clock::now();
    CHECK(client.Run("USE d") == "");
    CHECK(std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(80));
    client.CheckLines(R"(SELECT 1 => 40001 9
        SELECT 1 => HY001 2
        SELECT a FROM t WITH (UPDLOCK, holdlock) =>
        disconnect =>)");
    const std::string trace = ReadFile(server / "trace.txt");
    std::istringstream events(R"(connect master
execute CREATE DATABASE d;\nUSE d; CREATE TABLE t(a int)
execute SELECT a FROM t WITH (UPDLOCK, holdlock)
hints UPDLOCK,HOLDLOCK
disconnect 0)");
    for (std::string event; std::getline(events, event);) {
        event.replace(event.find(' '), 1, "\t");
        CHECK(trace.find("\t" + event + "\n") != trace.npos);
    }
}

TEST_CASE("a handle that was never freed stays in the count") {
    SQLHANDLE leaked = SQL_NULL_HANDLE;
    SQLAllocHandle(SQL_HANDLE_STMT, Client().dbc, &leaked);
    CHECK(Alive() == "0 0 1 0");
}

TEST_CASE("CAST leaves an index in use on both sides") {
    World world;
    world.CheckLines(R"(
        INSERT INTO Roles (Zone) VALUES (0), (1), (2), (3), (4), (5), (6), (7), (8), (9) =>
        INSERT INTO Roles (ID) SELECT CONVERT(varchar(9), 10000 + a.Zone + 10 * b.Zone + 100 * c.Zone + 1000 * d.Zone) FROM Roles a CROSS JOIN Roles b CROSS JOIN Roles c CROSS JOIN Roles d =>
    )");
    const auto time = [&](const std::string& condition) {
        auto best = std::chrono::steady_clock::duration::max();
        for (int i = 0; i < 20; ++i) {
            const auto begin = std::chrono::steady_clock::now();
            CHECK(world.Run("SELECT COUNT_BIG(*) FROM Roles WHERE " + condition) == "1;");
            best = std::min(best, std::chrono::steady_clock::now() - begin);
        }
        return best;
    };
    const auto scan = time("CAST([ID] AS NVARCHAR(256)) = N'14242'");
    CHECK(world.Run("CREATE INDEX byId ON GameA.dbo.Roles(ID)") == "");
    CHECK(time("CAST([ID] AS NVARCHAR(256)) = N'14242'") * 3 < scan);
    CHECK(time("N'14242' = CAST([ID] AS NVARCHAR(256))") * 3 < scan);
}

int main(int argc, char** argv) {
    char pattern[] = "/tmp/standin-check-XXXXXX";
    root = mkdtemp(pattern);
    WriteFile(root / kServer / "server.conf", kConf);
    WriteFile(root / "odbcinst.ini", "[ODBC Driver 18 for SQL Server]\nDriver=" DRIVER_FILE
                                     "\nThreading=0\n[SQL Server]\nDriver=" DRIVER_FILE "\n");
    setenv("ODBCSYSINI", root.c_str(), 1);
    setenv("SQLSTANDIN_ROOT", root.c_str(), 1);
    const int failed = doctest::Context(argc, argv).run();
    fs::remove_all(root);
    return failed;
}
