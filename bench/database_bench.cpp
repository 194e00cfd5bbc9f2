// What the tool adds to the database's own time: a search, a detection, a batch repair, each against a bare
// loop that sends the same statements.

#include <cstdio>

#include "account_query/account_search.h"
#include "account_query/account_text.h"
#include "bench/bare_odbc.h"
#include "bench/merge_zones.h"
#include "bench/private_memory.h"
#include "bench/table.h"
#include "id_repair/batch_repair.h"
#include "id_repair/new_ids.h"
#include "text/text.h"

namespace {

std::vector<BareStep> Record(const std::function<void()>& action, int timeoutSeconds) {
    const Trace trace;
    action();
    return StepsOf(trace.Events(), [&](const std::wstring& database) {
        return BuildConnectionString(kDefaultDrivers.front(), SettingsFor(database), timeoutSeconds);
    });
}

void Require(size_t found, size_t expected) {
    if (found != expected) {
        throw RuntimeError(L"expected " + std::to_wstring(expected) + L", found " + std::to_wstring(found));
    }
}

void MeasureSearch() {
    const TestDatabase database(L"accounts");
    database.Run(
        {L"CREATE TABLE dbo.TBL_ACCOUNT (FLD_ACCOUNT nvarchar(50) NOT NULL PRIMARY KEY, FLD_PASSWORD "
         L"varchar(50) NULL, FLD_NICK nvarchar(50) NULL)",
         L"INSERT INTO dbo.TBL_ACCOUNT (FLD_ACCOUNT) " +
             SelectNumbered(L"N'dragon' + CONVERT(nvarchar(20), #)", 2'000)});
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
    const std::vector<BareStep> steps = Record(search, 5);
    const std::wstring pattern = ContainsPattern(keyword);
    constexpr int kRepeats = 20;  // one takes two milliseconds
    const auto repeated = [](const auto& action) {
        return Milliseconds([&] {
                   for (int i = 0; i < kRepeats; ++i) action();
               }) /
               kRepeats;
    };
    PrintRatio(
        "search returning 500 accounts", "ms",
        Compare(
            31, [&] { return repeated(search); }, [&] { return repeated([&] { Replay(steps, pattern); }); }),
        1.05);
}

void MeasureDetection(int roles, int rounds, double target) {
    const MergeZones zones(roles, 0);
    const auto detect = [&] {
        const OdbcSession session = Connect(L"master");
        Require(FindDuplicateRoles(session.Connection(), zones.A(), zones.B()).size(),
                static_cast<size_t>(roles));
        FindDuplicateGuilds(session.Connection(), zones.A(), zones.B());
    };
    const std::vector<BareStep> steps = Record(detect, 10);
    PrintRatio("detection of " + std::to_string(roles) + " duplicates", "ms",
               Compare(
                   rounds, [&] { return Milliseconds(detect); },
                   [&] { return Milliseconds([&] { Replay(steps); }); }),
               target);
}

// What the list of duplicates takes, beside the list view that shows it. The bare loop goes first: the driver
// keeps memory of its own once it has delivered so many rows. The tool's heap must not have held such a list
// before.
void MeasureMemory() {
    constexpr int kDuplicates = 10'000;
    const MergeZones zones(kDuplicates, 0);
    const auto detect = [&](const std::wstring& database) {
        const OdbcSession session = Connect(L"master");
        return FindDuplicateRoles(session.Connection(), database, zones.B());
    };
    std::vector<BareStep> steps = Record([&] { Require(detect(zones.Third()).size(), 0); }, 10);
    for (BareStep& step : steps) {
        const size_t name = step.text.find(zones.Third());
        if (name != step.text.npos) step.text.replace(name, zones.Third().size(), zones.A());
    }
    for (int i = 0; i < 3; ++i) Replay(steps);
    const double before = PrivateKilobytes("bench_database.exe");
    const std::vector<DuplicateRole> roles = detect(zones.A());
    const double after = PrivateKilobytes("bench_database.exe");
    Require(roles.size(), kDuplicates);
    PrintValue("private memory of 10,000 found duplicates", "KB", after - before, kDuplicates);
}

void MeasureBatch(int roles, int guilds, int rounds, double target) {
    MergeZones zones(roles, guilds);
    const auto repair = [&] {
        const OdbcSession session = Connect(L"master");
        const std::vector<RoleRepairPlan> rolePlans =
            PlanRoleIdBatch(session.Connection(), zones.B(), zones.A(),
                            FindDuplicateRoles(session.Connection(), zones.A(), zones.B()));
        const std::vector<GuildRepairPlan> guildPlans =
            PlanGuildIdBatch(session.Connection(), zones.B(), zones.A(),
                             FindDuplicateGuilds(session.Connection(), zones.A(), zones.B()));
        Require(rolePlans.size() + guildPlans.size(), static_cast<size_t>(roles + guilds));
        Require(rolePlans.back().fields.size(), 12);
        Require(guildPlans.back().fields.size(), 2);
        const OdbcSession repairSession = Connect(zones.B());
        RepairAllDuplicates(repairSession.Connection(), zones.B(), rolePlans, guildPlans);
    };
    const std::vector<BareStep> steps = Record(repair, 10);
    // Every run needs the duplicates back.
    const auto onFreshCopy = [&](const std::function<void()>& action) {
        zones.Renew();
        return Milliseconds(action);
    };
    PrintRatio(
        "plan and repair " + std::to_string(roles) + " characters, " + std::to_string(guilds) +
            " guilds: " + std::to_string(steps.size()) + " calls",
        "ms",
        Compare(
            rounds, [&] { return onFreshCopy(repair); }, [&] { return onFreshCopy([&] { Replay(steps); }); }),
        target);
}

}  // namespace

int wmain() {
    try {
        constexpr double kTarget = 1.05;
        MeasureMemory();
        MeasureSearch();
        MeasureDetection(1'000, 11, 0);
        MeasureDetection(20'000, 11, kTarget);
        MeasureBatch(100, 20, 5, 0);
        MeasureBatch(300, 60, 5, 0);
        MeasureBatch(1'000, 200, 7, kTarget);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
