#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "error.h"
#include "faults.h"
#include "server.h"

namespace standin {

enum class HandleKind { kEnvironment, kConnection, kStatement };

/// How many handles of a kind this process holds. The counts also lie in the file "handles-<pid>.txt" under
/// SQLSTANDIN_ROOT, so that a test can watch another process.
int CountHandles(HandleKind kind);

/// What every handle has: its diagnostic records, and its place in the count.
class Handle {
public:
    explicit Handle(HandleKind kind);
    virtual ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HandleKind Kind() const { return kind_; }
    const std::vector<DiagRecord>& Records() const { return records_; }
    void ClearRecords() { records_.clear(); }
    void Add(const DiagRecord& record);  // puts the driver's prefix in front
    void Add(const SqlError& error);     // errors go before the warnings that are there already
    void Warn(const char* state, std::string text) { Add({state, 0, std::move(text), Origin::kDriver}); }
    virtual const std::string& DriverName() const;

private:
    HandleKind kind_;
    std::vector<DiagRecord> records_;
};

class Environment : public Handle {
public:
    Environment() : Handle(HandleKind::kEnvironment) {}
};

class StatementHandle;

class Connection : public Handle {
public:
    Connection() : Handle(HandleKind::kConnection) {}
    ~Connection() override;

    const std::string& DriverName() const override { return login_.driver; }
    const Login& Account() const { return login_; }

    void Connect(std::string_view connectionString);
    void Disconnect();
    bool IsConnected() const { return session_ != nullptr || dead_; }
    bool IsDead() const { return dead_; }
    bool IsManual() const { return manual_; }

    void SetManual(bool manual);
    void EndTransaction(bool commit);

    /// The session. @throws SqlError 08S01 when the connection is dead, 08003 when there is none.
    Session& Open();
    Session* SessionOrNull() { return session_.get(); }

    /// Counts a call that a test may make fail; a fault of the kind "die" takes the connection down.
    void Count(Point point);
    void Note(const char* event, const std::string& text = {}) { Trace(directory_, number_, event, text); }

    StatementHandle* NewStatement();
    void FreeStatement(StatementHandle* statement);

    /// One result at a time: while rows of one statement are unread, no other statement can run.
    void Claim(StatementHandle* statement);
    void Release(const StatementHandle* statement);

private:
    void CloseCursors();
    void Die();

    Login login_;
    std::string directory_;
    std::unique_ptr<Session> session_;
    std::vector<std::unique_ptr<StatementHandle>> statements_;
    StatementHandle* busy_ = nullptr;
    bool manual_ = false;
    bool dead_ = false;
    int number_ = 0;
};

}  // namespace standin
