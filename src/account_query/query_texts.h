#pragma once

#include <string>

#include "account_query/account_search.h"

// The account query window's composed texts.

/// A zone as the combo box lists it: its name, "  |  ", its database.
std::wstring ZoneLabel(const GameServerInfo& zone);

/// The status line after a refresh.
std::wstring RefreshStatus(size_t zoneCount, const std::wstring& problems);

/// The status line after a search: how many accounts, how the table was found, and which it was.
std::wstring QuerySummary(const AccountSearchResult& result);

/// The status line after a failed search; an error without a text shows the word twice.
/// @param utf8Message  the error's text, UTF-8.
std::wstring QueryFailure(const char* utf8Message);

/// What is wrong with a trimmed keyword (2 to 32 UTF-16 units are right); empty when nothing is.
std::wstring KeywordProblem(const std::wstring& keyword);
