#include "account_query/account_search.h"

#include "account_query/account_source.h"
#include "account_query/account_text.h"
#include "db/odbc_statement.h"
#include "text/text.h"

namespace {

// A row whose fetch fails on a living connection is left out: what cannot be delivered must not hide the
// others. Behind an error of the server itself none follow, and the names before it are what was found.
std::vector<std::wstring> FetchAccounts(SQLHDBC connection, SQLHSTMT statement) {
    TextColumns row(statement, 1);
    std::vector<std::wstring> accounts;
    for (SQLRETURN result; (result = FetchRow(connection, statement)) != SQL_NO_DATA;) {
        if (OdbcSucceeded(result) && !row.IsNull(0)) accounts.emplace_back(row.Text(0));
    }
    return accounts;
}

}  // namespace

OdbcSession ConnectAccountDatabase(const GameServerInfo& info, const std::wstring& configuredDriver) {
    OdbcSession session;
    session.ConnectAccountSide(
        {info.dbHost, info.dbPort, info.dbUser, info.dbPassword, info.dbName, configuredDriver});
    return session;
}

AccountSearchResult SearchAccounts(const GameServerInfo& server, const std::wstring& keyword,
                                   const QuerySettings& settings) {
    const OdbcSession session = ConnectAccountDatabase(server, settings.driver);
    AccountSearchResult result;
    result.source = DetectAccountSource(session.Connection(), keyword, settings);
    const std::wstring table = QualifiedAccountTable(result.source);  // checked before the column name
    const std::wstring sql =
        SearchAccountsSql(table, QuotedAccountColumn(result.source), settings.maxResults);
    const OdbcStatement statement = AllocateStatement(session.Connection());
    if (!statement) throw RuntimeError("ODBC statement failed");
    RequireSuccess(SQLPrepareW(statement.Get(), OdbcText(sql.c_str()), SQL_NTS), statement.Get());
    const std::wstring pattern = ContainsPattern(keyword);
    SQLLEN indicator = 0;
    RequireSuccess(BindPattern(statement.Get(), pattern, indicator), statement.Get());
    RequireSuccess(SQLExecute(statement.Get()), statement.Get());
    result.accounts = FetchAccounts(session.Connection(), statement.Get());
    return result;
}
