#include "id_repair/related_fields.h"

#include "db/odbc_statement.h"

namespace {

std::vector<RelatedField> FindColumns(SQLHDBC connection, IdKind kind, const std::wstring& database) {
    const OdbcStatement statement = ExecuteDirect(connection, ReferringColumnsSql(kind, database), true);
    TextColumns row(statement.Get(), 4);
    std::vector<RelatedField> fields;
    while (FetchCompleteRow(statement.Get())) {
        if (row.Text(0).empty() || row.Text(1).empty() || row.Text(2).empty()) continue;
        fields.push_back({std::wstring(row.Text(0)), std::wstring(row.Text(1)), std::wstring(row.Text(2)),
                          std::wstring(row.Text(3))});
    }
    return fields;
}

std::vector<RelatedField> CountHits(SQLHDBC connection, IdKind kind, const std::wstring& database,
                                    const std::wstring& id) {
    std::vector<RelatedField> fields = FindColumns(connection, kind, database);
    for (RelatedField& field : fields) {
        field.hits = QueryInt64(connection, CountHitsSql(NameOf(database, field), id));
    }
    std::erase_if(fields, [](const RelatedField& field) { return field.hits <= 0; });
    fields.shrink_to_fit();  // a plan keeps one list for every ID: no spare capacity
    return fields;
}

}  // namespace

std::vector<RelatedField> FindRoleIdColumns(SQLHDBC connection, const std::wstring& database) {
    return FindColumns(connection, IdKind::Role, database);
}

std::vector<RelatedField> FindGuildIdColumns(SQLHDBC connection, const std::wstring& database) {
    return FindColumns(connection, IdKind::Guild, database);
}

std::vector<RelatedField> CountRoleIdHits(SQLHDBC connection, const std::wstring& database,
                                          const std::wstring& id) {
    return CountHits(connection, IdKind::Role, database, id);
}

std::vector<RelatedField> CountGuildIdHits(SQLHDBC connection, const std::wstring& database,
                                           const std::wstring& id) {
    return CountHits(connection, IdKind::Guild, database, id);
}

ColumnName NameOf(const std::wstring& database, const RelatedField& field) noexcept {
    return {database, field.schema, field.table, field.column};
}

std::int64_t TotalHits(const std::vector<RelatedField>& fields) noexcept {
    std::int64_t total = 0;
    for (const RelatedField& field : fields) total += field.hits;
    return total;
}
