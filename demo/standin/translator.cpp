#include "translator.h"

#include <algorithm>

#include "text.h"

namespace standin {
namespace {

/// The value converted to the column's type, refused where it does not fit.
std::string StoreSql(const Bound& value, const TableInfo& table, const ColumnInfo& column) {
    return "ms_store(" + value.sql + "," + std::to_string(PackType(value.type)) + "," +
           std::to_string(PackType(column.type)) + "," + std::to_string(column.nullable) + "," +
           QuoteText(table.fullName) + "," + QuoteText(column.name) + ")";
}

void RefuseSorting(const Bound& value) {
    if (!IsLongText(value.type.id)) return;
    Fail("42000", 306,
         "The text, ntext, and image data types cannot be compared or sorted, except when using IS NULL or "
         "LIKE operator.");
}

}  // namespace

std::size_t FindColumn(const std::vector<ColumnInfo>& columns, const std::string& name) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (CompareText(columns[i].name, name) == 0) return i;
    }
    Fail("42S22", 207, "Invalid column name '" + name + "'.");
}

// ---- statements --------------------------------------------------------------------------------

std::string Translator::Rows(const TableRef& table, std::vector<ColumnInfo>& columns) {
    if (table.rowColumns.size() != table.rows.front().size()) {
        Fail("42000", 8158,
             "'" + table.alias + "' has another number of columns than were specified in the column list.");
    }
    for (std::size_t i = 0; i < table.rowColumns.size(); ++i) {
        Type type;
        for (const auto& row : table.rows) type = CommonType(type, Value(*row[i]).type);
        columns.push_back({table.rowColumns[i], type});
    }
    std::string list;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        list += (i ? "," : "") + ("column" + std::to_string(i + 1)) + " AS " + QuoteName(columns[i].name);
    }
    std::string rows;
    for (const auto& row : table.rows) {
        rows += rows.empty() ? "(" : "),(";
        for (std::size_t i = 0; i < row.size(); ++i) {
            rows += (i ? "," : "") + Coerce(Value(*row[i]), columns[i].type).sql;
        }
    }
    return "(SELECT " + list + " FROM (VALUES " + rows + ")))";
}

std::string Translator::From(const std::vector<TableRef>& tables) {
    std::string sql;
    for (const TableRef& table : tables) {
        Source source{table.alias, "s" + std::to_string(sources_.size()), {}};
        std::string text;
        if (table.rows.empty()) {
            TableInfo info = catalogue_.FindTable(table.name);
            if (source.name.empty()) source.name = info.name;
            source.columns = std::move(info.columns);
            text = info.source;
        } else {
            text = Rows(table, source.columns);
        }
        for (const Source& other : sources_) {
            if (CompareText(other.name, source.name) == 0) {
                Fail("42000", 1013,
                     "The objects or aliases \"" + source.name +
                         "\" in the FROM clause have the same exposed names.");
            }
        }
        sql += (table.join.empty() ? " FROM " : " " + table.join + " ") + text + " AS " + source.alias;
        sources_.push_back(std::move(source));
        if (table.on) sql += " ON " + Condition(*table.on);
    }
    return sql;
}

void Translator::AddStar(const SelectItem& item, std::vector<ResultColumn>& columns,
                         std::vector<Bound>& values) {
    bool found = false;
    for (const Source& source : sources_) {
        if (!item.starOf.empty() && CompareText(item.starOf, source.name) != 0) continue;
        found = true;
        for (const ColumnInfo& column : source.columns) {
            columns.push_back({column.name, column.type});
            values.push_back({source.alias + "." + QuoteName(column.name), column.type});
            bareColumn_ = column.name;
        }
    }
    if (!found) {
        Fail("42000", 107,
             "The column prefix '" + item.starOf + "' does not match with a table name used in the query.");
    }
}

std::vector<ResultColumn> Translator::SelectList(const SelectStatement& select, std::vector<Bound>& values) {
    std::vector<ResultColumn> columns;
    bareColumn_.clear();  // what ON named does not count
    for (const SelectItem& item : select.items) {
        if (!item.expr) {
            AddStar(item, columns, values);
            continue;
        }
        values.push_back(Value(*item.expr));
        const bool isColumn = item.expr->kind == ExprKind::kColumn;
        columns.push_back(
            {item.alias.empty() && isColumn ? item.expr->name.back() : item.alias, values.back().type});
    }
    if (sawAggregate_ && !bareColumn_.empty()) {
        Fail("42000", 8120,
             "Column '" + bareColumn_ +
                 "' is invalid in the select list because it is not contained in either an aggregate "
                 "function or the GROUP BY clause.");
    }
    return columns;
}

Query Translator::Select(const SelectStatement& select) {
    Query query;
    const std::string from = From(select.from);
    std::vector<Bound> values;
    query.columns = SelectList(select, values);
    query.sql = select.distinct ? "SELECT DISTINCT " : "SELECT ";
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (select.distinct) RefuseSorting(values[i]);
        query.sql += (i ? "," : "") + (select.distinct ? Collated(values[i]) : values[i].sql) + " AS c" +
                     std::to_string(i);
    }
    query.sql += from;
    sawAggregate_ = false;
    query.sql += Where(select.where);
    if (sawAggregate_) Fail("42000", 147, "An aggregate may not appear in the WHERE clause.");
    query.sql += OrderBy(select, query.columns, values);
    if (select.top) query.sql += " LIMIT " + std::to_string(*select.top);
    return query;
}

