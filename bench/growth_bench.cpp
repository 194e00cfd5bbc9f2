// How the tool's own share of a repair grows: the same work on an ODBC that costs next to nothing, minus the
// bare loop on it.

#include <cstdio>

#include "bench/bare_odbc.h"
#include "bench/counted_new.h"
#include "bench/null_odbc.h"
#include "bench/table.h"
#include "db/odbc_session.h"
#include "id_repair/batch_repair.h"
#include "text/text.h"

namespace {

std::vector<BareStep> Record(const std::function<void()>& action) {
    std::vector<std::wstring> events;
    nullEvents = &events;
    action();
    nullEvents = nullptr;
    return StepsOf(events, [](const std::wstring& text) { return text; });
}

OdbcSession Connected() {
    OdbcSession session;
    session.Connect({L"server", 1433, L"user", L"password", L"master", {}});
    return session;
}

void Detect() {
    const OdbcSession session = Connected();
    FindDuplicateRoles(session.Connection(), L"GameZone1", L"GameZone2");
}

void RepairAll() {
    const OdbcSession session = Connected();
    const std::vector<RoleRepairPlan> roles =
        PlanRoleIdBatch(session.Connection(), L"GameZone2", L"GameZone1",
                        FindDuplicateRoles(session.Connection(), L"GameZone1", L"GameZone2"));
    const std::vector<GuildRepairPlan> guilds =
        PlanGuildIdBatch(session.Connection(), L"GameZone2", L"GameZone1",
                         FindDuplicateGuilds(session.Connection(), L"GameZone1", L"GameZone2"));
    RepairAllDuplicates(session.Connection(), L"GameZone2", roles, guilds);
}

// All sizes in every round: the machine's own speed changes in the course of minutes.
void MeasureGrowth(const std::string& what, const std::function<void()>& action,
                   const std::vector<int>& sizes, int rounds) {
    std::vector<Samples> samples(sizes.size());
    std::vector<std::vector<BareStep>> steps;
    for (const int size : sizes) {
        nullDuplicates = size;
        steps.push_back(Record(action));
    }
    for (int round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < sizes.size(); ++i) {
            nullDuplicates = sizes[i];
            samples[i].Take([&] { return Milliseconds(action); },
                            [&] { return Milliseconds([&] { Replay(steps[i]); }); });
        }
    }
    std::vector<GrowthPoint> points;
    for (size_t i = 0; i < sizes.size(); ++i) {
        const Comparison medians = samples[i].Medians();
        PrintRatio("own share of " + what + std::to_string(sizes[i]) + ", on an ODBC that costs nothing",
                   "ms", medians);
        points.push_back({static_cast<double>(sizes[i]), medians.Difference()});
    }
    nullDuplicates = sizes.front();
    const auto calls = static_cast<double>(CountAllocations(action).calls);
    PrintValue("  allocations per ID", "", calls / sizes.front());
    PrintValue("  exponent of its growth", "", Exponent(points), 1.1);
}

void MeasureMemory() {
    constexpr int kDuplicates = 10'000;
    nullDuplicates = kDuplicates;
    const OdbcSession session = Connected();
    // A copy holds exactly what the list of the window holds at the end.
    const std::vector<DuplicateRole> found =
        FindDuplicateRoles(session.Connection(), L"GameZone1", L"GameZone2");
    const Allocations kept = CountAllocations([&] { const std::vector<DuplicateRole> copy(found); });
    PrintValue("held for one listed duplicate: blocks", "", static_cast<double>(kept.calls) / kDuplicates);
    PrintValue("held for one listed duplicate: bytes", "B", static_cast<double>(kept.bytes) / kDuplicates,
               1024);
}

}  // namespace

int wmain() {
    try {
        MeasureGrowth("detection of ", Detect, {1'000, 10'000, 100'000}, 21);
        MeasureGrowth("batch of ", RepairAll, {100, 300, 1'000}, 21);
        MeasureMemory();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
