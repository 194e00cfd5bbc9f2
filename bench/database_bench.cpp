// What the tool adds to the database's own time: a search, a detection, a batch repair, each against a bare
// loop that sends the same statements.

#include <algorithm>
#include <deque>

#include "account_query/account_search.h"
#include "account_query/account_text.h"
#include "id_repair/repair_sql.h"
#include "measure.h"
#include "repair_work.h"
#include "support/test_database.h"
#include "text/text.h"

namespace {

constexpr double kLimit = 1.05;

void Require(SQLRETURN result) {
    if (!SQL_SUCCEEDED(result)) throw RuntimeError("a call of the bare loop failed");
}

// As the tool does: nothing, one row without looking at it, one number, or all texts of all rows.
void Fetch(SQLHSTMT statement, std::wstring_view sql) {
    static struct {
        SQLWCHAR text[256];
        SQLLEN indicator;
    } columns[7];
    if (!sql.starts_with(L"SELECT")) return;
    if (sql.starts_with(L"SELECT TOP (1) ")) return Require(SQLFetch(statement));
    if (sql.starts_with(L"SELECT COUNT_BIG") || sql.starts_with(L"SELECT MAX")) {
        SQLBIGINT number = 0;
        Require(SQLBindCol(statement, 1, SQL_C_SBIGINT, &number, sizeof number, &columns[0].indicator));
        return Require(SQLFetch(statement));
    }
    const std::wstring_view list = sql.substr(0, sql.find(L" FROM "));
    const auto count = 1 + std::count(list.begin(), list.end(), L',');
    for (SQLUSMALLINT i = 1; i <= count; ++i)
        Require(SQLBindCol(statement, i, SQL_C_WCHAR, columns[i - 1].text, sizeof columns[0].text,
                           &columns[i - 1].indicator));
    while (SQLFetch(statement) != SQL_NO_DATA) continue;
}

void Execute(SQLHSTMT statement, const wchar_t* sql, bool prepared, const std::wstring& pattern) {
    if (!prepared) return Require(SQLExecDirectW(statement, OdbcText(sql), SQL_NTS));
    SQLLEN indicator = SQL_NTS;
    Require(SQLPrepareW(statement, OdbcText(sql), SQL_NTS));
    Require(SQLBindParameter(statement, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, pattern.size(), 0,
                             OdbcText(pattern.c_str()),
                             static_cast<SQLLEN>((pattern.size() + 1) * sizeof(wchar_t)), &indicator));
    Require(SQLExecute(statement));
}

// Goes through a conversation with the server once more, without the tool: the same calls of the same
// statements, nothing kept. Only connecting is left to the tool's session. The events are those of the
// stand-in's trace, the pattern is the parameter of every prepared statement. @return the number of steps.
size_t Replay(const std::vector<std::wstring>& events, const std::wstring& pattern = {}) {
    std::vector<OdbcSession> open;
    size_t steps = 0;
    bool prepared = false;
    for (const std::wstring& event : events) {
        const std::wstring_view name = std::wstring_view(event).substr(0, event.find(L' '));
        const wchar_t* const text = event.c_str() + std::min(name.size() + 1, event.size());
        const SQLHDBC connection = open.empty() ? SQL_NULL_HANDLE : open.back().Connection();
        if (name == L"attempt" || name == L"hints") continue;  // no calls of their own
        ++steps;
        if (name == L"connect") open.push_back(Connect(text));
        // Connections end in the reverse of their order, as those of nested scopes do.
        if (name == L"disconnect") open.pop_back();
        if (name == L"manual" || name == L"auto") {
            const SQLULEN mode = name == L"auto" ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF;
            Require(SQLSetConnectAttrW(connection, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(mode),
                                       SQL_IS_UINTEGER));
        }
        if (name == L"commit") Require(SQLEndTran(SQL_HANDLE_DBC, connection, SQL_COMMIT));
        if (name == L"execute") {
            const OdbcStatement statement = AllocateStatement(connection);
            Execute(statement.Get(), text, prepared, pattern);
            Fetch(statement.Get(), text);
        }
        prepared = name == L"prepare";
    }
    return steps;
}

// Inserts rows; every "#" in `values` stands for the row's number from 0 to `count` - 1.
void Insert(const TestDatabase& database, const std::wstring& table, std::wstring_view values, int count) {
    constexpr int kMostRows = 1'000;  // of one INSERT
    for (int first = 0; first < count; first += kMostRows) {
        std::wstring sql = L"INSERT INTO dbo." + table + L" VALUES ";
        for (int row = first; row < std::min(count, first + kMostRows); ++row) {
            if (row > first) sql += L", ";
            for (const wchar_t unit : values)
                sql += unit == L'#' ? std::to_wstring(row) : std::wstring(1, unit);
        }
        database.Run({sql});
    }
}

// Two zones to be merged that share all characters and guilds, and a third with the largest ID. In the second
// every character is referred to from 12 columns of seven tables, every guild from two.
class MergeZones {
public:
    MergeZones(int roles, int guilds) : roles_(roles), guilds_(guilds) { Renew(); }

