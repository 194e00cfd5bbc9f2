#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "db/odbc_handles.h"

/// A connection without the tool, ended with its owner.
struct BareConnection {
    explicit BareConnection(const std::wstring& connectionString);
    ~BareConnection() { SQLDisconnect(connection.Get()); }
    BareConnection(const BareConnection&) = delete;
    BareConnection& operator=(const BareConnection&) = delete;

    OdbcEnvironment environment;
    OdbcConnection connection;
};

/// A conversation with a server without the tool: the same calls of the same statements, nothing kept.
class BareConversation {
public:
    /// @param events  "event text" as the stand-in's trace tells them; a connection's text is its database.
    /// @param connectionString  gives the connection string for a database's name.
    /// @param pattern  the one parameter of every prepared statement.
    BareConversation(const std::vector<std::wstring>& events,
                     const std::function<std::wstring(const std::wstring&)>& connectionString,
                     const std::wstring& pattern = {});

    size_t Calls() const noexcept { return calls_.size(); }

    /// Goes through it once more.
    /// @throws RuntimeError when a call fails.
    void Replay() const;

private:
    using Connections = std::deque<BareConnection>;
    std::vector<std::function<void(Connections&)>> calls_;
};
