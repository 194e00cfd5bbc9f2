#pragma once

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "db/odbc_session.h"

/// The server behind the database tests: the real SQL Server that MERGE_TEST_SQL_SERVER, _PORT, _USER and
/// _PASSWORD name, otherwise a stand-in of this test process alone.
struct TestServer {
    std::wstring host;
    int port = 1433;
    std::wstring user, password;
    std::wstring folder = {};  // of the stand-in; empty for a real server
};
const TestServer& Server();

/// A connection of the repair side, and the values for it.
inline DbConnectionSettings SettingsFor(const std::wstring& database) {
    return {Server().host, Server().port, Server().user, Server().password, database, L""};
}
OdbcSession Connect(const std::wstring& database);

/// Executes T-SQL batches, one text each. A result without rows is fine.
/// @throws RuntimeError with the diagnostic text.
void RunSql(const OdbcSession& session, std::initializer_list<std::wstring_view> batches);

/// A database of one case, case-insensitive like the game's own, dropped at the end.
class TestDatabase {
public:
    /// @param suffix  tells the case's databases apart; the name is made unique around it.
    explicit TestDatabase(std::wstring_view suffix, std::initializer_list<std::wstring_view> batches = {});
    ~TestDatabase();
    TestDatabase(const TestDatabase&) = delete;
    TestDatabase& operator=(const TestDatabase&) = delete;

    const std::wstring& Name() const noexcept { return name_; }
    OdbcSession Open() const { return Connect(name_); }
    void Run(std::initializer_list<std::wstring_view> batches) const { RunSql(Open(), batches); }

private:
    std::wstring name_;
};

/// Databases cell by cell: "database.[schema].[table].column row" with its value; the column "n" tells rows
/// apart.
using Content = std::map<std::wstring, std::wstring>;
Content ContentOf(const std::vector<std::wstring>& databases);

/// The cells that differ, with their later value, or the earlier one of a cell that vanished.
Content Difference(const Content& before, Content after);

/// Nothing with the stand-in, which alone takes faults and tells what it is asked.
/// @throws std::runtime_error on a real server, with a text by which ctest counts the case as skipped
void RequireStandIn();

/// A file for the stand-in, gone at the end of its scope.
struct ServerFile {
    ServerFile(const wchar_t* name, std::string_view bytes) : path(Server().folder + L"\\" + name) {
        RequireStandIn();
        std::ofstream(path, std::ios::binary) << bytes;
    }
    ~ServerFile() { std::filesystem::remove(path); }
    ServerFile(const ServerFile&) = delete;
    ServerFile& operator=(const ServerFile&) = delete;

    const std::filesystem::path path;
};

/// Asks the driver for faults; see the stand-in's own description for the lines.
struct Faults : ServerFile {
    explicit Faults(std::string_view utf8Lines) : ServerFile(L"faults.txt", utf8Lines) {}
};

/// Records what the driver is asked to do: "event text" for every event so far, in order.
struct Trace : ServerFile {
    Trace() : ServerFile(L"trace.txt", {}) {}
    std::vector<std::wstring> Events() const;
    std::wstring Told() const;  // the same as one text, a line for each
};

/// What the driver is asked to do by an action, as Trace tells it.
template <class Action>
std::wstring ToldBy(Action action) {
    const Trace trace;
    action();
    return trace.Told();
}

/// ODBC handles and open connections of this process and of the programs that it has started, as the stand-in
/// counts them, by kind; empty when nothing is alive.
std::wstring Alive();
/// What is alive while a session is connected.
inline constexpr wchar_t kOneSession[] = L"environments 1 connections 1 open 1 ";

/// Forgets the counts of programs that have ended: one that was killed leaves its own behind.
void ForgetHandles();

/// How a connection commits: "automatic" or "manual".
std::string CommitMode(SQLHDBC connection);
