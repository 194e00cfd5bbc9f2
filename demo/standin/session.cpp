#include "session.h"

namespace standin {
namespace {

std::string FileOf(const std::string& directory, const Login& login) {
    CheckLogin(directory, login);
    return directory + "/server.db";
}

}  // namespace

Session::Session(const std::string& directory, const Login& login)
    : db_(FileOf(directory, login)), names_(db_) {
    if (login.database.empty()) return;
    try {
        names_.Use(login.database);
    } catch (const SqlError&) {
        throw SqlError(
            {MakeRecord(Err::kCannotOpen, login.database), MakeRecord(Err::kLoginFailed, login.user)});
    }
}

void Session::SetManual(bool manual) {
    if (!manual) Commit();
    manual_ = manual;
}

void Session::EnterStatement() {
    if (manual_ && !db_.InTransaction()) db_.Run("BEGIN IMMEDIATE");
}

void Session::Commit() {
    if (db_.InTransaction()) db_.Run("COMMIT");
}

void Session::Rollback() {
    if (db_.InTransaction()) db_.Run("ROLLBACK");
}

ChangeScope::ChangeScope(Sqlite& db) : db_(db), nested_(db.InTransaction()) {
    db_.Run(nested_ ? "SAVEPOINT change" : "BEGIN IMMEDIATE");
}

void ChangeScope::Done() {
    db_.Run(nested_ ? "RELEASE change" : "COMMIT");
    done_ = true;
}

ChangeScope::~ChangeScope() {
    if (done_) return;
    try {
        if (nested_) db_.Run("ROLLBACK TO change");
        db_.Run(nested_ ? "RELEASE change" : "ROLLBACK");
    } catch (const std::exception&) {
        // The error that led here is the one to tell; what is open ends with the connection at the latest.
    }
}

}  // namespace standin
