#include "server.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>

#include "text.h"

namespace standin {
namespace {

/// The file of a server for somebody who may use it. @throws SqlError 18456.
std::string FileFor(const std::string& directory, const Login& login) {
    std::ifstream file(directory + "/server.conf");
    std::string user, password;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("user=")) user = line.substr(5);
        if (line.starts_with("password=")) password = line.substr(9);
    }
    if (CompareText(user, login.user) != 0 || password != login.password) Fail(kLoginFailed, login.user);
    return directory + "/server.db";
}

/// What Microsoft documents for its driver. Of them only those in Login have an effect.
constexpr std::string_view kKeywords =
    ";ADDR;ADDRESS;ANSINPW;APP;APPLICATIONINTENT;ATTACHDBFILENAME;AUTHENTICATION;AUTOTRANSLATE;"
    "CLIENTCERTIFICATE;CLIENTKEY;COLUMNENCRYPTION;CONNECTRETRYCOUNT;CONNECTRETRYINTERVAL;DATABASE;"
    "DESCRIPTION;DRIVER;DSN;ENCRYPT;FAILOVER_PARTNER;FAILOVERPARTNERSPN;FILEDSN;GETDATAEXTENSIONS;"
    "HOSTNAMEINCERTIFICATE;IPADDRESSPREFERENCE;KEEPALIVE;KEEPALIVEINTERVAL;KEYSTOREAUTHENTICATION;"
    "KEYSTOREPRINCIPALID;KEYSTORESECRET;LANGUAGE;LONGASMAX;MARS_CONNECTION;MULTISUBNETFAILOVER;NET;"
    "NETWORK;PWD;QUERYLOG_ON;QUERYLOGFILE;QUERYLOGTIME;QUOTEDID;REGIONAL;REPLICATION;RETRYEXEC;SAVEFILE;"
    "SERVER;SERVERCERTIFICATE;SERVERSPN;STATSLOG_ON;STATSLOGFILE;TRANSPARENTNETWORKIPRESOLUTION;"
    "TRUSTED_CONNECTION;TRUSTSERVERCERTIFICATE;UID;USEFMTONLY;WSID;";

constexpr char kPartSign = '\x1F';

constexpr const char* kInstall[] = {
    R"(CREATE TABLE IF NOT EXISTS "~databases"(id INTEGER PRIMARY KEY, name TEXT COLLATE MS UNIQUE, offline INTEGER))",
    R"(INSERT OR IGNORE INTO "~databases" VALUES (1,'master',0), (2,'tempdb',0), (3,'model',0), (4,'msdb',0))",
    R"(CREATE VIEW IF NOT EXISTS "~tables" AS SELECT name AS stored, substr(name, 1, instr(name, char(31)) - 1) AS db,
    substr(name, instr(name, char(31)) + 1) AS rest FROM sqlite_schema WHERE type = 'table' AND instr(name, char(31)))",
    R"(CREATE VIEW IF NOT EXISTS "~columns" AS SELECT db COLLATE MS AS TABLE_CATALOG,
    substr(rest, 1, instr(rest, char(31)) - 1) COLLATE MS AS TABLE_SCHEMA,
    substr(rest, instr(rest, char(31)) + 1) COLLATE MS AS TABLE_NAME, c.name COLLATE MS AS COLUMN_NAME,
    c.cid + 1 AS ORDINAL_POSITION, CASE c.type WHEN 'INTEGER' THEN 'int'
    ELSE substr(c.type, 1, instr(c.type || '(', '(') - 1) END COLLATE MS AS DATA_TYPE
    FROM "~tables", pragma_table_xinfo(stored) c)",
    R"(CREATE VIEW IF NOT EXISTS "~sys" AS SELECT name, id AS database_id,
    CASE WHEN offline THEN 'OFFLINE' ELSE 'ONLINE' END COLLATE MS AS state_desc FROM "~databases")"};

std::string SchemaOf(const Name& name) {
    return name.size() < 2 ? "dbo" : name[name.size() - 2];
}

}  // namespace

Login ReadConnectionString(const std::string& text) {
    static const std::regex pair(R"(\s*([^=;]+?)\s*=\s*(?:\{((?:[^}]|\}\})*)\}|([^;{]*))\s*(?:;|$))"),
        brace("\\}\\}");
    std::map<std::string, std::string> values;
    bool hasUnknown = false;
    std::smatch match;
    for (auto at = text.begin(); at != text.end(); at = match[0].second) {
        if (!std::regex_search(at, text.end(), match, pair, std::regex_constants::match_continuous)) {
            Fail(kConnectionString);
        }
        const std::string keyword = UpperAscii(match.str(1));
        hasUnknown = hasUnknown || kKeywords.find(";" + keyword + ";") == kKeywords.npos;
        values.emplace(keyword, std::regex_replace(match.str(2), brace, "}") + match.str(3));
    }
    return {values["DRIVER"], values["SERVER"], values["DATABASE"], values["UID"], values["PWD"], hasUnknown};
}