    // Makes all databases anew, under the same names and with the same content.
    void Renew() {
        databases_.clear();
        FillMainTables(databases_.emplace_back(L"A"));
        FillMainTables(databases_.emplace_back(L"B"));
        if (guilds_ > 0) AddReferences(databases_[1]);
        databases_.emplace_back(L"C").Run(
            {kMainTables, L"INSERT INTO dbo.TBL_CHARACTER (FLD_USERID) VALUES ('9000000000000')"});
    }

    const std::wstring& A() const noexcept { return databases_[0].Name(); }
    const std::wstring& B() const noexcept { return databases_[1].Name(); }

private:
    static constexpr std::wstring_view kMainTables =
        L"CREATE TABLE dbo.TBL_CHARACTER (FLD_USERID varchar(50) NOT NULL PRIMARY KEY, FLD_CHARACTER "
        L"nvarchar(50) NULL, FLD_ACCOUNT nvarchar(50) NULL, FLD_SERVERID int NULL); "
        L"CREATE TABLE dbo.TBL_GUILD_INFO (sGuildID varchar(50) NOT NULL PRIMARY KEY, sGuildName "
        L"nvarchar(50) NULL)";

    void FillMainTables(const TestDatabase& database) const {
        database.Run({kMainTables});
        Insert(database, L"TBL_CHARACTER (FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID)",
               L"('1000000#', N'角色#', N'account#', 1)", roles_);
        Insert(database, L"TBL_GUILD_INFO (sGuildID, sGuildName)", L"('{GUILD-1000#}', N'行会#')", guilds_);
    }

    void AddReferences(const TestDatabase& database) const {
        database.Run({L"CREATE TABLE dbo.TBL_MEMBER (MemberRoleID char(30) NULL)",
                      L"CREATE TABLE dbo.TBL_TOWN (OwnerGuild_ID nchar(60) NULL)"});
        Insert(database, L"TBL_MEMBER (MemberRoleID)", L"('1000000#')", roles_);
        Insert(database, L"TBL_TOWN (OwnerGuild_ID)", L"('{GUILD-1000#}')", guilds_);
        for (const std::wstring table :
             {L"TBL_ITEM1", L"TBL_ITEM2", L"TBL_ITEM3", L"TBL_ITEM4", L"TBL_ITEM5"}) {
            database.Run({L"CREATE TABLE dbo." + table +
                          L" (FirstUserID varchar(50) NULL, OTHER_ROLE_ID nvarchar(50) NULL)"});
            Insert(database, table + L" (FirstUserID, OTHER_ROLE_ID)", L"('1000000#', N'1000000#')", roles_);
        }
    }

