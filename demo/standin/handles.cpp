#include "handles.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

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

void Handle::AddInFront(const std::vector<DiagRecord>& records) {
    records_.insert(records_.begin(), records.begin(), records.end());
}

Connection::Connection() : Handle(HandleKind::kConnection) {}
Connection::~Connection() = default;

void Connection::Connect(std::string_view connectionString) {
    static std::atomic<int> connections = 0;
    const Login login = ReadConnectionString(connectionString);
    directory_ = FindServer(login.server);
    number_ = ++connections;
    Note("attempt", login.driver + " " + login.timeoutSeconds);
    CountCall(directory_, Point::kConnect);
    session_ = std::make_unique<Session>(directory_, login);
    dead_ = false;
    Note("connect", login.database);
    Warn(kContextChanged, session_->Names().Current());
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
    if (dead_) Fail(kDead);
    if (!session_) Fail(kNotConnected);
    return *session_;
}

void Connection::Count(Point point) {
    Open();
    try {
        CountCall(directory_, point);
    } catch (const ConnectionDied&) {
        CloseCursors();
        session_.reset();
        dead_ = true;
        throw;
    }
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
    Open().End(commit ? "COMMIT" : "ROLLBACK");
}

Statement* Connection::NewStatement() {
    Count(Point::kStatement);
    return statements_.emplace_back(std::make_unique<Statement>(*this)).get();
}

void Connection::FreeStatement(const Statement* statement) {
    std::erase_if(statements_, [&](const auto& owned) { return owned.get() == statement; });
}

void Connection::Claim(const Statement* statement) {
    if (busy_ != nullptr && busy_ != statement) Fail(kBusy);
    busy_ = statement;
}

void Connection::Release(const Statement* statement) {
    if (busy_ == statement) busy_ = nullptr;
}

}  // namespace standin
