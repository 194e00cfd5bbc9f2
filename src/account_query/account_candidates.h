#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A table and column that hold account names.
struct AccountSource {
    std::wstring schema;  // empty for a source that the operator named
    std::wstring table;
    std::wstring column;
    int score = 0;  // how much its names look like accounts; 0 for a source that the operator named
    bool autoDetected = false;  // false, too, while it is only a candidate
};

/// True for a column whose name suggests personal data or secrets: it is never searched. A plain substring
/// test; that it also excludes names such as zip, description or hotel is intended.
bool IsSensitiveColumnName(std::wstring_view column);

/// Scores a candidate by its table's and column's names, ignoring letter case. Rules add up; the result can
/// be negative (log and history tables).
int ScoreAccountCandidate(const AccountSource& candidate);

/// Best score first; equal scores keep their order.
void RankAccountCandidates(std::vector<AccountSource>& candidates);

/// The quoted table name, with its schema when it has one.
/// @throws RuntimeError as QuoteIdentifier under the label "账号表名".
std::wstring QualifiedAccountTable(const AccountSource& source);

/// The quoted column name.
/// @throws RuntimeError as QuoteIdentifier under the label "账号字段名".
std::wstring QuotedAccountColumn(const AccountSource& source);
