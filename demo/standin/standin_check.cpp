// Checks the stand-in from outside, through the driver manager, as any client would use it.

#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <sys/wait.h>
#include <unicode/ucol.h>
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
using Lines = std::vector<std::string>;

fs::path root;  // of all servers of this run
constexpr const char* kServer = "127.0.0.1,14330";

SQLWCHAR* Wide(std::u16string& text) {
    return reinterpret_cast<SQLWCHAR*>(text.data());
}

/// "STATE native", one after the other, of all records of a handle.
std::string Errors(SQLSMALLINT kind, SQLHANDLE handle) {
    std::string all;
    char16_t state[6];
    SQLINTEGER native = 0;
    for (SQLSMALLINT i = 1;; ++i) {
        const SQLRETURN result =
            SQLGetDiagRecW(kind, handle, i, reinterpret_cast<SQLWCHAR*>(state), &native, nullptr, 0, nullptr);
        if (!SQL_SUCCEEDED(result)) return all;
        {
            char16_t m[300];
            SQLGetDiagRecW(kind, handle, i, nullptr, nullptr, reinterpret_cast<SQLWCHAR*>(m), 300, nullptr);
            if (getenv("SHOWM")) fprintf(stderr, "%s\n", ToUtf8(m).c_str());
        }
        all += (i > 1 ? ", " : "") + ToUtf8(state) + " " + std::to_string(native);
    }
}

std::string ConnectionString(const std::string& database, const std::string& server = kServer,
                             const std::string& password = "p;w}}1") {
    return "DRIVER={ODBC Driver 18 for SQL Server};SERVER={" + server + "};DATABASE={" + database +
           "};UID={sa};PWD={" + password + "};Encrypt=no;TrustServerCertificate=yes;Connection Timeout=5;";
}

struct Statement {
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
    SQLRETURN Bind(std::u16string& value, SQLULEN size) {
        return result = SQLBindParameter(handle, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, size, 0,
                                         value.data(), 0, nullptr);
    }
    std::string Error() const { return Errors(SQL_HANDLE_STMT, handle); }

    /// All rows; columns parted by "|", NULL as "~".
    Lines Rows() {
        constexpr SQLUSMALLINT kMost = 8;
        char16_t texts[kMost][300];
        SQLLEN lengths[kMost] = {};
        SQLSMALLINT columns = 0;
        SQLNumResultCols(handle, &columns);
        for (SQLUSMALLINT i = 0; i < columns; ++i) {
            SQLBindCol(handle, static_cast<SQLUSMALLINT>(i + 1), SQL_C_WCHAR, texts[i], sizeof texts[i],
                       &lengths[i]);
        }
        Lines rows;
        while (SQL_SUCCEEDED(result = SQLFetch(handle))) {
            rows.emplace_back();
            for (int i = 0; i < columns; ++i) {
                rows.back() += (i > 0 ? "|" : "") + (lengths[i] == SQL_NULL_DATA ? "~" : ToUtf8(texts[i]));
            }
        }
        if (result != SQL_NO_DATA) rows.push_back(Error());
        return rows;
    }

    SQLHSTMT handle = SQL_NULL_HSTMT;
    SQLRETURN result;
};

