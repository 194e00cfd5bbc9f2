#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "types.h"

namespace standin {

enum class ExprKind {
    kNull,
    kString,
    kUnicodeString,
    kNumber,
    kColumn,
    kParameter,
    kNegate,
    kArithmetic,
    kCollate,
    kCase,
    kSimpleCase,
    kCast,
    kCall,
    kCountAll,
    // Conditions, which T-SQL keeps apart from values:
    kAnd,
    kOr,
    kNot,
    kCompare,
    kIsNull,
    kIn,
    kLike,
};

struct Expr;
using ExprPtr = std::unique_ptr<Expr>;
using Name = std::vector<std::string>;  // the parts of a dotted name; an empty part was left out ("db..t")

struct Expr {
    ExprKind kind = ExprKind::kNull;
    std::string text;  // literal, operator, function or collation name
    Name name;         // of a column
    std::vector<ExprPtr>
        args;   // of a CASE: when, then, when, then, ..., else (may be null), operand first if simple
    Type type;  // the target of a CAST
    bool negated = false;  // NOT IN, NOT LIKE, IS NOT NULL
    int parameter = 0;     // counted from 1

    bool IsCondition() const { return kind >= ExprKind::kAnd; }
};

struct SelectItem {
    ExprPtr expr;  // null for *
    std::string alias;
    std::string starOf;  // the "a" of "a.*"
};

struct TableRef {
    Name name;
    std::vector<std::vector<ExprPtr>> rows;  // of a VALUES table, which has no name
    std::vector<std::string> rowColumns;
    std::string alias;
    std::string join;  // "JOIN", "LEFT JOIN" or "CROSS JOIN"; empty for the first
    ExprPtr on;
};

struct OrderItem {
    ExprPtr expr;
    bool descending = false;
};

struct SelectStatement {
    bool distinct = false;
    std::optional<std::int64_t> top;
    std::vector<SelectItem> items;
    std::vector<TableRef> from;
    ExprPtr where;
    std::vector<OrderItem> orderBy;
};

struct InsertStatement {
    Name table;
    std::vector<std::string> columns;
    std::vector<std::vector<ExprPtr>> rows;
    std::optional<SelectStatement> select;
};

struct UpdateStatement {
    Name table;
    std::vector<std::pair<std::string, ExprPtr>> sets;
    ExprPtr where;
};

struct DeleteStatement {
    Name table;
    ExprPtr where;
};

struct ColumnDefinition {
    std::string name;
    Type type;
    bool nullable = true;
    bool identity = false;
    ExprPtr defaultValue;
};

struct KeyDefinition {
    std::vector<std::string> columns;
    bool primary = false;
};

struct CreateTableStatement {
    Name table;
    std::vector<ColumnDefinition> columns;
    std::vector<KeyDefinition> keys;
};

struct AddColumnStatement {
    Name table;
    std::vector<ColumnDefinition> columns;
};

struct CreateIndexStatement {
    std::string index;
    Name table;
    std::vector<std::string> columns;
    bool unique = false;
};

enum class CommandKind {
    kCreateDatabase,
    kDropDatabase,
    kSetOffline,
    kSetOnline,
    kUse,
    kCreateSchema,
    kDropTable,
    kSetLockTimeout,
    kBegin,
    kCommit,
    kRollback,
    kWait,
    kNothing,  // understood, without effect here
};

struct Command {
    CommandKind kind = CommandKind::kNothing;
    Name name{};
    bool ifExists = false;
    std::int64_t number = 0;  // milliseconds
};

struct IfStatement;
using Statement =
    std::variant<SelectStatement, InsertStatement, UpdateStatement, DeleteStatement, CreateTableStatement,
                 AddColumnStatement, CreateIndexStatement, Command, std::unique_ptr<IfStatement>>;

struct IfStatement {
    ExprPtr condition;
    Statement body;
};

struct Batch {
    std::vector<Statement> statements;
    int parameters = 0;
};

}  // namespace standin
