#include "sqlite.h"

#include <chrono>
#include <thread>

#include "collation.h"
#include "text.h"

namespace standin {
namespace {

std::int64_t NowInMilliseconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

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
    return text == nullptr ? "" : std::string(text, static_cast<std::size_t>(sqlite3_value_bytes(value)));
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
    if (const auto* number = std::get_if<std::int64_t>(&cell)) return sqlite3_result_int64(context, *number);
    if (const auto* text = std::get_if<std::string>(&cell)) {
        return sqlite3_result_text64(context, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    }
    if (const auto* big = std::get_if<BigDecimal>(&cell)) {
        return sqlite3_result_blob64(context, big->digits.data(), big->digits.size(), SQLITE_TRANSIENT);
    }
    sqlite3_result_null(context);
}

int Collate(void*, int aSize, const void* a, int bSize, const void* b) noexcept {
    return CompareText({static_cast<const char*>(a), static_cast<std::size_t>(aSize)},
                       {static_cast<const char*>(b), static_cast<std::size_t>(bSize)});
}

struct CodeRow {
    int code;  // SQLite's, extended or with all its extensions
    Err error;
};
constexpr CodeRow kCodes[] = {
    {SQLITE_CONSTRAINT_NOTNULL, Err::kNotNull},
    {SQLITE_CONSTRAINT_PRIMARYKEY, Err::kPrimaryKey},
    {SQLITE_CONSTRAINT_ROWID, Err::kPrimaryKey},
    {SQLITE_CONSTRAINT_UNIQUE, Err::kUniqueIndex},
    {SQLITE_BUSY, Err::kLockTimeout},
};

}  // namespace

std::string QuoteText(std::string_view text) {
    return Quote(text, '\'');
}
std::string QuoteName(std::string_view name) {
    return Quote(name, '"');
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
        case SQLITE_BLOB:
            return BigDecimal{ColumnText(stmt, column)};
        default:
            return ColumnText(stmt, column);
    }
}

void BindCell(sqlite3_stmt* stmt, int parameter, const Cell& cell) {
    if (const auto* text = std::get_if<std::string>(&cell)) {
        sqlite3_bind_text64(stmt, parameter, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    } else {
        sqlite3_bind_null(stmt, parameter);
    }
}

/// The functions that rewritten statements call. An exception waits in the connection for the call that met
/// it.
struct Sqlite::Functions {
    using Body = Cell (*)(sqlite3_value** arguments);

    /// ms_cast(value, kind, length) and ms_store(value, kind, length)
    template <Conversion kHow>
    static Cell Convert(sqlite3_value** arguments) {
        const Type to{static_cast<TypeKind>(sqlite3_value_int(arguments[1])),
                      sqlite3_value_int(arguments[2])};
        return standin::Convert(ValueCell(arguments[0]), to, kHow);
    }

    /// ms_calc(sign, left, right)
    static Cell Calc(sqlite3_value** arguments) {
        return Calculate(ValueText(arguments[0])[0], ValueCell(arguments[1]), ValueCell(arguments[2]));
    }

    /// like(pattern, value [, escape]): what SQLite calls for LIKE
    template <bool kEscape>
    static Cell Like(sqlite3_value** arguments) {
        for (int i = 0; i < (kEscape ? 3 : 2); ++i) {
            if (sqlite3_value_type(arguments[i]) == SQLITE_NULL) return {};
        }
        std::u16string escape;
        if constexpr (kEscape) {
            escape = ToUtf16(ValueText(arguments[2]));
            if (escape.size() != 1) Fail(Err::kEscape, ValueText(arguments[2]));
        }
        return std::int64_t{LikeMatches(ToUtf16(Render(ValueCell(arguments[1]))),
                                        ToUtf16(ValueText(arguments[0])),
                                        escape.empty() ? u'\0' : escape[0])};
    }

    template <Body kBody>
    static void Thunk(sqlite3_context* context, int, sqlite3_value** arguments) noexcept {
        try {
            ReturnCell(context, kBody(arguments));
        } catch (const SqlError& error) {
            static_cast<Sqlite*>(sqlite3_user_data(context))->failure_ = error;
            sqlite3_result_error(context, error.what(), -1);
        } catch (const std::exception&) {
            sqlite3_result_error_nomem(context);
        }
    }

    static void Register(sqlite3* db, Sqlite* connection) {
        struct Row {
            const char* name;
            int arguments;
            void (*function)(sqlite3_context*, int, sqlite3_value**);
        };
        constexpr Row kFunctions[] = {
            {"ms_cast", 3, Thunk<Convert<Conversion::kCast>>},
            {"ms_store", 3, Thunk<Convert<Conversion::kStore>>},
            {"ms_calc", 3, Thunk<Calc>},
            {"like", 2, Thunk<Like<false>>},
            {"like", 3, Thunk<Like<true>>},
        };
        for (const Row& row : kFunctions) {
            sqlite3_create_function(db, row.name, row.arguments, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                    connection, row.function, nullptr, nullptr);
        }
        sqlite3_create_collation(db, "MS", SQLITE_UTF8, nullptr, Collate);
    }
};

Sqlite::Sqlite(const std::string& file) {
    sqlite3* db = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
    const int code = sqlite3_open_v2(file.c_str(), &db, flags, nullptr);
    db_.reset(db);
    if (code != SQLITE_OK) Throw(code, file);
    Functions::Register(db, this);
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_handler(db, OnBusy, this);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);           // "x" is a name, never a text
    sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);  // closing must not wait for a lock
    // A change of the journal mode is refused at once while another process does the same.
    for (int attempt = 0; sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr) != SQLITE_OK;
         ++attempt) {
        if (attempt == 500) Throw(sqlite3_errcode(db), file);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    // The machine may lose the file when it loses its power; a process that is killed loses only what is
    // open.
    Run("PRAGMA synchronous=OFF");
    Run("PRAGMA temp_store=MEMORY");
}