struct Client {
    explicit Client(const std::string& connectionString = ConnectionString("master")) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
        SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
        std::u16string text = ToUtf16(connectionString);
        SQLDriverConnectW(dbc, nullptr, Wide(text), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
        records = Errors(SQL_HANDLE_DBC, dbc);
    }
    ~Client() {
        SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_ROLLBACK);
        SQLDisconnect(dbc);
        SQLFreeHandle(SQL_HANDLE_DBC, dbc);
        SQLFreeHandle(SQL_HANDLE_ENV, env);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// "" for success, "no data", or the errors.
    std::string Run(const std::string& sql) {
        Statement statement(dbc);
        if (!SQL_SUCCEEDED(statement.result)) return Errors(SQL_HANDLE_DBC, dbc);
        statement.Execute(sql);
        while (SQL_SUCCEEDED(statement.result)) {
            statement.result = SQLMoreResults(statement.handle);
            if (statement.result == SQL_NO_DATA) return "";
        }
        return statement.result == SQL_NO_DATA ? "no data" : statement.Error();
    }
    Lines Rows(const std::string& sql) {
        Statement statement(dbc);
        return SQL_SUCCEEDED(statement.Execute(sql)) ? statement.Rows() : Lines{statement.Error()};
    }
    std::string One(const std::string& sql) {
        const Lines rows = Rows(sql);
        return rows.empty() ? "no row" : rows[0];
    }
    /// A 64-bit number; NULL as "~".
    std::string Number(const std::string& sql) {
        Statement statement(dbc);
        if (!SQL_SUCCEEDED(statement.Execute(sql))) return statement.Error();
        std::int64_t value = 0;
        SQLLEN indicator = 0;
        SQLBindCol(statement.handle, 1, SQL_C_SBIGINT, &value, sizeof value, &indicator);
        if (!SQL_SUCCEEDED(SQLFetch(statement.handle))) return statement.Error();
        return indicator == SQL_NULL_DATA ? "~" : std::to_string(value);
    }
    SQLRETURN Manual(bool manual) {
        const SQLULEN mode = manual ? SQL_AUTOCOMMIT_OFF : SQL_AUTOCOMMIT_ON;
        return SQLSetConnectAttrW(dbc, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(mode), 0);
    }
    SQLRETURN End(SQLSMALLINT how) { return SQLEndTran(SQL_HANDLE_DBC, dbc, how); }
    bool IsDead() {
        std::uint32_t dead = SQL_CD_FALSE;
        SQLGetConnectAttrW(dbc, SQL_ATTR_CONNECTION_DEAD, &dead, sizeof dead, nullptr);
        return dead == SQL_CD_TRUE;
    }

    SQLHENV env = SQL_NULL_HENV;
    SQLHDBC dbc = SQL_NULL_HDBC;
    std::string records;
};

/// A client, and two databases of its own with the product's tables.
struct World : Client {
    World() {
        for (const std::string name : {"GameA", "GameB"}) {
            Run("DROP DATABASE " + name);
            REQUIRE(Run("CREATE DATABASE [" + name + "] COLLATE Chinese_PRC_CI_AS") == "");
            REQUIRE(Run("CREATE TABLE [" + name +
                        "].[dbo].[TBL_CHARACTER](FLD_USERID char(20) NULL, FLD_CHARACTER nvarchar(30), "
                        "FLD_ACCOUNT "
                        "varchar(50), FLD_SERVERID int DEFAULT 7); CREATE TABLE [" +
                        name +
                        "].[dbo].TBL_GUILD_INFO(sGuildID nvarchar(50) NOT NULL PRIMARY KEY, sGuildName "
                        "nvarchar(50) "
                        "COLLATE Chinese_PRC_CI_AS, Notes ntext NULL)") == "");
        }
        REQUIRE(Run("USE GameA") == "");
    }
};

void WriteFile(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}
std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
void MakeServer(const std::string& name) {
    fs::create_directories(root / name);
    WriteFile(root / name / "server.conf", "user=sa\npassword=p;w}1\n");
}

const char* const kDuplicates =
    "SELECT DISTINCT a.FLD_USERID, a.FLD_CHARACTER, a.FLD_SERVERID, b.FLD_CHARACTER, b.FLD_SERVERID FROM "
    "[GameA].[dbo].[TBL_CHARACTER] a JOIN [GameB].[dbo].[TBL_CHARACTER] b ON a.FLD_USERID COLLATE "
    "DATABASE_DEFAULT = "
    "b.FLD_USERID COLLATE DATABASE_DEFAULT WHERE a.FLD_USERID IS NOT NULL AND LTRIM(RTRIM(a.FLD_USERID)) <> "
    "N'' ORDER "
    "BY a.FLD_USERID";

}  // namespace

