#include "faults.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>
#include <tuple>

namespace standin {
namespace {

constexpr std::string_view kPointNames[] = {"connect", "statement", "prepare", "bind", "execute",   "fetch",
                                            "commit",  "rollback",  "manual",  "auto", "disconnect"};
static_assert(std::size(kPointNames) == static_cast<std::size_t>(Point::kDisconnect) + 1);

struct Fault {
    Point point = Point::kConnect;
    int first = 1;
    int last = 1;
    bool dies = false;
    int sleep = -1;  // milliseconds; negative for a fault that fails
    std::vector<DiagRecord> records;
};

/// Of a file's contents: seconds and nanoseconds of the last change, size, inode.
using Stamp = std::tuple<std::int64_t, std::int64_t, std::int64_t, ino_t>;

struct Plan {
    Stamp stamp{};
    std::vector<Fault> faults;
    std::string badLine;
    std::array<int, std::size(kPointNames)> calls{};
};

Stamp StampOf(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) return {};
    return {info.st_mtim.tv_sec, info.st_mtim.tv_nsec, info.st_size, info.st_ino};
}

/// One line of faults.txt, field by field. Every Read tells whether the line is still good.
class LineReader {
public:
    explicit LineReader(const std::string& line) {
        std::istringstream stream(line);
        for (std::string field; std::getline(stream, field, '\t');) fields_.push_back(field);
    }

    bool Read(Fault& fault) {
        const bool slow = TakeIf("slow");
        fault.dies = !slow && TakeIf("die");
        const auto* name = std::find(std::begin(kPointNames), std::end(kPointNames), Take());
        if (name == std::end(kPointNames)) return false;
        fault.point = static_cast<Point>(name - std::begin(kPointNames));
        if (!ReadRange(fault)) return false;
        if (slow) return ReadNumber(Take(), fault.sleep) && fault.sleep >= 0 && AtEnd();
        return TakeIf("-") ? AtEnd() : ReadRecords(fault);
    }

private:
    bool AtEnd() const { return at_ >= fields_.size(); }
    std::string Take() { return AtEnd() ? "" : fields_[at_++]; }
    bool TakeIf(std::string_view field) {
        const bool is = !AtEnd() && fields_[at_] == field;
        if (is) ++at_;
        return is;
    }

    static bool ReadNumber(std::string_view text, int& value) {
        const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
        return result.ec == std::errc() && result.ptr == text.data() + text.size();
    }

    bool ReadRange(Fault& fault) {
        constexpr int kForEver = 1 << 30;
        std::string text = Take();
        if (text == "*") text = "1+";
        const bool open = text.ends_with('+');
        if (open) text.pop_back();
        if (!ReadNumber(text, fault.first) || fault.first < 1) return false;
        fault.last = open ? kForEver : fault.first;
        return true;
    }

    bool ReadRecords(Fault& fault) {
        do {
            DiagRecord record;
            record.state = Take();
            if (record.state.size() != 5 || !ReadNumber(Take(), record.native)) return false;
            record.text = Take();
            fault.records.push_back(std::move(record));
        } while (!AtEnd());
        return true;
    }

    std::vector<std::string> fields_;
    std::size_t at_ = 0;
};

Plan ReadPlan(const std::string& path, const Stamp& stamp) {
    Plan plan;
    plan.stamp = stamp;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r')) line.pop_back();
        Fault fault;
        if (LineReader(line).Read(fault)) {
            plan.faults.push_back(std::move(fault));
        } else if (!line.empty()) {
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
    if (!plan.badLine.empty()) Fail(Err::kFaultLine, plan.badLine);
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
        if (c == '\n' || c == '\r') {
            line += c == '\n' ? "\\n" : "\\r";
        } else {
            line += c;
        }
    }
    line += "\n";
    if (write(file, line.data(), line.size()) < 0) std::perror("trace.txt");  // a trace is no reason to fail
    close(file);
}

}  // namespace standin
