#pragma once

#include <string>
#include <vector>

// An ODBC driver manager, driver and server that cost next to nothing: the calls of the programs that link
// this end here. It answers as a server would whose two databases share `nullDuplicates` characters and as
// many guilds, each with 12 references.

inline int nullDuplicates = 0;

/// Where the statements and the ends of transactions are written down, as the stand-in's trace tells them;
/// null for nowhere.
inline std::vector<std::wstring>* nullEvents = nullptr;