/// An alias or the place of a column goes before a column of the tables, as in T-SQL.
Bound Translator::OrderValue(const Expr& expr, const std::vector<ResultColumn>& columns,
                             const std::vector<Bound>& values) {
    if (expr.kind == ExprKind::kColumn && expr.name.size() == 1) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (CompareText(columns[i].name, expr.name[0]) == 0) return values[i];
        }
    }
    if (expr.kind == ExprKind::kNumber) {
        const std::size_t place = expr.text.size() < 5 ? static_cast<std::size_t>(std::stoi(expr.text)) : 0;
        if (place < 1 || place > values.size()) {
            Fail("42000", 108,
                 "The ORDER BY position number " + expr.text +
                     " is out of range of the number of items in the select list.");
        }
        return values[place - 1];
    }
    return Value(expr);
}

std::string Translator::OrderBy(const SelectStatement& select, const std::vector<ResultColumn>& columns,
                                const std::vector<Bound>& values) {
    std::string sql;
    for (const OrderItem& item : select.orderBy) {
        const Bound value = OrderValue(*item.expr, columns, values);
        RefuseSorting(value);
        const auto listed = [&](const Bound& candidate) { return candidate.sql == value.sql; };
        if (select.distinct && std::none_of(values.begin(), values.end(), listed)) {
            Fail("42000", 145,
                 "ORDER BY items must appear in the select list if SELECT DISTINCT is specified.");
        }
        // SQLite would read a constant as the place of a column; it orders nothing anyway.
        if (value.sql.find_first_not_of("0123456789") == std::string::npos) continue;
        sql += (sql.empty() ? " ORDER BY " : ",") + Collated(value) + (item.descending ? " DESC" : "");
    }
    return sql;
}

TableInfo Translator::Target(const Name& name) {
    TableInfo table = catalogue_.FindTable(name);
    if (table.id == 0) Fail("42000", 259, "Ad hoc updates to system catalogs are not allowed.");
    sources_.push_back({table.name, "s0", table.columns});
    return table;
}

Translator::InsertTarget Translator::FindTargets(const InsertStatement& insert) const {
    InsertTarget target{catalogue_.FindTable(insert.table), {}, {}, {}};
    const std::vector<ColumnInfo>& columns = target.table.columns;
    if (target.table.id == 0) Fail("42000", 259, "Ad hoc updates to system catalogs are not allowed.");
    for (const std::string& name : insert.columns) target.given.push_back(FindColumn(columns, name));
    for (std::size_t i = 0; insert.columns.empty() && i < columns.size(); ++i) {
        if (!columns[i].identity) target.given.push_back(i);
    }
    const auto addName = [&](const ColumnInfo& column) {
        target.names += (target.names.empty() ? "" : ",") + QuoteName(column.name);
    };
    for (const std::size_t index : target.given) {
        if (columns[index].identity) {
            Fail("23000", 544,
                 "Cannot insert explicit value for identity column in table '" + target.table.name +
                     "' when IDENTITY_INSERT is set to OFF.");
        }
        addName(columns[index]);
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {  // columns the statement does not name
        const ColumnInfo& column = columns[i];
        if (column.identity || std::ranges::count(target.given, i) > 0) continue;
        addName(column);
        const std::string value = column.defaultSql.empty() ? "NULL" : column.defaultSql;
        target.defaults += "," + StoreSql({value, column.defaultType}, target.table, column);
    }
    return target;
}

std::string Translator::StoreRow(const InsertTarget& target, const std::vector<Bound>& values) {
    if (values.size() != target.given.size()) {
        Fail("21S01", 213, "Column name or number of supplied values does not match table definition.");
    }
    std::string row;
    for (std::size_t i = 0; i < values.size(); ++i) {
        row += (i ? "," : "") + StoreSql(values[i], target.table, target.table.columns[target.given[i]]);
    }
    return row + target.defaults;
}

std::string Translator::Insert(const InsertStatement& insert) {
    const InsertTarget target = FindTargets(insert);
    std::string sql = "INSERT INTO " + target.table.source + "(" + target.names + ") ";
    if (insert.select) {
        const Query query = Select(*insert.select);
        std::vector<Bound> values;
        for (const ResultColumn& column : query.columns) {
            values.push_back({"c" + std::to_string(values.size()), column.type});
        }
        return sql + "SELECT " + StoreRow(target, values) + " FROM (" + query.sql + ")";
    }
    for (const auto& row : insert.rows) {
        std::vector<Bound> values;
        for (const ExprPtr& expr : row) values.push_back(Value(*expr));
        sql += (&row == &insert.rows.front() ? "VALUES (" : ",(") + StoreRow(target, values) + ")";
    }
    return sql;
}

std::string Translator::Update(const UpdateStatement& update) {
    const TableInfo table = Target(update.table);
    std::string sql;
    for (const auto& [name, expr] : update.sets) {
        const ColumnInfo& column = table.columns[FindColumn(table.columns, name)];
        if (column.identity) Fail("42000", 8102, "Cannot update identity column '" + name + "'.");
        const Bound value = Value(*expr);
        sql += (sql.empty() ? "UPDATE " + table.source + " AS s0 SET " : ",") + QuoteName(column.name) + "=" +
               StoreSql(value, table, column);
    }
    return sql + Where(update.where);
}

std::string Translator::Delete(const DeleteStatement& statement) {
    const TableInfo table = Target(statement.table);
    return "DELETE FROM " + table.source + " AS s0" + Where(statement.where);
}

std::string Translator::Test(const Expr& condition) {
    return "SELECT CASE WHEN " + Condition(condition) + " THEN 1 ELSE 0 END";
}

}  // namespace standin
