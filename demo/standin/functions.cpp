#include <cmath>
#include <optional>

#include "sqlite.h"
#include "text.h"

namespace standin {
namespace {

/// SQLite carries only a text out of a failing function; state and number wait here for ThrowSqlite.
thread_local std::optional<SqlError> pendingError;

constexpr std::int64_t kLongestResult = 4000;  // of REPLICATE, in characters

class Arguments {
public:
    Arguments(sqlite3_context* context, sqlite3_value** values) : context_(context), values_(values) {}

    bool IsNull(int i) const { return sqlite3_value_type(values_[i]) == SQLITE_NULL; }
    std::int64_t Integer(int i) const { return sqlite3_value_int64(values_[i]); }
    double Real(int i) const { return sqlite3_value_double(values_[i]); }
    std::string_view Text(int i) const {
        const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(values_[i]));
        return {text == nullptr ? "" : text, static_cast<std::size_t>(sqlite3_value_bytes(values_[i]))};
    }
    Type TypeAt(int i) const { return UnpackType(Integer(i)); }

    Cell CellAt(int i) const {
        switch (sqlite3_value_type(values_[i])) {
            case SQLITE_NULL:
                return {};
            case SQLITE_INTEGER:
                return std::int64_t{Integer(i)};
            case SQLITE_FLOAT:
                return Real(i);
            default:
                return std::string(Text(i));
        }
    }

