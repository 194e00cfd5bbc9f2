#pragma once

#include <functional>

#include "db/odbc_handles.h"

/// The error texts (UTF-8) of one kind of transaction.
struct TransactionTexts {
    const char* cannotBegin = "无法开启 SQL 事务";
    const char* cannotCommit = "SQL 事务提交失败";
};

/// Switches the connection to manual commit.
/// @throws RuntimeError with the text for it; automatic commit is left as it was.
void BeginTransaction(SQLHDBC connection, const TransactionTexts& texts = {});

/// Commits and switches back to automatic commit.
/// @throws RuntimeError with the text for it when the commit fails. The transaction is still open then:
///         RollbackTransaction must end it.
void CommitTransaction(SQLHDBC connection, const TransactionTexts& texts = {});

/// Rolls back and switches back to automatic commit. When the rollback fails on a connection that lives,
/// automatic commit stays off: switching it on would commit the open transaction, and with it a partial
/// repair. On a lost connection the server has rolled back by itself.
void RollbackTransaction(SQLHDBC connection) noexcept;

/// Runs `work` in a transaction of its own and commits once at its end. Any exception, from the work or from
/// the commit, rolls back and is rethrown unchanged.
/// @throws RuntimeError with the texts above, and whatever `work` throws.
void RunInTransaction(SQLHDBC connection, const TransactionTexts& texts, const std::function<void()>& work);
