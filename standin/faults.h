#pragma once

#include <string>

#include "errors.h"

namespace standin {

/// The fault also takes the connection down.
class ConnectionDied : public SqlError {
public:
    using SqlError::SqlError;
};

/// How a server meets an attempt to connect; a folder without server.conf refuses.
enum class Greeting { kAnswers, kRefuses, kIsSilent };

/// Counts one call against the server's faults.txt and does what stands there for it. The file is looked at
/// on every call; whenever it has changed, all counters start anew. Counters belong to the process.
///
///     POINT   N        STATE  NATIVE  TEXT  [STATE  NATIVE  TEXT ...]     fields are separated by tabs
///     die     POINT    N  [STATE  NATIVE  TEXT ...]    the connection is lost; [ ]: else in its own words
///     slow    POINT    N  MILLISECONDS
///     refuse  connect  N                               nobody listens
///     silent  connect  N                               somebody listens, and never answers
///     second  MILLISECONDS                             how long a second of the login time-out lasts
///
/// POINT is connect, statement, prepare, bind, execute, fetch, commit, rollback, manual, auto or disconnect.
/// N is a number, "N+" or "*". In front of it, prepare, bind, execute and fetch take a field with a piece of
/// T-SQL between apostrophes, those inside as they are: 'UPDATE [GameA]'. Then N counts only the calls of
/// statements that contain it as sent. STATE "-" stands for a failure without any diagnostic record. The text
/// reaches the caller exactly as written, without the driver's prefix.
/// @param statement     the text that the call is about; empty where it has none.
/// @param loginTimeout  seconds; 0 for no end. Whatever is no answer is told when they are over.
/// @throws SqlError for a fault or a line that cannot be read, ConnectionDied for "die".
Greeting CountCall(const std::string& serverDirectory, const std::string& point,
                   const std::string& statement = {}, unsigned loginTimeout = 0);

/// Appends one event to the server's trace.txt, where that file exists: process, connection, event and text,
/// parted by tabs, with line breaks in the text written as \n and \r. A call that a fault stopped is no
/// event; one that fails for reasons of its own is.
///
///     attempt             driver, blank, login time-out in seconds; attempts that fail are seen as well
///     connect             database
///     disconnect          number of statement handles that were still alive
///     prepare, execute    the statement as sent
///     hints               table hints of the statement just executed, in upper case, joined by commas
///     manual, auto, commit, rollback; of these "manual" tells the current database
void Trace(const std::string& serverDirectory, int connection, const char* event,
           const std::string& text = {});

/// What is counted while it lives. The counts of a process lie in this order in the file "handles-<pid>.txt"
/// under SQLSTANDIN_ROOT, so that a test can watch another process. A connection is open from the connecting
/// to the disconnecting that succeeds, and so is one that was lost.
enum class Live { kEnvironment, kConnection, kStatement, kOpenConnection };
void CountLive(Live what, int by);

}  // namespace standin
