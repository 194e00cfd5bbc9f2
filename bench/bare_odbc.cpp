#include "bench/bare_odbc.h"

#include <algorithm>

#include "text/text.h"

namespace {

struct TextBuffer {
    SQLWCHAR text[256];
    SQLLEN indicator;
};
TextBuffer buffers[7];

void Require(SQLRETURN result) {
    if (!SQL_SUCCEEDED(result)) throw RuntimeError("a call of the bare loop failed");
}

// What is fetched of a statement: nothing, one row without looking at it, one number, every row's texts.
enum class Rows { None, One, Number, Texts };

Rows RowsOf(std::wstring_view sql) {
    if (!sql.starts_with(L"SELECT")) return Rows::None;
    if (sql.starts_with(L"SELECT TOP (1) ")) return Rows::One;
    return sql.starts_with(L"SELECT COUNT_BIG") || sql.starts_with(L"SELECT MAX") ? Rows::Number
                                                                                  : Rows::Texts;
}

void FetchTexts(SQLHSTMT statement, SQLUSMALLINT columns) {
    for (SQLUSMALLINT i = 0; i < columns; ++i) {
        Require(SQLBindCol(statement, static_cast<SQLUSMALLINT>(i + 1), SQL_C_WCHAR, buffers[i].text,
                           sizeof buffers[i].text, &buffers[i].indicator));
    }
    while (SQLFetch(statement) != SQL_NO_DATA) continue;
}

void FetchOne(SQLHSTMT statement, bool number) {
    SQLBIGINT value = 0;
    SQLLEN indicator = 0;
    if (number) Require(SQLBindCol(statement, 1, SQL_C_SBIGINT, &value, sizeof value, &indicator));
    Require(SQLFetch(statement));
}

void ExecutePrepared(SQLHSTMT statement, const std::wstring& sql, const std::wstring& pattern) {
    SQLLEN indicator = SQL_NTS;
    Require(SQLPrepareW(statement, OdbcText(sql.c_str()), SQL_NTS));
    Require(SQLBindParameter(statement, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, pattern.size(), 0,
                             OdbcText(pattern.c_str()),
                             static_cast<SQLLEN>((pattern.size() + 1) * sizeof(wchar_t)), &indicator));
    Require(SQLExecute(statement));
}

auto StatementCall(const std::wstring& sql, bool prepared, const std::wstring& pattern) {
    const auto listEnd = sql.begin() + static_cast<std::ptrdiff_t>(std::min(sql.find(L" FROM "), sql.size()));
    const auto columns = static_cast<SQLUSMALLINT>(1 + std::count(sql.begin(), listEnd, L','));
    return [=, rows = RowsOf(sql)](std::deque<BareConnection>& open) {
        const OdbcStatement statement = AllocateStatement(open.back().connection.Get());
        if (prepared) {
            ExecutePrepared(statement.Get(), sql, pattern);
        } else {
            Require(SQLExecDirectW(statement.Get(), OdbcText(sql.c_str()), SQL_NTS));
        }
        if (rows == Rows::Texts) {
            FetchTexts(statement.Get(), columns);
        } else if (rows != Rows::None) {
            FetchOne(statement.Get(), rows == Rows::Number);
        }
    };
}

auto AutomaticCommitCall(SQLULEN mode) {
    return [mode](std::deque<BareConnection>& open) {
        Require(SQLSetConnectAttrW(open.back().connection.Get(), SQL_ATTR_AUTOCOMMIT,
                                   reinterpret_cast<SQLPOINTER>(mode), SQL_IS_UINTEGER));
    };
}

}  // namespace

BareConnection::BareConnection(const std::wstring& connectionString) {
    SQLHANDLE handle = SQL_NULL_HANDLE;
    Require(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &handle));
    environment.Reset(handle);
    SQLSetEnvAttr(handle, SQL_ATTR_ODBC_VERSION,
                  reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(SQL_OV_ODBC3)), 0);
    Require(SQLAllocHandle(SQL_HANDLE_DBC, environment.Get(), &handle));
    connection.Reset(handle);
    SQLWCHAR completed[2048];
    SQLSMALLINT length = 0;
    Require(SQLDriverConnectW(handle, nullptr, OdbcText(connectionString.c_str()), SQL_NTS, completed, 2048,
                              &length, SQL_DRIVER_NOPROMPT));
}

BareConversation::BareConversation(const std::vector<std::wstring>& events,
                                   const std::function<std::wstring(const std::wstring&)>& connectionString,
                                   const std::wstring& pattern) {
    std::wstring prepared;
    for (const std::wstring& event : events) {
        const size_t blank = std::min(event.find(L' '), event.size());
        const std::wstring name = event.substr(0, blank);
        const std::wstring text = event.substr(std::min(blank + 1, event.size()));
        if (name == L"connect") {
            calls_.push_back([full = connectionString(text)](Connections& open) { open.emplace_back(full); });
        }
        // Connections end in the reverse of their order, as those of nested scopes do.
        if (name == L"disconnect") calls_.push_back([](Connections& open) { open.pop_back(); });
        if (name == L"manual") calls_.push_back(AutomaticCommitCall(SQL_AUTOCOMMIT_OFF));
        if (name == L"auto") calls_.push_back(AutomaticCommitCall(SQL_AUTOCOMMIT_ON));
        if (name == L"commit") {
            calls_.push_back([](Connections& open) {
                Require(SQLEndTran(SQL_HANDLE_DBC, open.back().connection.Get(), SQL_COMMIT));
            });
        }
        if (name == L"prepare") prepared = text;
        if (name == L"execute") {
            calls_.push_back(StatementCall(text, text == prepared, pattern));
            prepared.clear();
        }
    }
}

void BareConversation::Replay() const {
    Connections open;
    for (const auto& call : calls_) call(open);
}
