#include "bench/table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

double Quantile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    const double place = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<size_t>(place);
    const size_t above = std::min(below + 1, values.size() - 1);
    return std::lerp(values[below], values[above], place - static_cast<double>(below));
}

const char* Verdict(double value, double target) noexcept {
    if (target <= 0) return "";
    return value <= target ? "yes" : "NO";
}

void PrintText(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::putchar('\t');
}

void PrintNumber(double value, std::string_view unit) {
    std::printf("%.*f %.*s\t", std::abs(value) < 10 ? 2 : 1, value, static_cast<int>(unit.size()),
                unit.data());
}

void PrintTarget(double value, double target, std::string_view unit) {
    if (target > 0) {
        std::printf("%g%.*s\t%s\n", target, static_cast<int>(unit.size()), unit.data(),
                    Verdict(value, target));
    } else {
        std::printf("-\t\n");
    }
    std::fflush(stdout);
}

}  // namespace

void Samples::Take(const Measurement& ours, const Measurement& bare) {
    ours_.push_back(ours());
    bare_.push_back(bare());
}

Comparison Samples::Medians() const {
    std::vector<double> ratios;
    for (size_t i = 0; i < ours_.size(); ++i) ratios.push_back(ours_[i] / bare_[i]);
    return {Quantile(ours_, 0.5), Quantile(bare_, 0.5),
            (Quantile(ratios, 0.75) - Quantile(ratios, 0.25)) / 2};
}

Comparison Compare(int rounds, const Measurement& ours, const Measurement& bare) {
    Samples samples;
    ours();
    bare();
    for (int round = 0; round < rounds; ++round) samples.Take(ours, bare);
    return samples.Medians();
}

void PrintRatio(std::string_view row, std::string_view unit, const Comparison& comparison, double target) {
    PrintText(row);
    PrintNumber(comparison.ours, unit);
    PrintNumber(comparison.bare, unit);
    std::printf("%.3f x +-%.3f\t", comparison.Ratio(), comparison.spread);
    PrintTarget(comparison.Ratio(), target, " x");
}

void PrintDifference(std::string_view row, std::string_view unit, const Comparison& comparison,
                     double target) {
    PrintText(row);
    PrintNumber(comparison.ours, unit);
    PrintNumber(comparison.bare, unit);
    PrintNumber(comparison.Difference(), "more");
    PrintTarget(comparison.Difference(), target, "");
}

void PrintValue(std::string_view row, std::string_view unit, double value, double target) {
    PrintText(row);
    PrintNumber(value, unit);
    std::printf("-\t-\t");
    PrintTarget(value, target, "");
}

double Exponent(const std::vector<GrowthPoint>& points) noexcept {
    double x = 0, y = 0, xx = 0, xy = 0;
    for (const GrowthPoint& point : points) {
        const double size = std::log(point.size), value = std::log(point.value);
        x += size;
        y += value;
        xx += size * size;
        xy += size * value;
    }
    const auto count = static_cast<double>(points.size());
    return (count * xy - x * y) / (count * xx - x * x);
}
