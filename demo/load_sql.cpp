// load_sql "CONNECTION STRING" FILE.sql...: runs T-SQL scripts batch by batch, as sqlcmd does, where only an
// ODBC driver is available. Scripts are UTF-8; a line that holds only GO ends a batch. Ends with 1 at the
// first error.

#include <windows.h>

#include <sql.h>
#include <sqlext.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "utf8.h"

namespace {

using Text = std::basic_string<SQLWCHAR>;

Text FromUtf8(const std::string& bytes) {
    const int length = static_cast<int>(bytes.size());
    const int size = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), length, nullptr, 0);
    if (size == 0) throw std::runtime_error("the script is not UTF-8");
    Text text(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, text.data(), size);
    return text;
}

/// All diagnostic records of a handle, one per line.
std::string Diagnostics(SQLSMALLINT handleType, SQLHANDLE handle) {
    std::string lines;
    std::array<SQLWCHAR, 6> state{};
    std::array<SQLWCHAR, 1024> message{};
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    for (SQLSMALLINT record = 1;; ++record) {
        const SQLRETURN result =
            SQLGetDiagRecW(handleType, handle, record, state.data(), &native, message.data(),
                           static_cast<SQLSMALLINT>(message.size()), &length);
        if (!SQL_SUCCEEDED(result)) return lines;
        lines += "  " + ToUtf8(state.data()) + ": " + ToUtf8(message.data()) + "\n";
    }
}

class Connection {
public:
    explicit Connection(Text connectionString) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
        SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION,
                      reinterpret_cast<SQLPOINTER>(std::uintptr_t{SQL_OV_ODBC3}), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_);
        const SQLRETURN result = SQLDriverConnectW(connection_, nullptr, connectionString.data(), SQL_NTS,
                                                   nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
        if (!SQL_SUCCEEDED(result)) {
            throw std::runtime_error("cannot connect\n" + Diagnostics(SQL_HANDLE_DBC, connection_));
        }
    }
    ~Connection() {
        SQLDisconnect(connection_);
        SQLFreeHandle(SQL_HANDLE_DBC, connection_);
        SQLFreeHandle(SQL_HANDLE_ENV, environment_);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void Run(Text batch) {
        SQLHANDLE statement = nullptr;
        if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement))) {
            throw std::runtime_error("no statement\n" + Diagnostics(SQL_HANDLE_DBC, connection_));
        }
        const std::string error = RunOn(statement, batch);
        SQLFreeHandle(SQL_HANDLE_STMT, statement);
        if (!error.empty()) throw std::runtime_error(error);
    }

private:
    /// @return the diagnostics of the statement of the batch that failed, or an empty text
    static std::string RunOn(SQLHANDLE statement, Text& batch) {
        SQLRETURN result = SQLExecDirectW(statement, batch.data(), SQL_NTS);
        // An error of a later statement of the batch is reported only when its result is requested.
        while (SQL_SUCCEEDED(result)) result = SQLMoreResults(statement);
        if (result == SQL_NO_DATA) return {};
        return "the batch failed\n" + Diagnostics(SQL_HANDLE_STMT, statement);
    }

    SQLHANDLE environment_ = nullptr;
    SQLHANDLE connection_ = nullptr;
};

struct Batch {
    int firstLine = 1;
    std::string text;
};

bool IsBatchEnd(const std::string& line) {
    const auto first = line.find_first_not_of(" \t\r");
    const auto last = line.find_last_not_of(" \t\r");
    if (first == std::string::npos || last - first != 1) return false;
    return (line[first] == 'G' || line[first] == 'g') && (line[last] == 'O' || line[last] == 'o');
}

std::vector<Batch> SplitBatches(std::istream& script) {
    std::vector<Batch> batches(1);
    std::string line;
    for (int number = 1; std::getline(script, line); ++number) {
        if (IsBatchEnd(line)) {
            batches.push_back({number + 1, {}});
        } else {
            batches.back().text += line + "\n";
        }
    }
    std::erase_if(batches, [](const Batch& batch) {
        return batch.text.find_first_not_of(" \t\r\n") == std::string::npos;
    });
    return batches;
}

void RunScript(Connection& connection, const wchar_t* path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot open " + ToUtf8(path));
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.erase(0, 3);
    std::istringstream script(bytes);
    for (const Batch& batch : SplitBatches(script)) {
        try {
            connection.Run(FromUtf8(batch.text));
        } catch (const std::exception& error) {
            throw std::runtime_error(ToUtf8(path) + ", batch at line " + std::to_string(batch.firstLine) +
                                     ": " + error.what());
        }
    }
}

}  // namespace

int wmain(int argumentCount, wchar_t** arguments) {
    SetConsoleOutputCP(CP_UTF8);
    if (argumentCount < 3) {
        std::fputs("load_sql \"CONNECTION STRING\" FILE.sql...\n", stderr);
        return 2;
    }
    try {
        Connection connection(arguments[1]);
        for (int i = 2; i < argumentCount; ++i) RunScript(connection, arguments[i]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
