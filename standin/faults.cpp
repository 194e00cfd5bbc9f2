#include "faults.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>
#include <tuple>

#include "values.h"

namespace standin {
namespace {

using std::chrono::milliseconds;

constexpr std::string_view kPoints[] = {"connect", "statement", "commit",    "rollback",
                                        "manual",  "auto",      "disconnect"};
constexpr std::string_view kStatementPoints[] = {"prepare", "bind", "execute", "fetch"};

enum class Kind { kFail, kDie, kSlow, kRefuse, kSilent };
constexpr std::pair<std::string_view, Kind> kKinds[] = {
    {"die", Kind::kDie}, {"slow", Kind::kSlow}, {"refuse", Kind::kRefuse}, {"silent", Kind::kSilent}};

struct Fault {
    Kind kind = Kind::kFail;
    std::string point;
    std::string piece;  // of the statement; in every one when it is empty
    int calls = 0;      // so far, of those that it is about
    int first = 1;
    int last = 1;
    milliseconds sleep{};
    std::vector<DiagRecord> records;
};

/// Of a file's contents: seconds and nanoseconds of the last change, size, inode.
using Stamp = std::tuple<std::int64_t, std::int64_t, std::int64_t, ino_t>;

struct Plan {
    Stamp stamp{};
    std::vector<Fault> faults;
    milliseconds second{1000};
    std::string badLine;
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
    for (const auto& [word, kind] : kKinds) {
        if (fault.point != word) continue;
        fault.kind = kind;
        fault.point = next();
        break;
    }
    const bool hasStatement = std::ranges::count(kStatementPoints, fault.point) > 0;
    std::string range = next();
    if (hasStatement && range.size() > 2 && range.starts_with('\'') && range.ends_with('\'')) {
        fault.piece = range.substr(1, range.size() - 2);
        range = next();
    }
    if (range == "*") range = "1+";
    const bool open = range.ends_with('+');
    if (open) range.pop_back();
    fault.first = ReadNumber(range);
    fault.last = open ? std::numeric_limits<int>::max() : fault.first;
    if ((!hasStatement && std::ranges::count(kPoints, fault.point) == 0) || fault.first < 1) return false;
    if (fault.kind == Kind::kRefuse || fault.kind == Kind::kSilent)
        return fault.point == "connect" && isEnd();
    if (fault.kind == Kind::kSlow) {
        fault.sleep = milliseconds(ReadNumber(next()));
        return fault.sleep.count() >= 0 && isEnd();
    }
    if (fault.kind == Kind::kDie && isEnd()) {
        fault.records = {MakeRecord(kReset), MakeRecord(kLost)};
        return true;
    }
    for (bool first = true; first || !isEnd(); first = false) {
        DiagRecord record{next(), 0, {}, true};
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
        constexpr std::string_view kSecond = "second\t";
        if (line.starts_with(kSecond)) {
            plan.second = milliseconds(ReadNumber(std::string_view(line).substr(kSecond.size())));
            if (plan.second.count() < 0) plan.badLine = line;
        } else if (ReadFault(line, fault)) {
            plan.faults.push_back(std::move(fault));
        } else if (!line.empty()) {
            plan.badLine = line;
        }
    }
    return plan;
}

/// The part of the plan that this call meets; the lock is not held while it is carried out.
Plan MeetFaults(const std::string& serverDirectory, const std::string& point, const std::string& statement) {
    static std::mutex mutex;
    static std::map<std::string, Plan> plans;
    const std::lock_guard lock(mutex);
    const std::string path = serverDirectory + "/faults.txt";
    Plan& plan = plans[serverDirectory];
    if (const Stamp stamp = StampOf(path); stamp != plan.stamp) plan = ReadPlan(path, stamp);
    if (!plan.badLine.empty()) Fail(kFaultLine, plan.badLine);
    Plan met;
    met.second = plan.second;
    for (Fault& fault : plan.faults) {
        if (fault.point != point || statement.find(fault.piece) == statement.npos) continue;
        if (++fault.calls >= fault.first && fault.calls <= fault.last) met.faults.push_back(fault);
    }
    return met;
}

/// The counts and the file that shows them. It goes with the process; a process that is killed leaves it.
struct LiveCounts {
    ~LiveCounts() {
        unlink(path.c_str());
        close(file);
    }

    const char* const root = std::getenv("SQLSTANDIN_ROOT");
    const std::string path = root ? std::string(root) + "/handles-" + std::to_string(getpid()) + ".txt" : "";
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    std::mutex mutex;
    int counts[4] = {};
};

}  // namespace

Greeting CountCall(const std::string& serverDirectory, const std::string& point, const std::string& statement,
                   unsigned loginTimeout) {
    const Plan met = MeetFaults(serverDirectory, point, statement);
    constexpr milliseconds kNoEnd(std::numeric_limits<int>::max());
    milliseconds patience = loginTimeout == 0 ? kNoEnd : loginTimeout * met.second;
    const auto giveUp = [&](Greeting greeting) {
        std::this_thread::sleep_for(patience);
        return greeting;
    };
    for (const Fault& fault : met.faults) {
        if (fault.kind == Kind::kRefuse) return giveUp(Greeting::kRefuses);
        if (fault.kind == Kind::kSilent || fault.sleep > patience) return giveUp(Greeting::kIsSilent);
        std::this_thread::sleep_for(fault.sleep);
        patience -= fault.sleep;
        if (fault.kind == Kind::kDie) throw ConnectionDied(fault.records);
        if (fault.kind == Kind::kFail) throw SqlError(fault.records);
    }
    const bool listens = point != "connect" || std::filesystem::exists(serverDirectory + "/server.conf");
    return listens ? Greeting::kAnswers : giveUp(Greeting::kRefuses);
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

void CountLive(Live what, int by) {
    static LiveCounts all;
    const std::lock_guard lock(all.mutex);
    all.counts[static_cast<int>(what)] += by;
    char text[64];
    const int size = std::snprintf(text, sizeof text, "%8d %8d %8d %8d\n", all.counts[0], all.counts[1],
                                   all.counts[2], all.counts[3]);
    if (pwrite(all.file, text, static_cast<std::size_t>(size), 0) < 0) std::perror("handles");
}

}  // namespace standin
