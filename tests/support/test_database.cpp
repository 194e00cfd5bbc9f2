#include "tests/support/test_database.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "db/odbc_statement.h"
#include "discovery/files.h"
#include "text/text.h"

namespace {

std::wstring Environment(const wchar_t* name) {
    const wchar_t* value = _wgetenv(name);
    return value ? value : L"";
}

// The driver's own paths are the host's; Wine shows the host's root as drive Z.
std::wstring StandInRoot() {
    const std::wstring root = Environment(L"SQLSTANDIN_ROOT");
    if (root.empty()) throw RuntimeError("neither MERGE_TEST_SQL_SERVER nor SQLSTANDIN_ROOT is set");
    return std::filesystem::path(L"Z:" + root).make_preferred().wstring();
}

// Every process that uses the driver shows its handles in a file.
std::vector<std::filesystem::path> HandleFiles() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(StandInRoot())) {
        if (entry.path().filename().wstring().starts_with(L"handles-")) files.push_back(entry.path());
    }
    return files;
}

// A server folder of this process alone, gone with it.
struct StandInServer {
    TestServer server = {L"test-" + std::to_wstring(GetCurrentProcessId()), 1433, L"sa", L"测试 p}w;1", L""};

    StandInServer() {
        ForgetHandles();
        server.folder = StandInRoot() + L"\\" + server.host + L",1433";
        std::filesystem::remove_all(server.folder);  // of an earlier process with our number
        std::filesystem::create_directory(server.folder);
        std::ofstream(std::filesystem::path(server.folder) / "server.conf", std::ios::binary)
            << "user=sa\npassword=" << WideToUtf8(server.password) << "\n";
    }
    ~StandInServer() {
        std::error_code ignored;
        std::filesystem::remove_all(server.folder, ignored);
    }
};

TestServer RealServer() {
    const std::wstring port = Environment(L"MERGE_TEST_SQL_PORT");
    return {Environment(L"MERGE_TEST_SQL_SERVER"), port.empty() ? 1433 : std::stoi(port),
            Environment(L"MERGE_TEST_SQL_USER"), Environment(L"MERGE_TEST_SQL_PASSWORD"), L""};
}

}  // namespace

const TestServer& Server() {
    static const TestServer real = RealServer();
    if (!real.host.empty()) return real;
    static const StandInServer standIn;
    return standIn.server;
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
        for (SQLRETURN more; (more = SQLMoreResults(statement.Get())) != SQL_NO_DATA;)
            RequireSuccess(more, statement.Get());
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
        // An offline database would leave its files behind.
        const std::wstring alter = L"ALTER DATABASE [" + name_ + L"] SET ";
        RunSql(Connect(L"master"), {alter + L"ONLINE", alter + L"SINGLE_USER WITH ROLLBACK IMMEDIATE",
                                    L"DROP DATABASE [" + name_ + L"]"});
    } catch (const std::exception&) {
        // A case that took the server down cannot tidy up on it.
    }
}

Content ContentOf(const std::wstring& database) {
    const OdbcSession session = Connect(database);
    std::map<std::wstring, std::vector<std::wstring>> tables;
    {
        const OdbcStatement rows = ExecuteDirect(
            session.Connection(),
            L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS", true);
        for (TextColumns row(rows.Get(), 3); FetchCompleteRow(rows.Get());) {
            const std::wstring table =
                L"[" + std::wstring(row.Text(0)) + L"].[" + std::wstring(row.Text(1)) + L"]";
            tables[table].emplace_back(row.Text(2));
        }
    }
    Content content;
    for (const auto& [table, columns] : tables) {
        std::wstring sql = L"SELECT CAST([n] AS NVARCHAR(20))";
        for (const std::wstring& column : columns) sql += L", CAST([" + column + L"] AS NVARCHAR(250))";
        const OdbcStatement rows = ExecuteDirect(session.Connection(), sql + L" FROM " + table, true);
        for (TextColumns row(rows.Get(), columns.size() + 1); FetchCompleteRow(rows.Get());) {
            for (size_t i = 0; i < columns.size(); ++i) {
                std::wstring& value = content[table + L"." + columns[i] + L" " + std::wstring(row.Text(0))];
                value = row.IsNull(i + 1) ? L"(null)" : row.Text(i + 1);
            }
        }
    }
    return content;
}

Content Difference(const Content& before, const Content& after) {
    Content changed;
    const auto add = std::inserter(changed, changed.end());
    std::set_difference(after.begin(), after.end(), before.begin(), before.end(), add);
    std::set_difference(before.begin(), before.end(), after.begin(), after.end(), add);  // what vanished
    return changed;
}

std::vector<std::wstring> Trace::Events() const {
    std::vector<std::wstring> events;
    std::istringstream lines(ReadWholeFile(path.wstring()));
    for (std::string line; std::getline(lines, line);) {
        // process, connection, event, text
        line.erase(0, line.find('\t', line.find('\t') + 1) + 1);
        if (const size_t tab = line.find('\t'); tab != line.npos) line[tab] = ' ';
        events.push_back(Utf8ToWide(line));
    }
    return events;
}

std::wstring Trace::Told() const {
    std::wstring told;
    for (const std::wstring& event : Events()) told += event + L"\n";
    return told;
}

int LiveHandles() {
    int live = 0;
    for (const std::filesystem::path& path : HandleFiles()) {
        std::ifstream file(path);
        for (int count = 0; file >> count;) live += count;
    }
    return live;
}

void ForgetHandles() {
    if (!RealServer().host.empty()) return;
    for (const std::filesystem::path& file : HandleFiles()) std::filesystem::remove(file);
}

std::wstring ManyColumns(int count) {
    std::wstring columns = L"c0 varchar(9)";
    for (int i = 1; i < count; ++i) columns += L", c" + std::to_wstring(i) + L" varchar(9)";
    return columns;
}
