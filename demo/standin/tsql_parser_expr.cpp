#include "error.h"
#include "tsql_parser.h"

namespace standin {
namespace {

ExprPtr MakeExpr(ExprKind kind, std::string text = {}) {
    auto expr = std::make_unique<Expr>();
    expr->kind = kind;
    expr->text = std::move(text);
    return expr;
}

ExprPtr MakeBinary(ExprKind kind, std::string op, ExprPtr left, ExprPtr right) {
    auto expr = MakeExpr(kind, std::move(op));
    expr->args.push_back(std::move(left));
    expr->args.push_back(std::move(right));
    return expr;
}

}  // namespace

ExprPtr Parser::Value() {
    ExprPtr expr = ParseOr();
    if (expr->IsCondition()) FailHere();
    return expr;
}

ExprPtr Parser::Condition() {
    ExprPtr expr = ParseOr();
    if (!expr->IsCondition()) {
        Fail(
            "42000", 4145,
            "An expression of non-boolean type specified in a context where a condition is expected, near '" +
                Peek().text + "'.");
    }
    return expr;
}

ExprPtr Parser::ParseOr() {
    ExprPtr left = ParseAnd();
    while (left->IsCondition() && Accept("OR")) {
        ExprPtr right = ParseAnd();
        if (!right->IsCondition()) FailHere();
        left = MakeBinary(ExprKind::kOr, "OR", std::move(left), std::move(right));
    }
    return left;
}

ExprPtr Parser::ParseAnd() {
    ExprPtr left = ParseNot();
    while (left->IsCondition() && Accept("AND")) {
        ExprPtr right = ParseNot();
        if (!right->IsCondition()) FailHere();
        left = MakeBinary(ExprKind::kAnd, "AND", std::move(left), std::move(right));
    }
    return left;
}

ExprPtr Parser::ParseNot() {
    if (!Accept("NOT")) return ParsePredicate();
    auto expr = MakeExpr(ExprKind::kNot);
    expr->args.push_back(ParseNot());
    if (!expr->args[0]->IsCondition()) FailHere();
    return expr;
}

ExprPtr Parser::ParsePredicate() {
    ExprPtr left = ParseSum();
    if (left->IsCondition()) return left;
    static constexpr std::string_view kComparisons[] = {"=", "<>", "!=", "<=", ">=", "<", ">"};
    for (const std::string_view op : kComparisons) {
        if (!Accept(op)) continue;
        ExprPtr right = ParseSum();
        if (right->IsCondition()) FailHere();
        return MakeBinary(ExprKind::kCompare, op == "!=" ? "<>" : std::string(op), std::move(left),
                          std::move(right));
    }
    if (Accept("IS")) {
        auto expr = MakeExpr(ExprKind::kIsNull);
        expr->negated = Accept("NOT");
        Expect("NULL");
        expr->args.push_back(std::move(left));
        return expr;
    }
    const bool negated = (IsKeyword("IN", 1) || IsKeyword("LIKE", 1)) && Accept("NOT");
    ExprPtr expr;
    if (Accept("IN")) {
        expr = MakeExpr(ExprKind::kIn);
        expr->args.push_back(std::move(left));
        Expect("(");
        do {
            expr->args.push_back(Value());
        } while (Accept(","));
        Expect(")");
    } else if (Accept("LIKE")) {
        expr = MakeBinary(ExprKind::kLike, "LIKE", std::move(left), ParseSum());
        if (Accept("ESCAPE")) expr->args.push_back(ParseSum());
    } else {
        return left;
    }
    expr->negated = negated;
    return expr;
}

ExprPtr Parser::ParseSum() {
    ExprPtr left = ParseProduct();
    while (!left->IsCondition() && (IsSymbol("+") || IsSymbol("-"))) {
        std::string op = Take().text;
        ExprPtr right = ParseProduct();
        if (right->IsCondition()) FailHere();
        left = MakeBinary(ExprKind::kArithmetic, std::move(op), std::move(left), std::move(right));
    }
    return left;
}

ExprPtr Parser::ParseProduct() {
    ExprPtr left = ParseUnary();
    while (!left->IsCondition() && (IsSymbol("*") || IsSymbol("/") || IsSymbol("%"))) {
        std::string op = Take().text;
        ExprPtr right = ParseUnary();
        if (right->IsCondition()) FailHere();
        left = MakeBinary(ExprKind::kArithmetic, std::move(op), std::move(left), std::move(right));
    }
    return left;
}

ExprPtr Parser::ParseUnary() {
    if (Accept("+")) return ParseUnary();
    if (Accept("-")) {
        auto expr = MakeExpr(ExprKind::kNegate);
        expr->args.push_back(ParseUnary());
        if (expr->args[0]->IsCondition()) FailHere();
        return expr;
    }
    ExprPtr operand = ParsePrimary();
    while (!operand->IsCondition() && Accept("COLLATE")) {
        auto expr = MakeExpr(ExprKind::kCollate, Peek().text);
        ParseCollationName();
        expr->args.push_back(std::move(operand));
        operand = std::move(expr);
    }
    return operand;
}

ExprPtr Parser::ParsePrimary() {
    if (Accept("(")) {
        ExprPtr inner = ParseOr();
        Expect(")");
        return inner;
    }
    if (Accept("?")) {
        auto expr = MakeExpr(ExprKind::kParameter);
        expr->parameter = ++parameters_;
        return expr;
    }
    if (Accept("NULL")) return MakeExpr(ExprKind::kNull);
    if (Accept("CASE")) return ParseCase();
    if (Peek().kind == TokenKind::kWord && IsSymbol("(", 1)) {
        if (Accept("CAST")) return ParseCast(false);
        if (Accept("CONVERT")) return ParseCast(true);
        return ParseCall();
    }
    if (IsIdentifier()) {
        auto expr = MakeExpr(ExprKind::kColumn);
        expr->name = DottedName(2);
        return expr;
    }
    return ParseLiteral();
}

ExprPtr Parser::ParseLiteral() {
    ExprKind kind = ExprKind::kNull;
    switch (Peek().kind) {
        case TokenKind::kString:
            kind = ExprKind::kString;
            break;
        case TokenKind::kUnicodeString:
            kind = ExprKind::kUnicodeString;
            break;
        case TokenKind::kNumber:
            kind = ExprKind::kNumber;
            break;
        default:
            FailHere();
    }
    if (kind == ExprKind::kNumber && Peek().gluedToNext) FailSyntax(Peek(1).text);
    return MakeExpr(kind, Take().text);
}

ExprPtr Parser::ParseCase() {
    const bool simple = !IsKeyword("WHEN");
    auto expr = MakeExpr(simple ? ExprKind::kSimpleCase : ExprKind::kCase);
    if (simple) expr->args.push_back(Value());
    if (!IsKeyword("WHEN")) FailHere();
    while (Accept("WHEN")) {
        expr->args.push_back(simple ? Value() : Condition());
        Expect("THEN");
        expr->args.push_back(Value());
    }
    expr->args.push_back(Accept("ELSE") ? Value() : nullptr);
    Expect("END");
    return expr;
}

ExprPtr Parser::ParseCast(bool typeFirst) {
    constexpr int kCastLength = 30;  // T-SQL's length where CAST names none
    auto expr = MakeExpr(ExprKind::kCast);
    Expect("(");
    if (typeFirst) {
        expr->type = ParseType(kCastLength);
        Expect(",");
    }
    expr->args.push_back(Value());
    if (!typeFirst) {
        Expect("AS");
        expr->type = ParseType(kCastLength);
    }
    Expect(")");
    return expr;
}

ExprPtr Parser::ParseCall() {
    auto expr = MakeExpr(ExprKind::kCall, Take().text);
    Expect("(");
    if (Accept("*")) {
        expr->kind = ExprKind::kCountAll;
    } else if (!IsSymbol(")")) {
        do {
            expr->args.push_back(Value());
        } while (Accept(","));
    }
    Expect(")");
    return expr;
}

}  // namespace standin
