#include "statement.h"

#include "commands.h"
#include "rewrite.h"

namespace standin {

void Statement::Prepare(const std::string& sql) {
    Close();
    prepared_ = false;
    connection_.Open();
    text_ = sql;
    batch_ = SplitStatements(sql);
    prepared_ = true;
}

SQLRETURN Statement::Execute() {
    if (!prepared_) Fail(Err::kSequence);
    Close();
    connection_.Note("execute", text_);
    std::string hints;
    for (const Tokens& tokens : batch_) hints += (hints.empty() ? "" : ",") + HintsOf(tokens);
    if (!hints.empty()) connection_.Note("hints", hints);
    connection_.Open();
    connection_.Claim(this);
    next_ = 0;
    return Run();
}

SQLRETURN Statement::Run() {
    rowCount_ = -1;
    try {
        while (next_ < batch_.size() && !open_) RunOne(batch_[next_++]);
    } catch (const SqlError&) {
        Close();
        throw;
    }
    if (!open_) connection_.Release(this);
    return rowCount_ == 0 ? SQL_NO_DATA : SQL_SUCCESS;
}

SQLRETURN Statement::MoreResults() {
    const std::size_t next = next_;
    Close();
    next_ = next;
    if (next_ >= batch_.size()) return SQL_NO_DATA;
    connection_.Claim(this);
    Run();
    return SQL_SUCCESS;
}

void Statement::Close() {
    if (compiled_) sqlite3_reset(compiled_.get());
    connection_.Release(this);
    next_ = batch_.size();
    open_ = atEnd_ = false;
}

void Statement::Forget() {
    Close();
    compiled_.reset();
    compiledText_.clear();
}

void Statement::RunOne(const Tokens& tokens) {
    Session& session = connection_.Open();
    TokenReader in(tokens);
    Rewriter rewriter(session, in);
    if (in.TakeIf("IF")) {
        Compile(rewriter.Test());
        session.Db().Step(compiled_.get());
        const bool holds = sqlite3_column_int(compiled_.get(), 0) != 0;
        sqlite3_reset(compiled_.get());
        if (!holds) return;
    }
    const bool reads = in.Is("SELECT");
    if (reads || in.Is("INSERT") || in.Is("UPDATE") || in.Is("DELETE")) {
        session.EnterStatement();
        const std::string sql = reads             ? rewriter.Select()
                                : in.Is("INSERT") ? rewriter.Insert()
                                : in.Is("UPDATE") ? rewriter.Update()
                                                  : rewriter.Delete();
        in.ExpectEnd();
        if (!reads) return RunChange(sql);
        Compile(sql);
        rowCount_ = -1;
        open_ = true;
    } else {
        RunCommand(session, in);
    }
}

void Statement::Compile(const std::string& sql) {
    if (compiled_ && compiledText_ == sql) {
        sqlite3_reset(compiled_.get());
    } else {
        compiled_ = connection_.Open().Db().Prepare(sql);
        compiledText_ = sql;
    }
    for (int i = 1; i <= sqlite3_bind_parameter_count(compiled_.get()); ++i) {
        const auto found = parameters_.find(static_cast<SQLUSMALLINT>(i));
        if (found == parameters_.end()) Fail(Err::kParameterMissing);
        BindCell(compiled_.get(), i, ReadParameter(found->second));
    }
}

void Statement::RunChange(const std::string& sql) {
    Sqlite& db = connection_.Open().Db();
    ChangeScope scope(db);
    Compile(sql);
    db.Step(compiled_.get());
    rowCount_ = static_cast<SQLLEN>(db.Changes());
    sqlite3_reset(compiled_.get());
    scope.Done();
}

SQLSMALLINT Statement::ColumnCount() const {
    return open_ ? static_cast<SQLSMALLINT>(sqlite3_column_count(compiled_.get())) : SQLSMALLINT{0};
}

SQLRETURN Statement::Fetch() {
    if (!open_) Fail(Err::kCursor);
    Sqlite& db = connection_.Open().Db();
    bool onRow = false;
    try {
        onRow = !atEnd_ && db.Step(compiled_.get());
    } catch (const SqlError&) {
        atEnd_ = true;  // the server sends nothing behind an error
        sqlite3_reset(compiled_.get());
        throw;
    }
    if (!onRow) {
        atEnd_ = true;
        sqlite3_reset(compiled_.get());
        if (next_ >= batch_.size()) connection_.Release(this);
        return SQL_NO_DATA;
    }
    SQLRETURN result = SQL_SUCCESS;
    for (const auto& [number, binding] : columns_) {
        if (number == 0 || number > ColumnCount()) Fail(Err::kColumnNumber);
        const Cell cell = ColumnCell(compiled_.get(), number - 1);
        if (WriteValue(*this, cell, binding) != SQL_SUCCESS) result = SQL_SUCCESS_WITH_INFO;
    }
    return result;
}

}  // namespace standin
