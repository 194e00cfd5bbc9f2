#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "db/odbc_session.h"
#include "tests/support/error_of.h"
#include "text/text.h"

// The server behind the database tests. MERGE_TEST_SQL_SERVER, _PORT, _USER and _PASSWORD name a real SQL
// Server, on which everything but the injected faults runs; without them every test process has a stand-in
// server of its own.

/// How to reach the server; every case's databases live there.
struct TestServer {
    std::wstring host;
    int port = 1433;
    std::wstring user;
    std::wstring password;
    std::wstring folder;  // of the stand-in; empty for a real server
};
const TestServer& Server();

/// True when faults can be asked of the driver.
bool CanInjectFaults();

/// Says so for a case that cannot run without them; the runner counts it as skipped.
void SkipWithoutFaults();

/// The values to connect with, on the repair side.
DbConnectionSettings SettingsFor(const std::wstring& database);

/// A connection of the repair side.
OdbcSession Connect(const std::wstring& database);

/// Executes T-SQL batches, one text each. A result without rows is fine.
/// @throws RuntimeError with the diagnostic text.
void RunSql(const OdbcSession& session, std::initializer_list<std::wstring_view> batches);

/// The first column of a query's first row as text.
std::wstring QueryText(const OdbcSession& session, const std::wstring& sql);

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

/// The whole content of a database: each "schema.table.column row" with its value, so that two contents can
/// be compared cell by cell. Rows are told apart by the table's column "n".
using Content = std::map<std::wstring, std::wstring>;
Content ContentOf(const std::wstring& database);

/// The cells that differ between two contents, with the later value; a cell that vanished has the value
/// "(gone)".
Content Difference(const Content& before, const Content& after);

/// Asks the driver for faults while it lives; see the stand-in's own description for the lines.
class Faults {
public:
    explicit Faults(std::string_view utf8Lines);
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

private:
    std::wstring path_;
};

/// Records what the driver is asked to do while it lives.
class Trace {
public:
    Trace();
    ~Trace();
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    /// "event text" for every event so far, in order.
    std::vector<std::wstring> Events() const;

private:
    std::wstring path_;
};

/// Live ODBC environments, connections and statements of this process, as the driver counts them.
struct HandleCounts {
    int environments = 0;
    int connections = 0;
    int statements = 0;
    bool operator==(const HandleCounts&) const = default;
};
HandleCounts LiveHandles();
