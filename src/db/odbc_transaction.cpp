#include "db/odbc_transaction.h"

#include "text/text.h"

namespace {

SQLRETURN SetAutomaticCommit(SQLHDBC connection, SQLULEN mode) noexcept {
    // ODBC passes integer attributes in the pointer argument.
    return SQLSetConnectAttrW(connection, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(mode),
                              SQL_IS_UINTEGER);
}

// For a driver whose SQLEndTran has failed: the rollback as a statement that the server executes.
bool RollBackByStatement(SQLHDBC connection) noexcept {
    const OdbcStatement statement = AllocateStatement(connection);
    constexpr wchar_t kSql[] = L"IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION";
    return statement && OdbcSucceeded(SQLExecDirectW(statement.Get(), OdbcText(kSql), SQL_NTS));
}

}  // namespace

void BeginTransaction(SQLHDBC connection, const TransactionTexts& texts) {
    if (!OdbcSucceeded(SetAutomaticCommit(connection, SQL_AUTOCOMMIT_OFF)))
        throw RuntimeError(texts.cannotBegin);
}

void CommitTransaction(SQLHDBC connection, const TransactionTexts& texts) {
    if (!OdbcSucceeded(SQLEndTran(SQL_HANDLE_DBC, connection, SQL_COMMIT)))
        throw RuntimeError(texts.cannotCommit);
    SetAutomaticCommit(connection, SQL_AUTOCOMMIT_ON);
}

void RollbackTransaction(SQLHDBC connection) noexcept {
    const bool rolledBack = OdbcSucceeded(SQLEndTran(SQL_HANDLE_DBC, connection, SQL_ROLLBACK)) ||
                            RollBackByStatement(connection);
    // Nothing can be committed over a lost connection, but its driver counts the transaction as open, and
    // does not disconnect, until it has been told to commit automatically; the call itself fails.
    if (rolledBack || IsConnectionDead(connection)) SetAutomaticCommit(connection, SQL_AUTOCOMMIT_ON);
}

void RunInTransaction(SQLHDBC connection, const TransactionTexts& texts, const std::function<void()>& work) {
    BeginTransaction(connection, texts);
    try {
        work();
        CommitTransaction(connection, texts);
    } catch (...) {
        RollbackTransaction(connection);
        throw;
    }
}
