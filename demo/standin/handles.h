#pragma once

#include <memory>
#include <string>
#include <vector>

#include "errors.h"
#include "faults.h"
#include "session.h"

namespace standin {

enum class HandleKind { kEnvironment, kConnection, kStatement };

/// What every handle has: its diagnostic records, and its place in the count of live handles. The counts of a
/// process (environments, connections, statements) lie in the file "handles-<pid>.txt" under SQLSTANDIN_ROOT,
/// so that a test can watch another process.
class Handle {
public:
    explicit Handle(HandleKind kind);
    virtual ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HandleKind Kind() const { return kind_; }
    const std::vector<DiagRecord>& Records() const { return records_; }
    void ClearRecords() { records_.clear(); }
    void Add(const DiagRecord& record);                       // puts the driver's prefix in front of its text
    void AddInFront(const std::vector<DiagRecord>& records);  // of the warnings that are there already
    virtual const std::string& DriverName() const;

    /// The handle goes, but its owner never freed it: it stays in the count, so that the leak shows.
    void StayCounted() { staysCounted_ = true; }

private:
    HandleKind kind_;
    bool staysCounted_ = false;
    std::vector<DiagRecord> records_;
};

class Environment : public Handle {
public:
    Environment() : Handle(HandleKind::kEnvironment) {}
};

class Statement;

class Connection : public Handle {
public:
    Connection();
    ~Connection() override;

    const std::string& DriverName() const override { return login_.driver; }

    void Connect(std::string_view connectionString);
    void Disconnect();
    bool IsConnected() const { return session_ != nullptr || dead_; }
    bool IsDead() const { return dead_; }
    bool IsManual() const { return session_ != nullptr && session_->IsManual(); }

    void SetManual(bool manual);
    void EndTransaction(bool commit);

    /// The session. @throws SqlError 08S01 when the connection is dead, 08003 when there is none.
    Session& Open();

    /// Counts a call that a test may make fail; a fault of the kind "die" takes the connection down.
    void Count(Point point);
    void Note(const char* event, const std::string& text = {}) { Trace(directory_, number_, event, text); }

    Statement* NewStatement();
    void FreeStatement(const Statement* statement);

    /// One result at a time: while rows of one statement are unread, no other statement can run.
    void Claim(const Statement* statement);
    void Release(const Statement* statement);

private:
    void CloseCursors();
    void Die();

    Login login_;
    std::string directory_;
    std::unique_ptr<Session> session_;
    std::vector<std::unique_ptr<Statement>> statements_;
    const Statement* busy_ = nullptr;
    bool dead_ = false;
    int number_ = 0;
};

}  // namespace standin
