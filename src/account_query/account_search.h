#pragma once

#include <string>
#include <vector>

#include "account_query/account_candidates.h"
#include "account_query/query_settings.h"
#include "db/odbc_session.h"
#include "discovery/game_server_info.h"

/// What one search found.
struct AccountSearchResult {
    std::vector<std::wstring> accounts;  // unmasked, in the database's order
    AccountSource source;                // where they were found
};

/// Opens a connection to a zone's database with the zone's own login.
/// @param configuredDriver  the driver to try first; empty for the default drivers alone.
/// @throws RuntimeError as OdbcSession::ConnectAccountSide.
OdbcSession ConnectAccountDatabase(const GameServerInfo& info, const std::wstring& configuredDriver);

/// Reads the accounts of one zone whose name contains the keyword. Only reads; keeps nothing open.
/// @param keyword  2 to 32 UTF-16 units, taken literally.
/// @return at most `settings.maxResults` (clamped to 1..500) names, ascending; NULL values are left out,
///         names are cut after 255 units.
/// @throws RuntimeError "ODBC statement failed", the statement's diagnostic text, or the text of the
///         connection or of the account table's detection.
AccountSearchResult SearchAccounts(const GameServerInfo& server, const std::wstring& keyword,
                                   const QuerySettings& settings);
