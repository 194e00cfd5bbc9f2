// How the tool's own share of a repair grows: the same work on an ODBC that costs next to nothing.

#include <cmath>

#include "bench/measure.h"
#include "bench/null_odbc.h"
#include "bench/repair_work.h"

namespace {

const std::wstring kA = L"GameZone1", kB = L"GameZone2";

OdbcSession Connect(const std::wstring& database) {
    OdbcSession session;
    session.Connect({L"server", 1433, L"user", L"password", database, {}});
    return session;
}

void Detect() {
    FindDuplicateRoles(Connect(L"master").Connection(), kA, kB);
}

void RepairAll() {
    PlanAndRepair(Connect, kA, kB);
}

// Of a power law, by least squares over the logarithms.
double Exponent(const std::vector<int>& sizes, const std::vector<double>& times) {
    double x = 0, y = 0, xx = 0, xy = 0;
    for (size_t i = 0; i < sizes.size(); ++i) {
        const double size = std::log(sizes[i]), time = std::log(times[i]);
        x += size;
        y += time;
        xx += size * size;
        xy += size * time;
    }
    const auto count = static_cast<double>(sizes.size());
    return (count * xy - x * y) / (count * xx - x * x);
}

void MeasureGrowth(const std::string& what, const std::function<void()>& action,
                   const std::vector<int>& sizes) {
    constexpr int kRounds = 21;
    std::vector<std::vector<double>> rounds(sizes.size());
    // All sizes in every round: the machine's own speed changes in the course of minutes.
    for (int round = 0; round < kRounds; ++round) {
        for (size_t i = 0; i < sizes.size(); ++i) {
            nullDuplicates = sizes[i];
            rounds[i].push_back(Milliseconds(action));
        }
    }
    std::vector<double> times;
    for (size_t i = 0; i < sizes.size(); ++i) {
        times.push_back(Median(rounds[i]));
        PrintValue(
            "own share of " + what + " of " + std::to_string(sizes[i]) + ", on an ODBC that costs nothing",
            times.back(), "ms");
    }
    nullDuplicates = sizes.front();
    PrintValue("  allocations per ID", static_cast<double>(AllocationsOf(action).calls) / sizes.front(), "");
    PrintValue("  exponent of its growth", Exponent(sizes, times), "", 1.1);
}

void MeasureMemory() {
    constexpr int kDuplicates = 10'000;
    nullDuplicates = kDuplicates;
    const DuplicateRoles found = FindDuplicateRoles(Connect(L"master").Connection(), kA, kB);
    // A copy holds exactly what the list of the window holds at the end.
    const Allocations kept = AllocationsOf([&] { const DuplicateRoles copy(found); });
    PrintValue("held for one listed duplicate: blocks", static_cast<double>(kept.calls) / kDuplicates, "");
    PrintValue("held for one listed duplicate: bytes", static_cast<double>(kept.bytes) / kDuplicates, "B",
               1024);
}

}  // namespace

void Measure() {
    MeasureGrowth("detection", Detect, {1'000, 10'000, 100'000});
    MeasureGrowth("batch", RepairAll, {100, 300, 1'000});
    MeasureMemory();
}
