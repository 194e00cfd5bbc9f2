#pragma once

#include "db/connection_string.h"
#include "db/odbc_handles.h"

/// Owns one ODBC environment and one connection: both handles when open, neither when closed. Statement
/// handles belong to the functions that allocate them and are freed before those return.
class OdbcSession {
public:
    OdbcSession() = default;
    OdbcSession(OdbcSession&&) = default;
    OdbcSession& operator=(OdbcSession&&) = delete;
    ~OdbcSession() { Close(); }

    /// Connects for the ID repair: closes what is open, then tries the default drivers in order, for at most
    /// 10 seconds each, to `settings.database` or, when that is empty, "master". `settings.driver` is not
    /// used.
    /// @throws RuntimeError "ODBC 环境初始化失败", "ODBC 连接句柄初始化失败", or "SQL Server 连接失败：" with
    ///         the last driver's name, "：" and its diagnostic text. The session is closed then.
    void Connect(const DbConnectionSettings& settings);

    /// Connects for the account query: closes what is open, then tries `settings.driver` (trimmed, unless it
    /// is empty) and after it all default drivers, for at most 5 seconds each. A default driver named there
    /// is tried twice.
    /// @throws RuntimeError "ODBC environment failed", "ODBC connection failed", or the last driver's name,
    ///         " 连接失败：" and its diagnostic text. The session is closed then.
    void ConnectAccountSide(const DbConnectionSettings& settings);

    /// Disconnects and frees both handles; does nothing when closed. A driver that refuses to disconnect,
    /// because it counts a transaction as open, is asked once more after another rollback. Where it refuses
    /// again the session is closed all the same, but its handles are left to the end of the process: freed
    /// under the driver's feet they could hang it. The server rolls back when the process ends.
    void Close() noexcept;

    SQLHDBC Connection() const noexcept { return connection_.Get(); }

private:
    struct Side;  // what differs between the two kinds of connection
    static const Side kAccountSide, kRepairSide;

    void Allocate(const Side& side);
    bool Attempt(std::wstring_view driver, const DbConnectionSettings& settings, const Side& side);
    bool Disconnect() noexcept;

    OdbcEnvironment environment_;
    OdbcConnection connection_;
    bool connected_ = false;
};
