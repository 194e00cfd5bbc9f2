// How the tool's own share of a repair grows: the same work on an ODBC that costs next to nothing.

#include <cmath>

#include "measure.h"
#include "repair_work.h"

extern int nullDuplicates;  // of null_odbc.cpp, where this program's ODBC calls end

namespace {

OdbcSession Connect(const std::wstring& database) {
    OdbcSession session;
    session.Connect({L"server", 1433, L"user", L"password", database, {}});
    return session;
}

DuplicateRoles Detect() {
    return FindDuplicateRoles(Connect(L"master").Connection(), L"GameZone1", L"GameZone2");
}

void MeasureGrowth(const std::string& what, const Action& action, const std::vector<int>& sizes) {
    constexpr int kRounds = 21;
    std::vector<std::vector<double>> times(sizes.size());
    // All sizes in every round: the machine's own speed changes in the course of minutes.
    for (int round = 0; round < kRounds; ++round) {
        for (size_t i = 0; i < sizes.size(); ++i) {
            nullDuplicates = sizes[i];
            times[i].push_back(Milliseconds(action));
        }
    }
    for (size_t i = 0; i < sizes.size(); ++i)
        PrintValue(
            "own share of " + what + " of " + std::to_string(sizes[i]) + ", on an ODBC that costs nothing",
            Median(times[i]), "ms");
    nullDuplicates = sizes.front();
    PrintValue("  allocations per ID", AllocationsOf(action).calls / sizes.front(), "");
    const double growth = Median(times.back()) / Median(times.front());
    PrintValue("  exponent of its growth",
               std::log(growth) / std::log(static_cast<double>(sizes.back()) / sizes.front()), "", 1.1);
}

void MeasureMemory() {
    nullDuplicates = 10'000;
    const DuplicateRoles found = Detect();
    // A copy holds exactly what the list of the window holds at the end.
    const Allocations kept = AllocationsOf([&] { const DuplicateRoles copy(found); });
    PrintValue("held for one listed duplicate: blocks", kept.calls / nullDuplicates, "");
    PrintValue("held for one listed duplicate: bytes", kept.bytes / nullDuplicates, "B", 1024);
}

}  // namespace

void Measure() {
    MeasureGrowth("detection", Detect, {1'000, 10'000, 100'000});
    MeasureGrowth("batch", [] { PlanAndRepair(Connect, L"GameZone1", L"GameZone2"); }, {100, 300, 1'000});
    MeasureMemory();
}
