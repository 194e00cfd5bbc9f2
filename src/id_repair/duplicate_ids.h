#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "db/odbc_handles.h"
#include "text/text_rows.h"

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

/// The character IDs found in both databases. An element is made when it is asked for.
class DuplicateRoles {
public:
    size_t size() const noexcept { return rows_.size(); }
    bool empty() const noexcept { return rows_.empty(); }
    DuplicateRole operator[](size_t index) const;
    std::vector<DuplicateRole> ToVector() const;

    /// Appends an element: its texts in the order of DuplicateRole, without U+0000.
    void Add(const TextRows<7>::Row& texts) { rows_.Add(texts); }

private:
    TextRows<7> rows_;
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
DuplicateRoles FindDuplicateRoles(SQLHDBC connection, const std::wstring& databaseA,
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