TEST_CASE("connecting") {
    Client client;
    CHECK(client.records == "01000 5701");  // the time-out is no keyword of the driver's
    CHECK(Client(ConnectionString("master", "nobody")).records == "HYT00 0, 08001 0");
    CHECK(Client(ConnectionString("master", kServer, "wrong")).records == "28000 18456");
    CHECK(Client(ConnectionString("Missing")).records == "42000 4060, 28000 18456");
    CHECK(client.One("SELECT DB_NAME()") == "master");
    CHECK(!client.IsDead());
}

TEST_CASE("the catalogue lists databases and columns") {
    World world;
    CHECK(world.Run("ALTER DATABASE [GameB] SET OFFLINE WITH ROLLBACK IMMEDIATE") == "");
    const std::string online =
        "SELECT name FROM sys.databases WHERE database_id > 4 AND state_desc = 'ONLINE' ORDER BY name";
    CHECK(world.Rows(online) == Lines{"GameA"});
    CHECK(world.Run("SELECT 1 FROM [GameB].dbo.TBL_CHARACTER") == "42000 942");
    CHECK(world.Run("SELECT 1 FROM [GameC].dbo.TBL_CHARACTER") == "42S02 208");
    CHECK(world.Run("USE GameC") == "42000 911");
    CHECK(world.Run("ALTER DATABASE [GameB] SET ONLINE; ALTER DATABASE GameB SET SINGLE_USER") == "");
    CHECK(world.Rows(online) == Lines{"GameA", "GameB"});
    CHECK(world.Run("CREATE SCHEMA [邮件]") == "");
    CHECK(world.Run("CREATE TABLE [邮件].[a]]b](收件ROLEID nvarchar(9), n int NOT NULL IDENTITY(1, 1) "
                    "PRIMARY KEY)") == "");
    CHECK(
        world.Rows(
            "SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME, DATA_TYPE FROM [gamea].INFORMATION_SCHEMA.COLUMNS "
            "WHERE DATA_TYPE IN (N'char',N'nvarchar',N'INT') AND (COLUMN_NAME LIKE N'%userid%' OR TABLE_NAME "
            "LIKE N'a]%') AND TABLE_SCHEMA NOT IN (N'sys') ORDER BY TABLE_SCHEMA, TABLE_NAME, "
            "ORDINAL_POSITION") ==
        Lines{"dbo|TBL_CHARACTER|FLD_USERID|char", "邮件|a]b|收件ROLEID|nvarchar", "邮件|a]b|n|int"});
    CHECK(world.Run("INSERT INTO [邮件].[a]]b] (收件ROLEID) VALUES (N'x'), (N'y')") == "");
    CHECK(world.Rows("SELECT n, 收件roleid FROM [邮件].[a]]b]") == Lines{"1|x", "2|y"});
    CHECK(world.Run(
              "IF DB_ID(N'gameb') IS NOT NULL DROP DATABASE [GameB]; IF DB_ID(N'x') > 0 DROP DATABASE x") ==
          "");
    CHECK(world.One("SELECT DB_ID(N'GameB')") == "~");
}

