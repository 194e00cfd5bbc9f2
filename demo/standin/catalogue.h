#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sqlite.h"

namespace standin {

/// A name of one to three parts: [[database.]schema.]table.
using Name = std::vector<std::string>;

/// The databases, schemas and tables of one server, all in one SQLite file: SQLite admits few attached files,
/// and none inside a transaction. A table lies there under the name of its database, schema and itself,
/// joined with U+001F, declared with T-SQL's own type words. Names of databases are compared as text, those
/// of tables and columns without regard to the case of A to Z.
class Catalogue {
public:
    /// Creates the catalogue's own tables and the four system databases where they are missing.
    explicit Catalogue(Sqlite& db);

    /// The database that names without a database part belong to.
    const std::string& Current() const { return current_; }

    /// @throws SqlError 911 for a missing database, 942 for an offline one.
    void Use(const std::string& name);

    /// The stored name of a table. @throws SqlError 208, 942, and 259 for a view of the catalogue.
    std::string Table(const Name& name);

    /// The stored name for a new table. @throws SqlError 208, 942, 2714, 2760.
    std::string NewTable(const Name& name);

    /// The columns of a table that an INSERT without a column list fills: all but a numbered key.
    std::vector<std::string> InsertColumns(const std::string& table);

    /// What stands for sys.databases or INFORMATION_SCHEMA.COLUMNS behind FROM; nothing for any other name.
    std::optional<std::string> View(const Name& name);

    void CreateDatabase(const std::string& name);
    void DropDatabase(const std::string& name);
    void SetOffline(const std::string& name, bool offline);
    void CreateSchema(const std::string& name);

private:
    struct Database {
        std::int64_t id = 0;
        std::string name;
        bool offline = false;
    };
    std::optional<Database> Find(const std::string& name);
    Database Open(const Name& name);
    Database OwnDatabase(const std::string& name, Err missing);

    Sqlite& db_;
    SqliteStmt find_;
    std::string current_ = "master";
};

}  // namespace standin
