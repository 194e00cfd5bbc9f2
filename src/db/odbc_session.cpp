#include "db/odbc_session.h"

#include "db/odbc_transaction.h"
#include "text/text.h"

namespace {

// ODBC passes integer attributes in the pointer argument.
SQLPOINTER IntegerAttribute(SQLULEN value) noexcept {
    return reinterpret_cast<SQLPOINTER>(value);
}

// Overwrites a string that holds a password; a plain assignment could be optimised away.
void Forget(wchar_t* text, size_t units) noexcept {
    SecureZeroMemory(text, units * sizeof(wchar_t));
}

}  // namespace

struct OdbcSession::Side {
    int timeoutSeconds;  // of one attempt
    const char* environmentFailed;
    const char* connectionFailed;
};
const OdbcSession::Side OdbcSession::kAccountSide = {5, "ODBC environment failed", "ODBC connection failed"};
const OdbcSession::Side OdbcSession::kRepairSide = {10, "ODBC 环境初始化失败", "ODBC 连接句柄初始化失败"};

void OdbcSession::Close() noexcept {
    const bool freed =
        !connection_ || (Disconnect() && OdbcHandleTrait<SQL_HANDLE_DBC>::Close(connection_.Get()));
    connection_.Release();
    if (!freed) environment_.Release();
    environment_.Reset();
    connected_ = false;
}

bool OdbcSession::Disconnect() noexcept {
    const bool disconnected = OdbcSucceeded(SQLDisconnect(connection_.Get()));
    if (disconnected || !connected_) return true;  // a handle that no attempt has connected can be freed
    RollbackTransaction(connection_.Get());
    return OdbcSucceeded(SQLDisconnect(connection_.Get()));
}

void OdbcSession::Allocate(const Side& side) {
    Close();
    SQLHANDLE handle = SQL_NULL_HANDLE;
    if (!OdbcSucceeded(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &handle))) {
        throw RuntimeError(side.environmentFailed);
    }
    environment_.Reset(handle);
    SQLSetEnvAttr(handle, SQL_ATTR_ODBC_VERSION, IntegerAttribute(SQL_OV_ODBC3), 0);
    if (!OdbcSucceeded(SQLAllocHandle(SQL_HANDLE_DBC, environment_.Get(), &handle))) {
        Close();
        throw RuntimeError(side.connectionFailed);
    }
    connection_.Reset(handle);
    // Of the time-out in the connection string the drivers know nothing: by themselves they wait for 15
    // seconds.
    SQLSetConnectAttrW(handle, SQL_ATTR_LOGIN_TIMEOUT,
                       IntegerAttribute(static_cast<SQLULEN>(side.timeoutSeconds)), SQL_IS_UINTEGER);
}

bool OdbcSession::Attempt(std::wstring_view driver, const DbConnectionSettings& settings, const Side& side) {
    constexpr SQLSMALLINT kCompletedUnits = 2048;
    std::wstring text = BuildConnectionString(driver, settings, side.timeoutSeconds);
    SQLWCHAR completed[kCompletedUnits];
    SQLSMALLINT completedLength = 0;
    connected_ = OdbcSucceeded(SQLDriverConnectW(connection_.Get(), nullptr, text.data(), SQL_NTS, completed,
                                                 kCompletedUnits, &completedLength, SQL_DRIVER_NOPROMPT));
    Forget(text.data(), text.size());
    Forget(completed, kCompletedUnits);
    return connected_;
}

void OdbcSession::Connect(const DbConnectionSettings& settings) {
    Allocate(kRepairSide);
    const DbConnectionSettings* chosen = &settings;
    DbConnectionSettings onMaster;
    if (settings.database.empty()) {
        onMaster = settings;
        onMaster.database = L"master";
        chosen = &onMaster;
    }
    std::wstring lastError;
    for (const std::wstring_view driver : kDefaultDrivers) {
        if (Attempt(driver, *chosen, kRepairSide)) return;
        lastError = std::wstring(driver) + L"：" + OdbcDiagnostics(SQL_HANDLE_DBC, connection_.Get());
        SQLDisconnect(connection_.Get());  // not connected: fails, and the next attempt begins afresh
    }
    Close();
    const std::string message = WideToUtf8(L"SQL Server 连接失败：" + lastError);
    throw RuntimeError(message.empty() ? "ODBC error" : message);
}

void OdbcSession::ConnectAccountSide(const DbConnectionSettings& settings) {
    Allocate(kAccountSide);
    std::wstring lastError;
    const auto connects = [&](std::wstring_view driver) {
        if (Attempt(driver, settings, kAccountSide)) return true;
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
