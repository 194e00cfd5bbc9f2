#include "handles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "statement.h"

namespace standin {
namespace {

/// The counts and the file that shows them. It goes with the process; a process that is killed leaves it.
class HandleCounts {
public:
    ~HandleCounts() {
        if (file_ < 0) return;
        unlink(path_.c_str());
        close(file_);
    }

    void Change(HandleKind kind, int by) {
        const std::lock_guard lock(mutex_);
        counts_[static_cast<std::size_t>(kind)] += by;
        Open();
        if (file_ < 0) return;
        char text[48];
        const int size =
            std::snprintf(text, sizeof text, "%8d %8d %8d\n", counts_[0], counts_[1], counts_[2]);
        if (pwrite(file_, text, static_cast<std::size_t>(size), 0) < 0) std::perror(path_.c_str());
    }

private:
    void Open() {
        const char* root = std::getenv("SQLSTANDIN_ROOT");
        if (file_ >= 0 || root == nullptr) return;
        path_ = std::string(root) + "/handles-" + std::to_string(getpid()) + ".txt";
        file_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    }

    std::mutex mutex_;
    std::array<int, 3> counts_{};
    std::string path_;
    int file_ = -1;
};

HandleCounts& Counts() {
    static HandleCounts counts;
    return counts;
}

}  // namespace

Handle::Handle(HandleKind kind) : kind_(kind) {
    Counts().Change(kind, 1);
}
Handle::~Handle() {
    if (!staysCounted_) Counts().Change(kind_, -1);
}

const std::string& Handle::DriverName() const {
    static const std::string name = "ODBC Driver for SQL Server";
    return name;
}

void Handle::Add(const DiagRecord& record) {
    DiagRecord shown = record;
    if (record.origin != Origin::kVerbatim) {
        const char* server = record.origin == Origin::kServer ? "[SQL Server]" : "";
        shown.text = "[Microsoft][" + DriverName() + "]" + server + record.text;
    }
    records_.push_back(std::move(shown));
}

void Handle::AddInFront(const std::vector<DiagRecord>& records) {
    const auto warnings = static_cast<std::ptrdiff_t>(records_.size());
    for (const DiagRecord& record : records) Add(record);
    std::rotate(records_.begin(), records_.begin() + warnings, records_.end());
}

Connection::Connection() : Handle(HandleKind::kConnection) {}
Connection::~Connection() = default;

void Connection::Connect(std::string_view connectionString) {
    static std::atomic<int> connections = 0;
    std::vector<DiagRecord> warnings;
    login_ = ReadConnectionString(connectionString, warnings);
    directory_ = FindServer(login_.server);
    number_ = ++connections;
    Note("attempt", login_.driver + " " + login_.timeoutSeconds);
    CountCall(directory_, Point::kConnect);
    session_ = std::make_unique<Session>(directory_, login_);
    dead_ = false;
    Note("connect", login_.database);
    Add(MakeRecord(Err::kContextChanged, session_->Names().Current()));
    for (const DiagRecord& warning : warnings) Add(warning);
}

void Connection::Disconnect() {
    if (!dead_) Count(Point::kDisconnect);
    Note("disconnect", std::to_string(statements_.size()));
    for (const auto& statement : statements_) statement->StayCounted();
    statements_.clear();
    session_.reset();
    dead_ = false;
}

Session& Connection::Open() {
    if (dead_) Fail(Err::kDead);
    if (!session_) Fail(Err::kNotConnected);
    return *session_;
}

void Connection::Count(Point point) {
    Open();
    try {
        CountCall(directory_, point);
    } catch (const ConnectionDied&) {
        Die();
        throw;
    }
}

void Connection::Die() {
    for (const auto& statement : statements_) statement->Forget();
    session_.reset();
    dead_ = true;
}

void Connection::CloseCursors() {
    for (const auto& statement : statements_) statement->Close();
}

void Connection::SetManual(bool manual) {
    Count(manual ? Point::kManual : Point::kAuto);
    Note(manual ? "manual" : "auto");
    CloseCursors();
    Open().SetManual(manual);
}

void Connection::EndTransaction(bool commit) {
    Count(commit ? Point::kCommit : Point::kRollback);
    Note(commit ? "commit" : "rollback");
    CloseCursors();
    if (commit) {
        Open().Commit();
    } else {
        Open().Rollback();
    }
}

Statement* Connection::NewStatement() {
    Count(Point::kStatement);
    return statements_.emplace_back(std::make_unique<Statement>(*this)).get();
}

void Connection::FreeStatement(const Statement* statement) {
    std::erase_if(statements_, [&](const auto& owned) { return owned.get() == statement; });
}

void Connection::Claim(const Statement* statement) {
    if (busy_ != nullptr && busy_ != statement) Fail(Err::kBusy);
    busy_ = statement;
}

void Connection::Release(const Statement* statement) {
    if (busy_ == statement) busy_ = nullptr;
}

}  // namespace standin
