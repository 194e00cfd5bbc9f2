#include "tests/support/test_database.h"

#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "db/odbc_statement.h"
#include "db/sql_text.h"
#include "discovery/files.h"
#include "text/text.h"

namespace {

std::wstring Environment(const wchar_t* name) {
    std::wstring value(32767, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

// The driver's own paths are the host's; Wine shows the host's root as drive Z.
std::wstring StandInRoot() {
    std::wstring root = Environment(L"SQLSTANDIN_ROOT");
    if (root.empty()) throw RuntimeError("neither MERGE_TEST_SQL_SERVER nor SQLSTANDIN_ROOT is set");
    for (wchar_t& unit : root) {
        if (unit == L'/') unit = L'\\';
    }
    return L"Z:" + root;
}

void WriteFileBytes(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream stream(path, std::ios::binary);
    if (!(stream << bytes).flush()) throw RuntimeError(L"cannot write " + path.wstring());
}

// A server folder of this process alone, gone with it.
struct StandInServer {
    TestServer server;

    StandInServer() {
        server.host = L"test-" + std::to_wstring(GetCurrentProcessId());
        server.user = L"sa";
        server.password = L"测试 p}w;1";
        server.folder = StandInRoot() + L"\\" + server.host + L"," + std::to_wstring(server.port);
        std::filesystem::remove_all(server.folder);  // of an earlier process with our number
        std::filesystem::create_directory(server.folder);
        WriteFileBytes(server.folder + L"\\server.conf", "user=" + WideToUtf8(server.user) + "\npassword=" +
                                                             WideToUtf8(server.password) + "\n");
    }
    ~StandInServer() {
        std::error_code ignored;
        std::filesystem::remove_all(server.folder, ignored);
    }
};

TestServer RealServer() {
    TestServer server;
    server.host = Environment(L"MERGE_TEST_SQL_SERVER");
    const std::wstring port = Environment(L"MERGE_TEST_SQL_PORT");
    if (!port.empty()) server.port = std::stoi(port);
    server.user = Environment(L"MERGE_TEST_SQL_USER");
    server.password = Environment(L"MERGE_TEST_SQL_PASSWORD");
    return server;
}

void ReadTable(const OdbcSession& session, const std::wstring& table,
               const std::vector<std::wstring>& columns, Content& content) {
    std::wstring sql = L"SELECT CAST([n] AS NVARCHAR(20))";
    for (const std::wstring& column : columns) sql += L", CAST([" + column + L"] AS NVARCHAR(250))";
    const OdbcStatement statement = ExecuteDirect(session.Connection(), sql + L" FROM " + table, true);
    TextColumns row(statement.Get(), columns.size() + 1);
    while (FetchCompleteRow(statement.Get())) {
        for (size_t i = 0; i < columns.size(); ++i) {
            const std::wstring cell = table + L"." + columns[i] + L" " + std::wstring(row.Text(0));
            content[cell] = row.IsNull(i + 1) ? L"(null)" : std::wstring(row.Text(i + 1));
        }
    }
}

}  // namespace

const TestServer& Server() {
    static const TestServer real = RealServer();
    if (!real.host.empty()) return real;
    static const StandInServer standIn;
    return standIn.server;
}

bool CanInjectFaults() {
    return !Server().folder.empty();
}

void SkipWithoutFaults() {
    std::puts("skipped: a real server takes no injected faults");
}

DbConnectionSettings SettingsFor(const std::wstring& database) {
    const TestServer& server = Server();
    return {server.host, server.port, server.user, server.password, database, std::wstring()};
}

OdbcSession Connect(const std::wstring& database) {
    OdbcSession session;
    session.Connect(SettingsFor(database));
    return session;
}

void RunSql(const OdbcSession& session, std::initializer_list<std::wstring_view> batches) {
    for (const std::wstring_view batch : batches) {
        const OdbcStatement statement = AllocateStatement(session.Connection());
        const std::wstring sql(batch);
        const SQLRETURN result = SQLExecDirectW(statement.Get(), OdbcText(sql.c_str()), SQL_NTS);
        if (result != SQL_NO_DATA) RequireSuccess(result, statement.Get());
        // An error behind the first of several results is only told when its turn comes.
        for (SQLRETURN more; (more = SQLMoreResults(statement.Get())) != SQL_NO_DATA;) {
            RequireSuccess(more, statement.Get());
        }
    }
}

std::wstring QueryText(const OdbcSession& session, const std::wstring& sql) {
    const OdbcStatement statement = ExecuteDirect(session.Connection(), sql, true);
    TextColumns row(statement.Get(), 1);
    return FetchCompleteRow(statement.Get()) ? std::wstring(row.Text(0)) : std::wstring();
}

TestDatabase::TestDatabase(std::wstring_view suffix, std::initializer_list<std::wstring_view> batches)
    : name_(L"merge_test_" + std::to_wstring(GetCurrentProcessId()) + L"_" + std::wstring(suffix)) {
    RunSql(Connect(L"master"), {L"CREATE DATABASE [" + name_ + L"] COLLATE Chinese_PRC_CI_AS"});
    Run(batches);
}

TestDatabase::~TestDatabase() {
    try {
        const OdbcSession session = Connect(L"master");
        const std::wstring quoted = L"[" + name_ + L"]";
        // An offline database would leave its files behind.
        RunSql(session, {L"ALTER DATABASE " + quoted + L" SET ONLINE"});
        RunSql(session, {L"ALTER DATABASE " + quoted + L" SET SINGLE_USER WITH ROLLBACK IMMEDIATE",
                         L"DROP DATABASE " + quoted});
    } catch (const std::exception&) {
        // A case that took the server down cannot tidy up on it.
    }
}

Content ContentOf(const std::wstring& database) {
    const OdbcSession session = Connect(database);
    std::map<std::wstring, std::vector<std::wstring>> tables;
    {
        const OdbcStatement statement =
            ExecuteDirect(session.Connection(),
                          L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS "
                          L"ORDER BY TABLE_SCHEMA, TABLE_NAME, ORDINAL_POSITION",
                          true);
        TextColumns row(statement.Get(), 3);
        while (FetchCompleteRow(statement.Get())) {
            const std::wstring table =
                L"[" + std::wstring(row.Text(0)) + L"].[" + std::wstring(row.Text(1)) + L"]";
            tables[table].emplace_back(row.Text(2));
        }
    }
    Content content;
    for (const auto& [table, columns] : tables) ReadTable(session, table, columns, content);
    return content;
}

Content Difference(const Content& before, const Content& after) {
    Content changed;
    for (const auto& [cell, value] : after) {
        const auto old = before.find(cell);
        if (old == before.end() || old->second != value) changed[cell] = value;
    }
    for (const auto& [cell, value] : before) {
        if (!after.contains(cell)) changed[cell] = L"(gone)";
    }
    return changed;
}

Faults::Faults(std::string_view utf8Lines) : path_(Server().folder + L"\\faults.txt") {
    WriteFileBytes(path_, utf8Lines);
}

Faults::~Faults() {
    std::filesystem::remove(path_);
}

Trace::Trace() : path_(Server().folder + L"\\trace.txt") {
    WriteFileBytes(path_, {});
}

Trace::~Trace() {
    std::filesystem::remove(path_);
}

std::vector<std::wstring> Trace::Events() const {
    std::vector<std::wstring> events;
    std::istringstream lines(ReadWholeFile(path_));
    for (std::string line; std::getline(lines, line);) {
        // process, connection, event, text
        const size_t event = line.find('\t', line.find('\t') + 1) + 1;
        const size_t text = line.find('\t', event);
        events.push_back(Utf8ToWide(line.substr(event, text - event) +
                                    (text == std::string::npos ? "" : " " + line.substr(text + 1))));
    }
    return events;
}

HandleCounts LiveHandles() {
    // The driver's own attributes: live environments, connections and statements of this process. The
    // connection that asks and its environment count as well.
    constexpr SQLINTEGER kLiveEnvironments = 0x4A01;
    const OdbcSession asking = Connect(L"master");
    SQLUINTEGER live[3] = {};
    for (SQLINTEGER kind = 0; kind < 3; ++kind) {
        SQLGetConnectAttrW(asking.Connection(), kLiveEnvironments + kind, &live[kind], SQL_IS_UINTEGER,
                           nullptr);
    }
    return {static_cast<int>(live[0]) - 1, static_cast<int>(live[1]) - 1, static_cast<int>(live[2])};
}
