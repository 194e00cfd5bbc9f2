// What the tool adds to the database's own time: a search, a detection, a batch repair, each against a bare
// loop that sends the same statements.

#include <algorithm>
#include <optional>

#include "account_query/account_search.h"
#include "account_query/account_text.h"
#include "bench/bare_odbc.h"
#include "bench/measure.h"
#include "bench/repair_work.h"
#include "id_repair/repair_sql.h"
#include "tests/support/test_database.h"
#include "text/text.h"

namespace {

constexpr double kLimit = 1.05;

// Inserts rows; every "#" in `values` stands for the row's number from 0 to `count` - 1.
void Insert(const TestDatabase& database, const std::wstring& target, std::wstring_view values, int count) {
    constexpr int kMostRows = 1'000;  // of one INSERT
    for (int first = 0; first < count; first += kMostRows) {
        std::wstring sql = L"INSERT INTO " + target + L" VALUES ";
        for (int row = first; row < std::min(count, first + kMostRows); ++row) {
            if (row > first) sql += L", ";
            for (const wchar_t unit : values)
                sql += unit == L'#' ? std::to_wstring(row) : std::wstring(1, unit);
        }
        database.Run({sql});
    }
}

// Two zones to be merged, all of whose characters and guilds live in both, and a third zone with the largest
// ID. In the second zone every character is referred to from 12 columns of seven tables, every guild from
// two.
class MergeZones {
public:
    MergeZones(int roles, int guilds) : roles_(roles), guilds_(guilds) { Renew(); }

    // Makes all databases anew, under the same names and with the same content.
    void Renew() {
        third_.reset();
        b_.reset();
        a_.reset();
        FillMainTables(a_.emplace(L"A"), roles_, guilds_);
        FillMainTables(b_.emplace(L"B"), roles_, guilds_);
        if (guilds_ > 0) AddReferences(*b_);
        FillMainTables(third_.emplace(L"C"), 0, 0);
        third_->Run({L"INSERT INTO dbo.TBL_CHARACTER (FLD_USERID) VALUES ('9000000000000')"});
    }

    const std::wstring& A() const noexcept { return a_->Name(); }
    const std::wstring& B() const noexcept { return b_->Name(); }

private:
    static void FillMainTables(const TestDatabase& database, int roles, int guilds) {
        database.Run(
            {L"CREATE TABLE dbo.TBL_CHARACTER (FLD_USERID varchar(50) NOT NULL PRIMARY KEY, FLD_CHARACTER "
             L"nvarchar(50) NULL, FLD_ACCOUNT nvarchar(50) NULL, FLD_SERVERID int NULL)",
             L"CREATE TABLE dbo.TBL_GUILD_INFO (sGuildID varchar(50) NOT NULL PRIMARY KEY, sGuildName "
             L"nvarchar(50) NULL)"});
        Insert(database, L"dbo.TBL_CHARACTER (FLD_USERID, FLD_CHARACTER, FLD_ACCOUNT, FLD_SERVERID)",
               L"('1000000#', N'角色#', N'account#', 1)", roles);
        Insert(database, L"dbo.TBL_GUILD_INFO (sGuildID, sGuildName)", L"('{GUILD-1000#}', N'行会#')",
               guilds);
    }

    void AddReferences(const TestDatabase& database) const {
        for (const wchar_t* number : {L"1", L"2", L"3", L"4", L"5"}) {
            const std::wstring table = std::wstring(L"dbo.TBL_ITEM") + number;
            database.Run({L"CREATE TABLE " + table +
                          L" (FirstUserID varchar(50) NULL, OTHER_ROLE_ID nvarchar(50) NULL)"});
            Insert(database, table + L" (FirstUserID, OTHER_ROLE_ID)", L"('1000000#', N'1000000#')", roles_);
        }
        database.Run({L"CREATE TABLE dbo.TBL_MEMBER (MemberRoleID char(30) NULL)",
                      L"CREATE TABLE dbo.TBL_TOWN (OwnerGuild_ID nchar(60) NULL)"});
        Insert(database, L"dbo.TBL_MEMBER (MemberRoleID)", L"('1000000#')", roles_);
        Insert(database, L"dbo.TBL_TOWN (OwnerGuild_ID)", L"('{GUILD-1000#}')", guilds_);
    }

