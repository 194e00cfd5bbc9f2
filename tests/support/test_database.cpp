#include "tests/support/test_database.h"

#include <windows.h>

#include <algorithm>
#include <iterator>

#include "db/odbc_statement.h"
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
    // Calls back with every row's texts.
    const auto forEachRow = [&](const std::wstring& sql, size_t columns, const auto& callback) {
        const OdbcStatement rows = ExecuteDirect(session.Connection(), sql, true);
        for (TextColumns row(rows.Get(), columns); FetchCompleteRow(rows.Get());) callback(row);
    };
    Content content;
    std::vector<std::pair<std::wstring, std::wstring>> columns;
    forEachRow(L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS", 3,
               [&](const TextColumns& row) {
                   columns.emplace_back(
                       L"[" + std::wstring(row.Text(0)) + L"].[" + std::wstring(row.Text(1)) + L"]",
                       row.Text(2));
               });
    for (const auto& [table, column] : columns)
        forEachRow(
            L"SELECT CAST([n] AS NVARCHAR(20)), CAST([" + column + L"] AS NVARCHAR(250)) FROM " + table, 2,
            [&](const TextColumns& row) {
                content[table + L"." + column + L" " + std::wstring(row.Text(0))] =
                    row.IsNull(1) ? L"(null)" : row.Text(1);
            });
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
    std::ifstream file(path, std::ios::binary);
    for (std::string process, connection, event, text;
         file >> process >> connection >> event && std::getline(file.ignore(), text);) {
        events.push_back(Utf8ToWide(event + " " + text));
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
    for (const std::filesystem::path& path : HandleFiles()) std::filesystem::remove(path);
}
