#pragma once

#include <functional>
#include <string>
#include <vector>

// A conversation with a server without the tool: the same calls of the same statements, nothing kept.

/// One step of a conversation.
struct BareStep {
    enum class Kind { Connect, Disconnect, Direct, Prepared, Manual, Automatic, Commit };
    /// What is fetched: nothing, one row without looking at it, one number, every row's texts.
    enum class Rows { None, One, Number, Texts };

    Kind kind;
    std::wstring text;  // the statement, or the connection string
    Rows rows = Rows::None;
    size_t columns = 0;
};

/// Makes steps of recorded events: "event text" as the stand-in's trace tells them.
/// @param connectionString  gives the connection string for a database's name.
std::vector<BareStep> StepsOf(const std::vector<std::wstring>& events,
                              const std::function<std::wstring(const std::wstring&)>& connectionString);

/// Goes through the steps once more.
/// @param pattern  the one parameter of every prepared statement.
/// @return the number of rows fetched.
/// @throws RuntimeError when a call fails.
size_t Replay(const std::vector<BareStep>& steps, const std::wstring& pattern = {});
