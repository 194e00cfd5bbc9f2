#include "expressions.h"

#include <algorithm>
#include <iterator>

#include "text.h"

namespace standin {
namespace {

/// Between two operands of a condition.
constexpr std::string_view kConnectors[] = {"=",  "<>",  "!=", "<",    "<=",    ">",
                                            ">=", "AND", "OR", "LIKE", "ESCAPE"};

struct FunctionRow {
    const char* name;
    const char* before;  // the rewritten argument stands between these
    const char* behind;
    bool aggregate;
};
constexpr FunctionRow kFunctions[] = {
    {"COUNT", "count(", ")", true},
    {"COUNT_BIG", "count(", ")", true},
    {"MAX", "max(", ")", true},
    {"LTRIM", "(ltrim(", ") COLLATE MS)", false},
    {"RTRIM", "(rtrim(", ") COLLATE MS)", false},
    {"DB_ID", "(SELECT id FROM \"~databases\" WHERE name = ", ")", false},
};

}  // namespace

Type TakeType(TokenReader& in, int defaultLength) {
    constexpr int kLongest = 8000;
    Type type{FindType(in.TakeName()), defaultLength};
    if (!HasLength(type.kind) || !in.TakeIf("(")) return type;
    type.length = std::min(std::stoi(in.TakeNumber()), kLongest);
    if (type.kind == TypeKind::kDecimal) {
        in.Expect(",");
        if (in.TakeNumber() != "0") in.FailHere();
    }
    in.Expect(")");
    return type;
}

void TakeCollation(TokenReader& in) {
    const std::string name = in.TakeName(), key = UpperAscii(name);
    if (key != "CHINESE_PRC_CI_AS" && key != "DATABASE_DEFAULT") Fail(Err::kUnknownCollation, name);
}

void Expressions::AddSource(std::string name, std::string table) {
    sources_.push_back({std::move(name), std::move(table)});
}

void Expressions::BeginList() {
    sawAggregate_ = false;
    bareColumn_.clear();
}

void Expressions::EndList() const {
    if (sawAggregate_ && !bareColumn_.empty()) Fail(Err::kBareColumn, bareColumn_);
}

std::string Expressions::Condition() {
    std::string sql;
    for (;;) {
        while (in_.TakeIf("NOT")) sql += "NOT ";
        sql += Value();
        if (in_.TakeIf("IS")) {
            sql += in_.TakeIf("NOT") ? " IS NOT NULL" : " IS NULL";
            in_.Expect("NULL");
        }
        if (in_.Is("NOT") && (in_.Is("IN", 1) || in_.Is("LIKE", 1))) sql += " " + in_.Take().key;
        if (in_.TakeIf("IN")) {
            in_.Expect("(");
            sql += " IN (" + ValuesUpToBracket() + ")";
        }
        if (std::ranges::count(kConnectors, in_.Peek().key) == 0) return sql;
        sql += " " + in_.Take().key + " ";
    }
}

std::string Expressions::ValuesUpToBracket() {
    std::string sql = Value();
    while (in_.TakeIf(",")) sql += "," + Value();
    in_.Expect(")");
    return sql;
}

std::string Expressions::Value() {
    std::string sql = Product();
    while (in_.Is("+") || in_.Is("-")) {
        const std::string sign = in_.Take().key;
        sql = "ms_calc('" + sign + "'," + sql + "," + Product() + ")";
    }
    return sql;
}

std::string Expressions::Product() {
    std::string sql = Factor();
    while (in_.TakeIf("*")) sql = "ms_calc('*'," + sql + "," + Factor() + ")";
    return sql;
}

std::string Expressions::Factor() {
    if (in_.TakeIf("-")) return "-" + in_.TakeNumber();
    std::string sql = Operand();
    while (in_.TakeIf("COLLATE")) {
        TakeCollation(in_);
        sql += " COLLATE MS";
    }
    return sql;
}

std::string Expressions::Operand() {
    const Token& token = in_.Peek();
    if (token.kind == TokenKind::kText) return "(" + QuoteText(in_.Take().text) + " COLLATE MS)";
    if (token.kind == TokenKind::kNumber) return in_.Take().text;
    if (in_.TakeIf("?")) return "(?" + token.text + " COLLATE MS)";
    if (in_.TakeIf("NULL")) return "NULL";
    if (in_.TakeIf("@@TRANCOUNT")) return session_.Db().InTransaction() ? "1" : "0";
    if (in_.TakeIf("CASE")) return Case();
    if (in_.TakeIf("CONVERT")) return ConvertCall();
    if (in_.TakeIf("(")) {
        const std::string sql = "(" + Condition() + ")";
        in_.Expect(")");
        return sql;
    }
    if (in_.Is("(", 1)) return in_.TakeIf("CAST") ? CastCall() : Call();
    return ColumnName();
}

std::string Expressions::Case() {
    std::string sql = "CASE";
    while (in_.TakeIf("WHEN")) {
        sql += " WHEN " + Condition();
        in_.Expect("THEN");
        sql += " THEN " + Value();
    }
    if (in_.TakeIf("ELSE")) sql += " ELSE " + Value();
    in_.Expect("END");
    return sql + " END";
}

/// A text column that fits is its own CAST; left alone it keeps its index.
std::string Expressions::Cast(const std::string& value, std::size_t valueStart, std::size_t valueEnd,
                              const Type& to) const {
    if (lastColumn_.start == valueStart && lastColumn_.end == valueEnd) {
        for (const Source& source : sources_) {
            if (!lastColumn_.source.empty() && UpperAscii(lastColumn_.source) != UpperAscii(source.name))
                continue;
            const auto type = session_.Db().ColumnType(source.table, lastColumn_.name);
            if (type) {
                if (FitsUncut(*type, to)) return value;
                break;
            }
        }
    }
    const std::string call = "ms_cast(" + value + "," + std::to_string(static_cast<int>(to.kind)) + "," +
                             std::to_string(to.length) + ")";
    return IsText(to.kind) ? "(" + call + " COLLATE MS)" : call;
}

std::string Expressions::CastCall() {
    constexpr int kDefaultLength = 30;
    in_.Expect("(");
    const std::size_t start = in_.At();
    const std::string value = Value();
    const std::size_t end = in_.At();
    in_.Expect("AS");
    const Type to = TakeType(in_, kDefaultLength);
    in_.Expect(")");
    return Cast(value, start, end, to);
}

std::string Expressions::ConvertCall() {
    constexpr int kDefaultLength = 30;
    in_.Expect("(");
    const Type to = TakeType(in_, kDefaultLength);
    in_.Expect(",");
    const std::size_t start = in_.At();
    const std::string value = Value();
    const std::size_t end = in_.At();
    in_.Expect(")");
    return Cast(value, start, end, to);
}

std::string Expressions::Call() {
    const std::string name = in_.TakeName(), key = UpperAscii(name);
    in_.Expect("(");
    if (key == "DB_NAME" && in_.TakeIf(")"))
        return "(" + QuoteText(session_.Names().Current()) + " COLLATE MS)";
    const auto* row = std::find_if(std::begin(kFunctions), std::end(kFunctions),
                                   [&](const FunctionRow& function) { return key == function.name; });
    if (row == std::end(kFunctions)) Fail(Err::kUnknownFunction, name);
    const bool outer = inAggregate_;
    inAggregate_ = outer || row->aggregate;
    sawAggregate_ = sawAggregate_ || row->aggregate;
    const bool countsRows = key.starts_with("COUNT") && in_.TakeIf("*");
    const std::string argument = countsRows ? "*" : Value();
    in_.Expect(")");
    inAggregate_ = outer;
    return row->before + argument + row->behind;
}

std::string Expressions::ColumnName() {
    Column column{in_.At(), 0, {}, in_.TakeName()};
    if (in_.TakeIf(".")) column.source = std::exchange(column.name, in_.TakeName());
    column.end = in_.At();
    if (!inAggregate_) bareColumn_ = column.name;
    lastColumn_ = column;
    return (column.source.empty() ? "" : QuoteName(column.source) + ".") + QuoteName(column.name);
}

}  // namespace standin
