#include "sqlite.h"

#include <limits>

#include "text.h"

namespace standin {
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

std::string ValueText(sqlite3_value* value) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return {text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

Cell ValueCell(sqlite3_value* value) {
    switch (sqlite3_value_type(value)) {
        case SQLITE_NULL:
            return {};
        case SQLITE_INTEGER:
            return std::int64_t{sqlite3_value_int64(value)};
        case SQLITE_BLOB:
            return BigDecimal{ValueText(value)};
        default:
            return ValueText(value);
    }
}

void ReturnCell(sqlite3_context* context, const Cell& cell) {
    if (const auto* number = std::get_if<std::int64_t>(&cell)) {
        sqlite3_result_int64(context, *number);
    } else if (const auto* text = std::get_if<std::string>(&cell)) {
        sqlite3_result_text64(context, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    } else if (const auto* big = std::get_if<BigDecimal>(&cell)) {
        sqlite3_result_blob64(context, big->digits.data(), big->digits.size(), SQLITE_TRANSIENT);
    }
}

/// ms_cast(value, type, length) and ms_store(value, type, length)
template <bool kMayCut>
Cell ConvertFunction(int, sqlite3_value** values) {
    const auto type = static_cast<std::size_t>(sqlite3_value_int(values[1]));
    return Convert(ValueCell(values[0]), type, sqlite3_value_int(values[2]), kMayCut);
}

/// ms_calc(sign, left, right)
Cell CalculateFunction(int, sqlite3_value** values) {
    return Calculate(ValueText(values[0])[0], ValueCell(values[1]), ValueCell(values[2]));
}

/// like(pattern, value [, escape]), which SQLite calls for LIKE
Cell LikeFunction(int count, sqlite3_value** values) {
    for (int i = 0; i < count; ++i) {
        if (sqlite3_value_type(values[i]) == SQLITE_NULL) return {};
    }
    std::u16string escape(1, u'\0');
    if (count == 3) escape = ToUtf16(ValueText(values[2]));
    if (escape.size() != 1) Fail(kEscape, ValueText(values[2]));
    const std::u16string value = ToUtf16(ValueText(values[1])), pattern = ToUtf16(ValueText(values[0]));
    return std::int64_t{LikeMatches(value, pattern, escape[0])};
}

int Collate(void*, int aSize, const void* a, int bSize, const void* b) noexcept {
    return CompareText({static_cast<const char*>(a), static_cast<std::size_t>(aSize)},
                       {static_cast<const char*>(b), static_cast<std::size_t>(bSize)});
}

/// What SQLite's codes mean; of the extended ones only those that are told apart.
constexpr std::pair<int, const Error*> kCodes[] = {{SQLITE_BUSY, &kLockTimeout},
                                                   {SQLITE_CONSTRAINT_NOTNULL, &kNotNull},
                                                   {SQLITE_CONSTRAINT_PRIMARYKEY, &kPrimaryKey},
                                                   {SQLITE_CONSTRAINT_ROWID, &kPrimaryKey},
                                                   {SQLITE_CONSTRAINT_UNIQUE, &kUniqueIndex}};

}  // namespace

std::string QuoteText(std::string_view text) {
    return Quote(text, '\'');
}
std::string QuoteName(std::string_view name) {
    return Quote(name, '"');
}

Cell ColumnCell(sqlite3_stmt* stmt, int column) {
    return ValueCell(sqlite3_column_value(stmt, column));
}

void BindText(sqlite3_stmt* stmt, int parameter, const std::string& text) {
    sqlite3_bind_text64(stmt, parameter, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

Sqlite::Sqlite(const std::string& file) {
    sqlite3* db = nullptr;
    const int flags =
        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    const int code = sqlite3_open_v2(file.c_str(), &db, flags, nullptr);
    db_.reset(db);
    if (code != SQLITE_OK) Throw(code, "");
    RegisterFunctions();
    SetLockTimeout(std::numeric_limits<int>::max());
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);  // "x" is a name, never a text
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);  // closing must not wait for a lock
    // A change of the journal mode is refused at once while another process does the same.
    for (int attempt = 0; sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr) != SQLITE_OK;
         ++attempt) {
        if (attempt == 500) Throw(sqlite3_extended_errcode(db), "");
        sqlite3_sleep(10);
    }
    // A machine without power may lose the file; a process that is killed loses only what is open.
    Run("PRAGMA synchronous=OFF");
    Run("PRAGMA temp_store=MEMORY");
}

/// SQLite takes only a text from a function that fails; state and number wait in the connection.
template <Cell (*kBody)(int count, sqlite3_value** values)>
void Sqlite::Function(sqlite3_context* context, int count, sqlite3_value** values) noexcept {
    try {
        ReturnCell(context, kBody(count, values));
    } catch (const SqlError& error) {
        static_cast<Sqlite*>(sqlite3_user_data(context))->failure_ = error;
        sqlite3_result_error(context, error.what(), -1);
    } catch (const std::exception&) {
        sqlite3_result_error_nomem(context);
    }
}

void Sqlite::RegisterFunctions() {
    const auto add = [this](const char* name, int arguments, auto* function) {
        sqlite3_create_function(db_.get(), name, arguments, SQLITE_UTF8 | SQLITE_DETERMINISTIC, this,
                                function, nullptr, nullptr);
    };
    add("ms_cast", 3, Function<ConvertFunction<true>>);
    add("ms_store", 3, Function<ConvertFunction<false>>);
    add("ms_calc", 3, Function<CalculateFunction>);
    add("like", 2, Function<LikeFunction>);
    add("like", 3, Function<LikeFunction>);
    sqlite3_create_collation(db_.get(), "MS", SQLITE_UTF8, nullptr, Collate);
}

SqliteStmt Sqlite::Prepare(const std::string& sql) {
    failure_.reset();
    sqlite3_stmt* stmt = nullptr;
    const int code = sqlite3_prepare_v2(db_.get(), sql.data(), static_cast<int>(sql.size()), &stmt, nullptr);
    if (code != SQLITE_OK) Throw(code, sql);
    return SqliteStmt(stmt);
}

bool Sqlite::Step(sqlite3_stmt* stmt) {
    failure_.reset();
    const int code = sqlite3_step(stmt);
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) Throw(code, "");
    return false;
}

