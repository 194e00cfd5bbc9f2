#pragma once

#include <string>

#include "catalogue.h"
#include "login.h"
#include "sqlite.h"

namespace standin {

/// One login on one server: a connection to the server's file, the current database and the transaction.
class Session {
public:
    /// @throws SqlError 18456 for a wrong login, 4060 for a database that is missing or offline.
    Session(const std::string& directory, const Login& login);

    Sqlite& Db() { return db_; }
    Catalogue& Names() { return names_; }

    /// Without manual mode every statement commits; switching it off commits what is open, as ODBC defines
    /// it.
    bool IsManual() const { return manual_; }
    void SetManual(bool manual);

    /// In manual mode the first statement begins the transaction, with the write lock that holds to its end.
    void EnterStatement();
    void Commit();
    void Rollback();

private:
    Sqlite db_;
    Catalogue names_;
    bool manual_ = false;
};

/// Makes several changes one, in a transaction of its own or inside the open one: they are undone unless Done
/// was reached. SQLite by itself keeps what a statement did before one of our functions failed in it.
class ChangeScope {
public:
    explicit ChangeScope(Sqlite& db);
    ~ChangeScope();
    ChangeScope(const ChangeScope&) = delete;
    ChangeScope& operator=(const ChangeScope&) = delete;
    void Done();

private:
    Sqlite& db_;
    bool nested_;
    bool done_ = false;
};

}  // namespace standin
