#pragma once

#include <string>
#include <vector>

#include "account_query/account_candidates.h"
#include "account_query/query_settings.h"
#include "db/odbc_handles.h"

/// The text columns of the connected database that may hold account names, best score first.
/// @throws RuntimeError "ODBC statement failed", or the catalogue query's diagnostic text.
std::vector<AccountSource> ScanAccountCandidates(SQLHDBC connection);

/// True when at least one value of the candidate's column contains the keyword. A statement that fails gives
/// false, a fetch that fails gives true.
/// @throws RuntimeError when the candidate's names cannot be quoted.
bool ProbeAccountCandidate(SQLHDBC connection, const AccountSource& candidate, const std::wstring& keyword);

/// Decides which table and column hold the accounts: those of the settings when both are named, otherwise the
/// best-ranked candidate that holds the keyword, otherwise the best-ranked one if its score is 80 or more.
/// At most 150 probes go to candidates that score below 20. Only reads.
/// @throws RuntimeError "没有扫描到可用于账号识别的文本字段",
///         "没有自动识别到账号表和账号字段；可以临时手填后再查询", and what the two functions above throw.
AccountSource DetectAccountSource(SQLHDBC connection, const std::wstring& keyword,
                                  const QuerySettings& settings);

/// Binds `pattern` as parameter 1 of a prepared statement. Pattern and indicator must live until it has run.
SQLRETURN BindPattern(SQLHSTMT statement, const std::wstring& pattern, SQLLEN& indicator);
