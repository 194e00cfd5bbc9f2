#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "db/odbc_handles.h"

// All of this only reads, on a connection of the repair side.
// @throws RuntimeError, everywhere: the text of a database name that cannot be quoted, or the diagnostic text
// of a statement that failed; no partial list is ever returned.

/// One character unique ID found in both databases. An ID with several rows in one of them occurs once per
/// combination of what differs.
struct DuplicateRole {
    std::wstring userId;  // FLD_USERID of A, cut to 50 units and trimmed
    std::wstring characterA;
    std::wstring accountA;
    std::wstring serverIdA;
    std::wstring characterB;
    std::wstring accountB;
    std::wstring serverIdB;
};

/// One guild ID found in both databases.
struct DuplicateGuild {
    std::wstring guildId;  // sGuildID of A, exactly as read
    std::wstring nameA;
    std::wstring nameB;
};

/// The names of the server's online user databases, in name order.
std::vector<std::wstring> ListDatabases(SQLHDBC connection);

/// The character IDs that occur in both databases, by ascending ID. Texts are cut after 255 UTF-16 units.
std::vector<DuplicateRole> FindDuplicateRoles(SQLHDBC connection, const std::wstring& databaseA,
                                              const std::wstring& databaseB);

/// The same for guild IDs.
std::vector<DuplicateGuild> FindDuplicateGuilds(SQLHDBC connection, const std::wstring& databaseA,
                                                const std::wstring& databaseB);

/// How many rows of TBL_CHARACTER hold the ID.
/// @param withLock  locks the rows and their range until the transaction ends.
std::int64_t CountCharacterIdRows(SQLHDBC connection, const std::wstring& database, const std::wstring& id,
                                  bool withLock);

/// The same for TBL_GUILD_INFO.
std::int64_t CountGuildIdRows(SQLHDBC connection, const std::wstring& database, const std::wstring& id,
                              bool withLock);
