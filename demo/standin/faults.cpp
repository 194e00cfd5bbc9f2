#include "faults.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <sstream>
#include <thread>
#include <tuple>

namespace standin {
namespace {

constexpr const char* kPointNames[] = {"connect", "statement", "prepare", "bind", "execute",   "fetch",
                                       "commit",  "rollback",  "manual",  "auto", "disconnect"};

struct Fault {
    Point point = Point::kConnect;
    int first = 1;
    int last = 1;
    bool dies = false;
    int sleep = -1;  // milliseconds; negative for a fault that fails
    std::vector<DiagRecord> records;
};

struct Stamp {
    std::int64_t seconds = 0, nanoseconds = 0, size = -1;
    ino_t inode = 0;
    bool operator==(const Stamp&) const = default;
};

struct Plan {
    Stamp stamp;
    std::vector<Fault> faults;
    std::string badLine;
    std::array<int, std::size(kPointNames)> calls{};
};

Stamp StampOf(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) return {};
    return {info.st_mtim.tv_sec, info.st_mtim.tv_nsec, info.st_size, info.st_ino};
}

std::vector<std::string> Fields(const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, '\t');) fields.push_back(field);
    return fields;
}

bool ReadNumber(std::string_view text, int& value) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

bool ReadRange(std::string text, Fault& fault) {
    constexpr int kForEver = 1 << 30;
    if (text == "*") return fault.last = kForEver, true;
    const bool open = !text.empty() && text.back() == '+';
    if (open) text.pop_back();
    if (!ReadNumber(text, fault.first) || fault.first < 1) return false;
    fault.last = open ? kForEver : fault.first;
    return true;
}

bool ReadRecords(const std::vector<std::string>& fields, std::size_t at, Fault& fault) {
    if (at < fields.size() && fields[at] == "-") return at + 1 == fields.size();
    for (; at < fields.size(); at += 3) {
        DiagRecord record{fields[at], 0, "", Origin::kVerbatim};
        if (at + 1 >= fields.size() || record.state.size() != 5 ||
            !ReadNumber(fields[at + 1], record.native)) {
            return false;
        }
        if (at + 2 < fields.size()) record.text = fields[at + 2];
        fault.records.push_back(std::move(record));
    }
    return !fault.records.empty();
}

std::optional<Fault> ReadFault(const std::vector<std::string>& fields) {
    Fault fault;
    const bool slow = fields[0] == "slow";
    fault.dies = fields[0] == "die";
    const std::size_t at = slow || fault.dies ? 1 : 0;
    if (fields.size() < at + 3 || !ReadRange(fields[at + 1], fault)) return std::nullopt;
    const auto* name = std::find(std::begin(kPointNames), std::end(kPointNames), fields[at]);
    if (name == std::end(kPointNames)) return std::nullopt;
    fault.point = static_cast<Point>(name - std::begin(kPointNames));
    const bool good = slow ? fields.size() == 4 && ReadNumber(fields[3], fault.sleep) && fault.sleep >= 0
                           : ReadRecords(fields, at + 2, fault);
    return good ? std::optional(std::move(fault)) : std::nullopt;
}

Plan ReadPlan(const std::string& path, const Stamp& stamp) {
    Plan plan;
    plan.stamp = stamp;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) continue;
        if (auto fault = ReadFault(Fields(line))) {
            plan.faults.push_back(std::move(*fault));
        } else {
            plan.badLine = line;
        }
    }
    return plan;
}

/// The faults that this call meets; the lock is not held while they are carried out.
std::vector<Fault> MeetFaults(const std::string& serverDirectory, Point point) {
    static std::mutex mutex;
    static std::map<std::string, Plan> plans;
    const std::lock_guard lock(mutex);
    const std::string path = serverDirectory + "/faults.txt";
    Plan& plan = plans[serverDirectory];
    if (const Stamp stamp = StampOf(path); stamp != plan.stamp) plan = ReadPlan(path, stamp);
    if (!plan.badLine.empty()) {
        FailInDriver("HY000", "faults.txt holds a line that cannot be read: " + plan.badLine);
    }
    const int call = ++plan.calls[static_cast<std::size_t>(point)];
    std::vector<Fault> met;
    for (const Fault& fault : plan.faults) {
        if (fault.point == point && call >= fault.first && call <= fault.last) met.push_back(fault);
    }
    return met;
}

}  // namespace

void CountCall(const std::string& serverDirectory, Point point) {
    const std::vector<Fault> faults = MeetFaults(serverDirectory, point);
    for (const Fault& fault : faults) {
        if (fault.sleep >= 0) std::this_thread::sleep_for(std::chrono::milliseconds(fault.sleep));
    }
    for (const Fault& fault : faults) {
        if (fault.sleep >= 0) continue;
        if (fault.dies) throw ConnectionDied(fault.records);
        throw SqlError(fault.records);
    }
}

void Trace(const std::string& serverDirectory, int connection, const char* event, const std::string& text) {
    const int file = open((serverDirectory + "/trace.txt").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (file < 0) return;
    std::string line = std::to_string(getpid()) + "\t" + std::to_string(connection) + "\t" + event + "\t";
    for (const char c : text) {
        if (c == '\n') {
            line += "\\n";
        } else if (c == '\r') {
            line += "\\r";
        } else {
            line += c;
        }
    }
    line += "\n";
    if (write(file, line.data(), line.size()) < 0) std::perror("trace.txt");  // a trace is no reason to fail
    close(file);
}

}  // namespace standin
