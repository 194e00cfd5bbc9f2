#include "handles.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "text.h"

namespace standin {
namespace {

constexpr SQLLEN kUnit = sizeof(char16_t);

/// A parameter's text; nothing for NULL. @throws SqlError 22001 for a text longer than its column.
std::optional<std::string> ReadParameter(const ParameterBinding& binding) {
    const SQLLEN bytes = binding.indicator == nullptr ? SQL_NTS : *binding.indicator;
    if (bytes == SQL_NULL_DATA || binding.value == nullptr) return std::nullopt;
    std::string text = ReadWide(binding.value, bytes == SQL_NTS ? bytes : bytes / kUnit);
    if (binding.size > 0 && TextLength(text, true) > binding.size) Fail(kParameterLength);
    return text;
}

/// Writes a value of a row to the caller. @return false for a text that was cut.
bool WriteCell(const Cell& cell, const ColumnBinding& binding) {
    SQLLEN length = SQL_NULL_DATA;
    bool fits = true;
    if (std::holds_alternative<std::monostate>(cell)) {
        if (binding.indicator == nullptr) Fail(kIndicator);
    } else if (binding.cType == SQL_C_SBIGINT) {
        std::int64_t number = 0;
        const Reading reading = ReadInteger(Render(cell), number);
        if (reading != Reading::kNumber) Fail(reading == Reading::kTooLarge ? kNumberRange : kNotANumber);
        std::memcpy(binding.value, &number, sizeof number);
        length = sizeof number;
    } else {
        const std::u16string text = ToUtf16(Render(cell));
        fits = WriteWide(text, binding.value, binding.bytes / kUnit);
        length = static_cast<SQLLEN>(text.size()) * kUnit;
    }
    if (binding.indicator != nullptr) *binding.indicator = length;
    return fits;
}

}  // namespace

std::string Handle::Told(const DiagRecord& record) const {
    if (record.asWritten) return record.text;
    const bool fromServer = record.native != 0 && !record.state.starts_with("08");
    return "[Microsoft][" + driver_ + (fromServer ? "][SQL Server]" : "]") + record.text;
}

Connection::Connection() : Handle(Live::kConnection) {}
Connection::~Connection() = default;

void Connection::Connect(const std::string& connectionString) {
    static std::atomic<int> connections = 0;
    const Login login = ReadConnectionString(connectionString);
    if (!login.driver.empty()) driver_ = login.driver;
    if (login.hasUnknownKeyword) Warn(kUnknownKeyword);
    directory_ = FindServer(login.server);
    number_ = ++connections;
    Note("attempt", Driver() + " " + std::to_string(loginTimeout_));
    const Greeting greeting = CountCall(directory_, "connect", {}, loginTimeout_);
    if (greeting != Greeting::kAnswers) {
        const bool silent = greeting == Greeting::kIsSilent;
        Warn(silent ? kNoPrelogin : kNotFound, login.server);
        throw SqlError({MakeRecord(silent ? kSilent : kRefused), MakeRecord(kLoginTimeout)});
    }
    session_ = std::make_unique<Session>(directory_, login);
    CountLive(Live::kOpenConnection, 1);
    Note("connect", login.database);
    AddInFront({MakeRecord(kContextChanged, session_->Current())});
}

void Connection::Disconnect() {
    if (!dead_) Count("disconnect");
    Note("disconnect", std::to_string(statements_.size()));
    if (lostInTransaction_ || (!dead_ && Open().Db().InTransaction())) Fail(kTransactionOpen);
    for (const auto& statement : statements_) statement->StayCounted();
    statements_.clear();
    session_.reset();
    dead_ = false;
    CountLive(Live::kOpenConnection, -1);
}

Session& Connection::Open() {
    if (dead_) Fail(kDead);
    if (!session_) Fail(kNotConnected);
    return *session_;
}

void Connection::Count(const char* point, const std::string& statement) {
    Open();
    try {
        CountCall(directory_, point, statement);
    } catch (const ConnectionDied&) {
        CloseCursors();
        lostInTransaction_ = session_->IsManual();
        session_.reset();
        dead_ = true;
        throw;
    }
}

void Connection::CloseCursors() {
    for (const auto& statement : statements_) statement->Close();
}

/// What every change of the transaction begins with.
void Connection::BeginChange(const char* event, const std::string& text) {
    Count(event);
    Note(event, text);
    CloseCursors();
}

void Connection::SetManual(bool manual) {
    if (dead_ && !manual && !lostInTransaction_) return;
    try {
        BeginChange(manual ? "manual" : "auto", manual ? Open().Current() : "");
    } catch (const SqlError&) {
        if (!manual) lostInTransaction_ = false;
        throw;
    }
    Open().SetManual(manual);
}

void Connection::EndTransaction(const char* how) {
    if (dead_ && !lostInTransaction_) return;
    BeginChange(how);
    Open().End(how);
}

Statement* Connection::NewStatement() {
    Count("statement");
    return statements_.emplace_back(std::make_unique<Statement>(*this)).get();
}

void Connection::FreeStatement(const Statement* statement) {
    std::erase_if(statements_, [&](const auto& owned) { return owned.get() == statement; });
}

void Connection::Claim(const Statement* statement) {
    if (busy_ != nullptr && busy_ != statement) Fail(kBusy);
    busy_ = statement;
}

std::string ReadWide(const SQLWCHAR* text, SQLLEN length) {
    if (text == nullptr) return {};
    const auto* units = reinterpret_cast<const char16_t*>(text);
    return ToUtf8(length == SQL_NTS ? std::u16string_view(units)
                                    : std::u16string_view(units, static_cast<std::size_t>(length)));
}

bool WriteWide(std::u16string_view text, SQLPOINTER buffer, SQLLEN room) noexcept {
    if (buffer == nullptr) return true;
    if (room <= 0) return false;
    const std::size_t count = std::min(text.size(), static_cast<std::size_t>(room) - 1);
    auto* units = static_cast<char16_t*>(buffer);
    std::copy_n(text.data(), count, units);
    units[count] = u'\0';
    return count == text.size();
}

void Statement::Prepare(const std::string& sql) {
    connection_.Count("prepare", sql);
    connection_.Note("prepare", sql);
    Close();
    text_ = sql;
}

SQLRETURN Statement::Execute() {
    Count("execute");
    connection_.Note("execute", text_);
    Close();
    connection_.Claim(this);
    next_ = 0;
    return Run();
}

SQLRETURN Statement::MoreResults() {
    const std::size_t next = next_;
    Close();
    if (next >= batch_.size()) return SQL_NO_DATA;
    next_ = next;
    connection_.Claim(this);
    Run();
    return SQL_SUCCESS;
}

/// Runs the batch from its next statement up to one with rows.
SQLRETURN Statement::Run() {
    bool changed = true;
    try {
        if (next_ == 0) {
            batch_ = SplitStatements(text_);
            SQLUSMALLINT count = 0;
            const auto isMissing = [&](const Token& t) {
                return t.key == "?" && !parameters_.contains(++count);
            };
            for (const Tokens& tokens : batch_) {
                if (std::ranges::any_of(tokens, isMissing)) Fail(kParameters);
            }
        }
        while (next_ < batch_.size() && !cursor_) changed = RunOne(batch_[next_++]);
    } catch (const SqlError&) {
        Close();
        throw;
    }
    if (!cursor_) connection_.Release(this);
    return changed ? SQL_SUCCESS : SQL_NO_DATA;
}

void Statement::Close() {
    cursor_.reset();
    hasFirst_ = atEnd_ = false;
    next_ = batch_.size();
    connection_.Release(this);
}

/// @return false for a change that met no row.
bool Statement::RunOne(const Tokens& tokens) {
    Session& session = connection_.Open();
    Sqlite& db = session.Db();
    TokenReader in(tokens);
    if (in.TakeIf("IF")) {
        const SqliteStmt test = Compile(RewriteTest(session, in));
        db.Step(test.get());
        if (sqlite3_column_int(test.get(), 0) == 0) return true;
    }
    const bool reads = in.Is("SELECT");
    if (!reads && !in.Is("INSERT") && !in.Is("UPDATE") && !in.Is("DELETE")) {
        RunCommand(session, in);
        return true;
    }
    const Rewritten rewritten = RewriteStatement(session, in);
    if (!rewritten.hints.empty()) connection_.Note("hints", rewritten.hints);
    session.EnterStatement();
    int changes = 1;
    if (reads) {
        cursor_ = Compile(rewritten.sql);
        hasFirst_ = db.Step(cursor_.get());
        atEnd_ = !hasFirst_;
    } else {
        db.RunAtomically([&] {
            db.Step(Compile(rewritten.sql).get());
            changes = db.Changes();
        });
    }
    return changes > 0;
}

SqliteStmt Statement::Compile(const std::string& sql) {
    SqliteStmt stmt = connection_.Open().Db().Prepare(sql);
    for (int i = 1; i <= sqlite3_bind_parameter_count(stmt.get()); ++i) {
        const auto text = ReadParameter(parameters_.at(static_cast<SQLUSMALLINT>(i)));
        if (text) BindText(stmt.get(), i, *text);
    }
    return stmt;
}

SQLRETURN Statement::Fetch() {
    try {
        Count("fetch");
        if (!cursor_) Fail(kCursor);
        const bool isThere = std::exchange(hasFirst_, false);
        if (!atEnd_ && !isThere) atEnd_ = !connection_.Open().Db().Step(cursor_.get());
    } catch (const SqlError&) {
        sqlite3_reset(cursor_.get());  // the server sends nothing behind an error
        atEnd_ = true;
        next_ = batch_.size();
        throw;
    }
    if (atEnd_) {
        if (next_ >= batch_.size()) connection_.Release(this);
        return SQL_NO_DATA;
    }
    bool fits = true;
    for (const auto& [number, binding] : columns_) {
        if (number == 0 || number > ColumnCount()) Fail(kColumnNumber);
        if (WriteCell(ColumnCell(cursor_.get(), number - 1), binding)) continue;
        Warn(kTruncated);
        fits = false;
    }
    return fits ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO;
}

}  // namespace standin