std::string FindServer(const std::string& server) {
    const char* root = std::getenv("SQLSTANDIN_ROOT");
    const std::string all = root == nullptr ? "" : root, own = all + "/" + server;
    return std::filesystem::exists(own + "/server.conf") ? own : all;
}

Session::Session(const std::string& directory, const Login& login) : db_(FileFor(directory, login)) {
    // Asked first, so that connecting waits for nobody's transaction.
    if (!db_.HasTable("~databases")) {
        db_.RunAtomically([&] {
            for (const char* sql : kInstall) db_.Run(sql);
        });
    }
    find_ = db_.Prepare("SELECT id, name, offline FROM \"~databases\" WHERE name = ?");
    if (login.database.empty()) return;
    try {
        Use(login.database);
    } catch (const SqlError&) {
        throw SqlError({MakeRecord(kCannotOpen, login.database), MakeRecord(kLoginFailed, login.user)});
    }
}

void Session::SetManual(bool manual) {
    if (!manual) End("COMMIT");
    manual_ = manual;
}

void Session::EnterStatement() {
    if (manual_ && !db_.InTransaction()) db_.Run("BEGIN IMMEDIATE");
}

void Session::End(const char* how) {
    if (db_.InTransaction()) db_.Run(how);
}

std::optional<Session::Database> Session::Find(const std::string& name) {
    // The step also makes SQLite see tables that another connection has created.
    BindText(find_.get(), 1, name);
    std::optional<Database> found;
    if (db_.Step(find_.get())) {
        found = {Render(ColumnCell(find_.get(), 0)), Render(ColumnCell(find_.get(), 1)),
                 sqlite3_column_int(find_.get(), 2) != 0};
    }
    sqlite3_reset(find_.get());
    return found;
}

void Session::Use(const std::string& name) {
    const auto database = Find(name);
    if (!database) Fail(kUnknownDatabase, name);
    if (database->offline) Fail(kOffline, name);
    current_ = database->name;
}

Session::Database Session::Open(const Name& name) {
    const std::string& database = name.size() == 3 ? name[0] : current_;
    const auto found = Find(database);
    if (!found) Fail(kUnknownObject, name.back());
    if (found->offline) Fail(kOffline, database);
    return *found;
}

std::string Session::Stored(const Name& name) {
    return Open(name).name + kPartSign + SchemaOf(name) + kPartSign + name.back();
}

std::string Session::Table(const Name& name) {
    std::string stored = Stored(name);
    if (!db_.HasTable(stored)) Fail(kUnknownObject, name.back());
    return stored;
}

std::string Session::NewTable(const Name& name) {
    std::string stored = Stored(name);
    if (db_.HasTable(stored)) Fail(kObjectExists, name.back());
    return stored;
}

std::optional<std::string> Session::View(const Name& name) {
    const std::string schema = UpperAscii(SchemaOf(name)), view = UpperAscii(name.back());
    if (schema == "SYS" && view == "DATABASES") return R"("~sys")";
    if (schema != "INFORMATION_SCHEMA" || view != "COLUMNS") return std::nullopt;
    return R"((SELECT * FROM "~columns" WHERE TABLE_CATALOG = )" + QuoteText(Open(name).name) + ")";
}

void Session::CreateDatabase(const std::string& name) {
    if (Find(name)) Fail(kDatabaseExists, name);
    db_.Run("INSERT INTO \"~databases\"(name, offline) VALUES (" + QuoteText(name) + ", 0)");
}

void Session::DropDatabase(const std::string& name) {
    const auto database = Find(name);
    if (!database) Fail(kCannotDrop, name);
    std::vector<std::string> tables;
    {
        const SqliteStmt stmt =
            db_.Prepare("SELECT stored FROM \"~tables\" WHERE db = " + QuoteText(database->name));
        while (db_.Step(stmt.get())) tables.push_back(Render(ColumnCell(stmt.get(), 0)));
    }  // an open cursor would keep the tables locked
    for (const std::string& table : tables) db_.Run("DROP TABLE " + QuoteName(table));
    db_.Run("DELETE FROM \"~databases\" WHERE id = " + database->id);
}

void Session::SetOffline(const std::string& name, bool offline) {
    db_.Run("UPDATE \"~databases\" SET offline = " + std::to_string(offline) +
            " WHERE name = " + QuoteText(name));
    if (db_.Changes() == 0) Fail(kUnknownDatabase, name);
}

}  // namespace standin