void Sqlite::Run(const std::string& sql) {
    Step(Prepare(sql).get());
}

void Sqlite::RunAtomically(const std::function<void()>& work) {
    const bool nested = InTransaction();
    Run(nested ? "SAVEPOINT change" : "BEGIN IMMEDIATE");
    try {
        work();
        Run(nested ? "RELEASE change" : "COMMIT");
    } catch (...) {
        if (nested) Run("ROLLBACK TO change");
        Run(nested ? "RELEASE change" : "ROLLBACK");
        throw;
    }
}

void Sqlite::Throw(int code, const std::string& sql) {
    if (failure_) throw *std::exchange(failure_, std::nullopt);
    for (const auto& [known, error] : kCodes) {
        if (known == code || known == (code & 0xFF)) Fail(*error);
    }
    const int at = sqlite3_error_offset(db_.get());
    if (sql.empty() || at < 0) Fail(kStatementFailed, sqlite3_errmsg(db_.get()));
    // Only names stand in quotation marks in what was rewritten.
    const std::string rest = sql.substr(static_cast<std::size_t>(at));
    const bool isName = rest.starts_with('"');
    Fail(isName ? kUnknownColumn : kSyntax, rest.substr(isName, rest.find(isName ? '"' : ' ', 1) - isName));
}

bool Sqlite::HasTable(const std::string& table) const {
    return sqlite3_table_column_metadata(db_.get(), "main", table.c_str(), nullptr, nullptr, nullptr, nullptr,
                                         nullptr, nullptr) == SQLITE_OK;
}

std::optional<Type> Sqlite::ColumnType(const std::string& table, const std::string& column) const {
    const char* declared = nullptr;
    const int code = sqlite3_table_column_metadata(db_.get(), "main", table.c_str(), column.c_str(),
                                                   &declared, nullptr, nullptr, nullptr, nullptr);
    return code == SQLITE_OK ? std::optional(ReadDeclaration(declared)) : std::nullopt;
}

}  // namespace standin