    int roles_, guilds_;
    std::deque<TestDatabase> databases_;
};

std::vector<std::wstring> EventsOf(const Action& action) {
    const Trace trace;
    action();
    return trace.Events();
}

void Require(size_t found, int expected) {
    if (found != static_cast<size_t>(expected)) throw RuntimeError("not as many as expected");
}

void MeasureSearch() {
    const TestDatabase database(L"accounts",
                                {L"CREATE TABLE dbo.TBL_ACCOUNT (FLD_ACCOUNT nvarchar(50) NOT NULL PRIMARY "
                                 L"KEY, FLD_PASSWORD varchar(50) NULL, FLD_NICK nvarchar(50) NULL)"});
    Insert(database, L"TBL_ACCOUNT (FLD_ACCOUNT)", L"(N'dragon#')", 2'000);
    GameServerInfo zone;
    zone.dbHost = Server().host;
    zone.dbPort = Server().port;
    zone.dbUser = Server().user;
    zone.dbPassword = Server().password;
    zone.dbName = database.Name();
    QuerySettings query;
    query.maxResults = kMostResults;
    const std::wstring keyword = L"rago";
    const auto search = [&] { Require(SearchAccounts(zone, keyword, query).accounts.size(), kMostResults); };
    const auto bare = [events = EventsOf(search), pattern = ContainsPattern(keyword)] {
        Replay(events, pattern);
    };
    PrintRatio("search returning 500 accounts", CompareTimes(31, 20, search, bare), kLimit);
}

void MeasureDetection(int roles, double limit) {
    const MergeZones zones(roles, 0);
    const auto detect = [&] {
        const OdbcSession session = Connect(L"master");
        Require(FindDuplicateRoles(session.Connection(), zones.A(), zones.B()).size(), roles);
        FindDuplicateGuilds(session.Connection(), zones.A(), zones.B());
    };
    const auto bare = [events = EventsOf(detect)] { Replay(events); };
    PrintRatio("detection of " + std::to_string(roles) + " duplicates", CompareTimes(41, 1, detect, bare),
               limit);
}

// What the list of duplicates takes, beside the list view that shows it. The driver keeps memory of its own
// once it has delivered so many rows; the tool's heap must have held no such list before.
void MeasureMemory() {
    constexpr int kDuplicates = 10'000;
    const MergeZones zones(kDuplicates, 0);
    const OdbcSession session = Connect(L"master");
    const std::wstring sql = DuplicateIdsSql(IdKind::Role, zones.A(), zones.B());
    for (int i = 0; i < 3; ++i) Replay({L"connect master", L"execute " + sql, L"disconnect"});
    const double before = PrivateKilobytes();
    const DuplicateRoles roles = FindDuplicateRoles(session.Connection(), zones.A(), zones.B());
    const double after = PrivateKilobytes();
    Require(roles.size(), kDuplicates);
    PrintValue("private memory of 10,000 found duplicates", after - before, "KB", kDuplicates);
}

void MeasureBatch(int roles, int guilds, int rounds, double limit) {
    MergeZones zones(roles, guilds);
    const auto repair = [&] {
        Require(PlanAndRepair(Connect, zones.A(), zones.B()), 13 * roles + 3 * guilds);
    };
    size_t calls = 0;
    const auto bare = [&calls, events = EventsOf(repair)] { calls = Replay(events); };
    // Every run needs the duplicates back.
    const Comparison times = CompareTimes(rounds, 1, repair, bare, [&] { zones.Renew(); });
    PrintRatio("plan and repair " + std::to_string(roles) + " characters, " + std::to_string(guilds) +
                   " guilds: " + std::to_string(calls) + " calls",
               times, limit);
}

}  // namespace

void Measure() {
    MeasureMemory();
    MeasureSearch();
    MeasureDetection(1'000, 0);
    MeasureDetection(20'000, 1.08);
    MeasureBatch(100, 20, 5, 0);
    MeasureBatch(300, 60, 5, 0);
    MeasureBatch(1'000, 200, 7, kLimit);
}
