// The half of the translator that gives expressions and conditions their types.

#include <algorithm>

#include "text.h"
#include "translator.h"
#include "tsql_parser.h"

namespace standin {
namespace {

const Type kInt{TypeId::kInt};
const Type kBigInt{TypeId::kBigInt};

std::string Packed(const Type& type) {
    return std::to_string(PackType(type));
}

void RefuseLongText(const Bound& a, const Bound& b, const std::string& op) {
    if (!IsLongText(a.type.id) && !IsLongText(b.type.id)) return;
    Fail("42000", 402,
         std::string("The data types ") + NameOf(a.type.id) + " and " + NameOf(b.type.id) +
             " are incompatible in the '" + op + "' operator.");
}

[[noreturn]] void FailOperand(const Type& type, const std::string& op) {
    Fail("42000", 8117,
         std::string("Operand data type ") + NameOf(type.id) + " is invalid for " + op + " operator.");
}

void CheckArguments(const Expr& call, std::size_t least, std::size_t most) {
    if (call.args.size() >= least && call.args.size() <= most) return;
    Fail("42000", 174,
         "The " + LowerText(call.text) + " function requires " + std::to_string(most) + " argument(s).");
}

Type VaryingText(const Type& type, int length) {
    const int longest = IsWide(type.id) ? 4000 : 8000;
    return {IsWide(type.id) ? TypeId::kNVarChar : TypeId::kVarChar,
            length == kMaxLength ? kMaxLength : std::min(length, longest)};
}

Bound AsText(const Bound& value) {
    return IsText(value.type) ? value : Coerce(value, {TypeId::kNVarChar, 64});
}

Bound NumberLiteral(const std::string& text) {
    bool overflow = false;
    const auto whole = ReadInteger(text, overflow);
    if (whole && *whole <= RangeOf(TypeId::kInt).high) return {std::to_string(*whole), kInt};
    const DecimalLiteral literal = ReadDecimalLiteral(text);
    if (const auto* digits = std::get_if<std::string>(&literal.cell)) {
        return {QuoteText(*digits), literal.type};
    }
    return {std::to_string(std::get<std::int64_t>(literal.cell)), literal.type};
}

Bound TextLiteral(const std::string& text, TypeId id) {
    return {QuoteText(text), {id, std::max(1, static_cast<int>(TextLength(text, IsWide(id))))}};
}

/// A text column that fits is its own CAST; left alone it keeps its index.
bool FitsUncut(const Type& from, const Type& to) {
    if (!IsText(from) || (to.id != TypeId::kNVarChar && (to.id != TypeId::kVarChar || IsWide(from.id)))) {
        return false;
    }
    return to.length == kMaxLength || (from.length != kMaxLength && from.length <= to.length);
}

struct TextFunctionRow {
    const char* name;
    std::size_t arguments;
    const char* sqlite;
};
constexpr TextFunctionRow kTextFunctions[] = {
    {"LTRIM", 1, "ltrim"},  {"RTRIM", 1, "rtrim"},    {"UPPER", 1, "ms_upper"}, {"LOWER", 1, "ms_lower"},
    {"LEFT", 2, "ms_left"}, {"RIGHT", 2, "ms_right"}, {"LEN", 1, "ms_len"},     {"REPLICATE", 2, "ms_repeat"},
};

}  // namespace

std::string Collated(const Bound& value) {
    return IsText(value.type) ? value.sql + " COLLATE MS" : value.sql;
}

Bound Coerce(const Bound& value, const Type& to) {
    const TypeClass from = ClassOf(value.type.id);
    const bool alike = from == ClassOf(to.id) &&
                       (from != TypeClass::kDecimal || value.type.scale == to.scale) &&
                       (from != TypeClass::kTime || value.type.id == to.id);
    if (alike || from == TypeClass::kNull) return {value.sql, to};
    return {"ms_cast(" + value.sql + "," + Packed(value.type) + "," + Packed(to) + ")", to};
}

Bound Translator::Value(const Expr& expr) {
    switch (expr.kind) {
        case ExprKind::kNull:
            return {"NULL", {}};
        case ExprKind::kString:
            return TextLiteral(expr.text, TypeId::kVarChar);
        case ExprKind::kUnicodeString:
            return TextLiteral(expr.text, TypeId::kNVarChar);
        case ExprKind::kNumber:
            return NumberLiteral(expr.text);
        case ExprKind::kColumn:
            return Column(expr.name);
        case ExprKind::kParameter:
            return Parameter(expr);
        case ExprKind::kNegate:
            return Negate(expr);
        case ExprKind::kArithmetic:
            return Arithmetic(expr);
        case ExprKind::kCollate: {
            Bound operand = Value(*expr.args[0]);
            if (IsText(operand.type)) return operand;
            Fail("42000", 447,
                 std::string("Expression type ") + NameOf(operand.type.id) +
                     " is invalid for COLLATE clause.");
        }
        case ExprKind::kCase:
        case ExprKind::kSimpleCase:
            return Case(expr);
        case ExprKind::kCast:
            return Cast(expr);
        case ExprKind::kCall:
        case ExprKind::kCountAll:
            return Call(expr);
        default:
            FailSyntax(expr.text);
    }
}

Bound Translator::Column(const Name& name) {
    const Source* found = nullptr;
    std::size_t index = 0;
    for (const Source& source : sources_) {
        if (name.size() == 2 && CompareText(source.name, name[0]) != 0) continue;
        for (std::size_t i = 0; i < source.columns.size(); ++i) {
            if (CompareText(source.columns[i].name, name.back()) != 0) continue;
            if (found != nullptr) Fail("42000", 209, "Ambiguous column name '" + name.back() + "'.");
            found = &source;
            index = i;
        }
    }
    if (found == nullptr) {
        const auto isNamed = [&](const Source& source) { return CompareText(source.name, name[0]) == 0; };
        if (name.size() == 2 && std::none_of(sources_.begin(), sources_.end(), isNamed)) {
            Fail("42000", 4104, "The multi-part identifier \"" + JoinName(name) + "\" could not be bound.");
        }
        Fail("42S22", 207, "Invalid column name '" + name.back() + "'.");
    }
    if (!inAggregate_) bareColumn_ = name.back();
    return {found->alias + "." + QuoteName(found->columns[index].name), found->columns[index].type};
}

Bound Translator::Parameter(const Expr& expr) const {
    const auto index = static_cast<std::size_t>(expr.parameter - 1);
    if (index >= parameters_.size()) FailInDriver("07002", "COUNT field incorrect or syntax error");
    return {"?" + std::to_string(expr.parameter), parameters_[index]};
}

Bound Translator::Negate(const Expr& expr) {
    const Bound operand = Value(*expr.args[0]);
    const TypeClass kind = ClassOf(operand.type.id);
    if (kind == TypeClass::kDecimal && expr.args[0]->kind == ExprKind::kNumber &&
        operand.sql.front() != '\'') {
        return {"-" + operand.sql, operand.type};
    }
    if (kind != TypeClass::kInteger && kind != TypeClass::kFloat) FailOperand(operand.type, "minus");
    return {"ms_math('-',0," + operand.sql + "," + Packed(operand.type) + ")", operand.type};
}

Bound Translator::Arithmetic(const Expr& expr) {
    const Bound left = Value(*expr.args[0]);
    const Bound right = Value(*expr.args[1]);
    RefuseLongText(left, right, expr.text);
    Type type = CommonType(left.type, right.type);
    if (IsText(type)) {
        if (expr.text != "+") FailOperand(type, expr.text);
        const bool unlimited = left.type.length == kMaxLength || right.type.length == kMaxLength;
        return {"(" + left.sql + "||" + right.sql + ")",
                VaryingText(type, unlimited ? kMaxLength : left.type.length + right.type.length)};
    }
    if (type.id == TypeId::kNull) type = kInt;
    const TypeClass kind = ClassOf(type.id);
    const bool decimal = kind == TypeClass::kDecimal && type.scale == 0 && expr.text != "/";
    if (kind != TypeClass::kInteger && kind != TypeClass::kFloat && !decimal) FailOperand(type, expr.text);
    const Type work = decimal ? kBigInt : type;  // beyond 64 bits arithmetic is refused, not rounded
    return {"ms_math('" + expr.text + "'," + Coerce(left, work).sql + "," + Coerce(right, work).sql + "," +
                Packed(work) + ")",
            decimal ? Type{TypeId::kDecimal, 38, 0} : type};
}

Bound Translator::Case(const Expr& expr) {
    const bool simple = expr.kind == ExprKind::kSimpleCase;
    Bound operand;
    if (simple) operand = Value(*expr.args[0]);
    std::vector<std::string> tests;
    std::vector<Bound> results;
    Type type;
    for (std::size_t i = simple ? 1 : 0; i + 1 < expr.args.size(); i += 2) {
        tests.push_back(simple ? Compare(operand, "=", Value(*expr.args[i])) : Condition(*expr.args[i]));
        results.push_back(Value(*expr.args[i + 1]));
        type = CommonType(type, results.back().type);
    }
    if (expr.args.back()) {
        results.push_back(Value(*expr.args.back()));
        type = CommonType(type, results.back().type);
    }
    std::string sql = "CASE";
    for (std::size_t i = 0; i < tests.size(); ++i) {
        sql += " WHEN " + tests[i] + " THEN " + Coerce(results[i], type).sql;
    }
    if (expr.args.back()) sql += " ELSE " + Coerce(results.back(), type).sql;
    return {sql + " END", type};
}

Bound Translator::Cast(const Expr& expr) {
    const Bound operand = Value(*expr.args[0]);
    if (FitsUncut(operand.type, expr.type)) return {operand.sql, expr.type};
    return {"ms_cast(" + operand.sql + "," + Packed(operand.type) + "," + Packed(expr.type) + ")", expr.type};
}

Bound Translator::Call(const Expr& expr) {
    const std::string function = UpperText(expr.text);
    if (function == "COUNT" || function == "COUNT_BIG" || function == "MAX" || function == "MIN" ||
        function == "SUM") {
        return Aggregate(expr, function);
    }
    if (expr.kind == ExprKind::kCountAll) FailSyntax("*");
    if (function == "DATALENGTH") {
        CheckArguments(expr, 1, 1);
        const Bound value = Value(*expr.args[0]);
        return {"ms_bytes(" + value.sql + "," + Packed(value.type) + ")", kInt};
    }
    if (function == "DB_ID" || function == "DB_NAME" || function == "OBJECT_ID") {
        return DatabaseFunction(expr, function);
    }
    return TextFunction(expr, function);
}

Bound Translator::TextFunction(const Expr& expr, const std::string& function) {
    for (const TextFunctionRow& row : kTextFunctions) {
        if (function != row.name) continue;
        CheckArguments(expr, row.arguments, row.arguments);
        const Bound text = AsText(Value(*expr.args[0]));
        std::string sql = std::string(row.sqlite) + "(" + text.sql;
        if (row.arguments == 2) sql += "," + Coerce(Value(*expr.args[1]), kInt).sql;
        if (function == "LEN") return {sql + ")", kInt};
        return {sql + ")", VaryingText(text.type, function == "REPLICATE" ? 4000 : text.type.length)};
    }
    Fail("42000", 195, "'" + expr.text + "' is not a recognized built-in function name.");
}

Bound Translator::DatabaseFunction(const Expr& expr, const std::string& function) {
    CheckArguments(expr, function == "OBJECT_ID" ? 1 : 0, function == "OBJECT_ID" ? 2 : 1);
    if (function == "OBJECT_ID") {
        const Expr& name = *expr.args[0];
        if (name.kind != ExprKind::kUnicodeString && name.kind != ExprKind::kString) FailSyntax(expr.text);
        const auto id = catalogue_.FindTableId(ParseName(name.text));
        return {id ? std::to_string(*id) : "NULL", kInt};
    }
    const bool wantsId = function == "DB_ID";
    const std::string key =
        expr.args.empty() ? QuoteText(catalogue_.CurrentDatabase()) : Value(*expr.args[0]).sql;
    const bool byName = wantsId || expr.args.empty();
    return {std::string("(SELECT ") + (wantsId ? "id" : "name") + " FROM \"~databases\" WHERE " +
                (byName ? "name=" : "id=") + key + ")",
            wantsId ? kInt : Type{TypeId::kNVarChar, 128}};
}

Bound Translator::Aggregate(const Expr& expr, const std::string& function) {
    if (inAggregate_) {
        Fail("42000", 130, "Cannot perform an aggregate function on an expression containing an aggregate.");
    }
    sawAggregate_ = true;
    const bool counts = function == "COUNT" || function == "COUNT_BIG";
    const Type countType = function == "COUNT_BIG" ? kBigInt : kInt;
    if (expr.kind == ExprKind::kCountAll) {
        if (!counts) FailSyntax("*");
        return {"count(*)", countType};
    }
    CheckArguments(expr, 1, 1);
    inAggregate_ = true;
    const Bound value = Value(*expr.args[0]);
    inAggregate_ = false;
    if (counts) return {"count(" + value.sql + ")", countType};
    const TypeClass kind = ClassOf(value.type.id);
    const bool sums = function == "SUM";
    if (IsLongText(value.type.id) || (sums && kind != TypeClass::kInteger && kind != TypeClass::kFloat)) {
        FailOperand(value.type, LowerText(function));
    }
    if (!sums) return {LowerText(function) + "(" + Collated(value) + ")", value.type};
    const Type type = kind == TypeClass::kFloat || value.type.id == TypeId::kBigInt ? value.type : kInt;
    return {"ms_cast(sum(" + value.sql + ")," + Packed(kind == TypeClass::kFloat ? type : kBigInt) + "," +
                Packed(type) + ")",
            type};
}

// ---- conditions --------------------------------------------------------------------------------

std::string Translator::Condition(const Expr& expr) {
    switch (expr.kind) {
        case ExprKind::kAnd:
        case ExprKind::kOr:
            return "(" + Condition(*expr.args[0]) + " " + expr.text + " " + Condition(*expr.args[1]) + ")";
        case ExprKind::kNot:
            return "(NOT " + Condition(*expr.args[0]) + ")";
        case ExprKind::kCompare:
            return Compare(Value(*expr.args[0]), expr.text, Value(*expr.args[1]));
        case ExprKind::kIsNull:
            return "(" + Value(*expr.args[0]).sql + (expr.negated ? " IS NOT NULL)" : " IS NULL)");
        case ExprKind::kIn:
            return In(expr);
        case ExprKind::kLike:
            return Like(expr);
        default:
            FailSyntax(expr.text);
    }
}

std::string Translator::Compare(const Bound& left, const std::string& op, const Bound& right) {
    RefuseLongText(left, right, op);
    const Type type = CommonType(left.type, right.type);
    return "(" + Collated(Coerce(left, type)) + op + Coerce(right, type).sql + ")";
}

std::string Translator::Like(const Expr& expr) {
    const Bound value = AsText(Value(*expr.args[0]));
    const Bound pattern = AsText(Value(*expr.args[1]));
    const std::string escape = expr.args.size() > 2 ? AsText(Value(*expr.args[2])).sql : "''";
    return std::string(expr.negated ? "(NOT " : "(") + "ms_like(" + value.sql + "," + pattern.sql + "," +
           escape + "))";
}

std::string Translator::In(const Expr& expr) {
    std::vector<Bound> values;
    Type type;
    for (const ExprPtr& arg : expr.args) {
        values.push_back(Value(*arg));
        RefuseLongText(values.front(), values.back(), "equal to");
        type = CommonType(type, values.back().type);
    }
    std::string sql;
    for (std::size_t i = 1; i < values.size(); ++i) sql += (i > 1 ? "," : "") + Coerce(values[i], type).sql;
    return "(" + Collated(Coerce(values[0], type)) + (expr.negated ? " NOT IN (" : " IN (") + sql + "))";
}

}  // namespace standin