    int roles_, guilds_;
    std::optional<TestDatabase> a_, b_, third_;
};

BareConversation Bare(const std::vector<std::wstring>& events, int timeoutSeconds,
                      const std::wstring& pattern = {}) {
    const auto connectionString = [&](const std::wstring& database) {
        return BuildConnectionString(kDefaultDrivers.front(), SettingsFor(database), timeoutSeconds);
    };
    return {events, connectionString, pattern};
}

std::vector<std::wstring> EventsOf(const std::function<void()>& action) {
    const Trace trace;
    action();
    return trace.Events();
}

void Require(size_t found, size_t expected) {
    if (found != expected) {
        throw RuntimeError(L"expected " + std::to_wstring(expected) + L", found " + std::to_wstring(found));
    }
}

void MeasureSearch() {
    const TestDatabase database(L"accounts",
                                {L"CREATE TABLE dbo.TBL_ACCOUNT (FLD_ACCOUNT nvarchar(50) NOT NULL PRIMARY "
                                 L"KEY, FLD_PASSWORD varchar(50) NULL, FLD_NICK nvarchar(50) NULL)"});
    Insert(database, L"dbo.TBL_ACCOUNT (FLD_ACCOUNT)", L"(N'dragon#')", 2'000);
    const DbConnectionSettings settings = SettingsFor(database.Name());
    GameServerInfo zone;
    zone.dbHost = settings.server;
    zone.dbPort = settings.port;
    zone.dbUser = settings.user;
    zone.dbPassword = settings.password;
    zone.dbName = settings.database;
    QuerySettings query;
    query.maxResults = kMostResults;
    const std::wstring keyword = L"rago";
    const auto search = [&] { Require(SearchAccounts(zone, keyword, query).accounts.size(), kMostResults); };
    const BareConversation bare = Bare(EventsOf(search), 5, ContainsPattern(keyword));
    constexpr int kRepeats = 20;  // one takes two milliseconds
    const auto repeated = [](const std::function<void()>& action) {
        return Milliseconds([&] {
                   for (int i = 0; i < kRepeats; ++i) action();
               }) /
               kRepeats;
    };
    PrintRatio("search returning 500 accounts",
               Compare(
                   31, [&] { return repeated(search); }, [&] { return repeated([&] { bare.Replay(); }); }),
               kLimit);
}

void MeasureDetection(int roles, double limit) {
    const MergeZones zones(roles, 0);
    const auto detect = [&] {
        const OdbcSession session = Connect(L"master");
        Require(FindDuplicateRoles(session.Connection(), zones.A(), zones.B()).size(),
                static_cast<size_t>(roles));
        FindDuplicateGuilds(session.Connection(), zones.A(), zones.B());
    };
    const BareConversation bare = Bare(EventsOf(detect), 10);
    PrintRatio(
        "detection of " + std::to_string(roles) + " duplicates",
        Compare(
            11, [&] { return Milliseconds(detect); }, [&] { return Milliseconds([&] { bare.Replay(); }); }),
        limit);
}

// What the list of duplicates takes, beside the list view that shows it. The bare loop goes first: the driver
// keeps memory of its own once it has delivered so many rows. The tool's heap has held no such list before.
void MeasureMemory() {
    constexpr int kDuplicates = 10'000;
    const MergeZones zones(kDuplicates, 0);
    const BareConversation bare = Bare(
        {L"connect master", L"execute " + DuplicateIdsSql(IdKind::Role, zones.A(), zones.B()), L"disconnect"},
        10);
    for (int i = 0; i < 3; ++i) bare.Replay();
    const double before = PrivateKilobytes("bench_database.exe");
    const DuplicateRoles roles = FindDuplicateRoles(Connect(L"master").Connection(), zones.A(), zones.B());
    const double after = PrivateKilobytes("bench_database.exe");
    Require(roles.size(), kDuplicates);
    PrintValue("private memory of 10,000 found duplicates", after - before, "KB", kDuplicates);
}

void MeasureBatch(int roles, int guilds, int rounds, double limit) {
    MergeZones zones(roles, guilds);
    const auto repair = [&] {
        Require(PlanAndRepair(Connect, zones.A(), zones.B()), static_cast<size_t>(13 * roles + 3 * guilds));
    };
    const BareConversation bare = Bare(EventsOf(repair), 10);
    // Every run needs the duplicates back.
    const auto onFreshCopy = [&](const std::function<void()>& action) {
        zones.Renew();
        return Milliseconds(action);
    };
    PrintRatio(
        "plan and repair " + std::to_string(roles) + " characters, " + std::to_string(guilds) +
            " guilds: " + std::to_string(bare.Calls()) + " calls",
        Compare(
            rounds, [&] { return onFreshCopy(repair); }, [&] { return onFreshCopy([&] { bare.Replay(); }); }),
        limit);
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
