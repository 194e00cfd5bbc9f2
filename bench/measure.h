#pragma once

#include <functional>
#include <string>
#include <vector>

// The one table that all measuring programs add their rows to: lines on standard output, cells between tabs.

/// Adds a program's rows: each defines its own, the main function is shared and shows what it throws.
void Measure();

using Action = std::function<void()>;

double Median(const std::vector<double>& values);
double Milliseconds(const Action& action);

/// What two sides that were measured in turn have given, in whatever unit the row has.
struct Comparison {
    std::vector<double> ours, bare;

    double Ratio() const { return Median(ours) / Median(bare); }
    /// Of the ratios of single rounds: half the distance of their quartiles.
    double Spread() const;
};

/// Takes one value of either side to warm up, then `rounds` of them in turn.
Comparison Compare(int rounds, const std::function<double()>& ours, const std::function<double()>& bare);

/// The same for the milliseconds of two actions, each done `repeats` times for one value. `prepare` comes
/// before every value and does not count.
Comparison CompareTimes(
    int rounds, int repeats, const Action& ours, const Action& bare, const Action& prepare = [] {});

/// Rows of the table: the ratio of two times, one value. A limit is the most that is allowed; a row without
/// one only informs.
void PrintRatio(const std::string& row, const Comparison& times, double limit = 0);
void PrintValue(const std::string& row, double value, const char* unit, double limit = 0);

/// What operator new hands out during an action; it is counted in every measuring program.
struct Allocations {
    double calls = 0;
    double bytes = 0;
};
Allocations AllocationsOf(const Action& action);

/// What this process alone has written to, in kilobytes: Wine's host tells it by the number from bench.sh.
double PrivateKilobytes();
