#include "faults.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>
#include <tuple>

#include "values.h"

namespace standin {
namespace {

constexpr std::string_view kPoints[] = {"connect", "statement", "prepare", "bind", "execute",   "fetch",
                                        "commit",  "rollback",  "manual",  "auto", "disconnect"};

struct Fault {
    std::string point;
    int first = 1;
    int last = 1;
    bool fails = false, dies = false;
    int sleep = 0;  // milliseconds
    std::vector<DiagRecord> records;
};

/// Of a file's contents: seconds and nanoseconds of the last change, size, inode.
using Stamp = std::tuple<std::int64_t, std::int64_t, std::int64_t, ino_t>;

struct Plan {
    Stamp stamp{};
    std::vector<Fault> faults;
    std::string badLine;
    std::map<std::string, int> calls;  // by their points
};

Stamp StampOf(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) return {};
    return {info.st_mtim.tv_sec, info.st_mtim.tv_nsec, info.st_size, info.st_ino};
}

/// A number that is not negative, or -1.
int ReadNumber(std::string_view text) {
    std::int64_t value = 0;
    return ReadInteger(text, value) == Reading::kNumber && value >= 0 ? static_cast<int>(value) : -1;
}

/// Reads one line of faults.txt. @return false where it cannot be read.
bool ReadFault(const std::string& line, Fault& fault) {
    std::istringstream fields(line);
    const auto isEnd = [&] { return fields.peek() == std::istringstream::traits_type::eof(); };
    const auto next = [&] {
        std::string field;
        std::getline(fields, field, '\t');
        return field;
    };
    fault.point = next();
    const bool slow = fault.point == "slow";
    fault.dies = fault.point == "die";
    fault.fails = !slow;
    if (slow || fault.dies) fault.point = next();
    std::string range = next();
    if (range == "*") range = "1+";
    const bool open = range.ends_with('+');
    if (open) range.pop_back();
    fault.first = ReadNumber(range);
    fault.last = open ? std::numeric_limits<int>::max() : fault.first;
    if (std::ranges::count(kPoints, fault.point) == 0 || fault.first < 1 || isEnd()) return false;
    if (slow) {
        fault.sleep = ReadNumber(next());
        return fault.sleep >= 0 && isEnd();
    }
    for (bool first = true; first || !isEnd(); first = false) {
        DiagRecord record{next(), 0, {}};
        if (first && record.state == "-") return isEnd();
        record.native = ReadNumber(next());
        record.text = next();
        if (record.state.size() != 5 || record.native < 0) return false;
        fault.records.push_back(std::move(record));
    }
    return true;
}

Plan ReadPlan(const std::string& path, const Stamp& stamp) {
    Plan plan;
    plan.stamp = stamp;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r')) line.pop_back();
        Fault fault;
        if (ReadFault(line, fault)) {
            plan.faults.push_back(std::move(fault));
        } else if (!line.empty()) {
            plan.badLine = line;
        }
    }
    return plan;
}

/// The faults that this call meets; the lock is not held while they are carried out.
std::vector<Fault> MeetFaults(const std::string& serverDirectory, const std::string& point) {
    static std::mutex mutex;
    static std::map<std::string, Plan> plans;
    const std::lock_guard lock(mutex);
    const std::string path = serverDirectory + "/faults.txt";
    Plan& plan = plans[serverDirectory];
    if (const Stamp stamp = StampOf(path); stamp != plan.stamp) plan = ReadPlan(path, stamp);
    if (!plan.badLine.empty()) Fail(kFaultLine, plan.badLine);
    const int call = ++plan.calls[point];
    std::vector<Fault> met;
    for (const Fault& fault : plan.faults) {
        if (fault.point == point && call >= fault.first && call <= fault.last) met.push_back(fault);
    }
    return met;
}

}  // namespace

void CountCall(const std::string& serverDirectory, const std::string& point) {
    const std::vector<Fault> faults = MeetFaults(serverDirectory, point);
    for (const Fault& fault : faults) {
        std::this_thread::sleep_for(std::chrono::milliseconds(fault.sleep));
        if (fault.dies) throw ConnectionDied(fault.records);
        if (fault.fails) throw SqlError(fault.records);
    }
}

void Trace(const std::string& serverDirectory, int connection, const char* event, const std::string& text) {
    const int file = open((serverDirectory + "/trace.txt").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (file < 0) return;
    std::string line = std::to_string(getpid()) + "\t" + std::to_string(connection) + "\t" + event + "\t";
    for (const char c : text) line += c == '\n' ? "\\n" : c == '\r' ? "\\r" : std::string(1, c);
    line += "\n";
    if (write(file, line.data(), line.size()) < 0) std::perror("trace.txt");  // a trace is no reason to fail
    close(file);
}

}  // namespace standin