int Sqlite::OnBusy(void* self, int count) noexcept {
    auto& connection = *static_cast<Sqlite*>(self);
    if (count == 0) connection.waitedSince_ = NowInMilliseconds();
    const std::int64_t waited = NowInMilliseconds() - connection.waitedSince_;
    if (connection.lockTimeout_ >= 0 && waited >= connection.lockTimeout_) return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(count < 10 ? 1 : 5));
    return 1;
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
    const SqliteStmt stmt = Prepare(sql);
    Step(stmt.get());
}

void Sqlite::Throw(int code, const std::string& sql) {
    if (failure_) throw *std::exchange(failure_, std::nullopt);
    for (const CodeRow& row : kCodes) {
        if (row.code == code || row.code == (code & 0xFF)) Fail(row.error);
    }
    const int at = code == SQLITE_ERROR ? sqlite3_error_offset(db_.get()) : -1;
    if (at < 0 || static_cast<std::size_t>(at) >= sql.size()) {
        Fail(Err::kStatementFailed, sqlite3_errmsg(db_.get()));
    }
    // Only names stand in quotation marks in what was rewritten.
    const auto start = static_cast<std::size_t>(at);
    const std::size_t end = sql.find(sql[start] == '"' ? '"' : ' ', start + 1);
    if (sql[start] == '"') Fail(Err::kUnknownColumn, sql.substr(start + 1, end - start - 1));
    Fail(Err::kSyntax, sql.substr(start, end - start));
}

bool Sqlite::HasTable(const std::string& table) const {
    return sqlite3_table_column_metadata(db_.get(), "main", table.c_str(), nullptr, nullptr, nullptr, nullptr,
                                         nullptr, nullptr) == SQLITE_OK;
}

std::optional<Type> Sqlite::ColumnType(const std::string& table, const std::string& column) const {
    const char* declared = nullptr;
    const int code = sqlite3_table_column_metadata(db_.get(), "main", table.c_str(), column.c_str(),
                                                   &declared, nullptr, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK || declared == nullptr) return std::nullopt;
    return ReadType(declared);
}

}  // namespace standin
