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

std::vector<DuplicateRole> FindDuplicateRoles(SQLHDBC connection, const std::wstring& databaseA,
                                              const std::wstring& databaseB) {
    constexpr size_t kIdUnits = 50;
    const OdbcStatement statement =
        ExecuteDirect(connection, DuplicateIdsSql(IdKind::Role, databaseA, databaseB), true);
    TextColumns row(statement.Get(), 7);
    std::vector<DuplicateRole> roles;
    while (FetchCompleteRow(statement.Get())) {
        // Filled in place: a list of thousands is not also moved text by text.
        DuplicateRole& role = roles.emplace_back();
        role.userId = TrimView(row.Text(0).substr(0, kIdUnits));
        role.characterA = row.Text(1);
        role.accountA = row.Text(2);
        role.serverIdA = row.Text(3);
        role.characterB = row.Text(4);
        role.accountB = row.Text(5);
        role.serverIdB = row.Text(6);
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
