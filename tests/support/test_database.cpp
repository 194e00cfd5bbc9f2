#include "support/test_database.h"

#include <windows.h>

#include <array>

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

// Every process that uses the driver shows its counts in a file.
std::vector<std::filesystem::path> HandleFiles() {
    std::vector<std::filesystem::path> files;
    if (Environment(L"SQLSTANDIN_ROOT").empty()) return files;
    for (const auto& entry : std::filesystem::directory_iterator(StandInRoot()))
        if (entry.path().filename().wstring().starts_with(L"handles-")) files.push_back(entry.path());
    return files;
}

// A server folder of this process alone, gone with it.
struct StandInServer : TestServer {
    StandInServer()
        : TestServer{L"test-" + std::to_wstring(GetCurrentProcessId()), 2433, L"sa", L"测试 p}w;1"} {
        ForgetHandles();
        folder = StandInRoot() + L"\\" + host + L",2433";
        std::filesystem::remove_all(folder);  // of an earlier process with our number
        std::filesystem::create_directory(folder);
        std::ofstream(std::filesystem::path(folder) / "server.conf", std::ios::binary)
            << "user=sa\npassword=" << WideToUtf8(password) << "\n";
    }
    ~StandInServer() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
};

}  // namespace

const TestServer& Server() {
    static const std::wstring port = Environment(L"MERGE_TEST_SQL_PORT");
    static const TestServer real = {
        Environment(L"MERGE_TEST_SQL_SERVER"), port.empty() ? 1433 : std::stoi(port),
        Environment(L"MERGE_TEST_SQL_USER"), Environment(L"MERGE_TEST_SQL_PASSWORD"), L""};
    if (!real.host.empty()) return real;
    static const StandInServer standIn;
    return standIn;
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
        const std::wstring alter = L"SET LOCK_TIMEOUT 5000; ALTER DATABASE [" + name_ + L"] SET ";
        RunSql(Connect(L"master"), {alter + L"ONLINE", alter + L"SINGLE_USER WITH ROLLBACK IMMEDIATE",
                                    L"DROP DATABASE [" + name_ + L"]"});
    } catch (const std::exception&) {
        // A case that took the server down cannot tidy up on it.
    }
}

Content ContentOf(const std::vector<std::wstring>& databases) {
    Content content;
    for (const std::wstring& database : databases) {
        const OdbcSession session = Connect(database);
        std::map<std::wstring, std::vector<std::wstring>> tables;
        {
            const OdbcStatement all = ExecuteDirect(
                session.Connection(),
                L"SELECT TABLE_SCHEMA, TABLE_NAME, COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS", true);
            for (TextColumns row(all.Get(), 3); FetchCompleteRow(all.Get());)
                tables[L"[" + std::wstring(row.Text(0)) + L"].[" + std::wstring(row.Text(1)) + L"]"]
                    .emplace_back(row.Text(2));
        }
        for (const auto& [table, columns] : tables) {
            std::wstring select = L"SELECT CAST([n] AS NVARCHAR(20))";
            for (const std::wstring& column : columns)
                select += L", CAST([" + column + L"] AS NVARCHAR(250))";
            const OdbcStatement rows = ExecuteDirect(session.Connection(), select + L" FROM " + table, true);
            for (TextColumns row(rows.Get(), columns.size() + 1); FetchCompleteRow(rows.Get());)
                for (size_t i = 0; i < columns.size(); ++i)
                    content[database + L"." + table + L"." + columns[i] + L" " + std::wstring(row.Text(0))] =
                        row.IsNull(i + 1) ? L"(null)" : row.Text(i + 1);
        }
    }
    return content;
}

Content Difference(const Content& before, Content after) {
    for (const auto& cell : before) {
        const auto [place, vanished] = after.insert(cell);
        if (!vanished && *place == cell) after.erase(place);
    }
    return after;
}

void RequireStandIn() {
    if (Server().folder.empty())
        throw std::runtime_error("skipped: a real server takes no faults and tells no trace");
}

std::vector<std::wstring> Trace::Events() const {
    std::vector<std::wstring> events;
    std::ifstream file(path, std::ios::binary);
    for (std::string process, connection, event, text;
         file >> process >> connection >> event && std::getline(file.ignore(), text);)
        events.push_back(Utf8ToWide(event + " " + text));
    return events;
}

std::wstring Trace::Told() const {
    std::wstring told;
    for (const std::wstring& event : Events()) told += event + L"\n";
    return told;
}

std::wstring Alive() {
    RequireStandIn();
    std::array<int, 4> live = {};
    for (const auto& path : HandleFiles()) {
        std::ifstream file(path);
        int count = 0;
        for (int& total : live) total += file >> count ? count : 0;
    }
    std::wstring text;
    for (size_t kind = 0; kind < live.size(); ++kind) {
        constexpr const wchar_t* kKinds[] = {L"environments ", L"connections ", L"statements ", L"open "};
        if (live[kind] != 0) text += kKinds[kind] + std::to_wstring(live[kind]) + L" ";
    }
    return text;
}

void ForgetHandles() {
    for (const auto& path : HandleFiles()) std::filesystem::remove(path);
}

std::string CommitMode(SQLHDBC connection) {
    SQLUINTEGER mode = 0;
    SQLGetConnectAttrW(connection, SQL_ATTR_AUTOCOMMIT, &mode, SQL_IS_UINTEGER, nullptr);
    return mode == SQL_AUTOCOMMIT_ON ? "automatic" : "manual";
}
