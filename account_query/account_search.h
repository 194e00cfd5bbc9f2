#pragma once

#include <string>
#include <vector>

#include "account_query/account_candidates.h"
#include "account_query/query_settings.h"
#include "db/odbc_session.h"
#include "discovery/game_server_info.h"

/// What one search found.
struct AccountSearchResult {
    std::vector<std::wstring> accounts;  // unmasked, in the order in which the database returned them
    AccountSource source;                // where they were found
};

/// Opens a connection to a zone's database with the zone's own login.
/// @param configuredDriver  the driver to try first; empty for the default drivers alone.
/// @throws RuntimeError as OdbcSession::ConnectAccountSide.
OdbcSession ConnectAccountDatabase(const GameServerInfo& info, const std::wstring& configuredDriver);

/// Reads the accounts of one zone whose name contains the keyword. Only reads; keeps nothing open.
/// @param keyword  2 to 32 UTF-16 units, taken literally.
/// @return at most `settings.maxResults` (clamped to 1..500) names, ascending; NULL values are left out and
/// names
///         are cut after 255 units.
/// @throws RuntimeError with the text of the connection, of the detection of the account table, "ODBC
/// statement
///         failed", or the statement's diagnostic text.
AccountSearchResult SearchAccounts(const GameServerInfo& server, const std::wstring& keyword,
                                   const QuerySettings& settings);
