// Checks the stand-in from outside, through the driver manager, as any client would use it.

#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "text.h"

namespace {

namespace fs = std::filesystem;
using standin::ToUtf16;
using standin::ToUtf8;

fs::path root;  // of all servers of this run
constexpr const char* kServer = "127.0.0.1,14330";

SQLWCHAR* Wide(std::u16string& text) {
    return reinterpret_cast<SQLWCHAR*>(text.data());
}

/// "STATE native text", one line per record.
std::string Records(SQLSMALLINT kind, SQLHANDLE handle) {
    std::string all;
    char16_t state[6], text[1024];
    SQLINTEGER native = 0;
    for (SQLSMALLINT i = 1;; ++i) {
        const SQLRETURN rc = SQLGetDiagRecW(kind, handle, i, reinterpret_cast<SQLWCHAR*>(state), &native,
                                            reinterpret_cast<SQLWCHAR*>(text), 1024, nullptr);
        if (!SQL_SUCCEEDED(rc)) return all;
        all += (i > 1 ? "\n" : "") + ToUtf8(state) + " " + std::to_string(native) + " " + ToUtf8(text);
    }
}

std::string Shortened(const std::string& records) {
    return records.substr(0, records.find(' ', 6));
}

std::string ConnectionString(const std::string& database, const std::string& server = kServer,
                             const std::string& password = "p;w}}1") {
    return "DRIVER={ODBC Driver 18 for SQL Server};SERVER={" + server + "};DATABASE={" + database +
           "};UID={sa};PWD={" + password + "};Encrypt=no;TrustServerCertificate=yes;Connection Timeout=5;";
}

class Statement {
public:
    explicit Statement(SQLHDBC dbc) : result(SQLAllocHandle(SQL_HANDLE_STMT, dbc, &handle)) {}
    ~Statement() { SQLFreeHandle(SQL_HANDLE_STMT, handle); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    SQLRETURN Execute(const std::string& sql) {
        std::u16string text = ToUtf16(sql);
        return result = SQLExecDirectW(handle, Wide(text), SQL_NTS);
    }
    SQLRETURN Prepare(const std::string& sql) {
        std::u16string text = ToUtf16(sql);
        return result = SQLPrepareW(handle, Wide(text), SQL_NTS);
    }
    SQLRETURN Bind(std::u16string& value) {
        return result = SQLBindParameter(handle, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, value.size(),
                                         0, value.data(), 0, nullptr);
    }
    std::string Error() const { return Records(SQL_HANDLE_STMT, handle); }

    /// All rows; columns parted by "|", NULL as "~".
    std::vector<std::string> Rows() {
        std::vector<std::string> rows;
        SQLSMALLINT columns = 0;
        SQLNumResultCols(handle, &columns);
        while (SQL_SUCCEEDED(result = SQLFetch(handle))) {
            std::string row;
            for (SQLSMALLINT i = 1; i <= columns; ++i) {
                char16_t text[600];
                SQLLEN length = 0;
                SQLGetData(handle, static_cast<SQLUSMALLINT>(i), SQL_C_WCHAR, text, sizeof text, &length);
                row += (i > 1 ? "|" : "") + (length == SQL_NULL_DATA ? "~" : ToUtf8(text));
            }
            rows.push_back(row);
        }
        if (result != SQL_NO_DATA) rows.push_back(Shortened(Error()));
        return rows;
    }

    SQLHSTMT handle = SQL_NULL_HSTMT;
    SQLRETURN result;
};

class Client {
public:
    explicit Client(const std::string& connectionString = ConnectionString("master")) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
        SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
        std::u16string text = ToUtf16(connectionString);
        char16_t out[2048];
        SQLSMALLINT length = 0;
        result = SQLDriverConnectW(dbc, nullptr, Wide(text), SQL_NTS, reinterpret_cast<SQLWCHAR*>(out), 2048,
                                   &length, SQL_DRIVER_NOPROMPT);
        error = SQL_SUCCEEDED(result) ? "" : Records(SQL_HANDLE_DBC, dbc);
    }
    ~Client() {
        SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_ROLLBACK);
        SQLDisconnect(dbc);
        SQLFreeHandle(SQL_HANDLE_DBC, dbc);
        SQLFreeHandle(SQL_HANDLE_ENV, env);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// "" for success, "no data", or the first record's state and number.
    std::string Run(const std::string& sql) {
        Statement statement(dbc);
        if (!SQL_SUCCEEDED(statement.result)) return Shortened(Records(SQL_HANDLE_DBC, dbc));
        statement.Execute(sql);
        if (statement.result == SQL_NO_DATA) return "no data";
        return SQL_SUCCEEDED(statement.result) ? "" : Shortened(statement.Error());
    }
    std::vector<std::string> Rows(const std::string& sql) {
        Statement statement(dbc);
        if (!SQL_SUCCEEDED(statement.Execute(sql))) return {Shortened(statement.Error())};
        return statement.Rows();
    }
    std::string One(const std::string& sql) {
        const auto rows = Rows(sql);
        return rows.empty() ? "no row" : rows[0];
    }
    std::string Number(const std::string& sql) {  // as the 64-bit reader of the product does it
        Statement statement(dbc);
        if (!SQL_SUCCEEDED(statement.Execute(sql))) return Shortened(statement.Error());
        std::int64_t value = 0;
        SQLLEN indicator = 0;
        SQLBindCol(statement.handle, 1, SQL_C_SBIGINT, &value, sizeof value, &indicator);
        if (!SQL_SUCCEEDED(SQLFetch(statement.handle))) return Shortened(statement.Error());
        return indicator == SQL_NULL_DATA ? "~" : std::to_string(value);
    }
    SQLRETURN Manual(bool manual) {
        return SQLSetConnectAttrW(dbc, SQL_ATTR_AUTOCOMMIT,
                                  reinterpret_cast<SQLPOINTER>(
                                      static_cast<SQLULEN>(manual ? SQL_AUTOCOMMIT_OFF : SQL_AUTOCOMMIT_ON)),
                                  0);
    }
    SQLRETURN End(SQLSMALLINT how) { return SQLEndTran(SQL_HANDLE_DBC, dbc, how); }
    std::uint32_t Attribute(SQLINTEGER attribute) {
        std::uint32_t value = 0;
        SQLGetConnectAttrW(dbc, attribute, &value, sizeof value, nullptr);
        return value;
    }

