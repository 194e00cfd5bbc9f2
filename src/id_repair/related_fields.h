#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "db/odbc_handles.h"
#include "id_repair/repair_sql.h"

// All of this only reads, on a connection of the repair side.
// @throws RuntimeError, everywhere: the text of a name that cannot be quoted, or the diagnostic text of a
// statement that failed; no partial list is ever returned.

/// A character column that refers to IDs by its name; the main table's own ID column is one of them.
struct RelatedField {
    std::wstring schema;
    std::wstring table;
    std::wstring column;
    std::wstring dataType;  // char, varchar, nchar or nvarchar
    std::int64_t hits = 0;  // rows that hold the ID in question; 0 in a bare column list
};

/// The referring columns of a database, in catalogue order (schema, table, position), without hits.
std::vector<RelatedField> FindRoleIdColumns(SQLHDBC connection, const std::wstring& database);
std::vector<RelatedField> FindGuildIdColumns(SQLHDBC connection, const std::wstring& database);

/// Those of them that hold the ID at least once, with their hits. One counting query per referring column.
std::vector<RelatedField> CountRoleIdHits(SQLHDBC connection, const std::wstring& database,
                                          const std::wstring& id);
std::vector<RelatedField> CountGuildIdHits(SQLHDBC connection, const std::wstring& database,
                                           const std::wstring& id);

/// The field's names; views of both arguments.
ColumnName NameOf(const std::wstring& database, const RelatedField& field) noexcept;

/// All rows that a repair of these fields will touch.
std::int64_t TotalHits(const std::vector<RelatedField>& fields) noexcept;
