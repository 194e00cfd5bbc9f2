#include "bench/measure.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

double Quantile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    const double place = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<size_t>(place);
    const size_t above = std::min(below + 1, values.size() - 1);
    return std::lerp(values[below], values[above], place - static_cast<double>(below));
}

std::string Cell(double value, const char* unit) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f %s", std::abs(value) < 10 ? 2 : 1, value, unit);
    return text;
}

void PrintRow(const std::string& row, const std::string& cells, double value, double limit) {
    std::printf("%s\t%s\t", row.c_str(), cells.c_str());
    if (limit > 0) {
        std::printf("%g\t%s\n", limit, value <= limit ? "yes" : "NO");
    } else {
        std::printf("-\t\n");
    }
    std::fflush(stdout);
}

std::string HostFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

void Comparison::Take(const Measurement& ours, const Measurement& bare) {
    ours_.push_back(ours());
    bare_.push_back(bare());
}

double Comparison::Spread() const {
    std::vector<double> ratios;
    for (size_t i = 0; i < ours_.size(); ++i) ratios.push_back(ours_[i] / bare_[i]);
    return (Quantile(ratios, 0.75) - Quantile(ratios, 0.25)) / 2;
}

double Median(const std::vector<double>& values) {
    return Quantile(values, 0.5);
}

Comparison Compare(int rounds, const Measurement& ours, const Measurement& bare) {
    ours();
    bare();
    Comparison comparison;
    for (int round = 0; round < rounds; ++round) comparison.Take(ours, bare);
    return comparison;
}

double Milliseconds(const std::function<void()>& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void PrintRatio(const std::string& row, const Comparison& times, double limit) {
    char ratio[64];
    std::snprintf(ratio, sizeof ratio, "%.3f x +-%.3f", times.Ratio(), times.Spread());
    PrintRow(row, Cell(times.Ours(), "ms\t") + Cell(times.Bare(), "ms\t") + ratio, times.Ratio(), limit);
}

void PrintDifference(const std::string& row, const Comparison& sizes, double limit) {
    PrintRow(row,
             Cell(sizes.Ours(), "KB\t") + Cell(sizes.Bare(), "KB\t") + Cell(sizes.Difference(), "KB more"),
             sizes.Difference(), limit);
}

void PrintValue(const std::string& row, double value, const char* unit, double limit) {
    PrintRow(row, Cell(value, unit) + "\t-\t-", value, limit);
}

std::wstring Built(const wchar_t* relativePath) {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return (std::filesystem::path(path).parent_path() / relativePath).wstring();
}

double PrivateKilobytes(const std::string& program) {
    for (const auto& entry : std::filesystem::directory_iterator(L"Z:\\proc")) {
        const std::filesystem::path process = entry.path();
        if (!iswdigit(process.filename().wstring().front())) continue;
        if (HostFile(process / "comm") != program.substr(0, 15) + "\n") continue;
        if (HostFile(process / "environ").find("/wine/bench/prefix") == std::string::npos) continue;
        const std::string totals = HostFile(process / "smaps_rollup");
        const std::string line = "Private_Dirty:";
        return std::stod(totals.substr(totals.find(line) + line.size()));
    }
    throw std::runtime_error("the host does not know " + program);
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
