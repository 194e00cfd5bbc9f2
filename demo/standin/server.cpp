#include "server.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <map>
#include <thread>

#include "text.h"

namespace standin {
namespace {

constexpr std::string_view kKnownKeywords[] = {"DRIVER",
                                               "SERVER",
                                               "DATABASE",
                                               "UID",
                                               "PWD",
                                               "DSN",
                                               "ADDR",
                                               "ADDRESS",
                                               "APP",
                                               "WSID",
                                               "LANGUAGE",
                                               "ENCRYPT",
                                               "TRUSTSERVERCERTIFICATE",
                                               "TRUSTED_CONNECTION",
                                               "MARS_CONNECTION",
                                               "NETWORK",
                                               "AUTOTRANSLATE",
                                               "DESCRIPTION"};

/// Reads "{a}}b}" or the plain text up to the next semicolon.
std::string ReadValue(std::string_view text, std::size_t& at) {
    std::string value;
    if (at >= text.size() || text[at] != '{') {
        while (at < text.size() && text[at] != ';') value.push_back(text[at++]);
        return std::string(TrimBlanks(value));
    }
    ++at;
    while (true) {
        if (at >= text.size()) {
            FailInDriver("08001", "The connection string holds a brace that is never closed");
        }
        if (text[at] == '}' && (at + 1 >= text.size() || text[at + 1] != '}')) break;
        if (text[at] == '}') ++at;
        value.push_back(text[at++]);
    }
    ++at;
    while (at < text.size() && text[at] == ' ') ++at;
    if (at < text.size() && text[at] != ';') {
        FailInDriver("08001", "The connection string holds text behind a closing brace");
    }
    return value;
}

std::int64_t NowInMilliseconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

void CheckLogin(const std::string& directory, const Login& login) {
    std::ifstream file(directory + "/server.conf");
    std::string user, password;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("user=")) user = line.substr(5);
        if (line.starts_with("password=")) password = line.substr(9);
    }
    if (user.empty() || CompareText(user, login.user) != 0 || password != login.password) {
        Fail("28000", 18456, "Login failed for user '" + login.user + "'.");
    }
}

}  // namespace

Login ReadConnectionString(std::string_view text, std::vector<DiagRecord>& warnings) {
    std::map<std::string, std::string> values;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t equals = text.find_first_of("=;", at);
        if (equals == std::string_view::npos || text[equals] == ';') {
            if (!TrimBlanks(text.substr(at, equals - at)).empty()) {
                FailInDriver("08001", "The connection string holds a keyword without a value");
            }
            if (equals == std::string_view::npos) break;
            at = equals;
            continue;
        }
        const std::string keyword = UpperText(TrimBlanks(text.substr(at, equals - at)));
        at = equals + 1;
        std::string value = ReadValue(text, at);
        if (std::find(std::begin(kKnownKeywords), std::end(kKnownKeywords), keyword) ==
            std::end(kKnownKeywords)) {
            warnings.push_back({"01S00", 0, "Invalid connection string attribute", Origin::kDriver});
        }
        values.emplace(keyword, std::move(value));
    }
    return {values["DRIVER"], values["SERVER"], values["DATABASE"], values["UID"], values["PWD"]};
}

std::string FindServer(const std::string& server) {
    const char* root = std::getenv("SQLSTANDIN_ROOT");
    const bool plain = !server.empty() && server.front() != '.' && server.find('/') == std::string::npos;
    if (root != nullptr && plain) {
        std::string directory = std::string(root) + "/" + server;
        struct stat info {};
        if (stat((directory + "/server.conf").c_str(), &info) == 0) return directory;
    }
    throw SqlError(
        {{"HYT00", 0, "Login timeout expired", Origin::kDriver},
         {"08001", 2,
          "A network-related or instance-specific error has occurred while establishing a connection to " +
              server + ". Server is not found or not accessible.",
          Origin::kDriver}});
}

Session::Session(const std::string& directory, const Login& login) {
    CheckLogin(directory, login);
    Open(directory);
    catalogue_.emplace(db_.get());
    catalogue_->Install();
    const std::string database = login.database.empty() ? "master" : login.database;
    try {
        catalogue_->Use(database);
    } catch (const SqlError&) {
        throw SqlError(
            {{"42000", 4060,
              "Cannot open database \"" + database + "\" requested by the login. The login failed.",
              Origin::kServer},
             {"28000", 18456, "Login failed for user '" + login.user + "'.", Origin::kServer}});
    }
}

void Session::Open(const std::string& directory) {
    sqlite3* db = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
    const int code = sqlite3_open_v2((directory + "/server.db").c_str(), &db, flags, nullptr);
    db_.reset(db);
    if (code != SQLITE_OK) ThrowSqlite(db, code);
    RegisterFunctions(db);
    sqlite3_busy_handler(db, OnBusy, this);
    sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);  // closing must not wait for a lock
    // A change of the journal mode is refused at once while another process does the same.
    for (int attempt = 0; sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr) != SQLITE_OK;
         ++attempt) {
        if (attempt == 500) ThrowSqlite(db, sqlite3_errcode(db));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    // The machine may lose the file when it loses its power; a process that is killed loses only what is
    // open.
    Run(db, "PRAGMA synchronous=OFF");
    Run(db, "PRAGMA temp_store=MEMORY");
}

int Session::OnBusy(void* self, int count) noexcept {
    auto& session = *static_cast<Session*>(self);
    if (count == 0) session.waitedSince_ = NowInMilliseconds();
    const std::int64_t waited = NowInMilliseconds() - session.waitedSince_;
    if (session.cancelled_ || (session.lockTimeout_ >= 0 && waited >= session.lockTimeout_)) return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(count < 10 ? 1 : 5));
    return 1;
}

void Session::Cancel() noexcept {
    cancelled_ = true;
    sqlite3_interrupt(db_.get());
}

void Session::SetManual(bool manual) {
    if (!manual) Commit();  // as ODBC defines it
    manual_ = manual;
}

void Session::EnterStatement() {
    if (manual_ && !InTransaction()) Begin();
}

void Session::Begin() {
    Run(db_.get(), "BEGIN IMMEDIATE");
}

void Session::Commit() {
    if (InTransaction()) Run(db_.get(), "COMMIT");
}

void Session::Rollback() noexcept {
    if (db_ && InTransaction()) sqlite3_exec(db_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

WriteScope::WriteScope(Session& session) : session_(session), nested_(session.InTransaction()) {
    if (nested_) {
        Run(session_.Db(), "SAVEPOINT change");
    } else {
        session_.Begin();
    }
}

void WriteScope::Done() {
    Run(session_.Db(), nested_ ? "RELEASE change" : "COMMIT");
    done_ = true;
}

WriteScope::~WriteScope() {
    if (done_) return;
    const char* undo = nested_ ? "ROLLBACK TO change; RELEASE change" : "ROLLBACK";
    sqlite3_exec(session_.Db(), undo, nullptr, nullptr, nullptr);
}

}  // namespace standin