TEST_CASE("text is compared and sorted as Chinese_PRC_CI_AS does") {
    World world;
    CHECK(world.Run("INSERT INTO [GameA].dbo.TBL_CHARACTER (FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, "
                    "FLD_SERVERID) VALUES (N'1001', N'张三', 'acc', 1), ('ab', 'x', "
                    "'y', 2), ('  "
                    "', N'', '', 3)") == "");
    CHECK(world.Run(
              "INSERT INTO [GameB].[dbo].[TBL_CHARACTER] (FLD_USERID, FLD_CHARACTER) VALUES (N'1001', 'b'), "
              "('AB', NULL), (N'', N''); -- and so on") == "");
    CHECK(world.Rows(kDuplicates) ==
          Lines{"1001                |张三|1|b|7", "ab                  |x|2|~|7"});
    world.Run("DELETE FROM TBL_CHARACTER");
    CHECK(world.Run("INSERT INTO TBL_CHARACTER (FLD_CHARACTER) VALUES (N'张'), (N'阿'), ('z'), (N'李'), "
                    "('2'), ('_'), "
                    "('B'), ('a')") == "");
    CHECK(world.Rows("SELECT FLD_CHARACTER FROM TBL_CHARACTER ORDER BY FLD_CHARACTER DESC") ==
          Lines{"张", "李", "阿", "z", "B", "a", "2", "_"});
    for (const char* equal :
         {"N'ＡB' = 'ab  '", "N'Ω' = N'ω'", "N'か' = N'カ'", "'a' COLLATE DATABASE_DEFAULT = 'A'",
          "N'é' <> N'e'", "'a' <> ' a'", "NOT NULL = NULL OR 1 = 1"}) {
        CHECK(world.One("SELECT CASE WHEN " + std::string(equal) + " THEN 1 ELSE 0 END") == "1");
    }
    CHECK(world.One("SELECT CASE WHEN NULL = NULL OR NULL <> 1 THEN 1 ELSE 0 END") == "0");
}

TEST_CASE("texts of ASCII characters compare as ICU compares them") {
    UErrorCode status = U_ZERO_ERROR;
    UCollator* icu = ucol_open("zh", &status);
    ucol_setStrength(icu, UCOL_SECONDARY);
    ucol_setReorderCodes(icu, nullptr, 0, &status);
    REQUIRE(U_SUCCESS(status));
    const auto sign = [](int value) { return value < 0 ? -1 : value > 0 ? 1 : 0; };
    unsigned seed = 1;
    for (int round = 0; round < 200'000; ++round) {
        std::string texts[2];
        for (std::string& text : texts) {
            for (unsigned length = (seed = seed * 1103515245 + 12345) >> 16 & 3; length > 0; --length) {
                text += static_cast<char>('!' + ((seed = seed * 1103515245 + 12345) >> 16) % 94);
            }
        }
        const int wanted = ucol_strcollUTF8(icu, texts[0].data(), static_cast<int>(texts[0].size()),
                                            texts[1].data(), static_cast<int>(texts[1].size()), &status);
        CAPTURE(texts[0]);
        CAPTURE(texts[1]);
        REQUIRE(sign(standin::CompareText(texts[0], texts[1])) == wanted);
    }
    ucol_close(icu);
}

TEST_CASE("the largest number is exact, and too large for 64 bits at most when it is read") {
    World world;
    const auto add = [&](const std::string& id) {
        return world.Run("INSERT INTO TBL_GUILD_INFO (sGuildID, sGuildName, Notes) VALUES (N'" + id +
                         "', N'', NULL)");
    };
    const std::string maximum =
        "SELECT MAX(CASE WHEN sGuildID NOT LIKE N'%[^0-9]%' THEN CONVERT(DECIMAL(38,0), sGuildID) END) FROM "
        "[GameA].[dbo].[TBL_GUILD_INFO]";
    CHECK(world.Number(maximum) == "~");
    for (const char* id : {"12a", "9", "100234", "+5"}) CHECK(add(id) == "");
    CHECK(world.Number(maximum) == "100234");
    CHECK(add("9223372036854775807") == "");
    CHECK(world.Number(maximum) == "9223372036854775807");
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
        "INSERT INTO TBL_CHARACTER(FLD_ACCOUNT) VALUES ('100%'), ('1000'), ('a_b'), ('A[b'), (N'玩家'), "
        "(NULL)");
    Statement search(world.dbc);
    REQUIRE(
        search.Prepare(
            "SELECT TOP (2) CAST([FLD_ACCOUNT] AS NVARCHAR(128)) AS account FROM [dbo].[TBL_CHARACTER] "
            "WHERE CAST([FLD_ACCOUNT] AS NVARCHAR(128)) LIKE ? ESCAPE N'\\' ORDER BY [FLD_ACCOUNT] ASC") ==
        SQL_SUCCESS);
    struct Row {
        std::u16string pattern;
        Lines found;
    };
    for (Row row : {Row{u"%100\\%%", {"100%"}}, Row{u"%\\_%", {"a_b"}}, Row{u"%a\\[B%", {"A[b"}},
                    Row{u"%玩%", {"玩家"}}, Row{u"%100%", {"100%", "1000"}}, Row{u"%_%", {"100%", "1000"}},
                    Row{u"%none%", {}}}) {
        REQUIRE(search.Bind(row.pattern, row.pattern.size()) == SQL_SUCCESS);
        REQUIRE(SQLExecute(search.handle) == SQL_SUCCESS);
        CHECK(search.Rows() == row.found);
    }
    std::u16string longer = u"%12%";
    search.Bind(longer, 3);
    CHECK(SQLExecute(search.handle) == SQL_ERROR);
    CHECK(search.Error() == "22001 0");
}

