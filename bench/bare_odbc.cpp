#include "bench/bare_odbc.h"

#include <algorithm>
#include <array>
#include <memory>

#include "db/odbc_handles.h"
#include "text/text.h"

namespace {

using Kind = BareStep::Kind;
using Rows = BareStep::Rows;

struct TextBuffer {
    SQLWCHAR text[256];
    SQLLEN indicator;
};
std::array<TextBuffer, 8> buffers;

void Require(SQLRETURN result) {
    if (!SQL_SUCCEEDED(result)) throw RuntimeError("a call of the bare loop failed");
}

BareStep StatementStep(Kind kind, std::wstring sql) {
    BareStep step{kind, std::move(sql)};
    if (!step.text.starts_with(L"SELECT")) return step;
    if (step.text.starts_with(L"SELECT TOP (1) ")) {
        step.rows = Rows::One;
    } else if (step.text.starts_with(L"SELECT COUNT_BIG") || step.text.starts_with(L"SELECT MAX")) {
        step.rows = Rows::Number;
    } else {
        step.rows = Rows::Texts;
        const auto listEnd = step.text.begin() + static_cast<std::ptrdiff_t>(step.text.find(L" FROM "));
        step.columns = 1 + static_cast<size_t>(std::count(step.text.begin(), listEnd, L','));
    }
    return step;
}

size_t Fetch(SQLHSTMT statement, const BareStep& step) {
    if (step.rows == Rows::None) return 0;
    if (step.rows == Rows::Texts) {
        for (size_t i = 0; i < step.columns; ++i) {
            Require(SQLBindCol(statement, static_cast<SQLUSMALLINT>(i + 1), SQL_C_WCHAR, buffers[i].text,
                               sizeof buffers[i].text, &buffers[i].indicator));
        }
        size_t rows = 0;
        for (; SQLFetch(statement) != SQL_NO_DATA; ++rows) continue;
        return rows;
    }
    SQLBIGINT number = 0;
    SQLLEN indicator = 0;
    if (step.rows == Rows::Number) {
        Require(SQLBindCol(statement, 1, SQL_C_SBIGINT, &number, sizeof number, &indicator));
    }
    Require(SQLFetch(statement));
    return 1;
}

size_t RunStatement(SQLHDBC connection, const BareStep& step, const std::wstring& pattern) {
    SQLHANDLE statement = SQL_NULL_HANDLE;
    Require(SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement));
    SQLLEN indicator = SQL_NTS;
    if (step.kind == Kind::Prepared) {
        Require(SQLPrepareW(statement, OdbcText(step.text.c_str()), SQL_NTS));
        Require(SQLBindParameter(statement, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, pattern.size(), 0,
                                 OdbcText(pattern.c_str()),
                                 static_cast<SQLLEN>((pattern.size() + 1) * sizeof(wchar_t)), &indicator));
        Require(SQLExecute(statement));
    } else {
        Require(SQLExecDirectW(statement, OdbcText(step.text.c_str()), SQL_NTS));
    }
    const size_t rows = Fetch(statement, step);
    SQLFreeHandle(SQL_HANDLE_STMT, statement);
    return rows;
}

struct BareConnection {
    SQLHANDLE environment = SQL_NULL_HANDLE;
    SQLHANDLE connection = SQL_NULL_HANDLE;

    explicit BareConnection(const std::wstring& text) {
        Require(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment));
        SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION,
                      reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(SQL_OV_ODBC3)), 0);
        Require(SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection));
        SQLWCHAR completed[2048];
        SQLSMALLINT length = 0;
        Require(SQLDriverConnectW(connection, nullptr, OdbcText(text.c_str()), SQL_NTS, completed, 2048,
                                  &length, SQL_DRIVER_NOPROMPT));
    }
    BareConnection(const BareConnection&) = delete;
    BareConnection& operator=(const BareConnection&) = delete;
    ~BareConnection() {
        SQLDisconnect(connection);
        SQLFreeHandle(SQL_HANDLE_DBC, connection);
        SQLFreeHandle(SQL_HANDLE_ENV, environment);
    }
};

void SetAutomaticCommit(SQLHDBC connection, SQLULEN mode) {
    Require(SQLSetConnectAttrW(connection, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(mode),
                               SQL_IS_UINTEGER));
}

}  // namespace

std::vector<BareStep> StepsOf(const std::vector<std::wstring>& events,
                              const std::function<std::wstring(const std::wstring&)>& connectionString) {
    std::vector<BareStep> steps;
    std::wstring prepared;
    for (const std::wstring& event : events) {
        const size_t blank = std::min(event.find(L' '), event.size());
        const std::wstring name = event.substr(0, blank);
        const std::wstring text = event.substr(std::min(blank + 1, event.size()));
        if (name == L"connect") steps.push_back({Kind::Connect, connectionString(text)});
        if (name == L"disconnect") steps.push_back({Kind::Disconnect, {}});
        if (name == L"manual") steps.push_back({Kind::Manual, {}});
        if (name == L"auto") steps.push_back({Kind::Automatic, {}});
        if (name == L"commit") steps.push_back({Kind::Commit, {}});
        if (name == L"prepare") prepared = text;
        if (name == L"execute") {
            steps.push_back(StatementStep(text == prepared ? Kind::Prepared : Kind::Direct, text));
            prepared.clear();
        }
    }
    return steps;
}

size_t Replay(const std::vector<BareStep>& steps, const std::wstring& pattern) {
    // Connections end in the reverse of their order, as those of nested scopes do.
    std::vector<std::unique_ptr<BareConnection>> open;
    size_t rows = 0;
    for (const BareStep& step : steps) {
        switch (step.kind) {
            case Kind::Connect:
                open.push_back(std::make_unique<BareConnection>(step.text));
                break;
            case Kind::Disconnect:
                open.pop_back();
                break;
            case Kind::Manual:
                SetAutomaticCommit(open.back()->connection, SQL_AUTOCOMMIT_OFF);
                break;
            case Kind::Automatic:
                SetAutomaticCommit(open.back()->connection, SQL_AUTOCOMMIT_ON);
                break;
            case Kind::Commit:
                Require(SQLEndTran(SQL_HANDLE_DBC, open.back()->connection, SQL_COMMIT));
                break;
            default:
                rows += RunStatement(open.back()->connection, step, pattern);
        }
    }
    return rows;
}
