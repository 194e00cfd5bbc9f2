#pragma once

#include <map>
#include <string>
#include <vector>

#include "buffers.h"
#include "handles.h"
#include "tokens.h"

namespace standin {

/// A batch and its current result. Statements of a batch run one after the other up to the first one with
/// rows; MoreResults goes on behind it. What is not a query adds no result of its own (as under NOCOUNT): the
/// row count is that of the last one that ran.
class Statement : public Handle {
public:
    explicit Statement(Connection& connection) : Handle(HandleKind::kStatement), connection_(connection) {}
    ~Statement() override { Close(); }

    const std::string& DriverName() const override { return connection_.DriverName(); }
    Connection& Owner() { return connection_; }

    void Prepare(const std::string& sql);

    /// Runs the prepared batch. @return SQL_SUCCESS, or SQL_NO_DATA when the last change met no row.
    SQLRETURN Execute();
    SQLRETURN MoreResults();
    SQLRETURN Fetch();

    void BindParameter(SQLUSMALLINT number, const ParameterBinding& binding) {
        parameters_[number] = binding;
    }
    void BindColumn(SQLUSMALLINT number, const ColumnBinding& binding) { columns_[number] = binding; }
    void UnbindColumn(SQLUSMALLINT number) { columns_.erase(number); }

    void Close();   // the cursor, keeping the prepared text
    void Forget();  // also what SQLite has compiled
    SQLSMALLINT ColumnCount() const;
    SQLLEN RowCount() const { return rowCount_; }

private:
    SQLRETURN Run();
    void RunOne(const Tokens& tokens);
    void RunChange(const std::string& sql);
    void Compile(const std::string& sql);

    Connection& connection_;
    std::string text_;
    std::vector<Tokens> batch_;
    std::size_t next_ = 0;  // in the batch
    bool prepared_ = false;
    bool open_ = false;   // has a cursor
    bool atEnd_ = false;  // of its rows
    SQLLEN rowCount_ = -1;
    std::string compiledText_;
    SqliteStmt compiled_;
    std::map<SQLUSMALLINT, ParameterBinding> parameters_;
    std::map<SQLUSMALLINT, ColumnBinding> columns_;
};

}  // namespace standin
