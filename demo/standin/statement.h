#pragma once

#include <sql.h>
#include <sqlext.h>

#include <map>
#include <string>
#include <vector>

#include "handles.h"
#include "translator.h"
#include "tsql_ast.h"

namespace standin {

struct ParameterBinding {
    SQLSMALLINT cType = 0;
    SQLSMALLINT sqlType = 0;
    SQLULEN size = 0;
    SQLPOINTER value = nullptr;
    SQLLEN bytes = 0;
    SQLLEN* indicator = nullptr;
};

/// Where a result column goes, on every fetch or on one SQLGetData.
struct ColumnTarget {
    SQLSMALLINT cType = 0;
    SQLPOINTER value = nullptr;
    SQLLEN bytes = 0;
    SQLLEN* indicator = nullptr;
};

/// A batch and its current result. Statements of a batch run one after the other up to the first one with
/// rows; MoreResults goes on behind it. What is not a query adds no result of its own (as under NOCOUNT):
/// the row count is that of the last one that ran.
class StatementHandle : public Handle {
public:
    explicit StatementHandle(Connection& connection)
        : Handle(HandleKind::kStatement), connection_(connection) {}
    ~StatementHandle() override { Close(); }

    const std::string& DriverName() const override { return connection_.DriverName(); }
    Connection& Owner() { return connection_; }

    void Prepare(const std::string& sql);
    SQLRETURN Execute();
    SQLRETURN MoreResults();
    SQLRETURN Fetch();
    SQLRETURN GetData(std::size_t column, const ColumnTarget& target);

    void Close();   // the cursor, keeping the prepared text
    void Forget();  // also what SQLite has compiled
    bool HasCursor() const { return open_; }
    bool IsPrepared() const { return prepared_; }
    const std::string& Text() const { return text_; }
    SQLLEN RowCount() const { return rowCount_; }
    int ParameterCount() const { return batch_.parameters; }
    const std::vector<ResultColumn>& Columns();  // of the result, or of the prepared query

    std::map<SQLUSMALLINT, ParameterBinding> parameters;
    std::map<SQLUSMALLINT, ColumnTarget> targets;
    std::map<SQLINTEGER, SQLULEN> attributes;
    int descriptors[4] = {};  // stand for the implicit descriptors, which nobody looks into

private:
    struct Runner;
    SQLRETURN Run();
    std::vector<Type> ParameterTypes() const;
    void BindParameters();
    void Compile(const std::string& sql);
    void OpenCursor(const SelectStatement& select);
    void RunChange(const std::string& sql);
    void RunCommand(const Command& command);
    void RunDatabaseCommand(const Command& command);
    bool TestCondition(const Expr& condition);
    void RunOne(const Statement& statement);

    Connection& connection_;
    std::string text_;
    Batch batch_;
    std::size_t next_ = 0;
    bool prepared_ = false;
    bool open_ = false;
    bool atEnd_ = false;
    bool onRow_ = false;
    bool changed_ = false;  // the last statement was an INSERT, UPDATE or DELETE
    SQLLEN rowCount_ = -1;
    std::string compiledText_;
    SqliteStmt compiled_;
    std::vector<ResultColumn> columns_;
    std::map<std::size_t, std::size_t> readOffsets_;  // of columns read piece by piece
};

/// Reads a bound parameter. @throws SqlError 22001 for text longer than its declared size, HY004 for C types
/// outside the supported ones.
Cell ReadParameter(const ParameterBinding& binding);
Type TypeOfParameter(const ParameterBinding& binding);

/// Writes a value to the caller; `offset` counts the units of text already handed over.
/// @return SQL_SUCCESS, SQL_SUCCESS_WITH_INFO with 01004, SQL_NO_DATA when all text has been read.
SQLRETURN WriteValue(Handle& handle, const Cell& cell, const Type& type, const ColumnTarget& target,
                     std::size_t& offset);

}  // namespace standin
