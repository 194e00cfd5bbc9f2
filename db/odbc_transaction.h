#pragma once

#include <functional>

#include "db/odbc_handles.h"

/// The texts of one kind of transaction (UTF-8), where its steps fail.
struct TransactionTexts {
    const char* cannotBegin = "无法开启 SQL 事务";
    const char* cannotCommit = "SQL 事务提交失败";
};

/// Switches the connection to manual commit.
/// @throws RuntimeError with the text for it; automatic commit is left as it was.
void BeginTransaction(SQLHDBC connection, const TransactionTexts& texts = {});

/// Commits and switches back to automatic commit.
/// @throws RuntimeError with the text for it when the commit fails: the transaction is still open then, for
///         RollbackTransaction to end.
void CommitTransaction(SQLHDBC connection, const TransactionTexts& texts = {});

/// Rolls back and switches back to automatic commit. Automatic commit stays off when nothing could roll the
/// work back: ODBC commits whatever is open when it is switched on, and half a repair must never be kept.
void RollbackTransaction(SQLHDBC connection) noexcept;

/// Runs `work` in a transaction that nothing else shares: commits once at its end. Any exception, from the
/// work or from the commit, rolls back and travels on unchanged.
/// @throws RuntimeError with the texts above, and whatever `work` throws.
void RunInTransaction(SQLHDBC connection, const TransactionTexts& texts, const std::function<void()>& work);
