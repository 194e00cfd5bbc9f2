#include "account_query/account_source.h"

#include "account_query/account_text.h"
#include "db/odbc_statement.h"
#include "text/text.h"

namespace {

// A database may have thousands of text columns, and a probe may read a whole table: candidates with low
// scores share a limited number of probes, those with higher scores are always probed.
const AccountSource* FirstProbeHit(SQLHDBC connection, const std::vector<AccountSource>& candidates,
                                   const std::wstring& keyword) {
    constexpr int kAlwaysProbedScore = 20;
    constexpr int kProbeBudget = 150;
    int probes = 0;
    for (const AccountSource& candidate : candidates) {
        if (candidate.score < kAlwaysProbedScore && probes >= kProbeBudget) continue;
        ++probes;
        if (ProbeAccountCandidate(connection, candidate, keyword)) return &candidate;
    }
    return nullptr;
}

}  // namespace

std::vector<AccountSource> ScanAccountCandidates(SQLHDBC connection) {
    const OdbcStatement statement = AllocateStatement(connection);
    if (!statement) throw RuntimeError("ODBC statement failed");
    const std::wstring sql = TextColumnsSql();
    RequireSuccess(SQLExecDirectW(statement.Get(), OdbcText(sql.c_str()), SQL_NTS), statement.Get());
    TextColumns row(statement.Get(), 3);
    std::vector<AccountSource> candidates;
    while (FetchRow(connection, statement.Get()) != SQL_NO_DATA) {
        AccountSource candidate{std::wstring(row.Text(0)), std::wstring(row.Text(1)),
                                std::wstring(row.Text(2))};
        row.Clear();
        if (candidate.table.empty() || candidate.column.empty() || IsSensitiveColumnName(candidate.column))
            continue;
        candidate.score = ScoreAccountCandidate(candidate);
        candidates.push_back(std::move(candidate));
    }
    RankAccountCandidates(candidates);
    return candidates;
}

bool ProbeAccountCandidate(SQLHDBC connection, const AccountSource& candidate, const std::wstring& keyword) {
    const OdbcStatement statement = AllocateStatement(connection);
    if (!statement) return false;
    const std::wstring table = QualifiedAccountTable(candidate);  // checked before the column name
    const std::wstring sql = ProbeAccountSql(table, QuotedAccountColumn(candidate));
    if (!OdbcSucceeded(SQLPrepareW(statement.Get(), OdbcText(sql.c_str()), SQL_NTS))) return false;
    const std::wstring pattern = ContainsPattern(keyword);
    SQLLEN indicator = 0;
    if (!OdbcSucceeded(BindPattern(statement.Get(), pattern, indicator))) return false;
    if (!OdbcSucceeded(SQLExecute(statement.Get()))) return false;
    return SQLFetch(statement.Get()) != SQL_NO_DATA;
}

AccountSource DetectAccountSource(SQLHDBC connection, const std::wstring& keyword,
                                  const QuerySettings& settings) {
    if (!IsAutoValue(settings.accountTable) && !IsAutoValue(settings.accountField)) {
        return {std::wstring(), settings.accountTable, settings.accountField};
    }
    const std::vector<AccountSource> candidates = ScanAccountCandidates(connection);
    if (candidates.empty()) throw RuntimeError("没有扫描到可用于账号识别的文本字段");
    const AccountSource* chosen = FirstProbeHit(connection, candidates, keyword);
    constexpr int kTrustedScore = 80;
    if (!chosen && candidates.front().score < kTrustedScore) {
        throw RuntimeError("没有自动识别到账号表和账号字段；可以临时手填后再查询");
    }
    AccountSource source = chosen ? *chosen : candidates.front();
    source.autoDetected = true;
    return source;
}

SQLRETURN BindPattern(SQLHSTMT statement, const std::wstring& pattern, SQLLEN& indicator) {
    indicator = SQL_NTS;
    return SQLBindParameter(statement, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, pattern.size(), 0,
                            OdbcText(pattern.c_str()),
                            static_cast<SQLLEN>((pattern.size() + 1) * sizeof(wchar_t)), &indicator);
}
