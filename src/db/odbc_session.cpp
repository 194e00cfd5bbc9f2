#include "db/odbc_session.h"

#include "text/text.h"

namespace {

constexpr int kAccountTimeoutSeconds = 5;
constexpr int kRepairTimeoutSeconds = 10;

// Overwrites a string that holds a password; a plain assignment could be optimised away.
void Forget(wchar_t* text, size_t units) noexcept {
    SecureZeroMemory(text, units * sizeof(wchar_t));
}

}  // namespace

void OdbcSession::Close() noexcept {
    if (connection_) SQLDisconnect(connection_.Get());
    connection_.Reset();
    environment_.Reset();
}

void OdbcSession::Allocate(const char* environmentFailed, const char* connectionFailed) {
    Close();
    SQLHANDLE handle = SQL_NULL_HANDLE;
    if (!OdbcSucceeded(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &handle))) {
        throw RuntimeError(environmentFailed);
    }
    environment_.Reset(handle);
    // ODBC passes integer attributes in the pointer argument.
    SQLSetEnvAttr(handle, SQL_ATTR_ODBC_VERSION,
                  reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(SQL_OV_ODBC3)), 0);
    if (!OdbcSucceeded(SQLAllocHandle(SQL_HANDLE_DBC, environment_.Get(), &handle))) {
        Close();
        throw RuntimeError(connectionFailed);
    }
    connection_.Reset(handle);
}

bool OdbcSession::Attempt(std::wstring_view driver, const DbConnectionSettings& settings,
                          int timeoutSeconds) {
    constexpr SQLSMALLINT kCompletedUnits = 2048;
    std::wstring text = BuildConnectionString(driver, settings, timeoutSeconds);
    SQLWCHAR completed[kCompletedUnits];
    SQLSMALLINT completedLength = 0;
    const SQLRETURN result = SQLDriverConnectW(connection_.Get(), nullptr, text.data(), SQL_NTS, completed,
                                               kCompletedUnits, &completedLength, SQL_DRIVER_NOPROMPT);
    Forget(text.data(), text.size());
    Forget(completed, kCompletedUnits);
    return OdbcSucceeded(result);
}

void OdbcSession::Connect(const DbConnectionSettings& settings) {
    Allocate("ODBC 环境初始化失败", "ODBC 连接句柄初始化失败");
    const DbConnectionSettings* chosen = &settings;
    DbConnectionSettings onMaster;
    if (settings.database.empty()) {
        onMaster = settings;
        onMaster.database = L"master";
        chosen = &onMaster;
    }
    std::wstring lastError;
    for (const std::wstring_view driver : kDefaultDrivers) {
        if (Attempt(driver, *chosen, kRepairTimeoutSeconds)) return;
        lastError = std::wstring(driver) + L"：" + OdbcDiagnostics(SQL_HANDLE_DBC, connection_.Get());
        SQLDisconnect(connection_.Get());
    }
    Close();
    const std::string message = WideToUtf8(L"SQL Server 连接失败：" + lastError);
    throw RuntimeError(message.empty() ? "ODBC error" : message);
}

void OdbcSession::ConnectAccountSide(const DbConnectionSettings& settings) {
    Allocate("ODBC environment failed", "ODBC connection failed");
    std::wstring lastError;
    const auto connects = [&](std::wstring_view driver) {
        if (Attempt(driver, settings, kAccountTimeoutSeconds)) return true;
        lastError =
            std::wstring(driver) + L" 连接失败：" + OdbcDiagnostics(SQL_HANDLE_DBC, connection_.Get());
        return false;
    };
    const std::wstring_view configured = TrimView(settings.driver);
    if (!configured.empty() && connects(configured)) return;
    for (const std::wstring_view driver : kDefaultDrivers) {
        if (connects(driver)) return;
    }
    Close();
    throw RuntimeError(lastError);
}