TEST_CASE("values are converted, joined and matched") {
    Client client;
    struct Row {
        const char *sql, *value;
    };
    for (const Row& row :
         {Row{"CASE WHEN N'abc ' LIKE N'abc' THEN 1 ELSE 0 END", "0"},
          Row{"CASE WHEN N'aXc' LIKE N'a[w-y]C' THEN 1 END", "1"},
          Row{"CASE WHEN N'5' LIKE N'[^0-9]' THEN 1 END", "~"},
          Row{"CASE WHEN '%' LIKE '!%' ESCAPE '!' THEN 1 END", "1"},
          Row{"CASE WHEN N'￥Ａ' LIKE N'_a' THEN 1 END", "1"}, Row{"CAST(N'abcdef' AS NVARCHAR(3))", "abc"},
          Row{"CAST(-12 AS NVARCHAR(10))", "-12"}, Row{"CAST('a' AS char(3)) + N'b'", "a  b"},
          Row{"CAST(N'张三' AS varchar(3)) + '.'", "张."}, Row{"CAST(' 7 ' AS int) + '5'", "12"},
          Row{"2 + 3 * (4 + 1)", "17"}, Row{"LTRIM(RTRIM('  a ')) + '.'", "a."},
          Row{"CONVERT(varchar(9), 10 + NULL)", "~"}}) {
        CAPTURE(row.sql);
        CHECK(client.One("SELECT " + std::string(row.sql)) == row.value);
    }
    CHECK(client.Rows("SELECT 10 * t.i + d.i FROM (VALUES (1), (2)) AS t(i) CROSS JOIN (VALUES (3)) d(i) "
                      "WHERE t.i < 2") == Lines{"13"});
}

