#include "catalogue.h"

#include "collation.h"
#include "text.h"

namespace standin {
namespace {

constexpr char kPartSign = '\x1F';
constexpr int kSystemDatabases = 4;

constexpr const char* kInstall[] = {
    R"(CREATE TABLE IF NOT EXISTS "~databases"(id INTEGER PRIMARY KEY, name TEXT COLLATE MS UNIQUE, offline INTEGER))",
    R"(CREATE TABLE IF NOT EXISTS "~schemas"(db INTEGER, name TEXT COLLATE MS, UNIQUE(db, name)))",
    R"(INSERT OR IGNORE INTO "~databases" VALUES (1,'master',0), (2,'tempdb',0), (3,'model',0), (4,'msdb',0))",
};

constexpr const char* kDatabasesView =
    R"((SELECT name, id AS database_id, CASE WHEN offline THEN 'OFFLINE' ELSE 'ONLINE' END COLLATE MS AS state_desc
    FROM "~databases"))";

/// All tables of a database ($prefix with $length characters) with their columns; $sign parts the names.
constexpr const char* kColumnsView =
    R"((SELECT $name COLLATE MS AS TABLE_CATALOG, substr(rest, 1, instr(rest, $sign) - 1) COLLATE MS AS TABLE_SCHEMA,
    substr(rest, instr(rest, $sign) + 1) COLLATE MS AS TABLE_NAME, c.name COLLATE MS AS COLUMN_NAME,
    c.cid + 1 AS ORDINAL_POSITION,
    CASE c.type WHEN 'INTEGER' THEN 'int' ELSE substr(c.type, 1, instr(c.type || '(', '(') - 1) END COLLATE MS
    AS DATA_TYPE
    FROM (SELECT name AS stored, substr(name, $length + 1) AS rest FROM sqlite_schema
    WHERE type = 'table' AND substr(name, 1, $length) = $prefix), pragma_table_xinfo(stored) c))";

void ReplaceAll(std::string& text, std::string_view what, const std::string& with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
}

std::string Joined(const Name& name, char sign) {
    std::string text;
    for (const std::string& part : name) text += (text.empty() ? "" : std::string(1, sign)) + part;
    return text;
}

const std::string& SchemaOf(const Name& name) {
    static const std::string dbo = "dbo";
    return name.size() < 2 || name[name.size() - 2].empty() ? dbo : name[name.size() - 2];
}

}  // namespace

Catalogue::Catalogue(Sqlite& db) : db_(db) {
    // Asked first, so that connecting waits for nobody's transaction.
    if (!db_.HasTable("~schemas")) {
        db_.Run("BEGIN IMMEDIATE");
        for (const char* sql : kInstall) db_.Run(sql);
        db_.Run("COMMIT");
    }
    find_ = db_.Prepare("SELECT id, name, offline FROM \"~databases\" WHERE name = ?");
}

std::optional<Catalogue::Database> Catalogue::Find(const std::string& name) {
    // The step also makes SQLite read tables anew that another connection has created.
    BindCell(find_.get(), 1, name);
    std::optional<Database> found;
    if (db_.Step(find_.get())) {
        found = {sqlite3_column_int64(find_.get(), 0), ColumnText(find_.get(), 1),
                 sqlite3_column_int(find_.get(), 2) != 0};
    }
    sqlite3_reset(find_.get());
    return found;
}

void Catalogue::Use(const std::string& name) {
    const auto database = Find(name);
    if (!database) Fail(Err::kUnknownDatabase, name);
    if (database->offline) Fail(Err::kDatabaseOffline, name);
    current_ = database->name;
}

Catalogue::Database Catalogue::Open(const Name& name) {
    const std::string& database = name.size() == 3 ? name[0] : current_;
    const auto found = Find(database);
    if (!found) Fail(Err::kUnknownObject, Joined(name, '.'));
    if (found->offline) Fail(Err::kDatabaseOffline, database);
    return *found;
}

std::string Catalogue::Table(const Name& name) {
    std::string stored = Joined({Open(name).name, SchemaOf(name), name.back()}, kPartSign);
    if (db_.HasTable(stored)) return stored;
    if (View(name)) Fail(Err::kReadOnlyObject);
    Fail(Err::kUnknownObject, Joined(name, '.'));
}

