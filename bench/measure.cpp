#include "measure.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>

namespace {

double Quantile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    const double place = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<size_t>(place);
    const size_t above = std::min(below + 1, values.size() - 1);
    return std::lerp(values[below], values[above], place - static_cast<double>(below));
}

std::string Number(double value, const char* unit) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f %s", std::abs(value) < 10 ? 2 : 1, value, unit);
    return text;
}

void PrintRow(const std::string& cells, double value, double limit) {
    if (limit > 0)
        std::printf("%s\t%g\t%s\n", cells.c_str(), limit, value <= limit ? "yes" : "NO");
    else
        std::printf("%s\t-\t\n", cells.c_str());
    std::fflush(stdout);
}

Allocations allocations;

}  // namespace

void* operator new(std::size_t size) {
    ++allocations.calls;
    allocations.bytes += static_cast<double>(size);
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

Allocations AllocationsOf(const Action& action) {
    const Allocations before = allocations;
    action();
    return {allocations.calls - before.calls, allocations.bytes - before.bytes};
}

double Median(const std::vector<double>& values) {
    return Quantile(values, 0.5);
}

double Milliseconds(const Action& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double Comparison::Spread() const {
    std::vector<double> ratios;
    for (size_t i = 0; i < ours.size(); ++i) ratios.push_back(ours[i] / bare[i]);
    return (Quantile(ratios, 0.75) - Quantile(ratios, 0.25)) / 2;
}

Comparison Compare(int rounds, const std::function<double()>& ours, const std::function<double()>& bare) {
    Comparison comparison;
    for (int round = -1; round < rounds; ++round) {
        const double ourValue = ours(), bareValue = bare();
        if (round < 0) continue;
        comparison.ours.push_back(ourValue);
        comparison.bare.push_back(bareValue);
    }
    return comparison;
}

Comparison CompareTimes(int rounds, int repeats, const Action& ours, const Action& bare,
                        const Action& prepare) {
    const auto timeOf = [&](const Action& action) {
        prepare();
        return Milliseconds([&] {
                   for (int i = 0; i < repeats; ++i) action();
               }) /
               repeats;
    };
    return Compare(
        rounds, [&] { return timeOf(ours); }, [&] { return timeOf(bare); });
}

void PrintRatio(const std::string& row, const Comparison& times, double limit) {
    char ratio[64];
    std::snprintf(ratio, sizeof ratio, "\t%.3f x +-%.3f", times.Ratio(), times.Spread());
    PrintRow(row + "\t" + Number(Median(times.ours), "ms\t") + Number(Median(times.bare), "ms") + ratio,
             times.Ratio(), limit);
}

void PrintValue(const std::string& row, double value, const char* unit, double limit) {
    PrintRow(row + "\t" + Number(value, unit) + "\t-\t-", value, limit);
}

double PrivateKilobytes() {
    std::ifstream totals("Z:\\proc\\" + std::string(std::getenv("BENCH_PROCESS")) + "\\smaps_rollup");
    std::string word;
    while (totals >> word && word != "Private_Dirty:") continue;
    double kilobytes = 0;
    if (!(totals >> kilobytes)) throw std::runtime_error("the host does not tell the memory");
    return kilobytes;
}

int wmain() {
    try {
        Measure();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
