#include "id_repair/related_fields.h"

#include <utility>

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
    std::vector<RelatedField> hit;
    for (RelatedField& field : FindColumns(connection, kind, database)) {
        field.hits = QueryInt64(connection, CountHitsSql(QuoteField(database, field), id));
        if (field.hits > 0) hit.push_back(std::move(field));
    }
    return hit;
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

QuotedColumn QuoteField(const std::wstring& database, const RelatedField& field) {
    return QuoteColumn(database, field.schema, field.table, field.column);
}

std::int64_t TotalHits(const std::vector<RelatedField>& fields) noexcept {
    std::int64_t total = 0;
    for (const RelatedField& field : fields) total += field.hits;
    return total;
}
