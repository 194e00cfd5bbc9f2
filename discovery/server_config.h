#pragma once

#include "discovery/game_server_info.h"

/// Reads one zone's Config.Json and Config.ini from `directory` (which holds both) and fills a record from
/// them. The JSON file comes first; the INI file only fills name, game directory and ID where the JSON left
/// them out. `dbName` may come out empty: whether such a zone is usable is the caller's decision.
/// @throws RuntimeError "read failed" when one of the files cannot be read.
GameServerInfo ReadServerConfig(const ServerProcessEntry& process, const std::wstring& directory);
