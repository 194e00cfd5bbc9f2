#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

// The one table that all measuring programs add their rows to: lines on standard output, cells between tabs.

/// Adds a program's rows. Every program defines its own; the main function is shared. An exception ends the
/// program with its text on the error output.
void Measure();

/// Takes one measurement and gives its value, in whatever unit the row has.
using Measurement = std::function<double()>;

double Median(const std::vector<double>& values);

/// Two sides that are measured in turn.
class Comparison {
public:
    void Take(const Measurement& ours, const Measurement& bare);

    /// Medians, and what they tell.
    double Ours() const { return Median(ours_); }
    double Bare() const { return Median(bare_); }
    double Ratio() const { return Ours() / Bare(); }
    double Difference() const { return Ours() - Bare(); }
    /// Of the ratios of single rounds: half the distance of their quartiles.
    double Spread() const;

private:
    std::vector<double> ours_, bare_;
};

/// Runs both sides once to warm up, then `rounds` times in turn.
Comparison Compare(int rounds, const Measurement& ours, const Measurement& bare);

/// The milliseconds that an action takes.
double Milliseconds(const std::function<void()>& action);

/// Rows of the table: the ratio of two times, the difference of two sizes in KB, one value. A limit is the
/// most that is allowed; a row without one only informs.
void PrintRatio(const std::string& row, const Comparison& times, double limit = 0);
void PrintDifference(const std::string& row, const Comparison& sizes, double limit);
void PrintValue(const std::string& row, double value, const char* unit, double limit = 0);

/// What operator new hands out during an action, counted in every measuring program.
struct Allocations {
    size_t calls = 0;
    size_t bytes = 0;
};
Allocations AllocationsOf(const std::function<void()>& action);

/// The path of a file that the build has made, from the folder of the measuring programs.
std::wstring Built(const wchar_t* relativePath);

/// The private memory of the one process of this environment that runs `program` (a file name), in kilobytes:
/// what it alone has written to. Wine does not tell, its host does.
/// @throws std::runtime_error when there is no such process.
double PrivateKilobytes(const std::string& program);
