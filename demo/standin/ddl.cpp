// The half of the catalogue that changes it. Every operation runs inside a transaction its caller has begun.

#include "catalogue.h"
#include "text.h"
#include "translator.h"

namespace standin {
namespace {

/// "[Db].[schema].[table]", with a closing bracket inside a name doubled: readable and reversible.
std::string StoredName(std::initializer_list<std::string> parts) {
    std::string stored;
    for (const std::string& part : parts) {
        stored += stored.empty() ? "[" : ".[";
        for (const char c : part) stored += c == ']' ? "]]" : std::string(1, c);
        stored += "]";
    }
    return stored;
}

std::string ColumnSql(const ColumnDefinition& column) {
    switch (ClassOf(column.type.id)) {
        case TypeClass::kText:
            return QuoteName(column.name) + " TEXT COLLATE MS";
        case TypeClass::kInteger:
            return QuoteName(column.name) +
                   (column.identity ? " INTEGER PRIMARY KEY AUTOINCREMENT" : " INTEGER");
        default:
            return QuoteName(column.name);  // no affinity: a decimal's 38 digits must stay text
    }
}

std::string ColumnList(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) list += (list.empty() ? "(" : ",") + QuoteName(name);
    return list + ")";
}

/// SQL Server folds names by collation, SQLite by ASCII alone: SQLite gets the name as the table declared it.
std::vector<std::string> DeclaredNames(const std::vector<std::string>& names,
                                       const std::vector<ColumnInfo>& columns) {
    std::vector<std::string> declared;
    for (const std::string& name : names) declared.push_back(columns[FindColumn(columns, name)].name);
    return declared;
}

void RefuseSystemDatabase(const DatabaseInfo& database, const char* what) {
    if (database.id <= 4) {
        Fail("42000", 3708,
             std::string("Cannot ") + what + " the database '" + database.name +
                 "' because it is a system database.");
    }
}

[[noreturn]] void FailMissing(const char* kind, const std::string& name) {
    Fail("42S02", 3701,
         std::string("Cannot drop the ") + kind + " '" + name +
             "', because it does not exist or you do not have permission.");
}

}  // namespace

void Catalogue::CreateDatabase(const std::string& name) {
    if (FindDatabase(name)) {
        Fail("42000", 1801, "Database '" + name + "' already exists. Choose a different database name.");
    }
    Run(db_, "INSERT INTO \"~databases\"(name, offline) VALUES (" + QuoteText(name) + ", 0)");
    Run(db_, "INSERT INTO \"~schemas\" VALUES (last_insert_rowid(), 'dbo')");
}

void Catalogue::DropDatabase(const std::string& name, bool ifExists) {
    const auto database = FindDatabase(name);
    if (!database && ifExists) return;
    if (!database) FailMissing("database", name);
    RefuseSystemDatabase(*database, "drop");
    if (CompareText(database->name, current_) == 0) {
        Fail("42000", 3702, "Cannot drop database \"" + name + "\" because it is currently in use.");
    }
    const std::string id = std::to_string(database->id);
    std::vector<std::int64_t> tables;
    const SqliteStmt stmt = Prepare(db_, "SELECT id FROM \"~tables\" WHERE db=" + id);
    while (Step(stmt.get())) tables.push_back(sqlite3_column_int64(stmt.get(), 0));
    for (const std::int64_t table : tables) DropTableRows(table);
    Run(db_, "DELETE FROM \"~schemas\" WHERE db=" + id);
    Run(db_, "DELETE FROM \"~databases\" WHERE id=" + id);
}

void Catalogue::SetOffline(const std::string& name, bool offline) {
    const auto database = FindDatabase(name);
    if (!database) {
        Fail("42000", 5011,
             "User does not have permission to alter database '" + name +
                 "', the database does not exist, or the database is not in a state that allows access "
                 "checks.");
    }
    RefuseSystemDatabase(*database, "alter");
    Run(db_, "UPDATE \"~databases\" SET offline=" + std::to_string(offline) +
                 " WHERE id=" + std::to_string(database->id));
}

void Catalogue::CreateSchema(const std::string& name) {
    const Place place = Locate({name});
    const std::string values = std::to_string(place.database.id) + ", " + QuoteText(name);
    Run(db_, "INSERT OR IGNORE INTO \"~schemas\" VALUES (" + values + ")");
    if (sqlite3_changes(db_) == 0) {
        Fail("42S01", 2714, "There is already an object named '" + name + "' in the database.");
    }
}

