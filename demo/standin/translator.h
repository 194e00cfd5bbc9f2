#pragma once

#include <span>
#include <string>
#include <vector>

#include "catalogue.h"
#include "tsql_ast.h"

namespace standin {

/// A value as SQLite SQL, and the type T-SQL gives it.
struct Bound {
    std::string sql;
    Type type;
};

struct ResultColumn {
    std::string name;
    Type type;
};

struct Query {
    std::string sql;
    std::vector<ResultColumn> columns;
};

/// The index of a column by name. @throws SqlError 207.
std::size_t FindColumn(const std::vector<ColumnInfo>& columns, const std::string& name);

/// The value as it is compared, sorted and made distinct: text under the default collation.
std::string Collated(const Bound& value);

/// The value converted to another type, without a call where both lie alike in SQLite.
Bound Coerce(const Bound& value, const Type& to);

/// Turns parsed T-SQL into SQLite SQL: finds names in the catalogue, gives every expression its T-SQL type
/// and writes every conversion out. Text always lies under the collation MS when it is compared. Markers keep
/// their number (?1, ?2). One translator serves one statement.
class Translator {
public:
    /// @param parameters  the types of the bound markers, in order.
    Translator(const Catalogue& catalogue, std::span<const Type> parameters)
        : catalogue_(catalogue), parameters_(parameters) {}

    Query Select(const SelectStatement& select);
    std::string Insert(const InsertStatement& insert);
    std::string Update(const UpdateStatement& update);
    std::string Delete(const DeleteStatement& statement);
    std::string Test(const Expr& condition);  // SELECT 1 or SELECT 0
    Bound Constant(const Expr& expr) { return Value(expr); }

private:
    struct Source {
        std::string name;   // the alias, or the last part of the table's name
        std::string alias;  // in SQLite
        std::vector<ColumnInfo> columns;
    };

    struct InsertTarget {
        TableInfo table;
        std::vector<std::size_t> given;  // the columns that get the statement's values, in its order
        std::string names;               // these and the columns with defaults
        std::string defaults;            // the values of the latter, each behind a comma
    };

    std::string From(const std::vector<TableRef>& tables);
    std::string Rows(const TableRef& table, std::vector<ColumnInfo>& columns);
    std::vector<ResultColumn> SelectList(const SelectStatement& select, std::vector<Bound>& values);
    void AddStar(const SelectItem& item, std::vector<ResultColumn>& columns, std::vector<Bound>& values);
    std::string OrderBy(const SelectStatement& select, const std::vector<ResultColumn>& columns,
                        const std::vector<Bound>& values);
    Bound OrderValue(const Expr& expr, const std::vector<ResultColumn>& columns,
                     const std::vector<Bound>& values);
    TableInfo Target(const Name& name);
    InsertTarget FindTargets(const InsertStatement& insert) const;
    static std::string StoreRow(const InsertTarget& target, const std::vector<Bound>& values);
    std::string Where(const ExprPtr& where) { return where ? " WHERE " + Condition(*where) : ""; }

    Bound Value(const Expr& expr);
    Bound Column(const Name& name);
    Bound Parameter(const Expr& expr) const;
    Bound Negate(const Expr& expr);
    Bound Arithmetic(const Expr& expr);
    Bound Case(const Expr& expr);
    Bound Cast(const Expr& expr);
    Bound Call(const Expr& expr);
    Bound Aggregate(const Expr& expr, const std::string& function);
    Bound TextFunction(const Expr& expr, const std::string& function);
    Bound DatabaseFunction(const Expr& expr, const std::string& function);
    std::string Condition(const Expr& expr);
    std::string Compare(const Bound& left, const std::string& op, const Bound& right);
    std::string Like(const Expr& expr);
    std::string In(const Expr& expr);

    const Catalogue& catalogue_;
    std::span<const Type> parameters_;
    std::vector<Source> sources_;
    bool inAggregate_ = false;
    bool sawAggregate_ = false;
    std::string bareColumn_;  // a column outside every aggregate
};

}  // namespace standin