TEST_CASE("what SQL Server refuses is refused with its state and number") {
    World world;
    world.Run(
        "INSERT INTO TBL_CHARACTER (FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID) VALUES ('1', 'n', "
        "'a', 5)");
    world.Run("INSERT INTO TBL_GUILD_INFO (sGuildID, sGuildName, Notes) VALUES ('g', 'n', 'note')");
    CHECK(world.Run("CREATE UNIQUE INDEX one ON TBL_CHARACTER (FLD_ACCOUNT)") == "");
    struct Row {
        const char *sql, *error;
    };
    for (const Row& row :
         {Row{"INSERT INTO TBL_CHARACTER (FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID) VALUES "
              "('123456789012345678901', '', '', 1)",
              "22001 2628"},
          Row{"UPDATE TBL_CHARACTER SET FLD_ACCOUNT = "
              "N'张三张三张三张三张三张三张三张三张三张三张三张三张三'",
              "22001 2628"},
          Row{"INSERT INTO TBL_GUILD_INFO (sGuildID, sGuildName, Notes) VALUES (NULL, '', '')", "23000 515"},
          Row{"INSERT INTO TBL_GUILD_INFO(sGuildName) VALUES ('x')", "23000 515"},
          Row{"INSERT INTO TBL_GUILD_INFO (sGuildID, sGuildName, Notes) VALUES (N'G ', '', '')",
              "23000 2627"},
          Row{"INSERT INTO TBL_CHARACTER(FLD_ACCOUNT) VALUES ('A')", "23000 2601"},
          Row{"UPDATE TBL_CHARACTER SET FLD_SERVERID = 'x'", "22018 245"},
          Row{"UPDATE TBL_CHARACTER SET FLD_SERVERID = '3000000000'", "22003 248"},
          Row{"UPDATE TBL_CHARACTER SET FLD_SERVERID = 3000000000", "22003 8115"},

          Row{"SELECT 1 FROM Missing", "42S02 208"},
          Row{"SELECT 1 FROM nowhere.TBL_CHARACTER", "42S02 208"},
          Row{"SELECT nothing FROM TBL_GUILD_INFO", "42S22 207"},
          Row{"UPDATE TBL_GUILD_INFO SET x = 1", "42S22 207"},
          Row{"SELECT 1 FROM TBL_GUILD_INFO WHERE x = 1", "42S22 207"},
          Row{"DELETE FROM sys.databases", "42000 259"},
          Row{"SELECT 1 FROM TBL_GUILD_INFO WITH (NOSUCHHINT)", "42000 321"},
          Row{"SELECT 'a' COLLATE Latin1_General_BIN", "42000 448"},
          Row{"SELECT CAST(1 AS nosuch)", "42000 2715"},
          Row{"SELECT 'open", "42000 105"},
          Row{"CREATE TABLE TBL_CHARACTER(a int)", "42S01 2714"},
          Row{"CREATE DATABASE gameb", "42000 1801"},
          Row{"DROP DATABASE Missing", "42S02 3701"},
          Row{"DROP DATABASE GameA", "42000 3702"},
          Row{"ALTER DATABASE Missing SET ONLINE", "42000 911"},
          Row{"ROLLBACK TRANSACTION", "42000 3903"},
          Row{"DELETE FROM TBL_CHARACTER WHERE FLD_USERID = 'none'", "no data"}}) {
        CAPTURE(row.sql);
        CHECK(world.Run(row.sql) == row.error);
    }
    CHECK(world.Rows("SELECT FLD_USERID, FLD_SERVERID FROM TBL_CHARACTER") ==
          Lines{"1                   |5"});
}

