#pragma once

// An ODBC driver manager, driver and server that cost next to nothing: the calls of the programs that link
// this end here. It answers as a server would whose two databases share `nullDuplicates` characters and as
// many guilds, each with 12 references.

inline int nullDuplicates = 0;
