#pragma once

#include <chrono>
#include <functional>
#include <string_view>
#include <vector>

// The one table that all measuring programs add their rows to: lines on standard output, cells between tabs.

/// Takes one measurement and gives its value, in whatever unit the row has.
using Measurement = std::function<double()>;

/// What two sides measured in turn have given: medians, and the medians' ratio.
struct Comparison {
    double ours = 0;
    double bare = 0;
    double spread = 0;  // of the ratios of single rounds: half the distance of their quartiles

    double Ratio() const noexcept { return ours / bare; }
    double Difference() const noexcept { return ours - bare; }
};

/// What both sides have given so far.
class Samples {
public:
    void Take(const Measurement& ours, const Measurement& bare);
    Comparison Medians() const;

private:
    std::vector<double> ours_;
    std::vector<double> bare_;
};

/// Runs both sides once to warm up, then `rounds` times in turn.
Comparison Compare(int rounds, const Measurement& ours, const Measurement& bare);

/// The milliseconds that an action takes.
template <class Action>
double Milliseconds(const Action& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

/// Rows of the table. A target is the most that is allowed; a row without one only informs.
void PrintRatio(std::string_view row, std::string_view unit, const Comparison& comparison, double target = 0);
void PrintDifference(std::string_view row, std::string_view unit, const Comparison& comparison,
                     double target);
void PrintValue(std::string_view row, std::string_view unit, double value, double target = 0);

/// The exponent of a power law through the points, by least squares over the logarithms.
struct GrowthPoint {
    double size;
    double value;
};
double Exponent(const std::vector<GrowthPoint>& points) noexcept;
