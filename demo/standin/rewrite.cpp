#include "rewrite.h"

namespace standin {

std::string Rewriter::Select() {
    in_.Expect("SELECT");
    std::string sql = in_.TakeIf("DISTINCT") ? "SELECT DISTINCT " : "SELECT ";
    std::string limit;
    if (in_.TakeIf("TOP")) {
        in_.Expect("(");
        limit = " LIMIT " + in_.TakeNumber();
        in_.Expect(")");
    }
    // The tables first: the types of their columns decide how the list is written.
    const std::size_t list = in_.At();
    for (int depth = 0; depth > 0 || !in_.Is("FROM"); in_.Take()) {
        if (in_.Peek().kind == TokenKind::kEnd) break;
        depth += in_.Is("(") ? 1 : in_.Is(")") ? -1 : 0;
    }
    const bool hasTables = in_.TakeIf("FROM");
    const std::string from = hasTables ? " FROM " + Sources() : "";
    const std::size_t behind = in_.At();
    in_.MoveTo(list);
    sql += List() + from;
    if (hasTables) {
        in_.Expect("FROM");
        in_.MoveTo(behind);
    }
    sql += Where();
    sql += OrderBy();
    return sql + limit;
}

std::string Rewriter::List() {
    std::string sql;
    expressions_.BeginList();
    do {
        sql += (sql.empty() ? "" : ",") + expressions_.Value();
        const bool named = in_.TakeIf("AS");
        if (named || in_.IsName()) sql += " AS " + QuoteName(in_.TakeName());
    } while (in_.TakeIf(","));
    expressions_.EndList();
    return sql;
}

std::string Rewriter::Sources() {
    std::string sql = Source();
    for (;;) {
        if (in_.TakeIf("CROSS")) {
            in_.Expect("JOIN");
            sql += " CROSS JOIN " + Source();
        } else if (in_.TakeIf("JOIN")) {
            sql += " JOIN " + Source();
            in_.Expect("ON");
            sql += " ON " + expressions_.Condition();
        } else {
            return sql;
        }
    }
}

std::string Rewriter::Source() {
    if (in_.TakeIf("(")) return Rows();
    const Name name = in_.TakeDottedName();
    const auto view = session_.Names().View(name);
    const std::string table = view ? "" : session_.Names().Table(name);
    const bool named = in_.TakeIf("AS");
    const std::string alias = named || in_.IsName() ? in_.TakeName() : name.back();
    if (in_.TakeIf("WITH")) {  // hints: they are in the trace
        while (!in_.Is(")")) in_.Is("") ? in_.FailHere() : static_cast<void>(in_.Take());
        in_.Take();
    }
    expressions_.AddSource(alias, table);
    return (view ? *view : QuoteName(table)) + " AS " + QuoteName(alias);
}

/// (VALUES (..), (..)) AS name(column, ..)
std::string Rewriter::Rows() {
    in_.Expect("VALUES");
    std::string rows;
    do {
        in_.Expect("(");
        rows += (rows.empty() ? "(" : ",(") + expressions_.ValuesUpToBracket() + ")";
    } while (in_.TakeIf(","));
    in_.Expect(")");
    in_.TakeIf("AS");
    const std::string alias = in_.TakeName();
    std::string columns;
    int count = 0;
    in_.Expect("(");
    do {
        columns += (count == 0 ? "column" : ",column") + std::to_string(count + 1) + " AS " +
                   QuoteName(in_.TakeName());
        ++count;
    } while (in_.TakeIf(","));
    in_.Expect(")");
    return "(SELECT " + columns + " FROM (VALUES " + rows + ")) AS " + QuoteName(alias);
}

std::string Rewriter::Where() {
    return in_.TakeIf("WHERE") ? " WHERE " + expressions_.Condition() : "";
}

std::string Rewriter::OrderBy() {
    std::string sql;
    if (!in_.TakeIf("ORDER")) return sql;
    in_.Expect("BY");
    do {
        sql += (sql.empty() ? " ORDER BY " : ",") + expressions_.Value();
        if (in_.Is("ASC") || in_.Is("DESC")) sql += " " + in_.Take().key;
    } while (in_.TakeIf(","));
    return sql;
}

/// The stored name of the table that is changed.
std::string Rewriter::Target() {
    const Name name = in_.TakeDottedName();
    std::string table = session_.Names().Table(name);
    expressions_.AddSource(name.back(), table);
    return table;
}

/// The value as the column's type stores it.
std::string Rewriter::Stored(const std::string& table, const std::string& column,
                             const std::string& value) const {
    const auto type = session_.Db().ColumnType(table, column);
    if (!type) Fail(Err::kUnknownColumn, column);
    return "ms_store(" + value + "," + std::to_string(static_cast<int>(type->kind)) + "," +
           std::to_string(type->length) + ")";
}

std::string Rewriter::Insert() {
    in_.Expect("INSERT");
    in_.TakeIf("INTO");
    const std::string table = Target();
    std::vector<std::string> columns;
    if (in_.TakeIf("(")) {
        do {
            columns.push_back(in_.TakeName());
        } while (in_.TakeIf(","));
        in_.Expect(")");
    } else {
        columns = session_.Names().InsertColumns(table);
    }
    std::string rows;
    if (in_.Is("SELECT")) {
        rows = Rewriter(session_, in_).Select();
    } else {
        in_.Expect("VALUES");
        do {
            in_.Expect("(");
            rows += (rows.empty() ? "VALUES (" : ",(") + expressions_.ValuesUpToBracket() + ")";
        } while (in_.TakeIf(","));
    }
    std::string names, given, values;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::string comma = i == 0 ? "" : ",", value = "c" + std::to_string(i);
        names += comma + QuoteName(columns[i]);
        given += comma + value;
        values += comma + Stored(table, columns[i], value);
    }
    return "WITH v(" + given + ") AS (" + rows + ") INSERT INTO " + QuoteName(table) + "(" + names +
           ") SELECT " + values + " FROM v";
}

std::string Rewriter::Update() {
    in_.Expect("UPDATE");
    const std::string table = Target();
    std::string sql = "UPDATE " + QuoteName(table) + " SET ";
    in_.Expect("SET");
    bool first = true;
    do {
        const std::string column = in_.TakeName();
        in_.Expect("=");
        sql += (first ? "" : ",") + QuoteName(column) + "=" + Stored(table, column, expressions_.Value());
        first = false;
    } while (in_.TakeIf(","));
    return sql + Where();
}

std::string Rewriter::Delete() {
    in_.Expect("DELETE");
    in_.Expect("FROM");
    const std::string table = Target();
    return "DELETE FROM " + QuoteName(table) + Where();
}

std::string Rewriter::Test() {
    return "SELECT CASE WHEN " + expressions_.Condition() + " THEN 1 ELSE 0 END";
}

}  // namespace standin