    SQLHENV env = SQL_NULL_HENV;
    SQLHDBC dbc = SQL_NULL_HDBC;
    SQLRETURN result = SQL_ERROR;
    std::string error;
};

void WriteFile(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

void MakeServer(const std::string& name) {
    fs::create_directories(root / name);
    WriteFile(root / name / "server.conf", "user=sa\npassword=p;w}1\n");
}

using Lines = std::vector<std::string>;

}  // namespace

TEST_CASE("connecting") {
    Client client;
    CHECK(client.error == "");
    CHECK(client.result == SQL_SUCCESS_WITH_INFO);
    CHECK(Client(ConnectionString("master", "nobody")).error.substr(0, 5) == "HYT00");
    CHECK(Shortened(Client(ConnectionString("master", kServer, "wrong")).error) == "28000 18456");
    CHECK(Shortened(Client(ConnectionString("Missing")).error) == "42000 4060");
    CHECK(client.One("SELECT DB_NAME()") == "master");
    CHECK(client.Attribute(SQL_ATTR_CONNECTION_DEAD) == SQL_CD_FALSE);
    CHECK(client.Attribute(0x4A02) == 1);
}

namespace {

/// A client, and two databases of its own with the product's tables.
struct World : Client {
    World() {
        for (const char* name : {"GameA", "GameB"}) {
            Run(std::string("DROP DATABASE IF EXISTS [") + name + "]");
            REQUIRE(Run(std::string("CREATE DATABASE [") + name + "] COLLATE Chinese_PRC_CI_AS") == "");
            const std::string prefix = "CREATE TABLE [" + std::string(name) + "].[dbo].";
            REQUIRE(Run(prefix +
                        "[TBL_CHARACTER](FLD_USERID char(20) NULL, FLD_CHARACTER nvarchar(30), FLD_ACCOUNT "
                        "varchar(50), "
                        "FLD_SERVERID int DEFAULT 7);" +
                        prefix +
                        "TBL_GUILD_INFO(sGuildID nvarchar(50) NOT NULL PRIMARY KEY, "
                        "sGuildName nvarchar(50) COLLATE Chinese_PRC_CI_AS, Notes ntext NULL)") == "");
        }
    }
};

const char* const kDuplicates =
    "SELECT DISTINCT a.FLD_USERID, a.FLD_CHARACTER, a.FLD_ACCOUNT, a.FLD_SERVERID, b.FLD_CHARACTER, "
    "b.FLD_ACCOUNT, "
    "b.FLD_SERVERID FROM [GameA].[dbo].[TBL_CHARACTER] a JOIN [GameB].[dbo].[TBL_CHARACTER] b ON "
    "a.FLD_USERID COLLATE "
    "DATABASE_DEFAULT = b.FLD_USERID COLLATE DATABASE_DEFAULT WHERE a.FLD_USERID IS NOT NULL AND "
    "LTRIM(RTRIM(a.FLD_USERID)) <> N'' ORDER BY a.FLD_USERID";
const char* const kMaximum =
    "SELECT MAX(CASE WHEN FLD_USERID NOT LIKE N'%[^0-9]%' THEN CONVERT(DECIMAL(38,0), FLD_USERID) END) FROM "
    "[GameA].[dbo].[TBL_CHARACTER]";

}  // namespace

TEST_CASE("the catalogue lists databases and columns") {
    World world;
    CHECK(world.Run("ALTER DATABASE [GameB] SET OFFLINE WITH ROLLBACK IMMEDIATE") == "");
    const std::string online =
        "SELECT name FROM sys.databases WHERE database_id > 4 AND state_desc = 'ONLINE' ORDER BY name";
    CHECK(world.Rows(online) == Lines{"GameA"});
    CHECK(world.Run("SELECT 1 FROM [GameB].dbo.TBL_CHARACTER") == "42000 942");
    CHECK(world.Run("SELECT 1 FROM [GameC].dbo.TBL_CHARACTER") == "42S02 208");
    CHECK(world.Run("USE GameC") == "42000 911");
    CHECK(world.Run("ALTER DATABASE [GameB] SET ONLINE") == "");
    CHECK(world.Rows(online) == Lines{"GameA", "GameB"});
    CHECK(world.Rows("SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME, DATA_TYPE FROM "
                     "[GameA].INFORMATION_SCHEMA.COLUMNS WHERE "
                     "DATA_TYPE IN (N'char',N'varchar',N'nchar',N'nvarchar') AND (COLUMN_NAME LIKE "
                     "N'%USERID%' OR COLUMN_NAME "
                     "LIKE N'%USER_ID%') ORDER BY TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION") ==
          Lines{"dbo|TBL_CHARACTER|FLD_USERID|char"});
    CHECK(world.Run("USE [GameB]") == "");
    CHECK(world
              .Rows("SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS WHERE "
                    "DATA_TYPE IN "
                    "(N'nvarchar',N'text',N'ntext')   AND TABLE_SCHEMA NOT IN (N'sys',N'INFORMATION_SCHEMA') "
                    "ORDER BY "
                    "TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION")
              .size() == 4);
    CHECK(world.One("SELECT CHARACTER_MAXIMUM_LENGTH, IS_NULLABLE FROM INFORMATION_SCHEMA.COLUMNS WHERE "
                    "COLUMN_NAME = 'SGUILDID'") == "50|NO");
    CHECK(world.Run("IF DB_ID(N'gamea') IS NOT NULL DROP DATABASE [GameA]") == "");
    CHECK(world.One("SELECT DB_ID(N'GameA')") == "~");
    CHECK(world.Run("USE master CREATE SCHEMA [x]]y] CREATE TABLE [x]]y].[表](a int) DROP TABLE [x]]y].表") ==
          "");
}

TEST_CASE("duplicates are found by collation, blanks and case aside") {
    World world;
    CHECK(world.Run("INSERT INTO [GameA].dbo.TBL_CHARACTER VALUES (N'1001', N'张三', 'acc', 1), ('ab', 'x', "
                    "'y', 2), ('  ', N'', '', 3)") == "");
    CHECK(world.Run("INSERT INTO [GameB].[dbo].[TBL_CHARACTER] (FLD_USERID, FLD_CHARACTER) VALUES (N'1001', "
                    "'b'), ('AB', NULL), (N'', N'')") == "");
    CHECK(world.Rows(kDuplicates) ==
          Lines{"1001                |张三|acc|1|b|~|7", "ab                  |x|y|2|~|~|7"});
    CHECK(world.Number("SELECT COUNT_BIG(*) FROM [GameA].[dbo].[TBL_CHARACTER] WITH (UPDLOCK, HOLDLOCK) "
                       "WHERE FLD_USERID = N'1001'") == "1");
    CHECK(world.Number("SELECT COUNT_BIG(*) FROM [GameA].[dbo].[TBL_CHARACTER] WHERE CAST([FLD_USERID] AS "
                       "NVARCHAR(256)) = N'AB'") == "1");
    CHECK(world.Run("UPDATE [GameA].[dbo].[TBL_CHARACTER] SET [FLD_USERID] = N'77' WHERE CAST([FLD_USERID] "
                    "AS NVARCHAR(256)) = N'1001'") == "");
    CHECK(world.Run("UPDATE [GameA].[dbo].[TBL_CHARACTER] SET [FLD_USERID] = N'77' WHERE CAST([FLD_USERID] "
                    "AS NVARCHAR(256)) = N'1001'") == "no data");
    CHECK(world.Number("SELECT COUNT(*) FROM GameA.dbo.TBL_CHARACTER WHERE FLD_USERID IN (N'77', N'ＡB')") ==
          "2");
}

TEST_CASE("the largest number is exact, and too large for 64 bits at most when it is read") {
    World world;
    const auto add = [&](const std::string& id) {
        return world.Run("INSERT INTO GameA.dbo.TBL_GUILD_INFO VALUES (N'" + id + "', N'', NULL)");
    };
    std::string maximum = kMaximum;
    for (std::size_t at = 0; (at = maximum.find("FLD_USERID")) != std::string::npos;) {
        maximum.replace(at, 10, "sGuildID");
    }
    maximum.replace(maximum.find("TBL_CHARACTER"), 13, "TBL_GUILD_INFO");
    CHECK(world.Number(maximum) == "~");
    for (const char* id : {"12a", "9", "100234", "+5"}) CHECK(add(id) == "");
    CHECK(world.Number(maximum) == "100234");
    CHECK(add("9223372036854775808") == "");
    CHECK(world.Number(maximum) == "22003 0");
    CHECK(add("99999999999999999999999999999999999999") == "");
    CHECK(world.One(maximum) == "99999999999999999999999999999999999999");
    CHECK(add("100000000000000000000000000000000000000") == "");
    CHECK(world.Number(maximum) == "22003 8115");
    CHECK(world.One("SELECT CONVERT(DECIMAL(38,0), N'')") == "42000 8114");
    CHECK(world.One("SELECT CONVERT(DECIMAL(38,0), N' -12 ')") == "-12");
}

TEST_CASE("a prepared search with a pattern") {
    World world;
    world.Run(
        "INSERT INTO GameA.dbo.TBL_CHARACTER(FLD_ACCOUNT) VALUES ('100%'), ('1000'), ('a_b'), ('A[b'), "
        "(N'玩家'), (NULL)");
    Client game(ConnectionString("GameA"));
    Statement search(game.dbc);
    const std::string text =
        "SELECT TOP (100) CAST([FLD_ACCOUNT] AS NVARCHAR(128)) AS account FROM [dbo].[TBL_CHARACTER] WHERE "
        "CAST([FLD_ACCOUNT] AS NVARCHAR(128)) LIKE ? ESCAPE N'\\' ORDER BY [FLD_ACCOUNT] ASC";
    REQUIRE(search.Prepare(text) == SQL_SUCCESS);
    struct Row {
        std::u16string pattern;
        Lines found;
    };
    for (Row row : {Row{u"%100\\%%", {"100%"}}, Row{u"%\\_%", {"a_b"}}, Row{u"%a\\[B%", {"A[b"}},
                    Row{u"%玩%", {"玩家"}}, Row{u"%100%", {"100%", "1000"}}, Row{u"%none%", {}}}) {
        REQUIRE(search.Bind(row.pattern) == SQL_SUCCESS);
        REQUIRE(SQLExecute(search.handle) == SQL_SUCCESS);
        CHECK(search.Rows() == row.found);
        SQLCloseCursor(search.handle);
    }
}

TEST_CASE("LIKE, CAST and text functions") {
    Client client;
    struct Row {
        const char *sql, *value;
    };
    for (const Row& row :
         {Row{"CASE WHEN N'abc ' LIKE N'abc' THEN 1 ELSE 0 END", "0"},
          Row{"CASE WHEN N'aXc' LIKE N'a[w-y]C' THEN 1 ELSE 0 END", "1"},
          Row{"CASE WHEN N'5' LIKE N'[^0-9]' THEN 1 ELSE 0 END", "0"},
          Row{"CASE 'A ' WHEN N'a' THEN 'same' END", "same"}, Row{"CASE WHEN N'Ω' = N'ω  ' THEN 1 END", "1"},
          Row{"CAST(N'abcdef' AS NVARCHAR(3))", "abc"}, Row{"CAST(-12 AS NVARCHAR(10))", "-12"},
          Row{"CAST('a' AS char(3)) + N'b'", "a  b"}, Row{"LEN(N'ab  ')", "2"}, Row{"DATALENGTH(N'ab')", "4"},
          Row{"DATALENGTH(CAST(N'张' AS char(4)))", "4"},
          Row{"RIGHT(REPLICATE('0', 5) + CONVERT(varchar(9), 42), 5)", "00042"}, Row{"2 + 3 * -4", "-10"},
          Row{"UPPER(N'aя')", "AЯ"}, Row{"'12' + 1", "13"}, Row{"CAST(1.255 AS decimal(9,2))", "1.26"},
          Row{"CONVERT(datetime, '2024-05-06 07:08:09')", "2024-05-06 07:08:09.000"}}) {
        CAPTURE(row.sql);
        CHECK(client.One("SELECT " + std::string(row.sql)) == row.value);
    }
}

TEST_CASE("what SQL Server refuses is refused with its state and number") {
    World world;
    world.Run("USE GameA");
    world.Run("INSERT INTO TBL_CHARACTER VALUES ('1', 'n', 'a', 5)");
    world.Run("INSERT INTO TBL_GUILD_INFO VALUES ('g', 'n', 'note')");
    struct Row {
        const char *sql, *error;
    };
    for (const Row& row :
         {Row{"INSERT INTO TBL_CHARACTER VALUES ('123456789012345678901', '', '', 1)", "22001 2628"},
          Row{"INSERT INTO TBL_GUILD_INFO VALUES (NULL, '', '')", "23000 515"},
          Row{"INSERT INTO TBL_GUILD_INFO VALUES (N'G ', '', '')", "23000 2627"},
          Row{"INSERT INTO TBL_GUILD_INFO(sGuildName) VALUES ('x')", "23000 515"},
          Row{"UPDATE TBL_CHARACTER SET FLD_SERVERID = 'x'", "22018 245"},
          Row{"UPDATE TBL_CHARACTER SET FLD_SERVERID = '3000000000'", "22003 248"},
          Row{"SELECT 1 FROM TBL_GUILD_INFO WHERE Notes = N'note'", "42000 402"},
          Row{"SELECT Notes FROM TBL_GUILD_INFO ORDER BY Notes", "42000 306"},
          Row{"SELECT DISTINCT Notes FROM TBL_GUILD_INFO", "42000 306"},
          Row{"SELECT 1 FROM Missing", "42S02 208"},
          Row{"SELECT nothing FROM TBL_GUILD_INFO", "42S22 207"},
          Row{"SELECT z.a FROM TBL_GUILD_INFO g", "42000 4104"},
          Row{"SELECT 1 GO", "42000 102"},
          Row{"SELECT 1 + = 2", "42000 102"},
          Row{"SELECT COUNT(*) FROM TBL_GUILD_INFO GROUP BY sGuildName", "42000 102"},
          Row{"EXEC sp_who", "42000 102"},
          Row{"SELECT 1e5", "42000 102"},
          Row{"SELECT NOSUCH(1)", "42000 195"},
          Row{"SELECT 'open", "42000 105"},
          Row{"SELECT sGuildID, COUNT(*) FROM TBL_GUILD_INFO", "42000 8120"},
          Row{"COMMIT", "42000 3902"},
          Row{"CREATE TABLE TBL_CHARACTER(a int)", "42S01 2714"},
          Row{"DROP TABLE Missing", "42S02 3701"},
          Row{"DELETE FROM TBL_CHARACTER WHERE FLD_USERID = 'none'", "no data"}}) {
        CAPTURE(row.sql);
        CHECK(world.Run(row.sql) == row.error);
    }
    CHECK(world.One("SELECT FLD_USERID FROM TBL_CHARACTER WHERE FLD_SERVERID = N'abc'") == "22018 245");
    CHECK(world.One("SELECT FLD_CHARACTER FROM TBL_CHARACTER WHERE FLD_SERVERID = N'5'") == "n");
    CHECK(world.One("SELECT COUNT(*) FROM TBL_GUILD_INFO WHERE Notes LIKE N'%OT%'") == "1");
    CHECK(world.Run("ALTER TABLE TBL_GUILD_INFO ADD Extra nvarchar(9) NULL, More int CREATE UNIQUE INDEX i "
                    "ON TBL_GUILD_INFO(Extra)") == "");
    CHECK(world.Run("CREATE TABLE Numbered(id int IDENTITY(1,1) PRIMARY KEY, t nvarchar(5) NOT NULL DEFAULT "
                    "(N'd')) INSERT Numbered(t) VALUES ('x') SET NOCOUNT ON") == "");
    CHECK(world.Rows("INSERT Numbered(t) VALUES ('y'); SELECT id, t FROM Numbered -- and so on") ==
          Lines{"1|x", "2|y"});
}

TEST_CASE("one result at a time, cut texts and missing indicators") {
    Client client;
    Statement first(client.dbc), second(client.dbc);
    first.Execute("SELECT n, N'张三丰', NULL FROM (VALUES (1),(2)) AS d(n)");
    CHECK(second.Execute("SELECT 1") == SQL_ERROR);
    CHECK(second.Error().find("busy with results") != std::string::npos);
    char16_t text[3] = {1, 1, 1};
    SQLLEN length = 0;
    SQLBindCol(first.handle, 2, SQL_C_WCHAR, text, sizeof text, &length);
    CHECK(SQLFetch(first.handle) == SQL_SUCCESS_WITH_INFO);
    CHECK(first.Error().substr(0, 5) == "01004");
    CHECK(length == 6);
    CHECK(std::u16string(text) == u"张三");
    char narrow[5];
    CHECK(SQLGetData(first.handle, 2, SQL_C_CHAR, narrow, sizeof narrow, &length) == SQL_SUCCESS_WITH_INFO);
    CHECK(std::string(narrow) == "张");
    std::int32_t number = 0;
    SQLBindCol(first.handle, 3, SQL_C_SLONG, &number, sizeof number, nullptr);
    CHECK(SQLFetch(first.handle) == SQL_ERROR);
    CHECK(first.Error().substr(0, 5) == "22002");
    CHECK(SQLFetch(first.handle) == SQL_NO_DATA);
    CHECK(second.Execute("SELECT 1") == SQL_SUCCESS);
}

TEST_CASE("transactions and locks between two connections") {
    World world;
    Client other(ConnectionString("GameA"));
    world.Run("INSERT INTO GameA.dbo.TBL_GUILD_INFO VALUES ('g', 'old', NULL)");
    const std::string read = "SELECT sGuildName FROM GameA.dbo.TBL_GUILD_INFO";
    const std::string write = "UPDATE GameA.dbo.TBL_GUILD_INFO SET sGuildName = N'new'";
    CHECK(world.Manual(true) == SQL_SUCCESS);
    CHECK(world.Number("SELECT COUNT_BIG(*) FROM GameA.dbo.TBL_GUILD_INFO WITH (UPDLOCK, HOLDLOCK) WHERE "
                       "sGuildID = N'g'") == "1");
    CHECK(other.Run("SET LOCK_TIMEOUT 50") == "");
    CHECK(other.Run(write) == "HYT00 1222");
    CHECK(world.Run(write) == "");
    CHECK(other.One(read) == "old");
    CHECK(world.End(SQL_ROLLBACK) == SQL_SUCCESS);
    CHECK(world.One(read) == "old");
    CHECK(world.Run(write) == "");
    CHECK(world.Manual(false) == SQL_SUCCESS);  // commits
    CHECK(other.One(read) == "new");
    CHECK(other.Run("BEGIN TRAN DELETE FROM TBL_GUILD_INFO ROLLBACK TRAN") == "");
    CHECK(other.One(read) == "new");

    world.Manual(true);
    CHECK(world.Run("DELETE FROM GameA.dbo.TBL_GUILD_INFO") == "");
    other.Run("SET LOCK_TIMEOUT -1");
    std::thread release([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        world.End(SQL_ROLLBACK);
    });
    CHECK(other.Run(write) == "");  // waits for the end of the other transaction
    release.join();
}

TEST_CASE("a process that is killed leaves nothing of its transaction") {
    World world;
    int ready[2];
    REQUIRE(pipe(ready) == 0);
    const pid_t child = fork();
    if (child == 0) {
        Client client(ConnectionString("GameA"));
        client.Manual(true);
        client.Run("INSERT INTO TBL_GUILD_INFO VALUES ('lost', '', NULL)");
        if (write(ready[1], "x", 1) == 1) pause();
    }
    char byte = 0;
    REQUIRE(read(ready[0], &byte, 1) == 1);
    world.Run("SET LOCK_TIMEOUT 0");
    CHECK(world.Run("DELETE FROM GameA.dbo.TBL_GUILD_INFO") == "HYT00 1222");
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    CHECK(world.Run("DELETE FROM GameA.dbo.TBL_GUILD_INFO") == "no data");
}

TEST_CASE("faults and traces are asked for in files") {
    const fs::path server = root / "faulty";
    MakeServer("faulty");
    const auto faults = [&](const std::string& text) { WriteFile(server / "faults.txt", text); };
    const auto connect = [] { return ConnectionString("master", "faulty"); };
    WriteFile(server / "trace.txt", "");
    faults("connect\t1\t08001\t17\tone\t01000\t0\ttwo\nconnect\t3+\t-\n");
    CHECK(Client(connect()).error == "08001 17 one\n01000 0 two");
    Client client(connect());
    CHECK(client.error == "");
    CHECK(!SQL_SUCCEEDED(Client(connect()).result));
    client.Run("CREATE TABLE t(a int)\nINSERT t VALUES (1)");
    faults(
        "execute\t2\t40001\t1205\tdeadlock\nfetch\t*"
        "\tHY000\t1\tfetch\nstatement\t4\tHY001\t2\tmemory\nslow\texecute\t1\t80\n");
    const auto start = std::chrono::steady_clock::now();
    CHECK(client.Run("SELECT 1") == "");
    CHECK(std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(80));
    CHECK(client.Run("SELECT 1") == "40001 1205");
    CHECK(client.Rows("SELECT 1") == Lines{"HY000 1"});
    CHECK(client.Run("SELECT 1") == "HY001 2");
    faults("commit\t1\tHY000\t9\tno commit\nmanual\t2\tHY000\t8\tno\n");
    CHECK(client.Manual(true) == SQL_SUCCESS);
    client.Run("UPDATE t SET a = 2");
    CHECK(client.End(SQL_COMMIT) == SQL_ERROR);
    CHECK(client.End(SQL_ROLLBACK) == SQL_SUCCESS);
    CHECK(client.Manual(false) == SQL_SUCCESS);
    CHECK(client.One("SELECT a FROM t") == "1");
    CHECK(client.Manual(true) == SQL_ERROR);
    faults("die\texecute\t2\t08S01\t0\tgone\n");
    CHECK(client.Manual(true) == SQL_SUCCESS);
    CHECK(client.Run("UPDATE t SET a = 3") == "");
    CHECK(client.Run("UPDATE t SET a = 4") == "08S01 0");
    CHECK(client.Attribute(SQL_ATTR_CONNECTION_DEAD) == SQL_CD_TRUE);
    CHECK(client.Run("SELECT 1") == "08S01 0");
    faults("nonsense\n");
    CHECK(Shortened(Client(connect()).error) == "HY000 0");
    fs::remove(server / "faults.txt");
    Client fresh(connect());
    CHECK(fresh.One("SELECT a FROM t") == "1");
    std::ifstream trace(server / "trace.txt");
    const std::string all((std::istreambuf_iterator<char>(trace)), {});
    CHECK(all.find("\texecute\tCREATE TABLE t(a int)\\nINSERT t VALUES (1)\n") != std::string::npos);
}

TEST_CASE("live handles are counted") {
    const auto counts = [] {
        std::ifstream file(root / ("handles-" + std::to_string(getpid()) + ".txt"));
        int env = -1, dbc = -1, stmt = -1;
        file >> env >> dbc >> stmt;
        return std::to_string(env) + " " + std::to_string(dbc) + " " + std::to_string(stmt);
    };
    {
        Client client;
        Statement one(client.dbc), two(client.dbc);
        CHECK(client.Attribute(0x4A01) == 1);
        CHECK(client.Attribute(0x4A02) == 1);
        CHECK(client.Attribute(0x4A03) == 2);
        CHECK(counts() == "1 1 2");
    }
    CHECK(counts() == "0 0 0");
}

TEST_CASE("large tables are made in one statement and joined in time") {
    World world;
    const std::string digits = "(VALUES (0),(1),(2),(3),(4),(5),(6),(7),(8),(9)) AS ";
    for (const char* name : {"GameA", "GameB"}) {
        CHECK(world.Run("INSERT INTO [" + std::string(name) +
                        "].dbo.TBL_CHARACTER(FLD_USERID, FLD_CHARACTER) SELECT CONVERT(nvarchar(10), a.n + "
                        "10 * b.n + "
                        "100 * c.n + 1000 * d.n + 10000 * e.n), N'x' FROM " +
                        digits + "a(n) CROSS JOIN " + digits + "b(n) CROSS JOIN " + digits +
                        "c(n) CROSS JOIN " + digits + "d(n) CROSS JOIN " + digits + "e(n)") == "");
    }
    const auto start = std::chrono::steady_clock::now();
    CHECK(world.Rows(kDuplicates).size() == 100000);
    CHECK(std::chrono::steady_clock::now() - start < std::chrono::seconds(10));
    CHECK(world.Number(kMaximum) == "~");  // char(20) pads with blanks, which are no digits
    CHECK(world.Run("CREATE INDEX byId ON GameA.dbo.TBL_CHARACTER(FLD_USERID)") == "");
    CHECK(world.Number("SELECT COUNT_BIG(*) FROM [GameA].[dbo].[TBL_CHARACTER] WHERE FLD_USERID = N'4242'") ==
          "1");
}

int main(int argc, char** argv) {
    char pattern[] = "/tmp/standin-check-XXXXXX";
    root = mkdtemp(pattern);
    MakeServer(kServer);
    std::string ini;
    for (const char* name : {"ODBC Driver 18 for SQL Server", "ODBC Driver 17 for SQL Server"}) {
        ini += "[" + std::string(name) + "]\nDriver=" DRIVER_FILE "\nThreading=0\n";
    }
    WriteFile(root / "odbcinst.ini", ini);
    setenv("ODBCSYSINI", root.c_str(), 1);
    setenv("SQLSTANDIN_ROOT", root.c_str(), 1);
    const int failed = doctest::Context(argc, argv).run();
    fs::remove_all(root);
    return failed;
}