TEST_CASE("what SQLite takes and T-SQL does not is refused") {
    World world;
    for (const char* sql : {"SELECT 1 LIMIT 1",
                            "SELECT sGuildID FROM TBL_GUILD_INFO LIMIT 1",
                            "SELECT 'a' || 'b'",
                            "SELECT \"text\"",
                            "SELECT 1 + 'x'",
                            "SELECT 1 == 1",
                            "SELECT length('a')",
                            "SELECT NOSUCH(1)",
                            "SELECT max(1, 2)",
                            "SELECT ifnull(1, 2)",
                            "SELECT 1 = 1",
                            "SELECT 1 << 2",
                            "SELECT 'a' GLOB 'a'",
                            "SELECT 'a' -> 'b'",
                            "SELECT x'00'",
                            "SELECT 1e5",
                            "SELECT TRUE",
                            "SELECT 1 WHERE 1 ISNULL",

                            "SELECT 1 + = 2",
                            "VALUES (1)",
                            "WITH a AS (SELECT 1) SELECT 1",
                            "REPLACE INTO TBL_GUILD_INFO VALUES ('')",
                            "INSERT OR IGNORE INTO TBL_GUILD_INFO VALUES ('', '', '')",
                            "PRAGMA user_version",
                            "ATTACH 'x' AS y",
                            "EXPLAIN SELECT 1",
                            "SELECT 1 FROM sqlite_schema",
                            "SELECT 1 FROM [~databases]",
                            "SELECT CASE WHEN 1 = 1 THEN 1",
                            "BEGIN",
                            "SELECT `a`",
                            "SELECT 1 FROM TBL_GUILD_INFO NATURAL JOIN TBL_CHARACTER",
                            "SELECT 1 UNION SELECT 2",
                            "SELECT (SELECT 1)"}) {
        CAPTURE(std::string(sql));
        const std::string error = world.One(sql);
        CHECK((error.starts_with("42") || error.starts_with("22018")));
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
    CHECK(length == 6);
    CHECK(std::u16string(text) == u"张三");
    std::int64_t number = 0;
    SQLBindCol(first.handle, 3, SQL_C_SBIGINT, &number, sizeof number, nullptr);
    CHECK(SQLFetch(first.handle) == SQL_ERROR);
    CHECK(first.Error() == "22002 0, 01004 0");
    CHECK(SQLFetch(first.handle) == SQL_NO_DATA);
    CHECK(second.Execute("SELECT 1; SELECT 2") == SQL_SUCCESS);
    CHECK(SQLMoreResults(second.handle) == SQL_SUCCESS);
    CHECK(second.Rows() == Lines{"2"});
}

TEST_CASE("transactions and locks between two connections") {
    World world;
    Client other(ConnectionString("GameA"));
    world.Run("INSERT INTO TBL_GUILD_INFO (sGuildID, sGuildName, Notes) VALUES ('g', 'old', NULL)");
    const std::string read = "SELECT sGuildName FROM GameA.dbo.TBL_GUILD_INFO";
    const std::string write = "UPDATE GameA.dbo.TBL_GUILD_INFO SET sGuildName = N'new'";
    CHECK(world.Manual(true) == SQL_SUCCESS);
    CHECK(world.Number(
              "SELECT COUNT_BIG(*) FROM TBL_GUILD_INFO WITH (UPDLOCK, HOLDLOCK) WHERE sGuildID = N'g'") ==
          "1");
    CHECK(world.One("SELECT @@TRANCOUNT") == "1");
    CHECK(other.Run("SET LOCK_TIMEOUT 50") == "");
    CHECK(other.Run(write) == "HYT00 1222");
    CHECK(world.Run(write) == "");
    CHECK(world.Run("UPDATE TBL_GUILD_INFO SET sGuildID = NULL") == "23000 515");  // undoes itself alone
    CHECK(world.Run("CREATE DATABASE x") == "42000 226");
    CHECK(other.One(read) == "old");
    CHECK(world.End(SQL_ROLLBACK) == SQL_SUCCESS);
    CHECK(world.One(read) == "old");
    CHECK(world.Run(write) == "");
    CHECK(world.Run("IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION") == "");
    CHECK(world.Run("IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION") == "");
    CHECK(world.One(read) == "old");
    CHECK(world.Run(write) == "");
    CHECK(world.Manual(false) == SQL_SUCCESS);  // commits
    CHECK(other.One(read) == "new");

    world.Manual(true);
    CHECK(world.Run("DELETE FROM TBL_GUILD_INFO") == "");
    other.Run("SET LOCK_TIMEOUT 20000");
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
        client.Run("INSERT INTO TBL_GUILD_INFO (sGuildID, sGuildName, Notes) VALUES ('lost', '', NULL)");
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
    CHECK(Client(connect()).records == "08001 17, 01000 0");
    {
        Client client(connect());
        CHECK(Client(connect()).records == "");
        client.Run("CREATE DATABASE d;\nUSE d; CREATE TABLE t(a int); INSERT INTO t(a) VALUES (1)");
        faults(
            "execute\t2\t40001\t1205\tdeadlock\nfetch\t*\tHY000\t1\tfetch\nstatement\t4\tHY001\t2\tmemory\n"
            "slow\texecute\t1\t80\n");
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
        CHECK(client.One("SELECT a FROM t WITH (UPDLOCK, holdlock)") == "1");
        CHECK(client.Manual(true) == SQL_ERROR);
        faults("die\texecute\t2\t08S01\t0\tgone\n");
        CHECK(client.Manual(true) == SQL_SUCCESS);
        CHECK(client.Run("UPDATE t SET a = 3") == "");
        CHECK(client.Run("UPDATE t SET a = 4") == "08S01 0");
        CHECK(client.IsDead());
        CHECK(client.Run("SELECT 1") == "08S01 0");
        faults("nonsense\n");
        CHECK(Client(connect()).records == "HY000 0");
        fs::remove(server / "faults.txt");
    }
    CHECK(Client(connect()).One("SELECT a FROM d.dbo.t") == "1");
    const std::string trace = ReadFile(server / "trace.txt");
    CHECK(trace.starts_with(std::to_string(getpid()) + "\t"));
    for (const char* event :
         {"attempt\tODBC Driver 18 for SQL Server 5\n", "connect\tmaster\n",
          "execute\tCREATE DATABASE d;\\nUSE d;", "execute\tSELECT a FROM t WITH (UPDLOCK, holdlock)\n",
          "hints\tUPDLOCK,HOLDLOCK\n", "manual\t\n", "auto\t\n", "rollback\t\n", "disconnect\t0\n"}) {
        CAPTURE(event);
        CHECK(trace.find("\t" + std::string(event)) != std::string::npos);
    }
}

TEST_CASE("live handles are counted, and what was never freed stays in the count") {
    const auto counts = [] {
        std::ifstream file(root / ("handles-" + std::to_string(getpid()) + ".txt"));
        std::string env, dbc, stmt;
        file >> env >> dbc >> stmt;
        return env + " " + dbc + " " + stmt;
    };
    {
        Client client;
        Statement one(client.dbc), two(client.dbc);
        CHECK(counts() == "1 1 2");
    }
    CHECK(counts() == "0 0 0");
    {
        Client client;
        SQLHANDLE leaked = SQL_NULL_HANDLE;
        SQLAllocHandle(SQL_HANDLE_STMT, client.dbc, &leaked);
    }
    CHECK(counts() == "0 0 1");
}

TEST_CASE("large tables are joined in time, and CAST leaves an index in use") {
    World world;
    const std::string digits = "(VALUES (0),(1),(2),(3),(4),(5),(6),(7),(8),(9)) AS ";
    for (const std::string name : {"GameA", "GameB"}) {
        CHECK(world.Run(
                  "INSERT INTO [" + name +
                  "].dbo.TBL_CHARACTER(FLD_USERID, FLD_CHARACTER) SELECT N'u' + "
                  "CONVERT(nvarchar(10), 100000 + (a.n + 10 * b.n + 100 * c.n + 1000 * d.n)), N'x' FROM " +
                  digits + "a(n) CROSS JOIN " + digits + "b(n) CROSS JOIN " + digits + "c(n) CROSS JOIN " +
                  digits + "d(n)") == "");
    }
    const auto time = [&](const std::string& condition) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < 20; ++i) {
            CHECK(world.Number("SELECT COUNT_BIG(*) FROM [TBL_CHARACTER] WHERE " + condition) == "1");
        }
        return std::chrono::steady_clock::now() - start;
    };
    const auto start = std::chrono::steady_clock::now();
    CHECK(world.Rows(kDuplicates).size() == 10000);
    CHECK(std::chrono::steady_clock::now() - start < std::chrono::seconds(5));
    const std::string left = "CAST([FLD_USERID] AS NVARCHAR(256)) = N'U104242'";
    const std::string right = "N'U104242' = CAST([FLD_USERID] AS NVARCHAR(256))";
    const auto scan = time(left);
    CHECK(world.Run("CREATE INDEX byId ON GameA.dbo.TBL_CHARACTER(FLD_USERID)") == "");
    CHECK(time(left) * 5 < scan);
    CHECK(time(right) * 5 < scan);
}

int main(int argc, char** argv) {
    char pattern[] = "/tmp/standin-check-XXXXXX";
    root = mkdtemp(pattern);
    MakeServer(kServer);
    WriteFile(root / "odbcinst.ini",
              "[ODBC Driver 18 for SQL Server]\nDriver=" DRIVER_FILE "\nThreading=0\n");
    setenv("ODBCSYSINI", root.c_str(), 1);
    setenv("SQLSTANDIN_ROOT", root.c_str(), 1);
    const int failed = doctest::Context(argc, argv).run();
    fs::remove_all(root);
    return failed;
}
