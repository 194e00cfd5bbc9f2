#include "id_repair/duplicate_ids.h"

#include "db/odbc_statement.h"
#include "id_repair/repair_sql.h"
#include "text/text.h"

std::vector<std::wstring> ListDatabases(SQLHDBC connection) {
    const OdbcStatement statement = ExecuteDirect(connection, OnlineDatabasesSql(), true);
    TextColumns row(statement.Get(), 1);
    std::vector<std::wstring> names;
    while (FetchCompleteRow(statement.Get())) {
        if (!row.IsNull(0)) names.emplace_back(row.Text(0));
    }
    return names;
}

DuplicateRole DuplicateRoles::operator[](size_t index) const {
    const auto [userId, characterA, accountA, serverIdA, characterB, accountB, serverIdB] = rows_[index];
    return {std::wstring(userId),    std::wstring(characterA), std::wstring(accountA),
            std::wstring(serverIdA), std::wstring(characterB), std::wstring(accountB),
            std::wstring(serverIdB)};
}

std::vector<DuplicateRole> DuplicateRoles::ToVector() const {
    std::vector<DuplicateRole> roles;
    roles.reserve(size());
    for (size_t i = 0; i < size(); ++i) roles.push_back((*this)[i]);
    return roles;
}

DuplicateRoles FindDuplicateRoles(SQLHDBC connection, const std::wstring& databaseA,
                                  const std::wstring& databaseB) {
    constexpr size_t kIdUnits = 50;
    const OdbcStatement statement =
        ExecuteDirect(connection, DuplicateIdsSql(IdKind::Role, databaseA, databaseB), true);
    TextColumns row(statement.Get(), 7);
    DuplicateRoles roles;
    while (FetchCompleteRow(statement.Get())) {
        roles.Add({TrimView(row.Text(0).substr(0, kIdUnits)), row.Text(1), row.Text(2), row.Text(3),
                   row.Text(4), row.Text(5), row.Text(6)});
    }
    return roles;
}

std::vector<DuplicateGuild> FindDuplicateGuilds(SQLHDBC connection, const std::wstring& databaseA,
                                                const std::wstring& databaseB) {
    const OdbcStatement statement =
        ExecuteDirect(connection, DuplicateIdsSql(IdKind::Guild, databaseA, databaseB), true);
    TextColumns row(statement.Get(), 3);
    std::vector<DuplicateGuild> guilds;
    while (FetchCompleteRow(statement.Get())) {
        guilds.push_back({std::wstring(row.Text(0)), std::wstring(row.Text(1)), std::wstring(row.Text(2))});
    }
    return guilds;
}

std::int64_t CountCharacterIdRows(SQLHDBC connection, const std::wstring& database, const std::wstring& id,
                                  bool withLock) {
    return QueryInt64(connection, CountIdRowsSql(IdKind::Role, database, id, withLock));
}

std::int64_t CountGuildIdRows(SQLHDBC connection, const std::wstring& database, const std::wstring& id,
                              bool withLock) {
    return QueryInt64(connection, CountIdRowsSql(IdKind::Guild, database, id, withLock));
}
