#include "catalogue.h"

#include "text.h"

namespace standin {
namespace {

constexpr const char* kInstall = R"sql(
CREATE TABLE IF NOT EXISTS "~databases"(id INTEGER PRIMARY KEY, name TEXT COLLATE MS UNIQUE, offline INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS "~schemas"(db INTEGER, name TEXT COLLATE MS, PRIMARY KEY(db, name));
CREATE TABLE IF NOT EXISTS "~tables"(id INTEGER PRIMARY KEY, db INTEGER, schema TEXT COLLATE MS, name TEXT COLLATE MS,
    stored TEXT, UNIQUE(db, schema, name));
CREATE TABLE IF NOT EXISTS "~columns"(tbl INTEGER, ord INTEGER, name TEXT COLLATE MS, type INTEGER, type_name TEXT,
    char_length INTEGER, nullable INTEGER, is_identity INTEGER, default_sql TEXT, default_type INTEGER,
    PRIMARY KEY(tbl, ord));
INSERT OR IGNORE INTO "~databases" VALUES (1,'master',0),(2,'tempdb',0),(3,'model',0),(4,'msdb',0);
INSERT OR IGNORE INTO "~schemas" SELECT id, 'dbo' FROM "~databases";
)sql";

const Type kName{TypeId::kNVarChar, 128};
const Type kWord{TypeId::kNVarChar, 60};
const Type kInteger{TypeId::kInt};

/// The views of the catalogue; "$db" becomes the ID and "$name" the name of the database they are asked of.
struct View {
    const char* schema;
    const char* name;
    const char* sql;
    std::vector<ColumnInfo> columns;
};

const std::vector<View>& Views() {
    static const std::vector<View> views = {
        {"sys",
         "databases",
         "SELECT name, id AS database_id, CASE WHEN offline THEN 6 ELSE 0 END AS state, "
         "CASE WHEN offline THEN 'OFFLINE' ELSE 'ONLINE' END AS state_desc, "
         "'Chinese_PRC_CI_AS' AS collation_name FROM \"~databases\"",
         {{"name", kName},
          {"database_id", kInteger},
          {"state", {TypeId::kTinyInt}},
          {"state_desc", kWord},
          {"collation_name", kName}}},
        {"sys",
         "schemas",
         "SELECT name, rowid AS schema_id FROM \"~schemas\" WHERE db=$db",
         {{"name", kName}, {"schema_id", kInteger}}},
        {"INFORMATION_SCHEMA",
         "TABLES",
         "SELECT $name AS TABLE_CATALOG, schema AS TABLE_SCHEMA, name AS TABLE_NAME, 'BASE TABLE' AS "
         "TABLE_TYPE "
         "FROM \"~tables\" WHERE db=$db",
         {{"TABLE_CATALOG", kName}, {"TABLE_SCHEMA", kName}, {"TABLE_NAME", kName}, {"TABLE_TYPE", kWord}}},
        {"INFORMATION_SCHEMA",
         "COLUMNS",
         "SELECT $name AS TABLE_CATALOG, t.schema AS TABLE_SCHEMA, t.name AS TABLE_NAME, c.name AS "
         "COLUMN_NAME, "
         "c.ord AS ORDINAL_POSITION, CASE WHEN c.nullable THEN 'YES' ELSE 'NO' END AS IS_NULLABLE, "
         "c.type_name AS DATA_TYPE, c.char_length AS CHARACTER_MAXIMUM_LENGTH "
         "FROM \"~tables\" t JOIN \"~columns\" c ON c.tbl=t.id WHERE t.db=$db",
         {{"TABLE_CATALOG", kName},
          {"TABLE_SCHEMA", kName},
          {"TABLE_NAME", kName},
          {"COLUMN_NAME", kName},
          {"ORDINAL_POSITION", kInteger},
          {"IS_NULLABLE", {TypeId::kVarChar, 3}},
          {"DATA_TYPE", kName},
          {"CHARACTER_MAXIMUM_LENGTH", kInteger}}},
    };
    return views;
}

void ReplaceAll(std::string& text, std::string_view what, const std::string& with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
}

}  // namespace

std::string JoinName(const Name& name) {
    std::string text;
    for (const std::string& part : name) text += (text.empty() ? "" : ".") + part;
    return text;
}

void Catalogue::Install() {
    // Asked first, so that connecting waits for nobody's transaction.
    const char* const kInstalled = "SELECT 1 FROM sqlite_master WHERE name='~columns'";
    if (Step(Prepare(db_, kInstalled).get())) return;
    Run(db_, "BEGIN IMMEDIATE");
    Run(db_, kInstall);
    Run(db_, "COMMIT");
}

std::optional<DatabaseInfo> Catalogue::FindDatabase(const std::string& name) const {
    const SqliteStmt stmt =
        Prepare(db_, "SELECT id, name, offline FROM \"~databases\" WHERE name=" + QuoteText(name));
    if (!Step(stmt.get())) return std::nullopt;
    return DatabaseInfo{sqlite3_column_int64(stmt.get(), 0), ColumnText(stmt.get(), 1),
                        sqlite3_column_int(stmt.get(), 2) != 0};
}

void Catalogue::Use(const std::string& name) {
    const auto database = FindDatabase(name);
    if (!database) {
        Fail("42000", 911,
             "Database '" + name + "' does not exist. Make sure that the name is entered correctly.");
    }
    if (database->offline) {
        Fail("42000", 942, "Database '" + name + "' cannot be opened because it is offline.");
    }
    current_ = database->name;
}

Catalogue::Place Catalogue::Locate(const Name& name) const {
    const std::string database = name.size() == 3 ? name[0] : current_;
    const std::string schema = name.size() >= 2 ? name[name.size() - 2] : "";
    const auto found = FindDatabase(database);
    if (!found) Fail("42S02", 208, "Invalid object name '" + JoinName(name) + "'.");
    if (found->offline) {
        Fail("42000", 942, "Database '" + database + "' cannot be opened because it is offline.");
    }
    return {*found, schema.empty() ? "dbo" : schema, name.back()};
}

std::optional<std::int64_t> Catalogue::FindTableId(const Place& place) const {
    const SqliteStmt stmt =
        Prepare(db_, "SELECT id FROM \"~tables\" WHERE db=" + std::to_string(place.database.id) +
                         " AND schema=" + QuoteText(place.schema) + " AND name=" + QuoteText(place.table));
    if (!Step(stmt.get())) return std::nullopt;
    return sqlite3_column_int64(stmt.get(), 0);
}

std::optional<std::int64_t> Catalogue::FindTableId(const Name& name) const {
    if (name.size() == 3 && !FindDatabase(name[0])) return std::nullopt;
    return FindTableId(Locate(name));
}

TableInfo Catalogue::SystemView(const Place& place, const Name& name) const {
    for (const View& view : Views()) {
        if (CompareText(view.schema, place.schema) != 0 || CompareText(view.name, place.table) != 0) continue;
        std::string sql = view.sql;
        ReplaceAll(sql, "$db", std::to_string(place.database.id));
        ReplaceAll(sql, "$name", QuoteText(place.database.name));
        return {0, "(" + sql + ")", JoinName(name), view.name, view.columns};
    }
    Fail("42S02", 208, "Invalid object name '" + JoinName(name) + "'.");
}

TableInfo Catalogue::FindTable(const Name& name) const {
    const Place place = Locate(name);
    const auto id = FindTableId(place);
    if (!id) return SystemView(place, name);
    TableInfo table;
    table.id = *id;
    const SqliteStmt head =
        Prepare(db_, "SELECT stored, schema, name FROM \"~tables\" WHERE id=" + std::to_string(*id));
    Step(head.get());
    table.source = QuoteName(ColumnText(head.get(), 0));
    table.name = ColumnText(head.get(), 2);
    table.fullName = place.database.name + "." + ColumnText(head.get(), 1) + "." + table.name;
    const SqliteStmt stmt = Prepare(
        db_,
        "SELECT name, type, nullable, is_identity, default_sql, default_type FROM \"~columns\" WHERE tbl=" +
            std::to_string(*id) + " ORDER BY ord");
    while (Step(stmt.get())) {
        sqlite3_stmt* row = stmt.get();
        table.columns.push_back({ColumnText(row, 0), UnpackType(sqlite3_column_int64(row, 1)),
                                 sqlite3_column_int(row, 2) != 0, sqlite3_column_int(row, 3) != 0,
                                 ColumnText(row, 4), UnpackType(sqlite3_column_int64(row, 5))});
    }
    return table;
}

}  // namespace standin
