#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sqlite.h"
#include "tsql_ast.h"

namespace standin {

struct ColumnInfo {
    std::string name;
    Type type;
    bool nullable = true;
    bool identity = false;
    std::string defaultSql{};  // SQLite expression; empty for none
    Type defaultType{};
};

struct TableInfo {
    std::int64_t id = 0;   // 0 for the views of the catalogue, which cannot be written
    std::string source;    // what stands behind FROM in SQLite
    std::string fullName;  // Db.schema.table
    std::string name;
    std::vector<ColumnInfo> columns;
};

struct DatabaseInfo {
    std::int64_t id = 0;
    std::string name;
    bool offline = false;
};

/// The databases, schemas, tables and columns of one server, kept in the same SQLite file as their rows.
/// A table lies there under the name "[Database].[schema].[table]". Names are found without regard to case.
class Catalogue {
public:
    explicit Catalogue(sqlite3* db) : db_(db) {}

    /// Creates the catalogue's tables and the four system databases where they are missing.
    void Install();

    std::optional<DatabaseInfo> FindDatabase(const std::string& name) const;

    /// The database that names without a database part belong to.
    const std::string& CurrentDatabase() const { return current_; }

    /// @throws SqlError 911 for a missing database, 942 for an offline one.
    void Use(const std::string& name);

    /// @throws SqlError 208 for a missing table, 942 for an offline database.
    TableInfo FindTable(const Name& name) const;

    /// The ID of the table, or nothing.
    std::optional<std::int64_t> FindTableId(const Name& name) const;

    void CreateDatabase(const std::string& name);
    void DropDatabase(const std::string& name, bool ifExists);
    void SetOffline(const std::string& name, bool offline);
    void CreateSchema(const std::string& name);
    void CreateTable(const CreateTableStatement& statement);
    void AddColumns(const AddColumnStatement& statement);
    void CreateIndex(const CreateIndexStatement& statement);
    void DropTable(const Name& name, bool ifExists);

private:
    struct Place {
        DatabaseInfo database;
        std::string schema, table;
    };
    Place Locate(const Name& name) const;
    std::optional<std::int64_t> FindTableId(const Place& place) const;
    TableInfo SystemView(const Place& place, const Name& name) const;
    void InsertColumn(std::int64_t table, const ColumnDefinition& column);
    void DropTableRows(std::int64_t id);

    sqlite3* db_;
    std::string current_ = "master";
};

std::string JoinName(const Name& name);

}  // namespace standin
