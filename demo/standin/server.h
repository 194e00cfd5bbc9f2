#pragma once

#include <atomic>
#include <optional>
#include <string>

#include "catalogue.h"
#include "error.h"

namespace standin {

struct Login {
    std::string driver, server, database, user, password;
};

/// Reads a connection string by ODBC's brace rules; the first of several equal keywords counts.
/// Keywords no driver of this family knows are named in `warnings` (01S00) and passed over.
/// @throws SqlError 08001 for a string that cannot be read.
Login ReadConnectionString(std::string_view text, std::vector<DiagRecord>& warnings);

/// The directory of a server by its SERVER value. @throws SqlError HYT00 where there is none.
std::string FindServer(const std::string& server);

/// One login on one server: a SQLite connection to the server's file, the current database and the
/// transaction. Differences from SQL Server that a caller can notice: one transaction at a time writes on the
/// whole server, and readers are never blocked, they see the last committed state.
class Session {
public:
    /// @throws SqlError 18456 for a wrong login, 4060 for a database that is missing or offline.
    Session(const std::string& directory, const Login& login);
    ~Session() { Rollback(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    sqlite3* Db() const { return db_.get(); }
    Catalogue& Names() { return *catalogue_; }

    bool IsManual() const { return manual_; }
    bool InTransaction() const { return sqlite3_get_autocommit(db_.get()) == 0; }
    void SetManual(bool manual);

    /// In manual mode the first statement begins the transaction, with the write lock that holds to its end.
    void EnterStatement();
    void Begin();  // waits for the write lock as long as LOCK_TIMEOUT allows
    void Commit();
    void Rollback() noexcept;

    /// Milliseconds to wait for a lock; negative waits for ever.
    void SetLockTimeout(std::int64_t milliseconds) { lockTimeout_ = milliseconds; }
    void Cancel() noexcept;  // the one call that may come from another thread
    void ClearCancel() noexcept { cancelled_ = false; }

private:
    static int OnBusy(void* self, int count) noexcept;
    void Open(const std::string& directory);

    SqliteDb db_;
    std::optional<Catalogue> catalogue_;
    bool manual_ = false;
    std::int64_t lockTimeout_ = -1;
    std::int64_t waitedSince_ = 0;
    std::atomic<bool> cancelled_ = false;
};

/// Makes several changes one: they are undone together unless Done was reached.
class WriteScope {
public:
    explicit WriteScope(Session& session);
    ~WriteScope();
    WriteScope(const WriteScope&) = delete;
    WriteScope& operator=(const WriteScope&) = delete;
    void Done();

private:
    Session& session_;
    bool nested_;
    bool done_ = false;
};

}  // namespace standin
