#pragma once

#include <sql.h>
#include <sqlext.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "errors.h"
#include "faults.h"
#include "server.h"

namespace standin {

/// What every handle has: its diagnostic records, its place in the count, and the name of the driver that the
/// caller asked for. An environment has nothing else.
class Handle {
public:
    explicit Handle(Live kind, std::string driver = "ODBC Driver 18 for SQL Server")
        : driver_(std::move(driver)), kind_(kind) {
        CountLive(kind, 1);
    }
    virtual ~Handle() {
        if (!staysCounted_) CountLive(kind_, -1);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    const std::vector<DiagRecord>& Records() const { return records_; }
    void ClearRecords() { records_.clear(); }
    void Warn(const Error& error, std::string_view part = {}) { records_.push_back(MakeRecord(error, part)); }
    void AddInFront(const std::vector<DiagRecord>& all) {
        records_.insert(records_.begin(), all.begin(), all.end());
    }

    /// A record's text behind the prefix, which names the driver and tells whether the server speaks.
    std::string Told(const DiagRecord& record) const;
    const std::string& Driver() const { return driver_; }

    virtual void Free() { delete this; }

    /// The handle goes, but its owner never freed it: it stays in the count, so that the leak shows.
    void StayCounted() { staysCounted_ = true; }

protected:
    std::string driver_;

private:
    Live kind_;
    bool staysCounted_ = false;
    std::vector<DiagRecord> records_;
};

class Statement;

class Connection : public Handle {
public:
    Connection();
    ~Connection() override;

    /// Seconds; 0 for no end. Set before connecting.
    void SetLoginTimeout(unsigned seconds) { loginTimeout_ = seconds; }
    void Connect(const std::string& connectionString);
    void Disconnect();  // @throws SqlError 25000 while a transaction is open
    bool IsDead() const { return dead_; }
    bool IsManual() const { return session_ ? session_->IsManual() : lostInTransaction_; }

    /// On a lost connection automatic commit cannot be switched on, but the transaction is given up.
    void SetManual(bool manual);

    /// In automatic mode there is none to end, on a lost connection as well.
    void EndTransaction(const char* how);  // "commit" or "rollback"

    /// The session. @throws SqlError 08S01 when the connection is dead, 08003 when there is none.
    Session& Open();

    /// Counts a call that a test may make fail; a fault of the kind "die" takes the connection down.
    void Count(const char* point, const std::string& statement = {});
    void Note(const char* event, const std::string& text = {}) { Trace(directory_, number_, event, text); }

    Statement* NewStatement();
    void FreeStatement(const Statement* statement);

    /// One result at a time: while rows of one are unread, no other can run. @throws SqlError HY000.
    void Claim(const Statement* statement);
    void Release(const Statement* statement) { busy_ = busy_ == statement ? nullptr : busy_; }

private:
    void CloseCursors();
    void BeginChange(const char* event, const std::string& text = {});

    std::string directory_;
    std::unique_ptr<Session> session_;
    std::vector<std::unique_ptr<Statement>> statements_;
    const Statement* busy_ = nullptr;
    unsigned loginTimeout_ = 15;
    bool dead_ = false;
    bool lostInTransaction_ = false;  // which counts as open until automatic commit is asked for
    int number_ = 0;                  // in the trace
};

/// A parameter as SQLBindParameter describes it: UTF-16 text.
struct ParameterBinding {
    SQLULEN size = 0;  // of the column, in characters; 0 for any
    const SQLWCHAR* value = nullptr;
    const SQLLEN* indicator = nullptr;
};

/// A column as SQLBindCol describes it: UTF-16 text or a 64-bit number.
struct ColumnBinding {
    SQLSMALLINT cType = SQL_C_WCHAR;
    SQLPOINTER value = nullptr;
    SQLLEN bytes = 0;
    SQLLEN* indicator = nullptr;
};

/// A batch and its current result. Its statements run one after the other up to the first one with rows;
/// MoreResults goes on behind it.
class Statement : public Handle {
public:
    explicit Statement(Connection& connection)
        : Handle(Live::kStatement, connection.Driver()), connection_(connection) {}
    ~Statement() override { Close(); }

    void Count(const char* point) { connection_.Count(point, text_); }
    void Free() override { connection_.FreeStatement(this); }

    /// Takes a batch, which nobody reads before it is executed.
    void Prepare(const std::string& sql);
    void SetText(const std::string& sql) { text_ = sql; }

    /// Runs the batch. @return SQL_SUCCESS, or SQL_NO_DATA when the last change met no row.
    SQLRETURN Execute();
    SQLRETURN MoreResults();
    SQLRETURN Fetch();

    void Bind(SQLUSMALLINT number, const ParameterBinding& binding) { parameters_[number] = binding; }
    void Bind(SQLUSMALLINT number, const ColumnBinding& binding) { columns_[number] = binding; }

    void Close();  // the result, keeping the prepared text
    int ColumnCount() const { return sqlite3_column_count(cursor_.get()); }

private:
    SQLRETURN Run();
    bool RunOne(const Tokens& tokens);
    SqliteStmt Compile(const std::string& sql);

    Connection& connection_;
    std::string text_;
    std::vector<Tokens> batch_;
    std::size_t next_ = 0;  // in the batch
    SqliteStmt cursor_;
    bool hasFirst_ = false;  // its first row has come with the execution
    bool atEnd_ = false;     // of its rows
    std::map<SQLUSMALLINT, ParameterBinding> parameters_;
    std::map<SQLUSMALLINT, ColumnBinding> columns_;
};

/// Text from the caller; the length counts characters or is SQL_NTS.
std::string ReadWide(const SQLWCHAR* text, SQLLEN length);

/// Writes text with its terminator. @param room  in characters, the terminator included
/// @return true when all of it fitted, or no text was wanted
bool WriteWide(std::u16string_view text, SQLPOINTER buffer, SQLLEN room) noexcept;

}  // namespace standin