std::string Catalogue::NewTable(const Name& name) {
    const Database database = Open(name);
    const std::string& schema = SchemaOf(name);
    const SqliteStmt found =
        db_.Prepare("SELECT 1 FROM \"~schemas\" WHERE db = " + std::to_string(database.id) +
                    " AND name = " + QuoteText(schema));
    if (CompareText(schema, "dbo") != 0 && !db_.Step(found.get())) Fail(Err::kUnknownSchema, schema);
    std::string stored = Joined({database.name, schema, name.back()}, kPartSign);
    if (db_.HasTable(stored)) Fail(Err::kObjectExists, name.back());
    return stored;
}

std::vector<std::string> Catalogue::InsertColumns(const std::string& table) {
    std::vector<std::string> columns;
    const SqliteStmt stmt =
        db_.Prepare("SELECT name FROM pragma_table_xinfo(" + QuoteText(table) + ") WHERE type <> 'INTEGER'");
    while (db_.Step(stmt.get())) columns.push_back(ColumnText(stmt.get(), 0));
    return columns;
}

std::optional<std::string> Catalogue::View(const Name& name) {
    const std::string schema = UpperAscii(SchemaOf(name)), view = UpperAscii(name.back());
    if (schema == "SYS" && view == "DATABASES") return kDatabasesView;
    if (schema != "INFORMATION_SCHEMA" || view != "COLUMNS") return std::nullopt;
    const std::string database = Open(name).name, prefix = database + kPartSign;
    std::string sql = kColumnsView;
    ReplaceAll(sql, "$length", "length($prefix)");
    ReplaceAll(sql, "$sign", "char(31)");
    ReplaceAll(sql, "$prefix", QuoteText(prefix));
    ReplaceAll(sql, "$name", QuoteText(database));
    return sql;
}

void Catalogue::CreateDatabase(const std::string& name) {
    if (Find(name)) Fail(Err::kDatabaseExists, name);
    db_.Run("INSERT INTO \"~databases\"(name, offline) VALUES (" + QuoteText(name) + ", 0)");
}

Catalogue::Database Catalogue::OwnDatabase(const std::string& name, Err missing) {
    const auto database = Find(name);
    if (!database) Fail(missing, name);
    if (database->id <= kSystemDatabases) Fail(Err::kSystemDatabase, name);
    return *database;
}

void Catalogue::DropDatabase(const std::string& name) {
    const Database database = OwnDatabase(name, Err::kCannotDrop);
    if (database.name == current_) Fail(Err::kDatabaseInUse, name);
    const std::string prefix = QuoteText(database.name + kPartSign), id = std::to_string(database.id);
    std::vector<std::string> tables;
    {
        const SqliteStmt stmt = db_.Prepare(
            "SELECT name FROM sqlite_schema WHERE type = 'table' AND "
            "substr(name, 1, length(" +
            prefix + ")) = " + prefix);
        while (db_.Step(stmt.get())) tables.push_back(ColumnText(stmt.get(), 0));
    }  // an open cursor would keep the tables locked
    for (const std::string& table : tables) db_.Run("DROP TABLE " + QuoteName(table));
    db_.Run("DELETE FROM \"~schemas\" WHERE db = " + id);
    db_.Run("DELETE FROM \"~databases\" WHERE id = " + id);
}

void Catalogue::SetOffline(const std::string& name, bool offline) {
    const Database database = OwnDatabase(name, Err::kCannotAlter);
    db_.Run("UPDATE \"~databases\" SET offline = " + std::to_string(offline) +
            " WHERE id = " + std::to_string(database.id));
}

void Catalogue::CreateSchema(const std::string& name) {
    const std::string id = std::to_string(Open({name}).id);
    db_.Run("INSERT OR IGNORE INTO \"~schemas\" VALUES (" + id + ", " + QuoteText(name) + ")");
    if (db_.Changes() == 0) Fail(Err::kObjectExists, name);
}

}  // namespace standin