    void Return(std::string_view text) const {
        sqlite3_result_text64(context_, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    }
    void Return(std::int64_t value) const { sqlite3_result_int64(context_, value); }
    void Return(double value) const { sqlite3_result_double(context_, value); }
    void Return(const Cell& cell) const {
        if (const auto* integer = std::get_if<std::int64_t>(&cell)) return Return(*integer);
        if (const auto* real = std::get_if<double>(&cell)) return Return(*real);
        if (const auto* text = std::get_if<std::string>(&cell)) return Return(std::string_view(*text));
        sqlite3_result_null(context_);
    }

private:
    sqlite3_context* context_;
    sqlite3_value** values_;
};

/// ms_cast(value, from, to)
void Cast(const Arguments& args) {
    args.Return(Convert(args.CellAt(0), args.TypeAt(1), args.TypeAt(2), Conversion::kCast));
}

/// ms_store(value, from, to, nullable, table, column)
void Store(const Arguments& args) {
    if (args.IsNull(0) && args.Integer(3) == 0) {
        Fail("23000", 515,
             "Cannot insert the value NULL into column '" + std::string(args.Text(5)) + "', table '" +
                 std::string(args.Text(4)) + "'; column does not allow nulls. INSERT or UPDATE fails.");
    }
    args.Return(Convert(args.CellAt(0), args.TypeAt(1), args.TypeAt(2), Conversion::kStore));
}

/// ms_like(value, pattern, escape)
void Like(const Arguments& args) {
    if (args.IsNull(0) || args.IsNull(1) || args.IsNull(2)) return;
    const std::u16string escape = ToUtf16(args.Text(2));
    if (escape.size() > 1) {
        Fail("42000", 506,
             "The invalid escape character \"" + std::string(args.Text(2)) +
                 "\" was specified in a LIKE predicate.");
    }
    const bool matches =
        LikeMatches(ToUtf16(args.Text(0)), ToUtf16(args.Text(1)), escape.empty() ? u'\0' : escape[0]);
    args.Return(std::int64_t{matches});
}

/// ms_len(text): without trailing blanks
void Length(const Arguments& args) {
    if (args.IsNull(0)) return;
    std::string_view text = args.Text(0);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    args.Return(static_cast<std::int64_t>(TextLength(text, true)));
}

/// ms_bytes(value, type)
void Bytes(const Arguments& args) {
    if (args.IsNull(0)) return;
    const Type type = args.TypeAt(1);
    const std::size_t unit = IsWide(type.id) ? 2 : 1;
    if (!IsText(type)) return args.Return(ByteSizeOf(type));
    args.Return(static_cast<std::int64_t>(TextLength(args.Text(0), IsWide(type.id)) * unit));
}

void Lower(const Arguments& args) {
    if (!args.IsNull(0)) args.Return(std::string_view(LowerText(args.Text(0))));
}

void Upper(const Arguments& args) {
    if (!args.IsNull(0)) args.Return(std::string_view(UpperText(args.Text(0))));
}

void Left(const Arguments& args) {
    if (args.IsNull(0) || args.IsNull(1)) return;
    if (args.Integer(1) < 0) Fail("42000", 536, "Invalid length parameter passed to the LEFT function.");
    args.Return(CutText(args.Text(0), static_cast<std::size_t>(args.Integer(1)), true));
}

void Right(const Arguments& args) {
    if (args.IsNull(0) || args.IsNull(1)) return;
    if (args.Integer(1) < 0) Fail("42000", 536, "Invalid length parameter passed to the RIGHT function.");
    const std::u16string text = ToUtf16(args.Text(0));
    const auto count = std::min(text.size(), static_cast<std::size_t>(args.Integer(1)));
    args.Return(std::string_view(ToUtf8(std::u16string_view(text).substr(text.size() - count))));
}

/// ms_repeat(text, times)
void Repeat(const Arguments& args) {
    if (args.IsNull(0) || args.IsNull(1) || args.Integer(1) < 0) return;
    const std::string_view text = args.Text(0);
    const auto unit = static_cast<std::int64_t>(std::max<std::size_t>(1, TextLength(text, true)));
    std::string out;
    for (std::int64_t i = 0; i < std::min(args.Integer(1), kLongestResult / unit); ++i) out += text;
    args.Return(std::string_view(out));
}

/// ms_math(op, a, b, type of the result): whole numbers, or floats
void Math(const Arguments& args) {
    if (args.IsNull(1) || args.IsNull(2)) return;
    const char op = args.Text(0)[0];
    const Type type = args.TypeAt(3);
    const bool real = type.id == TypeId::kFloat;
    if ((op == '/' || op == '%') && (real ? args.Real(2) == 0 : args.Integer(2) == 0)) {
        Fail("22012", 8134, "Divide by zero error encountered.");
    }
    if (real) {
        const double a = args.Real(1), b = args.Real(2);
        args.Return(op == '+'   ? a + b
                    : op == '-' ? a - b
                    : op == '*' ? a * b
                    : op == '/' ? a / b
                                : std::fmod(a, b));
        return;
    }
    const std::int64_t a = args.Integer(1), b = args.Integer(2);
    std::int64_t result = 0;
    bool overflow = false;
    switch (op) {
        case '+':
            overflow = __builtin_add_overflow(a, b, &result);
            break;
        case '-':
            overflow = __builtin_sub_overflow(a, b, &result);
            break;
        case '*':
            overflow = __builtin_mul_overflow(a, b, &result);
            break;
        default:
            if (b == -1) {
                overflow = __builtin_sub_overflow(std::int64_t{0}, op == '/' ? a : 0, &result);
            } else {
                result = op == '/' ? a / b : a % b;
            }
    }
    const IntegerRange range = RangeOf(type.id);
    if (overflow || result < range.low || result > range.high) {
        Fail("22003", 8115,
             std::string("Arithmetic overflow error converting expression to data type ") + NameOf(type.id) +
                 ".");
    }
    args.Return(result);
}

using Function = void (*)(const Arguments&);

template <Function kFunction>
void Thunk(sqlite3_context* context, int, sqlite3_value** values) noexcept {
    try {
        kFunction(Arguments(context, values));
    } catch (const SqlError& error) {
        pendingError = error;
        sqlite3_result_error(context, error.what(), -1);
    } catch (const std::exception&) {
        sqlite3_result_error_nomem(context);
    }
}

int Collate(void*, int aSize, const void* a, int bSize, const void* b) noexcept {
    return CompareText({static_cast<const char*>(a), static_cast<std::size_t>(aSize)},
                       {static_cast<const char*>(b), static_cast<std::size_t>(bSize)});
}

}  // namespace

void RegisterFunctions(sqlite3* db) {
    struct Row {
        const char* name;
        int arguments;
        void (*function)(sqlite3_context*, int, sqlite3_value**);
    };
    constexpr Row kFunctions[] = {
        {"ms_cast", 3, Thunk<Cast>},     {"ms_store", 6, Thunk<Store>}, {"ms_like", 3, Thunk<Like>},
        {"ms_len", 1, Thunk<Length>},    {"ms_bytes", 2, Thunk<Bytes>}, {"ms_lower", 1, Thunk<Lower>},
        {"ms_upper", 1, Thunk<Upper>},   {"ms_left", 2, Thunk<Left>},   {"ms_right", 2, Thunk<Right>},
        {"ms_repeat", 2, Thunk<Repeat>}, {"ms_math", 4, Thunk<Math>},
    };
    sqlite3_create_collation(db, "MS", SQLITE_UTF8, nullptr, Collate);
    for (const Row& row : kFunctions) {
        sqlite3_create_function(db, row.name, row.arguments, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                row.function, nullptr, nullptr);
    }
}

void ThrowSqlite(sqlite3* db, int code) {
    if (pendingError) throw *std::exchange(pendingError, std::nullopt);
    const std::string text = sqlite3_errmsg(db);
    switch (code & 0xFF) {
        case SQLITE_BUSY:
            Fail("HYT00", 1222, "Lock request time out period exceeded.");
        case SQLITE_INTERRUPT:
            FailInDriver("HY008", "Operation canceled");
        case SQLITE_CONSTRAINT:
            Fail("23000", 2627,
                 "Violation of UNIQUE KEY or PRIMARY KEY constraint. Cannot insert duplicate key (" + text +
                     ").");
        default:
            break;
    }
    if (text == "integer overflow") {
        Fail("22003", 8115, "Arithmetic overflow error converting expression to data type bigint.");
    }
    Fail("42000", 50000, "The stand-in could not run the statement: " + text);
}

SqliteStmt Prepare(sqlite3* db, std::string_view sql) {
    sqlite3_stmt* stmt = nullptr;
    const int code = sqlite3_prepare_v2(db, sql.data(), static_cast<int>(sql.size()), &stmt, nullptr);
    if (code != SQLITE_OK) ThrowSqlite(db, code);
    return SqliteStmt(stmt);
}

bool Step(sqlite3_stmt* stmt) {
    const int code = sqlite3_step(stmt);
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) ThrowSqlite(sqlite3_db_handle(stmt), code);
    return false;
}

void Run(sqlite3* db, const std::string& sql) {
    const int code = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) ThrowSqlite(db, code);
}

std::string ColumnText(sqlite3_stmt* stmt, int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
    return text == nullptr ? ""
                           : std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(stmt, column)));
}

Cell ColumnCell(sqlite3_stmt* stmt, int column) {
    switch (sqlite3_column_type(stmt, column)) {
        case SQLITE_NULL:
            return {};
        case SQLITE_INTEGER:
            return std::int64_t{sqlite3_column_int64(stmt, column)};
        case SQLITE_FLOAT:
            return sqlite3_column_double(stmt, column);
        default:
            return ColumnText(stmt, column);
    }
}

namespace {
std::string Quote(std::string_view text, char quote) {
    std::string out(1, quote);
    for (const char c : text) {
        if (c == quote) out.push_back(quote);
        out.push_back(c);
    }
    out.push_back(quote);
    return out;
}
}  // namespace

std::string QuoteText(std::string_view text) {
    return Quote(text, '\'');
}
std::string QuoteName(std::string_view name) {
    return Quote(name, '"');
}

}  // namespace standin