void Catalogue::CreateTable(const CreateTableStatement& statement) {
    const Place place = Locate(statement.table);
    const std::string db = std::to_string(place.database.id);
    const SqliteStmt schema =
        Prepare(db_, "SELECT name FROM \"~schemas\" WHERE db=" + db + " AND name=" + QuoteText(place.schema));
    if (!Step(schema.get())) {
        Fail("42000", 2760,
             "The specified schema name \"" + place.schema +
                 "\" either does not exist or you do not have permission to use it.");
    }
    if (FindTableId(place)) {
        Fail("42S01", 2714, "There is already an object named '" + place.table + "' in the database.");
    }
    const std::string schemaName = ColumnText(schema.get(), 0);
    const std::string stored = StoredName({place.database.name, schemaName, place.table});
    Run(db_, "INSERT INTO \"~tables\"(db, schema, name, stored) VALUES (" + db + ", " +
                 QuoteText(schemaName) + ", " + QuoteText(place.table) + ", " + QuoteText(stored) + ")");
    const std::int64_t id = sqlite3_last_insert_rowid(db_);
    std::string sql;
    std::vector<ColumnInfo> columns;
    for (const ColumnDefinition& column : statement.columns) {
        sql += (sql.empty() ? "" : ", ") + ColumnSql(column);
        columns.push_back({column.name, column.type});
        InsertColumn(id, column);
    }
    for (const KeyDefinition& key : statement.keys) {
        sql += ", UNIQUE " + ColumnList(DeclaredNames(key.columns, columns));
    }
    Run(db_, "CREATE TABLE " + QuoteName(stored) + "(" + sql + ")");
}

void Catalogue::InsertColumn(std::int64_t table, const ColumnDefinition& column) {
    Bound value;
    if (column.defaultValue) value = Translator(*this, {}).Constant(*column.defaultValue);
    const std::string id = std::to_string(table);
    const int length = column.type.id == TypeId::kText    ? 2147483647
                       : column.type.id == TypeId::kNText ? 1073741823
                                                          : column.type.length;
    const SqliteStmt twin =
        Prepare(db_, "SELECT 1 FROM \"~columns\" WHERE tbl=" + id + " AND name=" + QuoteText(column.name));
    if (Step(twin.get())) {
        Fail("42S21", 2705,
             "Column names in each table must be unique. Column name '" + column.name +
                 "' is specified more than once.");
    }
    Run(db_, "INSERT INTO \"~columns\" SELECT " + id + ", COALESCE(MAX(ord),0)+1, " + QuoteText(column.name) +
                 ", " + std::to_string(PackType(column.type)) + ", '" + NameOf(column.type.id) + "', " +
                 (IsText(column.type) ? std::to_string(length) : "NULL") + ", " +
                 std::to_string(column.nullable) + ", " + std::to_string(column.identity) + ", " +
                 QuoteText(value.sql) + ", " + std::to_string(PackType(value.type)) +
                 " FROM \"~columns\" WHERE tbl=" + id);
}

void Catalogue::AddColumns(const AddColumnStatement& statement) {
    const TableInfo table = FindTable(statement.table);
    if (table.id == 0) Fail("42000", 4902, "Cannot find the object \"" + JoinName(statement.table) + "\".");
    for (const ColumnDefinition& column : statement.columns) {
        if (!column.nullable || column.identity) {
            Fail("42000", 4901,
                 "ALTER TABLE only allows columns to be added that can contain nulls. Column '" +
                     column.name + "' cannot be added.");
        }
        InsertColumn(table.id, column);
        Run(db_, "ALTER TABLE " + table.source + " ADD COLUMN " + ColumnSql(column));
    }
}

void Catalogue::CreateIndex(const CreateIndexStatement& statement) {
    const TableInfo table = FindTable(statement.table);
    if (table.id == 0) Fail("42000", 1088, "Cannot find the object \"" + JoinName(statement.table) + "\".");
    for (const std::string& name : statement.columns) {
        if (IsLongText(table.columns[FindColumn(table.columns, name)].type.id)) {
            Fail("42000", 1919,
                 "Column '" + name + "' is of a type that is invalid for use as a key column in an index.");
        }
    }
    const std::string name = QuoteName(StoredName({table.fullName, statement.index}));
    Run(db_, std::string("CREATE ") + (statement.unique ? "UNIQUE " : "") + "INDEX " + name + " ON " +
                 table.source + ColumnList(DeclaredNames(statement.columns, table.columns)));
}

void Catalogue::DropTableRows(std::int64_t id) {
    const std::string key = std::to_string(id);
    std::string stored;
    {
        const SqliteStmt stmt = Prepare(db_, "SELECT stored FROM \"~tables\" WHERE id=" + key);
        Step(stmt.get());
        stored = ColumnText(stmt.get(), 0);
    }  // an open cursor would keep the table locked
    Run(db_, "DROP TABLE " + QuoteName(stored));
    Run(db_, "DELETE FROM \"~columns\" WHERE tbl=" + key);
    Run(db_, "DELETE FROM \"~tables\" WHERE id=" + key);
}

void Catalogue::DropTable(const Name& name, bool ifExists) {
    const auto id = FindTableId(name);
    if (id) return DropTableRows(*id);
    if (!ifExists) FailMissing("table", JoinName(name));
}

}  // namespace standin
